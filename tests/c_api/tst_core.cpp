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

// A host that may refuse a view.
class HostingManager : public IWindowManager
{
public:
    bool refuse = false;

protected:
    bool hostView(IView*, QWidget*, IViewFactory*) override { return !refuse; }
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

// A core with the calculator's kind of view, under a main window.
struct Host
{
    Host()
    {
        core.setMainWindow(&mainWindow);
        core.viewFactories()->addFactory(&calc);
    }
    ICore core;
    QWidget mainWindow;
    ViewLog log;
    TestFactory calc{"OptCalcWindow", &log};
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
    void openViewFails_data();
    void openViewFails();
    void hostedViewsFollowTheirWidgets();
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
    QCOMPARE(r.parent.data(), &parent);
    QCOMPARE(QStringList({r.category, r.page, r.filter, r.title, r.stateKey, r.helpTopic}),
             QStringList({"Calc", "calc", "strike", "Настройки", "OptionsDialog", "help/calc"}));
    QCOMPARE(r.context.toInt(), 42);
}

// By default a view is a window of its own, kept by the main window.
void TestCore::openViewReachesTheFactory()
{
    IWindowManager manager;
    // No core yet: nothing to find the factory in.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no view \"OptCalcWindow\""));
    QCOMPARE(manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("RTS")), nullptr);

    Host host;
    IView* view = IWindowManager::instance()->openView(QStringLiteral("OptCalcWindow"),
                                                       QStringLiteral("RTS-6.30"));
    QVERIFY(view);
    QCOMPARE(host.log.created, 1);
    QCOMPARE(host.log.key, QStringLiteral("RTS-6.30"));
    // The view has its key, then its core, before the host puts it anywhere.
    QCOMPARE(host.log.keyAtInit.toString(), QStringLiteral("RTS-6.30"));
    QCOMPARE(host.log.core, &host.core);
    QCOMPARE(host.core.views(), QList<IView*>({view}));
    auto* widget = dynamic_cast<QWidget*>(view);
    QVERIFY(widget->isWindow() && widget->isVisible());
    QCOMPARE(widget->parentWidget(), &host.mainWindow);
    QCOMPARE(widget->windowTitle(), QStringLiteral("Вид OptCalcWindow"));
    QCOMPARE(widget->size(), QSize(320, 200));
}

void TestCore::openViewFails_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("refuse");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<int>("created");
    QTest::addColumn<int>("destroyed");
    QTest::newRow("unknown id") << "PostponedOrders" << false << "no view \"PostponedOrders\"" << 0
                                << 0;
    QTest::newRow("id in another case")
        << "optcalcwindow" << false << "no view \"optcalcwindow\"" << 0 << 0;
    QTest::newRow("empty id") << "" << false << "no view \"\"" << 0 << 0;
    QTest::newRow("factory made nothing") << "Nothing" << false << "made no view" << 1 << 0;
    QTest::newRow("view is no widget") << "Bare" << false << "is no widget" << 1 << 1;
    QTest::newRow("host refused") << "OptCalcWindow" << true << "could not be hosted" << 1 << 1;
}

// A view that cannot be made or hosted is not listed, and what was made is deleted.
void TestCore::openViewFails()
{
    QFETCH(QString, id);
    QFETCH(bool, refuse);
    QFETCH(QString, warning);
    QFETCH(int, created);
    QFETCH(int, destroyed);
    Host host;
    TestFactory nothing("Nothing", &host.log, TestFactory::Nothing);
    TestFactory bare("Bare", &host.log, TestFactory::NoWidget);
    host.core.viewFactories()->addFactory(&nothing);
    host.core.viewFactories()->addFactory(&bare);
    HostingManager manager;
    manager.refuse = refuse;

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(warning)));
    QCOMPARE(manager.openView(id, QStringLiteral("RTS")), nullptr);
    QCOMPARE(host.log.created, created);
    QCOMPARE(host.log.destroyed, destroyed);
    QVERIFY(manager.views().isEmpty());
}

void TestCore::hostedViewsFollowTheirWidgets()
{
    Host host;
    HostingManager manager;
    IView* closed = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("A"));
    IView* destroyed = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("B"));
    IView* kept = manager.openView(QStringLiteral("OptCalcWindow"), QStringLiteral("C"));

    QVERIFY(manager.closeView(closed));
    QVERIFY(!manager.closeView(closed));
    QCOMPARE(host.log.destroyed, 1);
    // A view whose window went by other means is no longer listed, nor closed twice.
    delete dynamic_cast<QWidget*>(destroyed);
    QCOMPARE(manager.views(), QList<IView*>({kept}));
    QVERIFY(!manager.closeView(destroyed));
    QVERIFY(!manager.activateView(destroyed));
    QCOMPARE(host.log.destroyed, 2);
    QVERIFY(manager.activateView(kept));
}

QTEST_MAIN(TestCore)
#include "tst_core.moc"
