#include "c_api/icore.h"
#include "c_api/ioptionspage.h"
#include "c_api/iplugin.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewprovider.h"
#include "c_api/iwindowmanager.h"
#include "c_api/tableregistry.h"
#include "c_api/viewregistry.h"
#include "connections_model/connectionsmanager.h"
#include "database/table.h"
#include "offscreenleaks.h"
#include "vtableslot.h"

#include <QWidget>
#include <QtTest>

#include <memory>

namespace {

// The host side of a view's life, as the tests see it.
struct ViewLog
{
    int created = 0;
    QString key;
    QWidget* parent = nullptr;
    ICore* initCore = nullptr;
    QVariant keyAtInit;
    int destroyed = 0;
};

class TestView : public QWidget, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    TestView(ViewLog* log, QWidget* parent) : QWidget(parent), m_log(log) {}
    ~TestView() override { ++m_log->destroyed; }
    void initCore(ICore* core) override
    {
        m_log->initCore = core;
        m_log->keyAtInit = property("extraKey");
    }
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings&) const override {}
    void restore(const Settings&, const Settings&) override {}
    QSize defaultSize() override { return QSize(320, 200); }

private:
    ViewLog* m_log;
};

// A view that is no widget, which the window manager cannot host.
class BareView : public IView
{
public:
    explicit BareView(ViewLog* log) : m_log(log) {}
    ~BareView() override { ++m_log->destroyed; }
    void initCore(ICore*) override {}
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings&) const override {}
    void restore(const Settings&, const Settings&) override {}
    QSize defaultSize() override { return QSize(); }

private:
    ViewLog* m_log;
};

class TestFactory : public IViewFactory
{
public:
    enum Makes { Widget, Nothing, NoWidget };

    TestFactory(const QByteArray& id, ViewLog* log, Makes makes = Widget)
        : m_id(id), m_log(log), m_makes(makes)
    {
    }
    QByteArray viewId() override { return m_id; }
    QString displayName() override { return QStringLiteral("Вид ") + QString::fromLatin1(m_id); }
    IView* create(const QString& extraKey, QWidget* parent) override
    {
        ++m_log->created;
        m_log->key = extraKey;
        m_log->parent = parent;
        switch (m_makes) {
        case Widget:
            return new TestView(m_log, parent);
        case NoWidget:
            return new BareView(m_log);
        case Nothing:
            break;
        }
        return nullptr;
    }

private:
    QByteArray m_id;
    ViewLog* m_log;
    Makes m_makes;
};

class TestProvider : public IViewProvider
{
public:
    QList<IViewFactory*> viewFactories() override { return factories; }
    QList<IViewFactory*> factories;
};

// A host that records what it is given to host, and may refuse.
class HostingManager : public IWindowManager
{
public:
    QList<IView*> hosted;
    QList<QVariant> keyWhenHosted;
    bool refuse = false;

protected:
    bool hostView(IView* view, QWidget* widget, IViewFactory*) override
    {
        hosted.append(view);
        keyWhenHosted.append(widget->property("extraKey"));
        return !refuse;
    }
};

class TestPage : public IOptionsPage
{
public:
    TestPage(const QString& id, const QString& category, int* deletions)
        : m_id(id), m_category(category), m_deletions(deletions)
    {
    }
    ~TestPage() override { ++*m_deletions; }
    QString id() override { return m_id; }
    QString displayName() override { return QStringLiteral("Страница ") + m_id; }
    QString category() override { return m_category; }
    QString displayCategory() override { return QStringLiteral("Раздел ") + m_category; }
    QIcon categoryIcon() override { return QIcon(); }
    bool matches(const QString& text) const override { return text == QLatin1String("strike"); }
    void finish() override {}
    QWidget* createPage(QWidget*) override { return nullptr; }
    void apply() override {}

private:
    QString m_id;
    QString m_category;
    int* m_deletions;
};

class ObjectPage : public QObject, public TestPage
{
    Q_OBJECT
    Q_INTERFACES(IOptionsPage)
public:
    using TestPage::TestPage;
};

class TestPlugin : public QObject, public IPlugin
{
    Q_OBJECT
    Q_INTERFACES(IPlugin)
public:
    QLatin1String pluginName() override { return QLatin1String("TestPlugin"); }
    QString displayName() override { return QString(); }
    QString vendor() override { return QString(); }
    QString version() override { return QString(); }
    QString description() override { return QString(); }
    bool initialize(ICore*) override { return true; }
};

