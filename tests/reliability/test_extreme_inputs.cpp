// Extreme inputs through the exported class: INT_MIN, INT_MAX, 0 and -1 in every integer argument
// of every method and in every field of every record a client passes (controls, rectangles,
// commands, fisheye and draw parameters, stream header and its size), on live players with every
// view kind. Each call either fails with its log line or gives the library's defined result; the
// address build (with undefined-behaviour checks that halt) proves that nothing overflows.
#include "ReliabilitySupport.h"

#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>

namespace {

using namespace Reliability;
using Lines = std::vector<std::string>;

const int g_aiExtremes[] = {INT_MIN, INT_MAX, 0, -1};
const STRUCT_FishWindowRect g_tRect{640, 480};

std::string Warning(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}
std::string Info(const std::string& _strText) {
    return "info: _ZEB_ Panoview : " + _strText;
}
// A logged value: QDebug writes a blank before and after it.
std::string Value(int _i) {
    return " " + std::to_string(_i) + " ";
}

class ExtremeInputs : public FacadeTest {
protected:
    // Runs a call with a fresh log; its result, and its lines in *_pvecLines.
    int Run(const std::function<int()>& _fnCall, Lines* _pvecLines) {
        TestLog::Clear();
        const int iRet = _fnCall();
        *_pvecLines = TestLog::Lines();
        return iRet;
    }

    // The rule for every call: 0 or 1, or a negative result with its log line (silent only where
    // the library documents it: unknown commands, and an outline drag onto the same point).
    static void ExpectDefined(int _iRet, const Lines& _vecLines, bool _blSilentFailure = false) {
        if (_iRet >= 0)
            EXPECT_TRUE(_iRet == 0 || _iRet == 1) << "result " << _iRet;
        else if (!_blSilentFailure)
            EXPECT_FALSE(_vecLines.empty()) << "result " << _iRet << " without a log line";
        for (const std::string& strLine : _vecLines)
            EXPECT_TRUE(strLine.rfind("warning: _ZEB_ Panoview : ", 0) == 0 ||
                        strLine.rfind("info: _ZEB_ Panoview : ", 0) == 0)
                << strLine;
    }

    int CreateWith(const STRUCT_FishEyeParam& _tParam, const QMap<int, QVector<void*>>& _qmapWindows,
                   const StreamHeader& _tHeader, int _iHeadSize, const STRUCT_FishDrawParam& _tDraw,
                   QMap<int, QVector<int>>* _pqmapIds, int* _piId, int _iStreamType = 0) {
        StreamHeader tHeader = _tHeader;
        return m_pFish->FishPlayer_CreatePlayerFromStream(
            _tParam, Window(0), _qmapWindows, _iStreamType, reinterpret_cast<unsigned char*>(&tHeader),
            _iHeadSize, _piId, *_pqmapIds, false, m_tTLDSet, _tDraw);
    }
};

// The methods that take a player id, with extreme ids that name no player: each refuses the id
// with its message and adds no entry.
TEST_F(ExtremeInputs, EveryMethodRefusesExtremeIdsThatNameNoPlayer) {
    const int iLive = Create(EveryViewWindows());
    ASSERT_EQ(iLive, 1);
    ASSERT_TRUE(RegisterQuietly(m_pFish, iLive));
    unsigned char acData[8] = {1, 2, 3};
    struct Method {
        std::string m_strNotContained;
        std::function<int(int)> m_fnCall;
    };
    const std::vector<Method> vecMethods = {
        {"[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) {
             return m_pFish->FishPlayer_CorrectWindowCtl(_iId, CORRECT_TYPE_180, {1, 1, 1}, n_CtlCmd_Move,
                                                         g_tRect);
         }},
        {"[  CLS_FishPlayer::FishPlayer_DrawWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) {
             return m_pFish->FishPlayer_DrawWindowCtl(_iId, 0, {1, 1, 2, 2}, n_CtlCmd_Move, g_tRect);
         }},
        {"[  CLS_FishPlayer::FishPlayer_PTZWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) {
             return m_pFish->FishPlayer_PTZWindowCtl(_iId, 0, {1, 1, 1}, n_CtlCmd_Zoom, g_tRect);
         }},
        {"[  CLS_FishPlayer::FishPlayer_PTZCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
         [&](int _iId) {
             return m_pFish->FishPlayer_PTZCtl(_iId, 0, {1, 1, 1}, n_PTZCtlCmd_Up);
         }},
        {"[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID "
         "= ",
         [&](int _iId) { return m_pFish->FishPlayer_EnableDraw(_iId, true); }},
        {"[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID "
         "= ",
         [&](int _iId) { return m_pFish->FishPlayer_EnableFish(_iId, false); }},
        {"[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) { return m_pFish->FishPlayer_PutStreamToPlayer(_iId, 0, acData, sizeof(acData)); }},
        {"[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) { return m_pFish->FishPlayer_RegisterDrawCallback(_iId, QuietOverlayCallback); }},
        {"[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) { return m_pFish->FishPlayer_DeleteAllSubPlayer(_iId); }},
        {"[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) "
         "_iFishPlayerID = ",
         [&](int _iId) { return m_pFish->FishPlayer_DeleteAllPlayer(_iId); }},
    };
    for (const Method& method : vecMethods) {
        for (int iId : g_aiExtremes) {
            SCOPED_TRACE(method.m_strNotContained + std::to_string(iId));
            Lines vecLines;
            EXPECT_EQ(Run([&] { return method.m_fnCall(iId); }, &vecLines), -1);
            EXPECT_EQ(vecLines, Lines{Warning(method.m_strNotContained + Value(iId) + " ]")});
        }
    }
    // Creating views for such an id fails at the lookup, and so does the whole call.
    for (int iId : g_aiExtremes) {
        QMap<int, QVector<int>> qmapIds;
        Lines vecLines;
        EXPECT_EQ(Run(
                      [&] {
                          return m_pFish->FishPlayer_CreateSubPlayer(m_tParam, iId, EveryViewWindows(),
                                                                     qmapIds, 0, {1, 1});
                      },
                      &vecLines),
                  -1);
        EXPECT_EQ(
            vecLines,
            (Lines{Warning("[  CLS_FishPlayer::CreateSubPlayer "
                           "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = " +
                           Value(iId) + " ]"),
                   Warning("[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = " +
                           Value(-1) + " ]")}));
        EXPECT_TRUE(qmapIds.isEmpty());
        // Tracking is not provided for any id.
        EXPECT_EQ(m_pFish->FishPlayer_StartTrack(iId), -1);
        EXPECT_EQ(m_pFish->FishPlayer_StopTrack(iId), -1);
    }
    // The live player was not disturbed.
    EXPECT_EQ(m_pFish->FishPlayer_EnableFish(iLive, true), 0);
    EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iLive), 0);
}

