// _ZEBFAULT_
#include "CLS_ModuleLoader.h"

#if defined(_WIN32)
#include <windows.h>

void* CLS_ModuleLoader::Open(const char* _pcFileName) {
    return reinterpret_cast<void*>(LoadLibraryA(_pcFileName));
}

void* CLS_ModuleLoader::Resolve(void* _hModule, const char* _pcName) {
    if (!_hModule)
        return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(_hModule), _pcName));
}
#else
#include <dlfcn.h>

void* CLS_ModuleLoader::Open(const char* _pcFileName) {
    return dlopen(_pcFileName, RTLD_NOW | RTLD_LOCAL);
}

void* CLS_ModuleLoader::Resolve(void* _hModule, const char* _pcName) {
    // A null handle would mean "every loaded module" to dlsym.
    return _hModule ? dlsym(_hModule, _pcName) : nullptr;
}
#endif
