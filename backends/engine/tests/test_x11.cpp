// X11 windows as the engine's rendering targets, on a virtual X server started for the test.
#include "EngineTest.h"

#include <xcb/xcb.h>

#include <csignal>
#include <poll.h>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

pid_t g_iServer = -1;

class EngineX11 : public EngineTest {
protected:
    static void SetUpTestSuite() {
        // The server picks a free display itself and writes its number to a pipe (-displayfd), so
        // that tests running at the same time, or a server left over, cannot collide with it.
        int aiPipe[2] = {-1, -1};
        if (pipe(aiPipe) != 0)
            return;
        const std::string strFd = std::to_string(aiPipe[1]);
        const char* apcArgs[] = {"Xvfb",       "-displayfd", strFd.c_str(), "-screen", "0",
                                 "320x240x24", "-nolisten",  "tcp",         nullptr};
        if (posix_spawnp(&g_iServer, "Xvfb", nullptr, nullptr, const_cast<char* const*>(apcArgs), environ) !=
            0) {
            g_iServer = -1;
            close(aiPipe[0]);
            close(aiPipe[1]);
            return;
        }
        close(aiPipe[1]);
        // The display number arrives once the server accepts connections (at most twenty seconds).
        std::string strNumber;
        pollfd tPoll{aiPipe[0], POLLIN, 0};
        char c = 0;
        while (poll(&tPoll, 1, 20000) > 0 && read(aiPipe[0], &c, 1) == 1 && c != '\n')
            strNumber += c;
        close(aiPipe[0]);
        if (strNumber.empty()) {
            TearDownTestSuite();
            return;
        }
        setenv("DISPLAY", (":" + strNumber).c_str(), 1);
    }

    static void TearDownTestSuite() {
        if (g_iServer > 0) {
            kill(g_iServer, SIGTERM);
            waitpid(g_iServer, nullptr, 0);
        }
        g_iServer = -1;
    }

    void SetUp() override {
        if (g_iServer <= 0)
            GTEST_SKIP() << "no virtual X server (Xvfb) could be started";
        m_pXcb = xcb_connect(nullptr, nullptr);
        ASSERT_FALSE(xcb_connection_has_error(m_pXcb));
    }

    void TearDown() override {
        EngineTest::TearDown();
        if (m_pXcb)
            xcb_disconnect(m_pXcb);
    }

    xcb_window_t Window(int _iWidth, int _iHeight) {
        xcb_screen_t* pScreen = xcb_setup_roots_iterator(xcb_get_setup(m_pXcb)).data;
        const xcb_window_t uWindow = xcb_generate_id(m_pXcb);
        xcb_create_window(m_pXcb, XCB_COPY_FROM_PARENT, uWindow, pScreen->root, 0, 0,
                          static_cast<std::uint16_t>(_iWidth), static_cast<std::uint16_t>(_iHeight), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, pScreen->root_visual, 0, nullptr);
        xcb_map_window(m_pXcb, uWindow);
        // Mapped before the engine's connection draws: what reaches an unmapped window is lost.
        Sync();
        return uWindow;
    }

    // The window's contents, or the rectangle from (_iX, _iY) of that size, as RGB.
    std::vector<std::uint8_t> Pixels(xcb_window_t _uWindow, int _iWidth, int _iHeight, int _iX = 0,
                                     int _iY = 0) {
        xcb_get_image_reply_t* pImage = xcb_get_image_reply(
            m_pXcb,
            xcb_get_image(m_pXcb, XCB_IMAGE_FORMAT_Z_PIXMAP, _uWindow, static_cast<std::int16_t>(_iX),
                          static_cast<std::int16_t>(_iY), static_cast<std::uint16_t>(_iWidth),
                          static_cast<std::uint16_t>(_iHeight), ~0u),
            nullptr);
        EXPECT_NE(pImage, nullptr);
        if (!pImage)
            return {};
        const std::uint8_t* pcData = xcb_get_image_data(pImage);
        const int iLength = xcb_get_image_data_length(pImage);
        EXPECT_EQ(iLength, _iWidth * _iHeight * 4);
        std::vector<std::uint8_t> vecRgb;
        for (int i = 0; i + 3 < iLength; i += 4) // BGRX
            vecRgb.insert(vecRgb.end(), {pcData[i + 2], pcData[i + 1], pcData[i]});
        std::free(pImage);
        return vecRgb;
    }

    // Bright pixels of the window's contents, or of the rectangle from (_iX, _iY) of that size.
    size_t Bright(xcb_window_t _uWindow, int _iWidth, int _iHeight, int _iX = 0, int _iY = 0) {
        return BrightPixels(Pixels(_uWindow, _iWidth, _iHeight, _iX, _iY));
    }

    // Waits until the server has handled every request sent so far.
    void Sync() { std::free(xcb_get_input_focus_reply(m_pXcb, xcb_get_input_focus(m_pXcb), nullptr)); }

    static void* Handle(xcb_window_t _uWindow) {
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(_uWindow));
    }

    xcb_connection_t* m_pXcb = nullptr;
};

} // namespace

TEST_F(EngineX11, TheMainWindowAndAViewShowThePicture) {
    const xcb_window_t uMain = Window(160, 120);
    const xcb_window_t uView = Window(90, 70);
    EXPECT_EQ(Bright(uMain, 160, 120), 0u);
    const int iId = NewPlayer(Handle(uMain));
    Bytes tSetup = SetupRecord(KW_CORRECT_360, Handle(uView));
    ASSERT_GE(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 0);
    std::vector<std::uint8_t> vecStream = MakeStream("mjpeg", TEST_WIDTH, TEST_HEIGHT, 6, TEST_DISC);
    Feed(iId, vecStream);
    ASSERT_GE(WaitFrames(iId, 5), 5);
    EXPECT_GT(Bright(uMain, 160, 120), 160u * 120u / 10);
    EXPECT_GT(Bright(uView, 90, 70), 90u * 70u / 10);
}

