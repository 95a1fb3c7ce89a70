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
// screenshots before and after into DIR and quits.
#include "CommandLine.h"
#include "DemoSupport.h"

#include <CLS_FishPlayer.h>
#include <MediaSource.h>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCursor>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QInputDialog>
#include <QLabel>
#include <QImage>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

namespace {

using Outlines = std::vector<std::vector<std::vector<STRUCT_DrawPoint>>>;

// Cameras shown at once. The overlay callback does not say which player it comes from, so each
// camera slot registers a function of its own (OnOverlay<SLOT>); more cameras would also make
// their grids too small to use.
constexpr int MAX_CAMERAS = 4;
std::mutex g_mutexOverlay;
Outlines g_aOverlay[MAX_CAMERAS];

// Runs on the library's draw thread of camera SLOT: keeps a deep copy of the latest outlines.
template <int SLOT> int OnOverlay(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _overlay) {
    Outlines overlay;
    for (const auto& view : _overlay) {
        overlay.emplace_back();
        for (const auto& polyline : view)
            overlay.back().emplace_back(polyline.cbegin(), polyline.cend());
    }
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    g_aOverlay[SLOT].swap(overlay);
    return 0;
}

const PF_FishDrawCallback OVERLAY_CALLBACKS[MAX_CAMERAS] = {OnOverlay<0>, OnOverlay<1>, OnOverlay<2>,
                                                            OnOverlay<3>};

Outlines LatestOverlay(int _iSlot) {
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    return g_aOverlay[_iSlot];
}

// After a player is deleted: its outlines are no one's.
void ClearOverlay(int _iSlot) {
    std::lock_guard<std::mutex> lock(g_mutexOverlay);
    g_aOverlay[_iSlot].clear();
}

// Centre of a PTZ view's outline, 0 to 1 of the fisheye; (-1, -1) when it has none.
QPointF OutlineCentre(const Outlines& _overlay, int _iPtz) {
    double dX = 0, dY = 0;
    int iCount = 0;
    if (_iPtz < static_cast<int>(_overlay.size()))
        for (const auto& polyline : _overlay[_iPtz])
            for (const STRUCT_DrawPoint& tPoint : polyline) {
                dX += tPoint.m_fX;
                dY += tPoint.m_fY;
                ++iCount;
            }
    return iCount ? QPointF(dX / iCount, dY / iCount) : QPointF(-1, -1);
}

// Qt's log, the library's lines included (the library writes one each overlay pass while no PTZ
// view exists): on standard error with --verbose; otherwise only what ends the program.
bool g_blVerbose = false;

void OnQtMessage(QtMsgType _eType, const QMessageLogContext&, const QString& _qstrMessage) {
    if (g_blVerbose || _eType == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(_qstrMessage));
}

constexpr int MAX_PTZ_VIEWS = 4;
const QColor PTZ_COLORS[] = {QColor(255, 64, 64), QColor(64, 220, 64), QColor(80, 140, 255),
                             QColor(255, 210, 40)};

struct Options {
    QString m_qstrVideo = QStringLiteral("build/samples/fisheye_1920.h264");
    QStringList m_qlistInputs; // the inputs given, one camera each
    int m_iMount = cmdline::MOUNT_CEILING;
    QStringList m_qlistViews = {QStringLiteral("source"), QStringLiteral("fisheye"), QStringLiteral("360"),
                                QStringLiteral("180"),    QStringLiteral("lat"),     QStringLiteral("ptz4")};
    int m_iWidth = 0; // --size: the stream header's size instead of the stream's own
    int m_iHeight = 0;
    fishsource::RtspTransport m_eTransport = fishsource::RtspTransport::Tcp;
    QString m_qstrSelfTest;
    bool m_blVerbose = false;    // Qt's log (the library's lines included) on standard error
    bool m_blMountGiven = false; // otherwise the camera's last mounting and views
    bool m_blViewsGiven = false;
};

// The library's PTZ zoom values: where a view starts, and the range it keeps them in.
constexpr int ZOOM_START = 10000;
constexpr int ZOOM_LOWEST = 550;
constexpr int ZOOM_HIGHEST = 15000;
// The step of the arrow keys and +/- (the library's units: a ten-thousandth of the fisheye for a
// flat move, of a half turn about the centre for ceiling and floor; zoom value units).
constexpr int PTZ_STEP = 300;
// Putting a PTZ view at a place: rounds of drags, the outlines' wait, near enough (of the fisheye).
constexpr int STEER_ROUNDS = 12;
constexpr double STEER_SHARE = 0.9;
constexpr int STEER_WAIT_MS = 150;
constexpr double STEER_CLOSE = 0.002;

class Viewer;

// One view in the grid. Engine views are native windows that the engine paints; the source and
// fisheye views are painted here from the main picture.
class ViewWidget : public QWidget {
public:
    ViewWidget(Viewer* _pViewer, QString _qstrName, int _iType, int _iPtzIndex)
        : m_qstrName(std::move(_qstrName)), m_iType(_iType), m_iPtzIndex(_iPtzIndex), m_pViewer(_pViewer) {
        setMinimumSize(160, 120);
        setFocusPolicy(Qt::StrongFocus);
        setObjectName(m_qstrName);
        if (IsEngineView()) {
            setAttribute(Qt::WA_NativeWindow);
            setAttribute(Qt::WA_PaintOnScreen);
            setAttribute(Qt::WA_NoSystemBackground);
            setAttribute(Qt::WA_OpaquePaintEvent);
        }
    }
    bool IsEngineView() const { return m_iType != 0 && m_iType != CORRECT_TYPE_FISHEYE; }
    QPaintEngine* paintEngine() const override { return IsEngineView() ? nullptr : QWidget::paintEngine(); }
    void* Window() { return reinterpret_cast<void*>(static_cast<quintptr>(winId())); }

    QString m_qstrName;
    int m_iType;
    int m_iPtzIndex;

protected:
    bool event(QEvent* _pEvent) override {
        if (_pEvent->type() == QEvent::Enter) // the keys go to the view under the mouse
            setFocus(Qt::MouseFocusReason);
        return QWidget::event(_pEvent);
    }
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* _pEvent) override;
    void mouseMoveEvent(QMouseEvent* _pEvent) override;
    void wheelEvent(QWheelEvent* _pEvent) override;
    void keyPressEvent(QKeyEvent* _pEvent) override;

private:
    Viewer* m_pViewer;
    QPoint m_qptLast;
    int m_iDraggedPtz = -1;
};

constexpr int GRID_COLUMNS = 4;

// A view with its name above it, kept at its aspect ratio (centred, black around it) when it has
// one.
class LabelledView : public QWidget {
public:
    LabelledView(ViewWidget* _pView, double _dAspect) : m_pView(_pView), m_dAspect(_dAspect) {
        m_pLabel = new QLabel(this);
        m_pLabel->setObjectName(_pView->m_qstrName + QStringLiteral("-label"));
        m_pLabel->setText(_pView->m_iPtzIndex < 0
                              ? Caption(*_pView).toHtmlEscaped()
                              // a square of its outline's colour on the fisheye view
                              : QStringLiteral("<span style=\"color:%1\">&#9632;</span> %2")
                                    .arg(PTZ_COLORS[_pView->m_iPtzIndex % MAX_PTZ_VIEWS].name(),
                                         Caption(*_pView).toHtmlEscaped()));
        _pView->setParent(this);
        setMinimumSize(_pView->minimumSize() + QSize(0, m_pLabel->sizeHint().height()));
    }

