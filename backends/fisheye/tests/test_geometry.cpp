// The lens and view geometry: round trips between the pictures, the conventions of each mount,
// and the invariants of the PTZ views and their outlines.
#include "FisheyeGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace fisheye;

namespace {

const n_Mount MOUNTS[] = {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor};

// Collects the polylines of an outline.
class CLS_VectorSink final : public CLS_PolylineSink {
public:
    bool BeginLine() override {
        m_vecLines.emplace_back();
        return true;
    }
    bool AddPoint(STRUCT_PlanePoint _tPoint) override {
        m_vecLines.back().push_back(_tPoint);
        return true;
    }
    void EndLine() override {}

    std::vector<std::vector<STRUCT_PlanePoint>> m_vecLines;
};

std::vector<std::vector<STRUCT_PlanePoint>> Outline(const CLS_FisheyeGeometry& _geometry, n_Mount _eMount,
                                                    n_Space _eSpace, STRUCT_PlanePoint _tPosition,
                                                    double _dZoom, double _dAspect = 16.0 / 9.0,
                                                    int _iPerEdge = 32) {
    CLS_VectorSink sink;
    _geometry.TraceOutline(_geometry.PtzView(_eMount, _tPosition, _dZoom, _dAspect), _eMount, _eSpace,
                           _iPerEdge, sink);
    return sink.m_vecLines;
}

double Radius(STRUCT_PlanePoint _tPoint) {
    return 2.0 * std::hypot(_tPoint.m_dX - 0.5, _tPoint.m_dY - 0.5);
}

double Area(const std::vector<STRUCT_PlanePoint>& _vecPolygon) {
    double dTwice = 0.0;
    for (size_t i = 0; i + 1 < _vecPolygon.size(); ++i)
        dTwice +=
            _vecPolygon[i].m_dX * _vecPolygon[i + 1].m_dY - _vecPolygon[i + 1].m_dX * _vecPolygon[i].m_dY;
    return std::fabs(dTwice) / 2.0;
}

bool Contains(const std::vector<STRUCT_PlanePoint>& _vecPolygon, STRUCT_PlanePoint _tPoint) {
    bool blInside = false;
    for (size_t i = 0, j = _vecPolygon.size() - 1; i < _vecPolygon.size(); j = i++) {
        const STRUCT_PlanePoint& a = _vecPolygon[i];
        const STRUCT_PlanePoint& b = _vecPolygon[j];
        if ((a.m_dY > _tPoint.m_dY) != (b.m_dY > _tPoint.m_dY) &&
            _tPoint.m_dX < (b.m_dX - a.m_dX) * (_tPoint.m_dY - a.m_dY) / (b.m_dY - a.m_dY) + a.m_dX)
            blInside = !blInside;
    }
    return blInside;
}

// Points spread over the image circle, the centre and points near the rim included.
std::vector<STRUCT_PlanePoint> CirclePoints() {
    std::vector<STRUCT_PlanePoint> vec{{0.5, 0.5}};
    for (double dRadius : {0.05, 0.3, 0.62, 0.9, 0.999}) {
        for (int k = 0; k < 12; ++k) {
            const double dAngle = 2.0 * PI * k / 12.0 + 0.1;
            vec.push_back({0.5 + 0.5 * dRadius * std::cos(dAngle), 0.5 + 0.5 * dRadius * std::sin(dAngle)});
        }
    }
    return vec;
}

void ExpectNear(STRUCT_PlanePoint _tActual, STRUCT_PlanePoint _tExpected, double _dTolerance) {
    EXPECT_NEAR(_tActual.m_dX, _tExpected.m_dX, _dTolerance);
    EXPECT_NEAR(_tActual.m_dY, _tExpected.m_dY, _dTolerance);
}

STRUCT_PlanePoint RoundTrip(const CLS_FisheyeGeometry& _geometry, n_Mount _eMount, n_Space _eSpace,
                            STRUCT_PlanePoint _tPoint) {
    STRUCT_Vec3 tDir{};
    EXPECT_TRUE(_geometry.PlaneToDirection(_tPoint, &tDir));
    STRUCT_PlanePoint tInSpace{};
    EXPECT_TRUE(_geometry.ToSpace(_eMount, _eSpace, tDir, &tInSpace));
    EXPECT_GE(tInSpace.m_dX, 0.0);
    EXPECT_LT(tInSpace.m_dX, 1.0);
    EXPECT_GE(tInSpace.m_dY, -1e-12);
    EXPECT_LE(tInSpace.m_dY, 1.0 + 1e-12);
    // Through single precision, as the pictures' points travel.
    const STRUCT_PlanePoint tStored{static_cast<float>(tInSpace.m_dX), static_cast<float>(tInSpace.m_dY)};
    STRUCT_Vec3 tBack{};
    EXPECT_TRUE(_geometry.FromSpace(_eMount, _eSpace, tStored, &tBack));
    bool blMoved = false;
    tBack = _geometry.ClampToField(tBack, &blMoved);
    STRUCT_PlanePoint tResult{};
    EXPECT_TRUE(_geometry.DirectionToPlane(tBack, &tResult));
    return tResult;
}

} // namespace

