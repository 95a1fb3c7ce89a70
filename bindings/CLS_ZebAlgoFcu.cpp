// _ZEBFAULT_
#include "CLS_ZebAlgoFcu.h"

#include "CLS_ModuleLoader.h"
#include "common/CLS_ZebLog.h"

int CLS_ZebAlgoFcu::LoadLib() {
    const char* pcFileName = "zeb_algo_fcu.dll";
    int iRet = 0;
    const auto eLoad = CLS_ModuleLoader::Load(
        CLS_ModuleLoader::n_Mechanism::QtLibrary, pcFileName, [] { return m_blLoaded.load(); },
        [&iRet](const CLS_ModuleLoader::CLS_Module& _tModule) {
#define ZEB_FCU_FN(name, result, args)                                                                       \
    name = reinterpret_cast<PF_##name>(_tModule.Resolve(#name));                                             \
    if (!name) {                                                                                             \
        CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib nullptr == ", #name, " ]");                           \
        iRet = -1;                                                                                           \
    }
#include "abi/ZebAlgoExports.inc"
#undef ZEB_FCU_FN
            // Published last, so that a thread that sees the flag also sees the pointers.
            m_blLoaded = true;
        });
    if (CLS_ModuleLoader::n_Load::NotLoaded == eLoad) {
        CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib ", pcFileName, " load fail ]");
        return -1;
    }
    return iRet; // 0 when loaded before
}
