// Panorama-to-fisheye conversion and the default centres of PTZ views.
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

#include "TestMainPlayer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Lines = std::vector<std::string>;

class Conversion : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
        CLS_ZebAlgoFcu::LoadLib();
        m_pPlayer = std::make_unique<TestMainPlayer>();
        m_pPlayer->m_tFishEyeParam = {2, 77, 5};
        if (FakeAlgo())
            FakeAlgo()->Reset();
        TestLog::Clear();
    }
    std::vector<FakeCall> Transforms() { return FakeAlgo()->Calls("ZebAlgo_FCU_Point_Transform"); }
    std::unique_ptr<TestMainPlayer> m_pPlayer;
};

// The request the conversion must send for a panorama point (x, y) already clamped.
std::vector<unsigned char> ExpectedRequest(int _iX, int _iY, int _iAlgoParam) {
    return RecordBytes(92)
        .At<int>(0, 92)
        .At<int>(4, 3)
        .At<int>(8, _iAlgoParam)
        .At<float>(12, static_cast<float>(_iX / 10000.0))
        .At<float>(16, static_cast<float>(_iY / 10000.0))
        .At<int>(20, 131072)
        .At<int>(24, 262144);
}

TEST_F(Conversion, SendsThePanoramaPointAsFractionsAndTruncatesTheResult) {
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.12345f, 0.99999f);
    int aiIn[2] = {2500, 4500};
    int aiOut[2] = {-1, -1};
    EXPECT_EQ(m_pPlayer->Coord360ToFE(aiIn, aiOut), 0);
    EXPECT_EQ(aiOut[0], 1234); // truncated, not rounded
    EXPECT_EQ(aiOut[1], 9999);
    const std::vector<FakeCall> vecCalls = Transforms();
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs[0], reinterpret_cast<std::int64_t>(m_pPlayer->m_pFcuHandle));
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], ExpectedRequest(2500, 4500, 77));
    EXPECT_EQ(vecCalls[0].m_vecRecords[1], RecordBytes(8).Bytes()); // output zeroed before the call
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(Conversion, ClampsToAtMost9999AndWritesTheClampBack) {
    int aiIn[2] = {10000, 123456};
    int aiOut[2] = {0, 0};
    EXPECT_EQ(m_pPlayer->Coord360ToFE(aiIn, aiOut), 0);
    EXPECT_EQ(aiIn[0], 9999);
    EXPECT_EQ(aiIn[1], 9999);
    ASSERT_EQ(Transforms().size(), 1u);
    EXPECT_EQ(Transforms()[0].m_vecRecords[0], ExpectedRequest(9999, 9999, 77));
}

TEST_F(Conversion, HasNoLowerClamp) {
    int aiIn[2] = {-20, -1};
    int aiOut[2] = {0, 0};
    EXPECT_EQ(m_pPlayer->Coord360ToFE(aiIn, aiOut), 0);
    EXPECT_EQ(aiIn[0], -20);
    EXPECT_EQ(Transforms()[0].m_vecRecords[0], ExpectedRequest(-20, -1, 77));
}

TEST_F(Conversion, AlgorithmFailureIsPassedOnAndLeavesTheOutputAlone) {
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", -5);
    int aiIn[2] = {100, 200};
    int aiOut[2] = {31, 32};
    EXPECT_EQ(m_pPlayer->Coord360ToFE(aiIn, aiOut), -5);
    EXPECT_EQ(aiOut[0], 31);
    EXPECT_EQ(aiOut[1], 32);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::Coord360ToFE "
                                       "CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail iRet =  -5  ]"}));
}

TEST_F(Conversion, WithoutAlgorithmHandleNothingIsConverted) {
    void* pHandle = m_pPlayer->m_pFcuHandle;
    m_pPlayer->m_pFcuHandle = nullptr;
    int aiIn[2] = {100, 200};
    int aiOut[2] = {31, 32};
    EXPECT_EQ(m_pPlayer->Coord360ToFE(aiIn, aiOut), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]"}));
    EXPECT_TRUE(Transforms().empty());
    m_pPlayer->m_pFcuHandle = pHandle;
}

