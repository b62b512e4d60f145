#include "curvecolorgenerator.h"

#include <cstdlib>

namespace {

// Channels closer than this make two colours look alike on a plot.
const int minChannelDistance = 55;

bool withinOnEveryChannel(const QColor& a, const QColor& b, int distance)
{
    return std::abs(a.red() - b.red()) <= distance && std::abs(a.green() - b.green()) <= distance
           && std::abs(a.blue() - b.blue()) <= distance;
}

} // namespace

void CurveColorGenerator::setReservedColors(const QList<QColor>& colors)
{
    QList<QColor> valid;
    for (const QColor& color : colors) {
        if (color.isValid() && !valid.contains(color))
            valid.append(color);
    }
    if (!colors.isEmpty() && valid.isEmpty())
        return;
    m_reservedColors = valid;
}

QList<QColor> CurveColorGenerator::colors(int count)
{
    if (count < 1)
        return {};
    if (count <= m_colors.size())
        return m_colors.mid(0, count);

    // From coarse steps of hue and brightness to fine ones; the finest pass alone drops the
    // distance rules, so that a large request is still filled.
    static const int hueDivisors[] = {1, 2, 3, 4, 5, 6, 10, 15};
    static const int valueDivisors[] = {1, 2, 5, 10, 25};
    for (int hueDivisor : hueDivisors) {
        for (int valueDivisor : valueDivisors) {
            m_relaxed = hueDivisor == 15 && valueDivisor == 25;
            fill(count, 60 / hueDivisor, 50 / valueDivisor);
            if (m_colors.size() >= count) {
                m_relaxed = false;
                return m_colors;
            }
        }
    }
    m_relaxed = false;

    const int shortfall = count - m_colors.size();
    if (shortfall >= m_colors.size() / 2)
        return m_colors;
    QList<QColor> padded = m_colors;
    padded.append(m_colors.mid(m_colors.size() - shortfall));
    return padded;
}

void CurveColorGenerator::fill(int count, int hueStep, int valueStep)
{
    if (count < 1 || hueStep < 1 || hueStep > 360 || valueStep < 1 || valueStep > 255)
        return;
    static const int saturations[] = {255, 230, 204, 179, 153, 128};
    const int steps = 255 / valueStep;
    const int hues = 360 / hueStep;
    if (steps <= 1)
        return;
    for (int saturation : saturations) {
        for (int k = 1; k < steps; ++k) {
            for (int i = 0; i < hues; ++i) {
                const QColor color = QColor::fromHsv(i * hueStep, saturation, k * valueStep, 255);
                if (clashes(color))
                    continue;
                m_colors.append(color);
                if (m_colors.size() >= count)
                    return;
            }
        }
    }
}

bool CurveColorGenerator::clashes(const QColor& color) const
{
    if (!m_relaxed) {
        for (const QColor& existing : m_colors) {
            if (withinOnEveryChannel(color, existing, minChannelDistance))
                return true;
        }
        for (const QColor& reserved : m_reservedColors) {
            if (withinOnEveryChannel(color, reserved, minChannelDistance - 1))
                return true;
        }
    }
    // Too dark a gray. Only red and green are held against 60: blue is left unlimited, as
    // the colours handed out so far have always been.
    if (color.green() >= 60 || color.red() >= 60)
        return false;
    return color.green() == color.blue() || color.green() == color.red()
           || color.blue() == color.red();
}
