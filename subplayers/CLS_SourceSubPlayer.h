// _ZEBFAULT_
// The view of the uncorrected source picture. The main player's own engine player shows it, so
// this view opens nothing on the engine; it only records where the source is shown.
#ifndef CLS_SOURCE_SUB_PLAYER_H
#define CLS_SOURCE_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

class CLS_SourceSubPlayer : public CLS_SubPlayer {
public:
    CLS_SourceSubPlayer() = default;
    ~CLS_SourceSubPlayer() override;

    // Records the main player, the handle, the window and the cached set-up fields; always 0 for a
    // set-up record. Neither the sub id nor *_piSubPlayerId is written.
    int CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                     void* _pWindow, int* _piSubPlayerId) override;
};

#endif // CLS_SOURCE_SUB_PLAYER_H