// QObject's own virtual functions come first in every QObject's table.
struct QObjectSlots : QObject
{
    static int last() { return vtableSlot(&QObjectSlots::disconnectNotify); }
};

} // namespace

class TestCore : public QObject
{
    Q_OBJECT
private slots:
    void instancesFollowTheHost();
    void operationsKeepTheirSlots_data();
    void operationsKeepTheirSlots();
    void tableRegistryFindsLiveTablesOnly();
    void tableRegistryRefusesBadRegistrations();
    void viewRegistrySkipsBadFactories();
    void optionsPagesAreOwned();
    void optionsPageDestroyedElsewhereIsForgotten();
    void optionsPagesByCategoryAndSearch();
    void showOptionsForwardsToTheHandler();
    void showOptionsWithoutHandler();
    void otherRequestsForwardToTheirHandlers();
    void pluginsAreRecorded();
    void openViewReachesTheFactory();
    void openViewOfUnknownIdOpensNothing();
    void openViewWithoutCoreOpensNothing();
    void openViewDropsViewsItCannotHost();
    void hostedViewsFollowTheirWidgets();
    void defaultHostingShowsAWindow();
};

void TestCore::instancesFollowTheHost()
{
    QCOMPARE(ICore::instance(), nullptr);
    QCOMPARE(IWindowManager::instance(), nullptr);
    {
        ICore core;
        IWindowManager manager;
        QCOMPARE(ICore::instance(), &core);
        QCOMPARE(IWindowManager::instance(), &manager);
        QCOMPARE(core.windowManager(), &manager);
        QCOMPARE(core.connections(), ConnectionsManager::instance());
        // A core without a table or a page answers empty.
        QCOMPARE(core.tables()->count(), 0);
        QVERIFY(core.optionsPages().isEmpty());
        QVERIFY(core.views().isEmpty());
        QCOMPARE(core.activeView(), nullptr);
    }
    QCOMPARE(ICore::instance(), nullptr);
    QCOMPARE(IWindowManager::instance(), nullptr);
}

