// One camera: its source, its player on CLS_FishPlayer and a grid of its views, with its own
// menus, status bar and settings; a window of its own, or a cell of the several cameras' window.
#ifndef FISHVIEWER_VIEWER_H
#define FISHVIEWER_VIEWER_H

#include "DemoSupport.h"
#include "Overlay.h"
#include "ViewWidget.h"
#include "ViewerOptions.h"

#include <CLS_FishPlayer.h>
#include <MediaSource.h>

#include <QAction>
#include <QElapsedTimer>
#include <QImage>
#include <QMainWindow>
#include <QRect>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace fishviewer {

class Viewer : public QMainWindow {
public:
    // Camera _iSlot (0 to MAX_CAMERAS - 1); a window of its own, or a cell of _pParent's grid.
    Viewer(const Options& _tOptions, int _iSlot, QWidget* _pParent = nullptr);
    ~Viewer() override;

protected:
    void keyPressEvent(QKeyEvent* _pEvent) override;

public:
    // Opens the camera's input; false when no engine with surfaces was loaded. The opening goes
    // on after it returns (see Open); a source that fails is shown, not fatal.
    bool Start();

    void OpenInput(const QString& _qstrInput);

    // (Re)creates the source, the grid and the player for the current input, mount and view set.
    // The source opens on a worker while the window says so and keeps answering; then the views
    // show, or the source's message stands in their place.
    void Open();
    // True from Open until the source has opened or failed.
    bool Opening() const { return m_threadOpening.joinable(); }
    // _pfSettled(shown) is called once, when the opening in progress (or the next one) has
    // ended: true when the views show, false when a message stands in their place.
    void OnSettled(std::function<void(bool)> _pfSettled) { m_pfSettled = std::move(_pfSettled); }

    void Close();

    // PTZ commands, zoom and moves of PTZ view _iPtz, keeping its zoom value as the library does
    // (550 to 15000, a wheel step lowering it by five, a zoom command by its step).
    void PtzCommand(int _iPtz, n_PTZCtlCmd _eCmd);
    void Wheel(int _iPtz, int _iSteps, const STRUCT_FishWindowRect& _tRect);
    int Zoom(int _iPtz) const;
    // Moves PTZ view _iPtz so that its outline's centre goes to _qpt (0 to 1 of the fisheye) and
    // its zoom value to _iZoom, with the library's calls: a zoom command, then drags of its outline
    // from where it is to there, a few rounds as the outlines come (a drag about the centre of a
    // ceiling or floor picture turns the view rather than sliding it, so one drag comes near only).
    void MovePtzTo(int _iPtz, QPointF _qpt, int _iZoom);
    // The library builds a view's outline from its position before a drag's change is stored, so
    // after a drag the outline shows the place before it: a zoom command of no step (a forced
    // write of the same record) builds it again at the new place.
    void RefreshOutline(int _iPtz);
    // One round toward _qpt: the outline's centre measured, a drag of most of what is left sent.
    // The library drags the view's own centre by the distance given, and the outline's centre
    // follows it closely; the rounds take up the rest (the outline bends near the rim).
    void SteerPtz(int _iPtz, QPointF _qpt, int _iRounds, int _iGeneration);
    // Where each PTZ view is: its outline's centre and zoom value.
    struct PtzPlace {
        QPointF m_qpt;
        int m_iZoom;
    };
    std::vector<PtzPlace> PtzPlaces() const;
    // Puts the PTZ views back where _vecPlaces says, once their first outlines have arrived.
    // The first outlines also give each view's starting place, where 0 puts it back.
    void RestorePlaces(std::vector<PtzPlace> _vecPlaces, int _iTries = 50);

    static QString ControlsText();

    // Key 0: PTZ view _iPtz back where it started.
    void ResetPtz(int _iPtz);

    // Ctrl+N: the PTZ views' places as preset N of this camera; N: back to them.
    void StorePreset(int _iPreset);
    void RecallPreset(int _iPreset);
    // The mounting and the views of this camera, for the next start.
    void StoreLayout() const;
    // S: a PNG of _pView (all views with _pView null), in the working folder.
    void Snapshot(QWidget* _pView, const QString& _qstrName);
    // F: _pView alone in the window, or every view again.
    void ToggleFullWindow(QWidget* _pView);
    // A word on the status bar for a while, and on standard output for scripts.
    void Say(const QString& _qstrMessage);

    // The player's controls, as the widgets use them.
    int Id() const { return m_iId; }
    Outlines Overlay() const { return LatestOverlay(m_iSlot); }
    const QStringList& Views() const { return m_tOptions.m_qlistViews; }
    CLS_FishPlayer* Fish() const { return m_pFish; }
    const QImage& MainPicture() const { return m_qimgMain; }
    QRect FisheyeArea() const { return m_qrectArea; }
    // Written over the last picture of the views the viewer paints while the source is away.
    const QString& Banner() const { return m_qstrBanner; }
    ViewWidget* View(const QString& _qstrName) const;

private:
    fishsource::SourceOptions SourceOptions() const;
    // Width / height a view keeps (0: it fills its cell, the engine renders any shape).
    double AspectOf(const ViewWidget& _tView) const;
    int MainWidth() const { return std::max(1, m_iHeaderWidth / 2); }
    int MainHeight() const { return std::max(1, m_iHeaderHeight / 2); }

    // The end of the opening _iOpening, on the window's thread.
    void Opened(int _iOpening, const std::string& _strError);
    // Shows the views of the opened source; false (and the reason in their place) when they cannot be.
    bool ShowOpened();
    // The source's message in place of the views (never black views without a word); false.
    bool Fail(const QString& _qstrMessage);
    // _qstrMessage alone in the window, a label named _qstrName.
    void ShowMessage(const QString& _qstrName, const QString& _qstrMessage);

    bool StartSource();

    // Pictures shown, for the latency; the source's state, on the status bar.
    void Probe();

    void ShowStatus();

    void RefreshPictures();

    // Decoded and shown pictures per second, and those decoded but never shown (the viewer paints
    // every 40 ms: a faster stream loses some), over the last second.
    void CountPictures();

    // The engine's play id of this camera's next player, whose channel user data it subscribes
    // to: the lowest id that no other camera's player holds (the engine gives ids out so, and the
    // library's player ids follow them).
    int NextPlayId() const;

    void SetZoomValue(int _iPtz, int _iZoom);

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
    std::thread m_threadOpening;                // opens m_pSource
    int m_iOpenings = 0;                        // the latest opening; Close counts one too
    std::vector<PtzPlace> m_vecPlacesToRestore; // once the opening in progress shows its views
    std::function<void(bool)> m_pfSettled;
    fishsource::StreamInfo m_tInfo;
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

} // namespace fishviewer

#endif // FISHVIEWER_VIEWER_H
