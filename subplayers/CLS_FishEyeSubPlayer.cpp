// _ZEBFAULT_
#include "CLS_FishEyeSubPlayer.h"

CLS_FishEyeSubPlayer::~CLS_FishEyeSubPlayer() = default;

int CLS_FishEyeSubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId,
                                       const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                                       int* _piSubPlayerId) {
    static const STRUCT_CreateMessages s_tMessages = {
        "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pfcuHandle ]",
        "[  CLS_FishEyeSubPlayer::CreatePlayer _iMainPlayerId < 0 ]",
        "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pWindow ]",
        "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]",
        "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == param ]",
        nullptr, // no engine call
        nullptr,
    };
    if (CheckCreateArguments(s_tMessages, _pfcuHandle, _iMainPlayerId, _pParam, _pWindow, _piSubPlayerId) < 0)
        return -1;
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_tCorrectSetup = *_pParam;
    m_iSetupType = _pParam->m_iCorrectType;
    m_iSetupMode = _pParam->m_iInstallMode;
    return 0;
}

int CLS_FishEyeSubPlayer::DeletePlayer() {
    return 0;
}