TEST_F(Conversion, InvalidViewIdOrCountIsRefusedWithBothValues) {
    int aiOut[2] = {7, 7};
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(8, 8, aiOut, 1, 0), -1);
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(-1, 3, aiOut, 2, 0), -1);
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(0, 0, aiOut, 1, 0), -1);
    EXPECT_EQ(aiOut[0], 7);
    EXPECT_EQ(TestLog::Lines(), Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::GetDefultCenterPoint "
                                       "fail _iPtzNum =  8  ,  _iPtzId =  8  ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::GetDefultCenterPoint "
                                       "fail _iPtzNum =  3  ,  _iPtzId =  -1  ]",
                                       "warning: _ZEB_ Panoview : [  CLS_MainPlayer::GetDefultCenterPoint "
                                       "fail _iPtzNum =  0  ,  _iPtzId =  0  ]"}));
    EXPECT_TRUE(Transforms().empty());
}

struct Centre {
    int m_iX;
    int m_iY;
    bool operator==(const Centre& _o) const { return m_iX == _o.m_iX && m_iY == _o.m_iY; }
};
std::ostream& operator<<(std::ostream& _os, const Centre& _c) {
    return _os << "(" << _c.m_iX << ", " << _c.m_iY << ")";
}

std::vector<Centre> CentresInModeOne(TestMainPlayer& _player, int _iCount) {
    std::vector<Centre> vec;
    for (int i = 0; i < 8; ++i) {
        int aiOut[2] = {-1, -1};
        EXPECT_EQ(_player.GetDefultCenterPoint(i, _iCount, aiOut, 1, 0), 0);
        vec.push_back({aiOut[0], aiOut[1]});
    }
    return vec;
}

