#include "StreamMaker.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace {

void Collect(AVCodecContext* _pContext, AVPacket* _pPacket, std::vector<std::uint8_t>& _vecOut) {
    while (avcodec_receive_packet(_pContext, _pPacket) == 0) {
        _vecOut.insert(_vecOut.end(), _pPacket->data, _pPacket->data + _pPacket->size);
        av_packet_unref(_pPacket);
    }
}

} // namespace

std::vector<std::uint8_t> MakeStream(const std::string& _strEncoder, int _iWidth, int _iHeight, int _iFrames,
                                     Disc _tDisc, int _iPixelFormat) {
    std::vector<std::uint8_t> vecOut;
    if (av_log_get_level() > AV_LOG_ERROR)
        av_log_set_level(AV_LOG_ERROR); // the encoders' statistics are noise here
    const AVCodec* pCodec = avcodec_find_encoder_by_name(_strEncoder.c_str());
    if (!pCodec)
        return vecOut;
    const bool blJpeg = _strEncoder == "mjpeg";
    AVCodecContext* pContext = avcodec_alloc_context3(pCodec);
    pContext->width = _iWidth;
    pContext->height = _iHeight;
    pContext->pix_fmt = _iPixelFormat >= 0 ? static_cast<AVPixelFormat>(_iPixelFormat)
                        : blJpeg           ? AV_PIX_FMT_YUVJ420P
                                           : AV_PIX_FMT_YUV420P;
    pContext->time_base = AVRational{1, 25};
    pContext->framerate = AVRational{25, 1};
    pContext->gop_size = 10;
    pContext->max_b_frames = 0;
    pContext->thread_count = 1;
    if (!blJpeg) {
        av_opt_set(pContext->priv_data, "preset", "ultrafast", 0);
        av_opt_set(pContext->priv_data, "tune", "zerolatency", 0);
    }
    if (_strEncoder == "libx265")
        av_opt_set(pContext->priv_data, "x265-params", "log-level=none", 0);
    if (avcodec_open2(pContext, pCodec, nullptr) < 0) {
        avcodec_free_context(&pContext);
        return vecOut;
    }
    AVFrame* pFrame = av_frame_alloc();
    pFrame->width = _iWidth;
    pFrame->height = _iHeight;
    pFrame->format = pContext->pix_fmt;
    av_frame_get_buffer(pFrame, 0);
    AVPacket* pPacket = av_packet_alloc();
    const int iBlack = blJpeg ? 0 : 16;
    for (int n = 0; n < _iFrames; ++n) {
        av_frame_make_writable(pFrame);
        for (int y = 0; y < _iHeight; ++y) {
            for (int x = 0; x < _iWidth; ++x) {
                const int iDx = x - _tDisc.m_iCenterX;
                const int iDy = y - _tDisc.m_iCenterY;
                const bool blInside = iDx * iDx + iDy * iDy <= _tDisc.m_iRadius * _tDisc.m_iRadius;
                const bool blBar = blInside && ((x + 4 * n) / 16) % 2 == 0;
                pFrame->data[0][y * pFrame->linesize[0] + x] =
                    static_cast<std::uint8_t>(blInside ? (blBar ? 220 : 160) : iBlack);
            }
        }
        int iShiftX = 0;
        int iShiftY = 0;
        av_pix_fmt_get_chroma_sub_sample(pContext->pix_fmt, &iShiftX, &iShiftY);
        for (int y = 0; y < AV_CEIL_RSHIFT(_iHeight, iShiftY); ++y) {
            for (int x = 0; x < AV_CEIL_RSHIFT(_iWidth, iShiftX); ++x) {
                pFrame->data[1][y * pFrame->linesize[1] + x] = 128;
                pFrame->data[2][y * pFrame->linesize[2] + x] = 128;
            }
        }
        pFrame->pts = n;
        if (avcodec_send_frame(pContext, pFrame) == 0)
            Collect(pContext, pPacket, vecOut);
    }
    avcodec_send_frame(pContext, nullptr);
    Collect(pContext, pPacket, vecOut);
    av_packet_free(&pPacket);
    av_frame_free(&pFrame);
    avcodec_free_context(&pContext);
    return vecOut;
}
