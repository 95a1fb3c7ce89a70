// The render targets (surface, null), the renderers drawing into their buffers in each pixel
// format, and the decoder's pictures that keep their planes.
#include "EngineTest.h"
#include "RenderTarget.h"
#include "StreamDecoder.h"
#include "ViewRenderer.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using korvane::n_PixelFormat;
using korvane::STRUCT_TargetBuffer;

// A picture whose every byte differs from its neighbours, so that any misplaced byte shows.
korvane::Frame Gradient(int _iWidth, int _iHeight) {
    korvane::Frame tFrame;
    tFrame.m_iWidth = _iWidth;
    tFrame.m_iHeight = _iHeight;
    tFrame.m_vecRgb.resize(static_cast<size_t>(_iWidth) * _iHeight * 3);
    for (size_t i = 0; i < tFrame.m_vecRgb.size(); ++i)
        tFrame.m_vecRgb[i] = static_cast<std::uint8_t>(i * 7 + i / 3);
    return tFrame;
}

// A buffer of _iWidth x _iHeight in _eFormat whose rows carry _iPad bytes more than the pixels,
// all set to 0xAB so that bytes written outside the pixels show.
struct PaddedBuffer {
    PaddedBuffer(int _iWidth, int _iHeight, n_PixelFormat _eFormat, int _iPad)
        : m_vecBytes(static_cast<size_t>(_iWidth * korvane::BytesPerPixel(_eFormat) + _iPad) * _iHeight,
                     0xAB) {
        m_tBuffer = {m_vecBytes.data(), _iWidth, _iHeight, _iWidth * korvane::BytesPerPixel(_eFormat) + _iPad,
                     _eFormat};
    }
    // The pixel at (x, y) as RGB; for BGRX also checks that the fourth byte is 0.
    std::vector<int> Rgb(int _iX, int _iY) const {
        const std::uint8_t* pc = m_vecBytes.data() + static_cast<size_t>(_iY) * m_tBuffer.m_iStride +
                                 static_cast<size_t>(_iX) * korvane::BytesPerPixel(m_tBuffer.m_eFormat);
        if (n_PixelFormat::Bgrx32 == m_tBuffer.m_eFormat) {
            EXPECT_EQ(pc[3], 0) << _iX << "," << _iY;
            return {pc[2], pc[1], pc[0]};
        }
        return {pc[0], pc[1], pc[2]};
    }
    // Whether every padding byte is still 0xAB.
    bool PaddingUntouched() const {
        const int iPixels = m_tBuffer.m_iWidth * korvane::BytesPerPixel(m_tBuffer.m_eFormat);
        for (int y = 0; y < m_tBuffer.m_iHeight; ++y)
            for (int x = iPixels; x < m_tBuffer.m_iStride; ++x)
                if (m_vecBytes[static_cast<size_t>(y) * m_tBuffer.m_iStride + x] != 0xAB)
                    return false;
        return true;
    }
    std::vector<std::uint8_t> m_vecBytes;
    STRUCT_TargetBuffer m_tBuffer;
};

std::vector<int> SourceRgb(const korvane::Frame& _tFrame, int _iX, int _iY) {
    const std::uint8_t* pc =
        _tFrame.m_vecRgb.data() + (static_cast<size_t>(_iY) * _tFrame.m_iWidth + _iX) * 3;
    return {pc[0], pc[1], pc[2]};
}

} // namespace

