// The PTZ view's control: the polar step, the window drag, the outline drag, the wheel, the buttons
// and the engine record.
#include "ViewTestSupport.h"

#include <cmath>

namespace {

constexpr int ENGINE_ZOOM = 2000;

// A live PTZ view with a rectangle outline; the engine holds (x, y, ENGINE_ZOOM).
class PTZView : public ViewTest {
protected:
    void Live(ExposedPTZ& _view, int _iMode, int _iX = 5000, int _iY = 6000, int _iDrawType = n_DrawType_Rect,
              int _iType = CORRECT_TYPE_PTZ) {
        void* pHandle = Handle();
        int iId = 0;
        const STRUCT_CorrectSetup tSetup = ViewSetup(_iMode, _iType, 4000, 4000, 3000, 480, 270);
        _view.InitPTZDraw(pHandle, &tSetup, _iDrawType);
        ASSERT_EQ(_view.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
        FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, PTZRecord(_iX, _iY, ENGINE_ZOOM));
        Forget();
    }
    // Input point of a ZebAlgo_FCU_CorrectPoint call.
    static Bytes Point(float _fX, float _fY) { return RecordBytes(8).At<float>(0, _fX).At<float>(4, _fY); }
    static float Unit(int _iValue) { return static_cast<float>(_iValue / 10000.0); }
    static Bytes Written() {
        const std::vector<FakeCall> vecSets = Engine("KW_SetFishEyeCorrectPara");
        EXPECT_EQ(vecSets.size(), 1u);
        return vecSets.empty() ? Bytes() : vecSets.back().m_vecRecords[0];
    }
    static void ExpectStored(ExposedPTZ& _view, int _iX, int _iY, int _iZoom) {
        EXPECT_EQ(_view.m_tCorrectSetup.m_iPositionX, _iX);
        EXPECT_EQ(_view.m_tCorrectSetup.m_iPositionY, _iY);
        EXPECT_EQ(_view.m_tCorrectSetup.m_iZoom, _iZoom);
    }
};

// Worked examples of the polar step, computed by hand: r and the angle about (5000, 5000), the angle
// measured from the +y axis toward +x.
TEST_F(PTZView, RotatePointWorkedExamples) {
    ExposedPTZ view;
    double dX = 0.0;
    double dY = 0.0;
    struct Case {
        double m_dCx, m_dCy;
        int m_iAngle, m_iRadius;
        double m_dX, m_dY;
    };
    const Case aCases[] = {
        {5000, 6000, 0, 0, 5000, 6000},              // r 1000 on +y, no step
        {5000, 6000, 2500, 0, 5707.1068, 5707.1068}, // a quarter of a half turn: 1000 / sqrt(2) on each axis
        {5000, 6000, -2500, 0, 4292.8932, 5707.1068},
        {5000, 6000, 5000, 0, 6000, 5000},  // a quarter turn onto +x
        {5000, 6000, 10000, 0, 5000, 4000}, // half a turn
        {5000, 6000, 0, 500, 5000, 6500},   // radius 1000 + 500
        {5000, 4000, 0, 500, 5000, 3500},   // below the centre: the angle gains pi
        {4000, 5000, 0, 0, 4000, 5000},     // on the axis, left: -pi/2
        {4000, 5000, 10000, 0, 6000, 5000},
        {6000, 5000, 5000, 0, 5000, 4000},       // on the axis, right: pi/2, a quarter turn on
        {6000, 4000, -2500, 0, 6414.2136, 5000}, // r 1414.2136 at 3pi/4, turned back by pi/4
        {5000, 5100, 0, -1000, 5000, 5010},      // radius never below 10
        {5000, 5000, 0, 0, 5010, 5000},          // at the centre: radius 10 toward +x
    };
    for (const Case& c : aCases) {
        view.m_dCenterX = c.m_dCx;
        view.m_dCenterY = c.m_dCy;
        EXPECT_EQ(view.RotatePoint(&dX, &dY, c.m_iAngle, c.m_iRadius), 0);
        EXPECT_NEAR(dX, c.m_dX, 1e-3)
            << c.m_dCx << "," << c.m_dCy << " step " << c.m_iAngle << "/" << c.m_iRadius;
        EXPECT_NEAR(dY, c.m_dY, 1e-3)
            << c.m_dCx << "," << c.m_dCy << " step " << c.m_iAngle << "/" << c.m_iRadius;
    }
    EXPECT_EQ(view.m_dCenterX, 5000.0); // the centre itself is not moved
}

// Window drag of 250 pixels in a 1000-pixel window: a step of 2500.
struct DragCase {
    int m_iMode;
    int m_iX, m_iY; // the point sent to the algorithm
};

TEST_F(PTZView, WindowDragWorkedExamplesPerMountingMode) {
    const DragCase aCases[] = {
        {1, 2500, 6000}, // flat: the step is subtracted
        {2, 4292, 5707}, // mirrored, then turned by -pi/4
        {3, 5707, 5707}, // turned by +pi/4
        {0, 5707, 5707},
    };
    for (const DragCase& c : aCases) {
        SCOPED_TRACE(c.m_iMode);
        ExposedPTZ view;
        Live(view, c.m_iMode);
        FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.25f, 0.5f);    // the drag's own mapping
        FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.5f);     // the outline's
        FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.375f, 0.625f); // the engine position's
        EXPECT_EQ(view.Move(250, 0, {1000, 1000}), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_EQ(vecCalls.size(), 3u);
        EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(112)
                                                   .At<int>(0, 112)
                                                   .At<int>(4, c.m_iMode)
                                                   .At<int>(8, 256)
                                                   .At<float>(28, 0.2f)
                                                   .At<int>(48, CORRECT_TYPE_PTZ)
                                                   .Bytes());
        EXPECT_EQ(vecCalls[0].m_vecRecords[1], Point(Unit(c.m_iX), Unit(c.m_iY)));
        EXPECT_EQ(vecCalls[2].m_vecRecords[1], Point(0.25f, 0.5f)); // the mapped point is what is written
        EXPECT_EQ(Written(), PTZRecord(3750, 6250, ENGINE_ZOOM));
        EXPECT_EQ(view.m_dCenterX, 2500.0);
        EXPECT_EQ(view.m_dCenterY, 5000.0);
        ExpectStored(view, 2500, 5000, 3000);
        EXPECT_TRUE(TestLog::Lines().empty());
    }
}

