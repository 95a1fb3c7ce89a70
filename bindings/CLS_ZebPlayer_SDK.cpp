// _ZEBFAULT_
#include "CLS_ZebPlayer_SDK.h"

#include "CLS_ModuleLoader.h"

bool CLS_ZebPlayer_SDK::LoadLib(const char* _pcFileName) {
    const auto eLoad = CLS_ModuleLoader::Load(
        CLS_ModuleLoader::n_Mechanism::System, _pcFileName, [] { return nullptr != m_hLibrary; },
        [](const CLS_ModuleLoader::CLS_Module& _tModule) {
            m_hLibrary = _tModule.Handle();
        // Every export the library holds, in the list's order; a missing one stays null.
#define ZEB_KW_RESOLVE(name) name = reinterpret_cast<decltype(name)>(_tModule.Resolve(#name));
#define ZEB_KW_EXPORT(role, name, result, args) ZEB_KW_RESOLVE_##role(name)
#define ZEB_KW_RESOLVE_CALLED(name) ZEB_KW_RESOLVE(name)
#define ZEB_KW_RESOLVE_RESOLVED(name) ZEB_KW_RESOLVE(name)
#define ZEB_KW_RESOLVE_UNTYPED(name) ZEB_KW_RESOLVE(name)
#define ZEB_KW_RESOLVE_EXTENSION(name)
#include "abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT
#undef ZEB_KW_RESOLVE_CALLED
#undef ZEB_KW_RESOLVE_RESOLVED
#undef ZEB_KW_RESOLVE_UNTYPED
#undef ZEB_KW_RESOLVE_EXTENSION
#undef ZEB_KW_RESOLVE
        });
    return CLS_ModuleLoader::n_Load::NotLoaded != eLoad;
}
