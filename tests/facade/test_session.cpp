// Whole sessions through the exported class: every view kind, controls, user data from an engine
// thread, overlays, views deleted and made again, several players at once.
#include "FacadeTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

using ::testing::Contains;
using Lines = std::vector<std::string>;
OverlaySink g_sinks[3];
int Sink0(int _i1, int _i2, Overlay _overlay) {
    g_sinks[0].Receive(_i1, _i2, _overlay);
    return 0;
}
int Sink1(int _i1, int _i2, Overlay _overlay) {
    g_sinks[1].Receive(_i1, _i2, _overlay);
    return 0;
}
int Sink2(int _i1, int _i2, Overlay _overlay) {
    g_sinks[2].Receive(_i1, _i2, _overlay);
    return 0;
}

class Session : public FacadeTest {};

TEST_F(Session, EveryViewKindFromCreationToDeletion) {
    QMap<int, QVector<int>> qmapIds;
    const int iId = Create(EveryViewWindows(), &qmapIds);
    ASSERT_EQ(iId, 1);
    // Views are made in ascending order of type; source and whole-fisheye views open no engine correction.
    QMap<int, QVector<int>> qmapExpected;
    qmapExpected[0] = {-1};
    qmapExpected[CORRECT_TYPE_PTZ] = {100, 101, 102};
    qmapExpected[CORRECT_TYPE_180] = {103};
    qmapExpected[CORRECT_TYPE_360] = {104};
    qmapExpected[CORRECT_TYPE_LAT] = {105};
    qmapExpected[CORRECT_TYPE_FISHEYE] = {-1};
    EXPECT_EQ(qmapIds, qmapExpected);
    EXPECT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(iId, Sink0), 0);
    ASSERT_TRUE(g_sinks[0].WaitFor(2));

    // Overlays: one entry per PTZ view, each a square of four two-point edges.
    const Overlay overlay = g_sinks[0].Last();
    ASSERT_EQ(overlay.size(), 3);
    for (const auto& outline : overlay) {
        ASSERT_EQ(outline.size(), 4);
        for (const auto& edge : outline)
            EXPECT_EQ(edge.size(), 2);
    }
    EXPECT_TRUE(g_sinks[0].m_blArgumentsZero);
    EXPECT_FALSE(g_sinks[0].m_blOnClientThread);
    EXPECT_TRUE(g_sinks[0].m_blPointsInPicture);

    // User data arrives on an engine thread.
    EXPECT_FALSE(m_pFish->GetIsInitUserData(iId));
    osd_TLDCSet tArea{};
    tArea.m_dLeft = 1000;
    tArea.m_dTop = 500;
    tArea.m_dRight = 9000;
    tArea.m_dBottom = 9500;
    std::thread engine([&] {
        EXPECT_TRUE(FakeEngine()->DeliverUserData(0, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                  sizeof(tArea)));
    });
    engine.join();
    EXPECT_TRUE(m_pFish->GetIsInitUserData(iId));

    // Controls reach every kind of view.
    const STRUCT_FishWindowRect tRect{640, 480};
    FakeEngine()->Reset();
    for (int iCmd = 0; iCmd <= 10; ++iCmd) {
        const int iRet = m_pFish->FishPlayer_PTZCtl(iId, 0, {100, 100, 50}, static_cast<n_PTZCtlCmd>(iCmd));
        EXPECT_TRUE(iRet == 0 || iRet == 1) << "command " << iCmd << " gave " << iRet;
    }
    EXPECT_FALSE(FakeEngine()->Calls("KW_SetFishEyeCorrectPara").empty());
    EXPECT_EQ(m_pFish->FishPlayer_PTZWindowCtl(iId, 1, {32, 24, 0}, n_CtlCmd_Move, tRect), 0);
    EXPECT_EQ(m_pFish->FishPlayer_PTZWindowCtl(iId, 2, {0, 0, 10}, n_CtlCmd_Zoom, tRect), 0);
    EXPECT_EQ(m_pFish->FishPlayer_DrawWindowCtl(iId, 2, {100, 100, 120, 110}, n_CtlCmd_Move, tRect), 0);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_180, {64, 0, 0}, n_CtlCmd_Move, tRect),
              0);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_360, {64, 0, 0}, n_CtlCmd_Move, tRect),
              0);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_LAT, {64, 0, 0}, n_CtlCmd_Move, tRect),
              0);
    EXPECT_EQ(
        m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_FISHEYE, {64, 0, 0}, n_CtlCmd_Move, tRect), 0);
    EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, 0, {64, 0, 0}, n_CtlCmd_Move, tRect), 0);
    unsigned char acPacket[6] = {0, 0, 0, 1, 0x65, 0x88};
    EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acPacket, 6), 0);

    // Deleting the views stops the overlays; making them again restarts them.
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllSubPlayer(iId), 0);
    const int iCountAfterDelete = g_sinks[0].m_iCount;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(g_sinks[0].m_iCount, iCountAfterDelete);
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {1, 1, 1}, n_PTZCtlCmd_Up), -1);
    QMap<int, QVector<int>> qmapIdsAgain;
    EXPECT_EQ(m_pFish->FishPlayer_CreateSubPlayer(m_tParam, iId, EveryViewWindows(), qmapIdsAgain, 0, {1, 1}),
              0);
    EXPECT_EQ(qmapIdsAgain.keys(), qmapExpected.keys());
    EXPECT_EQ(qmapIdsAgain[CORRECT_TYPE_PTZ].size(), 3);
    EXPECT_TRUE(g_sinks[0].WaitFor(2));

    FakeEngine()->Reset();
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    const int iCountAfterPlayerDelete = g_sinks[0].m_iCount;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(g_sinks[0].m_iCount, iCountAfterPlayerDelete);
    // Every engine correction that was opened again is closed, and the engine player last.
    // Every view asks for its correction to be closed: the three PTZ views, 180, 360 and LAT with their
    // ids, the source and whole-fisheye views with none.
    EXPECT_EQ(FakeEngine()->Calls("KW_DeleteFishEyeCorrect").size(), 8u);
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_FALSE(vecJournal.empty());
    EXPECT_EQ(vecJournal.back().m_strName, "KW_DeletePlayer");
}

