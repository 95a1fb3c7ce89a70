// The open engine's state: its players with their corrections, its surfaces and its user-data
// subscriptions, shared by the exports and the players' decoding threads.
#ifndef KORVANE_ENGINE_STATE_H
#define KORVANE_ENGINE_STATE_H

#include "korvane.h"

#include "RenderTarget.h"
#include "StreamDecoder.h"
#include "ViewParamsBuilder.h"
#include "ViewRenderer.h"

#include "abi/ZebPlayerRecords.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#define KW_EXPORT extern "C" __attribute__((visibility("default")))

namespace korvane {

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
    // The target chosen for each window the player shows into, kept while the window is in use.
    std::map<const void*, std::shared_ptr<CLS_RenderTarget>> m_mapTargets;
    std::uint64_t m_uDeliveredGeneration = 0;
    PictureArea m_tDelivered;
};

struct Subscription {
    KW_PF_UserData m_pf = nullptr;
    void* m_pUser = nullptr;
    std::uint64_t m_uGeneration = 0; // changes with every subscription
};

// The engine's registries. Lock order: m_deliveryMutex, then m_mutex, then a player's m_mutex,
// then a target's draw lock. No callback runs under m_mutex or a player's m_mutex.
struct Registry {
    std::mutex m_mutex;
    std::map<int, std::shared_ptr<Player>> m_mapPlayers;
    std::map<const void*, std::shared_ptr<CLS_SurfaceTarget>> m_mapSurfaces;
    std::map<int, Subscription> m_mapSubscriptions;
    std::uint64_t m_uGeneration = 0;
    // Held while user data is delivered, so that stopping a subscription waits for the delivery.
    std::recursive_mutex m_deliveryMutex;
};

// Never destroyed: players that the host never deletes keep decoding until the process ends,
// and their threads must not find the registry gone during the exit.
Registry& R();

std::shared_ptr<Player> FindPlayer(int _iPlayId);
std::shared_ptr<CLS_SurfaceTarget> FindSurface(const void* _hSurface);
bool IsKnownCorrectType(int _iType);
// Lowest id that neither a correction nor the whole-picture correction holds (player locked).
int FreeCorrectId(const Player& _tPlayer);
// The target for the window handle _pWindow: its surface, else its X11 window, else a null target
// that shows nothing. No lock held.
std::shared_ptr<CLS_RenderTarget> ChooseTarget(const void* _pWindow);

} // namespace korvane

#endif // KORVANE_ENGINE_STATE_H
