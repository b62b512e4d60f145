#pragma once

#include "contact_global.h"

#include <QLineEdit>

class NumberValidator;

// A line edit for a decimal number with a fixed number of decimal places (digits), a limit
// on the digits before the separator (numDigits), and zero and negative numbers allowed or
// not. Defaults: at most 15 integer digits, zero allowed, negatives not.
//
// The user may type "." or ","; the editor shows the separator of its locale() ("," in a
// Russian one, "." otherwise). Keys that would break a rule are refused. The text is kept
// tidy as it is typed or pasted: white space goes, ",5" becomes "0,5", "07" becomes "7"; on
// leaving the editor a trailing separator and a lone "-" go. Up and Down step the value by
// one unit of the last decimal place, skipping zero when zero is not allowed.
//
// The value is the text read as a number, in canonical form with "." as the separator
// (see getValue()). changedValue() is emitted each time the value changes, by typing or by
// setValue(), and only ever carries a value within the rules: while the text is empty, a
// lone "-" or a zero that is not allowed, there is no value and nothing is emitted.
class CONTACT_EXPORT NumberEditor : public QLineEdit
{
    Q_OBJECT
public:
    explicit NumberEditor(QWidget* parent = nullptr, int digits = 0);

    // Changing a rule keeps the text if it still fits; a fraction that is now too long is
    // rounded half away from zero; a text that fits no more is cleared.
    void setDigits(int digits);       // 0..18
    void setNumDigits(int numDigits); // 1..15
    void setCanBeZero(bool canBeZero);
    void setCanNegative(bool canNegative);
    int digits() const;
    int numDigits() const;
    bool canBeZero() const;
    bool canNegative() const;

    // Shows a value given with either separator ("1.5", "-3", " 2,25 "); too many decimal
    // places are rounded half away from zero. An empty string clears the editor. A value
    // that is no number or breaks a rule (also after rounding) leaves the editor as it was
    // and returns false. Emits changedValue() when the value changes, and keeps track of the
    // value even while signals are blocked.
    bool setValue(const QString& value);
    // The value in canonical form: "." as the separator, no sign on zero, no trailing
    // separator, the decimal places as typed ("-12.50", "0.5", "7"). An empty string while
    // the text holds no value within the rules.
    QString getValue() const;

    // Public so that an event filter that owns the editor can hand it a key directly.
    void keyPressEvent(QKeyEvent* event) override;

signals:
    void changedValue(const QString& value);

protected:
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void applyRules();
    void updateValue();
    void stepBy(int steps);

    NumberValidator* m_validator;
    QString m_value; // the last value announced
};
