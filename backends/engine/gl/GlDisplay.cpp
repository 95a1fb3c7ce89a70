// The GL renderer's EGL display; see GlDisplay.h.
#include "GlDisplay.h"

#include <cstring>

namespace korvane {

namespace {

constexpr int MAX_DEVICES = 16;

bool IsGpu(const STRUCT_GlApi& _gl, EGLDeviceEXT _pDevice) {
    const char* pcExtensions = _pDevice ? _gl.eglQueryDeviceStringEXT(_pDevice, EGL_EXTENSIONS) : nullptr;
    return pcExtensions && !HasExtension(pcExtensions, "EGL_MESA_device_software");
}

// The first device that is not a software rasteriser, or null.
EGLDeviceEXT FindGpu(const STRUCT_GlApi& _gl, const char* _pcClient) {
    if (!HasExtension(_pcClient, "EGL_EXT_device_enumeration") || !_gl.eglQueryDevicesEXT ||
        !_gl.eglQueryDeviceStringEXT)
        return nullptr;
    EGLDeviceEXT aDevices[MAX_DEVICES] = {};
    EGLint iCount = 0;
    if (!_gl.eglQueryDevicesEXT(MAX_DEVICES, aDevices, &iCount))
        return nullptr;
    for (EGLint i = 0; i < iCount && i < MAX_DEVICES; ++i)
        if (IsGpu(_gl, aDevices[i]))
            return aDevices[i];
    return nullptr;
}

// Initialises _display and finds an OpenGL ES 3 configuration of surface type _iSurfaces into
// *_pDisplay; false with the reason otherwise.
bool Initialise(EGLDisplay _display, EGLint _iSurfaces, STRUCT_GlDisplay* _pDisplay) {
    const STRUCT_GlApi& gl = *_pDisplay->m_pGl;
    EGLint iMajor = 0;
    EGLint iMinor = 0;
    if (_display == EGL_NO_DISPLAY || !gl.eglInitialize(_display, &iMajor, &iMinor)) {
        _pDisplay->m_strWhy = "no EGL display";
        return false;
    }
    if (!HasExtension(gl.eglQueryString(_display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context")) {
        _pDisplay->m_strWhy = "the EGL display lacks EGL_KHR_surfaceless_context";
        return false;
    }
    // Windows: 8 bits a colour and no alpha, as the 24-bit windows the engine draws into.
    const EGLint aiAttributes[] = {EGL_RENDERABLE_TYPE,
                                   EGL_OPENGL_ES3_BIT,
                                   EGL_SURFACE_TYPE,
                                   _iSurfaces,
                                   EGL_RED_SIZE,
                                   8,
                                   EGL_GREEN_SIZE,
                                   8,
                                   EGL_BLUE_SIZE,
                                   8,
                                   EGL_NONE};
    EGLint iConfigs = 0;
    if (!gl.eglChooseConfig(_display, aiAttributes, &_pDisplay->m_config, 1, &iConfigs) || iConfigs < 1) {
        _pDisplay->m_strWhy = "the EGL display has no OpenGL ES 3 configuration";
        return false;
    }
    _pDisplay->m_display = _display;
    return true;
}

STRUCT_GlDisplay* Open() {
    auto* pDisplay = new STRUCT_GlDisplay;
    pDisplay->m_pGl = GlApi(&pDisplay->m_strWhy);
    if (!pDisplay->m_pGl)
        return pDisplay;
    const STRUCT_GlApi& gl = *pDisplay->m_pGl;
    const char* pcClient =
        gl.eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS); // null without client extensions
    EGLDisplay display = EGL_NO_DISPLAY;
    if (gl.eglGetPlatformDisplayEXT) {
        if (EGLDeviceEXT pDevice = FindGpu(gl, pcClient)) {
            display = gl.eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, pDevice, nullptr);
            pDisplay->m_blGpu = display != EGL_NO_DISPLAY;
        }
        if (display == EGL_NO_DISPLAY && HasExtension(pcClient, "EGL_MESA_platform_surfaceless"))
            display =
                gl.eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    }
    if (display == EGL_NO_DISPLAY)
        display = gl.eglGetDisplay(EGL_DEFAULT_DISPLAY);
    Initialise(display, 0, pDisplay);
    return pDisplay;
}

STRUCT_GlDisplay* OpenWindows(void* _pXcb, int _iScreen) {
    auto* pDisplay = new STRUCT_GlDisplay;
    pDisplay->m_pGl = GlApi(&pDisplay->m_strWhy);
    if (!pDisplay->m_pGl)
        return pDisplay;
    const STRUCT_GlApi& gl = *pDisplay->m_pGl;
    if (!gl.eglGetPlatformDisplayEXT || !gl.eglCreatePlatformWindowSurfaceEXT ||
        !HasExtension(gl.eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_EXT_platform_xcb")) {
        pDisplay->m_strWhy = "EGL has no XCB platform (EGL_EXT_platform_xcb)";
        return pDisplay;
    }
    const EGLint aiAttributes[] = {EGL_PLATFORM_XCB_SCREEN_EXT, _iScreen, EGL_NONE};
    if (!Initialise(gl.eglGetPlatformDisplayEXT(EGL_PLATFORM_XCB_EXT, _pXcb, aiAttributes), EGL_WINDOW_BIT,
                    pDisplay))
        return pDisplay;
    // Which device draws for the X server (a GPU, or a software rasteriser where the vendor that
    // offers the XCB platform has no driver for it).
    EGLAttrib device = 0;
    if (gl.eglQueryDisplayAttribEXT && gl.eglQueryDeviceStringEXT &&
        gl.eglQueryDisplayAttribEXT(pDisplay->m_display, EGL_DEVICE_EXT, &device))
        pDisplay->m_blGpu = IsGpu(gl, reinterpret_cast<EGLDeviceEXT>(device));
    return pDisplay;
}

} // namespace

bool HasExtension(const char* _pcList, const char* _pcName) {
    if (!_pcList)
        return false;
    const size_t uLength = std::strlen(_pcName);
    for (const char* pc = _pcList; (pc = std::strstr(pc, _pcName)) != nullptr; pc += uLength) {
        const bool blStart = pc == _pcList || pc[-1] == ' ';
        const bool blEnd = pc[uLength] == ' ' || pc[uLength] == '\0';
        if (blStart && blEnd)
            return true;
    }
    return false;
}

bool HasGpuDevice() {
    static const bool s_blGpu = [] {
        const STRUCT_GlApi* pGl = GlApi(nullptr);
        return pGl && FindGpu(*pGl, pGl->eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS)) != nullptr;
    }();
    return s_blGpu;
}

const STRUCT_GlDisplay& GlDisplay() {
    static const STRUCT_GlDisplay* s_pDisplay = Open();
    return *s_pDisplay;
}

const STRUCT_GlDisplay& GlWindowDisplay(void* _pXcb, int _iScreen) {
    // The engine opens one X connection for the process's life, so one display serves it.
    static const STRUCT_GlDisplay* s_pDisplay = OpenWindows(_pXcb, _iScreen);
    return *s_pDisplay;
}

} // namespace korvane
