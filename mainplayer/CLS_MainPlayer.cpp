// _ZEBFAULT_
// Lifecycle of the main player: algorithm handle, engine player, channel user data, stream
// feeding and the correction switch.
#include "CLS_MainPlayer.h"

#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"
#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"
#include "subplayers/CLS_SubPlayer.h"

#include <QReadLocker>
#include <QSet>
#include <QWriteLocker>

#include <algorithm>
#include <cstring>
#include <limits>

// The area fractions are narrowed from double to float; with IEEE floats every double has a
// defined float (values beyond the float range become infinities).
static_assert(std::numeric_limits<float>::is_iec559, "IEEE 754 floats are required");

namespace {

// Main players that have subscribed to user data and are still alive. The engine may keep
// delivering user data to a player that has gone (one without algorithm handle keeps its
// registration, and a delivery may already be under way when the registration is stopped); such
// deliveries are dropped. A player joins the set only when it subscribes, once everything a
// delivery reads is set, so a late delivery for a destroyed player can never reach a new player
// still being built at the same address. Recursive, because a delivery may arrive while the
// engine is being called from a delivery.
QReadWriteLock g_qrwlockLivePlayers(QReadWriteLock::Recursive);
QSet<const void*> g_qsetLivePlayers;

// Initialisation record of the algorithm handle for a picture size and an area given in
// 1/10000 of the picture.
STRUCT_FcuInitParam MakeFcuInitParam(int _iWidth, int _iHeight, double _dLeft, double _dTop, double _dRight,
                                     double _dBottom) {
    STRUCT_FcuInitParam tParam{};
    tParam.m_iSize = sizeof(STRUCT_FcuInitParam);
    tParam.m_iWidth = _iWidth;
    tParam.m_iHeight = _iHeight;
    tParam.m_iField12 = 2;
    tParam.m_fAreaLeft = static_cast<float>(_dLeft / 10000.0);
    tParam.m_fAreaRight = static_cast<float>(_dRight / 10000.0);
    tParam.m_fAreaTop = static_cast<float>(_dTop / 10000.0);
    tParam.m_fAreaBottom = static_cast<float>(_dBottom / 10000.0);
    tParam.m_fField32 = 0.5f;
    tParam.m_fField36 = 0.5f;
    return tParam;
}

// KW_PlayerControl is called without a prior check of its own; an engine that lacks it answers
// like a failed call.
int PlayerControl(int _iPlayIndex, STRUCT_UserDataCallBackParam* _pParam, int _iParamSize) {
    if (nullptr == CLS_ZebPlayer_SDK::KW_PlayerControl)
        return -1;
    return CLS_ZebPlayer_SDK::KW_PlayerControl(_iPlayIndex, KW_CONTROL_USER_DATA, _pParam, _iParamSize, 0);
}

// The body of the operations that are declared but not provided.
int NotProvided() {
    return -1;
}

} // namespace

CLS_MainPlayer::CLS_MainPlayer() {
    const int iLoad = CLS_ZebAlgoFcu::LoadLib();
    if (iLoad < 0) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CLS_MainPlayer CLS_ZebAlgoFcu::LoadLib fail iRet = ", iLoad,
                            " ]");
        return;
    }
    if (CLS_ZebLog::Refuse(
            {{nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat,
              "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat ]"}}) < 0)
        return;
    m_pFcuHandle = CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(nullptr, nullptr);
    if (nullptr == m_pFcuHandle) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CLS_MainPlayer CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat fail]");
        return;
    }
    // Nobody else sees the player yet: the defaults are read without the lock.
    STRUCT_FcuInitParam tInit = MakeFcuInitParam(m_iVideoWidth, m_iVideoHeight, 0.0, 0.0, 10000.0, 10000.0);
    if (CLS_ZebLog::Refuse(
            {{nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Init,
              "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Init ]"}}) < 0)
        return;
    const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Init(m_pFcuHandle, &tInit);
    if (iRet < 0) // the handle is kept: the area applied later re-initialises it
        CLS_ZebLog::Warning(
            "[  CLS_MainPlayer::CLS_MainPlayer CLS_ZebAlgoFcu::ZebAlgo_FCU_Init fail iRet = ", iRet, " ]");
}

