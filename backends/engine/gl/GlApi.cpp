// The run-time binding of EGL and OpenGL ES; see GlApi.h.
#include "GlApi.h"

#include <dlfcn.h>

namespace korvane {

namespace {

constexpr const char* EGL_LIBRARY = "libEGL.so.1";
constexpr const char* GLES_LIBRARY = "libGLESv2.so.2";

struct STRUCT_Loaded {
    STRUCT_GlApi m_tApi;
    std::string m_strWhy; // empty when everything was found
};

template <typename T> bool Resolve(void* _hLibrary, const char* _pcName, T* _ppf, std::string* _pstrWhy) {
    *_ppf = reinterpret_cast<T>(dlsym(_hLibrary, _pcName));
    if (!*_ppf && _pstrWhy->empty())
        *_pstrWhy = std::string(_pcName) + " is missing";
    return *_ppf != nullptr;
}

STRUCT_Loaded* Load() {
    auto* pLoaded = new STRUCT_Loaded;
    // Never closed: contexts of player threads may live until the process ends.
    void* hEgl = dlopen(EGL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    void* hGles = hEgl ? dlopen(GLES_LIBRARY, RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (!hEgl || !hGles) {
        pLoaded->m_strWhy = std::string("cannot open \"") + (hEgl ? GLES_LIBRARY : EGL_LIBRARY) + "\"";
        return pLoaded;
    }
    STRUCT_GlApi& tApi = pLoaded->m_tApi;
    std::string& rstrWhy = pLoaded->m_strWhy;
#define KORVANE_EGL(name) Resolve(hEgl, #name, &tApi.name, &rstrWhy);
#define KORVANE_GLES(name) Resolve(hGles, #name, &tApi.name, &rstrWhy);
#include "GlFunctions.inc"
    if (!rstrWhy.empty())
        return pLoaded;
#define KORVANE_EGL_EXT(type, name) tApi.name = reinterpret_cast<type>(tApi.eglGetProcAddress(#name));
#include "GlFunctions.inc"
    return pLoaded;
}

} // namespace

const STRUCT_GlApi* GlApi(std::string* _pstrWhy) {
    static const STRUCT_Loaded* s_pLoaded = Load();
    if (!s_pLoaded->m_strWhy.empty()) {
        if (_pstrWhy)
            *_pstrWhy = s_pLoaded->m_strWhy;
        return nullptr;
    }
    return &s_pLoaded->m_tApi;
}

} // namespace korvane