TEST_F(Session, SeveralPlayersDeliverToTheirOwnCallbacks) {
    int aiIds[3];
    PF_FishDrawCallback apfSinks[3] = {Sink0, Sink1, Sink2};
    for (int i = 0; i < 3; ++i) {
        aiIds[i] = Create({{CORRECT_TYPE_PTZ, {Window(10 + i)}}, {CORRECT_TYPE_360, {Window(20 + i)}}});
        ASSERT_GE(aiIds[i], 0);
        EXPECT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(aiIds[i], apfSinks[i]), 0);
    }
    EXPECT_NE(aiIds[0], aiIds[1]);
    EXPECT_NE(aiIds[1], aiIds[2]);
    for (OverlaySink& sink : g_sinks) {
        EXPECT_TRUE(sink.WaitFor(2));
        EXPECT_EQ(sink.Last().size(), 1);
        EXPECT_TRUE(sink.m_blArgumentsZero);
    }
    // Steering the second player moves only its outline.
    const Overlay before0 = g_sinks[0].Last();
    EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(aiIds[1], 0, {500, 500, 0}, n_PTZCtlCmd_Right), 0);
    EXPECT_TRUE(g_sinks[1].WaitFor(2));
    EXPECT_TRUE(g_sinks[0].WaitFor(1));
    EXPECT_EQ(g_sinks[0].Last()[0][0][0].m_fX, before0[0][0][0].m_fX);
    for (int iId : aiIds)
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(Session, DrawingSwitchedOffStopsTheOverlaysUntilTheViewsAreMadeAgain) {
    const int iId = Create({{CORRECT_TYPE_PTZ, {Window(1)}}, {CORRECT_TYPE_FISHEYE, {Window(2)}}});
    ASSERT_GE(iId, 0);
    EXPECT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(iId, Sink2), 0);
    ASSERT_TRUE(g_sinks[2].WaitFor(1));
    EXPECT_EQ(m_pFish->FishPlayer_EnableDraw(iId, false), 0);
    const int iCount = g_sinks[2].m_iCount;
    EXPECT_EQ(m_pFish->FishPlayer_EnableDraw(iId, true), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(g_sinks[2].m_iCount, iCount);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllSubPlayer(iId), 0);
    QMap<int, QVector<int>> qmapIds;
    EXPECT_EQ(m_pFish->FishPlayer_CreateSubPlayer(
                  m_tParam, iId, {{CORRECT_TYPE_PTZ, {Window(1)}}, {CORRECT_TYPE_FISHEYE, {Window(2)}}},
                  qmapIds, 0, {1, 1}),
              0);
    EXPECT_TRUE(g_sinks[2].WaitFor(1));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(Session, PTZViewsAloneDeliverNoOverlays) {
    const int iId = Create({{CORRECT_TYPE_PTZ, {Window(1), Window(2)}}});
    ASSERT_GE(iId, 0);
    EXPECT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(iId, Sink1), 0);
    const int iCount = g_sinks[1].m_iCount;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(g_sinks[1].m_iCount, iCount);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

TEST_F(Session, AreaFromTheClientIsAppliedAtOnce) {
    m_tTLDSet.m_dLeft = 250;
    m_tTLDSet.m_dTop = 0;
    m_tTLDSet.m_dRight = 9750;
    m_tTLDSet.m_dBottom = 10000;
    const int iId = Create({}, nullptr, 1, true);
    ASSERT_GE(iId, 0);
    EXPECT_TRUE(m_pFish->GetIsInitUserData(iId));
    EXPECT_TRUE(FakeEngine()->Calls("KW_PlayerControl").empty()); // no subscription needed
    const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
    ASSERT_EQ(vecCtrl.size(), 1u);
    float fLeft = 0.0f; // the area's left edge, as a fraction, at byte 16 of the initialisation record
    ASSERT_GE(vecCtrl[0].m_vecRecords[0].size(), 20u);
    std::memcpy(&fLeft, vecCtrl[0].m_vecRecords[0].data() + 16, sizeof(fLeft));
    EXPECT_EQ(fLeft, static_cast<float>(250 / 10000.0));
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
}

} // namespace
