// Open fisheye correction algorithm: the interface of the shared library "zeb_algo_fcu.dll".
//
// The library maps points between the fisheye picture and the pictures corrected from it and
// computes the outline of a PTZ view. Its geometry (an equidistant lens, mounted on a wall, on a
// ceiling or on the floor) is described in docs/geometry.md and implemented by
// CLS_FisheyeGeometry. It depends on the C++ standard library only.
//
// Records. Every record starts with its size in bytes, which must be exactly the size given here;
// the records and their offsets are those of abi/ZebAlgoRecords.h:
//   STRUCT_FcuInitParam (132)           set-up of a handle (Init, Ctrl)
//     4  width, 8 height               the source picture in pixels, both > 0
//     12 mounting mode                 1 wall, 2 ceiling, 3 floor: the default of every request
//     16..28 left, right, top, bottom  the bounding box of the image circle, fractions of the
//                                      picture (0 <= left < right <= 1, 0 <= top < bottom <= 1)
//     32 lens field                    the lens's field of view as a fraction of a full turn,
//                                      (0, 0.75]: 0.5 is 180 degrees
//     36 usable radius                 the radius of the usable circle as a fraction of the box,
//                                      (0, 0.5]: 0.5 is the whole image circle
//   STRUCT_FcuPointTransformParam (92)  one point from one space to another (Point_Transform)
//     4  mounting mode                 1 to 3; any other value takes the handle's
//     8  correction type               of the asking view; not used
//     12, 16 x, y                      the point, fractions of its space
//     20, 24 from, to                  FCU_SPACE_PANORAMA, FCU_SPACE_LAT or FCU_SPACE_PTZ
//     28, 32 zoom, type value          of the asking view; not used
//   STRUCT_FcuViewParam (112)           a PTZ view (CorrectPoint, Process)
//     4  mounting mode                 as above
//     8  correction type               CorrectPoint: CORRECT_TYPE_PTZ (256) keeps a PTZ view inside
//                                      the usable circle, CORRECT_TYPE_FISHEYE (1280) a single point;
//                                      Process: of the asking view, not used
//     12 samples per edge              Process: points per edge of the outline, 1 to 600 (others:
//                                      32 when < 1, 600 when larger)
//     20, 24 x, y                      Process: the view's position in the fisheye picture
//     28 zoom                          the library's zoom value / 10000 (0.055 to 1.5; clamped);
//                                      CorrectPoint: 0 or less is no view, only the point is kept
//                                      inside the usable circle
//     32, 36 width, height             the view's picture in pixels, for its aspect ratio; 0 and 0
//                                      take the source picture's
//     40 outline kind                  Process: FCU_OUTLINE_PTZ (fisheye picture), FCU_OUTLINE_180,
//                                      FCU_OUTLINE_360 or FCU_OUTLINE_LAT
//     48 type value                    of the asking view; not used
//   STRUCT_FcuProcessResult (88)        the outline (Process): byte 16 points at a
//                                      STRUCT_FcuLineBuffer whose first entry points at the caller's
//                                      block of FCU_POINT_BLOCK_POINTS points
//   STRUCT_FcuLibInfo (64)              library information (GetLibInfo)
//
// Spaces (all coordinates are fractions, 0 to 1, of the picture's width and height):
//   FCU_SPACE_PTZ      the fisheye picture: the image circle's bounding box, centre (0.5, 0.5);
//                      a PTZ view's position is the fisheye point at the centre of the view
//   FCU_SPACE_PANORAMA the 360-degree panorama (x azimuth, y elevation)
//   FCU_SPACE_LAT      the longitude/latitude view
//
// Results: FCU_OK (0), FCU_ADJUSTED (1, the input was moved to the nearest valid one and the
// result is for that one), or a negative FCU_ERR_* code; on an error nothing is written.
//
// Threads. Calls on one handle may come from several threads; each call works on a copy of the
// handle's set-up taken at its start. Release a handle only when no call on it is running.
// Process allocates nothing: it writes into the caller's line buffer and point block.
#ifndef ZEB_ALGO_FCU_H
#define ZEB_ALGO_FCU_H

