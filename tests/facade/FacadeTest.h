// Helpers for tests that use the library only through its exported class, as a client does.
#ifndef FISHPLAYER_FACADE_TEST_H
#define FISHPLAYER_FACADE_TEST_H

#include "CLS_FishPlayer.h"

#include "TestSupport.h"

#include <QMap>
#include <QVector>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

// A stream header: its size, the picture width and height.
struct StreamHeader {
    int m_aiFields[3];
};

using Overlay = QVector<QVector<QVector<STRUCT_DrawPoint>>>;

// Everything the overlay callback of one player received, checked as it arrives.
class OverlaySink {
public:
    void Receive(int _i1, int _i2, const Overlay& _overlay) {
        if (_i1 != 0 || _i2 != 0)
            m_blArgumentsZero = false;
        if (std::this_thread::get_id() == m_threadClient)
            m_blOnClientThread = true;
        for (const auto& outline : _overlay)
            for (const auto& line : outline)
                for (const STRUCT_DrawPoint& point : line)
                    if (!(point.m_fX >= 0.0f && point.m_fX <= 1.0f && point.m_fY >= 0.0f &&
                          point.m_fY <= 1.0f))
                        m_blPointsInPicture = false;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_last = _overlay;
        }
        ++m_iCount;
    }
    Overlay Last() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_last;
    }
    // Waits, at most ten seconds, until _iMore further overlays arrived.
    bool WaitFor(int _iMore) {
        const int iTarget = m_iCount + _iMore;
        for (int i = 0; i < 1000 && m_iCount < iTarget; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return m_iCount >= iTarget;
    }

    std::atomic<int> m_iCount{0};
    std::atomic<bool> m_blArgumentsZero{true};
    std::atomic<bool> m_blPointsInPicture{true};
    std::atomic<bool> m_blOnClientThread{false};
    std::thread::id m_threadClient = std::this_thread::get_id(); // the thread that made the sink

private:
    std::mutex m_mutex;
    Overlay m_last;
};

inline void* Window(int _i) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(0x10000 + 0x100 * _i));
}

// One window for every view kind and three PTZ windows.
inline QMap<int, QVector<void*>> EveryViewWindows() {
    QMap<int, QVector<void*>> qmap;
    qmap[0] = {Window(1)};
    qmap[CORRECT_TYPE_PTZ] = {Window(2), Window(3), Window(4)};
    qmap[CORRECT_TYPE_180] = {Window(5)};
    qmap[CORRECT_TYPE_360] = {Window(6)};
    qmap[CORRECT_TYPE_LAT] = {Window(7)};
    qmap[CORRECT_TYPE_FISHEYE] = {Window(8)};
    return qmap;
}

using Names = std::vector<std::string>;

// The names of the calls in a fake's journal, in order.
inline Names CallNames(FakeControl* _pFake) {
    Names vecNames;
    if (_pFake)
        for (const FakeCall& call : _pFake->Journal())
            vecNames.push_back(call.m_strName);
    return vecNames;
}

// The log of a stream creation that failed in the main player: its own line, then the two lines
// of the facade with the result.
inline Names StreamCreationFailure(const std::string& _strFirst, int _iRet) {
    const std::string strRet = " " + std::to_string(_iRet) + "  ]";
    return {_strFirst,
            "warning: _ZEB_ Panoview : [  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer "
            "fail iRet = " +
                strRet,
            "warning: _ZEB_ Panoview : [  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  "
            "CreateMainPlayer fail "
            "iRet = " +
                strRet};
}

// A failed creation frees the player made for it, and with it the algorithm handle it made.
inline void ExpectAlgoHandleReleased() {
    EXPECT_EQ(CallNames(FakeAlgo()), Names({"ZebAlgo_FCU_Creat", "ZebAlgo_FCU_Init", "ZebAlgo_FCU_Release"}));
    const std::vector<FakeCall> vecRelease = FakeAlgo()->Calls("ZebAlgo_FCU_Release");
    ASSERT_EQ(vecRelease.size(), 1u);
    EXPECT_NE(vecRelease[0].m_vecArgs.at(0), 0);
}

class FacadeTest : public ::testing::Test {
protected:
    // The log of the singleton's first use in this process.
    static const std::vector<std::string>& FirstUseLog() {
        static const std::vector<std::string> s_vecLines = [] {
            TestLog::Clear();
            CLS_FishPlayer::GetInstance();
            return TestLog::Lines();
        }();
        return s_vecLines;
    }

    void SetUp() override {
        FirstUseLog();
        m_pFish = CLS_FishPlayer::GetInstance();
        if (FakeEngine())
            FakeEngine()->Reset();
        if (FakeAlgo())
            FakeAlgo()->Reset();
        TestLog::Clear();
    }

    // Creates a player from a 1920 x 1080 stream with the given windows; its id or -1.
    int Create(const QMap<int, QVector<void*>>& _qmapWindows, QMap<int, QVector<int>>* _pqmapIds = nullptr,
               int _iDrawEnable = 1, bool _blIsInitUserData = false, int* _piResult = nullptr) {
        StreamHeader tHeader{{12, 1920, 1080}};
        QMap<int, QVector<int>> qmapIds;
        int iId = -1;
        const int iRet = m_pFish->FishPlayer_CreatePlayerFromStream(
            m_tParam, Window(0), _qmapWindows, 0, reinterpret_cast<unsigned char*>(&tHeader), 12, &iId,
            _pqmapIds ? *_pqmapIds : qmapIds, _blIsInitUserData, m_tTLDSet, {_iDrawEnable, m_iDrawType});
        if (_piResult)
            *_piResult = iRet;
        return iRet == 0 ? iId : -1;
    }

    CLS_FishPlayer* m_pFish = nullptr;
    STRUCT_FishEyeParam m_tParam{2, 0, 0};
    osd_TLDCSet m_tTLDSet{};
    int m_iDrawType = n_DrawType_Rect;
};

#endif // FISHPLAYER_FACADE_TEST_H
