// The remap tables' interpolation grid: where it stands for the exact entries, the views differ from
// the exact tables' by less than the eye sees (PSNR of at least 50 dB for every view kind and mount,
// RGB and from the planes); every kernel makes the entries that Entry() gives; the grid covers
// smooth views and leaves what it cannot follow (the image circle's rim, the source's border)
// exact; and the setting rebuilds the table.
#include "DewarpTestSupport.h"
#include "YuvRemap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

using namespace fisheye;
using namespace dewarptest;

namespace {

constexpr double MIN_PSNR = 50.0;

// A fisheye scene with smooth and sharp parts: colour rings and spokes, and a chequerboard of
// 16-pixel squares over half of it (edges from black to white, the worst case for a position
// error).
STRUCT_Picture Scene(int _iSize) {
    STRUCT_Picture picture(_iSize, _iSize);
    const double dHalf = _iSize / 2.0;
    for (int y = 0; y < _iSize; ++y)
        for (int x = 0; x < _iSize; ++x) {
            const double dX = x + 0.5 - dHalf;
            const double dY = y + 0.5 - dHalf;
            const double dR = std::hypot(dX, dY) / dHalf;
            std::uint8_t* p = picture.Pixel(x, y);
            if (dY > 0) {
                p[0] = p[1] = p[2] = ((x / 16 + y / 16) % 2) ? 255 : 0;
                continue;
            }
            const double dA = std::atan2(dY, dX);
            p[0] = static_cast<std::uint8_t>(127.5 + 127.5 * std::sin(dR * 40.0));
            p[1] = static_cast<std::uint8_t>(127.5 + 127.5 * std::sin(dA * 12.0));
            p[2] = static_cast<std::uint8_t>(std::min(255.0, 255.0 * dR));
        }
    return picture;
}

double Psnr(const std::vector<std::uint8_t>& _vecA, const std::vector<std::uint8_t>& _vecB) {
    double dSum = 0.0;
    for (std::size_t i = 0; i < _vecA.size(); ++i) {
        const double d = static_cast<double>(_vecA[i]) - _vecB[i];
        dSum += d * d;
    }
    if (dSum == 0.0)
        return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(_vecA.size()) / dSum);
}

// Every view kind with every mount, at three output sizes.
std::vector<STRUCT_ViewParams> AllViews() {
    std::vector<STRUCT_ViewParams> vecViews;
    for (n_Mount eMount : {n_Mount::Ceiling, n_Mount::Wall, n_Mount::Floor})
        for (n_ViewKind eKind : {n_ViewKind::Source, n_ViewKind::Fisheye, n_ViewKind::Ptz, n_ViewKind::Half,
                                 n_ViewKind::Panorama, n_ViewKind::Lat})
            // The last size ends its rows inside a cell.
            for (const std::pair<int, int>& tSize :
                 {std::make_pair(640, 360), std::make_pair(1000, 250), std::make_pair(333, 77)}) {
                STRUCT_ViewParams tParams = View(eKind, eMount, tSize.first, tSize.second);
                if (n_ViewKind::Ptz == eKind) {
                    // Looking sideways near the rim, narrowed.
                    tParams.m_iPtzX = 2500;
                    tParams.m_iPtzY = 6000;
                    tParams.m_iPtzZoom = 14000;
                }
                tParams.m_dRotation = 30.0;
                vecViews.push_back(tParams);
            }
    // A wide PTZ view along the lens's axis.
    vecViews.push_back(View(n_ViewKind::Ptz, n_Mount::Wall, 1280, 720));
    return vecViews;
}

std::string Describe(const STRUCT_ViewParams& _tParams) {
    return "view kind " + std::to_string(static_cast<int>(_tParams.m_eKind)) + ", mount " +
           std::to_string(static_cast<int>(_tParams.m_eMount)) + ", " + std::to_string(_tParams.m_iWidth) +
           " x " + std::to_string(_tParams.m_iHeight);
}

} // namespace

