// The calculator plug-in as the terminal meets it: the built module and its metadata, the
// trade menu entry and the commands, the menu of base codes, the window factory, and the
// window's shell state with its restore paths, docks and headers.

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
#include "database/decimal.h"
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

std::unique_ptr<OptCalcWindow> makeWindow(IViewFactory& factory, const QString& key)
{
    auto* window = dynamic_cast<OptCalcWindow*>(factory.create(key, nullptr));
    // The queued title is in place, as after the terminal's next turn of the event loop.
    QCoreApplication::sendPostedEvents();
    return std::unique_ptr<OptCalcWindow>(window);
}

QAction* actionByText(const QWidget& window, const QString& text)
{
    for (QAction* action : window.findChildren<QAction*>())
        if (action->text() == text)
            return action;
    return nullptr;
}

Action* actionById(const QWidget& window, const QByteArray& id)
{
    for (Action* action : window.findChildren<Action*>())
        if (action->id() == id)
            return action;
    return nullptr;
}

QStringList menuTexts(const QWidget* bar)
{
    QStringList texts;
    for (const QAction* action : bar->actions())
        texts << action->text();
    return texts;
}

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void pluginMetadata();
    void tradeMenuAndCommands();
    void menuRepopulates();
    void menuOpensWindow();
    void icons_data();
    void icons();
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
    std::unique_ptr<Settings> freshSettings();

    QTemporaryDir m_dir;
    int m_settingsFiles = 0;
    TestMarket* m_market = nullptr;
    QPluginLoader m_loader{QStringLiteral(OPTCALC_PLUGIN_FILE)};
    QObject* m_plugin = nullptr;
    OptCalcWindowFactory m_factory;
};

std::unique_ptr<Settings> TestShell::freshSettings()
{
    return std::make_unique<Settings>(
        m_dir.filePath(QStringLiteral("%1.ini").arg(++m_settingsFiles)));
}

void TestShell::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_market = new TestMarket(nullptr, this);
    // The windows made here look their kind up in the core, as they do in the terminal.
    QVERIFY(m_market->core()->viewFactories()->addFactory(&m_factory));

    m_plugin = m_loader.instance();
    QVERIFY2(m_plugin, qPrintable(m_loader.errorString()));
    auto* plugin = qobject_cast<IPlugin*>(m_plugin);
    QVERIFY(plugin);
    plugin->initialize(m_market->core());
}

void TestShell::cleanupTestCase()
{
    // As the terminal does at exit: the root object goes while the application lives.
    delete m_plugin;
}

void TestShell::pluginMetadata()
{
    const QJsonObject meta = m_loader.metaData();
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("tarnel.plugin.optioncalculator"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("OptionCalculator"));
    QCOMPARE(meta.value("version").toInt(), QT_VERSION);
    QVERIFY(meta.value("debug").isBool());
    QCOMPARE(meta.value("debug").toBool(), false);
    QVERIFY(meta.value("MetaData").isObject());
    QVERIFY(meta.value("MetaData").toObject().isEmpty());

    auto* plugin = qobject_cast<IPlugin*>(m_plugin);
    const QLatin1String name = plugin->pluginName();
    QCOMPARE(name.size(), 16);
    QCOMPARE(QString(name), QStringLiteral("optioncalculator"));
    QCOMPARE(plugin->displayName(), Kind);
    QCOMPARE(plugin->vendor(), QStringLiteral("Кестрел"));
    QCOMPARE(plugin->version(), QStringLiteral("4.05.0599"));
    QCOMPARE(plugin->description(), Kind);

    const QList<IViewFactory*> factories = qobject_cast<IViewProvider*>(m_plugin)->viewFactories();
    QCOMPARE(factories.size(), 1);
    QCOMPARE(factories.first()->viewId(), QByteArray("OptCalcWindow"));
    QCOMPARE(factories.first()->displayName(), Kind);
    QVERIFY(!factories.first()->icon().isNull());
    QVERIFY(factories.first()->viewDescription().isEmpty());
    QCOMPARE(factories.first()->viewFlag(), 0);
}

