// The main player's view set-up: which views are made, with which records, in which order.
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestMainPlayer.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using ::testing::Contains;
using Lines = std::vector<std::string>;

void* Window(int _i) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(0x5000 + 0x10 * _i));
}

std::string Warning(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}

class CreateViews : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
        CLS_ZebAlgoFcu::LoadLib();
        m_pPlayer = std::make_unique<TestMainPlayer>();
        m_pPlayer->m_iMainPlayId = 1; // as after a successful stream creation
        m_pPlayer->m_iVideoWidth = 1920;
        m_pPlayer->m_iVideoHeight = 1080;
        m_pPlayer->m_tFishEyeParam = {2, 33, 44};
        // A registered callback keeps a running draw thread quiet.
        m_pPlayer->RegisterDrawCallback(
            [](int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>>) { return 0; });
        FakeEngine()->Reset();
        FakeAlgo()->Reset();
        TestLog::Clear();
    }
    void TearDown() override {
        m_pPlayer->EnableDraw(false);
        m_pPlayer.reset();
    }
    int Create(const QMap<int, QVector<void*>>& _qmapWindows, int _iDrawEnable = 1,
               int _iDrawType = n_DrawType_Rect) {
        return m_pPlayer->CreateSubPlayers({2, 33, 44}, 1, _qmapWindows, m_qmapIds,
                                           {_iDrawEnable, _iDrawType}, 55);
    }
    std::unique_ptr<TestMainPlayer> m_pPlayer;
    QMap<int, QVector<int>> m_qmapIds;
};

// The record a PTZ view's engine correction is opened with.
std::vector<unsigned char> PTZRecord(int _iIndex, int _iX, int _iY, void* _pWindow) {
    return RecordBytes(88)
        .At<int>(0, 88)
        .At<int>(4, 2)
        .At<int>(8, 256)
        .At<int>(32, 8)
        .At<int>(40, 32)
        .At<int>(44, _iIndex)
        .At<int>(48, _iX)
        .At<int>(52, _iY)
        .At<int>(56, 10000)
        .At<int>(60, 1920 / 4)
        .At<int>(64, 1080 / 4)
        .At<void*>(72, _pWindow)
        .At<int>(80, 55);
}

// The record of a 180, 360 or LAT view.
std::vector<unsigned char> PanoramaRecord(int _iType, void* _pWindow) {
    return RecordBytes(88)
        .At<int>(0, 88)
        .At<int>(4, 2)
        .At<int>(8, _iType)
        .At<int>(32, 8)
        .At<int>(44, -1)
        .At<void*>(72, _pWindow)
        .At<int>(80, 55);
}

