#include "elidecombobox.h"

#include <QEvent>
#include <QHelpEvent>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QToolTip>

ElideComboBox::ElideComboBox(QWidget* parent) : QComboBox(parent) {}

ElideComboBox::~ElideComboBox() = default;

void ElideComboBox::setElideMode(Qt::TextElideMode mode)
{
    if (m_elideMode == mode)
        return;
    m_elideMode = mode;
    update();
}

QString ElideComboBox::displayedText() const
{
    const QString text = currentText();
    if (isEditable())
        return text;
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    int width = field.width();
    if (!option.currentIcon.isNull())
        width -= option.iconSize.width() + 4;
    return fontMetrics().elidedText(text, m_elideMode, qMax(0, width));
}

void ElideComboBox::paintEvent(QPaintEvent* /*event*/)
{
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = displayedText();
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

bool ElideComboBox::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        const QString text = currentText();
        if (displayedText() != text) {
            QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text, this);
            return true;
        }
    }
    return QComboBox::event(event);
}
