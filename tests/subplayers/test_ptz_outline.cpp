// The PTZ view's outlines (square marker and the algorithm's curve), coordinate switching, and the
// outline list read from another thread.
#include "ViewTestSupport.h"

#include <QVector>

#include <atomic>
#include <cstring>
#include <thread>

namespace {

using Polyline = std::vector<std::pair<float, float>>;

std::vector<Polyline> Outline(const CLS_SubPlayer& _view) {
    QVector<QVector<STRUCT_DrawPoint>> qvecData;
    const_cast<CLS_SubPlayer&>(_view).GetPTZDrawData(qvecData);
    std::vector<Polyline> vecLines;
    for (const QVector<STRUCT_DrawPoint>& qvecLine : qvecData) {
        Polyline line;
        for (const STRUCT_DrawPoint& tPoint : qvecLine)
            line.push_back({tPoint.m_fX, tPoint.m_fY});
        vecLines.push_back(line);
    }
    return vecLines;
}

float Unit(int _iValue) {
    return static_cast<float>(_iValue / 10000.0);
}

// The four edges of the square with corners (x0, y0) and (x1, y1), in plane units.
std::vector<Polyline> Square(int _iX0, int _iY0, int _iX1, int _iY1) {
    const std::pair<float, float> a(Unit(_iX0), Unit(_iY0)), b(Unit(_iX1), Unit(_iY0)),
        c(Unit(_iX1), Unit(_iY1)), d(Unit(_iX0), Unit(_iY1));
    return {{a, b}, {b, c}, {c, d}, {d, a}};
}

class PTZOutline : public ViewTest {
protected:
    // The curved outline a new view at the picture's centre builds from the scripted lines.
    std::vector<Polyline> CentredCurve() {
        ExposedPTZ view;
        void* pHandle = Handle();
        const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 5000, 5000);
        EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), 0);
        return Outline(view);
    }

    static Bytes ProcessRequest(int _iMode, int _iType, float _fX, float _fY, float _fZoom, int _iWidth,
                                int _iHeight, std::int64_t _llKind) {
        return RecordBytes(112)
            .At<int>(0, 112)
            .At<int>(4, _iMode)
            .At<int>(8, _iType)
            .At<int>(12, 32)
            .At<float>(20, _fX)
            .At<float>(24, _fY)
            .At<float>(28, _fZoom)
            .At<int>(32, _iWidth)
            .At<int>(36, _iHeight)
            .At<std::int64_t>(40, _llKind)
            .Bytes();
    }
};

TEST_F(PTZOutline, SquareAtTheCornerIsClipped) {
    ExposedPTZ view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 0, 0);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Rect), 0);
    const std::vector<Polyline> expected = {{{0.0f, 0.0f}, {0.05f, 0.0f}},
                                            {{0.05f, 0.0f}, {0.05f, 0.05f}},
                                            {{0.05f, 0.05f}, {0.0f, 0.05f}},
                                            {{0.0f, 0.05f}, {0.0f, 0.0f}}};
    EXPECT_EQ(Outline(view), expected);
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_EQ(view.m_pFcuHandle, Handle());
    EXPECT_EQ(view.m_iDrawType, n_DrawType_Rect);
}

TEST_F(PTZOutline, SquareKeepsItsSideAndClipsAtTheFarEdge) {
    ExposedPTZ view;
    void* pHandle = Handle();
    STRUCT_CorrectSetup tSetup = ViewSetup(2, CORRECT_TYPE_PTZ, 5000, 6000, 15000, 0, 0, 7);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Rect), 0);
    EXPECT_EQ(Outline(view), Square(4500, 5500, 5500, 6500));
    EXPECT_EQ(view.m_iSetupMode, 2);
    EXPECT_EQ(view.m_iSetupType, CORRECT_TYPE_PTZ);
    EXPECT_EQ(view.m_iSetupExtra, 7);
    tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 10000, 9800);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Rect), 0); // replaces, not appends
    EXPECT_EQ(Outline(view), Square(9500, 9300, 10000, 10000));
}

