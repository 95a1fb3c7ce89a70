// The GL renderer against the CPU renderer: the shader's source positions against the shared
// fisheye geometry for every view kind and mount, pictures of every kind, layout and range
// (PSNR at least 40 dB), a PTZ move and a picture size change in a decoded stream, and the choice
// of renderer and the fallback to the CPU renderer (each run by CTest in its own environment).
#include "GlTestSupport.h"
#include "RendererChoice.h"
#include "StreamDecoder.h"
#include "StreamMaker.h"
#include "dewarp/Dewarp.h"
#include "gl/GlRenderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

using namespace korvane;
using namespace gltest;

namespace {

constexpr std::uint32_t NOTHING_SHOWN = 65535;

// The view drawn by GL (an empty result when GL did not draw it, with the reason in *_pstrWhy).
std::vector<std::uint8_t> RenderGl(const Frame& _tFrame, const ViewParams& _tParams, n_PixelFormat _eFormat,
                                   std::string* _pstrWhy, int _iWidth = VIEW_WIDTH,
                                   int _iHeight = VIEW_HEIGHT) {
    std::vector<std::uint8_t> vec(static_cast<size_t>(_iWidth) * _iHeight * BytesPerPixel(_eFormat), 7);
    const n_GlOutput eOutput = n_PixelFormat::Bgrx32 == _eFormat ? n_GlOutput_Bgrx : n_GlOutput_Rgba;
    if (GlDrawView(_tFrame, DewarpParams(_tParams, _iWidth, _iHeight),
                   {vec.data(), _iWidth, _iHeight, _iWidth * BytesPerPixel(_eFormat), _eFormat}, eOutput,
                   _pstrWhy) != n_GlResult::Drawn)
        vec.clear();
    return vec;
}

TEST(GlGeometry, SourcePositionsMatchTheCpuGeometryForEveryKindAndMount) {
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 320, 240, false);
    for (const gltest::STRUCT_Case& tCase : gltest::ViewCases()) {
        for (const std::pair<int, int>& tSize :
             {std::make_pair(VIEW_WIDTH, VIEW_HEIGHT), std::make_pair(50, 70)}) {
            const int iWidth = tSize.first;
            const int iHeight = tSize.second;
            const fisheye::STRUCT_ViewParams tView = DewarpParams(tCase.m_tParams, iWidth, iHeight);
            std::vector<std::uint8_t> vecOut(static_cast<size_t>(iWidth) * iHeight * 4);
            std::string strWhy;
            ASSERT_EQ(GlDrawView(tFrame, tView,
                                 {vecOut.data(), iWidth, iHeight, iWidth * 4, n_PixelFormat::Bgrx32},
                                 n_GlOutput_Position, &strWhy),
                      n_GlResult::Drawn)
                << strWhy;
            fisheye::CLS_FisheyeGeometry geometry;
            ASSERT_TRUE(geometry.SetLens(tView.m_dField, 1.0));
            const fisheye::STRUCT_ViewFrame tPtz =
                geometry.PtzView(tView.m_eMount, {tView.m_iPtzX / 10000.0, tView.m_iPtzY / 10000.0},
                                 tView.m_iPtzZoom / 10000.0, static_cast<double>(iWidth) / iHeight);
            int iDisagree = 0;
            int iInside = 0;
            double dWorst = 0.0;
            for (int y = 0; y < iHeight; ++y)
                for (int x = 0; x < iWidth; ++x) {
                    fisheye::STRUCT_PlanePoint tSource{};
                    const bool blCpu = fisheye::CLS_RemapTable::SourcePosition(geometry, tView, tPtz, x + 0.5,
                                                                               y + 0.5, &tSource);
                    const std::uint8_t* pc = vecOut.data() + (static_cast<size_t>(y) * iWidth + x) * 4;
                    const std::uint32_t uX = (pc[0] << 8) | pc[1];
                    const std::uint32_t uY = (pc[2] << 8) | pc[3];
                    const bool blGl = uX != NOTHING_SHOWN;
                    if (blCpu != blGl) {
                        ++iDisagree;
                        continue;
                    }
                    if (!blCpu)
                        continue;
                    ++iInside;
                    dWorst = std::max({dWorst, std::fabs(uX / 65534.0 - std::clamp(tSource.m_dX, 0.0, 1.0)),
                                       std::fabs(uY / 65534.0 - std::clamp(tSource.m_dY, 0.0, 1.0))});
                }
            const std::string strWhere =
                tCase.m_strName + " " + std::to_string(iWidth) + "x" + std::to_string(iHeight);
            // Only pixels on the rim of what a view shows may fall on either side (none on llvmpipe).
            EXPECT_LE(iDisagree, iWidth * iHeight / 200) << strWhere;
            EXPECT_GE(iInside, iWidth * iHeight / 4) << strWhere;
            // 5e-5 of the source picture, a sixtieth of a pixel at 320 pixels: single precision and
            // the 16-bit output (8e-6 on Mesa's llvmpipe) with room for a GPU's own arithmetic.
            EXPECT_LT(dWorst, 5e-5) << strWhere;
        }
    }
}

