// Concurrency stress through the exported class: client threads steer the PTZ and panorama views
// of one player, another client thread feeds packets and switches correction, an engine thread
// delivers user data and the library's draw thread delivers overlays, all at once, for a bounded
// number of operations. Afterwards every view's state agrees with what the engine last received,
// the overlay matches the positions, the last area is the one applied, and deletion releases all.
//
// Length: FISHPLAYER_STRESS_OPS operations per thread (default 10000, 2000 in sanitizer builds).
#include "ReliabilitySupport.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace {

using namespace Reliability;

constexpr int PTZ_VIEWS = 3;
constexpr int PLAY_ID = 1;
constexpr int FIRST_CORRECT_ID = 100; // PTZ views 100 to 102, then 180: 103, 360: 104, LAT: 105
constexpr int ID_180 = 103;
constexpr int ID_360 = 104;
constexpr std::uint32_t PANORAMA_WORD = 0xA5C3F00Du;
const STRUCT_FishWindowRect g_tRect{640, 480};

OverlaySink g_sink;
int StressSink(int _i1, int _i2, Overlay _overlay) {
    g_sink.Receive(_i1, _i2, _overlay);
    return 0;
}

// The angle a panorama stores after a drag, computed the way the view computes it.
int NextAngle(int _iAngle, int _iX, int _iFullAngle) {
    const int iDelta = static_cast<int>(static_cast<std::int64_t>(_iX) * _iFullAngle / g_tRect.m_iWidth);
    const float fSum = static_cast<float>(iDelta) + static_cast<float>(_iAngle);
    return static_cast<int>(fSum) % _iFullAngle;
}

// Direction towards the middle of the picture when a coordinate has wandered off, else random.
int Towards(int _iValue, std::mt19937& _rng) {
    if (_iValue > 7000)
        return -1;
    if (_iValue < 3000)
        return 1;
    return (_rng() & 1) ? 1 : -1;
}

n_PTZCtlCmd DiagonalCommand(int _iSignX, int _iSignY) {
    if (_iSignX < 0)
        return _iSignY < 0 ? n_PTZCtlCmd_LeftUp : n_PTZCtlCmd_LeftDown;
    return _iSignY < 0 ? n_PTZCtlCmd_RightUp : n_PTZCtlCmd_RightDown;
}