// Asking for the user-data state of an extreme id leaves an empty entry for it, which every method
// then refuses with its second message; the entries stay, as the registry keeps them.
TEST_F(ExtremeInputs, UserDataStateOfExtremeIdsLeavesEntriesThatMethodsRefuse) {
    for (int iId : g_aiExtremes) {
        SCOPED_TRACE(iId);
        TestLog::Clear();
        EXPECT_FALSE(m_pFish->GetIsInitUserData(iId));
        EXPECT_EQ(
            TestLog::Lines(),
            Lines{Warning("[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] "
                          "_iFishPlayerID = " +
                          Value(iId) + " ]")});
        Lines vecLines;
        EXPECT_EQ(Run([&] { return m_pFish->FishPlayer_EnableDraw(iId, false); }, &vecLines), -1);
        EXPECT_EQ(vecLines, Lines{Warning("[  CLS_FishPlayer::FishPlayer_EnableDraw  nullptr == "
                                          "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = " +
                                          Value(iId) + " ]")});
        EXPECT_EQ(Run([&] { return m_pFish->FishPlayer_DeleteAllPlayer(iId); }, &vecLines), -1);
        EXPECT_EQ(vecLines, Lines{Warning("[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == "
                                          "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = " +
                                          Value(iId) + " ]")});
        EXPECT_EQ(Run([&] { return m_pFish->FishPlayer_DeleteAllPlayer(iId); }, &vecLines), -1);
        EXPECT_EQ(vecLines.size(), 1u);
    }
}

// The play index and the user-data stop take any int and hand it to the engine unchanged.
TEST_F(ExtremeInputs, PlayIndexAndUserDataStopPassAnyIndex) {
    for (int iIndex : g_aiExtremes) {
        SCOPED_TRACE(iIndex);
        m_pFish->SetPlayIndex(iIndex);
        EXPECT_EQ(m_pFish->GetPlayIndex(), iIndex);
        FakeEngine()->Reset();
        EXPECT_EQ(CLS_FishPlayer::FishPlayer_StopRevChUserDate(iIndex), 0);
        std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_PlayerControl");
        ASSERT_EQ(vecCalls.size(), 1u);
        EXPECT_EQ(vecCalls[0].m_vecArgs[0], iIndex);
        EXPECT_EQ(vecCalls[0].m_vecArgs[1], 4);
        EXPECT_EQ(vecCalls[0].m_vecArgs[3], 24);
        EXPECT_EQ(vecCalls[0].m_vecRecords.at(0), RecordBytes(24).At<int>(0, 24).Bytes());
        // A player created now receives its user data on that index.
        const int iId = Create(EveryViewWindows());
        ASSERT_EQ(iId, 1);
        vecCalls = FakeEngine()->Calls("KW_PlayerControl");
        ASSERT_EQ(vecCalls.size(), 2u);
        EXPECT_EQ(vecCalls[1].m_vecArgs[0], iIndex);
        osd_TLDCSet tArea{};
        tArea.m_dRight = 10000;
        tArea.m_dBottom = 10000;
        EXPECT_TRUE(FakeEngine()->DeliverUserData(iIndex, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                  sizeof(tArea)));
        EXPECT_TRUE(m_pFish->GetIsInitUserData(iId));
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    }
    m_pFish->SetPlayIndex(0);
}