void TestCore::operationsKeepTheirSlots_data()
{
    QTest::addColumn<int>("metaIndex");
    QTest::addColumn<int>("vtableIndex");
    QTest::addColumn<int>("expected");

    // Numbers count each class's own operations from 0; as they are all slots, the number
    // is both the place in the virtual table after QObject's and the local method index.
    const int base = QObjectSlots::last() + 1;
#define ROW(Class, function, signature, number)                                                    \
    QTest::newRow(#Class "::" #function) << Class::staticMetaObject.indexOfMethod(signature) -     \
                                                Class::staticMetaObject.methodOffset()             \
                                         << vtableSlot(&Class::function) - base << (number)
    ROW(ICore, mainWindow, "mainWindow()", 0);
    ROW(ICore, tables, "tables()", 4);
    ROW(ICore, viewFactories, "viewFactories()", 10);
    ROW(ICore, addOptionsPage, "addOptionsPage(IOptionsPageBase*)", 18);
    ROW(ICore, showOptions,
        "showOptions(QString,QString,QWidget*,QString,QString,QString,QString,QVariant)", 22);
    ROW(TableRegistry, table, "table(QString)", 2);
    ROW(TableRegistry, hasTable, "hasTable(QString)", 3);
    ROW(ViewRegistry, factory, "factory(QByteArray)", 2);
    ROW(IWindowManager, openView, "openView(QString,QString)", 4);
#undef ROW
}

void TestCore::operationsKeepTheirSlots()
{
    QFETCH(int, metaIndex);
    QFETCH(int, vtableIndex);
    QFETCH(int, expected);
    QCOMPARE(metaIndex, expected);
    if (VTABLE_SLOTS_KNOWN)
        QCOMPARE(vtableIndex, expected);
}

void TestCore::tableRegistryFindsLiveTablesOnly()
{
    ICore core;
    TableRegistry* tables = core.tables();
    QCOMPARE(tables->table(QStringLiteral("securities")), nullptr);
    QVERIFY(!tables->hasTable(QStringLiteral("securities")));

    auto securities = std::make_unique<Table>(QStringLiteral("securities"));
    Table positions(QStringLiteral("positions"));
    QVERIFY(tables->registerTable(QStringLiteral("securities"), securities.get()));
    QVERIFY(tables->registerTable(QStringLiteral("positions"), &positions));
    QCOMPARE(tables->table(QStringLiteral("securities")), securities.get());
    QVERIFY(tables->hasTable(QStringLiteral("positions")));
    QCOMPARE(tables->names(), QStringList({"positions", "securities"}));
    // Names are exact.
    QVERIFY(!tables->hasTable(QStringLiteral("Securities")));
    QVERIFY(!tables->hasTable(QString()));

    // A table destroyed by its feed is gone from the registry, not left dangling.
    securities.reset();
    QCOMPARE(tables->table(QStringLiteral("securities")), nullptr);
    QVERIFY(!tables->hasTable(QStringLiteral("securities")));
    QCOMPARE(tables->names(), QStringList({"positions"}));
    QCOMPARE(tables->count(), 1);

    QVERIFY(tables->unregisterTable(QStringLiteral("positions")));
    QVERIFY(!tables->unregisterTable(QStringLiteral("positions")));
    QVERIFY(!tables->hasTable(QStringLiteral("positions")));
}

void TestCore::tableRegistryRefusesBadRegistrations()
{
    TableRegistry tables;
    Table first(QStringLiteral("securities"));
    QVERIFY(!tables.registerTable(QStringLiteral("securities"), nullptr));
    QVERIFY(!tables.registerTable(QString(), &first));
    QCOMPARE(tables.count(), 0);

    QVERIFY(tables.registerTable(QStringLiteral("securities"), &first));
    // Registering the same table again changes nothing.
    QVERIFY(tables.registerTable(QStringLiteral("securities"), &first));
    {
        Table second(QStringLiteral("securities"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("taken by another table"));
        QVERIFY(!tables.registerTable(QStringLiteral("securities"), &second));
        QCOMPARE(tables.table(QStringLiteral("securities")), &first);
    }
    // Once the holder is unregistered the name is free.
    QVERIFY(tables.unregisterTable(QStringLiteral("securities")));
    Table third(QStringLiteral("securities"));
    QVERIFY(tables.registerTable(QStringLiteral("securities"), &third));
    QCOMPARE(tables.table(QStringLiteral("securities")), &third);
}

void TestCore::viewRegistrySkipsBadFactories()
{
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    TestFactory orders("PostponedOrders", &log);
    TestFactory sameId("OptCalcWindow", &log);
    TestFactory noId("", &log);
    ViewRegistry views;

    QVERIFY(!views.addFactory(nullptr));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("without a view id"));
    QVERIFY(!views.addFactory(&noId));
    TestProvider provider;
    provider.factories = {&calc, nullptr, &orders};
    QCOMPARE(views.addProvider(&provider), 2);
    QCOMPARE(views.addProvider(nullptr), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("\"OptCalcWindow\" is taken"));
    QVERIFY(!views.addFactory(&sameId));

    QCOMPARE(views.factory("OptCalcWindow"), &calc);
    QCOMPARE(views.factory("PostponedOrders"), &orders);
    QCOMPARE(views.factory("Nope"), nullptr);
    QCOMPARE(views.factory(QByteArray()), nullptr);
    QCOMPARE(views.viewIds(), QList<QByteArray>({"OptCalcWindow", "PostponedOrders"}));
    QCOMPARE(views.factories(), QList<IViewFactory*>({&calc, &orders}));

    QVERIFY(views.removeFactory("OptCalcWindow"));
    QVERIFY(!views.removeFactory("OptCalcWindow"));
    QVERIFY(!views.hasFactory("OptCalcWindow"));
    QCOMPARE(views.viewIds(), QList<QByteArray>({"PostponedOrders"}));
    QCOMPARE(log.created, 0);
}

void TestCore::optionsPagesAreOwned()
{
    int deletions = 0;
    {
        ICore core;
        auto* first = new TestPage(QStringLiteral("a"), QStringLiteral("General"), &deletions);
        auto* second = new TestPage(QStringLiteral("b"), QStringLiteral("General"), &deletions);
        core.addOptionsPage(first);
        core.addOptionsPage(nullptr);
        core.addOptionsPage(first); // once only, so deleted once only
        core.addOptionsPage(second);
        QCOMPARE(core.optionsPages(), QList<IOptionsPageBase*>({first, second}));

        QVERIFY(core.removeOptionsPage(first));
        QCOMPARE(deletions, 1);
        QVERIFY(!core.removeOptionsPage(first));
        QVERIFY(!core.removeOptionsPage(nullptr));
        QCOMPARE(core.optionsPages(), QList<IOptionsPageBase*>({second}));
        QCOMPARE(deletions, 1);
    }
    QCOMPARE(deletions, 2);
}

void TestCore::optionsPageDestroyedElsewhereIsForgotten()
{
    int deletions = 0;
    ICore core;
    auto* page = new ObjectPage(QStringLiteral("colors"), QStringLiteral("Colors"), &deletions);
    auto* kept = new ObjectPage(QStringLiteral("views"), QStringLiteral("Colors"), &deletions);
    core.addOptionsPage(page);
    core.addOptionsPage(kept);
    // A plug-in that gave its page a parent destroys it with the parent all the same.
    delete page;
    QCOMPARE(deletions, 1);
    QCOMPARE(core.optionsPages(), QList<IOptionsPageBase*>({kept}));
    QCOMPARE(core.optionsPage(QStringLiteral("colors")), nullptr);
    QVERIFY(!core.removeOptionsPage(page));
    QCOMPARE(deletions, 1);
}

void TestCore::optionsPagesByCategoryAndSearch()
{
    int deletions = 0;
    ICore core;
    auto* colors = new TestPage(QStringLiteral("colors"), QStringLiteral("Colors"), &deletions);
    auto* calc = new TestPage(QStringLiteral("calc"), QStringLiteral("Calc"), &deletions);
    auto* views = new TestPage(QStringLiteral("views"), QStringLiteral("Colors"), &deletions);
    core.addOptionsPage(colors);
    core.addOptionsPage(calc);
    core.addOptionsPage(views);

    QCOMPARE(core.optionsCategories(), QStringList({"Colors", "Calc"}));
    QCOMPARE(core.categoryPages(QStringLiteral("Colors")),
             QList<IOptionsPageBase*>({colors, views}));
    QVERIFY(core.categoryPages(QStringLiteral("Nope")).isEmpty());
    QCOMPARE(core.optionsPage(QStringLiteral("calc")), calc);
    QCOMPARE(core.optionsPage(QStringLiteral("Calc")), nullptr);

    // The pages' own search, then their names, case-insensitively; everything for nothing.
    QCOMPARE(core.matchingOptionsPages(QStringLiteral("strike")).size(), 3);
    QCOMPARE(core.matchingOptionsPages(QStringLiteral("СТРАНИЦА calc")),
             QList<IOptionsPageBase*>({calc}));
    QCOMPARE(core.matchingOptionsPages(QStringLiteral("раздел colors")),
             QList<IOptionsPageBase*>({colors, views}));
    QVERIFY(core.matchingOptionsPages(QStringLiteral("nothing like it")).isEmpty());
    QCOMPARE(core.matchingOptionsPages(QStringLiteral("  ")).size(), 3);
}

void TestCore::showOptionsForwardsToTheHandler()
{
    ICore core;
    QList<OptionsRequest> requests;
    core.setOptionsHandler([&](const OptionsRequest& r) { requests.append(r); });

    // As the calculator leads to its colours.
    QVERIFY(core.showOptions(QStringLiteral("Colors"), QStringLiteral("ViewsColorPage %1").arg(6),
                             nullptr, QString(), QString(), QString(), QString(), QVariant()));
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.at(0).category, QStringLiteral("Colors"));
    QCOMPARE(requests.at(0).page, QStringLiteral("ViewsColorPage 6"));
    QCOMPARE(requests.at(0).parent.data(), nullptr);
    QVERIFY(requests.at(0).filter.isEmpty());
    QVERIFY(!requests.at(0).context.isValid());

    QWidget parent;
    QVERIFY(core.showOptions(QStringLiteral("Calc"), QStringLiteral("calc"), &parent,
                             QStringLiteral("strike"), QStringLiteral("Настройки"),
                             QStringLiteral("OptionsDialog"), QStringLiteral("help/calc"), 42));
    const OptionsRequest& r = requests.at(1);
    QCOMPARE(r.parent.data(), &parent);
    QCOMPARE(r.filter, QStringLiteral("strike"));
    QCOMPARE(r.title, QStringLiteral("Настройки"));
    QCOMPARE(r.stateKey, QStringLiteral("OptionsDialog"));
    QCOMPARE(r.helpTopic, QStringLiteral("help/calc"));
    QCOMPARE(r.context.toInt(), 42);

    // A page opens the dialog on itself; one the core does not hold opens nothing.
    int deletions = 0;
    auto* page = new TestPage(QStringLiteral("calc"), QStringLiteral("Calc"), &deletions);
    TestPage stranger(QStringLiteral("x"), QStringLiteral("X"), &deletions);
    core.addOptionsPage(page);
    QVERIFY(core.showOptionsPage(page, &parent));
    QCOMPARE(requests.size(), 3);
    QCOMPARE(requests.at(2).category, QStringLiteral("Calc"));
    QCOMPARE(requests.at(2).page, QStringLiteral("calc"));
    QVERIFY(!core.showOptionsPage(&stranger, &parent));
    QVERIFY(!core.showOptionsPage(nullptr, &parent));
    QCOMPARE(requests.size(), 3);
}

