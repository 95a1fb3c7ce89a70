// Dewarping throughput of the open engine's renderer (fisheye::CLS_RemapTable::Apply): one frame
// remapped per iteration, the table built once beforehand, as the engine does while a view stands
// still.
//
// Environment:
//   FISHPLAYER_BENCH_FRAME_<size>  a raw RGB24 fisheye frame of <size> x <size> (1920, 2880); without
//                                  it a fisheye picture is generated
//   FISHPLAYER_BENCH_THREADS       threads that share a frame's rows (default: one per core)
//   FISHPLAYER_BENCH_DUMP_DIR      where to write each geometry's output once, as raw RGB24
//                                  (<scene>_<size>.rgb), to compare it with another renderer's
//
// Counters: frames per second (items_per_second), output pixels per second (pixels_per_second).
// BM_Portable runs the scenes with the portable remap kernel, BM_Ptz and the others with the fastest
// one the processor runs. BM_OpenCv runs OpenCV's fixed-point cv::remap on the same maps, where the
// benchmarks are built with OpenCV's imgproc (Debian's libopencv-imgproc-dev).
//
// BM_Copy is the memory-bandwidth reference of the same run: a plain copy of as many bytes as a
// scene's remap moves, the source bytes it reads (every source pixel its tables sample, counted
// once) plus the output bytes it writes, from and to buffers that are not in any cache (each
// iteration copies another slice of 256 MiB arenas, far larger than the last-level cache), on as
// many threads as the remap. A copy of buffers that stay in cache would measure the caches instead.
#include "Dewarp.h"
#include "YuvRemap.h"

#include <benchmark/benchmark.h>

#ifdef FISHPLAYER_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

using namespace fisheye;

namespace {

constexpr int CHANNELS = 3;

int Threads() {
    const char* pc = std::getenv("FISHPLAYER_BENCH_THREADS");
    return pc ? std::atoi(pc) : 0;
}

// A picture with its own storage.
struct STRUCT_Picture {
    std::vector<std::uint8_t> m_vecData;
    STRUCT_Image m_tImage;

