#include "gui/comboboxsorted.h"
#include "gui/elidecombobox.h"
#include "gui/modelmenu.h"
#include "gui/outlinewidget.h"
#include "gui/progressdialog.h"
#include "gui/progressworker.h"
#include "gui/windowheader.h"

#include "menutext.h"
#include "support/vtableslot.h"

#include <QDockWidget>
#include <QImage>
#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStringListModel>
#include <QToolButton>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

void open(QMenu* menu)
{
    emit menu->aboutToShow();
}

// Sets its model up on the first opening and refreshes it at each one, as the terminal's
// menus over live lists do.
class LiveMenu : public ModelMenu
{
public:
    bool leading = false;
    QStringList rows{"A", "B"};

    using ModelMenu::ModelMenu;

protected:
    bool prePopulate() override
    {
        if (!model())
            setModel(new QStringListModel(this));
        static_cast<QStringListModel*>(model())->setStringList(rows);
        if (leading)
            addAction(QStringLiteral("Lead"));
        return leading;
    }
    void postPopulated() override { addAction(QStringLiteral("More")); }
};

class ScriptedWorker : public ProgressWorker
{
public:
    using ProgressWorker::ProgressWorker;
    std::function<void(int)> step; // called before each processEvents
    int iterations = 10;
    int stoppedAt = -1;
    int runs = 0;
    bool shownModal = false;

    void run() override
    {
        ++runs;
        shownModal = dialog()->isVisible() && dialog()->isModal();
        for (int i = 0; i < iterations; ++i) {
            dialog()->setProgress((i + 1) * 100 / iterations);
            if (step)
                step(i);
            if (!processEvents()) {
                stoppedAt = i;
                return;
            }
        }
    }
};

class ColoredHeader : public WindowHeader
{
public:
    using WindowHeader::WindowHeader;
    QColor titleColor() const override { return QColor(10, 120, 30); }
};

struct ObjectProbe : QObject
{
    virtual void firstNewVirtual() {}
};
struct WidgetProbe : QWidget
{
    virtual void firstNewVirtual() {}
};
struct MenuProbe : QMenu
{
    virtual void firstNewVirtual() {}
};
// Reaches the protected hooks to read their slots.
struct ModelMenuAccess : ModelMenu
{
    static int prePopulateSlot() { return vtableSlot(&ModelMenuAccess::prePopulate); }
    static int postPopulatedSlot() { return vtableSlot(&ModelMenuAccess::postPopulated); }
    static int createBaseMenuSlot() { return vtableSlot(&ModelMenuAccess::createBaseMenu); }
};

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT
private slots:
    void modelMenuFollowsItsModel();
    void modelMenuHooks_data();
    void modelMenuHooks();

    void outline();

    void progressWorkerRuns_data();
    void progressWorkerRuns();

    void comboBoxSortedOrder_data();
    void comboBoxSortedOrder();
    void elideComboBoxElides();

    void windowHeader();

    void virtualSlots();
};

