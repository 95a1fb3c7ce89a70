// _ZEBFAULT_
// View set-up, coordinate conversion and control dispatch of the main player.
#include "CLS_MainPlayer.h"

// Placeholders until the view set-up lands: every operation fails.
int CLS_MainPlayer::CreateSubPlayers(const STRUCT_FishEyeParam&, int, const QMap<int, QVector<void*>>&,
                                     QMap<int, QVector<int>>&, const STRUCT_FishDrawParam&, int) {
    return -1;
}
int CLS_MainPlayer::Coord360ToFE(int*, int*) { return -1; }
int CLS_MainPlayer::GetDefultCenterPoint(int, int, int*, int, int) { return -1; }
int CLS_MainPlayer::CorrectWindowCtl(int, STRUCT_CtlParam, n_CtlCmd, STRUCT_FishWindowRect) { return -1; }
int CLS_MainPlayer::DrawWindowCtl(int, STRUCT_CtlPointParam, n_CtlCmd, STRUCT_FishWindowRect) { return -1; }
int CLS_MainPlayer::PTZWindowCtl(int, STRUCT_CtlParam, n_CtlCmd, STRUCT_FishWindowRect) { return -1; }
int CLS_MainPlayer::PTZCtl(int, STRUCT_CtlParam, n_PTZCtlCmd) { return -1; }
