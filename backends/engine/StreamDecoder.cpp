#include "StreamDecoder.h"

#include <cstring>

#include "korvane.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace korvane {

namespace {

// Bytes kept back while looking for the first unit, so that a stream of garbage cannot grow
// the buffer without bound.
constexpr size_t MAX_PENDING = 1024 * 1024;
// Largest picture side accepted from a decoder.
constexpr int MAX_SIDE = 16384;

int ClassifyNal(std::uint8_t _cFirst, std::uint8_t _cSecond) {
    if (_cFirst & 0x80)
        return KW_CODEC_UNKNOWN; // forbidden bit set in both codecs
    // H.265: a two-byte header with layer 0 and temporal id 1, of a parameter set, an access
    // unit delimiter, SEI or an intra random access picture.
    const int iHevcType = (_cFirst >> 1) & 0x3F;
    if (_cSecond == 0x01 && (_cFirst & 0x01) == 0 &&
        (iHevcType == 32 || iHevcType == 33 || iHevcType == 34 || iHevcType == 35 || iHevcType == 39 ||
         (iHevcType >= 16 && iHevcType <= 21)))
        return KW_CODEC_H265;
    // H.264: a parameter set, delimiter, SEI or slice.
    const int iAvcType = _cFirst & 0x1F;
    if (iAvcType == 1 || iAvcType == 5 || iAvcType == 6 || iAvcType == 7 || iAvcType == 8 || iAvcType == 9)
        return KW_CODEC_H264;
    return KW_CODEC_UNKNOWN;
}

} // namespace

int DetectCodec(const std::uint8_t* _pcData, size_t _uSize, size_t* _puOffset, bool* _pblNeedMore) {
    *_pblNeedMore = false;
    for (size_t i = 0; i + 2 < _uSize; ++i) {
        if (_pcData[i] == 0xFF && _pcData[i + 1] == 0xD8 && _pcData[i + 2] == 0xFF) {
            *_puOffset = i;
            return KW_CODEC_MJPEG;
        }
        if (_pcData[i] == 0 && _pcData[i + 1] == 0 && _pcData[i + 2] == 1) {
            if (i + 4 >= _uSize) {
                *_puOffset = i;
                *_pblNeedMore = true;
                return KW_CODEC_UNKNOWN;
            }
            const int iCodec = ClassifyNal(_pcData[i + 3], _pcData[i + 4]);
            if (iCodec != KW_CODEC_UNKNOWN) {
                // A four-byte start code begins one byte earlier.
                *_puOffset = (i > 0 && _pcData[i - 1] == 0) ? i - 1 : i;
                return iCodec;
            }
        }
    }
    *_puOffset = _uSize >= 2 ? _uSize - 2 : 0;
    *_pblNeedMore = true;
    return KW_CODEC_UNKNOWN;
}

CLS_StreamDecoder::~CLS_StreamDecoder() {
    sws_freeContext(m_pSws);
    av_frame_free(&m_pFrame);
    av_packet_free(&m_pPacket);
    avcodec_free_context(&m_pContext);
    if (m_pParser)
        av_parser_close(m_pParser);
}

bool CLS_StreamDecoder::Open(int _iCodec) {
    const AVCodecID eId = _iCodec == KW_CODEC_H264   ? AV_CODEC_ID_H264
                          : _iCodec == KW_CODEC_H265 ? AV_CODEC_ID_HEVC
                                                     : AV_CODEC_ID_MJPEG;
    const AVCodec* pCodec = avcodec_find_decoder(eId);
    if (!pCodec)
        return false;
    m_pParser = av_parser_init(eId);
    m_pContext = avcodec_alloc_context3(pCodec);
    m_pPacket = av_packet_alloc();
    m_pFrame = av_frame_alloc();
    if (!m_pParser || !m_pContext || !m_pPacket || !m_pFrame)
        return false;
    // Decoded on the player's own thread only. Pictures come out in display order, as soon as
    // the stream's reordering allows.
    m_pContext->thread_count = 1;
    return avcodec_open2(m_pContext, pCodec, nullptr) == 0;
}

