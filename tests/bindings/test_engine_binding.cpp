#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

// The documented exports, in their documented order (independent of the library's own list).
const std::vector<std::string>& DocumentedNames() {
    static const std::vector<std::string> s_vecNames = {
#define FAKE_KW_CALLED(name) #name,
#define FAKE_KW_UNUSED(name) #name,
#include "fakes/EngineExports.inc"
#undef FAKE_KW_UNUSED
#undef FAKE_KW_CALLED
    };
    return s_vecNames;
}

// The binding's pointers, in the binding's own order.
std::vector<std::pair<std::string, void*>> BoundPointers() {
    return {
#define ZEB_KW_FN(name) {#name, reinterpret_cast<void*>(CLS_ZebPlayer_SDK::name)},
#define ZEB_KW_FN_TYPED(name, result, args) ZEB_KW_FN(name)
#include "bindings/ZebPlayerFunctions.inc"
#undef ZEB_KW_FN_TYPED
#undef ZEB_KW_FN
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
