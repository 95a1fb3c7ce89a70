// The library with the open correction algorithm instead of the fake one: PTZ views driven through
// CLS_FishPlayer in each mounting mode write geometrically right positions to the engine, and the
// overlays the client receives surround each view, follow it and shrink as it zooms in.
#include "FacadeTest.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr double PI = 3.14159265358979323846;

struct PlanePoint {
    double m_dX; // 0 to 10000
    double m_dY;
};

struct EngineWrite {
    int m_iX;
    int m_iY;
    int m_iZoom;
};

typedef std::vector<STRUCT_DrawPoint> Polyline;

std::mutex g_mutex;
FishDrawData g_data;
int g_iDeliveries = 0;

int OverlaySink(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _data) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_data = _data;
    ++g_iDeliveries;
    return 0;
}

double Radius(PlanePoint _tPoint) {
    return std::hypot(_tPoint.m_dX - 5000.0, _tPoint.m_dY - 5000.0);
}

// Where a view may sit at a zoom value: its half diagonal, 60 degrees * value / 15000, inside 90
// degrees of the lens's axis, which the equidistant lens puts at the rim (5000 from the centre).
double AllowedRadius(int _iZoom) {
    const double dHalfDiagonal = PI / 3.0 * _iZoom / 15000.0;
    return 5000.0 * (1.0 - dHalfDiagonal / (PI / 2.0));
}

bool Contains(const Polyline& _vecPolygon, PlanePoint _tPoint) {
    const double dX = _tPoint.m_dX / 10000.0;
    const double dY = _tPoint.m_dY / 10000.0;
    bool blInside = false;
    for (size_t i = 0, j = _vecPolygon.size() - 1; i < _vecPolygon.size(); j = i++) {
        const STRUCT_DrawPoint& a = _vecPolygon[i];
        const STRUCT_DrawPoint& b = _vecPolygon[j];
        if ((a.m_fY > dY) != (b.m_fY > dY) &&
            dX < (b.m_fX - a.m_fX) * (dY - a.m_fY) / (b.m_fY - a.m_fY) + a.m_fX)
            blInside = !blInside;
    }
    return blInside;
}

double Area(const Polyline& _vecPolygon) {
    double dTwice = 0.0;
    for (size_t i = 0; i + 1 < _vecPolygon.size(); ++i)
        dTwice += static_cast<double>(_vecPolygon[i].m_fX) * _vecPolygon[i + 1].m_fY -
                  static_cast<double>(_vecPolygon[i + 1].m_fX) * _vecPolygon[i].m_fY;
    return std::fabs(dTwice) / 2.0;
}

PlanePoint Centroid(const Polyline& _vecPolygon) {
    double dX = 0.0;
    double dY = 0.0;
    for (const STRUCT_DrawPoint& tPoint : _vecPolygon) {
        dX += tPoint.m_fX;
        dY += tPoint.m_fY;
    }
    return {dX / _vecPolygon.size() * 10000.0, dY / _vecPolygon.size() * 10000.0};
}

double MaxRadius(const Polyline& _vecPolygon) {
    double dMax = 0.0;
    for (const STRUCT_DrawPoint& tPoint : _vecPolygon)
        dMax = std::max(dMax, Radius({tPoint.m_fX * 10000.0, tPoint.m_fY * 10000.0}));
    return dMax;
}

// Angle of a position about the centre as the views' polar steps count it (0 straight down).
double PolarAngle(PlanePoint _tPoint) {
    return std::atan2(_tPoint.m_dX - 5000.0, _tPoint.m_dY - 5000.0);
}

double AngleBetween(double _dFrom, double _dTo) {
    return std::remainder(_dTo - _dFrom, 2.0 * PI);
}