TEST_F(PTZView, WindowDragVerticalStepChangesTheRadius) {
    const DragCase aCases[] = {
        {1, 5000, 5000}, // flat: 6000 - 1000
        {2, 5000, 5010}, // mirrored: radius 1000 - 1000, held at 10
        {3, 5000, 7000}, // radius 1000 + 1000
    };
    for (const DragCase& c : aCases) {
        SCOPED_TRACE(c.m_iMode);
        ExposedPTZ view;
        Live(view, c.m_iMode);
        EXPECT_EQ(view.Move(0, 100, {1000, 1000}), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_FALSE(vecCalls.empty());
        EXPECT_EQ(vecCalls[0].m_vecRecords[1], Point(Unit(c.m_iX), Unit(c.m_iY)));
    }
}

TEST_F(PTZView, ButtonWorkedExamplesPerMountingMode) {
    const DragCase aCases[] = {
        {1, 7500, 6000}, // flat: the step is added
        {2, 5707, 5707}, // turned by +pi/4
        {3, 4292, 5707}, // mirrored, turned by -pi/4
        {0, 5707, 5707},
    };
    for (const DragCase& c : aCases) {
        SCOPED_TRACE(c.m_iMode);
        ExposedPTZ view;
        Live(view, c.m_iMode);
        FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.5f);     // the outline's mapping
        FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.375f, 0.625f); // the engine position's
        EXPECT_EQ(view.PTZCtl({2500, 0, 0}, n_PTZCtlCmd_Right), 0);
        // No mapping of the button's own: the outline's and the position's only.
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_EQ(vecCalls.size(), 2u);
        EXPECT_EQ(vecCalls[1].m_vecRecords[1], Point(Unit(c.m_iX), Unit(c.m_iY)));
        EXPECT_EQ(vecCalls[1].m_vecRecords[0], RecordBytes(112)
                                                   .At<int>(0, 112)
                                                   .At<int>(4, c.m_iMode)
                                                   .At<int>(8, 256)
                                                   .At<float>(28, 0.2f)
                                                   .Bytes());
        EXPECT_EQ(Written(), PTZRecord(3750, 6250, ENGINE_ZOOM));
        EXPECT_EQ(static_cast<int>(view.m_dCenterX), c.m_iX);
        EXPECT_EQ(static_cast<int>(view.m_dCenterY), c.m_iY);
        ExpectStored(view, c.m_iX, c.m_iY, ENGINE_ZOOM);
        EXPECT_TRUE(TestLog::Lines().empty());
    }
}

