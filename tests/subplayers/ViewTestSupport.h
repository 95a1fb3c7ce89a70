// Fixture and helpers shared by the view tests: the fakes loaded and reset, views that expose their
// state, and set-up records.
#ifndef VIEW_TEST_SUPPORT_H
#define VIEW_TEST_SUPPORT_H

#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"
#include "subplayers/CLS_180ViewSubPlayer.h"
#include "subplayers/CLS_360ViewSubPlayer.h"
#include "subplayers/CLS_FishEyeSubPlayer.h"
#include "subplayers/CLS_LATViewSubPlayer.h"
#include "subplayers/CLS_PTZSubPlayer.h"
#include "subplayers/CLS_SourceSubPlayer.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Lines = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

// Exposes a view's protected state to the tests.
template <typename TView> class Exposed : public TView {
public:
    using TView::m_dCenterX;
    using TView::m_dCenterY;
    using TView::m_iMainPlayId;
    using TView::m_iSetupExtra;
    using TView::m_iSetupMode;
    using TView::m_iSetupType;
    using TView::m_iSubPlayId;
    using TView::m_pFcuHandle;
    using TView::m_pWindow;
    using TView::m_tCorrectSetup;
};

class ExposedPTZ : public Exposed<CLS_PTZSubPlayer> {
public:
    using CLS_PTZSubPlayer::CoordSwitch;
    using CLS_PTZSubPlayer::GetFishPoint;
    using CLS_PTZSubPlayer::m_fFishPointX;
    using CLS_PTZSubPlayer::m_fFishPointY;
    using CLS_PTZSubPlayer::m_iDrawType;
    using CLS_PTZSubPlayer::m_qvecDrawData;
    using CLS_PTZSubPlayer::RotatePoint;
    using CLS_PTZSubPlayer::SetFecDraw;
    using CLS_PTZSubPlayer::SetRectDraw;
};

// Ids the fake engine hands out first.
constexpr int MAIN_ID = 1;
constexpr int FIRST_CORRECT_ID = 100;

inline void* Handle() {
    static char s_cHandle;
    return &s_cHandle;
}
inline void* Window() {
    static char s_cWindow;
    return &s_cWindow;
}

// A view's set-up record with the fields the views read and a few others for the copy checks.
inline STRUCT_CorrectSetup ViewSetup(int _iMode, int _iType, int _iX = 0, int _iY = 0, int _iZoom = 10000,
                                     int _iWidth = 480, int _iHeight = 270, int _iExtra = 0) {
    STRUCT_CorrectSetup tSetup{};
    tSetup.m_iSize = 88;
    tSetup.m_iInstallMode = _iMode;
    tSetup.m_iCorrectType = _iType;
    tSetup.m_iField32 = 8;
    tSetup.m_iField40 = 32;
    tSetup.m_iViewIndex = 3;
    tSetup.m_iPositionX = _iX;
    tSetup.m_iPositionY = _iY;
    tSetup.m_iZoom = _iZoom;
    tSetup.m_iWidth = _iWidth;
    tSetup.m_iHeight = _iHeight;
    tSetup.m_pWindow = Window();
    tSetup.m_iExtra = _iExtra;
    return tSetup;
}

// The engine's PTZ record (kind 1) with its own fields at 0, 4 and 20 to 31 set.
inline Bytes PTZRecord(int _iX, int _iY, int _iZoom) {
    return RecordBytes(32)
        .At<int>(0, 0x11)
        .At<int>(4, 0x22)
        .At<int>(8, _iX)
        .At<int>(12, _iY)
        .At<int>(16, _iZoom)
        .At<int>(20, 0x33)
        .At<int>(24, 0x44)
        .At<int>(28, 0x55);
}

inline std::string Warn(const std::string& _strText) {
    return "warning: _ZEB_ Panoview : " + _strText;
}
inline std::string Info(const std::string& _strText) {
    return "info: _ZEB_ Panoview : " + _strText;
}

class ViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
        CLS_ZebAlgoFcu::LoadLib(); // a variant lacking exports answers -1 and logs; both are fine here
        ASSERT_NE(FakeEngine(), nullptr);
        FakeEngine()->Reset();
        if (FakeAlgo())
            FakeAlgo()->Reset();
        TestLog::Clear();
    }

    static std::vector<FakeCall> Engine(const char* _pcName) { return FakeEngine()->Calls(_pcName); }
    static std::vector<FakeCall> Algo(const char* _pcName) { return FakeAlgo()->Calls(_pcName); }
    static size_t EngineCallCount() { return FakeEngine()->Journal().size(); }

    // Forgets what the set-up of a view left in the journals and the log.
    static void Forget() {
        std::vector<unsigned char> vecPara = FakeEngine()->GetPara(FIRST_CORRECT_ID, 1);
        FakeEngine()->Reset();
        if (!vecPara.empty())
            FakeEngine()->SetPara(FIRST_CORRECT_ID, 1, vecPara);
        if (FakeAlgo())
            FakeAlgo()->Reset();
        TestLog::Clear();
    }
};

#endif // VIEW_TEST_SUPPORT_H
