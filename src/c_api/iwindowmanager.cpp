#include "iwindowmanager.h"

#include "icore.h"
#include "iview.h"
#include "iviewfactory.h"
#include "viewregistry.h"

#include <QApplication>
#include <QWidget>

namespace {
IWindowManager* s_instance = nullptr;
}

const char* const IWindowManager::ExtraKeyProperty = "extraKey";

IWindowManager::IWindowManager(QObject* parent) : QObject(parent)
{
    s_instance = this;
}

IWindowManager::~IWindowManager()
{
    if (s_instance == this)
        s_instance = nullptr;
}

IWindowManager* IWindowManager::instance()
{
    return s_instance;
}

QList<IWindowManager::Hosted> IWindowManager::liveViews() const
{
    QList<Hosted> result;
    for (const Hosted& h : m_views) {
        if (h.widget)
            result.append(h);
    }
    return result;
}

QWidget* IWindowManager::widgetOf(IView* view) const
{
    if (!view)
        return nullptr;
    for (const Hosted& h : m_views) {
        if (h.view == view && h.widget)
            return h.widget;
    }
    return nullptr;
}

QList<IView*> IWindowManager::views() const
{
    QList<IView*> result;
    for (const Hosted& h : liveViews())
        result.append(h.view);
    return result;
}

IView* IWindowManager::activeView() const
{
    const QList<Hosted> live = liveViews();
    if (QWidget* focus = QApplication::focusWidget()) {
        for (const Hosted& h : live) {
            if (h.widget == focus || h.widget->isAncestorOf(focus))
                return h.view;
        }
    }
    if (QWidget* active = QApplication::activeWindow()) {
        for (const Hosted& h : live) {
            if (h.widget->window() == active)
                return h.view;
        }
    }
    return nullptr;
}

bool IWindowManager::activateView(IView* view)
{
    QWidget* widget = widgetOf(view);
    if (!widget)
        return false;
    QWidget* frame = widget->window();
    frame->show();
    frame->raise();
    frame->activateWindow();
    widget->setFocus();
    return true;
}

bool IWindowManager::closeView(IView* view)
{
    if (!widgetOf(view))
        return false;
    forget(view);
    delete view;
    return true;
}

void IWindowManager::forget(IView* view)
{
    for (int i = 0; i < m_views.size(); ++i) {
        if (m_views.at(i).view == view) {
            m_views.removeAt(i);
            return;
        }
    }
}

IView* IWindowManager::openView(const QString& viewId, const QString& extraKey)
{
    ICore* core = ICore::instance();
    IViewFactory* factory = core ? core->viewFactories()->factory(viewId.toUtf8()) : nullptr;
    if (!factory) {
        qWarning("IWindowManager: no view \"%s\" to open", qPrintable(viewId));
        return nullptr;
    }
    IView* view = factory->create(extraKey, parentForView(factory));
    if (!view) {
        qWarning("IWindowManager: the factory of \"%s\" made no view", qPrintable(viewId));
        return nullptr;
    }
    QWidget* widget = dynamic_cast<QWidget*>(view);
    if (!widget) {
        qWarning("IWindowManager: the view \"%s\" is no widget", qPrintable(viewId));
        delete view;
        return nullptr;
    }
    widget->setProperty(ExtraKeyProperty, extraKey);
    view->initCore(core);
    // Listed before it is hosted, so that a host frame that asks for the views finds it.
    m_views.append(Hosted{view, widget});
    if (!hostView(view, widget, factory)) {
        qWarning("IWindowManager: the view \"%s\" could not be hosted", qPrintable(viewId));
        forget(view);
        delete view;
        return nullptr;
    }
    // Drop entries of views destroyed meanwhile, so that the list does not grow for ever.
    m_views = liveViews();
    return view;
}

QWidget* IWindowManager::parentForView(IViewFactory*)
{
    ICore* core = ICore::instance();
    return core ? core->mainWindow() : nullptr;
}

bool IWindowManager::hostView(IView* view, QWidget* widget, IViewFactory* factory)
{
    if (!widget->isWindow())
        widget->setWindowFlag(Qt::Window, true);
    if (widget->windowTitle().isEmpty())
        widget->setWindowTitle(factory->displayName());
    const QSize size = view->defaultSize();
    if (size.isValid())
        widget->resize(size);
    widget->show();
    return true;
}
