// X11 windows as rendering targets, reached through XCB so that nothing of the host's own X
// state (such as its error handler) is touched.
#ifndef KORVANE_X11_TARGETS_H
#define KORVANE_X11_TARGETS_H

#include "ViewRenderer.h"

namespace korvane {

// Renders _tFrame for a view into the X11 window whose id is _pWindow, scaled to the window's
// size. The display is the one named by DISPLAY when the first window is rendered; without one,
// or for a handle that is not a window of that display, nothing happens and false is returned.
bool RenderToX11Window(const void* _pWindow, const Frame& _tFrame, const ViewParams& _tParams,
                       CLS_ViewRenderer& _tRenderer);

} // namespace korvane

#endif // KORVANE_X11_TARGETS_H
