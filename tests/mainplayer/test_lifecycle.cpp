// Construction, stream creation, channel user data, deletion and destruction of the main player,
// against the full fakes.
#include "MainPlayerTestSupport.h"

#include <cmath>
#include <memory>

namespace {

using MainPlayer = MainPlayerFixture;

const std::vector<unsigned char> kDefaultInit = RecordBytes(132)
                                                    .At<int>(0, 132)
                                                    .At<int>(4, 1000)
                                                    .At<int>(8, 1000)
                                                    .At<int>(12, 2)
                                                    .At<float>(16, 0.0f)
                                                    .At<float>(20, 1.0f)
                                                    .At<float>(24, 0.0f)
                                                    .At<float>(28, 1.0f)
                                                    .At<float>(32, 0.5f)
                                                    .At<float>(36, 0.5f);

// Entry of a virtual operation in the vtable (Itanium ABI: 1 + byte offset of the entry).
template <typename PMF> std::int64_t VtableEntry(PMF _pmf) {
    std::int64_t llRaw = 0;
    std::memcpy(&llRaw, &_pmf, sizeof(llRaw));
    return (llRaw - 1) / static_cast<std::int64_t>(sizeof(void*));
}

TEST_F(MainPlayer, ConstructionCreatesAndInitialisesTheAlgorithmHandle) {
    CallOrder order;
    TestMainPlayer player;
    EXPECT_EQ(CallOrder::Calls(), Lines({"ZebAlgo_FCU_Creat", "ZebAlgo_FCU_Init"}));
    const std::vector<FakeCall> vecCreat = FakeAlgo()->Calls("ZebAlgo_FCU_Creat");
    ASSERT_EQ(vecCreat.size(), 1u);
    EXPECT_EQ(vecCreat[0].m_vecArgs, Args({0, 0}));
    ASSERT_NE(player.m_pFcuHandle, nullptr);
    const std::vector<FakeCall> vecInit = FakeAlgo()->Calls("ZebAlgo_FCU_Init");
    ASSERT_EQ(vecInit.size(), 1u);
    EXPECT_EQ(vecInit[0].m_vecArgs[0], Addr(player.m_pFcuHandle));
    EXPECT_EQ(vecInit[0].m_vecRecords[0], kDefaultInit);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, ConstructionSetsTheInitialValues) {
    TestMainPlayer player;
    EXPECT_EQ(player.m_iVideoWidth, 1000);
    EXPECT_EQ(player.m_iVideoHeight, 1000);
    EXPECT_FALSE(player.m_blIsInitUserData);
    EXPECT_FALSE(player.IsInitUserData());
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_EQ(player.m_iFishCorrectId, -1);
    EXPECT_EQ(player.m_pMainWindow, nullptr);
    EXPECT_EQ(player.m_iPlayIndex, 0);
    EXPECT_TRUE(player.m_qmapSubPlayers.isEmpty());
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_FALSE(player.m_blDrawEnabled);
    EXPECT_EQ(player.m_pfDrawCallback.load(), nullptr);
    EXPECT_TRUE(player.m_blDrawThreadStop);
    EXPECT_EQ(player.m_pDrawThread, nullptr);
}

TEST_F(MainPlayer, MembersLieInTheirDeclaredOrder) {
    TestMainPlayer player;
    const std::vector<const void*> vecMembers = {
        &player.m_qrwlockArea,      &player.m_iVideoWidth,     &player.m_iVideoHeight,
        &player.m_dAreaLeft,        &player.m_dAreaTop,        &player.m_dAreaRight,
        &player.m_dAreaBottom,      &player.m_qrwlockUserData, &player.m_blIsInitUserData,
        &player.m_iMainPlayId,      &player.m_iFishCorrectId,  &player.m_pMainWindow,
        &player.m_iPlayIndex,       &player.m_qmapSubPlayers,  &player.m_pFcuHandle,
        &player.m_blFishEyeEnabled, &player.m_tFishEyeParam,   &player.m_blDrawEnabled,
        &player.m_pfDrawCallback,   &player.m_mutexDraw,       &player.m_blDrawThreadStop,
        &player.m_pDrawThread,      &player.m_mutexDrawThread,
    };
    for (size_t i = 1; i < vecMembers.size(); ++i)
        EXPECT_LT(vecMembers[i - 1], vecMembers[i]) << "member " << i;
}

TEST_F(MainPlayer, VirtualOperationsSitInTheirSlots) {
    using CreateFromFile =
        int (CLS_MainPlayer::*)(const STRUCT_FishEyeParam&, const void*, const QString&, int*);
    using CreateFromStream = int (CLS_MainPlayer::*)(const STRUCT_FishEyeParam&, const void*, int,
                                                     unsigned char*, int, int*, int, bool, osd_TLDCSet);
    // The destructor takes entries 0 and 1.
    EXPECT_EQ(VtableEntry(static_cast<CreateFromFile>(&CLS_MainPlayer::CreateMainPlayer)), 2);
    EXPECT_EQ(VtableEntry(static_cast<CreateFromStream>(&CLS_MainPlayer::CreateMainPlayer)), 3);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::CreateSubPlayers), 4);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::DeleteAllPlayer), 5);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::DeleteAllSubPlayer), 6);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::PutStreamToPlayer), 7);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::ReservedOperation1), 8);
    EXPECT_EQ(VtableEntry(&CLS_MainPlayer::ReservedOperation2), 9);
    EXPECT_TRUE(std::has_virtual_destructor<CLS_MainPlayer>::value);
}

