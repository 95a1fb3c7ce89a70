// Remap tables and the remap: features land where the geometry says, tables are rebuilt only when
// the view or the source size changes, the result does not depend on the thread count, and what a
// view does not show is black.
#include "DewarpTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace fisheye;
using namespace dewarptest;

namespace {

constexpr int SOURCE = 1024;

// The picture as the view shows it: a table built for the picture's size, applied once.
STRUCT_Picture Render(STRUCT_Picture& _source, const STRUCT_ViewParams& _tParams) {
    CLS_RemapTable table;
    EXPECT_TRUE(table.Update(_tParams, _source.m_iWidth, _source.m_iHeight));
    STRUCT_Picture output(_tParams.m_iWidth, _tParams.m_iHeight, _source.m_iChannels);
    EXPECT_TRUE(table.Apply(_source.Image(), output.Image()));
    return output;
}

// Renders a black fisheye picture holding one dot at the fisheye point _tPlane (whole picture as
// the area) and returns where the dot's centroid lands, as fractions of the output.
STRUCT_PlanePoint DotLandsAt(const STRUCT_ViewParams& _tParams, STRUCT_PlanePoint _tPlane) {
    STRUCT_Picture source(SOURCE, SOURCE);
    DrawDot(source, _tPlane.m_dX * SOURCE, _tPlane.m_dY * SOURCE);
    STRUCT_Picture output = Render(source, _tParams);
    double dX = -1.0;
    double dY = -1.0;
    EXPECT_TRUE(Centroid(output, &dX, &dY)) << "the dot is not in the view";
    return {dX / _tParams.m_iWidth, dY / _tParams.m_iHeight};
}

// The fisheye point of a direction, independently of the table's route (which goes from the
// output to the fisheye picture).
STRUCT_PlanePoint PlaneOf(const STRUCT_Vec3& _tDir) {
    STRUCT_PlanePoint tPlane{};
    EXPECT_TRUE(CLS_FisheyeGeometry().DirectionToPlane(_tDir, &tPlane));
    return tPlane;
}

void ExpectNear(STRUCT_PlanePoint _tActual, STRUCT_PlanePoint _tExpected, const STRUCT_ViewParams& _tParams,
                double _dPixels = 1.0) {
    EXPECT_NEAR(_tActual.m_dX * _tParams.m_iWidth, _tExpected.m_dX * _tParams.m_iWidth, _dPixels);
    EXPECT_NEAR(_tActual.m_dY * _tParams.m_iHeight, _tExpected.m_dY * _tParams.m_iHeight, _dPixels);
}

} // namespace

TEST(RemapFeatures, PanoramaPlacesDotsAtTheirAzimuthAndElevation) {
    const CLS_FisheyeGeometry geometry;
    const STRUCT_PlanePoint atPoints[] = {{0.75, 0.5}, {0.3, 0.35}, {0.62, 0.85}};
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        for (const STRUCT_PlanePoint& tPlane : atPoints) {
            const STRUCT_ViewParams tParams = View(n_ViewKind::Panorama, eMount, 1440, 360);
            STRUCT_Vec3 tDir{};
            ASSERT_TRUE(geometry.PlaneToDirection(tPlane, &tDir));
            STRUCT_PlanePoint tExpected{};
            ASSERT_TRUE(geometry.ToSpace(eMount, n_Space::Panorama, tDir, &tExpected));
            SCOPED_TRACE(testing::Message() << "mount " << static_cast<int>(eMount) << " point "
                                            << tPlane.m_dX << ", " << tPlane.m_dY);
            ExpectNear(DotLandsAt(tParams, tPlane), tExpected, tParams);
        }
    }
}

TEST(RemapFeatures, WallPanoramaShowsTheEastAtThreeQuarters) {
    // 45 degrees to the right of the optical axis, on the horizon.
    const STRUCT_ViewParams tParams = View(n_ViewKind::Panorama, n_Mount::Wall, 1440, 720);
    ExpectNear(DotLandsAt(tParams, {0.75, 0.5}), {0.625, 0.5}, tParams);
}

