#pragma once

// What the host offers its plug-ins. The host makes one ICore at start (or one of its
// subclasses) and hands it to IPlugin::initialize(); ICore::instance() reaches it from
// anywhere. Through it a plug-in finds the terminal's tables, the kinds of views, the
// window manager and the transports, adds pages to the options dialog and opens it.
// The host installs the dialogs and the status bar as handlers; without them those
// requests are logged and go nowhere.
//
// The operations are virtual slots in a fixed order that plug-ins rely on: tables() is the
// fifth (number 4), viewFactories() number 10, addOptionsPage() number 18, showOptions()
// number 22. New operations go at the end, after showOptions().

#include "c_api_global.h"
#include "optionsrequest.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

class ConnectionsManager;
class IOptionsPageBase;
class IPlugin;
class IView;
class IWindowManager;
class TableRegistry;
class ViewRegistry;
class QWidget;

class C_API_EXPORT ICore : public QObject
{
    Q_OBJECT
public:
    using OptionsHandler = std::function<void(const OptionsRequest&)>;
    using ViewSettingsHandler = std::function<void(IView* view, QWidget* parent)>;
    using StatusHandler = std::function<void(const QString& text, int timeoutMs)>;

    // The newest core becomes instance() until it is destroyed.
    explicit ICore(QObject* parent = nullptr);
    // Deletes the options pages it holds.
    ~ICore() override;

    // Null before the host made its core and after it is gone.
    static ICore* instance();

    // Host side.
    void setMainWindow(QWidget* window);
    void setOptionsHandler(OptionsHandler handler);
    void setViewSettingsHandler(ViewSettingsHandler handler);
    void setStatusHandler(StatusHandler handler);
    // Records a loaded plug-in's root object; objects that do not implement IPlugin, and
    // ones already recorded, are skipped. The object stays its loader's.
    bool addPlugin(QObject* instance);
    void setShuttingDown(bool shuttingDown);

public slots:
    // The application.
    // The parent for a plug-in's dialogs; null while the host shows no main window.
    virtual QWidget* mainWindow() const;
    virtual QString applicationVersion() const;
    // The folder of the application's settings.
    virtual QString configDir() const;
    virtual ConnectionsManager* connections() const;

    // Data, plug-ins and views.
    virtual TableRegistry* tables() const;
    // Null while the host made none.
    virtual IWindowManager* windowManager() const;
    virtual QList<IPlugin*> plugins() const;
    // By IPlugin::pluginName(); null if none.
    virtual IPlugin* plugin(const QString& name) const;
    // The views the window manager hosts.
    virtual QList<IView*> views() const;
    // The hosted view that has the focus, or null.
    virtual IView* activeView() const;
    virtual ViewRegistry* viewFactories() const;
    // Opens the settings dialog of a view.
    virtual void showViewSettings(IView* view, QWidget* parent);
    // A text in the host's status bar, for the time given (0: until replaced).
    virtual void showStatusMessage(const QString& text, int timeoutMs);
    // Set while the host closes: a plug-in then skips work whose result nobody will see.
    virtual bool isShuttingDown() const;

    // Options pages.
    // The categories of the pages, in the order they first appeared.
    virtual QStringList optionsCategories() const;
    virtual QList<IOptionsPageBase*> optionsPages() const;
    // The pages of one category, in the order they were added.
    virtual QList<IOptionsPageBase*> categoryPages(const QString& category) const;
    // By IOptionsPageBase::id(); null if none.
    virtual IOptionsPageBase* optionsPage(const QString& id) const;
    // Adds a page of the global options dialog and takes ownership; a null page, and one
    // already added, are skipped.
    virtual void addOptionsPage(IOptionsPageBase* page);
    // Deletes a page added before; false for one it does not hold.
    virtual bool removeOptionsPage(IOptionsPageBase* page);
    // The pages that hold the text (by matches(), or in their names); all for an empty text.
    virtual QList<IOptionsPageBase*> matchingOptionsPages(const QString& text) const;
    // Opens the options dialog on a page added before; false for one it does not hold.
    virtual bool showOptionsPage(IOptionsPageBase* page, QWidget* parent);
    // Opens the options dialog on a page (see OptionsRequest for the arguments); false
    // when the host installed no dialog.
    virtual bool showOptions(const QString& category, const QString& page, QWidget* parent,
                             const QString& filter = QString(), const QString& title = QString(),
                             const QString& stateKey = QString(),
                             const QString& helpTopic = QString(),
                             const QVariant& context = QVariant());

private:
    struct Page
    {
        IOptionsPageBase* page;
        // Set for pages that are QObjects too: such a page may be destroyed by its
        // plug-in all the same, and must then not be deleted again.
        QPointer<QObject> object;
        bool isObject;
        bool alive() const { return !isObject || object; }
    };

    QList<Page> livePages() const;

    TableRegistry* m_tables;
    ViewRegistry* m_views;
    QPointer<QWidget> m_mainWindow;
    QList<QPointer<QObject>> m_plugins;
    QList<Page> m_pages;
    OptionsHandler m_optionsHandler;
    ViewSettingsHandler m_viewSettingsHandler;
    StatusHandler m_statusHandler;
    bool m_shuttingDown = false;
};
