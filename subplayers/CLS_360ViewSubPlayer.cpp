// _ZEBFAULT_
#include "CLS_360ViewSubPlayer.h"

CLS_360ViewSubPlayer::~CLS_360ViewSubPlayer() = default;