TEST_F(MainPlayer, FilePlaybackAndReservedOperationsFailSilently) {
    TestMainPlayer player;
    FakeAlgo()->ClearJournal();
    int iId = -100;
    EXPECT_EQ(player.CreateMainPlayer(STRUCT_FishEyeParam{1, 2, 3}, Window(), QStringLiteral("a.mp4"), &iId),
              -1);
    EXPECT_EQ(player.ReservedOperation1(), -1);
    EXPECT_EQ(player.ReservedOperation2(), -1);
    EXPECT_EQ(iId, -100);
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, NullHandleFromTheAlgorithmIsLoggedAndNothingIsInitialised) {
    FakeAlgo()->PushResult("ZebAlgo_FCU_Creat", 0);
    auto pPlayer = std::make_unique<TestMainPlayer>();
    EXPECT_EQ(pPlayer->m_pFcuHandle, nullptr);
    EXPECT_TRUE(FakeAlgo()->Calls("ZebAlgo_FCU_Init").empty());
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer "
                                       "CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat fail]"}));
}

TEST_F(MainPlayer, FailedInitialisationKeepsTheHandle) {
    FakeAlgo()->PushResult("ZebAlgo_FCU_Init", -3);
    auto* pPlayer = new TestMainPlayer;
    ASSERT_NE(pPlayer->m_pFcuHandle, nullptr);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer "
                                       "CLS_ZebAlgoFcu::ZebAlgo_FCU_Init fail iRet =  -3  ]"}));
    const std::int64_t llHandle = Addr(pPlayer->m_pFcuHandle);
    delete pPlayer;
    const std::vector<FakeCall> vecRelease = FakeAlgo()->Calls("ZebAlgo_FCU_Release");
    ASSERT_EQ(vecRelease.size(), 1u);
    EXPECT_EQ(vecRelease[0].m_vecArgs, Args({llHandle}));
}

// --- Stream creation ---------------------------------------------------------------------------

struct Creation {
    std::vector<unsigned char> m_vecHeader;
    const void* m_pWindow = TestWindow();
    unsigned char* m_pcHeader = nullptr;
    int m_iHeadSize = 12;
    int m_iId = -100;
    int* m_piId = &m_iId;
    int m_iStreamType = 0;
    Creation() : m_vecHeader(RecordBytes(12).At<int>(0, 12).At<int>(4, 1920).At<int>(8, 1080).Bytes()) {
        m_pcHeader = m_vecHeader.data();
    }
    int Run(CLS_MainPlayer& _player, bool _blInitUserData = false, osd_TLDCSet _tSet = {}) {
        return _player.CreateMainPlayer(STRUCT_FishEyeParam{2, 6, 9}, m_pWindow, m_iStreamType, m_pcHeader,
                                        m_iHeadSize, m_piId, 3, _blInitUserData, _tSet);
    }
};

void ExpectRejected(TestMainPlayer& _player, Creation& _creation, const std::string& _strLine) {
    TestLog::Clear();
    EXPECT_EQ(_creation.Run(_player), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"info: _ZEB_ Panoview : " + _strLine}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_EQ(_creation.m_iId, -100);
    EXPECT_EQ(_player.m_iMainPlayId, -1);
    EXPECT_EQ(_player.m_iVideoWidth, 1000);
}

