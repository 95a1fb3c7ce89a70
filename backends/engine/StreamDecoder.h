// Elementary stream decoding: codec detection, re-packetising with libavcodec's parser,
// decoding and conversion to RGB.
#ifndef KORVANE_STREAM_DECODER_H
#define KORVANE_STREAM_DECODER_H

#include "ViewRenderer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

struct AVCodecContext;
struct AVCodecParserContext;
struct AVFrame;
struct AVPacket;
struct SwsContext;

namespace korvane {

// Codec of the first recognisable unit of _pcData, or KW_CODEC_UNKNOWN; *_puOffset receives
// where that unit starts. *_pblNeedMore is set when the bytes end before a decision.
int DetectCodec(const std::uint8_t* _pcData, size_t _uSize, size_t* _puOffset, bool* _pblNeedMore);

class CLS_StreamDecoder {
public:
    // Called for every decoded picture; returning false stops the current Feed early.
    typedef std::function<bool(const Frame&)> PF_OnFrame;

    CLS_StreamDecoder() = default;
    CLS_StreamDecoder(const CLS_StreamDecoder&) = delete;
    CLS_StreamDecoder& operator=(const CLS_StreamDecoder&) = delete;
    ~CLS_StreamDecoder();

    // Decodes the next bytes of the stream. Corrupt data is dropped; never throws.
    void Feed(const std::uint8_t* _pcData, size_t _uSize, const PF_OnFrame& _pfOnFrame);
    int Codec() const { return m_iCodec; }

private:
    bool Open(int _iCodec);
    bool Parse(const std::uint8_t* _pcInput, size_t _uSize, const PF_OnFrame& _pfOnFrame);
    bool Decode(const std::uint8_t* _pcData, int _iSize, const PF_OnFrame& _pfOnFrame);
    bool Drain(const PF_OnFrame& _pfOnFrame);

    int m_iCodec = 0;
    bool m_blFailed = false;                // the decoder could not be opened: everything is dropped
    std::vector<std::uint8_t> m_vecPending; // bytes seen before the codec was known
    std::vector<std::uint8_t> m_vecPadded;  // the bytes in hand, followed by zeroed padding
    AVCodecParserContext* m_pParser = nullptr;
    AVCodecContext* m_pContext = nullptr;
    AVPacket* m_pPacket = nullptr;
    AVFrame* m_pFrame = nullptr;
    SwsContext* m_pSws = nullptr;
    Frame m_tRgb;
    // The conversion's own output: rows aligned and padded, because the converter's vector code
    // writes whole blocks past the end of a row.
    std::vector<std::uint8_t> m_vecStaging;
};

} // namespace korvane

#endif // KORVANE_STREAM_DECODER_H
