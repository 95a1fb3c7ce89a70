#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

// The documented exports, in their documented order: the oracle, written here on purpose and not
// taken from the contract list it checks.
const std::vector<std::string>& DocumentedNames() {
    static const std::vector<std::string> s_vecNames = {
        "KW_SetAVMode",
        "KW_SetVideoMode",
        "KW_CreateSystem",
        "KW_DeleteSystem",
        "KW_CreatePlayerFromFile",
        "KW_DeletePlayer",
        "KW_DeletePlayerEx",
        "KW_RegisterEventMsg",
        "KW_RegisterNotifyPlayToEnd",
        "KW_RegisterNotifyGetDecAV",
        "KW_SetPlayRect",
        "KW_SetPlayRectEx",
        "KW_Play",
        "KW_Pause",
        "KW_Stop",
        "KW_PlayAudio",
        "KW_StopAudio",
        "KW_SetAudioVolumn",
        "KW_SetAudioVolumeEx",
        "KW_GoBegin",
        "KW_GoEnd",
        "KW_FastForward",
        "KW_SlowForward",
        "KW_FastBackward",
        "KW_StepForward",
        "KW_StepBackward",
        "KW_Seek",
        "KW_SeekEx",
        "KW_GetFrameRate",
        "KW_GetPlayingFrameNum",
        "KW_GetPlayTime",
        "KW_GetFrameCount",
        "KW_GetBeginEnd",
        "KW_GetFileName",
        "KW_CapturePic",
        "KW_CaptureBmpPic",
        "KW_CapturePicture",
        "KW_CreatePlayerFromStream",
        "KW_PutStreamToPlayer",
        "KW_StartMonitorCPU",
        "KW_StopMonitorCPU",
        "KW_GetVersion",
        "KW_SetEZoom",
        "KW_ResetEZoom",
        "KW_AddEZoom",
        "KW_RemoveEZoom",
        "KW_GetVideoParam",
        "KW_DrawPolyOnLocalVideo",
        "KW_VECleanup",
        "KW_VEAbort",
        "KW_SegmentToFile",
        "KW_RemoveAudio",
        "KW_RegisterVECallBack",
        "KW_Locate",
        "KW_GetCurFrameNo",
        "KW_GetVEState",
        "KW_Combine",
        "KW_SetVideoDecryptKey",
        "KW_GetVideoDecryptKey",
        "KW_CreatePlayerFromVoD",
        "KW_SetCleanVoDBuffer",
        "KW_RegisterCommonEventCallBackEx",
        "KW_SetFrameListBufferSize",
        "KW_GetBeginEndTimeStamp",
        "KW_CleanStreamBuffer",
        "KW_GetUserDataInfo",
        "KW_PlayerControl",
        "KW_RegisterCommonEventCallBack_V4",
        "KW_SetDecCallBack",
        "KW_SetSrcRect",
        "KW_DrawText",
        "KW_CreateFishEyeCorrect",
        "KW_DeleteFishEyeCorrect",
        "KW_SetFishEyeCorrectCallBack",
        "KW_CreatePlayerForSpecialNeeds",
        "KW_SetFishEyeCorrectEnable",
        "KW_GetFishEyeCorrectPara",
        "KW_SetFishEyeCorrectPara",
    };
    return s_vecNames;
}

// The binding's pointers, in the binding's own order.
std::vector<std::pair<std::string, void*>> BoundPointers() {
    return {
#define ZEB_KW_EXPORT(role, name, result, args) ZEB_KW_BOUND_##role(name)
#define ZEB_KW_BOUND(name) {#name, reinterpret_cast<void*>(CLS_ZebPlayer_SDK::name)},
#define ZEB_KW_BOUND_CALLED(name) ZEB_KW_BOUND(name)
#define ZEB_KW_BOUND_RESOLVED(name) ZEB_KW_BOUND(name)
#define ZEB_KW_BOUND_UNTYPED(name) ZEB_KW_BOUND(name)
#define ZEB_KW_BOUND_EXTENSION(name)
#include "abi/KorvaneExports.inc"
    };
}

