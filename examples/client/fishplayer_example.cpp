// Example client: one fisheye player with every kind of view, steered and torn down again.
//
// The window handles here are placeholders: a real client passes the native handles of its video
// windows. Run it where the loader finds "Korvane.dll" and "zeb_algo_fcu.dll".
#include <CLS_FishPlayer.h>

#include <QMap>
#include <QVector>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace {

std::atomic<int> g_iOverlays{0};

// Runs on a library thread every 40 ms: print a summary of the first few overlays.
int OnOverlay(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _overlay) {
    const int iCount = ++g_iOverlays;
    if (iCount <= 3) {
        std::printf("overlay %d: %d PTZ outline(s)", iCount, static_cast<int>(_overlay.size()));
        for (const auto& outline : _overlay) {
            if (!outline.isEmpty() && !outline.first().isEmpty())
                std::printf(" [%d polylines from (%.3f, %.3f)]", static_cast<int>(outline.size()),
                            outline.first().first().m_fX, outline.first().first().m_fY);
        }
        std::printf("\n");
    }
    return 0;
}

void* Window(int _i) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(0x1000 * (_i + 1)));
}

} // namespace

int main() {
    CLS_FishPlayer* pFish = CLS_FishPlayer::GetInstance();

    // The camera: ceiling mount (2); a 1920 x 1920 stream.
    const STRUCT_FishEyeParam tFishEye{2, 0, 0};
    const STRUCT_FishDrawParam tDraw{1, n_DrawType_Rect};
    int aiHeader[3] = {12, 1920, 1920};
    QMap<int, QVector<void*>> qmapWindows;
    qmapWindows[0] = {Window(1)};
    qmapWindows[CORRECT_TYPE_PTZ] = {Window(2), Window(3), Window(4), Window(5)};
    qmapWindows[CORRECT_TYPE_180] = {Window(6)};
    qmapWindows[CORRECT_TYPE_360] = {Window(7)};
    qmapWindows[CORRECT_TYPE_LAT] = {Window(8)};
    qmapWindows[CORRECT_TYPE_FISHEYE] = {Window(9)};

    int iId = -1;
    QMap<int, QVector<int>> qmapIds;
    int iRet = pFish->FishPlayer_CreatePlayerFromStream(tFishEye, Window(0), qmapWindows, 0,
                                                        reinterpret_cast<unsigned char*>(aiHeader), 12, &iId,
                                                        qmapIds, false, osd_TLDCSet{}, tDraw);
    if (iRet != 0) {
        std::printf("creating the player failed: %d\n", iRet);
        return 1;
    }
    std::printf("fisheye player %d created\n", iId);
    for (auto it = qmapIds.cbegin(); it != qmapIds.cend(); ++it) {
        std::printf("  correction type %4d: %d view(s), ids", it.key(), static_cast<int>(it.value().size()));
        for (int iViewId : it.value())
            std::printf(" %d", iViewId);
        std::printf("\n");
    }
    pFish->FishPlayer_RegisterDrawCallback(iId, OnOverlay);

    // Feed a few packets of an elementary stream, cut at arbitrary places.
    unsigned char acStream[64] = {0, 0, 0, 1, 0x67, 0x42, 0, 0x1f, 0, 0, 0, 1, 0x68, 0xce, 0x3c, 0x80};
    int iFed = 0;
    for (int iOffset = 0; iOffset < 64; iOffset += 16)
        iFed += pFish->FishPlayer_PutStreamToPlayer(iId, 0, acStream + iOffset, 16) == 0;
    std::printf("%d packets fed\n", iFed);

    // Steer the first PTZ view with every command, then by mouse.
    const char* apcCommands[] = {"up",       "down",      "left",       "right", "left-up",
                                 "right-up", "left-down", "right-down", "zoom-", "zoom+"};
    for (int iCmd = 0; iCmd <= 9; ++iCmd) {
        iRet = pFish->FishPlayer_PTZCtl(iId, 0, {200, 200, 500}, static_cast<n_PTZCtlCmd>(iCmd));
        std::printf("PTZ %-10s -> %d\n", apcCommands[iCmd], iRet);
    }
    const STRUCT_FishWindowRect tRect{640, 360};
    std::printf("PTZ drag      -> %d\n",
                pFish->FishPlayer_PTZWindowCtl(iId, 1, {40, -20, 0}, n_CtlCmd_Move, tRect));
    std::printf("PTZ wheel     -> %d\n",
                pFish->FishPlayer_PTZWindowCtl(iId, 1, {0, 0, 20}, n_CtlCmd_Zoom, tRect));
    std::printf("outline drag  -> %d\n",
                pFish->FishPlayer_DrawWindowCtl(iId, 2, {300, 300, 340, 310}, n_CtlCmd_Move, {640, 640}));
    std::printf("360 rotation  -> %d\n",
                pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_360, {160, 0, 0}, n_CtlCmd_Move, tRect));
    std::printf("180 rotation  -> %d\n",
                pFish->FishPlayer_CorrectWindowCtl(iId, CORRECT_TYPE_180, {-80, 0, 0}, n_CtlCmd_Move, tRect));

    // Let a few overlays arrive.
    for (int i = 0; i < 100 && g_iOverlays < 3; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::printf("%d overlays received\n", g_iOverlays.load());

    iRet = pFish->FishPlayer_DeleteAllSubPlayer(iId);
    std::printf("views deleted: %d\n", iRet);
    iRet = pFish->FishPlayer_DeleteAllPlayer(iId);
    std::printf("player deleted: %d\n", iRet);
    return g_iOverlays > 0 ? 0 : 2;
}