TEST_F(PTZOutline, InitialBuildsNeedAHandle) {
    ExposedPTZ view;
    void* pNull = nullptr;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 5000, 5000);
    EXPECT_EQ(view.InitPTZDraw(pNull, &tSetup, n_DrawType_Rect), -1);
    EXPECT_EQ(view.InitPTZDraw(pNull, &tSetup, n_DrawType_Fec), -1);
    EXPECT_EQ(view.InitPTZDraw(pNull, nullptr, n_DrawType_Fec), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]"),
                                       Warn("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]"),
                                       Warn("[  CLS_PTZSubPlayer::InitPTZDraw nullptr == param ]")}));
    EXPECT_TRUE(Outline(view).empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

TEST_F(PTZOutline, UnknownDrawTypeBuildsNothingAndRefusesPositions) {
    ExposedPTZ view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 5000, 5000);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Rect), 0);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, 2), 0);
    EXPECT_TRUE(Outline(view).empty());
    int iId = 0;
    ASSERT_EQ(view.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
    Forget();
    STRUCT_PTZCorrectPara tPara{};
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & "
                          "n_DrawType_Fec != m_iDrawType")}));
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

TEST_F(PTZOutline, SquareUnder360SetUpIsDrawnAtTheMappedPoint) {
    ExposedPTZ view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(2, CORRECT_TYPE_360, 10000, 4000);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.25f, 0.75f);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Rect), 0);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Point_Transform");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(92)
                                               .At<int>(0, 92)
                                               .At<int>(4, 2)
                                               .At<int>(8, 768)
                                               .At<float>(12, 0.9999f)
                                               .At<float>(16, 0.4f)
                                               .At<int>(20, 0x40000)
                                               .At<int>(24, 0x20000)
                                               .At<int>(28, 0)
                                               .At<int>(32, 768)
                                               .Bytes());
    EXPECT_EQ(Outline(view), Square(2000, 7000, 3000, 8000));
    // The view is not created yet: the engine's record cannot be read and the zoom is 0.
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]")}));
}

TEST_F(PTZOutline, CurveRequestAndResultRecords) {
    struct Case {
        int m_iType, m_iExtra;
        std::int64_t m_llKind;
        int m_iWidth, m_iHeight;
    };
    const Case aCases[] = {{256, 0, 0x1000, 480, 270},  {512, 4, 0x2000, 960, 540},
                           {768, 1, 0x3000, 480, 270},  {1024, 0, 0x4000, 480, 270},
                           {1280, 0, 0x1000, 480, 270}, {7, 0, 0x1000, 480, 270}};
    for (const Case& c : aCases) {
        SCOPED_TRACE(c.m_iType);
        Forget();
        FakeAlgo()->SetLines({{{0.1f, 0.2f}, {0.3f, 0.4f}}, {}, {{0.5f, 0.6f}}});
        ExposedPTZ view;
        void* pHandle = Handle();
        const STRUCT_CorrectSetup tSetup = ViewSetup(3, c.m_iType, 2500, 7500, 5000, 480, 270, c.m_iExtra);
        EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), 0);
        const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Process");
        ASSERT_EQ(vecCalls.size(), 1u);
        const FakeCall& call = vecCalls[0];
        EXPECT_EQ(call.m_vecArgs[0], reinterpret_cast<std::intptr_t>(Handle()));
        EXPECT_EQ(call.m_vecArgs[1], 0);
        EXPECT_EQ(call.m_vecRecords[0],
                  ProcessRequest(3, c.m_iType, 0.25f, 0.75f, 0.5f, c.m_iWidth, c.m_iHeight, c.m_llKind));
        // The result record: its size and the line buffer, nothing else.
        void* pLineBuffer = nullptr;
        std::memcpy(&pLineBuffer, call.m_vecRecords[1].data() + 16, sizeof(pLineBuffer));
        ASSERT_NE(pLineBuffer, nullptr);
        EXPECT_EQ(call.m_vecRecords[1], RecordBytes(88).At<int>(0, 88).At<void*>(16, pLineBuffer).Bytes());
        // The line buffer: zeroed, its first entry pointing at the caller's point block.
        void* pBlock = nullptr;
        ASSERT_EQ(call.m_vecRecords[2].size(), 368u);
        std::memcpy(&pBlock, call.m_vecRecords[2].data() + 16, sizeof(pBlock));
        ASSERT_NE(pBlock, nullptr);
        EXPECT_EQ(call.m_vecRecords[2], RecordBytes(368).At<void*>(16, pBlock).Bytes());
        const std::vector<Polyline> expected = {{{0.1f, 0.2f}, {0.3f, 0.4f}}, {}, {{0.5f, 0.6f}}};
        EXPECT_EQ(Outline(view), expected);
        EXPECT_TRUE(TestLog::Lines().empty());
    }
}