TEST(GlRenderer, EveryViewKindMatchesTheCpuRenderer) {
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 320, 240, false);
    for (const gltest::STRUCT_Case& tCase : gltest::ViewCases())
        for (n_PixelFormat eFormat : {n_PixelFormat::Rgb24, n_PixelFormat::Bgrx32}) {
            std::string strWhy;
            const std::vector<std::uint8_t> vecGl = RenderGl(tFrame, tCase.m_tParams, eFormat, &strWhy);
            ASSERT_FALSE(vecGl.empty()) << strWhy;
            EXPECT_GE(Psnr(vecGl, RenderCpu(tFrame, tCase.m_tParams, eFormat)), MIN_PSNR)
                << tCase.m_strName << (n_PixelFormat::Bgrx32 == eFormat ? " BGRX" : " RGB");
        }
}

TEST(GlRenderer, EveryPlaneLayoutAndRangeMatchesTheCpuRenderer) {
    std::vector<std::pair<std::string, Frame>> vecPictures;
    for (fisheye::n_YuvLayout eLayout :
         {fisheye::n_YuvLayout::I420, fisheye::n_YuvLayout::I422, fisheye::n_YuvLayout::Nv12})
        for (bool blFull : {false, true})
            vecPictures.emplace_back("layout " + std::to_string(static_cast<int>(eLayout)) +
                                         (blFull ? " full" : " limited"),
                                     MakePicture(eLayout, 321, 241, blFull)); // odd: chroma sizes round up
    vecPictures.emplace_back("RGB", gltest::MakeRgbPicture(321, 241));
    ViewParams tPtz;
    tPtz.m_iKind = n_ViewKind_PTZ;
    tPtz.m_iMountMode = 2;
    tPtz.m_iPtzX = 6000;
    tPtz.m_iPtzY = 3500;
    ViewParams tPanorama = tPtz;
    tPanorama.m_iKind = n_ViewKind_360;
    for (const auto& tPicture : vecPictures)
        for (const ViewParams& tParams : {tPtz, tPanorama}) {
            std::string strWhy;
            const std::vector<std::uint8_t> vecGl =
                RenderGl(tPicture.second, tParams, n_PixelFormat::Rgb24, &strWhy);
            ASSERT_FALSE(vecGl.empty()) << strWhy;
            EXPECT_GE(Psnr(vecGl, RenderCpu(tPicture.second, tParams, n_PixelFormat::Rgb24)), MIN_PSNR)
                << tPicture.first << " kind " << tParams.m_iKind;
        }
}

TEST(GlRenderer, FollowsAPtzMoveAndAMidStreamPictureSizeChange) {
    std::vector<std::uint8_t> vecStream = MakeStream("libx264", 320, 240, 4, {160, 120, 100});
    const std::vector<std::uint8_t> vecSmaller = MakeStream("libx264", 240, 176, 4, {120, 88, 80});
    ASSERT_FALSE(vecStream.empty());
    ASSERT_FALSE(vecSmaller.empty());
    vecStream.insert(vecStream.end(), vecSmaller.begin(), vecSmaller.end());
    CLS_StreamDecoder decoder;
    CLS_GlViewRenderer gl;
    std::set<std::pair<int, int>> setSizes;
    std::vector<std::uint8_t> vecLast;
    int iPictures = 0;
    int iChanged = 0;
    const auto onPicture = [&](const Frame& _tFrame) {
        ViewParams tParams;
        tParams.m_iKind = n_ViewKind_PTZ;
        tParams.m_iMountMode = 2;
        tParams.m_iPtzX = 3000 + 500 * iPictures; // moves with every picture
        tParams.m_iPtzY = 4000;
        std::vector<std::uint8_t> vecGl(static_cast<size_t>(VIEW_WIDTH) * VIEW_HEIGHT * 3);
        gl.Render(_tFrame, tParams,
                  {vecGl.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3, n_PixelFormat::Rgb24});
        EXPECT_EQ(CurrentRenderer(), n_Renderer_Gl) << "picture " << iPictures;
        EXPECT_GE(Psnr(vecGl, RenderCpu(_tFrame, tParams, n_PixelFormat::Rgb24)), MIN_PSNR)
            << "picture " << iPictures;
        iChanged += vecGl != vecLast ? 1 : 0;
        vecLast = vecGl;
        setSizes.insert({_tFrame.m_iWidth, _tFrame.m_iHeight});
        ++iPictures;
        return true;
    };
    decoder.Feed(vecStream.data(), vecStream.size(), onPicture);
    EXPECT_GE(iPictures, 6);
    EXPECT_EQ(iChanged, iPictures);
    EXPECT_EQ(setSizes, (std::set<std::pair<int, int>>{{320, 240}, {240, 176}}));
}

