// Helpers shared by the reliability tests: run lengths, records read from the fake engine, and a
// sink for the overlays that the library's draw thread delivers.
#ifndef FISHPLAYER_RELIABILITY_SUPPORT_H
#define FISHPLAYER_RELIABILITY_SUPPORT_H

#include "facade/FacadeTest.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define FISHPLAYER_SANITIZED_BUILD 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define FISHPLAYER_SANITIZED_BUILD 1
#endif
#endif

namespace Reliability {

constexpr bool SanitizedBuild() {
#if defined(FISHPLAYER_SANITIZED_BUILD)
    return true;
#else
    return false;
#endif
}

// A run length: the environment variable when it holds a positive number, else the default of the
// build (sanitizer builds run several times slower, so they get a smaller one).
inline int RunLength(const char* _pcVariable, int _iNormal, int _iSanitized) {
    if (const char* pcValue = std::getenv(_pcVariable)) {
        const long lValue = std::strtol(pcValue, nullptr, 10);
        if (lValue > 0 && lValue <= 100000000)
            return static_cast<int>(lValue);
    }
    return SanitizedBuild() ? _iSanitized : _iNormal;
}

// The int at a byte offset of a record copy (0 when the copy is too short).
inline int IntAt(const std::vector<unsigned char>& _vecBytes, size_t _offset) {
    int i = 0;
    if (_vecBytes.size() >= _offset + sizeof(int))
        std::memcpy(&i, _vecBytes.data() + _offset, sizeof(int));
    return i;
}

inline float FloatAt(const std::vector<unsigned char>& _vecBytes, size_t _offset) {
    float f = 0.0f;
    if (_vecBytes.size() >= _offset + sizeof(float))
        std::memcpy(&f, _vecBytes.data() + _offset, sizeof(float));
    return f;
}

// The engine's 32-byte PTZ record (kind 1): x at 8, y at 12, zoom at 16.
inline std::vector<unsigned char> PTZRecord(int _iX, int _iY, int _iZoom) {
    return RecordBytes(32).At<int>(8, _iX).At<int>(12, _iY).At<int>(16, _iZoom).Bytes();
}

// The engine's 8-byte panorama record (kind 3): the engine's word at 0, the angle at 4.
inline std::vector<unsigned char> PanoramaRecord(std::uint32_t _uOpaque, float _fAngle) {
    return RecordBytes(8).At<std::uint32_t>(0, _uOpaque).At<float>(4, _fAngle).Bytes();
}

// Counts the calls of one engine function with a given second argument (a correction id).
inline int CountCalls(const std::vector<FakeCall>& _vecCalls, std::int64_t _llSecondArg) {
    int iCount = 0;
    for (const FakeCall& call : _vecCalls)
        if (call.m_vecArgs.size() > 1 && call.m_vecArgs[1] == _llSecondArg)
            ++iCount;
    return iCount;
}

// An overlay callback for players whose overlays a test does not look at.
inline OverlaySink& QuietOverlays() {
    static OverlaySink s_sink;
    return s_sink;
}
inline int QuietOverlayCallback(int _i1, int _i2, Overlay _overlay) {
    QuietOverlays().Receive(_i1, _i2, _overlay);
    return 0;
}
// Registers that callback and waits for an overlay, so that the player's draw thread has found
// it and writes no line of its own into a log that the test compares (drawing must be on).
inline bool RegisterQuietly(CLS_FishPlayer* _pFish, int _iId) {
    return _pFish->FishPlayer_RegisterDrawCallback(_iId, QuietOverlayCallback) == 0 &&
           QuietOverlays().WaitFor(1);
}

} // namespace Reliability

#endif // FISHPLAYER_RELIABILITY_SUPPORT_H
