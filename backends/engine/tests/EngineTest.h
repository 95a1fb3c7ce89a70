// Helpers of the engine's tests: records built from offsets, players fed with generated streams.
#ifndef KORVANE_TESTS_ENGINE_TEST_H
#define KORVANE_TESTS_ENGINE_TEST_H

#include "StreamMaker.h"
#include "korvane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

// Record bytes built field by field at their offsets, independently of the record structs.
struct Bytes {
    explicit Bytes(size_t _uSize) : m_vec(_uSize, 0) {}
    template <typename T> Bytes& At(size_t _uOffset, T _value) {
        std::memcpy(m_vec.data() + _uOffset, &_value, sizeof(_value));
        return *this;
    }
    template <typename T> T Get(size_t _uOffset) const {
        T value;
        std::memcpy(&value, m_vec.data() + _uOffset, sizeof(value));
        return value;
    }
    unsigned char* Data() { return m_vec.data(); }
    int Size() const { return static_cast<int>(m_vec.size()); }
    std::vector<std::uint8_t> m_vec;
};

// The 32-byte creation record of a stream player.
inline Bytes CreateRecord(void* _pWindow, int _iWidth = 320, int _iHeight = 240) {
    return Bytes(32).At<int>(0, 32).At<void*>(8, _pWindow).At<int>(16, _iWidth).At<int>(20, _iHeight);
}

// The 88-byte set-up record of a view.
inline Bytes SetupRecord(int _iType, void* _pWindow, int _iX = 0, int _iY = 0, int _iZoom = 0) {
    return Bytes(88)
        .At<int>(0, 88)
        .At<int>(4, 2)
        .At<int>(8, _iType)
        .At<int>(48, _iX)
        .At<int>(52, _iY)
        .At<int>(56, _iZoom)
        .At<void*>(72, _pWindow)
        .At<int>(80, 0);
}

class EngineTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (int iId : m_vecPlayers)
            KW_DeletePlayer(iId);
        for (void* hSurface : m_vecSurfaces)
            KW_Ext_DestroySurface(hSurface);
    }

    int NewPlayer(void* _pWindow = nullptr, bool _blPlay = true) {
        Bytes tRecord = CreateRecord(_pWindow);
        const int iId = KW_CreatePlayerForSpecialNeeds(2, tRecord.Data(), 32, 0);
        EXPECT_GE(iId, 0);
        if (iId >= 0) {
            m_vecPlayers.push_back(iId);
            if (_blPlay)
                EXPECT_EQ(KW_Play(iId), 0);
        }
        return iId;
    }

    void* NewSurface(int _iWidth = 160, int _iHeight = 120) {
        void* hSurface = KW_Ext_CreateSurface(_iWidth, _iHeight);
        EXPECT_NE(hSurface, nullptr);
        m_vecSurfaces.push_back(hSurface);
        return hSurface;
    }

    static void Feed(int _iPlayId, std::vector<std::uint8_t>& _vecStream, size_t _uChunk = 0) {
        const size_t uChunk = _uChunk ? _uChunk : _vecStream.size();
        for (size_t i = 0; i < _vecStream.size(); i += uChunk)
            ASSERT_EQ(KW_PutStreamToPlayer(_iPlayId, _vecStream.data() + i,
                                           static_cast<int>(std::min(uChunk, _vecStream.size() - i))),
                      0);
    }

    static KW_VideoParam VideoParam(int _iPlayId) {
        KW_VideoParam tParam{};
        tParam.m_iSize = sizeof(tParam);
        EXPECT_EQ(KW_GetVideoParam(_iPlayId, &tParam, sizeof(tParam)), 0);
        return tParam;
    }

    // Waits (at most 20 seconds) until the player decoded _llFrames pictures; the count reached.
    static std::int64_t WaitFrames(int _iPlayId, std::int64_t _llFrames) {
        const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::int64_t llFrames = 0;
        while (std::chrono::steady_clock::now() < tDeadline) {
            llFrames = VideoParam(_iPlayId).m_llFrames;
            if (llFrames >= _llFrames)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return llFrames;
    }

    // Waits until the player has decoded nothing new for 300 ms; the count of pictures then.
    static std::int64_t WaitIdle(int _iPlayId) {
        std::int64_t llFrames = VideoParam(_iPlayId).m_llFrames;
        for (int iQuiet = 0; iQuiet < 60;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            const std::int64_t llNow = VideoParam(_iPlayId).m_llFrames;
            iQuiet = llNow == llFrames ? iQuiet + 1 : 0;
            llFrames = llNow;
        }
        return llFrames;
    }

    // Bytes of the surface; *_piRendered receives the number of pictures rendered into it.
    static std::vector<std::uint8_t> Read(void* _hSurface, int* _piRendered = nullptr) {
        int iWidth = 0;
        int iHeight = 0;
        EXPECT_EQ(KW_Ext_GetSurfaceSize(_hSurface, &iWidth, &iHeight), 0);
        std::vector<std::uint8_t> vecRgb(static_cast<size_t>(iWidth) * iHeight * 3);
        const int iRendered = KW_Ext_ReadSurface(_hSurface, vecRgb.data(), static_cast<int>(vecRgb.size()));
        EXPECT_GE(iRendered, 0);
        if (_piRendered)
            *_piRendered = iRendered;
        return vecRgb;
    }

    static size_t BrightPixels(const std::vector<std::uint8_t>& _vecRgb) {
        size_t uCount = 0;
        for (size_t i = 0; i + 2 < _vecRgb.size(); i += 3)
            uCount += (_vecRgb[i] + _vecRgb[i + 1] + _vecRgb[i + 2] > 300) ? 1 : 0;
        return uCount;
    }

    std::vector<int> m_vecPlayers;
    std::vector<void*> m_vecSurfaces;
};

// The test picture: 320 x 240 with a disc of radius 100 about (160, 120), that is the area
// 1875, 833, 8125, 9166 of the picture.
constexpr int TEST_WIDTH = 320;
constexpr int TEST_HEIGHT = 240;
constexpr Disc TEST_DISC{160, 120, 100};

#endif // KORVANE_TESTS_ENGINE_TEST_H
