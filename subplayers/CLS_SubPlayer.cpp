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

int CLS_SubPlayer::CheckCreateArguments(const STRUCT_CreateMessages& _tMessages, void* _pfcuHandle,
                                        int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                                        void* _pWindow, const int* _piSubPlayerId) {
    if (nullptr == _pfcuHandle) {
        CLS_ZebLog::Warning(_tMessages.m_pcNullHandle);
        return -1;
    }
    if (_iMainPlayerId < 0) {
        CLS_ZebLog::Warning(_tMessages.m_pcBadMainId);
        return -1;
    }
    if (nullptr == _pWindow) {
        CLS_ZebLog::Warning(_tMessages.m_pcNullWindow);
        return -1;
    }
    if (nullptr == _piSubPlayerId) {
        CLS_ZebLog::Warning(_tMessages.m_pcNullSubId);
        return -1;
    }
    if (nullptr == _pParam) { // the record is read below; the main player always passes one
        CLS_ZebLog::Warning(_tMessages.m_pcNullParam);
        return -1;
    }
    return 0;
}

int CLS_SubPlayer::CreateEngineCorrection(const STRUCT_CreateMessages& _tMessages, bool _blCacheSetup,
                                          void* _pfcuHandle, int _iMainPlayerId,
                                          const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                                          int* _piSubPlayerId) {
    if (CheckCreateArguments(_tMessages, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow, _piSubPlayerId) < 0)
        return -1;
    if (nullptr == CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect) {
        CLS_ZebLog::Warning(_tMessages.m_pcUnbound);
        return -1;
    }
    const int iRet =
        CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect(_iMainPlayerId, _pParam, sizeof(STRUCT_CorrectSetup));
    if (iRet < 0) {
        // The engine's own code goes back to the caller, so it can tell its failures apart.
        CLS_ZebLog::Warning(_tMessages.m_pcEngineFail, iRet, " ]");
        return iRet;
    }
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_tCorrectSetup = *_pParam;
    m_iSubPlayId = iRet;
    *_piSubPlayerId = iRet;
    if (_blCacheSetup) {
        m_iSetupType = _pParam->m_iCorrectType;
        m_iSetupMode = _pParam->m_iInstallMode;
        m_iSetupExtra = _pParam->m_iExtra;
    }
    return 0;
}

int CLS_SubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                                void* _pWindow, int* _piSubPlayerId) {
    static const STRUCT_CreateMessages s_tMessages = {
        "[  CLS_SubPlayer::CreatePlayer nullptr == _pfcuHandle ]",
        "[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]",
        "[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]",
        "[  CLS_SubPlayer::CreatePlayer nullptr == _piSubPlayerId ]",
        "[  CLS_SubPlayer::CreatePlayer nullptr == param ]",
        "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]",
        "[  CLS_SubPlayer::CreatePlayer CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect fail iRet = ",
    };
    return CreateEngineCorrection(s_tMessages, true, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow,
                                  _piSubPlayerId);
}

int CLS_SubPlayer::DeletePlayer() {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]");
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect) {
        // The text names CreatePlayer; it is the library's established wording.
        CLS_ZebLog::Warning(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect ]");
        return -1;
    }
    return CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect(m_iMainPlayId, m_iSubPlayId);
}

int CLS_SubPlayer::SetFecCallBackFunc(PF_FishEyeCorrectCallBack _pfCallBack, void* _pUser) {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]");
        return -1;
    }
    if (m_iSubPlayId < 0) {
        CLS_ZebLog::Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]");
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack) {
        CLS_ZebLog::Warning("[  CLS_SubPlayer::SetFecCallBackFunc nullptr == "
                            "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]");
        return -1;
    }
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
