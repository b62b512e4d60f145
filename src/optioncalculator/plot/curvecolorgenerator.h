#pragma once

#include <QColor>
#include <QList>

// Colours for the curves of the positions: as many as asked for, each far enough from the
// others and from the reserved colours (the summary curves, the base price line and the
// grid) to be told apart on white. Beyond what the colour space gives, the rules relax, and
// a request for thousands returns a shorter list, or one padded with repeats of its tail;
// it never blocks.
class CurveColorGenerator
{
public:
    // Keeps the valid colours, in order and without repeats; a non-empty list without a
    // valid colour leaves the reserved colours as they were.
    void setReservedColors(const QList<QColor>& colors);
    QList<QColor> reservedColors() const { return m_reservedColors; }
    // The first count colours; the same count asked again gives the same colours.
    QList<QColor> colors(int count);

private:
    void fill(int count, int hueStep, int valueStep);
    bool clashes(const QColor& color) const;

    QList<QColor> m_colors;
    QList<QColor> m_reservedColors;
    bool m_relaxed = false;
};
