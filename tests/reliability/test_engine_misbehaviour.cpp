// A misbehaving engine, through the exported class: garbage ids (huge, zero, negative, repeated),
// negative codes from every function the library calls, and user data delivered from several
// engine threads while the client deletes and re-creates players. The library keeps its state:
// players that were not involved keep working and the registry answers as before.
//
// Length of the delivery-versus-deletion run: FISHPLAYER_MISBEHAVIOUR_CYCLES create-delete cycles
// (default 500, 150 in sanitizer builds).
#include "ReliabilitySupport.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <climits>

namespace {

using namespace Reliability;
using Lines = std::vector<std::string>;

constexpr int ENGINE_CODE = -9;
constexpr int BYSTANDER_ID = 1000;

std::string Warning(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}
std::string Info(const std::string& _strText) {
    return "info: _ZEB_ Panoview : " + _strText;
}
std::string Value(int _i) {
    return " " + std::to_string(_i) + " ";
}

class MisbehavingEngine : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        // A bystander that every misbehaviour below must leave alone, under an id that the engine's
        // later players (1, 2, ... after each reset of the fake) never take.
        FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", BYSTANDER_ID);
        m_pFish->SetPlayIndex(7);
        m_iBystander = Create(EveryViewWindows(), &m_qmapBystanderIds);
        m_pFish->SetPlayIndex(0);
        ASSERT_EQ(m_iBystander, BYSTANDER_ID);
        ASSERT_TRUE(RegisterQuietly(m_pFish, m_iBystander));
        osd_TLDCSet tArea{};
        tArea.m_dRight = 10000;
        tArea.m_dBottom = 10000;
        ASSERT_TRUE(FakeEngine()->DeliverUserData(7, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                  sizeof(tArea)));
        TestLog::Clear();
    }

    void TearDown() override {
        ExpectBystanderWorks();
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(m_iBystander), 0);
    }

    // The bystander still answers like a live player, with its views where they were.
    void ExpectBystanderWorks() {
        FakeEngine()->Reset();
        EXPECT_TRUE(m_pFish->GetIsInitUserData(m_iBystander));
        const int iRet = m_pFish->FishPlayer_PTZCtl(m_iBystander, 2, {20, 20, 0}, n_PTZCtlCmd_Right);
        EXPECT_TRUE(iRet == 0 || iRet == 1) << iRet;
        EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(m_iBystander, CORRECT_TYPE_360, {64, 0, 0},
                                                       n_CtlCmd_Move, {640, 480}),
                  0);
        const std::vector<FakeCall> vecSet = FakeEngine()->Calls("KW_SetFishEyeCorrectPara");
        ASSERT_FALSE(vecSet.empty());
        EXPECT_EQ(vecSet.back().m_vecArgs[0], m_iBystander);
        EXPECT_EQ(vecSet.back().m_vecArgs[1], m_qmapBystanderIds.value(CORRECT_TYPE_360).value(0));
        unsigned char acPacket[4] = {1, 2, 3, 4};
        EXPECT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(m_iBystander, 0, acPacket, sizeof(acPacket)), 0);
    }

    int m_iBystander = -1;
    QMap<int, QVector<int>> m_qmapBystanderIds;
};

