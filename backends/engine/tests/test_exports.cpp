// The engine's exports: every name present, the unsupported ones refusing, and the argument
// checks of every export that does work.
#include "EngineTest.h"

#include <dlfcn.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

// The contract list's names by role: the closed engine's 78 (those the library calls, those it only
// binds) and the open engine's extension.
#define ZEB_KW_EXPORT(role, name, result, args) KW_NAME_##role(#name)
#define KW_NAME_CALLED(name) name,
#define KW_NAME_RESOLVED(name) name,
#define KW_NAME_UNTYPED(name) name,
#define KW_NAME_EXTENSION(name)
const char* const ALL_EXPORTS[] = {
#include "abi/KorvaneExports.inc"
};
#undef KW_NAME_UNTYPED
#define KW_NAME_UNTYPED(name)
// The twelve that the fishplayer library calls and the five that do real work.
const char* const WORKING_EXPORTS[] = {
#include "abi/KorvaneExports.inc"
};
#undef KW_NAME_CALLED
#undef KW_NAME_RESOLVED
#undef KW_NAME_EXTENSION
#define KW_NAME_CALLED(name)
#define KW_NAME_RESOLVED(name)
#define KW_NAME_EXTENSION(name) name,
const char* const EXTENSION_EXPORTS[] = {
#include "abi/KorvaneExports.inc"
};
#undef KW_NAME_CALLED
#undef KW_NAME_RESOLVED
#undef KW_NAME_UNTYPED
#undef KW_NAME_EXTENSION
#undef ZEB_KW_EXPORT

void UserDataSink(int, int, const unsigned char*, int, void*) {}
void CorrectSink(int, void*) {}

void* Symbol(const char* _pcName) {
    void* hSelf = dlopen("Korvane.dll", RTLD_NOW | RTLD_NOLOAD);
    void* pSymbol = hSelf ? dlsym(hSelf, _pcName) : nullptr;
    if (hSelf)
        dlclose(hSelf);
    return pSymbol;
}

} // namespace

TEST(EngineExports, AllSeventyEightNamesAndTheExtensionAreExported) {
    ASSERT_EQ(sizeof(ALL_EXPORTS) / sizeof(ALL_EXPORTS[0]), 78u);
    for (const char* pcName : ALL_EXPORTS)
        EXPECT_NE(Symbol(pcName), nullptr) << pcName;
    ASSERT_EQ(sizeof(WORKING_EXPORTS) / sizeof(WORKING_EXPORTS[0]), 17u);
    ASSERT_EQ(sizeof(EXTENSION_EXPORTS) / sizeof(EXTENSION_EXPORTS[0]), 6u);
    for (const char* pcName : EXTENSION_EXPORTS)
        EXPECT_NE(Symbol(pcName), nullptr) << pcName;
    // Nothing of the engine's own code leaks out.
    EXPECT_EQ(Symbol("_ZN7korvane16CLS_CopyRenderer6RenderERKNS_5FrameERKNS_10ViewParamsERNS_7SurfaceE"),
              nullptr);
}

TEST(EngineExports, EveryOtherExportIsNotSupported) {
    int iUnsupported = 0;
    for (const char* pcName : ALL_EXPORTS) {
        bool blWorking = false;
        for (const char* pcWorking : WORKING_EXPORTS)
            blWorking = blWorking || std::string(pcName) == pcWorking;
        if (blWorking)
            continue;
        typedef int (*PF_Any)(int, int, int, int);
        const PF_Any pf = reinterpret_cast<PF_Any>(Symbol(pcName));
        ASSERT_NE(pf, nullptr) << pcName;
        EXPECT_EQ(pf(0, 1, 2, 3), KW_ERR_NOT_SUPPORTED) << pcName;
        ++iUnsupported;
    }
    EXPECT_EQ(iUnsupported, 61);
}

TEST(EngineExports, SystemAndVersion) {
    EXPECT_EQ(KW_CreateSystem(0), 0);
    EXPECT_EQ(KW_CreateSystem(0), 0);
    EXPECT_EQ(KW_GetVersion(), 0x010000);
}

using EngineArguments = EngineTest;

