// _ZEBFAULT_
#include "CLS_ZebPlayer_SDK.h"

#include "CLS_ModuleLoader.h"

bool CLS_ZebPlayer_SDK::LoadLib(const char* _pcFileName) {
    if (m_hLibrary)
        return true;
    void* hLibrary = CLS_ModuleLoader::Open(_pcFileName);
    if (!hLibrary)
        return false;
    m_hLibrary = hLibrary;
#define ZEB_KW_FN(name) name = reinterpret_cast<decltype(name)>(CLS_ModuleLoader::Resolve(m_hLibrary, #name));
#define ZEB_KW_FN_TYPED(name, result, args) ZEB_KW_FN(name)
#include "ZebPlayerFunctions.inc"
#undef ZEB_KW_FN_TYPED
#undef ZEB_KW_FN
    return true;
}