class Stress : public FacadeTest, public ::testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        m_tParam.m_iInstallMode = GetParam();
        m_iOps = RunLength("FISHPLAYER_STRESS_OPS", 10000, 2000);
    }

    // One client thread per PTZ view: buttons, zoom buttons, window drags, the wheel, outline
    // drags and no-step rewrites, steered back towards the middle when a view wanders off.
    void SteerPTZ(int _iView) {
        std::mt19937 rng(1234u + static_cast<unsigned>(_iView));
        const int iCorrectId = FIRST_CORRECT_ID + _iView;
        for (int i = 0; i < m_iOps; ++i) {
            const std::vector<unsigned char> vecEngine = FakeEngine()->GetPara(iCorrectId, 1);
            const int iSignX = Towards(IntAt(vecEngine, 8), rng);
            const int iSignY = Towards(IntAt(vecEngine, 12), rng);
            const int iStep = 1 + static_cast<int>(rng() % 60);
            int iRet = 0;
            switch (i % 6) {
            case 0:
                iRet = m_pFish->FishPlayer_PTZCtl(PLAY_ID, _iView, {iStep, iStep / 2 + 1, 0},
                                                  DiagonalCommand(iSignX, iSignY));
                break;
            case 1:
                iRet = m_pFish->FishPlayer_PTZCtl(PLAY_ID, _iView, {0, 0, iStep * 3},
                                                  (rng() & 1) ? n_PTZCtlCmd_ZoomInc : n_PTZCtlCmd_ZoomDec);
                break;
            case 2: // a window drag moves the view against the mouse
                iRet = m_pFish->FishPlayer_PTZWindowCtl(
                    PLAY_ID, _iView, {-iSignX * (iStep / 4 + 1), -iSignY * 2, 0}, n_CtlCmd_Move, g_tRect);
                break;
            case 3:
                iRet = m_pFish->FishPlayer_PTZWindowCtl(PLAY_ID, _iView, {0, 0, (rng() & 1) ? 7 : -7},
                                                        n_CtlCmd_Zoom, g_tRect);
                break;
            case 4:
                iRet = m_pFish->FishPlayer_DrawWindowCtl(
                    PLAY_ID, _iView, {320, 240, 320 + iSignX * (iStep / 5 + 1), 240 + iSignY * 3},
                    n_CtlCmd_Move, g_tRect);
                break;
            default:
                iRet = m_pFish->FishPlayer_PTZCtl(PLAY_ID, _iView, {0, 0, 0}, static_cast<n_PTZCtlCmd>(10));
                break;
            }
            // 1: the buttons left an unchanged point alone; -2: a drag landed on the same point.
            if (iRet != 0 && iRet != 1 && iRet != -2)
                m_iUnexpected++;
        }
    }

    // One client thread for the other views: panorama drags with a model of the angles, and drags
    // on the views that ignore them.
    void SteerPanoramas() {
        std::mt19937 rng(99u);
        for (int i = 0; i < m_iOps; ++i) {
            const int iX = static_cast<int>(rng() % 601) - 300;
            int iRet = 0;
            switch (i % 4) {
            case 0:
                iRet = m_pFish->FishPlayer_CorrectWindowCtl(PLAY_ID, CORRECT_TYPE_180, {iX, iX, 0},
                                                            n_CtlCmd_Move, g_tRect);
                m_iAngle180 = NextAngle(m_iAngle180, iX, 180);
                break;
            case 1:
                iRet = m_pFish->FishPlayer_CorrectWindowCtl(PLAY_ID, CORRECT_TYPE_360, {iX, -iX, 0},
                                                            n_CtlCmd_Move, g_tRect);
                m_iAngle360 = NextAngle(m_iAngle360, iX, 360);
                break;
            case 2:
                iRet = m_pFish->FishPlayer_CorrectWindowCtl(PLAY_ID, CORRECT_TYPE_LAT, {iX, iX, 0},
                                                            n_CtlCmd_Move, g_tRect);
                break;
            default:
                iRet = m_pFish->FishPlayer_CorrectWindowCtl(PLAY_ID, (i % 8) == 3 ? 0 : CORRECT_TYPE_FISHEYE,
                                                            {iX, iX, 0}, n_CtlCmd_Move, g_tRect);
                break;
            }
            if (iRet != 0)
                m_iUnexpected++;
        }
    }

    // One client thread that feeds packets, switches correction and asks for the user-data state.
    void FeedAndSwitch() {
        unsigned char acPacket[16] = {0, 0, 0, 1, 0x67};
        for (int i = 0; i < m_iOps; ++i) {
            int iRet = 0;
            switch (i % 4) {
            case 0:
                iRet = m_pFish->FishPlayer_PutStreamToPlayer(PLAY_ID, 0, acPacket, sizeof(acPacket));
                break;
            case 1:
                iRet = m_pFish->FishPlayer_EnableFish(PLAY_ID, (i / 4) % 2 == 0);
                break;
            case 2:
                m_pFish->GetIsInitUserData(PLAY_ID);
                break;
            default:
                iRet = m_pFish->FishPlayer_PutStreamToPlayer(PLAY_ID, 1, acPacket, sizeof(acPacket));
                break;
            }
            if (iRet != 0)
                m_iUnexpected++;
        }
        EXPECT_EQ(m_pFish->FishPlayer_EnableFish(PLAY_ID, true), 0);
    }

    // The engine's thread: a new area with every delivery; the last one is remembered.
    void DeliverUserData() {
        for (int i = 0; i < m_iOps; ++i) {
            osd_TLDCSet tArea{};
            tArea.m_dLeft = 100 + i % 50;
            tArea.m_dTop = 200 + i % 30;
            tArea.m_dRight = 9900 - i % 40;
            tArea.m_dBottom = 9800 - i % 20;
            if (!FakeEngine()->DeliverUserData(0, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                               sizeof(tArea)))
                m_iUnexpected++;
            m_tLastArea = tArea;
        }
    }

    int m_iOps = 0;
    std::atomic<int> m_iUnexpected{0};
    int m_iAngle180 = 0;
    int m_iAngle360 = 0;
    osd_TLDCSet m_tLastArea{};
};

