// _ZEBFAULT_
#include "CLS_180ViewSubPlayer.h"

CLS_180ViewSubPlayer::~CLS_180ViewSubPlayer() = default;
