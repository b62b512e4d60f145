#include "c_api/ioptionspage.h"
#include "c_api/iplugin.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewprovider.h"
#include "c_api/iviewsettingspage.h"
#include "c_api/iwindow.h"
#include "database/settings.h"
#include "offscreenleaks.h"
#include "vtableslot.h"

#include <QWidget>
#include <QtTest>

#include <memory>

namespace {

class TestPlugin : public QObject, public IPlugin, public IViewProvider, public IViewFactory
{
    Q_OBJECT
    Q_INTERFACES(IPlugin IViewProvider IViewFactory)
public:
    QLatin1String pluginName() override { return QLatin1String("TestPlugin"); }
    QString displayName() override { return QStringLiteral("Test"); }
    QString vendor() override { return QString(); }
    QString version() override { return QString(); }
    QString description() override { return QString(); }
    bool initialize(ICore*) override { return true; }
    QList<IViewFactory*> viewFactories() override { return {this}; }
    QByteArray viewId() override { return "TestView"; }
    IView* create(const QString&, QWidget*) override { return nullptr; }
};

// A frame of the host around a view.
class TestFrame : public QWidget, public IWindow
{
    Q_OBJECT
    Q_INTERFACES(IWindow)
public:
    explicit TestFrame(QWidget* parent = nullptr) : QWidget(parent) {}
    IView* view() override { return nullptr; }
    QString title() override { return windowTitle(); }
    void setTitle(const QString& title) override { setWindowTitle(title); }
    void activate() override {}
};

// Records the calls of the operations a default forwards to.
class TestView : public QWidget, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    struct Call
    {
        QString name;
        const Settings* first;
        const Settings* second;
    };

    explicit TestView(QWidget* parent = nullptr) : QWidget(parent) {}
    void initCore(ICore*) override {}
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings& settings) const override
    {
        calls.append({QStringLiteral("store"), &settings, nullptr});
    }
    void restore(const Settings& first, const Settings& second) override
    {
        calls.append({QStringLiteral("restore"), &first, &second});
    }
    QSize defaultSize() override { return QSize(640, 480); }

    mutable QList<Call> calls;
};

// A view that is its own frame, as a top-level window of the host can be.
class FramedView : public TestView, public IWindow
{
    Q_OBJECT
    Q_INTERFACES(IWindow)
public:
    IView* view() override { return this; }
    QString title() override { return QString(); }
    void setTitle(const QString&) override {}
    void activate() override {}
};

// A view that is no widget: nothing to walk.
class BareView : public IView
{
public:
    void initCore(ICore*) override {}
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings&) const override {}
    void restore(const Settings&, const Settings&) override {}
    QSize defaultSize() override { return QSize(); }
};

class TestOptionsPage : public QObject, public IOptionsPage
{
    Q_OBJECT
    Q_INTERFACES(IOptionsPage)
public:
    QString id() override { return QStringLiteral("Test.Options"); }
    QString displayName() override { return QStringLiteral("Options"); }
    QString category() override { return QStringLiteral("Test"); }
    QString displayCategory() override { return QStringLiteral("Test"); }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override {}
    QWidget* createPage(QWidget*) override { return nullptr; }
    void apply() override {}
};

class TestSettingsPage : public QObject, public IViewSettingsPage
{
    Q_OBJECT
    Q_INTERFACES(IViewSettingsPage)
public:
    QString id() override { return QStringLiteral("Test.Columns"); }
    QString displayName() override { return QStringLiteral("Колонки"); }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override {}
    QWidget* createPage(const Settings&, QWidget*) override { return nullptr; }
    void apply(Settings&) override {}
};

} // namespace

class TestInterfaces : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void castByIdentifier_data();
    void castByIdentifier();
    void operationsKeepTheirSlots_data();
    void operationsKeepTheirSlots();
    void windowIsTheNearestFrame_data();
    void windowIsTheNearestFrame();
    void windowWithoutFrame();
    void templatesGoThroughStoreAndRestore();
    void viewSettingsPageIsItsOwnCategory();
    void defaults();

private:
    TestPlugin* m_plugin = nullptr;
    TestFrame* m_frame = nullptr;
    TestView* m_view = nullptr;
    TestOptionsPage* m_options = nullptr;
    TestSettingsPage* m_settings = nullptr;
    QObject* m_plain = nullptr;
};

void TestInterfaces::initTestCase()
{
    m_plugin = new TestPlugin;
    m_frame = new TestFrame;
    m_view = new TestView;
    m_options = new TestOptionsPage;
    m_settings = new TestSettingsPage;
    m_plain = new QObject;
}