CLS_MainPlayer::~CLS_MainPlayer() {
    {
        // Waits for a delivery of user data in progress on this player.
        QWriteLocker qlocker(&g_qrwlockLivePlayers);
        g_qsetLivePlayers.remove(this);
    }
    if (m_blDiscarded) {
        if (nullptr != m_pFcuHandle && nullptr != CLS_ZebAlgoFcu::ZebAlgo_FCU_Release)
            CLS_ZebAlgoFcu::ZebAlgo_FCU_Release(m_pFcuHandle);
        return;
    }
    if (nullptr == m_pFcuHandle || nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Release) {
        // Nothing is released, but a draw thread must not outlive the object it reads.
        CLS_ZebLog::Warning("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]");
        EnableDraw(false);
        return;
    }
    CLS_ZebAlgoFcu::ZebAlgo_FCU_Release(m_pFcuHandle);
    m_pFcuHandle = nullptr;
    STRUCT_UserDataCallBackParam tStop{};
    tStop.m_pUser = this;
    PlayerControl(m_iPlayIndex, &tStop, 0);
    CLS_MainPlayer::DeleteAllPlayer();
}

int CLS_MainPlayer::CheckStreamArguments(const STRUCT_StreamArgumentLines& _tLines, const void* _pMainWindow,
                                         const unsigned char* _pcVideoHeader, int _iHeadSize,
                                         const int* _pFishMainPlyerID) {
    const std::initializer_list<STRUCT_ZebCheck> checks = {
        {nullptr == _pMainWindow, _tLines.m_pcNullWindow},
        {nullptr == _pcVideoHeader, _tLines.m_pcNullHeader},
        {_iHeadSize <= 0, _tLines.m_pcBadHeadSize},
        {nullptr != _tLines.m_pcNullId && nullptr == _pFishMainPlyerID, _tLines.m_pcNullId}};
    return _tLines.m_blInfo ? CLS_ZebLog::RefuseInfo(checks) : CLS_ZebLog::Refuse(checks);
}

void CLS_MainPlayer::DiscardFailedCreation(CLS_MainPlayer* _pMainPlayer) {
    // A failed creation never subscribed to user data nor started views or a draw thread.
    _pMainPlayer->m_blDiscarded = true;
    delete _pMainPlayer;
}

int CLS_MainPlayer::CreateMainPlayer(const STRUCT_FishEyeParam&, const void*, const QString&, int*) {
    return NotProvided();
}

int CLS_MainPlayer::ReservedOperation1() {
    return NotProvided();
}

int CLS_MainPlayer::ReservedOperation2() {
    return NotProvided();
}

int CLS_MainPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                     int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                                     int* _pFishMainPlyerID, int _iPlayIndex, bool _blIsInitUserData,
                                     osd_TLDCSet _tTLDSet) {
    static const STRUCT_StreamArgumentLines s_tLines = {
        "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]",
        "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]",
        "[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]",
        "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]",
        true,
    };
    if (CheckStreamArguments(s_tLines, _pMainWindow, _pcVideoHeader, _iHeadSize, _pFishMainPlyerID) < 0 ||
        CLS_ZebLog::RefuseInfo(
            {{nullptr == CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds,
              "[  CLS_MainPlayer::CreateMainPlayer nullptr == "
              "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_Play,
              "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_ZebPlayer_SDK::KW_Play]"}}) < 0)
        return -1;
    // Only stream type 0 opens a player; the others are accepted without one.
    if (0 != _iStreamType)
        return 0;

    STRUCT_StreamHeader tHeader{};
    std::memcpy(&tHeader, _pcVideoHeader, std::min<size_t>(static_cast<size_t>(_iHeadSize), sizeof(tHeader)));
    if (CLS_ZebLog::RefuseInfo({{tHeader.m_iSize != _iHeadSize,
                                 "[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]"}}) < 0)
        return -1;
    {
        QWriteLocker qlocker(&m_qrwlockArea);
        m_iVideoWidth = tHeader.m_iWidth;
        m_iVideoHeight = tHeader.m_iHeight;
    }

    STRUCT_PlayerCreateParam tCreate{};
    tCreate.m_iSize = sizeof(STRUCT_PlayerCreateParam);
    tCreate.m_pWindow = const_cast<void*>(_pMainWindow); // the engine takes the handle as it is
    tCreate.m_iWidth = tHeader.m_iWidth;
    tCreate.m_iHeight = tHeader.m_iHeight;
    const int iPlayerID = CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds(KW_SPECIAL_NEEDS_STREAM, &tCreate,
                                                                            sizeof(tCreate), 0);
    if (iPlayerID < 0) {
        CLS_ZebLog::Info("[  CLS_MainPlayer::CreateMainPlayer "
                         "CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds < 0  iPlayerID = ",
                         iPlayerID, " ]");
        return -1;
    }
    m_iMainPlayId = iPlayerID;
    m_pMainWindow = const_cast<void*>(_pMainWindow);
    m_tFishEyeParam = _tParam;
    *_pFishMainPlyerID = m_iMainPlayId;

    const int iPlay = CLS_ZebPlayer_SDK::KW_Play(m_iMainPlayId);
    if (0 != iPlay) {
        // The player stays open so that the caller can still delete it.
        CLS_ZebLog::Warning("KW_Play fail iRet = ", iPlay);
        return iPlay;
    }
    m_iPlayIndex = _iPlayIndex;

    if (_blIsInitUserData) {
        ApplyTLDSet(&_tTLDSet);
    } else {
        {
            // Deliveries are taken from here on.
            QWriteLocker qlocker(&g_qrwlockLivePlayers);
            g_qsetLivePlayers.insert(this);
        }
        STRUCT_UserDataCallBackParam tRegister{};
        tRegister.m_iSize = sizeof(STRUCT_UserDataCallBackParam);
        tRegister.m_pfCallBack = &CLS_MainPlayer::UserDataCallBack;
        tRegister.m_pUser = this;
        const int iRet = PlayerControl(_iPlayIndex, &tRegister, sizeof(tRegister));
        if (0 != iRet) // the player plays without the area
            CLS_ZebLog::Warning("KW_PlayerControl iRet = ", iRet);
    }
    return 0;
}

