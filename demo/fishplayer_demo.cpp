// fishplayer_demo: plays a fisheye video file or live stream through CLS_FishPlayer on off-screen
// surfaces of the open engine, steers the views with a scripted sequence of PTZ commands, drags
// and zooms, and writes one PNG per view at each checkpoint plus a contact sheet of all views.
//
//   fishplayer_demo [INPUT] [--out DIR] [--size WxH] [--mount N] [--sheet-width N] [--scale F]
//                   [--transport tcp|udp] [--timeout S] [--fast] [--step-seconds S] [--renderer R]
//
// INPUT is any file or URL that libavformat opens (rtsp://, http://, udp://, MP4, MKV, TS, raw
// H.264/H.265/MJPEG) holding H.264, H.265 or MJPEG video; it defaults to the sample clip
// build/samples/fisheye_1920.h264 (scripts/make-sample.sh writes it). Run it where the loader
// finds "Korvane.dll" and "zeb_algo_fcu.dll" (LD_LIBRARY_PATH=build/backends/engine:build/backends/algo).
#include "CommandLine.h"
#include "DemoImage.h"
#include "DemoSupport.h"

#include <CLS_FishPlayer.h>
#include <MediaSource.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QVector>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// Overlays delivered by the library's draw thread: the latest one, copied point by point on that
// thread so that the demo's thread shares nothing with the library's containers.
using Outlines = std::vector<std::vector<std::vector<STRUCT_DrawPoint>>>;
std::mutex g_mutexOverlay;
Outlines g_overlay;
int g_iOverlayCount = 0;

int OnOverlay(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _overlay) {
    Outlines overlay;
    for (const QVector<QVector<STRUCT_DrawPoint>>& view : _overlay) {
        overlay.emplace_back();
        for (const QVector<STRUCT_DrawPoint>& polyline : view)
            overlay.back().emplace_back(polyline.cbegin(), polyline.cend());
    }
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    g_overlay.swap(overlay);
    ++g_iOverlayCount;
    return 0;
}

Outlines LatestOverlay(int* _piCount = nullptr) {
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    if (_piCount)
        *_piCount = g_iOverlayCount;
    return g_overlay;
}

// The colours of the four PTZ views: their outlines on the fisheye view and their tiles' frames.
// The views, in the order the demo creates them.
enum { VIEW_SOURCE, VIEW_FISHEYE, VIEW_360, VIEW_180, VIEW_LAT, VIEW_PTZ0 };

const DemoColor PTZ_COLORS[] = {{255, 64, 64}, {64, 220, 64}, {80, 140, 255}, {255, 210, 40}};
constexpr int PTZ_VIEWS = 4;

struct View {
    QString m_qstrName;
    int m_iType = 0;      // correction type
    int m_iPtzIndex = -1; // PTZ views: index among the PTZ windows
    int m_iWidth = 0;
    int m_iHeight = 0;
    void* m_hSurface = nullptr;
    bool m_blEngineRendered = true; // false for the source and whole-fisheye views
    int m_iRenderedAtStep = 0;
    DemoImage m_tPicture;
};

struct Options {
    QString m_qstrVideo = QStringLiteral("build/samples/fisheye_1920.h264");
    QString m_qstrOut = QStringLiteral("fishplayer-demo");
    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iMount = cmdline::MOUNT_CEILING;
    int m_iSheetWidth = 1280;
    double m_dScale = 1.0;
    fishsource::SourceOptions m_tSource;
    double m_dStepSeconds = 2.0; // live sources and files of unknown length: playing time per step
};

void Usage() {
    std::printf("usage: fishplayer_demo [INPUT] [--out DIR] [--size WxH] [--mount N] [--sheet-width N]\n"
                "                       [--scale F] [--transport tcp|udp] [--timeout S] [--fast]\n"
                "                       [--step-seconds S] [--renderer gl|cpu|auto] [--help]\n"
                "  INPUT          fisheye video file or URL: rtsp://, rtsps://, http(s)://, udp://, rtp://,\n"
                "                 MP4, MKV, MOV, TS or raw H.264/H.265/MJPEG (default\n"
                "                 build/samples/fisheye_1920.h264, a ceiling-mounted scene)\n"
                "  --out DIR      where the pictures go (default ./fishplayer-demo)\n"
                "  --size WxH     picture size for the stream header, each side 16 to 16384\n"
                "                 (default: the stream's own)\n"
                "  --mount N      mounting mode: %s (default 2)\n"
                "  --sheet-width N  width of the contact sheet in pixels, 320 to 8192 (default 1280)\n"
                "  --scale F      size of the views, 0.1 to 4 times the default (default 1)\n"
                "%s"
                "  --fast         play files as fast as the engine decodes, not at their timestamps\n"
                "  --step-seconds S  playing time of each step for live sources, 0.2 to 600 (default 2)\n"
                "  --help, -h     this text\n",
                qPrintable(cmdline::MountChoices()), cmdline::SHARED_OPTIONS_USAGE);
}

