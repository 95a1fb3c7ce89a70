#include "LatencyMeter.h"

#include <algorithm>
#include <cmath>

namespace fishsource {

void LatencyMeter::Fed(TimePoint _tArrival) {
    std::lock_guard<std::mutex> lock(m_mutex);
    // A player that shows nothing must not make this grow without bound.
    if (m_dequePending.size() >= MAX_SAMPLES)
        m_dequePending.pop_front();
    m_dequePending.push_back(_tArrival);
}

void LatencyMeter::Shown(long long _llShown, TimePoint _tNow) {
    std::lock_guard<std::mutex> lock(m_mutex);
    while (m_llShown < _llShown) {
        ++m_llShown;
        if (m_dequePending.empty())
            continue; // a picture without a packet noted: nothing to pair it with
        const double dMs = std::chrono::duration<double, std::milli>(_tNow - m_dequePending.front()).count();
        m_dequePending.pop_front();
        if (m_vecSamples.size() < MAX_SAMPLES) {
            m_vecSamples.push_back(dMs);
        } else {
            m_vecSamples[m_uNext] = dMs;
            m_uNext = (m_uNext + 1) % MAX_SAMPLES;
        }
    }
}

void LatencyMeter::Resync(long long _llShown) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_dequePending.clear();
    m_llShown = std::max(m_llShown, _llShown);
}

LatencySummary LatencyMeter::Summary() const {
    std::vector<double> vecSorted;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        vecSorted = m_vecSamples;
    }
    LatencySummary tSummary;
    tSummary.m_iSamples = static_cast<int>(vecSorted.size());
    if (vecSorted.empty())
        return tSummary;
    std::sort(vecSorted.begin(), vecSorted.end());
    // Nearest rank.
    auto Rank = [&vecSorted](double _dShare) {
        const size_t uRank = static_cast<size_t>(std::ceil(_dShare * static_cast<double>(vecSorted.size())));
        return vecSorted[std::min(vecSorted.size(), std::max<size_t>(1, uRank)) - 1];
    };
    tSummary.m_dMedianMs = Rank(0.5);
    tSummary.m_dP95Ms = Rank(0.95);
    return tSummary;
}

} // namespace fishsource