int CLS_MainPlayer::ApplyTLDSet(const osd_TLDCSet* _pTLDSet) {
    if (nullptr == m_pFcuHandle || m_iMainPlayId < 0)
        return -1;
    if (nullptr == _pTLDSet) // every caller passes a record; refused rather than read
        return -1;
    STRUCT_FcuInitParam tInit{};
    {
        QWriteLocker qlocker(&m_qrwlockArea);
        if (_pTLDSet->m_dLeft == m_dAreaLeft && _pTLDSet->m_dTop == m_dAreaTop &&
            _pTLDSet->m_dRight == m_dAreaRight && _pTLDSet->m_dBottom == m_dAreaBottom)
            return 0;
        m_dAreaLeft = _pTLDSet->m_dLeft;
        m_dAreaTop = _pTLDSet->m_dTop;
        m_dAreaRight = _pTLDSet->m_dRight;
        m_dAreaBottom = _pTLDSet->m_dBottom;
        tInit = MakeFcuInitParam(m_iVideoWidth, m_iVideoHeight, m_dAreaLeft, m_dAreaTop, m_dAreaRight,
                                 m_dAreaBottom);
    }
    {
        QWriteLocker qlocker(&m_qrwlockUserData);
        m_blIsInitUserData = true;
    }
    // Reaches the engine only while correction is off; otherwise the new area waits for the
    // next switch-on.
    EnableFishEye(true);
    // The two lines below name the initialisation, which this call repeats with the new area.
    if (CLS_ZebLog::Refuse(
            {{nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl,
              "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Init ]"}}) < 0)
        return -1;
    const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl(m_pFcuHandle, &tInit);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_MainPlayer::CLS_MainPlayer CLS_ZebAlgoFcu::ZebAlgo_FCU_Init fail iRet = ", iRet, " ]");
        return -1;
    }
    return 0;
}

void CLS_MainPlayer::UserDataCallBack(int, int _iDataType, const unsigned char* _pcData, int _iLength,
                                      void* _pUser) {
    if (nullptr == _pcData || nullptr == _pUser || KW_USER_DATA_FISHEYE_AREA != _iDataType)
        return;
    // The payload is copied up to the size of the record, whatever length the engine gives.
    osd_TLDCSet tTLDSet{};
    const int iCopy = std::min<int>(std::max(_iLength, 0), static_cast<int>(sizeof(tTLDSet)));
    std::memcpy(&tTLDSet, _pcData, static_cast<size_t>(iCopy));
    QReadLocker qlocker(&g_qrwlockLivePlayers);
    if (!g_qsetLivePlayers.contains(_pUser))
        return;
    static_cast<CLS_MainPlayer*>(_pUser)->ApplyTLDSet(&tTLDSet);
}

bool CLS_MainPlayer::IsInitUserData() {
    QReadLocker qlocker(&m_qrwlockUserData);
    return m_blIsInitUserData;
}

int CLS_MainPlayer::DeleteAllSubPlayer() {
    EnableFishEye(false);
    EnableDraw(false); // joins the draw thread, the only other reader of the views
    for (auto it = m_qmapSubPlayers.begin(); it != m_qmapSubPlayers.end(); ++it) {
        for (CLS_SubPlayer* pPlayer : it.value())
            delete pPlayer;
    }
    m_qmapSubPlayers = QMap<int, QVector<CLS_SubPlayer*>>();
    return 0;
}