// Stream creation with an extreme value in one argument or field at a time.
TEST_F(ExtremeInputs, StreamCreationTakesExtremeArgumentsAndFields) {
    const StreamHeader tHeader{{12, 1920, 1080}};
    const STRUCT_FishEyeParam tParam{2, 0, 0};
    const STRUCT_FishDrawParam tDraw{1, n_DrawType_Rect};
    const std::string strCreateFail =
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = " + Value(-1) +
        " ]";
    const Lines vecHeaderMismatch = {
        Info("[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]"),
        Warning("[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = " + Value(-1) +
                " ]"),
        Warning(strCreateFail)};

    for (int iValue : g_aiExtremes) {
        SCOPED_TRACE(iValue);
        QMap<int, QVector<int>> qmapIds;
        int iId = 4242;
        Lines vecLines;

        // The header size: refused when not positive, compared with the header's own size field
        // otherwise (only the 12 header bytes are read, whatever size is claimed).
        FakeEngine()->Reset();
        int iRet = Run(
            [&] { return CreateWith(tParam, EveryViewWindows(), tHeader, iValue, tDraw, &qmapIds, &iId); },
            &vecLines);
        EXPECT_EQ(iRet, -1);
        if (iValue <= 0)
            EXPECT_EQ(
                vecLines,
                Lines{Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]")});
        else
            EXPECT_EQ(vecLines, vecHeaderMismatch);
        EXPECT_TRUE(FakeEngine()->Calls("KW_CreatePlayerForSpecialNeeds").empty());
        EXPECT_EQ(iId, 4242);

        // The header's size field: it never matches the 12 bytes given.
        iRet = Run(
            [&] {
                return CreateWith(tParam, EveryViewWindows(), {{iValue, 1920, 1080}}, 12, tDraw, &qmapIds,
                                  &iId);
            },
            &vecLines);
        EXPECT_EQ(iRet, -1);
        EXPECT_EQ(vecLines, vecHeaderMismatch);

        // A header whose size field equals the claimed size is accepted whatever the size.
        if (iValue > 0) {
            iRet =
                CreateWith(tParam, EveryViewWindows(), {{iValue, 1920, 1080}}, iValue, tDraw, &qmapIds, &iId);
            EXPECT_EQ(iRet, 0);
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        }

        // The stream type: 0 opens a player; any other type succeeds without one, so the views
        // cannot be made and the player stays registered under the client's value.
        FakeEngine()->Reset();
        iId = 4242;
        iRet = Run(
            [&] {
                return CreateWith(tParam, EveryViewWindows(), tHeader, 12, tDraw, &qmapIds, &iId, iValue);
            },
            &vecLines);
        if (iValue == 0) {
            EXPECT_EQ(iRet, 0);
            EXPECT_EQ(iId, 1);
        } else {
            EXPECT_EQ(iRet, -1);
            EXPECT_EQ(iId, 4242);
            EXPECT_EQ(vecLines,
                      (Lines{Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]"),
                             Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer "
                                     "fail iRet = " +
                                     Value(-1) + " ]")}));
        }
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);

        // The picture size reaches the engine unchanged; the PTZ views take a quarter of it.
        for (int iField = 1; iField <= 2; ++iField) {
            FakeEngine()->Reset();
            StreamHeader tSized = tHeader;
            tSized.m_aiFields[iField] = iValue;
            qmapIds.clear();
            ASSERT_EQ(CreateWith(tParam, EveryViewWindows(), tSized, 12, tDraw, &qmapIds, &iId), 0);
            const std::vector<FakeCall> vecCreate = FakeEngine()->Calls("KW_CreatePlayerForSpecialNeeds");
            ASSERT_EQ(vecCreate.size(), 1u);
            EXPECT_EQ(vecCreate[0].m_vecRecords.at(0), RecordBytes(32)
                                                           .At<int>(0, 32)
                                                           .At<void*>(8, Window(0))
                                                           .At<int>(16, tSized.m_aiFields[1])
                                                           .At<int>(20, tSized.m_aiFields[2])
                                                           .Bytes());
            const std::vector<FakeCall> vecViews = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
            ASSERT_EQ(vecViews.size(), 6u);
            EXPECT_EQ(IntAt(vecViews[0].m_vecRecords.at(0), 60), tSized.m_aiFields[1] / 4);
            EXPECT_EQ(IntAt(vecViews[0].m_vecRecords.at(0), 64), tSized.m_aiFields[2] / 4);
            // User data then sets the algorithm up for that size.
            osd_TLDCSet tArea{};
            tArea.m_dRight = 10000;
            tArea.m_dBottom = 10000;
            EXPECT_TRUE(FakeEngine()->DeliverUserData(0, 9, reinterpret_cast<const unsigned char*>(&tArea),
                                                      sizeof(tArea)));
            const std::vector<FakeCall> vecCtrl = FakeAlgo()->Calls("ZebAlgo_FCU_Ctrl");
            ASSERT_FALSE(vecCtrl.empty());
            EXPECT_EQ(IntAt(vecCtrl.back().m_vecRecords.at(0), 4), tSized.m_aiFields[1]);
            EXPECT_EQ(IntAt(vecCtrl.back().m_vecRecords.at(0), 8), tSized.m_aiFields[2]);
            EXPECT_EQ(m_pFish->FishPlayer_PTZCtl(iId, 0, {10, 10, 10}, n_PTZCtlCmd_ZoomInc), 0);
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        }

        // Each fisheye parameter: the mounting mode goes into every view's set-up, the extra value
        // into byte 80 of every set-up.
        for (int iField = 0; iField < 3; ++iField) {
            FakeEngine()->Reset();
            STRUCT_FishEyeParam tExtreme = tParam;
            (iField == 0   ? tExtreme.m_iInstallMode
             : iField == 1 ? tExtreme.m_iAlgoParam
                           : tExtreme.m_iExtra) = iValue;
            qmapIds.clear();
            ASSERT_EQ(CreateWith(tExtreme, EveryViewWindows(), tHeader, 12, tDraw, &qmapIds, &iId), 0);
            for (const FakeCall& call : FakeEngine()->Calls("KW_CreateFishEyeCorrect")) {
                EXPECT_EQ(IntAt(call.m_vecRecords.at(0), 4), tExtreme.m_iInstallMode);
                EXPECT_EQ(IntAt(call.m_vecRecords.at(0), 80), tExtreme.m_iExtra);
            }
            Lines vecControl;
            for (int iCmd = 0; iCmd <= 9; ++iCmd) {
                const int iCtl = Run(
                    [&] {
                        return m_pFish->FishPlayer_PTZCtl(iId, iCmd % 3, {300, 300, 300},
                                                          static_cast<n_PTZCtlCmd>(iCmd));
                    },
                    &vecControl);
                ExpectDefined(iCtl, vecControl);
            }
            EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_360, {64, 0, 0}, n_CtlCmd_Move,
                                                           g_tRect),
                      0);
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        }

        // The draw switch: any non-zero value draws. The draw type: only 0 and 1 are outlines;
        // with any other the PTZ views refuse every position write.
        for (int iField = 0; iField < 2; ++iField) {
            FakeEngine()->Reset();
            STRUCT_FishDrawParam tExtremeDraw = tDraw;
            (iField == 0 ? tExtremeDraw.m_iDrawEnable : tExtremeDraw.m_iDrawType) = iValue;
            qmapIds.clear();
            ASSERT_EQ(CreateWith(tParam, EveryViewWindows(), tHeader, 12, tExtremeDraw, &qmapIds, &iId), 0);
            if (tExtremeDraw.m_iDrawEnable != 0)
                ASSERT_TRUE(RegisterQuietly(m_pFish, iId));
            iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_PTZCtl(iId, 1, {0, 0, 5}, n_PTZCtlCmd_ZoomInc);
                },
                &vecLines);
            if (iField == 1 && iValue != n_DrawType_Fec) {
                EXPECT_EQ(iRet, -1);
                EXPECT_THAT(
                    vecLines,
                    ::testing::ElementsAre(
                        Warning("[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & "
                                "n_DrawType_Fec != m_iDrawType"),
                        Warning("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = " + Value(-1) +
                                " ]")));
            } else {
                EXPECT_EQ(iRet, 0);
            }
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        }

        // A window-map key: 0 is the source view; other keys name no view and make nothing.
        FakeEngine()->Reset();
        QMap<int, QVector<void*>> qmapWindows = EveryViewWindows();
        qmapWindows.remove(0);
        qmapWindows[iValue] = {Window(9)};
        qmapIds.clear();
        ASSERT_EQ(CreateWith(tParam, qmapWindows, tHeader, 12, tDraw, &qmapIds, &iId), 0);
        EXPECT_EQ(qmapIds.contains(iValue), iValue == 0);
        EXPECT_EQ(FakeEngine()->Calls("KW_CreateFishEyeCorrect").size(), 6u);

        // More views with an extreme extra value on a live player.
        QMap<int, QVector<int>> qmapMore;
        ASSERT_EQ(
            m_pFish->FishPlayer_CreateSubPlayer(tParam, iId, EveryViewWindows(), qmapMore, iValue, tDraw), 0);
        const std::vector<FakeCall> vecViews = FakeEngine()->Calls("KW_CreateFishEyeCorrect");
        ASSERT_EQ(vecViews.size(), 12u);
        EXPECT_EQ(IntAt(vecViews.back().m_vecRecords.at(0), 80), iValue);
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    }
}

