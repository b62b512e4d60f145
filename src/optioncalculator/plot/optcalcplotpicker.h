#pragma once

#include "metricunitconverter.h"

#include "database/decimal.h"

#include <QList>
#include <QPointF>

#include <qwt_plot_picker.h>

class OptCalcPlotCurve;
class QTimer;
class VirtualPortfolioModel;

// The cross-hair and tracker of a calculator plot. Beside the cursor it shows the base price
// there, rounded to the price step, and the value of the nearest curve or of the summary
// curves, valued afresh from the model portfolio at that price. It also records where the
// cursor was, around which the wheel zooms.
class OptCalcPlotPicker : public QwtPlotPicker, public MetricUnitConverter
{
    Q_OBJECT
public:
    OptCalcPlotPicker(VirtualPortfolioModel* model, int xAxis, int yAxis, QWidget* canvas);
    ~OptCalcPlotPicker() override;

    QwtText trackerText(const QPoint& pos) const override;

    void setValueStep(double step) { m_valueStep = step; }
    double valueStep() const { return m_valueStep; }
    QPointF lastPoint() const { return m_lastPoint; }
    // Group 0 the curves of the positions, 1 the summary curves.
    void setCurveGroupVisible(int group, bool visible);
    int partialCurvesMode() const { return m_partialCurvesMode; }
    int summaryCurvesMode() const { return m_summaryCurvesMode; }
    double priceStep() const { return m_priceStep; }
    bool stepTimerActive() const;

private slots:
    void onTimerTimeout();

private:
    // The value rounded to valueStep(); zero when it cannot be.
    decimal roundToValueStep(double value) const;
    // The text of the price and of the values of the curves, in order; empty on any fault.
    QString trackerString(const decimal& price, const QList<decimal>& values,
                          const QList<OptCalcPlotCurve*>& curves) const;
    // The nearest of the curves to the cursor; null when none has a distance.
    OptCalcPlotCurve* nearestCurve(const QList<OptCalcPlotCurve*>& curves) const;

    double m_valueStep = -1.0;
    mutable QPointF m_lastPoint;
    int m_partialCurvesMode = -1;
    int m_summaryCurvesMode = -1;
    VirtualPortfolioModel* m_model = nullptr;
    QTimer* m_stepTimer = nullptr;
    mutable double m_priceStep = -1.0;
};
