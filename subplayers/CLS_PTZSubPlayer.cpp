// _ZEBFAULT_
// PTZ view: creation, deletion and the engine's position record.
#include "CLS_PTZSubPlayer.h"

#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

#include <QReadLocker>
#include <QWriteLocker>

CLS_PTZSubPlayer::~CLS_PTZSubPlayer() = default;

int CLS_PTZSubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                                   void* _pWindow, int* _piSubPlayerId) {
    // InitPTZDraw has cached the set-up fields already.
    return CreateEngineCorrection("CLS_PTZSubPlayer", false, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow,
                                  _piSubPlayerId);
}

int CLS_PTZSubPlayer::DeletePlayer() {
    if (CLS_ZebLog::Refuse(
            {{m_iMainPlayId < 0, "[  CLS_PTZSubPlayer::DeletePlayer m_iMainPlayId < 0 ]"},
             {m_iSubPlayId < 0, "[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect,
              "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect ]"}}) <
        0)
        return -1;
    return CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect(m_iMainPlayId, m_iSubPlayId);
}

int CLS_PTZSubPlayer::GetCorrectPara(STRUCT_PTZCorrectPara* _pPara) {
    // The last line names DeletePlayer; it is the library's established wording.
    if (CLS_ZebLog::Refuse({{m_iMainPlayId < 0, "[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"},
                            {m_iSubPlayId < 0, "[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]"},
                            {nullptr == CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara,
                             "[  CLS_PTZSubPlayer::DeletePlayer nullptr == "
                             "CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]"}}) < 0)
        return -1;
    return CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, KW_PARA_PTZ, _pPara,
                                                       sizeof(STRUCT_PTZCorrectPara));
}

int CLS_PTZSubPlayer::SetCorrectPara(STRUCT_PTZCorrectPara* _pPara, bool _blForce) {
    // The position is read from and written into the record, hence the last check.
    if (CLS_ZebLog::Refuse(
            {{m_iMainPlayId < 0, "[  CLS_PTZSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]"},
             {m_iSubPlayId < 0, "[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara,
              "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_ZebPlayer_SDK::SetCorrectPara"},
             {nullptr == _pPara, "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == _pPara ]"}}) < 0)
        return -1;

    // The outline follows every write; it is rebuilt before the engine is asked, from the stored
    // position, and a failure in building it does not stop the write.
    ClearDrawData();
    if (n_DrawType_Rect != m_iDrawType && n_DrawType_Fec != m_iDrawType) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & "
                            "n_DrawType_Fec != m_iDrawType");
        return -1;
    }
    int aiRequest[4] = {m_tCorrectSetup.m_iPositionX, m_tCorrectSetup.m_iPositionY, 0, 0};
    int aiMapped[2] = {m_tCorrectSetup.m_iPositionX, m_tCorrectSetup.m_iPositionY};
    int iTargetSpace = FCU_SPACE_PTZ;
    if (n_DrawType_Rect == m_iDrawType &&
        (CORRECT_TYPE_360 == m_iSetupType || CORRECT_TYPE_LAT == m_iSetupType)) {
        STRUCT_PTZCorrectPara tEngine{};
        GetCorrectPara(&tEngine); // unchecked: a failed read maps with zoom 0
        aiRequest[2] = tEngine.iPTZZoom;
        aiRequest[3] = m_iSetupType;
        iTargetSpace = CORRECT_TYPE_360 == m_iSetupType ? FCU_SPACE_PANORAMA : FCU_SPACE_LAT;
    }
    CoordSwitch(FCU_SPACE_PTZ, iTargetSpace, aiRequest, aiMapped);
    const int aiPoint[8] = {32,
                            aiMapped[0],
                            aiMapped[1],
                            0,
                            0,
                            m_tCorrectSetup.m_iZoom,
                            m_tCorrectSetup.m_iWidth,
                            m_tCorrectSetup.m_iHeight};
    if (n_DrawType_Rect == m_iDrawType)
        SetRectDraw(aiPoint);
    else
        SetFecDraw(aiPoint);

    // The engine always receives the algorithm's corrected point, never the raw request.
    const STRUCT_FcuPoint tIn = {static_cast<float>(_pPara->iPTZPositionX / 10000.0),
                                 static_cast<float>(_pPara->iPTZPositionY / 10000.0)};
    STRUCT_FcuPoint tOut{};
    const int iRet = CorrectPoint(CORRECT_TYPE_PTZ, _pPara->iPTZZoom, m_tCorrectSetup.m_iExtra, tIn, &tOut);
    if (iRet < 0)
        return iRet;
    if (!_blForce) {
        QWriteLocker locker(&m_qrwlockFishPoint);
        if (tOut.m_fX == m_fFishPointX && tOut.m_fY == m_fFishPointY)
            return -2; // the same fisheye point as the last write: nothing to tell the engine
        m_fFishPointX = tOut.m_fX;
        m_fFishPointY = tOut.m_fY;
    }
    _pPara->iPTZPositionX = CLS_ZebMath::TruncToInt(tOut.m_fX * 10000.0);
    _pPara->iPTZPositionY = CLS_ZebMath::TruncToInt(tOut.m_fY * 10000.0);
    return CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, KW_PARA_PTZ, _pPara,
                                                       sizeof(STRUCT_PTZCorrectPara));
}

void CLS_PTZSubPlayer::StorePosition(int _iX, int _iY) {
    m_tCorrectSetup.m_iPositionX = _iX;
    m_tCorrectSetup.m_iPositionY = _iY;
}
