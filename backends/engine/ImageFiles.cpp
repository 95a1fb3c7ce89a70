#include "ImageFiles.h"

#include "korvane.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace korvane {

namespace {

struct FileCloser {
    void operator()(std::FILE* _pFile) const { std::fclose(_pFile); }
};
typedef std::unique_ptr<std::FILE, FileCloser> FilePtr;

// Writes every byte and closes the file; a failure anywhere is KW_ERR_IO.
int WriteAll(const std::string& _strPath, const std::vector<std::uint8_t>& _vecHead,
             const std::uint8_t* _pcBody, size_t _uBody) {
    std::FILE* pFile = std::fopen(_strPath.c_str(), "wb");
    if (!pFile)
        return KW_ERR_IO;
    // An empty head has no data pointer, which fwrite must not be given.
    bool blOk =
        _vecHead.empty() || std::fwrite(_vecHead.data(), 1, _vecHead.size(), pFile) == _vecHead.size();
    if (blOk && _uBody > 0)
        blOk = std::fwrite(_pcBody, 1, _uBody, pFile) == _uBody;
    blOk = (std::fclose(pFile) == 0) && blOk;
    return blOk ? KW_OK : KW_ERR_IO;
}

void PutLe(std::vector<std::uint8_t>& _vec, std::uint32_t _uValue, int _iBytes) {
    for (int i = 0; i < _iBytes; ++i)
        _vec.push_back(static_cast<std::uint8_t>(_uValue >> (8 * i)));
}

} // namespace

int WriteBmp(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight) {
    // Rows bottom to top, BGR, each padded to four bytes.
    const size_t uRow = (static_cast<size_t>(_iWidth) * 3 + 3) & ~static_cast<size_t>(3);
    const size_t uImage = uRow * static_cast<size_t>(_iHeight);
    std::vector<std::uint8_t> vecHead;
    vecHead.push_back('B');
    vecHead.push_back('M');
    PutLe(vecHead, static_cast<std::uint32_t>(54 + uImage), 4);
    PutLe(vecHead, 0, 4);
    PutLe(vecHead, 54, 4);
    PutLe(vecHead, 40, 4);
    PutLe(vecHead, static_cast<std::uint32_t>(_iWidth), 4);
    PutLe(vecHead, static_cast<std::uint32_t>(_iHeight), 4);
    PutLe(vecHead, 1, 2);
    PutLe(vecHead, 24, 2);
    PutLe(vecHead, 0, 4);
    PutLe(vecHead, static_cast<std::uint32_t>(uImage), 4);
    PutLe(vecHead, 2835, 4); // 72 dpi
    PutLe(vecHead, 2835, 4);
    PutLe(vecHead, 0, 4);
    PutLe(vecHead, 0, 4);
    std::vector<std::uint8_t> vecBody(uImage, 0);
    for (int y = 0; y < _iHeight; ++y) {
        const std::uint8_t* pcSrc = _pcRgb + static_cast<size_t>(y) * _iWidth * 3;
        std::uint8_t* pcDst = vecBody.data() + static_cast<size_t>(_iHeight - 1 - y) * uRow;
        for (int x = 0; x < _iWidth; ++x) {
            pcDst[x * 3] = pcSrc[x * 3 + 2];
            pcDst[x * 3 + 1] = pcSrc[x * 3 + 1];
            pcDst[x * 3 + 2] = pcSrc[x * 3];
        }
    }
    return WriteAll(_strPath, vecHead, vecBody.data(), vecBody.size());
}

int WritePpm(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight) {
    const std::string strHead = "P6\n" + std::to_string(_iWidth) + " " + std::to_string(_iHeight) + "\n255\n";
    return WriteAll(_strPath, std::vector<std::uint8_t>(strHead.begin(), strHead.end()), _pcRgb,
                    static_cast<size_t>(_iWidth) * _iHeight * 3);
}

int WritePng(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight) {
    const AVCodec* pCodec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (!pCodec)
        return KW_ERR_INTERNAL;
    AVCodecContext* pContext = avcodec_alloc_context3(pCodec);
    AVFrame* pFrame = av_frame_alloc();
    AVPacket* pPacket = av_packet_alloc();
    int iRet = KW_ERR_INTERNAL;
    if (pContext && pFrame && pPacket) {
        pContext->width = _iWidth;
        pContext->height = _iHeight;
        pContext->pix_fmt = AV_PIX_FMT_RGB24;
        pContext->time_base = AVRational{1, 25};
        pFrame->width = _iWidth;
        pFrame->height = _iHeight;
        pFrame->format = AV_PIX_FMT_RGB24;
        if (avcodec_open2(pContext, pCodec, nullptr) == 0 && av_frame_get_buffer(pFrame, 0) == 0) {
            for (int y = 0; y < _iHeight; ++y)
                std::copy(_pcRgb + static_cast<size_t>(y) * _iWidth * 3,
                          _pcRgb + static_cast<size_t>(y + 1) * _iWidth * 3,
                          pFrame->data[0] + static_cast<size_t>(y) * pFrame->linesize[0]);
            if (avcodec_send_frame(pContext, pFrame) == 0 && avcodec_receive_packet(pContext, pPacket) == 0)
                iRet = WriteAll(_strPath, {}, pPacket->data, static_cast<size_t>(pPacket->size));
        }
    }
    av_packet_free(&pPacket);
    av_frame_free(&pFrame);
    avcodec_free_context(&pContext);
    return iRet;
}

} // namespace korvane