class AlgoEndToEnd : public FacadeTest, public ::testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        ASSERT_NE(FakeEngine(), nullptr);
        ASSERT_EQ(FakeAlgo(), nullptr) << "the fake algorithm was loaded instead of the open one";
    }

    void TearDown() override {
        // Nothing the views asked of the algorithm failed.
        for (const std::string& strLine : TestLog::Lines())
            EXPECT_EQ(strLine.find("ZebAlgo"), std::string::npos) << strLine;
        if (m_iId >= 0)
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(m_iId), 0);
        FacadeTest::TearDown();
    }

    // A player in mounting mode _iMode with one PTZ view and a 360-degree view (which runs the
    // overlay thread), drawing the PTZ view's outline in the fisheye picture.
    void Start(int _iMode, int _iAlgoParam = 0) {
        {
            std::lock_guard<std::mutex> lock(g_mutex); // nothing left from an earlier player
            g_data.clear();
        }
        m_tParam = {_iMode, _iAlgoParam, 0};
        m_iDrawType = n_DrawType_Fec;
        QMap<int, QVector<void*>> qmapWindows;
        qmapWindows[CORRECT_TYPE_PTZ] = {Window(2)};
        qmapWindows[CORRECT_TYPE_360] = {Window(6)};
        QMap<int, QVector<int>> qmapIds;
        m_iId = Create(qmapWindows, &qmapIds);
        ASSERT_GE(m_iId, 0);
        ASSERT_EQ(qmapIds[CORRECT_TYPE_PTZ].size(), 1);
        m_iPtzId = qmapIds[CORRECT_TYPE_PTZ][0];

        // The view's set-up carries its default centre and zoom; the engine starts the view there.
        const std::vector<FakeCall> vecCreates = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
        ASSERT_FALSE(vecCreates.empty());
        const std::vector<unsigned char>& vecSetup = vecCreates[0].m_vecRecords[0];
        int aiPosition[3] = {};
        std::memcpy(aiPosition, vecSetup.data() + 48, sizeof(aiPosition));
        m_tStart = {static_cast<double>(aiPosition[0]), static_cast<double>(aiPosition[1])};
        EXPECT_EQ(aiPosition[2], 10000);
        FakeEngine()->SetPara(
            m_iPtzId, 1,
            RecordBytes(32).At<int>(8, aiPosition[0]).At<int>(12, aiPosition[1]).At<int>(16, 10000));
        ASSERT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(m_iId, OverlaySink), 0);
    }

    int PTZ(n_PTZCtlCmd _eCmd, int _iH, int _iV, int _iZ) {
        return m_pFish->FishPlayer_PTZCtl(m_iId, 0, {_iH, _iV, _iZ}, _eCmd);
    }

    // The outline follows the position written before the last one: a command that moves nothing
    // redraws it where the view now is.
    void Redraw() { EXPECT_GE(PTZ(static_cast<n_PTZCtlCmd>(10), 0, 0, 0), 0); }

    EngineWrite LastWrite() {
        const std::vector<FakeCall> vecWrites = FakeEngine()->Calls("KW_SetFishEyeCorrectPara");
        EngineWrite tWrite{-1, -1, -1};
        EXPECT_FALSE(vecWrites.empty());
        if (vecWrites.empty())
            return tWrite;
        const FakeCall& tCall = vecWrites.back();
        EXPECT_EQ(tCall.m_vecArgs[1], m_iPtzId);
        EXPECT_EQ(tCall.m_vecArgs[2], 1);
        EXPECT_EQ(tCall.m_vecArgs[4], 32);
        std::memcpy(&tWrite, tCall.m_vecRecords[0].data() + 8, sizeof(tWrite));
        return tWrite;
    }

    // Waits (at most five seconds) for an overlay with the PTZ view's single closed outline that
    // satisfies _pred.
    template <typename Pred> Polyline WaitForOutline(Pred _pred) {
        const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        Polyline vecLast;
        while (std::chrono::steady_clock::now() < tDeadline) {
            {
                std::lock_guard<std::mutex> lock(g_mutex);
                if (g_data.size() == 1 && g_data[0].size() == 1 && g_data[0][0].size() > 8) {
                    vecLast.assign(g_data[0][0].begin(), g_data[0][0].end());
                    if (_pred(vecLast))
                        return vecLast;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ADD_FAILURE() << "no overlay as expected arrived; the last one had " << vecLast.size() << " points";
        return vecLast;
    }

    void ExpectInsideTheCircle(const Polyline& _vecOutline) {
        EXPECT_LE(MaxRadius(_vecOutline), 5000.0 + 1.0);
    }

    int m_iId = -1;
    int m_iPtzId = -1;
    PlanePoint m_tStart{0.0, 0.0};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Mounts, AlgoEndToEnd, ::testing::Values(1, 2, 3),
                         [](const ::testing::TestParamInfo<int>& _info) {
                             return "Mode" + std::to_string(_info.param);
                         });

TEST_P(AlgoEndToEnd, FirstOutlineSurroundsTheDefaultCentre) {
    Start(GetParam());
    // One view alone: half way across (wall), or 45 percent down the panorama, the north, which the
    // lens puts 0.45 of the way from the centre to the rim, at the picture's top.
    if (1 == GetParam()) {
        EXPECT_EQ(m_tStart.m_dX, 5000.0);
        EXPECT_EQ(m_tStart.m_dY, 4500.0);
    } else {
        EXPECT_NEAR(m_tStart.m_dX, 5000.0, 1.0);
        EXPECT_NEAR(m_tStart.m_dY, 2750.0, 1.0);
    }
    const Polyline vecOutline =
        WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, m_tStart); });
    EXPECT_EQ(vecOutline.size(), 4u * 32u + 1u);
    EXPECT_EQ(vecOutline.front().m_fX, vecOutline.back().m_fX); // closed
    EXPECT_EQ(vecOutline.front().m_fY, vecOutline.back().m_fY);
    ExpectInsideTheCircle(vecOutline);
    const PlanePoint tCentroid = Centroid(vecOutline);
    EXPECT_LT(std::hypot(tCentroid.m_dX - m_tStart.m_dX, tCentroid.m_dY - m_tStart.m_dY), 300.0);
}

