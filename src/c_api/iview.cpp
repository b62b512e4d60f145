#include "iview.h"

#include "iwindow.h"

#include <QWidget>

IView::~IView() = default;

QList<QAction*> IView::getActions()
{
    return QList<QAction*>();
}

void IView::storeTemplate(Settings& settings)
{
    store(settings);
}

void IView::restoreTemplate(const Settings& first, const Settings& second)
{
    restore(first, second);
}

void IView::apply() {}

QList<QToolBar*> IView::toolBars()
{
    return QList<QToolBar*>();
}

IWindow* IView::window()
{
    // Asked by identifier, so that a frame of another library (or another build of this
    // one) is found as long as it declares the interface.
    const char* iid = qobject_interface_iid<IWindow*>();
    for (QWidget* w = dynamic_cast<QWidget*>(this); w; w = w->parentWidget()) {
        if (void* frame = w->qt_metacast(iid))
            return static_cast<IWindow*>(frame);
    }
    return nullptr;
}
