// The exports of the open correction algorithm: record checks, handles and the adaptation of
// CLS_FisheyeGeometry to the records. See zeb_algo_fcu.h for the interface.
#include "zeb_algo_fcu.h"

#include "FisheyeGeometry.h"

#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <type_traits>
#include <unordered_set>

// The exports keep the exact types the library binds them with.
#define ZEB_FCU_FN(name, result, args)                                                                       \
    static_assert(std::is_same_v<decltype(&name), result(*) args>, #name " has the bound type");
#include "abi/ZebAlgoExports.inc"
#undef ZEB_FCU_FN

using namespace fisheye;

namespace {

constexpr int SPACE_PANORAMA = FCU_SPACE_PANORAMA;
constexpr int SPACE_LAT = FCU_SPACE_LAT;
constexpr int SPACE_FISHEYE = FCU_SPACE_PTZ;
constexpr int DEFAULT_SAMPLES_PER_EDGE = 32;
constexpr char LIB_NAME[] = "fishplayer open fisheye correction";
static_assert(sizeof(LIB_NAME) <= sizeof(STRUCT_FcuLibInfo::m_acName), "the name fits");

// What Init gave a handle; copied out by every call so that calls never hold the lock while
// computing and a concurrent Ctrl never changes the set-up under a running call.
struct STRUCT_HandleSetup {
    bool m_blReady = false;
    int m_iWidth = 0;
    int m_iHeight = 0;
    n_Mount m_eMount = n_Mount::Ceiling;
    CLS_FisheyeGeometry m_geometry;
};

class CLS_FcuHandle {
public:
    STRUCT_HandleSetup m_tSetup;
};

// An object that is built on first use, in static storage (no heap), and never destroyed: a
// caller's thread may still call while the process exits.
template <typename T> T& Immortal() {
    alignas(T) static unsigned char s_aucStorage[sizeof(T)];
    static T* s_p = new (s_aucStorage) T;
    return *s_p;
}

// Live handles. A handle is used only while it is registered, so a released or foreign pointer is
// refused instead of being read.
std::mutex& RegistryMutex() {
    return Immortal<std::mutex>();
}

std::unordered_set<const void*>& Registry() {
    return Immortal<std::unordered_set<const void*>>();
}

int Snapshot(const void* _pHandle, STRUCT_HandleSetup* _ptSetup) {
    if (nullptr == _pHandle)
        return FCU_ERR_HANDLE;
    std::lock_guard<std::mutex> lock(RegistryMutex());
    if (0 == Registry().count(_pHandle))
        return FCU_ERR_HANDLE;
    *_ptSetup = static_cast<const CLS_FcuHandle*>(_pHandle)->m_tSetup;
    return _ptSetup->m_blReady ? FCU_OK : FCU_ERR_NOT_READY;
}

bool IsMount(int _iMode) {
    return _iMode >= FCU_MOUNT_WALL && _iMode <= FCU_MOUNT_FLOOR;
}

n_Mount RequestMount(int _iMode, n_Mount _eDefault) {
    return IsMount(_iMode) ? static_cast<n_Mount>(_iMode) : _eDefault;
}

bool SpaceOfCode(int _iCode, n_Space* _peSpace) {
    switch (_iCode) {
    case SPACE_FISHEYE:
        *_peSpace = n_Space::Fisheye;
        return true;
    case SPACE_PANORAMA:
        *_peSpace = n_Space::Panorama;
        return true;
    case SPACE_LAT:
        *_peSpace = n_Space::Lat;
        return true;
    default:
        return false;
    }
}

bool SpaceOfOutline(std::int64_t _llKind, n_Space* _peSpace) {
    switch (_llKind) {
    case FCU_OUTLINE_PTZ:
        *_peSpace = n_Space::Fisheye;
        return true;
    case FCU_OUTLINE_180:
        *_peSpace = n_Space::Half;
        return true;
    case FCU_OUTLINE_360:
        *_peSpace = n_Space::Panorama;
        return true;
    case FCU_OUTLINE_LAT:
        *_peSpace = n_Space::Lat;
        return true;
    default:
        return false;
    }
}

bool IsFinite(float _f) {
    return std::isfinite(_f);
}

double Clamp01(double _d, bool* _pblMoved) {
    if (_d < 0.0 || _d > 1.0) {
        *_pblMoved = true;
        return _d < 0.0 ? 0.0 : 1.0;
    }
    return _d;
}

// Reads a record whose first int is its size; FCU_ERR_SIZE unless that size is sizeof(T).
template <typename T> int ReadRecord(const void* _pRecord, T* _ptOut) {
    if (nullptr == _pRecord)
        return FCU_ERR_POINTER;
    int iSize = 0;
    std::memcpy(&iSize, _pRecord, sizeof(iSize)); // the size first: nothing is read beyond it
    if (static_cast<int>(sizeof(T)) != iSize)
        return FCU_ERR_SIZE;
    std::memcpy(_ptOut, _pRecord, sizeof(T));
    return FCU_OK;
}

int SetUp(void* _pHandle, const void* _pInitParam) {
    if (nullptr == _pHandle)
        return FCU_ERR_HANDLE;
    STRUCT_FcuInitParam tParam{};
    const int iRead = ReadRecord(_pInitParam, &tParam);
    if (FCU_OK != iRead)
        return iRead;

    // The area places the image circle in the source picture; positions are relative to it, so it is
    // only checked here.
    const STRUCT_Area tArea{tParam.m_fAreaLeft, tParam.m_fAreaRight, tParam.m_fAreaTop, tParam.m_fAreaBottom};
    STRUCT_HandleSetup tSetup;
    const bool blValid = tParam.m_iWidth > 0 && tParam.m_iHeight > 0 && IsMount(tParam.m_iField12) &&
                         IsValidArea(tArea) && IsFinite(tParam.m_fField32) && IsFinite(tParam.m_fField36) &&
                         tSetup.m_geometry.SetLens(tParam.m_fField32 * 2.0 * PI, tParam.m_fField36 * 2.0);
    tSetup.m_blReady = true;
    tSetup.m_iWidth = tParam.m_iWidth;
    tSetup.m_iHeight = tParam.m_iHeight;
    tSetup.m_eMount = static_cast<n_Mount>(tParam.m_iField12);

    std::lock_guard<std::mutex> lock(RegistryMutex());
    if (0 == Registry().count(_pHandle))
        return FCU_ERR_HANDLE;
    if (!blValid)
        return FCU_ERR_PARAM; // the handle keeps its set-up
    static_cast<CLS_FcuHandle*>(_pHandle)->m_tSetup = tSetup;
    return FCU_OK;
}

// Lays the polylines out one after the other in the caller's point block.
class CLS_BlockSink final : public CLS_PolylineSink {
public:
    CLS_BlockSink(STRUCT_FcuLineBuffer& _tLines, STRUCT_FcuPoint* _pBlock)
        : m_tLines(_tLines), m_pBlock(_pBlock) {}

    bool BeginLine() override {
        if (m_iLines >= FCU_MAX_LINES)
            return false;
        m_tLines.m_atLines[m_iLines].m_pPoints = m_pBlock + m_iUsed;
        m_iCount = 0;
        return true;
    }

    bool AddPoint(STRUCT_PlanePoint _tPoint) override {
        if (m_iUsed >= FCU_POINT_BLOCK_POINTS || m_iCount >= FCU_MAX_POINTS_PER_LINE)
            return false;
        m_pBlock[m_iUsed] = {static_cast<float>(_tPoint.m_dX), static_cast<float>(_tPoint.m_dY)};
        ++m_iUsed;
        ++m_iCount;
        return true;
    }

    void EndLine() override {
        if (m_iCount < 2) { // a lone point draws nothing: give its room back
            m_iUsed -= m_iCount;
            return;
        }
        m_tLines.m_atLines[m_iLines].m_iPointNum = m_iCount;
        ++m_iLines;
    }

    int Lines() const { return m_iLines; }

private:
    STRUCT_FcuLineBuffer& m_tLines;
    STRUCT_FcuPoint* m_pBlock;
    int m_iLines = 0;
    int m_iUsed = 0;
    int m_iCount = 0;
};

} // namespace

void* ZebAlgo_FCU_Creat(void* /*_pReserved1*/, void* /*_pReserved2*/) {
    CLS_FcuHandle* pHandle = new (std::nothrow) CLS_FcuHandle;
    if (nullptr == pHandle)
        return nullptr;
    try {
        std::lock_guard<std::mutex> lock(RegistryMutex());
        Registry().insert(pHandle);
    } catch (...) { // no exception leaves the library
        delete pHandle;
        return nullptr;
    }
    return pHandle;
}

int ZebAlgo_FCU_Release(void* _pHandle) {
    if (nullptr == _pHandle)
        return FCU_ERR_HANDLE;
    std::lock_guard<std::mutex> lock(RegistryMutex());
    if (0 == Registry().erase(_pHandle))
        return FCU_ERR_HANDLE;
    delete static_cast<CLS_FcuHandle*>(_pHandle);
    return FCU_OK;
}

int ZebAlgo_FCU_Init(void* _pHandle, void* _pInitParam) {
    return SetUp(_pHandle, _pInitParam);
}

int ZebAlgo_FCU_Ctrl(void* _pHandle, void* _pInitParam) {
    return SetUp(_pHandle, _pInitParam);
}

int ZebAlgo_FCU_GetLibInfo(void* _pInfo) {
    STRUCT_FcuLibInfo tInfo{};
    const int iRet = ReadRecord(_pInfo, &tInfo);
    if (FCU_OK != iRet)
        return iRet;
    tInfo.m_iVersion = FCU_LIB_VERSION;
    std::memcpy(tInfo.m_acName, LIB_NAME, sizeof(LIB_NAME));
    std::memcpy(_pInfo, &tInfo, sizeof(tInfo));
    return FCU_OK;
}

int ZebAlgo_FCU_Point_Transform(void* _pHandle, void* _pRequest, void* _pPointOut) {
    STRUCT_HandleSetup tSetup;
    const int iState = Snapshot(_pHandle, &tSetup);
    if (FCU_OK != iState && FCU_ERR_NOT_READY != iState)
        return iState;
    STRUCT_FcuPointTransformParam tRequest{};
    const int iRead = ReadRecord(_pRequest, &tRequest);
    if (FCU_OK != iRead)
        return iRead;
    if (nullptr == _pPointOut)
        return FCU_ERR_POINTER;
    if (FCU_OK != iState)
        return iState;
    n_Space eFrom = n_Space::Fisheye;
    n_Space eTo = n_Space::Fisheye;
    if (!SpaceOfCode(tRequest.m_iFromSpace, &eFrom) || !SpaceOfCode(tRequest.m_iToSpace, &eTo) ||
        !IsFinite(tRequest.m_fX) || !IsFinite(tRequest.m_fY))
        return FCU_ERR_PARAM;
    const CLS_FisheyeGeometry& geometry = tSetup.m_geometry;
    const n_Mount eMount = RequestMount(tRequest.m_iMode, tSetup.m_eMount);

    // Bring the point into its picture and onto what the lens sees.
    bool blAdjusted = false;
    STRUCT_PlanePoint tIn{tRequest.m_fX, tRequest.m_fY};
    if (n_Space::Fisheye == eFrom) {
        tIn = CLS_FisheyeGeometry::ClampToCircle(tIn, 1.0, &blAdjusted);
    } else {
        if (n_Space::Lat == eFrom)
            tIn.m_dX = Clamp01(tIn.m_dX, &blAdjusted);
        tIn.m_dY = Clamp01(tIn.m_dY, &blAdjusted); // the panorama's x wraps around instead
    }
    STRUCT_Vec3 tDir{};
    if (!geometry.FromSpace(eMount, eFrom, tIn, &tDir))
        return FCU_ERR_PARAM;
    bool blClamped = false;
    tDir = geometry.ClampToField(tDir, &blClamped);
    blAdjusted = blAdjusted || blClamped;

    STRUCT_PlanePoint tOut{};
    if (!geometry.ToSpace(eMount, eTo, tDir, &tOut))
        return FCU_ERR_PARAM; // only a LAT view of a lens wider than a half turn lacks directions
    const STRUCT_FcuPoint tPoint{static_cast<float>(tOut.m_dX), static_cast<float>(tOut.m_dY)};
    std::memcpy(_pPointOut, &tPoint, sizeof(tPoint));
    return blAdjusted ? FCU_ADJUSTED : FCU_OK;
}

int ZebAlgo_FCU_CorrectPoint(void* _pHandle, void* _pRequest, void* _pPointIn, void* _pPointOut) {
    STRUCT_HandleSetup tSetup;
    const int iState = Snapshot(_pHandle, &tSetup);
    if (FCU_OK != iState && FCU_ERR_NOT_READY != iState)
        return iState;
    STRUCT_FcuViewParam tRequest{};
    const int iRead = ReadRecord(_pRequest, &tRequest);
    if (FCU_OK != iRead)
        return iRead;
    if (nullptr == _pPointIn || nullptr == _pPointOut)
        return FCU_ERR_POINTER;
    if (FCU_OK != iState)
        return iState;
    STRUCT_FcuPoint tIn{};
    std::memcpy(&tIn, _pPointIn, sizeof(tIn));
    if (!IsFinite(tIn.m_fX) || !IsFinite(tIn.m_fY) || !IsFinite(tRequest.m_fZoom))
        return FCU_ERR_PARAM;

    const STRUCT_PlanePoint tPoint{tIn.m_fX, tIn.m_fY};
    bool blMoved = false;
    STRUCT_PlanePoint tFitted{};
    switch (tRequest.m_iCorrectType) {
    case FCU_CORRECT_PTZ:
        tFitted = tSetup.m_geometry.FitPtzPosition(tPoint, tRequest.m_fZoom, &blMoved);
        break;
    case FCU_CORRECT_FISHEYE:
        tFitted = CLS_FisheyeGeometry::ClampToCircle(tPoint, tSetup.m_geometry.Usable(), &blMoved);
        break;
    default:
        return FCU_ERR_PARAM;
    }
    // A valid point goes back as it came, so that the caller can compare it with the last one.
    const STRUCT_FcuPoint tOut =
        blMoved ? STRUCT_FcuPoint{static_cast<float>(tFitted.m_dX), static_cast<float>(tFitted.m_dY)} : tIn;
    std::memcpy(_pPointOut, &tOut, sizeof(tOut));
    return blMoved ? FCU_ADJUSTED : FCU_OK;
}

int ZebAlgo_FCU_Process(void* _pHandle, int /*_iReserved*/, void* _pRequest, void* _pResult) {
    STRUCT_HandleSetup tSetup;
    const int iState = Snapshot(_pHandle, &tSetup);
    if (FCU_OK != iState && FCU_ERR_NOT_READY != iState)
        return iState;
    STRUCT_FcuViewParam tRequest{};
    int iRet = ReadRecord(_pRequest, &tRequest);
    if (FCU_OK != iRet)
        return iRet;
    STRUCT_FcuProcessResult tResult{};
    iRet = ReadRecord(_pResult, &tResult);
    if (FCU_OK != iRet)
        return iRet;
    if (nullptr == tResult.m_pLineBuffer || nullptr == tResult.m_pLineBuffer->m_atLines[0].m_pPoints)
        return FCU_ERR_BUFFER;
    if (FCU_OK != iState)
        return iState;
    n_Space eSpace = n_Space::Fisheye;
    if (!SpaceOfOutline(tRequest.m_llOutlineKind, &eSpace) || !IsFinite(tRequest.m_fX) ||
        !IsFinite(tRequest.m_fY) || !IsFinite(tRequest.m_fZoom))
        return FCU_ERR_PARAM;
    double dAspect = static_cast<double>(tSetup.m_iWidth) / tSetup.m_iHeight;
    if (tRequest.m_iWidth > 0 && tRequest.m_iHeight > 0)
        dAspect = static_cast<double>(tRequest.m_iWidth) / tRequest.m_iHeight;
    else if (0 != tRequest.m_iWidth || 0 != tRequest.m_iHeight)
        return FCU_ERR_PARAM;
    const int iSamples = tRequest.m_iField12 < 1 ? DEFAULT_SAMPLES_PER_EDGE : tRequest.m_iField12;

    const CLS_FisheyeGeometry& geometry = tSetup.m_geometry;
    const n_Mount eMount = RequestMount(tRequest.m_iMode, tSetup.m_eMount);
    bool blMoved = false;
    const STRUCT_PlanePoint tPosition =
        CLS_FisheyeGeometry::ClampToCircle({tRequest.m_fX, tRequest.m_fY}, 1.0, &blMoved);
    const STRUCT_ViewFrame tView = geometry.PtzView(eMount, tPosition, tRequest.m_fZoom, dAspect);

    STRUCT_FcuLineBuffer& tLines = *tResult.m_pLineBuffer;
    CLS_BlockSink sink(tLines, tLines.m_atLines[0].m_pPoints);
    geometry.TraceOutline(tView, eMount, eSpace, iSamples, sink);
    tLines.iLineNum = sink.Lines();
    return blMoved ? FCU_ADJUSTED : FCU_OK;
}