TEST_F(MainPlayer, StreamCreationChecksItsArgumentsInOrderAtInfoLevel) {
    TestMainPlayer player;
    Creation creation;
    creation.m_pWindow = nullptr;
    creation.m_pcHeader = nullptr;
    creation.m_iHeadSize = 0;
    creation.m_piId = nullptr;
    creation.m_iStreamType = 1; // checked only after the arguments
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    creation.m_pWindow = Window();
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
    creation.m_pcHeader = creation.m_vecHeader.data();
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    creation.m_iHeadSize = -12;
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    creation.m_iHeadSize = 12;
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
}

TEST_F(MainPlayer, OtherStreamTypesSucceedWithoutCreatingAnything) {
    TestMainPlayer player;
    Creation creation;
    creation.m_iStreamType = 1;
    creation.m_iHeadSize = 7; // the header is not even looked at
    EXPECT_EQ(creation.Run(player), 0);
    creation.m_iStreamType = -1;
    EXPECT_EQ(creation.Run(player), 0);
    EXPECT_EQ(creation.m_iId, -100);
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_EQ(player.m_iVideoWidth, 1000);
    EXPECT_EQ(player.m_iVideoHeight, 1000);
    EXPECT_EQ(player.m_pMainWindow, nullptr);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, HeaderWhoseLengthFieldDiffersFromTheGivenSizeFails) {
    TestMainPlayer player;
    Creation creation;
    creation.m_iHeadSize = 16; // header says 12
    ExpectRejected(player, creation, "[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]");
    Creation shortHeader;
    shortHeader.m_iHeadSize = 8; // shorter than 12, its field still says 12
    ExpectRejected(player, shortHeader, "[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]");
}

TEST_F(MainPlayer, ShortHeaderIsReadOnlyUpToItsSize) {
    TestMainPlayer player;
    Creation creation;
    creation.m_vecHeader = RecordBytes(12).At<int>(0, 8).At<int>(4, 640).At<int>(8, 480).Bytes();
    creation.m_pcHeader = creation.m_vecHeader.data();
    creation.m_iHeadSize = 8;
    EXPECT_EQ(creation.Run(player), 0);
    EXPECT_EQ(player.m_iVideoWidth, 640);
    EXPECT_EQ(player.m_iVideoHeight, 0);
    const std::vector<FakeCall> vecCreate = FakeEngine()->Calls("KW_CreatePlayerForSpecialNeeds");
    ASSERT_EQ(vecCreate.size(), 1u);
    EXPECT_EQ(vecCreate[0].m_vecRecords[0], RecordBytes(32)
                                                .At<int>(0, 32)
                                                .At<std::int64_t>(8, Addr(Window()))
                                                .At<int>(16, 640)
                                                .At<int>(20, 0)
                                                .Bytes());
}

TEST_F(MainPlayer, StreamCreationOpensPlaysAndRegistersForUserData) {
    CallOrder order;
    auto pPlayer = std::make_unique<TestMainPlayer>();
    TestMainPlayer& player = *pPlayer;
    Creation creation;
    EXPECT_EQ(creation.Run(player), 0);
    EXPECT_EQ(CallOrder::Calls(), Lines({"ZebAlgo_FCU_Creat", "ZebAlgo_FCU_Init",
                                         "KW_CreatePlayerForSpecialNeeds", "KW_Play", "KW_PlayerControl"}));
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_EQ(vecJournal.size(), 3u);
    EXPECT_EQ(vecJournal[0].m_strName, "KW_CreatePlayerForSpecialNeeds");
    EXPECT_EQ(vecJournal[0].m_vecArgs[0], 2);
    EXPECT_EQ(vecJournal[0].m_vecArgs[2], 32);
    EXPECT_EQ(vecJournal[0].m_vecArgs[3], 0);
    EXPECT_EQ(vecJournal[0].m_vecRecords[0], RecordBytes(32)
                                                 .At<int>(0, 32)
                                                 .At<std::int64_t>(8, Addr(Window()))
                                                 .At<int>(16, 1920)
                                                 .At<int>(20, 1080)
                                                 .Bytes());
    EXPECT_EQ(vecJournal[1].m_strName, "KW_Play");
    EXPECT_EQ(vecJournal[1].m_vecArgs, Args({1}));
    EXPECT_EQ(vecJournal[2].m_strName, "KW_PlayerControl");
    EXPECT_EQ(vecJournal[2].m_vecArgs[0], 3);
    EXPECT_EQ(vecJournal[2].m_vecArgs[1], 4);
    EXPECT_EQ(vecJournal[2].m_vecArgs[3], 24);
    EXPECT_EQ(vecJournal[2].m_vecArgs[4], 0);
    EXPECT_EQ(vecJournal[2].m_vecRecords[0],
              RecordBytes(24)
                  .At<int>(0, 24)
                  .At<std::int64_t>(8, Addr(reinterpret_cast<const void*>(&CLS_MainPlayer::UserDataCallBack)))
                  .At<std::int64_t>(16, Addr(static_cast<CLS_MainPlayer*>(&player)))
                  .Bytes());
    EXPECT_EQ(creation.m_iId, 1);
    EXPECT_EQ(player.m_iMainPlayId, 1);
    EXPECT_EQ(player.m_pMainWindow, Window());
    EXPECT_EQ(player.m_iPlayIndex, 3);
    EXPECT_EQ(player.m_iVideoWidth, 1920);
    EXPECT_EQ(player.m_iVideoHeight, 1080);
    EXPECT_EQ(BytesOf(player.m_tFishEyeParam),
              RecordBytes(12).At<int>(0, 2).At<int>(4, 6).At<int>(8, 9).Bytes());
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_TRUE(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, FailedEngineCreationKeepsTheSizeFromTheHeader) {
    TestMainPlayer player;
    Creation creation;
    FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", -4);
    EXPECT_EQ(creation.Run(player), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer "
                     "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds < 0  iPlayerID =  -4  ]"}));
    EXPECT_EQ(player.m_iVideoWidth, 1920);
    EXPECT_EQ(player.m_iVideoHeight, 1080);
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_EQ(player.m_pMainWindow, nullptr);
    EXPECT_EQ(creation.m_iId, -100);
    EXPECT_EQ(FakeEngine()->Journal().size(), 1u); // no KW_Play
}

