// The source's input path on any bytes: libavformat's probing and demuxing from memory, the
// choice of the video stream, the Annex B filters and the packets handed on. Every input ends
// with the reader closed; a packet handed on is never empty.
#include "SourceReader.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

#include <chrono>
#include <cstdint>
#include <cstring>
#include <cstdlib>

namespace {

// Packets read from one input at most: enough to reach every code path, bounded in time.
constexpr int MAX_PACKETS = 300;
constexpr auto MAX_TIME = std::chrono::seconds(2);

struct Memory {
    const std::uint8_t* m_pData;
    size_t m_uSize;
    size_t m_uPos;
};

int ReadMemory(void* _pOpaque, std::uint8_t* _pBuffer, int _iSize) {
    Memory* pMemory = static_cast<Memory*>(_pOpaque);
    const size_t uLeft = pMemory->m_uSize - pMemory->m_uPos;
    if (uLeft == 0)
        return AVERROR_EOF;
    const size_t uCount = std::min(uLeft, static_cast<size_t>(_iSize));
    std::memcpy(_pBuffer, pMemory->m_pData + pMemory->m_uPos, uCount);
    pMemory->m_uPos += uCount;
    return static_cast<int>(uCount);
}

std::int64_t SeekMemory(void* _pOpaque, std::int64_t _llOffset, int _iWhence) {
    Memory* pMemory = static_cast<Memory*>(_pOpaque);
    if (_iWhence & AVSEEK_SIZE)
        return static_cast<std::int64_t>(pMemory->m_uSize);
    std::int64_t llBase = 0;
    switch (_iWhence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        llBase = static_cast<std::int64_t>(pMemory->m_uPos);
        break;
    case SEEK_END:
        llBase = static_cast<std::int64_t>(pMemory->m_uSize);
        break;
    default:
        return -1;
    }
    if (_llOffset < -llBase || _llOffset > static_cast<std::int64_t>(pMemory->m_uSize) - llBase)
        return -1;
    pMemory->m_uPos = static_cast<size_t>(llBase + _llOffset);
    return static_cast<std::int64_t>(pMemory->m_uPos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* _pData, size_t _uSize) {
    av_log_set_level(AV_LOG_QUIET);
    Memory tMemory{_pData, _uSize, 0};
    constexpr int BUFFER = 4096;
    auto* pBuffer = static_cast<std::uint8_t*>(av_malloc(BUFFER));
    AVIOContext* pIo = avio_alloc_context(pBuffer, BUFFER, 0, &tMemory, &ReadMemory, nullptr, &SeekMemory);
    if (!pIo) {
        av_free(pBuffer);
        return 0;
    }
    const auto tDeadline = std::chrono::steady_clock::now() + MAX_TIME;
    {
        fishsource::SourceReader tReader;
        const std::string strError = tReader.OpenCustom(
            pIo, "input", [tDeadline] { return std::chrono::steady_clock::now() > tDeadline; });
        if (strError.empty()) {
            const fishsource::StreamInfo& tInfo = tReader.Info();
            if (tInfo.m_eCodec == fishsource::VideoCodec::Other)
                std::abort(); // only the engine's codecs get through
            fishsource::VideoPacket tPacket;
            std::string strReadError;
            for (int i = 0; i < MAX_PACKETS && tReader.Read(&tPacket, &strReadError) == 1; ++i)
                if (tPacket.m_vecData.empty())
                    std::abort();
        }
    }
    // The reader is closed: the memory reader is the caller's to free.
    av_freep(&pIo->buffer);
    avio_context_free(&pIo);
    return 0;
}