TEST(EngineRenderer, TheCopyRendererScalesIntoEveryFormat) {
    const korvane::Frame tSource = Gradient(2, 2);
    for (n_PixelFormat eFormat : {n_PixelFormat::Rgb24, n_PixelFormat::Bgrx32}) {
        korvane::CLS_CopyRenderer tRenderer;
        PaddedBuffer tBig(4, 4, eFormat, 5);
        tRenderer.Render(tSource, korvane::ViewParams{}, tBig.m_tBuffer);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                EXPECT_EQ(tBig.Rgb(x, y), SourceRgb(tSource, x / 2, y / 2)) << x << "," << y;
        EXPECT_TRUE(tBig.PaddingUntouched());
        PaddedBuffer tSmall(1, 1, eFormat, 0);
        tRenderer.Render(tSource, korvane::ViewParams{}, tSmall.m_tBuffer);
        EXPECT_EQ(tSmall.Rgb(0, 0), SourceRgb(tSource, 0, 0));
        // The same width: rows copied whole.
        PaddedBuffer tSame(2, 1, eFormat, 3);
        tRenderer.Render(tSource, korvane::ViewParams{}, tSame.m_tBuffer);
        EXPECT_EQ(tSame.Rgb(1, 0), SourceRgb(tSource, 1, 0));
        EXPECT_TRUE(tSame.PaddingUntouched());
    }
}

TEST(EngineRenderer, TheDewarpRendererGivesTheSamePixelsInEveryFormat) {
    const korvane::Frame tSource = Gradient(96, 80);
    for (int iKind : {korvane::n_ViewKind_PTZ, korvane::n_ViewKind_360, korvane::n_ViewKind_Source}) {
        korvane::ViewParams tParams;
        tParams.m_iKind = iKind;
        tParams.m_iMountMode = 2;
        korvane::CLS_DewarpRenderer tRgbRenderer;
        korvane::CLS_DewarpRenderer tBgrxRenderer;
        // Padded rows first, then a second picture of another size: nothing stale is reused.
        for (const auto& tSize : {std::vector<int>{50, 30, 7}, std::vector<int>{20, 10, 0}}) {
            PaddedBuffer tRgb(tSize[0], tSize[1], n_PixelFormat::Rgb24, tSize[2]);
            PaddedBuffer tBgrx(tSize[0], tSize[1], n_PixelFormat::Bgrx32, tSize[2] / 2);
            tRgbRenderer.Render(tSource, tParams, tRgb.m_tBuffer);
            tBgrxRenderer.Render(tSource, tParams, tBgrx.m_tBuffer);
            for (int y = 0; y < tSize[1]; ++y)
                for (int x = 0; x < tSize[0]; ++x)
                    ASSERT_EQ(tRgb.Rgb(x, y), tBgrx.Rgb(x, y)) << iKind << ": " << x << "," << y;
            EXPECT_TRUE(tRgb.PaddingUntouched());
            EXPECT_TRUE(tBgrx.PaddingUntouched());
        }
    }
}

TEST(EngineTargets, ASurfaceHandsOutItsPixelsAndCountsPictures) {
    korvane::CLS_SurfaceTarget tSurface(3, 2);
    EXPECT_EQ(tSurface.Width(), 3);
    EXPECT_EQ(tSurface.Height(), 2);
    EXPECT_TRUE(tSurface.IsAlive());
    STRUCT_TargetBuffer tSeen;
    EXPECT_TRUE(tSurface.Draw([&tSeen](const STRUCT_TargetBuffer& _tBuffer) {
        tSeen = _tBuffer;
        for (int i = 0; i < 18; ++i)
            _tBuffer.m_pData[i] = static_cast<std::uint8_t>(i + 1);
    }));
    EXPECT_EQ(tSeen.m_iWidth, 3);
    EXPECT_EQ(tSeen.m_iHeight, 2);
    EXPECT_EQ(tSeen.m_iStride, 9);
    EXPECT_EQ(tSeen.m_eFormat, n_PixelFormat::Rgb24);
    const int iPresented = tSurface.Read([](const std::vector<std::uint8_t>& _vecRgb, int _iPresented) {
        EXPECT_EQ(_vecRgb.size(), 18u);
        for (int i = 0; i < 18; ++i)
            EXPECT_EQ(_vecRgb[static_cast<size_t>(i)], i + 1);
        return _iPresented;
    });
    EXPECT_EQ(iPresented, 1);
    tSurface.Destroy();
    EXPECT_FALSE(tSurface.IsAlive());
}

