// Helpers of the main player's tests: a main player that exposes its members, a PTZ view double,
// a merged journal of the engine and algorithm calls, and overlay callbacks that record.
#ifndef MAIN_PLAYER_TEST_SUPPORT_H
#define MAIN_PLAYER_TEST_SUPPORT_H

#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"
#include "mainplayer/CLS_MainPlayer.h"
#include "subplayers/CLS_SubPlayer.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Lines = std::vector<std::string>;
using Args = std::vector<std::int64_t>;
using DrawData = QVector<QVector<QVector<STRUCT_DrawPoint>>>;
using ViewData = QVector<QVector<STRUCT_DrawPoint>>;

inline std::int64_t Addr(const void* _p) {
    return static_cast<std::int64_t>(reinterpret_cast<intptr_t>(_p));
}

// The client's main window (never dereferenced).
inline void* TestWindow() {
    return reinterpret_cast<void*>(static_cast<intptr_t>(0x5150));
}

// A main player whose members and protected operations the tests reach.
class TestMainPlayer : public CLS_MainPlayer {
public:
    using CLS_MainPlayer::m_blDrawEnabled;
    using CLS_MainPlayer::m_blDrawThreadStop;
    using CLS_MainPlayer::m_blFishEyeEnabled;
    using CLS_MainPlayer::m_blIsInitUserData;
    using CLS_MainPlayer::m_dAreaBottom;
    using CLS_MainPlayer::m_dAreaLeft;
    using CLS_MainPlayer::m_dAreaRight;
    using CLS_MainPlayer::m_dAreaTop;
    using CLS_MainPlayer::m_iFishCorrectId;
    using CLS_MainPlayer::m_iMainPlayId;
    using CLS_MainPlayer::m_iPlayIndex;
    using CLS_MainPlayer::m_iVideoHeight;
    using CLS_MainPlayer::m_iVideoWidth;
    using CLS_MainPlayer::m_mutexDraw;
    using CLS_MainPlayer::m_mutexDrawThread;
    using CLS_MainPlayer::m_pDrawThread;
    using CLS_MainPlayer::m_pFcuHandle;
    using CLS_MainPlayer::m_pfDrawCallback;
    using CLS_MainPlayer::m_pMainWindow;
    using CLS_MainPlayer::m_qmapSubPlayers;
    using CLS_MainPlayer::m_qrwlockArea;
    using CLS_MainPlayer::m_qrwlockUserData;
    using CLS_MainPlayer::m_tFishEyeParam;
    using CLS_MainPlayer::StartDrawThread;
};

// A view with a scripted overlay. It records its destruction (with the engine calls made until
// then) and what it was handed; with a main id set, the base class's clean-up reaches the engine
// without log lines.
class FakePTZView : public CLS_SubPlayer {
public:
    struct Destruction {
        int m_iTag;
        size_t m_nEngineCalls; // engine calls journaled before the view went
    };
    static std::vector<Destruction>& Destroyed() {
        static std::vector<Destruction> s_vec;
        return s_vec;
    }

    FakePTZView(int _iTag, int _iResult, ViewData _qvecData)
        : m_iTag(_iTag), m_iResult(_iResult), m_qvecData(_qvecData) {
        m_iMainPlayId = 1;
        m_iSubPlayId = 500 + _iTag;
    }
    ~FakePTZView() override {
        Destroyed().push_back({m_iTag, FakeEngine() ? FakeEngine()->Journal().size() : 0});
    }

    int GetPTZDrawData(ViewData& _qvecData) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_iCalls;
        m_blInputWasEmpty = m_blInputWasEmpty && _qvecData.isEmpty();
        _qvecData = m_qvecData; // also filled when failing: the caller must drop it
        return m_iResult;
    }
    int Calls() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_iCalls;
    }
    bool InputWasAlwaysEmpty() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_blInputWasEmpty;
    }

private:
    std::mutex m_mutex;
    int m_iTag;
    int m_iResult;
    ViewData m_qvecData;
    int m_iCalls = 0;
    bool m_blInputWasEmpty = true;
};

// Engine and algorithm calls of interest in the order they happen across both libraries,
// recorded by wrapping the binding's pointers while the object lives.
class CallOrder {
public:
    CallOrder();
    ~CallOrder();
    static Lines Calls();
    static void Clear();
};

// Overlay callbacks: each slot N has its own function (the callback carries no context).
struct Delivery {
    int m_iFirst;
    int m_iSecond;
    DrawData m_data;
    std::thread::id m_threadId;
};

