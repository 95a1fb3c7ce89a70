// The overlay draw thread: registration, one gathering pass and the thread's life.
#include "MainPlayerTestSupport.h"

#include <future>

namespace {

using MainPlayer = MainPlayerFixture;

ViewData Outline(float _fX, float _fY, int _iPoints) {
    QVector<STRUCT_DrawPoint> qvecLine;
    for (int i = 0; i < _iPoints; ++i)
        qvecLine.append(STRUCT_DrawPoint{_fX + i, _fY + i});
    ViewData qvecData;
    qvecData.append(qvecLine);
    return qvecData;
}

bool SameData(const ViewData& _a, const ViewData& _b) {
    if (_a.size() != _b.size())
        return false;
    for (int i = 0; i < _a.size(); ++i) {
        if (_a[i].size() != _b[i].size())
            return false;
        for (int k = 0; k < _a[i].size(); ++k)
            if (_a[i][k].m_fX != _b[i][k].m_fX || _a[i][k].m_fY != _b[i][k].m_fY)
                return false;
    }
    return true;
}

const std::string kNoCallback =
    "warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]";

TEST_F(MainPlayer, NullDrawCallbackIsRefusedAndTheEarlierOneStays) {
    TestMainPlayer player;
    EXPECT_EQ(player.RegisterDrawCallback(nullptr), -1);
    EXPECT_EQ(player.m_pfDrawCallback.load(), nullptr);
    EXPECT_EQ(player.RegisterDrawCallback(&DrawRecorder<10>::Callback), 0);
    EXPECT_EQ(player.RegisterDrawCallback(nullptr), -1);
    EXPECT_EQ(player.m_pfDrawCallback.load(), &DrawRecorder<10>::Callback);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {"warning: _ZEB_ Panoview : [  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]",
             "warning: _ZEB_ Panoview : [  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]"}));
}

TEST_F(MainPlayer, SecondRegistrationReplacesTheFirst) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    DrawRecorder<10>::Reset();
    DrawRecorder<11>::Reset();
    EXPECT_EQ(player.RegisterDrawCallback(&DrawRecorder<10>::Callback), 0);
    EXPECT_EQ(player.RegisterDrawCallback(&DrawRecorder<11>::Callback), 0);
    EXPECT_EQ(player.DrawCalculate(), 0);
    EXPECT_EQ(DrawRecorder<10>::Count(), 0u);
    EXPECT_EQ(DrawRecorder<11>::Count(), 1u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, PassWithoutCallbackOrPTZViewsFails) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, 0, Outline(0.1f, 0.2f, 2))};
    EXPECT_EQ(player.DrawCalculate(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({kNoCallback}));
    EXPECT_TRUE(player.m_mutexDraw.tryLock()); // released on the failure
    player.m_mutexDraw.unlock();
    TestLog::Clear();
    delete player.m_qmapSubPlayers[CORRECT_TYPE_PTZ][0];
    player.m_qmapSubPlayers.clear();
    player.m_qmapSubPlayers[CORRECT_TYPE_180] = {nullptr};
    player.RegisterDrawCallback(&DrawRecorder<12>::Callback);
    DrawRecorder<12>::Reset();
    EXPECT_EQ(player.DrawCalculate(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawCalculate "
                                       "!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]"}));
    EXPECT_TRUE(player.m_mutexDraw.tryLock());
    player.m_mutexDraw.unlock();
    EXPECT_EQ(DrawRecorder<12>::Count(), 0u);
}

