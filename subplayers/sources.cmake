# Sources of the views.
set(FISHPLAYER_SUBPLAYERS_SOURCES
    subplayers/CLS_SubPlayer.cpp
)