// Player ids from the engine: a huge or zero id is a valid id; a negative one fails the creation
// and leaves nothing behind.
TEST_F(MisbehavingEngine, GarbagePlayerIds) {
    for (int iGarbage : {INT_MAX, 0, INT_MIN, -1, -77}) {
        SCOPED_TRACE(iGarbage);
        FakeEngine()->Reset();
        FakeEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", iGarbage);
        TestLog::Clear();
        int iResult = 0;
        const int iId = Create(EveryViewWindows(), nullptr, 1, false, &iResult);
        if (iGarbage >= 0) {
            ASSERT_EQ(iResult, 0);
            ASSERT_EQ(iId, iGarbage);
            EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {10, 10, 10}, n_PTZCtlCmd_ZoomInc), 0);
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
            ASSERT_EQ(FakeEngine()->Calls("KW_DeletePlayer").size(), 1u);
            EXPECT_EQ(FakeEngine()->Calls("KW_DeletePlayer")[0].m_vecArgs[0], iGarbage);
        } else {
            EXPECT_EQ(iResult, -1);
            EXPECT_EQ(
                TestLog::Lines(),
                (Lines{
                    Info("[  CLS_MainPlayer::CreateMainPlayer "
                         "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds "
                         "< 0  iPlayerID = " +
                         Value(iGarbage) + " ]"),
                    Warning("[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = " +
                            Value(-1) + " ]"),
                    Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail "
                            "iRet = " +
                            Value(-1) + " ]")}));
            // The engine hears nothing after the failed creation call.
            ASSERT_EQ(FakeEngine()->Journal().size(), 1u);
            EXPECT_EQ(FakeEngine()->Journal()[0].m_strName, "KW_CreatePlayerForSpecialNeeds");
            // Nothing was registered under the garbage id.
            TestLog::Clear();
            EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iGarbage, true), -1);
            EXPECT_EQ(
                TestLog::Lines(),
                Lines{Warning(
                    "[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) "
                    "_iFishPlayerID = " +
                    Value(iGarbage) + " ]")});
        }
    }
}

// Correction ids from the engine: huge, zero and repeated ids are kept and used as given; a
// negative one fails that view only, and the views made before it stay.
TEST_F(MisbehavingEngine, GarbageCorrectionIds) {
    for (int iGarbage : {INT_MAX, 0, 7}) {
        SCOPED_TRACE(iGarbage);
        FakeEngine()->Reset();
        FakeEngine()->SetResult("KW_CreateFishEyeCorrect", iGarbage); // every view gets the same id
        QMap<int, QVector<int>> qmapIds;
        const int iId = Create(EveryViewWindows(), &qmapIds);
        ASSERT_EQ(iId, 1);
        EXPECT_EQ(qmapIds.value(CORRECT_TYPE_PTZ), (QVector<int>{iGarbage, iGarbage, iGarbage}));
        EXPECT_EQ(qmapIds.value(CORRECT_TYPE_180), QVector<int>{iGarbage});
        EXPECT_EQ(qmapIds.value(CORRECT_TYPE_LAT), QVector<int>{iGarbage});
        const int iRet = m_pFish->FishPlayer_PTZCtl(iId, 1, {10, 10, 0}, n_PTZCtlCmd_Left);
        EXPECT_TRUE(iRet == 0 || iRet == 1) << iRet;
        EXPECT_EQ(FakeEngine()->Calls("KW_SetFishEyeCorrectPara").back().m_vecArgs[1], iGarbage);
        FakeEngine()->ClearJournal();
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        // Each of the six engine corrections is deleted under the id the engine gave.
        EXPECT_EQ(CountCalls(FakeEngine()->Calls("KW_DeleteFishEyeCorrect"), iGarbage), 6);
    }
    for (int iGarbage : {INT_MIN, -1, -5}) {
        SCOPED_TRACE(iGarbage);
        FakeEngine()->Reset();
        FakeEngine()->PushResult("KW_CreateFishEyeCorrect", 100);
        FakeEngine()->PushResult("KW_CreateFishEyeCorrect", iGarbage); // the second PTZ view fails
        QMap<int, QVector<int>> qmapIds;
        TestLog::Clear();
        const int iId = Create(EveryViewWindows(), &qmapIds);
        ASSERT_EQ(iId, 1);
        ASSERT_TRUE(RegisterQuietly(m_pFish, iId));
        EXPECT_EQ(qmapIds.value(CORRECT_TYPE_PTZ), QVector<int>{100});
        EXPECT_EQ(qmapIds.value(CORRECT_TYPE_180).size(), 1);
        EXPECT_THAT(
            TestLog::Lines(),
            ::testing::IsSupersetOf(
                {Warning("[  CLS_PTZSubPlayer::CreatePlayer CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect fail "
                         "iRet = " +
                         Value(iGarbage) + " ]"),
                 Warning("[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = " +
                         Value(iGarbage) + " ]")}));
        TestLog::Clear();
        EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 1, {10, 10, 0}, n_PTZCtlCmd_Left), -1);
        EXPECT_EQ(
            TestLog::Lines(),
            Lines{Warning("[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = " + Value(1) + " ]")});
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    }
}