TEST_P(AlgoEndToEnd, MovedViewIsWrittenWhereItWasSentAndItsOutlineFollows) {
    Start(GetParam());
    const Polyline vecBefore = WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, m_tStart); });
    const PlanePoint tCentroidBefore = Centroid(vecBefore);

    PlanePoint tExpected{};
    if (1 == GetParam()) {
        // Flat: the button moves the view 2000 to the right.
        ASSERT_EQ(PTZ(n_PTZCtlCmd_Right, 2000, 0, 0), 0);
        tExpected = {m_tStart.m_dX + 2000.0, m_tStart.m_dY};
        const EngineWrite tWrite = LastWrite();
        EXPECT_NEAR(tWrite.m_iX, tExpected.m_dX, 1.0);
        EXPECT_NEAR(tWrite.m_iY, tExpected.m_dY, 1.0);
        EXPECT_EQ(tWrite.m_iZoom, 10000);
    } else {
        // About the centre: a step of 3000 turns the view by 0.3 of a half turn (mirrored on the
        // floor), at the same distance from the centre.
        ASSERT_EQ(PTZ(n_PTZCtlCmd_Right, 3000, 0, 0), 0);
        const EngineWrite tWrite = LastWrite();
        tExpected = {static_cast<double>(tWrite.m_iX), static_cast<double>(tWrite.m_iY)};
        EXPECT_NEAR(Radius(tExpected), Radius(m_tStart), 2.0);
        const double dTurn = AngleBetween(PolarAngle(m_tStart), PolarAngle(tExpected));
        EXPECT_NEAR(dTurn, (2 == GetParam() ? 0.3 : -0.3) * PI, 1e-3);
        EXPECT_EQ(tWrite.m_iZoom, 10000);
    }
    EXPECT_TRUE(FakeEngine()->GetPara(m_iPtzId, 1).size() == 32u);

    Redraw();
    const Polyline vecAfter = WaitForOutline([&](const Polyline& _vec) {
        const PlanePoint tCentroid = Centroid(_vec);
        return Contains(_vec, tExpected) &&
               std::hypot(tCentroid.m_dX - tExpected.m_dX, tCentroid.m_dY - tExpected.m_dY) <
                   std::hypot(tCentroid.m_dX - m_tStart.m_dX, tCentroid.m_dY - m_tStart.m_dY);
    });
    ExpectInsideTheCircle(vecAfter);
    // The outline moved the way the view did.
    const PlanePoint tCentroidAfter = Centroid(vecAfter);
    const double dDot = (tCentroidAfter.m_dX - tCentroidBefore.m_dX) * (tExpected.m_dX - m_tStart.m_dX) +
                        (tCentroidAfter.m_dY - tCentroidBefore.m_dY) * (tExpected.m_dY - m_tStart.m_dY);
    EXPECT_GT(dDot, 0.0);
    EXPECT_LT(std::hypot(tCentroidAfter.m_dX - tExpected.m_dX, tCentroidAfter.m_dY - tExpected.m_dY),
              std::hypot(tCentroidAfter.m_dX - m_tStart.m_dX, tCentroidAfter.m_dY - m_tStart.m_dY));
}

TEST_P(AlgoEndToEnd, OutlineShrinksAsTheViewZoomsIn) {
    Start(GetParam());
    const Polyline vecNormal = WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, m_tStart); });
    const double dNormal = Area(vecNormal);

    // Lowering the value zooms in.
    ASSERT_EQ(PTZ(n_PTZCtlCmd_ZoomDec, 0, 0, 20000), 0);
    EXPECT_EQ(LastWrite().m_iZoom, 550);
    Redraw();
    const Polyline vecIn = WaitForOutline([&](const Polyline& _vec) { return Area(_vec) < 0.95 * dNormal; });
    EXPECT_TRUE(Contains(vecIn, m_tStart));
    ExpectInsideTheCircle(vecIn);

    // The widest view does not fit that far out: the engine gets it moved in along the radius.
    ASSERT_EQ(PTZ(n_PTZCtlCmd_ZoomInc, 0, 0, 20000), 0);
    const EngineWrite tWide = LastWrite();
    EXPECT_EQ(tWide.m_iZoom, 15000);
    const PlanePoint tWidePosition{static_cast<double>(tWide.m_iX), static_cast<double>(tWide.m_iY)};
    if (Radius(m_tStart) > AllowedRadius(15000)) {
        EXPECT_NEAR(Radius(tWidePosition), AllowedRadius(15000), 2.0);
        EXPECT_NEAR(std::remainder(PolarAngle(tWidePosition) - PolarAngle(m_tStart), 2.0 * PI), 0.0, 1e-3);
    }
    Redraw();
    const Polyline vecOut = WaitForOutline([&](const Polyline& _vec) { return Area(_vec) > 1.5 * dNormal; });
    EXPECT_TRUE(Contains(vecOut, tWidePosition));
    ExpectInsideTheCircle(vecOut);
}

