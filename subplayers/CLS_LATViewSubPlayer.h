// _ZEBFAULT_
// The LAT view: an engine correction created and deleted like any view; it takes no control.
#ifndef CLS_LAT_VIEW_SUB_PLAYER_H
#define CLS_LAT_VIEW_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

class CLS_LATViewSubPlayer : public CLS_SubPlayer {
public:
    CLS_LATViewSubPlayer() = default;
    ~CLS_LATViewSubPlayer() override;

    using CLS_SubPlayer::GetCorrectPara;
    // -1 when the view was never created, else 0; the record is left as it is.
    int GetCorrectPara(STRUCT_PTZCorrectPara* _pPara) override;
};

#endif // CLS_LAT_VIEW_SUB_PLAYER_H
