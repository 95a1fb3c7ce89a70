// The engine's capture, information and surface exports, and those it does not provide.
#include "EngineState.h"
#include "ImageFiles.h"
#include "RendererChoice.h"

#include <cctype>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

using namespace korvane;

namespace {

constexpr int MAX_SURFACE_SIDE = 8192;

int Capture(int _iPlayId, const char* _pcPath, int _iFormat) {
    if (!_pcPath || !*_pcPath || _iFormat < KW_CAPTURE_BMP || _iFormat > KW_CAPTURE_PPM)
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    Frame tPicture;
    {
        std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
        tPicture = pPlayer->m_tPicture;
    }
    if (tPicture.m_iWidth <= 0 || tPicture.m_iHeight <= 0)
        return KW_ERR_NO_PICTURE;
    // Pictures keep the decoder's planes: only a capture converts a whole one.
    std::vector<std::uint8_t> vecRgb;
    if (!PictureRgb(tPicture, &vecRgb))
        return KW_ERR_INTERNAL;
    switch (_iFormat) {
    case KW_CAPTURE_PNG:
        return WritePng(_pcPath, vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
    case KW_CAPTURE_PPM:
        return WritePpm(_pcPath, vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
    default:
        return WriteBmp(_pcPath, vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
    }
}

bool EndsWith(const std::string& _str, const char* _pcSuffix) {
    const size_t uLen = std::strlen(_pcSuffix);
    if (_str.size() < uLen)
        return false;
    for (size_t i = 0; i < uLen; ++i)
        if (std::tolower(static_cast<unsigned char>(_str[_str.size() - uLen + i])) != _pcSuffix[i])
            return false;
    return true;
}

} // namespace

// ---- Capture and information ----

KW_EXPORT int KW_CapturePic(int _iPlayId, const char* _pcPath) {
    if (!_pcPath)
        return KW_ERR_INVALID_ARGUMENT;
    const std::string strPath(_pcPath);
    const int iFormat = EndsWith(strPath, ".png")   ? KW_CAPTURE_PNG
                        : EndsWith(strPath, ".ppm") ? KW_CAPTURE_PPM
                                                    : KW_CAPTURE_BMP;
    return Capture(_iPlayId, _pcPath, iFormat);
}

KW_EXPORT int KW_CaptureBmpPic(int _iPlayId, const char* _pcPath) {
    return Capture(_iPlayId, _pcPath, KW_CAPTURE_BMP);
}

KW_EXPORT int KW_CapturePicture(int _iPlayId, const char* _pcPath, int _iFormat) {
    return Capture(_iPlayId, _pcPath, _iFormat);
}

KW_EXPORT int KW_GetVideoParam(int _iPlayId, KW_VideoParam* _pParam, int _iSize) {
    if (!_pParam || _iSize != static_cast<int>(sizeof(KW_VideoParam)) ||
        _pParam->m_iSize != static_cast<int>(sizeof(KW_VideoParam)))
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    _pParam->m_iWidth = pPlayer->m_tPicture.m_iWidth;
    _pParam->m_iHeight = pPlayer->m_tPicture.m_iHeight;
    _pParam->m_iCodec = pPlayer->m_iCodec;
    _pParam->m_llFrames = pPlayer->m_llFrames;
    return KW_OK;
}

// ---- Rendering targets ----

KW_EXPORT void* KW_Ext_CreateSurface(int _iWidth, int _iHeight) {
    if (_iWidth < 1 || _iHeight < 1 || _iWidth > MAX_SURFACE_SIDE || _iHeight > MAX_SURFACE_SIDE)
        return nullptr;
    std::shared_ptr<CLS_SurfaceTarget> pTarget;
    try {
        pTarget = std::make_shared<CLS_SurfaceTarget>(_iWidth, _iHeight);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    // The target's own address is its handle: unique while it lives.
    void* hSurface = pTarget.get();
    std::lock_guard<std::mutex> lock(R().m_mutex);
    R().m_mapSurfaces[hSurface] = std::move(pTarget);
    return hSurface;
}

KW_EXPORT int KW_Ext_DestroySurface(void* _hSurface) {
    std::lock_guard<std::mutex> lock(R().m_mutex);
    const auto it = R().m_mapSurfaces.find(_hSurface);
    if (it == R().m_mapSurfaces.end())
        return KW_ERR_UNKNOWN_ID;
    // A view still holding it stops drawing into it at its next picture.
    it->second->Destroy();
    R().m_mapSurfaces.erase(it);
    return KW_OK;
}

KW_EXPORT int KW_Ext_GetSurfaceSize(void* _hSurface, int* _piWidth, int* _piHeight) {
    const std::shared_ptr<CLS_SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    if (_piWidth)
        *_piWidth = pTarget->Width();
    if (_piHeight)
        *_piHeight = pTarget->Height();
    return KW_OK;
}

KW_EXPORT int KW_Ext_ReadSurface(void* _hSurface, unsigned char* _pcRgb, int _iSize) {
    if (!_pcRgb || _iSize < 0)
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<CLS_SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    return pTarget->Read([_pcRgb, _iSize](const std::vector<std::uint8_t>& _vecRgb, int _iPresented) {
        if (static_cast<size_t>(_iSize) < _vecRgb.size())
            return static_cast<int>(KW_ERR_INVALID_ARGUMENT);
        std::memcpy(_pcRgb, _vecRgb.data(), _vecRgb.size());
        return _iPresented;
    });
}

KW_EXPORT int KW_Ext_SaveSurfacePng(void* _hSurface, const char* _pcPath) {
    if (!_pcPath || !*_pcPath)
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<CLS_SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    std::vector<std::uint8_t> vecCopy;
    pTarget->Read([&vecCopy](const std::vector<std::uint8_t>& _vecRgb, int) { vecCopy = _vecRgb; });
    return WritePng(_pcPath, vecCopy.data(), pTarget->Width(), pTarget->Height());
}

KW_EXPORT int KW_Ext_GetRenderer(void) {
    return CurrentRenderer();
}

// ---- Exports this engine does not provide ----

#define ZEB_KW_EXPORT(role, name, result, args) KW_DEFINE_##role(name)
#define KW_DEFINE_UNTYPED(name)                                                                              \
    KW_EXPORT int name(void) {                                                                               \
        return KW_ERR_NOT_SUPPORTED;                                                                         \
    }
#define KW_DEFINE_CALLED(name)
#define KW_DEFINE_RESOLVED(name)
#define KW_DEFINE_EXTENSION(name)
#include "abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT

// Every export has the type of the contract list, which the library's typed pointers have too.
#define ZEB_KW_EXPORT(role, name, result, args)                                                              \
    static_assert(std::is_same_v<decltype(&::name), result(*) args>, #name " has the listed type");
#include "abi/KorvaneExports.inc"
#undef ZEB_KW_EXPORT