void TestInterfaces::cleanupTestCase()
{
    delete m_plugin;
    delete m_frame;
    delete m_view;
    delete m_options;
    delete m_settings;
    delete m_plain;
}

void TestInterfaces::castByIdentifier_data()
{
    QTest::addColumn<QByteArray>("iid");
    QTest::addColumn<QObject*>("object");
    QTest::addColumn<void*>("expected");

    // The identifiers are written out: plug-ins built elsewhere ask by these very texts.
    QTest::newRow("IPlugin") << QByteArray("com.ormel.velmar.Plugin.IPlugin/1.0")
                             << static_cast<QObject*>(m_plugin)
                             << static_cast<void*>(static_cast<IPlugin*>(m_plugin));
    QTest::newRow("IViewProvider") << QByteArray("com.ormel.velmar.Plugin.IViewProvider/1.0")
                                   << static_cast<QObject*>(m_plugin)
                                   << static_cast<void*>(static_cast<IViewProvider*>(m_plugin));
    QTest::newRow("IViewFactory") << QByteArray("com.ormel.velmar.Plugin.IViewFactory/1.0")
                                  << static_cast<QObject*>(m_plugin)
                                  << static_cast<void*>(static_cast<IViewFactory*>(m_plugin));
    QTest::newRow("IView") << QByteArray("com.ormel.velmar.Plugin.IView/1.0")
                           << static_cast<QObject*>(m_view)
                           << static_cast<void*>(static_cast<IView*>(m_view));
    QTest::newRow("IWindow") << QByteArray("com.ormel.velmar.Plugin.IWindow/1.0")
                             << static_cast<QObject*>(m_frame)
                             << static_cast<void*>(static_cast<IWindow*>(m_frame));
    QTest::newRow("IOptionsPage") << QByteArray("com.ormel.velmar.Plugin.IOptionsPage/1.0")
                                  << static_cast<QObject*>(m_options)
                                  << static_cast<void*>(static_cast<IOptionsPage*>(m_options));
    QTest::newRow("IViewSettingsPage")
        << QByteArray("com.ormel.velmar.Plugin.IViewSettingsPage/1.0")
        << static_cast<QObject*>(m_settings)
        << static_cast<void*>(static_cast<IViewSettingsPage*>(m_settings));
}

void TestInterfaces::castByIdentifier()
{
    QFETCH(QByteArray, iid);
    QFETCH(QObject*, object);
    QFETCH(void*, expected);

    QCOMPARE(object->qt_metacast(iid.constData()), expected);
    // Objects that do not declare the interface do not answer to it.
    QVERIFY(!m_plain->qt_metacast(iid.constData()));
    QVERIFY(!m_frame->qt_metacast(iid.constData()) || object == m_frame);
    // A different version is a different interface.
    QVERIFY(!object->qt_metacast(iid.replace("/1.0", "/2.0").constData()));
}

void TestInterfaces::operationsKeepTheirSlots_data()
{
    QTest::addColumn<int>("slot");
    QTest::addColumn<int>("expected");

    // Numbered as the plug-in contract lists them, the destructor being number 0.
#define ROW(function, number) QTest::newRow(#function) << vtableSlot(&function) << (number)
    ROW(IPlugin::pluginName, 1);
    ROW(IPlugin::displayName, 2);
    ROW(IPlugin::vendor, 3);
    ROW(IPlugin::version, 4);
    ROW(IPlugin::description, 5);
    ROW(IPlugin::initialize, 6);
    ROW(IPlugin::pluginHookFirst, 7);
    ROW(IPlugin::pluginHookSecond, 8);
    ROW(IViewProvider::viewFactories, 1);
    ROW(IViewFactory::viewId, 1);
    ROW(IViewFactory::displayName, 2);
    ROW(IViewFactory::viewDescription, 3);
    ROW(IViewFactory::icon, 4);
    ROW(IViewFactory::secondIcon, 5);
    ROW(IViewFactory::viewFlag, 6);
    ROW(IViewFactory::create, 7);
    ROW(IView::initCore, 1);
    ROW(IView::getSettingsPages, 2);
    ROW(IView::getActions, 3);
    ROW(IView::populateActionsAt, 4);
    ROW(IView::store, 5);
    ROW(IView::storeTemplate, 6);
    ROW(IView::restoreTemplate, 7);
    ROW(IView::restore, 8);
    ROW(IView::apply, 9);
    ROW(IView::defaultSize, 10);
    ROW(IView::toolBars, 11);
    ROW(IView::window, 12);
    ROW(IOptionsPageBase::id, 1);
    ROW(IOptionsPageBase::displayName, 2);
    ROW(IOptionsPageBase::category, 3);
    ROW(IOptionsPageBase::displayCategory, 4);
    ROW(IOptionsPageBase::categoryIcon, 5);
    ROW(IOptionsPageBase::matches, 6);
    ROW(IOptionsPageBase::finish, 7);
    ROW(IOptionsPage::createPage, 8);
    ROW(IOptionsPage::apply, 9);
    ROW(IViewSettingsPage::category, 3);
    ROW(IViewSettingsPage::displayCategory, 4);
    ROW(IViewSettingsPage::createPage, 8);
    ROW(IViewSettingsPage::apply, 9);
#undef ROW
}

