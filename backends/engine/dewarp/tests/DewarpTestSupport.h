// Pictures for the dewarping tests: owned 8-bit buffers, dots at known places and their centroids.
#ifndef DEWARP_TEST_SUPPORT_H
#define DEWARP_TEST_SUPPORT_H

#include "Dewarp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace dewarptest {

struct STRUCT_Picture {
    STRUCT_Picture(int _iWidth, int _iHeight, int _iChannels = 3, std::uint8_t _uFill = 0)
        : m_iWidth(_iWidth), m_iHeight(_iHeight), m_iChannels(_iChannels),
          m_vecData(static_cast<std::size_t>(_iWidth) * _iHeight * _iChannels, _uFill) {}

    fisheye::STRUCT_Image Image() {
        return {m_vecData.data(), m_iWidth, m_iHeight, m_iChannels, m_iWidth * m_iChannels};
    }
    std::uint8_t* Pixel(int _iX, int _iY) {
        return m_vecData.data() + (static_cast<std::size_t>(_iY) * m_iWidth + _iX) * m_iChannels;
    }

    int m_iWidth;
    int m_iHeight;
    int m_iChannels;
    std::vector<std::uint8_t> m_vecData;
};

// A white Gaussian dot (all channels) centred at (_dX, _dY) in pixels (pixel centres at n + 0.5).
inline void DrawDot(STRUCT_Picture& _picture, double _dX, double _dY, double _dSigma = 2.0) {
    const int iReach = static_cast<int>(std::ceil(4.0 * _dSigma));
    for (int y = static_cast<int>(_dY) - iReach; y <= static_cast<int>(_dY) + iReach; ++y) {
        for (int x = static_cast<int>(_dX) - iReach; x <= static_cast<int>(_dX) + iReach; ++x) {
            if (x < 0 || y < 0 || x >= _picture.m_iWidth || y >= _picture.m_iHeight)
                continue;
            const double dDx = x + 0.5 - _dX;
            const double dDy = y + 0.5 - _dY;
            const double dValue = 255.0 * std::exp(-(dDx * dDx + dDy * dDy) / (2.0 * _dSigma * _dSigma));
            std::uint8_t* pPixel = _picture.Pixel(x, y);
            for (int c = 0; c < _picture.m_iChannels; ++c)
                pPixel[c] = static_cast<std::uint8_t>(std::max<double>(pPixel[c], std::lround(dValue)));
        }
    }
}

// The brightness-weighted centroid of the first channel, in pixels; false for a black picture.
inline bool Centroid(const STRUCT_Picture& _picture, double* _pdX, double* _pdY) {
    double dSum = 0.0;
    double dX = 0.0;
    double dY = 0.0;
    for (int y = 0; y < _picture.m_iHeight; ++y) {
        for (int x = 0; x < _picture.m_iWidth; ++x) {
            const double dValue =
                _picture
                    .m_vecData[(static_cast<std::size_t>(y) * _picture.m_iWidth + x) * _picture.m_iChannels];
            dSum += dValue;
            dX += dValue * (x + 0.5);
            dY += dValue * (y + 0.5);
        }
    }
    if (dSum <= 0.0)
        return false;
    *_pdX = dX / dSum;
    *_pdY = dY / dSum;
    return true;
}

// A view of the given kind, mount and output size; the other parameters keep their defaults.
inline fisheye::STRUCT_ViewParams View(fisheye::n_ViewKind _eKind, fisheye::n_Mount _eMount, int _iWidth,
                                       int _iHeight) {
    fisheye::STRUCT_ViewParams tParams;
    tParams.m_eKind = _eKind;
    tParams.m_eMount = _eMount;
    tParams.m_iWidth = _iWidth;
    tParams.m_iHeight = _iHeight;
    return tParams;
}

inline void FillRandom(std::vector<std::uint8_t>& _vecData, std::uint32_t _uSeed) {
    for (std::uint8_t& uByte : _vecData) {
        _uSeed = _uSeed * 1664525u + 1013904223u;
        uByte = static_cast<std::uint8_t>(_uSeed >> 24);
    }
}

// Views of every kind, with black parts (outside the image circle, behind a wall lens), steps
// missing on the source's last row and column (the source view), and 1 to 4 pixels per source
// pixel.
inline std::vector<fisheye::STRUCT_ViewParams> Views(int _iWidth, int _iHeight) {
    std::vector<fisheye::STRUCT_ViewParams> vecViews;
    vecViews.push_back(View(fisheye::n_ViewKind::Source, fisheye::n_Mount::Ceiling, _iWidth, _iHeight));
    vecViews.push_back(View(fisheye::n_ViewKind::Fisheye, fisheye::n_Mount::Ceiling, _iWidth, _iHeight));
    fisheye::STRUCT_ViewParams tPtz =
        View(fisheye::n_ViewKind::Ptz, fisheye::n_Mount::Ceiling, _iWidth, _iHeight);
    tPtz.m_iPtzX = 9900;
    tPtz.m_iPtzZoom = 550;
    vecViews.push_back(tPtz);
    tPtz = View(fisheye::n_ViewKind::Ptz, fisheye::n_Mount::Wall, _iWidth, _iHeight);
    tPtz.m_iPtzX = 4200;
    tPtz.m_iPtzY = 6100;
    tPtz.m_iPtzZoom = 12000;
    vecViews.push_back(tPtz);
    fisheye::STRUCT_ViewParams tPanorama =
        View(fisheye::n_ViewKind::Panorama, fisheye::n_Mount::Wall, _iWidth, _iHeight);
    tPanorama.m_dRotation = 20.0;
    vecViews.push_back(tPanorama);
    vecViews.push_back(View(fisheye::n_ViewKind::Panorama, fisheye::n_Mount::Ceiling, _iWidth, _iHeight));
    vecViews.push_back(View(fisheye::n_ViewKind::Half, fisheye::n_Mount::Floor, _iWidth, _iHeight));
    vecViews.push_back(View(fisheye::n_ViewKind::Lat, fisheye::n_Mount::Wall, _iWidth, _iHeight));
    return vecViews;
}

// The vectorised kernels this processor runs.
inline std::vector<fisheye::n_RemapKernel> VectorKernels() {
    std::vector<fisheye::n_RemapKernel> vecKernels;
    for (fisheye::n_RemapKernel eKernel : {fisheye::n_RemapKernel::Avx2})
        if (fisheye::CLS_RemapTable::KernelSupported(eKernel))
            vecKernels.push_back(eKernel);
    return vecKernels;
}

} // namespace dewarptest

#endif // DEWARP_TEST_SUPPORT_H
