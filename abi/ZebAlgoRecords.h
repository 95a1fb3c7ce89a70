// _ZEBFAULT_
// Records exchanged with the correction algorithm library. Every padding byte is an explicit
// field so that a record built with {} is zero byte for byte.
#ifndef ZEB_ALGO_RECORDS_H
#define ZEB_ALGO_RECORDS_H

#include <cstddef>
#include <cstdint>

static_assert(sizeof(void*) == 8, "the algorithm records are laid out for 64-bit builds");

// Initialisation of an algorithm handle (ZebAlgo_FCU_Init and ZebAlgo_FCU_Ctrl).
struct STRUCT_FcuInitParam {
    int m_iSize;       // 132
    int m_iWidth;      // picture width
    int m_iHeight;     // picture height
    int m_iField12;    // 2
    float m_fAreaLeft; // fractions of the picture
    float m_fAreaRight;
    float m_fAreaTop;
    float m_fAreaBottom;
    float m_fField32; // 0.5
    float m_fField36; // 0.5
    int m_aiReserved40[23];
};
static_assert(sizeof(STRUCT_FcuInitParam) == 132, "STRUCT_FcuInitParam is 132 bytes");
static_assert(offsetof(STRUCT_FcuInitParam, m_iWidth) == 4, "width at 4");
static_assert(offsetof(STRUCT_FcuInitParam, m_iHeight) == 8, "height at 8");
static_assert(offsetof(STRUCT_FcuInitParam, m_iField12) == 12, "field at 12");
static_assert(offsetof(STRUCT_FcuInitParam, m_fAreaLeft) == 16, "left at 16");
static_assert(offsetof(STRUCT_FcuInitParam, m_fAreaRight) == 20, "right at 20");
static_assert(offsetof(STRUCT_FcuInitParam, m_fAreaTop) == 24, "top at 24");
static_assert(offsetof(STRUCT_FcuInitParam, m_fAreaBottom) == 28, "bottom at 28");
static_assert(offsetof(STRUCT_FcuInitParam, m_fField32) == 32, "field at 32");
static_assert(offsetof(STRUCT_FcuInitParam, m_fField36) == 36, "field at 36");

// Coordinate spaces of the algorithm.
constexpr int FCU_SPACE_PANORAMA = 0x20000; // 131072
constexpr int FCU_SPACE_LAT = 0x30000;      // 196608
constexpr int FCU_SPACE_PTZ = 0x40000;      // 262144

// Point-transform request (ZebAlgo_FCU_Point_Transform).
struct STRUCT_FcuPointTransformParam {
    int m_iSize; // 92
    int m_iMode; // transform kind or mounting mode
    int m_iType; // second fisheye field or correction type
    float m_fX;  // 0 to 0.9999
    float m_fY;
    int m_iFromSpace; // 20
    int m_iToSpace;   // 24
    int m_iZoom;      // 28
    int m_iTypeValue; // 32
    int m_aiReserved36[14];
};
static_assert(sizeof(STRUCT_FcuPointTransformParam) == 92, "STRUCT_FcuPointTransformParam is 92 bytes");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iMode) == 4, "mode at 4");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iType) == 8, "type at 8");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_fX) == 12, "x at 12");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_fY) == 16, "y at 16");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iFromSpace) == 20, "from at 20");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iToSpace) == 24, "to at 24");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iZoom) == 28, "zoom at 28");
static_assert(offsetof(STRUCT_FcuPointTransformParam, m_iTypeValue) == 32, "type value at 32");

// A point as the algorithm takes and gives it: fractions of the picture.
struct STRUCT_FcuPoint {
    float m_fX;
    float m_fY;
};
static_assert(sizeof(STRUCT_FcuPoint) == 8, "STRUCT_FcuPoint is 8 bytes");