template <int N> class DrawRecorder {
public:
    static int Callback(int _iFirst, int _iSecond, DrawData _data) {
        std::function<void()> fnHook;
        {
            std::lock_guard<std::mutex> lock(Mutex());
            Deliveries().push_back({_iFirst, _iSecond, _data, std::this_thread::get_id()});
            fnHook = Hook();
        }
        if (fnHook)
            fnHook();
        return 12345; // ignored by the library
    }
    static std::vector<Delivery> Taken() {
        std::lock_guard<std::mutex> lock(Mutex());
        return Deliveries();
    }
    static size_t Count() { return Taken().size(); }
    static void Reset(std::function<void()> _fnHook = {}) {
        std::lock_guard<std::mutex> lock(Mutex());
        Deliveries().clear();
        Hook() = std::move(_fnHook);
    }

private:
    static std::mutex& Mutex() {
        static std::mutex s_mutex;
        return s_mutex;
    }
    static std::vector<Delivery>& Deliveries() {
        static std::vector<Delivery> s_vec;
        return s_vec;
    }
    static std::function<void()>& Hook() {
        static std::function<void()> s_fn;
        return s_fn;
    }
};

// Waits up to _iMs milliseconds for the condition; true when it held.
inline bool WaitFor(const std::function<bool()>& _fnCondition, int _iMs = 3000) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(_iMs);
    while (!_fnCondition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline void SleepMs(int _iMs) {
    std::this_thread::sleep_for(std::chrono::milliseconds(_iMs));
}

// Loads both fakes and starts every test from an empty journal and log.
class MainPlayerFixture : public ::testing::Test {
protected:
    void SetUp() override {
        CLS_ZebPlayer_SDK::LoadLib("Korvane.dll");
        CLS_ZebAlgoFcu::LoadLib(); // a lacking algorithm reports itself here once, not in the tests
        if (FakeEngine())
            FakeEngine()->Reset();
        if (FakeAlgo())
            FakeAlgo()->Reset();
        FakePTZView::Destroyed().clear();
        CallOrder::Clear();
        TestLog::Clear();
    }

    // Stream header bytes: size, width, height.
    static std::vector<unsigned char> Header(int _iSize, int _iWidth, int _iHeight) {
        return RecordBytes(12).At<int>(0, _iSize).At<int>(4, _iWidth).At<int>(8, _iHeight).Bytes();
    }

    static osd_TLDCSet Area(double _dLeft, double _dTop, double _dRight, double _dBottom) {
        osd_TLDCSet tSet{};
        tSet.m_dLeft = _dLeft;
        tSet.m_dTop = _dTop;
        tSet.m_dRight = _dRight;
        tSet.m_dBottom = _dBottom;
        return tSet;
    }

    // Creates the engine player from a 12-byte header (1920 x 1080), registering for user data
    // on play index _iPlayIndex, and forgets the calls and log lines so far.
    static int Create(TestMainPlayer& _player, int _iPlayIndex = 3, int _iMode = 2) {
        std::vector<unsigned char> vecHeader = Header(12, 1920, 1080);
        int iId = -100;
        const int iRet =
            _player.CreateMainPlayer(STRUCT_FishEyeParam{_iMode, 6, 9}, Window(), 0, vecHeader.data(), 12,
                                     &iId, _iPlayIndex, false, osd_TLDCSet{});
        EXPECT_EQ(iRet, 0);
        FakeEngine()->ClearJournal(); // keeps the user-data registration
        if (FakeAlgo())
            FakeAlgo()->ClearJournal();
        CallOrder::Clear();
        TestLog::Clear();
        return iId;
    }

    // Delivers channel user data from a thread of its own, as the engine does.
    static bool Deliver(int _iPlayIndex, int _iType, const void* _pData, int _iLength) {
        bool blDelivered = false;
        std::thread thread([&] {
            blDelivered = FakeEngine()->DeliverUserData(_iPlayIndex, _iType,
                                                        static_cast<const unsigned char*>(_pData), _iLength);
        });
        thread.join();
        return blDelivered;
    }
    static bool DeliverArea(int _iPlayIndex, const osd_TLDCSet& _tSet) {
        return Deliver(_iPlayIndex, 9, &_tSet, sizeof(_tSet));
    }

    static void* Window() { return TestWindow(); }
};

#endif // MAIN_PLAYER_TEST_SUPPORT_H
