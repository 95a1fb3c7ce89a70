// The eight exports of "zeb_algo_fcu.dll": handles, record sizes, results, the records the
// library exchanges with it, and no allocation while an outline is computed.
#include "zeb_algo_fcu.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

// Every allocation of the process is counted, those made inside the algorithm included (its
// references to operator new and malloc are bound to these definitions).
namespace {
std::atomic<long> g_lAllocations{0};
}

void* operator new(std::size_t _size) {
    ++g_lAllocations;
    if (void* p = std::malloc(_size ? _size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t _size) {
    return operator new(_size);
}
void* operator new(std::size_t _size, const std::nothrow_t&) noexcept {
    ++g_lAllocations;
    return std::malloc(_size ? _size : 1);
}
void* operator new[](std::size_t _size, const std::nothrow_t& _tag) noexcept {
    return operator new(_size, _tag);
}
void operator delete(void* _p) noexcept {
    std::free(_p);
}
void operator delete[](void* _p) noexcept {
    std::free(_p);
}
void operator delete(void* _p, std::size_t) noexcept {
    std::free(_p);
}
void operator delete[](void* _p, std::size_t) noexcept {
    std::free(_p);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && defined(__GLIBC__)
// C allocations too, where no sanitizer owns malloc.
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* malloc(std::size_t _size) {
    ++g_lAllocations;
    return __libc_malloc(_size);
}
extern "C" void* calloc(std::size_t _count, std::size_t _size) {
    ++g_lAllocations;
    return __libc_calloc(_count, _size);
}
extern "C" void* realloc(void* _p, std::size_t _size) {
    ++g_lAllocations;
    return __libc_realloc(_p, _size);
}
#endif

namespace {

STRUCT_FcuInitParam DefaultInit() {
    STRUCT_FcuInitParam tInit{};
    tInit.m_iSize = sizeof(tInit);
    tInit.m_iWidth = 1000;
    tInit.m_iHeight = 1000;
    tInit.m_iField12 = 2;
    tInit.m_fAreaLeft = 0.0f;
    tInit.m_fAreaRight = 1.0f;
    tInit.m_fAreaTop = 0.0f;
    tInit.m_fAreaBottom = 1.0f;
    tInit.m_fField32 = 0.5f;
    tInit.m_fField36 = 0.5f;
    return tInit;
}

STRUCT_FcuPointTransformParam TransformRequest(int _iMode, float _fX, float _fY, int _iFrom, int _iTo) {
    STRUCT_FcuPointTransformParam tRequest{};
    tRequest.m_iSize = sizeof(tRequest);
    tRequest.m_iMode = _iMode;
    tRequest.m_fX = _fX;
    tRequest.m_fY = _fY;
    tRequest.m_iFromSpace = _iFrom;
    tRequest.m_iToSpace = _iTo;
    return tRequest;
}

STRUCT_FcuViewParam PointRequest(int _iMode, int _iType, float _fZoom) {
    STRUCT_FcuViewParam tRequest{};
    tRequest.m_iSize = sizeof(tRequest);
    tRequest.m_iMode = _iMode;
    tRequest.m_iCorrectType = _iType;
    tRequest.m_fZoom = _fZoom;
    return tRequest;
}

// As the library asks for an outline: 32 points per edge, the view's picture a quarter of a
// 1920 x 1080 source.
STRUCT_FcuViewParam OutlineRequest(int _iMode, float _fX, float _fY, float _fZoom, std::int64_t _llKind) {
    STRUCT_FcuViewParam tRequest{};
    tRequest.m_iSize = sizeof(tRequest);
    tRequest.m_iMode = _iMode;
    tRequest.m_iCorrectType = 256;
    tRequest.m_iField12 = 32;
    tRequest.m_fX = _fX;
    tRequest.m_fY = _fY;
    tRequest.m_fZoom = _fZoom;
    tRequest.m_iWidth = 480;
    tRequest.m_iHeight = 270;
    tRequest.m_llOutlineKind = _llKind;
    return tRequest;
}

// The caller's side of an outline: result record, line buffer and point block.
struct STRUCT_OutlineBuffers {
    std::vector<STRUCT_FcuPoint> m_vecBlock = std::vector<STRUCT_FcuPoint>(FCU_POINT_BLOCK_POINTS);
    STRUCT_FcuLineBuffer m_tLines{};
    STRUCT_FcuProcessResult m_tResult{};

    STRUCT_OutlineBuffers() {
        m_tLines.m_atLines[0].m_pPoints = m_vecBlock.data();
        m_tResult.m_iSize = sizeof(m_tResult);
        m_tResult.m_pLineBuffer = &m_tLines;
    }
};

class AlgoExports : public ::testing::Test {
protected:
    void SetUp() override {
        m_pHandle = ZebAlgo_FCU_Creat(nullptr, nullptr);
        ASSERT_NE(m_pHandle, nullptr);
        STRUCT_FcuInitParam tInit = DefaultInit();
        ASSERT_EQ(ZebAlgo_FCU_Init(m_pHandle, &tInit), FCU_OK);
    }
    void TearDown() override {
        if (m_pHandle)
            EXPECT_EQ(ZebAlgo_FCU_Release(m_pHandle), FCU_OK);
    }

    int Transform(STRUCT_FcuPointTransformParam _tRequest, STRUCT_FcuPoint* _ptOut) {
        return ZebAlgo_FCU_Point_Transform(m_pHandle, &_tRequest, _ptOut);
    }
    int Correct(STRUCT_FcuViewParam _tRequest, STRUCT_FcuPoint _tIn, STRUCT_FcuPoint* _ptOut) {
        return ZebAlgo_FCU_CorrectPoint(m_pHandle, &_tRequest, &_tIn, _ptOut);
    }

    void* m_pHandle = nullptr;
};

} // namespace

TEST(AlgoHandles, HandlesAreDistinctAndRefusedOnceReleased) {
    void* pFirst = ZebAlgo_FCU_Creat(nullptr, nullptr);
    void* pSecond = ZebAlgo_FCU_Creat(nullptr, nullptr);
    ASSERT_NE(pFirst, nullptr);
    ASSERT_NE(pSecond, nullptr);
    EXPECT_NE(pFirst, pSecond);
    EXPECT_EQ(ZebAlgo_FCU_Release(pFirst), FCU_OK);
    EXPECT_EQ(ZebAlgo_FCU_Release(pFirst), FCU_ERR_HANDLE);
    STRUCT_FcuInitParam tInit = DefaultInit();
    EXPECT_EQ(ZebAlgo_FCU_Init(pFirst, &tInit), FCU_ERR_HANDLE);
    EXPECT_EQ(ZebAlgo_FCU_Init(pSecond, &tInit), FCU_OK);
    EXPECT_EQ(ZebAlgo_FCU_Release(pSecond), FCU_OK);
}

TEST(AlgoHandles, NullAndForeignHandlesAreRefusedByEveryCall) {
    int iForeign = 0;
    STRUCT_FcuInitParam tInit = DefaultInit();
    auto tTransform = TransformRequest(2, 0.5f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ);
    auto tPoint = PointRequest(2, 256, 1.0f);
    auto tOutline = OutlineRequest(2, 0.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
    STRUCT_OutlineBuffers tBuffers;
    STRUCT_FcuPoint tIn{0.5f, 0.5f};
    STRUCT_FcuPoint tOut{};
    for (void* pBad : {static_cast<void*>(nullptr), static_cast<void*>(&iForeign)}) {
        EXPECT_EQ(ZebAlgo_FCU_Init(pBad, &tInit), FCU_ERR_HANDLE);
        EXPECT_EQ(ZebAlgo_FCU_Ctrl(pBad, &tInit), FCU_ERR_HANDLE);
        EXPECT_EQ(ZebAlgo_FCU_Point_Transform(pBad, &tTransform, &tOut), FCU_ERR_HANDLE);
        EXPECT_EQ(ZebAlgo_FCU_CorrectPoint(pBad, &tPoint, &tIn, &tOut), FCU_ERR_HANDLE);
        EXPECT_EQ(ZebAlgo_FCU_Process(pBad, 0, &tOutline, &tBuffers.m_tResult), FCU_ERR_HANDLE);
        EXPECT_EQ(ZebAlgo_FCU_Release(pBad), FCU_ERR_HANDLE);
    }
    EXPECT_EQ(iForeign, 0);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 0);
}

TEST(AlgoHandles, HandleThatWasNotSetUpIsNotReady) {
    void* pHandle = ZebAlgo_FCU_Creat(nullptr, nullptr);
    ASSERT_NE(pHandle, nullptr);
    auto tTransform = TransformRequest(2, 0.5f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ);
    auto tPoint = PointRequest(2, 256, 1.0f);
    auto tOutline = OutlineRequest(2, 0.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
    STRUCT_OutlineBuffers tBuffers;
    STRUCT_FcuPoint tIn{0.5f, 0.5f};
    STRUCT_FcuPoint tOut{};
    EXPECT_EQ(ZebAlgo_FCU_Point_Transform(pHandle, &tTransform, &tOut), FCU_ERR_NOT_READY);
    EXPECT_EQ(ZebAlgo_FCU_CorrectPoint(pHandle, &tPoint, &tIn, &tOut), FCU_ERR_NOT_READY);
    EXPECT_EQ(ZebAlgo_FCU_Process(pHandle, 0, &tOutline, &tBuffers.m_tResult), FCU_ERR_NOT_READY);
    // A set-up that fails leaves it not ready; Ctrl sets it up as Init does.
    STRUCT_FcuInitParam tInit = DefaultInit();
    tInit.m_iWidth = 0;
    EXPECT_EQ(ZebAlgo_FCU_Init(pHandle, &tInit), FCU_ERR_PARAM);
    EXPECT_EQ(ZebAlgo_FCU_Point_Transform(pHandle, &tTransform, &tOut), FCU_ERR_NOT_READY);
    tInit = DefaultInit();
    EXPECT_EQ(ZebAlgo_FCU_Ctrl(pHandle, &tInit), FCU_OK);
    EXPECT_EQ(ZebAlgo_FCU_Point_Transform(pHandle, &tTransform, &tOut), FCU_OK);
    EXPECT_EQ(ZebAlgo_FCU_Release(pHandle), FCU_OK);
}

TEST_F(AlgoExports, SetUpRecordIsCheckedAgainstItsSize) {
    for (int iSize : {0, 131, 133, 92, -132}) {
        STRUCT_FcuInitParam tInit = DefaultInit();
        tInit.m_iSize = iSize;
        EXPECT_EQ(ZebAlgo_FCU_Init(m_pHandle, &tInit), FCU_ERR_SIZE) << iSize;
        EXPECT_EQ(ZebAlgo_FCU_Ctrl(m_pHandle, &tInit), FCU_ERR_SIZE) << iSize;
    }
    EXPECT_EQ(ZebAlgo_FCU_Init(m_pHandle, nullptr), FCU_ERR_POINTER);
    EXPECT_EQ(ZebAlgo_FCU_Ctrl(m_pHandle, nullptr), FCU_ERR_POINTER);
}

TEST_F(AlgoExports, SetUpValuesOutOfRangeAreRefusedAndTheHandleKeepsItsSetUp) {
    std::vector<STRUCT_FcuInitParam> vecBad(10, DefaultInit());
    vecBad[0].m_iHeight = -1;
    vecBad[1].m_iField12 = 0; // mounting mode
    vecBad[2].m_iField12 = 4;
    vecBad[3].m_fAreaLeft = 1.0f; // left == right
    vecBad[4].m_fAreaBottom = 1.5f;
    vecBad[5].m_fAreaTop = std::nanf("");
    vecBad[6].m_fField32 = 0.0f; // lens field
    vecBad[7].m_fField32 = 0.8f;
    vecBad[8].m_fField36 = 0.0f; // usable radius
    vecBad[9].m_fField36 = 0.6f;
    // A wall mount set up before: the bad ones must not replace it.
    STRUCT_FcuInitParam tWall = DefaultInit();
    tWall.m_iField12 = 1;
    ASSERT_EQ(ZebAlgo_FCU_Ctrl(m_pHandle, &tWall), FCU_OK);
    for (size_t i = 0; i < vecBad.size(); ++i) {
        EXPECT_EQ(ZebAlgo_FCU_Init(m_pHandle, &vecBad[i]), FCU_ERR_PARAM) << i;
        EXPECT_EQ(ZebAlgo_FCU_Ctrl(m_pHandle, &vecBad[i]), FCU_ERR_PARAM) << i;
    }
    // Mode 0 in a request takes the handle's mount: the wall's horizon is the panorama's middle row.
    STRUCT_FcuPoint tOut{};
    EXPECT_EQ(Transform(TransformRequest(0, 0.5f, 0.5f, FCU_SPACE_PTZ, FCU_SPACE_PANORAMA), &tOut), FCU_OK);
    EXPECT_FLOAT_EQ(tOut.m_fX, 0.5f);
    EXPECT_FLOAT_EQ(tOut.m_fY, 0.5f);
}

TEST_F(AlgoExports, PointTransformRecordIsCheckedAgainstItsSize) {
    STRUCT_FcuPoint tOut{-1.0f, -1.0f};
    for (int iSize : {0, 91, 93, 112}) {
        auto tRequest = TransformRequest(2, 0.5f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ);
        tRequest.m_iSize = iSize;
        EXPECT_EQ(Transform(tRequest, &tOut), FCU_ERR_SIZE) << iSize;
    }
    EXPECT_EQ(ZebAlgo_FCU_Point_Transform(m_pHandle, nullptr, &tOut), FCU_ERR_POINTER);
    auto tRequest = TransformRequest(2, 0.5f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ);
    EXPECT_EQ(ZebAlgo_FCU_Point_Transform(m_pHandle, &tRequest, nullptr), FCU_ERR_POINTER);
    EXPECT_EQ(tOut.m_fX, -1.0f); // nothing written on an error
    EXPECT_EQ(tOut.m_fY, -1.0f);
}

TEST_F(AlgoExports, PointTransformRefusesUnknownSpacesAndNonNumbers) {
    STRUCT_FcuPoint tOut{-1.0f, -1.0f};
    EXPECT_EQ(Transform(TransformRequest(2, 0.5f, 0.5f, 0x10000, FCU_SPACE_PTZ), &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(Transform(TransformRequest(2, 0.5f, 0.5f, FCU_SPACE_PTZ, 0x50000), &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(Transform(TransformRequest(2, std::nanf(""), 0.5f, FCU_SPACE_PTZ, FCU_SPACE_LAT), &tOut),
              FCU_ERR_PARAM);
    EXPECT_EQ(Transform(TransformRequest(2, 0.5f, INFINITY, FCU_SPACE_PTZ, FCU_SPACE_LAT), &tOut),
              FCU_ERR_PARAM);
    EXPECT_EQ(tOut.m_fX, -1.0f);
}

TEST_F(AlgoExports, DefaultPtzCentresComeFromThePanorama) {
    // As the library asks for the default centres: kind 3 at byte 4, 45 percent down the panorama.
    STRUCT_FcuPoint tOut{};
    ASSERT_EQ(Transform(TransformRequest(3, 0.5f, 0.45f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut), FCU_OK);
    EXPECT_NEAR(tOut.m_fX, 0.5f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.275f, 1e-6);
    // Panorama x 0 (and 10000, which wraps to it) is the south, the picture's bottom.
    ASSERT_EQ(Transform(TransformRequest(3, 0.0f, 0.45f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut), FCU_OK);
    EXPECT_NEAR(tOut.m_fX, 0.5f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.725f, 1e-6);
    // Views spread along the panorama keep their distance from the centre.
    for (float fX : {0.125f, 0.375f, 0.625f, 0.875f}) {
        ASSERT_EQ(Transform(TransformRequest(3, fX, 0.45f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut),
                  FCU_OK);
        EXPECT_NEAR(std::hypot(tOut.m_fX - 0.5f, tOut.m_fY - 0.5f), 0.225f, 1e-6);
    }
}

TEST_F(AlgoExports, PointTransformRoundTripsThroughThePanoramaAndTheLat) {
    for (int iMode : {1, 2, 3}) {
        for (float fRadius : {0.0f, 0.1f, 0.3f, 0.45f, 0.4999f}) {
            for (int k = 0; k < 8; ++k) {
                const double dAngle = k * 0.785 + 0.2;
                const STRUCT_FcuPoint tStart{static_cast<float>(0.5 + fRadius * std::cos(dAngle)),
                                             static_cast<float>(0.5 + fRadius * std::sin(dAngle))};
                for (int iSpace : {FCU_SPACE_PANORAMA, FCU_SPACE_LAT}) {
                    STRUCT_FcuPoint tMid{};
                    STRUCT_FcuPoint tBack{};
                    ASSERT_EQ(
                        Transform(TransformRequest(iMode, tStart.m_fX, tStart.m_fY, FCU_SPACE_PTZ, iSpace),
                                  &tMid),
                        FCU_OK);
                    const int iRet = Transform(
                        TransformRequest(iMode, tMid.m_fX, tMid.m_fY, iSpace, FCU_SPACE_PTZ), &tBack);
                    EXPECT_EQ(iRet, FCU_OK);
                    EXPECT_NEAR(tBack.m_fX, tStart.m_fX, 1e-4) << "mode " << iMode << " space " << iSpace;
                    EXPECT_NEAR(tBack.m_fY, tStart.m_fY, 1e-4) << "mode " << iMode << " space " << iSpace;
                }
            }
        }
    }
}

TEST_F(AlgoExports, PanoramaToFisheyeAndBackIsTheSamePointWhereverTheLensSeesIt) {
    for (int iMode : {1, 2, 3}) {
        for (int iSpace : {FCU_SPACE_PANORAMA, FCU_SPACE_LAT}) {
            int iSeen = 0;
            for (int iX = 0; iX < 16; ++iX) {
                for (int iY = 1; iY < 16; ++iY) { // the poles' rows have no azimuth to come back with
                    const STRUCT_FcuPoint tStart{(iX + 0.5f) / 16.0f, iY / 16.0f};
                    STRUCT_FcuPoint tFisheye{};
                    STRUCT_FcuPoint tBack{};
                    const int iRet = Transform(
                        TransformRequest(iMode, tStart.m_fX, tStart.m_fY, iSpace, FCU_SPACE_PTZ), &tFisheye);
                    if (FCU_ADJUSTED == iRet)
                        continue; // beyond the lens's field: the nearest point it sees, said so
                    ASSERT_EQ(iRet, FCU_OK);
                    if (std::hypot(tFisheye.m_fX - 0.5f, tFisheye.m_fY - 0.5f) < 1e-3f)
                        continue; // the centre: no azimuth either
                    ++iSeen;
                    ASSERT_EQ(Transform(TransformRequest(iMode, tFisheye.m_fX, tFisheye.m_fY, FCU_SPACE_PTZ,
                                                         iSpace),
                                        &tBack),
                              FCU_OK);
                    EXPECT_NEAR(std::remainder(tBack.m_fX - tStart.m_fX, 1.0), 0.0, 1e-4)
                        << "mode " << iMode << " space " << iSpace << " at " << tStart.m_fX << ", "
                        << tStart.m_fY;
                    EXPECT_NEAR(tBack.m_fY, tStart.m_fY, 1e-4)
                        << "mode " << iMode << " space " << iSpace << " at " << tStart.m_fX << ", "
                        << tStart.m_fY;
                }
            }
            EXPECT_GT(iSeen, 60) << "mode " << iMode << " space " << iSpace;
        }
    }
    // A wall panorama point behind the camera has no fisheye point: it goes to the nearest one on
    // the rim, said so, and that rim point maps back to where the lens does see.
    STRUCT_FcuPoint tRim{};
    ASSERT_EQ(Transform(TransformRequest(1, 0.1f, 0.45f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tRim),
              FCU_ADJUSTED);
    EXPECT_NEAR(std::hypot(tRim.m_fX - 0.5f, tRim.m_fY - 0.5f), 0.5f, 1e-5);
    STRUCT_FcuPoint tSeen{};
    // In single precision a rim point may lie a hair outside the circle: put back onto it.
    const int iSeen =
        Transform(TransformRequest(1, tRim.m_fX, tRim.m_fY, FCU_SPACE_PTZ, FCU_SPACE_PANORAMA), &tSeen);
    EXPECT_TRUE(FCU_OK == iSeen || FCU_ADJUSTED == iSeen) << iSeen;
    EXPECT_NEAR(tSeen.m_fX, 0.25f, 1e-4); // azimuth -90 degrees: the edge of what the lens sees
    STRUCT_FcuPoint tAgain{};
    const int iAgain =
        Transform(TransformRequest(1, tSeen.m_fX, tSeen.m_fY, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tAgain);
    EXPECT_TRUE(FCU_OK == iAgain || FCU_ADJUSTED == iAgain) << iAgain;
    EXPECT_NEAR(tAgain.m_fX, tRim.m_fX, 1e-4);
    EXPECT_NEAR(tAgain.m_fY, tRim.m_fY, 1e-4);
}

TEST_F(AlgoExports, PointTransformMovesPointsOutsideTheirPictureAndWrapsThePanorama) {
    STRUCT_FcuPoint tOut{};
    // A fisheye point beyond the circle goes onto the rim.
    EXPECT_EQ(Transform(TransformRequest(2, 1.0f, 0.5f, FCU_SPACE_PTZ, FCU_SPACE_PTZ), &tOut), FCU_OK);
    EXPECT_EQ(Transform(TransformRequest(2, 1.2f, 0.5f, FCU_SPACE_PTZ, FCU_SPACE_PTZ), &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 1.0f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.5f, 1e-6);
    // A panorama row below the picture is its last row.
    EXPECT_EQ(Transform(TransformRequest(2, 0.5f, 1.3f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut),
              FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 0.5f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.5f, 1e-6);
    // The panorama's x wraps around: 1.25 is 0.25, the west.
    STRUCT_FcuPoint tWrapped{};
    EXPECT_EQ(Transform(TransformRequest(2, 1.25f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tWrapped),
              FCU_OK);
    EXPECT_EQ(Transform(TransformRequest(2, 0.25f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut), FCU_OK);
    EXPECT_NEAR(tWrapped.m_fX, tOut.m_fX, 1e-6);
    EXPECT_NEAR(tWrapped.m_fY, tOut.m_fY, 1e-6);
    EXPECT_NEAR(tOut.m_fX, 0.25f, 1e-6);
    // Wall: what lies behind the camera is not seen; it goes to the nearest rim point.
    EXPECT_EQ(Transform(TransformRequest(1, 0.95f, 0.5f, FCU_SPACE_PANORAMA, FCU_SPACE_PTZ), &tOut),
              FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 1.0f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.5f, 1e-6);
    // A LAT point beyond its square is clamped into it.
    EXPECT_EQ(Transform(TransformRequest(2, -0.5f, 0.5f, FCU_SPACE_LAT, FCU_SPACE_PTZ), &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 0.0f, 1e-6);
}

TEST_F(AlgoExports, CorrectPointRecordIsCheckedAgainstItsSize) {
    STRUCT_FcuPoint tOut{-1.0f, -1.0f};
    for (int iSize : {0, 111, 113, 92}) {
        auto tRequest = PointRequest(2, 256, 1.0f);
        tRequest.m_iSize = iSize;
        EXPECT_EQ(Correct(tRequest, {0.5f, 0.5f}, &tOut), FCU_ERR_SIZE) << iSize;
    }
    auto tRequest = PointRequest(2, 256, 1.0f);
    STRUCT_FcuPoint tIn{0.5f, 0.5f};
    EXPECT_EQ(ZebAlgo_FCU_CorrectPoint(m_pHandle, nullptr, &tIn, &tOut), FCU_ERR_POINTER);
    EXPECT_EQ(ZebAlgo_FCU_CorrectPoint(m_pHandle, &tRequest, nullptr, &tOut), FCU_ERR_POINTER);
    EXPECT_EQ(ZebAlgo_FCU_CorrectPoint(m_pHandle, &tRequest, &tIn, nullptr), FCU_ERR_POINTER);
    EXPECT_EQ(Correct(PointRequest(2, 512, 1.0f), tIn, &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(Correct(PointRequest(2, 0, 1.0f), tIn, &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(Correct(PointRequest(2, 256, std::nanf("")), tIn, &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(Correct(PointRequest(2, 256, 1.0f), {std::nanf(""), 0.5f}, &tOut), FCU_ERR_PARAM);
    EXPECT_EQ(tOut.m_fX, -1.0f);
}

TEST_F(AlgoExports, CorrectPointKeepsAValidPositionBitForBit) {
    for (int iMode : {1, 2, 3}) {
        const STRUCT_FcuPoint tIn{0.61234f, 0.37111f};
        STRUCT_FcuPoint tOut{};
        ASSERT_EQ(Correct(PointRequest(iMode, 256, 1.0f), tIn, &tOut), FCU_OK);
        EXPECT_EQ(std::memcmp(&tIn, &tOut, sizeof(tIn)), 0);
    }
}

TEST_F(AlgoExports, CorrectPointBringsTheViewInsideTheCircle) {
    // Zoom 1.0: the view's axis may be 40 degrees (its half diagonal) less than 90 degrees off the
    // lens's axis.
    const double dLimit = 0.5 * (1.0 - 40.0 / 90.0);
    STRUCT_FcuPoint tOut{};
    ASSERT_EQ(Correct(PointRequest(1, 256, 1.0f), {1.0f, 0.5f}, &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 0.5 + dLimit, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 0.5f, 1e-6);
    // The library's zoom range: a wider view is kept further in.
    STRUCT_FcuPoint tWide{};
    ASSERT_EQ(Correct(PointRequest(2, 256, 1.5f), {0.1f, 0.1f}, &tWide), FCU_ADJUSTED);
    STRUCT_FcuPoint tNarrow{};
    ASSERT_EQ(Correct(PointRequest(2, 256, 0.055f), {0.1f, 0.1f}, &tNarrow), FCU_ADJUSTED);
    EXPECT_LT(std::hypot(tWide.m_fX - 0.5f, tWide.m_fY - 0.5f),
              std::hypot(tNarrow.m_fX - 0.5f, tNarrow.m_fY - 0.5f));
    EXPECT_NEAR(tWide.m_fX, tWide.m_fY, 1e-6); // along the radius
    // The same request twice gives the same point (the library refuses an unchanged point).
    STRUCT_FcuPoint tAgain{};
    ASSERT_EQ(Correct(PointRequest(2, 256, 1.5f), {0.1f, 0.1f}, &tAgain), FCU_ADJUSTED);
    EXPECT_EQ(std::memcmp(&tWide, &tAgain, sizeof(tAgain)), 0);
    // The whole-fisheye type keeps a single point inside the usable circle.
    ASSERT_EQ(Correct(PointRequest(2, 1280, 1.0f), {0.5f, 1.5f}, &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fX, 0.5f, 1e-6);
    EXPECT_NEAR(tOut.m_fY, 1.0f, 1e-6);
    ASSERT_EQ(Correct(PointRequest(2, 1280, 1.0f), {0.9f, 0.5f}, &tOut), FCU_OK);
    // A PTZ request without a zoom is a point alone, as the whole-fisheye type.
    ASSERT_EQ(Correct(PointRequest(2, 256, 0.0f), {0.5f, 1.5f}, &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fY, 1.0f, 1e-6);
    ASSERT_EQ(Correct(PointRequest(2, 256, 0.0f), {0.5f, 0.9f}, &tOut), FCU_OK);
}

TEST_F(AlgoExports, UsableRadiusOfTheSetUpLimitsTheViews) {
    STRUCT_FcuInitParam tInit = DefaultInit();
    tInit.m_fField36 = 0.4f; // four fifths of the circle
    ASSERT_EQ(ZebAlgo_FCU_Ctrl(m_pHandle, &tInit), FCU_OK);
    STRUCT_FcuPoint tOut{};
    ASSERT_EQ(Correct(PointRequest(2, 1280, 1.0f), {0.5f, 0.0f}, &tOut), FCU_ADJUSTED);
    EXPECT_NEAR(tOut.m_fY, 0.1f, 1e-6);
}

TEST_F(AlgoExports, ProcessRecordsAreCheckedAgainstTheirSizes) {
    STRUCT_OutlineBuffers tBuffers;
    for (int iSize : {0, 111, 113, 88}) {
        auto tRequest = OutlineRequest(2, 0.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
        tRequest.m_iSize = iSize;
        EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_SIZE) << iSize;
    }
    auto tRequest = OutlineRequest(2, 0.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
    for (int iSize : {0, 87, 89, 112}) {
        tBuffers.m_tResult.m_iSize = iSize;
        EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_SIZE) << iSize;
    }
    tBuffers.m_tResult.m_iSize = sizeof(STRUCT_FcuProcessResult);
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, nullptr, &tBuffers.m_tResult), FCU_ERR_POINTER);
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, nullptr), FCU_ERR_POINTER);
    tBuffers.m_tResult.m_pLineBuffer = nullptr;
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_BUFFER);
    tBuffers.m_tResult.m_pLineBuffer = &tBuffers.m_tLines;
    tBuffers.m_tLines.m_atLines[0].m_pPoints = nullptr;
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_BUFFER);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 0);
}

TEST_F(AlgoExports, ProcessRefusesUnknownKindsAndSizes) {
    STRUCT_OutlineBuffers tBuffers;
    for (std::int64_t llKind : {std::int64_t{0}, std::int64_t{0x5000}, std::int64_t{0x1000} << 32}) {
        auto tRequest = OutlineRequest(2, 0.5f, 0.5f, 1.0f, llKind);
        EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_PARAM);
    }
    auto tRequest = OutlineRequest(2, 0.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
    tRequest.m_iHeight = 0; // one size without the other
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_PARAM);
    tRequest = OutlineRequest(2, 0.5f, std::nanf(""), 1.0f, FCU_OUTLINE_PTZ);
    EXPECT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ERR_PARAM);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 0);
}

TEST_F(AlgoExports, ProcessWritesOneClosedPolylineIntoTheCallersBlock) {
    STRUCT_OutlineBuffers tBuffers;
    auto tRequest = OutlineRequest(2, 0.4f, 0.35f, 1.0f, FCU_OUTLINE_PTZ);
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    ASSERT_EQ(tBuffers.m_tLines.iLineNum, 1);
    const STRUCT_FcuLine& tLine = tBuffers.m_tLines.m_atLines[0];
    EXPECT_EQ(tLine.m_pPoints, tBuffers.m_vecBlock.data());
    ASSERT_EQ(tLine.m_iPointNum, 4 * 32 + 1);
    EXPECT_EQ(std::memcmp(&tLine.m_pPoints[0], &tLine.m_pPoints[128], sizeof(STRUCT_FcuPoint)), 0);
    // Wider than high, as the 480 x 270 picture: the top edge is longer than the right one.
    const auto distance = [](const STRUCT_FcuPoint& a, const STRUCT_FcuPoint& b) {
        return std::hypot(a.m_fX - b.m_fX, a.m_fY - b.m_fY);
    };
    EXPECT_GT(distance(tLine.m_pPoints[0], tLine.m_pPoints[32]),
              distance(tLine.m_pPoints[32], tLine.m_pPoints[64]));
    // The samples per edge are bounded so that a polyline stays within what the library copies.
    tRequest.m_iField12 = 100000;
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    EXPECT_EQ(tBuffers.m_tLines.m_atLines[0].m_iPointNum, 4 * 600 + 1);
    EXPECT_LE(tBuffers.m_tLines.m_atLines[0].m_iPointNum, FCU_MAX_POINTS_PER_LINE);
    tRequest.m_iField12 = 0;
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    EXPECT_EQ(tBuffers.m_tLines.m_atLines[0].m_iPointNum, 4 * 32 + 1);
}

TEST_F(AlgoExports, ProcessLaysSeveralPolylinesOutOneAfterTheOther) {
    STRUCT_OutlineBuffers tBuffers;
    // Ceiling, looking south: the panorama outline is cut at the seam.
    auto tRequest = OutlineRequest(2, 0.5f, 0.8f, 1.0f, FCU_OUTLINE_360);
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    ASSERT_EQ(tBuffers.m_tLines.iLineNum, 3);
    EXPECT_EQ(tBuffers.m_tLines.m_atLines[0].m_pPoints, tBuffers.m_vecBlock.data());
    int iTotal = 0;
    for (int k = 0; k < 3; ++k) {
        const STRUCT_FcuLine& tLine = tBuffers.m_tLines.m_atLines[k];
        EXPECT_EQ(tLine.m_pPoints, tBuffers.m_vecBlock.data() + iTotal);
        EXPECT_GE(tLine.m_iPointNum, 2);
        iTotal += tLine.m_iPointNum;
        for (int i = 0; i < tLine.m_iPointNum; ++i) {
            EXPECT_GE(tLine.m_pPoints[i].m_fX, 0.0f);
            EXPECT_LE(tLine.m_pPoints[i].m_fX, 1.0f);
        }
    }
    EXPECT_EQ(iTotal, 4 * 32 + 1 + 4); // two more points at each of the two crossings of the seam
    // The 180-degree view does not show the south: no polyline, not an error.
    tRequest.m_llOutlineKind = FCU_OUTLINE_180;
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 0);
    // The LAT view shows it whole.
    tRequest.m_llOutlineKind = FCU_OUTLINE_LAT;
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 1);
    // A position beyond the circle is drawn from the rim.
    tRequest = OutlineRequest(2, 1.5f, 0.5f, 1.0f, FCU_OUTLINE_PTZ);
    ASSERT_EQ(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_ADJUSTED);
    EXPECT_EQ(tBuffers.m_tLines.iLineNum, 1);
}

TEST_F(AlgoExports, ProcessAllocatesNothing) {
#if defined(_WIN32)
    // The counter replaces operator new in this program; a DLL keeps its own, out of its reach.
    GTEST_SKIP() << "a DLL's allocations cannot be counted from the program on Windows";
#endif
    // The counter sees the algorithm's allocations: creating a handle makes one.
    const long lBeforeCreate = g_lAllocations.load();
    void* pOther = ZebAlgo_FCU_Creat(nullptr, nullptr);
    EXPECT_GT(g_lAllocations.load(), lBeforeCreate);
    EXPECT_EQ(ZebAlgo_FCU_Release(pOther), FCU_OK);

    STRUCT_OutlineBuffers tBuffers;
    std::vector<STRUCT_FcuViewParam> vecRequests;
    for (int iMode : {1, 2, 3})
        for (std::int64_t llKind : {FCU_OUTLINE_PTZ, FCU_OUTLINE_180, FCU_OUTLINE_360, FCU_OUTLINE_LAT})
            for (float fY : {0.5f, 0.1f, 0.9f})
                vecRequests.push_back(OutlineRequest(iMode, 0.45f, fY, 0.3f, llKind));
    const long lBefore = g_lAllocations.load();
    int iLines = 0;
    for (STRUCT_FcuViewParam& tRequest : vecRequests) {
        ASSERT_GE(ZebAlgo_FCU_Process(m_pHandle, 0, &tRequest, &tBuffers.m_tResult), 0);
        iLines += tBuffers.m_tLines.iLineNum;
    }
    EXPECT_EQ(g_lAllocations.load(), lBefore);
    EXPECT_GT(iLines, static_cast<int>(vecRequests.size()) / 2);
}

TEST(AlgoLibInfo, InfoRecordIsCheckedAgainstItsSize) {
    STRUCT_FcuLibInfo tInfo{};
    tInfo.m_iSize = sizeof(tInfo);
    ASSERT_EQ(ZebAlgo_FCU_GetLibInfo(&tInfo), FCU_OK);
    EXPECT_EQ(tInfo.m_iVersion, FCU_LIB_VERSION);
    EXPECT_STREQ(tInfo.m_acName, "fishplayer open fisheye correction");
    STRUCT_FcuLibInfo tWrong{};
    tWrong.m_iSize = 63;
    EXPECT_EQ(ZebAlgo_FCU_GetLibInfo(&tWrong), FCU_ERR_SIZE);
    EXPECT_EQ(tWrong.m_iVersion, 0);
    EXPECT_EQ(ZebAlgo_FCU_GetLibInfo(nullptr), FCU_ERR_POINTER);
}

TEST(AlgoThreads, SetUpAndOutlinesMayRunAtOnceOnOneHandle) {
    void* pHandle = ZebAlgo_FCU_Creat(nullptr, nullptr);
    ASSERT_NE(pHandle, nullptr);
    STRUCT_FcuInitParam tInit = DefaultInit();
    ASSERT_EQ(ZebAlgo_FCU_Init(pHandle, &tInit), FCU_OK);
    std::atomic<bool> blStop{false};
    std::thread tSetUp([&] {
        for (int i = 0; i < 200 && !blStop; ++i) {
            STRUCT_FcuInitParam tNew = DefaultInit();
            tNew.m_fField36 = (i % 2) ? 0.5f : 0.45f;
            EXPECT_EQ(ZebAlgo_FCU_Ctrl(pHandle, &tNew), FCU_OK);
        }
    });
    STRUCT_OutlineBuffers tBuffers;
    auto tRequest = OutlineRequest(2, 0.5f, 0.3f, 1.0f, FCU_OUTLINE_PTZ);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(ZebAlgo_FCU_Process(pHandle, 0, &tRequest, &tBuffers.m_tResult), FCU_OK);
        ASSERT_EQ(tBuffers.m_tLines.iLineNum, 1);
    }
    blStop = true;
    tSetUp.join();
    EXPECT_EQ(ZebAlgo_FCU_Release(pHandle), FCU_OK);
}