// View request of ZebAlgo_FCU_CorrectPoint and ZebAlgo_FCU_Process.
struct STRUCT_FcuViewParam {
    int m_iSize;        // 112
    int m_iMode;        // mounting mode
    int m_iCorrectType; // correction type
    int m_iField12;     // 32 in an outline request
    int m_iReserved16;
    float m_fX;                   // 20: outline centre
    float m_fY;                   // 24
    float m_fZoom;                // 28: zoom / 10000
    int m_iWidth;                 // 32: outline request
    int m_iHeight;                // 36
    std::int64_t m_llOutlineKind; // 40: 0x1000 to 0x4000
    int m_iTypeValue;             // 48: point request
    int m_aiReserved52[15];
};
static_assert(sizeof(STRUCT_FcuViewParam) == 112, "STRUCT_FcuViewParam is 112 bytes");
static_assert(offsetof(STRUCT_FcuViewParam, m_iMode) == 4, "mode at 4");
static_assert(offsetof(STRUCT_FcuViewParam, m_iCorrectType) == 8, "type at 8");
static_assert(offsetof(STRUCT_FcuViewParam, m_iField12) == 12, "field at 12");
static_assert(offsetof(STRUCT_FcuViewParam, m_fX) == 20, "x at 20");
static_assert(offsetof(STRUCT_FcuViewParam, m_fY) == 24, "y at 24");
static_assert(offsetof(STRUCT_FcuViewParam, m_fZoom) == 28, "zoom at 28");
static_assert(offsetof(STRUCT_FcuViewParam, m_iWidth) == 32, "width at 32");
static_assert(offsetof(STRUCT_FcuViewParam, m_iHeight) == 36, "height at 36");
static_assert(offsetof(STRUCT_FcuViewParam, m_llOutlineKind) == 40, "outline kind at 40");
static_assert(offsetof(STRUCT_FcuViewParam, m_iTypeValue) == 48, "type value at 48");

// Outline kinds of an outline request.
constexpr std::int64_t FCU_OUTLINE_PTZ = 0x1000;
constexpr std::int64_t FCU_OUTLINE_180 = 0x2000;
constexpr std::int64_t FCU_OUTLINE_360 = 0x3000;
constexpr std::int64_t FCU_OUTLINE_LAT = 0x4000;

// One polyline of an outline result.
struct STRUCT_FcuLine {
    int m_iPointNum;
    int m_iReserved4;
    STRUCT_FcuPoint* m_pPoints;
};
static_assert(sizeof(STRUCT_FcuLine) == 16, "STRUCT_FcuLine is 16 bytes");

constexpr int FCU_MAX_LINES = 22;             // entries that fit the line buffer
constexpr int FCU_POINT_BLOCK_POINTS = 40000; // points in the caller's block (320000 bytes)
constexpr int FCU_MAX_POINTS_PER_LINE = 2500; // points copied out of one polyline

// Line buffer of an outline result.
struct STRUCT_FcuLineBuffer {
    int iLineNum;
    int m_iReserved4;
    STRUCT_FcuLine m_atLines[FCU_MAX_LINES];
    std::int64_t m_llReserved360; // the buffer is 368 bytes; only 22 whole entries fit
};
static_assert(sizeof(STRUCT_FcuLineBuffer) == 368, "STRUCT_FcuLineBuffer is 368 bytes");
static_assert(offsetof(STRUCT_FcuLineBuffer, m_atLines) == 8, "lines at 8");

// Result record of ZebAlgo_FCU_Process.
struct STRUCT_FcuProcessResult {
    int m_iSize; // 88
    int m_aiReserved4[3];
    STRUCT_FcuLineBuffer* m_pLineBuffer; // 16
    std::int64_t m_allReserved24[8];
};
static_assert(sizeof(STRUCT_FcuProcessResult) == 88, "STRUCT_FcuProcessResult is 88 bytes");
static_assert(offsetof(STRUCT_FcuProcessResult, m_pLineBuffer) == 16, "line buffer at 16");

#endif // ZEB_ALGO_RECORDS_H
