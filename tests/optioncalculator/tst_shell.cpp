// The calculator plug-in as the terminal meets it: the built module with its metadata, the
// trade menu and the commands, the menu of base codes, the window factory, and the window's
// shell state with its restore paths, docks and headers.

#include "shell/optcalcdockwidget.h"
#include "shell/optcalcheaderwidget.h"
#include "shell/optcalcwindow.h"
#include "shell/optcalcwindowfactory.h"

#include "basic_views/checkeditemmodelbytable.h"
#include "c_api/icore.h"
#include "c_api/iplugin.h"
#include "c_api/iviewprovider.h"
#include "c_api/iwindowmanager.h"
#include "c_api/viewregistry.h"
#include "database/settings.h"
#include "gui/action.h"
#include "gui/actionmanager.h"
#include "gui/command.h"
#include "gui/commandcontainer.h"
#include "gui/modelmenu.h"
#include "support/testmarket.h"

#include <QJsonObject>
#include <QLineEdit>
#include <QPluginLoader>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTemporaryDir>
#include <QToolBar>
#include <QtTest>

#include <memory>

namespace {

const QString Kind = QStringLiteral("Опционный калькулятор");

class RecordingWindowManager : public IWindowManager
{
public:
    QStringList opened;
    IView* openView(const QString& viewId, const QString& extraKey) override
    {
        opened << viewId + ':' + extraKey;
        return nullptr;
    }
};

QStringList texts(const QWidget* widget)
{
    QStringList result;
    for (const QAction* action : widget->actions())
        result << action->text();
    return result;
}

// A view action by its text, or a mode action by its command id.
QAction* action(const QWidget& window, const QString& textOrId)
{
    for (QAction* action : window.findChildren<QAction*>()) {
        auto* bound = qobject_cast<Action*>(action);
        if (action->text() == textOrId || (bound && bound->id() == textOrId.toLatin1()))
            return action;
    }
    return nullptr;
}

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void plugin();
    void tradeMenuAndCommands();
    void menu();
    void factory_data();
    void factory();
    void storeRestoreRoundTrip();
    void restoreTakesCodeFromTitle_data();
    void restoreTakesCodeFromTitle();
    void restoreTemplate_data();
    void restoreTemplate();
    void settingsGroup_data();
    void settingsGroup();
    void dockRaisesOnClickOnly_data();
    void dockRaisesOnClickOnly();
    void dockAnnouncesClose();

private:
    std::unique_ptr<Settings> settings();
    std::unique_ptr<OptCalcWindow> window(const QString& key);
    ModelMenu* calculatorMenu();

    QTemporaryDir m_dir;
    int m_files = 0;
    TestMarket* m_market = nullptr;
    QPluginLoader m_loader{QStringLiteral(OPTCALC_PLUGIN_FILE)};
    QObject* m_plugin = nullptr;
    OptCalcWindowFactory m_factory;
};

std::unique_ptr<Settings> TestShell::settings()
{
    return std::make_unique<Settings>(m_dir.filePath(QString::number(++m_files) + ".ini"));
}

std::unique_ptr<OptCalcWindow> TestShell::window(const QString& key)
{
    std::unique_ptr<OptCalcWindow> made(
        dynamic_cast<OptCalcWindow*>(m_factory.create(key, nullptr)));
    // The queued title is in place, as after the terminal's next turn of the event loop.
    QCoreApplication::sendPostedEvents();
    return made;
}

// The trade menu's entry of the calculator, which the plug-in made rather than asked for by
// name, and its menu.
ModelMenu* TestShell::calculatorMenu()
{
    CommandContainer* trade = ActionManager::instance()->findContainer("TradeMenu");
    for (CommandContainer* entry : trade ? trade->containers() : QList<CommandContainer*>())
        if (entry->id() == "OptionCalc")
            return qobject_cast<ModelMenu*>(entry->createMenu(nullptr));
    return nullptr;
}

