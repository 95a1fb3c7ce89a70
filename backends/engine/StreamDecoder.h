// Elementary stream decoding: codec detection, re-packetising with libavcodec's parser and
// decoding. Pictures keep the decoder's planes where the renderers read them; others are converted
// to RGB.
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

// The layout and range of FFmpeg pixel format _iFormat with colour range _iRange when the renderers
// read its planes; false for any other format.
bool PlaneLayout(int _iFormat, int _iRange, fisheye::n_YuvLayout* _peLayout, bool* _pblFullRange);

// Converts *_pFrame to RGB24 rows without padding into *_pvecRgb through the cached context *_ppSws,
// using *_pvecStaging for the converter's padded rows. False when the converter refuses the format.
bool ScaleToRgb(SwsContext** _ppSws, const AVFrame* _pFrame, std::vector<std::uint8_t>* _pvecStaging,
                std::vector<std::uint8_t>* _pvecRgb);

// The picture as RGB24 rows without padding (captures); false when it cannot be converted.
bool PictureRgb(const Frame& _tPicture, std::vector<std::uint8_t>* _pvecRgb);

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
    // Moves the decoded picture's planes into *_ptPicture when the renderers read its layout.
    bool TakePlanes(Frame* _ptPicture);

    int m_iCodec = 0;
    bool m_blFailed = false;                // the decoder could not be opened: everything is dropped
    std::vector<std::uint8_t> m_vecPending; // bytes seen before the codec was known
    std::vector<std::uint8_t> m_vecPadded;  // the bytes in hand, followed by zeroed padding
    AVCodecParserContext* m_pParser = nullptr;
    AVCodecContext* m_pContext = nullptr;
    AVPacket* m_pPacket = nullptr;
    AVFrame* m_pFrame = nullptr;
    SwsContext* m_pSws = nullptr;
    Frame m_tRgb;                           // pictures of other layouts
    std::vector<std::uint8_t> m_vecStaging; // the conversion's padded rows
};

} // namespace korvane

#endif // KORVANE_STREAM_DECODER_H
