// Stream feeding and the correction and draw switches, against the full fakes.
#include "MainPlayerTestSupport.h"

#include <limits>

namespace {

using MainPlayer = MainPlayerFixture;

// --- Stream feeding ----------------------------------------------------------------------------

TEST_F(MainPlayer, PacketsAreRejectedInOrderAtInfoLevel) {
    TestMainPlayer player;
    unsigned char acData[4] = {1, 2, 3, 4};
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 4), -1); // valid data, no engine player
    EXPECT_EQ(player.PutStreamToPlayer(1, nullptr, 0), -1);
    Create(player, 3);
    EXPECT_EQ(player.PutStreamToPlayer(1, nullptr, 0), -1);
    EXPECT_EQ(player.PutStreamToPlayer(1, acData, 0), -1); // zero length
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, -1), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({
                  "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer nullptr == _pcStreamData ]",
                  "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]",
                  "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]",
              }));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

TEST_F(MainPlayer, PacketWithoutPlayerIsRejected) {
    TestMainPlayer player;
    unsigned char acData[4] = {1, 2, 3, 4};
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 4), -1);
    EXPECT_EQ(player.PutStreamToPlayer(1, nullptr, 0), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]",
                     "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]"}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

TEST_F(MainPlayer, PacketsOfOtherDataTypesAreDropped) {
    TestMainPlayer player;
    Create(player, 3);
    unsigned char acData[4] = {1, 2, 3, 4};
    EXPECT_EQ(player.PutStreamToPlayer(1, acData, 4), 0);
    EXPECT_EQ(player.PutStreamToPlayer(-1, acData, 4), 0);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, PacketReachesTheEngineOnceAndItsResultComesBack) {
    TestMainPlayer player;
    Create(player, 3);
    unsigned char acData[5] = {9, 8, 7, 6, 5};
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 5), 0);
    FakeEngine()->PushResult("KW_PutStreamToPlayer", -7);
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 3), -7);
    FakeEngine()->PushResult("KW_PutStreamToPlayer", 12);
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 1), 12);
    const std::vector<FakeCall> vecPut = FakeEngine()->Calls("KW_PutStreamToPlayer");
    ASSERT_EQ(vecPut.size(), 3u);
    EXPECT_EQ(vecPut[0].m_vecArgs, Args({1, Addr(acData), 5}));
    EXPECT_EQ(vecPut[0].m_vecRecords[0], std::vector<unsigned char>({9, 8, 7, 6, 5}));
    EXPECT_EQ(vecPut[1].m_vecArgs, Args({1, Addr(acData), 3}));
    EXPECT_EQ(FakeEngine()->Journal().size(), 3u);
    EXPECT_TRUE(TestLog::Lines().empty()); // not even for the engine's failure
}

// --- Correction switch -------------------------------------------------------------------------

RecordBytes WholePictureSetup(int _iMode) {
    return RecordBytes(88)
        .At<int>(0, 88)
        .At<int>(4, _iMode)
        .At<int>(8, 256)
        .At<int>(12, 20)
        .At<int>(16, 0)
        .At<int>(20, 10000)
        .At<int>(24, 0)
        .At<int>(28, 10000)
        .At<int>(32, 0)
        .At<int>(40, 32)
        .At<int>(44, 0)
        .At<int>(48, 3000)
        .At<int>(52, 4500)
        .At<int>(56, 10000)
        .At<int>(60, 1000)
        .At<int>(64, 1000)
        .At<std::int64_t>(72, Addr(TestWindow()))
        .At<int>(80, 0);
}