void TestWidgets::modelMenuFollowsItsModel()
{
    QStandardItemModel model;
    auto* group = new QStandardItem(QStringLiteral("Futures"));
    group->appendRow(new QStandardItem(QStringLiteral("Si")));
    group->appendRow(new QStandardItem(QStringLiteral("RTS")));
    auto* leaf = new QStandardItem(QStringLiteral("Options"));
    leaf->setData(QIcon(QPixmap(8, 8)), Qt::DecorationRole);
    leaf->setToolTip(QStringLiteral("All options"));
    auto* disabled = new QStandardItem(QStringLiteral("Closed"));
    disabled->setEnabled(false);
    model.appendRow(group);
    model.appendRow(leaf);
    model.appendRow(disabled);

    ModelMenu menu;
    menu.setModel(&model);
    QVERIFY(menu.actions().isEmpty()); // filled only when it opens
    open(&menu);
    QCOMPARE(describe(&menu), QStringLiteral("Futures[Si|RTS]|Options|Closed"));
    QAction* options = findAction(&menu, QStringLiteral("Options"));
    QVERIFY(!options->icon().isNull());
    QCOMPARE(options->toolTip(), QStringLiteral("All options"));
    QVERIFY(!findAction(&menu, QStringLiteral("Closed"))->isEnabled());

    // Rows removed while the menu is open: an entry still names its own item, and an entry
    // whose item is gone emits nothing.
    QSignalSpy activated(&menu, &ModelMenu::activated);
    QMenu* futures = findAction(&menu, QStringLiteral("Futures"))->menu();
    group->removeRow(0);
    findAction(futures, QStringLiteral("RTS"))->trigger();
    findAction(futures, QStringLiteral("Si"))->trigger();
    QCOMPARE(activated.count(), 1);
    QCOMPARE(activated.at(0).at(0).value<QModelIndex>(), model.index(0, 0, model.index(0, 0)));

    // Reopening shows the model as it is now, in new entries and submenus.
    const QPointer<QMenu> oldFutures = futures;
    const QPointer<QAction> oldEntry = options;
    group->appendRow(new QStandardItem(QStringLiteral("Br")));
    QCOMPARE(describe(&menu), QStringLiteral("Futures[Si|RTS]|Options|Closed"));
    open(&menu);
    QVERIFY(!oldFutures && !oldEntry);
    QCOMPARE(describe(&menu), QStringLiteral("Futures[RTS|Br]|Options|Closed"));

    menu.setModel(nullptr);
    open(&menu);
    QVERIFY(menu.actions().isEmpty());
}

void TestWidgets::modelMenuHooks_data()
{
    QTest::addColumn<bool>("leading");
    QTest::addColumn<QString>("expected");
    QTest::newRow("model's items only") << false << QStringLiteral("A|B|More");
    QTest::newRow("entries of its own first") << true << QStringLiteral("Lead|-|A|B|More");
}

void TestWidgets::modelMenuHooks()
{
    QFETCH(bool, leading);
    QFETCH(QString, expected);

    LiveMenu menu;
    menu.leading = leading;
    open(&menu);
    QCOMPARE(describe(&menu), expected);

    // The model set on the first opening is refreshed, not replaced, at the next.
    QAbstractItemModel* model = menu.model();
    menu.rows = QStringList{"C"};
    open(&menu);
    QCOMPARE(menu.model(), model);
    expected.replace(QStringLiteral("A|B"), QStringLiteral("C"));
    QCOMPARE(describe(&menu), expected);

    // No separator under the own entries when the model has nothing to show.
    menu.rows.clear();
    open(&menu);
    QCOMPARE(describe(&menu), leading ? QStringLiteral("Lead|More") : QStringLiteral("More"));
}

