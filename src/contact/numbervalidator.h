#pragma once

#include "contact_global.h"

#include <QValidator>

// The input rules of a NumberEditor: an optional minus sign (when negatives are allowed),
// at most numDigits() digits before the decimal separator, at most digits() after it.
//
// validate() also brings the text to its shown form: "." and "," both become separator(),
// white space (group separators of a pasted number) goes, a bare separator gets its "0"
// (",5" becomes "0,5") and leading zeros go ("007" becomes "7").
//
// States: a number within the rules is Acceptable ("5," too: it is 5). The empty text, a
// lone "-" and zero while zero is not allowed are Intermediate: the user may be on the way
// to a number, but they are no value. Everything else is Invalid, so the line edit refuses
// the key press.
class CONTACT_EXPORT NumberValidator : public QValidator
{
    Q_OBJECT
public:
    static constexpr int MaxDigits = 18;    // the finest scale of a decimal
    static constexpr int MaxNumDigits = 15; // every such integer part fits a decimal

    explicit NumberValidator(QObject* parent = nullptr);

    int digits() const { return m_digits; }
    void setDigits(int digits); // clamped to 0..MaxDigits
    int numDigits() const { return m_numDigits; }
    void setNumDigits(int numDigits); // clamped to 1..MaxNumDigits
    bool canBeZero() const { return m_canBeZero; }
    void setCanBeZero(bool canBeZero);
    bool canNegative() const { return m_canNegative; }
    void setCanNegative(bool canNegative);
    // The decimal separator shown: "." or ",".
    QChar separator() const { return m_separator; }
    void setSeparator(QChar separator);

    State validate(QString& input, int& pos) const override;
    // Drops a lone minus sign, which is no number.
    void fixup(QString& input) const override;

    // The number of an Acceptable text in canonical form: "." as the separator, no sign on
    // zero, no trailing separator ("-12.50", "0.5", "7"). An empty string for other texts.
    QString valueOf(const QString& text) const;
    // The shown text for a value given with either separator, rounded half away from zero
    // to digits(). False when the value is no number or breaks a rule even so.
    bool textFor(const QString& value, QString* text) const;

private:
    void normalize(QString& text, int& pos) const;

    int m_digits = 0;
    int m_numDigits = MaxNumDigits;
    bool m_canBeZero = true;
    bool m_canNegative = false;
    QChar m_separator = QLatin1Char('.');
};