cmdline::ParseResult ParseOptions(const QStringList& _qlistArgs, Options& _tOptions) {
    cmdline::Parser tParser(QStringLiteral("fishplayer_demo"));
    // The options that take a value, with what the value is.
    const QMap<QString, QString> qmapValued = {
        {QStringLiteral("--out"), QStringLiteral("a folder")},
        {QStringLiteral("--mount"), cmdline::MountChoices()},
        {QStringLiteral("--transport"), QStringLiteral("tcp or udp")},
        {QStringLiteral("--renderer"), cmdline::RendererChoicesText()},
        {QStringLiteral("--timeout"), cmdline::TimeoutChoices()},
        {QStringLiteral("--step-seconds"), QStringLiteral("seconds, 0.2 to 600")},
        {QStringLiteral("--sheet-width"), QStringLiteral("pixels, 320 to 8192")},
        {QStringLiteral("--scale"), QStringLiteral("a factor, 0.1 to 4")},
        {QStringLiteral("--size"), QStringLiteral("WIDTHxHEIGHT")}};
    bool blInput = false;
    for (int i = 0; i < _qlistArgs.size(); ++i) {
        const QString& qstrArg = _qlistArgs[i];
        if (cmdline::IsHelp(qstrArg))
            return cmdline::ParseResult::Help;
        if (qmapValued.contains(qstrArg) && i + 1 >= _qlistArgs.size()) {
            tParser.MissingValue(qstrArg, qmapValued.value(qstrArg));
            std::fprintf(stderr, "%s\n", qPrintable(tParser.Error()));
            return cmdline::ParseResult::Refused;
        }
        bool blOk = true;
        if (qstrArg == QLatin1String("--out")) {
            _tOptions.m_qstrOut = _qlistArgs[++i];
        } else if (qstrArg == QLatin1String("--mount")) {
            blOk = tParser.Mount(qstrArg, _qlistArgs[++i], _tOptions.m_iMount);
        } else if (qstrArg == QLatin1String("--transport")) {
            const QString qstrTransport = _qlistArgs[++i];
            blOk = tParser.Choice(qstrArg, qstrTransport, {QStringLiteral("tcp"), QStringLiteral("udp")});
            _tOptions.m_tSource.m_tReader.m_eTransport = qstrTransport == QLatin1String("udp")
                                                             ? fishsource::RtspTransport::Udp
                                                             : fishsource::RtspTransport::Tcp;
        } else if (qstrArg == QLatin1String("--renderer")) {
            blOk = tParser.Renderer(qstrArg, _qlistArgs[++i]);
        } else if (qstrArg == QLatin1String("--timeout")) {
            blOk = tParser.Timeout(qstrArg, _qlistArgs[++i], _tOptions.m_tSource.m_tReader.m_iTimeoutMs);
        } else if (qstrArg == QLatin1String("--step-seconds")) {
            blOk = tParser.Real(qstrArg, _qlistArgs[++i], 0.2, 600, _tOptions.m_dStepSeconds);
        } else if (qstrArg == QLatin1String("--fast")) {
            _tOptions.m_tSource.m_blPaced = false;
        } else if (qstrArg == QLatin1String("--sheet-width")) {
            blOk = tParser.Int(qstrArg, _qlistArgs[++i], 320, 8192, _tOptions.m_iSheetWidth);
        } else if (qstrArg == QLatin1String("--scale")) {
            blOk = tParser.Real(qstrArg, _qlistArgs[++i], 0.1, 4.0, _tOptions.m_dScale);
        } else if (qstrArg == QLatin1String("--size")) {
            blOk = tParser.Size(qstrArg, _qlistArgs[++i], _tOptions.m_iWidth, _tOptions.m_iHeight);
        } else if (qstrArg.startsWith(QLatin1Char('-')) && qstrArg.size() > 1) {
            blOk = tParser.Unknown(qstrArg);
        } else if (blInput) {
            blOk = tParser.Refuse(QStringLiteral("a second input '%1': the demo plays one").arg(qstrArg));
        } else {
            _tOptions.m_qstrVideo = qstrArg;
            blInput = true;
        }
        if (!blOk) {
            std::fprintf(stderr, "%s\n", qPrintable(tParser.Error()));
            return cmdline::ParseResult::Refused;
        }
    }
    tParser.PrintNotes();
    _tOptions.m_tSource.m_tReader.m_strUrl = _tOptions.m_qstrVideo.toStdString();
    return cmdline::ParseResult::Run;
}