TEST(GlRenderer, LeavesWhatTheCpuTablesRefuseToTheCpuRenderer) {
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 64, 48, false);
    ViewParams tParams;
    tParams.m_iKind = n_ViewKind_360;
    tParams.m_fRotateAngle = std::nanf("");
    std::string strWhy;
    const std::vector<std::uint8_t> vecOut(static_cast<size_t>(VIEW_WIDTH) * VIEW_HEIGHT * 3);
    std::vector<std::uint8_t> vecGl = vecOut;
    EXPECT_EQ(GlDrawView(tFrame, DewarpParams(tParams, VIEW_WIDTH, VIEW_HEIGHT),
                         {vecGl.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3, n_PixelFormat::Rgb24},
                         n_GlOutput_Rgba, &strWhy),
              n_GlResult::NotForGl);
    CLS_GlViewRenderer gl;
    const std::string strErr = gltest::CaptureStderr([&] {
        gl.Render(tFrame, tParams,
                  {vecGl.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3, n_PixelFormat::Rgb24});
    });
    EXPECT_EQ(strErr, "");
    EXPECT_EQ(vecGl, RenderCpu(tFrame, tParams, n_PixelFormat::Rgb24));
    EXPECT_EQ(CurrentRenderer(), n_Renderer_Cpu);
}

// Run by CTest with __EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent: libglvnd finds no EGL vendor.
TEST(GlFallback, WithoutEglEveryViewIsDrawnByTheCpuRendererAfterOneLine) {
    ASSERT_STREQ(std::getenv("__EGL_VENDOR_LIBRARY_FILENAMES"), "/nonexistent");
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 160, 120, false);
    ViewParams tParams;
    tParams.m_iKind = n_ViewKind_PTZ;
    tParams.m_iMountMode = 2;
    CLS_GlViewRenderer first;
    CLS_GlViewRenderer second;
    std::vector<std::uint8_t> vecFirst(static_cast<size_t>(VIEW_WIDTH) * VIEW_HEIGHT * 3);
    std::vector<std::uint8_t> vecSecond = vecFirst;
    const STRUCT_TargetBuffer tFirst{vecFirst.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3,
                                     n_PixelFormat::Rgb24};
    const STRUCT_TargetBuffer tSecond{vecSecond.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3,
                                      n_PixelFormat::Rgb24};
    const std::string strErr = gltest::CaptureStderr([&] {
        first.Render(tFrame, tParams, tFirst);
        first.Render(tFrame, tParams, tFirst);
        second.Render(tFrame, tParams, tSecond);
    });
    EXPECT_EQ(strErr, "Korvane: GL renderer: no EGL display; views are drawn by the CPU renderer\n");
    const std::vector<std::uint8_t> vecCpu = RenderCpu(tFrame, tParams, n_PixelFormat::Rgb24);
    EXPECT_EQ(vecFirst, vecCpu);
    EXPECT_EQ(vecSecond, vecCpu);
    EXPECT_EQ(CurrentRenderer(), n_Renderer_Cpu);
    EXPECT_FALSE(GlHasGpu());
}

// The choice, each run by CTest with KORVANE_RENDERER set as the test's name says.
TEST(GlChoice, ABadValueIsLoggedOnceNamingTheAllowedOnesAndTakenAsAuto) {
    ASSERT_STREQ(std::getenv("KORVANE_RENDERER"), "vulkan");
    n_Renderer eFirst = n_Renderer_Cpu;
    const std::string strErr = gltest::CaptureStderr([&] {
        eFirst = SelectedRenderer();
        SelectedRenderer();
        CreateViewRenderer(n_ViewKind_PTZ);
    });
    EXPECT_EQ(strErr, "Korvane: KORVANE_RENDERER=\"vulkan\" is not one of gl, cpu, auto: using auto\n");
    EXPECT_EQ(eFirst, GlHasGpu() ? n_Renderer_Gl : n_Renderer_Cpu);
}

TEST(GlChoice, CpuGivesEveryViewTheDewarpingRenderer) {
    ASSERT_STREQ(std::getenv("KORVANE_RENDERER"), "cpu");
    EXPECT_EQ(SelectedRenderer(), n_Renderer_Cpu);
    EXPECT_NE(dynamic_cast<CLS_DewarpRenderer*>(CreateViewRenderer(n_ViewKind_360).get()), nullptr);
}

TEST(GlChoice, GlGivesEveryViewTheGlRenderer) {
    ASSERT_STREQ(std::getenv("KORVANE_RENDERER"), "gl");
    EXPECT_EQ(SelectedRenderer(), n_Renderer_Gl);
    EXPECT_NE(dynamic_cast<CLS_GlViewRenderer*>(CreateViewRenderer(n_ViewKind_360).get()), nullptr);
}

TEST(GlChoice, AutoTakesGlOnlyOnAGpu) {
    ASSERT_STREQ(std::getenv("KORVANE_RENDERER"), "auto");
    const std::string strErr = gltest::CaptureStderr([] { SelectedRenderer(); });
    EXPECT_EQ(strErr, "");
    EXPECT_EQ(SelectedRenderer(), GlHasGpu() ? n_Renderer_Gl : n_Renderer_Cpu);
    EXPECT_EQ(CurrentRenderer(), SelectedRenderer());
}

} // namespace
