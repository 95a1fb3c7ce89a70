// The 180-degree and 360-degree panoramas, the LAT view and the whole-circle fisheye view.
#include "ViewTestSupport.h"

#include <climits>

namespace {

Bytes Panorama(std::uint32_t _uOpaque, float _fAngle) {
    return RecordBytes(8).At<std::uint32_t>(0, _uOpaque).At<float>(4, _fAngle);
}

class PanoramaView : public ViewTest {
protected:
    template <typename TView> void Create(TView& _view, int _iType) {
        void* pHandle = Handle();
        int iId = 0;
        const STRUCT_CorrectSetup tSetup = ViewSetup(1, _iType);
        ASSERT_EQ(_view.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
        FakeEngine()->Reset();
    }
    // The angle a drag wrote, after checking the one read and the one write.
    static Bytes Written() {
        const std::vector<FakeCall> vecGets = Engine("KW_GetFishEyeCorrectPara");
        const std::vector<FakeCall> vecSets = Engine("KW_SetFishEyeCorrectPara");
        EXPECT_EQ(vecGets.size(), 1u);
        EXPECT_EQ(vecSets.size(), 1u);
        if (vecGets.size() != 1 || vecSets.size() != 1)
            return {};
        EXPECT_EQ(vecGets[0].m_vecArgs[0], MAIN_ID);
        EXPECT_EQ(vecGets[0].m_vecArgs[1], FIRST_CORRECT_ID);
        EXPECT_EQ(vecGets[0].m_vecArgs[2], 3);
        EXPECT_EQ(vecGets[0].m_vecArgs[4], 8);
        EXPECT_EQ(vecGets[0].m_vecRecords[0], Bytes(8, 0)); // zeroed before the read
        EXPECT_EQ(vecSets[0].m_vecArgs[0], MAIN_ID);
        EXPECT_EQ(vecSets[0].m_vecArgs[1], FIRST_CORRECT_ID);
        EXPECT_EQ(vecSets[0].m_vecArgs[2], 3);
        EXPECT_EQ(vecSets[0].m_vecArgs[4], 8);
        return vecSets[0].m_vecRecords[0];
    }
};

TEST_F(PanoramaView, DragAcrossATenthTurnsThe180ViewAndWrapsPast180) {
    CLS_180ViewSubPlayer view;
    Create(view, CORRECT_TYPE_180);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(0xABCD1234u, 170.0f));
    EXPECT_EQ(view.Move(64, 0, {640, 480}), 0);
    EXPECT_EQ(Written(), Panorama(0xABCD1234u, 8.0f));
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PanoramaView, NegativeDragKeepsItsSign) {
    CLS_180ViewSubPlayer view;
    Create(view, CORRECT_TYPE_180);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(5, 0.0f));
    EXPECT_EQ(view.Move(-64, 0, {640, 480}), 0);
    EXPECT_EQ(Written(), Panorama(5, -18.0f));
}

TEST_F(PanoramaView, The360ViewWrapsPast360) {
    CLS_360ViewSubPlayer view;
    Create(view, CORRECT_TYPE_360);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(9, 350.0f));
    EXPECT_EQ(view.Move(20, 0, {360, 100}), 0);
    EXPECT_EQ(Written(), Panorama(9, 10.0f));
}

TEST_F(PanoramaView, The360ViewTurnsByTheWholeWindowWidth) {
    CLS_360ViewSubPlayer view;
    Create(view, CORRECT_TYPE_360);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(0, -10.0f));
    EXPECT_EQ(view.Move(-100, 0, {200, 100}), 0); // -180 + -10
    EXPECT_EQ(Written(), Panorama(0, -190.0f));
}

TEST_F(PanoramaView, SmallDragDropsOnlyTheFraction) {
    CLS_180ViewSubPlayer view;
    Create(view, CORRECT_TYPE_180);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(1, 12.7f));
    EXPECT_EQ(view.Move(5, 0, {1000, 1000}), 0);
    EXPECT_EQ(Written(), Panorama(1, 12.0f));
}

TEST_F(PanoramaView, VerticalMovementHasNoEffect) {
    CLS_180ViewSubPlayer view180;
    Create(view180, CORRECT_TYPE_180);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(1, 20.0f));
    EXPECT_EQ(view180.Move(64, 100000, {640, 480}), 0);
    EXPECT_EQ(Written(), Panorama(1, 38.0f));
    CLS_360ViewSubPlayer view360;
    Create(view360, CORRECT_TYPE_360);
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 3, Panorama(1, 20.0f));
    EXPECT_EQ(view360.Move(0, -777, {640, 480}), 0);
    EXPECT_EQ(Written(), Panorama(1, 20.0f));
}

TEST_F(PanoramaView, HugeDragIsComputedWithoutOverflow) {
    CLS_180ViewSubPlayer view;
    Create(view, CORRECT_TYPE_180);
    // INT_MAX * 180 / 1 does not fit: the step saturates at 2147483647, whose remainder is 127.
    EXPECT_EQ(view.Move(INT_MAX, 0, {1, 1}), 0);
    EXPECT_EQ(Written(), Panorama(0, 127.0f));
}

