#pragma once

// Opens and hosts views. A plug-in calls IWindowManager::instance()->openView(viewId,
// extraKey) to open a view of any kind the host knows (its own, or another plug-in's).
// The host makes one window manager at start: this class, which shows each view as a
// window of its own over the main window, or a subclass that overrides hostView() to put
// views into its docks and frames (IWindow).
//
// openView() finds the factory in ICore::viewFactories(), calls create(extraKey, parent),
// sets the dynamic property "extraKey" of the view's widget, calls IView::initCore() and
// then hostView(). The views opened so stay in views() until their widget is destroyed.
//
// The operations are virtual slots in a fixed order that plug-ins rely on: openView() is
// number 4. New operations go at the end.

#include "c_api_global.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class IView;
class IViewFactory;
class QWidget;

class C_API_EXPORT IWindowManager : public QObject
{
    Q_OBJECT
public:
    // The name of the dynamic property that carries a view's extra key.
    static const char* const ExtraKeyProperty;

    // The newest window manager becomes instance() until it is destroyed.
    explicit IWindowManager(QObject* parent = nullptr);
    ~IWindowManager() override;

    // Null before the host made its window manager and after it is gone.
    static IWindowManager* instance();

public slots:
    // The views opened through openView() whose widgets still live, oldest first.
    virtual QList<IView*> views() const;
    // The hosted view that holds the focus, or else the one in the active window; or null.
    virtual IView* activeView() const;
    // Brings a hosted view to the front; false for a view this manager does not host.
    virtual bool activateView(IView* view);
    // Deletes a hosted view; false for a view this manager does not host.
    virtual bool closeView(IView* view);
    // Opens a new view of the kind whose factory has that view id; the new view, or null
    // when nothing opened (an unknown id is reported as a warning).
    virtual IView* openView(const QString& viewId, const QString& extraKey);

protected:
    // The parent handed to the factory: the host's main window.
    virtual QWidget* parentForView(IViewFactory* factory);
    // Puts a created and initialized view on screen. False when it cannot be hosted: the
    // view is then deleted. By default a window of its own, titled after the factory.
    virtual bool hostView(IView* view, QWidget* widget, IViewFactory* factory);

private:
    struct Hosted
    {
        IView* view;
        QPointer<QWidget> widget;
    };

    QList<Hosted> liveViews() const;
    QWidget* widgetOf(IView* view) const;
    void forget(IView* view);

    QList<Hosted> m_views;
};