TEST_F(PTZOutline, LongPolylineIsCutAndTheWholeBlockIsUsable) {
    // 3000 + 14 * 2500 + 2000 points fill the 40000-point block exactly; the first polyline is cut
    // to 2500 points.
    std::vector<Polyline> vecLines(14, Polyline(2500, {0.25f, 0.5f}));
    Polyline longLine;
    for (int i = 0; i < 3000; ++i)
        longLine.push_back({i / 4096.0f, 0.0f});
    vecLines.insert(vecLines.begin(), longLine);
    vecLines.push_back(Polyline(2000, {0.75f, 1.0f}));
    FakeAlgo()->SetLines(vecLines);
    const std::vector<Polyline> outline = CentredCurve();
    ASSERT_EQ(outline.size(), 16u);
    ASSERT_EQ(outline[0].size(), 2500u);
    EXPECT_EQ(outline[0].front().first, 0.0f);
    EXPECT_EQ(outline[0].back().first, 2499 / 4096.0f);
    EXPECT_EQ(outline[1].size(), 2500u);
    EXPECT_EQ(outline[14].size(), 2500u);
    ASSERT_EQ(outline[15].size(), 2000u);
    EXPECT_EQ(outline[15].back(), std::make_pair(0.75f, 1.0f)); // the block's last point
}

// An algorithm that claims more points than its block holds: the lines that lie past the block's
// end are taken as empty and a line that runs over it is cut at it, so nothing is read outside.
TEST_F(PTZOutline, PointsClaimedBeyondTheBlockAreNotRead) {
    // 15 lines of 2500 points and one of 1500 reach point 39000; the next line claims 2500 points
    // of which only 1000 fit, and the last one starts at the block's end.
    std::vector<Polyline> vecLines(15, Polyline(2500, {0.25f, 0.5f}));
    vecLines.push_back(Polyline(1500, {0.75f, 0.5f}));
    vecLines.push_back(Polyline(2500, {0.5f, 0.25f}));
    vecLines.push_back(Polyline(10, {0.5f, 0.5f}));
    FakeAlgo()->SetLines(vecLines);
    const std::vector<Polyline> outline = CentredCurve();
    ASSERT_EQ(outline.size(), 18u);
    EXPECT_EQ(outline[15].size(), 1500u);
    ASSERT_EQ(outline[16].size(), 1000u); // cut at the block's end
    EXPECT_EQ(outline[16].back(), std::make_pair(0.5f, 0.25f));
    EXPECT_EQ(outline[17].size(), 0u); // starts at the block's end
}

TEST_F(PTZOutline, LineCountBeyondTheBufferIsNotReadBeyondIt) {
    FakeAlgo()->SetLines(std::vector<Polyline>(22, Polyline{{0.5f, 0.5f}}));
    FakeAlgo()->SetLineNumOverride(30);
    EXPECT_EQ(CentredCurve().size(), 22u);
}

TEST_F(PTZOutline, NoPolylineIsAFailureWithAnEmptyList) {
    ExposedPTZ view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 5000, 5000);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), -1);
    FakeAlgo()->SetLines({{{0.5f, 0.5f}}});
    FakeAlgo()->SetLineNumOverride(0); // polylines written, but none counted
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), -1);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Process", -3);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), -3);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {Warn("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]"),
             Warn("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]"),
             Warn(
                 "[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process fail iRet =  -3  ]")}));
    EXPECT_TRUE(Outline(view).empty());
}

class PTZRebuild : public PTZOutline {
protected:
    void Live(ExposedPTZ& _view, int _iDrawType, int _iType, int _iExtra = 0) {
        void* pHandle = Handle();
        int iId = 0;
        const STRUCT_CorrectSetup tSetup = ViewSetup(2, _iType, 3000, 4000, 2000, 640, 360, _iExtra);
        _view.InitPTZDraw(pHandle, &tSetup, _iDrawType);
        ASSERT_EQ(_view.CreatePlayer(pHandle, MAIN_ID, &tSetup, Window(), &iId), 0);
        FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, PTZRecord(5000, 6000, 1500));
        Forget();
    }
};

