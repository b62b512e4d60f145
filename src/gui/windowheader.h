#pragma once

#include "gui_global.h"

#include <QColor>
#include <QPointer>
#include <QWidget>

class QToolButton;

// The title bar of a panel the terminal hosts, such as a dock: the panel's title, a button
// that floats the panel and one that closes it. Set on a QDockWidget with
// setTitleBarWidget; mouse presses on the title are left to the dock, which then moves the
// panel and floats it on a double click as usual.
class GUI_EXPORT WindowHeader : public QWidget
{
    Q_OBJECT
public:
    enum Button {
        CloseButton = 0,
        // Panels that must stay docked disable this one.
        FloatButton = 1
    };
    Q_ENUM(Button)

    explicit WindowHeader(QWidget* parent = nullptr);
    ~WindowHeader() override;

    // The panel: its window title is shown and followed. The float button floats it when
    // it is a QDockWidget, the close button closes it.
    void setMainWidget(QWidget* widget);
    QWidget* mainWidget() const;
    QString title() const;

    void setBtnEnabled(Button button, bool enabled);
    bool isBtnEnabled(Button button) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // The colour the bar is painted in.
    virtual QColor titleColor() const;

signals:
    void floatClicked();
    void closeClicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void onFloatClicked();
    void onCloseClicked();
    QToolButton* button(Button button) const;

    QPointer<QWidget> m_mainWidget;
    QToolButton* m_floatButton;
    QToolButton* m_closeButton;
};
