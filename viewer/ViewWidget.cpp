// The views of a camera's grid; see ViewWidget.h.
#include "ViewWidget.h"

#include "Overlay.h"
#include "Viewer.h"
#include "ViewerOptions.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace fishviewer {

namespace {

// Each PTZ view's colour: its outline on the fisheye view and the square beside its name.
const QColor PTZ_COLORS[MAX_PTZ_VIEWS] = {QColor(255, 64, 64), QColor(64, 220, 64), QColor(80, 140, 255),
                                          QColor(255, 210, 40)};

} // namespace

QPixmap ScreenOf(const QWidget& _widget) {
    const QPoint qptOrigin = _widget.mapToGlobal(QPoint(0, 0));
    return QGuiApplication::primaryScreen()->grabWindow(0, qptOrigin.x(), qptOrigin.y(), _widget.width(),
                                                        _widget.height());
}

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

LabelledView::LabelledView(ViewWidget* _pView, double _dAspect) : m_pView(_pView), m_dAspect(_dAspect) {
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

QString LabelledView::Caption(const ViewWidget& _tView) {
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

void LabelledView::resizeEvent(QResizeEvent*) {
    const int iLabel = m_pLabel->sizeHint().height();
    m_pLabel->setGeometry(0, 0, width(), iLabel);
    QRect qrect(0, iLabel, width(), height() - iLabel);
    if (m_dAspect > 0) {
        const int iW = std::min(qrect.width(), static_cast<int>(qrect.height() * m_dAspect));
        const int iH = std::min(qrect.height(), static_cast<int>(iW / m_dAspect));
        qrect = QRect(qrect.x() + (qrect.width() - iW) / 2, qrect.y() + (qrect.height() - iH) / 2, iW, iH);
    }
    m_pView->setGeometry(qrect);
}

} // namespace fishviewer
