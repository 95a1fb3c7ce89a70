// _ZEBFAULT_
#include "CLS_SubPlayer.h"

#include "common/CLS_ZebLog.h"

CLS_SubPlayer::~CLS_SubPlayer() {
    // A destructor must not throw; a failing log line is not worth terminating for.
    try {
        SetFecCallBackFunc(nullptr, nullptr);
        CLS_SubPlayer::DeletePlayer(); // the base deletion, whatever the view's kind
    } catch (...) {
    }
}

int CLS_SubPlayer::CheckCreateArguments(const char* _pcClass, void* _pfcuHandle, int _iMainPlayerId,
                                        const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                                        const int* _piSubPlayerId) {
    // The record is read after the checks; the main player always passes one.
    return CLS_ZebLog::RefuseOf(_pcClass,
                                {{nullptr == _pfcuHandle, "CreatePlayer nullptr == _pfcuHandle ]"},
                                 {_iMainPlayerId < 0, "CreatePlayer _iMainPlayerId < 0 ]"},
                                 {nullptr == _pWindow, "CreatePlayer nullptr == _pWindow ]"},
                                 {nullptr == _piSubPlayerId, "CreatePlayer nullptr == _piSubPlayerId ]"},
                                 {nullptr == _pParam, "CreatePlayer nullptr == param ]"}});
}

int CLS_SubPlayer::CreateEngineCorrection(const char* _pcClass, bool _blCacheSetup, void* _pfcuHandle,
                                          int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                                          void* _pWindow, int* _piSubPlayerId) {
    if (CheckCreateArguments(_pcClass, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow, _piSubPlayerId) < 0 ||
        CLS_ZebLog::RefuseOf(_pcClass,
                             {{nullptr == CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect,
                               "CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]"}}) < 0)
        return -1;
    const int iRet =
        CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect(_iMainPlayerId, _pParam, sizeof(STRUCT_CorrectSetup));
    if (iRet < 0) {
        // The engine's own code goes back to the caller, so it can tell its failures apart.
        CLS_ZebLog::WarningOf(
            _pcClass, "CreatePlayer CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect fail iRet = ", iRet, " ]");
        return iRet;
    }
    KeepSetup(_pfcuHandle, _iMainPlayerId, _pParam, _pWindow);
    m_iSubPlayId = iRet;
    *_piSubPlayerId = iRet;
    if (_blCacheSetup) {
        m_iSetupType = _pParam->m_iCorrectType;
        m_iSetupMode = _pParam->m_iInstallMode;
        m_iSetupExtra = _pParam->m_iExtra;
    }
    return 0;
}

void CLS_SubPlayer::KeepSetup(void* _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                              void* _pWindow) {
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_tCorrectSetup = *_pParam;
}

int CLS_SubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                                void* _pWindow, int* _piSubPlayerId) {
    return CreateEngineCorrection("CLS_SubPlayer", true, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow,
                                  _piSubPlayerId);
}

int CLS_SubPlayer::DeletePlayer() {
    // The second line names CreatePlayer; it is the library's established wording.
    if (CLS_ZebLog::Refuse(
            {{m_iMainPlayId < 0, "[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect,
              "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect ]"}}) < 0)
        return -1;
    return CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect(m_iMainPlayId, m_iSubPlayId);
}

int CLS_SubPlayer::SetFecCallBackFunc(PF_FishEyeCorrectCallBack _pfCallBack, void* _pUser) {
    if (CLS_ZebLog::Refuse({{m_iMainPlayId < 0, "[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"},
                            {m_iSubPlayId < 0, "[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]"},
                            {nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack,
                             "[  CLS_SubPlayer::SetFecCallBackFunc nullptr == "
                             "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]"}}) < 0)
        return -1;
    return CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack(m_iMainPlayId, m_iSubPlayId, _pfCallBack, _pUser);
}

// A view that has no use for an operation accepts it silently.
int CLS_SubPlayer::GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>&) {
    return 0;
}
int CLS_SubPlayer::InitPTZDraw(void*&, const STRUCT_CorrectSetup*, int) {
    return 0;
}
int CLS_SubPlayer::Move(int, int, STRUCT_FishWindowRect) {
    return 0;
}
int CLS_SubPlayer::Move(const STRUCT_CtlPointParam&, STRUCT_FishWindowRect) {
    return 0;
}
int CLS_SubPlayer::Zoom(int) {
    return 0;
}
int CLS_SubPlayer::PTZCtl(const STRUCT_CtlParam&, n_PTZCtlCmd) {
    return 0;
}
int CLS_SubPlayer::GetCorrectPara(STRUCT_PanoramaPara*) {
    return 0;
}
int CLS_SubPlayer::GetCorrectPara(STRUCT_PTZCorrectPara*) {
    return 0;
}
int CLS_SubPlayer::SetCorrectPara(STRUCT_PanoramaPara*) {
    return 0;
}
int CLS_SubPlayer::SetCorrectPara(STRUCT_PTZCorrectPara*, bool) {
    return 0;
}
