// _ZEBFAULT_
// The only platform-specific code of the library: opening a shared library by its bare file name
// (the system's ordinary search, no path added) and resolving an export by name.
#ifndef CLS_MODULE_LOADER_H
#define CLS_MODULE_LOADER_H

class CLS_ModuleLoader {
public:
    // Handle of the loaded module, or null. The module is never closed.
    static void* Open(const char* _pcFileName);
    // Address of the export, or null when the module lacks it.
    static void* Resolve(void* _hModule, const char* _pcName);
};

#endif // CLS_MODULE_LOADER_H
