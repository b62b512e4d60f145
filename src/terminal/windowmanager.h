#pragma once

#include "c_api/iwindowmanager.h"

#include <QPointer>
#include <QRect>

#include <QMdiArea>
class Settings;
class ViewFrame;

// The terminal's window manager: each view lives in a ViewFrame, a sub-window of the main
// window's QMdiArea, sized by IView::defaultSize() and titled after the view. A factory
// that throws is reported to the user and opens nothing.
class WindowManager : public IWindowManager
{
    Q_OBJECT

public:
    // The dynamic property of a view's widget that holds the title the user gave.
    static const char* const UserTitleProperty;

    explicit WindowManager(QMdiArea* area, QObject* parent = nullptr);
    ~WindowManager() override;

    QMdiArea* area() const { return m_area; }
    ViewFrame* frameOf(IView* view) const;
    // The view ids the views were opened with, by view.
    QByteArray viewIdOf(IView* view) const;
    // The first view opened with that view id and key; null if none.
    IView* findView(const QString& viewId, const QString& key) const;

    // Opens a view as a workspace saved it: created with its key, given its user title,
    // hosted, its frame put where it was (an invalid rectangle: where a new one goes), and
    // restore(settings, settings) called. Null when nothing opened.
    IView* restoreView(const QString& viewId, const QString& key, const QString& userTitle,
                       const QRect& geometry, const Settings& settings);

public slots:
    IView* openView(const QString& viewId, const QString& extraKey) override;
    bool activateView(IView* view) override;

protected:
    QWidget* parentForView(IViewFactory* factory) override;
    bool hostView(IView* view, QWidget* widget, IViewFactory* factory) override;

private:
    QPointer<QMdiArea> m_area;
    // Set around create() by restoreView(), for hostView() to read.
    QString m_pendingUserTitle;
};
