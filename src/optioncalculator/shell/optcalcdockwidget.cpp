#include "optcalcdockwidget.h"

#include <QMouseEvent>

OptCalcDockWidget::OptCalcDockWidget(const QString& title, QWidget* parent)
    : QDockWidget(title, parent)
{
    connect(this, SIGNAL(visibilityChanged(bool)), this, SLOT(onVisibilityChanged(bool)));
}

OptCalcDockWidget::~OptCalcDockWidget() = default;

void OptCalcDockWidget::closeEvent(QCloseEvent* event)
{
    emit aboutToClose();
    QDockWidget::closeEvent(event);
}

bool OptCalcDockWidget::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::NonClientAreaMouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton) {
            // Screen coordinates: a dragged panel moves with the mouse, so its own
            // coordinates of the release may match those of the press.
            pressPos = mouse->globalPos();
            pressed = true;
        }
        break;
    }
    case QEvent::MouseButtonRelease:
    case QEvent::NonClientAreaMouseButtonRelease: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && pressed && mouse->globalPos() == pressPos) {
            if (QWidget* content = widget())
                content->setFocus();
            show();
            raise();
        }
        break;
    }
    default:
        break;
    }
    return QDockWidget::event(event);
}

void OptCalcDockWidget::onVisibilityChanged(bool visible)
{
    if (visible && widget())
        widget()->setFocus();
}
