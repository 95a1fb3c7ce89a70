// The remap from a decoder's planes: every kernel gives the portable one's bytes for every layout,
// range and output order; the conversion's known colours; flat pictures give exactly their colour;
// NV12 and planar chroma give the same picture; bad input is refused.
#include "DewarpTestSupport.h"
#include "YuvRemap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace fisheye;
using namespace dewarptest;

namespace {

// A picture in the planes of _eLayout with rows padded by _iPadding bytes, random content.
struct STRUCT_Planes {
    STRUCT_Planes(int _iWidth, int _iHeight, n_YuvLayout _eLayout, bool _blFull, int _iPadding,
                  std::uint32_t _uSeed) {
        int iChromaWidth = 0;
        int iChromaHeight = 0;
        ChromaSize(_eLayout, _iWidth, _iHeight, &iChromaWidth, &iChromaHeight);
        const bool blNv12 = n_YuvLayout::Nv12 == _eLayout;
        m_tImage.m_iWidth = _iWidth;
        m_tImage.m_iHeight = _iHeight;
        m_tImage.m_eLayout = _eLayout;
        m_tImage.m_blFullRange = _blFull;
        const int aiRowBytes[3] = {_iWidth, iChromaWidth * (blNv12 ? 2 : 1), blNv12 ? 0 : iChromaWidth};
        const int aiRows[3] = {_iHeight, iChromaHeight, iChromaHeight};
        for (int p = 0; p < 3; ++p) {
            if (aiRowBytes[p] == 0)
                continue;
            m_aiStride[p] = aiRowBytes[p] + _iPadding;
            // The last row ends the buffer: a read past it shows under the sanitizers.
            m_avecPlane[p].resize(static_cast<std::size_t>(m_aiStride[p]) * (aiRows[p] - 1) + aiRowBytes[p]);
            FillRandom(m_avecPlane[p], _uSeed + static_cast<std::uint32_t>(p));
        }
        Point();
    }
    // Points the image at the planes (again after a copy).
    void Point() {
        for (int p = 0; p < 3; ++p) {
            m_tImage.m_apcPlane[p] = m_avecPlane[p].empty() ? nullptr : m_avecPlane[p].data();
            m_tImage.m_aiStride[p] = m_aiStride[p];
        }
    }
    STRUCT_YuvImage m_tImage;
    std::vector<std::uint8_t> m_avecPlane[3];
    int m_aiStride[3] = {0, 0, 0};
};

std::vector<std::uint8_t> Render(const CLS_YuvRemap& _remap, const STRUCT_YuvImage& _image,
                                 n_PixelOrder _eOrder, int _iPadding, n_RemapKernel _eKernel,
                                 int _iThreads = 1) {
    const STRUCT_ViewParams& tParams = _remap.Luma().Params();
    const int iStride = tParams.m_iWidth * (n_PixelOrder::Bgrx32 == _eOrder ? 4 : 3) + _iPadding;
    std::vector<std::uint8_t> vecOut(static_cast<std::size_t>(iStride) * tParams.m_iHeight, 0xAB);
    EXPECT_TRUE(_remap.Apply(_image, vecOut.data(), iStride, _eOrder, _iThreads, _eKernel));
    return vecOut;
}

constexpr n_YuvLayout LAYOUTS[] = {n_YuvLayout::I420, n_YuvLayout::I422, n_YuvLayout::Nv12};
constexpr n_PixelOrder ORDERS[] = {n_PixelOrder::Rgb24, n_PixelOrder::Bgrx32};

} // namespace

