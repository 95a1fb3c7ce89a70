// The exported class as a client uses it: registry, lookups, argument checks and creation paths.
#include "FacadeTest.h"

#include <functional>
#include <thread>

namespace {

using Lines = std::vector<std::string>;

std::string Warning(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}

// Runs in a process of its own: the first use of the singleton loads the engine and creates its
// system, once, whichever thread comes first.
TEST(FacadeFirstUse, LoadsTheEngineAndCreatesItsSystemOnce) {
    EXPECT_EQ(FakeEngine(), nullptr); // not loaded before the first use
    CLS_FishPlayer* pFirst = nullptr;
    CLS_FishPlayer* pSecond = nullptr;
    std::thread thread1([&] { pFirst = CLS_FishPlayer::GetInstance(); });
    std::thread thread2([&] { pSecond = CLS_FishPlayer::GetInstance(); });
    thread1.join();
    thread2.join();
    EXPECT_NE(pFirst, nullptr);
    EXPECT_EQ(pFirst, pSecond);
    EXPECT_EQ(CLS_FishPlayer::GetInstance(), pFirst);
    ASSERT_NE(FakeEngine(), nullptr);
    const std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_CreateSystem");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs, std::vector<std::int64_t>({0}));
    EXPECT_EQ(FakeEngine()->Journal().size(), 1u); // nothing else happens at start
    EXPECT_TRUE(TestLog::Lines().empty());
}

struct PerPlayerMethod {
    const char* m_pcName;
    std::function<int(CLS_FishPlayer*, int)> m_fnCall;
    std::string m_strNotContained;
    std::string m_strNull;
};

std::vector<PerPlayerMethod> PerPlayerMethods() {
    static unsigned char s_acData[4] = {1, 2, 3, 4};
    const STRUCT_FishWindowRect tRect{640, 480};
    auto fnCallback = [](int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>>) { return 0; };
    const std::string strC = " !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ";
    const std::string strN = " nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ";
    return {
        {"CorrectWindowCtl",
         [=](CLS_FishPlayer* p, int id) {
             return p->FishPlayer_CorrectWindowCtl(id, 768, {1, 2, 3}, n_CtlCmd_Move, tRect);
         },
         "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl" + strC,
         "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl" + strN},
        {"DrawWindowCtl",
         [=](CLS_FishPlayer* p, int id) {
             return p->FishPlayer_DrawWindowCtl(id, 0, {1, 2, 3, 4}, n_CtlCmd_Move, tRect);
         },
         "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl" + strC,
         "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl" + strN},
        {"PTZWindowCtl",
         [=](CLS_FishPlayer* p, int id) {
             return p->FishPlayer_PTZWindowCtl(id, 0, {1, 2, 3}, n_CtlCmd_Zoom, tRect);
         },
         "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl" + strC,
         "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl" + strN},
        {"PTZCtl",
         [=](CLS_FishPlayer* p, int id) {
             return p->FishPlayer_PTZCtl(id, 0, {1, 2, 3}, n_PTZCtlCmd_Up);
         },
         "[  CLS_FishPlayer::FishPlayer_PTZCtl" + strC, "[  CLS_FishPlayer::FishPlayer_PTZCtl" + strN},
        {"EnableDraw", [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_EnableDraw(id, true); },
         "[  CLS_FishPlayer::FishPlayer_EnableDraw" + strC,
         "[  CLS_FishPlayer::FishPlayer_EnableDraw " + strN},
        {"EnableFish", [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_EnableFish(id, true); },
         "[  CLS_FishPlayer::FishPlayer_EnableFish" + strC,
         "[  CLS_FishPlayer::FishPlayer_EnableFish " + strN},
        {"PutStreamToPlayer",
         [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_PutStreamToPlayer(id, 0, s_acData, 4); },
         "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer" + strC,
         "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer " + strN},
        {"RegisterDrawCallback",
         [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_RegisterDrawCallback(id, fnCallback); },
         "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback" + strC,
         "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback " + strN},
        {"DeleteAllSubPlayer",
         [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_DeleteAllSubPlayer(id); },
         "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer " + strC,
         "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer " + strN},
        {"DeleteAllPlayer", [=](CLS_FishPlayer* p, int id) { return p->FishPlayer_DeleteAllPlayer(id); },
         "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer " + strC,
         "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer " + strN},
    };
}

TEST_F(FacadeTest, UnknownIdsAreRefusedByEveryMethodWithoutAddingAnEntry) {
    for (const PerPlayerMethod& method : PerPlayerMethods()) {
        TestLog::Clear();
        EXPECT_EQ(method.m_fnCall(m_pFish, 9001), -1) << method.m_pcName;
        EXPECT_EQ(method.m_fnCall(m_pFish, 9001), -1) << method.m_pcName; // still unknown: no entry was added
        EXPECT_EQ(TestLog::Lines(), Lines({Warning(method.m_strNotContained + " 9001  ]"),
                                           Warning(method.m_strNotContained + " 9001  ]")}))
            << method.m_pcName;
    }
}

TEST_F(FacadeTest, AskingForUserDataOfAnUnknownIdLeavesAnEmptyEntryThatEveryMethodRefuses) {
    EXPECT_FALSE(m_pFish->GetIsInitUserData(9002));
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warning("[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == "
                             "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID =  9002  ]")}));
    for (const PerPlayerMethod& method : PerPlayerMethods()) {
        TestLog::Clear();
        EXPECT_EQ(method.m_fnCall(m_pFish, 9002), -1) << method.m_pcName;
        EXPECT_EQ(TestLog::Lines(), Lines({Warning(method.m_strNull + " 9002  ]")})) << method.m_pcName;
    }
    // Deleting does not remove an empty entry either.
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(9002), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warning("[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == "
                             "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID =  9002  ]")}));
}

