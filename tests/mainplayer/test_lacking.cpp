// The main player against an engine or an algorithm library that lacks a function or is missing.
// Each suite runs in a process of its own with the matching fakes.
#include "MainPlayerTestSupport.h"

#include <memory>

namespace {

const std::string kNoHandle =
    "warning: _ZEB_ Panoview : [  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]";

int CreateWith(TestMainPlayer& _player, int _iStreamType, const void* _pWindow = TestWindow()) {
    std::vector<unsigned char> vecHeader =
        RecordBytes(12).At<int>(0, 12).At<int>(4, 1920).At<int>(8, 1080).Bytes();
    int iId = -100;
    const int iRet = _player.CreateMainPlayer(STRUCT_FishEyeParam{2, 6, 9}, _pWindow, _iStreamType,
                                              vecHeader.data(), 12, &iId, 3, false, osd_TLDCSet{});
    EXPECT_EQ(iId, iRet == 0 && _iStreamType == 0 ? 1 : -100);
    return iRet;
}

// --- Algorithm library ---------------------------------------------------------------------------

using MainPlayerAlgoAbsent = MainPlayerFixture;

TEST_F(MainPlayerAlgoAbsent, EveryPlayerLogsTheLoadFailureAndPlaysWithoutHandle) {
    for (int i = 0; i < 2; ++i) {
        TestLog::Clear();
        auto pPlayer = std::make_unique<TestMainPlayer>();
        EXPECT_EQ(pPlayer->m_pFcuHandle, nullptr);
        EXPECT_EQ(
            TestLog::Lines(),
            Lines({"warning: _ZEB_ Panoview : [ CLS_ZebAlgoFcu::LoadLib  zeb_algo_fcu.dll  load fail ]",
                   "warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer CLS_ZebAlgoFcu::LoadLib fail "
                   "iRet =  -1  ]"}));
    }
    TestMainPlayer* pPlayer = new TestMainPlayer;
    Create(*pPlayer, 3);
    unsigned char acData[2] = {1, 2};
    EXPECT_EQ(pPlayer->PutStreamToPlayer(0, acData, 2), 0);
    // An area cannot be applied without handle.
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    EXPECT_EQ(pPlayer->ApplyTLDSet(&tSet), -1);
    ASSERT_TRUE(DeliverArea(3, tSet));
    EXPECT_FALSE(pPlayer->IsInitUserData());
    FakeEngine()->ClearJournal();
    delete pPlayer;
    EXPECT_EQ(TestLog::Lines(), Lines({kNoHandle}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

using MainPlayerWithoutCreat = MainPlayerFixture;

TEST_F(MainPlayerWithoutCreat, ConstructionEndsWithoutHandle) {
    auto pPlayer = std::make_unique<TestMainPlayer>();
    EXPECT_EQ(pPlayer->m_pFcuHandle, nullptr);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer nullptr == "
                     "CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat ]"}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    TestLog::Clear();
    pPlayer.reset();
    EXPECT_EQ(TestLog::Lines(), Lines({kNoHandle}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

using MainPlayerWithoutInit = MainPlayerFixture;

TEST_F(MainPlayerWithoutInit, ConstructionKeepsTheUninitialisedHandle) {
    auto* pPlayer = new TestMainPlayer;
    ASSERT_NE(pPlayer->m_pFcuHandle, nullptr);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer nullptr == "
                     "CLS_ZebAlgoFcu::ZebAlgo_FCU_Init ]"}));
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Creat").size(), 1u);
    const std::int64_t llHandle = Addr(pPlayer->m_pFcuHandle);
    delete pPlayer;
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Release").at(0).m_vecArgs, Args({llHandle}));
}

using MainPlayerWithoutRelease = MainPlayerFixture;

TEST_F(MainPlayerWithoutRelease, DestructionReleasesNothing) {
    auto* pPlayer = new TestMainPlayer;
    ASSERT_NE(pPlayer->m_pFcuHandle, nullptr);
    Create(*pPlayer, 3);
    ASSERT_TRUE(DeliverArea(3, Area(1000.0, 2000.0, 9000.0, 8000.0)));
    FakePTZView* pView = new FakePTZView(1, 0, {});
    pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {pView};
    FakeEngine()->ClearJournal();
    FakeAlgo()->ClearJournal();
    TestLog::Clear();
    delete pPlayer;
    EXPECT_EQ(TestLog::Lines(), Lines({kNoHandle}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(FakePTZView::Destroyed().empty());
    // The registration stays with the engine; what it still delivers reaches nobody.
    ASSERT_TRUE(DeliverArea(3, Area(1.0, 2.0, 3.0, 4.0)));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    delete pView;
}

using MainPlayerWithoutCtrl = MainPlayerFixture;

TEST_F(MainPlayerWithoutCtrl, AreaSwitchesCorrectionOnThenFailsAtTheAlgorithm) {
    TestMainPlayer player;
    Create(player, 3);
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    EXPECT_EQ(player.ApplyTLDSet(&tSet), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer nullptr == "
                     "CLS_ZebAlgoFcu::ZebAlgo_FCU_Init ]"}));
    EXPECT_TRUE(player.IsInitUserData());
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 2u);
    EXPECT_EQ(player.m_dAreaLeft, 1000.0);
}

// --- Engine ------------------------------------------------------------------------------------

using MainPlayerWithoutCreatePlayer = MainPlayerFixture;

TEST_F(MainPlayerWithoutCreatePlayer, StreamCreationFailsAfterTheArgumentChecks) {
    TestMainPlayer player;
    EXPECT_EQ(CreateWith(player, 0, nullptr), -1);
    EXPECT_EQ(CreateWith(player, 0), -1);
    EXPECT_EQ(CreateWith(player, 1), -1); // before the stream type
    const std::string strLine = "info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer nullptr == "
                                "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds]";
    EXPECT_EQ(TestLog::Lines(),
              Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]",
                     strLine, strLine}));
    EXPECT_EQ(player.m_iVideoWidth, 1000);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