TEST_F(PTZView, ButtonsMoveByTheirTable) {
    struct Case {
        n_PTZCtlCmd m_eCmd;
        int m_iX, m_iY;
    };
    const Case aCases[] = {{n_PTZCtlCmd_Up, 5000, 5700},       {n_PTZCtlCmd_Down, 5000, 6300},
                           {n_PTZCtlCmd_Left, 4800, 6000},     {n_PTZCtlCmd_Right, 5200, 6000},
                           {n_PTZCtlCmd_LeftUp, 4800, 5700},   {n_PTZCtlCmd_RightUp, 5200, 5700},
                           {n_PTZCtlCmd_LeftDown, 4800, 6300}, {n_PTZCtlCmd_RightDown, 5200, 6300}};
    for (const Case& c : aCases) {
        SCOPED_TRACE(c.m_eCmd);
        ExposedPTZ view;
        Live(view, 1);
        EXPECT_EQ(view.PTZCtl({200, 300, 50}, c.m_eCmd), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_EQ(vecCalls.size(), 2u);
        EXPECT_EQ(vecCalls[1].m_vecRecords[1], Point(Unit(c.m_iX), Unit(c.m_iY)));
        EXPECT_EQ(view.m_dCenterX, c.m_iX);
        EXPECT_EQ(view.m_dCenterY, c.m_iY);
        ExpectStored(view, c.m_iX, c.m_iY, ENGINE_ZOOM); // the zoom step is not used by moves
    }
}

TEST_F(PTZView, ZoomButtonsAreForcedAndClamped) {
    struct Case {
        n_PTZCtlCmd m_eCmd;
        int m_iStep, m_iZoom;
    };
    const Case aCases[] = {{n_PTZCtlCmd_ZoomDec, 100, 1900},
                           {n_PTZCtlCmd_ZoomInc, 100, 2100},
                           {n_PTZCtlCmd_ZoomDec, 5000, 550},
                           {n_PTZCtlCmd_ZoomInc, 50000, 15000},
                           {n_PTZCtlCmd_ZoomDec, -2147483647 - 1, 15000}};
    for (const Case& c : aCases) {
        SCOPED_TRACE(c.m_iStep);
        ExposedPTZ view;
        Live(view, 1);
        // Both presses land on the same fisheye point, and both reach the engine.
        EXPECT_EQ(view.PTZCtl({0, 0, c.m_iStep}, c.m_eCmd), 0);
        EXPECT_EQ(view.PTZCtl({0, 0, 0}, c.m_eCmd), 0);
        const std::vector<FakeCall> vecSets = Engine("KW_SetFishEyeCorrectPara");
        ASSERT_EQ(vecSets.size(), 2u);
        EXPECT_EQ(vecSets[0].m_vecRecords[0], PTZRecord(5000, 6000, c.m_iZoom));
        ExpectStored(view, 5000, 6000, c.m_iZoom);
    }
}

TEST_F(PTZView, UnchangedPointAnswersOneAndLeavesTheEngineAlone) {
    ExposedPTZ view;
    Live(view, 1);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.9f, 0.25f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.9f, 0.25f); // the edge: the same point again
    EXPECT_EQ(view.PTZCtl({100, 100, 0}, n_PTZCtlCmd_Right), 0);
    EXPECT_EQ(view.PTZCtl({100, 100, 0}, n_PTZCtlCmd_Right), 1);
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
    EXPECT_EQ(view.m_dCenterX, 5100.0); // the refused press moved nothing
    ExpectStored(view, 5100, 6000, ENGINE_ZOOM);
    EXPECT_EQ(view.m_fFishPointX, 0.9f);
    EXPECT_EQ(view.m_fFishPointY, 0.25f);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, CommandWithoutStepRewritesThePosition) {
    ExposedPTZ view;
    Live(view, 1);
    EXPECT_EQ(view.PTZCtl({100, 100, 100}, static_cast<n_PTZCtlCmd>(10)), 0);
    EXPECT_EQ(view.PTZCtl({100, 100, 100}, static_cast<n_PTZCtlCmd>(10)), 1);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_EQ(vecCalls.size(), 4u);
    EXPECT_EQ(vecCalls[1].m_vecRecords[1], Point(0.5f, 0.6f));
    EXPECT_EQ(vecCalls[3].m_vecRecords[1], Point(0.5f, 0.6f));
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, CentreIsTakenFromTheEngineAtZeroForDragsAndBelowOneForButtons) {
    {
        ExposedPTZ view;
        Live(view, 1);
        view.m_dCenterX = 0.5; // above 0: the window drag keeps it
        view.m_dCenterY = 3000.0;
        EXPECT_EQ(view.Move(0, 0, {100, 100}), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_EQ(vecCalls.size(), 3u);
        EXPECT_EQ(vecCalls[0].m_vecRecords[1], Point(0.0f, 0.3f));
    }
    Forget();
    {
        ExposedPTZ view;
        Live(view, 1);
        view.m_dCenterX = 0.5; // below 1.0: the buttons take the engine's position
        view.m_dCenterY = 3000.0;
        EXPECT_EQ(view.PTZCtl({0, 0, 0}, n_PTZCtlCmd_Up), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
        ASSERT_EQ(vecCalls.size(), 2u);
        EXPECT_EQ(vecCalls[1].m_vecRecords[1], Point(0.5f, 0.6f));
    }
    Forget();
    {
        ExposedPTZ view;
        Live(view, 1);
        view.m_dCenterX = 0.0; // at 0: the window drag takes the engine's position too
        view.m_dCenterY = 3000.0;
        EXPECT_EQ(view.Move(0, 0, {100, 100}), 0);
        EXPECT_EQ(Algo("ZebAlgo_FCU_CorrectPoint")[0].m_vecRecords[1], Point(0.5f, 0.6f));
    }
}

TEST_F(PTZView, WindowDragKeepsItsPointWhenTheMappingFails) {
    ExposedPTZ view;
    Live(view, 1);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", -6);
    EXPECT_EQ(view.Move(100, 0, {1000, 1000}), 0); // 5000 - 1000
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch "
                                            "CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail iRet =  -6  ]")}));
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_EQ(vecCalls.size(), 3u);
    EXPECT_EQ(vecCalls[2].m_vecRecords[1], Point(0.4f, 0.6f));
    EXPECT_EQ(view.m_dCenterX, 4000.0);
    ExpectStored(view, 4000, 6000, 3000);
}

