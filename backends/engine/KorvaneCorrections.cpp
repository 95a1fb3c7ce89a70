// The engine's fisheye correction exports.
#include "EngineState.h"

#include <cmath>
#include <cstring>

using namespace korvane;

// ---- Fisheye corrections ----

KW_EXPORT int KW_CreateFishEyeCorrect(int _iPlayId, const void* _pSetup, int _iSetupSize) {
    if (!_pSetup || _iSetupSize != static_cast<int>(sizeof(STRUCT_CorrectSetup)))
        return KW_ERR_INVALID_ARGUMENT;
    Correction tCorrection;
    std::memcpy(&tCorrection.m_tSetup, _pSetup, sizeof(tCorrection.m_tSetup));
    if (tCorrection.m_tSetup.m_iSize != static_cast<int>(sizeof(STRUCT_CorrectSetup)) ||
        !IsKnownCorrectType(tCorrection.m_tSetup.m_iCorrectType))
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    tCorrection.m_tPtz.iPTZPositionX = tCorrection.m_tSetup.m_iPositionX;
    tCorrection.m_tPtz.iPTZPositionY = tCorrection.m_tSetup.m_iPositionY;
    tCorrection.m_tPtz.iPTZZoom = tCorrection.m_tSetup.m_iZoom;
    tCorrection.m_pRenderer = CreateViewRenderer(tCorrection.m_tSetup.m_iCorrectType);
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    const int iId = FreeCorrectId(*pPlayer);
    pPlayer->m_mapCorrections[iId] = std::move(tCorrection);
    return iId;
}

KW_EXPORT int KW_DeleteFishEyeCorrect(int _iPlayId, int _iCorrectId) {
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::recursive_mutex> callBacks(pPlayer->m_callBackMutex);
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    if (pPlayer->m_mapCorrections.erase(_iCorrectId) == 0)
        return KW_ERR_UNKNOWN_ID;
    pPlayer->m_mapCallBacks.erase(_iCorrectId);
    return KW_OK;
}

KW_EXPORT int KW_SetFishEyeCorrectCallBack(int _iPlayId, int _iCorrectId, KW_PF_CorrectDone _pfCallBack,
                                           void* _pUser) {
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    // Waits for a call in progress, so that a removed callback is never called again.
    std::lock_guard<std::recursive_mutex> callBacks(pPlayer->m_callBackMutex);
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    if (_iCorrectId < 0 ||
        (_iCorrectId != pPlayer->m_iWholeId && pPlayer->m_mapCorrections.count(_iCorrectId) == 0))
        return KW_ERR_UNKNOWN_ID;
    if (_pfCallBack)
        pPlayer->m_mapCallBacks[_iCorrectId] = {_pfCallBack, _pUser};
    else
        pPlayer->m_mapCallBacks.erase(_iCorrectId);
    return KW_OK;
}

KW_EXPORT int KW_SetFishEyeCorrectEnable(int _iPlayId, int _iEnable, const void* _pSetup) {
    if (_iEnable != 0 && _iEnable != 1)
        return KW_ERR_INVALID_ARGUMENT;
    STRUCT_CorrectSetup tSetup{};
    if (_iEnable == 1) {
        if (!_pSetup)
            return KW_ERR_INVALID_ARGUMENT;
        std::memcpy(&tSetup, _pSetup, sizeof(tSetup));
        if (tSetup.m_iSize != static_cast<int>(sizeof(tSetup)))
            return KW_ERR_INVALID_ARGUMENT;
    }
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    if (_iEnable == 0) {
        pPlayer->m_blWholeEnabled = false;
        return KW_OK;
    }
    if (pPlayer->m_iWholeId < 0)
        pPlayer->m_iWholeId = FreeCorrectId(*pPlayer);
    pPlayer->m_tWholeSetup = tSetup;
    pPlayer->m_blWholeEnabled = true;
    return pPlayer->m_iWholeId;
}

namespace {

// The parameter record of _iKind in _tCorrection, or null for an unknown kind or a wrong size.
void* ParaOf(Correction& _tCorrection, int _iKind, int _iSize) {
    if (_iKind == KW_PARA_PTZ && _iSize == static_cast<int>(sizeof(STRUCT_PTZCorrectPara)))
        return &_tCorrection.m_tPtz;
    if (_iKind == KW_PARA_PANORAMA && _iSize == static_cast<int>(sizeof(STRUCT_PanoramaPara)))
        return &_tCorrection.m_tPanorama;
    return nullptr;
}

int AccessPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer, int _iSize, bool _blWrite) {
    if (!_pBuffer)
        return KW_ERR_INVALID_ARGUMENT;
    Correction tProbe;
    if (!ParaOf(tProbe, _iKind, _iSize))
        return KW_ERR_INVALID_ARGUMENT;
    if (_blWrite && _iKind == KW_PARA_PANORAMA) {
        STRUCT_PanoramaPara tPanorama{};
        std::memcpy(&tPanorama, _pBuffer, sizeof(tPanorama));
        if (!std::isfinite(tPanorama.m_fRotateAngle))
            return KW_ERR_INVALID_ARGUMENT;
    }
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::mutex> lock(pPlayer->m_mutex);
    const auto it = pPlayer->m_mapCorrections.find(_iCorrectId);
    if (it == pPlayer->m_mapCorrections.end())
        return KW_ERR_UNKNOWN_ID;
    void* pRecord = ParaOf(it->second, _iKind, _iSize);
    if (_blWrite)
        std::memcpy(pRecord, _pBuffer, static_cast<size_t>(_iSize));
    else
        std::memcpy(_pBuffer, pRecord, static_cast<size_t>(_iSize));
    return KW_OK;
}

} // namespace

KW_EXPORT int KW_GetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer,
                                       int _iSize) {
    return AccessPara(_iPlayId, _iCorrectId, _iKind, _pBuffer, _iSize, false);
}

KW_EXPORT int KW_SetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer,
                                       int _iSize) {
    return AccessPara(_iPlayId, _iCorrectId, _iKind, _pBuffer, _iSize, true);
}
