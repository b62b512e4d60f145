#include "labelwidget.h"

#include <QCheckBox>
#include <QLayout>
#include <QMouseEvent>

LabelWidget::LabelWidget(QWidget* parent) : QWidget(parent)
{
}

void LabelWidget::mousePressEvent(QMouseEvent* event)
{
    QLayout* entry = layout();
    if (event->button() == Qt::LeftButton && entry && entry->count() == 2) {
        if (auto* checkBox = qobject_cast<QCheckBox*>(entry->itemAt(0)->widget()))
            checkBox->toggle();
    }
    QWidget::mousePressEvent(event);
}