TEST_F(PanoramaView, BadRectangleIsRefusedBeforeAnyEngineCall) {
    CLS_180ViewSubPlayer view180;
    Create(view180, CORRECT_TYPE_180);
    CLS_360ViewSubPlayer view360;
    Create(view360, CORRECT_TYPE_360);
    EXPECT_EQ(view180.Move(10, 0, {0, 480}), -1);
    EXPECT_EQ(view360.Move(10, 0, {640, -3}), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_180ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  "
                          "_rect.m_iWidth =  0  _rect.m_iHeight =  480  ]"),
                     Warn("[  CLS_360ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  "
                          "_rect.m_iWidth =  640  _rect.m_iHeight =  -3  ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
}

TEST_F(PanoramaView, FailedReadLeavesTheEngineUntouched) {
    CLS_180ViewSubPlayer view;
    Create(view, CORRECT_TYPE_180);
    FakeEngine()->PushResult("KW_GetFishEyeCorrectPara", -3);
    EXPECT_EQ(view.Move(64, 0, {640, 480}), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_180ViewSubPlayer::Move GetCorrectPara fail iRet =  -3  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
}

TEST_F(PanoramaView, FailedWriteIsReturnedWithoutALine) {
    CLS_360ViewSubPlayer view;
    Create(view, CORRECT_TYPE_360);
    FakeEngine()->PushResult("KW_SetFishEyeCorrectPara", -4);
    EXPECT_EQ(view.Move(64, 0, {640, 480}), -4);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PanoramaView, RecordOperationsNeedACreatedView) {
    CLS_180ViewSubPlayer view180;
    CLS_360ViewSubPlayer view360;
    STRUCT_PanoramaPara tPara{};
    EXPECT_EQ(view180.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(view180.SetCorrectPara(&tPara), -1);
    EXPECT_EQ(view360.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(view360.SetCorrectPara(&tPara), -1);
    EXPECT_EQ(view360.Move(1, 1, {10, 10}), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_180ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                     Warn("[  CLS_180ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]"),
                     Warn("[  CLS_360ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                     Warn("[  CLS_360ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]"),
                     Warn("[  CLS_360ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                     Warn("[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet =  -1  ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    TestLog::Clear();
}

TEST_F(PanoramaView, RecordOperationsPassTheEngineResultAndTheSubIdUnchecked) {
    Exposed<CLS_180ViewSubPlayer> view;
    view.m_iMainPlayId = 2; // created main player, no correction of its own
    STRUCT_PanoramaPara tPara = {3, 4.0f};
    FakeEngine()->PushResult("KW_GetFishEyeCorrectPara", 17);
    FakeEngine()->PushResult("KW_SetFishEyeCorrectPara", -21);
    EXPECT_EQ(view.GetCorrectPara(&tPara), 17);
    EXPECT_EQ(view.SetCorrectPara(&tPara), -21);
    ASSERT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
    EXPECT_EQ(Engine("KW_GetFishEyeCorrectPara")[0].m_vecArgs[1], -1);
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara")[0].m_vecArgs,
              std::vector<std::int64_t>({2, -1, 3, reinterpret_cast<std::intptr_t>(&tPara), 8}));
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara")[0].m_vecRecords[0], Panorama(3, 4.0f));
    EXPECT_TRUE(TestLog::Lines().empty());
    view.m_iMainPlayId = -1;
    TestLog::Clear();
}

TEST_F(PanoramaView, OtherOperationsAnswerZero) {
    CLS_180ViewSubPlayer view180;
    Create(view180, CORRECT_TYPE_180);
    CLS_360ViewSubPlayer view360;
    Create(view360, CORRECT_TYPE_360);
    CLS_LATViewSubPlayer lat;
    Create(lat, CORRECT_TYPE_LAT);
    CLS_FishEyeSubPlayer fisheye;
    void* pHandle = Handle();
    int iId = 0;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_FISHEYE);
    ASSERT_EQ(fisheye.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
    for (CLS_SubPlayer* pView : std::vector<CLS_SubPlayer*>{&view180, &view360, &lat, &fisheye}) {
        QVector<QVector<STRUCT_DrawPoint>> qvecData;
        STRUCT_PTZCorrectPara tPTZ{};
        EXPECT_EQ(pView->Zoom(5), 0);
        EXPECT_EQ(pView->PTZCtl({1, 1, 1}, n_PTZCtlCmd_ZoomInc), 0);
        EXPECT_EQ(pView->Move(STRUCT_CtlPointParam{1, 1, 2, 2}, {10, 10}), 0);
        EXPECT_EQ(pView->GetPTZDrawData(qvecData), 0);
        EXPECT_EQ(pView->InitPTZDraw(pHandle, &tSetup, 0), 0);
        EXPECT_EQ(pView->SetCorrectPara(&tPTZ, false), 0);
        EXPECT_TRUE(qvecData.isEmpty());
    }
    STRUCT_PanoramaPara tPano = {1, 2.0f};
    EXPECT_EQ(lat.Move(5, 5, {10, 10}), 0);
    EXPECT_EQ(fisheye.Move(5, 5, {10, 10}), 0);
    EXPECT_EQ(lat.GetCorrectPara(&tPano), 0);
    EXPECT_EQ(lat.SetCorrectPara(&tPano), 0);
    EXPECT_EQ(fisheye.GetCorrectPara(&tPano), 0);
    EXPECT_EQ(BytesOf(tPano), Panorama(1, 2.0f));
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

class LATView : public ViewTest {};

TEST_F(LATView, GetCorrectParaChecksOnlyTheMainId) {
    Exposed<CLS_LATViewSubPlayer> view;
    STRUCT_PTZCorrectPara tPara{};
    tPara.iPTZZoom = 999;
    EXPECT_EQ(view.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_LATViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]")}));
    void* pHandle = Handle();
    int iId = 0;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_LAT);
    ASSERT_EQ(view.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
    FakeEngine()->Reset();
    TestLog::Clear();
    EXPECT_EQ(view.GetCorrectPara(&tPara), 0);
    EXPECT_EQ(tPara.iPTZZoom, 999);
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

class FishEyeView : public ViewTest {};

TEST_F(FishEyeView, CreatePlayerRecordsTheWholeSetUpWithoutTheEngine) {
    Exposed<CLS_FishEyeSubPlayer> view;
    void* pHandle = Handle();
    int iId = 77;
    const STRUCT_CorrectSetup tSetup = ViewSetup(2, CORRECT_TYPE_FISHEYE, 11, 22, 33, 44, 55, 66);
    EXPECT_EQ(view.CreatePlayer(pHandle, 4, &tSetup, Window(), &iId), 0);
    EXPECT_EQ(iId, 77);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    EXPECT_EQ(view.m_iMainPlayId, 4);
    EXPECT_EQ(view.m_pWindow, Window());
    EXPECT_EQ(view.m_pFcuHandle, Handle());
    EXPECT_EQ(BytesOf(view.m_tCorrectSetup), BytesOf(tSetup));
    EXPECT_EQ(view.m_iSetupMode, 2);
    EXPECT_EQ(view.m_iSetupType, CORRECT_TYPE_FISHEYE);
    EXPECT_EQ(view.m_iSetupExtra, 0); // not taken over
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(TestLog::Lines().empty());
    EXPECT_EQ(view.DeletePlayer(), 0);
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(FishEyeView, ArgumentChecksRunInOrder) {
    Exposed<CLS_FishEyeSubPlayer> view;
    void* pNull = nullptr;
    void* pHandle = Handle();
    int iId = 0;
    EXPECT_EQ(view.CreatePlayer(pNull, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, Window(), nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, Window(), &iId), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pfcuHandle ]"),
                     Warn("[  CLS_FishEyeSubPlayer::CreatePlayer _iMainPlayerId < 0 ]"),
                     Warn("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pWindow ]"),
                     Warn("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"),
                     Warn("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == param ]")}));
    EXPECT_EQ(view.m_iMainPlayId, -1);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    TestLog::Clear();
}

TEST_F(FishEyeView, DestructionStillRunsTheBaseDeletion) {
    {
        CLS_FishEyeSubPlayer view;
        void* pHandle = Handle();
        int iId = 0;
        const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_FISHEYE);
        ASSERT_EQ(view.CreatePlayer(pHandle, 3, &tSetup, Window(), &iId), 0);
    }
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")}));
    ASSERT_EQ(Engine("KW_DeleteFishEyeCorrect").size(), 1u);
    EXPECT_EQ(Engine("KW_DeleteFishEyeCorrect")[0].m_vecArgs, std::vector<std::int64_t>({3, -1}));
}

// Variants of the engine lacking the parameter functions.
class PanoramaWithoutGet : public PanoramaView {};

TEST_F(PanoramaWithoutGet, ReadFailsAtItsBindingTest) {
    CLS_180ViewSubPlayer view180;
    Create(view180, CORRECT_TYPE_180);
    CLS_360ViewSubPlayer view360;
    Create(view360, CORRECT_TYPE_360);
    STRUCT_PanoramaPara tPara{};
    EXPECT_EQ(view180.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(view360.Move(1, 0, {10, 10}), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_180ViewSubPlayer::GetCorrectPara nullptr == "
                          "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]"),
                     Warn("[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == "
                          "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]"),
                     Warn("[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet =  -1  ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
}

class PanoramaWithoutSet : public PanoramaView {};

TEST_F(PanoramaWithoutSet, WriteFailsAtItsBindingTest) {
    CLS_180ViewSubPlayer view180;
    Create(view180, CORRECT_TYPE_180);
    CLS_360ViewSubPlayer view360;
    Create(view360, CORRECT_TYPE_360);
    STRUCT_PanoramaPara tPara{};
    EXPECT_EQ(view180.Move(1, 0, {10, 10}), -1);
    EXPECT_EQ(view360.SetCorrectPara(&tPara), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_180ViewSubPlayer::SetCorrectPara nullptr == "
                                            "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]"),
                                       Warn("[  CLS_360ViewSubPlayer::SetCorrectPara nullptr == "
                                            "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]")}));
    EXPECT_EQ(Engine("KW_GetFishEyeCorrectPara").size(), 1u);
}

} // namespace
