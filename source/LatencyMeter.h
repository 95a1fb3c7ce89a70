// Time from a packet's arrival to its picture shown. The source notes each packet it hands on;
// whoever watches the player's count of pictures shown reports it. Packet n is taken to become
// picture n, which holds for the streams the source feeds (one picture a packet, no reordering,
// feeding from a key packet on); a picture the decoder drops shifts the pairing until Resync.
// Every member may be called from any thread.
#ifndef FISHPLAYER_LATENCY_METER_H
#define FISHPLAYER_LATENCY_METER_H

#include <chrono>
#include <deque>
#include <mutex>
#include <vector>

namespace fishsource {

struct LatencySummary {
    double m_dMedianMs = 0;
    double m_dP95Ms = 0;
    int m_iSamples = 0;
};

class LatencyMeter {
public:
    typedef std::chrono::steady_clock::time_point TimePoint;

    // A packet arrived at _tArrival and was handed on.
    void Fed(TimePoint _tArrival);
    // _llShown pictures have been shown so far (a count that only grows), seen at _tNow.
    void Shown(long long _llShown, TimePoint _tNow);
    // Pairs the next packet with the picture after _llShown, forgetting packets not yet shown
    // (after a reconnection).
    void Resync(long long _llShown);
    // Over the last samples (at most MAX_SAMPLES).
    LatencySummary Summary() const;

    static constexpr size_t MAX_SAMPLES = 4096;

private:
    mutable std::mutex m_mutex;
    std::deque<TimePoint> m_dequePending; // arrivals of packets not yet shown
    long long m_llShown = 0;              // pictures accounted for
    std::vector<double> m_vecSamples;     // ring of the last MAX_SAMPLES, in ms
    size_t m_uNext = 0;
};

} // namespace fishsource

#endif // FISHPLAYER_LATENCY_METER_H