TEST_F(MainPlayer, PlayIdZeroIsAValidPlayer) {
    TestMainPlayer player;
    Creation creation;
    FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", 0);
    EXPECT_EQ(creation.Run(player), 0);
    EXPECT_EQ(creation.m_iId, 0);
    EXPECT_EQ(player.m_iMainPlayId, 0);
    EXPECT_EQ(FakeEngine()->Calls("KW_Play").at(0).m_vecArgs, Args({0}));
}

TEST_F(MainPlayer, FailingPlayPassesTheEnginesCodeUpAndKeepsThePlayer) {
    TestMainPlayer player;
    Creation creation;
    FakeEngine()->PushResult("KW_Play", 5);
    EXPECT_EQ(creation.Run(player), 5);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : KW_Play fail iRet =  5"}));
    EXPECT_EQ(creation.m_iId, 1);
    EXPECT_EQ(player.m_iMainPlayId, 1);
    EXPECT_EQ(player.m_iPlayIndex, 0);
    EXPECT_TRUE(FakeEngine()->Calls("KW_PlayerControl").empty());
    FakeEngine()->ClearJournal();
    TestLog::Clear();
    FakeEngine()->PushResult("KW_DeletePlayer", 0);
    EXPECT_EQ(player.DeleteAllPlayer(), 0);
    const std::vector<FakeCall> vecDelete = FakeEngine()->Calls("KW_DeletePlayer");
    ASSERT_EQ(vecDelete.size(), 1u);
    EXPECT_EQ(vecDelete[0].m_vecArgs, Args({1}));

    TestMainPlayer negative;
    Creation second;
    FakeEngine()->PushResult("KW_Play", -8);
    EXPECT_EQ(second.Run(negative), -8);
}

TEST_F(MainPlayer, FailedUserDataRegistrationIsLoggedButCreationSucceeds) {
    TestMainPlayer player;
    Creation creation;
    FakeEngine()->PushResult("KW_PlayerControl", -2);
    EXPECT_EQ(creation.Run(player), 0);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : KW_PlayerControl iRet =  -2"}));
    EXPECT_EQ(player.m_iPlayIndex, 3);
    TestLog::Clear();
    TestMainPlayer positive;
    FakeEngine()->PushResult("KW_PlayerControl", 1);
    EXPECT_EQ(creation.Run(positive), 0);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : KW_PlayerControl iRet =  1"}));
}

