// fishviewer: a fisheye video viewer on CLS_FishPlayer. The engine renders the panoramas, the LAT
// and the PTZ views straight into native windows of a grid; the source and the whole-fisheye
// views are painted from the main window's picture (an off-screen surface of the open engine),
// with the PTZ views' outlines drawn over the fisheye.
//
//   fishviewer [INPUT...] [--mount N] [--views LIST] [--size WxH] [--transport tcp|udp] [--renderer R]
//              [--self-test DIR]
//
// INPUT is any file or URL the source component opens (rtsp://, http://, udp://, MP4, MKV, TS, raw
// H.264/H.265/MJPEG); File > Open file and File > Open URL choose another. Files play in a loop.
// Up to four inputs play at once, each a camera with its own player, views, menus, status bar
// and settings, in a grid of cameras in one window (--mount and --views apply to each).
// The status bar shows the source, its codec and picture size, which renderer draws the engine's
// views (GL or CPU, --renderer), the latency from a packet's arrival to its picture shown, and
// reconnections; a source that fails shows its message in place of the views.
// LIST is a comma-separated choice of source, fisheye, 360, 180, lat and ptzN (N PTZ views), for
// example "fisheye,360,ptz4". Mouse: drag in a PTZ view moves it, the wheel zooms it, the arrow
// keys and +/- send PTZ commands to it; drag an outline on the fisheye view; drag a panorama to
// turn it. --self-test plays for a while, drags and zooms PTZ view 0 with mouse events, writes
#include "CommandLine.h"
#include "Overlay.h"
#include "Viewer.h"
#include "ViewerOptions.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QMouseEvent>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QWheelEvent>

#include <cstdio>
#include <vector>

using namespace fishviewer;

