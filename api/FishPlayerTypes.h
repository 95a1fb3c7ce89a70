// _ZEBFAULT_
// Records, enumerations, constants and the overlay callback type of the fishplayer interface.
//
// All records are plain aggregates: no constructors, no virtual functions, nothing owned.
// Integers are little-endian two's complement, int is 32 bits, doubles are IEEE 754 binary64.
// Positions inside the fisheye picture use a normalised plane of 0 to 10000 per axis;
// positions inside a client window are window pixels.
#ifndef FISHPLAYER_TYPES_H
#define FISHPLAYER_TYPES_H

#include <QVector>

#include <cstddef>

#if defined(_WIN32)
#if defined(FISHPLAYER_LIBRARY)
#define FISHPLAYER_EXPORT __declspec(dllexport)
#else
#define FISHPLAYER_EXPORT __declspec(dllimport)
#endif
#else
#define FISHPLAYER_EXPORT __attribute__((visibility("default")))
#endif

// Correction types: the keys of the window map, the id map and the views.
// 0 (no name) is the uncorrected source view.
constexpr int CORRECT_TYPE_PTZ = 256;
constexpr int CORRECT_TYPE_180 = 512;
constexpr int CORRECT_TYPE_360 = 768;
constexpr int CORRECT_TYPE_LAT = 1024;
constexpr int CORRECT_TYPE_FISHEYE = 1280;

// The camera's fisheye parameters.
struct STRUCT_FishEyeParam {
    int m_iInstallMode; // mounting mode: 1 drags move a view flat, 2 and 3 turn it about the centre
    int m_iAlgoParam;   // handed to the correction algorithm unchanged
    int m_iExtra;       // last argument of sub-player creation when a player is created
};

// Drawing parameters of the views; only the first two fields are read.
struct STRUCT_FishDrawParam {
    int m_iDrawEnable; // non-zero switches overlay drawing on
    int m_iDrawType;   // n_DrawType of the PTZ outlines
};

// Control parameter of window control (x, y, zoom) and of PTZ control (h step, v step, zoom step).
struct STRUCT_CtlParam {
    int m_iX;
    int m_iY;
    int m_iZ;
};

// A drag from (start x, start y) to (end x, end y) in window pixels.
struct STRUCT_CtlPointParam {
    int m_iStartX;
    int m_iStartY;
    int m_iEndX;
    int m_iEndY;
};

// Size of the client window in which a control gesture happened.
struct STRUCT_FishWindowRect {
    int m_iWidth;
    int m_iHeight;
};

// One point of an overlay polyline, 0 to 1 across the fisheye picture.
struct STRUCT_DrawPoint {
    float m_fX;
    float m_fY;
};

// Settings of the user-data area. Only the four doubles are read (0 to 10000 of the picture);
// everything else is copied as it is.
struct osd_TLDCSet {
    unsigned char m_aucHead[8];
    double m_dLeft;
    double m_dTop;
    double m_dRight;
    double m_dBottom;
    unsigned char m_aucTail[96];
};

// Outline kind of a PTZ view's overlay.
enum n_DrawType : int {
    n_DrawType_Fec = 0,  // the outline of the corrected view inside the fisheye picture
    n_DrawType_Rect = 1, // a square marker around the view's centre
};

// Window-control command. Any other value makes a control return -1.
enum n_CtlCmd : int {
    n_CtlCmd_Move = 0,
    n_CtlCmd_Zoom = 1,
};

// PTZ command; h, v and z are the three fields of STRUCT_CtlParam. Values above 9 move nothing.
enum n_PTZCtlCmd : int {
    n_PTZCtlCmd_Up = 0,        // y -= v
    n_PTZCtlCmd_Down = 1,      // y += v
    n_PTZCtlCmd_Left = 2,      // x -= h
    n_PTZCtlCmd_Right = 3,     // x += h
    n_PTZCtlCmd_LeftUp = 4,    // x -= h, y -= v
    n_PTZCtlCmd_RightUp = 5,   // x += h, y -= v
    n_PTZCtlCmd_LeftDown = 6,  // x -= h, y += v
    n_PTZCtlCmd_RightDown = 7, // x += h, y += v
    n_PTZCtlCmd_ZoomDec = 8,   // zoom value -= z
    n_PTZCtlCmd_ZoomInc = 9,   // zoom value += z
};

// Overlays: one entry per PTZ view, one polyline per outline, the points of the outline.
typedef QVector<QVector<QVector<STRUCT_DrawPoint>>> FishDrawData;

// Overlay callback: called every 40 ms on a library thread with 0, 0 and the overlays.
// Its result is ignored.
typedef int (*PF_FishDrawCallback)(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>>);

static_assert(sizeof(int) == 4, "int must be 32 bits");
static_assert(sizeof(STRUCT_FishEyeParam) == 12, "STRUCT_FishEyeParam is 12 bytes");
static_assert(sizeof(STRUCT_CtlParam) == 12, "STRUCT_CtlParam is 12 bytes");
static_assert(sizeof(STRUCT_CtlPointParam) == 16, "STRUCT_CtlPointParam is 16 bytes");
static_assert(sizeof(STRUCT_FishWindowRect) == 8, "STRUCT_FishWindowRect is 8 bytes");
static_assert(sizeof(STRUCT_DrawPoint) == 8, "STRUCT_DrawPoint is 8 bytes");
static_assert(sizeof(osd_TLDCSet) == 136, "osd_TLDCSet is 136 bytes");
static_assert(offsetof(osd_TLDCSet, m_dLeft) == 8 && offsetof(osd_TLDCSet, m_dTop) == 16 &&
                  offsetof(osd_TLDCSet, m_dRight) == 24 && offsetof(osd_TLDCSet, m_dBottom) == 32,
              "osd_TLDCSet area doubles at bytes 8, 16, 24, 32");
static_assert(sizeof(n_CtlCmd) == 4 && sizeof(n_PTZCtlCmd) == 4, "commands travel as 32 bits");

#endif // FISHPLAYER_TYPES_H