TEST_F(EngineArguments, PlayerCreation) {
    Bytes tRecord = CreateRecord(nullptr);
    EXPECT_EQ(KW_CreatePlayerForSpecialNeeds(1, tRecord.Data(), 32, 0), KW_ERR_NOT_SUPPORTED);
    EXPECT_EQ(KW_CreatePlayerForSpecialNeeds(2, nullptr, 32, 0), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CreatePlayerForSpecialNeeds(2, tRecord.Data(), 31, 0), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CreatePlayerForSpecialNeeds(2, tRecord.Data(), 33, 0), KW_ERR_INVALID_ARGUMENT);
    Bytes tWrongSize = CreateRecord(nullptr).At<int>(0, 24);
    EXPECT_EQ(KW_CreatePlayerForSpecialNeeds(2, tWrongSize.Data(), 32, 0), KW_ERR_INVALID_ARGUMENT);
}

TEST_F(EngineArguments, PlayerIdsAreTheLowestFree) {
    const int iFirst = NewPlayer();
    const int iSecond = NewPlayer();
    EXPECT_EQ(iFirst, 0);
    EXPECT_EQ(iSecond, 1);
    EXPECT_EQ(KW_DeletePlayer(iFirst), 0);
    EXPECT_EQ(KW_DeletePlayer(iFirst), KW_ERR_UNKNOWN_ID);
    EXPECT_EQ(NewPlayer(), 0);
    EXPECT_EQ(KW_Play(iSecond), 0) << "playing twice";
}

TEST_F(EngineArguments, UnknownPlayers) {
    unsigned char acData[4] = {};
    Bytes tSetup = SetupRecord(KW_CORRECT_PTZ, nullptr);
    Bytes tBuffer(32);
    KW_VideoParam tParam{};
    tParam.m_iSize = sizeof(tParam);
    for (int iId : {-1, 0, 7, std::numeric_limits<int>::max()}) {
        EXPECT_EQ(KW_Play(iId), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_DeletePlayer(iId), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_PutStreamToPlayer(iId, acData, 4), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_DeleteFishEyeCorrect(iId, 0), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_SetFishEyeCorrectCallBack(iId, 0, CorrectSink, nullptr), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 1, tSetup.Data()), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 0, nullptr), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, 0, 1, tBuffer.Data(), 32), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_SetFishEyeCorrectPara(iId, 0, 1, tBuffer.Data(), 32), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_CapturePic(iId, "unused.bmp"), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_CaptureBmpPic(iId, "unused.bmp"), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_CapturePicture(iId, "unused.bmp", KW_CAPTURE_BMP), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_GetVideoParam(iId, &tParam, sizeof(tParam)), KW_ERR_UNKNOWN_ID);
    }
}

TEST_F(EngineArguments, StreamFeeding) {
    const int iId = NewPlayer(nullptr, false);
    unsigned char acData[4] = {0, 0, 0, 1};
    EXPECT_EQ(KW_PutStreamToPlayer(iId, nullptr, 4), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_PutStreamToPlayer(iId, acData, -1), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_PutStreamToPlayer(iId, acData, 0), 0);
    EXPECT_EQ(KW_PutStreamToPlayer(iId, nullptr, 0), 0);
}

TEST_F(EngineArguments, QueueFullDropsThePacket) {
    // Not played: nothing drains the queue.
    const int iId = NewPlayer(nullptr, false);
    unsigned char cByte = 0;
    for (int i = 0; i < KW_QUEUE_MAX_PACKETS; ++i)
        ASSERT_EQ(KW_PutStreamToPlayer(iId, &cByte, 1), 0) << i;
    EXPECT_EQ(KW_PutStreamToPlayer(iId, &cByte, 1), KW_ERR_QUEUE_FULL);
    // Playing drains it.
    EXPECT_EQ(KW_Play(iId), 0);
    const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int iRet = KW_ERR_QUEUE_FULL;
    while (iRet == KW_ERR_QUEUE_FULL && std::chrono::steady_clock::now() < tDeadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        iRet = KW_PutStreamToPlayer(iId, &cByte, 1);
    }
    EXPECT_EQ(iRet, 0);
}

TEST_F(EngineArguments, QueueLimitInBytes) {
    const int iId = NewPlayer(nullptr, false);
    std::vector<unsigned char> vecBig(KW_QUEUE_MAX_BYTES / 2 + 1, 0);
    EXPECT_EQ(KW_PutStreamToPlayer(iId, vecBig.data(), static_cast<int>(vecBig.size())), 0);
    EXPECT_EQ(KW_PutStreamToPlayer(iId, vecBig.data(), static_cast<int>(vecBig.size())), KW_ERR_QUEUE_FULL);
}

