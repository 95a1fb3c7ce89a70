// Window controls and PTZ commands reach the addressed view, with their lookups and messages.
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestMainPlayer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Lines = std::vector<std::string>;

constexpr STRUCT_FishWindowRect g_tRect{640, 480};

class Dispatch : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
        m_pPlayer = std::make_unique<TestMainPlayer>();
        TestLog::Clear();
    }
    RecordingView* AddView(int _iCorrectType, const std::string& _strName) {
        RecordingView* pView = new RecordingView(&m_vecCalls);
        pView->m_strName = _strName;
        m_pPlayer->m_qmapSubPlayers[_iCorrectType].append(pView);
        return pView;
    }
    void AddPTZViews(int _iCount) {
        for (int i = 0; i < _iCount; ++i)
            AddView(CORRECT_TYPE_PTZ, "ptz" + std::to_string(i));
    }
    std::vector<std::string> m_vecCalls;
    std::unique_ptr<TestMainPlayer> m_pPlayer;
};

TEST_F(Dispatch, CorrectWindowMoveGoesToTheFirstViewOfTheType) {
    AddView(CORRECT_TYPE_360, "first");
    AddView(CORRECT_TYPE_360, "second");
    AddView(CORRECT_TYPE_360, "third");
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_360, {64, -5, 9}, n_CtlCmd_Move, g_tRect), 11);
    EXPECT_EQ(m_vecCalls, Lines({"first: Move 64 -5 640x480"}));
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(Dispatch, CorrectWindowZoomAndUnknownCommandsFailSilently) {
    AddView(CORRECT_TYPE_PTZ, "ptz0"); // Zoom exists on the view, but this control does not zoom
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_PTZ, {1, 2, 3}, n_CtlCmd_Zoom, g_tRect), -1);
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_PTZ, {1, 2, 3}, static_cast<n_CtlCmd>(7), g_tRect),
              -1);
    EXPECT_TRUE(m_vecCalls.empty());
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(Dispatch, CorrectWindowForAMissingTypeLogsAtInfoLevel) {
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_180, {1, 2, 3}, static_cast<n_CtlCmd>(7), g_tRect),
              -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::CorrectWindowCtl "
                                       "!m_qmapSubPlayers.contains(_iCorrectType) _iCorrectType =  512  ]"}));
    EXPECT_FALSE(m_pPlayer->m_qmapSubPlayers.contains(CORRECT_TYPE_180)); // the lookup adds no entry
}

TEST_F(Dispatch, CorrectWindowForAnEmptyTypeLogsAtInfoLevel) {
    m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_LAT];
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_LAT, {1, 2, 3}, n_CtlCmd_Move, g_tRect), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::CorrectWindowCtl "
                                       "qvecPlayers.isEmpty()  _iCorrectType =  1024  ]"}));
}

TEST_F(Dispatch, CorrectWindowForANullFirstViewWarns) {
    m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_180].append(nullptr);
    AddView(CORRECT_TYPE_180, "second");
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_180, {1, 2, 3}, n_CtlCmd_Move, g_tRect), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::CorrectWindowCtl "
                                       "nullptr == qvecPlayers.at(0) ]"}));
    EXPECT_TRUE(m_vecCalls.empty());
}

TEST_F(Dispatch, CorrectWindowOnAViewWithoutMoveAnswersZero) {
    m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_LAT].append(new CLS_SubPlayer());
    EXPECT_EQ(m_pPlayer->CorrectWindowCtl(CORRECT_TYPE_LAT, {1, 2, 3}, n_CtlCmd_Move, g_tRect), 0);
}