    static QString Caption(const ViewWidget& _tView) {
        switch (_tView.m_iType) {
        case 0:
            return QStringLiteral("source");
        case CORRECT_TYPE_FISHEYE:
            return QStringLiteral("fisheye (drag an outline)");
        case CORRECT_TYPE_360:
            return QStringLiteral("360 panorama (drag to turn)");
        case CORRECT_TYPE_180:
            return QStringLiteral("180 panorama (drag to turn)");
        case CORRECT_TYPE_LAT:
            return QStringLiteral("LAT");
        default:
            return QStringLiteral("PTZ %1 (drag, wheel, arrows, +/-)").arg(_tView.m_iPtzIndex + 1);
        }
    }

protected:
    void resizeEvent(QResizeEvent*) override {
        const int iLabel = m_pLabel->sizeHint().height();
        m_pLabel->setGeometry(0, 0, width(), iLabel);
        QRect qrect(0, iLabel, width(), height() - iLabel);
        if (m_dAspect > 0) {
            const int iW = std::min(qrect.width(), static_cast<int>(qrect.height() * m_dAspect));
            const int iH = std::min(qrect.height(), static_cast<int>(iW / m_dAspect));
            qrect =
                QRect(qrect.x() + (qrect.width() - iW) / 2, qrect.y() + (qrect.height() - iH) / 2, iW, iH);
        }
        m_pView->setGeometry(qrect);
    }

private:
    ViewWidget* m_pView;
    QLabel* m_pLabel;
    double m_dAspect;
};

class Viewer : public QMainWindow {
public:
    // Camera _iSlot (0 to MAX_CAMERAS - 1); a window of its own, or a cell of _pParent's grid.
    Viewer(const Options& _tOptions, int _iSlot, QWidget* _pParent = nullptr)
        : QMainWindow(_pParent), m_tOptions(_tOptions), m_iSlot(_iSlot) {
        s_vecViewers.push_back(this);
        if (_pParent) // a main window is a window of its own unless told otherwise
            setWindowFlags(Qt::Widget);
        QMenu* pFile = menuBar()->addMenu(QStringLiteral("&File"));
        connect(pFile->addAction(QStringLiteral("Open &file...")), &QAction::triggered, this, [this] {
            const QString qstrFile = QFileDialog::getOpenFileName(
                this, QStringLiteral("Open a fisheye video file"), QFileInfo(m_tOptions.m_qstrVideo).path(),
                QStringLiteral(
                    "Video (*.mp4 *.mkv *.mov *.ts *.h264 *.264 *.h265 *.265 *.hevc *.mjpeg *.mjpg);;"
                    "All files (*)"));
            if (!qstrFile.isEmpty())
                OpenInput(qstrFile);
        });
        connect(pFile->addAction(QStringLiteral("Open &URL...")), &QAction::triggered, this, [this] {
            bool blOk = false;
            const QString qstrUrl = QInputDialog::getText(
                this, QStringLiteral("Open a camera stream"),
                QStringLiteral("URL (rtsp://, rtsps://, http://, https://, udp://, rtp://):"),
                QLineEdit::Normal, m_tOptions.m_qstrVideo, &blOk);
            if (blOk && !qstrUrl.trimmed().isEmpty())
                OpenInput(qstrUrl.trimmed());
        });
        connect(pFile->addAction(QStringLiteral("&Snapshot of every view (Shift+S)")), &QAction::triggered,
                this, [this] { Snapshot(nullptr, QStringLiteral("all")); });
        pFile->addSeparator();
        QAction* pQuit = pFile->addAction(QStringLiteral("&Quit"));
        pQuit->setShortcut(QKeySequence::Quit);
        connect(pQuit, &QAction::triggered, this, [this] { window()->close(); });
        QMenu* pView = menuBar()->addMenu(QStringLiteral("&View"));
        QMenu* pMount = pView->addMenu(QStringLiteral("&Mounting"));
        auto* pGroup = new QActionGroup(this);
        const char* apcMounts[] = {"&Wall", "&Ceiling", "&Floor"};
        const char* apcKeys[] = {"Ctrl+Shift+W", "Ctrl+Shift+C", "Ctrl+Shift+F"};
        for (int iMount = 1; iMount <= 3; ++iMount) {
            QAction* pAction = pMount->addAction(QString::fromLatin1(apcMounts[iMount - 1]));
            pAction->setShortcut(QKeySequence(QString::fromLatin1(apcKeys[iMount - 1])));
            m_vecMountActions.push_back(pAction);
            pAction->setCheckable(true);
            pAction->setChecked(iMount == m_tOptions.m_iMount);
            pGroup->addAction(pAction);
            connect(pAction, &QAction::triggered, this, [this, iMount] {
                m_tOptions.m_iMount = iMount;
                StoreLayout();
                Open();
            });
        }
        QMenu* pViews = pView->addMenu(QStringLiteral("&Views"));
        for (const char* pcView : {"source", "fisheye", "360", "180", "lat", "ptz1", "ptz4"}) {
            QAction* pAction = pViews->addAction(QString::fromLatin1(pcView));
            pAction->setCheckable(true);
            pAction->setChecked(m_tOptions.m_qlistViews.contains(QString::fromLatin1(pcView)));
            connect(pAction, &QAction::toggled, this, [this, pcView](bool _blOn) {
                const QString qstrView = QString::fromLatin1(pcView);
                QStringList& qlistViews = m_tOptions.m_qlistViews;
                // One PTZ choice at a time.
                const bool blPtz = qstrView.startsWith(QLatin1String("ptz"));
                qlistViews.erase(std::remove_if(qlistViews.begin(), qlistViews.end(),
                                                [&](const QString& _qstr) {
                                                    return _qstr == qstrView ||
                                                           (blPtz && _qstr.startsWith(QLatin1String("ptz")));
                                                }),
                                 qlistViews.end());
                if (_blOn)
                    m_tOptions.m_qlistViews.append(qstrView);
                StoreLayout();
                Open();
            });
        }
        QMenu* pHelp = menuBar()->addMenu(QStringLiteral("&Help"));
        connect(pHelp->addAction(QStringLiteral("&Controls")), &QAction::triggered, this, [this] {
            QMessageBox::information(this, QStringLiteral("fishviewer controls"), ControlsText());
        });
        connect(&m_qtimerPaint, &QTimer::timeout, this, &Viewer::RefreshPictures);
        connect(&m_qtimerProbe, &QTimer::timeout, this, &Viewer::Probe);
        // In a grid of cameras, the keys act on the camera that has the keyboard.
        if (_pParent)
            for (QAction* pAction : findChildren<QAction*>())
                pAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    }
    ~Viewer() override {
        Close();
        s_vecViewers.erase(std::find(s_vecViewers.begin(), s_vecViewers.end(), this));
    }

protected:
    void keyPressEvent(QKeyEvent* _pEvent) override {
        // The view under the mouse, or else the focused one.
        auto* pView = dynamic_cast<ViewWidget*>(QApplication::widgetAt(QCursor::pos()));
        if (!pView)
            pView = dynamic_cast<ViewWidget*>(QApplication::focusWidget());
        const int iKey = _pEvent->key();
        const bool blCtrl = _pEvent->modifiers() & Qt::ControlModifier;
        if (iKey == Qt::Key_S)
            return _pEvent->modifiers() & Qt::ShiftModifier
                       ? Snapshot(nullptr, QStringLiteral("all"))
                       : Snapshot(pView, pView ? pView->m_qstrName : QStringLiteral("all"));
        if (iKey == Qt::Key_F)
            return ToggleFullWindow(pView);
        if (iKey == Qt::Key_0 && !blCtrl && pView && pView->m_iPtzIndex >= 0)
            return ResetPtz(pView->m_iPtzIndex);
        // The mountings' keys, also when a view's native window has the keyboard (where the
        // window's shortcuts do not reach).
        const QKeySequence qkeys(static_cast<int>(_pEvent->modifiers()) | iKey);
        for (QAction* pAction : m_vecMountActions)
            if (pAction->shortcut() == qkeys)
                return pAction->trigger();
        if (iKey >= Qt::Key_1 && iKey <= Qt::Key_9)
            return blCtrl ? StorePreset(iKey - Qt::Key_0) : RecallPreset(iKey - Qt::Key_0);
        QMainWindow::keyPressEvent(_pEvent);
    }

public:
    // False when no engine with surfaces was loaded; a source that fails is shown, not fatal.
    bool Start() {
        m_pFish = CLS_FishPlayer::GetInstance();
        if (!m_tEngine.Resolve()) {
            std::fprintf(stderr, "fishviewer: no engine with surfaces was loaded (LD_LIBRARY_PATH?)\n");
            return false;
        }
        return Open();
    }