void TestShell::tradeMenuAndCommands()
{
    ActionManager* actions = ActionManager::instance();
    CommandContainer* trade = actions->findContainer("TradeMenu");
    QVERIFY(trade);
    QCOMPARE(trade->title(), QStringLiteral("Тор&говля"));
    QVERIFY(trade->parentContainer());
    QCOMPARE(trade->parentContainer()->id(), QByteArray("MenuBar"));
    CommandContainer* entry = actions->findContainer("OptionCalc");
    QVERIFY(entry);
    QCOMPARE(entry->parentContainer(), trade);
    QCOMPARE(entry->title(), QStringLiteral("&Опционный калькулятор..."));
    QCOMPARE(entry->icon().pixmap(16).toImage(),
             QIcon(":/oc/icons/windows/optcalc.png").pixmap(16).toImage());

    CommandContainer* toolBar = actions->findContainer("OptCalcToolBar");
    QVERIFY(toolBar);
    QCOMPARE(toolBar->title(), QStringLiteral("Опционный калькулятор: Панель инструментов"));
    QStringList listed;
    for (const Command* command : toolBar->commands()) {
        QCOMPARE(command->category(), Kind);
        QVERIFY(command->isShortcutVisibleInToolTip());
        QString line = command->id() + '=' + command->defaultText();
        if (!command->defaultShortcut().isEmpty())
            line += " [" + command->defaultShortcut().toString() + ']';
        listed << line;
    }
    const QString undo = QKeySequence(QKeySequence::Undo).toString();
    const QString redo = QKeySequence(QKeySequence::Redo).toString();
    QVERIFY(!undo.isEmpty() && !redo.isEmpty());
    const QStringList expected = {
        "OC.addPosition=Добавить позицию",
        "OC.addApproach=Добавить стратегию",
        "OC.delPosition=Удалить позицию",
        "OC.clear=Очистить",
        "OC.import=Импортировать данные",
        "OC.partialCurves=Отдельные графики для каждой позиции",
        "OC.summaryCurves=Графики по всему портфелю",
        "OC.convertXAxisValues=Проценты на оси X",
        "OC.gridEnable=Мелкая сетка",
        "OC.autoScale=Автомасштабирование",
        "OC.addPostponedOrders=Подготовить пакет заявок",
        "OC.loadReal=Загрузить в модельный портфель",
        "OC.undo=Отменить [" + undo + ']',
        "OC.redo=Вернуть [" + redo + ']',
        "OC.saveCurrentPlotAs=Сохранить график как...",
    };
    QCOMPARE(listed, expected);
}

void TestShell::menuRepopulates()
{
    CommandContainer* entry = ActionManager::instance()->findContainer("OptionCalc");
    QVERIFY(entry);
    auto* menu = qobject_cast<ModelMenu*>(entry->createMenu(nullptr));
    QVERIFY(menu);
    // One menu for the container's life, whoever shows it.
    QCOMPARE(entry->createMenu(nullptr), menu);

    emit menu->aboutToShow();
    auto* model = qobject_cast<CheckedItemModelByTable*>(menu->model());
    QVERIFY(model);
    QCOMPARE(menuTexts(menu), QStringList({"RI", "Si"}));

    // GZ gets its first option while the terminal runs.
    m_market->listOption(decimal(165000, 0), false);
    m_market->setField(QStringLiteral("RI165000CA"), QStringLiteral("base_code"), "GZ");
    QCOMPARE(menuTexts(menu), QStringList({"RI", "Si"}));
    emit menu->aboutToShow();
    QCOMPARE(menu->model(), model);
    QCOMPARE(menuTexts(menu), QStringList({"GZ", "RI", "Si"}));
    m_market->delist(QStringLiteral("RI165000CA"));
}

void TestShell::menuOpensWindow()
{
    auto* menu = qobject_cast<ModelMenu*>(
        ActionManager::instance()->findContainer("OptionCalc")->createMenu(nullptr));
    emit menu->aboutToShow();
    QStringListModel blank(QStringList{QString()});

    RecordingWindowManager windows;
    emit menu->activated(QModelIndex());
    emit menu->activated(blank.index(0));
    QVERIFY(windows.opened.isEmpty());
    emit menu->activated(menu->model()->index(1, 0));
    QCOMPARE(windows.opened, QStringList({"OptCalcWindow:Si"}));
    // Picking the entry itself takes the same road.
    menu->actions().first()->trigger();
    QCOMPARE(windows.opened, QStringList({"OptCalcWindow:Si", "OptCalcWindow:RI"}));
}

