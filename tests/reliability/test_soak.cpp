// Soak through the exported class: players with every view kind are created, used a little and
// deleted many times over. Every cycle must release everything it opened on the engine, and the
// process's memory must stay flat: LeakSanitizer checks for leaks in the address build, and the
// normal build compares the resident size after the first thousand cycles with the one at the end.
//
// Length: FISHPLAYER_SOAK_CYCLES cycles (default 5000; 2000 in sanitizer builds). The long run
// is the same test with a larger count, for example FISHPLAYER_SOAK_CYCLES=1000000.
#include "ReliabilitySupport.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using namespace Reliability;

constexpr int WARM_UP_CYCLES = 1000;
constexpr long RESIDENT_GROWTH_LIMIT = 2L * 1024 * 1024; // bytes between warm-up and the end
constexpr int DRAWN_CYCLE_EVERY = 100;                   // cycles with overlays on (each waits for one)

OverlaySink g_sink;
int SoakSink(int _i1, int _i2, Overlay _overlay) {
    g_sink.Receive(_i1, _i2, _overlay);
    return 0;
}

// Resident set size of this process in bytes (0 where /proc is not available).
long ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    long lPages = 0;
    long lResident = 0;
    if (!(statm >> lPages >> lResident))
        return 0;
    return lResident * 4096L;
}

class Soak : public FacadeTest {
protected:
    // One cycle: create, use, rebuild the views every third cycle, delete; every engine object
    // opened in the cycle is closed by its end.
    void Cycle(int _iCycle) {
        const bool blDrawn = _iCycle % DRAWN_CYCLE_EVERY == 0;
        const bool blInitUserData = _iCycle % 2 == 0;
        m_tTLDSet.m_dLeft = 100 + _iCycle % 7;
        m_tTLDSet.m_dTop = 100;
        m_tTLDSet.m_dRight = 9900;
        m_tTLDSet.m_dBottom = 9900;
        QMap<int, QVector<int>> qmapIds;
        const int iId = Create(EveryViewWindows(), &qmapIds, blDrawn ? 1 : 0, blInitUserData);
        ASSERT_EQ(iId, 1) << "cycle " << _iCycle;
        ASSERT_EQ(qmapIds.value(CORRECT_TYPE_PTZ).size(), 3) << "cycle " << _iCycle;
        if (blDrawn) {
            ASSERT_EQ(m_pFish->FishPlayer_RegisterDrawCallback(iId, SoakSink), 0);
            ASSERT_TRUE(g_sink.WaitFor(1)) << "cycle " << _iCycle;
        }
        if (!blInitUserData)
            ASSERT_TRUE(FakeEngine()->DeliverUserData(
                0, 9, reinterpret_cast<const unsigned char*>(&m_tTLDSet), sizeof(m_tTLDSet)));
        ASSERT_TRUE(m_pFish->GetIsInitUserData(iId)) << "cycle " << _iCycle;
        unsigned char acPacket[32] = {0, 0, 0, 1};
        EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acPacket, sizeof(acPacket)), 0);
        EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, _iCycle % 3, {40, 40, 0}, n_PTZCtlCmd_RightDown), 0);
        EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_360, {64, 0, 0}, n_CtlCmd_Move,
                                                       {640, 480}),
                  0);
        if (_iCycle % 3 == 0) {
            ASSERT_EQ(m_pFish->FishPlayer_DeleteAllSubPlayer(iId), 0);
            QMap<int, QVector<int>> qmapAgain;
            ASSERT_EQ(m_pFish->FishPlayer_CreateSubPlayer(m_tParam, iId, EveryViewWindows(), qmapAgain, 0,
                                                          {blDrawn ? 1 : 0, n_DrawType_Fec}),
                      0);
            ASSERT_EQ(qmapAgain.value(CORRECT_TYPE_PTZ).size(), 3);
        }
        ASSERT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);

        // Every engine correction opened in the cycle was deleted once, and so was the player.
        const std::vector<FakeCall> vecCreated = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
        const std::vector<FakeCall> vecDeleted = FakeEngine()->Calls("KW_DeleteFishEyeCorrect");
        ASSERT_EQ(vecCreated.size(), _iCycle % 3 == 0 ? 12u : 6u);
        for (int i = 0; i < static_cast<int>(vecCreated.size()); ++i)
            ASSERT_EQ(CountCalls(vecDeleted, 100 + i), 1) << "cycle " << _iCycle << " correction " << 100 + i;
        ASSERT_EQ(FakeEngine()->Calls("KW_DeletePlayer").size(), 1u) << "cycle " << _iCycle;
        ASSERT_EQ(FakeAlgo()->Calls("ZebAlgo_FCU_Creat").size(),
                  FakeAlgo()->Calls("ZebAlgo_FCU_Release").size());

        // The fakes and the captured log start afresh, so that only the library could grow.
        FakeEngine()->Reset();
        FakeAlgo()->Reset();
        TestLog::Clear();
    }
};

TEST_F(Soak, CreatingAndDeletingPlayersWithEveryViewKindKeepsMemoryFlat) {
    const int iCycles = RunLength("FISHPLAYER_SOAK_CYCLES", 5000, 2000);
    const auto start = std::chrono::steady_clock::now();
    long lWarmResident = 0;
    for (int i = 0; i < iCycles; ++i) {
        Cycle(i);
        if (HasFatalFailure())
            return;
        if (i + 1 == WARM_UP_CYCLES)
            lWarmResident = ResidentBytes();
    }
    const long lEndResident = ResidentBytes();
    const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("soak: %d cycles in %.2f s, resident %ld KiB after %d cycles, %ld KiB at the end\n", iCycles,
                dSeconds, lWarmResident / 1024, WARM_UP_CYCLES, lEndResident / 1024);
    EXPECT_TRUE(g_sink.m_blArgumentsZero);
    // Sanitizer builds keep freed memory in quarantine; there LeakSanitizer does the checking.
    if (!SanitizedBuild() && iCycles >= 2 * WARM_UP_CYCLES && lWarmResident > 0)
        EXPECT_LE(lEndResident - lWarmResident, RESIDENT_GROWTH_LIMIT)
            << "resident memory grew from " << lWarmResident << " to " << lEndResident << " bytes";
}

} // namespace
