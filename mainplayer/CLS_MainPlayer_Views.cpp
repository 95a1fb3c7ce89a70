// _ZEBFAULT_
// View set-up, coordinate conversion and control dispatch of the main player.
#include "CLS_MainPlayer.h"

#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"
#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"
#include "subplayers/CLS_180ViewSubPlayer.h"
#include "subplayers/CLS_360ViewSubPlayer.h"
#include "subplayers/CLS_FishEyeSubPlayer.h"
#include "subplayers/CLS_LATViewSubPlayer.h"
#include "subplayers/CLS_PTZSubPlayer.h"
#include "subplayers/CLS_SourceSubPlayer.h"

#include <QMutexLocker>
#include <QReadLocker>

#include <algorithm>
#include <cstdint>

namespace {

// Default PTZ centres, for view ids 0 to 7 (ids beyond a layout's count read them too).
constexpr int g_aiCentreX3[8] = {5000, 1667, 8333, 0, 3750, 5000, 6250, 2500};    // 3 views, x
constexpr int g_aiCentreX4[8] = {2500, 7500, 2500, 7500, 2500, 2500, 7500, 7500}; // 4 views, x
constexpr int g_aiCentreY4[8] = {2500, 2500, 7500, 7500, 2500, 5000, 7500, 2500}; // 4 views, y
constexpr int g_aiCentreX8[8] = {2500, 5000, 7500, 2500, 7500, 2500, 5000, 7500}; // 8 views, x
constexpr int g_aiCentreY8[8] = {2500, 2500, 2500, 5000, 5000, 7500, 7500, 7500}; // 8 views, y
constexpr int g_aiPanoramaX8[8] = {3750, 5000, 6250, 2500, 7500, 1250, 0, 8750};  // 8 views, panorama x
constexpr int g_iDefaultCentreY = 4500;

int TableValue(const int (&_aiTable)[8], int _iPtzId) {
    return (_aiTable[_iPtzId] + 10000) % 10000;
}

// Every view kind: its correction type, how its object is made, and whether creating it starts
// the draw thread (PTZ and source views never do). A new kind is a row here.
template <typename T> CLS_SubPlayer* NewView() {
    return new T();
}
struct STRUCT_ViewKind {
    int m_iCorrectType;
    CLS_SubPlayer* (*m_pfNew)();
    bool m_blStartsDrawThread;
};
constexpr STRUCT_ViewKind g_atViewKinds[] = {
    {CORRECT_TYPE_FISHEYE, &NewView<CLS_FishEyeSubPlayer>, true},
    {CORRECT_TYPE_PTZ, &NewView<CLS_PTZSubPlayer>, false},
    {CORRECT_TYPE_360, &NewView<CLS_360ViewSubPlayer>, true},
    {CORRECT_TYPE_180, &NewView<CLS_180ViewSubPlayer>, true},
    {CORRECT_TYPE_LAT, &NewView<CLS_LATViewSubPlayer>, true},
    {0, &NewView<CLS_SourceSubPlayer>, false},
};
// The client's correction types are the engine's: one value each, defined by the contract.
static_assert(CORRECT_TYPE_PTZ == KW_CORRECT_PTZ && CORRECT_TYPE_180 == KW_CORRECT_180 &&
                  CORRECT_TYPE_360 == KW_CORRECT_360 && CORRECT_TYPE_LAT == KW_CORRECT_LAT &&
                  CORRECT_TYPE_FISHEYE == KW_CORRECT_FISHEYE && 0 == KW_CORRECT_SOURCE,
              "the public correction types are the engine's");

// The kind of a correction type, or null for a key that names no view.
const STRUCT_ViewKind* FindViewKind(int _iCorrectType) {
    for (const STRUCT_ViewKind& tKind : g_atViewKinds)
        if (tKind.m_iCorrectType == _iCorrectType)
            return &tKind;
    return nullptr;
}

} // namespace