TEST_F(EngineArguments, PlayerControl) {
    Bytes tRecord =
        Bytes(24).At<int>(0, 24).At<void*>(8, reinterpret_cast<void*>(UserDataSink)).At<void*>(16, this);
    EXPECT_EQ(KW_PlayerControl(0, 3, tRecord.Data(), 24, 0), KW_ERR_NOT_SUPPORTED);
    EXPECT_EQ(KW_PlayerControl(-1, 4, tRecord.Data(), 24, 0), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_PlayerControl(0, 4, nullptr, 24, 0), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_PlayerControl(0, 4, tRecord.Data(), 23, 0), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_PlayerControl(0, 4, tRecord.Data(), 32, 0), KW_ERR_INVALID_ARGUMENT);
    Bytes tWrongSize = Bytes(24).At<int>(0, 16).At<void*>(8, reinterpret_cast<void*>(UserDataSink));
    EXPECT_EQ(KW_PlayerControl(0, 4, tWrongSize.Data(), 24, 0), KW_ERR_INVALID_ARGUMENT);
    // Subscribing needs no player; both ways of stopping are accepted.
    EXPECT_EQ(KW_PlayerControl(50, 4, tRecord.Data(), 24, 0), 0);
    Bytes tStop = Bytes(24).At<int>(0, 24);
    EXPECT_EQ(KW_PlayerControl(50, 4, tStop.Data(), 24, 0), 0);
    Bytes tStopWithoutSize = Bytes(24).At<void*>(16, this);
    EXPECT_EQ(KW_PlayerControl(50, 4, tStopWithoutSize.Data(), 0, 0), 0);
    EXPECT_EQ(KW_PlayerControl(51, 4, tStop.Data(), 24, 0), 0) << "stopping what never started";
}

TEST_F(EngineArguments, Corrections) {
    const int iId = NewPlayer();
    Bytes tSetup = SetupRecord(KW_CORRECT_PTZ, nullptr, 3000, 4500, 10000);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, nullptr, 88), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 87), KW_ERR_INVALID_ARGUMENT);
    Bytes tWrongSize = SetupRecord(KW_CORRECT_PTZ, nullptr).At<int>(0, 80);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tWrongSize.Data(), 88), KW_ERR_INVALID_ARGUMENT);
    for (int iType : {-256, 1, 255, 300, 1536}) {
        Bytes tWrongType = SetupRecord(iType, nullptr);
        EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tWrongType.Data(), 88), KW_ERR_INVALID_ARGUMENT) << iType;
    }
    const int iCorrect = KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88);
    ASSERT_EQ(iCorrect, 0);
    EXPECT_EQ(KW_DeleteFishEyeCorrect(iId, 5), KW_ERR_UNKNOWN_ID);
    EXPECT_EQ(KW_DeleteFishEyeCorrect(iId, -1), KW_ERR_UNKNOWN_ID);
    EXPECT_EQ(KW_SetFishEyeCorrectCallBack(iId, 5, CorrectSink, nullptr), KW_ERR_UNKNOWN_ID);
    EXPECT_EQ(KW_SetFishEyeCorrectCallBack(iId, -1, nullptr, nullptr), KW_ERR_UNKNOWN_ID);

    Bytes tBuffer(32);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iCorrect, 1, nullptr, 32), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_SetFishEyeCorrectPara(iId, iCorrect, 1, nullptr, 32), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iCorrect, 1, tBuffer.Data(), 8), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iCorrect, 3, tBuffer.Data(), 32), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_SetFishEyeCorrectPara(iId, iCorrect, 3, tBuffer.Data(), 32), KW_ERR_INVALID_ARGUMENT);
    for (int iKind : {0, 2, 4, -1})
        EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iCorrect, iKind, tBuffer.Data(), 32),
                  KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iCorrect + 1, 1, tBuffer.Data(), 32), KW_ERR_UNKNOWN_ID);
    for (float fBad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        Bytes tPanorama = Bytes(8).At<float>(4, fBad);
        EXPECT_EQ(KW_SetFishEyeCorrectPara(iId, iCorrect, 3, tPanorama.Data(), 8), KW_ERR_INVALID_ARGUMENT);
    }

    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 2, tSetup.Data()), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 1, nullptr), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 1, tWrongSize.Data()), KW_ERR_INVALID_ARGUMENT);
}

