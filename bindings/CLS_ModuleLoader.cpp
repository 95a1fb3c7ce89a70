// _ZEBFAULT_
#include "CLS_ModuleLoader.h"

#include <QLibrary>
#include <QMutex>
#include <QMutexLocker>
#include <QString>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// The only platform-specific code of the library.
class CLS_SystemModule : public CLS_ModuleLoader::CLS_Module {
public:
    explicit CLS_SystemModule(const char* _pcFileName)
#if defined(_WIN32)
        : m_hModule(reinterpret_cast<void*>(LoadLibraryA(_pcFileName)))
#else
        : m_hModule(dlopen(_pcFileName, RTLD_NOW | RTLD_LOCAL))
#endif
    {
    }
    void* Handle() const override {
        return m_hModule;
    }
    void* Resolve(const char* _pcName) const override {
        // A null handle would mean "every loaded module" to dlsym; it is never resolved from.
        if (!m_hModule)
            return nullptr;
#if defined(_WIN32)
        return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_hModule), _pcName));
#else
        return dlsym(m_hModule, _pcName);
#endif
    }

private:
    void* const m_hModule;
};

// The library stays loaded when the QLibrary object goes away.
class CLS_QtModule : public CLS_ModuleLoader::CLS_Module {
public:
    explicit CLS_QtModule(const char* _pcFileName) : m_qlibrary(QString::fromLatin1(_pcFileName)) {
        m_blLoaded = m_qlibrary.load();
    }
    bool IsLoaded() const { return m_blLoaded; }
    void* Handle() const override { return nullptr; }
    void* Resolve(const char* _pcName) const override {
        return reinterpret_cast<void*>(m_qlibrary.resolve(_pcName));
    }

private:
    mutable QLibrary m_qlibrary; // resolve() is not const
    bool m_blLoaded = false;
};

QMutex g_mutexLoad;

} // namespace

CLS_ModuleLoader::n_Load CLS_ModuleLoader::Load(n_Mechanism _eMechanism, const char* _pcFileName,
                                                const std::function<bool()>& _fnIsLoaded,
                                                const std::function<void(const CLS_Module&)>& _fnBind) {
    QMutexLocker qlocker(&g_mutexLoad);
    if (_fnIsLoaded())
        return n_Load::AlreadyLoaded;
    if (n_Mechanism::System == _eMechanism) {
        const CLS_SystemModule tModule(_pcFileName);
        if (!tModule.Handle())
            return n_Load::NotLoaded;
        _fnBind(tModule);
        return n_Load::Loaded;
    }
    const CLS_QtModule tModule(_pcFileName);
    if (!tModule.IsLoaded())
        return n_Load::NotLoaded;
    _fnBind(tModule);
    return n_Load::Loaded;
}