// The bounding box of the picture's non-dark part: where the lens's image circle lies.
void FindFisheyeArea(const DemoImage& _tPicture, int& _iX, int& _iY, int& _iW, int& _iH) {
    int iX0 = _tPicture.Width();
    int iY0 = _tPicture.Height();
    int iX1 = -1;
    int iY1 = -1;
    for (int y = 0; y < _tPicture.Height(); ++y) {
        for (int x = 0; x < _tPicture.Width(); ++x) {
            const DemoColor tColor = _tPicture.Pixel(x, y);
            if (tColor.m_ucR + tColor.m_ucG + tColor.m_ucB > 3 * 24) {
                iX0 = std::min(iX0, x);
                iY0 = std::min(iY0, y);
                iX1 = std::max(iX1, x);
                iY1 = std::max(iY1, y);
            }
        }
    }
    if (iX1 < iX0 || iY1 < iY0) { // all dark: the whole picture
        _iX = 0;
        _iY = 0;
        _iW = _tPicture.Width();
        _iH = _tPicture.Height();
        return;
    }
    _iX = iX0;
    _iY = iY0;
    _iW = iX1 - iX0 + 1;
    _iH = iY1 - iY0 + 1;
}

// Draws the PTZ views' outlines (points 0 to 1 of the fisheye area) over a whole-fisheye picture.
void DrawOutlines(DemoImage& _tFisheye, const Outlines& _overlay) {
    const int iThickness = std::max(2, _tFisheye.Width() / 160);
    for (size_t iView = 0; iView < _overlay.size(); ++iView) {
        const DemoColor tColor = PTZ_COLORS[iView % PTZ_VIEWS];
        for (const std::vector<STRUCT_DrawPoint>& polyline : _overlay[iView]) {
            for (size_t i = 1; i < polyline.size(); ++i)
                _tFisheye.DrawLine(polyline[i - 1].m_fX * _tFisheye.Width(),
                                   polyline[i - 1].m_fY * _tFisheye.Height(),
                                   polyline[i].m_fX * _tFisheye.Width(),
                                   polyline[i].m_fY * _tFisheye.Height(), tColor, iThickness);
        }
    }
}

// The contact sheet: rows of tiles, each row scaled to the sheet's width. Writes the tiles'
// places (name x y width height) beside it, one line each.
DemoImage ContactSheet(const QVector<View>& _vecViews, int _iSheetWidth, QString* _pqstrLayout) {
    const QVector<QVector<int>> vecRows = {{0, 1, 3}, {2, 4}, {5, 6, 7, 8}};
    constexpr int GAP = 6;
    struct Tile {
        int m_iView, m_iX, m_iY, m_iW, m_iH;
    };
    QVector<Tile> vecTiles;
    int iY = GAP;
    for (const QVector<int>& vecRow : vecRows) {
        double dAspectSum = 0;
        for (int iView : vecRow)
            dAspectSum += static_cast<double>(_vecViews[iView].m_iWidth) / _vecViews[iView].m_iHeight;
        const int iAvailable = _iSheetWidth - GAP * (vecRow.size() + 1);
        const int iRowHeight = static_cast<int>(iAvailable / dAspectSum);
        int iX = GAP;
        for (int iView : vecRow) {
            const int iW = static_cast<int>(iRowHeight * _vecViews[iView].m_iWidth /
                                            static_cast<double>(_vecViews[iView].m_iHeight));
            vecTiles.append({iView, iX, iY, iW, iRowHeight});
            iX += iW + GAP;
        }
        iY += iRowHeight + GAP;
    }
    DemoImage tSheet(_iSheetWidth, iY, {40, 40, 40});
    for (const Tile& tTile : vecTiles) {
        const View& tView = _vecViews[tTile.m_iView];
        tSheet.Paste(tView.m_tPicture.Scaled(tTile.m_iW, tTile.m_iH), tTile.m_iX, tTile.m_iY);
        if (tView.m_iPtzIndex >= 0)
            tSheet.DrawFrame(tTile.m_iX, tTile.m_iY, tTile.m_iW, tTile.m_iH, PTZ_COLORS[tView.m_iPtzIndex],
                             std::max(2, _iSheetWidth / 400));
        if (_pqstrLayout)
            *_pqstrLayout += QStringLiteral("%1 %2 %3 %4 %5\n")
                                 .arg(tView.m_qstrName)
                                 .arg(tTile.m_iX)
                                 .arg(tTile.m_iY)
                                 .arg(tTile.m_iW)
                                 .arg(tTile.m_iH);
    }
    return tSheet;
}