    void OpenInput(const QString& _qstrInput) {
        m_tOptions.m_qstrVideo = _qstrInput;
        m_tOptions.m_iWidth = m_tOptions.m_iHeight = 0;
        Open();
    }

    // The message of a source that failed, "" while it plays.
    const QString& Failure() const { return m_qstrFailure; }

    // (Re)creates the source, the grid and the player for the current input, mount and view set.
    // False when the source failed; its message then stands in place of the views.
    bool Open() {
        // The same input again (another mounting or layout): the PTZ views keep their places.
        const std::vector<PtzPlace> vecPlaces =
            m_qstrOpened == m_tOptions.m_qstrVideo ? PtzPlaces() : std::vector<PtzPlace>();
        Close();
        m_vecZoom.clear();
        m_vecHome.clear();
        m_qtimeRates.invalidate();
        m_llLastDecoded = m_llDropped = 0;
        m_iShownInSecond = 0;
        m_qstrOpened = m_tOptions.m_qstrVideo;
        setWindowTitle(QStringLiteral("fishviewer - %1").arg(m_tOptions.m_qstrVideo));
        m_pSource.reset(new fishsource::MediaSource(SourceOptions()));
        statusBar()->showMessage(QStringLiteral("opening %1").arg(m_tOptions.m_qstrVideo));
        QApplication::processEvents();
        const std::string strError = m_pSource->Open();
        if (!strError.empty())
            return Fail(QString::fromStdString(strError));
        m_tInfo = m_pSource->Info();
        m_iHeaderWidth = m_tOptions.m_iWidth >= 16 ? m_tOptions.m_iWidth : m_tInfo.m_iWidth;
        m_iHeaderHeight = m_tOptions.m_iHeight >= 16 ? m_tOptions.m_iHeight : m_tInfo.m_iHeight;
        if (m_iHeaderWidth < 16 || m_iHeaderHeight < 16)
            return Fail(QStringLiteral("%1 does not say its picture size: give --size WxH")
                            .arg(m_tOptions.m_qstrVideo));
        auto* pGrid = new QWidget(this);
        auto* pLayout = new QGridLayout(pGrid);
        pLayout->setSpacing(4);
        // Rows of GRID_COLUMNS units (a panorama takes two); the last view of a row takes what is
        // left of it, so that a view left out leaves no hole.
        struct Cell {
            ViewWidget* m_pView;
            int m_iSpan;
        };
        std::vector<std::vector<Cell>> vecRows(1);
        int iUsed = 0;
        auto Add = [&](const QString& _qstrName, int _iType, int _iPtz, int _iSpan) {
            if (iUsed + _iSpan > GRID_COLUMNS) {
                vecRows.emplace_back();
                iUsed = 0;
            }
            auto* pView = new ViewWidget(this, _qstrName, _iType, _iPtz);
            vecRows.back().push_back({pView, _iSpan});
            iUsed += _iSpan;
            m_vecViews.push_back(pView);
        };
        for (const QString& qstrView : m_tOptions.m_qlistViews) {
            if (qstrView == QLatin1String("source"))
                Add(qstrView, 0, -1, 1);
            else if (qstrView == QLatin1String("fisheye"))
                Add(qstrView, CORRECT_TYPE_FISHEYE, -1, 1);
            else if (qstrView == QLatin1String("360"))
                Add(qstrView, CORRECT_TYPE_360, -1, 2);
            else if (qstrView == QLatin1String("180"))
                Add(qstrView, CORRECT_TYPE_180, -1, 2);
            else if (qstrView == QLatin1String("lat"))
                Add(qstrView, CORRECT_TYPE_LAT, -1, 2);
        }
        iUsed = GRID_COLUMNS; // the PTZ views start a row of their own
        for (const QString& qstrView : m_tOptions.m_qlistViews)
            if (qstrView.startsWith(QLatin1String("ptz")))
                for (int i = 0; i < qstrView.mid(3).toInt(); ++i)
                    Add(QStringLiteral("ptz%1").arg(i), CORRECT_TYPE_PTZ, i, 1);
        int iRow = 0;
        for (const std::vector<Cell>& vecRow : vecRows) {
            int iColumn = 0;
            for (size_t i = 0; i < vecRow.size(); ++i) {
                const int iSpan = i + 1 == vecRow.size() ? GRID_COLUMNS - iColumn : vecRow[i].m_iSpan;
                pLayout->addWidget(new LabelledView(vecRow[i].m_pView, AspectOf(*vecRow[i].m_pView)), iRow,
                                   iColumn, 1, iSpan);
                iColumn += iSpan;
            }
            iRow += vecRow.empty() ? 0 : 1;
        }
        setCentralWidget(pGrid);
        if (!isVisible())
            resize(1024, 720); // the first time only: later layouts keep the window's size
        show();
        QApplication::processEvents(); // the native windows exist at their final size

        m_hMain = m_tEngine.m_pfCreateSurface(MainWidth(), MainHeight());
        QMap<int, QVector<void*>> qmapWindows;
        for (ViewWidget* pView : m_vecViews)
            qmapWindows[pView->m_iType].append(pView->IsEngineView() ? pView->Window() : m_hMain);
        m_pFish->SetPlayIndex(NextPlayId());
        std::array<std::uint8_t, 12> acHeader = fishsource::StreamHeader(m_iHeaderWidth, m_iHeaderHeight);
        QMap<int, QVector<int>> qmapIds;
        const int iRet = m_pFish->FishPlayer_CreatePlayerFromStream(
            {m_tOptions.m_iMount, 0, 0}, m_hMain, qmapWindows, 0, acHeader.data(),
            static_cast<int>(acHeader.size()), &m_iId, qmapIds, false, osd_TLDCSet{}, {1, n_DrawType_Fec});
        if (iRet != 0) {
            m_iId = -1;
            return Fail(QStringLiteral("creating the player failed: %1").arg(iRet));
        }
        m_pFish->FishPlayer_RegisterDrawCallback(m_iId, OVERLAY_CALLBACKS[m_iSlot]);
        if (!StartSource())
            return Fail(QStringLiteral("the source of %1 did not start").arg(m_tOptions.m_qstrVideo));
        m_qtimerPaint.start(40);
        m_qtimerProbe.start(5);
        RestorePlaces(vecPlaces);
        return true;
    }

    void Close() {
        // The source's thread feeds the player: it stops first.
        if (m_pSource)
            m_pSource->Stop();
        m_qtimerProbe.stop();
        m_qtimerPaint.stop();
        if (m_iId >= 0)
            m_pFish->FishPlayer_DeleteAllPlayer(m_iId);
        m_iId = -1;
        ClearOverlay(m_iSlot);
        if (m_hMain)
            m_tEngine.m_pfDestroySurface(m_hMain);
        m_hMain = nullptr;
        m_vecViews.clear();
        m_qimgMain = QImage();
        m_qstrFailure.clear();
        delete takeCentralWidget();
    }