// Every engine function the library calls answers with a negative code, one at a time, through a
// whole session: every call gives 0 or 1, a negative result with its log line, or the engine's
// own code passed through.
TEST_F(MisbehavingEngine, NegativeCodesFromEveryFunction) {
    // Every function the contract list says the library calls, but the system creation, which runs
    // once at the first use, before any session.
    std::vector<const char*> vecFunctions = {
#define ZEB_KW_EXPORT(role, name, result, args) ZEB_KW_CALLED_##role(#name)
#define ZEB_KW_CALLED_CALLED(name) name,
#define ZEB_KW_CALLED_RESOLVED(name)
#define ZEB_KW_CALLED_UNTYPED(name)
#define ZEB_KW_CALLED_EXTENSION(name)
#include "../../abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT
    };
    vecFunctions.erase(std::remove_if(vecFunctions.begin(), vecFunctions.end(),
                                      [](const char* _pc) { return std::string(_pc) == "KW_CreateSystem"; }),
                       vecFunctions.end());
    ASSERT_EQ(vecFunctions.size(), 11u);
    for (const char* pcFunction : vecFunctions) {
        SCOPED_TRACE(pcFunction);
        FakeEngine()->Reset();
        FakeEngine()->SetResult(pcFunction, ENGINE_CODE);
        int iStep = 0;
        auto expectDefined = [&](int _iRet) {
            const Lines vecLines = TestLog::Lines();
            TestLog::Clear();
            ++iStep;
            if (_iRet >= 0)
                EXPECT_TRUE(_iRet == 0 || _iRet == 1) << "step " << iStep << " gave " << _iRet;
            else if (_iRet != ENGINE_CODE)
                EXPECT_FALSE(vecLines.empty())
                    << "step " << iStep << " gave " << _iRet << " without a log line";
        };
        TestLog::Clear();
        int iResult = 0;
        const int iId = Create(EveryViewWindows(), nullptr, 1, false, &iResult);
        expectDefined(iResult);
        if (iId < 0) {
            // Only a failed player creation or play start refuses the player.
            EXPECT_TRUE(std::string(pcFunction) == "KW_CreatePlayerForSpecialNeeds" ||
                        std::string(pcFunction) == "KW_Play");
            continue;
        }
        FakeEngine()->SetPara(100, 1, PTZRecord(5000, 4500, 10000));
        expectDefined(m_pFish->FishPlayer_RegisterDrawCallback(iId, QuietOverlayCallback));
        osd_TLDCSet tArea{};
        tArea.m_dRight = 9000;
        tArea.m_dBottom = 9000;
        FakeEngine()->DeliverUserData(0, 9, reinterpret_cast<const unsigned char*>(&tArea), sizeof(tArea));
        unsigned char acPacket[8] = {0, 0, 0, 1};
        expectDefined(m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acPacket, sizeof(acPacket)));
        expectDefined(m_pFish->FishPlayer_PTZCtl(iId, 0, {30, 30, 0}, n_PTZCtlCmd_Down));
        expectDefined(m_pFish->FishPlayer_PTZCtl(iId, 0, {0, 0, 30}, n_PTZCtlCmd_ZoomDec));
        expectDefined(m_pFish->FishPlayer_PTZWindowCtl(iId, 0, {10, 10, 2}, n_CtlCmd_Move, {640, 480}));
        expectDefined(m_pFish->FishPlayer_PTZWindowCtl(iId, 0, {10, 10, 2}, n_CtlCmd_Zoom, {640, 480}));
        expectDefined(m_pFish->FishPlayer_DrawWindowCtl(iId, 0, {10, 10, 40, 40}, n_CtlCmd_Move, {640, 480}));
        expectDefined(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_180, {64, 0, 0}, n_CtlCmd_Move,
                                                           {640, 480}));
        expectDefined(m_pFish->FishPlayer_EnableFish(iId, false));
        expectDefined(m_pFish->FishPlayer_EnableFish(iId, true));
        expectDefined(m_pFish->FishPlayer_DeleteAllSubPlayer(iId));
        QMap<int, QVector<int>> qmapIds;
        expectDefined(
            m_pFish->FishPlayer_CreateSubPlayer(m_tParam, iId, EveryViewWindows(), qmapIds, 0, {1, 1}));
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId),
                  0); // the facade forgets the player whatever the engine says
        TestLog::Clear();
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), -1);
        EXPECT_EQ(TestLog::Lines().size(), 1u);
    }
}

