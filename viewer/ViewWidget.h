// The views of a camera's grid: a view widget, and the cell that shows it under its name.
#ifndef FISHVIEWER_VIEW_WIDGET_H
#define FISHVIEWER_VIEW_WIDGET_H

#include <CLS_FishPlayer.h>

#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QPoint>
#include <QString>
#include <QWidget>

namespace fishviewer {

class Viewer;

// What the screen shows of _widget: the engine paints its views into native windows of its own, so
// only the screen, not the widget, holds their pictures (snapshots, the self-tests).
QPixmap ScreenOf(const QWidget& _widget);

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

// A view with its name above it, kept at its aspect ratio (centred, black around it) when it has
// one (_dAspect width / height; 0: it fills the cell).
class LabelledView : public QWidget {
public:
    LabelledView(ViewWidget* _pView, double _dAspect);
    // The name a view is shown under.
    static QString Caption(const ViewWidget& _tView);

protected:
    void resizeEvent(QResizeEvent*) override;

private:
    ViewWidget* m_pView;
    QLabel* m_pLabel;
    double m_dAspect;
};

} // namespace fishviewer

#endif // FISHVIEWER_VIEW_WIDGET_H