TEST(EngineBindingFull, BindingListsTheDocumentedExportsInOrder) {
    std::vector<std::string> vecNames;
    for (const auto& bound : BoundPointers())
        vecNames.push_back(bound.first);
    EXPECT_EQ(vecNames, DocumentedNames());
    EXPECT_EQ(vecNames.size(), 78u);
}

TEST(EngineBindingFull, EveryPointerStartsNull) {
    ASSERT_EQ(CLS_ZebPlayer_SDK::m_hLibrary, nullptr) << "this test must run before any load";
    for (const auto& bound : BoundPointers())
        EXPECT_EQ(bound.second, nullptr) << bound.first;
}

TEST(EngineBindingFull, LoadResolvesEveryExportOfTheFoundLibrary) {
    TestLog::Clear();
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    EXPECT_NE(CLS_ZebPlayer_SDK::m_hLibrary, nullptr);
    for (const auto& bound : BoundPointers()) {
        void* pExpected = LoadedSymbol("Korvane.dll", bound.first.c_str());
        EXPECT_NE(pExpected, nullptr) << bound.first;
        EXPECT_EQ(bound.second, pExpected) << bound.first;
    }
    EXPECT_TRUE(TestLog::Lines().empty());
    ASSERT_NE(FakeEngine(), nullptr);
}

TEST(EngineBindingFull, SecondLoadNeitherLoadsNorResolvesAgain) {
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    void* const hLibrary = CLS_ZebPlayer_SDK::m_hLibrary;
    const auto pfPlay = CLS_ZebPlayer_SDK::KW_Play;
    CLS_ZebPlayer_SDK::KW_Play = nullptr; // a re-resolution would restore it
    TestLog::Clear();
    EXPECT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    EXPECT_TRUE(CLS_ZebPlayer_SDK::LoadLib("no_such_engine.dll")); // the name is not even looked at
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_Play, nullptr);
    EXPECT_EQ(CLS_ZebPlayer_SDK::m_hLibrary, hLibrary);
    EXPECT_TRUE(TestLog::Lines().empty());
    CLS_ZebPlayer_SDK::KW_Play = pfPlay;
}

TEST(EngineBindingFull, CalledFunctionsReachTheEngine) {
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    FakeEngine()->Reset();
    FakeEngine()->PushResult("KW_CreateSystem", 5);
    EXPECT_EQ(CLS_ZebPlayer_SDK::KW_CreateSystem(0), 5);
    const std::vector<FakeCall> vecCalls = FakeEngine()->Journal();
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_strName, "KW_CreateSystem");
    EXPECT_EQ(vecCalls[0].m_vecArgs, std::vector<std::int64_t>({0}));
}

TEST(EngineBindingLacking, LoadSucceedsAndOnlyTheMissingExportStaysNull) {
    TestLog::Clear();
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    EXPECT_NE(CLS_ZebPlayer_SDK::m_hLibrary, nullptr);
    for (const auto& bound : BoundPointers()) {
        if (bound.first == "KW_Play")
            EXPECT_EQ(bound.second, nullptr);
        else
            EXPECT_NE(bound.second, nullptr) << bound.first;
    }
    EXPECT_TRUE(TestLog::Lines().empty()); // a missing export is not logged
}

TEST(EngineBindingAbsent, LoadFailsAndLeavesEverythingNull) {
    TestLog::Clear();
    EXPECT_FALSE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    EXPECT_EQ(CLS_ZebPlayer_SDK::m_hLibrary, nullptr);
    for (const auto& bound : BoundPointers())
        EXPECT_EQ(bound.second, nullptr) << bound.first;
    EXPECT_FALSE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll")); // tried again, fails again
    EXPECT_EQ(CLS_ZebPlayer_SDK::m_hLibrary, nullptr);
    EXPECT_TRUE(TestLog::Lines().empty()); // the loader logs nothing itself
}

} // namespace