TEST_F(PTZView, WindowDragWithABadRectangleCallsNothing) {
    ExposedPTZ view;
    Live(view, 1);
    EXPECT_EQ(view.Move(10, 10, {0, 480}), -1);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{1, 2, 3, 4}, {640, 0}), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || "
                                            "_rect.m_iHeight <= 0  _rect.m_iWidth =  0  "
                                            "_rect.m_iHeight =  480  ]"),
                                       Warn("[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || "
                                            "_rect.m_iHeight <= 0  _rect.m_iWidth =  640  "
                                            "_rect.m_iHeight =  0  ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

TEST_F(PTZView, FailedWritesLeaveTheCentreAndTheStoredPositionUnchanged) {
    ExposedPTZ view;
    Live(view, 1);
    view.m_dCenterX = 4321.0;
    view.m_dCenterY = 1234.0;
    FakeEngine()->SetResult("KW_SetFishEyeCorrectPara", -9);
    EXPECT_EQ(view.Move(100, 100, {1000, 1000}), -9);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{0, 0, 10, 10}, {1000, 1000}), -9);
    EXPECT_EQ(view.Zoom(10), -9);
    EXPECT_EQ(view.PTZCtl({200, 300, 100}, n_PTZCtlCmd_RightDown), -9);
    EXPECT_EQ(view.PTZCtl({100, 100, 100}, n_PTZCtlCmd_ZoomInc), -9);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet =  -9  ]"),
                     Warn("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet =  -9  ]"),
                     Warn("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet =  -9  ]")}));
    EXPECT_EQ(view.m_dCenterX, 4321.0);
    EXPECT_EQ(view.m_dCenterY, 1234.0);
    ExpectStored(view, 4000, 4000, 3000);
    EXPECT_EQ(FakeEngine()->GetPara(FIRST_CORRECT_ID, 1), PTZRecord(5000, 6000, ENGINE_ZOOM));
}

