// EGL and OpenGL ES 3 reached at run time: "libEGL.so.1" and "libGLESv2.so.2" are opened with
// dlopen when the GL renderer is first wanted, so the engine links to neither and runs where they
// are missing (the CPU renderer then draws every view).
#ifndef KORVANE_GL_API_H
#define KORVANE_GL_API_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <string>

namespace korvane {

// One pointer per function of GlFunctions.inc, named as the function.
struct STRUCT_GlApi {
#define KORVANE_EGL(name) decltype(&::name) name = nullptr;
#define KORVANE_EGL_EXT(type, name) type name = nullptr;
#define KORVANE_GLES(name) decltype(&::name) name = nullptr;
#include "GlFunctions.inc"
};

// The functions, loaded once for the process's life; null when a library or one of the core
// functions is missing, with *_pstrWhy saying which (the same answer every time).
const STRUCT_GlApi* GlApi(std::string* _pstrWhy);

} // namespace korvane

#endif // KORVANE_GL_API_H
