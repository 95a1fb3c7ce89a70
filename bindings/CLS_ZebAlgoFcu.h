// _ZEBFAULT_
// Binding of the correction algorithm library: loaded once per process, one static pointer per
// export, named like the export.
#ifndef CLS_ZEB_ALGO_FCU_H
#define CLS_ZEB_ALGO_FCU_H

#include "abi/ZebAlgoRecords.h"

#include <atomic>

class CLS_ZebAlgoFcu {
public:
    // 0 when every export is bound or the file was loaded before, -1 otherwise (logged).
    static int LoadLib();

    // True once the file has been loaded, whether or not every export was found.
    static inline std::atomic<bool> m_blLoaded{false};

#define ZEB_FCU_FN(name, result, args)                                                                       \
    typedef result(*PF_##name) args;                                                                         \
    static inline PF_##name name = nullptr;
#include "abi/ZebAlgoExports.inc"
#undef ZEB_FCU_FN
};

#endif // CLS_ZEB_ALGO_FCU_H
