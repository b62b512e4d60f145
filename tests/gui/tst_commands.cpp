#include "gui/action.h"
#include "gui/actionmanager.h"
#include "gui/command.h"
#include "gui/commandcontainer.h"

#include "database/settings.h"

#include "menutext.h"
#include "support/vtableslot.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPixmap>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolBar>
#include <QToolButton>
#include <QtTest>

#include <memory>

namespace {

// A container that keeps one menu of its own, as plug-ins do for menus filled by a model.
class KeptMenuContainer : public CommandContainer
{
public:
    using CommandContainer::CommandContainer;
    QMenu* createMenu(QWidget* /*parent*/) override
    {
        if (!m_menu)
            m_menu.reset(new QMenu);
        return m_menu.get();
    }
    QMenu* menu() const { return m_menu.get(); }

private:
    std::unique_ptr<QMenu> m_menu;
};

struct ObjectProbe : QObject
{
    virtual void firstNewVirtual() {}
};

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT
private slots:
    void init();

    void containerOrder_data();
    void containerOrder();
    void containerFoundByName();
    void containerCyclesRefusedAndMoves();
    void menuFromContainers();
    void toolBarAndMenuBar();
    void menuEntryTriggersActionOfFocusedWindow();

    void actionFollowsCommand_data();
    void actionFollowsCommand();
    void toolTipShowsShortcut();
    void commandIdsAreUnique();
    void shortcutsStoredAndRestored();

    void virtualSlotsOfContainer();
};

void TestCommands::init()
{
    ActionManager::instance()->resetAllShortcuts();
}

void TestCommands::containerOrder_data()
{
    // Each addition is "name:order:before" under a parent of the row's own; the expected
    // order by names.
    QTest::addColumn<QString>("additions");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* additions, const char* expected) {
        QTest::newRow(name) << QString(additions) << QString(expected);
    };
    row("numbers by value", "a:15: b:6: c:1:", "c b a");
    row("no order comes last, in arrival", "a:: b:2: c::", "b a c");
    row("equal orders keep arrival", "a:5: b:5: c:4:", "c a b");
    row("text after numbers", "x:b: y:10: z:a: w:9:", "w y z x");
    row("before a sibling", "a:1: c:3: b::c", "a b c");
    row("before wins over order", "a:1: b:2: c:9:a", "c a b");
    row("before an absent sibling uses order", "a:2: b:1:nothing", "b a");
    row("before among equals", "a:5: b:5: c:5: d::c", "a b d c");
}

void TestCommands::containerOrder()
{
    QFETCH(QString, additions);
    QFETCH(QString, expected);

    const QString prefix = QStringLiteral("order.%1.").arg(QTest::currentDataTag());
    const QByteArray parent = (prefix + QStringLiteral("parent")).toUtf8();
    ActionManager* manager = ActionManager::instance();
    for (const QString& addition : additions.split(QLatin1Char(' '))) {
        const QStringList parts = addition.split(QLatin1Char(':'));
        const QByteArray before =
            parts.at(2).isEmpty() ? QByteArray() : (prefix + parts.at(2)).toUtf8();
        manager->container(prefix + parts.at(0), QString(), parent, before, parts.at(1).toUtf8());
    }

    QStringList order;
    const QList<CommandContainer*> children = manager->findContainer(parent)->containers();
    for (const CommandContainer* child : children)
        order << QString::fromUtf8(child->id()).mid(prefix.size());
    QCOMPARE(order.join(QLatin1Char(' ')), expected);
}

void TestCommands::containerFoundByName()
{
    ActionManager* manager = ActionManager::instance();
    QTest::ignoreMessage(QtWarningMsg, "ActionManager: a container needs a name");
    QVERIFY(!manager->container(QString()));
    QVERIFY(!manager->findContainer("found.menu"));

    CommandContainer* menu = manager->container(QStringLiteral("found.menu"));
    QVERIFY(menu && !menu->parentContainer());

    // Asked again, by a plug-in say: the same container takes the title and the parent it
    // lacked, and the parent is made on the way.
    QCOMPARE(manager->container(QStringLiteral("found.menu"), QStringLiteral("Тор&говля"),
                                "found.bar", QByteArray(), "15"),
             menu);
    QCOMPARE(menu->title(), QStringLiteral("Тор&говля"));
    CommandContainer* bar = manager->findContainer("found.bar");
    QVERIFY(bar);
    QCOMPARE(bar->containers(), QList<CommandContainer*>{menu});

    // A container already placed keeps its title and place.
    manager->container(QStringLiteral("found.menu"), QStringLiteral("Другое"), "found.other");
    QCOMPARE(menu->title(), QStringLiteral("Тор&говля"));
    QCOMPARE(menu->parentContainer(), bar);
    QVERIFY(!manager->findContainer("found.other"));
}

