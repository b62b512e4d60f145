#pragma once

// A plug-in implements one IViewFactory per kind of view. The host lists the factories in
// its menus and workspace, and its window manager calls create() to open a view: either
// for IWindowManager::openView(viewId, extraKey), or with a saved key when a workspace is
// restored, followed by IView::restore().

#include "c_api_global.h"

#include <QByteArray>
#include <QIcon>
#include <QString>
#include <QtPlugin>

class IView;
class QWidget;

class C_API_EXPORT IViewFactory
{
public:
    virtual ~IViewFactory();

    // The key of the kind of view; unique among all factories of the host.
    virtual QByteArray viewId() = 0;
    virtual QString displayName() = 0;
    // A longer text for tool tips and the host's view list.
    virtual QString viewDescription();
    virtual QIcon icon();
    // The icon of the view's window in the host's window list.
    virtual QIcon secondIcon();
    // Flags of the kind for the host's window manager; 0 is an ordinary window.
    virtual int viewFlag();
    // A new view; the extra key tells it what to show (empty: the view decides, or waits
    // for restore()). The host owns the result.
    virtual IView* create(const QString& extraKey, QWidget* parent) = 0;
};

Q_DECLARE_INTERFACE(IViewFactory, "com.ormel.velmar.Plugin.IViewFactory/1.0")