int CLS_MainPlayer::CreateSubPlayers(const STRUCT_FishEyeParam& _tParam, int /*_iFishPlayerID*/,
                                     const QMap<int, QVector<void*>>& _qmapWindows,
                                     QMap<int, QVector<int>>& _qmapIds,
                                     const STRUCT_FishDrawParam& _tDrawParam, int _iExtra) {
    if (CLS_ZebLog::Refuse(
            {{m_iMainPlayId < 0, "[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]"},
             {nullptr == m_pFcuHandle, "[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack,
              "[  CLS_MainPlayer::CreateSubPlayers nullptr == "
              "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]"}}) < 0)
        return -1;
    EnableFishEye(true);
    EnableDraw(_tDrawParam.m_iDrawEnable != 0);

    int iVideoWidth = 0;
    int iVideoHeight = 0;
    {
        QReadLocker qlocker(&m_qrwlockArea);
        iVideoWidth = m_iVideoWidth;
        iVideoHeight = m_iVideoHeight;
    }

    for (auto it = _qmapWindows.cbegin(); it != _qmapWindows.cend(); ++it) {
        const int iSubPlayerType = it.key();
        const QVector<void*> qvecSubWindows = it.value();
        if (qvecSubWindows.isEmpty()) {
            CLS_ZebLog::Warning("[  CLS_MainPlayer::CreateSubPlayers iSubPlayerType = ", iSubPlayerType,
                                " qvecSubWindows.isEmpty() ]");
            continue;
        }
        // One view per PTZ window, one view on the first window for every other type.
        const int iViewCount =
            iSubPlayerType == CORRECT_TYPE_PTZ ? static_cast<int>(qvecSubWindows.size()) : 1;
        const STRUCT_ViewKind* pKind = FindViewKind(iSubPlayerType);
        for (int i = 0; nullptr != pKind && i < iViewCount; ++i) { // a key that names no view creates nothing
            CLS_SubPlayer* pSubPlayer = pKind->m_pfNew();
            void* pWindow = qvecSubWindows.at(i);
            STRUCT_CorrectSetup tSetup{};
            tSetup.m_iSize = sizeof(STRUCT_CorrectSetup);
            if (iSubPlayerType == CORRECT_TYPE_PTZ) {
                int aiCentre[2] = {0, 0};
                GetDefultCenterPoint(i, iViewCount, aiCentre, _tParam.m_iInstallMode, _iExtra);
                tSetup.m_iInstallMode = _tParam.m_iInstallMode;
                tSetup.m_iCorrectType = _tParam.m_iAlgoParam; // what the outline set-up expects here
                tSetup.m_iField32 = 8;
                tSetup.m_iField40 = 32;
                tSetup.m_iViewIndex = i;
                tSetup.m_iPositionX = aiCentre[0];
                tSetup.m_iPositionY = aiCentre[1];
                tSetup.m_iZoom = 10000;
                tSetup.m_iWidth = iVideoWidth / 4;
                tSetup.m_iHeight = iVideoHeight / 4;
                tSetup.m_pWindow = pWindow;
                tSetup.m_iExtra = _iExtra;
                pSubPlayer->InitPTZDraw(m_pFcuHandle, &tSetup, _tDrawParam.m_iDrawType);
                tSetup.m_iCorrectType = CORRECT_TYPE_PTZ;
            } else if (iSubPlayerType != CORRECT_TYPE_FISHEYE) {
                tSetup.m_iInstallMode = _tParam.m_iInstallMode;
                tSetup.m_iCorrectType = iSubPlayerType;
                tSetup.m_iField32 = 8;
                tSetup.m_iViewIndex = -1;
                tSetup.m_pWindow = pWindow;
                tSetup.m_iExtra = _iExtra;
            } else {
                tSetup.m_iExtra = _iExtra; // the whole-fisheye view takes nothing else
            }
            int iSubPlayerId = -1;
            const int iRet =
                pSubPlayer->CreatePlayer(m_pFcuHandle, m_iMainPlayId, &tSetup, pWindow, &iSubPlayerId);
            if (iRet < 0) {
                CLS_ZebLog::Warning(
                    "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ", iRet, " ]");
                delete pSubPlayer;
                break; // on with the next type; the views made so far stay
            }
            {
                // The draw thread may already read the map.
                QMutexLocker qlocker(&m_mutexDraw);
                m_qmapSubPlayers[iSubPlayerType].append(pSubPlayer);
            }
            _qmapIds[iSubPlayerType].append(iSubPlayerId);
            if (pKind->m_blStartsDrawThread)
                StartDrawThread();
        }
    }
    return 0;
}

