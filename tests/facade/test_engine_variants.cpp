// The whole library with the engine file absent, and with each engine function the library calls
// missing from it: the operations that need the function fail with their message, the others work.
#include "FacadeTest.h"

#include <gmock/gmock.h>

namespace {

using ::testing::Contains;
using ::testing::Not;

std::string Warning(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}
std::string Info(const std::string& _strText) {
    return "info: _ZEB_ Panoview : " + _strText;
}

const STRUCT_FishWindowRect g_tRect{640, 480};

TEST(FacadeWithoutEngine, EverythingThatNeedsTheEngineFails) {
    CLS_FishPlayer* pFish = CLS_FishPlayer::GetInstance();
    EXPECT_THAT(
        TestLog::Lines(),
        Contains(Warning("[  CLS_FishPlayer::FishPlayer_CreateSystem CLS_ZebPlayer_SDK::LoadLib fail ]")));
    EXPECT_EQ(FakeEngine(), nullptr);
    TestLog::Clear();
    int iId = 3;
    QMap<int, QVector<int>> qmapIds;
    int aiHeader[3] = {12, 640, 480};
    EXPECT_EQ(pFish->FishPlayer_CreatePlayerFromStream({1, 0, 0}, Window(0), EveryViewWindows(), 0,
                                                       reinterpret_cast<unsigned char*>(aiHeader), 12, &iId,
                                                       qmapIds, false, {}, {1, 1}),
              -1);
    EXPECT_THAT(TestLog::Lines(), Contains(Info("[  CLS_MainPlayer::CreateMainPlayer nullptr == "
                                                "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds]")));
    EXPECT_THAT(
        TestLog::Lines(),
        Contains(Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet =  -1  ]")));
    EXPECT_EQ(iId, 3);
    EXPECT_TRUE(qmapIds.isEmpty());
    EXPECT_EQ(CLS_FishPlayer::FishPlayer_StopRevChUserDate(0), -1);
}

class FacadeWithout : public FacadeTest {};

TEST_F(FacadeWithout, KW_CreateSystem) {
    // The system could not be created, which shows only in the log of the first use.
    EXPECT_EQ(
        FirstUseLog(),
        std::vector<std::string>({Warning(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_ZebPlayer_SDK::KW_CreateSystem ]")}));
    const int iId = Create(EveryViewWindows());
    EXPECT_GE(iId, 0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_CreatePlayerForSpecialNeeds) {
    int iResult = 0;
    EXPECT_EQ(Create(EveryViewWindows(), nullptr, 1, false, &iResult), -1);
    EXPECT_EQ(iResult, -1);
    EXPECT_EQ(TestLog::Lines(),
              StreamCreationFailure(Info("[  CLS_MainPlayer::CreateMainPlayer nullptr == "
                                         "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds]"),
                                    -1));
    EXPECT_EQ(CallNames(FakeEngine()), Names({}));
    ExpectAlgoHandleReleased();
}

TEST_F(FacadeWithout, KW_Play) {
    int iResult = 0;
    EXPECT_EQ(Create(EveryViewWindows(), nullptr, 1, false, &iResult), -1);
    EXPECT_EQ(iResult, -1);
    EXPECT_EQ(TestLog::Lines(),
              StreamCreationFailure(
                  Info("[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_ZebPlayer_SDK::KW_Play]"), -1));
    EXPECT_EQ(CallNames(FakeEngine()), Names({}));
    ExpectAlgoHandleReleased();
}

TEST_F(FacadeWithout, KW_PlayerControl) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0); // subscribing to user data fails, the player plays
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("KW_PlayerControl iRet =  -1")));
    EXPECT_EQ(CLS_FishPlayer::FishPlayer_StopRevChUserDate(0), -1);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_PutStreamToPlayer) {
    const int iId = Create({});
    ASSERT_GE(iId, 0);
    unsigned char acData[4] = {0, 0, 0, 1};
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acData, 4), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        std::vector<std::string>({Info(
            "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_ZebPlayer_SDK::KW_PutStreamToPlayer ]")}));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_DeletePlayer) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId),
              0); // the player is gone from the registry all the same
    EXPECT_THAT(TestLog::Lines(),
                Contains(Warning(
                    "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_ZebPlayer_SDK::KW_DeletePlayer ]")));
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iId, true), -1);
}

TEST_F(FacadeWithout, KW_CreateFishEyeCorrect) {
    QMap<int, QVector<int>> qmapIds;
    const int iId = Create(EveryViewWindows(), &qmapIds);
    ASSERT_GE(iId, 0);                                                // single views fail, the set-up goes on
    EXPECT_EQ(qmapIds.keys(), QList<int>({0, CORRECT_TYPE_FISHEYE})); // the views that open no correction
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_PTZSubPlayer::CreatePlayer nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]")));
    EXPECT_THAT(
        TestLog::Lines(),
        Contains(Warning(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]")));
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {1, 1, 1}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_DeleteFishEyeCorrect) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllSubPlayer(iId), 0);
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_SubPlayer::CreatePlayer nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect ]")));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_SetFishEyeCorrectCallBack) {
    int iResult = 0;
    EXPECT_EQ(Create(EveryViewWindows(), nullptr, 1, false, &iResult), -1);
    EXPECT_EQ(iResult, -1);
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]")));
    // The player itself stays registered: the client removes it.
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(1), 0);
}

TEST_F(FacadeWithout, KW_SetFishEyeCorrectEnable) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    EXPECT_THAT(TestLog::Lines(),
                Contains(Warning("[  CLS_MainPlayer::EnableFishEye  "
                                 "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable == nullptr ]")));
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iId, true), -1);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_GetFishEyeCorrectPara) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {1, 1, 1}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_360, {64, 0, 0}, n_CtlCmd_Move, g_tRect),
              -1);
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_PTZSubPlayer::DeletePlayer nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]")));
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]")));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(FacadeWithout, KW_SetFishEyeCorrectPara) {
    const int iId = Create(EveryViewWindows());
    ASSERT_GE(iId, 0);
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {1, 1, 1}, n_PTZCtlCmd_ZoomInc), -1);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_180, {64, 0, 0}, n_CtlCmd_Move, g_tRect),
              -1);
    EXPECT_THAT(TestLog::Lines(),
                Contains(Warning(
                    "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_ZebPlayer_SDK::SetCorrectPara")));
    EXPECT_THAT(TestLog::Lines(), Contains(Warning("[  CLS_180ViewSubPlayer::SetCorrectPara nullptr == "
                                                   "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]")));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

} // namespace
