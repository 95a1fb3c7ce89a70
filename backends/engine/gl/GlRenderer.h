// The GL renderer: every view drawn by a fragment shader from the decoded planes, with EGL and
// OpenGL ES 3 on the calling thread (each player's decoding thread gets a context of its own).
// A picture's planes are uploaded once, whatever the number of its views; the textures are kept
// and streamed, re-allocated only when the picture's size or layout changes.
#ifndef KORVANE_GL_RENDERER_H
#define KORVANE_GL_RENDERER_H

#include "GlShaders.h"
#include "ViewRenderer.h"

#include <string>

namespace korvane {

enum class n_GlResult : int {
    Drawn,
    NotForGl, // a view the CPU renderer handles by itself (sizes or parameters its tables refuse)
    Failed,   // GL could not draw (no library, display or context, a shader or GL error)
};

// Draws view _tView of _tFrame into _tDst with the calling thread's context. n_GlOutput_Position
// needs a Bgrx32 buffer (4 bytes a pixel) and writes the 16-bit source positions as bytes.
// Failed: *_pstrWhy says why (nothing usable written). Without _blReadBack the view is only drawn
// into the thread's framebuffer (benchmarks: the GPU's work alone; _tDst's pixels are not touched).
n_GlResult GlDrawView(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                      const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, std::string* _pstrWhy,
                      bool _blReadBack = true);

// Draws view _tView of _tFrame into the X11 window _tWindow through an EGL window surface of the
// engine's connection (EGL's XCB platform), kept in the window's target, and swaps. NotForGl also
// where the window's display is a software rasteriser and the off-screen one a GPU (the view is
// then better drawn off-screen and read back).
n_GlResult GlDrawWindow(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                        const STRUCT_NativeWindow& _tWindow, std::string* _pstrWhy);

// Whether an EGL display with an OpenGL ES 3 configuration exists on a GPU (not a software
// rasteriser); decided once.
bool GlHasGpu();

// Wait for everything the calling thread's context was asked to do (benchmarks); false without a
// context.
bool GlFinish();

// A view drawn by GL while GL works; after its first GL failure (logged once) the view carries on
// with the CPU renderer. X11 windows are drawn through their EGL surfaces; where that fails (no XCB
// platform, a window EGL cannot draw into; logged once) the view is read back into the window's
// buffer instead.
class CLS_GlViewRenderer : public CLS_ViewRenderer {
public:
    void Render(const Frame& _tSrc, const ViewParams& _tParams, const STRUCT_TargetBuffer& _tDst) override;
    bool RenderToWindow(const Frame& _tSrc, const ViewParams& _tParams,
                        const STRUCT_NativeWindow& _tWindow) override;

private:
    CLS_DewarpRenderer m_cpu;
    bool m_blFailed = false;
    bool m_blNoWindow = false;
};

} // namespace korvane

#endif // KORVANE_GL_RENDERER_H
