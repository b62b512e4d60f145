#include "c_api/icore.h"
#include "c_api/ioptionspage.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewprovider.h"
#include "c_api/iwindowmanager.h"
#include "c_api/tableregistry.h"
#include "c_api/viewregistry.h"
#include "database/table.h"

#include <QWidget>
#include <QtTest>

#include <memory>

namespace {

// What happened to the views of one factory.
struct ViewLog
{
    int created = 0;
    QString key;
    QWidget* parent = nullptr;
    ICore* core = nullptr;
    QVariant keyAtInit;
    int destroyed = 0;
};

class BareView : public IView
{
public:
    explicit BareView(ViewLog* log) : m_log(log) {}
    ~BareView() override { ++m_log->destroyed; }
    void initCore(ICore* core) override
    {
        m_log->core = core;
        if (auto* widget = dynamic_cast<QWidget*>(this))
            m_log->keyAtInit = widget->property("extraKey");
    }
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings&) const override {}
    void restore(const Settings&, const Settings&) override {}
    QSize defaultSize() override { return QSize(320, 200); }

private:
    ViewLog* m_log;
};

class TestView : public QWidget, public BareView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    TestView(ViewLog* log, QWidget* parent) : QWidget(parent), BareView(log) {}
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
        if (m_makes == Widget)
            return new TestView(m_log, parent);
        return m_makes == NoWidget ? new BareView(m_log) : nullptr;
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
    bool refuse = false;

protected:
    bool hostView(IView* view, QWidget*, IViewFactory*) override
    {
        hosted.append(view);
        return !refuse;
    }
};

class TestPage : public IOptionsPage
{
public:
    TestPage(const QString& id, int* deletions) : m_id(id), m_deletions(deletions) {}
    ~TestPage() override { ++*m_deletions; }
    QString id() override { return m_id; }
    QString displayName() override { return m_id; }
    QString category() override { return QStringLiteral("Colors"); }
    QString displayCategory() override { return QStringLiteral("Цвета"); }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override {}
    QWidget* createPage(QWidget*) override { return nullptr; }
    void apply() override {}

private:
    QString m_id;
    int* m_deletions;
};

class ObjectPage : public QObject, public TestPage
{
    Q_OBJECT
    Q_INTERFACES(IOptionsPage)
public:
    using TestPage::TestPage;
};

} // namespace

class TestCore : public QObject
{
    Q_OBJECT
private slots:
    void tableRegistryFindsLiveTablesOnly();
    void viewRegistrySkipsBadFactories();
    void optionsPagesAreOwned();
    void showOptionsForwardsToTheHandler();
    void openViewReachesTheFactory();
    void openViewOfUnknownIdOpensNothing();
    void openViewDropsViewsItCannotHost();
    void hostedViewsFollowTheirWidgets();
    void defaultHostingShowsAWindow();
};

void TestCore::tableRegistryFindsLiveTablesOnly()
{
    QCOMPARE(ICore::instance(), nullptr);
    auto core = std::make_unique<ICore>();
    QCOMPARE(ICore::instance(), core.get());
    TableRegistry* tables = core->tables();

    auto securities = std::make_unique<Table>(QStringLiteral("securities"));
    Table positions(QStringLiteral("positions"));
    QVERIFY(tables->registerTable(QStringLiteral("securities"), securities.get()));
    QVERIFY(tables->registerTable(QStringLiteral("positions"), &positions));
    QVERIFY(!tables->registerTable(QStringLiteral("tz.volat_coeff"), nullptr));
    QVERIFY(!tables->registerTable(QString(), &positions));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("taken by another table"));
    QVERIFY(!tables->registerTable(QStringLiteral("positions"), securities.get()));
    QCOMPARE(tables->table(QStringLiteral("positions")), &positions);
    QVERIFY(!tables->hasTable(QStringLiteral("Securities")));

    // A table destroyed by its feed is gone from the registry, not left dangling, and
    // its name is free again.
    securities.reset();
    QCOMPARE(tables->table(QStringLiteral("securities")), nullptr);
    QVERIFY(!tables->hasTable(QStringLiteral("securities")));
    QCOMPARE(tables->names(), QStringList({"positions"}));
    Table replacement(QStringLiteral("securities"));
    QVERIFY(tables->registerTable(QStringLiteral("securities"), &replacement));
    QCOMPARE(tables->table(QStringLiteral("securities")), &replacement);

    QVERIFY(tables->unregisterTable(QStringLiteral("positions")));
    QVERIFY(!tables->hasTable(QStringLiteral("positions")));
    core.reset();
    QCOMPARE(ICore::instance(), nullptr);
}

void TestCore::viewRegistrySkipsBadFactories()
{
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    TestFactory orders("PostponedOrders", &log);
    TestFactory sameId("OptCalcWindow", &log);
    TestFactory noId("", &log);
    TestProvider provider;
    provider.factories = {&calc, nullptr, &orders};
    ViewRegistry views;

    QCOMPARE(views.addProvider(&provider), 2);
    QVERIFY(!views.addFactory(nullptr));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("without a view id"));
    QVERIFY(!views.addFactory(&noId));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("\"OptCalcWindow\" is taken"));
    QVERIFY(!views.addFactory(&sameId));

    QCOMPARE(views.factory("OptCalcWindow"), &calc);
    QCOMPARE(views.factory("optcalcwindow"), nullptr);
    QCOMPARE(views.factories(), QList<IViewFactory*>({&calc, &orders}));
    QVERIFY(views.removeFactory("OptCalcWindow"));
    QCOMPARE(views.factory("OptCalcWindow"), nullptr);
    QCOMPARE(log.created, 0);
}