    STRUCT_Picture(int _iWidth, int _iHeight)
        : m_vecData(static_cast<std::size_t>(_iWidth) * _iHeight * CHANNELS) {
        m_tImage = {m_vecData.data(), _iWidth, _iHeight, CHANNELS, _iWidth * CHANNELS};
    }
};

// A fisheye picture of the given size: the frame file named by the environment, or a generated
// picture (colour rings and spokes inside the image circle, black outside).
const STRUCT_Picture& Source(int _iSize) {
    static std::map<int, STRUCT_Picture> s_map;
    auto it = s_map.find(_iSize);
    if (it != s_map.end())
        return it->second;
    STRUCT_Picture& picture = s_map.emplace(_iSize, STRUCT_Picture(_iSize, _iSize)).first->second;
    const std::string strVar = "FISHPLAYER_BENCH_FRAME_" + std::to_string(_iSize);
    if (const char* pcPath = std::getenv(strVar.c_str())) {
        std::FILE* pFile = std::fopen(pcPath, "rb");
        const std::size_t size = picture.m_vecData.size();
        if (!pFile || std::fread(picture.m_vecData.data(), 1, size, pFile) != size) {
            std::fprintf(stderr, "bench_dewarp: cannot read %zu bytes from %s\n", size, pcPath);
            std::exit(1);
        }
        std::fclose(pFile);
        return picture;
    }
    const double dHalf = _iSize / 2.0;
    for (int y = 0; y < _iSize; ++y)
        for (int x = 0; x < _iSize; ++x) {
            const double dX = x + 0.5 - dHalf, dY = y + 0.5 - dHalf;
            const double dR = std::hypot(dX, dY) / dHalf;
            std::uint8_t* p = &picture.m_vecData[(static_cast<std::size_t>(y) * _iSize + x) * CHANNELS];
            if (dR > 1.0) {
                p[0] = p[1] = p[2] = 0;
                continue;
            }
            const double dA = std::atan2(dY, dX);
            p[0] = static_cast<std::uint8_t>(127.5 + 127.5 * std::sin(dR * 40.0));
            p[1] = static_cast<std::uint8_t>(127.5 + 127.5 * std::sin(dA * 12.0));
            p[2] = static_cast<std::uint8_t>(255.0 * dR);
        }
    return picture;
}

// The geometries compared: a PTZ view looking along the lens's axis (wall mount, so that the
// picture's top stays up), and the ceiling-mounted 360-degree panorama.
STRUCT_ViewParams PtzView(int _iWidth, int _iHeight, int _iIndex = 0) {
    STRUCT_ViewParams t;
    t.m_eKind = n_ViewKind::Ptz;
    t.m_eMount = n_Mount::Wall;
    // Further views look elsewhere, so that several views do not read the same source pixels only.
    static const int s_aiOffsets[4][2] = {{0, 0}, {1500, 0}, {0, 1500}, {-1500, 0}};
    t.m_iPtzX = 5000 + s_aiOffsets[_iIndex % 4][0] * ((_iIndex / 4) % 2 ? -1 : 1);
    t.m_iPtzY = 5000 + s_aiOffsets[_iIndex % 4][1] * ((_iIndex / 4) % 2 ? -1 : 1);
    t.m_iPtzZoom = 10000;
    t.m_iWidth = _iWidth;
    t.m_iHeight = _iHeight;
    return t;
}

STRUCT_ViewParams PanoramaView(int _iWidth, int _iHeight) {
    STRUCT_ViewParams t;
    t.m_eKind = n_ViewKind::Panorama;
    t.m_eMount = n_Mount::Ceiling;
    t.m_iWidth = _iWidth;
    t.m_iHeight = _iHeight;
    return t;
}

void Dump(const std::string& _strName, const STRUCT_Picture& _picture) {
    const char* pcDir = std::getenv("FISHPLAYER_BENCH_DUMP_DIR");
    if (!pcDir)
        return;
    const std::string strPath = std::string(pcDir) + "/" + _strName + ".rgb";
    std::FILE* pFile = std::fopen(strPath.c_str(), "wb");
    if (pFile) {
        std::fwrite(_picture.m_vecData.data(), 1, _picture.m_vecData.size(), pFile);
        std::fclose(pFile);
    }
}

// Remaps one frame into every view per iteration.
// _blGrid: tables with their interpolation grid (the renderer's default) or every entry exact.
void RunViews(benchmark::State& _state, int _iSourceSize, const std::vector<STRUCT_ViewParams>& _vecViews,
              const std::string& _strDump, n_RemapKernel _eKernel = n_RemapKernel::Best,
              bool _blGrid = true) {
    const STRUCT_Picture& source = Source(_iSourceSize);
    std::vector<CLS_RemapTable> vecTables(_vecViews.size());
    std::vector<STRUCT_Picture> vecOutputs;
    double dPixels = 0.0;
    double dInterpolated = 0.0;
    for (std::size_t i = 0; i < _vecViews.size(); ++i) {
        vecTables[i].SetInterpolation(_blGrid);
        if (!vecTables[i].Update(_vecViews[i], _iSourceSize, _iSourceSize)) {
            _state.SkipWithError("the view's table could not be built");
            return;
        }
        vecOutputs.emplace_back(_vecViews[i].m_iWidth, _vecViews[i].m_iHeight);
        const double dViewPixels = static_cast<double>(_vecViews[i].m_iWidth) * _vecViews[i].m_iHeight;
        dPixels += dViewPixels;
        dInterpolated += vecTables[i].InterpolatedShare() * dViewPixels;
    }
    const int iThreads = Threads();
    for (auto _ : _state) {
        for (std::size_t i = 0; i < vecTables.size(); ++i)
            vecTables[i].Apply(source.m_tImage, vecOutputs[i].m_tImage, iThreads, _eKernel);
        benchmark::ClobberMemory();
    }
    if (!_strDump.empty())
        for (std::size_t i = 0; i < vecOutputs.size(); ++i)
            Dump(_strDump + (vecOutputs.size() > 1 ? "_" + std::to_string(i) : std::string()), vecOutputs[i]);
    _state.SetItemsProcessed(_state.iterations());
    _state.counters["pixels_per_second"] =
        benchmark::Counter(dPixels, benchmark::Counter::kIsIterationInvariantRate);
    _state.counters["threads"] = iThreads > 0 ? iThreads : DefaultThreadCount();
    _state.counters["interpolated"] = dInterpolated / dPixels;
}

// The three scenes of the comparison.
enum n_Scene : int { SCENE_PTZ, SCENE_PANORAMA, SCENE_FOUR_PTZ };

std::vector<STRUCT_ViewParams> SceneViews(n_Scene _eScene) {
    switch (_eScene) {
    case SCENE_PTZ:
        return {PtzView(1280, 720)};
    case SCENE_PANORAMA:
        return {PanoramaView(3840, 960)};
    case SCENE_FOUR_PTZ:
    default:
        return {PtzView(1280, 720, 0), PtzView(1280, 720, 1), PtzView(1280, 720, 2), PtzView(1280, 720, 3)};
    }
}

// The scenes, from a fisheye of range(0) x range(0).
void BM_Ptz(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    RunViews(_state, iSize, SceneViews(SCENE_PTZ), "ptz_" + std::to_string(iSize));
}

void BM_Panorama(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    RunViews(_state, iSize, SceneViews(SCENE_PANORAMA), "panorama_" + std::to_string(iSize));
}

void BM_FourPtz(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    RunViews(_state, iSize, SceneViews(SCENE_FOUR_PTZ), "fourptz_" + std::to_string(iSize));
}

// A scene with the portable kernel, against which the vectorised one's speed-up is measured.
void BM_Portable(benchmark::State& _state, n_Scene _eScene) {
    RunViews(_state, static_cast<int>(_state.range(0)), SceneViews(_eScene), "", n_RemapKernel::Scalar);
}

// A scene with every table entry exact (no interpolation grid), against which the grid's gain is
// measured.
void BM_Exact(benchmark::State& _state, n_Scene _eScene) {
    RunViews(_state, static_cast<int>(_state.range(0)), SceneViews(_eScene), "", n_RemapKernel::Best, false);
}

// The same scenes from a decoder's planes (I420 of the scene: its first channel as luma, the
// others at half resolution as chroma) into BGRX, as the engine draws X11 windows; with
// _eKernel and, for the exact variant, no interpolation grid.
void BM_Planes(benchmark::State& _state, n_Scene _eScene, n_RemapKernel _eKernel, bool _blGrid) {
    const int iSize = static_cast<int>(_state.range(0));
    const STRUCT_Picture& source = Source(iSize);
    const int iChroma = (iSize + 1) / 2;
    std::vector<std::uint8_t> vecY(static_cast<std::size_t>(iSize) * iSize);
    std::vector<std::uint8_t> vecU(static_cast<std::size_t>(iChroma) * iChroma);
    std::vector<std::uint8_t> vecV(vecU.size());
    for (int y = 0; y < iSize; ++y)
        for (int x = 0; x < iSize; ++x) {
            const std::uint8_t* p = &source.m_vecData[(static_cast<std::size_t>(y) * iSize + x) * CHANNELS];
            vecY[static_cast<std::size_t>(y) * iSize + x] = p[0];
            vecU[static_cast<std::size_t>(y / 2) * iChroma + x / 2] = p[1];
            vecV[static_cast<std::size_t>(y / 2) * iChroma + x / 2] = p[2];
        }
    STRUCT_YuvImage tImage;
    tImage.m_apcPlane[0] = vecY.data();
    tImage.m_apcPlane[1] = vecU.data();
    tImage.m_apcPlane[2] = vecV.data();
    tImage.m_aiStride[0] = iSize;
    tImage.m_aiStride[1] = tImage.m_aiStride[2] = iChroma;
    tImage.m_iWidth = tImage.m_iHeight = iSize;
    const std::vector<STRUCT_ViewParams> vecViews = SceneViews(_eScene);
    CLS_RemapTable::SetDefaultInterpolation(_blGrid);
    std::vector<CLS_YuvRemap> vecRemaps(vecViews.size());
    CLS_RemapTable::SetDefaultInterpolation(true);
    std::vector<std::vector<std::uint8_t>> vecOutputs;
    double dPixels = 0.0;
    for (std::size_t i = 0; i < vecViews.size(); ++i) {
        if (!vecRemaps[i].Update(vecViews[i], iSize, iSize, n_YuvLayout::I420)) {
            _state.SkipWithError("the view's tables could not be built");
            return;
        }
        vecOutputs.emplace_back(static_cast<std::size_t>(vecViews[i].m_iWidth) * vecViews[i].m_iHeight * 4);
        dPixels += static_cast<double>(vecViews[i].m_iWidth) * vecViews[i].m_iHeight;
    }
    const int iThreads = Threads();
    for (auto _ : _state) {
        for (std::size_t i = 0; i < vecRemaps.size(); ++i)
            vecRemaps[i].Apply(tImage, vecOutputs[i].data(), vecViews[i].m_iWidth * 4, n_PixelOrder::Bgrx32,
                               iThreads, _eKernel);
        benchmark::ClobberMemory();
    }
    _state.SetItemsProcessed(_state.iterations());
    _state.counters["pixels_per_second"] =
        benchmark::Counter(dPixels, benchmark::Counter::kIsIterationInvariantRate);
    _state.counters["threads"] = iThreads > 0 ? iThreads : DefaultThreadCount();
}

// Scaling with the number of PTZ views (1280 x 720 each, from the 1920 fisheye).
void BM_PtzViews(benchmark::State& _state) {
    std::vector<STRUCT_ViewParams> vecViews;
    for (int i = 0; i < _state.range(0); ++i)
        vecViews.push_back(PtzView(1280, 720, i));
    RunViews(_state, 1920, vecViews, "");
}

// Scaling with the output size (one PTZ view of range(0) x range(1), from the 1920 fisheye).
void BM_PtzSize(benchmark::State& _state) {
    RunViews(_state, 1920, {PtzView(static_cast<int>(_state.range(0)), static_cast<int>(_state.range(1)))},
             "");
}

// The source bytes a scene's remap reads per frame: every source pixel one of its tables samples
// (a pixel and the neighbours its entry steps to), counted once however many entries sample it.
std::size_t SourceBytesRead(const std::vector<STRUCT_ViewParams>& _vecViews, int _iSourceSize) {
    std::vector<bool> vecRead(static_cast<std::size_t>(_iSourceSize) * _iSourceSize, false);
    for (const STRUCT_ViewParams& tParams : _vecViews) {
        CLS_RemapTable table;
        if (!table.Update(tParams, _iSourceSize, _iSourceSize))
            return 0;
        for (int y = 0; y < tParams.m_iHeight; ++y)
            for (int x = 0; x < tParams.m_iWidth; ++x) {
                const STRUCT_RemapEntry& tEntry = table.Entry(x, y);
                if (!(tEntry.m_uFlags & CLS_RemapTable::INSIDE))
                    continue;
                const int iRight = (tEntry.m_uFlags & CLS_RemapTable::STEP_X) ? 1 : 0;
                const int iDown = (tEntry.m_uFlags & CLS_RemapTable::STEP_Y) ? 1 : 0;
                for (int dy = 0; dy <= iDown; ++dy)
                    for (int dx = 0; dx <= iRight; ++dx)
                        vecRead[static_cast<std::size_t>(tEntry.m_uY + dy) * _iSourceSize + tEntry.m_uX +
                                dx] = true;
            }
    }
    std::size_t uPixels = 0;
    for (bool blRead : vecRead)
        uPixels += blRead ? 1 : 0;
    return uPixels * CHANNELS;
}

#ifdef FISHPLAYER_BENCH_OPENCV
// OpenCV's fixed-point remap on the same maps: each table entry as a CV_16SC2 position and a
// CV_16UC1 index of its fractions (OpenCV keeps 5 bits of each, the table 8), bilinear, black
// outside (entries outside the picture point outside it), on as many threads as the renderer.
void BM_OpenCv(benchmark::State& _state, n_Scene _eScene) {
    const int iSize = static_cast<int>(_state.range(0));
    const STRUCT_Picture& source = Source(iSize);
    const cv::Mat tSource(iSize, iSize, CV_8UC3, const_cast<std::uint8_t*>(source.m_vecData.data()));
    struct STRUCT_Maps {
        cv::Mat m_tXy;
        cv::Mat m_tFractions;
        cv::Mat m_tOutput;
    };
    std::vector<STRUCT_Maps> vecMaps;
    for (const STRUCT_ViewParams& tParams : SceneViews(_eScene)) {
        CLS_RemapTable table;
        if (!table.Update(tParams, iSize, iSize)) {
            _state.SkipWithError("the view's table could not be built");
            return;
        }
        STRUCT_Maps tMaps{cv::Mat(tParams.m_iHeight, tParams.m_iWidth, CV_16SC2),
                          cv::Mat(tParams.m_iHeight, tParams.m_iWidth, CV_16UC1),
                          cv::Mat(tParams.m_iHeight, tParams.m_iWidth, CV_8UC3)};
        for (int y = 0; y < tParams.m_iHeight; ++y)
            for (int x = 0; x < tParams.m_iWidth; ++x) {
                const STRUCT_RemapEntry& tEntry = table.Entry(x, y);
                const bool blInside = tEntry.m_uFlags & CLS_RemapTable::INSIDE;
                tMaps.m_tXy.at<cv::Vec2s>(y, x) =
                    blInside ? cv::Vec2s(static_cast<short>(tEntry.m_uX), static_cast<short>(tEntry.m_uY))
                             : cv::Vec2s(-2, -2);
                tMaps.m_tFractions.at<std::uint16_t>(y, x) = static_cast<std::uint16_t>(
                    (tEntry.m_uFracY >> 3) * cv::INTER_TAB_SIZE + (tEntry.m_uFracX >> 3));
            }
        vecMaps.push_back(std::move(tMaps));
    }
    const int iThreads = Threads() > 0 ? Threads() : DefaultThreadCount();
    cv::setNumThreads(iThreads);
    for (auto _ : _state) {
        for (STRUCT_Maps& tMaps : vecMaps)
            cv::remap(tSource, tMaps.m_tOutput, tMaps.m_tXy, tMaps.m_tFractions, cv::INTER_LINEAR,
                      cv::BORDER_CONSTANT, cv::Scalar());
        benchmark::ClobberMemory();
    }
    _state.SetItemsProcessed(_state.iterations());
    _state.counters["threads"] = iThreads;
}
#endif

// The bandwidth reference: a plain copy of the bytes the scene's remap moves per frame, from and to
// memory (see the file's comment).
void BM_Copy(benchmark::State& _state, n_Scene _eScene) {
    const int iSize = static_cast<int>(_state.range(0));
    const std::vector<STRUCT_ViewParams> vecViews = SceneViews(_eScene);
    std::size_t uOutput = 0;
    for (const STRUCT_ViewParams& tParams : vecViews)
        uOutput += static_cast<std::size_t>(tParams.m_iWidth) * tParams.m_iHeight * CHANNELS;
    const std::size_t uSource = SourceBytesRead(vecViews, iSize);
    const std::size_t uBytes = uSource + uOutput;
    if (0 == uSource) {
        _state.SkipWithError("the scene's tables could not be built");
        return;
    }
    // Slices of two arenas of at least 256 MiB each, visited in turn: by the time a slice comes back,
    // the others have pushed it out of every cache. Written once beforehand, so that no page is
    // first touched in the timed loop.
    const std::size_t uSlices = std::max<std::size_t>(2, ((std::size_t{256} << 20) + uBytes - 1) / uBytes);
    std::vector<std::uint8_t> vecFrom(uSlices * uBytes, 1), vecTo(uSlices * uBytes, 0);
    const int iThreads = Threads() > 0 ? Threads() : DefaultThreadCount();
    std::size_t uSlice = 0;
    for (auto _ : _state) {
        const std::uint8_t* pFrom = vecFrom.data() + uSlice * uBytes;
        std::uint8_t* pTo = vecTo.data() + uSlice * uBytes;
        uSlice = (uSlice + 1) % uSlices;
        // Contiguous parts on as many threads as the remap, started per frame as the remap's are.
        auto copyPart = [&](int _iPart) {
            const std::size_t uBegin = uBytes * _iPart / iThreads;
            const std::size_t uEnd = uBytes * (_iPart + 1) / iThreads;
            std::memcpy(pTo + uBegin, pFrom + uBegin, uEnd - uBegin);
        };
        std::vector<std::thread> vecThreads;
        for (int i = 1; i < iThreads; ++i)
            vecThreads.emplace_back(copyPart, i);
        copyPart(0);
        for (std::thread& thread : vecThreads)
            thread.join();
        benchmark::ClobberMemory();
    }
    _state.SetItemsProcessed(_state.iterations());
    _state.SetBytesProcessed(static_cast<std::int64_t>(_state.iterations() * uBytes));
    _state.counters["source_bytes"] = static_cast<double>(uSource);
    _state.counters["output_bytes"] = static_cast<double>(uOutput);
    _state.counters["threads"] = iThreads;
}

} // namespace