TEST(RemapFeatures, RotationBringsItsAzimuthToTheMiddle) {
    STRUCT_ViewParams tParams = View(n_ViewKind::Panorama, n_Mount::Wall, 1440, 720);
    tParams.m_dRotation = 45.0;
    ExpectNear(DotLandsAt(tParams, {0.75, 0.5}), {0.5, 0.5}, tParams);
    tParams.m_dRotation = -45.0; // now at 90 degrees from the middle: a quarter turn to the right
    ExpectNear(DotLandsAt(tParams, {0.75, 0.5}), {0.75, 0.5}, tParams);

    STRUCT_ViewParams tHalf = View(n_ViewKind::Half, n_Mount::Wall, 720, 720);
    tHalf.m_dRotation = 45.0;
    ExpectNear(DotLandsAt(tHalf, {0.75, 0.5}), {0.5, 0.5}, tHalf);
}

TEST(RemapFeatures, HalfAndLatViewsPlaceDotsWhereTheGeometrySays) {
    const CLS_FisheyeGeometry geometry;
    const STRUCT_PlanePoint atPoints[] = {{0.7, 0.4}, {0.35, 0.6}, {0.5, 0.2}};
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        for (n_ViewKind eKind : {n_ViewKind::Half, n_ViewKind::Lat}) {
            const n_Space eSpace = n_ViewKind::Half == eKind ? n_Space::Half : n_Space::Lat;
            for (const STRUCT_PlanePoint& tPlane : atPoints) {
                STRUCT_Vec3 tDir{};
                ASSERT_TRUE(geometry.PlaneToDirection(tPlane, &tDir));
                STRUCT_PlanePoint tExpected{};
                if (!geometry.ToSpace(eMount, eSpace, tDir, &tExpected))
                    continue; // the southern half is not in the 180-degree view
                const STRUCT_ViewParams tParams = View(eKind, eMount, 720, 720);
                SCOPED_TRACE(testing::Message()
                             << "mount " << static_cast<int>(eMount) << " kind " << static_cast<int>(eKind)
                             << " point " << tPlane.m_dX << ", " << tPlane.m_dY);
                ExpectNear(DotLandsAt(tParams, tPlane), tExpected, tParams);
            }
        }
    }
}

TEST(RemapFeatures, PtzViewCentresItsPositionAndKeepsItsCornersWhereTheFrameSays) {
    const CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, eMount, 640, 360);
        tParams.m_iPtzX = 6500;
        tParams.m_iPtzY = 3800;
        tParams.m_iPtzZoom = 8000;
        SCOPED_TRACE(testing::Message() << "mount " << static_cast<int>(eMount));
        ExpectNear(DotLandsAt(tParams, {0.65, 0.38}), {0.5, 0.5}, tParams);
        // Half-way to the top-right corner: a quarter of the width right, a quarter of the height up.
        const STRUCT_ViewFrame tView = geometry.PtzView(eMount, {0.65, 0.38}, 0.8, 640.0 / 360.0);
        ExpectNear(DotLandsAt(tParams, PlaneOf(tView.Ray(0.5, 0.5))), {0.75, 0.25}, tParams);
        ExpectNear(DotLandsAt(tParams, PlaneOf(tView.Ray(-0.5, -0.5))), {0.25, 0.75}, tParams);
    }
}

TEST(RemapFeatures, SmallerZoomValuesNarrowThePtzView) {
    STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, n_Mount::Ceiling, 640, 360);
    tParams.m_iPtzX = 5000;
    tParams.m_iPtzY = 2500;
    tParams.m_iPtzZoom = 12000;
    const double dWide = DotLandsAt(tParams, {0.56, 0.25}).m_dX - 0.5;
    tParams.m_iPtzZoom = 4000;
    const double dNarrow = DotLandsAt(tParams, {0.56, 0.25}).m_dX - 0.5;
    EXPECT_GT(std::fabs(dNarrow), 1.5 * std::fabs(dWide));
}

TEST(RemapFeatures, FisheyeViewScalesTheAreaBoxToTheOutput) {
    // A 1600 x 1000 picture whose image circle is the 960 x 960 box at (320, 20).
    STRUCT_Picture source(1600, 1000);
    DrawDot(source, 320 + 0.5 * 960, 20 + 0.5 * 960);
    DrawDot(source, 320 + 0.8 * 960, 20 + 0.3 * 960);
    STRUCT_ViewParams tParams = View(n_ViewKind::Fisheye, n_Mount::Ceiling, 480, 480);
    tParams.m_tArea = {0.2, 0.8, 0.02, 0.98};
    STRUCT_Picture output = Render(source, tParams);
    double dX = 0.0;
    double dY = 0.0;
    ASSERT_TRUE(Centroid(output, &dX, &dY));
    EXPECT_NEAR(dX, 480 * (0.5 + 0.8) / 2.0, 1.0); // the mean of the two dots
    EXPECT_NEAR(dY, 480 * (0.5 + 0.3) / 2.0, 1.0);
}

