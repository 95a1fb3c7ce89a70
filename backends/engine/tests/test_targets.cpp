// The render targets (surface, null) and the renderers drawing into their buffers in each pixel
// format.
#include "RenderTarget.h"
#include "ViewRenderer.h"

#include <gtest/gtest.h>

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
