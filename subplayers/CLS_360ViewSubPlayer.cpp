// _ZEBFAULT_
#include "CLS_360ViewSubPlayer.h"

template class CLS_PanoramaSubPlayer<STRUCT_360ViewTexts>;

CLS_360ViewSubPlayer::~CLS_360ViewSubPlayer() = default;