TEST_F(PTZRebuild, CurveIsRebuiltFromTheTwiceMappedStoredPosition) {
    ExposedPTZ view;
    Live(view, n_DrawType_Fec, CORRECT_TYPE_PTZ, 4);
    FakeAlgo()->SetLines({{{0.1f, 0.1f}, {0.2f, 0.2f}}});
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.5f, 0.25f);   // stored position, mapped
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.125f, 0.75f); // and mapped for the curve
    STRUCT_PTZCorrectPara tPara{};
    tPara.iPTZPositionX = 100;
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), 0);
    const std::vector<FakeCall> vecJournal = FakeAlgo()->Journal();
    ASSERT_EQ(vecJournal.size(), 4u);
    EXPECT_EQ(vecJournal[0].m_strName, "ZebAlgo_FCU_CorrectPoint");
    EXPECT_EQ(vecJournal[1].m_strName, "ZebAlgo_FCU_CorrectPoint");
    EXPECT_EQ(vecJournal[2].m_strName, "ZebAlgo_FCU_Process");
    EXPECT_EQ(vecJournal[3].m_strName, "ZebAlgo_FCU_CorrectPoint");
    EXPECT_EQ(vecJournal[0].m_vecRecords[1], RecordBytes(8).At<float>(0, 0.3f).At<float>(4, 0.4f).Bytes());
    EXPECT_EQ(vecJournal[1].m_vecRecords[0], RecordBytes(112)
                                                 .At<int>(0, 112)
                                                 .At<int>(4, 2)
                                                 .At<int>(8, 256)
                                                 .At<float>(28, 0.2f)
                                                 .At<int>(48, 4)
                                                 .Bytes());
    EXPECT_EQ(vecJournal[1].m_vecRecords[1], RecordBytes(8).At<float>(0, 0.5f).At<float>(4, 0.25f).Bytes());
    EXPECT_EQ(vecJournal[2].m_vecRecords[0], ProcessRequest(2, 256, 0.125f, 0.75f, 0.2f, 1280, 720, 0x1000));
    const std::vector<Polyline> expected = {{{0.1f, 0.1f}, {0.2f, 0.2f}}};
    EXPECT_EQ(Outline(view), expected);
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
}

TEST_F(PTZRebuild, FailedCurveDoesNotStopTheWrite) {
    ExposedPTZ view;
    Live(view, n_DrawType_Fec, CORRECT_TYPE_PTZ);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Process", -3);
    STRUCT_PTZCorrectPara tPara{};
    tPara.iPTZPositionX = 100;
    EXPECT_EQ(view.SetCorrectPara(&tPara, false), 0);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Warn(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process fail iRet =  -3  ]")}));
    EXPECT_TRUE(Outline(view).empty());
    EXPECT_EQ(Engine("KW_SetFishEyeCorrectPara").size(), 1u);
    TestLog::Clear();
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", 0);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", -5); // the curve's own mapping
    tPara.iPTZPositionX = 200;
    EXPECT_EQ(view.SetCorrectPara(&tPara, false), 0);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch "
                                            "CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail iRet =  -5  ]")}));
    EXPECT_TRUE(Algo("ZebAlgo_FCU_Process").size() == 1u); // the first write's only
}

TEST_F(PTZRebuild, CurveNeedsAHandle) {
    ExposedPTZ view;
    Live(view, n_DrawType_Fec, CORRECT_TYPE_PTZ);
    const int aiPoint[8] = {32, 5000, 5000, 0, 0, 1000, 10, 10};
    view.m_pFcuHandle = nullptr;
    EXPECT_EQ(view.SetFecDraw(aiPoint), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]")}));
}