class Demo {
public:
    explicit Demo(const Options& _tOptions) : m_tOptions(_tOptions) {}
    ~Demo() {
        // The source's thread feeds the player, and the probe reads it: both stop first.
        if (m_pSource)
            m_pSource->Stop();
        m_blProbeStop = true;
        if (m_threadProbe.joinable())
            m_threadProbe.join();
        if (m_iId >= 0)
            m_pFish->FishPlayer_DeleteAllPlayer(m_iId);
        if (m_tEngine.m_pfDestroySurface) {
            for (View& tView : m_vecViews)
                m_tEngine.m_pfDestroySurface(tView.m_hSurface);
            m_tEngine.m_pfDestroySurface(m_hMain);
        }
    }

    int Run();

private:
    bool CreatePlayer();
    long long DecodedPictures() const;
    bool WaitForArea() const {
        const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!m_pFish->GetIsInitUserData(m_iId) && std::chrono::steady_clock::now() < tDeadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return m_pFish->GetIsInitUserData(m_iId);
    }
    bool OpenSource();
    bool StartSource();
    // Plays the step's share of the stream. False when the source failed.
    bool Play(int _iStep, long long _llPictures);
    void Settle();
    void ReportStatus(const fishsource::SourceStatus& _tStatus);
    void Probe();
    bool Snapshot(int _iStep, const QString& _qstrStepName);
    DemoImage ReadSurface(void* _hSurface, int _iWidth, int _iHeight, int* _piRendered = nullptr) const;
    // _iPixels at the chosen scale.
    int Px(int _iPixels) const { return static_cast<int>(std::lround(_iPixels * m_tOptions.m_dScale)); }
    int RenderedCount(const View& _tView) const {
        int iRendered = 0;
        ReadSurface(_tView.m_hSurface, _tView.m_iWidth, _tView.m_iHeight, &iRendered);
        return iRendered;
    }

    Options m_tOptions;
    CLS_FishPlayer* m_pFish = nullptr;
    EngineExt m_tEngine;
    std::unique_ptr<fishsource::MediaSource> m_pSource;
    fishsource::StreamInfo m_tInfo;
    std::thread m_threadProbe;
    std::atomic<bool> m_blProbeStop{false};
    std::atomic<long long> m_llShown{0};
    int m_iShownWidth = 0; // size of the pictures shown, to tell a change
    int m_iShownCodec = 0; // codec of the pictures shown, to tell a change
    int m_iShownHeight = 0;
    void* m_hMain = nullptr;
    int m_iMainWidth = 0;
    int m_iMainHeight = 0;
    QVector<View> m_vecViews;
    int m_iId = -1;
    int m_iSteps = 0;
    QElapsedTimer m_qtimerRun;
};

bool Demo::CreatePlayer() {
    // The main window shows the source picture; the library opens no engine correction for the
    // source and whole-fisheye views, so the demo renders those two from it.
    m_iMainWidth = Px(640);
    m_iMainHeight = std::max(1, m_iMainWidth * m_tOptions.m_iHeight / m_tOptions.m_iWidth);
    m_hMain = m_tEngine.m_pfCreateSurface(m_iMainWidth, m_iMainHeight);

    auto AddView = [this](const char* _pcName, int _iType, int _iWidth, int _iHeight, int _iPtzIndex = -1) {
        View tView;
        tView.m_qstrName = QString::fromLatin1(_pcName);
        tView.m_iType = _iType;
        tView.m_iPtzIndex = _iPtzIndex;
        tView.m_iWidth = Px(_iWidth);
        tView.m_iHeight = Px(_iHeight);
        tView.m_hSurface = m_tEngine.m_pfCreateSurface(tView.m_iWidth, tView.m_iHeight);
        tView.m_blEngineRendered = _iType != 0 && _iType != CORRECT_TYPE_FISHEYE;
        m_vecViews.append(tView);
    };
    AddView("source", 0, 480, std::max(1, 480 * m_tOptions.m_iHeight / m_tOptions.m_iWidth));
    AddView("fisheye", CORRECT_TYPE_FISHEYE, 480, 480);
    AddView("panorama360", CORRECT_TYPE_360, 1024, 256);
    AddView("panorama180", CORRECT_TYPE_180, 640, 320);
    AddView("lat", CORRECT_TYPE_LAT, 640, 320);
    for (int i = 0; i < PTZ_VIEWS; ++i)
        AddView(qPrintable(QStringLiteral("ptz%1").arg(i)), CORRECT_TYPE_PTZ, 400, 300, i);
    if (!m_hMain || std::any_of(m_vecViews.cbegin(), m_vecViews.cend(),
                                [](const View& _tView) { return !_tView.m_hSurface; })) {
        std::fprintf(stderr, "fishplayer_demo: the engine could not create the surfaces\n");
        return false;
    }

    QMap<int, QVector<void*>> qmapWindows;
    for (const View& tView : m_vecViews)
        qmapWindows[tView.m_iType].append(tView.m_hSurface);
    // The fisheye area comes with the pictures as user data of the first engine player of this
    // process, play index 0.
    m_pFish->SetPlayIndex(0);
    const STRUCT_FishEyeParam tFishEye{m_tOptions.m_iMount, 0, 0};
    int aiHeader[3] = {12, m_tOptions.m_iWidth, m_tOptions.m_iHeight};
    QMap<int, QVector<int>> qmapIds;
    const int iRet = m_pFish->FishPlayer_CreatePlayerFromStream(
        tFishEye, m_hMain, qmapWindows, 0, reinterpret_cast<unsigned char*>(aiHeader), sizeof(aiHeader),
        &m_iId, qmapIds, false, osd_TLDCSet{}, STRUCT_FishDrawParam{1, n_DrawType_Fec});
    if (iRet != 0) {
        std::fprintf(stderr, "fishplayer_demo: creating the player failed: %d\n", iRet);
        m_iId = -1;
        return false;
    }
    if (m_pFish->FishPlayer_RegisterDrawCallback(m_iId, OnOverlay) != 0) {
        std::fprintf(stderr, "fishplayer_demo: registering the overlay callback failed\n");
        return false;
    }
    std::printf("fisheye player %d: %d views, mounting mode %d, stream header %d x %d\n", m_iId,
                static_cast<int>(m_vecViews.size()), m_tOptions.m_iMount, m_tOptions.m_iWidth,
                m_tOptions.m_iHeight);
    return true;
}