TEST_F(FacadeTest, SubPlayerCreationForAnUnknownId) {
    QMap<int, QVector<int>> qmapIds;
    EXPECT_EQ(m_pFish->FishPlayer_CreateSubPlayer(m_tParam, 9003, EveryViewWindows(), qmapIds, 0, {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->GetIsInitUserData(9004), false);
    EXPECT_EQ(m_pFish->FishPlayer_CreateSubPlayer(m_tParam, 9004, EveryViewWindows(), qmapIds, 0, {1, 1}),
              -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {Warning("[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) "
                     "_iFishPlayerID =  9003  ]"),
             Warning("[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet =  -1  ]"),
             Warning("[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] "
                     "_iFishPlayerID =  9004  ]"),
             Warning("[  CLS_FishPlayer::CreateSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] "
                     "_iFishPlayerID =  9004  ]"),
             Warning("[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet =  -1  ]")}));
    EXPECT_TRUE(qmapIds.isEmpty());
}

TEST_F(FacadeTest, FeedingChecksTheIdThenTheDataThenTheSize) {
    unsigned char acData[8] = {0, 0, 0, 1, 0x67, 0, 0, 0};
    const int iId = Create({});
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    FakeEngine()->Reset();
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(9005, 0, nullptr, -1), -1);
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, nullptr, -1), -1);
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acData, -1), -1);
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acData, 0),
              -1); // forwarded, refused by the player
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acData, 8), 0);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {Warning(
                 "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) "
                 "_iFishPlayerID =  9005  ]"),
             Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData"),
             Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0"),
             "info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]"}));
    const std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_PutStreamToPlayer");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs[0], iId);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], std::vector<unsigned char>(acData, acData + 8));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeTest, CreationFromAFileAlwaysFailsAndCallsNoEngineFunction) {
    int iId = 77;
    QMap<int, QVector<int>> qmapIds;
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromFile(m_tParam, Window(0), EveryViewWindows(),
                                                       QStringLiteral("clip.h264"), &iId, qmapIds, {1, 1}),
              -1);
    EXPECT_EQ(iId, 77);
    EXPECT_TRUE(qmapIds.isEmpty());
    // Two lines and no engine call: the player made for the attempt goes without a trace.
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {Warning("[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet =  -1  ]"),
             Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet =  -1  "
                     "]")}));
    EXPECT_EQ(CallNames(FakeEngine()), Names({}));
    ExpectAlgoHandleReleased();
    // Nothing was registered under the client's id.
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(77, true), -1);
    EXPECT_EQ(TestLog::Lines().size(), 1u);
}

