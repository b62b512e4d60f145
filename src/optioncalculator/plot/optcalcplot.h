#pragma once

#include "database/decimal.h"

#include <QLineF>
#include <QList>
#include <QPair>
#include <QPointF>
#include <QRectF>

#include <qwt_plot.h>

class LinearScaleEngine;
class MetricUnitScaleDraw;
class OptCalcPlotCurve;
class OptCalcPlotPanner;
class OptCalcPlotPicker;
class VirtualPortfolioModel;

// The rectangle of the data of a plot: the bounds of its valid, visible curves, without
// the base price line. All four numbers are 0 when there is none, or no canvas.
QRectF dataRect(const QWidget* canvas);

// One of the calculator's five plots (profit and the four Greeks over the base price). It
// owns its picker, panner, scale engine and scale draws and decides how the axes move: the
// vertical axis fits what is visible while auto-scale is on, the wheel zooms around the
// cursor, a drag on an axis zooms that axis, and the base price line always spans the
// visible height. The curves' samples come from the profile calculation; only to fit the
// vertical axis exactly at the edges of the view does the plot value positions itself.
class OptCalcPlot : public QwtPlot
{
    Q_OBJECT
public:
    OptCalcPlot(VirtualPortfolioModel* model, QWidget* parent = nullptr);
    ~OptCalcPlot() override;

    bool eventFilter(QObject* object, QEvent* event) override;
    QSize minimumSizeHint() const override;

    void setPlotIndex(int index) { m_plotIndex = index; }
    int plotIndex() const { return m_plotIndex; }
    void setMinXRange(double range) { m_minXRange = range; }
    double minXRange() const { return m_minXRange; }
    void setMouseZoomEnabled(bool enabled) { m_mouseZoomEnabled = enabled; }
    bool mouseZoomEnabled() const { return m_mouseZoomEnabled; }
    // The step to which the tracker rounds values.
    void setValueStep(double step);
    double valueStep() const;
    // "%" shows the price axis as changes from the reference price; empty as prices.
    void setUnit(const QString& unit);
    QString unit() const;
    QString xLabel(double value) const;
    void setReferenceValue(const decimal& value);
    void setHighlightEnabled(bool enabled);
    void setHighlightValue(double value);
    // Group 0 the curves of the positions, 1 the summary curves, as the tracker reads them.
    void setCurveGroupVisible(int group, bool visible);
    void setTrackerEnabled(bool enabled);
    void invalidateYLabels();

    void setAxisRange(int axis, double min, double max, double step);
    // Fits the vertical axis to the visible part of the curves while auto-scale is on.
    void updateAutoScale();
    void updateLabels();
    void refreshXAxis();
    void enableGrid(bool withMinorLines);
    // Empties every curve but the base price line, for reuse.
    void resetCurves();
    QList<OptCalcPlotCurve*> curves() const;
    void updateLegendContents(bool applyHidden);
    void disableAutoScale();
    // Keeps the base price line over the height from low to high; a negative x keeps it
    // where it stands.
    void updateBasePriceLine(double low, double high, double x);
    // The least and largest value of the visible curves over the visible price range, with
    // the curves valued exactly at its two edges; (1, -1) when it cannot be told, (0, 0)
    // when no curve is visible.
    QPair<double, double> visibleProfileRange() const;
    // Over the samples inside the view: the least x and y, the largest x and y; DBL_MAX and
    // -DBL_MAX when the view is empty.
    QRectF visibleBounds() const;
    // The segments of the curves that cross the border of the view.
    QList<QLineF> crossingSegments() const;
    // The decimals of the vertical axis' labels; 0 over a range wider than 2.
    int yTickDecimals() const;
    void updateValuePrecision();

    OptCalcPlotPicker* picker() const { return m_picker; }
    OptCalcPlotPanner* panner() const { return m_panner; }
    MetricUnitScaleDraw* xScaleDraw() const { return m_xScaleDraw; }
    MetricUnitScaleDraw* yScaleDraw() const { return m_yScaleDraw; }
    LinearScaleEngine* scaleEngine() const { return m_scaleEngine; }
    VirtualPortfolioModel* model() const { return m_model; }

signals:
    void updateAxisLabels();
    void autoScaleEnabled(bool enable);

public slots:
    void setCurveVisible(const QString& curveTitle, bool visible);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void initPlot();
    OptCalcPlotCurve* basePriceCurve() const;
    // The rectangle in which the axes' intervals meet; false when either is empty.
    bool viewRect(QRectF* rect) const;
    bool axisRectContains(int axis, const QPointF& point) const;

    OptCalcPlotPicker* m_picker = nullptr;
    OptCalcPlotPanner* m_panner = nullptr;
    MetricUnitScaleDraw* m_yScaleDraw = nullptr;
    MetricUnitScaleDraw* m_xScaleDraw = nullptr;
    LinearScaleEngine* m_scaleEngine = nullptr;
    double m_minXRange = -1.0;
    bool m_mouseZoomEnabled = true;
    VirtualPortfolioModel* m_model = nullptr;
    QPointF m_pressPoint;
    QPointF m_lastDragPoint;
    int m_plotIndex = -1;
};
