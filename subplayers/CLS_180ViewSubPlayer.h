// _ZEBFAULT_
// The 180-degree panorama: a drag across the whole window turns it by 180 degrees.
#ifndef CLS_180_VIEW_SUB_PLAYER_H
#define CLS_180_VIEW_SUB_PLAYER_H

#include "CLS_PanoramaSubPlayer.h"

class CLS_180ViewSubPlayer : public CLS_PanoramaSubPlayer {
public:
    CLS_180ViewSubPlayer() : CLS_PanoramaSubPlayer(180, "CLS_180ViewSubPlayer") {}
    ~CLS_180ViewSubPlayer() override;
};

#endif // CLS_180_VIEW_SUB_PLAYER_H
