// How a view's ViewParams follow from its set-up, its parameters, the whole-picture correction
// and the area found in the pictures.
#include "EngineTest.h"
#include "ViewParamsBuilder.h"

#include <limits>

using korvane::MakeViewParams;
using korvane::PictureArea;
using korvane::ViewParams;
using korvane::ViewSources;

namespace {

// Records built from their bytes, so that the offsets are checked too.
template <typename T> T FromBytes(const Bytes& _tBytes) {
    T record{};
    static_assert(sizeof(T) <= 88, "records are at most 88 bytes");
    std::memcpy(&record, _tBytes.m_vec.data(), sizeof(T));
    return record;
}

STRUCT_CorrectSetup WholeSetup(int _iMode, int _iLeft, int _iRight, int _iTop, int _iBottom) {
    return FromBytes<STRUCT_CorrectSetup>(Bytes(88)
                                              .At<int>(0, 88)
                                              .At<int>(4, _iMode)
                                              .At<int>(8, 256)
                                              .At<int>(16, _iLeft)
                                              .At<int>(20, _iRight)
                                              .At<int>(24, _iTop)
                                              .At<int>(28, _iBottom));
}

void ExpectArea(const ViewParams& _tParams, int _iLeft, int _iTop, int _iRight, int _iBottom) {
    EXPECT_EQ(_tParams.m_iAreaLeft, _iLeft);
    EXPECT_EQ(_tParams.m_iAreaTop, _iTop);
    EXPECT_EQ(_tParams.m_iAreaRight, _iRight);
    EXPECT_EQ(_tParams.m_iAreaBottom, _iBottom);
}

} // namespace

TEST(EngineViewParams, TheMainWindowIsASourceViewOfTheWholePicture) {
    const ViewParams tParams = MakeViewParams(ViewSources{});
    EXPECT_EQ(tParams.m_iKind, 0);
    EXPECT_EQ(tParams.m_iMountMode, 0);
    EXPECT_EQ(tParams.m_iExtra, 0);
    ExpectArea(tParams, 0, 0, 10000, 10000);
}

TEST(EngineViewParams, AViewTakesItsSetupAndParameters) {
    const STRUCT_CorrectSetup tSetup = FromBytes<STRUCT_CorrectSetup>(
        SetupRecord(KW_CORRECT_PTZ, nullptr, 3000, 4500, 10000).At<int>(4, 3).At<int>(80, 42));
    const STRUCT_PTZCorrectPara tPtz =
        FromBytes<STRUCT_PTZCorrectPara>(Bytes(32).At<int>(8, 6100).At<int>(12, 2200).At<int>(16, 15000));
    const STRUCT_PanoramaPara tPanorama = FromBytes<STRUCT_PanoramaPara>(Bytes(8).At<float>(4, 45.5f));
    ViewSources tSources;
    tSources.m_pSetup = &tSetup;
    tSources.m_pPtz = &tPtz;
    tSources.m_pPanorama = &tPanorama;
    const ViewParams tParams = MakeViewParams(tSources);
    EXPECT_EQ(tParams.m_iKind, 256);
    EXPECT_EQ(tParams.m_iMountMode, 3);
    EXPECT_EQ(tParams.m_iExtra, 42);
    EXPECT_EQ(tParams.m_iPtzX, 6100);
    EXPECT_EQ(tParams.m_iPtzY, 2200);
    EXPECT_EQ(tParams.m_iPtzZoom, 15000);
    EXPECT_EQ(tParams.m_fRotateAngle, 45.5f);
}

TEST(EngineViewParams, OutOfRangeParametersAreBounded) {
    const STRUCT_PTZCorrectPara tPtz = FromBytes<STRUCT_PTZCorrectPara>(
        Bytes(32).At<int>(8, -5).At<int>(12, 10001).At<int>(16, std::numeric_limits<int>::min()));
    const STRUCT_PanoramaPara tPanorama =
        FromBytes<STRUCT_PanoramaPara>(Bytes(8).At<float>(4, std::numeric_limits<float>::quiet_NaN()));
    ViewSources tSources;
    tSources.m_pPtz = &tPtz;
    tSources.m_pPanorama = &tPanorama;
    const ViewParams tParams = MakeViewParams(tSources);
    EXPECT_EQ(tParams.m_iPtzX, 0);
    EXPECT_EQ(tParams.m_iPtzY, 10000);
    EXPECT_EQ(tParams.m_iPtzZoom, 1);
    EXPECT_EQ(tParams.m_fRotateAngle, 0.0f);
}

TEST(EngineViewParams, TheAreaComesFromTheWholePictureSetupThenThePictures) {
    const PictureArea tFound{1875, 833, 8125, 9166};
    ViewSources tSources;
    tSources.m_pFoundArea = &tFound;
    ExpectArea(MakeViewParams(tSources), 1875, 833, 8125, 9166);

    // Bytes 16, 20, 24, 28 are left, right, top and bottom.
    const STRUCT_CorrectSetup tWhole = WholeSetup(2, 1000, 9000, 500, 9500);
    tSources.m_pWholeSetup = &tWhole;
    const ViewParams tParams = MakeViewParams(tSources);
    ExpectArea(tParams, 1000, 500, 9000, 9500);
    EXPECT_EQ(tParams.m_iMountMode, 2) << "the main window takes the whole picture's mounting mode";

    // An unusable whole-picture area falls back to the area found, then to the whole picture.
    for (const STRUCT_CorrectSetup& tBad :
         {WholeSetup(0, 0, 0, 0, 0), WholeSetup(0, 5000, 4000, 0, 10000), WholeSetup(0, -1, 10000, 0, 10000),
          WholeSetup(0, 0, 10001, 0, 10000), WholeSetup(0, 0, 10000, 7000, 7000)}) {
        tSources.m_pWholeSetup = &tBad;
        tSources.m_pFoundArea = &tFound;
        ExpectArea(MakeViewParams(tSources), 1875, 833, 8125, 9166);
        tSources.m_pFoundArea = nullptr;
        ExpectArea(MakeViewParams(tSources), 0, 0, 10000, 10000);
    }
    const PictureArea tBadFound{9000, 0, 100, 10000};
    tSources.m_pWholeSetup = nullptr;
    tSources.m_pFoundArea = &tBadFound;
    ExpectArea(MakeViewParams(tSources), 0, 0, 10000, 10000);
}