void TestShell::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_market = new TestMarket(nullptr, this);
    // The windows made here find their kind in the core, as in the terminal.
    QVERIFY(m_market->core()->viewFactories()->addFactory(&m_factory));
    m_plugin = m_loader.instance();
    QVERIFY2(qobject_cast<IPlugin*>(m_plugin), qPrintable(m_loader.errorString()));
    qobject_cast<IPlugin*>(m_plugin)->initialize(m_market->core());
}

void TestShell::cleanupTestCase()
{
    // As the terminal does at exit: the root object goes while the application lives.
    delete m_plugin;
}

void TestShell::plugin()
{
    const QJsonObject meta = m_loader.metaData();
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("tarnel.plugin.optioncalculator"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("OptionCalculator"));
    QCOMPARE(meta.value("debug"), QJsonValue(false));

    auto* plugin = qobject_cast<IPlugin*>(m_plugin);
    QCOMPARE(QString(plugin->pluginName()), QStringLiteral("optioncalculator"));
    const QList<IViewFactory*> factories = qobject_cast<IViewProvider*>(m_plugin)->viewFactories();
    QCOMPARE(factories.size(), 1);
    QCOMPARE(factories.first()->viewId(), QByteArray("OptCalcWindow"));
}

void TestShell::tradeMenuAndCommands()
{
    CommandContainer* trade = ActionManager::instance()->findContainer("TradeMenu");
    QVERIFY(trade && trade->parentContainer());
    QCOMPARE(trade->parentContainer()->id(), QByteArray("MenuBar"));
    QCOMPARE(trade->title(), QStringLiteral("Тор&говля"));
    QCOMPARE(trade->containers().size(), 1);
    CommandContainer* entry = trade->containers().first();
    QCOMPARE(entry->title(), QStringLiteral("&Опционный калькулятор..."));
    // The module's images are built into it.
    const QImage icon = QIcon(":/oc/icons/windows/optcalc.png").pixmap(16).toImage();
    QVERIFY(!icon.isNull());
    QCOMPARE(entry->icon().pixmap(16).toImage(), icon);

    CommandContainer* toolBar = ActionManager::instance()->findContainer("OptCalcToolBar");
    QVERIFY(toolBar);
    QCOMPARE(toolBar->title(), QStringLiteral("Опционный калькулятор: Панель инструментов"));
    QStringList listed;
    for (const Command* command : toolBar->commands()) {
        QCOMPARE(command->category(), Kind);
        QVERIFY(command->isShortcutVisibleInToolTip());
        listed << command->id() + '=' + command->defaultText() + ' ' +
                      command->defaultShortcut().toString();
    }
    const QString undo = QKeySequence(QKeySequence::Undo).toString();
    const QString redo = QKeySequence(QKeySequence::Redo).toString();
    QVERIFY(!undo.isEmpty() && !redo.isEmpty());
    QCOMPARE(
        listed,
        QStringList({"OC.addPosition=Добавить позицию ", "OC.addApproach=Добавить стратегию ",
                     "OC.delPosition=Удалить позицию ", "OC.clear=Очистить ",
                     "OC.import=Импортировать данные ",
                     "OC.partialCurves=Отдельные графики для каждой позиции ",
                     "OC.summaryCurves=Графики по всему портфелю ",
                     "OC.convertXAxisValues=Проценты на оси X ", "OC.gridEnable=Мелкая сетка ",
                     "OC.autoScale=Автомасштабирование ",
                     "OC.addPostponedOrders=Подготовить пакет заявок ",
                     "OC.loadReal=Загрузить в модельный портфель ", "OC.undo=Отменить " + undo,
                     "OC.redo=Вернуть " + redo, "OC.saveCurrentPlotAs=Сохранить график как... "}));
}