TEST_F(PTZView, FailedReadsAreLoggedPerOperation) {
    ExposedPTZ view;
    Live(view, 1);
    FakeEngine()->SetResult("KW_GetFishEyeCorrectPara", -4);
    EXPECT_EQ(view.Move(1, 1, {10, 10}), -4);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{0, 0, 1, 1}, {10, 10}), -4);
    EXPECT_EQ(view.Zoom(1), -4);
    EXPECT_EQ(view.PTZCtl({1, 1, 1}, n_PTZCtlCmd_Up), -4);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet =  -4  ]"),
                     Warn("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet =  -4  ]"),
                     Warn("[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet =  -4  ]"),
                     Warn("[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet =  -4  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
}

TEST_F(PTZView, UnchangedPointOfAWindowDragIsAFailure) {
    ExposedPTZ view;
    Live(view, 1);
    EXPECT_EQ(view.Move(0, 0, {100, 100}), 0);
    EXPECT_EQ(view.Move(0, 0, {100, 100}), -2);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet =  -2  ]")}));
}

TEST_F(PTZView, WheelStepsFiveUnitsAndClamps) {
    struct Case {
        int m_iFrom, m_iSteps, m_iZoom;
    };
    const Case aCases[] = {{ENGINE_ZOOM, 2, 1990},
                           {ENGINE_ZOOM, -2, 2010},
                           {5550, 1000, 550},
                           {10000, -1000, 15000},
                           {ENGINE_ZOOM, -1000, 7000},
                           {ENGINE_ZOOM, 2147483647, 550},
                           {ENGINE_ZOOM, -2147483647 - 1, 15000},
                           {20000, 0, 15000},
                           {100, 0, 550}};
    for (const Case& c : aCases) {
        SCOPED_TRACE(c.m_iSteps);
        ExposedPTZ view;
        Live(view, 1);
        FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, PTZRecord(5000, 6000, c.m_iFrom));
        EXPECT_EQ(view.Zoom(c.m_iSteps), 0);
        EXPECT_EQ(view.Zoom(0), 0); // forced: the same point reaches the engine again
        const std::vector<FakeCall> vecSets = Engine("KW_SetFishEyeCorrectPara");
        ASSERT_EQ(vecSets.size(), 2u);
        EXPECT_EQ(vecSets[0].m_vecArgs[2], 1);
        EXPECT_EQ(vecSets[0].m_vecArgs[4], 32);
        EXPECT_EQ(vecSets[0].m_vecRecords[0], PTZRecord(5000, 6000, c.m_iZoom));
        ExpectStored(view, 4000, 4000, c.m_iZoom);
        EXPECT_EQ(view.m_dCenterX, 0.0); // the wheel does not touch the centre
    }
}