TEST_F(MainPlayer, UserDataHeldByTheClientIsAppliedDirectly) {
    CallOrder order;
    TestMainPlayer player;
    Creation creation;
    EXPECT_EQ(creation.Run(player, true, Area(1000.0, 2000.0, 9000.0, 8000.0)), 0);
    EXPECT_EQ(CallOrder::Calls(),
              Lines({"ZebAlgo_FCU_Creat", "ZebAlgo_FCU_Init", "KW_CreatePlayerForSpecialNeeds", "KW_Play",
                     "KW_SetFishEyeCorrectEnable 0", "KW_SetFishEyeCorrectEnable 1", "ZebAlgo_FCU_Ctrl"}));
    EXPECT_TRUE(FakeEngine()->Calls("KW_PlayerControl").empty());
    EXPECT_TRUE(player.IsInitUserData());
    EXPECT_EQ(player.m_iPlayIndex, 3);
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_EQ(vecCtrl.size(), 1u);
    EXPECT_EQ(vecCtrl[0].m_vecRecords[0], RecordBytes(132)
                                              .At<int>(0, 132)
                                              .At<int>(4, 1920)
                                              .At<int>(8, 1080)
                                              .At<int>(12, 2)
                                              .At<float>(16, 0.1f)
                                              .At<float>(20, 0.9f)
                                              .At<float>(24, 0.2f)
                                              .At<float>(28, 0.8f)
                                              .At<float>(32, 0.5f)
                                              .At<float>(36, 0.5f)
                                              .Bytes());
    EXPECT_TRUE(TestLog::Lines().empty());
}

// --- Channel user data -------------------------------------------------------------------------

TEST_F(MainPlayer, AreaDeliveredByTheEngineReachesTheAlgorithmAndTheEngine) {
    TestMainPlayer player;
    Create(player, 3);
    CallOrder order;
    const osd_TLDCSet tSet = Area(1234.9, 250.5, 9000.99, 8000.2);
    ASSERT_TRUE(DeliverArea(3, tSet));
    EXPECT_EQ(CallOrder::Calls(),
              Lines({"KW_SetFishEyeCorrectEnable 0", "KW_SetFishEyeCorrectEnable 1", "ZebAlgo_FCU_Ctrl"}));
    EXPECT_EQ(player.m_dAreaLeft, 1234.9);
    EXPECT_EQ(player.m_dAreaTop, 250.5);
    EXPECT_EQ(player.m_dAreaRight, 9000.99);
    EXPECT_EQ(player.m_dAreaBottom, 8000.2);
    EXPECT_TRUE(player.IsInitUserData());
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_EQ(vecCtrl.size(), 1u);
    EXPECT_EQ(vecCtrl[0].m_vecArgs[0], Addr(player.m_pFcuHandle));
    EXPECT_EQ(vecCtrl[0].m_vecRecords[0], RecordBytes(132)
                                              .At<int>(0, 132)
                                              .At<int>(4, 1920)
                                              .At<int>(8, 1080)
                                              .At<int>(12, 2)
                                              .At<float>(16, static_cast<float>(1234.9 / 10000.0))
                                              .At<float>(20, static_cast<float>(9000.99 / 10000.0))
                                              .At<float>(24, static_cast<float>(250.5 / 10000.0))
                                              .At<float>(28, static_cast<float>(8000.2 / 10000.0))
                                              .At<float>(32, 0.5f)
                                              .At<float>(36, 0.5f)
                                              .Bytes());
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_EQ(vecEnable.size(), 2u);
    EXPECT_EQ(vecEnable[1].m_vecRecords[0], RecordBytes(88)
                                                .At<int>(0, 88)
                                                .At<int>(4, 2)
                                                .At<int>(8, 256)
                                                .At<int>(12, 20)
                                                .At<int>(16, 1234)
                                                .At<int>(20, 9000)
                                                .At<int>(24, 250)
                                                .At<int>(28, 8000)
                                                .At<int>(40, 32)
                                                .At<int>(48, 3000)
                                                .At<int>(52, 4500)
                                                .At<int>(56, 10000)
                                                .At<int>(60, 1920)
                                                .At<int>(64, 1080)
                                                .At<std::int64_t>(72, Addr(Window()))
                                                .Bytes());
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_iFishCorrectId, 7);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, SameAreaTwiceReachesTheAlgorithmOnce) {
    TestMainPlayer player;
    Create(player, 3);
    ASSERT_TRUE(DeliverArea(3, Area(100.0, 200.0, 9900.0, 9800.0)));
    ASSERT_TRUE(DeliverArea(3, Area(100.0, 200.0, 9900.0, 9800.0)));
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").size(), 1u);
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 2u);
    // A different area reaches the algorithm, but not the engine while correction stays on.
    ASSERT_TRUE(DeliverArea(3, Area(100.0, 200.0, 9900.0, 9700.0)));
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_EQ(vecCtrl.size(), 2u);
    EXPECT_EQ(vecCtrl[1].Record<STRUCT_FcuInitParam>().m_fAreaBottom, static_cast<float>(9700.0 / 10000.0));
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").size(), 2u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, ShortPayloadLeavesTheRestOfTheAreaZero) {
    TestMainPlayer player;
    Create(player, 3);
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    ASSERT_TRUE(Deliver(3, 9, &tSet, 24)); // head, left and top only
    EXPECT_EQ(player.m_dAreaLeft, 1000.0);
    EXPECT_EQ(player.m_dAreaTop, 2000.0);
    EXPECT_EQ(player.m_dAreaRight, 0.0);
    EXPECT_EQ(player.m_dAreaBottom, 0.0);
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_EQ(vecCtrl.size(), 1u);
    const STRUCT_FcuInitParam tInit = vecCtrl[0].Record<STRUCT_FcuInitParam>();
    EXPECT_EQ(tInit.m_fAreaLeft, 0.1f);
    EXPECT_EQ(tInit.m_fAreaTop, 0.2f);
    EXPECT_EQ(tInit.m_fAreaRight, 0.0f);
    EXPECT_EQ(tInit.m_fAreaBottom, 0.0f);
}