long long Demo::DecodedPictures() const {
    return m_tEngine.DecodedPictures(m_iId);
}

bool Demo::OpenSource() {
    m_pSource.reset(new fishsource::MediaSource(m_tOptions.m_tSource));
    const std::string strError = m_pSource->Open();
    if (!strError.empty()) {
        std::fprintf(stderr, "fishplayer_demo: %s\n", strError.c_str());
        return false;
    }
    m_tInfo = m_pSource->Info();
    if (!m_tInfo.m_blLive && m_tInfo.m_llFrames <= 0) // the steps share the file's pictures
        m_tInfo.m_llFrames = fishsource::CountPackets(m_tOptions.m_tSource.m_tReader);
    std::printf("source: %s (%s, %s, %d x %d, %s)\n", qPrintable(m_tOptions.m_qstrVideo),
                m_tInfo.m_strFormat.c_str(), m_tInfo.m_strCodec.c_str(), m_tInfo.m_iWidth, m_tInfo.m_iHeight,
                m_tInfo.m_blLive                 ? "live"
                : m_tOptions.m_tSource.m_blPaced ? "played at its timestamps"
                                                 : "played as fast as it decodes");
    if (m_tOptions.m_iWidth == 0) {
        m_tOptions.m_iWidth = m_tInfo.m_iWidth;
        m_tOptions.m_iHeight = m_tInfo.m_iHeight;
    }
    if (m_tOptions.m_iWidth < 16 || m_tOptions.m_iHeight < 16) {
        std::fprintf(stderr, "fishplayer_demo: %s does not say its picture size: give --size WxH\n",
                     qPrintable(m_tOptions.m_qstrVideo));
        return false;
    }
    return true;
}

void Demo::ReportStatus(const fishsource::SourceStatus& _tStatus) {
    // On the source's thread: one whole line per report.
    using fishsource::SourceState;
    if (_tStatus.m_eState == SourceState::Reconnecting && _tStatus.m_iRetryInS > 0)
        std::printf("\nreconnecting to %s in %d s: %s\n", qPrintable(m_tOptions.m_qstrVideo),
                    _tStatus.m_iRetryInS, _tStatus.m_strMessage.c_str());
    else if (_tStatus.m_eState == SourceState::Playing && _tStatus.m_iReconnects > 0)
        std::printf("\nreconnected to %s (%d reconnection%s)\n", qPrintable(m_tOptions.m_qstrVideo),
                    _tStatus.m_iReconnects, _tStatus.m_iReconnects == 1 ? "" : "s");
}