BENCHMARK(BM_Ptz)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Panorama)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FourPtz)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Portable, Ptz, SCENE_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Portable, Panorama, SCENE_PANORAMA)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Portable, FourPtz, SCENE_FOUR_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Exact, Ptz, SCENE_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Exact, Panorama, SCENE_PANORAMA)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Exact, FourPtz, SCENE_FOUR_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Planes, Ptz, SCENE_PTZ, n_RemapKernel::Best, true)
    ->Arg(1920)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Planes, Panorama, SCENE_PANORAMA, n_RemapKernel::Best, true)
    ->Arg(1920)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Planes, FourPtz, SCENE_FOUR_PTZ, n_RemapKernel::Best, true)
    ->Arg(1920)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Planes, FourPtzExact, SCENE_FOUR_PTZ, n_RemapKernel::Best, false)
    ->Arg(1920)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Planes, FourPtzPortable, SCENE_FOUR_PTZ, n_RemapKernel::Scalar, true)
    ->Arg(1920)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Copy, Ptz, SCENE_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Copy, Panorama, SCENE_PANORAMA)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Copy, FourPtz, SCENE_FOUR_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
#ifdef FISHPLAYER_BENCH_OPENCV
BENCHMARK_CAPTURE(BM_OpenCv, Ptz, SCENE_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_OpenCv, Panorama, SCENE_PANORAMA)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_OpenCv, FourPtz, SCENE_FOUR_PTZ)
    ->Arg(1920)
    ->Arg(2880)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_PtzViews)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Arg(16)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PtzSize)
    ->Args({320, 180})
    ->Args({640, 360})
    ->Args({1280, 720})
    ->Args({1920, 1080})
    ->Args({3840, 2160})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
