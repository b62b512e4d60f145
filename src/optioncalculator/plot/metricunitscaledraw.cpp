#include "metricunitscaledraw.h"

#include "scaleticks.h"

#include <QPainter>
#include <QPalette>

#include <qwt_scale_div.h>
#include <qwt_text.h>

#include <algorithm>

MetricUnitScaleDraw::MetricUnitScaleDraw(const QFont& labelFont) : m_labelFont(labelFont) {}

MetricUnitScaleDraw::~MetricUnitScaleDraw() = default;

void MetricUnitScaleDraw::draw(QPainter* painter, const QPalette& palette) const
{
    painter->save();
    QPen pen = painter->pen();
    pen.setWidth(penWidth());
    pen.setCosmetic(false);
    painter->setPen(pen);

    const QwtScaleDiv& div = scaleDiv();
    if (hasComponent(QwtAbstractScaleDraw::Labels)) {
        painter->save();
        painter->setPen(palette.color(QPalette::Text));
        // The list was chosen by updateLabels(); painting measures nothing.
        QList<double> values = m_labelTicks;
        if (values.isEmpty())
            values = div.ticks(QwtScaleDiv::MajorTick) + div.ticks(QwtScaleDiv::MediumTick);
        std::sort(values.begin(), values.end());
        for (const double v : values) {
            if (!div.contains(v))
                continue;
            const bool highlighted = m_highlightEnabled && v == m_highlightValue;
            painter->setPen(highlighted ? QColor(Qt::red) : palette.color(QPalette::Text));
            drawLabel(painter, v);
        }
        painter->restore();
    }

    if (hasComponent(QwtAbstractScaleDraw::Ticks)) {
        painter->save();
        QPen tickPen = painter->pen();
        tickPen.setColor(palette.color(QPalette::WindowText));
        tickPen.setCapStyle(Qt::FlatCap);
        painter->setPen(tickPen);
        for (int type = QwtScaleDiv::MinorTick; type < QwtScaleDiv::NTickTypes; ++type) {
            for (const double v : div.ticks(type)) {
                if (div.contains(v))
                    drawTick(painter, v, tickLength(QwtScaleDiv::TickType(type)));
            }
        }
        painter->restore();
    }

    if (hasComponent(QwtAbstractScaleDraw::Backbone)) {
        painter->save();
        QPen backbonePen = painter->pen();
        backbonePen.setColor(palette.color(QPalette::WindowText));
        backbonePen.setCapStyle(Qt::FlatCap);
        painter->setPen(backbonePen);
        drawBackbone(painter);
        painter->restore();
    }

    painter->restore();
}

QwtText MetricUnitScaleDraw::label(double value) const
{
    return QwtText(convert(value), QwtText::PlainText);
}

void MetricUnitScaleDraw::updateLabels()
{
    // Percentages are short texts and may sit closer together.
    m_labelMargin = isActive() ? 4 : 8;

    const QwtScaleDiv& div = scaleDiv();
    if (div.isEmpty())
        return;
    const QList<double> major = div.ticks(QwtScaleDiv::MajorTick);
    const QList<double> medium = div.ticks(QwtScaleDiv::MediumTick);
    const int tickCount = major.size() + medium.size();
    if (tickCount == 0)
        return;
    // A division that lists one value twice is in the middle of being rebuilt; the labels
    // chosen for the last one serve until it settles.
    for (const double t : major) {
        if (medium.contains(t))
            return;
    }
    const QwtInterval interval = div.interval();
    if (!interval.isValid() || interval.isNull())
        return;

    int h = -1;
    const QList<double> ticks = labelCandidates(major, medium, m_highlightEnabled, m_highlightValue,
                                                interval.minValue(), interval.maxValue(), &h);
    // Without real font metrics every tick keeps its label; the first paint brings them.
    if (!m_labelLayoutReady) {
        m_labelTicks = ticks;
        return;
    }
    m_labelTicks = thinLabels(ticks, h, tickCount, [this](double left, double right) {
        return labelsCollide(left, right);
    });
}

bool MetricUnitScaleDraw::labelsCollide(double left, double right) const
{
    const int grow = m_labelMargin / 2;
    QRect a = boundingLabelRect(m_labelFont, left);
    QRect b = boundingLabelRect(m_labelFont, right);
    if (!a.isValid() || !b.isValid())
        return false;
    a.adjust(-grow, -grow, grow, grow);
    b.adjust(-grow, -grow, grow, grow);
    return a.intersects(b);
}
