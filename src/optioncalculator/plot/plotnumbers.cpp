#include "plotnumbers.h"

#include <cmath>

bool fuzzyEqual(double a, double b)
{
    return std::min(std::fabs(a), std::fabs(b)) >= std::fabs(a - b) * 1e12;
}

bool fuzzyZero(double x)
{
    return fuzzyEqual(1.0, x + 1.0);
}

double roundHalfUp(double d)
{
    if (d >= 0)
        return std::trunc(d + 0.5);
    const double k = std::trunc(d - 1.0);
    return k + std::trunc(d - k + 0.5);
}

QString formatNumber(double value, int decimals)
{
    if (decimals < 0 || !std::isfinite(value))
        return QString();
    QString text = QString::number(value, 'f', decimals);
    if (text.contains(QLatin1Char('.'))) {
        int end = text.size();
        while (end > 0 && text.at(end - 1) == QLatin1Char('0'))
            --end;
        if (end > 0 && text.at(end - 1) == QLatin1Char('.'))
            --end;
        text.truncate(end);
    }
    if (text == QLatin1String("-0"))
        text = QStringLiteral("0");
    return text;
}

int decimalsOf(double value, bool limited)
{
    const QString text = formatNumber(value, 10);
    if (text.isEmpty())
        return -1;
    const int point = text.indexOf(QLatin1Char('.'));
    const int decimals = point < 0 ? 0 : text.size() - point - 1;
    if (!limited)
        return decimals;
    int integerDigits = point < 0 ? text.size() : point;
    if (text.startsWith(QLatin1Char('-')))
        --integerDigits;
    if (integerDigits >= 17)
        return -1;
    if (integerDigits + decimals > 16)
        return 16 - integerDigits;
    return decimals;
}

namespace {

// A number passed through its fixed text with 10 decimals, which sheds the noise of the
// arithmetic before it is compared.
bool throughText(double value, double* result)
{
    bool ok = false;
    *result = QString::number(value, 'f', 10).toDouble(&ok);
    return ok && std::isfinite(*result);
}

} // namespace

QString roundToStepText(double value, double step)
{
    if (!(step > 0) || fuzzyZero(step) || !std::isfinite(value))
        return QString();
    const QString quotient = formatNumber(value / step, 10);
    if (quotient.isEmpty())
        return QString();
    bool ok = false;
    const double whole = std::trunc(quotient.toDouble(&ok));
    if (!ok || std::fabs(whole) > 9.2e18)
        return QString();
    const qint64 k = qint64(whole);

    double magnitude = 0.0, distance = 0.0;
    if (!throughText(std::fabs(value), &magnitude)
        || !throughText(std::fabs(std::fabs(double(k)) * step - magnitude), &distance))
        return QString();
    if ((distance < 0 && !fuzzyZero(distance)) || (distance > step && !fuzzyEqual(distance, step)))
        return QString();

    double result = double(k) * step;
    if (distance >= step * 0.5)
        result += (k < 0 ? -step : step);
    if ((result < 0) != (value < 0) && result != 0.0)
        result = -result;
    return formatNumber(result, 10);
}