// Outline drags. Under the fisheye set-up type the drag is taken in window proportions.
TEST_F(PTZView, OutlineDragInWindowProportionsAcceptsNegativeButNotBeyond10000) {
    ExposedPTZ view;
    Live(view, 1, 5000, 5000, n_DrawType_Rect, CORRECT_TYPE_FISHEYE);
    view.m_dCenterX = 1.0e6; // always taken from the engine on this path
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{0, 0, 5000, 0}, {10000, 10000}), 0);
    EXPECT_EQ(view.m_dCenterX, 10000.0);
    ExpectStored(view, 10000, 5000, 3000);
    Forget();
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, PTZRecord(5000, 5000, ENGINE_ZOOM));
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{0, 0, 5001, 0}, {10000, 10000}), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Info(
            "[  CLS_PTZSubPlayer::Move param.iPTZPositionX is invalid || param.iPTZPositionY is invalid "
            "param.iPTZPositionX =  10001  param.iPTZPositionY =  5000  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    EXPECT_EQ(view.m_dCenterX, 5000.0); // reset from the engine, not moved
    Forget();
    FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, PTZRecord(50, 5000, ENGINE_ZOOM));
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{200, 0, 100, 0}, {10000, 10000}), 0);
    ASSERT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
    // The negative position reaches the algorithm and, mapped, the engine.
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_FALSE(vecCalls.empty());
    EXPECT_EQ(vecCalls.back().m_vecRecords[1], Point(Unit(-50), 0.5f));
    EXPECT_EQ(view.m_dCenterX, -50.0);
    ExpectStored(view, -50, 5000, 3000);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, OutlineDragConvertsBothPointsThroughTheAlgorithm) {
    ExposedPTZ view;
    Live(view, 2);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.25f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.5f, 0.375f);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{64, 48, 320, 240}, {640, 480}), 0);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Point_Transform");
    ASSERT_EQ(vecCalls.size(), 2u);
    const auto Request = [](int _iX, int _iY) {
        return RecordBytes(92)
            .At<int>(0, 92)
            .At<int>(4, 2)
            .At<int>(8, CORRECT_TYPE_PTZ)
            .At<float>(12, static_cast<float>(_iX / 10000.0))
            .At<float>(16, static_cast<float>(_iY / 10000.0))
            .At<int>(20, 0x20000)
            .At<int>(24, 0x40000)
            .At<int>(28, ENGINE_ZOOM)
            .At<int>(32, CORRECT_TYPE_PTZ)
            .Bytes();
    };
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], Request(1000, 1000));
    EXPECT_EQ(vecCalls[1].m_vecRecords[0], Request(5000, 5000));
    // (2500, 5000) to (5000, 3750): the centre (5000, 6000) moves by (2500, -1250), flat even in mode 2.
    EXPECT_EQ(view.m_dCenterX, 7500.0);
    EXPECT_EQ(view.m_dCenterY, 4750.0);
    ExpectStored(view, 7500, 4750, 3000);
    EXPECT_EQ(Algo("ZebAlgo_FCU_CorrectPoint").back().m_vecRecords[1], Point(0.75f, 0.475f));
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, OutlineDragInMode1ConvertsFromTheOtherSpaceAndRefusesBeyond10000) {
    ExposedPTZ view;
    Live(view, 1);
    view.m_dCenterX = 0.9; // below 1.0: taken from the engine
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.25f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.8125f, 0.5f);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{1, 1, 2, 2}, {100, 100}), -1);
    ASSERT_EQ(Algo("ZebAlgo_FCU_Point_Transform").size(), 2u);
    EXPECT_EQ(Algo("ZebAlgo_FCU_Point_Transform")[0].m_vecRecords[0][20], 0x00);
    EXPECT_EQ(Algo("ZebAlgo_FCU_Point_Transform")[0].m_vecRecords[0][22], 0x03); // 0x30000
    EXPECT_EQ(TestLog::Lines(),
              Lines({Info("[  tParam.iPTZPositionX is invalid ||  tParam.iPTZPositionY is invalid . "
                          "tParam.iPTZPositionX =  10625  tParam.iPTZPositionY =  6000  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    EXPECT_EQ(view.m_dCenterX, 5000.0);
    ExpectStored(view, 4000, 4000, 3000);
}

TEST_F(PTZView, OutlineDragStopsWhenAPointCannotBeConverted) {
    ExposedPTZ view;
    Live(view, 3);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", 0);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", -6);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{1, 1, 2, 2}, {100, 100}), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail "
                          "iRet =  -6  ]"),
                     Warn("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet =  -6  ]"),
                     Warn("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet =  -1  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
}

TEST_F(PTZView, EngineRecordOperationsNeedBothIds) {
    ExposedPTZ view;
    STRUCT_PTZCorrectPara tPara{};
    EXPECT_EQ(view.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), -1);
    EXPECT_EQ(view.DeletePlayer(), -1);
    view.m_iMainPlayId = 1;
    EXPECT_EQ(view.GetCorrectPara(&tPara), -1);
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), -1);
    EXPECT_EQ(view.DeletePlayer(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                                       Warn("[  CLS_PTZSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]"),
                                       Warn("[  CLS_PTZSubPlayer::DeletePlayer m_iMainPlayId < 0 ]"),
                                       Warn("[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]"),
                                       Warn("[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]"),
                                       Warn("[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    view.m_iMainPlayId = -1;
    TestLog::Clear();
}

TEST_F(PTZView, EngineRecordOperationsPassTheEngineResults) {
    ExposedPTZ view;
    Live(view, 1);
    STRUCT_PTZCorrectPara tPara{};
    FakeEngine()->PushResult("KW_GetFishEyeCorrectPara", -13);
    EXPECT_EQ(view.GetCorrectPara(&tPara), -13);
    EXPECT_EQ(view.GetCorrectPara(&tPara), 0);
    EXPECT_EQ(BytesOf(tPara), PTZRecord(5000, 6000, ENGINE_ZOOM));
    ASSERT_EQ(Engine("KW_GetFishEyeCorrectPara").size(), 2u);
    EXPECT_EQ(Engine("KW_GetFishEyeCorrectPara")[1].m_vecArgs,
              std::vector<std::int64_t>(
                  {MAIN_ID, FIRST_CORRECT_ID, 1, reinterpret_cast<std::intptr_t>(&tPara), 32}));
    FakeEngine()->PushResult("KW_DeleteFishEyeCorrect", -14);
    EXPECT_EQ(view.DeletePlayer(), -14);
    EXPECT_EQ(Engine("KW_DeleteFishEyeCorrect")[0].m_vecArgs,
              std::vector<std::int64_t>({MAIN_ID, FIRST_CORRECT_ID}));
    FakeEngine()->PushResult("KW_SetFishEyeCorrectPara", 3);
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), 3);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, SetCorrectParaWritesTheMappedPointAndKeepsTheEngineFields) {
    ExposedPTZ view;
    Live(view, 3);
    view.m_tCorrectSetup.m_iExtra = 12;
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.5f);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.12345f, 0.5f);
    STRUCT_PTZCorrectPara tPara{};
    std::memcpy(&tPara, PTZRecord(7000, 8000, 640).data(), 32);
    EXPECT_EQ(view.SetCorrectPara(&tPara, false), 0);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_EQ(vecCalls.size(), 2u);
    // The outline's mapping of the stored position: zoom and type value 0.
    EXPECT_EQ(vecCalls[0].m_vecRecords[0],
              RecordBytes(112).At<int>(0, 112).At<int>(4, 3).At<int>(8, 256).Bytes());
    EXPECT_EQ(vecCalls[0].m_vecRecords[1], Point(0.4f, 0.4f));
    // The position's mapping: the request's zoom and the set-up's extra value.
    EXPECT_EQ(vecCalls[1].m_vecRecords[0], RecordBytes(112)
                                               .At<int>(0, 112)
                                               .At<int>(4, 3)
                                               .At<int>(8, 256)
                                               .At<float>(28, 0.064f)
                                               .At<int>(48, 12)
                                               .Bytes());
    EXPECT_EQ(vecCalls[1].m_vecRecords[1], Point(0.7f, 0.8f));
    const std::vector<FakeCall> vecSets = Engine("KW_SetFishEyeCorrectPara");
    ASSERT_EQ(vecSets.size(), 1u);
    EXPECT_EQ(vecSets[0].m_vecArgs, std::vector<std::int64_t>({MAIN_ID, FIRST_CORRECT_ID, 1,
                                                               reinterpret_cast<std::intptr_t>(&tPara), 32}));
    EXPECT_EQ(vecSets[0].m_vecRecords[0], PTZRecord(1234, 5000, 640));
    EXPECT_EQ(BytesOf(tPara), PTZRecord(1234, 5000, 640));
    EXPECT_EQ(view.m_fFishPointX, 0.12345f);
    EXPECT_EQ(view.m_fFishPointY, 0.5f);
}