TEST_P(Stress, ViewsStayConsistentUnderConcurrentControlsOverlaysAndUserData) {
    QMap<int, QVector<int>> qmapIds;
    ASSERT_EQ(Create(EveryViewWindows(), &qmapIds), PLAY_ID);
    ASSERT_EQ(qmapIds.value(CORRECT_TYPE_PTZ), (QVector<int>{100, 101, 102}));
    ASSERT_EQ(qmapIds.value(CORRECT_TYPE_180), QVector<int>{ID_180});
    ASSERT_EQ(qmapIds.value(CORRECT_TYPE_360), QVector<int>{ID_360});
    ASSERT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(PLAY_ID, StressSink), 0);

    // The engine starts where the views were set up: their default centres at full zoom.
    const std::vector<FakeCall> vecCreated = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
    ASSERT_EQ(vecCreated.size(), 6u);
    for (int i = 0; i < PTZ_VIEWS; ++i) {
        const std::vector<unsigned char>& vecSetup = vecCreated[i].m_vecRecords.at(0);
        FakeEngine()->SetPara(FIRST_CORRECT_ID + i, 1,
                              PTZRecord(IntAt(vecSetup, 48), IntAt(vecSetup, 52), 10000));
    }
    FakeEngine()->SetPara(ID_180, 3, PanoramaRecord(PANORAMA_WORD, 0.0f));
    FakeEngine()->SetPara(ID_360, 3, PanoramaRecord(PANORAMA_WORD, 0.0f));

    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> vecThreads;
    for (int i = 0; i < PTZ_VIEWS; ++i)
        vecThreads.emplace_back([this, i] { SteerPTZ(i); });
    vecThreads.emplace_back([this] { SteerPanoramas(); });
    vecThreads.emplace_back([this] { FeedAndSwitch(); });
    vecThreads.emplace_back([this] { DeliverUserData(); });
    for (std::thread& thread : vecThreads)
        thread.join();
    const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("stress: %d threads x %d operations in %.2f s, %d overlays\n",
                static_cast<int>(vecThreads.size()), m_iOps, dSeconds, g_sink.m_iCount.load());
    EXPECT_EQ(m_iUnexpected, 0);

    // The PTZ views: a rewrite of the current position in mounting mode 1 lands on the point the
    // engine last received, so the view answers 1 and leaves the engine alone.
    for (int i = 0; i < PTZ_VIEWS; ++i) {
        const int iWrites = CountCalls(FakeEngine()->Calls("KW_SetFishEyeCorrectPara"), FIRST_CORRECT_ID + i);
        EXPECT_GT(iWrites, 0) << "view " << i;
        const int iRet = m_pFish->FishPlayer_PTZCtl(PLAY_ID, i, {0, 0, 0}, static_cast<n_PTZCtlCmd>(10));
        if (GetParam() == 1) {
            EXPECT_EQ(iRet, 1) << "view " << i;
            EXPECT_EQ(CountCalls(FakeEngine()->Calls("KW_SetFishEyeCorrectPara"), FIRST_CORRECT_ID + i),
                      iWrites)
                << "view " << i;
        } else {
            EXPECT_TRUE(iRet == 0 || iRet == 1) << "view " << i << " gave " << iRet;
        }
    }

    // The overlay: one square per PTZ view around the position the engine holds.
    ASSERT_TRUE(g_sink.WaitFor(2));
    EXPECT_TRUE(g_sink.m_blArgumentsZero);
    EXPECT_TRUE(g_sink.m_blPointsInPicture);
    const Overlay overlay = g_sink.Last();
    ASSERT_EQ(overlay.size(), PTZ_VIEWS);
    for (int i = 0; i < PTZ_VIEWS; ++i) {
        const std::vector<unsigned char> vecEngine = FakeEngine()->GetPara(FIRST_CORRECT_ID + i, 1);
        const int iX = IntAt(vecEngine, 8);
        const int iY = IntAt(vecEngine, 12);
        ASSERT_EQ(overlay[i].size(), 4) << "view " << i;
        for (const auto& edge : overlay[i])
            ASSERT_EQ(edge.size(), 2) << "view " << i;
        // Positions stay inside the picture, so the square is not clipped.
        EXPECT_NEAR(overlay[i][0][0].m_fX, (iX - 500) / 10000.0, 3e-4) << "view " << i;
        EXPECT_NEAR(overlay[i][0][0].m_fY, (iY - 500) / 10000.0, 3e-4) << "view " << i;
        EXPECT_NEAR(overlay[i][1][1].m_fX, (iX + 500) / 10000.0, 3e-4) << "view " << i;
        EXPECT_NEAR(overlay[i][2][1].m_fY, (iY + 500) / 10000.0, 3e-4) << "view " << i;
        const int iZoom = IntAt(vecEngine, 16);
        EXPECT_GE(iZoom, 550);
        EXPECT_LE(iZoom, 15000);
    }

    // The panoramas: no drag was lost, and the engine's own word came back untouched.
    const std::vector<unsigned char> vec180 = FakeEngine()->GetPara(ID_180, 3);
    const std::vector<unsigned char> vec360 = FakeEngine()->GetPara(ID_360, 3);
    EXPECT_EQ(static_cast<std::uint32_t>(IntAt(vec180, 0)), PANORAMA_WORD);
    EXPECT_EQ(FloatAt(vec180, 4), static_cast<float>(m_iAngle180));
    EXPECT_EQ(static_cast<std::uint32_t>(IntAt(vec360, 0)), PANORAMA_WORD);
    EXPECT_EQ(FloatAt(vec360, 4), static_cast<float>(m_iAngle360));

    // The last area delivered is the one applied: the algorithm got it last, and switching
    // correction off and on hands it to the engine.
    EXPECT_TRUE(m_pFish->GetIsInitUserData(PLAY_ID));
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_FALSE(vecCtrl.empty());
    const std::vector<unsigned char>& vecInit = vecCtrl.back().m_vecRecords.at(0);
    EXPECT_EQ(IntAt(vecInit, 4), 1920);
    EXPECT_EQ(IntAt(vecInit, 8), 1080);
    EXPECT_EQ(FloatAt(vecInit, 16), static_cast<float>(m_tLastArea.m_dLeft / 10000.0));
    EXPECT_EQ(FloatAt(vecInit, 20), static_cast<float>(m_tLastArea.m_dRight / 10000.0));
    EXPECT_EQ(FloatAt(vecInit, 24), static_cast<float>(m_tLastArea.m_dTop / 10000.0));
    EXPECT_EQ(FloatAt(vecInit, 28), static_cast<float>(m_tLastArea.m_dBottom / 10000.0));
    FakeEngine()->ClearJournal();
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(PLAY_ID, false), 0);
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(PLAY_ID, true), 0);
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_EQ(vecEnable.size(), 3u);
    const std::vector<unsigned char> vecExpected = RecordBytes(88)
                                                       .At<int>(0, 88)
                                                       .At<int>(4, GetParam())
                                                       .At<int>(8, 256)
                                                       .At<int>(12, 20)
                                                       .At<int>(16, static_cast<int>(m_tLastArea.m_dLeft))
                                                       .At<int>(20, static_cast<int>(m_tLastArea.m_dRight))
                                                       .At<int>(24, static_cast<int>(m_tLastArea.m_dTop))
                                                       .At<int>(28, static_cast<int>(m_tLastArea.m_dBottom))
                                                       .At<int>(40, 32)
                                                       .At<int>(48, 3000)
                                                       .At<int>(52, 4500)
                                                       .At<int>(56, 10000)
                                                       .At<int>(60, 1920)
                                                       .At<int>(64, 1080)
                                                       .At<void*>(72, Window(0));
    EXPECT_EQ(vecEnable[2].m_vecRecords.at(0), vecExpected);

    // Deletion closes every engine correction and the engine player, and unregisters the player.
    FakeEngine()->ClearJournal();
    ASSERT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(PLAY_ID), 0);
    const std::vector<FakeCall> vecDeleted = FakeEngine()->Calls("KW_DeleteFishEyeCorrect");
    for (int iCorrectId = FIRST_CORRECT_ID; iCorrectId <= 105; ++iCorrectId)
        EXPECT_EQ(CountCalls(vecDeleted, iCorrectId), 1) << "correction " << iCorrectId;
    ASSERT_EQ(FakeEngine()->Calls("KW_DeletePlayer").size(), 1u);
    EXPECT_EQ(FakeEngine()->Calls("KW_DeletePlayer")[0].m_vecArgs, (std::vector<std::int64_t>{PLAY_ID}));
    const int iCount = g_sink.m_iCount;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(g_sink.m_iCount, iCount) << "an overlay arrived after the player was deleted";
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(PLAY_ID, 0, {1, 1, 1}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(TestLog::Lines(), (std::vector<std::string>{
                                    "warning: _ZEB_ Panoview : [  CLS_FishPlayer::FishPlayer_PTZCtl "
                                    "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID =  1  ]"}));
}

INSTANTIATE_TEST_SUITE_P(MountingModes, Stress, ::testing::Values(1, 2),
                         [](const ::testing::TestParamInfo<int>& _info) {
                             return "Mode" + std::to_string(_info.param);
                         });

} // namespace
