#pragma once

#include "gui/windowheader.h"

// The title bar of the calculator's panels. They stay inside the calculator window, so the
// button that would float one is disabled.
class OptCalcHeaderWidget : public WindowHeader
{
    Q_OBJECT

public:
    explicit OptCalcHeaderWidget(QWidget* parent = nullptr);
    ~OptCalcHeaderWidget() override;

    QColor titleColor() const override;
};
