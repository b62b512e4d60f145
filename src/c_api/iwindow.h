#pragma once

// The host implements IWindow on the frame in which it hosts a view (a dock panel or a
// top-level window), declared with Q_INTERFACES so that IView::window() finds it among the
// view's parents. Plug-ins only ask for it; they do not implement it.

#include "c_api_global.h"

#include <QString>
#include <QtPlugin>

class IView;

class C_API_EXPORT IWindow
{
public:
    virtual ~IWindow();

    // The view this frame hosts.
    virtual IView* view() = 0;
    virtual QString title() = 0;
    virtual void setTitle(const QString& title) = 0;
    // Brings the frame to the front and gives it the focus.
    virtual void activate() = 0;
};

Q_DECLARE_INTERFACE(IWindow, "com.ormel.velmar.Plugin.IWindow/1.0")
