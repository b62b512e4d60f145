#pragma once

#include <qwt_plot_panner.h>

// Pans a calculator plot with the left button, without letting the view run away from the
// data: while part of the view lies beyond the data, a move further away is shortened or
// refused. It holds the plot's auto-scale flag, which a pan that moves the view ends.
class OptCalcPlotPanner : public QwtPlotPanner
{
    Q_OBJECT
public:
    explicit OptCalcPlotPanner(QWidget* canvas);

    void setAutoScale(bool on) { m_autoScale = on; }
    bool autoScale() const { return m_autoScale; }

signals:
    void updateLabels();
    void autoScaleEnabled(bool enable);

public slots:
    void moveCanvas(int dx, int dy) override;

private:
    void applyMove(int dx, int dy);

    QWidget* m_canvas = nullptr;
    bool m_autoScale = true;
};
