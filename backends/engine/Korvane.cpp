// The engine's exports: players with their decoding threads, fisheye corrections, channel user
// data, rendering targets and captures.
#include "korvane.h"

#include "ImageFiles.h"
#include "StreamDecoder.h"
#include "ViewParamsBuilder.h"
#include "ViewRenderer.h"
#include "X11Targets.h"

#include "abi/ZebPlayerRecords.h"

extern "C" {
#include <libavutil/log.h>
}

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

#define KW_EXPORT extern "C" __attribute__((visibility("default")))

using namespace korvane;

namespace {

constexpr int MAX_SURFACE_SIDE = 8192;
// Pictures in which the fisheye circle is looked for at the start, and the period after that.
constexpr std::int64_t AREA_FIRST_FRAMES = 5;
constexpr std::int64_t AREA_PERIOD = 25;
// A new area is delivered only when a side moved by more than this (0 to 10000).
constexpr int AREA_TOLERANCE = 50;

// Whether a newly found area is still the one delivered.
bool IsCloseTo(const PictureArea& _tArea, const PictureArea& _tOther) {
    return std::abs(_tArea.m_iLeft - _tOther.m_iLeft) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iTop - _tOther.m_iTop) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iRight - _tOther.m_iRight) <= AREA_TOLERANCE &&
           std::abs(_tArea.m_iBottom - _tOther.m_iBottom) <= AREA_TOLERANCE;
}

struct SurfaceTarget {
    std::mutex m_mutex;
    Surface m_tSurface;
    int m_iRendered = 0; // pictures rendered into it
};

struct Correction {
    STRUCT_CorrectSetup m_tSetup{};
    STRUCT_PTZCorrectPara m_tPtz{};
    STRUCT_PanoramaPara m_tPanorama{};
    std::shared_ptr<CLS_ViewRenderer> m_pRenderer;
};

struct CorrectCallBack {
    KW_PF_CorrectDone m_pf = nullptr;
    void* m_pUser = nullptr;
};

struct Player {
    int m_iId = -1;
    void* m_pWindow = nullptr;

    // Guards everything up to the queue.
    std::mutex m_mutex;
    std::map<int, Correction> m_mapCorrections;
    std::map<int, CorrectCallBack> m_mapCallBacks;
    bool m_blWholeEnabled = false;
    int m_iWholeId = -1; // given out at the first enabling, kept for the player's life
    STRUCT_CorrectSetup m_tWholeSetup{};
    Frame m_tPicture; // the last decoded picture
    int m_iCodec = KW_CODEC_UNKNOWN;
    std::int64_t m_llFrames = 0;
    bool m_blHasArea = false;
    PictureArea m_tArea; // found in the pictures
    std::shared_ptr<CLS_ViewRenderer> m_pMainRenderer = CreateViewRenderer(n_ViewKind_Source);

    // The packet queue and the thread.
    std::mutex m_queueMutex;
    std::condition_variable m_queueCondition;
    std::deque<std::vector<std::uint8_t>> m_queue;
    size_t m_uQueuedBytes = 0;
    bool m_blStop = false;
    std::atomic<bool> m_blStopping{false}; // read by the decoder between pictures
    std::thread m_thread;

    // Held while a correction callback runs, so that removing one waits for the call.
    std::recursive_mutex m_callBackMutex;

    // Decoding thread only.
    CLS_StreamDecoder m_decoder;
    std::uint64_t m_uDeliveredGeneration = 0;
    PictureArea m_tDelivered;
};

struct Subscription {
    KW_PF_UserData m_pf = nullptr;
    void* m_pUser = nullptr;
    std::uint64_t m_uGeneration = 0; // changes with every subscription
};

// The engine's registries. Lock order: m_deliveryMutex, then m_mutex, then a player's m_mutex,
// then a surface's mutex. No callback runs under m_mutex or a player's m_mutex.
struct Registry {
    std::mutex m_mutex;
    std::map<int, std::shared_ptr<Player>> m_mapPlayers;
    std::map<const void*, std::shared_ptr<SurfaceTarget>> m_mapSurfaces;
    std::map<int, Subscription> m_mapSubscriptions;
    std::uint64_t m_uGeneration = 0;
    // Held while user data is delivered, so that stopping a subscription waits for the delivery.
    std::recursive_mutex m_deliveryMutex;
};

// Never destroyed: players that the host never deletes keep decoding until the process ends,
// and their threads must not find the registry gone during the exit.
Registry& R() {
    static Registry* s_pRegistry = new Registry;
    return *s_pRegistry;
}

