// _ZEBFAULT_
#include "CLS_FishEyeSubPlayer.h"

CLS_FishEyeSubPlayer::~CLS_FishEyeSubPlayer() = default;

int CLS_FishEyeSubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId,
                                       const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                                       int* _piSubPlayerId) {
    // No engine correction: the client shows the whole fisheye from the main picture.
    if (CheckCreateArguments("CLS_FishEyeSubPlayer", _pfcuHandle, _iMainPlayerId, _pParam, _pWindow,
                             _piSubPlayerId) < 0)
        return -1;
    KeepSetup(_pfcuHandle, _iMainPlayerId, _pParam, _pWindow);
    m_iSetupType = _pParam->m_iCorrectType;
    m_iSetupMode = _pParam->m_iInstallMode;
    return 0;
}

int CLS_FishEyeSubPlayer::DeletePlayer() {
    return 0;
}