// Areas of user data that are no picture coordinates at all: infinities, NaN and the largest
// doubles reach the engine saturated to the int range (NaN as 0).
TEST_F(ExtremeInputs, UserDataAreasBeyondTheIntRangeSaturate) {
    const double dInf = std::numeric_limits<double>::infinity();
    const double dNaN = std::numeric_limits<double>::quiet_NaN();
    const double dMax = std::numeric_limits<double>::max();
    const struct {
        double m_dValue;
        int m_iExpected;
    } aCases[] = {{dInf, INT_MAX}, {-dInf, INT_MIN}, {dNaN, 0},
                  {dMax, INT_MAX}, {-dMax, INT_MIN}, {3e9, INT_MAX}};
    for (const auto& tCase : aCases) {
        SCOPED_TRACE(tCase.m_dValue);
        FakeEngine()->Reset();
        m_tTLDSet.m_dLeft = tCase.m_dValue;
        m_tTLDSet.m_dTop = tCase.m_dValue;
        m_tTLDSet.m_dRight = tCase.m_dValue;
        m_tTLDSet.m_dBottom = tCase.m_dValue;
        const int iId = Create(EveryViewWindows(), nullptr, 1, true);
        ASSERT_EQ(iId, 1);
        const std::vector<FakeCall> vecEnable = FakeEngine()->Calls("KW_SetFishEyeCorrectEnable");
        ASSERT_FALSE(vecEnable.empty());
        const std::vector<unsigned char>& vecSetup = vecEnable.back().m_vecRecords.at(0);
        for (size_t offset : {16u, 20u, 24u, 28u})
            EXPECT_EQ(IntAt(vecSetup, offset), tCase.m_iExpected) << "offset " << offset;
        EXPECT_TRUE(m_pFish->GetIsInitUserData(iId));
        EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
    }
}