int CLS_MainPlayer::Coord360ToFE(int* _piPointIn, int* _piPointOut) {
    if (CLS_ZebLog::Refuse(
            {{nullptr == m_pFcuHandle, "[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]"},
             {nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform,
              "[  CLS_MainPlayer::Coord360ToFE  nullptr == "
              "CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform ]"}}) < 0)
        return -1;
    _piPointIn[0] = std::min(_piPointIn[0], 9999);
    _piPointIn[1] = std::min(_piPointIn[1], 9999);
    STRUCT_FcuPointTransformParam tRequest{};
    tRequest.m_iSize = sizeof(STRUCT_FcuPointTransformParam);
    tRequest.m_iMode = 3; // from panorama coordinates to fisheye coordinates
    tRequest.m_iType = m_tFishEyeParam.m_iAlgoParam;
    tRequest.m_fX = static_cast<float>(_piPointIn[0] / 10000.0);
    tRequest.m_fY = static_cast<float>(_piPointIn[1] / 10000.0);
    tRequest.m_iFromSpace = FCU_SPACE_PANORAMA;
    tRequest.m_iToSpace = FCU_SPACE_PTZ;
    STRUCT_FcuPoint tOut{};
    const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform(m_pFcuHandle, &tRequest, &tOut);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_MainPlayer::Coord360ToFE CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail iRet = ", iRet,
            " ]");
        return iRet;
    }
    _piPointOut[0] = CLS_ZebMath::TruncToInt(tOut.m_fX * 10000.0f);
    _piPointOut[1] = CLS_ZebMath::TruncToInt(tOut.m_fY * 10000.0f);
    return 0;
}

int CLS_MainPlayer::GetDefultCenterPoint(int _iPtzId, int _iPtzNum, int* _piPointOut, int _iInstallMode,
                                         int /*_iExtra*/) {
    if (_iPtzNum < 1 || _iPtzId < 0 || _iPtzId > 7) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum = ", _iPtzNum,
                            " ,  _iPtzId = ", _iPtzId, " ]");
        return -1;
    }
    // 64-bit so that a huge view count cannot overflow; the results fit an int.
    const std::int64_t llNum = _iPtzNum;
    if (_iInstallMode == 1) {
        switch (_iPtzNum) {
        case 3:
            _piPointOut[0] = TableValue(g_aiCentreX3, _iPtzId);
            _piPointOut[1] = g_iDefaultCentreY;
            break;
        case 4:
            _piPointOut[0] = TableValue(g_aiCentreX4, _iPtzId);
            _piPointOut[1] = TableValue(g_aiCentreY4, _iPtzId);
            break;
        case 8:
            _piPointOut[0] = TableValue(g_aiCentreX8, _iPtzId);
            _piPointOut[1] = TableValue(g_aiCentreY8, _iPtzId);
            break;
        default:
            _piPointOut[0] = static_cast<int>((10000 / (llNum + 1)) * (_iPtzId + 1));
            _piPointOut[1] = g_iDefaultCentreY;
            break;
        }
        return 0;
    }
    int aiPanorama[2] = {0, g_iDefaultCentreY};
    switch (_iPtzNum) {
    case 3:
        aiPanorama[0] = TableValue(g_aiCentreX3, _iPtzId);
        break;
    case 8:
        aiPanorama[0] = TableValue(g_aiPanoramaX8, _iPtzId);
        break;
    default:
        aiPanorama[0] = static_cast<int>(((10000 / llNum) * _iPtzId + 5000) % 10000);
        break;
    }
    return Coord360ToFE(aiPanorama, _piPointOut);
}

