#include "ViewRenderer.h"

#include "dewarp/Dewarp.h"

#include <algorithm>
#include <cstring>

namespace korvane {

namespace {

// Stores the RGB pixel _pcRgb at _pcDst in the target's format.
inline void StorePixel(const std::uint8_t* _pcRgb, n_PixelFormat _eFormat, std::uint8_t* _pcDst) {
    if (n_PixelFormat::Bgrx32 == _eFormat) {
        _pcDst[0] = _pcRgb[2];
        _pcDst[1] = _pcRgb[1];
        _pcDst[2] = _pcRgb[0];
        _pcDst[3] = 0;
    } else {
        std::memcpy(_pcDst, _pcRgb, 3);
    }
}

// The RGB of pixel (_iX, _iY) of a picture with planes.
void PlanePixel(const fisheye::STRUCT_YuvImage& _tPlanes, int _iX, int _iY, std::uint8_t* _pcRgb) {
    const bool blNv12 = fisheye::n_YuvLayout::Nv12 == _tPlanes.m_eLayout;
    const int iChromaY = fisheye::n_YuvLayout::I422 == _tPlanes.m_eLayout ? _iY : _iY / 2;
    const std::uint8_t* pcU = _tPlanes.m_apcPlane[1] +
                              static_cast<size_t>(iChromaY) * _tPlanes.m_aiStride[1] +
                              static_cast<size_t>(_iX / 2) * (blNv12 ? 2 : 1);
    const std::uint8_t* pcV =
        blNv12 ? pcU + 1
               : _tPlanes.m_apcPlane[2] + static_cast<size_t>(iChromaY) * _tPlanes.m_aiStride[2] + _iX / 2;
    fisheye::YuvToRgb(_tPlanes.m_apcPlane[0][static_cast<size_t>(_iY) * _tPlanes.m_aiStride[0] + _iX], *pcU,
                      *pcV, _tPlanes.m_blFullRange, _pcRgb);
}

} // namespace

void CLS_CopyRenderer::Render(const Frame& _tSrc, const ViewParams&, const STRUCT_TargetBuffer& _tDst) {
    const int iSrcW = _tSrc.m_iWidth;
    const int iSrcH = _tSrc.m_iHeight;
    const int iDstW = _tDst.m_iWidth;
    const int iDstH = _tDst.m_iHeight;
    if (iSrcW <= 0 || iSrcH <= 0 || iDstW <= 0 || iDstH <= 0)
        return;
    const size_t uPixel = static_cast<size_t>(BytesPerPixel(_tDst.m_eFormat));
    // Column lookup once per picture; 64-bit products so that large sizes cannot overflow.
    std::vector<int> vecColumn(static_cast<size_t>(iDstW));
    for (int x = 0; x < iDstW; ++x)
        vecColumn[static_cast<size_t>(x)] = static_cast<int>(static_cast<long long>(x) * iSrcW / iDstW);
    for (int y = 0; y < iDstH; ++y) {
        const int iSrcY = static_cast<int>(static_cast<long long>(y) * iSrcH / iDstH);
        std::uint8_t* pcDstRow = _tDst.m_pData + static_cast<size_t>(y) * _tDst.m_iStride;
        if (_tSrc.HasPlanes()) {
            for (int x = 0; x < iDstW; ++x) {
                std::uint8_t acRgb[3];
                PlanePixel(_tSrc.m_tPlanes, vecColumn[static_cast<size_t>(x)], iSrcY, acRgb);
                StorePixel(acRgb, _tDst.m_eFormat, pcDstRow + static_cast<size_t>(x) * uPixel);
            }
            continue;
        }
        const std::uint8_t* pcSrcRow = _tSrc.m_vecRgb.data() + static_cast<size_t>(iSrcY) * iSrcW * 3;
        if (iSrcW == iDstW && n_PixelFormat::Rgb24 == _tDst.m_eFormat) {
            std::memcpy(pcDstRow, pcSrcRow, static_cast<size_t>(iDstW) * 3);
            continue;
        }
        for (int x = 0; x < iDstW; ++x)
            StorePixel(pcSrcRow + static_cast<size_t>(vecColumn[x]) * 3, _tDst.m_eFormat,
                       pcDstRow + static_cast<size_t>(x) * uPixel);
    }
}

namespace {

fisheye::n_ViewKind DewarpKind(int _iKind) {
    switch (_iKind) {
    case n_ViewKind_PTZ:
        return fisheye::n_ViewKind::Ptz;
    case n_ViewKind_180:
        return fisheye::n_ViewKind::Half;
    case n_ViewKind_360:
        return fisheye::n_ViewKind::Panorama;
    case n_ViewKind_LAT:
        return fisheye::n_ViewKind::Lat;
    case n_ViewKind_Fisheye:
        return fisheye::n_ViewKind::Fisheye;
    default:
        return fisheye::n_ViewKind::Source;
    }
}

fisheye::n_Mount DewarpMount(int _iMountMode) {
    switch (_iMountMode) {
    case 1:
        return fisheye::n_Mount::Wall;
    case 3:
        return fisheye::n_Mount::Floor;
    default: // 2, and any mode the camera does not name: looking down, as the algorithm assumes
        return fisheye::n_Mount::Ceiling;
    }
}

} // namespace

fisheye::STRUCT_ViewParams DewarpParams(const ViewParams& _tParams, int _iWidth, int _iHeight) {
    fisheye::STRUCT_ViewParams tView;
    tView.m_eKind = DewarpKind(_tParams.m_iKind);
    tView.m_eMount = DewarpMount(_tParams.m_iMountMode);
    tView.m_tArea = {_tParams.m_iAreaLeft / 10000.0, _tParams.m_iAreaRight / 10000.0,
                     _tParams.m_iAreaTop / 10000.0, _tParams.m_iAreaBottom / 10000.0};
    tView.m_iPtzX = _tParams.m_iPtzX;
    tView.m_iPtzY = _tParams.m_iPtzY;
    tView.m_iPtzZoom = _tParams.m_iPtzZoom;
    tView.m_dRotation = _tParams.m_fRotateAngle;
    tView.m_iWidth = _iWidth;
    tView.m_iHeight = _iHeight;
    return tView;
}

struct CLS_DewarpRenderer::STRUCT_Table {
    fisheye::CLS_RemapTable m_table;
};

CLS_DewarpRenderer::CLS_DewarpRenderer() : m_pTable(std::make_unique<STRUCT_Table>()) {}

CLS_DewarpRenderer::~CLS_DewarpRenderer() = default;

void CLS_DewarpRenderer::Render(const Frame& _tSrc, const ViewParams& _tParams,
                                const STRUCT_TargetBuffer& _tDst) {
    const fisheye::STRUCT_ViewParams tView = DewarpParams(_tParams, _tDst.m_iWidth, _tDst.m_iHeight);
    if (_tSrc.HasPlanes()) {
        const fisheye::n_PixelOrder eOrder = n_PixelFormat::Bgrx32 == _tDst.m_eFormat
                                                 ? fisheye::n_PixelOrder::Bgrx32
                                                 : fisheye::n_PixelOrder::Rgb24;
        if (!m_yuv.Update(tView, _tSrc.m_iWidth, _tSrc.m_iHeight, _tSrc.m_tPlanes.m_eLayout) ||
            !m_yuv.Apply(_tSrc.m_tPlanes, _tDst.m_pData, _tDst.m_iStride, eOrder))
            CLS_CopyRenderer().Render(_tSrc, _tParams, _tDst);
        return;
    }
    fisheye::CLS_RemapTable& table = m_pTable->m_table;
    if (!table.Update(tView, _tSrc.m_iWidth, _tSrc.m_iHeight)) {
        // Sizes the table refuses: show the picture as it is rather than nothing.
        CLS_CopyRenderer().Render(_tSrc, _tParams, _tDst);
        return;
    }
    fisheye::STRUCT_Image tSrc;
    tSrc.m_pData = const_cast<std::uint8_t*>(_tSrc.m_vecRgb.data()); // only read
    tSrc.m_iWidth = _tSrc.m_iWidth;
    tSrc.m_iHeight = _tSrc.m_iHeight;
    tSrc.m_iChannels = 3;
    tSrc.m_iStride = _tSrc.m_iWidth * 3;
    fisheye::STRUCT_Image tDst;
    tDst.m_iWidth = _tDst.m_iWidth;
    tDst.m_iHeight = _tDst.m_iHeight;
    tDst.m_iChannels = 3;
    if (n_PixelFormat::Rgb24 == _tDst.m_eFormat) {
        tDst.m_pData = _tDst.m_pData;
        tDst.m_iStride = _tDst.m_iStride;
        table.Apply(tSrc, tDst);
        return;
    }
    // Other formats: the view in RGB, then each of its pixels stored in the target's format.
    m_vecRgb.resize(static_cast<size_t>(_tDst.m_iWidth) * _tDst.m_iHeight * 3);
    tDst.m_pData = m_vecRgb.data();
    tDst.m_iStride = _tDst.m_iWidth * 3;
    table.Apply(tSrc, tDst);
    const size_t uPixel = static_cast<size_t>(BytesPerPixel(_tDst.m_eFormat));
    for (int y = 0; y < _tDst.m_iHeight; ++y) {
        const std::uint8_t* pcRow = m_vecRgb.data() + static_cast<size_t>(y) * tDst.m_iStride;
        std::uint8_t* pcDstRow = _tDst.m_pData + static_cast<size_t>(y) * _tDst.m_iStride;
        for (int x = 0; x < _tDst.m_iWidth; ++x)
            StorePixel(pcRow + static_cast<size_t>(x) * 3, _tDst.m_eFormat,
                       pcDstRow + static_cast<size_t>(x) * uPixel);
    }
}

} // namespace korvane