TEST_F(Conversion, CeilingMountCentresComeFromTheLayoutTables) {
    // Every id 0 to 7 is answered, also beyond the layout's own count.
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 1), std::vector<Centre>({{5000, 4500},
                                                                    {10000, 4500},
                                                                    {15000, 4500},
                                                                    {20000, 4500},
                                                                    {25000, 4500},
                                                                    {30000, 4500},
                                                                    {35000, 4500},
                                                                    {40000, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 2), std::vector<Centre>({{3333, 4500},
                                                                    {6666, 4500},
                                                                    {9999, 4500},
                                                                    {13332, 4500},
                                                                    {16665, 4500},
                                                                    {19998, 4500},
                                                                    {23331, 4500},
                                                                    {26664, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 3), std::vector<Centre>({{5000, 4500},
                                                                    {1667, 4500},
                                                                    {8333, 4500},
                                                                    {0, 4500},
                                                                    {3750, 4500},
                                                                    {5000, 4500},
                                                                    {6250, 4500},
                                                                    {2500, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 4), std::vector<Centre>({{2500, 2500},
                                                                    {7500, 2500},
                                                                    {2500, 7500},
                                                                    {7500, 7500},
                                                                    {2500, 2500},
                                                                    {2500, 5000},
                                                                    {7500, 7500},
                                                                    {7500, 2500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 5), std::vector<Centre>({{1666, 4500},
                                                                    {3332, 4500},
                                                                    {4998, 4500},
                                                                    {6664, 4500},
                                                                    {8330, 4500},
                                                                    {9996, 4500},
                                                                    {11662, 4500},
                                                                    {13328, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 6), std::vector<Centre>({{1428, 4500},
                                                                    {2856, 4500},
                                                                    {4284, 4500},
                                                                    {5712, 4500},
                                                                    {7140, 4500},
                                                                    {8568, 4500},
                                                                    {9996, 4500},
                                                                    {11424, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 7), std::vector<Centre>({{1250, 4500},
                                                                    {2500, 4500},
                                                                    {3750, 4500},
                                                                    {5000, 4500},
                                                                    {6250, 4500},
                                                                    {7500, 4500},
                                                                    {8750, 4500},
                                                                    {10000, 4500}}));
    EXPECT_EQ(CentresInModeOne(*m_pPlayer, 8), std::vector<Centre>({{2500, 2500},
                                                                    {5000, 2500},
                                                                    {7500, 2500},
                                                                    {2500, 5000},
                                                                    {7500, 5000},
                                                                    {2500, 7500},
                                                                    {5000, 7500},
                                                                    {7500, 7500}}));
    EXPECT_TRUE(Transforms().empty()); // mounting mode 1 never asks the algorithm
    EXPECT_TRUE(TestLog::Lines().empty());
}

// Panorama x values that the conversion receives for the views of a layout, in another mounting mode.
std::vector<int> PanoramaX(TestMainPlayer& _player, int _iCount) {
    FakeAlgo()->Reset();
    for (int i = 0; i < 8; ++i) {
        int aiOut[2] = {-1, -1};
        EXPECT_EQ(_player.GetDefultCenterPoint(i, _iCount, aiOut, 2, 99), 0);
    }
    std::vector<int> vec;
    for (const FakeCall& call : FakeAlgo()->Calls("ZebAlgo_FCU_Point_Transform")) {
        const auto tRequest = call.Record<STRUCT_FcuPointTransformParam>();
        EXPECT_EQ(tRequest.m_fY, static_cast<float>(4500 / 10000.0));
        vec.push_back(static_cast<int>(tRequest.m_fX * 10000.0 + 0.5));
    }
    return vec;
}

TEST_F(Conversion, OtherMountsSpreadTheViewsAlongThePanorama) {
    EXPECT_EQ(PanoramaX(*m_pPlayer, 1), std::vector<int>({5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 2),
              std::vector<int>({5000, 0, 5000, 0, 5000, 0, 5000, 0})); // 10000 wraps to 0
    EXPECT_EQ(PanoramaX(*m_pPlayer, 3), std::vector<int>({5000, 1667, 8333, 0, 3750, 5000, 6250, 2500}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 4), std::vector<int>({5000, 7500, 0, 2500, 5000, 7500, 0, 2500}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 5), std::vector<int>({5000, 7000, 9000, 1000, 3000, 5000, 7000, 9000}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 6), std::vector<int>({5000, 6666, 8332, 9998, 1664, 3330, 4996, 6662}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 7), std::vector<int>({5000, 6428, 7856, 9284, 712, 2140, 3568, 4996}));
    EXPECT_EQ(PanoramaX(*m_pPlayer, 8), std::vector<int>({3750, 5000, 6250, 2500, 7500, 1250, 0, 8750}));
}

TEST_F(Conversion, OtherMountsReturnTheConvertedPoint) {
    FakeAlgo()->PushPoint("ZebAlgo_FCU_Point_Transform", 0.25f, 0.5f);
    int aiOut[2] = {-1, -1};
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(1, 2, aiOut, 3, 0), 0);
    EXPECT_EQ(aiOut[0], 2500);
    EXPECT_EQ(aiOut[1], 5000);
    FakeAlgo()->PushResult("ZebAlgo_FCU_Point_Transform", -9);
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(1, 2, aiOut, 3, 0), -9);
}

TEST_F(Conversion, HugeViewCountDoesNotOverflow) {
    int aiOut[2] = {-1, -1};
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(7, 2147483647, aiOut, 1, 0), 0);
    EXPECT_EQ(aiOut[0], 0);
    EXPECT_EQ(m_pPlayer->GetDefultCenterPoint(7, 2147483647, aiOut, 2, 0), 0);
    ASSERT_EQ(Transforms().size(), 1u);
    EXPECT_EQ(Transforms()[0].m_vecRecords[0], ExpectedRequest(5000, 4500, 77));
}

TEST(ConversionWithoutTransform, IsRefusedBeforeTouchingThePoint) {
    ASSERT_TRUE(CLS_ZebPlayer_SDK::LoadLib("Korvane.dll"));
    EXPECT_EQ(CLS_ZebAlgoFcu::LoadLib(), -1); // reports the missing export once; later players get a handle
    TestMainPlayer player;
    ASSERT_NE(player.m_pFcuHandle, nullptr);
    TestLog::Clear();
    int aiIn[2] = {10000, 10000};
    int aiOut[2] = {1, 2};
    EXPECT_EQ(player.Coord360ToFE(aiIn, aiOut), -1);
    EXPECT_EQ(aiIn[0], 10000);
    EXPECT_EQ(TestLog::Lines(),
              Lines({"warning: _ZEB_ Panoview : [  CLS_MainPlayer::Coord360ToFE  nullptr == "
                     "CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform ]"}));
}

} // namespace
