// Helpers of the GL renderer's tests: synthetic pictures in every plane layout, PSNR, the views
// of every kind and mount, and standard error captured around a call.
#ifndef KORVANE_GL_TEST_SUPPORT_H
#define KORVANE_GL_TEST_SUPPORT_H

#include "ViewRenderer.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace gltest {

// Small views: what is checked is every pixel's geometry and colour, not throughput.
constexpr int VIEW_WIDTH = 96;
constexpr int VIEW_HEIGHT = 64;
// What GL's pictures must reach against the CPU renderer's.
constexpr double MIN_PSNR = 40.0;

// View _tParams of _tFrame as the CPU renderer draws it.
inline std::vector<std::uint8_t> RenderCpu(const korvane::Frame& _tFrame, const korvane::ViewParams& _tParams,
                                           korvane::n_PixelFormat _eFormat, int _iWidth = VIEW_WIDTH,
                                           int _iHeight = VIEW_HEIGHT) {
    const int iBytes = korvane::BytesPerPixel(_eFormat);
    std::vector<std::uint8_t> vec(static_cast<size_t>(_iWidth) * _iHeight * iBytes, 7);
    korvane::CLS_DewarpRenderer().Render(_tFrame, _tParams,
                                         {vec.data(), _iWidth, _iHeight, _iWidth * iBytes, _eFormat});
    return vec;
}

// A smooth picture (low-frequency waves, so that the CPU renderer's chroma at half resolution and
// the shader's per-pixel chroma agree) in _eLayout, rows padded to a stride wider than a row.
inline korvane::Frame MakePicture(fisheye::n_YuvLayout _eLayout, int _iWidth, int _iHeight,
                                  bool _blFullRange) {
    struct Planes {
        std::vector<std::uint8_t> m_avec[3];
    };
    auto pPlanes = std::make_shared<Planes>();
    int iChromaWidth = 0;
    int iChromaHeight = 0;
    fisheye::ChromaSize(_eLayout, _iWidth, _iHeight, &iChromaWidth, &iChromaHeight);
    const bool blNv12 = fisheye::n_YuvLayout::Nv12 == _eLayout;
    korvane::Frame tFrame;
    tFrame.m_iWidth = _iWidth;
    tFrame.m_iHeight = _iHeight;
    fisheye::STRUCT_YuvImage& tImage = tFrame.m_tPlanes;
    tImage.m_iWidth = _iWidth;
    tImage.m_iHeight = _iHeight;
    tImage.m_eLayout = _eLayout;
    tImage.m_blFullRange = _blFullRange;
    const int iLow = _blFullRange ? 0 : 16;
    const int iHigh = _blFullRange ? 255 : 235;
    auto wave = [](double _dX, double _dY, double _dFx, double _dFy) {
        return 0.5 + 0.5 * std::sin(_dX * _dFx + 1.0) * std::cos(_dY * _dFy + 0.5);
    };
    const int aiWidth[3] = {_iWidth, blNv12 ? iChromaWidth * 2 : iChromaWidth, iChromaWidth};
    const int aiHeight[3] = {_iHeight, iChromaHeight, iChromaHeight};
    for (int p = 0; p < (blNv12 ? 2 : 3); ++p) {
        const int iStride = aiWidth[p] + 13;
        pPlanes->m_avec[p].assign(static_cast<size_t>(iStride) * aiHeight[p], 0);
        for (int y = 0; y < aiHeight[p]; ++y)
            for (int x = 0; x < aiWidth[p]; ++x) {
                const int iChannel = p == 0 ? 0 : blNv12 ? 1 + x % 2 : p;
                const int iX = p == 0 ? x : (blNv12 ? x / 2 : x);
                const double dX = p == 0 ? iX : iX * 2.0;
                const double dY = p == 0 ? y : y * (_iHeight / static_cast<double>(iChromaHeight));
                const double dValue = wave(dX, dY, 0.045 + 0.02 * iChannel, 0.05 - 0.012 * iChannel);
                pPlanes->m_avec[p][static_cast<size_t>(y) * iStride + x] =
                    static_cast<std::uint8_t>(iLow + std::lround(dValue * (iHigh - iLow)));
            }
        tImage.m_apcPlane[p] = pPlanes->m_avec[p].data();
        tImage.m_aiStride[p] = iStride;
    }
    tFrame.m_pPlanes = pPlanes;
    return tFrame;
}

