// The engine with the GL renderer through its exports: views drawn on the players' own threads,
// a PTZ move, a picture size change mid-stream, and the fallback to the CPU renderer when no EGL
// vendor is found (each suite run by CTest in its own environment).
#include "EngineTest.h"
#include "GlTestSupport.h"

#include <cstdlib>

namespace {

class GlEngine : public EngineTest {
protected:
    // A player showing into a main surface, a PTZ view and a 360 panorama, fed a 320 x 240 stream.
    void Start() {
        m_hMain = NewSurface(160, 120);
        m_hPtz = NewSurface(96, 64);
        m_hPanorama = NewSurface(160, 48);
        m_iPlayer = NewPlayer(m_hMain);
        ASSERT_GE(m_iPlayer, 0);
        Bytes tPtz = SetupRecord(KW_CORRECT_PTZ, m_hPtz, 3000, 4500, 10000);
        Bytes tPanorama = SetupRecord(KW_CORRECT_360, m_hPanorama);
        m_iPtz = KW_CreateFishEyeCorrect(m_iPlayer, tPtz.Data(), 88);
        ASSERT_GE(m_iPtz, 0);
        ASSERT_GE(KW_CreateFishEyeCorrect(m_iPlayer, tPanorama.Data(), 88), 0);
        Play(TEST_WIDTH, TEST_HEIGHT, TEST_DISC);
    }

    void Play(int _iWidth, int _iHeight, Disc _tDisc) {
        std::vector<std::uint8_t> vecStream = MakeStream("libx264", _iWidth, _iHeight, 6, _tDisc);
        ASSERT_FALSE(vecStream.empty());
        const std::int64_t llBefore = VideoParam(m_iPlayer).m_llFrames;
        Feed(m_iPlayer, vecStream);
        EXPECT_GE(WaitFrames(m_iPlayer, llBefore + 5), llBefore + 5);
        WaitIdle(m_iPlayer);
    }

    // Every surface shows the bright disc.
    void ExpectPictures(const char* _pcWhen) {
        for (void* hSurface : {m_hMain, m_hPtz, m_hPanorama}) {
            int iRendered = 0;
            EXPECT_GT(BrightPixels(Read(hSurface, &iRendered)), 100u) << _pcWhen;
            EXPECT_GT(iRendered, 0) << _pcWhen;
        }
    }

    void* m_hMain = nullptr;
    void* m_hPtz = nullptr;
    void* m_hPanorama = nullptr;
    int m_iPlayer = -1;
    int m_iPtz = -1;
};

TEST_F(GlEngine, ViewsFollowAPtzMoveAndAPictureSizeChange) {
    ASSERT_STREQ(std::getenv("KORVANE_RENDERER"), "gl");
    const std::string strErr = gltest::CaptureStderr([&] {
        Start();
        ExpectPictures("first pictures");
        EXPECT_EQ(KW_Ext_GetRenderer(), KW_RENDERER_GL);

        const std::vector<std::uint8_t> vecBefore = Read(m_hPtz);
        Bytes tMove = Bytes(32).At<int>(8, 6500).At<int>(12, 3000).At<int>(16, 6000);
        ASSERT_EQ(KW_SetFishEyeCorrectPara(m_iPlayer, m_iPtz, KW_PARA_PTZ, tMove.Data(), 32), 0);
        Play(TEST_WIDTH, TEST_HEIGHT, TEST_DISC);
        EXPECT_LT(gltest::Psnr(Read(m_hPtz), vecBefore), 30.0) << "the PTZ view moved";
        EXPECT_EQ(KW_Ext_GetRenderer(), KW_RENDERER_GL);

        Play(240, 176, {120, 88, 80});
        EXPECT_EQ(VideoParam(m_iPlayer).m_iWidth, 240);
        ExpectPictures("after the size change");
        EXPECT_EQ(KW_Ext_GetRenderer(), KW_RENDERER_GL);
    });
    EXPECT_EQ(strErr, "");
}

// Run with __EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent and KORVANE_RENDERER=gl.
TEST_F(GlEngine, WithoutEglTheCpuRendererShowsEveryViewAfterOneLine) {
    ASSERT_STREQ(std::getenv("__EGL_VENDOR_LIBRARY_FILENAMES"), "/nonexistent");
    EXPECT_EQ(KW_Ext_GetRenderer(), KW_RENDERER_GL) << "selected, nothing drawn yet";
    const std::string strErr = gltest::CaptureStderr([&] {
        Start();
        Play(TEST_WIDTH, TEST_HEIGHT, TEST_DISC);
    });
    EXPECT_EQ(strErr, "Korvane: GL renderer: no EGL display; views are drawn by the CPU renderer\n");
    ExpectPictures("with the CPU renderer");
    EXPECT_EQ(KW_Ext_GetRenderer(), KW_RENDERER_CPU);
}

} // namespace