TEST(RemapYuv, BlackWhiteAndGreyAreExactAndOutOfRangeValuesClamp) {
    std::uint8_t acRgb[3];
    const auto expect = [&acRgb](int _iY, int _iU, int _iV, bool _blFull, std::vector<int> _vecRgb) {
        YuvToRgb(_iY, _iU, _iV, _blFull, acRgb);
        EXPECT_EQ((std::vector<int>{acRgb[0], acRgb[1], acRgb[2]}), _vecRgb)
            << _iY << "," << _iU << "," << _iV << (_blFull ? " full" : " limited");
    };
    expect(16, 128, 128, false, {0, 0, 0});
    expect(235, 128, 128, false, {255, 255, 255});
    expect(126, 128, 128, false, {128, 128, 128});
    expect(0, 128, 128, false, {0, 0, 0});         // below black
    expect(255, 128, 128, false, {255, 255, 255}); // above white
    expect(0, 128, 128, true, {0, 0, 0});
    expect(255, 128, 128, true, {255, 255, 255});
    expect(128, 128, 128, true, {128, 128, 128});
    expect(0, 0, 0, true, {0, 135, 0});
    expect(255, 255, 255, true, {255, 121, 255});
}

TEST(RemapYuv, TheConversionIsBt601WithinOneStep) {
    // The BT.601 matrix in floating point, rounded: the fixed-point one may differ by one where a
    // value lies within 2^-14 of a half.
    int iExact = 0;
    int iAll = 0;
    for (bool blFull : {false, true})
        for (int iY = 0; iY < 256; iY += 3)
            for (int iU = 0; iU < 256; iU += 5)
                for (int iV = 0; iV < 256; iV += 7) {
                    const double dY = blFull ? iY : (iY - 16) * 255.0 / 219.0;
                    const double dScale = blFull ? 1.0 : 255.0 / 224.0;
                    const double dU = (iU - 128) * dScale;
                    const double dV = (iV - 128) * dScale;
                    const double adRgb[3] = {dY + 1.402 * dV, dY - 0.344136 * dU - 0.714136 * dV,
                                             dY + 1.772 * dU};
                    std::uint8_t acRgb[3];
                    YuvToRgb(iY, iU, iV, blFull, acRgb);
                    for (int c = 0; c < 3; ++c) {
                        const int iReference =
                            static_cast<int>(std::lround(std::clamp(adRgb[c], 0.0, 255.0)));
                        ASSERT_LE(std::abs(iReference - acRgb[c]), 1) << iY << "," << iU << "," << iV;
                        iExact += iReference == acRgb[c] ? 1 : 0;
                        ++iAll;
                    }
                }
    EXPECT_GT(iExact, iAll * 99 / 100);
}

TEST(RemapYuv, VectorKernelsGiveThePortableBytes) {
    const std::vector<n_RemapKernel> vecKernels = VectorKernels();
    if (vecKernels.empty())
        GTEST_SKIP() << "this processor runs no vectorised kernel";
    for (n_YuvLayout eLayout : LAYOUTS)
        for (bool blFull : {false, true})
            for (int iPadding : {0, 3}) {
                // An odd size: the chroma planes round up.
                STRUCT_Planes planes(97, 61, eLayout, blFull, iPadding,
                                     7u + static_cast<std::uint32_t>(eLayout));
                for (const STRUCT_ViewParams& tParams : Views(263, 9)) {
                    CLS_YuvRemap remap;
                    ASSERT_TRUE(remap.Update(tParams, 97, 61, eLayout));
                    for (n_PixelOrder eOrder : ORDERS)
                        for (n_RemapKernel eKernel : vecKernels) {
                            SCOPED_TRACE(testing::Message()
                                         << "layout " << static_cast<int>(eLayout)
                                         << (blFull ? " full" : " limited") << " padding " << iPadding
                                         << " view " << static_cast<int>(tParams.m_eKind) << " order "
                                         << static_cast<int>(eOrder));
                            ASSERT_EQ(Render(remap, planes.m_tImage, eOrder, iPadding, n_RemapKernel::Scalar),
                                      Render(remap, planes.m_tImage, eOrder, iPadding, eKernel));
                        }
                    // Threads change nothing either.
                    EXPECT_EQ(Render(remap, planes.m_tImage, n_PixelOrder::Rgb24, 0, n_RemapKernel::Best, 1),
                              Render(remap, planes.m_tImage, n_PixelOrder::Rgb24, 0, n_RemapKernel::Best, 3));
                }
            }
}