// The same picture as RGB rows (a decoder's pictures of other layouts).
inline korvane::Frame MakeRgbPicture(int _iWidth, int _iHeight) {
    const korvane::Frame tYuv = MakePicture(fisheye::n_YuvLayout::I420, _iWidth, _iHeight, true);
    korvane::Frame tFrame;
    tFrame.m_iWidth = _iWidth;
    tFrame.m_iHeight = _iHeight;
    tFrame.m_vecRgb.resize(static_cast<size_t>(_iWidth) * _iHeight * 3);
    for (int y = 0; y < _iHeight; ++y)
        for (int x = 0; x < _iWidth; ++x) {
            std::uint8_t* pc = tFrame.m_vecRgb.data() + (static_cast<size_t>(y) * _iWidth + x) * 3;
            const std::uint8_t cLuma =
                tYuv.m_tPlanes.m_apcPlane[0][static_cast<size_t>(y) * tYuv.m_tPlanes.m_aiStride[0] + x];
            pc[0] = cLuma;
            pc[1] = static_cast<std::uint8_t>(255 - cLuma);
            pc[2] = static_cast<std::uint8_t>((cLuma + 85) % 256);
        }
    return tFrame;
}

inline double Psnr(const std::vector<std::uint8_t>& _vecA, const std::vector<std::uint8_t>& _vecB) {
    if (_vecA.size() != _vecB.size() || _vecA.empty())
        return 0.0;
    double dSum = 0.0;
    for (size_t i = 0; i < _vecA.size(); ++i) {
        const double d = static_cast<double>(_vecA[i]) - _vecB[i];
        dSum += d * d;
    }
    const double dMse = dSum / static_cast<double>(_vecA.size());
    return dMse <= 0.0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / dMse);
}

struct STRUCT_Case {
    std::string m_strName;
    korvane::ViewParams m_tParams;
};

// Every view kind on every mount, with PTZ positions off the centre and at the rim, zooms, panorama
// rotations and a fisheye area box that is not the whole picture.
inline std::vector<STRUCT_Case> ViewCases() {
    std::vector<STRUCT_Case> vecCases;
    const int aiKinds[] = {korvane::n_ViewKind_Source, korvane::n_ViewKind_Fisheye, korvane::n_ViewKind_PTZ,
                           korvane::n_ViewKind_180,    korvane::n_ViewKind_360,     korvane::n_ViewKind_LAT};
    const char* apcKinds[] = {"source", "fisheye", "ptz", "180", "360", "lat"};
    const char* apcMounts[] = {"", "wall", "ceiling", "floor"};
    for (int iMount = 1; iMount <= 3; ++iMount)
        for (int k = 0; k < 6; ++k) {
            korvane::ViewParams tParams;
            tParams.m_iKind = aiKinds[k];
            tParams.m_iMountMode = iMount;
            tParams.m_iAreaLeft = 1875;
            tParams.m_iAreaTop = 833;
            tParams.m_iAreaRight = 8125;
            tParams.m_iAreaBottom = 9166;
            tParams.m_iPtzX = 3000;
            tParams.m_iPtzY = 6500;
            tParams.m_iPtzZoom = 8000;
            tParams.m_fRotateAngle = 35.0f;
            const std::string strName = std::string(apcKinds[k]) + "/" + apcMounts[iMount];
            vecCases.push_back({strName, tParams});
            if (aiKinds[k] == korvane::n_ViewKind_PTZ) {
                // At the centre (the view's up comes from the fallback) and at the rim, zoomed in and out.
                tParams.m_iPtzX = 5000;
                tParams.m_iPtzY = 5000;
                tParams.m_iPtzZoom = 15000;
                vecCases.push_back({strName + " centre wide", tParams});
                tParams.m_iPtzX = 9500;
                tParams.m_iPtzY = 2000;
                tParams.m_iPtzZoom = 900;
                vecCases.push_back({strName + " rim narrow", tParams});
            }
        }
    return vecCases;
}

// Runs _fn with standard error going to a file; what it wrote.
template <typename Fn> std::string CaptureStderr(Fn&& _fn) {
    char acPath[] = "/tmp/korvane-gl-stderr-XXXXXX";
    const int iFile = mkstemp(acPath);
    if (iFile < 0)
        return "(cannot capture)";
    std::fflush(stderr);
    const int iSaved = dup(2);
    dup2(iFile, 2);
    _fn();
    std::fflush(stderr);
    dup2(iSaved, 2);
    close(iSaved);
    close(iFile);
    std::ifstream file(acPath);
    std::stringstream stream;
    stream << file.rdbuf();
    unlink(acPath);
    return stream.str();
}

} // namespace gltest

#endif // KORVANE_GL_TEST_SUPPORT_H
