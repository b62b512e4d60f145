#pragma once

#include <QObject>
#include <QPersistentModelIndex>

#include <qwt_plot_curve.h>

class OptCalcPlot;

// A curve of a calculator plot that knows what it stands for: one position, the sum of the
// portfolio or the base price line (drawType), which value (valueIndex) and on which date
// (profileType). Curves are reused by the plot rather than deleted, so every reader checks
// isValid() first.
class OptCalcPlotCurve : public QObject, public QwtPlotCurve
{
    Q_OBJECT
public:
    enum DrawType { PositionCurve = 0, SumCurve = 1, BasePriceLine = 2 };

    OptCalcPlotCurve(QObject* parent, const QString& title);

    void setDrawType(int type) { m_drawType = type; }
    int drawType() const { return m_drawType; }
    void setValueIndex(int index) { m_valueIndex = index; }
    int valueIndex() const { return m_valueIndex; }
    void setProfileType(int type) { m_profileType = type; }
    int profileType() const { return m_profileType; }
    void setModelIndex(const QPersistentModelIndex& index) { m_modelIndex = index; }
    QPersistentModelIndex modelIndex() const { return m_modelIndex; }
    void setPlot(OptCalcPlot* plot) { m_plot = plot; }
    OptCalcPlot* plot() const { return m_plot; }

    // Tells visibilityChanged() before the item changes.
    void setVisible(bool visible) override;
    bool isValid() const;
    // Some sample lies exactly at x.
    bool hasSampleAt(double x) const;

    // The look every curve of the calculator shares: antialiased lines, an icon of a line of
    // 50 by 2 in the legend, pens of width 2 with square caps and bevel joins.
    void applyAppearance(const QColor& color, Qt::PenStyle style);

signals:
    void visibilityChanged(bool visible);

private:
    int m_drawType = -1;
    int m_valueIndex = -1;
    int m_profileType = -1;
    QPersistentModelIndex m_modelIndex;
    OptCalcPlot* m_plot = nullptr;
};
