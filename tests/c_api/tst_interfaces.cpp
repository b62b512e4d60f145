#include "c_api/icore.h"
#include "c_api/ioptionspage.h"
#include "c_api/iplugin.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewprovider.h"
#include "c_api/iviewsettingspage.h"
#include "c_api/iwindow.h"
#include "c_api/iwindowmanager.h"
#include "c_api/tableregistry.h"
#include "c_api/viewregistry.h"
#include "database/settings.h"
#include "support/vtableslot.h"

#include <QWidget>
#include <QtTest>

namespace {

class TestPlugin : public QObject, public IPlugin, public IViewProvider, public IViewFactory
{
    Q_OBJECT
    Q_INTERFACES(IPlugin IViewProvider IViewFactory)
public:
    QLatin1String pluginName() override { return QLatin1String("TestPlugin"); }
    QString displayName() override { return QString(); }
    QString vendor() override { return QString(); }
    QString version() override { return QString(); }
    QString description() override { return QString(); }
    bool initialize(ICore*) override { return true; }
    QList<IViewFactory*> viewFactories() override { return {this}; }
    QByteArray viewId() override { return "TestView"; }
    IView* create(const QString&, QWidget*) override { return nullptr; }
};

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

class TestView : public QWidget, public BareView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    explicit TestView(QWidget* parent = nullptr) : QWidget(parent) {}
};

// A view that is its own frame, as a top-level window of the host can be.
class FramedView : public TestView, public IWindow
{
    Q_OBJECT
    Q_INTERFACES(IWindow)
public:
    using TestView::TestView;
    IView* view() override { return this; }
    QString title() override { return QString(); }
    void setTitle(const QString&) override {}
    void activate() override {}
};

class TestPage : public QObject, public IOptionsPage, public IViewSettingsPage
{
    Q_OBJECT
    Q_INTERFACES(IOptionsPage IViewSettingsPage)
public:
    QString id() override { return QStringLiteral("Test.Columns"); }
    QString displayName() override { return QStringLiteral("Колонки"); }
    QString category() override { return QString(); }
    QString displayCategory() override { return QString(); }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override {}
    QWidget* createPage(QWidget*) override { return nullptr; }
    void apply() override {}
    QWidget* createPage(const Settings&, QWidget*) override { return nullptr; }
    void apply(Settings&) override {}
};

// QObject's own virtual functions come first in every QObject's table.
struct QObjectSlots : QObject
{
    static int last() { return vtableSlot(&QObjectSlots::disconnectNotify); }
};

} // namespace

class TestInterfaces : public QObject
{
    Q_OBJECT
private slots:
    void castByIdentifier_data();
    void castByIdentifier();
    void interfaceSlots_data();
    void interfaceSlots();
    void hostSlots_data();
    void hostSlots();
    void windowIsTheNearestFrame();
};

void TestInterfaces::castByIdentifier_data()
{
    QTest::addColumn<QByteArray>("iid");
    QTest::addColumn<QByteArray>("name");

    // Written out: plug-ins built elsewhere ask by these very texts.
    const QByteArray prefix = "com.ormel.velmar.Plugin.";
    for (const char* name : {"IPlugin", "IViewProvider", "IViewFactory", "IView", "IWindow",
                             "IOptionsPage", "IViewSettingsPage"})
        QTest::newRow(name) << prefix + name + "/1.0" << QByteArray(name);
    // Another version is another interface; none answers to these.
    QTest::newRow("IView/2.0") << prefix + "IView/2.0" << QByteArray();
    QTest::newRow("IOptionsPageBase") << prefix + "IOptionsPageBase/1.0" << QByteArray();
}

void TestInterfaces::castByIdentifier()
{
    QFETCH(QByteArray, iid);
    QFETCH(QByteArray, name);
    TestPlugin plugin;
    FramedView frame;
    TestPage page;
    // Where each interface lies within its object: the answer must point there.
    const QHash<QByteArray, void*> expected = {
        {"IPlugin", static_cast<IPlugin*>(&plugin)},
        {"IViewProvider", static_cast<IViewProvider*>(&plugin)},
        {"IViewFactory", static_cast<IViewFactory*>(&plugin)},
        {"IView", static_cast<IView*>(&frame)},
        {"IWindow", static_cast<IWindow*>(&frame)},
        {"IOptionsPage", static_cast<IOptionsPage*>(&page)},
        {"IViewSettingsPage", static_cast<IViewSettingsPage*>(&page)}};

    void* answer = nullptr;
    int answers = 0;
    for (QObject* object : std::initializer_list<QObject*>{&plugin, &frame, &page}) {
        if (void* p = object->qt_metacast(iid.constData())) {
            answer = p;
            ++answers;
        }
    }
    QCOMPARE(answers, name.isEmpty() ? 0 : 1);
    QCOMPARE(answer, expected.value(name));
}

