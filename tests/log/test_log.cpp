#include "common/CLS_ZebLog.h"

#include "TestSupport.h"

#include <QString>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

class LogLine : public ::testing::Test {
protected:
    void SetUp() override { TestLog::Clear(); }
};

TEST_F(LogLine, WarningCarriesMarkerModuleLiteralValueAndBracket) {
    CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) "
                        "_iFishPlayerID = ",
                        7, " ]");
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_FishPlayer::FishPlayer_EnableFish "
                                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID =  7  ]"}));
}

TEST_F(LogLine, InfoLevelLineWithoutValues) {
    CLS_ZebLog::Info("[  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]");
    EXPECT_EQ(TestLog::Lines(),
              Lines({"info: _ZEB_ Panoview : [  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]"}));
}

TEST_F(LogLine, LineWithoutClosingBracket) {
    CLS_ZebLog::Warning("KW_Play fail iRet = ", -3);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : KW_Play fail iRet =  -3"}));
}

TEST_F(LogLine, SeveralValuesAndLiteralsInOrder) {
    CLS_ZebLog::Warning("[  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum = ", 0, " ,  _iPtzId = ", 8,
                        " ]");
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum =  0  ,  "
               "_iPtzId =  8  ]"}));
}

TEST_F(LogLine, StringValuesAreUnquoted) {
    CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib ", QStringLiteral("zeb_algo_fcu.dll"), " load fail ]");
    CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib nullptr == ", "ZebAlgo_FCU_Creat", " ]");
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [ CLS_ZebAlgoFcu::LoadLib  zeb_algo_fcu.dll  load fail ]",
               "warning: _ZEB_ Panoview : [ CLS_ZebAlgoFcu::LoadLib nullptr ==  ZebAlgo_FCU_Creat  ]"}));
}

TEST_F(LogLine, NegativeAndExtremeIntegers) {
    CLS_ZebLog::Warning("v = ", -2147483647 - 1, " w = ", 2147483647);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : v =  -2147483648  w =  2147483647"}));
}

TEST_F(LogLine, RefuseWritesOnlyTheFirstRefusingCheck) {
    EXPECT_EQ(CLS_ZebLog::Refuse({{false, "first"}, {true, "[  second ]"}, {true, "third"}}), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  second ]"}));
}

TEST_F(LogLine, RefuseInfoWritesAtInfoLevel) {
    EXPECT_EQ(CLS_ZebLog::RefuseInfo({{true, "[  first ]"}, {true, "second"}}), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({"info: _ZEB_ Panoview : [  first ]"}));
}

TEST_F(LogLine, NothingRefusedIsZeroAndSilent) {
    EXPECT_EQ(CLS_ZebLog::Refuse({{false, "first"}, {false, "second"}}), 0);
    EXPECT_EQ(CLS_ZebLog::RefuseInfo({}), 0);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(LogLine, LinesOfAClassThatNamesItself) {
    CLS_ZebLog::WarningOf("CLS_360ViewSubPlayer", "Move GetCorrectPara fail iRet = ", -2, " ]");
    EXPECT_EQ(CLS_ZebLog::RefuseOf("CLS_180ViewSubPlayer", {{false, "GetCorrectPara first ]"},
                                                            {true, "GetCorrectPara m_iMainPlayId < 0 ]"}}),
              -1);
    EXPECT_EQ(CLS_ZebLog::RefuseOf("CLS_180ViewSubPlayer", {{false, "unused ]"}}), 0);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet =  -2  ]",
               "warning: _ZEB_ Panoview : [  CLS_180ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"}));
}

} // namespace