namespace {

// Counts its pictures and paints every byte with the count.
class CountingRenderer : public korvane::CLS_ViewRenderer {
public:
    void Render(const korvane::Frame&, const korvane::ViewParams&,
                const STRUCT_TargetBuffer& _tDst) override {
        ++m_iCalls;
        for (int y = 0; y < _tDst.m_iHeight; ++y)
            std::fill_n(_tDst.m_pData + static_cast<size_t>(y) * _tDst.m_iStride,
                        _tDst.m_iWidth * korvane::BytesPerPixel(_tDst.m_eFormat),
                        static_cast<std::uint8_t>(m_iCalls));
    }
    int m_iCalls = 0;
};

} // namespace

TEST(EngineTargets, AViewIsDrawnByItsRendererIntoTheTargetsBuffer) {
    CountingRenderer tRenderer;
    korvane::CLS_SurfaceTarget tSurface(4, 3);
    EXPECT_TRUE(tSurface.DrawView(Gradient(2, 2), korvane::ViewParams{}, tRenderer));
    EXPECT_TRUE(tSurface.DrawView(Gradient(2, 2), korvane::ViewParams{}, tRenderer));
    EXPECT_EQ(tRenderer.m_iCalls, 2);
    tSurface.Read([](const std::vector<std::uint8_t>& _vecRgb, int _iPresented) {
        EXPECT_EQ(_iPresented, 2);
        EXPECT_EQ(_vecRgb, std::vector<std::uint8_t>(4 * 3 * 3, 2));
        return 0;
    });
    // A target that shows nothing costs no rendering.
    korvane::CLS_NullTarget tNowhere;
    EXPECT_FALSE(tNowhere.DrawView(Gradient(2, 2), korvane::ViewParams{}, tRenderer));
    EXPECT_EQ(tRenderer.m_iCalls, 2);
}

TEST(EngineTargets, ANullTargetOfNoSizeRefusesEveryPicture) {
    korvane::CLS_NullTarget tNowhere;
    bool blCalled = false;
    EXPECT_FALSE(tNowhere.Draw([&blCalled](const STRUCT_TargetBuffer&) { blCalled = true; }));
    EXPECT_FALSE(blCalled);
    EXPECT_EQ(tNowhere.Presented(), 0);
    EXPECT_TRUE(tNowhere.IsAlive());
    korvane::CLS_NullTarget tZeroWide(0, 10, n_PixelFormat::Rgb24);
    EXPECT_FALSE(tZeroWide.Draw([&blCalled](const STRUCT_TargetBuffer&) { blCalled = true; }));
    EXPECT_FALSE(blCalled);
}

TEST(EngineTargets, ASizedNullTargetHandsOutABufferOfItsFormat) {
    korvane::CLS_NullTarget tTarget(5, 4, n_PixelFormat::Bgrx32);
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(tTarget.Draw([](const STRUCT_TargetBuffer& _tBuffer) {
            EXPECT_NE(_tBuffer.m_pData, nullptr);
            EXPECT_EQ(_tBuffer.m_iWidth, 5);
            EXPECT_EQ(_tBuffer.m_iHeight, 4);
            EXPECT_EQ(_tBuffer.m_iStride, 20);
            EXPECT_EQ(_tBuffer.m_eFormat, n_PixelFormat::Bgrx32);
            _tBuffer.m_pData[5 * 4 * 4 - 1] = 1; // the whole buffer is writable
        }));
    EXPECT_EQ(tTarget.Presented(), 2);
}

namespace {

struct STRUCT_DecodedCase {
    const char* m_pcEncoder;
    AVPixelFormat m_eFormat;
    bool m_blPlanes;
    fisheye::n_YuvLayout m_eLayout;
    bool m_blFullRange;
};

double Psnr(const std::vector<std::uint8_t>& _vecA, const std::vector<std::uint8_t>& _vecB) {
    double dSum = 0.0;
    for (size_t i = 0; i < _vecA.size(); ++i)
        dSum += (static_cast<double>(_vecA[i]) - _vecB[i]) * (static_cast<double>(_vecA[i]) - _vecB[i]);
    return dSum == 0.0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(_vecA.size()) / dSum);
}

} // namespace