TEST_F(EngineX11, AViewShowsTheSamePictureInAWindowAsInASurface) {
    // The same 360 panorama (whose bar moves with the pictures) into a window and into a surface,
    // each drawn its own way (GL: a window surface, rows from the bottom, against a read-back).
    const xcb_window_t uWindow = Window(96, 64);
    void* hSurface = NewSurface(96, 64);
    const int iId = NewPlayer();
    Bytes tInWindow = SetupRecord(KW_CORRECT_360, Handle(uWindow));
    Bytes tInSurface = SetupRecord(KW_CORRECT_360, hSurface);
    ASSERT_GE(KW_CreateFishEyeCorrect(iId, tInWindow.Data(), 88), 0);
    ASSERT_GE(KW_CreateFishEyeCorrect(iId, tInSurface.Data(), 88), 0);
    std::vector<std::uint8_t> vecStream = MakeStream("libx264", TEST_WIDTH, TEST_HEIGHT, 6, TEST_DISC);
    Feed(iId, vecStream);
    ASSERT_GE(WaitFrames(iId, 5), 5);
    WaitIdle(iId);
    const std::vector<std::uint8_t> vecWindow = Pixels(uWindow, 96, 64);
    const std::vector<std::uint8_t> vecSurface = Read(hSurface);
    ASSERT_EQ(vecWindow.size(), vecSurface.size());
    EXPECT_GT(BrightPixels(vecSurface), 96u * 64u / 10);
    size_t uDiffering = 0;
    for (size_t i = 0; i < vecWindow.size(); ++i)
        uDiffering += std::abs(vecWindow[i] - vecSurface[i]) > 2 ? 1 : 0;
    EXPECT_EQ(uDiffering, 0u);
}

TEST_F(EngineX11, HandlesThatAreNoWindowsRenderNowhere) {
    // An id the server never gave out, and one beyond X11's ids.
    const int iId = NewPlayer(reinterpret_cast<void*>(std::uintptr_t{0x1FFFFF0}));
    Bytes tSetup = SetupRecord(KW_CORRECT_PTZ, reinterpret_cast<void*>(std::uintptr_t{1} << 40));
    ASSERT_GE(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 0);
    std::vector<std::uint8_t> vecStream = MakeStream("mjpeg", TEST_WIDTH, TEST_HEIGHT, 6, TEST_DISC);
    Feed(iId, vecStream);
    EXPECT_GE(WaitFrames(iId, 5), 5);
    // A window destroyed while the player renders into it.
    const xcb_window_t uGone = Window(40, 30);
    const int iOther = NewPlayer(Handle(uGone));
    Feed(iOther, vecStream);
    xcb_destroy_window(m_pXcb, uGone);
    xcb_flush(m_pXcb);
    Feed(iOther, vecStream);
    EXPECT_GE(WaitFrames(iOther, 11), 11);
}

TEST_F(EngineX11, AWindowResizedIsFilledAtItsNewSize) {
    const xcb_window_t uMain = Window(60, 40);
    const int iId = NewPlayer(Handle(uMain));
    std::vector<std::uint8_t> vecStream = MakeStream("mjpeg", TEST_WIDTH, TEST_HEIGHT, 6, TEST_DISC);
    Feed(iId, vecStream);
    // The parser holds a stream's last picture until more bytes come.
    ASSERT_GE(WaitFrames(iId, 5), 5);
    EXPECT_GT(Bright(uMain, 60, 40), 60u * 40u / 10);
    // Grown: the part that was outside the window must show the picture too (the disc's right half).
    const std::uint32_t auSize[] = {160, 120};
    xcb_configure_window(m_pXcb, uMain, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, auSize);
    Sync();
    Feed(iId, vecStream);
    ASSERT_GE(WaitFrames(iId, 11), 11);
    EXPECT_GT(Bright(uMain, 100, 120, 60, 0), 100u * 120u / 10);
    // Shrunk to nothing in one direction and back: no picture is lost for good.
    const std::uint32_t auSmall[] = {30, 20};
    xcb_configure_window(m_pXcb, uMain, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, auSmall);
    Sync();
    Feed(iId, vecStream);
    ASSERT_GE(WaitFrames(iId, 17), 17);
    EXPECT_GT(Bright(uMain, 30, 20), 30u * 20u / 10);
}

TEST_F(EngineX11, ViewsOfTwoPlayersInOneWindowShareItsTarget) {
    // Two players drawing into the same window, one after the other and at once.
    const xcb_window_t uShared = Window(80, 60);
    const int iFirst = NewPlayer(Handle(uShared));
    const int iSecond = NewPlayer(Handle(uShared));
    std::vector<std::uint8_t> vecStream = MakeStream("mjpeg", TEST_WIDTH, TEST_HEIGHT, 6, TEST_DISC);
    std::vector<std::uint8_t> vecCopy = vecStream;
    Feed(iFirst, vecStream);
    Feed(iSecond, vecCopy);
    ASSERT_GE(WaitFrames(iFirst, 5), 5);
    ASSERT_GE(WaitFrames(iSecond, 5), 5);
    EXPECT_GT(Bright(uShared, 80, 60), 80u * 60u / 10);
    KW_DeletePlayer(iFirst);
    // The other player still shows into it once the first let its target go.
    Feed(iSecond, vecStream);
    ASSERT_GE(WaitFrames(iSecond, 11), 11);
    EXPECT_GT(Bright(uShared, 80, 60), 80u * 60u / 10);
}
