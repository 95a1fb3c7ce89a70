// Smoke program: loads the player engine and the correction algorithm by their file names through
// the library's bindings, as the library does, and reports what it found.
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

#include <cstdio>

int main() {
    if (!CLS_ZebPlayer_SDK::LoadLib("Korvane.dll")) {
        std::printf("player engine Korvane.dll: not found\n");
        return 1;
    }
    int iBound = 0;
#define ZEB_KW_FN(name) iBound += CLS_ZebPlayer_SDK::name != nullptr;
#define ZEB_KW_FN_TYPED(name, result, args) ZEB_KW_FN(name)
#include "bindings/ZebPlayerFunctions.inc"
#undef ZEB_KW_FN_TYPED
#undef ZEB_KW_FN
    std::printf("player engine Korvane.dll: %d of 78 exports bound\n", iBound);
    if (CLS_ZebPlayer_SDK::KW_CreateSystem)
        std::printf("KW_CreateSystem(0) = %d\n", CLS_ZebPlayer_SDK::KW_CreateSystem(0));
    const int iAlgo = CLS_ZebAlgoFcu::LoadLib();
    std::printf("correction algorithm zeb_algo_fcu.dll: %s\n",
                iAlgo == 0 ? "all 8 exports bound" : "not usable");
    if (iAlgo == 0) {
        void* pHandle = CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(nullptr, nullptr);
        std::printf("algorithm handle %s\n", pHandle ? "created" : "not created");
        if (pHandle)
            CLS_ZebAlgoFcu::ZebAlgo_FCU_Release(pHandle);
    }
    return iAlgo == 0 ? 0 : 1;
}