TEST_F(MainPlayer, FailedAndMissingViewsAreLeftOut) {
    TestMainPlayer player;
    FakePTZView* pFailing = new FakePTZView(1, -2, Outline(9.0f, 9.0f, 3));
    FakePTZView* pFirst = new FakePTZView(2, 0, Outline(0.1f, 0.2f, 2));
    FakePTZView* pSecond = new FakePTZView(3, 5, Outline(0.5f, 0.6f, 4)); // positive is a success
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {nullptr, pFailing, pFirst, pSecond};
    player.RegisterDrawCallback(&DrawRecorder<13>::Callback);
    DrawRecorder<13>::Reset();
    EXPECT_EQ(player.DrawCalculate(), 0);
    const std::vector<Delivery> vecTaken = DrawRecorder<13>::Taken();
    ASSERT_EQ(vecTaken.size(), 1u);
    ASSERT_EQ(vecTaken[0].m_data.size(), 2);
    EXPECT_TRUE(SameData(vecTaken[0].m_data[0], Outline(0.1f, 0.2f, 2)));
    EXPECT_TRUE(SameData(vecTaken[0].m_data[1], Outline(0.5f, 0.6f, 4)));
    EXPECT_EQ(vecTaken[0].m_iFirst, 0);
    EXPECT_EQ(vecTaken[0].m_iSecond, 0);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]",
                     "info: _ZEB_ Panoview : [  CLS_MainPlayer::DrawCalculate pPlayer->GetPTZDrawData < 0 "
                     "iRet =  -2  ]"}));
    EXPECT_EQ(pFailing->Calls(), 1);
    EXPECT_TRUE(pFailing->InputWasAlwaysEmpty());
    EXPECT_TRUE(pFirst->InputWasAlwaysEmpty());
    EXPECT_TRUE(pSecond->InputWasAlwaysEmpty());
}

TEST_F(MainPlayer, FirstOfTwoViewsFailingLeavesTheSecondAtPositionZero) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, -1, Outline(9.0f, 9.0f, 3)),
                                                 new FakePTZView(2, 0, Outline(0.3f, 0.4f, 5))};
    player.RegisterDrawCallback(&DrawRecorder<14>::Callback);
    DrawRecorder<14>::Reset();
    EXPECT_EQ(player.DrawCalculate(), 0);
    const std::vector<Delivery> vecTaken = DrawRecorder<14>::Taken();
    ASSERT_EQ(vecTaken.size(), 1u);
    ASSERT_EQ(vecTaken[0].m_data.size(), 1);
    EXPECT_TRUE(SameData(vecTaken[0].m_data[0], Outline(0.3f, 0.4f, 5)));
    EXPECT_EQ(TestLog::Lines(), Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::DrawCalculate "
                                       "pPlayer->GetPTZDrawData < 0 iRet =  -1  ]"}));
    player.DeleteAllSubPlayer();
}

TEST_F(MainPlayer, CallbackRunsWithThePassLockHeld) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    player.RegisterDrawCallback(&DrawRecorder<15>::Callback);
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    DrawRecorder<15>::Reset([&entered, released] {
        entered.set_value();
        released.wait();
    });
    std::thread pass([&] { player.DrawCalculate(); });
    entered.get_future().wait();
    EXPECT_FALSE(player.m_mutexDraw.tryLock());
    release.set_value();
    pass.join();
    EXPECT_TRUE(player.m_mutexDraw.tryLock());
    player.m_mutexDraw.unlock();
    DrawRecorder<15>::Reset();
}

TEST_F(MainPlayer, DrawThreadDeliversEvery40MsOnItsOwnThread) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {}; // key present, no view
    player.RegisterDrawCallback(&DrawRecorder<16>::Callback);
    DrawRecorder<16>::Reset();
    player.EnableDraw(true);
    player.StartDrawThread();
    ASSERT_NE(player.m_pDrawThread, nullptr);
    const std::thread::id drawThread = player.m_pDrawThread->get_id();
    SleepMs(600);
    player.EnableDraw(false);
    const std::vector<Delivery> vecTaken = DrawRecorder<16>::Taken();
    EXPECT_GE(vecTaken.size(), 5u);
    EXPECT_LE(vecTaken.size(), 25u);
    for (const Delivery& delivery : vecTaken) {
        EXPECT_EQ(delivery.m_iFirst, 0);
        EXPECT_EQ(delivery.m_iSecond, 0);
        EXPECT_TRUE(delivery.m_data.isEmpty());
        EXPECT_EQ(delivery.m_threadId, drawThread);
        EXPECT_NE(delivery.m_threadId, std::this_thread::get_id());
    }
    SleepMs(150);
    EXPECT_EQ(DrawRecorder<16>::Count(), vecTaken.size()); // none after the stop returned
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, EveryPlayerCallsWithZeroArguments) {
    TestMainPlayer first;
    TestMainPlayer second;
    Create(first, 3);
    Create(second, 4);
    for (TestMainPlayer* pPlayer : {&first, &second}) {
        pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, 0, Outline(0.1f, 0.1f, 1))};
        pPlayer->EnableDraw(true);
    }
    first.RegisterDrawCallback(&DrawRecorder<17>::Callback);
    second.RegisterDrawCallback(&DrawRecorder<18>::Callback);
    DrawRecorder<17>::Reset();
    DrawRecorder<18>::Reset();
    first.StartDrawThread();
    second.StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<17>::Count() >= 3 && DrawRecorder<18>::Count() >= 3; }));
    first.DeleteAllSubPlayer();
    second.DeleteAllSubPlayer();
    std::vector<Delivery> vecTaken = DrawRecorder<17>::Taken();
    const std::vector<Delivery> vecSecond = DrawRecorder<18>::Taken();
    vecTaken.insert(vecTaken.end(), vecSecond.begin(), vecSecond.end());
    for (const Delivery& delivery : vecTaken) {
        EXPECT_EQ(delivery.m_iFirst, 0);
        EXPECT_EQ(delivery.m_iSecond, 0);
        EXPECT_EQ(delivery.m_data.size(), 1);
    }
}