TEST(FisheyeGeometry, EquidistantLensPutsTheAngleFromTheAxisOnTheRadius) {
    CLS_FisheyeGeometry geometry;
    STRUCT_Vec3 tDir{};
    ASSERT_TRUE(geometry.PlaneToDirection({0.5, 0.5}, &tDir));
    EXPECT_NEAR(tDir.m_dZ, 1.0, 1e-12);
    ASSERT_TRUE(geometry.PlaneToDirection({1.0, 0.5}, &tDir)); // the rim: 90 degrees, to the right
    EXPECT_NEAR(tDir.m_dX, 1.0, 1e-12);
    EXPECT_NEAR(tDir.m_dZ, 0.0, 1e-12);
    ASSERT_TRUE(geometry.PlaneToDirection({0.5, 0.25}, &tDir)); // half way up: 45 degrees, upwards
    EXPECT_NEAR(tDir.m_dY, -std::sqrt(0.5), 1e-12);
    EXPECT_NEAR(tDir.m_dZ, std::sqrt(0.5), 1e-12);
    EXPECT_FALSE(geometry.PlaneToDirection({0.0, 0.0}, &tDir)); // a corner of the box: no lens there

    ASSERT_TRUE(geometry.SetLens(PI * 200.0 / 180.0, 1.0)); // a 200-degree lens
    ASSERT_TRUE(geometry.PlaneToDirection({1.0, 0.5}, &tDir));
    EXPECT_NEAR(std::atan2(tDir.m_dX, tDir.m_dZ), PI * 100.0 / 180.0, 1e-12);
    STRUCT_PlanePoint tPlane{};
    EXPECT_FALSE(geometry.DirectionToPlane({0.0, 0.0, -1.0}, &tPlane)); // straight behind
}

TEST(FisheyeGeometry, LensSetUpRefusesValuesOutOfRange) {
    CLS_FisheyeGeometry geometry;
    EXPECT_FALSE(geometry.SetLens(0.0, 1.0));
    EXPECT_FALSE(geometry.SetLens(2.0 * PI, 1.0));
    EXPECT_FALSE(geometry.SetLens(PI, 0.0));
    EXPECT_FALSE(geometry.SetLens(PI, 1.5));
    EXPECT_FALSE(geometry.SetLens(std::nan(""), 1.0));
    EXPECT_DOUBLE_EQ(geometry.Field(), PI);
    EXPECT_DOUBLE_EQ(geometry.Usable(), 1.0);
}

TEST(FisheyeGeometry, FisheyeToPanoramaAndBackIsTheSamePoint) {
    CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : MOUNTS) {
        for (const STRUCT_PlanePoint& tPoint : CirclePoints()) {
            SCOPED_TRACE(testing::Message() << "mount " << static_cast<int>(eMount) << " point "
                                            << tPoint.m_dX << ", " << tPoint.m_dY);
            ExpectNear(RoundTrip(geometry, eMount, n_Space::Panorama, tPoint), tPoint, 1e-4);
            ExpectNear(RoundTrip(geometry, eMount, n_Space::Lat, tPoint), tPoint, 1e-4);
        }
    }
}