TEST(RemapFeatures, SourceViewOfTheSameSizeCopiesThePicture) {
    STRUCT_Picture source(320, 200);
    for (std::size_t i = 0; i < source.m_vecData.size(); ++i)
        source.m_vecData[i] = static_cast<std::uint8_t>((i * 7919u) >> 3);
    const STRUCT_Picture output = Render(source, View(n_ViewKind::Source, n_Mount::Ceiling, 320, 200));
    EXPECT_EQ(output.m_vecData, source.m_vecData);
}

TEST(RemapFeatures, SourceViewScalesTheWholePicture) {
    STRUCT_Picture source(1000, 500);
    DrawDot(source, 300, 200, 4.0);
    const STRUCT_ViewParams tParams = View(n_ViewKind::Source, n_Mount::Wall, 500, 250);
    STRUCT_Picture output = Render(source, tParams);
    double dX = 0.0;
    double dY = 0.0;
    ASSERT_TRUE(Centroid(output, &dX, &dY));
    EXPECT_NEAR(dX, 150.0, 0.5);
    EXPECT_NEAR(dY, 100.0, 0.5);
}

TEST(RemapTables, AreRebuiltOnlyWhenTheViewOrTheSourceSizeChanges) {
    CLS_RemapTable table;
    STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, n_Mount::Ceiling, 64, 36);
    ASSERT_TRUE(table.Update(tParams, 256, 256));
    EXPECT_EQ(table.Builds(), 1);
    ASSERT_TRUE(table.Update(tParams, 256, 256));
    EXPECT_EQ(table.Builds(), 1);
    tParams.m_iPtzZoom = 9000;
    ASSERT_TRUE(table.Update(tParams, 256, 256));
    EXPECT_EQ(table.Builds(), 2);
    ASSERT_TRUE(table.Update(tParams, 256, 200));
    EXPECT_EQ(table.Builds(), 3);
    ASSERT_TRUE(table.Update(tParams, 256, 200));
    EXPECT_EQ(table.Builds(), 3);
    tParams.m_dRotation = 10.0;
    ASSERT_TRUE(table.Update(tParams, 256, 200));
    EXPECT_EQ(table.Builds(), 4);
    tParams.m_tArea.m_dLeft = 0.1;
    ASSERT_TRUE(table.Update(tParams, 256, 200));
    EXPECT_EQ(table.Builds(), 5);
    EXPECT_EQ(table.Params(), tParams);
    EXPECT_EQ(table.SourceWidth(), 256);
    EXPECT_EQ(table.SourceHeight(), 200);
}

TEST(RemapTables, RefuseSizesAndSetUpsTheyCannotServe) {
    CLS_RemapTable table;
    const STRUCT_ViewParams tGood = View(n_ViewKind::Panorama, n_Mount::Ceiling, 64, 16);
    ASSERT_TRUE(table.Update(tGood, 128, 128));
    EXPECT_FALSE(table.Update(tGood, 0, 128));
    EXPECT_FALSE(table.IsValid());
    EXPECT_FALSE(table.Update(tGood, 128, CLS_RemapTable::MAX_SOURCE_SIZE + 1));
    STRUCT_ViewParams tParams = tGood;
    tParams.m_iWidth = 0;
    EXPECT_FALSE(table.Update(tParams, 128, 128));
    tParams = tGood;
    tParams.m_iWidth = 100000;
    tParams.m_iHeight = 100000;
    EXPECT_FALSE(table.Update(tParams, 128, 128));
    tParams = tGood;
    tParams.m_tArea = {0.6, 0.4, 0.0, 1.0};
    EXPECT_FALSE(table.Update(tParams, 128, 128));
    tParams = tGood;
    tParams.m_dField = 0.0;
    EXPECT_FALSE(table.Update(tParams, 128, 128));
    tParams = tGood;
    tParams.m_dRotation = std::nan("");
    EXPECT_FALSE(table.Update(tParams, 128, 128));
    EXPECT_FALSE(table.IsValid());
    STRUCT_Picture source(128, 128);
    STRUCT_Picture output(64, 16, 3, 0xAB);
    EXPECT_FALSE(table.Apply(source.Image(), output.Image()));
    EXPECT_EQ(output.m_vecData, std::vector<std::uint8_t>(64 * 16 * 3, 0xAB));
    // A refused set-up is forgotten: the good one builds again.
    ASSERT_TRUE(table.Update(tGood, 128, 128));
    EXPECT_TRUE(table.Apply(source.Image(), output.Image()));
}