void CLS_StreamDecoder::Feed(const std::uint8_t* _pcData, size_t _uSize, const PF_OnFrame& _pfOnFrame) {
    if (m_blFailed || _uSize == 0)
        return;
    if (m_iCodec != KW_CODEC_UNKNOWN) {
        Parse(_pcData, _uSize, _pfOnFrame);
        return;
    }
    m_vecPending.insert(m_vecPending.end(), _pcData, _pcData + _uSize);
    size_t uOffset = 0;
    bool blNeedMore = false;
    const int iCodec = DetectCodec(m_vecPending.data(), m_vecPending.size(), &uOffset, &blNeedMore);
    if (iCodec == KW_CODEC_UNKNOWN) {
        // Keep only the tail that may still start a unit.
        if (blNeedMore && uOffset > 0)
            m_vecPending.erase(m_vecPending.begin(),
                               m_vecPending.begin() + static_cast<std::ptrdiff_t>(uOffset));
        if (m_vecPending.size() > MAX_PENDING)
            m_vecPending.erase(m_vecPending.begin(), m_vecPending.end() - 4);
        return;
    }
    m_iCodec = iCodec;
    if (!Open(iCodec)) {
        m_blFailed = true;
        m_vecPending.clear();
        return;
    }
    std::vector<std::uint8_t> vecStart(m_vecPending.begin() + static_cast<std::ptrdiff_t>(uOffset),
                                       m_vecPending.end());
    m_vecPending.clear();
    m_vecPending.shrink_to_fit();
    Parse(vecStart.data(), vecStart.size(), _pfOnFrame);
}