TEST_F(MainPlayer, LongPayloadIsCopiedOnlyUpToTheRecordSize) {
    TestMainPlayer player;
    Create(player, 3);
    std::vector<unsigned char> vecPayload(4096, 0xAB);
    const osd_TLDCSet tSet = Area(1500.0, 2500.0, 8500.0, 7500.0);
    std::memcpy(vecPayload.data(), &tSet, sizeof(tSet));
    ASSERT_TRUE(Deliver(3, 9, vecPayload.data(), static_cast<int>(vecPayload.size())));
    EXPECT_EQ(player.m_dAreaLeft, 1500.0);
    EXPECT_EQ(player.m_dAreaBottom, 7500.0);
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").size(), 1u);
    // A negative length copies nothing: the area is all zero.
    ASSERT_TRUE(Deliver(3, 9, vecPayload.data(), -5));
    EXPECT_EQ(player.m_dAreaLeft, 0.0);
    EXPECT_EQ(player.m_dAreaBottom, 0.0);
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").size(), 2u);
}

TEST_F(MainPlayer, UserDataOfOtherTypesOrWithoutPayloadOrPlayerIsIgnored) {
    TestMainPlayer player;
    Create(player, 3);
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    for (int iType : {0, 1, 8, 10, -9})
        ASSERT_TRUE(Deliver(3, iType, &tSet, sizeof(tSet)));
    ASSERT_TRUE(Deliver(3, 9, nullptr, sizeof(tSet)));
    CLS_MainPlayer::UserDataCallBack(3, 9, reinterpret_cast<const unsigned char*>(&tSet), sizeof(tSet),
                                     nullptr);
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(FakeEngine()->Calls("KW_SetFishEyeCorrectEnable").empty());
    EXPECT_FALSE(player.IsInitUserData());
    EXPECT_TRUE(TestLog::Lines().empty());
    // The play index argument is not used: the player is the one given as user.
    CLS_MainPlayer::UserDataCallBack(77, 9, reinterpret_cast<const unsigned char*>(&tSet), sizeof(tSet),
                                     &player);
    EXPECT_TRUE(player.IsInitUserData());
}

TEST_F(MainPlayer, AreaNeedsAHandleAndAPlayer) {
    TestMainPlayer player;
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    EXPECT_EQ(player.ApplyTLDSet(&tSet), -1); // no engine player yet
    player.m_iMainPlayId = 1;
    void* const pHandle = player.m_pFcuHandle;
    player.m_pFcuHandle = nullptr;
    EXPECT_EQ(player.ApplyTLDSet(&tSet), -1);
    player.m_pFcuHandle = pHandle;
    player.m_iMainPlayId = -1;
    EXPECT_FALSE(player.IsInitUserData());
    EXPECT_TRUE(std::isnan(player.m_dAreaLeft));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(MainPlayer, FailingReinitialisationIsReportedWithTheInitialisationWording) {
    TestMainPlayer player;
    Create(player, 3);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Ctrl", -4);
    const osd_TLDCSet tSet = Area(1000.0, 2000.0, 9000.0, 8000.0);
    EXPECT_EQ(player.ApplyTLDSet(&tSet), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CLS_MainPlayer "
                                       "CLS_ZebAlgoFcu::ZebAlgo_FCU_Init fail iRet =  -4  ]"}));
    EXPECT_TRUE(player.IsInitUserData());
    EXPECT_TRUE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_dAreaRight, 9000.0);
    // A positive result is a success.
    TestLog::Clear();
    FakeAlgo()->PushResult("ZebAlgo_FCU_Ctrl", 3);
    const osd_TLDCSet tOther = Area(1000.0, 2000.0, 9000.0, 7000.0);
    EXPECT_EQ(player.ApplyTLDSet(&tOther), 0);
    EXPECT_TRUE(TestLog::Lines().empty());
}

