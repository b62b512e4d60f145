#pragma once

#include "gui_global.h"

#include <QComboBox>

// A combo box that shortens a current text too long for its width with an ellipsis, rather
// than cutting it off, and shows the whole text as its tool tip then. The list itself shows
// full texts. An editable box shows its line edit as usual.
class GUI_EXPORT ElideComboBox : public QComboBox
{
    Q_OBJECT
public:
    explicit ElideComboBox(QWidget* parent = nullptr);
    ~ElideComboBox() override;

    Qt::TextElideMode elideMode() const { return m_elideMode; }
    void setElideMode(Qt::TextElideMode mode);

    // The current text as it is drawn at the present width.
    QString displayedText() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    Qt::TextElideMode m_elideMode = Qt::ElideRight;
};
