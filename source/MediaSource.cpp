#include "MediaSource.h"

#include <algorithm>

namespace fishsource {

SinkResult SinkResultOfPut(int _iPutResult) {
    constexpr int ENGINE_QUEUE_FULL = -3;
    return _iPutResult == 0                   ? SinkResult::Taken
           : _iPutResult == ENGINE_QUEUE_FULL ? SinkResult::Busy
                                              : SinkResult::Failed;
}

namespace {

using Clock = std::chrono::steady_clock;

// A file's clock that jumps by more than this (a loop, a broken timestamp) restarts the pacing.
constexpr double MAX_PACING_GAP_S = 2.0;
// While a file's packets do not fit the sink, it is offered again after this pause.
constexpr auto BUSY_PAUSE = std::chrono::milliseconds(5);
// A stream that ended before its first picture gets this long for the queued data to decode.
constexpr auto DECODE_GRACE = std::chrono::seconds(1);
constexpr auto PICTURE_POLL = std::chrono::milliseconds(10);

} // namespace

const char* StateName(SourceState _eState) {
    switch (_eState) {
    case SourceState::Idle:
        return "idle";
    case SourceState::Playing:
        return "playing";
    case SourceState::Reconnecting:
        return "reconnecting";
    case SourceState::Ended:
        return "ended";
    case SourceState::Failed:
        return "failed";
    }
    return "unknown";
}

MediaSource::MediaSource(const SourceOptions& _tOptions) : m_tOptions(_tOptions) {}

MediaSource::~MediaSource() {
    Stop();
}

std::string MediaSource::Open() {
    if (m_thread.joinable())
        return "already started";
    const std::string strError = m_tReader.Open(m_tOptions.m_tReader, [this] { return m_blStop.load(); });
    m_blOpen = strError.empty() && !m_blStop.load();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tInfo = m_tReader.Info();
    return m_blStop.load() ? "cancelled" : strError;
}

bool MediaSource::Start(const PF_Sink& _pfSink, const PF_Status& _pfStatus, const PF_Pictures& _pfPictures) {
    if (!m_blOpen || m_thread.joinable() || !_pfSink)
        return false;
    m_pfSink = _pfSink;
    m_pfStatus = _pfStatus;
    m_pfPictures = _pfPictures;
    m_tStarted = Clock::now();
    m_thread = std::thread(&MediaSource::Run, this);
    return true;
}

void MediaSource::Cancel() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_blStop = true;
    }
    m_condition.notify_all();
}

void MediaSource::Stop() {
    Cancel();
    if (m_thread.joinable())
        m_thread.join();
    m_tReader.Close();
    m_blOpen = false;
}

StreamInfo MediaSource::Info() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tInfo;
}

SourceStatus MediaSource::Status() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tStatus;
}

void MediaSource::Report(SourceState _eState, const std::string& _strMessage, int _iRetryInS) {
    SourceStatus tStatus;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_tStatus.m_eState = _eState;
        m_tStatus.m_strMessage = _strMessage;
        m_tStatus.m_iRetryInS = _iRetryInS;
        tStatus = m_tStatus;
    }
    if (m_pfStatus)
        m_pfStatus(tStatus);
}

bool MediaSource::SleepUntil(Clock::time_point _tUntil) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_condition.wait_until(lock, _tUntil, [this] { return m_blStop.load(); });
}

void MediaSource::Run() {
    bool blSawPicture = false;
    int iBackoffS = 1;
    Report(SourceState::Playing, "");
    for (;;) {
        const long long llPacketsBefore = m_llPackets.load();
        if (!Play(&blSawPicture))
            return;
        if (m_llPackets.load() > llPacketsBefore)
            iBackoffS = 1; // it played: the next loss starts the backoff afresh
        // A network source that stopped: reopen with backoff, the views keep their last picture.
        for (;;) {
            Report(SourceState::Reconnecting, Status().m_strMessage, iBackoffS);
            const Clock::time_point tRetry = Clock::now() + std::chrono::seconds(iBackoffS);
            iBackoffS = std::min(iBackoffS * 2, m_tOptions.m_iMaxBackoffS);
            while (Clock::now() < tRetry) {
                if (!SleepUntil(std::min(tRetry, Clock::now() + PICTURE_POLL * 10)))
                    return;
                if (!CheckFirstPicture(&blSawPicture, false))
                    return;
            }
            const std::string strError =
                m_tReader.Open(m_tOptions.m_tReader, [this] { return m_blStop.load(); });
            if (m_blStop.load())
                return;
            if (!CheckFirstPicture(&blSawPicture, false))
                return;
            if (strError.empty())
                break;
            std::lock_guard<std::mutex> lock(m_mutex);
            m_tStatus.m_strMessage = strError;
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_tStatus.m_iReconnects;
            m_tInfo = m_tReader.Info();
        }
        if (m_pfPictures)
            m_tLatency.Resync(m_pfPictures());
        Report(SourceState::Playing, "");
    }
}