TEST_F(FacadeTest, CreationArgumentChecks) {
    StreamHeader tHeader{{12, 1920, 1080}};
    unsigned char* pcHeader = reinterpret_cast<unsigned char*>(&tHeader);
    QMap<int, QVector<int>> qmapIds;
    int iId = 5;
    const QMap<int, QVector<void*>> qmapWindows = EveryViewWindows();
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), qmapWindows, 0, pcHeader, 12,
                                                         nullptr, qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromFile(m_tParam, Window(0), qmapWindows, QString(), nullptr,
                                                       qmapIds, {1, 1}),
              -1);
    EXPECT_TRUE(TestLog::Lines().empty()); // a null id pointer is refused silently
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, nullptr, qmapWindows, 0, pcHeader, 12,
                                                         &iId, qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), qmapWindows, 0, nullptr, 12,
                                                         &iId, qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), qmapWindows, 0, pcHeader, 0,
                                                         &iId, qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), qmapWindows, 0, pcHeader,
                                                         -2147483647 - 1, &iId, qmapIds, false, m_tTLDSet,
                                                         {1, 1}),
              -1);
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromFile(m_tParam, nullptr, qmapWindows, QString(), &iId,
                                                       qmapIds, {1, 1}),
              -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]"),
               Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]"),
               Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]"),
               Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]"),
               Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]")}));
    EXPECT_EQ(iId, 5);
    EXPECT_TRUE(FakeEngine()->Journal().empty());
}

TEST_F(FacadeTest, AHeaderOfTheWrongSizeCallsNoEngineFunction) {
    StreamHeader tHeader{{16, 1920, 1080}}; // the header says 16 bytes, the client gives 12
    QMap<int, QVector<int>> qmapIds;
    int iId = 6;
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), EveryViewWindows(), 0,
                                                         reinterpret_cast<unsigned char*>(&tHeader), 12, &iId,
                                                         qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(
        TestLog::Lines(),
        StreamCreationFailure(
            "info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]", -1));
    EXPECT_EQ(CallNames(FakeEngine()), Names({}));
    ExpectAlgoHandleReleased();
    EXPECT_EQ(iId, 6);
    EXPECT_TRUE(qmapIds.isEmpty());
}

TEST_F(FacadeTest, ANegativePlayIdEndsCreationAfterTheEngineCall) {
    FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", -5);
    int iResult = 0;
    EXPECT_EQ(Create(EveryViewWindows(), nullptr, 1, false, &iResult), -1);
    EXPECT_EQ(iResult, -1);
    EXPECT_EQ(
        TestLog::Lines(),
        StreamCreationFailure("info: _ZEB_ Panoview : [  CLS_MainPlayer::CreateMainPlayer "
                              "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds < 0  iPlayerID =  -5  ]",
                              -1));
    EXPECT_EQ(CallNames(FakeEngine()), Names({"KW_CreatePlayerForSpecialNeeds"}));
    ExpectAlgoHandleReleased();
}

TEST_F(FacadeTest, AFailedPlayStartEndsCreationAfterThePlayCall) {
    FakeEngine()->PushResult("KW_Play", -8);
    int iResult = 0;
    EXPECT_EQ(Create(EveryViewWindows(), nullptr, 1, false, &iResult), -1);
    EXPECT_EQ(iResult, -8);
    EXPECT_EQ(TestLog::Lines(), StreamCreationFailure(Warning("KW_Play fail iRet =  -8"), -8));
    // The engine player stays open (the abandoned player never closes it); nothing follows the start.
    EXPECT_EQ(CallNames(FakeEngine()), Names({"KW_CreatePlayerForSpecialNeeds", "KW_Play"}));
    const std::vector<FakeCall> vecPlay = FakeEngine()->Calls("KW_Play");
    ASSERT_EQ(vecPlay.size(), 1u);
    EXPECT_EQ(vecPlay[0].m_vecArgs, std::vector<std::int64_t>({1}));
    ExpectAlgoHandleReleased();
}