void TestCore::optionsPagesAreOwned()
{
    int deletions = 0;
    {
        ICore core;
        auto* first = new TestPage(QStringLiteral("first"), &deletions);
        auto* second = new TestPage(QStringLiteral("second"), &deletions);
        auto* object = new ObjectPage(QStringLiteral("object"), &deletions);
        core.addOptionsPage(first);
        core.addOptionsPage(nullptr);
        core.addOptionsPage(first); // held once, so deleted once
        core.addOptionsPage(second);
        core.addOptionsPage(object);
        QCOMPARE(core.optionsPages(), QList<IOptionsPageBase*>({first, second, object}));
        QCOMPARE(core.optionsPage(QStringLiteral("second")), second);

        QVERIFY(core.removeOptionsPage(first));
        QVERIFY(!core.removeOptionsPage(first));
        QCOMPARE(deletions, 1);
        // A page that is an object may still go with a parent its plug-in gave it.
        delete object;
        QCOMPARE(deletions, 2);
        QCOMPARE(core.optionsPages(), QList<IOptionsPageBase*>({second}));
        QCOMPARE(core.optionsPage(QStringLiteral("object")), nullptr);
    }
    QCOMPARE(deletions, 3);
}

void TestCore::showOptionsForwardsToTheHandler()
{
    ICore core;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no options dialog"));
    QVERIFY(!core.showOptions(QStringLiteral("Colors"), QStringLiteral("x"), nullptr));

    QList<OptionsRequest> requests;
    core.setOptionsHandler([&](const OptionsRequest& r) { requests.append(r); });
    QWidget parent;
    QVERIFY(core.showOptions(QStringLiteral("Calc"), QStringLiteral("calc"), &parent,
                             QStringLiteral("strike"), QStringLiteral("Настройки"),
                             QStringLiteral("OptionsDialog"), QStringLiteral("help/calc"), 42));
    QCOMPARE(requests.size(), 1);
    const OptionsRequest& r = requests.at(0);
    QCOMPARE(QStringList({r.category, r.page}), QStringList({"Calc", "calc"}));
    QCOMPARE(r.parent.data(), &parent);
    QCOMPARE(QStringList({r.filter, r.title, r.stateKey, r.helpTopic}),
             QStringList({"strike", "Настройки", "OptionsDialog", "help/calc"}));
    QCOMPARE(r.context.toInt(), 42);
}

void TestCore::openViewReachesTheFactory()
{
    ICore core;
    HostingManager manager;
    QWidget mainWindow;
    core.setMainWindow(&mainWindow);
    ViewLog log, otherLog;
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
    QCOMPARE(dynamic_cast<QWidget*>(view)->property("extraKey").toString(),
             QStringLiteral("RTS-6.30"));
    // The view has its key, then its core, before the host puts it anywhere.
    QCOMPARE(log.keyAtInit.toString(), QStringLiteral("RTS-6.30"));
    QCOMPARE(log.core, &core);
    QCOMPARE(manager.hosted, QList<IView*>({view}));
    QCOMPARE(core.views(), QList<IView*>({view}));
}

void TestCore::openViewOfUnknownIdOpensNothing()
{
    HostingManager manager;
    ViewLog log;
    TestFactory calc("OptCalcWindow", &log);
    // No core yet: nothing to find the factory in.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"OptCalcWindow\""));
    QCOMPARE(manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("RTS")), nullptr);

    ICore core;
    core.viewFactories()->addFactory(&calc);
    for (const QString& id :
         {QStringLiteral("PostponedOrders"), QStringLiteral("optcalcwindow"), QString()}) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"" + id + "\""));
        QCOMPARE(manager.openView(id, QStringLiteral("RTS")), nullptr);
    }
    QCOMPARE(log.created, 0);
    QVERIFY(manager.hosted.isEmpty());
    QVERIFY(manager.views().isEmpty());
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
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("is no widget"));
    QCOMPARE(manager.openView(QStringLiteral("Bare"), QString()), nullptr);
    manager.refuse = true;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be hosted"));
    QCOMPARE(manager.openView(QStringLiteral("Refused"), QString()), nullptr);

    QCOMPARE(nothingLog.created, 1);
    QCOMPARE(bareLog.destroyed, 1);
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

    QVERIFY(manager.closeView(closed));
    QVERIFY(!manager.closeView(closed));
    QCOMPARE(log.destroyed, 1);
    // A view whose window went by other means is no longer listed, nor closed twice.
    delete dynamic_cast<QWidget*>(destroyed);
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

    auto* widget = dynamic_cast<QWidget*>(
        manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("Si-9.30")));
    QVERIFY(widget);
    // A window of its own, kept by the main window.
    QVERIFY(widget->isWindow());
    QCOMPARE(widget->parentWidget(), &mainWindow);
    QVERIFY(widget->isVisible());
    QCOMPARE(widget->windowTitle(), QStringLiteral("Вид OptCalcWindow"));
    QCOMPARE(widget->size(), QSize(320, 200));
}

QTEST_MAIN(TestCore)
#include "tst_core.moc"
