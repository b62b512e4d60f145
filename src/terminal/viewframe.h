#pragma once

#include "c_api/iwindow.h"

#include <QMdiSubWindow>
#include <QPointer>

class IView;
class QMenu;

// The sub-window in which the terminal hosts one view. It follows the view's title, builds
// the view's context menu (the view's own entries, then "Настройки вида...") and, when it
// closes, deletes the view through its IView destructor. A view deleted by other means
// takes its frame with it.
class ViewFrame : public QMdiSubWindow, public IWindow
{
    Q_OBJECT
    Q_INTERFACES(IWindow)

public:
    ViewFrame(IView* view, QWidget* widget, QWidget* parent = nullptr);
    ~ViewFrame() override;

    QWidget* viewWidget() const { return m_widget; }
    // The context menu for a point in the view's coordinates.
    void fillContextMenu(const QPoint& pos, QMenu* menu);

    // IWindow
    IView* view() override;
    QString title() override;
    void setTitle(const QString& title) override;
    void activate() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showContextMenu(const QPoint& pos);
    void onViewDestroyed();

    IView* m_view;
    QPointer<QWidget> m_widget;
};