TEST_F(PTZView, ForcedWriteNeitherComparesNorStoresTheFisheyePoint) {
    ExposedPTZ view;
    Live(view, 1);
    STRUCT_PTZCorrectPara tPara{};
    EXPECT_EQ(view.SetCorrectPara(&tPara, false), -2); // (0, 0) is the point held from the start
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    tPara = {};
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), 0);
    tPara.iPTZPositionX = 5000;
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), 0);
    EXPECT_EQ(view.m_fFishPointX, 0.0f);
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 2u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZView, FailedPositionMappingStopsTheWrite) {
    ExposedPTZ view;
    Live(view, 1);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", 0);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", -8);
    STRUCT_PTZCorrectPara tPara{};
    tPara.iPTZPositionX = 100;
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), -8);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch "
                                            "CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail iRet =  -8  ]")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    EXPECT_EQ(tPara.iPTZPositionX, 100);
}

TEST_F(PTZView, CreatePlayerNamesItsClassAndKeepsTheCachedSetUp) {
    ExposedPTZ view;
    void* pHandle = Handle();
    void* pNull = nullptr;
    int iId = 0;
    EXPECT_EQ(view.CreatePlayer(pNull, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 1, nullptr, Window(), nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 1, nullptr, Window(), &iId), -1);
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 256, 0, 0, 0, 0, 0, 9);
    FakeEngine()->PushResult("KW_CreateFishEyeCorrect", -7);
    EXPECT_EQ(view.CreatePlayer(pHandle, 1, &tSetup, Window(), &iId), -7);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pfcuHandle ]"),
                     Warn("[  CLS_PTZSubPlayer::CreatePlayer _iMainPlayerId < 0 ]"),
                     Warn("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pWindow ]"),
                     Warn("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"),
                     Warn("[  CLS_PTZSubPlayer::CreatePlayer nullptr == param ]"),
                     Warn("[  CLS_PTZSubPlayer::CreatePlayer CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect fail "
                          "iRet =  -7  ]")}));
    EXPECT_EQ(iId, 0);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    view.m_iSetupMode = 2;
    view.m_iSetupType = 768;
    view.m_iSetupExtra = 5;
    EXPECT_EQ(view.CreatePlayer(pHandle, 1, &tSetup, Window(), &iId), 0);
    EXPECT_EQ(iId, FIRST_CORRECT_ID + 1); // the fake counts the refused creation too
    EXPECT_EQ(view.m_iSubPlayId, FIRST_CORRECT_ID + 1);
    EXPECT_EQ(BytesOf(view.m_tCorrectSetup), BytesOf(tSetup));
    EXPECT_EQ(view.m_iSetupMode, 2);
    EXPECT_EQ(view.m_iSetupType, 768);
    EXPECT_EQ(view.m_iSetupExtra, 5);
    TestLog::Clear();
}

// Variants of the engine lacking the parameter functions.
class PTZViewWithoutGet : public PTZView {};

TEST_F(PTZViewWithoutGet, ReadFailsAtItsBindingTest) {
    ExposedPTZ view;
    Live(view, 1);
    EXPECT_EQ(view.Zoom(1), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::DeletePlayer nullptr == "
                                            "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]"),
                                       Warn("[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet =  -1  ]")}));
}

class PTZViewWithoutSet : public PTZView {};

TEST_F(PTZViewWithoutSet, WriteFailsAtItsBindingTest) {
    ExposedPTZ view;
    Live(view, 1);
    EXPECT_EQ(view.PTZCtl({1, 1, 1}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_ZebPlayer_SDK::SetCorrectPara"),
                     Warn("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet =  -1  ]")}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

} // namespace