TEST(EngineDecoder, PicturesKeepTheDecodersPlanesWhereTheRenderersReadThem) {
    const STRUCT_DecodedCase atCases[] = {
        {"libx264", AV_PIX_FMT_YUV420P, true, fisheye::n_YuvLayout::I420, false},
        {"mjpeg", AV_PIX_FMT_YUVJ420P, true, fisheye::n_YuvLayout::I420, true},
        {"mjpeg", AV_PIX_FMT_YUVJ422P, true, fisheye::n_YuvLayout::I422, true},
        {"libx264", AV_PIX_FMT_YUV422P, true, fisheye::n_YuvLayout::I422, false},
        // A layout the renderers do not read: converted to RGB as it is decoded.
        {"libx264", AV_PIX_FMT_YUV444P, false, fisheye::n_YuvLayout::I420, false},
    };
    for (const STRUCT_DecodedCase& tCase : atCases) {
        SCOPED_TRACE(testing::Message() << tCase.m_pcEncoder << " " << av_get_pix_fmt_name(tCase.m_eFormat));
        std::vector<std::uint8_t> vecStream =
            MakeStream(tCase.m_pcEncoder, TEST_WIDTH, TEST_HEIGHT, 3, TEST_DISC, tCase.m_eFormat);
        ASSERT_FALSE(vecStream.empty());
        korvane::CLS_StreamDecoder tDecoder;
        int iPictures = 0;
        korvane::Frame tKept;
        tDecoder.Feed(vecStream.data(), vecStream.size(), [&](const korvane::Frame& _tFrame) {
            ++iPictures;
            EXPECT_EQ(_tFrame.m_iWidth, TEST_WIDTH);
            EXPECT_EQ(_tFrame.m_iHeight, TEST_HEIGHT);
            EXPECT_EQ(_tFrame.HasPlanes(), tCase.m_blPlanes);
            if (_tFrame.HasPlanes()) {
                EXPECT_EQ(_tFrame.m_tPlanes.m_eLayout, tCase.m_eLayout);
                EXPECT_EQ(_tFrame.m_tPlanes.m_blFullRange, tCase.m_blFullRange);
                EXPECT_TRUE(_tFrame.m_vecRgb.empty());
            } else {
                EXPECT_EQ(_tFrame.m_vecRgb.size(), static_cast<size_t>(TEST_WIDTH) * TEST_HEIGHT * 3);
            }
            tKept = _tFrame; // outlives the decoder's next picture
            return true;
        });
        EXPECT_GE(iPictures, 1);
        // A view from the planes against the same view from the picture converted whole.
        std::vector<std::uint8_t> vecRgb;
        ASSERT_TRUE(korvane::PictureRgb(tKept, &vecRgb));
        ASSERT_EQ(vecRgb.size(), static_cast<size_t>(TEST_WIDTH) * TEST_HEIGHT * 3);
        korvane::Frame tConverted;
        tConverted.m_iWidth = TEST_WIDTH;
        tConverted.m_iHeight = TEST_HEIGHT;
        tConverted.m_vecRgb = vecRgb;
        for (int iKind : {korvane::n_ViewKind_PTZ, korvane::n_ViewKind_360, korvane::n_ViewKind_Source}) {
            korvane::ViewParams tParams;
            tParams.m_iKind = iKind;
            tParams.m_iMountMode = 2;
            PaddedBuffer tFromPlanes(120, 90, n_PixelFormat::Rgb24, 0);
            PaddedBuffer tFromRgb(120, 90, n_PixelFormat::Rgb24, 0);
            korvane::CLS_DewarpRenderer().Render(tKept, tParams, tFromPlanes.m_tBuffer);
            korvane::CLS_DewarpRenderer().Render(tConverted, tParams, tFromRgb.m_tBuffer);
            EXPECT_GT(Psnr(tFromPlanes.m_vecBytes, tFromRgb.m_vecBytes), 45.0) << "view kind " << iKind;
        }
    }
}