bool CLS_StreamDecoder::Parse(const std::uint8_t* _pcInput, size_t _uSize, const PF_OnFrame& _pfOnFrame) {
    // The parser reads a little past its input: it gets a copy with zeroed padding.
    m_vecPadded.assign(_pcInput, _pcInput + _uSize);
    m_vecPadded.resize(_uSize + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    const std::uint8_t* pcData = m_vecPadded.data();
    while (_uSize > 0) {
        std::uint8_t* pcOut = nullptr;
        int iOutSize = 0;
        const int iChunk = static_cast<int>(std::min<size_t>(_uSize, 1 << 20));
        const int iUsed = av_parser_parse2(m_pParser, m_pContext, &pcOut, &iOutSize, pcData, iChunk,
                                           AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        if (iUsed < 0 || (iUsed == 0 && iOutSize == 0))
            return true; // the parser gave up on these bytes: drop them
        pcData += iUsed;
        _uSize -= static_cast<size_t>(iUsed);
        if (iOutSize > 0 && !Decode(pcOut, iOutSize, _pfOnFrame))
            return false;
    }
    return true;
}

bool CLS_StreamDecoder::Decode(const std::uint8_t* _pcData, int _iSize, const PF_OnFrame& _pfOnFrame) {
    // The parser's output may lie inside the caller's bytes, which carry no padding: the
    // decoder gets a padded copy.
    if (av_new_packet(m_pPacket, _iSize) < 0)
        return true;
    std::copy(_pcData, _pcData + _iSize, m_pPacket->data);
    int iRet = avcodec_send_packet(m_pContext, m_pPacket);
    if (iRet == AVERROR(EAGAIN)) {
        if (!Drain(_pfOnFrame)) {
            av_packet_unref(m_pPacket);
            return false;
        }
        iRet = avcodec_send_packet(m_pContext, m_pPacket);
    }
    av_packet_unref(m_pPacket);
    // A rejected (corrupt) packet is simply dropped; the decoder resynchronises on the next one.
    (void)iRet;
    return Drain(_pfOnFrame);
}

bool CLS_StreamDecoder::Drain(const PF_OnFrame& _pfOnFrame) {
    for (;;) {
        const int iRet = avcodec_receive_frame(m_pContext, m_pFrame);
        if (iRet < 0)
            return true;
        const int iW = m_pFrame->width;
        const int iH = m_pFrame->height;
        bool blKeep = true;
        if (iW > 0 && iH > 0 && iW <= MAX_SIDE && iH <= MAX_SIDE &&
            static_cast<AVPixelFormat>(m_pFrame->format) != AV_PIX_FMT_NONE) {
            Frame tPicture;
            if (TakePlanes(&tPicture)) {
                blKeep = _pfOnFrame(tPicture);
            } else if (ScaleToRgb(&m_pSws, m_pFrame, &m_vecStaging, &m_tRgb.m_vecRgb)) {
                m_tRgb.m_iWidth = iW;
                m_tRgb.m_iHeight = iH;
                blKeep = _pfOnFrame(m_tRgb);
            }
        }
        av_frame_unref(m_pFrame);
        if (!blKeep)
            return false;
    }
}

bool CLS_StreamDecoder::TakePlanes(Frame* _ptPicture) {
    const AVPixelFormat eFormat = static_cast<AVPixelFormat>(m_pFrame->format);
    fisheye::STRUCT_YuvImage tPlanes;
    if (!PlaneLayout(eFormat, m_pFrame->color_range, &tPlanes.m_eLayout, &tPlanes.m_blFullRange))
        return false;
    for (int p = 0; p < 3; ++p) {
        if (m_pFrame->linesize[p] < 0)
            return false; // rows bottom to top: the RGB path
        tPlanes.m_apcPlane[p] = m_pFrame->data[p];
        tPlanes.m_aiStride[p] = m_pFrame->linesize[p];
    }
    tPlanes.m_iWidth = m_pFrame->width;
    tPlanes.m_iHeight = m_pFrame->height;
    AVFrame* pOwn = av_frame_alloc();
    if (!pOwn)
        return false;
    av_frame_move_ref(pOwn, m_pFrame);
    try {
        _ptPicture->m_pPlanes = std::shared_ptr<const void>(pOwn, [](const void* _p) {
            AVFrame* pFrame = static_cast<AVFrame*>(const_cast<void*>(_p));
            av_frame_free(&pFrame);
        });
    } catch (const std::bad_alloc&) {
        return false; // the picture was freed by the deleter: dropped
    }
    _ptPicture->m_iWidth = tPlanes.m_iWidth;
    _ptPicture->m_iHeight = tPlanes.m_iHeight;
    _ptPicture->m_tPlanes = tPlanes;
    return true;
}

bool PlaneLayout(int _iFormat, int _iRange, fisheye::n_YuvLayout* _peLayout, bool* _pblFullRange) {
    switch (static_cast<AVPixelFormat>(_iFormat)) {
    case AV_PIX_FMT_YUVJ420P:
        *_pblFullRange = true;
        *_peLayout = fisheye::n_YuvLayout::I420;
        return true;
    case AV_PIX_FMT_YUVJ422P:
        *_pblFullRange = true;
        *_peLayout = fisheye::n_YuvLayout::I422;
        return true;
    case AV_PIX_FMT_YUV420P:
        *_peLayout = fisheye::n_YuvLayout::I420;
        break;
    case AV_PIX_FMT_YUV422P:
        *_peLayout = fisheye::n_YuvLayout::I422;
        break;
    case AV_PIX_FMT_NV12:
        *_peLayout = fisheye::n_YuvLayout::Nv12;
        break;
    default:
        return false;
    }
    *_pblFullRange = _iRange == AVCOL_RANGE_JPEG;
    return true;
}

bool ScaleToRgb(SwsContext** _ppSws, const AVFrame* _pFrame, std::vector<std::uint8_t>* _pvecStaging,
                std::vector<std::uint8_t>* _pvecRgb) {
    const int iW = _pFrame->width;
    const int iH = _pFrame->height;
    *_ppSws = sws_getCachedContext(*_ppSws, iW, iH, static_cast<AVPixelFormat>(_pFrame->format), iW, iH,
                                   AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr);
    if (!*_ppSws)
        return false;
    // The converter's vector code writes whole blocks past the end of a row: rows aligned and
    // padded in a staging buffer, then copied tight.
    const size_t uRow = static_cast<size_t>(iW) * 3;
    const size_t uStride = (uRow + 63) / 64 * 64;
    _pvecStaging->resize(uStride * static_cast<size_t>(iH) + 64);
    _pvecRgb->resize(uRow * static_cast<size_t>(iH));
    std::uint8_t* apcDst[4] = {_pvecStaging->data(), nullptr, nullptr, nullptr};
    int aiStride[4] = {static_cast<int>(uStride), 0, 0, 0};
    if (sws_scale(*_ppSws, _pFrame->data, _pFrame->linesize, 0, iH, apcDst, aiStride) != iH)
        return false;
    for (int y = 0; y < iH; ++y)
        std::memcpy(_pvecRgb->data() + uRow * static_cast<size_t>(y),
                    _pvecStaging->data() + uStride * static_cast<size_t>(y), uRow);
    return true;
}

bool PictureRgb(const Frame& _tPicture, std::vector<std::uint8_t>* _pvecRgb) {
    if (!_tPicture.HasPlanes()) {
        *_pvecRgb = _tPicture.m_vecRgb;
        return !_pvecRgb->empty();
    }
    SwsContext* pSws = nullptr;
    std::vector<std::uint8_t> vecStaging;
    const bool blDone =
        ScaleToRgb(&pSws, static_cast<const AVFrame*>(_tPicture.m_pPlanes.get()), &vecStaging, _pvecRgb);
    sws_freeContext(pSws);
    return blDone;
}

} // namespace korvane