#include "abi/ZebAlgoRecords.h"

#if defined(_WIN32)
#define ZEB_FCU_API extern "C" __declspec(dllexport)
#else
#define ZEB_FCU_API extern "C" __attribute__((visibility("default")))
#endif

constexpr int FCU_OK = 0;
constexpr int FCU_ADJUSTED = 1;
constexpr int FCU_ERR_HANDLE = -1;    // null, released or unknown handle
constexpr int FCU_ERR_POINTER = -2;   // a record or point pointer is null
constexpr int FCU_ERR_SIZE = -3;      // a record's size field is not its size
constexpr int FCU_ERR_NOT_READY = -4; // the handle has not been set up successfully
constexpr int FCU_ERR_PARAM = -5;     // a value is out of its range (space, kind, type, NaN...)
constexpr int FCU_ERR_BUFFER = -6;    // the result record lacks its line buffer or point block

constexpr int FCU_MOUNT_WALL = 1;
constexpr int FCU_MOUNT_CEILING = 2;
constexpr int FCU_MOUNT_FLOOR = 3;

constexpr int FCU_CORRECT_PTZ = 256;
constexpr int FCU_CORRECT_FISHEYE = 1280;

constexpr int FCU_LIB_VERSION = 0x00010000; // 1.0

// Library information.
struct STRUCT_FcuLibInfo {
    int m_iSize;       // 64
    int m_iVersion;    // FCU_LIB_VERSION
    char m_acName[56]; // zero-terminated
};
static_assert(sizeof(STRUCT_FcuLibInfo) == 64, "STRUCT_FcuLibInfo is 64 bytes");

// A new handle, not yet set up; both arguments are reserved. Null when memory is short.
ZEB_FCU_API void* ZebAlgo_FCU_Creat(void* _pReserved1, void* _pReserved2);
// Releases a handle: FCU_OK or FCU_ERR_HANDLE.
ZEB_FCU_API int ZebAlgo_FCU_Release(void* _pHandle);
// Sets a handle up from a STRUCT_FcuInitParam. On an error the handle keeps its set-up.
ZEB_FCU_API int ZebAlgo_FCU_Init(void* _pHandle, void* _pInitParam);
// Writes the outline of the PTZ view of a STRUCT_FcuViewParam, projected into its outline kind, as
// up to FCU_MAX_LINES polylines laid out one after the other in the caller's point block (entry 0
// of the line buffer points at it on entry; each entry used is pointed at its points). Parts the
// picture does not show are left out; a view whose border stays visible gives one closed
// polyline. FCU_ADJUSTED when the position lay outside the image circle and was moved onto it.
// _iReserved is not used.
ZEB_FCU_API int ZebAlgo_FCU_Process(void* _pHandle, int _iReserved, void* _pRequest, void* _pResult);
// Fills a STRUCT_FcuLibInfo.
ZEB_FCU_API int ZebAlgo_FCU_GetLibInfo(void* _pInfo);
// Maps the point of a STRUCT_FcuPointTransformParam into the target space, writing a
// STRUCT_FcuPoint. Points outside their space's picture, or showing what the lens does not see,
// are first moved to the nearest point that it does (FCU_ADJUSTED); the panorama's x wraps around.
ZEB_FCU_API int ZebAlgo_FCU_Point_Transform(void* _pHandle, void* _pRequest, void* _pPointOut);
// Maps a requested fisheye point (STRUCT_FcuPoint) to the nearest valid one (STRUCT_FcuPoint):
// for CORRECT_TYPE_PTZ the nearest position at which the whole view, at the request's zoom, stays
// inside the usable circle; for CORRECT_TYPE_FISHEYE the nearest point of the usable circle. A
// valid point comes back unchanged, bit for bit.
ZEB_FCU_API int ZebAlgo_FCU_CorrectPoint(void* _pHandle, void* _pRequest, void* _pPointIn, void* _pPointOut);
// Sets up a handle again, as Init does.
ZEB_FCU_API int ZebAlgo_FCU_Ctrl(void* _pHandle, void* _pInitParam);

#endif // ZEB_ALGO_FCU_H
