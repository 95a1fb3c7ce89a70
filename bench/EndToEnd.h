// What the end-to-end benchmarks share: the clip (FISHPLAYER_BENCH_CLIP), the process's CPU clock
// and the view set of one camera that they draw for every picture.
#ifndef FISHPLAYER_BENCH_END_TO_END_H
#define FISHPLAYER_BENCH_END_TO_END_H

#include "ViewRenderer.h"

#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

// The elementary stream FISHPLAYER_BENCH_CLIP names, read once; empty when it names none.
inline const std::vector<std::uint8_t>& Clip() {
    static const std::vector<std::uint8_t> s_vecClip = [] {
        const char* pcPath = std::getenv("FISHPLAYER_BENCH_CLIP");
        std::vector<std::uint8_t> vecClip;
        if (pcPath) {
            std::ifstream file(pcPath, std::ios::binary);
            vecClip.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
        return vecClip;
    }();
    return s_vecClip;
}

// The process's CPU time so far, every thread included.
inline double CpuSeconds() {
    rusage tUsage{};
    getrusage(RUSAGE_SELF, &tUsage);
    return static_cast<double>(tUsage.ru_utime.tv_sec + tUsage.ru_stime.tv_sec) +
           static_cast<double>(tUsage.ru_utime.tv_usec + tUsage.ru_stime.tv_usec) / 1e6;
}

// A camera's views: four PTZ views of 960x540, a 360 panorama of 1920x480, a 180 view and a LAT
// view of 1280x720, on the sample clip's wall mount.
struct STRUCT_CameraView {
    korvane::ViewParams m_tParams;
    int m_iWidth;
    int m_iHeight;
};

inline std::vector<STRUCT_CameraView> CameraViews() {
    struct STRUCT_Spec {
        int m_iKind;
        int m_iWidth;
        int m_iHeight;
        int m_iPtzX;
        int m_iPtzY;
    };
    const STRUCT_Spec atSpecs[] = {
        {korvane::n_ViewKind_PTZ, 960, 540, 5000, 5000},  {korvane::n_ViewKind_PTZ, 960, 540, 3000, 5000},
        {korvane::n_ViewKind_PTZ, 960, 540, 5000, 3000},  {korvane::n_ViewKind_PTZ, 960, 540, 7000, 6500},
        {korvane::n_ViewKind_360, 1920, 480, 5000, 5000}, {korvane::n_ViewKind_180, 1280, 720, 5000, 5000},
        {korvane::n_ViewKind_LAT, 1280, 720, 5000, 5000},
    };
    std::vector<STRUCT_CameraView> vecViews;
    for (const STRUCT_Spec& tSpec : atSpecs) {
        STRUCT_CameraView tView{{}, tSpec.m_iWidth, tSpec.m_iHeight};
        tView.m_tParams.m_iKind = tSpec.m_iKind;
        tView.m_tParams.m_iMountMode = 1; // the sample looks at a wall
        tView.m_tParams.m_iPtzX = tSpec.m_iPtzX;
        tView.m_tParams.m_iPtzY = tSpec.m_iPtzY;
        vecViews.push_back(tView);
    }
    return vecViews;
}

#endif // FISHPLAYER_BENCH_END_TO_END_H
