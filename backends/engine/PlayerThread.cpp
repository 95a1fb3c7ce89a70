// A player's decoding thread; see PlayerThread.h.
#include "PlayerThread.h"

#include "FisheyeArea.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane {

namespace {

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

// The player's target for _pWindow, chosen at the window's first picture and again only when the
// surface or window behind it went away (decoding thread).
CLS_RenderTarget& TargetOf(Player& _tPlayer, const void* _pWindow) {
    std::shared_ptr<CLS_RenderTarget>& rpTarget = _tPlayer.m_mapTargets[_pWindow];
    if (!rpTarget || !rpTarget->IsAlive())
        rpTarget = ChooseTarget(_pWindow);
    return *rpTarget;
}

// Drops the targets of windows that no view shows into any more.
void ForgetTargets(Player& _tPlayer, const std::vector<RenderJob>& _vecJobs) {
    for (auto it = _tPlayer.m_mapTargets.begin(); it != _tPlayer.m_mapTargets.end();) {
        const bool blUsed = std::any_of(_vecJobs.begin(), _vecJobs.end(), [&it](const RenderJob& _tJob) {
            return _tJob.m_pWindow == it->first;
        });
        it = blUsed ? std::next(it) : _tPlayer.m_mapTargets.erase(it);
    }
}

void RenderInto(Player& _tPlayer, const RenderJob& _tJob, const Frame& _tFrame) {
    if (!_tJob.m_pRenderer)
        return;
    TargetOf(_tPlayer, _tJob.m_pWindow).DrawView(_tFrame, _tJob.m_tParams, *_tJob.m_pRenderer);
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
    ForgetTargets(_tPlayer, vecJobs);
    for (const RenderJob& tJob : vecJobs) {
        if (_tPlayer.m_blStopping.load())
            return false;
        RenderInto(_tPlayer, tJob, _tFrame);
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

} // namespace

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

} // namespace korvane