bool MediaSource::Play(bool* _pblSawPicture) {
    const std::string& strUrl = m_tOptions.m_tReader.m_strUrl;
    const bool blLive = m_tReader.Info().m_blLive;
    bool blKeySeen = false;
    bool blPacing = false;
    Clock::time_point tBase;
    double dBase = 0;
    long long llUntimed = 0;
    VideoPacket tPacket;
    for (;;) {
        std::string strError;
        const int iRead = m_tReader.Read(&tPacket, &strError);
        if (m_blStop.load())
            return false;
        if (iRead < 0 || (iRead == 0 && blLive)) {
            const std::string strWhy = iRead < 0 ? strError : std::string("the stream ended");
            if (!blLive) {
                if (!CheckFirstPicture(_pblSawPicture, true))
                    return false;
                Report(SourceState::Ended, "reading " + strUrl + " stopped: " + strWhy);
                return false;
            }
            Report(SourceState::Reconnecting, "lost " + strUrl + ": " + strWhy);
            return true;
        }
        if (iRead == 0) {
            if (CheckFirstPicture(_pblSawPicture, true))
                Report(SourceState::Ended, "");
            return false;
        }
        // Fed from a key packet on, so that nothing undecodable reaches the player (and the
        // latency's pairing of packets with pictures holds).
        if (!blKeySeen && !tPacket.m_blKey && m_tReader.Info().m_eCodec != VideoCodec::Mjpeg)
            continue;
        blKeySeen = true;
        const auto Held = [this] {
            const long long llHoldAt = m_llHoldAt.load();
            return llHoldAt >= 0 && m_llPackets.load() >= llHoldAt;
        };
        if (!blLive && Held()) {
            while (Held())
                if (!SleepUntil(Clock::now() + PICTURE_POLL))
                    return false;
            blPacing = false;
        }
        // Raw streams carry no timestamps: their packets are paced at the frame rate.
        const double dFrameRate = m_tReader.Info().m_dFrameRate;
        if (tPacket.m_dTime < 0 && dFrameRate > 0)
            tPacket.m_dTime = static_cast<double>(llUntimed) / dFrameRate;
        ++llUntimed;
        if (!blLive && m_tOptions.m_blPaced && tPacket.m_dTime >= 0) {
            const Clock::time_point tNow = Clock::now();
            const double dAhead = tPacket.m_dTime - dBase;
            if (!blPacing || dAhead < 0 ||
                tBase + std::chrono::duration<double>(dAhead) >
                    tNow + std::chrono::duration<double>(MAX_PACING_GAP_S)) {
                blPacing = true;
                tBase = tNow;
                dBase = tPacket.m_dTime;
            } else if (!SleepUntil(tBase + std::chrono::duration_cast<Clock::duration>(
                                               std::chrono::duration<double>(dAhead)))) {
                return false;
            }
        }
        if (!Feed(tPacket))
            return false;
        if (!CheckFirstPicture(_pblSawPicture, false))
            return false;
    }
}

bool MediaSource::Feed(const VideoPacket& _tPacket) {
    const Clock::time_point tArrival = Clock::now();
    const int iSize = static_cast<int>(std::min<size_t>(_tPacket.m_vecData.size(), INT32_MAX));
    for (;;) {
        const SinkResult eResult = m_pfSink(_tPacket.m_vecData.data(), iSize);
        if (eResult == SinkResult::Taken)
            break;
        if (eResult == SinkResult::Failed) {
            Report(SourceState::Failed, "the player refused a packet of " + m_tOptions.m_tReader.m_strUrl);
            return false;
        }
        if (m_tReader.Info().m_blLive)
            return true; // late live data is worth less than the next packet
        if (!SleepUntil(Clock::now() + BUSY_PAUSE))
            return false;
    }
    m_tLatency.Fed(tArrival);
    m_llPackets.fetch_add(1);
    m_llBytes.fetch_add(iSize);
    return true;
}

bool MediaSource::CheckFirstPicture(bool* _pblSawPicture, bool _blEnded) {
    if (*_pblSawPicture || !m_pfPictures)
        return true;
    const std::string& strUrl = m_tOptions.m_tReader.m_strUrl;
    const Clock::time_point tLimit = m_tStarted + std::chrono::milliseconds(m_tOptions.m_iFirstPictureMs);
    // At the end of the stream, the data already handed on gets a moment to decode.
    const Clock::time_point tEndWait =
        _blEnded ? std::max(Clock::now() + DECODE_GRACE, tLimit) : Clock::now();
    for (;;) {
        if (m_pfPictures() > 0) {
            *_pblSawPicture = true;
            return true;
        }
        const long long llBytes = m_llBytes.load();
        std::string strWhy;
        if (llBytes >= m_tOptions.m_llFirstPictureBytes)
            strWhy = "after " + ByteCount(llBytes) + ": not H.264, H.265 or MJPEG?";
        else if (Clock::now() >= tLimit && !_blEnded)
            strWhy = "within " + Seconds(m_tOptions.m_iFirstPictureMs) + " (" + ByteCount(llBytes) + " of " +
                     m_tReader.Info().m_strCodec + " read): not H.264, H.265 or MJPEG, or no key picture?";
        else if (_blEnded && Clock::now() >= tEndWait)
            strWhy = "before it ended after " + ByteCount(llBytes) + " of " + m_tReader.Info().m_strCodec +
                     ": a truncated clip?";
        if (!strWhy.empty()) {
            Report(SourceState::Failed, "no video picture decoded from " + strUrl + " " + strWhy);
            return false;
        }
        if (!_blEnded)
            return true;
        if (!SleepUntil(Clock::now() + PICTURE_POLL))
            return false;
    }
}

} // namespace fishsource
