// _ZEBFAULT_
#include "CLS_SourceSubPlayer.h"

#include "common/CLS_ZebLog.h"

CLS_SourceSubPlayer::~CLS_SourceSubPlayer() = default;

int CLS_SourceSubPlayer::CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId,
                                      const STRUCT_CorrectSetup* _pParam, void* _pWindow, int*) {
    // The cached fields are read from the record.
    if (CLS_ZebLog::Refuse(
            {{nullptr == _pParam, "[  CLS_SourceSubPlayer::CreatePlayer nullptr == param ]"}}) < 0)
        return -1;
    m_iMainPlayId = _iMainPlayerId;
    m_pFcuHandle = _pfcuHandle;
    m_pWindow = _pWindow;
    m_iSetupType = _pParam->m_iCorrectType;
    m_iSetupMode = _pParam->m_iInstallMode;
    m_iSetupExtra = _pParam->m_iExtra;
    return 0;
}