// Controls with an extreme value in one field at a time, on two live players with every view kind
// (mounting modes 2 and 1) whose draw threads run.
class ExtremeControls : public ExtremeInputs {
protected:
    void SetUp() override {
        ExtremeInputs::SetUp();
        for (int iMode : {2, 1}) {
            m_tParam.m_iInstallMode = iMode;
            const int iId = Create(EveryViewWindows());
            ASSERT_GT(iId, 0);
            ASSERT_TRUE(RegisterQuietly(m_pFish, iId));
            m_vecIds.push_back(iId);
        }
        // The engine holds a position for every PTZ view and an angle for every panorama.
        int iCorrectId = 100;
        for (const FakeCall& call : FakeEngine()->Calls("KW_CreateFishEyeCorrect")) {
            const std::vector<unsigned char>& vecSetup = call.m_vecRecords.at(0);
            if (IntAt(vecSetup, 8) == CORRECT_TYPE_PTZ)
                FakeEngine()->SetPara(iCorrectId, 1,
                                      PTZRecord(IntAt(vecSetup, 48), IntAt(vecSetup, 52), 10000));
            else
                FakeEngine()->SetPara(iCorrectId, 3, PanoramaRecord(7u, 10.0f));
            ++iCorrectId;
        }
        m_iCorrections = iCorrectId - 100;
        TestLog::Clear();
    }

    void TearDown() override {
        // Both players still answer a plain control, and deleting them closes everything.
        for (int iId : m_vecIds) {
            const int iRet = m_pFish->FishPlayer_PTZCtl(iId, 0, {10, 10, 0}, n_PTZCtlCmd_Right);
            EXPECT_TRUE(iRet == 0 || iRet == 1) << iRet;
            EXPECT_EQ(m_pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_180, {64, 0, 0}, n_CtlCmd_Move,
                                                           g_tRect),
                      0);
        }
        FakeEngine()->ClearJournal();
        for (int iId : m_vecIds)
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(iId), 0);
        const std::vector<FakeCall> vecDeleted = FakeEngine()->Calls("KW_DeleteFishEyeCorrect");
        for (int i = 0; i < m_iCorrections; ++i)
            EXPECT_EQ(CountCalls(vecDeleted, 100 + i), 1) << "correction " << 100 + i;
        ExtremeInputs::TearDown();
    }

    // The engine's zoom of the first PTZ view of a player.
    int EngineZoom(int _iPlayer) {
        const int iCorrectId = _iPlayer == m_vecIds[0] ? 100 : 100 + m_iCorrections / 2;
        return IntAt(FakeEngine()->GetPara(iCorrectId, 1), 16);
    }

    std::vector<int> m_vecIds;
    int m_iCorrections = 0;
};