TEST_P(AlgoEndToEnd, ViewPushedBeyondTheCircleStopsInsideIt) {
    Start(GetParam());
    WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, m_tStart); });
    // Zoomed in to a 40-degree diagonal first, so that its corners can come near the rim.
    ASSERT_EQ(PTZ(n_PTZCtlCmd_ZoomDec, 0, 0, 5000), 0);
    ASSERT_EQ(LastWrite().m_iZoom, 5000);
    // Flat to the right along the horizon for the wall; outwards (the radius step) about the centre.
    if (1 == GetParam()) {
        ASSERT_EQ(PTZ(n_PTZCtlCmd_Down, 0, 500, 0), 0);
        ASSERT_EQ(PTZ(n_PTZCtlCmd_Right, 8000, 0, 0), 0);
    } else
        ASSERT_EQ(PTZ(2 == GetParam() ? n_PTZCtlCmd_Down : n_PTZCtlCmd_Up, 0, 6000, 0), 0);
    const EngineWrite tWrite = LastWrite();
    const PlanePoint tPosition{static_cast<double>(tWrite.m_iX), static_cast<double>(tWrite.m_iY)};
    EXPECT_NEAR(Radius(tPosition), AllowedRadius(5000), 2.0);
    // Along the way it was sent.
    EXPECT_NEAR(std::remainder(PolarAngle(tPosition) -
                                   PolarAngle(1 == GetParam() ? PlanePoint{13000.0, 5000.0} : m_tStart),
                               2.0 * PI),
                0.0, 1e-3);

    Redraw();
    const Polyline vecOutline =
        WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, tPosition); });
    ExpectInsideTheCircle(vecOutline);
    // It comes near the rim: only its circumscribed cone (its diagonal) touches it.
    EXPECT_GT(MaxRadius(vecOutline), 4300.0);

    // Pushing further on the wall reaches the same fisheye point: the engine is left alone.
    if (1 == GetParam()) {
        const size_t uWrites = FakeEngine()->Calls("KW_SetFishEyeCorrectPara").size();
        EXPECT_EQ(PTZ(n_PTZCtlCmd_Right, 500, 0, 0), 1);
        EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectPara").size(), uWrites);
    }
}

TEST_P(AlgoEndToEnd, OverlayOfAPanoramaSetUpIsDrawnInThePanorama) {
    // The camera parameters ask for the outline in the 360-degree panorama.
    Start(GetParam(), CORRECT_TYPE_360);
    // The panorama point of the view's centre, from its azimuth and its distance from the centre.
    const double dDx = m_tStart.m_dX - 5000.0;
    const double dDy = m_tStart.m_dY - 5000.0;
    const double dRho = Radius(m_tStart) / 5000.0;
    PlanePoint tPanorama{};
    switch (GetParam()) {
    case 1: // wall: azimuth about the picture's vertical, elevation from the picture's height
        tPanorama = {10000.0 * (0.5 + std::atan2(std::sin(dRho * PI / 2) * dDx / std::hypot(dDx, dDy),
                                                 std::cos(dRho * PI / 2)) /
                                          (2.0 * PI)),
                     5000.0 + 10000.0 * std::asin(std::sin(dRho * PI / 2) * dDy / std::hypot(dDx, dDy)) / PI};
        break;
    case 2: // ceiling: north (the picture's top) in the middle, the rim at the top row
        tPanorama = {10000.0 * (0.5 + std::atan2(dDx, -dDy) / (2.0 * PI)), 10000.0 * (1.0 - dRho)};
        break;
    default: // floor: seen from below, east at the picture's left; the centre at the top row
        tPanorama = {10000.0 * (0.5 + std::atan2(-dDx, -dDy) / (2.0 * PI)), 10000.0 * dRho};
        break;
    }
    const Polyline vecOutline =
        WaitForOutline([&](const Polyline& _vec) { return Contains(_vec, tPanorama); });
    for (const STRUCT_DrawPoint& tPoint : vecOutline) {
        EXPECT_GE(tPoint.m_fX, 0.0f);
        EXPECT_LE(tPoint.m_fX, 1.0f);
        EXPECT_GE(tPoint.m_fY, 0.0f);
        EXPECT_LE(tPoint.m_fY, 1.0f);
    }
}