void TestCore::showOptionsWithoutHandler()
{
    ICore core;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no options dialog"));
    QVERIFY(
        !core.showOptions(QStringLiteral("Colors"), QStringLiteral("ViewsColorPage 6"), nullptr));
}

void TestCore::otherRequestsForwardToTheirHandlers()
{
    ICore core;
    ViewLog log;
    TestView view(&log, nullptr);
    QWidget parent;

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view settings dialog"));
    core.showViewSettings(&view, &parent);

    QList<QPair<IView*, QWidget*>> settingsShown;
    core.setViewSettingsHandler([&](IView* v, QWidget* p) { settingsShown.append({v, p}); });
    core.showViewSettings(&view, &parent);
    core.showViewSettings(nullptr, &parent);
    QCOMPARE(settingsShown.size(), 1);
    QCOMPARE(settingsShown.at(0).first, static_cast<IView*>(&view));
    QCOMPARE(settingsShown.at(0).second, &parent);

    QList<QPair<QString, int>> messages;
    core.setStatusHandler([&](const QString& text, int ms) { messages.append({text, ms}); });
    core.showStatusMessage(QStringLiteral("Готово"), 3000);
    core.showStatusMessage(QStringLiteral("Ошибка"), -5);
    QCOMPARE(messages.size(), 2);
    QCOMPARE(messages.at(0).first, QStringLiteral("Готово"));
    QCOMPARE(messages.at(0).second, 3000);
    QCOMPARE(messages.at(1).second, 0);
}