void TestCommands::containerCyclesRefusedAndMoves()
{
    CommandContainer a("cycle.a");
    CommandContainer b("cycle.b");
    CommandContainer c("cycle.c");
    a.addContainer(&b);
    b.addContainer(&c);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("would hold itself"));
    c.addContainer(&a);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("would hold itself"));
    b.addContainer(&b);
    QVERIFY(c.containers().isEmpty());
    QCOMPARE(b.containers(), QList<CommandContainer*>{&c});

    // Adding elsewhere moves.
    a.addContainer(&c);
    QVERIFY(b.containers().isEmpty());
    QCOMPARE(a.containers(), (QList<CommandContainer*>{&b, &c}));

    // A destroyed container leaves its parent.
    {
        CommandContainer d("cycle.d");
        a.addContainer(&d);
        QCOMPARE(a.containers().size(), 3);
    }
    QCOMPARE(a.containers(), (QList<CommandContainer*>{&b, &c}));
}

void TestCommands::menuFromContainers()
{
    Command open("menu.open");
    Command save("menu.save");
    Command close("menu.close");
    Command quit("menu.quit");
    Command calc("menu.calc");
    for (Command* command : {&open, &save, &close, &quit, &calc})
        command->setDefaultText(QString::fromUtf8(command->id()).section(QLatin1Char('.'), 1));
    open.setDefaultShortcut(QKeySequence(QStringLiteral("Ctrl+O")));

    // Commands go by group, in arrival within one; one placed before another joins its group.
    CommandContainer root("menu.root");
    root.setTitle(QStringLiteral("File"));
    root.addCommand(&open, QByteArray(), "1");
    root.addCommand(&quit, QByteArray(), "9");
    root.addCommand(&save, QByteArray(), "1");
    root.addCommand(&close, "menu.quit", QByteArray());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("null command"));
    root.addCommand(nullptr);
    CommandContainer tools("menu.tools");
    tools.setTitle(QStringLiteral("Tools"));
    tools.addCommand(&calc);
    KeptMenuContainer kept("menu.kept");
    kept.setTitle(QStringLiteral("Kept"));
    kept.setIcon(QIcon(QPixmap(8, 8)));
    root.addContainer(&kept, "5", "2");
    root.addContainer(&tools, "5", "1");
    QCOMPARE(root.commands(), (QList<Command*>{&open, &save, &close, &quit}));

    std::unique_ptr<QMenu> menu(root.createMenu(nullptr));
    QCOMPARE(menu->title(), QStringLiteral("File"));
    QCOMPARE(describe(menu.get()),
             QStringLiteral("open\tCtrl+O|save|-|Tools[calc]|Kept[]|-|close|quit"));

    // The kept menu is shown as it is, named after its container, and stays its own.
    const QPointer<QMenu> keptMenu = kept.menu();
    QVERIFY(keptMenu && !keptMenu->parent());
    QVERIFY(!keptMenu->icon().isNull());

    // The menu follows later changes, deep down as well; a command added again moves.
    auto plot = std::make_unique<Command>("menu.plot");
    plot->setDefaultText(QStringLiteral("plot"));
    tools.addCommand(plot.get());
    tools.setTitle(QStringLiteral("Instruments"));
    calc.setDefaultShortcut(QKeySequence(QStringLiteral("F5")));
    root.addCommand(&save, QByteArray(), "10");
    QCOMPARE(
        describe(menu.get()),
        QStringLiteral("open\tCtrl+O|-|Instruments[calc\tF5|plot]|Kept[]|-|close|quit|-|save"));
    plot.reset();
    QCOMPARE(describe(menu.get()),
             QStringLiteral("open\tCtrl+O|-|Instruments[calc\tF5]|Kept[]|-|close|quit|-|save"));

    // Refilling left the container's own menu alive and in place.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(keptMenu);
    QVERIFY(menu->actions().contains(keptMenu->menuAction()));
}

