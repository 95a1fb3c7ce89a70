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
// BM_Copy copies the bytes a scene writes, as the memory-bandwidth reference of the same run.
#include "Dewarp.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
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
void RunViews(benchmark::State& _state, int _iSourceSize, const std::vector<STRUCT_ViewParams>& _vecViews,
              const std::string& _strDump) {
    const STRUCT_Picture& source = Source(_iSourceSize);
    std::vector<CLS_RemapTable> vecTables(_vecViews.size());
    std::vector<STRUCT_Picture> vecOutputs;
    double dPixels = 0.0;
    for (std::size_t i = 0; i < _vecViews.size(); ++i) {
        if (!vecTables[i].Update(_vecViews[i], _iSourceSize, _iSourceSize)) {
            _state.SkipWithError("the view's table could not be built");
            return;
        }
        vecOutputs.emplace_back(_vecViews[i].m_iWidth, _vecViews[i].m_iHeight);
        dPixels += static_cast<double>(_vecViews[i].m_iWidth) * _vecViews[i].m_iHeight;
    }
    const int iThreads = Threads();
    for (auto _ : _state) {
        for (std::size_t i = 0; i < vecTables.size(); ++i)
            vecTables[i].Apply(source.m_tImage, vecOutputs[i].m_tImage, iThreads);
        benchmark::ClobberMemory();
    }
    if (!_strDump.empty())
        for (std::size_t i = 0; i < vecOutputs.size(); ++i)
            Dump(_strDump + (vecOutputs.size() > 1 ? "_" + std::to_string(i) : std::string()), vecOutputs[i]);
    _state.SetItemsProcessed(_state.iterations());
    _state.counters["pixels_per_second"] =
        benchmark::Counter(dPixels, benchmark::Counter::kIsIterationInvariantRate);
    _state.counters["threads"] = iThreads > 0 ? iThreads : DefaultThreadCount();
}

// The three scenes of the comparison, from a fisheye of range(0) x range(0).
void BM_Ptz(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    RunViews(_state, iSize, {PtzView(1280, 720)}, "ptz_" + std::to_string(iSize));
}

void BM_Panorama(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    RunViews(_state, iSize, {PanoramaView(3840, 960)}, "panorama_" + std::to_string(iSize));
}

void BM_FourPtz(benchmark::State& _state) {
    const int iSize = static_cast<int>(_state.range(0));
    std::vector<STRUCT_ViewParams> vecViews;
    for (int i = 0; i < 4; ++i)
        vecViews.push_back(PtzView(1280, 720, i));
    RunViews(_state, iSize, vecViews, "fourptz_" + std::to_string(iSize));
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

// The bandwidth reference: a plain copy of range(0) bytes (what a scene writes per frame).
void BM_Copy(benchmark::State& _state) {
    const std::size_t size = static_cast<std::size_t>(_state.range(0));
    std::vector<std::uint8_t> vecFrom(size, 1), vecTo(size, 0);
    for (auto _ : _state) {
        std::memcpy(vecTo.data(), vecFrom.data(), size);
        benchmark::ClobberMemory();
    }
    _state.SetItemsProcessed(_state.iterations());
    _state.SetBytesProcessed(static_cast<std::int64_t>(_state.iterations() * size));
}

} // namespace

BENCHMARK(BM_Ptz)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Panorama)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FourPtz)->Arg(1920)->Arg(2880)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Copy)
    ->Arg(1280 * 720 * CHANNELS)
    ->Arg(3840 * 960 * CHANNELS) // also four 1280 x 720 views
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
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