void TestCore::pluginsAreRecorded()
{
    ICore core;
    QObject notAPlugin;
    auto plugin = std::make_unique<TestPlugin>();
    QVERIFY(!core.addPlugin(nullptr));
    QVERIFY(!core.addPlugin(&notAPlugin));
    QVERIFY(core.addPlugin(plugin.get()));
    QVERIFY(!core.addPlugin(plugin.get()));
    QCOMPARE(core.plugins(), QList<IPlugin*>({plugin.get()}));
    QCOMPARE(core.plugin(QStringLiteral("TestPlugin")), static_cast<IPlugin*>(plugin.get()));
    QCOMPARE(core.plugin(QStringLiteral("Other")), nullptr);

    // An unloaded plug-in is forgotten.
    plugin.reset();
    QVERIFY(core.plugins().isEmpty());
    QCOMPARE(core.plugin(QStringLiteral("TestPlugin")), nullptr);
}

void TestCore::openViewReachesTheFactory()
{
    ICore core;
    HostingManager manager;
    QWidget mainWindow;
    core.setMainWindow(&mainWindow);
    ViewLog log;
    ViewLog otherLog;
    TestFactory calc("OptCalcWindow", &log);
    TestFactory orders("PostponedOrders", &otherLog);
    core.viewFactories()->addFactory(&calc);
    core.viewFactories()->addFactory(&orders);

    IView* view = IWindowManager::instance()->openView(QStringLiteral("OptCalcWindow"),
                                                       QStringLiteral("RTS-6.30"));
    QVERIFY(view);
    QCOMPARE(log.created, 1);
    QCOMPARE(otherLog.created, 0);
    QCOMPARE(log.key, QStringLiteral("RTS-6.30"));
    QCOMPARE(log.parent, &mainWindow);

    auto* widget = dynamic_cast<QWidget*>(view);
    QVERIFY(widget);
    QCOMPARE(widget->property("extraKey").toString(), QStringLiteral("RTS-6.30"));
    // The view has its key and then its core before the host puts it anywhere.
    QCOMPARE(log.initCore, &core);
    QCOMPARE(log.keyAtInit.toString(), QStringLiteral("RTS-6.30"));
    QCOMPARE(manager.hosted, QList<IView*>({view}));
    QCOMPARE(manager.keyWhenHosted.at(0).toString(), QStringLiteral("RTS-6.30"));
    QCOMPARE(manager.views(), QList<IView*>({view}));
    QCOMPARE(core.views(), QList<IView*>({view}));

    // An empty key is a key too.
    IView* second = manager.openView(QStringLiteral("OptCalcWindow"), QString());
    QVERIFY(second);
    QCOMPARE(log.created, 2);
    QVERIFY(log.key.isEmpty());
    QVERIFY(dynamic_cast<QWidget*>(second)->property("extraKey").isValid());
    QCOMPARE(manager.views(), QList<IView*>({view, second}));
}