// Sets one field of a control record by its index.
STRUCT_CtlParam CtlWith(int _iField, int _iValue, STRUCT_CtlParam _tBase) {
    (_iField == 0 ? _tBase.m_iX : _iField == 1 ? _tBase.m_iY : _tBase.m_iZ) = _iValue;
    return _tBase;
}
STRUCT_FishWindowRect RectWith(int _iField, int _iValue) {
    STRUCT_FishWindowRect tRect = g_tRect;
    (_iField == 0 ? tRect.m_iWidth : tRect.m_iHeight) = _iValue;
    return tRect;
}
STRUCT_CtlPointParam PointWith(int _iField, int _iValue) {
    STRUCT_CtlPointParam tPoint{300, 200, 310, 205};
    (_iField == 0   ? tPoint.m_iStartX
     : _iField == 1 ? tPoint.m_iStartY
     : _iField == 2 ? tPoint.m_iEndX
                    : tPoint.m_iEndY) = _iValue;
    return tPoint;
}

TEST_F(ExtremeControls, CorrectWindowControlOfEveryViewKind) {
    const int aiTypes[] = {
        0, CORRECT_TYPE_PTZ, CORRECT_TYPE_180, CORRECT_TYPE_360, CORRECT_TYPE_LAT, CORRECT_TYPE_FISHEYE};
    for (int iId : m_vecIds) {
        for (int iValue : g_aiExtremes) {
            SCOPED_TRACE(iValue);
            Lines vecLines;
            // The correction type picks the view: 0 is the source view, the others name none.
            int iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_CorrectWindowCtl(iId, iValue, {64, 0, 0}, n_CtlCmd_Move,
                                                                g_tRect);
                },
                &vecLines);
            if (iValue == 0) {
                EXPECT_EQ(iRet, 0);
                EXPECT_TRUE(vecLines.empty());
            } else {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(vecLines,
                          Lines{Info(
                              "[  CLS_MainPlayer::CorrectWindowCtl !m_qmapSubPlayers.contains(_iCorrectType) "
                              "_iCorrectType = " +
                              Value(iValue) + " ]")});
            }
            for (int iType : aiTypes) {
                SCOPED_TRACE(iType);
                const bool blPanorama = iType == CORRECT_TYPE_180 || iType == CORRECT_TYPE_360;
                const int iFullAngle = iType == CORRECT_TYPE_180 ? 180 : 360;
                const int iCorrectId =
                    100 + (iId == m_vecIds[0] ? 0 : m_iCorrections / 2) + (iType == CORRECT_TYPE_180 ? 3 : 4);
                // Every field of the control record; the panorama keeps its angle inside its range.
                for (int iField = 0; iField < 3; ++iField) {
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_CorrectWindowCtl(
                                iId, iType, CtlWith(iField, iValue, {64, 5, 1}), n_CtlCmd_Move, g_tRect);
                        },
                        &vecLines);
                    ExpectDefined(iRet, vecLines);
                    if (blPanorama) {
                        EXPECT_EQ(iRet, 0);
                        const float fAngle = FloatAt(FakeEngine()->GetPara(iCorrectId, 3), 4);
                        EXPECT_GT(fAngle, -iFullAngle);
                        EXPECT_LT(fAngle, iFullAngle);
                        EXPECT_EQ(fAngle, std::trunc(fAngle));
                        EXPECT_EQ(static_cast<std::uint32_t>(IntAt(FakeEngine()->GetPara(iCorrectId, 3), 0)),
                                  7u);
                    } else if (iType != CORRECT_TYPE_PTZ) {
                        EXPECT_EQ(iRet, 0); // the views that ignore drags accept them
                    }
                }
                // The command: only a move is a window control here; anything else is refused silently.
                iRet = Run(
                    [&] {
                        return m_pFish->FishPlayer_CorrectWindowCtl(iId, iType, {64, 0, 0},
                                                                    static_cast<n_CtlCmd>(iValue), g_tRect);
                    },
                    &vecLines);
                if (iValue != n_CtlCmd_Move) {
                    EXPECT_EQ(iRet, -1);
                    EXPECT_TRUE(vecLines.empty());
                } else {
                    ExpectDefined(iRet, vecLines);
                }
                // The rectangle: panoramas and PTZ views refuse a side that is not positive.
                for (int iField = 0; iField < 2; ++iField) {
                    const STRUCT_FishWindowRect tRect = RectWith(iField, iValue);
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_CorrectWindowCtl(iId, iType, {64, 0, 0}, n_CtlCmd_Move,
                                                                        tRect);
                        },
                        &vecLines);
                    if (iValue > 0 || !(blPanorama || iType == CORRECT_TYPE_PTZ)) {
                        ExpectDefined(iRet, vecLines);
                        continue;
                    }
                    EXPECT_EQ(iRet, -1);
                    const std::string strClass = iType == CORRECT_TYPE_PTZ   ? "CLS_PTZSubPlayer"
                                                 : iType == CORRECT_TYPE_180 ? "CLS_180ViewSubPlayer"
                                                                             : "CLS_360ViewSubPlayer";
                    EXPECT_EQ(
                        vecLines,
                        Lines{Warning(
                            "[  " + strClass +
                            "::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = " +
                            Value(tRect.m_iWidth) + " _rect.m_iHeight = " + Value(tRect.m_iHeight) + " ]")});
                }
            }
        }
    }
}