TEST_F(Dispatch, DrawWindowMoveGoesToThePTZViewByIndexWithThePointRecord) {
    AddPTZViews(3);
    EXPECT_EQ(m_pPlayer->DrawWindowCtl(2, {1, 2, 3, 4}, n_CtlCmd_Move, g_tRect), 12);
    EXPECT_EQ(m_vecCalls, Lines({"ptz2: MovePoint 1 2 3 4 640x480"}));
    EXPECT_EQ(m_pPlayer->DrawWindowCtl(0, {1, 2, 3, 4}, n_CtlCmd_Zoom, g_tRect), -1);
    EXPECT_EQ(m_vecCalls.size(), 1u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(Dispatch, PTZWindowMoveAndZoom) {
    AddPTZViews(2);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(1, {10, 20, 30}, n_CtlCmd_Move, g_tRect), 11);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(0, {10, 20, 30}, n_CtlCmd_Zoom, g_tRect), 13);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(0, {10, 20, 30}, static_cast<n_CtlCmd>(2), g_tRect), -1);
    EXPECT_EQ(m_vecCalls, Lines({"ptz1: Move 10 20 640x480", "ptz0: Zoom 30"}));
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(Dispatch, PTZCommandIsHandedOnWholeWhateverItsValue) {
    AddPTZViews(2);
    EXPECT_EQ(m_pPlayer->PTZCtl(1, {5, 6, 7}, n_PTZCtlCmd_ZoomInc), 14);
    EXPECT_EQ(m_pPlayer->PTZCtl(0, {5, 6, 7}, static_cast<n_PTZCtlCmd>(123)), 14);
    EXPECT_EQ(m_vecCalls, Lines({"ptz1: PTZCtl 5 6 7 9", "ptz0: PTZCtl 5 6 7 123"}));
}

TEST_F(Dispatch, PTZCommandWithAnIndexOutOfRange) {
    AddPTZViews(2);
    EXPECT_EQ(m_pPlayer->PTZCtl(-1, {5, 6, 7}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(m_pPlayer->PTZCtl(2, {5, 6, 7}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines(
            {"warning: _ZEB_ Panoview : [  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex =  -1  ]",
             "warning: _ZEB_ Panoview : [  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex =  2  ]"}));
    EXPECT_TRUE(m_vecCalls.empty());
}

TEST_F(Dispatch, EveryPTZControlNamesItselfForMissingViewsAndBadIndexes) {
    const STRUCT_CtlPointParam tPoint{1, 2, 3, 4};
    EXPECT_EQ(m_pPlayer->DrawWindowCtl(0, tPoint, static_cast<n_CtlCmd>(9), g_tRect), -1);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(0, {1, 2, 3}, static_cast<n_CtlCmd>(9), g_tRect), -1);
    EXPECT_EQ(m_pPlayer->PTZCtl(0, {1, 2, 3}, n_PTZCtlCmd_Up), -1);
    m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ];
    EXPECT_EQ(m_pPlayer->DrawWindowCtl(0, tPoint, n_CtlCmd_Move, g_tRect), -1);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(-7, {1, 2, 3}, n_CtlCmd_Move, g_tRect), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawWindowCtl "
                                       "!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::PTZWindowCtl "
                                       "!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::PTZCtl "
                                       "!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawWindowCtl "
                                       "_iPtzIndex is invalid iPtzIndex =  0  ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::PTZWindowCtl _iPtzIndex "
                                       "is invalid iPtzIndex =  -7  ]"}));
}

TEST_F(Dispatch, ANullPTZViewIsReportedWithTheSharedText) {
    m_pPlayer->m_qmapSubPlayers[CORRECT_TYPE_PTZ].append(nullptr);
    EXPECT_EQ(m_pPlayer->DrawWindowCtl(0, {1, 2, 3, 4}, n_CtlCmd_Move, g_tRect), -1);
    EXPECT_EQ(m_pPlayer->PTZWindowCtl(0, {1, 2, 3}, static_cast<n_CtlCmd>(9), g_tRect), -1);
    EXPECT_EQ(m_pPlayer->PTZCtl(0, {1, 2, 3}, n_PTZCtlCmd_Up), -1);
    const std::string strLine =
        "warning: _ZEB_ Panoview : [  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]";
    EXPECT_EQ(TestLog::Lines(), Lines({strLine, strLine, strLine}));
}

TEST_F(Dispatch, ExtremeIndexesAreRefused) {
    AddPTZViews(1);
    EXPECT_EQ(m_pPlayer->PTZCtl(2147483647, {1, 2, 3}, n_PTZCtlCmd_Up), -1);
    EXPECT_EQ(m_pPlayer->PTZCtl(-2147483647 - 1, {1, 2, 3}, n_PTZCtlCmd_Up), -1);
    EXPECT_TRUE(m_vecCalls.empty());
    EXPECT_EQ(TestLog::Lines().size(), 2u);
}

} // namespace
