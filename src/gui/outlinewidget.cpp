#include "outlinewidget.h"

#include <QEvent>
#include <QToolButton>
#include <QVBoxLayout>

OutlineWidget::OutlineWidget(QWidget* parent) : QFrame(parent), m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    // Keeps collapsed sections at the top instead of spreading them out.
    m_layout->addStretch(1);
}

OutlineWidget::~OutlineWidget() = default;

int OutlineWidget::addWidget(QWidget* widget, const QString& title)
{
    if (!widget) {
        qWarning("OutlineWidget: null widget skipped");
        return -1;
    }
    for (int i = 0; i < m_sections.size(); ++i) {
        if (m_sections.at(i).widget == widget)
            return i;
    }
    Section section;
    section.header = new QToolButton(this);
    section.header->setText(title);
    section.header->setAutoRaise(true);
    section.header->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    section.header->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    section.header->setFocusPolicy(Qt::TabFocus);
    section.widget = widget;
    connect(section.header, &QToolButton::clicked, this, &OutlineWidget::toggle);

    const int stretch = m_layout->count() - 1;
    m_layout->insertWidget(stretch, section.header);
    m_layout->insertWidget(stretch + 1, widget);
    widget->show();
    m_sections.append(section);
    updateHeader(section);
    return m_sections.size() - 1;
}

int OutlineWidget::count() const
{
    return m_sections.size();
}

QString OutlineWidget::text(int index) const
{
    return isValid(index) ? m_sections.at(index).header->text() : QString();
}

void OutlineWidget::setText(int index, const QString& title)
{
    if (isValid(index))
        m_sections.at(index).header->setText(title);
}

QWidget* OutlineWidget::widget(int index) const
{
    return isValid(index) ? m_sections.at(index).widget.data() : nullptr;
}

QWidget* OutlineWidget::header(int index) const
{
    return isValid(index) ? m_sections.at(index).header : nullptr;
}

bool OutlineWidget::isCollapsed(int index) const
{
    return isValid(index) && !m_sections.at(index).expanded;
}

bool OutlineWidget::isExpanded(int index) const
{
    return isValid(index) && m_sections.at(index).expanded;
}

void OutlineWidget::setExpanded(int index, bool expanded)
{
    if (!isValid(index) || m_sections.at(index).expanded == expanded)
        return;
    Section& section = m_sections[index];
    section.expanded = expanded;
    if (section.widget)
        section.widget->setVisible(expanded);
    updateHeader(section);
    if (expanded)
        emit this->expanded(index);
    else
        emit collapsed(index);
}

void OutlineWidget::collapseAll()
{
    for (int i = 0; i < m_sections.size(); ++i)
        setExpanded(i, false);
}

void OutlineWidget::expandAll()
{
    for (int i = 0; i < m_sections.size(); ++i)
        setExpanded(i, true);
}

void OutlineWidget::setHighlightedColorEnabled(int index, bool enabled)
{
    if (!isValid(index))
        return;
    m_sections[index].highlightedColor = enabled;
    updateHeader(m_sections.at(index));
}

bool OutlineWidget::isHighlightedColorEnabled(int index) const
{
    return isValid(index) && m_sections.at(index).highlightedColor;
}

void OutlineWidget::setHighlightedFontEnabled(int index, bool enabled)
{
    if (!isValid(index))
        return;
    m_sections[index].highlightedFont = enabled;
    updateHeader(m_sections.at(index));
}

bool OutlineWidget::isHighlightedFontEnabled(int index) const
{
    return isValid(index) && m_sections.at(index).highlightedFont;
}

void OutlineWidget::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    // The highlight is taken from the outline's own palette and font.
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        for (const Section& section : qAsConst(m_sections))
            updateHeader(section);
    }
}

bool OutlineWidget::isValid(int index) const
{
    return index >= 0 && index < m_sections.size();
}

void OutlineWidget::toggle()
{
    for (int i = 0; i < m_sections.size(); ++i) {
        if (m_sections.at(i).header == sender()) {
            setExpanded(i, !m_sections.at(i).expanded);
            return;
        }
    }
}

void OutlineWidget::updateHeader(const Section& section) const
{
    section.header->setArrowType(section.expanded ? Qt::DownArrow : Qt::RightArrow);

    QFont font = this->font();
    font.setBold(section.highlightedFont);
    section.header->setFont(font);

    QPalette palette = this->palette();
    if (section.highlightedColor) {
        const QColor highlight = palette.color(QPalette::Highlight);
        palette.setColor(QPalette::ButtonText, highlight);
        palette.setColor(QPalette::WindowText, highlight);
    }
    section.header->setPalette(palette);
}
