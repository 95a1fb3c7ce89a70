// _ZEBFAULT_
#include "CLS_LATViewSubPlayer.h"

#include "common/CLS_ZebLog.h"

CLS_LATViewSubPlayer::~CLS_LATViewSubPlayer() = default;

int CLS_LATViewSubPlayer::GetCorrectPara(STRUCT_PTZCorrectPara*) {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning("[  CLS_LATViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
        return -1;
    }
    return 0;
}