    // PTZ commands, zoom and moves of PTZ view _iPtz, keeping its zoom value as the library does
    // (550 to 15000, a wheel step lowering it by five, a zoom command by its step).
    void PtzCommand(int _iPtz, n_PTZCtlCmd _eCmd) {
        if (_eCmd == n_PTZCtlCmd_ZoomDec || _eCmd == n_PTZCtlCmd_ZoomInc)
            SetZoomValue(_iPtz, Zoom(_iPtz) + (_eCmd == n_PTZCtlCmd_ZoomInc ? PTZ_STEP : -PTZ_STEP));
        m_pFish->FishPlayer_PTZCtl(m_iId, _iPtz, {PTZ_STEP, PTZ_STEP, PTZ_STEP}, _eCmd);
    }
    void Wheel(int _iPtz, int _iSteps, const STRUCT_FishWindowRect& _tRect) {
        SetZoomValue(_iPtz, Zoom(_iPtz) - 5 * _iSteps);
        m_pFish->FishPlayer_PTZWindowCtl(m_iId, _iPtz, {0, 0, _iSteps}, n_CtlCmd_Zoom, _tRect);
    }
    int Zoom(int _iPtz) const {
        return _iPtz < static_cast<int>(m_vecZoom.size()) ? m_vecZoom[_iPtz] : ZOOM_START;
    }
    // Moves PTZ view _iPtz so that its outline's centre goes to _qpt (0 to 1 of the fisheye) and
    // its zoom value to _iZoom, with the library's calls: a zoom command, then drags of its outline
    // from where it is to there, a few rounds as the outlines come (a drag about the centre of a
    // ceiling or floor picture turns the view rather than sliding it, so one drag comes near only).
    void MovePtzTo(int _iPtz, QPointF _qpt, int _iZoom) {
        const int iDelta = std::clamp(_iZoom, ZOOM_LOWEST, ZOOM_HIGHEST) - Zoom(_iPtz);
        if (iDelta != 0)
            m_pFish->FishPlayer_PTZCtl(m_iId, _iPtz, {0, 0, std::abs(iDelta)},
                                       iDelta > 0 ? n_PTZCtlCmd_ZoomInc : n_PTZCtlCmd_ZoomDec);
        SetZoomValue(_iPtz, Zoom(_iPtz) + iDelta);
        if (_iPtz >= static_cast<int>(m_vecSteering.size()))
            m_vecSteering.resize(_iPtz + 1, 0);
        const int iGeneration = ++m_vecSteering[_iPtz];
        // The outlines of the new zoom first: they move the outline's centre a little.
        QTimer::singleShot(iDelta != 0 ? 3 * STEER_WAIT_MS : 0, this,
                           [=] { SteerPtz(_iPtz, _qpt, STEER_ROUNDS, iGeneration); });
    }
    // The library builds a view's outline from its position before a drag's change is stored, so
    // after a drag the outline shows the place before it: a zoom command of no step (a forced
    // write of the same record) builds it again at the new place.
    void RefreshOutline(int _iPtz) {
        m_pFish->FishPlayer_PTZCtl(m_iId, _iPtz, {0, 0, 0}, n_PTZCtlCmd_ZoomDec);
    }
    // One round toward _qpt: the outline's centre measured, a drag of most of what is left sent.
    // The library drags the view's own centre by the distance given, and the outline's centre
    // follows it closely; the rounds take up the rest (the outline bends near the rim).
    void SteerPtz(int _iPtz, QPointF _qpt, int _iRounds, int _iGeneration) {
        if (_iPtz >= static_cast<int>(m_vecSteering.size()) || m_vecSteering[_iPtz] != _iGeneration)
            return; // a newer move of this view took over
        const QPointF qptNow = OutlineCentre(Overlay(), _iPtz);
        if (m_iId < 0 || qptNow.x() < 0)
            return;
        const QPointF qptDrag = (_qpt - qptNow) * STEER_SHARE;
        if (_iRounds <= 0 || std::hypot(qptDrag.x(), qptDrag.y()) < STEER_CLOSE * STEER_SHARE)
            return Say(QStringLiteral("PTZ %1 at %2 %3, zoom %4")
                           .arg(_iPtz + 1)
                           .arg(qptNow.x(), 0, 'f', 4)
                           .arg(qptNow.y(), 0, 'f', 4)
                           .arg(Zoom(_iPtz)));
        constexpr int SCALE = 10000; // a window of this size: the points to a ten-thousandth
        m_pFish->FishPlayer_DrawWindowCtl(m_iId, _iPtz,
                                          {static_cast<int>(qptNow.x() * SCALE),
                                           static_cast<int>(qptNow.y() * SCALE),
                                           static_cast<int>((qptNow.x() + qptDrag.x()) * SCALE),
                                           static_cast<int>((qptNow.y() + qptDrag.y()) * SCALE)},
                                          n_CtlCmd_Move, {SCALE, SCALE});
        RefreshOutline(_iPtz);
        QTimer::singleShot(STEER_WAIT_MS, this, [=] { SteerPtz(_iPtz, _qpt, _iRounds - 1, _iGeneration); });
    }
    // Where each PTZ view is: its outline's centre and zoom value.
    struct PtzPlace {
        QPointF m_qpt;
        int m_iZoom;
    };
    std::vector<PtzPlace> PtzPlaces() const {
        std::vector<PtzPlace> vecPlaces;
        const Outlines overlay = Overlay();
        for (int i = 0; i < static_cast<int>(overlay.size()); ++i)
            vecPlaces.push_back({OutlineCentre(overlay, i), Zoom(i)});
        return vecPlaces;
    }
    // Puts the PTZ views back where _vecPlaces says, once their first outlines have arrived.
    // The first outlines also give each view's starting place, where 0 puts it back.
    void RestorePlaces(std::vector<PtzPlace> _vecPlaces, int _iTries = 50) {
        if (m_iId < 0)
            return;
        const Outlines overlay = Overlay();
        bool blReady = !overlay.empty() && overlay.size() >= _vecPlaces.size();
        for (size_t i = 0; blReady && i < overlay.size(); ++i)
            blReady = OutlineCentre(overlay, static_cast<int>(i)).x() >= 0;
        if (blReady && m_vecHome.empty())
            m_vecHome = PtzPlaces();
        if (!blReady) {
            if (_iTries > 0)
                QTimer::singleShot(100, this,
                                   [this, _vecPlaces, _iTries] { RestorePlaces(_vecPlaces, _iTries - 1); });
            return;
        }
        for (size_t i = 0; i < _vecPlaces.size(); ++i)
            if (_vecPlaces[i].m_qpt.x() >= 0)
                MovePtzTo(static_cast<int>(i), _vecPlaces[i].m_qpt, _vecPlaces[i].m_iZoom);
    }

    static QString ControlsText() {
        return QStringLiteral(
            "PTZ views: drag to move the picture with the mouse, the wheel up zooms in; arrow keys "
            "move, + zooms in and - out, 0 puts the view back where it started.\n"
            "Fisheye view: drag a PTZ view's outline to move that view.\n"
            "360 and 180 panoramas: drag to turn them.\n"
            "The keys act on the view under the mouse (or the one last clicked).\n"
            "S: a PNG of that view in the working folder; Shift+S: all views.\n"
            "F: that view alone in the window, F again: every view.\n"
            "Ctrl+1...9: store the PTZ views' places as a preset of this camera; 1...9: recall it.\n"
            "Ctrl+Shift+W, C, F: wall, ceiling or floor mounting.\n"
            "Presets, mounting and views are kept per camera in ~/.config/fishplayer/fishviewer.conf.");
    }

    // Key 0: PTZ view _iPtz back where it started.
    void ResetPtz(int _iPtz) {
        if (_iPtz >= 0 && _iPtz < static_cast<int>(m_vecHome.size()))
            MovePtzTo(_iPtz, m_vecHome[_iPtz].m_qpt, ZOOM_START);
    }