TEST(FisheyeGeometry, RoundTripsHoldForOtherLenses) {
    CLS_FisheyeGeometry geometry;
    ASSERT_TRUE(geometry.SetLens(PI * 160.0 / 180.0, 0.8));
    for (n_Mount eMount : MOUNTS) {
        for (const STRUCT_PlanePoint& tPoint : CirclePoints()) {
            ExpectNear(RoundTrip(geometry, eMount, n_Space::Panorama, tPoint), tPoint, 1e-4);
            ExpectNear(RoundTrip(geometry, eMount, n_Space::Lat, tPoint), tPoint, 1e-4);
        }
    }
}

TEST(FisheyeGeometry, HalfViewShowsTheNorthernHalfOnly) {
    CLS_FisheyeGeometry geometry;
    STRUCT_Vec3 tDir{};
    STRUCT_PlanePoint tOut{};
    // Ceiling: the picture's top is north, its bottom south.
    ASSERT_TRUE(geometry.PlaneToDirection({0.5, 0.2}, &tDir));
    ASSERT_TRUE(geometry.ToSpace(n_Mount::Ceiling, n_Space::Half, tDir, &tOut));
    ExpectNear(tOut, {0.5, 0.4}, 1e-12);
    ExpectNear(RoundTrip(geometry, n_Mount::Ceiling, n_Space::Half, {0.3, 0.2}), {0.3, 0.2}, 1e-4);
    ASSERT_TRUE(geometry.PlaneToDirection({0.5, 0.8}, &tDir));
    EXPECT_FALSE(geometry.ToSpace(n_Mount::Ceiling, n_Space::Half, tDir, &tOut));
    // Wall: the half view spans the lens's whole width.
    ASSERT_TRUE(geometry.PlaneToDirection({1.0, 0.5}, &tDir));
    ASSERT_TRUE(geometry.ToSpace(n_Mount::Wall, n_Space::Half, tDir, &tOut));
    ExpectNear(tOut, {1.0, 0.5}, 1e-12);
}

TEST(FisheyeGeometry, PanoramaConventionsOfEachMount) {
    CLS_FisheyeGeometry geometry;
    auto panorama = [&](n_Mount _eMount, STRUCT_PlanePoint _tPoint) {
        STRUCT_Vec3 tDir{};
        STRUCT_PlanePoint tOut{};
        EXPECT_TRUE(geometry.PlaneToDirection(_tPoint, &tDir));
        EXPECT_TRUE(geometry.ToSpace(_eMount, n_Space::Panorama, tDir, &tOut));
        return tOut;
    };
    // Ceiling: north (the picture's top) in the middle, east (its right) at three quarters, the rim
    // at the top row and the centre (straight down) at the bottom row.
    ExpectNear(panorama(n_Mount::Ceiling, {0.5, 0.1}), {0.5, 0.2}, 1e-12);
    ExpectNear(panorama(n_Mount::Ceiling, {0.9, 0.5}), {0.75, 0.2}, 1e-12);
    EXPECT_NEAR(panorama(n_Mount::Ceiling, {0.5, 0.5}).m_dY, 1.0, 1e-12);
    EXPECT_NEAR(panorama(n_Mount::Ceiling, {0.5, 0.0}).m_dY, 0.0, 1e-12);
    // Floor: seen from below, so east is at the picture's left; straight up at the top row.
    ExpectNear(panorama(n_Mount::Floor, {0.1, 0.5}), {0.75, 0.8}, 1e-12);
    EXPECT_NEAR(panorama(n_Mount::Floor, {0.5, 0.5}).m_dY, 0.0, 1e-12);
    // Wall: the axis at the middle, the horizon across the middle row, straight up at the top.
    ExpectNear(panorama(n_Mount::Wall, {0.5, 0.5}), {0.5, 0.5}, 1e-12);
    ExpectNear(panorama(n_Mount::Wall, {1.0, 0.5}), {0.75, 0.5}, 1e-12);
    EXPECT_NEAR(panorama(n_Mount::Wall, {0.5, 0.0}).m_dY, 0.0, 1e-12);
}

