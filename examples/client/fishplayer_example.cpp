// Example client: one fisheye player with every kind of view, steered and torn down again.
//
//   fishplayer_example [STREAM OUT_DIR]
//
// Run it where the loader finds "Korvane.dll" and "zeb_algo_fcu.dll". A real client passes the
// native handles of its video windows. Here, on Linux with the open engine and given STREAM (a
// 1920 x 1920 fisheye H.264 or H.265 elementary stream) and OUT_DIR, the views are the open
// engine's off-screen surfaces and end up as PNG files in OUT_DIR; otherwise the window handles
// are placeholders and a few made-up packets are fed.
#include <CLS_FishPlayer.h>

#include <QDir>
#include <QFile>
#include <QMap>
#include <QVector>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#ifdef __linux__
#include <dlfcn.h>
#endif

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

// The open engine's off-screen surfaces, looked up in the engine the library loaded; absent on
// Windows and in other engines.
struct Surfaces {
    void* (*m_pfCreate)(int, int) = nullptr;
    int (*m_pfSavePng)(void*, const char*) = nullptr;
    int (*m_pfDestroy)(void*) = nullptr;

    bool Find() {
#ifdef __linux__
        // Not closed: the library keeps the engine loaded anyway.
        if (void* hEngine = dlopen("Korvane.dll", RTLD_NOW | RTLD_NOLOAD)) {
            m_pfCreate = reinterpret_cast<decltype(m_pfCreate)>(dlsym(hEngine, "KW_Ext_CreateSurface"));
            m_pfSavePng = reinterpret_cast<decltype(m_pfSavePng)>(dlsym(hEngine, "KW_Ext_SaveSurfacePng"));
            m_pfDestroy = reinterpret_cast<decltype(m_pfDestroy)>(dlsym(hEngine, "KW_Ext_DestroySurface"));
        }
#endif
        return m_pfCreate && m_pfSavePng && m_pfDestroy;
    }
};

Surfaces g_surfaces;
bool g_blPictures = false; // the views are surfaces
void* g_ahWindows[10] = {};

// Window _i: a surface of the given size when pictures are made, a placeholder handle otherwise.
void* Window(int _i, int _iWidth = 640, int _iHeight = 360) {
    if (!g_ahWindows[_i])
        g_ahWindows[_i] = g_blPictures ? g_surfaces.m_pfCreate(_iWidth, _iHeight)
                                       : reinterpret_cast<void*>(static_cast<intptr_t>(0x1000 * (_i + 1)));
    return g_ahWindows[_i];
}

// The windows the engine paints, by index. The source and whole-fisheye views (1 and 9) are the
// client's to paint, from the main window's picture.
const char* const ENGINE_WINDOWS[10] = {"main", nullptr, "ptz1", "ptz2", "ptz3",
                                        "ptz4", "180",   "360",  "lat",  nullptr};

} // namespace

int main(int _argc, char** _argv) {
    if (_argc != 1 && _argc != 3) {
        std::fprintf(stderr, "usage: fishplayer_example [STREAM OUT_DIR]\n");
        return 2;
    }
    QByteArray qbaStream;
    if (_argc == 3) {
        QFile qfileStream(QString::fromLocal8Bit(_argv[1]));
        if (!qfileStream.open(QIODevice::ReadOnly) || (qbaStream = qfileStream.readAll()).isEmpty()) {
            std::fprintf(stderr, "fishplayer_example: cannot read the stream %s\n", _argv[1]);
            return 1;
        }
    }
    CLS_FishPlayer* pFish = CLS_FishPlayer::GetInstance();
    g_blPictures = _argc == 3 && g_surfaces.Find();
    if (_argc == 3 && !g_blPictures)
        std::printf("this engine has no off-screen surfaces: no pictures\n");

    // The camera: ceiling mount (2); a 1920 x 1920 stream.
    const STRUCT_FishEyeParam tFishEye{2, 0, 0};
    const STRUCT_FishDrawParam tDraw{1, n_DrawType_Rect};
    int aiHeader[3] = {12, 1920, 1920};
    QMap<int, QVector<void*>> qmapWindows;
    void* hMain = Window(0, 960, 960);
    qmapWindows[0] = {Window(1, 640, 640)};
    qmapWindows[CORRECT_TYPE_PTZ] = {Window(2), Window(3), Window(4), Window(5)};
    qmapWindows[CORRECT_TYPE_180] = {Window(6)};
    qmapWindows[CORRECT_TYPE_360] = {Window(7, 1280, 320)};
    qmapWindows[CORRECT_TYPE_LAT] = {Window(8)};
    qmapWindows[CORRECT_TYPE_FISHEYE] = {Window(9, 640, 640)};

    int iId = -1;
    QMap<int, QVector<int>> qmapIds;
    int iRet = pFish->FishPlayer_CreatePlayerFromStream(tFishEye, hMain, qmapWindows, 0,
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

    // Feed the stream (or a few made-up packets) in packets cut at arbitrary places.
    if (qbaStream.isEmpty())
        qbaStream = QByteArray::fromHex("000000016742001f0000000168ce3c80").leftJustified(64, '\0');
    const int iPacket = _argc == 3 ? 65536 : 16;
    int iFed = 0;
    for (int iOffset = 0; iOffset < qbaStream.size(); iOffset += iPacket) {
        auto* pcData = reinterpret_cast<unsigned char*>(qbaStream.data()) + iOffset;
        iFed += pFish->FishPlayer_PutStreamToPlayer(iId, 0, pcData,
                                                    std::min<int>(iPacket, qbaStream.size() - iOffset)) == 0;
    }
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

    if (g_blPictures) {
        // Give the engine time to decode what was fed, then save what every view shows.
        std::this_thread::sleep_for(std::chrono::seconds(2));
        int iSaved = 0;
        QDir().mkpath(QString::fromLocal8Bit(_argv[2]));
        for (int i = 0; i < 10; ++i) {
            if (!ENGINE_WINDOWS[i])
                continue;
            const std::string strPath = std::string(_argv[2]) + "/" + ENGINE_WINDOWS[i] + ".png";
            iSaved += g_surfaces.m_pfSavePng(g_ahWindows[i], strPath.c_str()) == 0;
        }
        std::printf("%d pictures saved in %s\n", iSaved, _argv[2]);
        if (iSaved < 8)
            return 3;
    }

    iRet = pFish->FishPlayer_DeleteAllSubPlayer(iId);
    std::printf("views deleted: %d\n", iRet);
    iRet = pFish->FishPlayer_DeleteAllPlayer(iId);
    std::printf("player deleted: %d\n", iRet);
    for (void* hSurface : g_ahWindows) {
        if (g_blPictures)
            g_surfaces.m_pfDestroy(hSurface);
    }
    return g_iOverlays > 0 ? 0 : 2;
}