TEST(RemapGrid, ViewsStayAbove50DbOfTheExactTables) {
    STRUCT_Picture source = Scene(1024);
    double dShare = 0.0;
    int iViews = 0;
    for (const STRUCT_ViewParams& tParams : AllViews()) {
        SCOPED_TRACE(Describe(tParams));
        CLS_RemapTable grid;
        CLS_RemapTable exact;
        exact.SetInterpolation(false);
        ASSERT_TRUE(grid.Update(tParams, 1024, 1024));
        ASSERT_TRUE(exact.Update(tParams, 1024, 1024));
        STRUCT_Picture fromGrid(tParams.m_iWidth, tParams.m_iHeight);
        STRUCT_Picture fromExact(tParams.m_iWidth, tParams.m_iHeight);
        ASSERT_TRUE(grid.Apply(source.Image(), fromGrid.Image(), 2));
        ASSERT_TRUE(exact.Apply(source.Image(), fromExact.Image(), 2));
        EXPECT_GE(Psnr(fromGrid.m_vecData, fromExact.m_vecData), MIN_PSNR);
        dShare += grid.InterpolatedShare();
        ++iViews;
    }
    // The comparison means something only where the grid stands in for much of the table (the
    // panoramas, which shrink the source, keep most of their entries exact).
    EXPECT_GT(dShare / iViews, 0.4);
}

TEST(RemapGrid, PlanesStayAbove50DbOfTheExactTables) {
    constexpr int SIZE = 1024;
    STRUCT_Picture scene = Scene(SIZE);
    // The scene's green as luma, its red and blue at half resolution as chroma.
    std::vector<std::uint8_t> vecY(SIZE * SIZE), vecU(SIZE * SIZE / 4), vecV(SIZE * SIZE / 4);
    for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x) {
            vecY[static_cast<std::size_t>(y) * SIZE + x] = scene.Pixel(x, y)[1];
            if (x % 2 == 0 && y % 2 == 0) {
                vecU[static_cast<std::size_t>(y / 2) * (SIZE / 2) + x / 2] = scene.Pixel(x, y)[0];
                vecV[static_cast<std::size_t>(y / 2) * (SIZE / 2) + x / 2] = scene.Pixel(x, y)[2];
            }
        }
    STRUCT_YuvImage tImage;
    tImage.m_apcPlane[0] = vecY.data();
    tImage.m_apcPlane[1] = vecU.data();
    tImage.m_apcPlane[2] = vecV.data();
    tImage.m_aiStride[0] = SIZE;
    tImage.m_aiStride[1] = tImage.m_aiStride[2] = SIZE / 2;
    tImage.m_iWidth = tImage.m_iHeight = SIZE;
    for (const STRUCT_ViewParams& tParams : AllViews()) {
        SCOPED_TRACE(Describe(tParams));
        CLS_YuvRemap grid;
        ASSERT_TRUE(grid.Update(tParams, SIZE, SIZE, n_YuvLayout::I420));
        // Tables made while the default is off are exact; the default goes back at once.
        CLS_RemapTable::SetDefaultInterpolation(false);
        CLS_YuvRemap exact;
        CLS_RemapTable::SetDefaultInterpolation(true);
        ASSERT_TRUE(exact.Update(tParams, SIZE, SIZE, n_YuvLayout::I420));
        ASSERT_EQ(exact.Luma().InterpolatedShare(), 0.0);
        const int iStride = tParams.m_iWidth * 3;
        std::vector<std::uint8_t> vecGrid(static_cast<std::size_t>(iStride) * tParams.m_iHeight);
        std::vector<std::uint8_t> vecExact(vecGrid.size());
        ASSERT_TRUE(grid.Apply(tImage, vecGrid.data(), iStride, n_PixelOrder::Rgb24, 2));
        ASSERT_TRUE(exact.Apply(tImage, vecExact.data(), iStride, n_PixelOrder::Rgb24, 2));
        EXPECT_GE(Psnr(vecGrid, vecExact), MIN_PSNR);
    }
}

