// Remap tables and the bilinear remap of the open player engine's views; see Dewarp.h.
#include "Dewarp.h"

#include "RemapKernels.h"
#include "ThreadPool.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

namespace fisheye {

namespace {

// One axis of an entry: the source position (in pixels, centres at n + 0.5) as the left or upper
// pixel, the weight of the next one in 1/256 and whether there is a next one.
void Axis(double _dPosition, int _iSize, std::uint16_t* _puPixel, std::uint8_t* _puFrac, bool* _pblStep) {
    const double dPixel = std::clamp(_dPosition - 0.5, 0.0, static_cast<double>(_iSize - 1));
    int iPixel = static_cast<int>(dPixel); // non-negative, so truncation is floor
    int iFrac = static_cast<int>(std::lround((dPixel - iPixel) * 256.0));
    if (iFrac >= 256) {
        ++iPixel;
        iFrac = 0;
    }
    iPixel = std::min(iPixel, _iSize - 1);
    const bool blStep = iPixel < _iSize - 1;
    *_puPixel = static_cast<std::uint16_t>(iPixel);
    *_puFrac = static_cast<std::uint8_t>(blStep ? iFrac : 0);
    *_pblStep = blStep;
}

} // namespace

int DefaultThreadCount() {
    const unsigned uCores = std::thread::hardware_concurrency();
    return uCores > 0 ? static_cast<int>(std::min(uCores, 64u)) : 1;
}

bool STRUCT_ViewParams::operator==(const STRUCT_ViewParams& _other) const {
    return m_eKind == _other.m_eKind && m_eMount == _other.m_eMount &&
           m_tArea.m_dLeft == _other.m_tArea.m_dLeft && m_tArea.m_dRight == _other.m_tArea.m_dRight &&
           m_tArea.m_dTop == _other.m_tArea.m_dTop && m_tArea.m_dBottom == _other.m_tArea.m_dBottom &&
           m_iPtzX == _other.m_iPtzX && m_iPtzY == _other.m_iPtzY && m_iPtzZoom == _other.m_iPtzZoom &&
           m_dRotation == _other.m_dRotation && m_dField == _other.m_dField && m_iWidth == _other.m_iWidth &&
           m_iHeight == _other.m_iHeight;
}

bool CLS_RemapTable::SourcePosition(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewParams& _tParams,
                                    const STRUCT_ViewFrame& _tPtzView, double _dX, double _dY,
                                    STRUCT_PlanePoint* _ptSource) {
    const double dU = _dX / _tParams.m_iWidth;
    const double dV = _dY / _tParams.m_iHeight;
    STRUCT_Vec3 tDir{0.0, 0.0, 1.0};
    switch (_tParams.m_eKind) {
    case n_ViewKind::Source:
        *_ptSource = {dU, dV};
        return true;
    case n_ViewKind::Fisheye:
        if (std::hypot(dU - 0.5, dV - 0.5) > 0.5)
            return false;
        *_ptSource = PlaneToPicture(_tParams.m_tArea, {dU, dV});
        return true;
    case n_ViewKind::Ptz:
        tDir = _tPtzView.Ray(2.0 * dU - 1.0, 1.0 - 2.0 * dV);
        break;
    case n_ViewKind::Half:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Half, {dU + _tParams.m_dRotation / 180.0, dV}, &tDir);
        break;
    case n_ViewKind::Panorama:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Panorama, {dU + _tParams.m_dRotation / 360.0, dV},
                            &tDir);
        break;
    case n_ViewKind::Lat:
    default:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Lat, {dU, dV}, &tDir);
        break;
    }
    STRUCT_PlanePoint tPlane{};
    if (!_geometry.DirectionToPlane(tDir, &tPlane))
        return false;
    *_ptSource = PlaneToPicture(_tParams.m_tArea, tPlane);
    return true;
}

bool CLS_RemapTable::Update(const STRUCT_ViewParams& _tParams, int _iSourceWidth, int _iSourceHeight) {
    if (IsValid() && _tParams == m_tParams && _iSourceWidth == m_iSourceWidth &&
        _iSourceHeight == m_iSourceHeight)
        return true;
    m_vecEntries.clear();
    m_tParams = _tParams;
    m_iSourceWidth = _iSourceWidth;
    m_iSourceHeight = _iSourceHeight;
    CLS_FisheyeGeometry geometry;
    const bool blSizes = _iSourceWidth > 0 && _iSourceHeight > 0 && _iSourceWidth <= MAX_SOURCE_SIZE &&
                         _iSourceHeight <= MAX_SOURCE_SIZE && _tParams.m_iWidth > 0 &&
                         _tParams.m_iHeight > 0 &&
                         static_cast<long long>(_tParams.m_iWidth) * _tParams.m_iHeight <= MAX_OUTPUT_PIXELS;
    const bool blRotation = std::isfinite(_tParams.m_dRotation);
    if (!blSizes || !blRotation || !IsValidArea(_tParams.m_tArea) ||
        !geometry.SetLens(_tParams.m_dField, 1.0))
        return false;
    const STRUCT_ViewFrame tPtzView = geometry.PtzView(
        _tParams.m_eMount, {_tParams.m_iPtzX / 10000.0, _tParams.m_iPtzY / 10000.0},
        _tParams.m_iPtzZoom / 10000.0, static_cast<double>(_tParams.m_iWidth) / _tParams.m_iHeight);
    m_vecEntries.resize(static_cast<std::size_t>(_tParams.m_iWidth) * _tParams.m_iHeight);
    ++m_iBuilds;
    RunInRowBands(_tParams.m_iHeight, 0,
                  [&](int _iFirst, int _iLast) { BuildRows(geometry, tPtzView, _iFirst, _iLast); });
    return true;
}

