// Korvane: an open fisheye player engine. It is loaded at run time by its file name "Korvane.dll"
// and bound by export name. It decodes elementary video streams (H.264 and H.265 in Annex B
// form, MJPEG) with FFmpeg's libavcodec, finds the fisheye circle in the pictures, delivers it
// as channel user data, and renders the main picture and every fisheye correction into
// rendering targets.
//
// Conventions
// - Every export returns a 32-bit int: 0 (or an id, a count, a version, 0 or more) on success,
//   one of the negative KW_ERR_* codes below on failure. No export crashes on bad arguments.
// - Play id: the id of an engine player, returned by KW_CreatePlayerForSpecialNeeds. The lowest
//   id that no live player holds is given out, so the first player of a process is 0.
// - Play index (KW_PlayerControl): the play id of the engine player whose channel user data the
//   subscriber receives. A subscription may be made before that player exists.
// - Correction id: the id of one fisheye correction of a player, returned by
//   KW_CreateFishEyeCorrect or KW_SetFishEyeCorrectEnable; unique within its player.
// - Normalised plane: positions and areas are 0 to 10000 of the picture's width and height.
// - Window handles: wherever a window is expected, a rendering target created with
//   KW_Ext_CreateSurface or the id of an X11 window (cast to a pointer) may be given. X11
//   windows are those of the display named by DISPLAY when the first one is rendered, of
//   depth 24; the picture is scaled to the window's size. Any other handle is accepted and kept,
//   but nothing is rendered into it.
// - Threads: every export may be called from any thread. Each player decodes on a thread of its
//   own; user data and correction callbacks are called on that thread.
// - FFmpeg's log level is set to fatal errors only when the first player is created, so that
//   corrupt streams do not flood the host's standard error.
#ifndef KORVANE_H
#define KORVANE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Result codes.
#define KW_OK 0
#define KW_ERR_INVALID_ARGUMENT (-1) // null pointer, wrong record size or kind, bad value
#define KW_ERR_UNKNOWN_ID (-2)       // no such player, correction or surface
#define KW_ERR_QUEUE_FULL (-3)       // the player's packet queue is full: the packet was dropped
#define KW_ERR_NO_PICTURE (-4)       // nothing has been decoded yet
#define KW_ERR_IO (-5)               // a file could not be written
#define KW_ERR_INTERNAL (-6)         // out of memory or a decoder/encoder could not be opened
#define KW_ERR_NOT_SUPPORTED (-100)  // the export exists but this engine does not provide it

// The engine's version as (major << 16) | (minor << 8) | patch.
#define KW_VERSION 0x010000

// Limits of a player's packet queue: beyond either, KW_PutStreamToPlayer drops the packet.
#define KW_QUEUE_MAX_PACKETS 4096
#define KW_QUEUE_MAX_BYTES (64 * 1024 * 1024)

// Codecs reported by KW_GetVideoParam.
#define KW_CODEC_UNKNOWN 0 // not yet detected
#define KW_CODEC_H264 1
#define KW_CODEC_H265 2
#define KW_CODEC_MJPEG 3

// Capture formats of KW_CapturePicture.
#define KW_CAPTURE_BMP 0 // 24-bit uncompressed Windows bitmap
#define KW_CAPTURE_PNG 1 // 8-bit RGB PNG
#define KW_CAPTURE_PPM 2 // binary PPM (P6)

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

// Callback of channel user data: (play index, data type, payload, payload length, user context).
typedef void (*KW_PF_UserData)(int, int, const unsigned char*, int, void*);
// Callback of a correction, called after each picture rendered for it: (correction id, user).
typedef void (*KW_PF_CorrectDone)(int, void*);

// Video parameters of KW_GetVideoParam (24 bytes).
typedef struct KW_VideoParam {
    int m_iSize;        // 24, set by the caller
    int m_iWidth;       // of the last decoded picture, 0 before the first
    int m_iHeight;      //
    int m_iCodec;       // KW_CODEC_*
    int64_t m_llFrames; // pictures decoded, rendered and reported to the callbacks so far
} KW_VideoParam;

// ---- System ----

// Prepares the engine; may be called any number of times. Always 0. Nothing requires it.
int KW_CreateSystem(int _iReserved);

// ---- Players ----