TEST_F(PTZRebuild, SquareUnderFisheyeSetUpIsMappedAsAFisheyeView) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_FISHEYE, 6);
    const int aiPoint[8] = {32, 5000, 2500, 0, 0, 1000, 10, 10};
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.625f, 0.125f);
    EXPECT_EQ(view.SetRectDraw(aiPoint), 0);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(112)
                                               .At<int>(0, 112)
                                               .At<int>(4, 2)
                                               .At<int>(8, 1280)
                                               .At<float>(28, 0.1f)
                                               .At<int>(48, 6)
                                               .Bytes());
    EXPECT_EQ(vecCalls[0].m_vecRecords[1], RecordBytes(8).At<float>(0, 0.5f).At<float>(4, 0.25f).Bytes());
    // Appended after the square of the set-up (3000, 4000).
    std::vector<Polyline> expected = Square(2500, 3500, 3500, 4500);
    for (const Polyline& line : Square(5750, 750, 6750, 1750))
        expected.push_back(line);
    EXPECT_EQ(Outline(view), expected);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", -2);
    EXPECT_EQ(view.SetRectDraw(aiPoint), -2);
    EXPECT_EQ(Outline(view), expected); // nothing appended
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch "
                                            "CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail iRet =  -2  ]")}));
}

TEST_F(PTZRebuild, SquareUnderLATSetUpIsMappedIntoTheOtherSpaceWithTheEngineZoom) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_LAT);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.5f, 0.5f);
    STRUCT_PTZCorrectPara tPara{};
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), 0);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Point_Transform");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(92)
                                               .At<int>(0, 92)
                                               .At<int>(4, 2)
                                               .At<int>(8, 1024)
                                               .At<float>(12, 0.3f)
                                               .At<float>(16, 0.4f)
                                               .At<int>(20, 0x40000)
                                               .At<int>(24, 0x30000)
                                               .At<int>(28, 1500)
                                               .At<int>(32, 1024)
                                               .Bytes());
    EXPECT_EQ(Outline(view), Square(4500, 4500, 5500, 5500));
}

TEST_F(PTZRebuild, SquareFollowsTheStoredPositionAfterEachAcceptedMove) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.25f, 0.5f); // stored (3000, 4000), mapped
    EXPECT_EQ(view.Zoom(1), 0);
    EXPECT_EQ(Outline(view), Square(2000, 4500, 3000, 5500));
}

// A reader's copy is its own list: the view rebuilds its list in the same storage, and a copy taken
// before a move keeps the outline it was given.
TEST_F(PTZRebuild, RebuildKeepsTheStorageAndEarlierCopies) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    QVector<QVector<STRUCT_DrawPoint>> qvecBefore;
    ASSERT_EQ(view.GetPTZDrawData(qvecBefore), 0);
    ASSERT_EQ(qvecBefore.size(), 4);
    EXPECT_NE(qvecBefore.constData(), view.m_qvecDrawData.constData());
    const QVector<STRUCT_DrawPoint>* pStorage = view.m_qvecDrawData.constData();
    FakeAlgo()->PushPoint("ZebAlgo_FCU_CorrectPoint", 0.25f, 0.5f);
    EXPECT_EQ(view.Zoom(1), 0);
    EXPECT_EQ(Outline(view), Square(2000, 4500, 3000, 5500));
    EXPECT_EQ(view.m_qvecDrawData.constData(), pStorage);
    const std::vector<Polyline> vecBefore = Square(2500, 3500, 3500, 4500);
    ASSERT_EQ(qvecBefore.size(), 4);
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(qvecBefore[i].size(), 2);
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(qvecBefore[i][k].m_fX, vecBefore[i][k].first);
            EXPECT_EQ(qvecBefore[i][k].m_fY, vecBefore[i][k].second);
        }
    }
}

// Coordinate switching.
class PTZCoord : public PTZRebuild {};

TEST_F(PTZCoord, TransformClampsTheCallersRequestBelow10000) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_180);
    int aiRequest[4] = {10000, 12000, 800, 55};
    int aiResult[2] = {-1, -1};
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.12345f, 0.99999f);
    EXPECT_EQ(view.CoordSwitch(0x20000, 0x40000, aiRequest, aiResult), 0);
    EXPECT_EQ(aiRequest[0], 9999);
    EXPECT_EQ(aiRequest[1], 9999);
    EXPECT_EQ(aiRequest[2], 800);
    EXPECT_EQ(aiResult[0], 1234); // truncated, not rounded
    EXPECT_EQ(aiResult[1], 9999);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Point_Transform");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs[0], reinterpret_cast<std::intptr_t>(Handle()));
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(92)
                                               .At<int>(0, 92)
                                               .At<int>(4, 2)
                                               .At<int>(8, 512)
                                               .At<float>(12, 0.9999f)
                                               .At<float>(16, 0.9999f)
                                               .At<int>(20, 0x20000)
                                               .At<int>(24, 0x40000)
                                               .At<int>(28, 800)
                                               .At<int>(32, 55)
                                               .Bytes());
    EXPECT_EQ(vecCalls[0].m_vecRecords[1], Bytes(8, 0)); // the output is zeroed before the call
    // No lower clamp.
    int aiNegative[4] = {-20, 5, 0, 0};
    EXPECT_EQ(view.CoordSwitch(0x40000, 0x30000, aiNegative, aiResult), 0);
    EXPECT_EQ(aiNegative[0], -20);
    EXPECT_EQ(Algo("ZebAlgo_FCU_Point_Transform")[1].m_vecRecords[0][12 + 3],
              RecordBytes(4).At<float>(0, -0.002f).Bytes()[3]);
}