TEST_F(MainPlayer, ThreadWithoutCallbackWarnsEveryPassUntilOneIsRegistered) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    player.EnableDraw(true);
    DrawRecorder<19>::Reset();
    player.StartDrawThread();
    ASSERT_TRUE(WaitFor([] {
        const Lines vecLines = TestLog::Lines();
        return vecLines.size() >= 2;
    }));
    player.RegisterDrawCallback(&DrawRecorder<19>::Callback);
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<19>::Count() > 0; }));
    player.EnableDraw(false);
    for (const std::string& strLine : TestLog::Lines())
        EXPECT_EQ(strLine, kNoCallback);
}

TEST_F(MainPlayer, ThreadStartedWithDrawingDisabledEndsAfterOneWarning) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    player.RegisterDrawCallback(&DrawRecorder<20>::Callback);
    DrawRecorder<20>::Reset();
    player.StartDrawThread(); // drawing is off
    ASSERT_TRUE(WaitFor([] { return !TestLog::Lines().empty(); }));
    player.EnableDraw(true); // does not revive it
    SleepMs(200);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::FishEyeDrawCallBack "
                                       "!pclsFish->m_blDrawEnabled ]"}));
    EXPECT_EQ(DrawRecorder<20>::Count(), 0u);
    ASSERT_NE(player.m_pDrawThread, nullptr); // ended, still to be joined
    player.StartDrawThread();                 // one is still held: nothing starts
    SleepMs(100);
    EXPECT_EQ(DrawRecorder<20>::Count(), 0u);
    EXPECT_EQ(player.EnableDraw(false), 0);
    EXPECT_EQ(player.m_pDrawThread, nullptr);
    player.EnableDraw(true);
    player.StartDrawThread();
    EXPECT_TRUE(WaitFor([] { return DrawRecorder<20>::Count() > 0; }));
    player.EnableDraw(false);
}

TEST_F(MainPlayer, DrawThreadWithoutPlayerEndsAfterOneWarning) {
    CLS_MainPlayer::FishEyeDrawCallBack(nullptr);
    std::thread thread(&CLS_MainPlayer::FishEyeDrawCallBack, nullptr);
    thread.join();
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]",
               "warning: _ZEB_ Panoview : [  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]"}));
}

TEST_F(MainPlayer, DisablingFromAnotherThreadStopsTheThreadWhileViewsKeepDelivering) {
    TestMainPlayer player;
    FakePTZView* pView = new FakePTZView(1, 0, Outline(0.2f, 0.3f, 2));
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {pView};
    player.RegisterDrawCallback(&DrawRecorder<21>::Callback);
    DrawRecorder<21>::Reset();
    player.EnableDraw(true);
    player.StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<21>::Count() >= 2; }));
    std::thread stopper([&] { EXPECT_EQ(player.EnableDraw(false), 0); });
    stopper.join();
    const size_t nDeliveries = DrawRecorder<21>::Count();
    const int iCalls = pView->Calls();
    SleepMs(150);
    EXPECT_EQ(DrawRecorder<21>::Count(), nDeliveries);
    EXPECT_EQ(pView->Calls(), iCalls);
    for (const Delivery& delivery : DrawRecorder<21>::Taken()) {
        ASSERT_EQ(delivery.m_data.size(), 1);
        EXPECT_TRUE(SameData(delivery.m_data[0], Outline(0.2f, 0.3f, 2)));
    }
    player.DeleteAllSubPlayer();
}

} // namespace