void TestCommands::toolBarAndMenuBar()
{
    Command run("bars.run");
    run.setDefaultText(QStringLiteral("Run..."));
    run.setDefaultShortcut(QKeySequence(QStringLiteral("F9")));
    run.setShortcutVisibleInToolTip(true);
    Command stop("bars.stop");
    stop.setDefaultText(QStringLiteral("Stop"));
    CommandContainer nested("bars.nested");
    nested.setTitle(QStringLiteral("More"));
    nested.addCommand(&stop);
    CommandContainer root("bars.root");
    root.setTitle(QStringLiteral("Bar"));
    root.addCommand(&run, QByteArray(), "1");
    root.addContainer(&nested, "2");

    std::unique_ptr<QToolBar> toolBar(root.createToolBar(nullptr));
    QCOMPARE(toolBar->objectName(), QStringLiteral("bars.root"));
    QCOMPARE(describe(toolBar.get()), QStringLiteral("Run...\tF9|-|More[Stop]"));
    QAction* runEntry = toolBar->actions().first();
    QCOMPARE(runEntry->iconText(), QStringLiteral("Run"));
    QCOMPARE(runEntry->toolTip(), QStringLiteral("Run (F9)"));
    // The entry shows the key but leaves it to the windows' Actions.
    QVERIFY(runEntry->shortcut().isEmpty());
    auto* moreButton =
        qobject_cast<QToolButton*>(toolBar->widgetForAction(toolBar->actions().last()));
    QVERIFY(moreButton);
    QCOMPARE(moreButton->popupMode(), QToolButton::InstantPopup);

    std::unique_ptr<QMenuBar> menuBar(nested.parentContainer()->createMenuBar(nullptr));
    QCOMPARE(describe(menuBar.get()), QStringLiteral("Run...\tF9|-|More[Stop]"));
    root.setTitle(QStringLiteral("Bar 2"));
    QCOMPARE(toolBar->windowTitle(), QStringLiteral("Bar 2"));
}

void TestCommands::menuEntryTriggersActionOfFocusedWindow()
{
    Command command("focus.clear");
    command.setDefaultText(QStringLiteral("Clear"));
    CommandContainer container("focus.container");
    container.addCommand(&command);
    std::unique_ptr<QMenu> menu(container.createMenu(nullptr));
    QAction* entry = findAction(menu.get(), QStringLiteral("Clear"));
    QVERIFY(entry);

    // Two windows of the same kind, each with its own Action for the command.
    struct Window
    {
        QWidget widget;
        QLineEdit* editor = new QLineEdit(&widget);
        Action* action = new Action("focus.clear", &widget);
        int triggered = 0;
    };
    Window first;
    Window second;
    for (Window* window : {&first, &second}) {
        window->widget.addAction(window->action);
        connect(window->action, &QAction::triggered, this, [window] { ++window->triggered; });
        window->widget.show();
    }

    QApplication::setActiveWindow(&second.widget);
    second.editor->setFocus();
    emit menu->aboutToShow();
    QVERIFY(entry->isEnabled());
    entry->trigger();
    QCOMPARE(second.triggered, 1);
    QCOMPARE(first.triggered, 0);

    QApplication::setActiveWindow(&first.widget);
    first.editor->setFocus();
    entry->trigger();
    QCOMPARE(first.triggered, 1);
    QCOMPARE(second.triggered, 1);

    // The entry mirrors the state of the Action it stands for.
    first.action->setEnabled(false);
    QVERIFY(!entry->isEnabled());
    entry->trigger();
    QCOMPARE(first.triggered, 1);
    first.action->setEnabled(true);
    first.action->setCheckable(true);
    QVERIFY(entry->isEnabled());
    QVERIFY(entry->isCheckable());
    entry->trigger();
    QVERIFY(first.action->isChecked());
    QVERIFY(entry->isChecked());

    // A focus outside every bound window leaves nothing to trigger.
    QLineEdit elsewhere;
    elsewhere.show();
    QApplication::setActiveWindow(&elsewhere);
    elsewhere.setFocus();
    QVERIFY(!entry->isEnabled());
}

