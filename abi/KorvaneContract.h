// _ZEBFAULT_
// The player engine's contract as both sides see it: the constants the library passes and the
// engine acts on, and the callback types of its exports. C, so that the open engine's C header
// includes it; each constant is defined here once, and every other spelling of it (the library's
// public correction types, the open engine's view kinds) is checked against it at compile time.
#ifndef KORVANE_CONTRACT_H
#define KORVANE_CONTRACT_H

// Creation kind of KW_CreatePlayerForSpecialNeeds: a stream player.
#define KW_SPECIAL_NEEDS_STREAM 2

// Commands of KW_PlayerControl.
#define KW_CONTROL_USER_DATA 4

// Parameter kinds of KW_Get/SetFishEyeCorrectPara.
#define KW_PARA_PTZ 1      // 32-byte PTZ record (STRUCT_PTZCorrectPara)
#define KW_PARA_PANORAMA 3 // 8-byte panorama record (STRUCT_PanoramaPara)

// User data type of the fisheye area: a 136-byte payload whose doubles at bytes 8, 16, 24 and 32
// are the circle's left, top, right and bottom (0 to 10000); every other byte is zero.
#define KW_USER_DATA_FISHEYE_AREA 9
#define KW_USER_DATA_FISHEYE_AREA_SIZE 136

// Correction types of the 88-byte set-up record (its int at byte 8).
#define KW_CORRECT_SOURCE 0
#define KW_CORRECT_PTZ 256
#define KW_CORRECT_180 512
#define KW_CORRECT_360 768
#define KW_CORRECT_LAT 1024
#define KW_CORRECT_FISHEYE 1280

// Renderers of the open engine's views (KW_Ext_GetRenderer).
#define KW_RENDERER_CPU 1
#define KW_RENDERER_GL 2

// Callback of channel user data: (play index, data type, payload, payload length, user context).
typedef void (*KW_PF_UserData)(int, int, const unsigned char*, int, void*);
// Callback of a correction, called after each picture rendered for it: (correction id, user).
typedef void (*KW_PF_CorrectDone)(int, void*);

#endif // KORVANE_CONTRACT_H