void TestShell::icons_data()
{
    QTest::addColumn<QString>("path");
    for (const char* path :
         {":/oc/icons/windows/optcalc.png", ":/icons/preferences/optcalc.png",
          ":/icons/preferences/colors.png", ":oc/icons/plot@1x.png", ":oc/icons/vportfolio@1x.png",
          ":oc/icons/rportfolio@1x.png", ":oc/icons/separate@1x.png", ":oc/icons/sigma@1x.png",
          ":oc/icons/percent@1x.png", ":oc/icons/grid@1x.png", ":oc/icons/autoScale@1x.png",
          ":/oc/icons/add@1x.png", ":/oc/icons/add_strategy@1x.png", ":/oc/icons/remove@1x.png",
          ":/oc/icons/clear@1x.png", ":/oc/icons/import@1x.png",
          ":/oc/icons/add_orders_toolbar.png", ":/oc/icons/download@1x.png"})
        QTest::newRow(path) << QString::fromLatin1(path);
}

void TestShell::icons()
{
    QFETCH(QString, path);
    const QImage image(path);
    QCOMPARE(image.size(), QSize(16, 16));
    QVERIFY(image.hasAlphaChannel());
}

void TestShell::factory_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("title");

    QTest::newRow("base code with options") << "RI"
                                            << "RI - " + Kind;
    QTest::newRow("another") << "Si"
                             << "Si - " + Kind;
    QTest::newRow("future without options") << "GZ" << QString();
    QTest::newRow("unknown") << "XX" << QString();
    QTest::newRow("case differs") << "ri" << QString();
    QTest::newRow("empty") << "" << QString();
}

void TestShell::factory()
{
    QFETCH(QString, key);
    QFETCH(QString, title);

    auto window = makeWindow(m_factory, key);
    QVERIFY(window);
    const bool built = !title.isEmpty();
    QCOMPARE(window->windowTitle(), title);
    QCOMPARE(window->objectName(), built ? QStringLiteral("OptCalcWindow") : QString());
    QCOMPARE(window->defaultSize(), QSize(900, 600));

    // Both show their tool bar with the three panel switches.
    auto* toolBar = window->findChild<QToolBar*>(QStringLiteral("toolBar"));
    QVERIFY(toolBar);
    QCOMPARE(menuTexts(toolBar),
             QStringList({"Графики", "Реальный портфель", "Модельный портфель"}));
    QVERIFY(window->actions().contains(actionById(*window, "OC.saveCurrentPlotAs")));

    auto settings = freshSettings();
    window->store(*settings);
    QCOMPARE(settings->childKeys().isEmpty(), !built);
    if (built)
        QCOMPARE(settings->value("baseCode").toString(), key);
}

void TestShell::storeRestoreRoundTrip()
{
    auto saved = makeWindow(m_factory, QStringLiteral("Si"));
    actionByText(*saved, QStringLiteral("Графики"))->setChecked(false);
    actionById(*saved, "OC.gridEnable")->setChecked(true);
    actionById(*saved, "OC.autoScale")->setChecked(false);
    auto settings = freshSettings();
    saved->store(*settings);

    // A workspace restored after Si lost its options: the factory gives a shell.
    auto restored = makeWindow(m_factory, QString());
    actionById(*restored, "OC.summaryCurves")->setChecked(false);
    restored->restore(*settings, *settings);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(restored->windowTitle(), "Si - " + Kind);
    QVERIFY(!actionByText(*restored, QStringLiteral("Графики"))->isChecked());
    QVERIFY(actionByText(*restored, QStringLiteral("Модельный портфель"))->isChecked());
    QVERIFY(actionById(*restored, "OC.gridEnable")->isChecked());
    QVERIFY(!actionById(*restored, "OC.autoScale")->isChecked());
    // No curve mode is ever saved, and one is always on.
    QVERIFY(actionById(*restored, "OC.summaryCurves")->isChecked());
    QVERIFY(!actionById(*restored, "OC.partialCurves")->isChecked());

    auto again = freshSettings();
    restored->store(*again);
    QCOMPARE(again->value("baseCode").toString(), QStringLiteral("Si"));
}

