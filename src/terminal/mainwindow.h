#pragma once

#include <QMainWindow>

class Action;
class CommandContainer;
class ConnectionsManager;
class MenuContainer;
class QMdiArea;
class QMenu;

// The terminal's main window. Its menu bar is the ActionManager container "MenuBar": the
// host puts its menus there ("Файл", "Сервис", "Окна") and plug-ins theirs, each in the place
// its order gives. Views live as sub-windows of the QMdiArea in the centre; the status bar
// shows the state of the transport.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Command ids of the host.
    static const char* const OptionsCommand;
    static const char* const ModulesCommand;
    static const char* const QuitCommand;

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    QMdiArea* mdiArea() const { return m_area; }
    // The menu "Окна": new views, arrangement, the open windows.
    QMenu* windowsMenu() const;
    // Adds a tool bar made by the container.
    void addToolBarContainer(CommandContainer* container);
    // A label in the status bar that follows the transport.
    void showTransport(ConnectionsManager* manager, const QString& transportName);

signals:
    void optionsRequested();
    void modulesRequested();

private:
    void createCommands();
    void fillWindowsMenu();

    QMdiArea* m_area;
    MenuContainer* m_windowsContainer;
};
