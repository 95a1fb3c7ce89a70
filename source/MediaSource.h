// A video source for the player library: any file or URL that libavformat opens, read on a thread
// of its own and handed packet by packet to a sink (the demo and the viewer pass each packet to
// CLS_FishPlayer::FishPlayer_PutStreamToPlayer). Files play at their timestamps (or as fast as
// the sink takes them); network sources are fed as they arrive and reconnected with backoff
// (1, 2, 4 ... 30 s) when they stop. A source that yields no picture within a time or a number
// of bytes fails with one line that says what was read and why.
//
// Threads
// - The owner constructs the source, calls Open, Start, Stop and destroys it, one call at a time
//   and never from inside a callback. The owner may hand the source to another thread between
//   calls (a window opens a camera on a worker so as not to freeze), with the hand-over
//   synchronised (a thread's join, a mutex, a queued event).
// - Cancel may be called from any thread at any time, also while Open runs on another thread.
// - Start runs a reader thread. The sink, the status callback and the picture counter are called
//   on that thread only, one at a time, from Start until Stop returns; never after.
// - Info, Status, Latency, PacketsFed and BytesFed may be called from any thread at any time.
// - Sources share nothing: several may run at once, one per camera.
#ifndef FISHPLAYER_MEDIA_SOURCE_H
#define FISHPLAYER_MEDIA_SOURCE_H

#include "LatencyMeter.h"
#include "SourceReader.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace fishsource {

enum class SourceState { Idle, Playing, Reconnecting, Ended, Failed };

// "idle", "playing", "reconnecting", "ended", "failed".
const char* StateName(SourceState _eState);

struct SourceOptions {
    ReaderSettings m_tReader;
    bool m_blPaced = true;                             // files at their timestamps
    int m_iFirstPictureMs = 5000;                      // no picture within this wall time fails
    long long m_llFirstPictureBytes = 8 * 1024 * 1024; // ... or within this much video data
    int m_iMaxBackoffS = 30;
};

struct SourceStatus {
    SourceState m_eState = SourceState::Idle;
    std::string m_strMessage; // why it reconnects, ended or failed; "" while playing
    int m_iReconnects = 0;    // successful reconnections so far
    int m_iRetryInS = 0;      // Reconnecting: seconds until the next attempt
};

// What the sink did with a packet.
enum class SinkResult {
    Taken,
    Busy,  // full: a file's packet is offered again shortly, a live packet is dropped
    Failed // refused: the source fails with the sink's refusal
};

// What a result of CLS_FishPlayer::FishPlayer_PutStreamToPlayer means to the source: 0 is taken,
// the engine's full packet queue (-3, passed up unchanged) is busy, anything else a refusal.
SinkResult SinkResultOfPut(int _iPutResult);

class MediaSource {
public:
    typedef std::function<SinkResult(const std::uint8_t*, int)> PF_Sink;
    typedef std::function<void(const SourceStatus&)> PF_Status;
    // Pictures shown so far from this source (the engine player's count).
    typedef std::function<long long()> PF_Pictures;

    explicit MediaSource(const SourceOptions& _tOptions);
    MediaSource(const MediaSource&) = delete;
    MediaSource& operator=(const MediaSource&) = delete;
    ~MediaSource();

    // Opens and probes the source, blocking at most the time-out. Returns "" or the reason.
    std::string Open();
    // Starts feeding an opened source. False when it is not open or already started.
    bool Start(const PF_Sink& _pfSink, const PF_Status& _pfStatus, const PF_Pictures& _pfPictures);
    // Makes an Open in progress give up soon (it returns "cancelled") and a started source stop
    // reading; the owner still calls Stop. Returns at once.
    void Cancel();
    // Stops the reader thread and waits for it (at most one blocking read, bounded by the
    // time-out, but abandoned at once in practice).
    void Stop();

    // A file's feeding waits once _llPackets packets have been fed, until a larger count (or a
    // negative one: no limit) is given; the pacing restarts from there. Live sources never wait:
    // a camera does not.
    void HoldAt(long long _llPackets) { m_llHoldAt = _llPackets; }

    StreamInfo Info() const;
    SourceStatus Status() const;
    LatencyMeter& Latency() { return m_tLatency; }
    long long PacketsFed() const { return m_llPackets.load(); }
    long long BytesFed() const { return m_llBytes.load(); }
    const std::string& Url() const { return m_tOptions.m_tReader.m_strUrl; }

private:
    void Run();
    // One opening's packets until it ends. Returns false when the source is done for good.
    bool Play(bool* _pblSawPicture);
    bool Feed(const VideoPacket& _tPacket);
    bool CheckFirstPicture(bool* _pblSawPicture, bool _blEnded);
    void Report(SourceState _eState, const std::string& _strMessage, int _iRetryInS = 0);
    // Sleeps until _tUntil or Stop; false when stopped.
    bool SleepUntil(std::chrono::steady_clock::time_point _tUntil);

    const SourceOptions m_tOptions;
    SourceReader m_tReader;
    bool m_blOpen = false;
    PF_Sink m_pfSink;
    PF_Status m_pfStatus;
    PF_Pictures m_pfPictures;
    LatencyMeter m_tLatency;
    std::atomic<long long> m_llHoldAt{-1};
    std::atomic<long long> m_llPackets{0};
    std::atomic<long long> m_llBytes{0};
    std::chrono::steady_clock::time_point m_tStarted;

    mutable std::mutex m_mutex; // guards the status and the info; wakes sleeps on Stop
    std::condition_variable m_condition;
    std::atomic<bool> m_blStop{false}; // read by libavformat's interrupt checks without the lock
    SourceStatus m_tStatus;
    StreamInfo m_tInfo;
    std::thread m_thread;
};

} // namespace fishsource

#endif // FISHPLAYER_MEDIA_SOURCE_H