std::shared_ptr<Player> FindPlayer(int _iPlayId) {
    std::lock_guard<std::mutex> lock(R().m_mutex);
    const auto it = R().m_mapPlayers.find(_iPlayId);
    return it == R().m_mapPlayers.end() ? nullptr : it->second;
}

std::shared_ptr<SurfaceTarget> FindSurface(const void* _hSurface) {
    if (!_hSurface)
        return nullptr;
    std::lock_guard<std::mutex> lock(R().m_mutex);
    const auto it = R().m_mapSurfaces.find(_hSurface);
    return it == R().m_mapSurfaces.end() ? nullptr : it->second;
}

bool IsKnownCorrectType(int _iType) {
    return _iType == KW_CORRECT_SOURCE || _iType == KW_CORRECT_PTZ || _iType == KW_CORRECT_180 ||
           _iType == KW_CORRECT_360 || _iType == KW_CORRECT_LAT || _iType == KW_CORRECT_FISHEYE;
}

// Lowest id that neither a correction nor the whole-picture correction holds (player locked).
int FreeCorrectId(const Player& _tPlayer) {
    int iId = 0;
    while (_tPlayer.m_mapCorrections.count(iId) || iId == _tPlayer.m_iWholeId)
        ++iId;
    return iId;
}

// Bounding box of the non-dark part of the picture, or false when the picture is all dark.
bool FindFisheyeArea(const Frame& _tFrame, PictureArea* _ptArea) {
    const int iW = _tFrame.m_iWidth;
    const int iH = _tFrame.m_iHeight;
    const int iStep = std::max(1, std::min(iW, iH) / 512);
    constexpr int DARK = 3 * 40; // sum of the three channels
    std::vector<int> vecColumns(static_cast<size_t>(iW), 0);
    int iTop = -1;
    int iBottom = -1;
    for (int y = 0; y < iH; y += iStep) {
        const std::uint8_t* pcRow = _tFrame.m_vecRgb.data() + static_cast<size_t>(y) * iW * 3;
        int iBright = 0;
        for (int x = 0; x < iW; x += iStep) {
            const std::uint8_t* pc = pcRow + static_cast<size_t>(x) * 3;
            if (pc[0] + pc[1] + pc[2] > DARK) {
                ++iBright;
                ++vecColumns[static_cast<size_t>(x)];
            }
        }
        // Two bright samples make a row count, so that a single noisy pixel does not.
        if (iBright >= 2) {
            if (iTop < 0)
                iTop = y;
            iBottom = y;
        }
    }
    int iLeft = -1;
    int iRight = -1;
    for (int x = 0; x < iW; x += iStep) {
        if (vecColumns[static_cast<size_t>(x)] >= 2) {
            if (iLeft < 0)
                iLeft = x;
            iRight = x;
        }
    }
    if (iTop < 0 || iLeft < 0)
        return false;
    _ptArea->m_iLeft = static_cast<int>(static_cast<long long>(iLeft) * 10000 / iW);
    _ptArea->m_iTop = static_cast<int>(static_cast<long long>(iTop) * 10000 / iH);
    _ptArea->m_iRight =
        static_cast<int>(std::min<long long>(10000, (static_cast<long long>(iRight) + 1) * 10000 / iW));
    _ptArea->m_iBottom =
        static_cast<int>(std::min<long long>(10000, (static_cast<long long>(iBottom) + 1) * 10000 / iH));
    return _ptArea->IsValid();
}

// Calls the subscriber of the player's play index when the area is new to it.
void DeliverArea(Player& _tPlayer, const PictureArea& _tArea) {
    std::lock_guard<std::recursive_mutex> delivery(R().m_deliveryMutex);
    Subscription tSubscription;
    {
        std::lock_guard<std::mutex> lock(R().m_mutex);
        const auto it = R().m_mapSubscriptions.find(_tPlayer.m_iId);
        if (it == R().m_mapSubscriptions.end())
            return;
        tSubscription = it->second;
    }
    if (tSubscription.m_uGeneration == _tPlayer.m_uDeliveredGeneration &&
        IsCloseTo(_tArea, _tPlayer.m_tDelivered))
        return;
    unsigned char acPayload[KW_USER_DATA_FISHEYE_AREA_SIZE] = {};
    const double adArea[4] = {static_cast<double>(_tArea.m_iLeft), static_cast<double>(_tArea.m_iTop),
                              static_cast<double>(_tArea.m_iRight), static_cast<double>(_tArea.m_iBottom)};
    std::memcpy(acPayload + 8, adArea, sizeof(adArea));
    _tPlayer.m_uDeliveredGeneration = tSubscription.m_uGeneration;
    _tPlayer.m_tDelivered = _tArea;
    tSubscription.m_pf(_tPlayer.m_iId, KW_USER_DATA_FISHEYE_AREA, acPayload, KW_USER_DATA_FISHEYE_AREA_SIZE,
                       tSubscription.m_pUser);
}