TEST_F(ExtremeControls, PTZWindowControlAndOutlineDrag) {
    for (int iId : m_vecIds) {
        for (int iValue : g_aiExtremes) {
            SCOPED_TRACE(iValue);
            Lines vecLines;
            // The view index.
            int iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_PTZWindowCtl(iId, iValue, {1, 1, 1}, n_CtlCmd_Zoom, g_tRect);
                },
                &vecLines);
            if (iValue == 0) {
                EXPECT_EQ(iRet, 0);
            } else {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(vecLines,
                          Lines{Warning("[  CLS_MainPlayer::PTZWindowCtl _iPtzIndex is invalid iPtzIndex = " +
                                        Value(iValue) + " ]")});
            }
            iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_DrawWindowCtl(iId, iValue, {1, 1, 2, 2}, n_CtlCmd_Move,
                                                             g_tRect);
                },
                &vecLines);
            if (iValue == 0) {
                ExpectDefined(iRet, vecLines, true);
            } else {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(
                    vecLines,
                    Lines{Warning("[  CLS_MainPlayer::DrawWindowCtl _iPtzIndex is invalid iPtzIndex = " +
                                  Value(iValue) + " ]")});
            }
            for (int iView = 0; iView < 3; ++iView) {
                // Window drags with an extreme step, and the wheel with an extreme count: five zoom
                // units per step, kept between 550 and 15000.
                for (int iField = 0; iField < 3; ++iField) {
                    const STRUCT_CtlParam tCtl = CtlWith(iField, iValue, {20, -15, 3});
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_PTZWindowCtl(iId, iView, tCtl, n_CtlCmd_Move, g_tRect);
                        },
                        &vecLines);
                    ExpectDefined(iRet, vecLines);
                    const int iZoomBefore = iView == 0 ? EngineZoom(iId) : 0;
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_PTZWindowCtl(iId, iView, tCtl, n_CtlCmd_Zoom, g_tRect);
                        },
                        &vecLines);
                    EXPECT_EQ(iRet, 0);
                    if (iView == 0 && iField == 2) {
                        const std::int64_t llExpected = std::clamp<std::int64_t>(
                            static_cast<std::int64_t>(iZoomBefore) - 5LL * iValue, 550, 15000);
                        EXPECT_EQ(EngineZoom(iId), llExpected);
                    }
                }
                // Every field of the outline drag.
                for (int iField = 0; iField < 4; ++iField) {
                    const STRUCT_CtlPointParam tPoint = PointWith(iField, iValue);
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_DrawWindowCtl(iId, iView, tPoint, n_CtlCmd_Move,
                                                                     g_tRect);
                        },
                        &vecLines);
                    ExpectDefined(iRet, vecLines, iRet == -2);
                }
                // The command.
                iRet = Run(
                    [&] {
                        return m_pFish->FishPlayer_PTZWindowCtl(iId, iView, {5, 5, 1},
                                                                static_cast<n_CtlCmd>(iValue), g_tRect);
                    },
                    &vecLines);
                if (iValue == n_CtlCmd_Move)
                    ExpectDefined(iRet, vecLines);
                else {
                    EXPECT_EQ(iRet, -1);
                    EXPECT_TRUE(vecLines.empty());
                }
                iRet = Run(
                    [&] {
                        return m_pFish->FishPlayer_DrawWindowCtl(iId, iView, {1, 1, 2, 2},
                                                                 static_cast<n_CtlCmd>(iValue), g_tRect);
                    },
                    &vecLines);
                if (iValue == n_CtlCmd_Move)
                    ExpectDefined(iRet, vecLines, iRet == -2);
                else {
                    EXPECT_EQ(iRet, -1);
                    EXPECT_TRUE(vecLines.empty());
                }
                // The rectangle of both drags.
                for (int iField = 0; iField < 2; ++iField) {
                    const STRUCT_FishWindowRect tRect = RectWith(iField, iValue);
                    const std::string strRect =
                        "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  "
                        "_rect.m_iWidth = " +
                        Value(tRect.m_iWidth) + " _rect.m_iHeight = " + Value(tRect.m_iHeight) + " ]";
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_PTZWindowCtl(iId, iView, {5, 5, 1}, n_CtlCmd_Move,
                                                                    tRect);
                        },
                        &vecLines);
                    if (iValue > 0) {
                        ExpectDefined(iRet, vecLines);
                    } else {
                        EXPECT_EQ(iRet, -1);
                        EXPECT_EQ(vecLines, Lines{Warning(strRect)});
                    }
                    iRet = Run(
                        [&] {
                            return m_pFish->FishPlayer_DrawWindowCtl(iId, iView, {1, 1, 2, 2}, n_CtlCmd_Move,
                                                                     tRect);
                        },
                        &vecLines);
                    if (iValue > 0) {
                        ExpectDefined(iRet, vecLines, iRet == -2);
                    } else {
                        EXPECT_EQ(iRet, -1);
                        EXPECT_EQ(vecLines, Lines{Warning(strRect)});
                    }
                }
            }
        }
    }
}