void TestInterfaces::interfaceSlots_data()
{
    QTest::addColumn<int>("slot");
    QTest::addColumn<int>("number");

    // Numbered as plug-ins know them: the destructor is number 0.
#define ROW(function, number) QTest::newRow(#function) << vtableSlot(&function) << (number)
    ROW(IPlugin::pluginName, 1);
    ROW(IPlugin::initialize, 6);
    ROW(IPlugin::pluginHookSecond, 8);
    ROW(IViewProvider::viewFactories, 1);
    ROW(IViewFactory::viewId, 1);
    ROW(IViewFactory::viewDescription, 3);
    ROW(IViewFactory::viewFlag, 6);
    ROW(IViewFactory::create, 7);
    ROW(IView::initCore, 1);
    ROW(IView::getActions, 3);
    ROW(IView::store, 5);
    ROW(IView::storeTemplate, 6);
    ROW(IView::restoreTemplate, 7);
    ROW(IView::restore, 8);
    ROW(IView::apply, 9);
    ROW(IView::toolBars, 11);
    ROW(IView::window, 12);
    ROW(IOptionsPageBase::id, 1);
    ROW(IOptionsPageBase::category, 3);
    ROW(IOptionsPageBase::categoryIcon, 5);
    ROW(IOptionsPageBase::matches, 6);
    ROW(IOptionsPageBase::finish, 7);
    ROW(IOptionsPage::createPage, 8);
    ROW(IOptionsPage::apply, 9);
    ROW(IViewSettingsPage::displayCategory, 4);
    ROW(IViewSettingsPage::createPage, 8);
    ROW(IViewSettingsPage::apply, 9);
#undef ROW
}

void TestInterfaces::interfaceSlots()
{
    if (!VTABLE_SLOTS_KNOWN)
        QSKIP("the layout of virtual tables is not known for this compiler");
    QFETCH(int, slot);
    QFETCH(int, number);
    // Here the destructor takes two slots.
    QCOMPARE(slot, number + 1);
}

void TestInterfaces::hostSlots_data()
{
    QTest::addColumn<int>("metaIndex");
    QTest::addColumn<int>("vtableIndex");
    QTest::addColumn<int>("number");

    // The host's services number their own operations from 0. All are slots, so the
    // number is both the place in the virtual table after QObject's and the method index.
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

void TestInterfaces::hostSlots()
{
    QFETCH(int, metaIndex);
    QFETCH(int, vtableIndex);
    QFETCH(int, number);
    QCOMPARE(metaIndex, number);
    if (VTABLE_SLOTS_KNOWN)
        QCOMPARE(vtableIndex, number);
}

// The window of a view is the nearest frame up its widgets, its own widget first.
void TestInterfaces::windowIsTheNearestFrame()
{
    QWidget top;
    auto* outer = new FramedView(&top);
    auto* between = new QWidget(outer);
    auto* inner = new FramedView(between);
    QWidget* deep = inner;
    for (int i = 0; i < 4; ++i)
        deep = new QWidget(deep);
    auto* view = new TestView(deep);
    IView* asView = view;
    // IWindow lies after QWidget in the frame: a wrong cast would miss it.
    QCOMPARE(asView->window(), static_cast<IWindow*>(inner));
    view->setParent(between);
    QCOMPARE(asView->window(), static_cast<IWindow*>(outer));
    QCOMPARE(static_cast<IView*>(inner)->window(), static_cast<IWindow*>(inner));
    view->setParent(&top);
    QCOMPARE(asView->window(), nullptr);
    BareView bare;
    QCOMPARE(bare.window(), nullptr);
}

QTEST_MAIN(TestInterfaces)
#include "tst_interfaces.moc"
