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

// The view object for a correction type, or null for a key that names no view.
CLS_SubPlayer* NewView(int _iCorrectType) {
    switch (_iCorrectType) {
    case CORRECT_TYPE_FISHEYE:
        return new CLS_FishEyeSubPlayer();
    case CORRECT_TYPE_PTZ:
        return new CLS_PTZSubPlayer();
    case CORRECT_TYPE_360:
        return new CLS_360ViewSubPlayer();
    case CORRECT_TYPE_180:
        return new CLS_180ViewSubPlayer();
    case CORRECT_TYPE_LAT:
        return new CLS_LATViewSubPlayer();
    case 0:
        return new CLS_SourceSubPlayer();
    default:
        return nullptr;
    }
}

bool StartsDrawThread(int _iCorrectType) {
    return _iCorrectType == CORRECT_TYPE_FISHEYE || _iCorrectType == CORRECT_TYPE_360 ||
           _iCorrectType == CORRECT_TYPE_180 || _iCorrectType == CORRECT_TYPE_LAT;
}

} // namespace

int CLS_MainPlayer::CreateSubPlayers(const STRUCT_FishEyeParam& _tParam, int /*_iFishPlayerID*/,
                                     const QMap<int, QVector<void*>>& _qmapWindows,
                                     QMap<int, QVector<int>>& _qmapIds,
                                     const STRUCT_FishDrawParam& _tDrawParam, int _iExtra) {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]");
        return -1;
    }
    if (nullptr == m_pFcuHandle) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]");
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == "
                            "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]");
        return -1;
    }
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
        for (int i = 0; i < iViewCount; ++i) {
            CLS_SubPlayer* pSubPlayer = NewView(iSubPlayerType);
            if (nullptr == pSubPlayer)
                break; // a key that names no view creates nothing
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
            if (StartsDrawThread(iSubPlayerType))
                StartDrawThread();
        }
    }
    return 0;
}

int CLS_MainPlayer::Coord360ToFE(int* _piPointIn, int* _piPointOut) {
    if (nullptr == m_pFcuHandle) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]");
        return -1;
    }
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform) {
        CLS_ZebLog::Warning(
            "[  CLS_MainPlayer::Coord360ToFE  nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform ]");
        return -1;
    }
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

CLS_SubPlayer* CLS_MainPlayer::FindPTZView(int _iPtzIndex, const char* _pcNoViews,
                                           const char* _pcInvalidIndex) {
    if (!m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ)) {
        CLS_ZebLog::Warning(_pcNoViews);
        return nullptr;
    }
    const QVector<CLS_SubPlayer*> qvecPlayers = m_qmapSubPlayers.value(CORRECT_TYPE_PTZ);
    if (_iPtzIndex < 0 || _iPtzIndex >= qvecPlayers.size()) {
        CLS_ZebLog::Warning(_pcInvalidIndex, _iPtzIndex, " ]");
        return nullptr;
    }
    CLS_SubPlayer* pPlayer = qvecPlayers.at(_iPtzIndex);
    if (nullptr == pPlayer) // the three PTZ controls share this text
        CLS_ZebLog::Warning("[  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]");
    return pPlayer;
}

int CLS_MainPlayer::DrawWindowCtl(int _iPtzIndex, STRUCT_CtlPointParam _tPoint, n_CtlCmd _eCmd,
                                  STRUCT_FishWindowRect _rect) {
    CLS_SubPlayer* pPlayer = FindPTZView(
        _iPtzIndex, "[  CLS_MainPlayer::DrawWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::DrawWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == pPlayer)
        return -1;
    if (_eCmd == n_CtlCmd_Move)
        return pPlayer->Move(_tPoint, _rect);
    return -1;
}

int CLS_MainPlayer::PTZWindowCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                 STRUCT_FishWindowRect _rect) {
    CLS_SubPlayer* pPlayer = FindPTZView(
        _iPtzIndex, "[  CLS_MainPlayer::PTZWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::PTZWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == pPlayer)
        return -1;
    if (_eCmd == n_CtlCmd_Move)
        return pPlayer->Move(_tParam.m_iX, _tParam.m_iY, _rect);
    if (_eCmd == n_CtlCmd_Zoom)
        return pPlayer->Zoom(_tParam.m_iZ);
    return -1;
}

int CLS_MainPlayer::PTZCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_PTZCtlCmd _ePTZCmd) {
    CLS_SubPlayer* pPlayer =
        FindPTZView(_iPtzIndex, "[  CLS_MainPlayer::PTZCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                    "[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == pPlayer)
        return -1;
    return pPlayer->PTZCtl(_tParam, _ePTZCmd);
}
