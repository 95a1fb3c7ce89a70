// _ZEBFAULT_
// Records exchanged with the player engine, beside the constants of KorvaneContract.h. Every padding byte is
// an explicit field so that a record built with {} is zero byte for byte.
#ifndef ZEB_PLAYER_RECORDS_H
#define ZEB_PLAYER_RECORDS_H

#include "KorvaneContract.h"

#include <cstddef>
#include <cstdint>

static_assert(sizeof(void*) == 8, "the engine records are laid out for 64-bit builds");

// First 12 bytes of a stream header.
struct STRUCT_StreamHeader {
    int m_iSize; // length of the header, must equal the size the client gives
    int m_iWidth;
    int m_iHeight;
};
static_assert(sizeof(STRUCT_StreamHeader) == 12, "STRUCT_StreamHeader is 12 bytes");
static_assert(offsetof(STRUCT_StreamHeader, m_iWidth) == 4, "width at 4");
static_assert(offsetof(STRUCT_StreamHeader, m_iHeight) == 8, "height at 8");

// Creation record of KW_CreatePlayerForSpecialNeeds.
struct STRUCT_PlayerCreateParam {
    int m_iSize; // 32
    int m_iReserved4;
    void* m_pWindow;
    int m_iWidth;
    int m_iHeight;
    std::int64_t m_llReserved24;
};
static_assert(sizeof(STRUCT_PlayerCreateParam) == 32, "STRUCT_PlayerCreateParam is 32 bytes");
static_assert(offsetof(STRUCT_PlayerCreateParam, m_pWindow) == 8, "window at 8");
static_assert(offsetof(STRUCT_PlayerCreateParam, m_iWidth) == 16, "width at 16");
static_assert(offsetof(STRUCT_PlayerCreateParam, m_iHeight) == 20, "height at 20");
static_assert(offsetof(STRUCT_PlayerCreateParam, m_llReserved24) == 24, "reserved at 24");

// Record of KW_PlayerControl command 4; null callback and user stop the delivery.
struct STRUCT_UserDataCallBackParam {
    int m_iSize; // 24, or 0 in the stop call of a main player's destruction
    int m_iReserved4;
    KW_PF_UserData m_pfCallBack;
    void* m_pUser;
};
static_assert(sizeof(STRUCT_UserDataCallBackParam) == 24, "STRUCT_UserDataCallBackParam is 24 bytes");
static_assert(offsetof(STRUCT_UserDataCallBackParam, m_pfCallBack) == 8, "callback at 8");
static_assert(offsetof(STRUCT_UserDataCallBackParam, m_pUser) == 16, "user at 16");

// Set-up record of one correction: the whole picture (KW_SetFishEyeCorrectEnable) or one view
// (KW_CreateFishEyeCorrect). The views read bytes 4, 8, 48 to 64 and 80.
struct STRUCT_CorrectSetup {
    int m_iSize;        // 0: 88
    int m_iInstallMode; // 4: first field of STRUCT_FishEyeParam
    int m_iCorrectType; // 8: correction type
    int m_iField12;     // 12: 20 for the whole picture, 0 for a view
    int m_iAreaLeft;    // 16
    int m_iAreaRight;   // 20
    int m_iAreaTop;     // 24
    int m_iAreaBottom;  // 28
    int m_iField32;     // 32: 8 for a view
    int m_iReserved36;
    int m_iField40;   // 40: 32 for the whole picture and the PTZ view
    int m_iViewIndex; // 44: PTZ index, -1 for the other views
    int m_iPositionX; // 48
    int m_iPositionY; // 52
    int m_iZoom;      // 56
    int m_iWidth;     // 60
    int m_iHeight;    // 64
    int m_iReserved68;
    void* m_pWindow; // 72
    int m_iExtra;    // 80
    int m_iReserved84;
};
static_assert(sizeof(STRUCT_CorrectSetup) == 88, "STRUCT_CorrectSetup is 88 bytes");
static_assert(offsetof(STRUCT_CorrectSetup, m_iInstallMode) == 4, "mode at 4");
static_assert(offsetof(STRUCT_CorrectSetup, m_iCorrectType) == 8, "type at 8");
static_assert(offsetof(STRUCT_CorrectSetup, m_iField12) == 12, "field at 12");
static_assert(offsetof(STRUCT_CorrectSetup, m_iAreaLeft) == 16, "left at 16");
static_assert(offsetof(STRUCT_CorrectSetup, m_iAreaRight) == 20, "right at 20");
static_assert(offsetof(STRUCT_CorrectSetup, m_iAreaTop) == 24, "top at 24");
static_assert(offsetof(STRUCT_CorrectSetup, m_iAreaBottom) == 28, "bottom at 28");
static_assert(offsetof(STRUCT_CorrectSetup, m_iField32) == 32, "field at 32");
static_assert(offsetof(STRUCT_CorrectSetup, m_iField40) == 40, "field at 40");
static_assert(offsetof(STRUCT_CorrectSetup, m_iViewIndex) == 44, "index at 44");
static_assert(offsetof(STRUCT_CorrectSetup, m_iPositionX) == 48, "x at 48");
static_assert(offsetof(STRUCT_CorrectSetup, m_iPositionY) == 52, "y at 52");
static_assert(offsetof(STRUCT_CorrectSetup, m_iZoom) == 56, "zoom at 56");
static_assert(offsetof(STRUCT_CorrectSetup, m_iWidth) == 60, "width at 60");
static_assert(offsetof(STRUCT_CorrectSetup, m_iHeight) == 64, "height at 64");
static_assert(offsetof(STRUCT_CorrectSetup, m_pWindow) == 72, "window at 72");
static_assert(offsetof(STRUCT_CorrectSetup, m_iExtra) == 80, "extra at 80");

// PTZ parameters (KW_PARA_PTZ). Bytes 0, 4 and 20 to 31 are the engine's and are carried through.
struct STRUCT_PTZCorrectPara {
    int m_iEngine0;
    int m_iEngine4;
    int iPTZPositionX; // 0 to 10000
    int iPTZPositionY; // 0 to 10000
    int iPTZZoom;      // 550 to 15000
    int m_aiEngine20[3];
};
static_assert(sizeof(STRUCT_PTZCorrectPara) == 32, "STRUCT_PTZCorrectPara is 32 bytes");
static_assert(offsetof(STRUCT_PTZCorrectPara, iPTZPositionX) == 8, "x at 8");
static_assert(offsetof(STRUCT_PTZCorrectPara, iPTZPositionY) == 12, "y at 12");
static_assert(offsetof(STRUCT_PTZCorrectPara, iPTZZoom) == 16, "zoom at 16");

// Panorama parameters (KW_PARA_PANORAMA).
struct STRUCT_PanoramaPara {
    std::uint32_t m_uOpaque; // the engine's, written back as read
    float m_fRotateAngle;    // degrees
};
static_assert(sizeof(STRUCT_PanoramaPara) == 8, "STRUCT_PanoramaPara is 8 bytes");
static_assert(offsetof(STRUCT_PanoramaPara, m_fRotateAngle) == 4, "angle at 4");

#endif // ZEB_PLAYER_RECORDS_H