// Creates a stream player. _iKind must be 2; _pParam points to a 32-byte record:
//   int size (32) at 0, window handle at 8, picture width at 16 and height at 20 (hints only;
//   the decoded size wins). _iParamSize must be 32, _iReserved is ignored.
// Returns the play id (0 or more). The player accepts packets at once; it decodes after KW_Play.
int KW_CreatePlayerForSpecialNeeds(int _iKind, void* _pParam, int _iParamSize, int _iReserved);
// Starts decoding and rendering; playing twice is 0.
int KW_Play(int _iPlayId);
// Stops the player's thread (finishing at most the packet in hand), drops its queue and its
// corrections. Safe while the thread is decoding; called from one of the player's own callbacks
// it returns at once and the thread ends after the callback.
int KW_DeletePlayer(int _iPlayId);
// Queues _iSize bytes of the elementary stream; packets may be cut anywhere. The codec is
// detected from the first bytes (an Annex B NAL unit of H.264 or H.265, or a JPEG start of
// image); bytes before the first recognisable unit are skipped. Corrupt data is dropped by the
// decoder, which resynchronises on the next unit. Never waits for a decode: when the queue is
// full (KW_QUEUE_MAX_PACKETS or KW_QUEUE_MAX_BYTES) the packet is dropped and
// KW_ERR_QUEUE_FULL returned. _iSize 0 is 0 and queues nothing. A live stream has no end: a
// picture is decoded once the first bytes of the next one have arrived.
int KW_PutStreamToPlayer(int _iPlayId, unsigned char* _pcData, int _iSize);
// Command 4 (user data): _pParam is a 24-byte record {int size at 0, callback at 8, user context
// at 16} and _iParamSize 24; _iParamSize 0 stops the delivery without reading the record.
// A non-null callback subscribes _iPlayIndex (replacing an earlier subscription); a null
// callback stops the delivery for it, and returns once a delivery in progress has ended.
// The fisheye area (the bounding box of the picture's non-dark part) is looked for in the first
// five pictures and then in every 25th; it is delivered once per subscription, with the first
// picture after both the area and the subscription exist, and again whenever a side has moved by
// more than 50. Deleting a player leaves the subscriptions of its play index in place. Other
// commands are KW_ERR_NOT_SUPPORTED.
int KW_PlayerControl(int _iPlayIndex, int _iCommand, void* _pParam, int _iParamSize, int _iReserved);

// ---- Fisheye corrections ----

// Opens a correction view on a player from an 88-byte set-up record (_iSetupSize 88):
//   size (88) at 0, mounting mode at 4, correction type at 8 (KW_CORRECT_*), PTZ position x, y
//   and zoom at 48, 52, 56, window at 72, extra integer at 80.
// Its PTZ parameters start at the set-up's position and zoom, its panorama rotation at 0.
// Returns the correction id (0 or more).
int KW_CreateFishEyeCorrect(int _iPlayId, const void* _pSetup, int _iSetupSize);
int KW_DeleteFishEyeCorrect(int _iPlayId, int _iCorrectId);
// Registers (or with a null callback, removes) the callback of a correction, including the
// whole-picture correction. Removing returns once a call in progress has ended.
int KW_SetFishEyeCorrectCallBack(int _iPlayId, int _iCorrectId, KW_PF_CorrectDone _pfCallBack, void* _pUser);
// Whole-picture correction of a player: _iEnable 1 with an 88-byte set-up record (the fisheye
// area left, right, top, bottom at bytes 16, 20, 24, 28 and the mounting mode at 4 then apply to
// every view of the player, before the area found in the pictures), _iEnable 0 (record ignored,
// may be null) switches it off. Switching on returns the whole-picture correction id, which stays
// the same for the player's life; switching off returns 0.
int KW_SetFishEyeCorrectEnable(int _iPlayId, int _iEnable, const void* _pSetup);
// Reads or writes a correction's parameters: kind 1 with a 32-byte buffer (the PTZ record: bytes
// 8, 12 and 16 hold position x, y and zoom; the other bytes are kept as last written), kind 3
// with an 8-byte buffer (an opaque uint32 kept as last written, then the rotation in degrees as
// a float, which must be finite). Other kinds or sizes are KW_ERR_INVALID_ARGUMENT.
int KW_GetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer, int _iSize);
int KW_SetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer, int _iSize);

// ---- Capture and information ----

