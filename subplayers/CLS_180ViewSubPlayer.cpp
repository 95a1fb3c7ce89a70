// _ZEBFAULT_
#include "CLS_180ViewSubPlayer.h"

template class CLS_PanoramaSubPlayer<STRUCT_180ViewTexts>;

CLS_180ViewSubPlayer::~CLS_180ViewSubPlayer() = default;