TEST(RemapYuv, AFlatPictureGivesItsColourInsideAndBlackOutside) {
    for (n_YuvLayout eLayout : LAYOUTS) {
        STRUCT_Planes planes(64, 48, eLayout, false, 2, 1u);
        std::fill(planes.m_avecPlane[0].begin(), planes.m_avecPlane[0].end(), 81);
        if (n_YuvLayout::Nv12 == eLayout) {
            for (std::size_t i = 0; i < planes.m_avecPlane[1].size(); ++i)
                planes.m_avecPlane[1][i] =
                    (i % static_cast<std::size_t>(planes.m_aiStride[1])) % 2 ? 240 : 90;
        } else {
            std::fill(planes.m_avecPlane[1].begin(), planes.m_avecPlane[1].end(), 90);
            std::fill(planes.m_avecPlane[2].begin(), planes.m_avecPlane[2].end(), 240);
        }
        std::uint8_t acRed[3];
        YuvToRgb(81, 90, 240, false, acRed);
        const std::vector<int> vecRed{acRed[0], acRed[1], acRed[2]};
        ASSERT_GT(vecRed[0], 250);
        // At the rim, where a 2 x 2 block's chroma sample falls outside: the luma without colour.
        std::uint8_t acRim[3];
        YuvToRgb(81, 128, 128, false, acRim);
        const std::vector<int> vecRim{acRim[0], acRim[1], acRim[2]};
        // The whole fisheye: black corners outside the image circle, red inside.
        CLS_YuvRemap remap;
        ASSERT_TRUE(remap.Update(View(n_ViewKind::Fisheye, n_Mount::Ceiling, 40, 40), 64, 48, eLayout));
        for (n_PixelOrder eOrder : ORDERS) {
            const int iBytes = n_PixelOrder::Bgrx32 == eOrder ? 4 : 3;
            const std::vector<std::uint8_t> vecOut =
                Render(remap, planes.m_tImage, eOrder, 0, n_RemapKernel::Best);
            int iInside = 0;
            int iRim = 0;
            for (int y = 0; y < 40; ++y)
                for (int x = 0; x < 40; ++x) {
                    const std::uint8_t* pc = vecOut.data() + (static_cast<std::size_t>(y) * 40 + x) * iBytes;
                    const int iRed = n_PixelOrder::Bgrx32 == eOrder ? pc[2] : pc[0];
                    const int iBlue = n_PixelOrder::Bgrx32 == eOrder ? pc[0] : pc[2];
                    const bool blInside = remap.Luma().Entry(x, y).m_uFlags & CLS_RemapTable::INSIDE;
                    iInside += blInside ? 1 : 0;
                    const bool blColour =
                        remap.Chroma().Entry(x / 2, y / 2).m_uFlags & CLS_RemapTable::INSIDE;
                    const std::vector<int> vecExpected = !blInside  ? std::vector<int>{0, 0, 0}
                                                         : blColour ? vecRed
                                                                    : vecRim;
                    iRim += blInside && !blColour ? 1 : 0;
                    ASSERT_EQ((std::vector<int>{iRed, pc[1], iBlue}), vecExpected) << x << "," << y;
                    if (iBytes == 4)
                        ASSERT_EQ(pc[3], 0);
                }
            EXPECT_GT(iInside, 40 * 40 / 2);
            EXPECT_LT(iRim, 40 * 4); // a thin ring at most
            EXPECT_LT(iInside, 40 * 40);
        }
    }
}