void TestShell::menu()
{
    ModelMenu* menu = calculatorMenu();
    QVERIFY(menu);
    // One menu for the container's life, whoever shows it.
    QCOMPARE(calculatorMenu(), menu);
    emit menu->aboutToShow();
    QAbstractItemModel* model = menu->model();
    QVERIFY(qobject_cast<CheckedItemModelByTable*>(model));
    QCOMPARE(texts(menu), QStringList({"RI", "Si"}));

    // GZ gets its first option while the terminal runs: the next opening lists it.
    m_market->listOption(decimal(165000, 0), false);
    m_market->setField(QStringLiteral("RI165000CA"), QStringLiteral("base_code"), "GZ");
    emit menu->aboutToShow();
    QCOMPARE(menu->model(), model);
    QCOMPARE(texts(menu), QStringList({"GZ", "RI", "Si"}));
    m_market->delist(QStringLiteral("RI165000CA"));
    emit menu->aboutToShow();

    // Picking an entry opens a calculator for its code; an entry without one opens nothing.
    QStringListModel blank(QStringList{QString()});
    RecordingWindowManager windows;
    emit menu->activated(QModelIndex());
    emit menu->activated(blank.index(0));
    QVERIFY(windows.opened.isEmpty());
    emit menu->activated(menu->model()->index(1, 0));
    menu->actions().first()->trigger();
    QCOMPARE(windows.opened, QStringList({"OptCalcWindow:Si", "OptCalcWindow:RI"}));
}

void TestShell::factory_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("built");

    QTest::newRow("base code with options") << "RI" << true;
    QTest::newRow("future without options") << "GZ" << false;
    QTest::newRow("unknown") << "XX" << false;
    QTest::newRow("case differs") << "ri" << false;
    QTest::newRow("empty") << "" << false;
}

void TestShell::factory()
{
    QFETCH(QString, key);
    QFETCH(bool, built);

    auto made = window(key);
    QVERIFY(made);
    QCOMPARE(made->windowTitle(), built ? key + " - " + Kind : QString());
    QCOMPARE(made->objectName(), built ? QStringLiteral("OptCalcWindow") : QString());
    // A shell shows its tool bar too.
    auto* toolBar = made->findChild<QToolBar*>(QStringLiteral("toolBar"));
    QVERIFY(toolBar);
    QCOMPARE(texts(toolBar), QStringList({"Графики", "Реальный портфель", "Модельный портфель"}));

    auto stored = settings();
    made->store(*stored);
    QCOMPARE(stored->childKeys().isEmpty(), !built);
    QCOMPARE(stored->value("baseCode").toString(), built ? key : QString());
}

void TestShell::storeRestoreRoundTrip()
{
    auto saved = window("Si");
    action(*saved, "Графики")->setChecked(false);
    action(*saved, "OC.gridEnable")->setChecked(true);
    action(*saved, "OC.autoScale")->setChecked(false);
    auto stored = settings();
    saved->store(*stored);

    // Restored after Si lost its options: the factory gives a shell, the settings the code.
    auto restored = window("");
    action(*restored, "OC.summaryCurves")->setChecked(false);
    restored->restore(*stored, *stored);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(restored->windowTitle(), "Si - " + Kind);
    QVERIFY(!action(*restored, "Графики")->isChecked());
    QVERIFY(action(*restored, "Модельный портфель")->isChecked());
    QVERIFY(action(*restored, "OC.gridEnable")->isChecked());
    QVERIFY(!action(*restored, "OC.autoScale")->isChecked());
    // No curve mode is ever saved, and one is always on.
    QVERIFY(action(*restored, "OC.summaryCurves")->isChecked());
    QVERIFY(!action(*restored, "OC.partialCurves")->isChecked());
}

void TestShell::restoreTakesCodeFromTitle_data()
{
    QTest::addColumn<QString>("savedCode");
    QTest::addColumn<QString>("frameTitle");
    QTest::addColumn<QString>("userTitle");
    QTest::addColumn<QString>("title");

    auto row = [](const char* name, const char* saved, const QString& frame, const char* user,
                  const QString& title) { QTest::newRow(name) << saved << frame << user << title; };
    row("one hyphen", "", " RI - old", "", "RI - " + Kind);
    row("two hyphens", "", "RI - old - x", "", Kind);
    row("no hyphen", "", Kind, "", Kind);
    row("hyphen alone", "", "-", "", Kind);
    row("saved code first", "Si", "RI - old", "", "Si - " + Kind);
    row("user title kept", "", "RI - old", "Мой", "Мой - " + Kind);
}

