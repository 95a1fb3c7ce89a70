# Sources of the main player.
set(FISHPLAYER_MAINPLAYER_SOURCES
    mainplayer/CLS_MainPlayer.cpp
    mainplayer/CLS_MainPlayer_Draw.cpp
    mainplayer/CLS_MainPlayer_Views.cpp
)
