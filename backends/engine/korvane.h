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
// - Renderers: views are drawn by the CPU renderer or with OpenGL ES 3 through EGL, as the
//   environment variable KORVANE_RENDERER (gl, cpu or auto, the default) selects; see
//   KW_Ext_GetRenderer. Trouble the engine works around (a bad value, a GL failure, after which
//   the view is drawn by the CPU renderer) is written once to standard error as "Korvane: ...".
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

#include "../../abi/KorvaneContract.h"

// Video parameters of KW_GetVideoParam (24 bytes).
typedef struct KW_VideoParam {
    int m_iSize;        // 24, set by the caller
    int m_iWidth;       // of the last decoded picture, 0 before the first
    int m_iHeight;      //
    int m_iCodec;       // KW_CODEC_*
    int64_t m_llFrames; // pictures decoded, rendered and reported to the callbacks so far
} KW_VideoParam;

// The exports, each with what it does: the contract list, in the order the library resolves them.
#define ZEB_KW_EXPORT(role, name, result, args) result name args;
#include "../../abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT

#ifdef __cplusplus
}
#endif

#endif // KORVANE_H