namespace {

// Qt's log, the library's lines included (the library writes one each overlay pass while no PTZ
// view exists): on standard error with --verbose; otherwise only what ends the program.
bool g_blVerbose = false;

void OnQtMessage(QtMsgType _eType, const QMessageLogContext&, const QString& _qstrMessage) {
    if (g_blVerbose || _eType == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(_qstrMessage));
}

void SelfTest(Viewer* _pViewer, const QString& _qstrDir) {
    QDir().mkpath(_qstrDir);
    auto Shot = [_pViewer, _qstrDir](const char* _pcName) {
        ScreenOf(*_pViewer->centralWidget())
            .save(QStringLiteral("%1/%2.png").arg(_qstrDir, QLatin1String(_pcName)));
        const QPointF qptCentre = OutlineCentre(_pViewer->Overlay(), 0);
        std::printf("%s: outline of ptz0 at %.4f %.4f\n", _pcName, qptCentre.x(), qptCentre.y());
        std::printf("%s: status %s\n", _pcName, qPrintable(_pViewer->statusBar()->currentMessage()));
    };
    QTimer::singleShot(2500, _pViewer, [=] {
        Shot("before");
        // Where each view lies in the screenshots.
        QFile qLayout(_qstrDir + QStringLiteral("/layout.txt"));
        if (qLayout.open(QIODevice::WriteOnly)) {
            for (const char* pcName : {"fisheye", "ptz0", "ptz1"})
                if (ViewWidget* pView = _pViewer->View(QString::fromLatin1(pcName))) {
                    const QPoint qpt = pView->mapTo(_pViewer->centralWidget(), QPoint(0, 0));
                    qLayout.write(QStringLiteral("%1 %2 %3 %4 %5\n")
                                      .arg(QLatin1String(pcName))
                                      .arg(qpt.x())
                                      .arg(qpt.y())
                                      .arg(pView->width())
                                      .arg(pView->height())
                                      .toUtf8());
                }
        }
        ViewWidget* pPtz = _pViewer->View(QStringLiteral("ptz0"));
        if (!pPtz)
            return QApplication::exit(1);
        const QPoint qptStart(pPtz->width() / 2, pPtz->height() / 2);
        // Global positions given explicitly: the constructors without them are deprecated in Qt 6.
        const auto Global = [pPtz](const QPoint& _qpt) { return QPointF(pPtz->mapToGlobal(_qpt)); };
        QMouseEvent qPress(QEvent::MouseButtonPress, QPointF(qptStart), Global(qptStart), Qt::LeftButton,
                           Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(pPtz, &qPress);
        for (int i = 1; i <= 10; ++i) {
            const QPoint qptDrag = qptStart + QPoint(-8 * i, 4 * i);
            QMouseEvent qDrag(QEvent::MouseMove, QPointF(qptDrag), Global(qptDrag), Qt::NoButton,
                              Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(pPtz, &qDrag);
        }
        const QPoint qptEnd = qptStart + QPoint(-80, 40);
        QMouseEvent qRelease(QEvent::MouseButtonRelease, QPointF(qptEnd), Global(qptEnd), Qt::LeftButton,
                             Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(pPtz, &qRelease);
        QWheelEvent qWheel(QPointF(qptStart), QPointF(pPtz->mapToGlobal(qptStart)), QPoint(), QPoint(0, 240),
                           Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(pPtz, &qWheel);
        QTimer::singleShot(1500, _pViewer, [=] {
            Shot("after");
            QApplication::exit(0);
        });
    });
}

// Several cameras: a grid of them in one window, each a viewer of its own. --self-test plays a
// while, writes a PNG of each camera's first view (cameraN.png), its status line and a PNG of the
// whole screen (all.png), and quits.
int RunCameras(const Options& _tOptions) {
    QWidget qwidgetGrid;
    auto* pLayout = new QGridLayout(&qwidgetGrid);
    const int iCount = static_cast<int>(_tOptions.m_qlistInputs.size());
    const int iColumns = iCount <= 2 ? iCount : 2;
    qwidgetGrid.setWindowTitle(QStringLiteral("fishviewer - %1 cameras").arg(iCount));
    qwidgetGrid.resize(QGuiApplication::primaryScreen()->availableSize() * 0.9);
    std::vector<Viewer*> vecViewers;
    for (int i = 0; i < iCount; ++i) {
        vecViewers.push_back(
            new Viewer(CameraOptions(_tOptions, _tOptions.m_qlistInputs[i]), i, &qwidgetGrid));
        pLayout->addWidget(vecViewers.back(), i / iColumns, i % iColumns);
    }
    qwidgetGrid.show();
    QApplication::processEvents(); // each camera's cell has its size before its views are made
    for (Viewer* pViewer : vecViewers)
        if (!pViewer->Start())
            return 1;
    if (!_tOptions.m_qstrSelfTest.isEmpty()) {
        QTimer::singleShot(3000, &qwidgetGrid, [&] {
            QDir().mkpath(_tOptions.m_qstrSelfTest);
            for (int i = 0; i < iCount; ++i) {
                Viewer* pViewer = vecViewers[static_cast<size_t>(i)];
                QWidget* pView = pViewer->View(pViewer->Views().value(0));
                ScreenOf(pView ? *pView : *pViewer->centralWidget())
                    .save(QStringLiteral("%1/camera%2.png").arg(_tOptions.m_qstrSelfTest).arg(i));
                std::printf("camera %d: status %s\n", i, qPrintable(pViewer->statusBar()->currentMessage()));
            }
            QGuiApplication::primaryScreen()->grabWindow(0).save(_tOptions.m_qstrSelfTest +
                                                                 QStringLiteral("/all.png"));
            QApplication::exit(0);
        });
    }
    return QApplication::exec();
}

} // namespace

int main(int _iArgc, char** _ppcArgv) {
    // Parsed before the application exists: --help and a refusal need no display.
    Options tOptions;
    const int iExit =
        cmdline::ExitWithoutRunning(ParseOptions(cmdline::Arguments(_iArgc, _ppcArgv), tOptions), Usage);
    if (iExit >= 0)
        return iExit;
    g_blVerbose = tOptions.m_blVerbose;
    qInstallMessageHandler(OnQtMessage);
    QApplication qapp(_iArgc, _ppcArgv);
    QCoreApplication::setOrganizationName(QStringLiteral("fishplayer"));
    QCoreApplication::setApplicationName(QStringLiteral("fishviewer"));
    if (tOptions.m_qlistInputs.size() > 1)
        return RunCameras(tOptions);
    tOptions = CameraOptions(tOptions, tOptions.m_qlistInputs.value(0, tOptions.m_qstrVideo));
    Viewer tViewer(tOptions, 0);
    if (!tViewer.Start())
        return 1;
    if (!tOptions.m_qstrSelfTest.isEmpty()) {
        QDir().mkpath(tOptions.m_qstrSelfTest);
        const auto Shot = [&tViewer, &tOptions](const QString& _qstrName) {
            ScreenOf(*tViewer.centralWidget())
                .save(QStringLiteral("%1/%2.png").arg(tOptions.m_qstrSelfTest, _qstrName));
        };
        // A moment into a slow opening, the window answers and says what it opens.
        QTimer::singleShot(1000, &tViewer, [&tViewer, Shot] {
            if (!tViewer.Opening())
                return;
            Shot(QStringLiteral("opening"));
            std::printf("opening: status %s\n", qPrintable(tViewer.statusBar()->currentMessage()));
            std::fflush(stdout);
        });
        // A source that failed is shown in the window: a screenshot of it, and the end.
        tViewer.OnSettled([&tViewer, &tOptions, Shot](bool _blShown) {
            if (_blShown)
                return SelfTest(&tViewer, tOptions.m_qstrSelfTest);
            QTimer::singleShot(1000, &tViewer, [Shot] {
                Shot(QStringLiteral("failure"));
                QApplication::exit(1);
            });
        });
    }
    return qapp.exec();
}