TEST(RemapTables, ApplyRefusesPicturesOfAnotherShape) {
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(View(n_ViewKind::Lat, n_Mount::Wall, 32, 32), 100, 100));
    STRUCT_Picture source(100, 100);
    STRUCT_Picture output(32, 32, 3, 0xAB);
    STRUCT_Picture wrongSource(100, 99);
    STRUCT_Picture wrongOutput(33, 32, 3, 0xAB);
    STRUCT_Picture rgba(32, 32, 4, 0xAB);
    EXPECT_FALSE(table.Apply(wrongSource.Image(), output.Image()));
    EXPECT_FALSE(table.Apply(source.Image(), wrongOutput.Image()));
    EXPECT_FALSE(table.Apply(source.Image(), rgba.Image()));
    fisheye::STRUCT_Image tShortStride = source.Image();
    tShortStride.m_iStride = 299;
    EXPECT_FALSE(table.Apply(tShortStride, output.Image()));
    EXPECT_EQ(output.m_vecData, std::vector<std::uint8_t>(32 * 32 * 3, 0xAB));
    EXPECT_TRUE(table.Apply(source.Image(), output.Image()));
}

TEST(RemapThreads, AnyThreadCountGivesTheSameBytes) {
    STRUCT_Picture source(512, 512, 4);
    std::uint32_t uState = 12345;
    for (std::uint8_t& uByte : source.m_vecData) {
        uState = uState * 1664525u + 1013904223u;
        uByte = static_cast<std::uint8_t>(uState >> 24);
    }
    STRUCT_ViewParams tParams = View(n_ViewKind::Panorama, n_Mount::Ceiling, 1000, 250);
    tParams.m_dRotation = 33.0;
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(tParams, 512, 512));
    STRUCT_Picture single(1000, 250, 4);
    ASSERT_TRUE(table.Apply(source.Image(), single.Image(), 1));
    for (int iThreads : {2, 3, 7, 0}) {
        STRUCT_Picture multi(1000, 250, 4, 0xAB);
        ASSERT_TRUE(table.Apply(source.Image(), multi.Image(), iThreads));
        EXPECT_EQ(multi.m_vecData, single.m_vecData) << iThreads << " threads";
    }
    // More threads than rows.
    tParams.m_iHeight = 3;
    ASSERT_TRUE(table.Update(tParams, 512, 512));
    STRUCT_Picture few(1000, 3, 4, 0xAB);
    STRUCT_Picture fewSingle(1000, 3, 4, 0xCD);
    ASSERT_TRUE(table.Apply(source.Image(), few.Image(), 16));
    ASSERT_TRUE(table.Apply(source.Image(), fewSingle.Image(), 1));
    EXPECT_EQ(few.m_vecData, fewSingle.m_vecData);
}

