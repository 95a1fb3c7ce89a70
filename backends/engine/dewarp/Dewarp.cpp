// Remap tables and the bilinear remap of the open player engine's views; see Dewarp.h.
#include "Dewarp.h"

#include "RemapKernels.h"
#include "ThreadPool.h"

#include <algorithm>
#include <atomic>
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

constexpr std::int32_t NO_NODE = INT32_MIN; // where the view shows nothing

// A node's position from a source position in pixels, or NO_NODE. Nodes keep half an entry unit
// inside the first and last pixel centres, so that every position interpolated between two of them
// has a right and a lower neighbour (the grid's entries all take GRID_FLAGS).
std::int32_t Node(double _dPosition, int _iSize) {
    const double dNode = (_dPosition - 0.5) * STRUCT_GridNode::NODE_ONE;
    if (!(dNode >= NODE_PER_ENTRY_UNIT &&
          dNode <= static_cast<double>(_iSize - 1) * STRUCT_GridNode::NODE_ONE - NODE_PER_ENTRY_UNIT))
        return NO_NODE; // NaN too
    return static_cast<std::int32_t>(std::lround(dNode));
}

std::atomic<bool> g_blDefaultInterpolation{true};

} // namespace

void CLS_RemapTable::SetDefaultInterpolation(bool _blOn) {
    g_blDefaultInterpolation.store(_blOn);
}

bool CLS_RemapTable::DefaultInterpolation() {
    return g_blDefaultInterpolation.load();
}

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
        _iSourceHeight == m_iSourceHeight && m_blInterpolation == m_blBuiltInterpolation)
        return true;
    m_vecEntries.clear();
    m_vecNodes.clear();
    m_vecInterpolated.clear();
    m_iCellColumns = 0;
    m_blBuiltInterpolation = m_blInterpolation;
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
    if (m_blInterpolation) {
        m_iCellColumns = (_tParams.m_iWidth + GRID - 1) / GRID;
        m_vecNodes.resize(static_cast<std::size_t>(m_iCellColumns + 1) * _tParams.m_iHeight);
        m_vecInterpolated.resize(static_cast<std::size_t>(m_iCellColumns) * _tParams.m_iHeight);
    }
    RunInRowBands(_tParams.m_iHeight, 0, [&](int _iFirst, int _iLast) {
        BuildRows(geometry, tPtzView, _iFirst, _iLast);
        if (m_blInterpolation)
            BuildGrid(geometry, tPtzView, _iFirst, _iLast);
    });
    return true;
}

void CLS_RemapTable::BuildGrid(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewFrame& _tPtzView,
                               int _iFirst, int _iLast) {
    const int iNodes = m_iCellColumns + 1;
    for (int y = _iFirst; y < _iLast; ++y) {
        // The last node may lie past the row's last pixel: the view's geometry goes on there, and
        // where it does not, the node is missing and the cell stays exact.
        STRUCT_GridNode* pNode = m_vecNodes.data() + static_cast<std::size_t>(y) * iNodes;
        for (int i = 0; i < iNodes; ++i, ++pNode) {
            STRUCT_PlanePoint tSource{};
            *pNode = {NO_NODE, NO_NODE};
            if (SourcePosition(_geometry, m_tParams, _tPtzView, i * GRID + 0.5, y + 0.5, &tSource))
                *pNode = {Node(tSource.m_dX * m_iSourceWidth, m_iSourceWidth),
                          Node(tSource.m_dY * m_iSourceHeight, m_iSourceHeight)};
        }
        for (int i = 0; i < m_iCellColumns; ++i)
            m_vecInterpolated[static_cast<std::size_t>(y) * m_iCellColumns + i] =
                InterpolateCell(i, y) ? 1 : 0;
    }
}

bool CLS_RemapTable::InterpolateCell(int _iColumn, int _iRow) {
    const STRUCT_GridNode* pNodes =
        &m_vecNodes[static_cast<std::size_t>(_iRow) * (m_iCellColumns + 1) + _iColumn];
    for (const STRUCT_GridNode& tNode : {pNodes[0], pNodes[1]})
        if (NO_NODE == tNode.m_iX || NO_NODE == tNode.m_iY)
            return false;
    if (std::abs(pNodes[1].m_iX - pNodes[0].m_iX) > MAX_NODE_STEP ||
        std::abs(pNodes[1].m_iY - pNodes[0].m_iY) > MAX_NODE_STEP)
        return false;
    const int iX = _iColumn * GRID;
    const int iCount = std::min(GRID, m_tParams.m_iWidth - iX);
    STRUCT_RemapEntry atMade[GRID];
    InterpolateEntries(pNodes[0], pNodes[1], iCount, atMade);
    STRUCT_RemapEntry* pExact = &m_vecEntries[static_cast<std::size_t>(_iRow) * m_tParams.m_iWidth + iX];
    const auto units = [](std::uint16_t _uPixel, std::uint8_t _uFrac) { return _uPixel * 256 + _uFrac; };
    for (int x = 0; x < iCount; ++x)
        if (pExact[x].m_uFlags != GRID_FLAGS ||
            std::abs(units(atMade[x].m_uX, atMade[x].m_uFracX) - units(pExact[x].m_uX, pExact[x].m_uFracX)) >
                GRID_TOLERANCE ||
            std::abs(units(atMade[x].m_uY, atMade[x].m_uFracY) - units(pExact[x].m_uY, pExact[x].m_uFracY)) >
                GRID_TOLERANCE)
            return false;
    std::copy(atMade, atMade + iCount, pExact);
    return true;
}

const STRUCT_RemapEntry* CLS_RemapTable::Row(int _iX, int _iY, int _iCount, STRUCT_RemapEntry* _pBuffer,
                                             n_RemapKernel _eKernel) const {
    const STRUCT_RemapEntry* pTable = &Entry(_iX, _iY);
    if (m_vecInterpolated.empty())
        return pTable;
    const std::uint8_t* pCells =
        m_vecInterpolated.data() + static_cast<std::size_t>(_iY) * m_iCellColumns + _iX / GRID;
    if (std::none_of(pCells, pCells + (_iCount + GRID - 1) / GRID, [](std::uint8_t _u) { return _u != 0; }))
        return pTable;
    SelectGridRowKernel(_eKernel)(m_vecNodes.data() + static_cast<std::size_t>(_iY) * (m_iCellColumns + 1) +
                                      _iX / GRID,
                                  pCells, pTable, _iCount, _pBuffer);
    return _pBuffer;
}

double CLS_RemapTable::InterpolatedShare() const {
    if (m_vecInterpolated.empty())
        return 0.0;
    return static_cast<double>(std::count(m_vecInterpolated.begin(), m_vecInterpolated.end(), 1)) /
           static_cast<double>(m_vecInterpolated.size());
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
    RunInRowBands(_dst.m_iHeight, _iThreads, [&](int _iFirst, int _iLast) {
        STRUCT_RemapEntry atRow[TILE_WIDTH];
        ForEachTile(iWidth, [&](int _iX, int _iCount) {
            for (int y = _iFirst; y < _iLast; ++y)
                fnRow(Row(_iX, y, _iCount, atRow, _eKernel), _iCount, tSource,
                      _dst.m_pData + static_cast<std::size_t>(y) * _dst.m_iStride +
                          static_cast<std::size_t>(_iX) * iChannels);
        });
    });
    return true;
}

} // namespace fisheye
