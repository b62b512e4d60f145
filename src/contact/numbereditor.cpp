#include "numbereditor.h"

#include "numbervalidator.h"

#include <database/decimal.h>

#include <QKeyEvent>

NumberEditor::NumberEditor(QWidget* parent, int digits)
    : QLineEdit(parent), m_validator(new NumberValidator(this))
{
    m_validator->setDigits(digits);
    m_validator->setSeparator(locale().decimalPoint());
    setValidator(m_validator);
    setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    setInputMethodHints(Qt::ImhFormattedNumbersOnly);
    connect(this, &QLineEdit::textChanged, this, &NumberEditor::updateValue);
}

void NumberEditor::setDigits(int digits)
{
    m_validator->setDigits(digits);
    applyRules();
}

void NumberEditor::setNumDigits(int numDigits)
{
    m_validator->setNumDigits(numDigits);
    applyRules();
}

void NumberEditor::setCanBeZero(bool canBeZero)
{
    m_validator->setCanBeZero(canBeZero);
    applyRules();
}

void NumberEditor::setCanNegative(bool canNegative)
{
    m_validator->setCanNegative(canNegative);
    applyRules();
}

int NumberEditor::digits() const
{
    return m_validator->digits();
}

int NumberEditor::numDigits() const
{
    return m_validator->numDigits();
}

bool NumberEditor::canBeZero() const
{
    return m_validator->canBeZero();
}

bool NumberEditor::canNegative() const
{
    return m_validator->canNegative();
}

bool NumberEditor::setValue(const QString& value)
{
    QString shown;
    if (!value.trimmed().isEmpty() && !m_validator->textFor(value, &shown))
        return false;
    setText(shown);
    // Also when signals are blocked, so that the next edit is compared with this value.
    updateValue();
    return true;
}

QString NumberEditor::getValue() const
{
    return m_validator->valueOf(text());
}

void NumberEditor::keyPressEvent(QKeyEvent* event)
{
    const bool step = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (step && !isReadOnly() && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
        stepBy(event->key() == Qt::Key_Up ? 1 : -1);
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void NumberEditor::focusOutEvent(QFocusEvent* event)
{
    // Leave the text tidy: "5," is 5, and a lone "-" is nothing. The line edit itself takes
    // only a fix that ends in a value.
    QString shown = text();
    if (getValue().isEmpty())
        m_validator->fixup(shown);
    else if (shown.endsWith(m_validator->separator()))
        shown.chop(1);
    if (shown != text())
        setText(shown);
    QLineEdit::focusOutEvent(event);
}

void NumberEditor::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LocaleChange) {
        m_validator->setSeparator(locale().decimalPoint());
        applyRules();
    }
    QLineEdit::changeEvent(event);
}

void NumberEditor::applyRules()
{
    QString shown = text();
    int pos = cursorPosition();
    if (m_validator->validate(shown, pos) == QValidator::Invalid) {
        // The text suited the old rules; keep the nearest number the new ones allow.
        if (!m_validator->textFor(text(), &shown))
            shown.clear();
        pos = shown.size();
    }
    if (shown != text()) {
        setText(shown);
        setCursorPosition(pos);
    }
    updateValue();
}

void NumberEditor::updateValue()
{
    const QString value = getValue();
    if (value.isEmpty() || value == m_value)
        return;
    m_value = value;
    emit changedValue(value);
}

void NumberEditor::stepBy(int steps)
{
    bool ok = false;
    decimal current = decimal::fromAnyString(getValue(), &ok);
    if (!ok)
        current = decimal::zero;
    const decimal step(steps, short(digits()));
    decimal next = current + step;
    if (next.isZero() && !canBeZero())
        next += step;
    next.setScale(short(digits()));
    setValue(next.toString());
}
