#include "optcalcheaderwidget.h"

#include <QPalette>

OptCalcHeaderWidget::OptCalcHeaderWidget(QWidget* parent) : WindowHeader(parent)
{
    setBtnEnabled(FloatButton, false);
}

OptCalcHeaderWidget::~OptCalcHeaderWidget() = default;

QColor OptCalcHeaderWidget::titleColor() const
{
    // The plain window colour, not the terminal's accent: the panels are parts of one window.
    return QPalette().color(QPalette::Window);
}