TEST(RemapGrid, EveryKernelMakesTheEntriesOfTheTable) {
    std::vector<n_RemapKernel> vecKernels = VectorKernels();
    vecKernels.push_back(n_RemapKernel::Scalar);
    for (const STRUCT_ViewParams& tParams : AllViews()) {
        CLS_RemapTable table;
        ASSERT_TRUE(table.Update(tParams, 1024, 1024));
        const int iWidth = tParams.m_iWidth;
        // Spans from every cell boundary the renderers use, whole and ending inside a cell.
        const int aaiSpans[][2] = {{0, iWidth}, {8, iWidth - 8}, {16, 13}, {iWidth / 16 * 8, iWidth / 2 - 3}};
        for (n_RemapKernel eKernel : vecKernels)
            for (int y = 0; y < tParams.m_iHeight; y += 7)
                for (const auto& aiSpan : aaiSpans) {
                    std::vector<STRUCT_RemapEntry> vecBuffer(static_cast<std::size_t>(aiSpan[1]));
                    const STRUCT_RemapEntry* pRow =
                        table.Row(aiSpan[0], y, aiSpan[1], vecBuffer.data(), eKernel);
                    ASSERT_EQ(0, std::memcmp(pRow, &table.Entry(aiSpan[0], y),
                                             sizeof(STRUCT_RemapEntry) * aiSpan[1]))
                        << Describe(tParams) << ", kernel " << static_cast<int>(eKernel) << ", row " << y
                        << ", pixels " << aiSpan[0] << " + " << aiSpan[1];
                }
    }
}

TEST(RemapGrid, CoversSmoothViewsAndLeavesTheRimAndTheBorderExact) {
    // A PTZ view along the lens's axis is smooth all over.
    CLS_RemapTable ptz;
    ASSERT_TRUE(ptz.Update(View(n_ViewKind::Ptz, n_Mount::Wall, 1280, 720), 1920, 1920));
    EXPECT_GT(ptz.InterpolatedShare(), 0.95);
    // The fisheye view: black outside the image circle, and the grid never paints it.
    CLS_RemapTable fisheye;
    ASSERT_TRUE(fisheye.Update(View(n_ViewKind::Fisheye, n_Mount::Ceiling, 400, 400), 1000, 1000));
    EXPECT_GT(fisheye.InterpolatedShare(), 0.5);
    EXPECT_LT(fisheye.InterpolatedShare(), 1.0);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(fisheye.Entry(i, i).m_uFlags & CLS_RemapTable::INSIDE, 0) << "pixel " << i;
        EXPECT_EQ(fisheye.Entry(399 - i, i).m_uFlags & CLS_RemapTable::INSIDE, 0) << "pixel " << i;
    }
    // The source view of the same size: its last column has no right neighbour, which only an
    // exact entry says.
    CLS_RemapTable source;
    ASSERT_TRUE(source.Update(View(n_ViewKind::Source, n_Mount::Ceiling, 64, 64), 64, 64));
    for (int y = 0; y < 64; ++y)
        EXPECT_EQ(source.Entry(63, y).m_uFlags & CLS_RemapTable::STEP_X, 0) << "row " << y;
}

TEST(RemapGrid, TheSettingRebuildsAndExactTablesAreReadAsTheyAre) {
    const STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, n_Mount::Wall, 1280, 720);
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(tParams, 1024, 1024));
    EXPECT_GT(table.InterpolatedShare(), 0.9);
    table.SetInterpolation(false);
    ASSERT_TRUE(table.Update(tParams, 1024, 1024));
    EXPECT_EQ(table.Builds(), 2);
    EXPECT_EQ(table.InterpolatedShare(), 0.0);
    STRUCT_RemapEntry atBuffer[64];
    EXPECT_EQ(table.Row(64, 10, 64, atBuffer), &table.Entry(64, 10));
    ASSERT_TRUE(table.Update(tParams, 1024, 1024));
    EXPECT_EQ(table.Builds(), 2);
}
