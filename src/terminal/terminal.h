#pragma once

#include "terminaloptions.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <vector>

class IViewFactory;
class MainWindow;
class MarketSource;
class OrdersTable;
class PluginLoader;
class TerminalCore;
class WindowManager;
class Workspace;

// The terminal as a whole: the core, the main window with its window manager, the market
// feed, the plug-ins and the workspace, put together in the order each needs the others,
// and taken apart in the reverse order at exit.
class Terminal : public QObject
{
    Q_OBJECT

public:
    static const int AutosaveIntervalMs = 60000;

    explicit Terminal(const TerminalOptions& options, QObject* parent = nullptr);
    ~Terminal() override;

    // A feed instead of the one the options ask for; before start().
    void setMarketSource(std::unique_ptr<MarketSource> feed);
    // Starts the market, loads the plug-ins, shows the main window, restores the workspace
    // and opens the views of --open. Problems along the way end up in notices().
    void start();
    // Saves the workspace, closes the views and lets the plug-ins go; once. The destructor
    // calls it as well.
    void shutdown();
    // Writes the workspace now; false when it could not be written.
    bool saveWorkspace();
    // Grabs the main window into an image file.
    bool saveScreenshot(const QString& fileName) const;

    TerminalCore* core() const { return m_core; }
    MainWindow* mainWindow() const { return m_mainWindow.get(); }
    WindowManager* windowManager() const { return m_windowManager; }
    PluginLoader* plugins() const { return m_plugins; }
    Workspace* workspace() const { return m_workspace.get(); }
    OrdersTable* orders() const { return m_orders; }
    MarketSource* marketSource() const { return m_feed.get(); }
    // One line each: what went wrong at start (the market, the workspace, ...).
    QStringList notices() const { return m_notices; }

private:
    void startMarket();
    void notify(const QString& notice);
    void showModules();

    TerminalOptions m_options;
    TerminalCore* m_core;
    std::unique_ptr<MainWindow> m_mainWindow;
    WindowManager* m_windowManager;
    OrdersTable* m_orders;
    PluginLoader* m_plugins;
    std::unique_ptr<Workspace> m_workspace;
    std::unique_ptr<MarketSource> m_feed;
    std::vector<std::unique_ptr<IViewFactory>> m_hostFactories;
    int m_transport = -1;
    QTimer m_autosave;
    QStringList m_notices;
    bool m_started = false;
    bool m_shutDown = false;
};