TEST(FisheyeGeometry, LatViewOfAHalfTurnLensFillsItsSquare) {
    CLS_FisheyeGeometry geometry;
    for (const STRUCT_PlanePoint tLat : {STRUCT_PlanePoint{0.0, 0.5}, STRUCT_PlanePoint{1.0, 0.5},
                                         STRUCT_PlanePoint{0.0, 0.0}, STRUCT_PlanePoint{0.7, 0.9}}) {
        STRUCT_Vec3 tDir{};
        ASSERT_TRUE(geometry.FromSpace(n_Mount::Ceiling, n_Space::Lat, tLat, &tDir));
        STRUCT_PlanePoint tPlane{};
        EXPECT_TRUE(geometry.DirectionToPlane(tDir, &tPlane)); // every LAT point is seen by the lens
    }
    // The picture's right rim is the LAT's right edge, its top rim the LAT's top edge.
    STRUCT_Vec3 tDir{};
    STRUCT_PlanePoint tOut{};
    ASSERT_TRUE(geometry.PlaneToDirection({1.0, 0.5}, &tDir));
    ASSERT_TRUE(geometry.ToSpace(n_Mount::Ceiling, n_Space::Lat, tDir, &tOut));
    ExpectNear(tOut, {1.0, 0.5}, 1e-12);
    ASSERT_TRUE(geometry.PlaneToDirection({0.5, 0.0}, &tDir));
    ASSERT_TRUE(geometry.ToSpace(n_Mount::Floor, n_Space::Lat, tDir, &tOut));
    EXPECT_NEAR(tOut.m_dY, 0.0, 1e-12);
}

TEST(FisheyeGeometry, SmallerZoomValuesNarrowTheView) {
    // The diagonal field in proportion to the value: 4.4, 80 and 120 degrees across.
    EXPECT_NEAR(CLS_FisheyeGeometry::HalfDiagonal(0.055), PI / 3.0 * 0.055 / 1.5, 1e-12);
    EXPECT_NEAR(CLS_FisheyeGeometry::HalfDiagonal(1.0), PI * 40.0 / 180.0, 1e-12);
    EXPECT_NEAR(CLS_FisheyeGeometry::HalfDiagonal(1.5), PI / 3.0, 1e-12);
    double dLast = CLS_FisheyeGeometry::HalfDiagonal(1.5);
    for (double dZoom : {1.2, 1.0, 0.6, 0.3, 0.1, 0.055}) {
        const double dHalf = CLS_FisheyeGeometry::HalfDiagonal(dZoom);
        EXPECT_LT(dHalf, dLast);
        dLast = dHalf;
    }
    // Outside the library's range the zoom is clamped.
    EXPECT_DOUBLE_EQ(CLS_FisheyeGeometry::HalfDiagonal(0.0), CLS_FisheyeGeometry::HalfDiagonal(0.055));
    EXPECT_DOUBLE_EQ(CLS_FisheyeGeometry::HalfDiagonal(std::nan("")),
                     CLS_FisheyeGeometry::HalfDiagonal(0.055));
    EXPECT_DOUBLE_EQ(CLS_FisheyeGeometry::HalfDiagonal(9.0), CLS_FisheyeGeometry::HalfDiagonal(1.5));
}

TEST(FisheyeGeometry, ViewIsAimedAtItsPositionAndUpright) {
    CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : MOUNTS) {
        const STRUCT_MountBasis tBasis = MountBasis(eMount);
        for (const STRUCT_PlanePoint& tPoint : CirclePoints()) {
            const STRUCT_ViewFrame tView = geometry.PtzView(eMount, tPoint, 1.0, 1.5);
            STRUCT_PlanePoint tAimed{};
            ASSERT_TRUE(geometry.DirectionToPlane(tView.Ray(0.0, 0.0), &tAimed));
            ExpectNear(tAimed, tPoint, 1e-9);
            // Upright: no roll, the view's right is horizontal and its up does not point down.
            const STRUCT_Vec3& r = tView.m_tRight;
            const STRUCT_Vec3& u = tView.m_tUp;
            const STRUCT_Vec3& w = tBasis.m_tUp;
            EXPECT_NEAR(r.m_dX * w.m_dX + r.m_dY * w.m_dY + r.m_dZ * w.m_dZ, 0.0, 1e-9);
            EXPECT_GE(u.m_dX * w.m_dX + u.m_dY * w.m_dY + u.m_dZ * w.m_dZ, -1e-9);
            EXPECT_NEAR(tView.m_dTanHalfWidth / tView.m_dTanHalfHeight, 1.5, 1e-12);
        }
    }
}