TEST_F(EngineArguments, CaptureAndInformation) {
    const int iId = NewPlayer();
    EXPECT_EQ(KW_CapturePic(iId, nullptr), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CaptureBmpPic(iId, nullptr), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CapturePicture(iId, "", KW_CAPTURE_BMP), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CapturePicture(iId, "unused.bmp", 3), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CapturePicture(iId, "unused.bmp", -1), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_CapturePic(iId, "unused.bmp"), KW_ERR_NO_PICTURE);
    EXPECT_EQ(KW_CapturePicture(iId, "unused.png", KW_CAPTURE_PNG), KW_ERR_NO_PICTURE);

    KW_VideoParam tParam{};
    tParam.m_iSize = sizeof(tParam);
    EXPECT_EQ(KW_GetVideoParam(iId, nullptr, sizeof(tParam)), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_GetVideoParam(iId, &tParam, 16), KW_ERR_INVALID_ARGUMENT);
    tParam.m_iSize = 16;
    EXPECT_EQ(KW_GetVideoParam(iId, &tParam, sizeof(tParam)), KW_ERR_INVALID_ARGUMENT);
    tParam.m_iSize = sizeof(tParam);
    ASSERT_EQ(KW_GetVideoParam(iId, &tParam, sizeof(tParam)), 0);
    EXPECT_EQ(tParam.m_iWidth, 0);
    EXPECT_EQ(tParam.m_iHeight, 0);
    EXPECT_EQ(tParam.m_iCodec, KW_CODEC_UNKNOWN);
    EXPECT_EQ(tParam.m_llFrames, 0);
}

TEST_F(EngineArguments, Surfaces) {
    EXPECT_EQ(KW_Ext_CreateSurface(0, 10), nullptr);
    EXPECT_EQ(KW_Ext_CreateSurface(10, -1), nullptr);
    EXPECT_EQ(KW_Ext_CreateSurface(8193, 10), nullptr);
    void* hSurface = NewSurface(4, 3);
    int iWidth = 0;
    int iHeight = 0;
    EXPECT_EQ(KW_Ext_GetSurfaceSize(hSurface, &iWidth, &iHeight), 0);
    EXPECT_EQ(iWidth, 4);
    EXPECT_EQ(iHeight, 3);
    EXPECT_EQ(KW_Ext_GetSurfaceSize(hSurface, nullptr, nullptr), 0);
    std::vector<unsigned char> vecRgb(36, 0xAB);
    EXPECT_EQ(KW_Ext_ReadSurface(hSurface, nullptr, 36), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_Ext_ReadSurface(hSurface, vecRgb.data(), 35), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_Ext_ReadSurface(hSurface, vecRgb.data(), -1), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_Ext_ReadSurface(hSurface, vecRgb.data(), 36), 0);
    EXPECT_EQ(vecRgb, std::vector<unsigned char>(36, 0)) << "a new surface is black";
    EXPECT_EQ(KW_Ext_SaveSurfacePng(hSurface, nullptr), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_Ext_SaveSurfacePng(hSurface, ""), KW_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KW_Ext_SaveSurfacePng(hSurface, "/nonexistent-folder/x.png"), KW_ERR_IO);

    int iNotASurface = 0;
    for (void* hBad : {static_cast<void*>(nullptr), static_cast<void*>(&iNotASurface)}) {
        EXPECT_EQ(KW_Ext_GetSurfaceSize(hBad, &iWidth, &iHeight), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_Ext_ReadSurface(hBad, vecRgb.data(), 36), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_Ext_SaveSurfacePng(hBad, "unused.png"), KW_ERR_UNKNOWN_ID);
        EXPECT_EQ(KW_Ext_DestroySurface(hBad), KW_ERR_UNKNOWN_ID);
    }
    EXPECT_EQ(KW_Ext_DestroySurface(hSurface), 0);
    EXPECT_EQ(KW_Ext_DestroySurface(hSurface), KW_ERR_UNKNOWN_ID);
    m_vecSurfaces.clear();
}