// --- Deletion and destruction ------------------------------------------------------------------

TEST_F(MainPlayer, DeletingTheViewsSwitchesOffAndDeletesEveryViewInOrder) {
    TestMainPlayer player;
    Create(player, 3);
    ASSERT_EQ(player.EnableFishEye(true), 0);
    player.EnableDraw(true);
    player.m_qmapSubPlayers[CORRECT_TYPE_360] = {new FakePTZView(4, 0, {})};
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(2, 0, {}), nullptr,
                                                 new FakePTZView(3, 0, {})};
    player.m_qmapSubPlayers[0] = {new FakePTZView(1, 0, {})};
    player.m_qmapSubPlayers[CORRECT_TYPE_180] = {};
    FakeEngine()->ClearJournal();
    CallOrder order;
    EXPECT_EQ(player.DeleteAllSubPlayer(), 0);
    EXPECT_EQ(CallOrder::Calls(), Lines({"KW_SetFishEyeCorrectCallBack 7", "KW_SetFishEyeCorrectEnable 0",
                                         "KW_SetFishEyeCorrectCallBack 501", "KW_DeleteFishEyeCorrect 501",
                                         "KW_SetFishEyeCorrectCallBack 502", "KW_DeleteFishEyeCorrect 502",
                                         "KW_SetFishEyeCorrectCallBack 503", "KW_DeleteFishEyeCorrect 503",
                                         "KW_SetFishEyeCorrectCallBack 504", "KW_DeleteFishEyeCorrect 504"}));
    std::vector<int> vecOrder;
    for (const FakePTZView::Destruction& destruction : FakePTZView::Destroyed())
        vecOrder.push_back(destruction.m_iTag);
    EXPECT_EQ(vecOrder, std::vector<int>({1, 2, 3, 4}));
    EXPECT_TRUE(player.m_qmapSubPlayers.isEmpty());
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_FALSE(player.m_blDrawEnabled);
    EXPECT_TRUE(TestLog::Lines().empty());
    // Nothing left to switch off or delete.
    FakeEngine()->ClearJournal();
    EXPECT_EQ(player.DeleteAllSubPlayer(), 0);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

TEST_F(MainPlayer, DeletingAPlayerThatWasNeverCreatedFailsAfterDeletingItsViews) {
    TestMainPlayer player;
    player.m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, 0, {})};
    EXPECT_EQ(player.DeleteAllPlayer(), -1);
    EXPECT_EQ(FakePTZView::Destroyed().size(), 1u);
    EXPECT_TRUE(player.m_qmapSubPlayers.isEmpty());
    EXPECT_TRUE(FakeEngine()->Calls("KW_DeletePlayer").empty());
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]"}));
}

TEST_F(MainPlayer, DeletingThePlayerPassesTheEnginesResultUp) {
    TestMainPlayer player;
    Create(player, 3);
    FakeEngine()->PushResult("KW_DeletePlayer", -9);
    EXPECT_EQ(player.DeleteAllPlayer(), -9);
    FakeEngine()->PushResult("KW_DeletePlayer", 4);
    EXPECT_EQ(player.DeleteAllPlayer(), 4);
    const std::vector<FakeCall> vecDelete = FakeEngine()->Calls("KW_DeletePlayer");
    ASSERT_EQ(vecDelete.size(), 2u);
    EXPECT_EQ(vecDelete[0].m_vecArgs, Args({1}));
    EXPECT_EQ(player.m_iMainPlayId, 1);
    EXPECT_TRUE(TestLog::Lines().empty());
}

class CountingMainPlayer : public TestMainPlayer {
public:
    int DeleteAllSubPlayer() override {
        ++m_iSubDeletions;
        return TestMainPlayer::DeleteAllSubPlayer();
    }
    int m_iSubDeletions = 0;
};

TEST_F(MainPlayer, DeletingThePlayerDeletesTheViewsThroughTheVirtualOperation) {
    CountingMainPlayer player;
    Create(player, 3);
    EXPECT_EQ(player.DeleteAllPlayer(), 0);
    EXPECT_EQ(player.m_iSubDeletions, 1);
}