void Demo::Probe() {
    // Pictures shown, looked at often enough to time them to a few milliseconds.
    while (!m_blProbeStop.load()) {
        const long long llShown = DecodedPictures();
        m_llShown.store(llShown);
        if (m_pSource)
            m_pSource->Latency().Shown(llShown, std::chrono::steady_clock::now());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

bool Demo::StartSource() {
    m_threadProbe = std::thread(&Demo::Probe, this);
    const int iId = m_iId;
    CLS_FishPlayer* pFish = m_pFish;
    return m_pSource->Start(
        [pFish, iId](const std::uint8_t* _pcData, int _iSize) {
            const int iRet =
                pFish->FishPlayer_PutStreamToPlayer(iId, 0, const_cast<unsigned char*>(_pcData), _iSize);
            const fishsource::SinkResult eResult = fishsource::SinkResultOfPut(iRet);
            if (eResult == fishsource::SinkResult::Failed)
                std::fprintf(stderr, "\nfishplayer_demo: feeding the stream failed: %d\n", iRet);
            return eResult;
        },
        [this](const fishsource::SourceStatus& _tStatus) { ReportStatus(_tStatus); },
        [this] { return DecodedPictures(); });
}

// Plays until _llPictures pictures have been shown (files of known length) or for the step's
// time (live sources), printing progress; a file's end ends every step.
bool Demo::Play(int _iStep, long long _llPictures) {
    using fishsource::SourceState;
    const auto tStart = std::chrono::steady_clock::now();
    const auto tStepTime = std::chrono::duration<double>(m_tOptions.m_dStepSeconds);
    auto tLastReport = tStart - std::chrono::seconds(1);
    auto tLastProgress = tStart;
    long long llLastShown = -1;
    for (;;) {
        const fishsource::SourceStatus tStatus = m_pSource->Status();
        if (tStatus.m_eState == SourceState::Failed) {
            std::fprintf(stderr, "\nfishplayer_demo: %s\n", tStatus.m_strMessage.c_str());
            return false;
        }
        const long long llShown = m_llShown.load();
        const auto tNow = std::chrono::steady_clock::now();
        if (llShown != llLastShown) {
            llLastShown = llShown;
            tLastProgress = tNow;
        }
        VideoParam tVideo;
        if (m_tEngine.m_pfGetVideoParam(m_iId, &tVideo, sizeof(tVideo)) == 0 && tVideo.m_iWidth > 0 &&
            (tVideo.m_iWidth != m_iShownWidth || tVideo.m_iHeight != m_iShownHeight)) {
            if (m_iShownWidth > 0)
                std::printf("\npicture size changed from %d x %d to %d x %d\n", m_iShownWidth, m_iShownHeight,
                            tVideo.m_iWidth, tVideo.m_iHeight);
            m_iShownWidth = tVideo.m_iWidth;
            m_iShownHeight = tVideo.m_iHeight;
        }
        if (tVideo.m_iCodec != 0 && tVideo.m_iCodec != m_iShownCodec) {
            if (m_iShownCodec != 0)
                std::printf("\ncodec changed from %s to %s\n", CodecName(m_iShownCodec),
                            CodecName(tVideo.m_iCodec));
            m_iShownCodec = tVideo.m_iCodec;
        }
        if (tNow - tLastReport > std::chrono::milliseconds(500)) {
            tLastReport = tNow;
            const fishsource::LatencySummary tLatency = m_pSource->Latency().Summary();
            std::printf("\r[%d/%d] %s, %.1f MB in %lld packets, %lld pictures shown, latency %.0f ms   ",
                        _iStep + 1, m_iSteps, fishsource::StateName(tStatus.m_eState),
                        m_pSource->BytesFed() / 1048576.0, m_pSource->PacketsFed(), llShown,
                        tLatency.m_dMedianMs);
            std::fflush(stdout);
        }
        const bool blEnded = tStatus.m_eState == SourceState::Ended;
        if (_llPictures > 0 ? llShown >= _llPictures : (tNow - tStart >= tStepTime && llShown > 0))
            return true;
        // A file's end: done once the engine has shown what it was given.
        if (blEnded && tNow - tLastProgress > std::chrono::milliseconds(300))
            return true;
        // A stall that is not a reconnection (the engine stopped showing pictures).
        if (tStatus.m_eState == SourceState::Playing && tNow - tLastProgress > std::chrono::seconds(30)) {
            std::printf("\nfishplayer_demo: no new picture for 30 s; going on with the last one\n");
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// Waits until every view the engine renders has shown a picture since the last steering step.
void Demo::Settle() {
    const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < tDeadline) {
        bool blAllRendered = true;
        for (const View& tView : m_vecViews)
            if (tView.m_blEngineRendered && RenderedCount(tView) <= tView.m_iRenderedAtStep)
                blAllRendered = false;
        if (blAllRendered)
            return;
        if (m_pSource->Status().m_eState == fishsource::SourceState::Ended &&
            std::chrono::steady_clock::now() + std::chrono::seconds(9) > tDeadline)
            break; // a file's end: no picture will come to show the last steering
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::printf("\nfishplayer_demo: no picture since the last step; the views show the one before it\n");
}

DemoImage Demo::ReadSurface(void* _hSurface, int _iWidth, int _iHeight, int* _piRendered) const {
    DemoImage tPicture(_iWidth, _iHeight);
    const int iRendered = m_tEngine.m_pfReadSurface(_hSurface, tPicture.Data(), tPicture.ByteCount());
    if (_piRendered)
        *_piRendered = iRendered;
    return tPicture;
}

bool Demo::Snapshot(int _iStep, const QString& _qstrStepName) {
    const QString qstrDir = QStringLiteral("%1/%2_%3")
                                .arg(m_tOptions.m_qstrOut)
                                .arg(_iStep + 1, 2, 10, QLatin1Char('0'))
                                .arg(_qstrStepName);
    if (!QDir().mkpath(qstrDir)) {
        std::fprintf(stderr, "fishplayer_demo: cannot create %s\n", qPrintable(qstrDir));
        return false;
    }
    const DemoImage tMain = ReadSurface(m_hMain, m_iMainWidth, m_iMainHeight);
    int iAreaX = 0, iAreaY = 0, iAreaW = 0, iAreaH = 0;
    FindFisheyeArea(tMain, iAreaX, iAreaY, iAreaW, iAreaH);
    const Outlines overlay = LatestOverlay();
    for (View& tView : m_vecViews) {
        if (tView.m_iType == 0) {
            tView.m_tPicture = tMain.Scaled(tView.m_iWidth, tView.m_iHeight);
        } else if (tView.m_iType == CORRECT_TYPE_FISHEYE) {
            tView.m_tPicture =
                tMain.Cropped(iAreaX, iAreaY, iAreaW, iAreaH).Scaled(tView.m_iWidth, tView.m_iHeight);
            DrawOutlines(tView.m_tPicture, overlay);
        } else {
            tView.m_tPicture = ReadSurface(tView.m_hSurface, tView.m_iWidth, tView.m_iHeight);
        }
        if (!tView.m_tPicture.SavePng(QStringLiteral("%1/%2.png").arg(qstrDir, tView.m_qstrName))) {
            std::fprintf(stderr, "fishplayer_demo: cannot write into %s\n", qPrintable(qstrDir));
            return false;
        }
    }
    QString qstrLayout;
    const DemoImage tSheet = ContactSheet(m_vecViews, m_tOptions.m_iSheetWidth, &qstrLayout);
    QFile qLayout(QStringLiteral("%1/contact_sheet.txt").arg(m_tOptions.m_qstrOut));
    if (!tSheet.SavePng(qstrDir + QStringLiteral("/contact_sheet.png")) ||
        !tSheet.SavePng(QStringLiteral("%1/contact_sheet.png").arg(m_tOptions.m_qstrOut)) ||
        !qLayout.open(QIODevice::WriteOnly | QIODevice::Truncate) || qLayout.write(qstrLayout.toUtf8()) < 0) {
        std::fprintf(stderr, "fishplayer_demo: cannot write the contact sheet\n");
        return false;
    }
    std::printf("\n[%d/%d] %-12s %d PTZ outlines -> %s (%.1f s)\n", _iStep + 1, m_iSteps,
                qPrintable(_qstrStepName), static_cast<int>(overlay.size()), qPrintable(qstrDir),
                m_qtimerRun.elapsed() / 1000.0);
    return true;
}

int Demo::Run() {
    if (!OpenSource())
        return 1;
    m_qtimerRun.start();
    m_pFish = CLS_FishPlayer::GetInstance();
    if (!m_tEngine.Resolve()) {
        std::fprintf(stderr,
                     "fishplayer_demo: the library did not load an engine with surfaces (\"Korvane.dll\" "
                     "of backends/engine on LD_LIBRARY_PATH?)\n");
        return 1;
    }
    if (!CreatePlayer() || !StartSource())
        return 1;

    // The scripted session: each step steers the views, then the next part of the stream plays.
    // Gestures are given in pixels of the views at scale 1 and scaled with them.
    auto Rect = [this](int _iView) {
        return STRUCT_FishWindowRect{m_vecViews[_iView].m_iWidth, m_vecViews[_iView].m_iHeight};
    };
    auto Pt = [this](int _iX, int _iY, int _iZ = 0) { return STRUCT_CtlParam{Px(_iX), Px(_iY), _iZ}; };
    const struct Step {
        const char* m_pcName;
        std::function<void()> m_fnApply;
    } aSteps[] = {
        {"start", [] {}},
        {"ptz-commands",
         [&] {
             m_pFish->FishPlayer_PTZCtl(m_iId, 0, {1200, 0, 0}, n_PTZCtlCmd_Left);
             m_pFish->FishPlayer_PTZCtl(m_iId, 1, {1200, 0, 0}, n_PTZCtlCmd_Right);
             m_pFish->FishPlayer_PTZCtl(m_iId, 2, {0, 1200, 0}, n_PTZCtlCmd_Up);
             m_pFish->FishPlayer_PTZCtl(m_iId, 3, {800, 800, 0}, n_PTZCtlCmd_RightDown);
         }},
        {"drags",
         [&] {
             // Mouse drags: inside PTZ view 0, of PTZ view 1's outline on the fisheye view, and
             // along both panoramas.
             m_pFish->FishPlayer_PTZWindowCtl(m_iId, 0, Pt(-80, 40), n_CtlCmd_Move, Rect(VIEW_PTZ0));
             m_pFish->FishPlayer_DrawWindowCtl(m_iId, 1, {Px(300), Px(240), Px(340), Px(180)}, n_CtlCmd_Move,
                                               Rect(VIEW_FISHEYE));
             m_pFish->FishPlayer_CorrectWindowCtl(m_iId, CORRECT_TYPE_360, Pt(256, 0), n_CtlCmd_Move,
                                                  Rect(VIEW_360));
             m_pFish->FishPlayer_CorrectWindowCtl(m_iId, CORRECT_TYPE_180, Pt(-60, 0), n_CtlCmd_Move,
                                                  Rect(VIEW_180));
         }},
        {"zooms",
         [&] {
             // Wheel zooms in PTZ views 2 and 3, and zoom commands on PTZ view 0.
             m_pFish->FishPlayer_PTZWindowCtl(m_iId, 2, Pt(200, 150, 120), n_CtlCmd_Zoom,
                                              Rect(VIEW_PTZ0 + 2));
             m_pFish->FishPlayer_PTZWindowCtl(m_iId, 3, Pt(200, 150, -120), n_CtlCmd_Zoom,
                                              Rect(VIEW_PTZ0 + 3));
             m_pFish->FishPlayer_PTZCtl(m_iId, 0, {0, 0, 4000}, n_PTZCtlCmd_ZoomDec);
         }},
        {"diagonals",
         [&] {
             m_pFish->FishPlayer_PTZCtl(m_iId, 0, {600, 600, 0}, n_PTZCtlCmd_LeftUp);
             m_pFish->FishPlayer_PTZCtl(m_iId, 1, {600, 600, 0}, n_PTZCtlCmd_RightUp);
             m_pFish->FishPlayer_PTZCtl(m_iId, 2, {600, 600, 0}, n_PTZCtlCmd_LeftDown);
             m_pFish->FishPlayer_PTZCtl(m_iId, 3, {0, 0, 3000}, n_PTZCtlCmd_ZoomInc);
         }},
    };
    m_iSteps = static_cast<int>(sizeof(aSteps) / sizeof(aSteps[0]));
    // Each step plays an equal share of a file's pictures, or a few seconds of a live stream.
    const long long llFrames = m_tInfo.m_blLive ? 0 : m_tInfo.m_llFrames;
    for (int iStep = 0; iStep < m_iSteps; ++iStep) {
        if (iStep == 1 && !WaitForArea())
            std::printf(
                "fishplayer_demo: the fisheye area has not arrived yet; the views use the whole picture\n");
        aSteps[iStep].m_fnApply();
        for (View& tView : m_vecViews)
            if (tView.m_blEngineRendered)
                tView.m_iRenderedAtStep = RenderedCount(tView);
        // A file's feeding stops at the step's share, so that each step shows its own pictures.
        const long long llShare = llFrames * (iStep + 1) / m_iSteps;
        m_pSource->HoldAt(llFrames > 0 && iStep + 1 < m_iSteps ? llShare : -1);
        if (!Play(iStep, llShare))
            return 1;
        Settle();
        if (!Snapshot(iStep, QString::fromLatin1(aSteps[iStep].m_pcName)))
            return 1;
    }
    const fishsource::LatencySummary tLatency = m_pSource->Latency().Summary();
    m_pSource->Stop();
    std::printf("latency from packet arrival to picture shown: median %.1f ms, 95th percentile %.1f ms "
                "(%d pictures)\n",
                tLatency.m_dMedianMs, tLatency.m_dP95Ms, tLatency.m_iSamples);
    std::printf("views drawn by the %s renderer\n", m_tEngine.RendererName());
    int iOverlays = 0;
    LatestOverlay(&iOverlays);
    std::printf("%d overlays received\n", iOverlays);
    std::printf("pictures: %s/NN_<step>/<view>.png\ncontact sheet: %s/contact_sheet.png\n",
                qPrintable(QFileInfo(m_tOptions.m_qstrOut).absoluteFilePath()),
                qPrintable(QFileInfo(m_tOptions.m_qstrOut).absoluteFilePath()));
    return 0;
}

} // namespace

int main(int _iArgc, char** _ppcArgv) {
    // Progress lines reach a pipe (a CI log, a test) as they are written.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Options tOptions;
    const int iExit =
        cmdline::ExitWithoutRunning(ParseOptions(cmdline::Arguments(_iArgc, _ppcArgv), tOptions), Usage);
    if (iExit >= 0)
        return iExit;
    Demo tDemo(tOptions);
    return tDemo.Run();
}