void TestShell::restoreTakesCodeFromTitle()
{
    QFETCH(QString, savedCode);
    QFETCH(QString, frameTitle);
    QFETCH(QString, userTitle);
    QFETCH(QString, title);

    auto shell = window("");
    shell->setWindowTitle(frameTitle);
    shell->setProperty("userTitle", userTitle);
    auto stored = settings();
    if (!savedCode.isEmpty())
        stored->setValue("baseCode", savedCode);
    shell->restore(*stored, *stored);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(shell->windowTitle(), title);
    QCOMPARE(shell->property("userTitle").toString(), userTitle);
}

void TestShell::restoreTemplate_data()
{
    QTest::addColumn<QString>("extraKey");

    QTest::newRow("shell without key") << "";
    QTest::newRow("shell with key") << "Si";
}

void TestShell::restoreTemplate()
{
    QFETCH(QString, extraKey);
    const bool restored = !extraKey.isEmpty();

    auto source = window("RI");
    action(*source, "OC.gridEnable")->setChecked(true);
    auto stored = settings();
    source->storeTemplate(*stored);
    QVERIFY(!stored->contains("baseCode"));

    auto shell = window("");
    shell->setProperty("extraKey", extraKey);
    shell->restoreTemplate(*stored, *stored);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(action(*shell, "OC.gridEnable")->isChecked(), restored);
    QCOMPARE(shell->objectName(), restored ? QStringLiteral("OptCalcWindow") : QString());
    QCOMPARE(shell->windowTitle(), restored ? extraKey + " - " + Kind : QString());
}

void TestShell::settingsGroup_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("opened");

    const QString viewName = QStringLiteral("OptCalcWindow - RI");
    const QString displayGroup = "RI - " + Kind;
    QTest::newRow("new") << QStringList{"OptCalcWindow - Si"} << viewName;
    QTest::newRow("by display name") << QStringList{displayGroup} << displayGroup;
    QTest::newRow("both") << QStringList{displayGroup, viewName} << viewName;
}

void TestShell::settingsGroup()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, opened);

    auto stored = settings();
    for (const QString& group : existing)
        stored->setValue(group + "/rowsCount", 1);
    window("RI")->beginSettingsGroup(*stored);
    QCOMPARE(stored->group(), opened);
}

void TestShell::dockRaisesOnClickOnly_data()
{
    QTest::addColumn<bool>("press");
    QTest::addColumn<int>("moved");
    QTest::addColumn<bool>("raised");

    QTest::newRow("click") << true << 0 << true;
    QTest::newRow("drag") << true << 30 << false;
    QTest::newRow("release alone") << false << 0 << false;
}

void TestShell::dockRaisesOnClickOnly()
{
    QFETCH(bool, press);
    QFETCH(int, moved);
    QFETCH(bool, raised);

    QWidget area;
    auto* dock = new OptCalcDockWidget(QStringLiteral("Графики"), &area);
    auto* content = new QLineEdit(dock);
    dock->setWidget(content);
    auto* other = new QLineEdit(&area);
    area.show();
    other->setFocus();

    const QPoint at(20, 40);
    if (press)
        QTest::mousePress(dock, Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseRelease(dock, Qt::LeftButton, Qt::NoModifier, at + QPoint(moved, 0));
    QCOMPARE(area.children().last() == dock, raised);
    QCOMPARE(area.focusWidget(), raised ? static_cast<QWidget*>(content) : other);
}

void TestShell::dockAnnouncesClose()
{
    OptCalcDockWidget dock(QStringLiteral("Реальный портфель"));
    auto* header = new OptCalcHeaderWidget(&dock);
    header->setMainWidget(&dock);
    dock.setTitleBarWidget(header);
    // The panels stay in their window: closing them is allowed, floating is not.
    QVERIFY(!header->isBtnEnabled(WindowHeader::FloatButton));
    QVERIFY(header->isBtnEnabled(WindowHeader::CloseButton));

    dock.show();
    QSignalSpy closing(&dock, SIGNAL(aboutToClose()));
    dock.close();
    QCOMPARE(closing.count(), 1);
    QVERIFY(dock.isHidden());
}

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
