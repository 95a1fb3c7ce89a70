// The video source's reading cost: a whole clip read through fishsource::SourceReader (demuxing,
// Annex B filtering, parameter sets and delimiters added, each packet copied out) against the bare
// demuxing of the same clip with libavformat in the same run (BM_Demux), per packet.
//
// Environment:
//   FISHPLAYER_BENCH_CLIP_<kind>  a clip of each kind: H264 (raw Annex B), MP4 (H.264 in MP4)
//
// Counters: packets per second (items_per_second), bytes per second.
#include "SourceReader.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

const char* Clip(const char* _pcKind) {
    return std::getenv((std::string("FISHPLAYER_BENCH_CLIP_") + _pcKind).c_str());
}

void BM_Source(benchmark::State& _tState, const char* _pcKind) {
    const char* pcClip = Clip(_pcKind);
    if (!pcClip) {
        _tState.SkipWithError("FISHPLAYER_BENCH_CLIP_<kind> is not set");
        return;
    }
    fishsource::ReaderSettings tSettings;
    tSettings.m_strUrl = pcClip;
    long long llPackets = 0, llBytes = 0;
    fishsource::VideoPacket tPacket;
    std::string strError;
    for (auto _ : _tState) {
        fishsource::SourceReader tReader;
        if (!tReader.Open(tSettings, nullptr).empty()) {
            _tState.SkipWithError("the clip does not open");
            return;
        }
        while (tReader.Read(&tPacket, &strError) == 1) {
            ++llPackets;
            llBytes += static_cast<long long>(tPacket.m_vecData.size());
            benchmark::DoNotOptimize(tPacket.m_vecData.data());
        }
    }
    _tState.SetItemsProcessed(llPackets);
    _tState.SetBytesProcessed(llBytes);
}

void BM_Demux(benchmark::State& _tState, const char* _pcKind) {
    const char* pcClip = Clip(_pcKind);
    if (!pcClip) {
        _tState.SkipWithError("FISHPLAYER_BENCH_CLIP_<kind> is not set");
        return;
    }
    long long llPackets = 0, llBytes = 0;
    AVPacket* pPacket = av_packet_alloc();
    for (auto _ : _tState) {
        AVFormatContext* pFormat = nullptr;
        if (avformat_open_input(&pFormat, pcClip, nullptr, nullptr) < 0 ||
            avformat_find_stream_info(pFormat, nullptr) < 0) {
            avformat_close_input(&pFormat);
            _tState.SkipWithError("the clip does not open");
            break;
        }
        while (av_read_frame(pFormat, pPacket) >= 0) {
            ++llPackets;
            llBytes += pPacket->size;
            av_packet_unref(pPacket);
        }
        avformat_close_input(&pFormat);
    }
    av_packet_free(&pPacket);
    _tState.SetItemsProcessed(llPackets);
    _tState.SetBytesProcessed(llBytes);
}

BENCHMARK_CAPTURE(BM_Demux, H264, "H264")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Source, H264, "H264")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Demux, MP4, "MP4")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Source, MP4, "MP4")->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
