// The GL renderer's EGL display; see GlDisplay.h.
#include "GlDisplay.h"

#include <cstring>

namespace korvane {

namespace {

constexpr int MAX_DEVICES = 16;

// The first device that is not a software rasteriser, or null.
EGLDeviceEXT FindGpu(const STRUCT_GlApi& _gl, const char* _pcClient) {
    if (!HasExtension(_pcClient, "EGL_EXT_device_enumeration") || !_gl.eglQueryDevicesEXT ||
        !_gl.eglQueryDeviceStringEXT)
        return nullptr;
    EGLDeviceEXT aDevices[MAX_DEVICES] = {};
    EGLint iCount = 0;
    if (!_gl.eglQueryDevicesEXT(MAX_DEVICES, aDevices, &iCount))
        return nullptr;
    for (EGLint i = 0; i < iCount && i < MAX_DEVICES; ++i) {
        const char* pcExtensions = _gl.eglQueryDeviceStringEXT(aDevices[i], EGL_EXTENSIONS);
        if (pcExtensions && !HasExtension(pcExtensions, "EGL_MESA_device_software"))
            return aDevices[i];
    }
    return nullptr;
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
    EGLint iMajor = 0;
    EGLint iMinor = 0;
    if (display == EGL_NO_DISPLAY || !gl.eglInitialize(display, &iMajor, &iMinor)) {
        pDisplay->m_strWhy = "no EGL display";
        return pDisplay;
    }
    if (!HasExtension(gl.eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context")) {
        pDisplay->m_strWhy = "the EGL display lacks EGL_KHR_surfaceless_context";
        return pDisplay;
    }
    const EGLint aiAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
    EGLint iConfigs = 0;
    if (!gl.eglChooseConfig(display, aiAttributes, &pDisplay->m_config, 1, &iConfigs) || iConfigs < 1) {
        pDisplay->m_strWhy = "the EGL display has no OpenGL ES 3 configuration";
        return pDisplay;
    }
    pDisplay->m_display = display;
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

const STRUCT_GlDisplay& GlDisplay() {
    static const STRUCT_GlDisplay* s_pDisplay = Open();
    return *s_pDisplay;
}

} // namespace korvane
