#include "SourceReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>

namespace fishsource {

namespace {

// An access unit delimiter after each H.264 or H.265 packet: the engine's parser closes a
// picture only when the next one starts, so without it every picture would wait for the next
// packet (one picture period of latency, and the last picture of a file never shown).
const std::uint8_t AUD_H264[] = {0, 0, 0, 1, 0x09, 0xF0};
const std::uint8_t AUD_H265[] = {0, 0, 0, 1, 0x46, 0x01, 0x50};

// Probing of live sources: enough to read the parameter sets, no more.
constexpr std::int64_t LIVE_PROBE_BYTES = 1024 * 1024;
constexpr std::int64_t LIVE_ANALYZE_US = 1000 * 1000;

std::string AvError(int _iError) {
    char acText[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(_iError, acText, sizeof(acText));
    return acText;
}

bool IsAnnexB(const std::uint8_t* _pc, int _iSize) {
    return _iSize >= 4 && _pc[0] == 0 && _pc[1] == 0 && (_pc[2] == 1 || (_pc[2] == 0 && _pc[3] == 1));
}

std::chrono::steady_clock::time_point Now() {
    return std::chrono::steady_clock::now();
}

} // namespace

std::array<std::uint8_t, 12> StreamHeader(int _iWidth, int _iHeight) {
    const std::int32_t aiFields[3] = {12, _iWidth, _iHeight};
    std::array<std::uint8_t, 12> acHeader{};
    // The header's integers are little-endian, as on every platform the library runs on.
    for (int i = 0; i < 3; ++i)
        for (int b = 0; b < 4; ++b)
            acHeader[static_cast<size_t>(i * 4 + b)] =
                static_cast<std::uint8_t>(static_cast<std::uint32_t>(aiFields[i]) >> (8 * b));
    return acHeader;
}

bool IsNetworkUrl(const std::string& _strUrl) {
    static const char* const NETWORK[] = {"rtsp://", "rtsps://", "rtp://", "udp://", "tcp://",
                                          "http://", "https://", "srt://", "rtmp://"};
    for (const char* pcScheme : NETWORK)
        if (_strUrl.compare(0, std::strlen(pcScheme), pcScheme) == 0)
            return true;
    return false;
}

std::string Seconds(int _iMilliseconds) {
    char acText[32];
    std::snprintf(acText, sizeof(acText), "%.1f s", _iMilliseconds / 1000.0);
    return acText;
}

std::string ByteCount(long long _llBytes) {
    char acText[48];
    if (_llBytes < 1024)
        std::snprintf(acText, sizeof(acText), "%lld bytes", _llBytes);
    else if (_llBytes < 1024 * 1024)
        std::snprintf(acText, sizeof(acText), "%.1f KB", _llBytes / 1024.0);
    else
        std::snprintf(acText, sizeof(acText), "%.1f MB", _llBytes / 1048576.0);
    return acText;
}

long long CountPackets(const ReaderSettings& _tSettings) {
    SourceReader tReader;
    if (!tReader.Open(_tSettings, nullptr).empty())
        return 0;
    VideoPacket tPacket;
    std::string strError;
    long long llCount = 0;
    while (tReader.Read(&tPacket, &strError) == 1)
        ++llCount;
    return llCount;
}

SourceReader::SourceReader() = default;

SourceReader::~SourceReader() {
    Close();
}

void SourceReader::Close() {
    av_packet_free(&m_pPacket);
    av_bsf_free(&m_pFilter);
    avformat_close_input(&m_pFormat);
    m_iStream = -1;
    m_vecParameterSets.clear();
    m_blEof = false;
    m_llBytes = 0;
    m_tInfo = StreamInfo();
}

int SourceReader::Interrupt(void* _pOpaque) {
    const SourceReader* pReader = static_cast<const SourceReader*>(_pOpaque);
    return pReader->m_pfAbandon && pReader->m_pfAbandon() ? 1 : 0;
}

std::string SourceReader::Open(const ReaderSettings& _tSettings, const PF_Abandon& _pfAbandon) {
    Close();
    static std::once_flag s_network;
    std::call_once(s_network, [] { avformat_network_init(); });
    const std::string& strUrl = _tSettings.m_strUrl;
    const bool blLive = IsNetworkUrl(strUrl);
    long long llFileSize = -1;
    if (!blLive) {
        struct stat tStat {};
        if (stat(strUrl.c_str(), &tStat) != 0)
            return "cannot open " + strUrl + ": " + std::strerror(errno);
        if (S_ISREG(tStat.st_mode) && tStat.st_size == 0)
            return strUrl + " is empty";
        if (S_ISREG(tStat.st_mode))
            llFileSize = tStat.st_size;
    }
    // No data for the time-out abandons the opening and every read.
    const auto tTimeout = std::chrono::milliseconds(_tSettings.m_iTimeoutMs);
    auto tLastData = std::make_shared<std::chrono::steady_clock::time_point>(Now());
    auto pblTimedOut = std::make_shared<bool>(false);
    m_pfAbandon = [_pfAbandon, tLastData, tTimeout, pblTimedOut]() {
        if (_pfAbandon && _pfAbandon())
            return true;
        if (Now() - *tLastData > tTimeout) {
            *pblTimedOut = true;
            return true;
        }
        return false;
    };
    const std::string strTimeout = Seconds(_tSettings.m_iTimeoutMs);
    m_pFormat = avformat_alloc_context();
    if (!m_pFormat)
        return "cannot open " + strUrl + ": out of memory";
    m_pFormat->interrupt_callback.callback = &SourceReader::Interrupt;
    m_pFormat->interrupt_callback.opaque = this;
    AVDictionary* pOptions = nullptr;
    if (blLive) {
        m_pFormat->probesize = LIVE_PROBE_BYTES;
        m_pFormat->max_analyze_duration = LIVE_ANALYZE_US;
        av_dict_set(&pOptions, "rtsp_transport",
                    _tSettings.m_eTransport == RtspTransport::Tcp ? "tcp" : "udp", 0);
        // A UDP receiver that falls behind loses datagrams rather than failing.
        av_dict_set(&pOptions, "overrun_nonfatal", "1", 0);
        av_dict_set(&pOptions, "fifo_size", "262144", 0);
    }
    const int iOpened = avformat_open_input(&m_pFormat, strUrl.c_str(), nullptr, &pOptions);
    av_dict_free(&pOptions);
    if (iOpened < 0) {
        m_pfAbandon = nullptr;
        // avformat_open_input freed the context.
        if (*pblTimedOut)
            return "cannot open " + strUrl + ": no answer within " + strTimeout;
        if (iOpened == AVERROR_INVALIDDATA && llFileSize >= 0)
            return "cannot open " + strUrl + ": no video format found in its " + ByteCount(llFileSize) +
                   " (" + AvError(iOpened) + ")";
        return "cannot open " + strUrl + ": " + AvError(iOpened);
    }
    *tLastData = Now();
    std::string strError = Probe(strUrl);
    m_tInfo.m_blLive = blLive;
    if (!strError.empty()) {
        if (*pblTimedOut)
            strError = "cannot open " + strUrl + ": no video data within " + strTimeout;
        Close();
        m_pfAbandon = nullptr;
        return strError;
    }
    // From here on each read moves the time-out on (see Read).
    m_pfAbandon = [_pfAbandon, tLastData, tTimeout]() {
        if (_pfAbandon && _pfAbandon())
            return true;
        return Now() - *tLastData > tTimeout;
    };
    m_pfTouch = [tLastData] { *tLastData = Now(); };
    return "";
}

std::string SourceReader::OpenCustom(AVIOContext* _pIo, const std::string& _strName,
                                     const PF_Abandon& _pfAbandon) {
    Close();
    m_pfAbandon = _pfAbandon;
    m_pfTouch = nullptr;
    m_pFormat = avformat_alloc_context();
    if (!m_pFormat)
        return "cannot open " + _strName + ": out of memory";
    m_pFormat->pb = _pIo;
    m_pFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    m_pFormat->interrupt_callback.callback = &SourceReader::Interrupt;
    m_pFormat->interrupt_callback.opaque = this;
    const int iOpened = avformat_open_input(&m_pFormat, nullptr, nullptr, nullptr);
    if (iOpened < 0)
        return "cannot open " + _strName + ": " + AvError(iOpened);
    const std::string strError = Probe(_strName);
    if (!strError.empty())
        Close();
    return strError;
}

std::string SourceReader::Probe(const std::string& _strName) {
    const int iFound = avformat_find_stream_info(m_pFormat, nullptr);
    const std::string strFormat = m_pFormat->iformat ? m_pFormat->iformat->name : "unknown";
    m_iStream = av_find_best_stream(m_pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m_iStream < 0) {
        if (iFound < 0)
            return "cannot read " + _strName + " (" + strFormat + "): " + AvError(iFound);
        return _strName + " holds no video stream (" + strFormat + ")";
    }
    const AVStream* pStream = m_pFormat->streams[m_iStream];
    const AVCodecParameters* pParams = pStream->codecpar;
    const char* pcCodec = avcodec_get_name(pParams->codec_id);
    m_tInfo.m_strFormat = strFormat;
    m_tInfo.m_strCodec = pcCodec ? pcCodec : "unknown";
    m_tInfo.m_eCodec = pParams->codec_id == AV_CODEC_ID_H264    ? VideoCodec::H264
                       : pParams->codec_id == AV_CODEC_ID_HEVC  ? VideoCodec::H265
                       : pParams->codec_id == AV_CODEC_ID_MJPEG ? VideoCodec::Mjpeg
                                                                : VideoCodec::Other;
    if (m_tInfo.m_eCodec == VideoCodec::Other)
        return _strName + " holds " + m_tInfo.m_strCodec + " video (" + strFormat +
               "): not H.264, H.265 or MJPEG";
    m_tInfo.m_iWidth = pParams->width;
    m_tInfo.m_iHeight = pParams->height;
    const AVRational tRate =
        pStream->avg_frame_rate.num > 0 ? pStream->avg_frame_rate : pStream->r_frame_rate;
    m_tInfo.m_dFrameRate = tRate.num > 0 && tRate.den > 0 ? av_q2d(tRate) : 0;
    m_tInfo.m_llFrames = pStream->nb_frames;
    if (m_tInfo.m_llFrames <= 0 && m_pFormat->duration > 0 && m_tInfo.m_dFrameRate > 0)
        m_tInfo.m_llFrames =
            static_cast<long long>(m_pFormat->duration * m_tInfo.m_dFrameRate / AV_TIME_BASE + 0.5);
    m_dTimeBase = av_q2d(pStream->time_base);

    // MP4, MKV and MOV carry H.264 and H.265 in length-prefixed form with the parameter sets
    // out of band: libavcodec's filters make Annex B of them.
    const std::uint8_t* pcExtra = pParams->extradata;
    const int iExtra = pParams->extradata_size;
    if (m_tInfo.m_eCodec != VideoCodec::Mjpeg && iExtra > 0 && pcExtra[0] == 1) {
        const AVBitStreamFilter* pFilter = av_bsf_get_by_name(
            m_tInfo.m_eCodec == VideoCodec::H264 ? "h264_mp4toannexb" : "hevc_mp4toannexb");
        if (!pFilter || av_bsf_alloc(pFilter, &m_pFilter) < 0 ||
            avcodec_parameters_copy(m_pFilter->par_in, pParams) < 0)
            return "cannot read " + _strName + ": no Annex B filter for " + m_tInfo.m_strCodec;
        m_pFilter->time_base_in = pStream->time_base;
        const int iInit = av_bsf_init(m_pFilter);
        if (iInit < 0)
            return "cannot read " + _strName + ": bad " + m_tInfo.m_strCodec + " parameter sets (" +
                   AvError(iInit) + ")";
    } else if (m_tInfo.m_eCodec != VideoCodec::Mjpeg && IsAnnexB(pcExtra, iExtra)) {
        // Parameter sets given out of band (an RTSP session's description): put before each
        // key packet, so that the decoder can start on any of them.
        m_vecParameterSets.assign(pcExtra, pcExtra + iExtra);
    }
    m_pPacket = av_packet_alloc();
    if (!m_pPacket)
        return "cannot read " + _strName + ": out of memory";
    return "";
}

int SourceReader::Read(VideoPacket* _ptPacket, std::string* _pstrError) {
    if (!m_pFormat || !m_pPacket) {
        *_pstrError = "not open";
        return -1;
    }
    for (;;) {
        if (m_pFilter) {
            const int iFiltered = av_bsf_receive_packet(m_pFilter, m_pPacket);
            if (iFiltered == 0) {
                if (Deliver(_ptPacket))
                    return 1;
                continue;
            }
            if (iFiltered == AVERROR_EOF)
                return 0;
            if (iFiltered != AVERROR(EAGAIN)) {
                *_pstrError = AvError(iFiltered);
                return -1;
            }
            if (m_blEof)
                return 0;
        } else if (m_blEof) {
            return 0;
        }
        if (m_pfTouch)
            m_pfTouch();
        const int iRead = av_read_frame(m_pFormat, m_pPacket);
        if (iRead == AVERROR_EOF) {
            m_blEof = true;
            if (m_pFilter)
                av_bsf_send_packet(m_pFilter, nullptr); // drains the filter
            continue;
        }
        if (iRead < 0) {
            *_pstrError = iRead == AVERROR_EXIT ? std::string("no data") : AvError(iRead);
            return -1;
        }
        if (m_pPacket->stream_index != m_iStream || m_pPacket->size <= 0) {
            av_packet_unref(m_pPacket);
            continue;
        }
        if (!m_pFilter) {
            if (Deliver(_ptPacket))
                return 1;
            continue;
        }
        // A packet the filter rejects (corrupt) is dropped; the stream goes on.
        if (av_bsf_send_packet(m_pFilter, m_pPacket) < 0)
            av_packet_unref(m_pPacket);
    }
}

bool SourceReader::Deliver(VideoPacket* _ptPacket) {
    const int iSize = m_pPacket->size;
    if (iSize <= 0 || !m_pPacket->data) {
        av_packet_unref(m_pPacket);
        return false;
    }
    std::vector<std::uint8_t>& vecData = _ptPacket->m_vecData;
    vecData.clear();
    _ptPacket->m_blKey = (m_pPacket->flags & AV_PKT_FLAG_KEY) != 0;
    if (_ptPacket->m_blKey)
        vecData.insert(vecData.end(), m_vecParameterSets.begin(), m_vecParameterSets.end());
    vecData.insert(vecData.end(), m_pPacket->data, m_pPacket->data + iSize);
    if (m_tInfo.m_eCodec == VideoCodec::H264)
        vecData.insert(vecData.end(), std::begin(AUD_H264), std::end(AUD_H264));
    else if (m_tInfo.m_eCodec == VideoCodec::H265)
        vecData.insert(vecData.end(), std::begin(AUD_H265), std::end(AUD_H265));
    const std::int64_t llTime = m_pPacket->dts != AV_NOPTS_VALUE ? m_pPacket->dts : m_pPacket->pts;
    _ptPacket->m_dTime = llTime != AV_NOPTS_VALUE ? static_cast<double>(llTime) * m_dTimeBase : -1;
    m_llBytes += iSize;
    av_packet_unref(m_pPacket);
    return true;
}

} // namespace fishsource