TEST_F(PTZCoord, PTZToPTZUsesTheCorrectionPointWithoutClamping) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_180);
    int aiRequest[4] = {10000, 2500, 7000, 99};
    int aiResult[2] = {0, 0};
    EXPECT_EQ(view.CoordSwitch(0x40000, 0x40000, aiRequest, aiResult), 0);
    EXPECT_EQ(aiRequest[0], 10000);
    EXPECT_EQ(aiResult[0], 10000);
    EXPECT_EQ(aiResult[1], 2500);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_CorrectPoint");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(112)
                                               .At<int>(0, 112)
                                               .At<int>(4, 2)
                                               .At<int>(8, 256)
                                               .At<float>(28, 0.7f)
                                               .At<int>(48, 99)
                                               .Bytes());
    EXPECT_EQ(vecCalls[0].m_vecRecords[1], RecordBytes(8).At<float>(0, 1.0f).At<float>(4, 0.25f).Bytes());
    EXPECT_TRUE(Algo("ZebAlgo_FCU_Point_Transform").empty());
}

TEST_F(PTZCoord, FailuresLeaveTheResultUntouched) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    int aiRequest[4] = {1, 2, 3, 4};
    int aiResult[2] = {-7, -8};
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", -11);
    EXPECT_EQ(view.CoordSwitch(0x20000, 0x40000, aiRequest, aiResult), -11);
    FakeAlgo()->PushResult("ZebAlgo_FCU_CorrectPoint", -12);
    EXPECT_EQ(view.CoordSwitch(0x40000, 0x40000, aiRequest, aiResult), -12);
    view.m_pFcuHandle = nullptr;
    EXPECT_EQ(view.CoordSwitch(0x40000, 0x40000, aiRequest, aiResult), -1);
    EXPECT_EQ(aiResult[0], -7);
    EXPECT_EQ(aiResult[1], -8);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail "
                          "iRet =  -11  ]"),
                     Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail "
                          "iRet =  -12  ]"),
                     Warn("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]")}));
    EXPECT_EQ(FakeAlgo()->Journal().size(), 2u);
}

TEST_F(PTZCoord, WindowPointBecomesAPTZPoint) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    const int iX = 320;
    const int iY = 90;
    int iOutX = 0;
    int iOutY = 0;
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.625f, 0.375f);
    EXPECT_EQ(view.GetFishPoint(&iX, &iY, {640, 360}, &iOutX, &iOutY), 0);
    EXPECT_EQ(iOutX, 6250);
    EXPECT_EQ(iOutY, 3750);
    const std::vector<FakeCall> vecCalls = Algo("ZebAlgo_FCU_Point_Transform");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], RecordBytes(92)
                                               .At<int>(0, 92)
                                               .At<int>(4, 2)
                                               .At<int>(8, 256)
                                               .At<float>(12, 0.5f)
                                               .At<float>(16, 0.25f)
                                               .At<int>(20, 0x20000)
                                               .At<int>(24, 0x40000)
                                               .At<int>(28, 1500)
                                               .At<int>(32, 256)
                                               .Bytes());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(PTZCoord, WindowPointChecksTheRectangleAndReportsFailures) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    const int iX = 1;
    int iOutX = 5;
    int iOutY = 6;
    EXPECT_EQ(view.GetFishPoint(&iX, &iX, {0, 10}, &iOutX, &iOutY), -1);
    FakeEngine()->PushResult("KW_GetFishEyeCorrectPara", -1); // the zoom falls back to 0
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", -4);
    EXPECT_EQ(view.GetFishPoint(&iX, &iX, {10, 10}, &iOutX, &iOutY), -1);
    EXPECT_EQ(iOutX, 5);
    EXPECT_EQ(iOutY, 6);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_PTZSubPlayer::GetFishPoint _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  "
                          "_rect.m_iWidth =  0  _rect.m_iHeight =  10  ]"),
                     Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail "
                          "iRet =  -4  ]"),
                     Warn("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet =  -4  ]")}));
    ASSERT_EQ(Algo("ZebAlgo_FCU_Point_Transform").size(), 1u);
    EXPECT_EQ(Algo("ZebAlgo_FCU_Point_Transform")[0].m_vecRecords[0][28], 0);
}