void TestCommands::actionFollowsCommand_data()
{
    QTest::addColumn<QString>("ownText");
    QTest::addColumn<bool>("actionFirst");
    QTest::newRow("command's text") << QString() << false;
    QTest::newRow("command's text, command registered later") << QString() << true;
    QTest::newRow("own text") << QStringLiteral("Own") << false;
    QTest::newRow("own text, command registered later") << QStringLiteral("Own") << true;
}

void TestCommands::actionFollowsCommand()
{
    QFETCH(QString, ownText);
    QFETCH(bool, actionFirst);

    const QByteArray id = "bind." + QByteArray(QTest::currentDataTag());
    ActionManager* manager = ActionManager::instance();
    std::unique_ptr<Command> command;
    std::unique_ptr<Action> action;
    const auto makeCommand = [&] {
        command = std::make_unique<Command>(id);
        command->setDefaultText(QStringLiteral("Undo"));
        command->setDefaultShortcut(QKeySequence(QKeySequence::Undo));
    };
    const auto makeAction = [&] {
        action = ownText.isEmpty() ? std::make_unique<Action>(id)
                                   : std::make_unique<Action>(ownText, id);
    };
    if (actionFirst) {
        makeAction();
        QCOMPARE(action->text(), ownText);
        QVERIFY(action->shortcut().isEmpty());
        makeCommand();
    } else {
        makeCommand();
        makeAction();
    }
    const auto expectedText = [&](const QString& commandText) {
        return ownText.isEmpty() ? commandText : ownText;
    };
    QCOMPARE(action->text(), expectedText(QStringLiteral("Undo")));
    QCOMPARE(action->shortcut(), QKeySequence(QKeySequence::Undo));
    QCOMPARE(manager->actions(id), QList<Action*>{action.get()});

    command->setDefaultText(QStringLiteral("Undo last"));
    QCOMPARE(action->text(), expectedText(QStringLiteral("Undo last")));

    // The host changes the key after the Action was made.
    QSignalSpy shortcutChanges(manager, &ActionManager::shortcutChanged);
    const QKeySequence chosen(QStringLiteral("Ctrl+Alt+Z"));
    manager->setShortcut(id, chosen);
    QCOMPARE(shortcutChanges.count(), 1);
    QCOMPARE(shortcutChanges.first().first().toByteArray(), id);
    QCOMPARE(action->shortcut(), chosen);
    QVERIFY(manager->hasCustomShortcut(id));

    // The user's choice outlives a new default, and reset brings the default back.
    command->setDefaultShortcut(QKeySequence(QStringLiteral("Ctrl+U")));
    QCOMPARE(action->shortcut(), chosen);
    manager->resetShortcut(id);
    QCOMPARE(action->shortcut(), QKeySequence(QStringLiteral("Ctrl+U")));

    // No key at all is a choice as well.
    manager->setShortcut(id, QKeySequence());
    QVERIFY(action->shortcut().isEmpty());

    // Without its command an Action has no key, and keeps only its own text.
    command.reset();
    QVERIFY(action->shortcut().isEmpty());
    QCOMPARE(action->text(), ownText);

    action.reset();
    QVERIFY(manager->actions(id).isEmpty());
}

void TestCommands::toolTipShowsShortcut()
{
    Command command("tip.save");
    command.setDefaultText(QStringLiteral("&Сохранить график как..."));
    command.setDefaultShortcut(QKeySequence(QStringLiteral("Ctrl+S")));
    command.setShortcutVisibleInToolTip(true);
    Action action(QIcon(), QString(), "tip.save");
    QCOMPARE(action.toolTip(), QStringLiteral("Сохранить график как (Ctrl+S)"));

    command.setShortcutVisibleInToolTip(false);
    QCOMPARE(action.toolTip(), QStringLiteral("Сохранить график как"));

    command.setShortcutVisibleInToolTip(true);
    ActionManager::instance()->setShortcut("tip.save", QKeySequence());
    QCOMPARE(action.toolTip(), QStringLiteral("Сохранить график как"));
    ActionManager::instance()->setShortcut("tip.save", QKeySequence(QStringLiteral("F2")));
    QCOMPARE(action.toolTip(), QStringLiteral("Сохранить график как (F2)"));

    QCOMPARE(Action::toolTipText(QStringLiteral("Save && &Close...")),
             QStringLiteral("Save & Close"));
}

