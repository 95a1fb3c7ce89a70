// The process's EGL display for the GL renderer and the contexts of its threads.
#ifndef KORVANE_GL_DISPLAY_H
#define KORVANE_GL_DISPLAY_H

#include "GlApi.h"

#include <string>

namespace korvane {

struct STRUCT_GlDisplay {
    const STRUCT_GlApi* m_pGl = nullptr;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLConfig m_config = nullptr;
    bool m_blGpu = false; // drawn by a device that is not a software rasteriser
    std::string m_strWhy; // empty when the display is usable
};

// Opened and initialised once, never terminated (contexts of player threads may live until the
// process ends). Prefers an EGL device that is a GPU (EGL_EXT_platform_device), then Mesa's
// surfaceless platform, then the default display; needs surfaceless contexts and OpenGL ES 3.
const STRUCT_GlDisplay& GlDisplay();

// Whether EGL lists a device that is not a software rasteriser; asks no driver to start, so a
// machine without a GPU pays only for opening the EGL libraries.
bool HasGpuDevice();

// The EGL display of the engine's X connection (an xcb_connection_t, screen _iScreen) through EGL's
// XCB platform, for drawing into X11 windows through window surfaces; opened once, on the first
// call (the engine has one connection).
const STRUCT_GlDisplay& GlWindowDisplay(void* _pXcb, int _iScreen);

// Whether the space-separated extension list _pcList names _pcName.
bool HasExtension(const char* _pcList, const char* _pcName);

} // namespace korvane

#endif // KORVANE_GL_DISPLAY_H
