// Finding the fisheye circle in a picture and delivering it as user data; see FisheyeArea.h.
#include "FisheyeArea.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace korvane {

namespace {

// A new area is delivered only when a side moved by more than this (0 to 10000).
constexpr int AREA_TOLERANCE = 50;

// Whether a newly found area is still the one delivered.
bool IsCloseTo(const PictureArea& _tArea, const PictureArea& _tOther) {
    return std::abs(_tArea.m_iLeft - _tOther.m_iLeft) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iTop - _tOther.m_iTop) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iRight - _tOther.m_iRight) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iBottom - _tOther.m_iBottom) <= AREA_TOLERANCE;
}

} // namespace

bool FindFisheyeArea(const Frame& _tFrame, PictureArea* _ptArea) {
    const int iW = _tFrame.m_iWidth;
    const int iH = _tFrame.m_iHeight;
    const int iStep = std::max(1, std::min(iW, iH) / 512);
    // Dark grey: an RGB mean of 40, or its luma in the planes' range.
    constexpr int DARK = 3 * 40; // sum of the three channels
    const bool blPlanes = _tFrame.HasPlanes();
    const int iDarkLuma = _tFrame.m_tPlanes.m_blFullRange ? 40 : 16 + 40 * 219 / 255;
    std::vector<int> vecColumns(static_cast<size_t>(iW), 0);
    int iTop = -1;
    int iBottom = -1;
    for (int y = 0; y < iH; y += iStep) {
        const std::uint8_t* pcRow = blPlanes ? _tFrame.m_tPlanes.m_apcPlane[0] +
                                                   static_cast<size_t>(y) * _tFrame.m_tPlanes.m_aiStride[0]
                                             : _tFrame.m_vecRgb.data() + static_cast<size_t>(y) * iW * 3;
        int iBright = 0;
        for (int x = 0; x < iW; x += iStep) {
            const std::uint8_t* pc = pcRow + static_cast<size_t>(x) * (blPlanes ? 1 : 3);
            if (blPlanes ? pc[0] > iDarkLuma : pc[0] + pc[1] + pc[2] > DARK) {
                ++iBright;
                ++vecColumns[static_cast<size_t>(x)];
            }
        }
        // Two bright samples make a row count, so that a single noisy pixel does not.
        if (iBright >= 2) {
            if (iTop < 0)
                iTop = y;
            iBottom = y;
        }
    }
    int iLeft = -1;
    int iRight = -1;
    for (int x = 0; x < iW; x += iStep) {
        if (vecColumns[static_cast<size_t>(x)] >= 2) {
            if (iLeft < 0)
                iLeft = x;
            iRight = x;
        }
    }
    if (iTop < 0 || iLeft < 0)
        return false;
    _ptArea->m_iLeft = static_cast<int>(static_cast<long long>(iLeft) * 10000 / iW);
    _ptArea->m_iTop = static_cast<int>(static_cast<long long>(iTop) * 10000 / iH);
    _ptArea->m_iRight =
        static_cast<int>(std::min<long long>(10000, (static_cast<long long>(iRight) + 1) * 10000 / iW));
    _ptArea->m_iBottom =
        static_cast<int>(std::min<long long>(10000, (static_cast<long long>(iBottom) + 1) * 10000 / iH));
    return _ptArea->IsValid();
}

void DeliverArea(Player& _tPlayer, const PictureArea& _tArea) {
    std::lock_guard<std::recursive_mutex> delivery(R().m_deliveryMutex);
    Subscription tSubscription;
    {
        std::lock_guard<std::mutex> lock(R().m_mutex);
        const auto it = R().m_mapSubscriptions.find(_tPlayer.m_iId);
        if (it == R().m_mapSubscriptions.end())
            return;
        tSubscription = it->second;
    }
    if (tSubscription.m_uGeneration == _tPlayer.m_uDeliveredGeneration &&
        IsCloseTo(_tArea, _tPlayer.m_tDelivered))
        return;
    unsigned char acPayload[KW_USER_DATA_FISHEYE_AREA_SIZE] = {};
    const double adArea[4] = {static_cast<double>(_tArea.m_iLeft), static_cast<double>(_tArea.m_iTop),
                              static_cast<double>(_tArea.m_iRight), static_cast<double>(_tArea.m_iBottom)};
    std::memcpy(acPayload + 8, adArea, sizeof(adArea));
    _tPlayer.m_uDeliveredGeneration = tSubscription.m_uGeneration;
    _tPlayer.m_tDelivered = _tArea;
    tSubscription.m_pf(_tPlayer.m_iId, KW_USER_DATA_FISHEYE_AREA, acPayload, KW_USER_DATA_FISHEYE_AREA_SIZE,
                       tSubscription.m_pUser);
}

} // namespace korvane
