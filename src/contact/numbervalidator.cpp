#include "numbervalidator.h"

#include <database/decimal.h>

namespace {

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// The pieces of a text in shown form.
struct Parts
{
    bool negative = false;
    int integerStart = 0;
    int integerDigits = 0;
    bool hasSeparator = false;
    int fractionStart = 0;
    int fractionDigits = 0;
};

// False when the text is no sign-digits-separator-digits sequence at all.
bool split(const QString& text, QChar separator, Parts* parts)
{
    const int n = text.size();
    int i = 0;
    if (i < n && text.at(i) == QLatin1Char('-')) {
        parts->negative = true;
        ++i;
    }
    parts->integerStart = i;
    while (i < n && isDigit(text.at(i)))
        ++i;
    parts->integerDigits = i - parts->integerStart;
    if (i < n && text.at(i) == separator) {
        parts->hasSeparator = true;
        parts->fractionStart = ++i;
        while (i < n && isDigit(text.at(i)))
            ++i;
        parts->fractionDigits = i - parts->fractionStart;
    }
    return i == n;
}

bool isZero(const QString& text, const Parts& parts)
{
    for (int i = 0; i < parts.integerDigits; ++i) {
        if (text.at(parts.integerStart + i) != QLatin1Char('0'))
            return false;
    }
    for (int i = 0; i < parts.fractionDigits; ++i) {
        if (text.at(parts.fractionStart + i) != QLatin1Char('0'))
            return false;
    }
    return true;
}

} // namespace

NumberValidator::NumberValidator(QObject* parent) : QValidator(parent) {}

void NumberValidator::setDigits(int digits)
{
    digits = qBound(0, digits, MaxDigits);
    if (digits == m_digits)
        return;
    m_digits = digits;
    emit changed();
}

void NumberValidator::setNumDigits(int numDigits)
{
    numDigits = qBound(1, numDigits, MaxNumDigits);
    if (numDigits == m_numDigits)
        return;
    m_numDigits = numDigits;
    emit changed();
}

void NumberValidator::setCanBeZero(bool canBeZero)
{
    if (canBeZero == m_canBeZero)
        return;
    m_canBeZero = canBeZero;
    emit changed();
}

void NumberValidator::setCanNegative(bool canNegative)
{
    if (canNegative == m_canNegative)
        return;
    m_canNegative = canNegative;
    emit changed();
}

void NumberValidator::setSeparator(QChar separator)
{
    separator = separator == QLatin1Char(',') ? separator : QLatin1Char('.');
    if (separator == m_separator)
        return;
    m_separator = separator;
    emit changed();
}

void NumberValidator::normalize(QString& text, int& pos) const
{
    QString out;
    out.reserve(text.size() + 1);
    int cursor = 0;
    for (int i = 0; i < text.size(); ++i) {
        if (i == pos)
            cursor = out.size();
        QChar c = text.at(i);
        if (c.isSpace())
            continue;
        if (c == QLatin1Char('.') || c == QLatin1Char(','))
            c = m_separator;
        out += c;
    }
    if (pos >= text.size())
        cursor = out.size();

    const int start = out.startsWith(QLatin1Char('-')) ? 1 : 0;
    if (start < out.size() && out.at(start) == m_separator) {
        out.insert(start, QLatin1Char('0'));
        if (cursor > start)
            ++cursor;
    }
    int zeros = 0;
    while (start + zeros + 1 < out.size() && out.at(start + zeros) == QLatin1Char('0') &&
           isDigit(out.at(start + zeros + 1)))
        ++zeros;
    if (zeros > 0) {
        out.remove(start, zeros);
        cursor -= qBound(0, cursor - start, zeros);
    }
    text = out;
    pos = cursor;
}

QValidator::State NumberValidator::validate(QString& input, int& pos) const
{
    normalize(input, pos);
    Parts parts;
    if (!split(input, m_separator, &parts))
        return Invalid;
    if (parts.negative && !m_canNegative)
        return Invalid;
    if (parts.hasSeparator && m_digits == 0)
        return Invalid;
    if (parts.fractionDigits > m_digits || parts.integerDigits > m_numDigits)
        return Invalid;
    if (parts.integerDigits == 0) // "" or "-": a bare separator got its zero above
        return Intermediate;
    if (!m_canBeZero && isZero(input, parts))
        return Intermediate;
    return Acceptable;
}

void NumberValidator::fixup(QString& input) const
{
    if (input == QLatin1String("-"))
        input.clear();
}

QString NumberValidator::valueOf(const QString& text) const
{
    QString shown = text;
    int pos = 0;
    if (validate(shown, pos) != Acceptable)
        return QString();
    Parts parts;
    split(shown, m_separator, &parts);
    QString value;
    if (parts.negative && !isZero(shown, parts))
        value += QLatin1Char('-');
    value += shown.midRef(parts.integerStart, parts.integerDigits);
    if (parts.fractionDigits > 0) {
        value += QLatin1Char('.');
        value += shown.midRef(parts.fractionStart, parts.fractionDigits);
    }
    return value;
}

bool NumberValidator::textFor(const QString& value, QString* text) const
{
    bool ok = false;
    decimal number = decimal::fromAnyString(value, &ok);
    if (!ok)
        return false;
    if (number.scale() > m_digits)
        number.setScale(short(m_digits));
    QString shown = number.toString();
    shown.replace(QLatin1Char('.'), m_separator);
    int pos = 0;
    if (validate(shown, pos) != Acceptable)
        return false;
    *text = shown;
    return true;
}