TEST_F(MainPlayer, CorrectionWithoutPlayerFails) {
    TestMainPlayer player;
    EXPECT_EQ(player.EnableFishEye(false), 0); // nothing changes: not even checked
    EXPECT_TRUE(TestLog::Lines().empty());
    EXPECT_EQ(player.EnableFishEye(true), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]"}));
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

TEST_F(MainPlayer, EnablingBeforeUserDataSendsTheWholePictureOnce) {
    TestMainPlayer player;
    Create(player, 3, 3);
    EXPECT_EQ(player.EnableFishEye(true), 0);
    EXPECT_EQ(player.EnableFishEye(true), 0);
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_EQ(vecJournal.size(), 2u);
    EXPECT_EQ(vecJournal[0].m_strName, "KW_SetFishEyeCorrectEnable");
    EXPECT_EQ(vecJournal[0].m_vecArgs, Args({1, 0, 0}));
    EXPECT_EQ(vecJournal[1].m_strName, "KW_SetFishEyeCorrectEnable");
    EXPECT_EQ(vecJournal[1].m_vecArgs[0], 1);
    EXPECT_EQ(vecJournal[1].m_vecArgs[1], 1);
    EXPECT_EQ(vecJournal[1].m_vecRecords[0], WholePictureSetup(3).Bytes());
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_iFishCorrectId, 7);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, EnablingAfterUserDataSendsTheTruncatedAreaAndThePictureSize) {
    TestMainPlayer player;
    Create(player, 3);
    player.m_dAreaLeft = -100.7;
    player.m_dAreaRight = 9999.999;
    player.m_dAreaTop = 0.9;
    player.m_dAreaBottom = 7000.5;
    player.m_blIsInitUserData = true;
    EXPECT_EQ(player.EnableFishEye(true), 0);
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_EQ(vecEnable.size(), 2u);
    EXPECT_EQ(vecEnable[1].m_vecRecords[0], WholePictureSetup(2)
                                                .At<int>(16, -100)
                                                .At<int>(20, 9999)
                                                .At<int>(24, 0)
                                                .At<int>(28, 7000)
                                                .At<int>(60, 1920)
                                                .At<int>(64, 1080)
                                                .Bytes());
}

TEST_F(MainPlayer, AreaBeyondTheIntegerRangeIsSaturated) {
    TestMainPlayer player;
    Create(player, 3);
    player.m_dAreaLeft = std::numeric_limits<double>::quiet_NaN();
    player.m_dAreaRight = 1e300;
    player.m_dAreaTop = -1e300;
    player.m_dAreaBottom = std::numeric_limits<double>::infinity();
    player.m_blIsInitUserData = true;
    EXPECT_EQ(player.EnableFishEye(true), 0);
    const STRUCT_CorrectSetup tSetup =
        FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").at(1).Record<STRUCT_CorrectSetup>();
    EXPECT_EQ(tSetup.m_iAreaLeft, 0);
    EXPECT_EQ(tSetup.m_iAreaRight, std::numeric_limits<int>::max());
    EXPECT_EQ(tSetup.m_iAreaTop, std::numeric_limits<int>::min());
    EXPECT_EQ(tSetup.m_iAreaBottom, std::numeric_limits<int>::max());
}

TEST_F(MainPlayer, FailedEnablingIsLoggedAndRetriedNextTime) {
    TestMainPlayer player;
    Create(player, 3);
    FakeEngine()->PushResult("KW_SetFishEyeCorrectEnable", 0);  // switching off
    FakeEngine()->PushResult("KW_SetFishEyeCorrectEnable", -5); // switching on
    EXPECT_EQ(player.EnableFishEye(true), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::EnableFishEye  "
                                       "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable fail iRet =  -5  ]"}));
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_iFishCorrectId, -1);
    EXPECT_EQ(player.EnableFishEye(true), 0);
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 4u);
    EXPECT_TRUE(player.m_blFishEyeEnabled);
}

TEST_F(MainPlayer, DisablingClearsTheCallbackAndSwitchesOffOnce) {
    TestMainPlayer player;
    Create(player, 3);
    ASSERT_EQ(player.EnableFishEye(true), 0);
    FakeEngine()->ClearJournal();
    EXPECT_EQ(player.EnableFishEye(false), 0);
    EXPECT_EQ(player.EnableFishEye(false), 0);
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_EQ(vecJournal.size(), 2u);
    EXPECT_EQ(vecJournal[0].m_strName, "KW_SetFishEyeCorrectCallBack");
    EXPECT_EQ(vecJournal[0].m_vecArgs, Args({1, 7, 0, Addr(static_cast<CLS_MainPlayer*>(&player))}));
    EXPECT_EQ(vecJournal[1].m_strName, "KW_SetFishEyeCorrectEnable");
    EXPECT_EQ(vecJournal[1].m_vecArgs, Args({1, 0, 0}));
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_iFishCorrectId, 7);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, DisablingClearsTheCallbackOnlyForAnId) {
    TestMainPlayer player;
    Create(player, 3);
    FakeEngine()->PushResult("KW_SetFishEyeCorrectEnable", 0);
    FakeEngine()->PushResult("KW_SetFishEyeCorrectEnable", 0); // id 0 is an id
    ASSERT_EQ(player.EnableFishEye(true), 0);
    EXPECT_EQ(player.m_iFishCorrectId, 0);
    EXPECT_EQ(player.EnableFishEye(false), 0);
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectCallBack").at(0).m_vecArgs[1], 0);
    FakeEngine()->ClearJournal();
    player.m_blFishEyeEnabled = true;
    player.m_iFishCorrectId = -1;
    EXPECT_EQ(player.EnableFishEye(false), 0);
    EXPECT_TRUE(FakeEngine()->Calls("KW_SetFishEyeCorrectCallBack").empty());
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 1u);
}