void TestCommands::commandIdsAreUnique()
{
    ActionManager* manager = ActionManager::instance();
    auto first = std::make_unique<Command>("unique.id");
    first->setDefaultText(QStringLiteral("First"));
    first->setCategory(QStringLiteral("Б"));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("unique.id.*taken"));
    Command second("unique.id");
    second.setDefaultText(QStringLiteral("Second"));
    second.setCategory(QStringLiteral("А"));
    QCOMPARE(manager->command("unique.id"), first.get());

    Action action("unique.id");
    QCOMPARE(action.text(), QStringLiteral("First"));

    // Once the id is free the other command can take it, and the Action follows.
    first.reset();
    QVERIFY(!manager->command("unique.id"));
    QVERIFY(action.text().isEmpty());
    QVERIFY(manager->registerCommand(&second));
    QCOMPARE(action.text(), QStringLiteral("Second"));
    QVERIFY(manager->commands().contains(&second));
    QVERIFY(!manager->registerCommand(nullptr));
}

void TestCommands::shortcutsStoredAndRestored()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString file = dir.filePath(QStringLiteral("shortcuts.ini"));
    ActionManager* manager = ActionManager::instance();
    Command command("keys.a");
    command.setDefaultShortcut(QKeySequence(QStringLiteral("F3")));
    Action action("keys.a");

    manager->setShortcut("keys.a", QKeySequence(QStringLiteral("Ctrl+1")));
    manager->setShortcut("keys/b", QKeySequence(QStringLiteral("Ctrl+Shift+B, X")));
    manager->setShortcut("keys.none", QKeySequence());
    {
        Settings settings(file);
        settings.beginGroup(QStringLiteral("Shortcuts"));
        manager->storeShortcuts(settings);
        // What a damaged file may hold.
        settings.setValue(QStringLiteral("keys.bad"), QStringLiteral("Ctrl+Nonsense"));
        settings.setValue(QStringLiteral("keys.list"), QStringList{"a", "b"});
        settings.setValue(QStringLiteral("keys.number"), 42);
        settings.sync();
    }

    manager->resetAllShortcuts();
    manager->setShortcut("keys.stale", QKeySequence(QStringLiteral("F12")));
    QCOMPARE(action.shortcut(), QKeySequence(QStringLiteral("F3")));
    {
        const Settings settings(file);
        settings.beginGroup(QStringLiteral("Shortcuts"));
        manager->restoreShortcuts(settings);
    }
    QCOMPARE(action.shortcut(), QKeySequence(QStringLiteral("Ctrl+1")));
    QCOMPARE(manager->shortcut("keys/b"), QKeySequence(QStringLiteral("Ctrl+Shift+B, X")));
    QVERIFY(manager->hasCustomShortcut("keys.none"));
    QVERIFY(manager->shortcut("keys.none").isEmpty());
    QVERIFY(!manager->hasCustomShortcut("keys.stale"));
    QVERIFY(!manager->hasCustomShortcut("keys.bad"));
    QVERIFY(!manager->hasCustomShortcut("keys.list"));
    QVERIFY(!manager->hasCustomShortcut("keys.number"));
}

void TestCommands::virtualSlotsOfContainer()
{
    // Right after those of QObject, in this order.
    const int first = vtableSlot(&ObjectProbe::firstNewVirtual);
    QVERIFY(first > 0);
    QCOMPARE(vtableSlot(&CommandContainer::createMenu), first);
    QCOMPARE(vtableSlot(&CommandContainer::createToolBar), first + 1);
}

QTEST_MAIN(TestCommands)
#include "tst_commands.moc"
