// _ZEBFAULT_
// The whole-circle fisheye view. It opens no engine correction of its own and only keeps its
// set-up, so deleting it does nothing.
#ifndef CLS_FISH_EYE_SUB_PLAYER_H
#define CLS_FISH_EYE_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

class CLS_FishEyeSubPlayer : public CLS_SubPlayer {
public:
    CLS_FishEyeSubPlayer() = default;
    ~CLS_FishEyeSubPlayer() override;

    // Checks its arguments and records the set-up; 0 or -1. No engine call, the sub id stays -1,
    // *_piSubPlayerId is left as the caller set it.
    int CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                     void* _pWindow, int* _piSubPlayerId) override;
    // Nothing to delete: 0.
    int DeletePlayer() override;
};

#endif // CLS_FISH_EYE_SUB_PLAYER_H
