#include "optcalcplotpanner.h"

#include "optcalcplot.h"
#include "plotgeometry.h"

#include <qwt_plot.h>

OptCalcPlotPanner::OptCalcPlotPanner(QWidget* canvas) : QwtPlotPanner(canvas), m_canvas(canvas)
{
}

void OptCalcPlotPanner::moveCanvas(int dx, int dy)
{
    const QwtPlot* plot = this->plot();
    if (!plot)
        return;
    const std::optional<QPoint> move =
        panMove(plot->canvasMap(QwtPlot::xBottom), plot->canvasMap(QwtPlot::yLeft),
                isAxisEnabled(QwtPlot::xBottom), isAxisEnabled(QwtPlot::yLeft),
                dataRect(m_canvas), dx, dy);
    if (move)
        applyMove(move->x(), move->y());
}

void OptCalcPlotPanner::applyMove(int dx, int dy)
{
    if (m_autoScale)
        emit autoScaleEnabled(false);
    QwtPlotPanner::moveCanvas(dx, dy);
    emit updateLabels();
}