void TestWidgets::outline()
{
    OutlineWidget outline;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("null widget"));
    QCOMPARE(outline.addWidget(nullptr, QStringLiteral("none")), -1);
    auto* first = new QLabel(QStringLiteral("first"));
    auto* second = new QLabel(QStringLiteral("second"));
    QCOMPARE(outline.addWidget(first, QStringLiteral("Волатильность")), 0);
    QCOMPARE(outline.addWidget(second, QStringLiteral("Дни")), 1);
    QCOMPARE(outline.addWidget(first, QStringLiteral("again")), 0);
    QCOMPARE(outline.count(), 2);
    outline.show();
    QVERIFY(first->isVisible());

    QSignalSpy collapsed(&outline, &OutlineWidget::collapsed);
    QSignalSpy expanded(&outline, &OutlineWidget::expanded);
    for (int bad : {-1, 2, 100}) {
        outline.setText(bad, QStringLiteral("x"));
        outline.setExpanded(bad, false);
        outline.setHighlightedColorEnabled(bad, true);
        outline.setHighlightedFontEnabled(bad, true);
        QVERIFY(!outline.isCollapsed(bad));
        QVERIFY(!outline.isExpanded(bad));
        QVERIFY(!outline.header(bad));
        QVERIFY(!outline.widget(bad));
    }
    QCOMPARE(collapsed.count() + expanded.count(), 0);

    // A click on the title toggles its section alone.
    QWidget* header = outline.header(0);
    QTest::mouseClick(header, Qt::LeftButton, Qt::NoModifier, header->rect().center());
    QCOMPARE(collapsed.count(), 1);
    QCOMPARE(collapsed.takeFirst().first().toInt(), 0);
    QVERIFY(outline.isCollapsed(0));
    QVERIFY(!first->isVisible());
    QVERIFY(outline.isExpanded(1));

    QTest::mouseClick(header, Qt::LeftButton, Qt::NoModifier, header->rect().center());
    QCOMPARE(expanded.takeFirst().first().toInt(), 0);
    QVERIFY(first->isVisible());

    // Only sections that change report it.
    outline.setExpanded(1, false);
    QCOMPARE(collapsed.count(), 1);
    collapsed.clear();
    outline.collapseAll();
    QCOMPARE(collapsed.count(), 1);
    QCOMPARE(collapsed.first().first().toInt(), 0);
    QVERIFY(outline.isCollapsed(0) && outline.isCollapsed(1));
    outline.collapseAll();
    QCOMPARE(collapsed.count(), 1);

    outline.expandAll();
    QCOMPARE(expanded.count(), 2);
    QVERIFY(first->isVisible() && second->isVisible());

    QVERIFY(!header->font().bold());
    outline.setHighlightedFontEnabled(0, true);
    QVERIFY(header->font().bold());
    const QColor highlight = outline.palette().color(QPalette::Highlight);
    QVERIFY(header->palette().color(QPalette::ButtonText) != highlight);
    outline.setHighlightedColorEnabled(0, true);
    QCOMPARE(header->palette().color(QPalette::ButtonText), highlight);
    outline.setHighlightedFontEnabled(0, false);
    outline.setHighlightedColorEnabled(0, false);
    QVERIFY(!header->font().bold());
    QVERIFY(header->palette().color(QPalette::ButtonText) != highlight);
}

void TestWidgets::progressWorkerRuns_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("to the end") << QString();
    QTest::newRow("cancel button") << QStringLiteral("button");
    QTest::newRow("escape key") << QStringLiteral("escape");
    QTest::newRow("window closed") << QStringLiteral("close");
}

void TestWidgets::progressWorkerRuns()
{
    QFETCH(QString, how);
    const bool cancelled = !how.isEmpty();

    ProgressDialog dialog;
    QVERIFY(!dialog.execWorker(nullptr));
    auto* worker = new ScriptedWorker(&dialog);
    auto* second = new ScriptedWorker(&dialog);
    bool secondTaken = true;
    worker->iterations = 100;
    const int cancelAt = 3;
    worker->step = [&](int i) {
        // A second worker while one runs is refused and leaves the first alone.
        if (i == 0)
            secondTaken = dialog.execWorker(second);
        if (i != cancelAt)
            return;
        if (how == QLatin1String("button")) {
            auto* button = dialog.findChild<QPushButton*>(QStringLiteral("cancelButton"));
            QVERIFY(button);
            QCOMPARE(button->text(), QStringLiteral("Отмена"));
            // Delivered by the worker's own processEvents, as a user's click would be.
            QMetaObject::invokeMethod(button, "click", Qt::QueuedConnection);
        } else if (how == QLatin1String("escape")) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else if (cancelled) {
            dialog.close();
        }
    };

    QCOMPARE(dialog.execWorker(worker), !cancelled);
    QCOMPARE(worker->runs, 1);
    QVERIFY(!secondTaken);
    QCOMPARE(second->runs, 0);
    QVERIFY(worker->shownModal);
    QCOMPARE(worker->stoppedAt, cancelled ? cancelAt : -1);
    QCOMPARE(dialog.wasCancelled(), cancelled);
    QVERIFY(!dialog.isVisible());
    if (!cancelled) {
        QCOMPARE(dialog.progress(), 100);
        dialog.setProgress(250);
        QCOMPARE(dialog.progress(), 100);
        dialog.setProgress(-5);
        QCOMPARE(dialog.progress(), 0);
        return;
    }
    QVERIFY(!worker->processEvents()); // stays cancelled until the next run

    // The dialog can run again, and a new run starts uncancelled.
    QVERIFY(dialog.execWorker(second));
    QCOMPARE(second->stoppedAt, -1);
    QVERIFY(!dialog.wasCancelled());
}

