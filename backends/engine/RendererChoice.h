// Which renderer draws the views: KORVANE_RENDERER=gl|cpu|auto, read once by the engine.
//   auto (the default, also for an empty value): GL where an EGL display with OpenGL ES 3 exists on
//        a GPU, the CPU renderer otherwise (a software rasteriser such as Mesa's llvmpipe is slower
//        than the CPU renderer, which spreads the views over the cores);
//   gl:  GL wherever EGL and OpenGL ES 3 work, a software rasteriser included;
//   cpu: the CPU renderer.
// Any other value is logged once, naming the allowed ones, and taken as auto. A view drawn by GL
// that meets a GL failure is logged once and carries on with the CPU renderer.
#ifndef KORVANE_RENDERER_CHOICE_H
#define KORVANE_RENDERER_CHOICE_H

#include "abi/KorvaneContract.h"

namespace korvane {

// Values of KW_Ext_GetRenderer.
enum n_Renderer : int {
    n_Renderer_Cpu = KW_RENDERER_CPU,
    n_Renderer_Gl = KW_RENDERER_GL,
};

// The renderer new views get (reads KORVANE_RENDERER on the first call).
n_Renderer SelectedRenderer();

// Called after each view drawn by a renderer that may fall back.
void NoteDrawn(n_Renderer _eRenderer);

// The renderer that drew the last view; before any view was drawn, the selected one.
n_Renderer CurrentRenderer();

} // namespace korvane

#endif // KORVANE_RENDERER_CHOICE_H