TEST_F(ExtremeControls, PTZButtons) {
    for (int iId : m_vecIds) {
        for (int iValue : g_aiExtremes) {
            SCOPED_TRACE(iValue);
            Lines vecLines;
            int iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_PTZCtl(iId, iValue, {1, 1, 1}, n_PTZCtlCmd_Up);
                },
                &vecLines);
            if (iValue == 0) {
                ExpectDefined(iRet, vecLines);
            } else {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(vecLines,
                          Lines{Warning("[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = " +
                                        Value(iValue) + " ]")});
            }
            for (int iView = 0; iView < 3; ++iView) {
                // Every field with every command.
                for (int iField = 0; iField < 3; ++iField) {
                    for (int iCmd = 0; iCmd <= 10; ++iCmd) {
                        const int iZoomBefore = iView == 0 ? EngineZoom(iId) : 0;
                        iRet = Run(
                            [&] {
                                return m_pFish->FishPlayer_PTZCtl(iId, iView,
                                                                  CtlWith(iField, iValue, {30, 30, 30}),
                                                                  static_cast<n_PTZCtlCmd>(iCmd));
                            },
                            &vecLines);
                        ExpectDefined(iRet, vecLines);
                        if (iView == 0 && iField == 2 &&
                            (iCmd == n_PTZCtlCmd_ZoomInc || iCmd == n_PTZCtlCmd_ZoomDec)) {
                            // The zoom buttons always reach the engine, within 550 to 15000.
                            EXPECT_EQ(iRet, 0);
                            const std::int64_t llStep = iCmd == n_PTZCtlCmd_ZoomInc
                                                            ? static_cast<std::int64_t>(iValue)
                                                            : -static_cast<std::int64_t>(iValue);
                            const std::int64_t llExpected = std::clamp<std::int64_t>(
                                iZoomBefore + std::clamp<std::int64_t>(llStep, INT_MIN, INT_MAX), 550, 15000);
                            EXPECT_EQ(EngineZoom(iId), llExpected) << "command " << iCmd;
                        }
                    }
                }
                // The command: values above 9 and negative ones move nothing.
                iRet = Run(
                    [&] {
                        return m_pFish->FishPlayer_PTZCtl(iId, iView, {30, 30, 30},
                                                          static_cast<n_PTZCtlCmd>(iValue));
                    },
                    &vecLines);
                ExpectDefined(iRet, vecLines);
            }
        }
    }
}

TEST_F(ExtremeControls, FeedingTakesAnyDataTypeAndRefusesBadSizes) {
    unsigned char acPacket[16] = {0, 0, 0, 1};
    FakeEngine()->SetStreamCopyLimit(0);
    for (int iId : m_vecIds) {
        for (int iValue : g_aiExtremes) {
            SCOPED_TRACE(iValue);
            Lines vecLines;
            // Data types other than 0 are dropped without reaching the engine.
            FakeEngine()->ClearJournal();
            int iRet = Run(
                [&] {
                    return m_pFish->FishPlayer_PutStreamToPlayer(iId, iValue, acPacket, sizeof(acPacket));
                },
                &vecLines);
            EXPECT_EQ(iRet, 0);
            EXPECT_TRUE(vecLines.empty());
            EXPECT_EQ(FakeEngine()->Calls("KW_PutStreamToPlayer").size(), iValue == 0 ? 1u : 0u);
            // Sizes: negative refused by the facade, 0 by the player, any positive one handed on.
            FakeEngine()->ClearJournal();
            iRet = Run([&] { return m_pFish->FishPlayer_PutStreamToPlayer(iId, 0, acPacket, iValue); },
                       &vecLines);
            if (iValue < 0) {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(vecLines,
                          Lines{Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0")});
            } else if (iValue == 0) {
                EXPECT_EQ(iRet, -1);
                EXPECT_EQ(vecLines, Lines{Info("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]")});
            } else {
                EXPECT_EQ(iRet, 0);
                const std::vector<FakeCall> vecCalls = FakeEngine()->Calls("KW_PutStreamToPlayer");
                ASSERT_EQ(vecCalls.size(), 1u);
                EXPECT_EQ(vecCalls[0].m_vecArgs[2], iValue);
            }
        }
    }
}

} // namespace