TEST(FisheyeGeometry, CentreOfAnOutlineMapsBackToItsPosition) {
    CLS_FisheyeGeometry geometry;
    // The border's samples come in opposite pairs about the view's centre, so the mean of their
    // directions is the view's axis, whatever picture they were drawn in.
    for (n_Mount eMount : MOUNTS) {
        for (n_Space eSpace : {n_Space::Fisheye, n_Space::Lat, n_Space::Panorama}) {
            for (const STRUCT_PlanePoint tPosition :
                 {STRUCT_PlanePoint{0.5, 0.5}, STRUCT_PlanePoint{0.62, 0.41}, STRUCT_PlanePoint{0.3, 0.2}}) {
                for (double dZoom : {0.3, 1.0, 1.5}) {
                    SCOPED_TRACE(testing::Message() << "mount " << static_cast<int>(eMount) << " space "
                                                    << static_cast<int>(eSpace) << " zoom " << dZoom);
                    bool blMoved = false;
                    const STRUCT_PlanePoint tFitted = geometry.FitPtzPosition(tPosition, dZoom, &blMoved);
                    const auto vecLines = Outline(geometry, eMount, eSpace, tFitted, dZoom);
                    if (vecLines.size() != 1)
                        continue; // split at the panorama's seam: no pairs to average
                    ASSERT_EQ(vecLines[0].size(), 4u * 32u + 1u);
                    STRUCT_Vec3 tSum{0.0, 0.0, 0.0};
                    for (size_t i = 0; i + 1 < vecLines[0].size(); ++i) {
                        STRUCT_Vec3 tDir{};
                        ASSERT_TRUE(geometry.FromSpace(eMount, eSpace, vecLines[0][i], &tDir));
                        tSum = {tSum.m_dX + tDir.m_dX, tSum.m_dY + tDir.m_dY, tSum.m_dZ + tDir.m_dZ};
                    }
                    STRUCT_PlanePoint tCentre{};
                    ASSERT_TRUE(geometry.DirectionToPlane(tSum, &tCentre));
                    ExpectNear(tCentre, tFitted, 1e-4);
                }
            }
        }
    }
}

TEST(FisheyeGeometry, OutlineOfAFittedViewLiesInsideTheUsableCircle) {
    for (double dUsable : {1.0, 0.8}) {
        CLS_FisheyeGeometry geometry;
        ASSERT_TRUE(geometry.SetLens(PI, dUsable));
        for (n_Mount eMount : MOUNTS) {
            for (double dZoom : {0.055, 0.5, 1.0, 1.5}) {
                for (double dAspect : {0.5, 1.0, 16.0 / 9.0, 3.0}) {
                    for (const STRUCT_PlanePoint& tRequest : CirclePoints()) {
                        bool blMoved = false;
                        const STRUCT_PlanePoint tFitted = geometry.FitPtzPosition(tRequest, dZoom, &blMoved);
                        const auto vecLines =
                            Outline(geometry, eMount, n_Space::Fisheye, tFitted, dZoom, dAspect);
                        ASSERT_EQ(vecLines.size(), 1u);
                        EXPECT_TRUE(Contains(vecLines[0], tFitted));
                        for (const STRUCT_PlanePoint& tPoint : vecLines[0])
                            ASSERT_LE(Radius(tPoint), dUsable + 1e-9);
                    }
                }
            }
        }
    }
}

