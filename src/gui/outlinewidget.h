#pragma once

#include "gui_global.h"

#include <QFrame>
#include <QList>
#include <QPointer>

class QToolButton;
class QVBoxLayout;

// A column of sections, each a title bar over a widget. Clicking a title collapses its
// section to the bar or expands it again. A title can be highlighted by a bold font and by
// the palette's highlight colour, to show that the section holds something in effect.
//
// Sections are numbered from 0 in the order they were added; numbers out of range are
// ignored, and queries about them answer false.
class GUI_EXPORT OutlineWidget : public QFrame
{
    Q_OBJECT
public:
    explicit OutlineWidget(QWidget* parent = nullptr);
    ~OutlineWidget() override;

    // Adds an expanded section showing widget, which the outline takes over; returns its
    // number, or -1 for a null widget. A widget that has a section already keeps it.
    int addWidget(QWidget* widget, const QString& title);
    int count() const;

    QString text(int index) const;
    void setText(int index, const QString& title);
    QWidget* widget(int index) const;
    // The title bar, for layouts that size themselves to it.
    QWidget* header(int index) const;

    bool isCollapsed(int index) const;
    bool isExpanded(int index) const;
    void setExpanded(int index, bool expanded);
    void collapseAll();
    void expandAll();

    void setHighlightedColorEnabled(int index, bool enabled);
    bool isHighlightedColorEnabled(int index) const;
    void setHighlightedFontEnabled(int index, bool enabled);
    bool isHighlightedFontEnabled(int index) const;

signals:
    void collapsed(int index);
    void expanded(int index);

protected:
    void changeEvent(QEvent* event) override;

private:
    struct Section
    {
        QToolButton* header = nullptr;
        QPointer<QWidget> widget;
        bool expanded = true;
        bool highlightedColor = false;
        bool highlightedFont = false;
    };

    bool isValid(int index) const;
    void toggle();
    void updateHeader(const Section& section) const;

    QVBoxLayout* m_layout;
    QList<Section> m_sections;
};
