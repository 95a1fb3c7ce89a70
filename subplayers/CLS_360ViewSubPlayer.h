// _ZEBFAULT_
// The 360-degree panorama: a drag across the whole window turns it by 360 degrees.
#ifndef CLS_360_VIEW_SUB_PLAYER_H
#define CLS_360_VIEW_SUB_PLAYER_H

#include "CLS_PanoramaSubPlayer.h"

class CLS_360ViewSubPlayer : public CLS_PanoramaSubPlayer {
public:
    CLS_360ViewSubPlayer() : CLS_PanoramaSubPlayer(360, "CLS_360ViewSubPlayer") {}
    ~CLS_360ViewSubPlayer() override;
};

#endif // CLS_360_VIEW_SUB_PLAYER_H