TEST_F(FacadeTest, OtherStreamTypesRegisterUnderTheClientsIdWithoutAnEnginePlayer) {
    StreamHeader tHeader{{12, 1920, 1080}};
    QMap<int, QVector<int>> qmapIds;
    int iId = 4242;
    EXPECT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, Window(0), EveryViewWindows(), 1,
                                                         reinterpret_cast<unsigned char*>(&tHeader), 12, &iId,
                                                         qmapIds, false, m_tTLDSet, {1, 1}),
              -1);
    EXPECT_EQ(iId, 4242);
    EXPECT_TRUE(FakeEngine()->Calls("KW_CreatePlayerForSpecialNeeds").empty());
    EXPECT_EQ(TestLog::Lines(), Lines({Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]"),
                                       Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  "
                                               "CreateSubPlayer fail iRet =  -1  ]")}));
    // The player stays registered under the client's value until the client deletes it.
    EXPECT_FALSE(m_pFish->GetIsInitUserData(4242));
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(4242), 0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(4242), -1);
    EXPECT_EQ(TestLog::Lines().back(),
              Warning("[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  "
                      "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID =  4242  ]"));
}

TEST_F(FacadeTest, TrackingIsNotProvided) {
    for (int iId : {-2147483647 - 1, -1, 0, 1, 2147483647}) {
        EXPECT_EQ(m_pFish->FishPlayer_StartTrack(iId), -1);
        EXPECT_EQ(m_pFish->FishPlayer_StopTrack(iId), -1);
    }
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(FacadeTest, DeletingTwiceFailsTheSecondTime) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), -1);
    EXPECT_EQ(
        TestLog::Lines().back(),
        Warning("[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) "
                "_iFishPlayerID =  " +
                std::to_string(iId) + "  ]"));
    const std::vector<FakeCall> vecDelete = FakeEngine()->Calls("KW_DeletePlayer");
    ASSERT_EQ(vecDelete.size(), 1u);
    EXPECT_EQ(vecDelete[0].m_vecArgs[0], iId);
}

// The replaced player is abandoned, as the registry promises: this test runs in a process of its
// own, where that one object is allowed to outlive the test.
class FacadeReplace : public FacadeTest {};

TEST_F(FacadeReplace, ASecondPlayerWithTheSameEngineIdReplacesTheEntry) {
    FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", 55);
    FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", 55);
    ASSERT_EQ(Create({}), 55);
    ASSERT_EQ(Create({{CORRECT_TYPE_360, {Window(9)}}}), 55);
    FakeEngine()->Reset();
    // The registry now reaches the second player: it has a 360 view, the first had none.
    EXPECT_EQ(
        m_pFish->FishPlayer_CorrectWindowCtl(55, CORRECT_TYPE_360, {64, 0, 0}, n_CtlCmd_Move, {640, 480}), 0);
    EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectPara").size(), 1u);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(55), 0);
}

TEST_F(FacadeTest, PlayIndexIsKeptUnderItsLock) {
    EXPECT_EQ(m_pFish->GetPlayIndex(), 0);
    std::thread thread([&] { m_pFish->SetPlayIndex(3); });
    thread.join();
    EXPECT_EQ(m_pFish->GetPlayIndex(), 3);
    const int iId = Create({});
    ASSERT_GE(iId, 0);
    const std::vector<FakeCall> vecControl = FakeEngine()->Calls("KW_PlayerControl");
    ASSERT_EQ(vecControl.size(), 1u);
    EXPECT_EQ(vecControl[0].m_vecArgs[0], 3); // the player waits for user data on the current play index
    m_pFish->SetPlayIndex(0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeTest, StoppingUserDataSendsTheStopRecord) {
    EXPECT_EQ(CLS_FishPlayer::FishPlayer_StopRevChUserDate(6), 0);
    FakeEngine()->PushResult("KW_PlayerControl", -3);
    EXPECT_EQ(CLS_FishPlayer::FishPlayer_StopRevChUserDate(7), -3);
    const std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_PlayerControl");
    ASSERT_EQ(vecCalls.size(), 2u);
    EXPECT_EQ(vecCalls[0].m_vecArgs, std::vector<std::int64_t>({6, 4, vecCalls[0].m_vecArgs[2], 24, 0}));
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(24).At<int>(0, 24).Bytes());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(FacadeTest, CopiesShareThePlayers) {
    const int iId = Create({});
    ASSERT_GE(iId, 0);
    m_pFish->SetPlayIndex(8);
    {
        CLS_FishPlayer clsCopy(*m_pFish);
        EXPECT_EQ(clsCopy.GetPlayIndex(), 8);
        EXPECT_EQ(clsCopy.FishPlayer_EnableFish(iId, false), 0);
    }
    m_pFish->SetPlayIndex(0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

} // namespace
