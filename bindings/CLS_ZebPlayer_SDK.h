// _ZEBFAULT_
// Binding of the player engine: one static pointer per export, named like the export, written
// only by LoadLib. A pointer whose export is missing stays null; every caller tests it.
#ifndef CLS_ZEB_PLAYER_SDK_H
#define CLS_ZEB_PLAYER_SDK_H

#include "abi/ZebPlayerRecords.h"

// The engine's per-correction callback (only ever unregistered by the library).
typedef KW_PF_CorrectDone PF_FishEyeCorrectCallBack;

class CLS_ZebPlayer_SDK {
public:
    // Loads the engine once per process and resolves every export. False when the file cannot
    // be loaded; a missing export is not a failure. Not locked: the only caller runs inside the
    // thread-safe construction of the player singleton.
    static bool LoadLib(const char* _pcFileName);

    // Module handle, null until a load succeeded; never released.
    static inline void* m_hLibrary = nullptr;

    // Type of the exports the library never calls.
    typedef void (*PF_Untyped)();

// One pointer per export of the contract list: typed for those the library calls.
#define ZEB_KW_EXPORT(role, name, result, args) ZEB_KW_POINTER_##role(name, result, args)
#define ZEB_KW_POINTER_CALLED(name, result, args)                                                            \
    typedef result(*PF_##name) args;                                                                         \
    static inline PF_##name name = nullptr;
#define ZEB_KW_POINTER_RESOLVED(name, result, args) static inline PF_Untyped name = nullptr;
#define ZEB_KW_POINTER_UNTYPED(name, result, args) static inline PF_Untyped name = nullptr;
#define ZEB_KW_POINTER_EXTENSION(name, result, args)
#include "abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT
#undef ZEB_KW_POINTER_CALLED
#undef ZEB_KW_POINTER_RESOLVED
#undef ZEB_KW_POINTER_UNTYPED
#undef ZEB_KW_POINTER_EXTENSION
};

#endif // CLS_ZEB_PLAYER_SDK_H