    // The camera's settings: QSettings' "fishplayer/fishviewer" (on Linux
    // ~/.config/fishplayer/fishviewer.conf), a group per input.
    static QString SettingsGroup(const QString& _qstrInput) {
        return QStringLiteral("camera-") + QString::fromLatin1(_qstrInput.toUtf8().toPercentEncoding());
    }
    // Ctrl+N: the PTZ views' places as preset N of this camera; N: back to them.
    void StorePreset(int _iPreset) {
        QStringList qlistPlaces;
        for (const PtzPlace& tPlace : PtzPlaces())
            qlistPlaces << QStringLiteral("%1 %2 %3")
                               .arg(tPlace.m_qpt.x(), 0, 'f', 5)
                               .arg(tPlace.m_qpt.y(), 0, 'f', 5)
                               .arg(tPlace.m_iZoom);
        QSettings qsettings;
        qsettings.beginGroup(SettingsGroup(m_tOptions.m_qstrVideo));
        qsettings.setValue(QStringLiteral("preset%1").arg(_iPreset), qlistPlaces);
        Say(QStringLiteral("preset %1 stored: %2").arg(_iPreset).arg(qlistPlaces.join(QStringLiteral(", "))));
    }
    void RecallPreset(int _iPreset) {
        QSettings qsettings;
        qsettings.beginGroup(SettingsGroup(m_tOptions.m_qstrVideo));
        const QStringList qlistPlaces =
            qsettings.value(QStringLiteral("preset%1").arg(_iPreset)).toStringList();
        if (qlistPlaces.isEmpty())
            return Say(QStringLiteral("no preset %1 for this camera (Ctrl+%1 stores one)").arg(_iPreset));
        for (int i = 0; i < qlistPlaces.size(); ++i) {
            const QStringList qlist = qlistPlaces[i].split(QLatin1Char(' '));
            if (qlist.size() == 3)
                MovePtzTo(i, QPointF(qlist[0].toDouble(), qlist[1].toDouble()), qlist[2].toInt());
        }
        Say(QStringLiteral("preset %1 recalled").arg(_iPreset));
    }
    // The mounting and the views of this camera, for the next start.
    void StoreLayout() const {
        QSettings qsettings;
        qsettings.beginGroup(SettingsGroup(m_tOptions.m_qstrVideo));
        qsettings.setValue(QStringLiteral("mount"), m_tOptions.m_iMount);
        qsettings.setValue(QStringLiteral("views"), m_tOptions.m_qlistViews);
    }
    // S: a PNG of _pView (all views with _pView null), in the working folder.
    void Snapshot(QWidget* _pView, const QString& _qstrName) {
        QWidget* pWidget = _pView ? _pView : centralWidget();
        const QPoint qptOrigin = pWidget->mapToGlobal(QPoint(0, 0));
        const QPixmap qpix = QGuiApplication::primaryScreen()->grabWindow(
            0, qptOrigin.x(), qptOrigin.y(), pWidget->width(), pWidget->height());
        const QString qstrPath = QDir::current().absoluteFilePath(
            QStringLiteral("fishviewer-%1-%2.png")
                .arg(_qstrName,
                     QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"))));
        if (qpix.save(qstrPath))
            Say(QStringLiteral("snapshot: %1").arg(qstrPath));
        else
            Say(QStringLiteral("snapshot failed: cannot write %1").arg(qstrPath));
    }
    // F: _pView alone in the window, or every view again.
    void ToggleFullWindow(QWidget* _pView) {
        QWidget* pCell = _pView ? _pView->parentWidget() : nullptr;
        const bool blAlone = pCell && !m_blFullWindow;
        for (ViewWidget* pView : m_vecViews)
            pView->parentWidget()->setVisible(!blAlone || pView->parentWidget() == pCell);
        m_blFullWindow = blAlone;
    }
    // A word on the status bar for a while, and on standard output for scripts.
    void Say(const QString& _qstrMessage) {
        m_qstrSaid = _qstrMessage;
        m_qtimeSaid.start();
        std::printf("%s\n", qPrintable(_qstrMessage));
        std::fflush(stdout);
    }

    // The player's controls, as the widgets use them.
    int Id() const { return m_iId; }
    Outlines Overlay() const { return LatestOverlay(m_iSlot); }
    const QStringList& Views() const { return m_tOptions.m_qlistViews; }
    CLS_FishPlayer* Fish() const { return m_pFish; }
    const QImage& MainPicture() const { return m_qimgMain; }
    QRect FisheyeArea() const { return m_qrectArea; }
    // Written over the last picture of the views the viewer paints while the source is away.
    const QString& Banner() const { return m_qstrBanner; }
    ViewWidget* View(const QString& _qstrName) const {
        for (ViewWidget* pView : m_vecViews)
            if (pView->m_qstrName == _qstrName)
                return pView;
        return nullptr;
    }

private:
    fishsource::SourceOptions SourceOptions() const {
        fishsource::SourceOptions tSourceOptions;
        tSourceOptions.m_tReader.m_strUrl = m_tOptions.m_qstrVideo.toStdString();
        tSourceOptions.m_tReader.m_eTransport = m_tOptions.m_eTransport;
        return tSourceOptions;
    }
    // Width / height a view keeps (0: it fills its cell, the engine renders any shape).
    double AspectOf(const ViewWidget& _tView) const {
        if (_tView.m_iType == 0)
            return static_cast<double>(m_iHeaderWidth) / std::max(1, m_iHeaderHeight);
        return _tView.m_iType == CORRECT_TYPE_FISHEYE ? 1.0 : 0.0;
    }
    int MainWidth() const { return std::max(1, m_iHeaderWidth / 2); }
    int MainHeight() const { return std::max(1, m_iHeaderHeight / 2); }

    // The source's message in place of the views (never black views without a word).
    bool Fail(const QString& _qstrMessage) {
        Close();
        m_qstrFailure = _qstrMessage;
        auto* pLabel = new QLabel(_qstrMessage, this);
        pLabel->setObjectName(QStringLiteral("failure"));
        pLabel->setAlignment(Qt::AlignCenter);
        pLabel->setWordWrap(true);
        pLabel->setMargin(24);
        setCentralWidget(pLabel);
        statusBar()->showMessage(QStringLiteral("failed: %1").arg(_qstrMessage));
        std::fprintf(stderr, "fishviewer: %s\n", qPrintable(_qstrMessage));
        if (!isVisible())
            resize(1024, 720);
        show();
        return false;
    }

    bool StartSource() {
        CLS_FishPlayer* pFish = m_pFish;
        const int iId = m_iId;
        return m_pSource->Start(
            [pFish, iId](const std::uint8_t* _pcData, int _iSize) {
                return fishsource::SinkResultOfPut(
                    pFish->FishPlayer_PutStreamToPlayer(iId, 0, const_cast<unsigned char*>(_pcData), _iSize));
            },
            nullptr, [iId, this] { return m_tEngine.DecodedPictures(iId); });
    }

    // Pictures shown, for the latency; the source's state, on the status bar.
    void Probe() {
        if (!m_pSource || m_iId < 0)
            return;
        m_pSource->Latency().Shown(m_tEngine.DecodedPictures(m_iId), std::chrono::steady_clock::now());
    }

    void ShowStatus() {
        using fishsource::SourceState;
        const fishsource::SourceStatus tStatus = m_pSource->Status();
        if (tStatus.m_eState == SourceState::Failed) {
            Fail(QString::fromStdString(tStatus.m_strMessage));
            return;
        }
        if (tStatus.m_eState == SourceState::Ended && !m_tInfo.m_blLive) {
            // Files play in a loop: the same player, its views and PTZ positions, a new source.
            m_pSource->Stop();
            m_pSource.reset(new fishsource::MediaSource(SourceOptions()));
            const std::string strError = m_pSource->Open();
            if (!strError.empty() || !StartSource())
                Fail(QString::fromStdString(strError));
            return;
        }
        QString qstrState;
        m_qstrBanner.clear();
        if (tStatus.m_eState == SourceState::Reconnecting) {
            qstrState = QStringLiteral("reconnecting (next try in %1 s): %2")
                            .arg(tStatus.m_iRetryInS)
                            .arg(QString::fromStdString(tStatus.m_strMessage));
            m_qstrBanner = QStringLiteral("reconnecting...");
        } else {
            qstrState = QString::fromLatin1(fishsource::StateName(tStatus.m_eState));
        }
        const fishsource::LatencySummary tLatency = m_pSource->Latency().Summary();
        VideoParam tVideo;
        const bool blVideo =
            m_tEngine.m_pfGetVideoParam(m_iId, &tVideo, sizeof(tVideo)) == 0 && tVideo.m_iWidth > 0;
        const QString qstrSaid = m_qtimeSaid.isValid() && m_qtimeSaid.elapsed() < 5000
                                     ? QStringLiteral(" | ") + m_qstrSaid
                                     : QString();
        statusBar()->showMessage(
            QStringLiteral(
                "%1 | %2 %3 x %4 | %9 | %11 renderer | latency %5 ms (95%: %6 ms) | %7 reconnection(s) | "
                "%8%10")
                .arg(m_tOptions.m_qstrVideo)
                .arg(QString::fromStdString(m_pSource->Info().m_strCodec)) // a reconnection may change it
                .arg(blVideo ? tVideo.m_iWidth : m_tInfo.m_iWidth)
                .arg(blVideo ? tVideo.m_iHeight : m_tInfo.m_iHeight)
                .arg(tLatency.m_dMedianMs, 0, 'f', 0)
                .arg(tLatency.m_dP95Ms, 0, 'f', 0)
                .arg(tStatus.m_iReconnects)
                .arg(qstrState)
                .arg(m_qstrRates, qstrSaid, QString::fromLatin1(m_tEngine.RendererName())));
    }

    void RefreshPictures() {
        int iW = 0, iH = 0;
        if (!m_pSource)
            return;
        ShowStatus();
        if (!m_hMain || m_tEngine.m_pfReadSurface == nullptr)
            return;
        iW = MainWidth();
        iH = MainHeight();
        QImage qimg(iW, iH, QImage::Format_RGB888);
        std::vector<unsigned char> vecRgb(static_cast<size_t>(iW) * iH * 3);
        if (m_tEngine.m_pfReadSurface(m_hMain, vecRgb.data(), static_cast<int>(vecRgb.size())) <= 0)
            return;
        CountPictures();
        for (int y = 0; y < iH; ++y)
            std::copy_n(vecRgb.data() + static_cast<size_t>(y) * iW * 3, iW * 3, qimg.scanLine(y));
        m_qimgMain = qimg;
        // The fisheye circle's box: the picture's non-dark part.
        int iX0 = iW, iY0 = iH, iX1 = -1, iY1 = -1;
        for (int y = 0; y < iH; y += 2)
            for (int x = 0; x < iW; x += 2) {
                const unsigned char* p = vecRgb.data() + (static_cast<size_t>(y) * iW + x) * 3;
                if (p[0] + p[1] + p[2] > 72) {
                    iX0 = std::min(iX0, x), iY0 = std::min(iY0, y), iX1 = std::max(iX1, x),
                    iY1 = std::max(iY1, y);
                }
            }
        m_qrectArea =
            iX1 > iX0 && iY1 > iY0 ? QRect(QPoint(iX0, iY0), QPoint(iX1, iY1)) : QRect(0, 0, iW, iH);
        for (ViewWidget* pView : m_vecViews)
            if (!pView->IsEngineView())
                pView->update();
    }

    // Decoded and shown pictures per second, and those decoded but never shown (the viewer paints
    // every 40 ms: a faster stream loses some), over the last second.
    void CountPictures() {
        const long long llDecoded = m_tEngine.DecodedPictures(m_iId);
        if (llDecoded > m_llLastDecoded) {
            ++m_iShownInSecond;
            if (m_llLastDecoded > 0)
                m_llDropped += llDecoded - m_llLastDecoded - 1;
        }
        if (!m_qtimeRates.isValid()) {
            m_qtimeRates.start();
            m_llDecodedAtSecond = llDecoded;
        } else if (m_qtimeRates.elapsed() >= 1000) {
            const double dSeconds = m_qtimeRates.restart() / 1000.0;
            m_qstrRates = QStringLiteral("%1 decoded/s, %2 shown/s, %3 dropped")
                              .arg((llDecoded - m_llDecodedAtSecond) / dSeconds, 0, 'f', 1)
                              .arg(m_iShownInSecond / dSeconds, 0, 'f', 1)
                              .arg(m_llDropped);
            m_llDecodedAtSecond = llDecoded;
            m_iShownInSecond = 0;
        }
        m_llLastDecoded = std::max(m_llLastDecoded, llDecoded);
    }

    // The engine's play id of this camera's next player, whose channel user data it subscribes
    // to: the lowest id that no other camera's player holds (the engine gives ids out so, and the
    // library's player ids follow them).
    int NextPlayId() const {
        int iId = 0;
        while (std::any_of(s_vecViewers.cbegin(), s_vecViewers.cend(), [&](const Viewer* _pViewer) {
            return _pViewer != this && _pViewer->m_iId == iId;
        }))
            ++iId;
        return iId;
    }

    void SetZoomValue(int _iPtz, int _iZoom) {
        if (_iPtz >= static_cast<int>(m_vecZoom.size()))
            m_vecZoom.resize(_iPtz + 1, ZOOM_START);
        m_vecZoom[_iPtz] = std::clamp(_iZoom, ZOOM_LOWEST, ZOOM_HIGHEST);
    }

    Options m_tOptions;
    CLS_FishPlayer* m_pFish = nullptr;
    EngineExt m_tEngine;
    int m_iSlot;
    inline static std::vector<Viewer*> s_vecViewers; // every camera's viewer
    std::vector<int> m_vecZoom;                      // each PTZ view's zoom value, as the library keeps it
    std::vector<PtzPlace> m_vecHome;                 // where the PTZ views started
    std::vector<int> m_vecSteering;                  // each PTZ view's latest move (an older one stops)
    bool m_blFullWindow = false;
    std::vector<QAction*> m_vecMountActions;
    QElapsedTimer m_qtimeRates; // the second the rates are counted over
    long long m_llDecodedAtSecond = 0;
    long long m_llLastDecoded = 0;
    long long m_llDropped = 0;
    int m_iShownInSecond = 0;
    QString m_qstrRates = QStringLiteral("- decoded/s, - shown/s, 0 dropped");
    QString m_qstrSaid; // the last word of Say(), shown for a few seconds
    QElapsedTimer m_qtimeSaid;
    QString m_qstrOpened; // the input of the views shown
    std::unique_ptr<fishsource::MediaSource> m_pSource;
    fishsource::StreamInfo m_tInfo;
    QString m_qstrFailure;
    QString m_qstrBanner;
    int m_iHeaderWidth = 0;
    int m_iHeaderHeight = 0;
    void* m_hMain = nullptr;
    int m_iId = -1;
    std::vector<ViewWidget*> m_vecViews;
    QTimer m_qtimerPaint;
    QTimer m_qtimerProbe;
    QImage m_qimgMain;
    QRect m_qrectArea;
};

void ViewWidget::paintEvent(QPaintEvent*) {
    if (IsEngineView()) // the engine paints it
        return;
    QPainter qpainter(this);
    qpainter.fillRect(rect(), Qt::black);
    const QImage& qimgMain = m_pViewer->MainPicture();
    if (qimgMain.isNull())
        return;
    const auto DrawBanner = [this, &qpainter] {
        if (m_pViewer->Banner().isEmpty())
            return;
        const QRect qrectBanner(0, 0, width(), qpainter.fontMetrics().height() + 8);
        qpainter.fillRect(qrectBanner, QColor(0, 0, 0, 160));
        qpainter.setPen(Qt::white);
        qpainter.drawText(qrectBanner, Qt::AlignCenter, m_pViewer->Banner());
    };
    if (m_iType == 0) {
        qpainter.drawImage(rect(), qimgMain);
        DrawBanner();
        return;
    }
    qpainter.drawImage(rect(), qimgMain, m_pViewer->FisheyeArea());
    DrawBanner();
    const Outlines overlay = m_pViewer->Overlay();
    qpainter.setRenderHint(QPainter::Antialiasing);
    for (size_t iPtz = 0; iPtz < overlay.size(); ++iPtz) {
        for (const auto& polyline : overlay[iPtz]) {
            QPainterPath qpath;
            for (size_t i = 0; i < polyline.size(); ++i) {
                const QPointF qpt(polyline[i].m_fX * width(), polyline[i].m_fY * height());
                i == 0 ? qpath.moveTo(qpt) : qpath.lineTo(qpt);
            }
            // A dark halo under the colour, so that the outline shows over any picture.
            qpainter.setPen(QPen(QColor(0, 0, 0, 200), 5));
            qpainter.drawPath(qpath);
            qpainter.setPen(QPen(PTZ_COLORS[iPtz % MAX_PTZ_VIEWS], 2));
            qpainter.drawPath(qpath);
        }
    }
}

void ViewWidget::mousePressEvent(QMouseEvent* _pEvent) {
    m_qptLast = _pEvent->pos();
    m_iDraggedPtz = -1;
    if (m_iType == CORRECT_TYPE_FISHEYE) {
        // The outline nearest to the press is the one dragged.
        const Outlines overlay = m_pViewer->Overlay();
        double dBest = 1e9;
        for (int i = 0; i < static_cast<int>(overlay.size()); ++i) {
            const QPointF qptCentre = OutlineCentre(overlay, i);
            const double dDistance =
                std::hypot(qptCentre.x() * width() - m_qptLast.x(), qptCentre.y() * height() - m_qptLast.y());
            if (qptCentre.x() >= 0 && dDistance < dBest) {
                dBest = dDistance;
                m_iDraggedPtz = i;
            }
        }
    }
}

void ViewWidget::mouseMoveEvent(QMouseEvent* _pEvent) {
    if (!(_pEvent->buttons() & Qt::LeftButton))
        return;
    const QPoint qptNow = _pEvent->pos();
    const STRUCT_FishWindowRect tRect{width(), height()};
    const int iId = m_pViewer->Id();
    CLS_FishPlayer* pFish = m_pViewer->Fish();
    if (m_iType == CORRECT_TYPE_PTZ)
        pFish->FishPlayer_PTZWindowCtl(iId, m_iPtzIndex,
                                       {qptNow.x() - m_qptLast.x(), qptNow.y() - m_qptLast.y(), 0},
                                       n_CtlCmd_Move, tRect);
    else if (m_iType == CORRECT_TYPE_FISHEYE && m_iDraggedPtz >= 0) {
        pFish->FishPlayer_DrawWindowCtl(
            iId, m_iDraggedPtz, {m_qptLast.x(), m_qptLast.y(), qptNow.x(), qptNow.y()}, n_CtlCmd_Move, tRect);
        m_pViewer->RefreshOutline(m_iDraggedPtz);
    } else if (m_iType == CORRECT_TYPE_360 || m_iType == CORRECT_TYPE_180)
        // The library turns the panorama by the distance given; the opposite of the mouse's
        // distance makes the picture follow the mouse, as in the PTZ views.
        pFish->FishPlayer_CorrectWindowCtl(iId, m_iType, {m_qptLast.x() - qptNow.x(), 0, 0}, n_CtlCmd_Move,
                                           tRect);
    m_qptLast = qptNow;
}

void ViewWidget::wheelEvent(QWheelEvent* _pEvent) {
    // The delta as the library's steps: a positive one (wheel up) lowers the zoom value, which
    // narrows the view: the wheel turned up zooms in.
    if (m_iType == CORRECT_TYPE_PTZ)
        m_pViewer->Wheel(m_iPtzIndex, _pEvent->angleDelta().y(), {width(), height()});
}

void ViewWidget::keyPressEvent(QKeyEvent* _pEvent) {
    if (m_iType != CORRECT_TYPE_PTZ)
        return QWidget::keyPressEvent(_pEvent);
    struct {
        int m_iKey;
        n_PTZCtlCmd m_eCmd;
    } const aKeys[] = {{Qt::Key_Up, n_PTZCtlCmd_Up},
                       {Qt::Key_Down, n_PTZCtlCmd_Down},
                       {Qt::Key_Left, n_PTZCtlCmd_Left},
                       {Qt::Key_Right, n_PTZCtlCmd_Right},
                       // A lower zoom value is a narrower view: + lowers it.
                       {Qt::Key_Plus, n_PTZCtlCmd_ZoomDec},
                       {Qt::Key_Equal, n_PTZCtlCmd_ZoomDec},
                       {Qt::Key_Minus, n_PTZCtlCmd_ZoomInc}};
    for (const auto& tKey : aKeys)
        if (tKey.m_iKey == _pEvent->key())
            return m_pViewer->PtzCommand(m_iPtzIndex, tKey.m_eCmd);
    QWidget::keyPressEvent(_pEvent); // the window's keys
}

// The views --views may name, in the order the grid shows them.
const QStringList& ViewNames() {
    static const QStringList s_qlist = {QStringLiteral("source"), QStringLiteral("fisheye"),
                                        QStringLiteral("360"), QStringLiteral("180"), QStringLiteral("lat")};
    return s_qlist;
}

QString ViewChoices() {
    return QStringLiteral("a comma-separated list of %1 and ptzN (N 1 to %2), each once")
        .arg(ViewNames().join(QStringLiteral(", ")))
        .arg(MAX_PTZ_VIEWS);
}

void Usage() {
    std::printf(
        "usage: fishviewer [INPUT...] [--mount N] [--views LIST] [--size WxH] [--transport tcp|udp]\n"
        "                  [--renderer gl|cpu|auto] [--verbose] [--self-test DIR] [--help]\n"
        "  INPUT          fisheye video file or URL: rtsp://, rtsps://, http(s)://, udp://, rtp://,\n"
        "                 MP4, MKV, MOV, TS or raw H.264/H.265/MJPEG (default\n"
        "                 build/samples/fisheye_1920.h264); files play in a loop; up to %d\n"
        "                 inputs play at once, a camera each, in a grid\n"
        "  --mount N      mounting mode: %s (default 2)\n"
        "  --views LIST   %s\n"
        "                 (default source,fisheye,360,180,lat,ptz4)\n"
        "  --size WxH     picture size for the stream header, each side 16 to 16384\n"
        "                 (default: the stream's own)\n"
        "  --transport T  RTSP transport: tcp or udp (default tcp)\n"
        "  --renderer R   who draws the views: gl (OpenGL ES 3 through EGL), cpu, or auto: GL\n"
        "                 on a GPU, else the CPU (default: KORVANE_RENDERER, else auto)\n"
        "  --verbose      show the library's and Qt's log lines on standard error\n"
        "  --self-test DIR  play a while, drag and zoom PTZ view 0, write screenshots into DIR, quit\n"
        "  --help, -h     this text\n",
        MAX_CAMERAS, qPrintable(cmdline::MountChoices()), qPrintable(ViewChoices()));
}

bool ParseViews(cmdline::Parser& _tParser, const QString& _qstrValue, QStringList& _qlistViews) {
    const QStringList qlistViews = _qstrValue.split(QLatin1Char(','));
    bool blPtz = false;
    for (int i = 0; i < qlistViews.size(); ++i) {
        const QString& qstrView = qlistViews[i];
        const bool blIsPtz = qstrView.startsWith(QLatin1String("ptz"));
        bool blOk = ViewNames().contains(qstrView);
        if (blIsPtz) {
            const int iCount = qstrView.mid(3).toInt(&blOk);
            blOk = blOk && iCount >= 1 && iCount <= MAX_PTZ_VIEWS && !blPtz;
            blPtz = true;
        }
        if (!blOk || qlistViews.indexOf(qstrView) != i)
            return _tParser.Refuse(
                QStringLiteral("--views '%1' refused at '%2': %3").arg(_qstrValue, qstrView, ViewChoices()));
    }
    _qlistViews = qlistViews;
    return true;
}

cmdline::ParseResult ParseOptions(const QStringList& _qlistArgs, Options& _tOptions) {
    cmdline::Parser tParser(QStringLiteral("fishviewer"));
    const QMap<QString, QString> qmapValued = {
        {QStringLiteral("--mount"), cmdline::MountChoices()},
        {QStringLiteral("--views"), ViewChoices()},
        {QStringLiteral("--self-test"), QStringLiteral("a folder")},
        {QStringLiteral("--transport"), QStringLiteral("tcp or udp")},
        {QStringLiteral("--renderer"),
         QStringLiteral("one of ") + cmdline::RendererChoices().join(QStringLiteral(", "))},
        {QStringLiteral("--size"), QStringLiteral("WIDTHxHEIGHT")}};
    for (int i = 0; i < _qlistArgs.size(); ++i) {
        const QString& qstrArg = _qlistArgs[i];
        if (cmdline::IsHelp(qstrArg))
            return cmdline::ParseResult::Help;
        bool blOk = true;
        if (qmapValued.contains(qstrArg) && i + 1 >= _qlistArgs.size())
            blOk = tParser.MissingValue(qstrArg, qmapValued.value(qstrArg));
        else if (qstrArg == QLatin1String("--mount"))
            blOk = _tOptions.m_blMountGiven = tParser.Mount(qstrArg, _qlistArgs[++i], _tOptions.m_iMount);
        else if (qstrArg == QLatin1String("--views"))
            blOk = _tOptions.m_blViewsGiven = ParseViews(tParser, _qlistArgs[++i], _tOptions.m_qlistViews);
        else if (qstrArg == QLatin1String("--self-test"))
            _tOptions.m_qstrSelfTest = _qlistArgs[++i];
        else if (qstrArg == QLatin1String("--verbose"))
            _tOptions.m_blVerbose = true;
        else if (qstrArg == QLatin1String("--transport")) {
            const QString qstrTransport = _qlistArgs[++i];
            blOk = tParser.Choice(qstrArg, qstrTransport, {QStringLiteral("tcp"), QStringLiteral("udp")});
            _tOptions.m_eTransport = qstrTransport == QLatin1String("udp") ? fishsource::RtspTransport::Udp
                                                                           : fishsource::RtspTransport::Tcp;
        } else if (qstrArg == QLatin1String("--renderer"))
            blOk = tParser.Renderer(qstrArg, _qlistArgs[++i]);
        else if (qstrArg == QLatin1String("--size"))
            blOk = tParser.Size(qstrArg, _qlistArgs[++i], _tOptions.m_iWidth, _tOptions.m_iHeight);
        else if (qstrArg.startsWith(QLatin1Char('-')) && qstrArg.size() > 1)
            blOk = tParser.Unknown(qstrArg);
        else if (_tOptions.m_qlistInputs.size() == MAX_CAMERAS)
            blOk = tParser.Refuse(
                QStringLiteral("input '%1' refused: the viewer shows at most %2 cameras at once")
                    .arg(qstrArg)
                    .arg(MAX_CAMERAS));
        else
            _tOptions.m_qlistInputs.append(qstrArg);
        if (!blOk) {
            std::fprintf(stderr, "%s\n", qPrintable(tParser.Error()));
            return cmdline::ParseResult::Refused;
        }
    }
    tParser.PrintNotes();
    return cmdline::ParseResult::Run;
}

// The scripted session of --self-test: screenshots, a drag and a wheel turn in PTZ view 0.
void SelfTest(Viewer* _pViewer, const QString& _qstrDir) {
    QDir().mkpath(_qstrDir);
    auto Shot = [_pViewer, _qstrDir](const char* _pcName) {
        const QPoint qptOrigin = _pViewer->centralWidget()->mapToGlobal(QPoint(0, 0));
        const QPixmap qpix = QGuiApplication::primaryScreen()->grabWindow(
            0, qptOrigin.x(), qptOrigin.y(), _pViewer->centralWidget()->width(),
            _pViewer->centralWidget()->height());
        qpix.save(QStringLiteral("%1/%2.png").arg(_qstrDir, QLatin1String(_pcName)));
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

} // namespace

// The options of the camera playing _qstrInput: what the command line does not say comes from
// this camera's last session.
Options CameraOptions(Options _tOptions, const QString& _qstrInput) {
    _tOptions.m_qstrVideo = _qstrInput;
    QSettings qsettings;
    qsettings.beginGroup(Viewer::SettingsGroup(_qstrInput));
    if (!_tOptions.m_blMountGiven)
        _tOptions.m_iMount = qsettings.value(QStringLiteral("mount"), _tOptions.m_iMount).toInt();
    if (!_tOptions.m_blViewsGiven)
        _tOptions.m_qlistViews =
            qsettings.value(QStringLiteral("views"), _tOptions.m_qlistViews).toStringList();
    return _tOptions;
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
        if (!pViewer->Start() && pViewer->Failure().isEmpty())
            return 1;
    if (!_tOptions.m_qstrSelfTest.isEmpty()) {
        QTimer::singleShot(3000, &qwidgetGrid, [&] {
            QDir().mkpath(_tOptions.m_qstrSelfTest);
            for (int i = 0; i < iCount; ++i) {
                Viewer* pViewer = vecViewers[static_cast<size_t>(i)];
                QWidget* pView = pViewer->View(pViewer->Views().value(0));
                QWidget* pShot = pView ? pView : pViewer->centralWidget();
                const QPoint qptOrigin = pShot->mapToGlobal(QPoint(0, 0));
                QGuiApplication::primaryScreen()
                    ->grabWindow(0, qptOrigin.x(), qptOrigin.y(), pShot->width(), pShot->height())
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
    if (!tViewer.Start() && tViewer.Failure().isEmpty())
        return 1;
    // A source that failed is shown in the window; a self-test takes a screenshot of it and ends.
    if (!tOptions.m_qstrSelfTest.isEmpty() && !tViewer.Failure().isEmpty()) {
        QTimer::singleShot(1000, &tViewer, [&tViewer, &tOptions] {
            QDir().mkpath(tOptions.m_qstrSelfTest);
            const QPoint qptOrigin = tViewer.centralWidget()->mapToGlobal(QPoint(0, 0));
            QGuiApplication::primaryScreen()
                ->grabWindow(0, qptOrigin.x(), qptOrigin.y(), tViewer.centralWidget()->width(),
                             tViewer.centralWidget()->height())
                .save(tOptions.m_qstrSelfTest + QStringLiteral("/failure.png"));
            QApplication::exit(1);
        });
        return qapp.exec();
    }
    if (!tOptions.m_qstrSelfTest.isEmpty())
        SelfTest(&tViewer, tOptions.m_qstrSelfTest);
    return qapp.exec();
}