TEST_F(CreateViews, EveryKeyInAscendingOrderWithItsRecord) {
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.25f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.75f, 0.5f);
    QMap<int, QVector<void*>> qmapWindows;
    qmapWindows[CORRECT_TYPE_FISHEYE] = {Window(7), Window(17)};
    qmapWindows[CORRECT_TYPE_LAT] = {Window(6)};
    qmapWindows[999] = {Window(8)}; // names no view
    qmapWindows[CORRECT_TYPE_360] = {Window(5)};
    qmapWindows[CORRECT_TYPE_180] = {Window(4), Window(14)}; // one view, on the first window
    qmapWindows[CORRECT_TYPE_PTZ] = {Window(2), Window(3)};
    qmapWindows[0] = {Window(1)};
    qmapWindows[2048] = {};
    EXPECT_EQ(Create(qmapWindows), 0);

    QMap<int, QVector<int>> qmapExpected;
    qmapExpected[0] = {-1};
    qmapExpected[CORRECT_TYPE_PTZ] = {100, 101};
    qmapExpected[CORRECT_TYPE_180] = {102};
    qmapExpected[CORRECT_TYPE_360] = {103};
    qmapExpected[CORRECT_TYPE_LAT] = {104};
    qmapExpected[CORRECT_TYPE_FISHEYE] = {-1};
    EXPECT_EQ(m_qmapIds, qmapExpected);
    EXPECT_EQ(m_pPlayer->m_qmapSubPlayers.keys(), QList<int>({0, 256, 512, 768, 1024, 1280}));
    EXPECT_EQ(m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ].size(), 2);
    EXPECT_EQ(m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_180].size(), 1);

    // Correction on (off, then on) before any view; then the engine corrections in key order.
    std::vector<std::string> vecNames;
    for (const FakeCall& call : FakeEngine()->Journal())
        vecNames.push_back(call.m_strName);
    EXPECT_EQ(vecNames,
              Lines({"KW_SetFishEyeCorrectEnable", "KW_SetFishEyeCorrectEnable", "KW_CreateFishEyeCorrect",
                     "KW_CreateFishEyeCorrect", "KW_CreateFishEyeCorrect", "KW_CreateFishEyeCorrect",
                     "KW_CreateFishEyeCorrect"}));
    const std::vector<FakeCall> vecCreate = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
    ASSERT_EQ(vecCreate.size(), 5u);
    EXPECT_EQ(vecCreate[0].m_vecRecords[0], PTZRecord(0, 2500, 5000, Window(2)));
    EXPECT_EQ(vecCreate[1].m_vecRecords[0], PTZRecord(1, 7500, 5000, Window(3)));
    EXPECT_EQ(vecCreate[2].m_vecRecords[0], PanoramaRecord(CORRECT_TYPE_180, Window(4)));
    EXPECT_EQ(vecCreate[3].m_vecRecords[0], PanoramaRecord(CORRECT_TYPE_360, Window(5)));
    EXPECT_EQ(vecCreate[4].m_vecRecords[0], PanoramaRecord(CORRECT_TYPE_LAT, Window(6)));
    for (const FakeCall& call : vecCreate) {
        EXPECT_EQ(call.m_vecArgs[0], 1);  // the main player's engine id
        EXPECT_EQ(call.m_vecArgs[2], 88); // the record's size
    }
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Warning(
            "[  CLS_MainPlayer::CreateSubPlayers iSubPlayerType =  2048  qvecSubWindows.isEmpty() ]")}));
    EXPECT_NE(m_pPlayer->m_pDrawThread, nullptr);
    EXPECT_TRUE(m_pPlayer->m_blDrawEnabled);
}

TEST_F(CreateViews, PTZOutlineIsSetUpWithTheAlgorithmTypeThenTheViewOpensAsPTZ) {
    FakeAlgo()->SetLines({{{0.5f, 0.5f}, {0.6f, 0.6f}}});
    EXPECT_EQ(Create({{CORRECT_TYPE_PTZ, {Window(2)}}}, 1, n_DrawType_Fec), 0);
    const std::vector<FakeCall> vecProcess = FakeAlgo()->Calls("ZebAlgo_FCU_Process");
    ASSERT_EQ(vecProcess.size(), 1u);
    EXPECT_EQ(vecProcess[0].Record<STRUCT_FcuViewParam>().m_iCorrectType, 33); // second camera field
    const std::vector<FakeCall> vecCreate = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
    ASSERT_EQ(vecCreate.size(), 1u);
    EXPECT_EQ(vecCreate[0].Record<STRUCT_CorrectSetup>().m_iCorrectType, 256);
    EXPECT_EQ(m_pPlayer->m_pDrawThread, nullptr); // PTZ views alone start no drawing
}

