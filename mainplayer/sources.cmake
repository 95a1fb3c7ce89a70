# Sources of the main player.
set(FISHPLAYER_MAINPLAYER_SOURCES
)
