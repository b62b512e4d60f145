#pragma once

#include <QWidget>

// One entry of the calculator's legend: a check box and the curve's legend label side by
// side. A click anywhere on the entry toggles the check box.
class LabelWidget : public QWidget
{
    Q_OBJECT
public:
    explicit LabelWidget(QWidget* parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent* event) override;
};
