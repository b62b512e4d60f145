#pragma once

#include "metricunitconverter.h"

#include <QFont>
#include <QList>

#include <qwt_scale_draw.h>

// An axis whose labels come from MetricUnitConverter and never overlap: once real font
// metrics are known (the first paint of the axis) the labels are thinned by halves, and the
// highlighted value (the base asset's price) keeps its label, drawn in red.
class MetricUnitScaleDraw : public QwtScaleDraw, public MetricUnitConverter
{
public:
    explicit MetricUnitScaleDraw(const QFont& labelFont);
    ~MetricUnitScaleDraw() override;

    void draw(QPainter* painter, const QPalette& palette) const override;
    QwtText label(double value) const override;
    // The owner drops the cached label texts when what they say changes.
    using QwtAbstractScaleDraw::invalidateCache;

    // Chooses the ticks that get a label; run on every change of the range.
    void updateLabels();
    QList<double> labelTicks() const { return m_labelTicks; }

    void setHighlightValue(double value) { m_highlightValue = value; }
    double highlightValue() const { return m_highlightValue; }
    void setHighlightEnabled(bool enabled) { m_highlightEnabled = enabled; }
    bool highlightEnabled() const { return m_highlightEnabled; }
    // False until the axis has been painted once.
    void setLabelLayoutReady(bool ready) { m_labelLayoutReady = ready; }
    bool labelLayoutReady() const { return m_labelLayoutReady; }
    int labelMargin() const { return m_labelMargin; }

private:
    // The labels of two neighbouring ticks, each grown by half the margin, meet.
    bool labelsCollide(double left, double right) const;

    QList<double> m_labelTicks;
    QFont m_labelFont;
    int m_labelMargin = 8;
    double m_highlightValue = 0.0;
    bool m_highlightEnabled = false;
    bool m_labelLayoutReady = false;
};
