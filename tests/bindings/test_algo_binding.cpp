#include "bindings/CLS_ZebAlgoFcu.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Lines = std::vector<std::string>;

// The documented exports, in their documented order, with the binding's pointer for each.
std::vector<std::pair<std::string, void*>> BoundPointers() {
    return {
        {"ZebAlgo_FCU_Creat", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat)},
        {"ZebAlgo_FCU_Release", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Release)},
        {"ZebAlgo_FCU_Init", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Init)},
        {"ZebAlgo_FCU_Process", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Process)},
        {"ZebAlgo_FCU_GetLibInfo", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_GetLibInfo)},
        {"ZebAlgo_FCU_Point_Transform", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform)},
        {"ZebAlgo_FCU_CorrectPoint", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint)},
        {"ZebAlgo_FCU_Ctrl", reinterpret_cast<void*>(CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl)},
    };
}

std::string MissingLine(const std::string& _strName) {
    return "warning: _ZEB_ Panoview : [ CLS_ZebAlgoFcu::LoadLib nullptr ==  " + _strName + "  ]";
}

TEST(AlgoBindingFull, LoadBindsAllEightExportsSilently) {
    EXPECT_FALSE(CLS_ZebAlgoFcu::m_blLoaded);
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), 0);
    EXPECT_TRUE(CLS_ZebAlgoFcu::m_blLoaded);
    for (const auto& bound : BoundPointers()) {
        void* pExpected = LoadedSymbol("zeb_algo_fcu.dll", bound.first.c_str());
        EXPECT_NE(pExpected, nullptr) << bound.first;
        EXPECT_EQ(bound.second, pExpected) << bound.first;
    }
    EXPECT_TRUE(TestLog::Lines().empty());
    EXPECT_NE(FakeAlgo(), nullptr);
}

TEST(AlgoBindingFull, SecondLoadReturnsZeroWithoutResolvingAgain) {
    ASSERT_EQ(CLS_ZebAlgoFcu::LoadLib(), 0);
    const auto pfCtrl = CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl;
    CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl = nullptr; // a re-resolution would restore it
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), 0);
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl, nullptr);
    EXPECT_TRUE(TestLog::Lines().empty());
    CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl = pfCtrl;
}

TEST(AlgoBindingWithoutCtrl, LoadReportsTheMissingExportAndBindsTheRest) {
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({MissingLine("ZebAlgo_FCU_Ctrl")}));
    EXPECT_TRUE(CLS_ZebAlgoFcu::m_blLoaded);
    for (const auto& bound : BoundPointers()) {
        if (bound.first == "ZebAlgo_FCU_Ctrl")
            EXPECT_EQ(bound.second, nullptr);
        else
            EXPECT_NE(bound.second, nullptr) << bound.first;
    }
}

TEST(AlgoBindingWithoutCtrl, LaterLoadsReturnZeroAndLeaveTheExportMissing) {
    CLS_ZebAlgoFcu::LoadLib();
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), 0);
    EXPECT_EQ(CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl, nullptr);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST(AlgoBindingNoExports, EveryMissingExportIsLoggedInOrder) {
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1);
    EXPECT_EQ(TestLog::Lines(),
              Lines({MissingLine("ZebAlgo_FCU_Creat"), MissingLine("ZebAlgo_FCU_Release"),
                     MissingLine("ZebAlgo_FCU_Init"), MissingLine("ZebAlgo_FCU_Process"),
                     MissingLine("ZebAlgo_FCU_GetLibInfo"), MissingLine("ZebAlgo_FCU_Point_Transform"),
                     MissingLine("ZebAlgo_FCU_CorrectPoint"), MissingLine("ZebAlgo_FCU_Ctrl")}));
    EXPECT_TRUE(CLS_ZebAlgoFcu::m_blLoaded);
    for (const auto& bound : BoundPointers())
        EXPECT_EQ(bound.second, nullptr) << bound.first;
}

// Run once per export, with FISHPLAYER_TEST_MISSING naming the export that the library lacks.
TEST(AlgoBindingLackingOne, OnlyTheMissingExportIsLoggedAndNull) {
    const char* pcMissing = std::getenv("FISHPLAYER_TEST_MISSING");
    ASSERT_NE(pcMissing, nullptr);
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({MissingLine(pcMissing)}));
    for (const auto& bound : BoundPointers()) {
        if (bound.first == pcMissing)
            EXPECT_EQ(bound.second, nullptr);
        else
            EXPECT_NE(bound.second, nullptr) << bound.first;
    }
}

TEST(AlgoBindingAbsent, EveryLoadLogsTheFailure) {
    const std::string strLine =
        "warning: _ZEB_ Panoview : [ CLS_ZebAlgoFcu::LoadLib  zeb_algo_fcu.dll  load fail ]";
    TestLog::Clear();
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1);
    EXPECT_FALSE(CLS_ZebAlgoFcu::m_blLoaded);
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({strLine, strLine}));
    for (const auto& bound : BoundPointers())
        EXPECT_EQ(bound.second, nullptr) << bound.first;
}

} // namespace