int CLS_MainPlayer::CorrectWindowCtl(int _iCorrectType, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                     STRUCT_FishWindowRect _rect) {
    if (!m_qmapSubPlayers.contains(_iCorrectType)) {
        CLS_ZebLog::Info(
            "[  CLS_MainPlayer::CorrectWindowCtl !m_qmapSubPlayers.contains(_iCorrectType) _iCorrectType = ",
            _iCorrectType, " ]");
        return -1;
    }
    const QVector<CLS_SubPlayer*> qvecPlayers = m_qmapSubPlayers.value(_iCorrectType);
    if (qvecPlayers.isEmpty()) {
        CLS_ZebLog::Info("[  CLS_MainPlayer::CorrectWindowCtl qvecPlayers.isEmpty()  _iCorrectType = ",
                         _iCorrectType, " ]");
        return -1;
    }
    CLS_SubPlayer* pPlayer = qvecPlayers.at(0);
    if (nullptr == pPlayer) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CorrectWindowCtl nullptr == qvecPlayers.at(0) ]");
        return -1;
    }
    if (_eCmd == n_CtlCmd_Move)
        return pPlayer->Move(_tParam.m_iX, _tParam.m_iY, _rect);
    return -1;
}

CLS_SubPlayer* CLS_MainPlayer::FindPTZView(int _iPtzIndex, const char* _pcMethod) {
    if (!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ)) {
        CLS_ZebLog::WarningOf(
            "CLS_MainPlayer",
            (QByteArray(_pcMethod) + " !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]").constData());
        return nullptr;
    }
    const QVector<CLS_SubPlayer*> qvecPlayers = m_qmapSubPlayers.value(CORRECT_TYPE_PTZ);
    if (_iPtzIndex < 0 || _iPtzIndex >= qvecPlayers.size()) {
        CLS_ZebLog::WarningOf("CLS_MainPlayer",
                              (QByteArray(_pcMethod) + " _iPtzIndex is invalid iPtzIndex = ").constData(),
                              _iPtzIndex, " ]");
        return nullptr;
    }
    CLS_SubPlayer* pPlayer = qvecPlayers.at(_iPtzIndex);
    if (nullptr == pPlayer) // the three PTZ controls share this text
        CLS_ZebLog::Warning("[  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]");
    return pPlayer;
}

int CLS_MainPlayer::DrawWindowCtl(int _iPtzIndex, STRUCT_CtlPointParam _tPoint, n_CtlCmd _eCmd,
                                  STRUCT_FishWindowRect _rect) {
    CLS_SubPlayer* pPlayer = FindPTZView(_iPtzIndex, "DrawWindowCtl");
    return nullptr != pPlayer && n_CtlCmd_Move == _eCmd ? pPlayer->Move(_tPoint, _rect) : -1;
}

int CLS_MainPlayer::PTZWindowCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                 STRUCT_FishWindowRect _rect) {
    CLS_SubPlayer* pPlayer = FindPTZView(_iPtzIndex, "PTZWindowCtl");
    if (nullptr == pPlayer)
        return -1;
    if (n_CtlCmd_Move == _eCmd)
        return pPlayer->Move(_tParam.m_iX, _tParam.m_iY, _rect);
    return n_CtlCmd_Zoom == _eCmd ? pPlayer->Zoom(_tParam.m_iZ) : -1;
}

int CLS_MainPlayer::PTZCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_PTZCtlCmd _ePTZCmd) {
    CLS_SubPlayer* pPlayer = FindPTZView(_iPtzIndex, "PTZCtl");
    return nullptr != pPlayer ? pPlayer->PTZCtl(_tParam, _ePTZCmd) : -1;
}