using MainPlayerWithoutPlay = MainPlayerFixture;

TEST_F(MainPlayerWithoutPlay, StreamCreationFailsBeforeOpeningAPlayer) {
    TestMainPlayer player;
    EXPECT_EQ(CreateWith(player, 0), -1);
    EXPECT_EQ(CreateWith(player, 2), -1);
    const std::string strLine =
        "info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_ZebPlayer_SDK::KW_Play]";
    EXPECT_EQ(TestLog::Lines(), Lines({strLine, strLine}));
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

using MainPlayerWithoutPlayerControl = MainPlayerFixture;

TEST_F(MainPlayerWithoutPlayerControl, RegistrationCountsAsFailedAndDestructionGoesOn) {
    auto* pPlayer = new TestMainPlayer;
    EXPECT_EQ(CreateWith(*pPlayer, 0), 0);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : KW_PlayerControl iRet =  -1"}));
    EXPECT_EQ(pPlayer->m_iPlayIndex, 3);
    FakeEngine()->ClearJournal();
    TestLog::Clear();
    CallOrder order;
    delete pPlayer;
    EXPECT_EQ(CallOrder::Calls(), Lines({"ZebAlgo_FCU_Release", "KW_DeletePlayer"}));
    EXPECT_TRUE(TestLog::Lines().empty());
}

using MainPlayerWithoutPutStream = MainPlayerFixture;

TEST_F(MainPlayerWithoutPutStream, PacketsFailAfterTheirOwnChecks) {
    TestMainPlayer player;
    unsigned char acData[2] = {1, 2};
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 2), -1);
    Create(player, 3);
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 0), -1);
    EXPECT_EQ(player.PutStreamToPlayer(0, acData, 2), -1);
    EXPECT_EQ(player.PutStreamToPlayer(1, acData, 2), -1); // before the drop of other types
    const std::string strLine = "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer nullptr == "
                                "CLS_ZebPlayer_SDK::KW_PutStreamToPlayer ]";
    EXPECT_EQ(TestLog::Lines(),
              Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]", strLine,
                     strLine}));
}

using MainPlayerWithoutDeletePlayer = MainPlayerFixture;

TEST_F(MainPlayerWithoutDeletePlayer, DeletionFailsAfterTheViewsAreGone) {
    auto* pPlayer = new TestMainPlayer;
    Create(*pPlayer, 3);
    pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, 0, {})};
    const std::string strLine = "warning: _ZEB_ Panoview : [  CLS_MainPlayer::DeleteAllPlayer nullptr == "
                                "CLS_ZebPlayer_SDK::KW_DeletePlayer ]";
    EXPECT_EQ(pPlayer->DeleteAllPlayer(), -1);
    EXPECT_EQ(FakePTZView::Destroyed().size(), 1u);
    EXPECT_EQ(TestLog::Lines(), Lines({strLine}));
    TestLog::Clear();
    delete pPlayer;
    EXPECT_EQ(TestLog::Lines(), Lines({strLine}));
}

using MainPlayerWithoutCorrectEnable = MainPlayerFixture;

TEST_F(MainPlayerWithoutCorrectEnable, SwitchingEitherWayFails) {
    TestMainPlayer player;
    Create(player, 3);
    EXPECT_EQ(player.EnableFishEye(true), -1);
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    player.m_blFishEyeEnabled = true;
    player.m_iFishCorrectId = 7;
    EXPECT_EQ(player.EnableFishEye(false), -1);
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::EnableFishEye  "
                     "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable == nullptr ]",
                     "warning: _ZEB_ Panoview : [  CLS_MainPlayer::EnableFishEye nullptr == "
                     "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable == nullptr ]"}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    player.m_blFishEyeEnabled = false;
}

using MainPlayerWithoutCorrectCallBack = MainPlayerFixture;

TEST_F(MainPlayerWithoutCorrectCallBack, SwitchingOffFailsButOnWorks) {
    TestMainPlayer player;
    Create(player, 3);
    EXPECT_EQ(player.EnableFishEye(true), 0);
    EXPECT_TRUE(TestLog::Lines().empty());
    FakeEngine()->ClearJournal();
    player.m_qmapSubPlayers[CORRECT_TYPE_360] = {new FakePTZView(1, 0, {})};
    EXPECT_EQ(player.DeleteAllSubPlayer(), 0); // the failure does not stop the deletion
    EXPECT_EQ(FakePTZView::Destroyed().size(), 1u);
    EXPECT_TRUE(player.m_qmapSubPlayers.isEmpty());
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_TRUE(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").empty());
    const std::string strLine = "warning: _ZEB_ Panoview : [  CLS_MainPlayer::EnableFishEye nullptr == "
                                "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack == nullptr ]";
    const Lines vecLines = TestLog::Lines();
    ASSERT_FALSE(vecLines.empty());
    EXPECT_EQ(vecLines[0], strLine); // the view's own clean-up may add its lines
    TestLog::Clear();
    EXPECT_EQ(player.EnableFishEye(false), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({strLine}));
    player.m_blFishEyeEnabled = false;
}

} // namespace
