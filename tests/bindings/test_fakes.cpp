// The fakes are part of the test harness: check that they record and answer as the tests rely on.
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

class Fakes : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
        ASSERT_EQ(CLS_ZebAlgoFcu::LoadLib(), 0);
        FakeEngine()->Reset();
        FakeAlgo()->Reset();
    }
};

TEST_F(Fakes, EngineJournalCopiesRecordsAtTheCall) {
    STRUCT_PlayerCreateParam tParam{};
    tParam.m_iSize = 32;
    tParam.m_iWidth = 1920;
    const int iPlayId = CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds(2, &tParam, 32, 0);
    tParam.m_iWidth = 1; // changed after the call: the copy keeps the old bytes
    EXPECT_EQ(iPlayId, 1);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds(2, &tParam, 32, 0), 2);
    const std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_CreatePlayerForSpecialNeeds");
    ASSERT_EQ(vecCalls.size(), 2u);
    EXPECT_EQ(vecCalls[0].Record<STRUCT_PlayerCreateParam>().m_iWidth, 1920);
    EXPECT_EQ(vecCalls[1].Record<STRUCT_PlayerCreateParam>().m_iWidth, 1);
    EXPECT_EQ(vecCalls[0].m_vecArgs[0], 2);
    EXPECT_EQ(vecCalls[0].m_vecArgs[2], 32);
}

TEST_F(Fakes, QueuedResultsComeFirstThenTheStickyOneThenTheDefault) {
    FakeEngine()->PushResult("KW_Play", -4);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play(1), -4);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play(1), 0);
    FakeEngine()->SetResult("KW_Play", 9);
    FakeEngine()->PushResult("KW_Play", 3);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play(1), 3);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play(1), 9);
    FakeEngine()->Reset();
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play(1), 0);
}

TEST_F(Fakes, ParameterStoreAnswersReadsWithTheLastWrite) {
    STRUCT_PTZCorrectPara tPara{};
    tPara.iPTZPositionX = 1234;
    tPara.iPTZZoom = 600;
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara(1, 100, 1, &tPara, 32), 0);
    STRUCT_PTZCorrectPara tRead{};
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara(1, 100, 1, &tRead, 32), 0);
    EXPECT_EQ(BytesOf(tRead), BytesOf(tPara));
    STRUCT_PanoramaPara tPanorama{};
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara(1, 100, 3, &tPanorama, 8), 0);
    EXPECT_EQ(tPanorama.m_fRotateAngle, 0.0f); // another kind: nothing stored
}

void CountUserData(int, int _iType, const unsigned char*, int _iLength, void* _pUser) {
    *static_cast<int*>(_pUser) += _iType * 1000 + _iLength;
}

TEST_F(Fakes, UserDataReachesTheCallbackRegisteredForThePlayIndex) {
    int iSeen = 0;
    STRUCT_UserDataCallBackParam tRecord{};
    tRecord.m_iSize = 24;
    tRecord.m_pfCallBack = CountUserData;
    tRecord.m_pUser = &iSeen;
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_PlayerControl(3, 4, &tRecord, 24, 0), 0);
    const unsigned char acData[5] = {};
    EXPECT_FALSE(FakeEngine()->DeliverUserData(2, 9, acData, 5));
    std::thread thread([&] { EXPECT_TRUE(FakeEngine()->DeliverUserData(3, 9, acData, 5)); });
    thread.join();
    EXPECT_EQ(iSeen, 9005);
    STRUCT_UserDataCallBackParam tStop{};
    tStop.m_iSize = 24;
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_PlayerControl(3, 4, &tStop, 24, 0), 0);
    EXPECT_FALSE(FakeEngine()->DeliverUserData(3, 9, acData, 5));
}

TEST_F(Fakes, AlgoPointFunctionsEchoTheInputUnlessScripted) {
    STRUCT_FcuPointTransformParam tRequest{};
    tRequest.m_iSize = 92;
    tRequest.m_fX = 0.25f;
    tRequest.m_fY = 0.75f;
    STRUCT_FcuPoint tOut{};
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform(nullptr, &tRequest, &tOut), 0);
    EXPECT_EQ(tOut.m_fX, 0.25f);
    EXPECT_EQ(tOut.m_fY, 0.75f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.125f);
    STRUCT_FcuViewParam tView{};
    STRUCT_FcuPoint tIn{0.1f, 0.2f};
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint(nullptr, &tView, &tIn, &tOut), 0);
    EXPECT_EQ(tOut.m_fX, 0.5f);
    EXPECT_EQ(tOut.m_fY, 0.125f);
    ASSERT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_CorrectPoint").size(), 1u);
    EXPECT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_CorrectPoint")[0].Record<STRUCT_FcuPoint>(1).m_fY, 0.2f);
}

TEST_F(Fakes, ProcessWritesPolylinesIntoTheCallersBlock) {
    FakeAlgo()->SetLines({{{0.1f, 0.2f}, {0.3f, 0.4f}}, {{0.5f, 0.6f}}});
    std::vector<STRUCT_FcuPoint> vecBlock(FCU_POINT_BLOCK_POINTS);
    STRUCT_FcuLineBuffer tLines{};
    tLines.m_atLines[0].m_pPoints = vecBlock.data();
    STRUCT_FcuProcessResult tResult{};
    tResult.m_iSize = 88;
    tResult.m_pLineBuffer = &tLines;
    STRUCT_FcuViewParam tRequest{};
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Process(nullptr, 0, &tRequest, &tResult), 0);
    ASSERT_EQ(tLines.iLineNum, 2);
    EXPECT_EQ(tLines.m_atLines[0].m_iPointNum, 2);
    EXPECT_EQ(tLines.m_atLines[0].m_pPoints, vecBlock.data());
    EXPECT_EQ(tLines.m_atLines[1].m_iPointNum, 1);
    EXPECT_EQ(tLines.m_atLines[1].m_pPoints, vecBlock.data() + 2);
    EXPECT_EQ(vecBlock[2].m_fX, 0.5f);
    FakeAlgo()->SetLineNumOverride(0);
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Process(nullptr, 0, &tRequest, &tResult), 0);
    EXPECT_EQ(tLines.iLineNum, 0);
}

TEST_F(Fakes, CreatHandsOutDistinctHandlesOrTheScriptedNull) {
    void* p1 = CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(nullptr, nullptr);
    void* p2 = CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(nullptr, nullptr);
    EXPECT_NE(p1, nullptr);
    EXPECT_NE(p2, nullptr);
    EXPECT_NE(p1, p2);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Creat", 0);
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(nullptr, nullptr), nullptr);
}

} // namespace