void TestInterfaces::operationsKeepTheirSlots()
{
    if (!VTABLE_SLOTS_KNOWN)
        QSKIP("the layout of virtual tables is not known for this compiler");
    QFETCH(int, slot);
    QFETCH(int, expected);
    // The destructor takes two slots here: the contract's number 1 is the third slot.
    QCOMPARE(slot, expected + 1);
}

void TestInterfaces::windowIsTheNearestFrame_data()
{
    QTest::addColumn<int>("depth");
    QTest::newRow("view in the frame") << 0;
    QTest::newRow("through one widget") << 1;
    QTest::newRow("through four widgets") << 4;
}

void TestInterfaces::windowIsTheNearestFrame()
{
    QFETCH(int, depth);
    QWidget top;
    auto* outer = new TestFrame(&top);
    auto* inner = new TestFrame(new QWidget(outer));
    QWidget* parent = inner;
    for (int i = 0; i < depth; ++i)
        parent = new QWidget(parent);
    auto* view = new TestView(parent);

    IView* asView = view;
    // The frame's IWindow part lies after its QWidget part: a wrong cast would miss it.
    QCOMPARE(asView->window(), static_cast<IWindow*>(inner));

    // Moved out of the inner frame, the view finds the outer one.
    view->setParent(outer->findChild<QWidget*>());
    QCOMPARE(asView->window(), static_cast<IWindow*>(outer));
}

void TestInterfaces::windowWithoutFrame()
{
    QWidget top;
    auto* view = new TestView(new QWidget(&top));
    QCOMPARE(static_cast<IView*>(view)->window(), nullptr);

    // The view's own widget is the first one asked.
    FramedView framed;
    QCOMPARE(static_cast<IView&>(framed).window(), static_cast<IWindow*>(&framed));

    BareView bare;
    QCOMPARE(bare.window(), nullptr);
}

void TestInterfaces::templatesGoThroughStoreAndRestore()
{
    TestView view;
    Settings first(static_cast<QSettings*>(nullptr));
    Settings second(static_cast<QSettings*>(nullptr));
    IView& asView = view;

    asView.storeTemplate(first);
    QCOMPARE(view.calls.size(), 1);
    QCOMPARE(view.calls.at(0).name, QStringLiteral("store"));
    QCOMPARE(view.calls.at(0).first, &first);

    asView.restoreTemplate(first, second);
    QCOMPARE(view.calls.size(), 2);
    QCOMPARE(view.calls.at(1).name, QStringLiteral("restore"));
    // In the same order.
    QCOMPARE(view.calls.at(1).first, &first);
    QCOMPARE(view.calls.at(1).second, &second);
}

void TestInterfaces::viewSettingsPageIsItsOwnCategory()
{
    IOptionsPageBase* page = m_settings;
    QCOMPARE(page->category(), QStringLiteral("Test.Columns"));
    QCOMPARE(page->displayCategory(), QStringLiteral("Колонки"));
}

void TestInterfaces::defaults()
{
    IViewFactory* factory = m_plugin;
    QVERIFY(factory->viewDescription().isEmpty());
    QVERIFY(factory->icon().isNull());
    QVERIFY(factory->secondIcon().isNull());
    QCOMPARE(factory->viewFlag(), 0);

    IView* view = m_view;
    QVERIFY(view->getActions().isEmpty());
    QVERIFY(view->toolBars().isEmpty());
    view->apply();
    QVERIFY(m_view->calls.isEmpty());

    const IOptionsPageBase* page = m_options;
    QVERIFY(!page->matches(QStringLiteral("Options")));
    QVERIFY(!page->matches(QString()));

    // The plug-in's key travels as Latin-1 text.
    IPlugin* plugin = m_plugin;
    QCOMPARE(QString(plugin->pluginName()), QStringLiteral("TestPlugin"));
}

QTEST_MAIN(TestInterfaces)
#include "tst_interfaces.moc"