// Writes the player's last decoded picture to _pcPath; the format follows the file name's
// extension (".png", ".ppm", otherwise BMP).
int KW_CapturePic(int _iPlayId, const char* _pcPath);
// Writes the player's last decoded picture to _pcPath as a BMP.
int KW_CaptureBmpPic(int _iPlayId, const char* _pcPath);
// Writes the player's last decoded picture to _pcPath in format _iFormat (KW_CAPTURE_*).
int KW_CapturePicture(int _iPlayId, const char* _pcPath, int _iFormat);
// KW_VERSION.
int KW_GetVersion(void);
// Fills *_pParam (_iSize must be sizeof(KW_VideoParam), and so must _pParam->m_iSize).
int KW_GetVideoParam(int _iPlayId, KW_VideoParam* _pParam, int _iSize);

// ---- Rendering targets (extension) ----

// Creates an off-screen RGB surface of the given size (1 to 8192 each way), black; its handle
// can be given wherever a window is expected. Null on bad sizes.
void* KW_Ext_CreateSurface(int _iWidth, int _iHeight);
// Destroys a surface; a view still pointing at it renders nowhere from then on.
int KW_Ext_DestroySurface(void* _hSurface);
// Writes the surface's width and height (either pointer may be null).
int KW_Ext_GetSurfaceSize(void* _hSurface, int* _piWidth, int* _piHeight);
// Copies the surface's pixels (RGB, 3 bytes a pixel, rows top to bottom, no padding) into
// _pcRgb, which must hold width * height * 3 bytes (_iSize at least that). Returns the number of
// pictures rendered into the surface so far (0 or more).
int KW_Ext_ReadSurface(void* _hSurface, unsigned char* _pcRgb, int _iSize);
// Saves the surface as a PNG file.
int KW_Ext_SaveSurfacePng(void* _hSurface, const char* _pcPath);

// ---- Exports this engine does not provide ----
// Each accepts and ignores whatever arguments its caller passes and returns KW_ERR_NOT_SUPPORTED.
// clang-format off
#define KW_NOT_SUPPORTED_EXPORTS(X) \
    X(KW_SetAVMode) X(KW_SetVideoMode) X(KW_DeleteSystem) X(KW_CreatePlayerFromFile) \
    X(KW_DeletePlayerEx) X(KW_RegisterEventMsg) X(KW_RegisterNotifyPlayToEnd) \
    X(KW_RegisterNotifyGetDecAV) X(KW_SetPlayRect) X(KW_SetPlayRectEx) X(KW_Pause) X(KW_Stop) \
    X(KW_PlayAudio) X(KW_StopAudio) X(KW_SetAudioVolumn) X(KW_SetAudioVolumeEx) X(KW_GoBegin) \
    X(KW_GoEnd) X(KW_FastForward) X(KW_SlowForward) X(KW_FastBackward) X(KW_StepForward) \
    X(KW_StepBackward) X(KW_Seek) X(KW_SeekEx) X(KW_GetFrameRate) X(KW_GetPlayingFrameNum) \
    X(KW_GetPlayTime) X(KW_GetFrameCount) X(KW_GetBeginEnd) X(KW_GetFileName) \
    X(KW_CreatePlayerFromStream) X(KW_StartMonitorCPU) X(KW_StopMonitorCPU) X(KW_SetEZoom) \
    X(KW_ResetEZoom) X(KW_AddEZoom) X(KW_RemoveEZoom) X(KW_DrawPolyOnLocalVideo) X(KW_VECleanup) \
    X(KW_VEAbort) X(KW_SegmentToFile) X(KW_RemoveAudio) X(KW_RegisterVECallBack) X(KW_Locate) \
    X(KW_GetCurFrameNo) X(KW_GetVEState) X(KW_Combine) X(KW_SetVideoDecryptKey) \
    X(KW_GetVideoDecryptKey) X(KW_CreatePlayerFromVoD) X(KW_SetCleanVoDBuffer) \
    X(KW_RegisterCommonEventCallBackEx) X(KW_SetFrameListBufferSize) X(KW_GetBeginEndTimeStamp) \
    X(KW_CleanStreamBuffer) X(KW_GetUserDataInfo) X(KW_RegisterCommonEventCallBack_V4) \
    X(KW_SetDecCallBack) X(KW_SetSrcRect) X(KW_DrawText)
// clang-format on

#define KW_DECLARE_NOT_SUPPORTED(name) int name(void);
KW_NOT_SUPPORTED_EXPORTS(KW_DECLARE_NOT_SUPPORTED)
#undef KW_DECLARE_NOT_SUPPORTED

#ifdef __cplusplus
}
#endif

#endif // KORVANE_H