ViewParams ParamsOf(const Player& _tPlayer, const Correction* _pCorrection) {
    ViewSources tSources;
    if (_tPlayer.m_blWholeEnabled)
        tSources.m_pWholeSetup = &_tPlayer.m_tWholeSetup;
    if (_tPlayer.m_blHasArea)
        tSources.m_pFoundArea = &_tPlayer.m_tArea;
    if (_pCorrection) {
        tSources.m_pSetup = &_pCorrection->m_tSetup;
        tSources.m_pPtz = &_pCorrection->m_tPtz;
        tSources.m_pPanorama = &_pCorrection->m_tPanorama;
    }
    return MakeViewParams(tSources);
}

struct RenderJob {
    const void* m_pWindow;
    ViewParams m_tParams;
    std::shared_ptr<CLS_ViewRenderer> m_pRenderer;
};

void RenderInto(const RenderJob& _tJob, const Frame& _tFrame) {
    if (!_tJob.m_pRenderer)
        return;
    const std::shared_ptr<SurfaceTarget> pTarget = FindSurface(_tJob.m_pWindow);
    if (!pTarget) {
        RenderToX11Window(_tJob.m_pWindow, _tFrame, _tJob.m_tParams, *_tJob.m_pRenderer);
        return;
    }
    std::lock_guard<std::mutex> lock(pTarget->m_mutex);
    _tJob.m_pRenderer->Render(_tFrame, _tJob.m_tParams, pTarget->m_tSurface);
    if (pTarget->m_iRendered < INT32_MAX)
        ++pTarget->m_iRendered;
}

// Everything a decoded picture leads to, on the player's thread.
bool OnPicture(Player& _tPlayer, const Frame& _tFrame) {
    std::vector<RenderJob> vecJobs;
    std::vector<std::pair<int, CorrectCallBack>> vecDone;
    std::int64_t llFrame = 0;
    bool blLookForArea = false;
    {
        std::lock_guard<std::mutex> lock(_tPlayer.m_mutex);
        _tPlayer.m_tPicture = _tFrame;
        _tPlayer.m_iCodec = _tPlayer.m_decoder.Codec();
        llFrame = _tPlayer.m_llFrames;
        blLookForArea = llFrame < AREA_FIRST_FRAMES || llFrame % AREA_PERIOD == 0;
    }
    if (blLookForArea) {
        PictureArea tArea;
        if (FindFisheyeArea(_tFrame, &tArea)) {
            std::lock_guard<std::mutex> lock(_tPlayer.m_mutex);
            _tPlayer.m_blHasArea = true;
            _tPlayer.m_tArea = tArea;
        }
    }
    PictureArea tArea;
    bool blHasArea = false;
    {
        std::lock_guard<std::mutex> lock(_tPlayer.m_mutex);
        blHasArea = _tPlayer.m_blHasArea;
        tArea = _tPlayer.m_tArea;
        vecJobs.push_back({_tPlayer.m_pWindow, ParamsOf(_tPlayer, nullptr), _tPlayer.m_pMainRenderer});
        for (const auto& tEntry : _tPlayer.m_mapCorrections)
            vecJobs.push_back({tEntry.second.m_tSetup.m_pWindow, ParamsOf(_tPlayer, &tEntry.second),
                               tEntry.second.m_pRenderer});
    }
    // Also a late subscriber gets the area with the next picture.
    if (blHasArea)
        DeliverArea(_tPlayer, tArea);
    for (const RenderJob& tJob : vecJobs) {
        if (_tPlayer.m_blStopping.load())
            return false;
        RenderInto(tJob, _tFrame);
    }
    std::lock_guard<std::recursive_mutex> callBacks(_tPlayer.m_callBackMutex);
    {
        std::lock_guard<std::mutex> lock(_tPlayer.m_mutex);
        for (const auto& tEntry : _tPlayer.m_mapCallBacks)
            if (tEntry.first == _tPlayer.m_iWholeId ? _tPlayer.m_blWholeEnabled
                                                    : _tPlayer.m_mapCorrections.count(tEntry.first) > 0)
                vecDone.push_back(tEntry);
    }
    for (const auto& tEntry : vecDone)
        tEntry.second.m_pf(tEntry.first, tEntry.second.m_pUser);
    // Counted once everything it leads to is done, so that a count seen means pictures shown.
    {
        std::lock_guard<std::mutex> lock(_tPlayer.m_mutex);
        ++_tPlayer.m_llFrames;
    }
    return !_tPlayer.m_blStopping.load();
}

