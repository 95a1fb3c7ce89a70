// A camera's PTZ views: commands, zoom values as the library keeps them, moves to a place through
// the library's drags, and presets.
#include "Viewer.h"

#include <QSettings>
#include <QTimer>

#include <cmath>

namespace fishviewer {

namespace {

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

} // namespace

void Viewer::PtzCommand(int _iPtz, n_PTZCtlCmd _eCmd) {
    if (_eCmd == n_PTZCtlCmd_ZoomDec || _eCmd == n_PTZCtlCmd_ZoomInc)
        SetZoomValue(_iPtz, Zoom(_iPtz) + (_eCmd == n_PTZCtlCmd_ZoomInc ? PTZ_STEP : -PTZ_STEP));
    m_pFish->FishPlayer_PTZCtl(m_iId, _iPtz, {PTZ_STEP, PTZ_STEP, PTZ_STEP}, _eCmd);
}

void Viewer::Wheel(int _iPtz, int _iSteps, const STRUCT_FishWindowRect& _tRect) {
    SetZoomValue(_iPtz, Zoom(_iPtz) - 5 * _iSteps);
    m_pFish->FishPlayer_PTZWindowCtl(m_iId, _iPtz, {0, 0, _iSteps}, n_CtlCmd_Zoom, _tRect);
}

int Viewer::Zoom(int _iPtz) const {
    return _iPtz < static_cast<int>(m_vecZoom.size()) ? m_vecZoom[_iPtz] : ZOOM_START;
}

void Viewer::SetZoomValue(int _iPtz, int _iZoom) {
    if (_iPtz >= static_cast<int>(m_vecZoom.size()))
        m_vecZoom.resize(_iPtz + 1, ZOOM_START);
    m_vecZoom[_iPtz] = std::clamp(_iZoom, ZOOM_LOWEST, ZOOM_HIGHEST);
}

void Viewer::MovePtzTo(int _iPtz, QPointF _qpt, int _iZoom) {
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

void Viewer::RefreshOutline(int _iPtz) {
    m_pFish->FishPlayer_PTZCtl(m_iId, _iPtz, {0, 0, 0}, n_PTZCtlCmd_ZoomDec);
}

void Viewer::SteerPtz(int _iPtz, QPointF _qpt, int _iRounds, int _iGeneration) {
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

std::vector<Viewer::PtzPlace> Viewer::PtzPlaces() const {
    std::vector<PtzPlace> vecPlaces;
    const Outlines overlay = Overlay();
    for (int i = 0; i < static_cast<int>(overlay.size()); ++i)
        vecPlaces.push_back({OutlineCentre(overlay, i), Zoom(i)});
    return vecPlaces;
}

void Viewer::RestorePlaces(std::vector<PtzPlace> _vecPlaces, int _iTries) {
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

void Viewer::ResetPtz(int _iPtz) {
    if (_iPtz >= 0 && _iPtz < static_cast<int>(m_vecHome.size()))
        MovePtzTo(_iPtz, m_vecHome[_iPtz].m_qpt, ZOOM_START);
}

void Viewer::StorePreset(int _iPreset) {
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

void Viewer::RecallPreset(int _iPreset) {
    QSettings qsettings;
    qsettings.beginGroup(SettingsGroup(m_tOptions.m_qstrVideo));
    const QStringList qlistPlaces = qsettings.value(QStringLiteral("preset%1").arg(_iPreset)).toStringList();
    if (qlistPlaces.isEmpty())
        return Say(QStringLiteral("no preset %1 for this camera (Ctrl+%1 stores one)").arg(_iPreset));
    for (int i = 0; i < qlistPlaces.size(); ++i) {
        const QStringList qlist = qlistPlaces[i].split(QLatin1Char(' '));
        if (qlist.size() == 3)
            MovePtzTo(i, QPointF(qlist[0].toDouble(), qlist[1].toDouble()), qlist[2].toInt());
    }
    Say(QStringLiteral("preset %1 recalled").arg(_iPreset));
}

} // namespace fishviewer