// Variants of the algorithm lacking one export.
class PTZWithoutTransform : public PTZRebuild {};

TEST_F(PTZWithoutTransform, EverySwitchNeedsTheTransform) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    int aiRequest[4] = {1, 2, 3, 4};
    int aiResult[2] = {0, 0};
    EXPECT_EQ(view.CoordSwitch(0x40000, 0x40000, aiRequest, aiResult), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform ]")}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

class PTZWithoutCorrectPoint : public PTZRebuild {};

TEST_F(PTZWithoutCorrectPoint, SwitchesAndWritesNeedTheCorrectionPoint) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    int aiRequest[4] = {1, 2, 3, 4};
    int aiResult[2] = {0, 0};
    EXPECT_EQ(view.CoordSwitch(0x20000, 0x40000, aiRequest, aiResult), -1);
    STRUCT_PTZCorrectPara tPara{};
    EXPECT_EQ(view.SetCorrectPara(&tPara, true), -1);
    const std::string strLine =
        Warn("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint ]");
    EXPECT_EQ(TestLog::Lines(), Lines({strLine, strLine, strLine}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
    EXPECT_TRUE(Engine("KW_SetFishEyeCorrectPara").empty());
    EXPECT_EQ(Outline(view), Square(2500, 3500, 3500, 4500)); // the unmapped stored position
}

class PTZWithoutProcess : public PTZRebuild {};

TEST_F(PTZWithoutProcess, CurveNeedsTheProcess) {
    ExposedPTZ view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, CORRECT_TYPE_PTZ, 5000, 5000);
    EXPECT_EQ(view.InitPTZDraw(pHandle, &tSetup, n_DrawType_Fec), -1);
    const int aiPoint[8] = {32, 5000, 5000, 0, 0, 1000, 10, 10};
    EXPECT_EQ(view.SetFecDraw(aiPoint), -1);
    const std::string strLine = Warn("[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process]");
    EXPECT_EQ(TestLog::Lines(), Lines({strLine, strLine}));
    EXPECT_TRUE(FakeAlgo()->Journal().empty());
}

// The draw thread copies the list while the control thread rebuilds it: every copy is a prefix of
// a whole square, never a torn polyline.
TEST_F(PTZRebuild, OutlineIsReadFromAnotherThreadWhileItIsRebuilt) {
    ExposedPTZ view;
    Live(view, n_DrawType_Rect, CORRECT_TYPE_PTZ);
    std::atomic<bool> blStop{false};
    std::atomic<int> iReads{0};
    std::atomic<int> iBad{0};
    std::thread reader([&] {
        while (!blStop.load() || iReads.load() == 0) {
            QVector<QVector<STRUCT_DrawPoint>> qvecData;
            view.GetPTZDrawData(qvecData);
            if (qvecData.size() > 4)
                ++iBad;
            for (const QVector<STRUCT_DrawPoint>& qvecLine : qvecData)
                if (qvecLine.size() != 2)
                    ++iBad;
            ++iReads;
        }
    });
    for (int i = 0; i < 300; ++i) {
        view.Zoom(i % 2 ? 1 : -1);
        view.PTZCtl({10, 10, 0}, i % 2 ? n_PTZCtlCmd_Left : n_PTZCtlCmd_Right);
    }
    blStop = true;
    reader.join();
    EXPECT_GT(iReads.load(), 0);
    EXPECT_EQ(iBad.load(), 0);
    EXPECT_EQ(Outline(view).size(), 4u);
}

} // namespace
