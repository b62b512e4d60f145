#include "mainwindow.h"

#include "menucontainer.h"
#include "transportstatuslabel.h"

#include "c_api/icore.h"
#include "c_api/iviewfactory.h"
#include "c_api/iwindowmanager.h"
#include "c_api/viewregistry.h"
#include "gui/action.h"
#include "gui/actionmanager.h"
#include "gui/command.h"
#include "gui/commandcontainer.h"

#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QStatusBar>
#include <QToolBar>

const char* const MainWindow::OptionsCommand = "Terminal.Options";
const char* const MainWindow::ModulesCommand = "Terminal.Modules";
const char* const MainWindow::QuitCommand = "Terminal.Quit";

namespace {

const char* const MenuBarName = "MenuBar";

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), m_area(new QMdiArea(this)), m_windowsContainer(nullptr)
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(tr("Терминал"));
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_area->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // Something must hold the focus for the menus to find the window's actions.
    m_area->setFocusPolicy(Qt::StrongFocus);
    setCentralWidget(m_area);
    resize(1280, 800);

    createCommands();
    ActionManager* manager = ActionManager::instance();
    setMenuBar(manager->container(QLatin1String(MenuBarName))->createMenuBar(this));
    addToolBarContainer(manager->container(QStringLiteral("MainToolBar"), tr("Основная панель")));
    statusBar();
}

MainWindow::~MainWindow() = default;

void MainWindow::createCommands()
{
    ActionManager* manager = ActionManager::instance();
    const auto command = [this](const char* id, const QString& text,
                                const QKeySequence& shortcut = QKeySequence()) {
        auto* c = new Command(id, this);
        c->setCategory(tr("Терминал"));
        c->setDefaultText(text);
        c->setDefaultShortcut(shortcut);
        return c;
    };
    const auto action = [this](const char* id, auto slot) {
        auto* a = new Action(id, this);
        addAction(a);
        connect(a, &QAction::triggered, this, slot);
        return a;
    };

    Command* quit = command(QuitCommand, tr("Выход"), QKeySequence::Quit);
    Command* options = command(OptionsCommand, tr("Настройки..."));
    Command* modules = command(ModulesCommand, tr("Модули"));
    action(QuitCommand, &QWidget::close);
    action(OptionsCommand, &MainWindow::optionsRequested);
    action(ModulesCommand, &MainWindow::modulesRequested);

    const QByteArray bar(MenuBarName);
    manager->container(QStringLiteral("FileMenu"), tr("&Файл"), bar, QByteArray(), "10")
        ->addCommand(quit);
    CommandContainer* service =
        manager->container(QStringLiteral("ServiceMenu"), tr("&Сервис"), bar, QByteArray(), "80");
    service->addCommand(options);
    service->addCommand(modules);
    manager->container(QStringLiteral("MainToolBar"), tr("Основная панель"))->addCommand(options);

    auto* windows = new QMenu(tr("&Окна"));
    connect(windows, &QMenu::aboutToShow, this, &MainWindow::fillWindowsMenu);
    m_windowsContainer = new MenuContainer("WindowsMenu", windows, this);
    manager->container(QLatin1String(MenuBarName))
        ->addContainer(m_windowsContainer, QByteArray(), "90");
    fillWindowsMenu();
}

QMenu* MainWindow::windowsMenu() const
{
    return m_windowsContainer->menu();
}

void MainWindow::fillWindowsMenu()
{
    QMenu* menu = windowsMenu();
    menu->clear();

    QMenu* open = menu->addMenu(tr("Открыть"));
    ICore* core = ICore::instance();
    const QList<IViewFactory*> factories =
        core ? core->viewFactories()->factories() : QList<IViewFactory*>();
    for (IViewFactory* factory : factories) {
        const QString viewId = QString::fromUtf8(factory->viewId());
        open->addAction(factory->icon(), factory->displayName(), this, [viewId] {
            if (IWindowManager* windows = IWindowManager::instance())
                windows->openView(viewId, QString());
        });
    }
    open->setEnabled(!factories.isEmpty());

    menu->addAction(tr("Каскадом"), m_area, &QMdiArea::cascadeSubWindows);
    menu->addAction(tr("Мозаикой"), m_area, &QMdiArea::tileSubWindows);
    menu->addAction(tr("Закрыть все"), m_area, &QMdiArea::closeAllSubWindows);
    const QList<QMdiSubWindow*> frames = m_area->subWindowList();
    if (!frames.isEmpty())
        menu->addSeparator();
    for (QMdiSubWindow* frame : frames) {
        const QPointer<QMdiSubWindow> target(frame);
        QAction* item = menu->addAction(frame->windowTitle(), m_area, [this, target] {
            if (target)
                m_area->setActiveSubWindow(target);
        });
        item->setCheckable(true);
        item->setChecked(frame == m_area->activeSubWindow());
    }
}

void MainWindow::addToolBarContainer(CommandContainer* container)
{
    if (!container)
        return;
    QToolBar* bar = container->createToolBar(this);
    bar->setMovable(true);
    addToolBar(bar);
}

void MainWindow::showTransport(ConnectionsManager* manager, const QString& transportName)
{
    statusBar()->addPermanentWidget(new TransportStatusLabel(manager, transportName, this));
}