void TestWidgets::comboBoxSortedOrder_data()
{
    QTest::addColumn<int>("sensitivity");
    QTest::addColumn<QStringList>("expected");
    // Equal texts keep the model's order.
    QTest::newRow("case sensitive")
        << int(Qt::CaseSensitive) << QStringList{"B", "C", "a", "b", "Бета", "альфа"};
    QTest::newRow("case insensitive")
        << int(Qt::CaseInsensitive) << QStringList{"a", "b", "B", "C", "альфа", "Бета"};
}

void TestWidgets::comboBoxSortedOrder()
{
    QFETCH(int, sensitivity);
    QFETCH(QStringList, expected);

    QStandardItemModel model;
    for (const char* text : {"b", "Бета", "B", "a", "C", "альфа"})
        model.appendRow(
            {new QStandardItem(QStringLiteral("x")), new QStandardItem(QString::fromUtf8(text))});
    ComboBoxSorted box;
    box.setSortedModel(&model, 1, 4, Qt::CaseSensitivity(sensitivity));

    QStringList shown;
    for (int i = 0; i < box.count(); ++i)
        shown << box.itemText(i);
    QCOMPARE(shown, expected);
    // The current item is the model's row given, wherever sorting put it.
    QCOMPARE(box.currentText(), QStringLiteral("C"));
    QCOMPARE(box.currentSourceIndex(), model.index(4, 1));

    // The list stays sorted as the model changes, and the current item stays.
    model.appendRow(
        {new QStandardItem(QStringLiteral("x")), new QStandardItem(QStringLiteral("A"))});
    QCOMPARE(box.itemText(sensitivity == Qt::CaseSensitive ? 0 : 1), QStringLiteral("A"));
    QCOMPARE(box.currentText(), QStringLiteral("C"));

    box.setCurrentIndex(0);
    QCOMPARE(box.currentSourceIndex().data().toString(), box.itemText(0));

    // Bad input: a row out of range leaves nothing current, a null model empties the box.
    box.setSortedModel(&model, 1, 99, Qt::CaseSensitive);
    QCOMPARE(box.currentIndex(), -1);
    QVERIFY(!box.currentSourceIndex().isValid());
    QStringListModel other({"z"});
    box.setCurrentSourceIndex(other.index(0, 0));
    QCOMPARE(box.currentIndex(), -1);
    box.setSortedModel(nullptr, 0, 0, Qt::CaseSensitive);
    QCOMPARE(box.count(), 0);
}

void TestWidgets::elideComboBoxElides()
{
    const QString longText = QStringLiteral("Счёт с очень длинным названием для проверки");
    ElideComboBox box;
    box.addItem(longText);
    box.resize(1000, box.sizeHint().height());
    QCOMPARE(box.displayedText(), longText);

    box.resize(90, box.sizeHint().height());
    const QString shown = box.displayedText();
    QVERIFY(shown.endsWith(QChar(0x2026)));
    QVERIFY(box.fontMetrics().horizontalAdvance(shown) < 90);

    box.setElideMode(Qt::ElideLeft);
    QVERIFY(box.displayedText().startsWith(QChar(0x2026)));

    // An editable box shows its line edit, which scrolls instead.
    box.setEditable(true);
    QCOMPARE(box.displayedText(), longText);
}

