// One opening of a video file or URL with libavformat: the first video stream, turned into the
// Annex B (or JPEG) packets that the player engine takes, with what the stream says of itself.
// Not thread-safe: one thread opens, reads and closes it (MediaSource's reader thread, or a test).
#ifndef FISHPLAYER_SOURCE_READER_H
#define FISHPLAYER_SOURCE_READER_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct AVBSFContext;
struct AVFormatContext;
struct AVIOContext;
struct AVPacket;

namespace fishsource {

// The codecs the player engine decodes.
enum class VideoCodec { H264, H265, Mjpeg, Other };

// What the stream says of itself once opened.
struct StreamInfo {
    std::string m_strFormat; // the demuxer's name, e.g. "rtsp", "mov,mp4,m4a,3gp,3g2,mj2"
    std::string m_strCodec;  // the codec's name, e.g. "h264"
    VideoCodec m_eCodec = VideoCodec::Other;
    int m_iWidth = 0; // from the stream's codec parameters; 0 when it does not say
    int m_iHeight = 0;
    double m_dFrameRate = 0;  // 0 when unknown
    long long m_llFrames = 0; // pictures in a file, 0 when unknown (live streams)
    bool m_blLive = false;    // a network source: fed as it arrives, reconnected when lost
};

// Transport of rtsp:// and rtsps:// sources.
enum class RtspTransport { Tcp, Udp };

struct ReaderSettings {
    std::string m_strUrl;
    RtspTransport m_eTransport = RtspTransport::Tcp;
    int m_iTimeoutMs = 5000; // no data for this long ends an opening or a read
};

// One packet of the video stream, ready for the engine.
struct VideoPacket {
    std::vector<std::uint8_t> m_vecData;
    double m_dTime = -1; // decoding time in seconds of the stream's clock; negative when unknown
    bool m_blKey = false;
};

// The 12-byte stream header of the library's stream creation: its size (12), width and height.
std::array<std::uint8_t, 12> StreamHeader(int _iWidth, int _iHeight);

// True for URLs of network protocols (rtsp, rtsps, rtp, udp, tcp, http, https, srt, rtmp).
bool IsNetworkUrl(const std::string& _strUrl);

// Human-readable size: "812 bytes", "3.4 KB", "8.0 MB".
std::string ByteCount(long long _llBytes);
// "5.0 s".
std::string Seconds(int _iMilliseconds);

// Video packets in a file, counted by reading it through (for files whose container does not
// say, e.g. raw H.264). 0 when it cannot be read.
long long CountPackets(const ReaderSettings& _tSettings);

class SourceReader {
public:
    // Asked during every blocking call of libavformat: answering true abandons it.
    typedef std::function<bool()> PF_Abandon;

    SourceReader();
    SourceReader(const SourceReader&) = delete;
    SourceReader& operator=(const SourceReader&) = delete;
    ~SourceReader();

    // Opens the URL or file. Returns "" or one line saying what was read and why it failed.
    std::string Open(const ReaderSettings& _tSettings, const PF_Abandon& _pfAbandon);
    // Opens a stream read through _pIo (which the caller owns and frees after Close), e.g. bytes
    // in memory; _strName names it in messages.
    std::string OpenCustom(AVIOContext* _pIo, const std::string& _strName, const PF_Abandon& _pfAbandon);
    void Close();

    // The next video packet: 1 with *_ptPacket filled, 0 at the end of the stream, -1 on a read
    // failure (*_pstrError says which). A packet the stream filter rejects is skipped.
    int Read(VideoPacket* _ptPacket, std::string* _pstrError);

    const StreamInfo& Info() const { return m_tInfo; }
    // Bytes of video packets delivered since Open.
    long long BytesRead() const { return m_llBytes; }

private:
    std::string Probe(const std::string& _strName);
    bool Deliver(VideoPacket* _ptPacket);

    static int Interrupt(void* _pOpaque);

    StreamInfo m_tInfo;
    PF_Abandon m_pfAbandon;
    std::function<void()> m_pfTouch; // restarts the time-out before each read
    AVFormatContext* m_pFormat = nullptr;
    AVBSFContext* m_pFilter = nullptr;
    AVPacket* m_pPacket = nullptr;
    int m_iStream = -1;
    double m_dTimeBase = 0;
    std::vector<std::uint8_t> m_vecParameterSets; // Annex B parameter sets put before key packets
    bool m_blEof = false;
    long long m_llBytes = 0;
};

} // namespace fishsource

#endif // FISHPLAYER_SOURCE_READER_H