TEST(FisheyeGeometry, FittingKeepsValidPositionsAndMovesOthersAlongTheRadius) {
    CLS_FisheyeGeometry geometry;
    bool blMoved = true;
    const STRUCT_PlanePoint tInside{0.55, 0.45};
    const STRUCT_PlanePoint tKept = geometry.FitPtzPosition(tInside, 1.0, &blMoved);
    EXPECT_FALSE(blMoved);
    EXPECT_EQ(tKept.m_dX, tInside.m_dX);
    EXPECT_EQ(tKept.m_dY, tInside.m_dY);

    // At zoom 1.0 the half diagonal is 40 degrees, so the axis may go that far less than 90
    // degrees off the optical axis.
    const double dLimit = (90.0 - 40.0) / 90.0;
    const STRUCT_PlanePoint tFitted = geometry.FitPtzPosition({1.2, 0.5}, 1.0, &blMoved);
    EXPECT_TRUE(blMoved);
    ExpectNear(tFitted, {0.5 + 0.5 * dLimit, 0.5}, 1e-12);
    const STRUCT_PlanePoint tDiagonal = geometry.FitPtzPosition({0.0, 1.0}, 1.0, &blMoved);
    EXPECT_NEAR(Radius(tDiagonal), dLimit, 1e-12);
    EXPECT_NEAR(tDiagonal.m_dX - 0.5, -(tDiagonal.m_dY - 0.5), 1e-12); // the same azimuth

    // Zoom 0 is no view: only the point is kept inside the usable circle.
    ExpectNear(geometry.FitPtzPosition({1.2, 0.5}, 0.0, &blMoved), {1.0, 0.5}, 1e-12);
    EXPECT_TRUE(blMoved);
    geometry.FitPtzPosition({0.9, 0.5}, 0.0, &blMoved);
    EXPECT_FALSE(blMoved);

    // A view too wide for the usable circle goes to the centre.
    ASSERT_TRUE(geometry.SetLens(PI, 0.3));
    ExpectNear(geometry.FitPtzPosition({0.7, 0.7}, 1.5, &blMoved), {0.5, 0.5}, 0.0);
    EXPECT_TRUE(blMoved);
}

TEST(FisheyeGeometry, ASmallerZoomValueGivesASmallerOutlineAndANarrowerPictureInEveryMount) {
    CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : MOUNTS) {
        for (const STRUCT_PlanePoint tPosition :
             {STRUCT_PlanePoint{0.5, 0.5}, STRUCT_PlanePoint{0.56, 0.4}}) {
            SCOPED_TRACE(testing::Message() << "mount " << static_cast<int>(eMount) << " at "
                                            << tPosition.m_dX << ", " << tPosition.m_dY);
            double dLastArea = 1e9;
            double dLastTan = 1e9;
            for (double dZoom : {1.5, 1.25, 1.0, 0.5, 0.2, 0.055}) {
                const auto vecLines = Outline(geometry, eMount, n_Space::Fisheye, tPosition, dZoom);
                ASSERT_EQ(vecLines.size(), 1u);
                const double dArea = Area(vecLines[0]);
                EXPECT_LT(dArea, dLastArea) << "zoom " << dZoom;
                EXPECT_TRUE(Contains(vecLines[0], tPosition));
                dLastArea = dArea;
                const double dTan = geometry.PtzView(eMount, tPosition, dZoom, 16.0 / 9.0).m_dTanHalfWidth;
                EXPECT_LT(dTan, dLastTan) << "zoom " << dZoom;
                dLastTan = dTan;
            }
        }
    }
}

