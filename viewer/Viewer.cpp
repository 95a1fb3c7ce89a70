// A camera's window: its menus, the grid of its views, its source and player, the pictures and
// the status bar; the PTZ views' moves and presets are in ViewerPtz.cpp.
#include "Viewer.h"

#include <QActionGroup>
#include <QApplication>
#include <QCursor>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>

#include <cstdio>
#include <utility>

namespace fishviewer {

namespace {

// The grid's width in units: a panorama takes two, the other views one.
constexpr int GRID_COLUMNS = 4;

} // namespace

Viewer::Viewer(const Options& _tOptions, int _iSlot, QWidget* _pParent)
    : QMainWindow(_pParent), m_tOptions(_tOptions), m_iSlot(_iSlot) {
    s_vecViewers.push_back(this);
    if (_pParent) // a main window is a window of its own unless told otherwise
        setWindowFlags(Qt::Widget);
    QMenu* pFile = menuBar()->addMenu(QStringLiteral("&File"));
    connect(pFile->addAction(QStringLiteral("Open &file...")), &QAction::triggered, this, [this] {
        const QString qstrFile = QFileDialog::getOpenFileName(
            this, QStringLiteral("Open a fisheye video file"), QFileInfo(m_tOptions.m_qstrVideo).path(),
            QStringLiteral("Video (*.mp4 *.mkv *.mov *.ts *.h264 *.264 *.h265 *.265 *.hevc *.mjpeg *.mjpg);;"
                           "All files (*)"));
        if (!qstrFile.isEmpty())
            OpenInput(qstrFile);
    });
    connect(pFile->addAction(QStringLiteral("Open &URL...")), &QAction::triggered, this, [this] {
        bool blOk = false;
        const QString qstrUrl = QInputDialog::getText(
            this, QStringLiteral("Open a camera stream"),
            QStringLiteral("URL (rtsp://, rtsps://, http://, https://, udp://, rtp://):"), QLineEdit::Normal,
            m_tOptions.m_qstrVideo, &blOk);
        if (blOk && !qstrUrl.trimmed().isEmpty())
            OpenInput(qstrUrl.trimmed());
    });
    connect(pFile->addAction(QStringLiteral("&Snapshot of every view (Shift+S)")), &QAction::triggered, this,
            [this] { Snapshot(nullptr, QStringLiteral("all")); });
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

Viewer::~Viewer() {
    Close();
    s_vecViewers.erase(std::find(s_vecViewers.begin(), s_vecViewers.end(), this));
}

void Viewer::keyPressEvent(QKeyEvent* _pEvent) {
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

bool Viewer::Start() {
    m_pFish = CLS_FishPlayer::GetInstance();
    if (!m_tEngine.Resolve()) {
        std::fprintf(stderr, "fishviewer: no engine with surfaces was loaded (LD_LIBRARY_PATH?)\n");
        return false;
    }
    Open();
    return true;
}

void Viewer::OpenInput(const QString& _qstrInput) {
    m_tOptions.m_qstrVideo = _qstrInput;
    m_tOptions.m_iWidth = m_tOptions.m_iHeight = 0;
    Open();
}

void Viewer::Open() {
    // The same input again (another mounting or layout): the PTZ views keep their places.
    std::vector<PtzPlace> vecPlaces =
        m_qstrOpened == m_tOptions.m_qstrVideo ? PtzPlaces() : std::vector<PtzPlace>();
    Close();
    m_vecZoom.clear();
    m_vecHome.clear();
    m_qtimeRates.invalidate();
    m_llLastDecoded = m_llDropped = 0;
    m_iShownInSecond = 0;
    m_qstrOpened = m_tOptions.m_qstrVideo;
    m_vecPlacesToRestore = std::move(vecPlaces);
    setWindowTitle(QStringLiteral("fishviewer - %1").arg(m_tOptions.m_qstrVideo));
    ShowMessage(QStringLiteral("opening"),
                QStringLiteral("opening %1 ...\n\nFile > Open file or Open URL chooses another input.")
                    .arg(m_tOptions.m_qstrVideo));
    statusBar()->showMessage(QStringLiteral("opening %1").arg(m_tOptions.m_qstrVideo));
    // A camera may take up to the time-out to answer: it is opened on a worker, so that the
    // window keeps answering (another input may be chosen meanwhile, which cancels this one).
    m_pSource.reset(new fishsource::MediaSource(SourceOptions()));
    fishsource::MediaSource* pSource = m_pSource.get();
    const int iOpening = ++m_iOpenings;
    m_threadOpening = std::thread([this, pSource, iOpening] {
        const std::string strError = pSource->Open();
        // Runs on the window's thread; dropped if the window is gone (Close joins this thread
        // before the window goes, so the event is posted before or not at all).
        QMetaObject::invokeMethod(
            this, [this, iOpening, strError] { Opened(iOpening, strError); }, Qt::QueuedConnection);
    });
}

void Viewer::Opened(int _iOpening, const std::string& _strError) {
    if (_iOpening != m_iOpenings)
        return;             // a later opening, or a close, took over
    m_threadOpening.join(); // it has posted this: it ends at once
    const bool blShown = _strError.empty() ? ShowOpened() : Fail(QString::fromStdString(_strError));
    if (m_pfSettled)
        std::exchange(m_pfSettled, nullptr)(blShown);
}

bool Viewer::ShowOpened() {
    m_tInfo = m_pSource->Info();
    m_iHeaderWidth = m_tOptions.m_iWidth >= 16 ? m_tOptions.m_iWidth : m_tInfo.m_iWidth;
    m_iHeaderHeight = m_tOptions.m_iHeight >= 16 ? m_tOptions.m_iHeight : m_tInfo.m_iHeight;
    if (m_iHeaderWidth < 16 || m_iHeaderHeight < 16)
        return Fail(
            QStringLiteral("%1 does not say its picture size: give --size WxH").arg(m_tOptions.m_qstrVideo));
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
    m_pFish->FishPlayer_RegisterDrawCallback(m_iId, OverlayCallback(m_iSlot));
    if (!StartSource())
        return Fail(QStringLiteral("the source of %1 did not start").arg(m_tOptions.m_qstrVideo));
    m_qtimerPaint.start(40);
    m_qtimerProbe.start(5);
    RestorePlaces(std::exchange(m_vecPlacesToRestore, {}));
    return true;
}

void Viewer::Close() {
    ++m_iOpenings; // an opening's result that is still to come is no one's
    if (m_threadOpening.joinable()) {
        m_pSource->Cancel();
        m_threadOpening.join();
    }
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
    delete takeCentralWidget();
}

QString Viewer::ControlsText() {
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

void Viewer::StoreLayout() const {
    QSettings qsettings;
    qsettings.beginGroup(SettingsGroup(m_tOptions.m_qstrVideo));
    qsettings.setValue(QStringLiteral("mount"), m_tOptions.m_iMount);
    qsettings.setValue(QStringLiteral("views"), m_tOptions.m_qlistViews);
}

void Viewer::Snapshot(QWidget* _pView, const QString& _qstrName) {
    const QPixmap qpix = ScreenOf(_pView ? *_pView : *centralWidget());
    const QString qstrPath = QDir::current().absoluteFilePath(
        QStringLiteral("fishviewer-%1-%2.png")
            .arg(_qstrName, QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"))));
    if (qpix.save(qstrPath))
        Say(QStringLiteral("snapshot: %1").arg(qstrPath));
    else
        Say(QStringLiteral("snapshot failed: cannot write %1").arg(qstrPath));
}

void Viewer::ToggleFullWindow(QWidget* _pView) {
    QWidget* pCell = _pView ? _pView->parentWidget() : nullptr;
    const bool blAlone = pCell && !m_blFullWindow;
    for (ViewWidget* pView : m_vecViews)
        pView->parentWidget()->setVisible(!blAlone || pView->parentWidget() == pCell);
    m_blFullWindow = blAlone;
}

void Viewer::Say(const QString& _qstrMessage) {
    m_qstrSaid = _qstrMessage;
    m_qtimeSaid.start();
    std::printf("%s\n", qPrintable(_qstrMessage));
    std::fflush(stdout);
}

ViewWidget* Viewer::View(const QString& _qstrName) const {
    for (ViewWidget* pView : m_vecViews)
        if (pView->m_qstrName == _qstrName)
            return pView;
    return nullptr;
}

fishsource::SourceOptions Viewer::SourceOptions() const {
    fishsource::SourceOptions tSourceOptions;
    tSourceOptions.m_tReader.m_strUrl = m_tOptions.m_qstrVideo.toStdString();
    tSourceOptions.m_tReader.m_eTransport = m_tOptions.m_eTransport;
    tSourceOptions.m_tReader.m_iTimeoutMs = m_tOptions.m_iTimeoutMs;
    return tSourceOptions;
}

double Viewer::AspectOf(const ViewWidget& _tView) const {
    if (_tView.m_iType == 0)
        return static_cast<double>(m_iHeaderWidth) / std::max(1, m_iHeaderHeight);
    return _tView.m_iType == CORRECT_TYPE_FISHEYE ? 1.0 : 0.0;
}

bool Viewer::Fail(const QString& _qstrMessage) {
    Close();
    ShowMessage(QStringLiteral("failure"), _qstrMessage);
    statusBar()->showMessage(QStringLiteral("failed: %1").arg(_qstrMessage));
    std::fprintf(stderr, "fishviewer: %s\n", qPrintable(_qstrMessage));
    return false;
}

void Viewer::ShowMessage(const QString& _qstrName, const QString& _qstrMessage) {
    delete takeCentralWidget();
    auto* pLabel = new QLabel(_qstrMessage, this);
    pLabel->setObjectName(_qstrName);
    pLabel->setAlignment(Qt::AlignCenter);
    pLabel->setWordWrap(true);
    pLabel->setMargin(24);
    setCentralWidget(pLabel);
    if (!isVisible())
        resize(1024, 720);
    show();
}

bool Viewer::StartSource() {
    CLS_FishPlayer* pFish = m_pFish;
    const int iId = m_iId;
    return m_pSource->Start(
        [pFish, iId](const std::uint8_t* _pcData, int _iSize) {
            return fishsource::SinkResultOfPut(
                pFish->FishPlayer_PutStreamToPlayer(iId, 0, const_cast<unsigned char*>(_pcData), _iSize));
        },
        nullptr, [iId, this] { return m_tEngine.DecodedPictures(iId); });
}

void Viewer::Probe() {
    if (!m_pSource || m_iId < 0)
        return;
    m_pSource->Latency().Shown(m_tEngine.DecodedPictures(m_iId), std::chrono::steady_clock::now());
}

void Viewer::ShowStatus() {
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
            "%1 | %2 %3 x %4 | %9 | %11 renderer | latency %5 ms (95%: %6 ms) | %7 reconnection(s) | %8%10")
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

void Viewer::RefreshPictures() {
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
    m_qrectArea = iX1 > iX0 && iY1 > iY0 ? QRect(QPoint(iX0, iY0), QPoint(iX1, iY1)) : QRect(0, 0, iW, iH);
    for (ViewWidget* pView : m_vecViews)
        if (!pView->IsEngineView())
            pView->update();
}

void Viewer::CountPictures() {
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

int Viewer::NextPlayId() const {
    int iId = 0;
    while (std::any_of(s_vecViewers.cbegin(), s_vecViewers.cend(),
                       [&](const Viewer* _pViewer) { return _pViewer != this && _pViewer->m_iId == iId; }))
        ++iId;
    return iId;
}

} // namespace fishviewer
