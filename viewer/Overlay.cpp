// The outlines kept per camera slot; see Overlay.h.
#include "Overlay.h"

#include <mutex>

namespace fishviewer {

namespace {

std::mutex g_mutexOverlay;
Outlines g_aOverlay[MAX_CAMERAS];

// Runs on the library's draw thread of camera SLOT.
template <int SLOT> int OnOverlay(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _overlay) {
    Outlines overlay;
    for (const auto& view : _overlay) {
        overlay.emplace_back();
        for (const auto& polyline : view)
            overlay.back().emplace_back(polyline.cbegin(), polyline.cend());
    }
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    g_aOverlay[SLOT].swap(overlay);
    return 0;
}

const PF_FishDrawCallback OVERLAY_CALLBACKS[MAX_CAMERAS] = {OnOverlay<0>, OnOverlay<1>, OnOverlay<2>,
                                                            OnOverlay<3>};

} // namespace

PF_FishDrawCallback OverlayCallback(int _iSlot) {
    return OVERLAY_CALLBACKS[_iSlot];
}

Outlines LatestOverlay(int _iSlot) {
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    return g_aOverlay[_iSlot];
}

void ClearOverlay(int _iSlot) {
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    g_aOverlay[_iSlot].clear();
}

QPointF OutlineCentre(const Outlines& _overlay, int _iPtz) {
    double dX = 0, dY = 0;
    int iCount = 0;
    if (_iPtz < static_cast<int>(_overlay.size()))
        for (const auto& polyline : _overlay[_iPtz])
            for (const STRUCT_DrawPoint& tPoint : polyline) {
                dX += tPoint.m_fX;
                dY += tPoint.m_fY;
                ++iCount;
            }
    return iCount ? QPointF(dX / iCount, dY / iCount) : QPointF(-1, -1);
}

// Qt's log, the library's lines included (the library writes one each overlay pass while no PTZ

} // namespace fishviewer