void TestCore::openViewOfUnknownIdOpensNothing()
{
    ICore core;
    HostingManager manager;
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    core.viewFactories()->addFactory(&calc);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"PostponedOrders\""));
    QCOMPARE(manager.openView(QStringLiteral("PostponedOrders"), QStringLiteral("orders")),
             nullptr);
    // View ids are exact.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"optcalcwindow\""));
    QCOMPARE(manager.openView(QStringLiteral("optcalcwindow"), QStringLiteral("RTS")), nullptr);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"\""));
    QCOMPARE(manager.openView(QString(), QStringLiteral("RTS")), nullptr);

    QCOMPARE(log.created, 0);
    QVERIFY(manager.hosted.isEmpty());
    QVERIFY(manager.views().isEmpty());
}

void TestCore::openViewWithoutCoreOpensNothing()
{
    HostingManager manager;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"OptCalcWindow\""));
    QCOMPARE(manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("RTS")), nullptr);
    QVERIFY(manager.hosted.isEmpty());
}

void TestCore::openViewDropsViewsItCannotHost()
{
    ICore core;
    HostingManager manager;
    ViewLog nothingLog, bareLog, refusedLog;
    TestFactory nothing("Nothing", &nothingLog, TestFactory::Nothing);
    TestFactory bare("Bare", &bareLog, TestFactory::NoWidget);
    TestFactory refused("Refused", &refusedLog);
    core.viewFactories()->addFactory(&nothing);
    core.viewFactories()->addFactory(&bare);
    core.viewFactories()->addFactory(&refused);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("made no view"));
    QCOMPARE(manager.openView(QStringLiteral("Nothing"), QString()), nullptr);
    QCOMPARE(nothingLog.created, 1);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("is no widget"));
    QCOMPARE(manager.openView(QStringLiteral("Bare"), QString()), nullptr);
    QCOMPARE(bareLog.destroyed, 1);

    manager.refuse = true;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be hosted"));
    QCOMPARE(manager.openView(QStringLiteral("Refused"), QStringLiteral("RTS")), nullptr);
    QCOMPARE(manager.hosted.size(), 1);
    QCOMPARE(refusedLog.destroyed, 1);
    QVERIFY(manager.views().isEmpty());
}

void TestCore::hostedViewsFollowTheirWidgets()
{
    ICore core;
    HostingManager manager;
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    core.viewFactories()->addFactory(&calc);

    IView* closed = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("A"));
    IView* destroyed = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("B"));
    IView* kept = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("C"));
    QCOMPARE(manager.views().size(), 3);

    QVERIFY(manager.closeView(closed));
    QCOMPARE(log.destroyed, 1);
    QVERIFY(!manager.closeView(closed));
    QVERIFY(!manager.closeView(nullptr));

    // A view whose window the user closed (or whose parent went) is no longer listed, and
    // cannot be closed twice.
    delete dynamic_cast<QWidget*>(destroyed);
    QCOMPARE(log.destroyed, 2);
    QCOMPARE(manager.views(), QList<IView*>({kept}));
    QVERIFY(!manager.closeView(destroyed));
    QVERIFY(!manager.activateView(destroyed));
    QCOMPARE(log.destroyed, 2);

    QVERIFY(manager.activateView(kept));
}

void TestCore::defaultHostingShowsAWindow()
{
    ICore core;
    IWindowManager manager;
    QWidget mainWindow;
    core.setMainWindow(&mainWindow);
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    core.viewFactories()->addFactory(&calc);

    IView* view = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("Si-9.30"));
    QVERIFY(view);
    auto* widget = dynamic_cast<QWidget*>(view);
    // A window of its own, kept by the main window.
    QVERIFY(widget->isWindow());
    QCOMPARE(widget->parentWidget(), &mainWindow);
    QVERIFY(widget->isVisible());
    QCOMPARE(widget->windowTitle(), QStringLiteral("Вид OptCalcWindow"));
    QCOMPARE(widget->size(), QSize(320, 200));
}

QTEST_MAIN(TestCore)
#include "tst_core.moc"