int CLS_MainPlayer::DeleteAllPlayer() {
    DeleteAllSubPlayer();
    if (CLS_ZebLog::Refuse(
            {{m_iMainPlayId < 0, "[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_DeletePlayer,
              "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_ZebPlayer_SDK::KW_DeletePlayer ]"}}) < 0)
        return -1;
    return CLS_ZebPlayer_SDK::KW_DeletePlayer(m_iMainPlayId);
}

int CLS_MainPlayer::PutStreamToPlayer(int _iDataType, unsigned char* _pcStreamData, int _iSize) {
    if (CLS_ZebLog::RefuseInfo(
            {{m_iMainPlayId < 0, "[  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]"},
             {nullptr == _pcStreamData, "[  CLS_MainPlayer::PutStreamToPlayer nullptr == _pcStreamData ]"},
             {_iSize <= 0, "[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_PutStreamToPlayer,
              "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_ZebPlayer_SDK::KW_PutStreamToPlayer ]"}}) <
        0)
        return -1;
    // Only data type 0 is played; other packets are dropped.
    if (0 != _iDataType)
        return 0;
    return CLS_ZebPlayer_SDK::KW_PutStreamToPlayer(m_iMainPlayId, _pcStreamData, _iSize);
}

int CLS_MainPlayer::EnableFishEye(bool _blEnable) {
    QMutexLocker qlockerFishEye(&m_mutexFishEye);
    if (_blEnable == m_blFishEyeEnabled)
        return 0;
    if (CLS_ZebLog::Refuse({{m_iMainPlayId < 0, "[  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]"}}) <
        0)
        return -1;
    if (_blEnable) {
        // The flag is set after the area, so an area read after a set flag is complete.
        const bool blIsInitUserData = IsInitUserData();
        STRUCT_CorrectSetup tSetup{};
        tSetup.m_iSize = sizeof(STRUCT_CorrectSetup);
        tSetup.m_iInstallMode = m_tFishEyeParam.m_iInstallMode;
        tSetup.m_iCorrectType = CORRECT_TYPE_PTZ;
        tSetup.m_iField12 = 20;
        tSetup.m_iField40 = 32;
        tSetup.m_iPositionX = 3000;
        tSetup.m_iPositionY = 4500;
        tSetup.m_iZoom = 10000;
        tSetup.m_pWindow = m_pMainWindow;
        if (blIsInitUserData) {
            QReadLocker qlocker(&m_qrwlockArea);
            tSetup.m_iAreaLeft = CLS_ZebMath::TruncToInt(m_dAreaLeft);
            tSetup.m_iAreaRight = CLS_ZebMath::TruncToInt(m_dAreaRight);
            tSetup.m_iAreaTop = CLS_ZebMath::TruncToInt(m_dAreaTop);
            tSetup.m_iAreaBottom = CLS_ZebMath::TruncToInt(m_dAreaBottom);
            tSetup.m_iWidth = m_iVideoWidth;
            tSetup.m_iHeight = m_iVideoHeight;
        } else {
            tSetup.m_iAreaLeft = 0;
            tSetup.m_iAreaRight = 10000;
            tSetup.m_iAreaTop = 0;
            tSetup.m_iAreaBottom = 10000;
            tSetup.m_iWidth = 1000;
            tSetup.m_iHeight = 1000;
        }
        if (CLS_ZebLog::Refuse({{nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable,
                                 "[  CLS_MainPlayer::EnableFishEye  "
                                 "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable == nullptr ]"}}) < 0)
            return -1;
        // Always off before on, so that the engine takes the new set-up.
        CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable(m_iMainPlayId, 0, nullptr);
        const int iRet = CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable(m_iMainPlayId, 1, &tSetup);
        if (iRet < 0) {
            CLS_ZebLog::Warning("[  CLS_MainPlayer::EnableFishEye  "
                                "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable fail iRet = ",
                                iRet, " ]");
            return -1;
        }
        m_iFishCorrectId = iRet;
    } else {
        if (CLS_ZebLog::Refuse({{nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack,
                                 "[  CLS_MainPlayer::EnableFishEye nullptr == "
                                 "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack == nullptr ]"},
                                {nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable,
                                 "[  CLS_MainPlayer::EnableFishEye nullptr == "
                                 "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable == nullptr ]"}}) < 0)
            return -1;
        if (m_iFishCorrectId >= 0)
            CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack(m_iMainPlayId, m_iFishCorrectId, nullptr, this);
        // m_iFishCorrectId keeps the last id.
        CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable(m_iMainPlayId, 0, nullptr);
    }
    m_blFishEyeEnabled = _blEnable;
    return 0;
}