TEST(FisheyeGeometry, PanoramaToFisheyeAndBackIsTheSamePointWhereTheLensSeesIt) {
    for (const double dField : {PI, PI * 160.0 / 180.0, PI * 220.0 / 180.0}) {
        CLS_FisheyeGeometry geometry;
        ASSERT_TRUE(geometry.SetLens(dField, 1.0));
        for (n_Mount eMount : MOUNTS) {
            for (n_Space eSpace : {n_Space::Panorama, n_Space::Lat}) {
                int iSeen = 0;
                for (int iX = 0; iX < 24; ++iX) {
                    for (int iY = 0; iY <= 20; ++iY) {
                        const STRUCT_PlanePoint tPoint{(iX + 0.5) / 24.0, iY / 20.0};
                        STRUCT_Vec3 tDir{};
                        ASSERT_TRUE(geometry.FromSpace(eMount, eSpace, tPoint, &tDir));
                        bool blMoved = false;
                        geometry.ClampToField(tDir, &blMoved);
                        STRUCT_PlanePoint tFisheye{};
                        if (blMoved || !geometry.DirectionToPlane(tDir, &tFisheye))
                            continue; // outside the lens's field: no fisheye point to come back from
                        ++iSeen;
                        STRUCT_Vec3 tBack{};
                        ASSERT_TRUE(geometry.PlaneToDirection(tFisheye, &tBack));
                        STRUCT_PlanePoint tResult{};
                        ASSERT_TRUE(geometry.ToSpace(eMount, eSpace, tBack, &tResult));
                        SCOPED_TRACE(testing::Message()
                                     << "field " << dField << " mount " << static_cast<int>(eMount)
                                     << " point " << tPoint.m_dX << ", " << tPoint.m_dY);
                        // The poles (the LAT's and the wall panorama's top and bottom rows, the
                        // centre of the others) have no azimuth: only their row is kept.
                        const bool blPole =
                            std::fabs(Radius(tFisheye)) < 1e-9 ||
                            ((n_Space::Lat == eSpace || n_Mount::Wall == eMount) && (0 == iY || 20 == iY));
                        if (!blPole)
                            EXPECT_NEAR(std::remainder(tResult.m_dX - tPoint.m_dX, 1.0), 0.0, 1e-9);
                        EXPECT_NEAR(tResult.m_dY, tPoint.m_dY, 1e-9);
                    }
                }
                EXPECT_GT(iSeen, 100);
            }
        }
    }
}

TEST(FisheyeGeometry, CeilingAndFloorOutlinesTurnWithTheirPosition) {
    CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : {n_Mount::Ceiling, n_Mount::Floor}) {
        const STRUCT_PlanePoint tPosition{0.5, 0.2};
        const auto vecBase = Outline(geometry, eMount, n_Space::Fisheye, tPosition, 0.8);
        ASSERT_EQ(vecBase.size(), 1u);
        for (double dTurn : {0.3, PI / 2.0, 2.0, PI, 4.5}) {
            auto rotate = [&](STRUCT_PlanePoint _t) {
                const double dX = _t.m_dX - 0.5;
                const double dY = _t.m_dY - 0.5;
                return STRUCT_PlanePoint{0.5 + dX * std::cos(dTurn) - dY * std::sin(dTurn),
                                         0.5 + dX * std::sin(dTurn) + dY * std::cos(dTurn)};
            };
            const auto vecTurned = Outline(geometry, eMount, n_Space::Fisheye, rotate(tPosition), 0.8);
            ASSERT_EQ(vecTurned.size(), 1u);
            ASSERT_EQ(vecTurned[0].size(), vecBase[0].size());
            for (size_t i = 0; i < vecBase[0].size(); ++i)
                ExpectNear(vecTurned[0][i], rotate(vecBase[0][i]), 1e-9);
        }
    }
}

TEST(FisheyeGeometry, WallOutlineOnTheHorizonIsSymmetricAboutIt) {
    CLS_FisheyeGeometry geometry;
    const auto vecLines = Outline(geometry, n_Mount::Wall, n_Space::Fisheye, {0.7, 0.5}, 0.5);
    ASSERT_EQ(vecLines.size(), 1u);
    const auto& vec = vecLines[0];
    // Border order: top edge then right, bottom, left; the bottom edge mirrors the top one.
    const size_t n = 32;
    for (size_t i = 0; i <= n; ++i) {
        const STRUCT_PlanePoint& tTop = vec[i];
        const STRUCT_PlanePoint& tBottom = vec[3 * n - i];
        EXPECT_NEAR(tTop.m_dX, tBottom.m_dX, 1e-9);
        EXPECT_NEAR(tTop.m_dY, 1.0 - tBottom.m_dY, 1e-9);
        EXPECT_LT(tTop.m_dY, 0.5); // the view's top is the picture's top
    }
}

