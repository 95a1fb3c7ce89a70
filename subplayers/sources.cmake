# Sources of the views.
set(FISHPLAYER_SUBPLAYERS_SOURCES
    subplayers/CLS_SubPlayer.cpp
    subplayers/CLS_SourceSubPlayer.cpp
    subplayers/CLS_PTZSubPlayer.cpp
    subplayers/CLS_PTZSubPlayer_Control.cpp
    subplayers/CLS_PTZSubPlayer_Coord.cpp
    subplayers/CLS_PTZSubPlayer_Outline.cpp
    subplayers/CLS_PanoramaSubPlayer.cpp
    subplayers/CLS_180ViewSubPlayer.cpp
    subplayers/CLS_360ViewSubPlayer.cpp
    subplayers/CLS_LATViewSubPlayer.cpp
    subplayers/CLS_FishEyeSubPlayer.cpp
)
