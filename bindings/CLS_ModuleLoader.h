// _ZEBFAULT_
// How both closed libraries are loaded: one interface over the two mechanisms the bindings use
// (the system's loader, LoadLibraryA/GetProcAddress on Windows and dlopen/dlsym elsewhere, for the
// engine; QLibrary for the algorithm), with one result and one locking rule. A library is opened
// by its bare file name (the system's ordinary search, no path added) and never closed.
#ifndef CLS_MODULE_LOADER_H
#define CLS_MODULE_LOADER_H

#include <functional>

class CLS_ModuleLoader {
public:
    enum class n_Mechanism {
        System,    // LoadLibraryA / dlopen
        QtLibrary, // QLibrary
    };
    enum class n_Load {
        AlreadyLoaded, // the binding was loaded before: nothing was opened or resolved
        Loaded,        // opened now, and the binding has resolved what it needs
        NotLoaded,     // the file could not be loaded
    };

    // An opened module, for the binding to resolve its exports from while it loads.
    class CLS_Module {
    public:
        // The module's handle (null for QtLibrary, which keeps its own).
        virtual void* Handle() const = 0;
        // Address of the export, or null when the module lacks it.
        virtual void* Resolve(const char* _pcName) const = 0;

    protected:
        ~CLS_Module() = default;
    };

    // The locking rule: every load of either library runs under one process-wide lock, from the
    // binding's own "already loaded" test to the last pointer it publishes, so bindings may be
    // loaded from any thread. _fnBind must not load a library itself.
    static n_Load Load(n_Mechanism _eMechanism, const char* _pcFileName,
                       const std::function<bool()>& _fnIsLoaded,
                       const std::function<void(const CLS_Module&)>& _fnBind);
};

#endif // CLS_MODULE_LOADER_H