void CLS_RemapTable::BuildRows(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewFrame& _tPtzView,
                               int _iFirst, int _iLast) {
    for (int y = _iFirst; y < _iLast; ++y) {
        STRUCT_RemapEntry* pEntry = m_vecEntries.data() + static_cast<std::size_t>(y) * m_tParams.m_iWidth;
        for (int x = 0; x < m_tParams.m_iWidth; ++x, ++pEntry) {
            *pEntry = {};
            STRUCT_PlanePoint tSource{};
            if (!SourcePosition(_geometry, m_tParams, _tPtzView, x + 0.5, y + 0.5, &tSource) ||
                !std::isfinite(tSource.m_dX) || !std::isfinite(tSource.m_dY))
                continue;
            bool blStepX = false;
            bool blStepY = false;
            Axis(tSource.m_dX * m_iSourceWidth, m_iSourceWidth, &pEntry->m_uX, &pEntry->m_uFracX, &blStepX);
            Axis(tSource.m_dY * m_iSourceHeight, m_iSourceHeight, &pEntry->m_uY, &pEntry->m_uFracY, &blStepY);
            pEntry->m_uFlags =
                static_cast<std::uint8_t>(INSIDE | (blStepX ? STEP_X : 0) | (blStepY ? STEP_Y : 0));
        }
    }
}

bool CLS_RemapTable::KernelSupported(n_RemapKernel _eKernel) {
    switch (_eKernel) {
    case n_RemapKernel::Best:
    case n_RemapKernel::Scalar:
        return true;
    case n_RemapKernel::Avx2:
        return HaveAvx2();
    }
    return false;
}

bool CLS_RemapTable::Apply(const STRUCT_Image& _src, const STRUCT_Image& _dst, int _iThreads,
                           n_RemapKernel _eKernel) const {
    const int iChannels = _src.m_iChannels;
    if (!IsValid() || !_src.m_pData || !_dst.m_pData || iChannels < 1 || iChannels > 4 ||
        _dst.m_iChannels != iChannels || _src.m_iWidth != m_iSourceWidth ||
        _src.m_iHeight != m_iSourceHeight || _dst.m_iWidth != m_tParams.m_iWidth ||
        _dst.m_iHeight != m_tParams.m_iHeight || _src.m_iStride < _src.m_iWidth * iChannels ||
        _dst.m_iStride < _dst.m_iWidth * iChannels || !KernelSupported(_eKernel))
        return false;
    const std::size_t uStride = static_cast<std::size_t>(_src.m_iStride);
    const STRUCT_RowSource tSource{_src.m_pData, uStride,
                                   (static_cast<std::size_t>(_src.m_iHeight) - 1) * uStride +
                                       static_cast<std::size_t>(_src.m_iWidth) * iChannels};
    const FN_RemapRow fnRow = SelectRowKernel(iChannels, _eKernel, tSource.m_uSize);
    const int iWidth = _dst.m_iWidth;
    // Column tiles, each row band going through its tiles one after the other: the next row of a
    // tile samples the source next to where the last one did (for a panorama, the neighbouring arc
    // of the image circle), still in the first-level caches, where whole rows of a wide view go
    // round the image circle and evict it. A tile row's entries take 4 KiB.
    constexpr int TILE = 512;
    RunInRowBands(_dst.m_iHeight, _iThreads, [&](int _iFirst, int _iLast) {
        for (int x0 = 0; x0 < iWidth; x0 += TILE) {
            const int iCount = std::min(TILE, iWidth - x0);
            for (int y = _iFirst; y < _iLast; ++y)
                fnRow(m_vecEntries.data() + static_cast<std::size_t>(y) * iWidth + x0, iCount, tSource,
                      _dst.m_pData + static_cast<std::size_t>(y) * _dst.m_iStride +
                          static_cast<std::size_t>(x0) * iChannels);
        }
    });
    return true;
}

} // namespace fisheye
