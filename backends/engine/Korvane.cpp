// The engine's exports for the system, players and channel user data; the corrections are in
// KorvaneCorrections.cpp, captures and surfaces in KorvaneOutputs.cpp.
#include "EngineState.h"
#include "PlayerThread.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstring>
#include <new>
#include <system_error>

using namespace korvane;

// ---- System ----

KW_EXPORT int KW_CreateSystem(int) {
    return KW_OK;
}

KW_EXPORT int KW_GetVersion(void) {
    return KW_VERSION;
}

// ---- Players ----

KW_EXPORT int KW_CreatePlayerForSpecialNeeds(int _iKind, void* _pParam, int _iParamSize, int) {
    if (_iKind != KW_SPECIAL_NEEDS_STREAM)
        return KW_ERR_NOT_SUPPORTED;
    if (!_pParam || _iParamSize != static_cast<int>(sizeof(STRUCT_PlayerCreateParam)))
        return KW_ERR_INVALID_ARGUMENT;
    STRUCT_PlayerCreateParam tParam{};
    std::memcpy(&tParam, _pParam, sizeof(tParam));
    if (tParam.m_iSize != static_cast<int>(sizeof(tParam)))
        return KW_ERR_INVALID_ARGUMENT;
    static std::once_flag s_quietOnce;
    std::call_once(s_quietOnce, [] { av_log_set_level(AV_LOG_FATAL); });
    std::shared_ptr<Player> pPlayer;
    try {
        pPlayer = std::make_shared<Player>();
    } catch (const std::bad_alloc&) {
        return KW_ERR_INTERNAL;
    }
    pPlayer->m_pWindow = tParam.m_pWindow;
    std::lock_guard<std::mutex> lock(R().m_mutex);
    int iId = 0;
    while (R().m_mapPlayers.count(iId))
        ++iId;
    pPlayer->m_iId = iId;
    R().m_mapPlayers[iId] = pPlayer;
    return iId;
}

KW_EXPORT int KW_Play(int _iPlayId) {
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::mutex> lock(pPlayer->m_queueMutex);
    if (pPlayer->m_blStop || pPlayer->m_thread.joinable())
        return KW_OK;
    try {
        pPlayer->m_thread = std::thread(DecodeLoop, pPlayer);
    } catch (const std::system_error&) {
        return KW_ERR_INTERNAL;
    }
    return KW_OK;
}

KW_EXPORT int KW_DeletePlayer(int _iPlayId) {
    std::shared_ptr<Player> pPlayer;
    {
        std::lock_guard<std::mutex> lock(R().m_mutex);
        const auto it = R().m_mapPlayers.find(_iPlayId);
        if (it == R().m_mapPlayers.end())
            return KW_ERR_UNKNOWN_ID;
        pPlayer = it->second;
        R().m_mapPlayers.erase(it);
    }
    StopThread(pPlayer);
    return KW_OK;
}

KW_EXPORT int KW_PutStreamToPlayer(int _iPlayId, unsigned char* _pcData, int _iSize) {
    if (_iSize < 0 || (!_pcData && _iSize > 0))
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<Player> pPlayer = FindPlayer(_iPlayId);
    if (!pPlayer)
        return KW_ERR_UNKNOWN_ID;
    if (_iSize == 0)
        return KW_OK;
    const auto IsFull = [&pPlayer, _iSize] {
        return pPlayer->m_queue.size() >= KW_QUEUE_MAX_PACKETS ||
               pPlayer->m_uQueuedBytes + static_cast<size_t>(_iSize) >
                   static_cast<size_t>(KW_QUEUE_MAX_BYTES);
    };
    {
        // A first look before copying, so that a full queue costs no copy.
        std::lock_guard<std::mutex> lock(pPlayer->m_queueMutex);
        if (IsFull())
            return KW_ERR_QUEUE_FULL;
    }
    std::vector<std::uint8_t> vecPacket;
    try {
        vecPacket.assign(_pcData, _pcData + _iSize);
    } catch (const std::bad_alloc&) {
        return KW_ERR_INTERNAL;
    }
    {
        std::lock_guard<std::mutex> lock(pPlayer->m_queueMutex);
        if (pPlayer->m_blStop)
            return KW_ERR_UNKNOWN_ID;
        if (IsFull())
            return KW_ERR_QUEUE_FULL;
        pPlayer->m_uQueuedBytes += vecPacket.size();
        pPlayer->m_queue.push_back(std::move(vecPacket));
    }
    pPlayer->m_queueCondition.notify_one();
    return KW_OK;
}

KW_EXPORT int KW_PlayerControl(int _iPlayIndex, int _iCommand, void* _pParam, int _iParamSize, int) {
    if (_iCommand != KW_CONTROL_USER_DATA)
        return KW_ERR_NOT_SUPPORTED;
    if (_iPlayIndex < 0 || !_pParam)
        return KW_ERR_INVALID_ARGUMENT;
    if (_iParamSize != static_cast<int>(sizeof(STRUCT_UserDataCallBackParam)) && _iParamSize != 0)
        return KW_ERR_INVALID_ARGUMENT;
    // A length of 0 stops the delivery without reading the record.
    STRUCT_UserDataCallBackParam tParam{};
    if (_iParamSize != 0) {
        std::memcpy(&tParam, _pParam, sizeof(tParam));
        if (tParam.m_iSize != _iParamSize)
            return KW_ERR_INVALID_ARGUMENT;
    }
    const bool blStop = tParam.m_pfCallBack == nullptr;
    // Waits for a delivery in progress, so that a stopped subscriber is never called again.
    std::lock_guard<std::recursive_mutex> delivery(R().m_deliveryMutex);
    std::lock_guard<std::mutex> lock(R().m_mutex);
    if (blStop) {
        R().m_mapSubscriptions.erase(_iPlayIndex);
        return KW_OK;
    }
    R().m_mapSubscriptions[_iPlayIndex] = {reinterpret_cast<KW_PF_UserData>(tParam.m_pfCallBack),
                                           tParam.m_pUser, ++R().m_uGeneration};
    return KW_OK;
}