TEST_F(CreateViews, ThreePTZViewsOnACeilingMountThenA360View) {
    EXPECT_EQ(m_pPlayer->CreateSubPlayers(
                  {1, 0, 0}, 1,
                  {{CORRECT_TYPE_PTZ, {Window(1), Window(2), Window(3)}}, {CORRECT_TYPE_360, {Window(4)}}},
                  m_qmapIds, {1, 1}, 0),
              0);
    const std::vector<FakeCall> vecCreate = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
    ASSERT_EQ(vecCreate.size(), 4u);
    const int aiX[3] = {5000, 1667, 8333};
    for (int i = 0; i < 3; ++i) {
        const auto tSetup = vecCreate[i].Record<STRUCT_CorrectSetup>();
        EXPECT_EQ(tSetup.m_iViewIndex, i);
        EXPECT_EQ(tSetup.m_iPositionX, aiX[i]);
        EXPECT_EQ(tSetup.m_iPositionY, 4500);
        EXPECT_EQ(tSetup.m_iInstallMode, 1);
    }
    EXPECT_EQ(vecCreate[3].Record<STRUCT_CorrectSetup>().m_iCorrectType, CORRECT_TYPE_360);
    EXPECT_TRUE(FakeAlgo()->Calls("ZebAlgo_FCU_Point_Transform").empty());
    EXPECT_NE(m_pPlayer->m_pDrawThread, nullptr);
}

TEST_F(CreateViews, AFailedViewSkipsTheRestOfItsTypeAndKeepsTheOthers) {
    FakeEngine()->PushResult("KW_CreateFishEyeCorrect", 100);
    FakeEngine()->PushResult("KW_CreateFishEyeCorrect", -7);
    EXPECT_EQ(
        Create({{CORRECT_TYPE_PTZ, {Window(1), Window(2), Window(3)}}, {CORRECT_TYPE_360, {Window(4)}}}), 0);
    EXPECT_EQ(m_qmapIds[CORRECT_TYPE_PTZ], QVector<int>({100}));
    EXPECT_EQ(m_qmapIds[CORRECT_TYPE_360], QVector<int>({102}));
    EXPECT_EQ(m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ].size(), 1);
    EXPECT_EQ(FakeEngine()->Calls("KW_CreateFishEyeCorrect").size(), 3u); // the third PTZ window is not tried
    EXPECT_THAT(TestLog::Lines(),
                Contains(Warning(
                    "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet =  -7  ]")));
    // The failed view was deleted: being never created, it had nothing to close.
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
}

TEST_F(CreateViews, PreconditionsRefuseTheWholeSetUp) {
    m_pPlayer->m_iMainPlayId = -1;
    EXPECT_EQ(Create({{CORRECT_TYPE_360, {Window(4)}}}), -1);
    m_pPlayer->m_iMainPlayId = 1;
    void* pHandle = m_pPlayer->m_pFcuHandle;
    m_pPlayer->m_pFcuHandle = nullptr;
    EXPECT_EQ(Create({{CORRECT_TYPE_360, {Window(4)}}}), -1);
    m_pPlayer->m_pFcuHandle = pHandle;
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]"),
                     Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]")}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(m_qmapIds.isEmpty());
}

TEST_F(CreateViews, DrawSwitchOffLetsTheDrawThreadEndAtOnce) {
    EXPECT_EQ(Create({{CORRECT_TYPE_FISHEYE, {Window(7)}}}, 0), 0);
    EXPECT_FALSE(m_pPlayer->m_blDrawEnabled);
    for (int i = 0; i < 100 && TestLog::Lines().empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warning("[  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]")}));
}

TEST_F(CreateViews, EmptyWindowMapStillSwitchesCorrectionOn) {
    EXPECT_EQ(Create({}), 0);
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_EQ(vecEnable.size(), 2u);
    EXPECT_EQ(vecEnable[1].m_vecArgs[1], 1);
    EXPECT_TRUE(m_qmapIds.isEmpty());
    EXPECT_EQ(m_pPlayer->m_pDrawThread, nullptr);
}

TEST(CreateViewsWithoutCorrectionCallBack, IsRefused) {
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    TestMainPlayer player;
    player.m_iMainPlayId = 1;
    TestLog::Clear();
    QMap<int, QVector<int>> qmapIds;
    EXPECT_EQ(player.CreateSubPlayers({2, 0, 0}, 1, {{CORRECT_TYPE_360, {Window(4)}}}, qmapIds, {1, 1}, 0),
              -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == "
                                               "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]")}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

} // namespace