// A delivery that the engine had under way when a player was deleted arrives late, after a new
// player that never asked for user data was made, usually at the freed player's address: it is
// dropped, and the new player keeps its own area.
TEST_F(MisbehavingEngine, LateUserDataOfADeletedPlayerReachesNoOtherPlayer) {
    m_pFish->SetPlayIndex(3);
    const int iOld = Create(EveryViewWindows());
    m_pFish->SetPlayIndex(0);
    ASSERT_GT(iOld, 0);
    // The callback and the player pointer the old player subscribed with, as the engine holds them.
    const std::vector<FakeCall> vecSubscribe = FakeEngine()->Calls("KW_PlayerControl");
    ASSERT_FALSE(vecSubscribe.empty());
    const std::vector<unsigned char>& vecRecord = vecSubscribe.back().m_vecRecords.at(0);
    typedef void (*PF_UserData)(int, int, const unsigned char*, int, void*);
    PF_UserData pfCallBack = nullptr;
    void* pOldPlayer = nullptr;
    std::memcpy(&pfCallBack, vecRecord.data() + 8, sizeof(pfCallBack));
    std::memcpy(&pOldPlayer, vecRecord.data() + 16, sizeof(pOldPlayer));
    ASSERT_NE(pfCallBack, nullptr);
    ASSERT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iOld), 0);

    // The new player brings its own area and subscribes to nothing.
    m_tTLDSet.m_dLeft = 1000;
    m_tTLDSet.m_dTop = 1000;
    m_tTLDSet.m_dRight = 9000;
    m_tTLDSet.m_dBottom = 9000;
    const int iNew = Create(EveryViewWindows(), nullptr, 1, true);
    ASSERT_GT(iNew, 0);
    ASSERT_TRUE(m_pFish->GetIsInitUserData(iNew));
    FakeAlgo()->ClearJournal();
    FakeEngine()->ClearJournal();
    osd_TLDCSet tStale{};
    tStale.m_dRight = 5000;
    tStale.m_dBottom = 5000;
    std::thread engine([&] {
        pfCallBack(3, 9, reinterpret_cast<const unsigned char*>(&tStale), sizeof(tStale), pOldPlayer);
    });
    engine.join();
    EXPECT_TRUE(FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl").empty());
    EXPECT_TRUE(FakeEngine()->Journal().empty());
    // Switching correction off and on hands the engine the new player's own area.
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iNew, false), 0);
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iNew, true), 0);
    const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
    ASSERT_FALSE(vecEnable.empty());
    EXPECT_EQ(IntAt(vecEnable.back().m_vecRecords.at(0), 20), 9000); // right
    EXPECT_EQ(IntAt(vecEnable.back().m_vecRecords.at(0), 28), 9000); // bottom
    FakeEngine()->ClearJournal();
    ASSERT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iNew), 0);
    // Whether the address was reused shows in the new player's stop record.
    const std::vector<FakeCall> vecStop = FakeEngine()->Calls("KW_PlayerControl");
    ASSERT_EQ(vecStop.size(), 1u);
    void* pNewPlayer = nullptr;
    std::memcpy(&pNewPlayer, vecStop[0].m_vecRecords.at(0).data() + 16, sizeof(pNewPlayer));
    std::printf("late user data: the new player %s the deleted player's address\n",
                pNewPlayer == pOldPlayer ? "took" : "did not take");
}