void TestWidgets::windowHeader()
{
    QMainWindow window;
    auto* dock = new QDockWidget(&window);
    dock->setFeatures(QDockWidget::DockWidgetMovable);
    dock->setWidget(new QLabel(QStringLiteral("plot")));
    window.addDockWidget(Qt::LeftDockWidgetArea, dock);
    auto* header = new ColoredHeader(dock);
    QVERIFY(header->title().isEmpty());
    header->setMainWidget(dock);
    dock->setTitleBarWidget(header);
    window.show();
    QVERIFY(dock->isVisible());

    // The title follows the panel's, and the bar is painted in the colour a subclass gives.
    dock->setWindowTitle(QStringLiteral("Модельный портфель"));
    QCOMPARE(header->title(), QStringLiteral("Модельный портфель"));
    QVERIFY(header->sizeHint().width() > header->fontMetrics().horizontalAdvance(header->title()));
    QImage image(header->size(), QImage::Format_ARGB32);
    header->render(&image);
    QCOMPARE(QColor(image.pixel(1, 1)), QColor(10, 120, 30));

    auto* floatButton = header->findChild<QToolButton*>(QStringLiteral("floatButton"));
    auto* closeButton = header->findChild<QToolButton*>(QStringLiteral("closeButton"));
    QVERIFY(floatButton && closeButton);
    QSignalSpy floatClicks(header, &WindowHeader::floatClicked);
    QSignalSpy closeClicks(header, &WindowHeader::closeClicked);

    // A panel that must stay docked: the float button (1 to plug-ins) does nothing.
    header->setBtnEnabled(WindowHeader::Button(1), false);
    QVERIFY(header->isBtnEnabled(WindowHeader::CloseButton));
    QTest::mouseClick(floatButton, Qt::LeftButton);
    QCOMPARE(floatClicks.count(), 0);
    QVERIFY(!dock->isFloating());

    header->setBtnEnabled(WindowHeader::FloatButton, true);
    QTest::mouseClick(floatButton, Qt::LeftButton);
    QCOMPARE(floatClicks.count(), 1);
    QVERIFY(dock->isFloating());
    QTest::mouseClick(floatButton, Qt::LeftButton);
    QVERIFY(!dock->isFloating());

    // Closing works whatever the dock's own features say.
    QTest::mouseClick(closeButton, Qt::LeftButton);
    QCOMPARE(closeClicks.count(), 1);
    QVERIFY(!dock->isVisible());

    header->setBtnEnabled(WindowHeader::Button(7), false); // no such button: ignored
    QVERIFY(!header->isBtnEnabled(WindowHeader::Button(7)));

    // The panel may go first.
    {
        QWidget gone;
        gone.setWindowTitle(QStringLiteral("x"));
        header->setMainWidget(&gone);
    }
    QVERIFY(header->title().isEmpty());
    QTest::mouseClick(closeButton, Qt::LeftButton);
}

void TestWidgets::virtualSlots()
{
    // The hooks that plug-ins override come right after the base class's own virtuals, in
    // this order.
    const int afterObject = vtableSlot(&ObjectProbe::firstNewVirtual);
    QVERIFY(afterObject > 0);
    QCOMPARE(vtableSlot(&ProgressWorker::run), afterObject);

    const int afterWidget = vtableSlot(&WidgetProbe::firstNewVirtual);
    QVERIFY(afterWidget > afterObject);
    QCOMPARE(vtableSlot(&WindowHeader::titleColor), afterWidget);

    const int afterMenu = vtableSlot(&MenuProbe::firstNewVirtual);
    QCOMPARE(vtableSlot(&ModelMenu::setModel), afterMenu);
    QCOMPARE(ModelMenuAccess::prePopulateSlot(), afterMenu + 1);
    QCOMPARE(ModelMenuAccess::postPopulatedSlot(), afterMenu + 2);
    QCOMPARE(ModelMenuAccess::createBaseMenuSlot(), afterMenu + 3);
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