// Holds the player until it returns, so that a player deleted from its own callback lives on.
void DecodeLoop(std::shared_ptr<Player> _pPlayer) {
    for (;;) {
        std::vector<std::uint8_t> vecPacket;
        {
            std::unique_lock<std::mutex> lock(_pPlayer->m_queueMutex);
            _pPlayer->m_queueCondition.wait(
                lock, [&_pPlayer] { return _pPlayer->m_blStop || !_pPlayer->m_queue.empty(); });
            if (_pPlayer->m_blStop)
                return;
            vecPacket = std::move(_pPlayer->m_queue.front());
            _pPlayer->m_queue.pop_front();
            _pPlayer->m_uQueuedBytes -= vecPacket.size();
        }
        _pPlayer->m_decoder.Feed(vecPacket.data(), vecPacket.size(),
                                 [&_pPlayer](const Frame& _tFrame) { return OnPicture(*_pPlayer, _tFrame); });
    }
}

void StopThread(const std::shared_ptr<Player>& _pPlayer) {
    {
        std::lock_guard<std::mutex> lock(_pPlayer->m_queueMutex);
        _pPlayer->m_blStop = true;
        _pPlayer->m_queue.clear();
        _pPlayer->m_uQueuedBytes = 0;
    }
    _pPlayer->m_blStopping.store(true);
    _pPlayer->m_queueCondition.notify_all();
    if (!_pPlayer->m_thread.joinable())
        return;
    if (_pPlayer->m_thread.get_id() == std::this_thread::get_id()) {
        // Deleted from one of its own callbacks: the thread ends when the callback returns.
        _pPlayer->m_thread.detach();
        return;
    }
    _pPlayer->m_thread.join();
}

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
    switch (_iFormat) {
    case KW_CAPTURE_PNG:
        return WritePng(_pcPath, tPicture.m_vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
    case KW_CAPTURE_PPM:
        return WritePpm(_pcPath, tPicture.m_vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
    default:
        return WriteBmp(_pcPath, tPicture.m_vecRgb.data(), tPicture.m_iWidth, tPicture.m_iHeight);
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
    std::shared_ptr<SurfaceTarget> pTarget;
    try {
        pTarget = std::make_shared<SurfaceTarget>();
        pTarget->m_tSurface.m_iWidth = _iWidth;
        pTarget->m_tSurface.m_iHeight = _iHeight;
        pTarget->m_tSurface.m_vecRgb.assign(static_cast<size_t>(_iWidth) * _iHeight * 3, 0);
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
    return R().m_mapSurfaces.erase(_hSurface) ? KW_OK : KW_ERR_UNKNOWN_ID;
}

KW_EXPORT int KW_Ext_GetSurfaceSize(void* _hSurface, int* _piWidth, int* _piHeight) {
    const std::shared_ptr<SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    if (_piWidth)
        *_piWidth = pTarget->m_tSurface.m_iWidth;
    if (_piHeight)
        *_piHeight = pTarget->m_tSurface.m_iHeight;
    return KW_OK;
}

KW_EXPORT int KW_Ext_ReadSurface(void* _hSurface, unsigned char* _pcRgb, int _iSize) {
    if (!_pcRgb || _iSize < 0)
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    std::lock_guard<std::mutex> lock(pTarget->m_mutex);
    const std::vector<std::uint8_t>& vecRgb = pTarget->m_tSurface.m_vecRgb;
    if (static_cast<size_t>(_iSize) < vecRgb.size())
        return KW_ERR_INVALID_ARGUMENT;
    std::memcpy(_pcRgb, vecRgb.data(), vecRgb.size());
    return pTarget->m_iRendered;
}

KW_EXPORT int KW_Ext_SaveSurfacePng(void* _hSurface, const char* _pcPath) {
    if (!_pcPath || !*_pcPath)
        return KW_ERR_INVALID_ARGUMENT;
    const std::shared_ptr<SurfaceTarget> pTarget = FindSurface(_hSurface);
    if (!pTarget)
        return KW_ERR_UNKNOWN_ID;
    Surface tCopy;
    {
        std::lock_guard<std::mutex> lock(pTarget->m_mutex);
        tCopy = pTarget->m_tSurface;
    }
    return WritePng(_pcPath, tCopy.m_vecRgb.data(), tCopy.m_iWidth, tCopy.m_iHeight);
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