// Several engine threads deliver user data in a loop while the client creates and deletes players
// on the same play indices: deliveries to a player being deleted are waited for or dropped, never
// applied to freed memory, and the bystander on its own index keeps its state.
TEST_F(MisbehavingEngine, UserDataFromSeveralThreadsWhilePlayersAreDeleted) {
    const int iCycles = RunLength("FISHPLAYER_MISBEHAVIOUR_CYCLES", 500, 150);
    constexpr int ENGINE_THREADS = 3;
    std::atomic<bool> blStop{false};
    std::atomic<long> lDelivered{0};
    std::vector<std::thread> vecEngine;
    for (int t = 0; t < ENGINE_THREADS; ++t)
        vecEngine.emplace_back([&, t] {
            osd_TLDCSet tArea{};
            tArea.m_dRight = 10000;
            tArea.m_dBottom = 10000;
            for (int i = 0; !blStop; ++i) {
                tArea.m_dLeft = i % 100;
                // Lengths longer and shorter than the record, and other data types, now and then.
                const int iLength = i % 5 == 0 ? 40 : static_cast<int>(sizeof(tArea));
                const int iType = i % 7 == 0 ? 3 : 9;
                if (FakeEngine()->DeliverUserData((i + t) % 3, iType,
                                                  reinterpret_cast<const unsigned char*>(&tArea), iLength))
                    ++lDelivered;
                if (i % 16 == 0)
                    FakeEngine()->DeliverUserData(7, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                  sizeof(tArea));
                std::this_thread::yield();
            }
        });
    for (int i = 0; i < iCycles; ++i) {
        m_pFish->SetPlayIndex(i % 3);
        QMap<int, QVector<int>> qmapIds;
        const int iId = Create(EveryViewWindows(), &qmapIds, i % 50 == 0 ? 1 : 0);
        ASSERT_GT(iId, 0) << "cycle " << i;
        ASSERT_NE(iId, BYSTANDER_ID) << "cycle " << i;
        const int iRet = m_pFish->FishPlayer_PTZCtl(iId, i % 3, {15, 15, 0}, n_PTZCtlCmd_RightUp);
        EXPECT_TRUE(iRet == 0 || iRet == 1 || iRet < 0) << iRet;
        if (i % 4 == 0)
            EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iId, false), 0);
        ASSERT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0) << "cycle " << i;
        if (i % 32 == 0) { // keep the fakes' journals and the log small
            FakeEngine()->ClearJournal();
            FakeAlgo()->ClearJournal();
            TestLog::Clear();
        }
    }
    blStop = true;
    for (std::thread& thread : vecEngine)
        thread.join();
    m_pFish->SetPlayIndex(0);
    std::printf("misbehaviour: %d create-delete cycles against %d delivering threads, %ld deliveries\n",
                iCycles, ENGINE_THREADS, lDelivered.load());
    EXPECT_GT(lDelivered, 0);
    // Every deleted player withdrew its registration: nothing is delivered on its index any more.
    osd_TLDCSet tArea{};
    for (int iIndex = 0; iIndex < 3; ++iIndex)
        EXPECT_FALSE(FakeEngine()->DeliverUserData(iIndex, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                   sizeof(tArea)));
    // The registry answers as before: the bystander is there, the deleted ids are not.
    TestLog::Clear();
    EXPECT_EQ(m_pFish->FishPlayer_EnableDraw(2, true), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines{Warning("[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) "
                      "_iFishPlayerID = " +
                      Value(2) + " ]")});
}

} // namespace