TEST_F(MainPlayer, DestructionStopsEverythingInOrder) {
    auto* pPlayer = new TestMainPlayer;
    Create(*pPlayer, 3);
    ASSERT_TRUE(DeliverArea(3, Area(1000.0, 2000.0, 9000.0, 8000.0))); // correction on, id 7
    pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {new FakePTZView(1, 0, {})};
    pPlayer->EnableDraw(true);
    pPlayer->RegisterDrawCallback(&DrawRecorder<9>::Callback);
    DrawRecorder<9>::Reset();
    pPlayer->StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<9>::Count() > 0; }));
    const std::int64_t llHandle = Addr(pPlayer->m_pFcuHandle);
    const std::int64_t llPlayer = Addr(static_cast<CLS_MainPlayer*>(pPlayer));
    FakeEngine()->ClearJournal();
    FakeAlgo()->ClearJournal();
    TestLog::Clear();
    {
        CallOrder order;
        delete static_cast<CLS_MainPlayer*>(pPlayer);
        EXPECT_EQ(CallOrder::Calls(),
                  Lines({"ZebAlgo_FCU_Release", "KW_PlayerControl", "KW_SetFishEyeCorrectCallBack 7",
                         "KW_SetFishEyeCorrectEnable 0", "KW_SetFishEyeCorrectCallBack 501",
                         "KW_DeleteFishEyeCorrect 501", "KW_DeletePlayer"}));
    }
    const size_t nDeliveries = DrawRecorder<9>::Count();
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Release").at(0).m_vecArgs, Args({llHandle}));
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_EQ(vecJournal.size(), 6u);
    EXPECT_EQ(vecJournal[0].m_strName, "KW_PlayerControl");
    EXPECT_EQ(vecJournal[0].m_vecArgs[0], 3);
    EXPECT_EQ(vecJournal[0].m_vecArgs[1], 4);
    EXPECT_EQ(vecJournal[0].m_vecArgs[3], 0);
    EXPECT_EQ(vecJournal[0].m_vecArgs[4], 0);
    EXPECT_EQ(vecJournal[0].m_vecRecords[0], RecordBytes(24).At<std::int64_t>(16, llPlayer).Bytes());
    EXPECT_EQ(vecJournal[1].m_vecArgs, Args({1, 7, 0, llPlayer}));
    EXPECT_EQ(vecJournal[2].m_vecArgs, Args({1, 0, 0}));
    EXPECT_EQ(vecJournal[5].m_strName, "KW_DeletePlayer");
    EXPECT_EQ(vecJournal[5].m_vecArgs, Args({1}));
    ASSERT_EQ(FakePTZView::Destroyed().size(), 1u);
    EXPECT_EQ(FakePTZView::Destroyed()[0].m_nEngineCalls, 3u); // after correction went off
    EXPECT_TRUE(TestLog::Lines().empty());
    SleepMs(120);
    EXPECT_EQ(DrawRecorder<9>::Count(), nDeliveries); // the draw thread went with the player
    // The engine stopped delivering to the player.
    EXPECT_FALSE(DeliverArea(3, Area(1.0, 2.0, 3.0, 4.0)));
}

TEST_F(MainPlayer, DestroyingAPlayerWithoutHandleReleasesNothing) {
    FakeAlgo()->PushResult("ZebAlgo_FCU_Creat", 0);
    auto* pPlayer = new TestMainPlayer;
    Create(*pPlayer, 3);
    ASSERT_EQ(pPlayer->EnableFishEye(true), 0);
    FakePTZView* pView = new FakePTZView(1, 0, {});
    pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ] = {pView};
    pPlayer->EnableDraw(true);
    pPlayer->RegisterDrawCallback(&DrawRecorder<8>::Callback);
    DrawRecorder<8>::Reset();
    pPlayer->StartDrawThread();
    ASSERT_TRUE(WaitFor([] { return DrawRecorder<8>::Count() > 0; }));
    FakeEngine()->ClearJournal();
    FakeAlgo()->ClearJournal();
    TestLog::Clear();
    delete pPlayer;
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]"}));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(FakePTZView::Destroyed().empty());
    // The draw thread did not outlive the player.
    const size_t nDeliveries = DrawRecorder<8>::Count();
    SleepMs(120);
    EXPECT_EQ(DrawRecorder<8>::Count(), nDeliveries);
    // Its registration is still in the engine; a late delivery does not reach the gone player.
    EXPECT_TRUE(DeliverArea(3, Area(1.0, 2.0, 3.0, 4.0)));
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    delete pView;
}

} // namespace
