// The PTZ views' outlines as the library's draw thread hands them over, kept per camera for the
// widgets that paint them.
#ifndef FISHVIEWER_OVERLAY_H
#define FISHVIEWER_OVERLAY_H

#include <CLS_FishPlayer.h>

#include <QPointF>

#include <vector>

namespace fishviewer {

using Outlines = std::vector<std::vector<std::vector<STRUCT_DrawPoint>>>;

// Cameras shown at once. The overlay callback does not say which player it comes from, so each
// camera slot registers a function of its own; more cameras would also make their grids too small
// to use.
constexpr int MAX_CAMERAS = 4;

// The draw callback of camera slot _iSlot (0 to MAX_CAMERAS - 1): keeps a deep copy of the latest
// outlines.
PF_FishDrawCallback OverlayCallback(int _iSlot);
// The latest outlines of camera slot _iSlot.
Outlines LatestOverlay(int _iSlot);
// After a player is deleted: its outlines are no one's.
void ClearOverlay(int _iSlot);
// Centre of a PTZ view's outline, 0 to 1 of the fisheye; (-1, -1) when it has none.
QPointF OutlineCentre(const Outlines& _overlay, int _iPtz);

} // namespace fishviewer

#endif // FISHVIEWER_OVERLAY_H