TEST(FisheyeGeometry, PanoramaOutlineSplitsAtTheSeam) {
    CLS_FisheyeGeometry geometry;
    // Ceiling, looking south (the picture's bottom): azimuth 180 degrees, where the panorama wraps.
    // The border starts on one side of the seam, crosses it and comes back.
    const auto vecLines = Outline(geometry, n_Mount::Ceiling, n_Space::Panorama, {0.5, 0.8}, 1.0);
    ASSERT_EQ(vecLines.size(), 3u);
    for (const auto& vecLine : vecLines) {
        ASSERT_GE(vecLine.size(), 2u);
        for (size_t i = 0; i + 1 < vecLine.size(); ++i)
            EXPECT_LT(std::fabs(vecLine[i + 1].m_dX - vecLine[i].m_dX), 0.5);
    }
    // Each cut ends on an edge of the panorama and the next one starts on the other edge, at the
    // same height.
    for (size_t i = 0; i + 1 < vecLines.size(); ++i) {
        const STRUCT_PlanePoint tEnd = vecLines[i].back();
        const STRUCT_PlanePoint tStart = vecLines[i + 1].front();
        EXPECT_TRUE(tEnd.m_dX == 0.0 || tEnd.m_dX == 1.0);
        EXPECT_DOUBLE_EQ(tStart.m_dX, 1.0 - tEnd.m_dX);
        EXPECT_DOUBLE_EQ(tStart.m_dY, tEnd.m_dY);
    }
    // The first and the last piece meet where the border started: the outline is closed.
    EXPECT_EQ(vecLines.front().front().m_dX, vecLines.back().back().m_dX);
    EXPECT_EQ(vecLines.front().front().m_dY, vecLines.back().back().m_dY);
}

TEST(FisheyeGeometry, OutlineStopsWhereThePictureEnds) {
    CLS_FisheyeGeometry geometry;
    // A wide view at the rim: the part beyond the lens's field is left out, and the polyline ends on
    // the rim.
    const auto vecFisheye = Outline(geometry, n_Mount::Ceiling, n_Space::Fisheye, {1.0, 0.5}, 0.3);
    ASSERT_EQ(vecFisheye.size(), 1u);
    EXPECT_NEAR(Radius(vecFisheye[0].front()), 1.0, 1e-6);
    EXPECT_NEAR(Radius(vecFisheye[0].back()), 1.0, 1e-6);
    for (const STRUCT_PlanePoint& tPoint : vecFisheye[0])
        EXPECT_LE(Radius(tPoint), 1.0 + 1e-9);
    // The half view does not show the south at all, and shows the north whole.
    EXPECT_TRUE(Outline(geometry, n_Mount::Ceiling, n_Space::Half, {0.5, 0.85}, 1.0).empty());
    const auto vecNorth = Outline(geometry, n_Mount::Ceiling, n_Space::Half, {0.5, 0.2}, 1.0);
    ASSERT_EQ(vecNorth.size(), 1u);
    EXPECT_EQ(vecNorth[0].front().m_dX, vecNorth[0].back().m_dX);
    EXPECT_EQ(vecNorth[0].front().m_dY, vecNorth[0].back().m_dY);
}

TEST(FisheyeGeometry, AreaMapsTheFisheyePlaneIntoThePicture) {
    const STRUCT_Area tArea{0.2, 0.8, 0.1, 0.9};
    EXPECT_TRUE(IsValidArea(tArea));
    ExpectNear(PlaneToPicture(tArea, {0.5, 0.5}), {0.5, 0.5}, 1e-12);
    ExpectNear(PlaneToPicture(tArea, {0.0, 1.0}), {0.2, 0.9}, 1e-12);
    ExpectNear(PictureToPlane(tArea, PlaneToPicture(tArea, {0.3, 0.7})), {0.3, 0.7}, 1e-12);
    EXPECT_FALSE(IsValidArea({0.5, 0.5, 0.0, 1.0}));
    EXPECT_FALSE(IsValidArea({0.0, 1.0, 0.9, 0.1}));
    EXPECT_FALSE(IsValidArea({-0.1, 1.0, 0.0, 1.0}));
    EXPECT_FALSE(IsValidArea({0.0, std::nan(""), 0.0, 1.0}));
}
