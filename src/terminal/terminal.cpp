#include "terminal.h"

#include "hostviewfactories.h"
#include "mainwindow.h"
#include "marketsource.h"
#include "marketsourcefactory.h"
#include "marketviewfactory.h"
#include "orderstable.h"
#include "pluginloader.h"
#include "pluginsdialog.h"
#include "terminalcore.h"
#include "windowmanager.h"
#include "workspace.h"

#include "c_api/iviewfactory.h"
#include "c_api/tableregistry.h"
#include "c_api/viewregistry.h"
#include "connections_model/connectionsmanager.h"
#include "database/exchangeconventions.h"
#include "database/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QMdiArea>
#include <QPixmap>

Terminal::Terminal(const TerminalOptions& options, QObject* parent)
    : QObject(parent), m_options(options)
{
    if (!options.configDir.isEmpty())
        AppSettings::setConfigDir(options.configDir);
    QDir().mkpath(AppSettings::configDir());

    m_core = new TerminalCore(this);
    m_mainWindow = std::make_unique<MainWindow>();
    m_core->setMainWindow(m_mainWindow.get());
    m_windowManager = new WindowManager(m_mainWindow->mdiArea(), this);
    m_plugins = new PluginLoader(this);
    m_workspace =
        std::make_unique<Workspace>(AppSettings::configDir() + QStringLiteral("/workspace.ini"));

    m_orders = new OrdersTable(this);
    m_core->tables()->registerTable(m_orders->name(), m_orders);
    m_hostFactories = createHostViewFactories();
    for (const auto& factory : m_hostFactories)
        m_core->viewFactories()->addFactory(factory.get());

    connect(m_mainWindow.get(), &MainWindow::optionsRequested, this,
            [this] { m_core->showOptions(QString(), QString(), m_mainWindow.get()); });
    connect(m_mainWindow.get(), &MainWindow::modulesRequested, this, &Terminal::showModules);

    m_autosave.setInterval(AutosaveIntervalMs);
    connect(&m_autosave, &QTimer::timeout, this, &Terminal::saveWorkspace);
}

Terminal::~Terminal()
{
    shutdown();
}

void Terminal::setMarketSource(std::unique_ptr<MarketSource> feed)
{
    if (!m_started)
        m_feed = std::move(feed);
}

void Terminal::notify(const QString& notice)
{
    m_notices.append(notice);
    qWarning("%s", qPrintable(notice));
    m_core->showStatusMessage(notice, 0);
}

void Terminal::startMarket()
{
    ConnectionsManager* connections = ConnectionsManager::instance();
    if (!m_feed) {
        QString error;
        m_feed = createMarketSource(m_options, &error);
        for (const QString& line : error.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            notify(line);
        if (!m_feed) {
            m_transport = connections->addTransport(Exchange::transportName());
            m_mainWindow->showTransport(connections, Exchange::transportName());
            notify(tr("Рынок недоступен: %1").arg(error));
            return;
        }
    }
    const auto tables = m_feed->tables();
    for (const auto& named : tables) {
        if (!m_core->tables()->registerTable(named.first, named.second))
            notify(tr("Таблица рынка «%1» не зарегистрирована").arg(named.first));
    }
    m_transport = connections->addTransport(m_feed->transportName());
    m_mainWindow->showTransport(connections, m_feed->transportName());
    const int transport = m_transport;
    connect(m_feed.get(), &MarketSource::serverTime, connections,
            [connections, transport](const datetime& time) {
                connections->setTransportTime(transport, time);
            });
    m_feed->start();
    connections->setTransportStatus(m_transport, ITransport::Connected);
}

void Terminal::start()
{
    if (m_started)
        return;
    m_started = true;
    startMarket();
    m_plugins->load(m_options.pluginDir.isEmpty() ? PluginLoader::defaultDir()
                                                  : m_options.pluginDir);
    m_plugins->initialize(m_core);
    m_mainWindow->show();
    // The host's menus act on the focused window; without a window manager to activate the
    // main window nothing would hold the focus.
    m_mainWindow->activateWindow();
    m_mainWindow->mdiArea()->setFocus();
    const bool firstStart = !QFileInfo::exists(m_workspace->fileName());
    m_workspace->restore(m_windowManager, m_mainWindow.get());
    if (!m_workspace->notice().isEmpty())
        notify(m_workspace->notice());
    // A window that the workspace brought back is brought forward, not opened twice.
    for (const OpenRequest& request : qAsConst(m_options.open)) {
        if (IView* open = m_windowManager->findView(request.viewId, request.key)) {
            m_windowManager->activateView(open);
            continue;
        }
        if (!m_windowManager->openView(request.viewId, request.key))
            notify(tr("Окно «%1» не открыто").arg(request.viewId));
    }
    // An empty terminal tells a new user nothing: the first start shows the market.
    if (firstStart && m_options.marketOnFirstStart && m_options.open.isEmpty() && m_feed)
        m_windowManager->openView(QString::fromLatin1(MarketViewFactory::ViewId), QString());
    m_autosave.start();
}

bool Terminal::saveWorkspace()
{
    if (!m_started || m_shutDown)
        return false;
    if (m_workspace->save(m_windowManager, m_mainWindow.get()))
        return true;
    if (!m_workspace->notice().isEmpty())
        notify(m_workspace->notice());
    return false;
}

void Terminal::shutdown()
{
    if (m_shutDown)
        return;
    saveWorkspace();
    m_shutDown = true;
    m_autosave.stop();
    m_core->setShuttingDown(true);

    // Views first: they hold on to the tables and to the plug-ins' code.
    const QList<IView*> views = m_windowManager->views();
    for (IView* view : views)
        m_windowManager->closeView(view);
    m_core->setMainWindow(nullptr);
    m_mainWindow.reset();

    m_plugins->shutdown();
    if (m_feed)
        m_feed->stop();
    ConnectionsManager* connections = ConnectionsManager::instance();
    connections->setTransportStatus(m_transport, ITransport::Disconnected);
    connections->setTransportTime(m_transport, datetime());
    if (m_feed) {
        for (const auto& named : m_feed->tables())
            m_core->tables()->unregisterTable(named.first);
    }
}

bool Terminal::saveScreenshot(const QString& fileName) const
{
    if (!m_mainWindow)
        return false;
    return m_mainWindow->grab().save(fileName);
}

void Terminal::showModules()
{
    PluginsDialog dialog(m_plugins->records(), m_mainWindow.get());
    dialog.exec();
}
