#pragma once

// A plug-in implements IView on the widget of each window or panel it brings, declared
// with Q_INTERFACES. The host creates the view through its IViewFactory, sets the widget's
// dynamic property "extraKey" to the key it was opened with, calls initCore(), and hosts
// it in a frame (IWindow). The host saves a workspace through store() and opens it again
// through create() and restore(); it builds the view's context menu, settings dialog and
// tool bars from the other operations, and deletes the view through this interface.
//
// A widget that implements IView inherits two window() functions; inside such a class
// QWidget::window() must be called by its full name.

#include "c_api_global.h"

#include <QList>
#include <QSize>
#include <QtPlugin>

class ICore;
class IViewSettingsPage;
class IWindow;
class QAction;
class QMenu;
class QObject;
class QPoint;
class QToolBar;
class Settings;

class C_API_EXPORT IView
{
public:
    virtual ~IView();

    virtual void initCore(ICore* core) = 0;
    // The pages of the view's settings dialog, made with the parent given.
    virtual QList<IViewSettingsPage*> getSettingsPages(QObject* parent) = 0;
    // Actions the host puts in the view's frame or menu.
    virtual QList<QAction*> getActions();
    // Fills the context menu for a point in the view's own coordinates.
    virtual void populateActionsAt(const QPoint& pos, QMenu* menu) = 0;
    // Saves the view with its content.
    virtual void store(Settings& settings) const = 0;
    // Saves layout and options only; by default all that store() saves.
    virtual void storeTemplate(Settings& settings);
    // Restores what storeTemplate() saved; by default through restore().
    virtual void restoreTemplate(const Settings& first, const Settings& second);
    // Restores what store() saved.
    virtual void restore(const Settings& first, const Settings& second) = 0;
    // The view's settings changed.
    virtual void apply();
    // The size of a new window of this view.
    virtual QSize defaultSize() = 0;
    virtual QList<QToolBar*> toolBars();
    // The frame around the view: the first of the view's widget and its parents that
    // implements IWindow; null when the view is not hosted.
    virtual IWindow* window();
};

Q_DECLARE_INTERFACE(IView, "com.ormel.velmar.Plugin.IView/1.0")