TEST_F(MainPlayer, NewAreaReachesTheEngineOnlyAfterCorrectionWasSwitchedOffAndOn) {
    TestMainPlayer player;
    Create(player, 3);
    ASSERT_EQ(player.EnableFishEye(true), 0);
    ASSERT_TRUE(DeliverArea(3, Area(1000.0, 2000.0, 9000.0, 8000.0)));
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 2u);
    ASSERT_EQ(player.EnableFishEye(false), 0);
    ASSERT_EQ(player.EnableFishEye(true), 0);
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_EQ(vecEnable.size(), 5u);
    const STRUCT_CorrectSetup tSetup = vecEnable[4].Record<STRUCT_CorrectSetup>();
    EXPECT_EQ(tSetup.m_iAreaLeft, 1000);
    EXPECT_EQ(tSetup.m_iAreaRight, 9000);
    EXPECT_EQ(tSetup.m_iAreaTop, 2000);
    EXPECT_EQ(tSetup.m_iAreaBottom, 8000);
    EXPECT_EQ(tSetup.m_iWidth, 1920);
}

// --- Draw switch -------------------------------------------------------------------------------

TEST_F(MainPlayer, EnablingDrawingStartsNoThread) {
    TestMainPlayer player;
    EXPECT_EQ(player.EnableDraw(true), 0);
    EXPECT_TRUE(player.m_blDrawEnabled);
    EXPECT_EQ(player.m_pDrawThread, nullptr);
    EXPECT_TRUE(player.m_blDrawThreadStop);
}

TEST_F(MainPlayer, DisablingDrawingTwiceFindsNoThreadTheSecondTime) {
    TestMainPlayer player;
    player.EnableDraw(true);
    player.RegisterDrawCallback(&DrawRecorder<1>::Callback);
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    DrawRecorder<1>::Reset();
    player.StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<1>::Count() > 0; }));
    EXPECT_EQ(player.EnableDraw(false), 0);
    EXPECT_EQ(player.m_pDrawThread, nullptr);
    EXPECT_TRUE(player.m_blDrawThreadStop);
    EXPECT_FALSE(player.m_blDrawEnabled);
    const size_t nDeliveries = DrawRecorder<1>::Count(); // none after the stop returned
    EXPECT_EQ(player.EnableDraw(false), 0);
    SleepMs(150);
    EXPECT_EQ(DrawRecorder<1>::Count(), nDeliveries);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, ReenablingDrawingDeliversNothingUntilANewThreadStarts) {
    TestMainPlayer player;
    player.EnableDraw(true);
    player.RegisterDrawCallback(&DrawRecorder<2>::Callback);
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    player.StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<2>::Count() > 0; }));
    player.EnableDraw(false);
    DrawRecorder<2>::Reset();
    EXPECT_EQ(player.EnableDraw(true), 0);
    SleepMs(200);
    EXPECT_EQ(DrawRecorder<2>::Count(), 0u);
    player.StartDrawThread();
    EXPECT_TRUE(WaitFor([] { return DrawRecorder<2>::Count() > 0; }));
    player.EnableDraw(false);
}

TEST_F(MainPlayer, StartingTheDrawThreadTwiceKeepsTheFirst) {
    TestMainPlayer player;
    player.EnableDraw(true);
    player.RegisterDrawCallback(&DrawRecorder<3>::Callback);
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {};
    DrawRecorder<3>::Reset();
    player.StartDrawThread();
    EXPECT_FALSE(player.m_blDrawThreadStop);
    ASSERT_NE(player.m_pDrawThread, nullptr);
    const std::thread::id threadId = player.m_pDrawThread->get_id();
    player.StartDrawThread();
    EXPECT_EQ(player.m_pDrawThread->get_id(), threadId);
    SleepMs(200);
    player.EnableDraw(false);
    const std::vector<Delivery> vecTaken = DrawRecorder<3>::Taken();
    ASSERT_FALSE(vecTaken.empty());
    for (const Delivery& delivery : vecTaken)
        EXPECT_EQ(delivery.m_threadId, threadId);
}

} // namespace