TEST(RemapYuv, InterleavedAndPlanarChromaGiveTheSamePicture) {
    STRUCT_Planes planar(90, 70, n_YuvLayout::I420, true, 0, 5u);
    STRUCT_Planes nv12(90, 70, n_YuvLayout::Nv12, true, 0, 5u);
    for (std::size_t i = 0; i < planar.m_avecPlane[1].size(); ++i) {
        nv12.m_avecPlane[1][i * 2] = planar.m_avecPlane[1][i];
        nv12.m_avecPlane[1][i * 2 + 1] = planar.m_avecPlane[2][i];
    }
    nv12.m_avecPlane[0] = planar.m_avecPlane[0];
    nv12.Point();
    for (const STRUCT_ViewParams& tParams : Views(50, 30)) {
        CLS_YuvRemap remapPlanar;
        CLS_YuvRemap remapNv12;
        ASSERT_TRUE(remapPlanar.Update(tParams, 90, 70, n_YuvLayout::I420));
        ASSERT_TRUE(remapNv12.Update(tParams, 90, 70, n_YuvLayout::Nv12));
        EXPECT_EQ(Render(remapPlanar, planar.m_tImage, n_PixelOrder::Rgb24, 0, n_RemapKernel::Best),
                  Render(remapNv12, nv12.m_tImage, n_PixelOrder::Rgb24, 0, n_RemapKernel::Best));
    }
}

TEST(RemapYuv, TheChromaTableFitsTheChromaPlanes) {
    const STRUCT_ViewParams tParams = View(n_ViewKind::Panorama, n_Mount::Ceiling, 120, 30);
    CLS_YuvRemap remap;
    ASSERT_TRUE(remap.Update(tParams, 101, 75, n_YuvLayout::I420));
    EXPECT_EQ(remap.Chroma().SourceWidth(), 51);
    EXPECT_EQ(remap.Chroma().SourceHeight(), 38);
    ASSERT_TRUE(remap.Update(tParams, 101, 75, n_YuvLayout::I422));
    EXPECT_EQ(remap.Chroma().SourceWidth(), 51);
    EXPECT_EQ(remap.Chroma().SourceHeight(), 75);
    // Unchanged view and sizes: nothing rebuilt.
    const int iBuilds = remap.Luma().Builds();
    ASSERT_TRUE(remap.Update(tParams, 101, 75, n_YuvLayout::I422));
    EXPECT_EQ(remap.Luma().Builds(), iBuilds);
}

TEST(RemapYuv, BadInputIsRefusedAndNothingWritten) {
    STRUCT_Planes planes(32, 24, n_YuvLayout::I420, false, 0, 3u);
    std::vector<std::uint8_t> vecOut(32 * 24 * 4, 0xAB);
    CLS_YuvRemap remap;
    // Before any table.
    EXPECT_FALSE(remap.Apply(planes.m_tImage, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
    // Sizes the tables refuse.
    EXPECT_FALSE(remap.Update(View(n_ViewKind::Ptz, n_Mount::Ceiling, 0, 10), 32, 24, n_YuvLayout::I420));
    EXPECT_FALSE(remap.IsValid());
    ASSERT_TRUE(remap.Update(View(n_ViewKind::Ptz, n_Mount::Ceiling, 32, 24), 32, 24, n_YuvLayout::I420));
    STRUCT_YuvImage tBad = planes.m_tImage;
    tBad.m_apcPlane[2] = nullptr;
    EXPECT_FALSE(remap.Apply(tBad, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
    tBad = planes.m_tImage;
    tBad.m_aiStride[1] = 15; // below the chroma width
    EXPECT_FALSE(remap.Apply(tBad, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
    tBad = planes.m_tImage;
    tBad.m_iWidth = 30;
    EXPECT_FALSE(remap.Apply(tBad, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
    tBad = planes.m_tImage;
    tBad.m_eLayout = n_YuvLayout::Nv12;
    EXPECT_FALSE(remap.Apply(tBad, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
    EXPECT_FALSE(remap.Apply(planes.m_tImage, vecOut.data(), 32 * 4 - 1, n_PixelOrder::Bgrx32));
    EXPECT_FALSE(remap.Apply(planes.m_tImage, nullptr, 32 * 4, n_PixelOrder::Bgrx32));
    EXPECT_TRUE(std::all_of(vecOut.begin(), vecOut.end(), [](std::uint8_t _u) { return _u == 0xAB; }));
    EXPECT_TRUE(remap.Apply(planes.m_tImage, vecOut.data(), 32 * 4, n_PixelOrder::Bgrx32));
}