TEST(RemapOutside, WhatTheViewDoesNotShowIsBlack) {
    STRUCT_Picture source(256, 256, 3, 200);
    // The wall panorama's back half: the lens does not see behind itself.
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(View(n_ViewKind::Panorama, n_Mount::Wall, 400, 100), 256, 256));
    STRUCT_Picture panorama(400, 100, 3, 0xAB);
    ASSERT_TRUE(table.Apply(source.Image(), panorama.Image()));
    for (int y = 0; y < 100; ++y) {
        for (int x : {0, 50, 95, 305, 350, 399})
            ASSERT_EQ(panorama.Pixel(x, y)[0] | panorama.Pixel(x, y)[1] | panorama.Pixel(x, y)[2], 0)
                << x << ", " << y;
        for (int x : {110, 200, 290})
            ASSERT_EQ(panorama.Pixel(x, y)[1], 200) << x << ", " << y;
    }
    // The whole fisheye view's corners lie outside the image circle.
    ASSERT_TRUE(table.Update(View(n_ViewKind::Fisheye, n_Mount::Ceiling, 100, 100), 256, 256));
    STRUCT_Picture fisheyeView(100, 100, 3, 0xAB);
    ASSERT_TRUE(table.Apply(source.Image(), fisheyeView.Image()));
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(fisheyeView.Pixel(i, i)[0], 0);
        EXPECT_EQ(fisheyeView.Pixel(99 - i, i)[1], 0);
        EXPECT_EQ(fisheyeView.Pixel(i, 99 - i)[2], 0);
        EXPECT_FALSE(table.Entry(99 - i, 99 - i).m_uFlags & CLS_RemapTable::INSIDE);
    }
    EXPECT_EQ(fisheyeView.Pixel(50, 50)[0], 200);
    // A PTZ view wider than the lens near the rim: its outer corner is beyond the field.
    STRUCT_ViewParams tPtz = View(n_ViewKind::Ptz, n_Mount::Ceiling, 160, 90);
    tPtz.m_iPtzX = 9900;
    tPtz.m_iPtzY = 5000;
    tPtz.m_iPtzZoom = 15000;
    ASSERT_TRUE(table.Update(tPtz, 256, 256));
    STRUCT_Picture ptz(160, 90, 3, 0xAB);
    ASSERT_TRUE(table.Apply(source.Image(), ptz.Image()));
    int iBlack = 0;
    for (std::size_t i = 0; i < ptz.m_vecData.size(); i += 3)
        iBlack += 0 == (ptz.m_vecData[i] | ptz.m_vecData[i + 1] | ptz.m_vecData[i + 2]);
    EXPECT_GT(iBlack, 160 * 90 / 10);
    EXPECT_EQ(ptz.Pixel(80, 45)[0], 200);
}

TEST(RemapChannels, GreyRgbAndRgbaAgreeChannelByChannel) {
    STRUCT_Picture grey(300, 300, 1);
    STRUCT_Picture rgb(300, 300, 3);
    STRUCT_Picture rgba(300, 300, 4);
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 300; ++x) {
            const std::uint8_t uValue = static_cast<std::uint8_t>((x * 3 + y * 5) ^ (x * y));
            grey.Pixel(x, y)[0] = uValue;
            for (int c = 0; c < 3; ++c)
                rgb.Pixel(x, y)[c] = static_cast<std::uint8_t>(uValue + c * 40);
            for (int c = 0; c < 4; ++c)
                rgba.Pixel(x, y)[c] = static_cast<std::uint8_t>(uValue + c * 40);
        }
    }
    STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, n_Mount::Floor, 120, 80);
    tParams.m_iPtzX = 3000;
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(tParams, 300, 300));
    STRUCT_Picture outGrey(120, 80, 1);
    STRUCT_Picture outRgb(120, 80, 3);
    STRUCT_Picture outRgba(120, 80, 4);
    ASSERT_TRUE(table.Apply(grey.Image(), outGrey.Image()));
    ASSERT_TRUE(table.Apply(rgb.Image(), outRgb.Image()));
    ASSERT_TRUE(table.Apply(rgba.Image(), outRgba.Image()));
    for (int y = 0; y < 80; ++y) {
        for (int x = 0; x < 120; ++x) {
            ASSERT_EQ(outRgb.Pixel(x, y)[0], outGrey.Pixel(x, y)[0]);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(outRgba.Pixel(x, y)[c], outRgb.Pixel(x, y)[c]);
        }
    }
}

TEST(RemapInterpolation, BlendsTheFourNeighboursBilinearly) {
    // A 2 x 2 picture stretched to 4 x 4: the inner samples fall a quarter pixel off the centres.
    STRUCT_Picture source(2, 2, 1);
    source.m_vecData = {0, 100, 200, 40};
    STRUCT_Picture output = Render(source, View(n_ViewKind::Source, n_Mount::Ceiling, 4, 4));
    // Output (1, 1) samples (0.25, 0.25) past pixel (0, 0): 0.5625*0 + 0.1875*100 + 0.1875*200 + 0.0625*40.
    EXPECT_EQ(output.Pixel(1, 1)[0], 59);
    // Output (0, 0) is clamped onto pixel (0, 0); (3, 3) onto pixel (1, 1).
    EXPECT_EQ(output.Pixel(0, 0)[0], 0);
    EXPECT_EQ(output.Pixel(3, 3)[0], 40);
    EXPECT_EQ(output.Pixel(3, 0)[0], 100);
    EXPECT_EQ(output.Pixel(0, 3)[0], 200);
}