void TestShell::restoreTakesCodeFromTitle_data()
{
    QTest::addColumn<QString>("savedCode");
    QTest::addColumn<QString>("frameTitle");
    QTest::addColumn<QString>("userTitle");
    QTest::addColumn<QString>("title");

    QTest::newRow("one hyphen") << ""
                                << " RI - old"
                                << ""
                                << "RI - " + Kind;
    QTest::newRow("two hyphens") << ""
                                 << "RI - old - x"
                                 << "" << Kind;
    QTest::newRow("no hyphen") << "" << Kind << "" << Kind;
    QTest::newRow("hyphen alone") << ""
                                  << "-"
                                  << "" << Kind;
    QTest::newRow("saved code first") << "Si"
                                      << "RI - old"
                                      << ""
                                      << "Si - " + Kind;
    QTest::newRow("user title") << ""
                                << "RI - old"
                                << "Мой"
                                << "Мой - " + Kind;
}

void TestShell::restoreTakesCodeFromTitle()
{
    QFETCH(QString, savedCode);
    QFETCH(QString, frameTitle);
    QFETCH(QString, userTitle);
    QFETCH(QString, title);

    auto window = makeWindow(m_factory, QString());
    window->setWindowTitle(frameTitle);
    window->setProperty("userTitle", userTitle);
    auto settings = freshSettings();
    if (!savedCode.isEmpty())
        settings->setValue("baseCode", savedCode);
    window->restore(*settings, *settings);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(window->windowTitle(), title);
    QCOMPARE(window->property("userTitle").toString(), userTitle);
}

void TestShell::restoreTemplate_data()
{
    QTest::addColumn<QString>("extraKey");
    QTest::addColumn<bool>("restored");

    QTest::newRow("shell without key") << "" << false;
    QTest::newRow("shell with key") << "Si" << true;
}

void TestShell::restoreTemplate()
{
    QFETCH(QString, extraKey);
    QFETCH(bool, restored);

    auto source = makeWindow(m_factory, QStringLiteral("RI"));
    actionById(*source, "OC.gridEnable")->setChecked(true);
    auto settings = freshSettings();
    source->storeTemplate(*settings);
    QVERIFY(!settings->contains("baseCode"));

    auto window = makeWindow(m_factory, QString());
    window->setProperty("extraKey", extraKey);
    window->restoreTemplate(*settings, *settings);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(actionById(*window, "OC.gridEnable")->isChecked(), restored);
    QCOMPARE(window->objectName(), restored ? QStringLiteral("OptCalcWindow") : QString());
    QCOMPARE(window->windowTitle(), restored ? "Si - " + Kind : QString());
    auto stored = freshSettings();
    window->store(*stored);
    QCOMPARE(stored->value("baseCode").toString(), restored ? extraKey : QString());
}

void TestShell::settingsGroup_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("opened");

    const QString viewName = QStringLiteral("OptCalcWindow - RI");
    const QString displayGroup = "RI - " + Kind;
    QTest::newRow("new") << QStringList{"OptCalcWindow - Si"} << viewName;
    QTest::newRow("by view id") << QStringList{viewName} << viewName;
    QTest::newRow("by display name") << QStringList{displayGroup} << displayGroup;
    QTest::newRow("both") << QStringList{displayGroup, viewName} << viewName;
}

void TestShell::settingsGroup()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, opened);

    auto settings = freshSettings();
    for (const QString& group : existing)
        settings->setValue(group + "/rowsCount", 1);
    auto window = makeWindow(m_factory, QStringLiteral("RI"));
    window->beginSettingsGroup(*settings);
    QCOMPARE(settings->group(), opened);
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
    area.resize(300, 200);
    auto* dock = new OptCalcDockWidget(QStringLiteral("Графики"), &area);
    auto* content = new QLineEdit(dock);
    dock->setWidget(content);
    dock->setTitleBarWidget(new OptCalcHeaderWidget(dock));
    auto* other = new QLineEdit(&area);
    area.show();
    other->setFocus();
    QCOMPARE(area.focusWidget(), other);

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
    // The panels stay in their window: no floating, but closing is allowed.
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
