#include "basic_views/accountselectorbox.h"
#include "basic_views/comboboxcontainerfactory.h"
#include "basic_views/comboboxdelegate.h"
#include "basic_views/commonview.h"
#include "basic_views/frozenrowview.h"
#include "basic_views/headerlayout.h"
#include "basic_views/itemdelegate.h"
#include "basic_views/tableheadermodel.h"
#include "basic_views/tableheadersettingsform.h"
#include "basic_views/tableheadersettingspage.h"
#include "basic_views/viewscolormanager.h"
#include "basic_views/viewscolorpage.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindexcolumn.h"
#include "database/recordstrans.h"
#include "database/settings.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include "dialogcatcher.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStringListModel>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

// A model of rows x columns whose cells read "r<row>c<column>" and whose columns are named
// "f<column>" for the header layout.
std::unique_ptr<QStandardItemModel> makeModel(int rows, int columns)
{
    auto model = std::make_unique<QStandardItemModel>(rows, columns);
    for (int c = 0; c < columns; ++c) {
        model->setHeaderData(c, Qt::Horizontal, QStringLiteral("Столбец %1").arg(c));
        model->setHeaderData(c, Qt::Horizontal, QStringLiteral("f%1").arg(c),
                             HeaderLayout::ColumnNameRole);
        for (int r = 0; r < rows; ++r)
            model->setItem(r, c, new QStandardItem(QStringLiteral("r%1c%2").arg(r).arg(c)));
    }
    return model;
}

// The layout's columns in order, or only its hidden ones.
QStringList keysOf(const HeaderLayout& layout, bool hiddenOnly = false)
{
    QStringList keys;
    for (const HeaderLayout::Column& c : layout.columns) {
        if (c.hidden || !hiddenOnly)
            keys << c.key;
    }
    return keys;
}

// Refuses the text "bad" with a thrown message, as the portfolio models do.
class RefusingModel : public QStandardItemModel
{
public:
    using QStandardItemModel::QStandardItemModel;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override
    {
        if (value.toString() == QLatin1String("bad"))
            throw QStringLiteral("Недопустимое значение");
        return QStandardItemModel::setData(index, value, role);
    }
};

} // namespace

class TestViews : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void frozenRowFollowsTable_data();
    void frozenRowFollowsTable();
    void layoutSurvivesStoreAndRestore_data();
    void layoutSurvivesStoreAndRestore();
    void damagedLayoutFallsBack_data();
    void damagedLayoutFallsBack();
    void filterAndCopyTakeWhatIsShown();
    void delegateShowsRefusal_data();
    void delegateShowsRefusal();
    void comboBoxDelegateWritesChoice();
    void headerPageAppliesForm();
    void colorsPersist();
    void accountBoxFollowsPositions();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestViews::initTestCase()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    AppSettings::setConfigDir(m_dir->path());
}

void TestViews::frozenRowFollowsTable_data()
{
    QTest::addColumn<bool>("modelFirst");
    QTest::newRow("table model set first") << true;
    QTest::newRow("frozen row made first") << false;
}

void TestViews::frozenRowFollowsTable()
{
    QFETCH(bool, modelFirst);
    auto model = makeModel(60, 10);
    auto totals = makeModel(1, 10);
    CommonView table;
    table.resize(320, 240);
    if (modelFirst)
        table.setModel(model.get());
    auto* frozen = new FrozenRowView(&table);
    frozen->setModel(totals.get());
    if (!modelFirst)
        table.setModel(model.get());
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));

    table.setColumnWidth(2, 123);
    table.horizontalHeader()->moveSection(0, 6);
    table.setColumnHidden(4, true);
    table.horizontalScrollBar()->setValue(table.horizontalScrollBar()->maximum() / 2);
    QVERIFY(table.horizontalScrollBar()->value() > 0);
    QCoreApplication::processEvents();

    QCOMPARE(frozen->columnWidth(2), 123);
    QCOMPARE(frozen->horizontalScrollBar()->value(), table.horizontalScrollBar()->value());
    for (int c = 0; c < 10; ++c) {
        QCOMPARE(frozen->horizontalHeader()->visualIndex(c),
                 table.horizontalHeader()->visualIndex(c));
        QCOMPARE(frozen->isColumnHidden(c), table.isColumnHidden(c));
        // What the user sees: each cell of the row stands under its column.
        if (!table.isColumnHidden(c))
            QCOMPARE(frozen->columnViewportPosition(c), table.columnViewportPosition(c));
    }

    // The row lies under the cells, as wide as they are, and the last row of the table can
    // be scrolled into view above it.
    const QRect cells = table.viewport()->geometry();
    QCOMPARE(frozen->geometry(),
             QRect(cells.left(), cells.bottom() + 1, cells.width(), frozen->sizeHint().height()));
    QVERIFY(table.horizontalScrollBar()->isVisible());
    QVERIFY(frozen->geometry().bottom() <
            table.horizontalScrollBar()->mapTo(&table, QPoint(0, 0)).y());
    table.scrollToBottom();
    QCoreApplication::processEvents();
    QVERIFY(table.rowViewportPosition(59) + table.rowHeight(59) <= table.viewport()->height());

    const int withRow = table.viewport()->height();
    const int rowHeight = frozen->height();
    delete frozen;
    QCOMPARE(table.viewport()->height(), withRow + rowHeight);
}

void TestViews::layoutSurvivesStoreAndRestore_data()
{
    QTest::addColumn<bool>("restoreBeforeModel");
    QTest::addColumn<bool>("columnAddedSince");
    QTest::newRow("into a view with its model") << false << false;
    QTest::newRow("before the model is set") << true << false;
    QTest::newRow("the model gained a column in front") << false << true;
}

void TestViews::layoutSurvivesStoreAndRestore()
{
    QFETCH(bool, restoreBeforeModel);
    QFETCH(bool, columnAddedSince);
    const QString file = m_dir->filePath(QStringLiteral("layout.ini"));
    QFile::remove(file);

    auto first = makeModel(5, 6);
    HeaderLayout stored;
    {
        CommonView view;
        view.setModel(first.get());
        view.setSortingEnabled(true);
        view.horizontalHeader()->moveSection(5, 0);
        view.setColumnWidth(1, 77);
        view.setColumnHidden(3, true);
        view.sortByColumn(2, Qt::DescendingOrder);
        stored = view.headerLayout();
        Settings settings(file);
        settings.beginGroup(QStringLiteral("view"));
        view.storeTemplate(settings);
    }
    QCOMPARE(keysOf(stored), QStringList({"f5", "f0", "f1", "f2", "f3", "f4"}));

    auto second = makeModel(5, 6);
    if (columnAddedSince) {
        second->insertColumn(0);
        second->setHeaderData(0, Qt::Horizontal, QStringLiteral("new"),
                              HeaderLayout::ColumnNameRole);
    }
    CommonView view;
    view.setSortingEnabled(true);
    if (!restoreBeforeModel)
        view.setModel(second.get());
    {
        Settings settings(file);
        settings.beginGroup(QStringLiteral("view"));
        Settings empty(m_dir->filePath(QStringLiteral("empty.ini")));
        view.restore(settings, empty);
    }
    if (restoreBeforeModel)
        view.setModel(second.get());

    const HeaderLayout restored = view.headerLayout();
    QStringList expected = keysOf(stored);
    if (columnAddedSince)
        expected << QStringLiteral("new");
    QCOMPARE(keysOf(restored), expected);
    QCOMPARE(keysOf(restored, true), QStringList({"f3"}));
    QCOMPARE(view.columnWidth(HeaderLayout::sectionOf(second.get(), "f1")), 77);
    QCOMPARE(restored.sortKey, QStringLiteral("f2"));
    QCOMPARE(restored.sortOrder, Qt::DescendingOrder);
    // The sort reached the model, not only the indicator.
    const int sorted = HeaderLayout::sectionOf(second.get(), "f2");
    QCOMPARE(second->index(0, sorted).data().toString(), QStringLiteral("r4c2"));
}

void TestViews::damagedLayoutFallsBack_data()
{
    QTest::addColumn<QVariant>("columns");
    QTest::addColumn<QVariant>("hidden");
    QTest::addColumn<QVariant>("widths");
    QTest::addColumn<QVariant>("sortOrder");
    QTest::addColumn<QStringList>("order");

    const QStringList natural{"f0", "f1", "f2", "f3"};
    QTest::newRow("missing keys") << QVariant() << QVariant() << QVariant() << QVariant()
                                  << natural;
    QTest::newRow("a number where a list belongs")
        << QVariant(42) << QVariant(7) << QVariant("x") << QVariant("y") << natural;
    QTest::newRow("unknown and repeated keys, wild widths")
        << QVariant(QStringList{"zz", "f2", "f2", "", "f0"}) << QVariant(QStringList{"zz"})
        << QVariant(QStringList{"-5", "999999", "abc", "0", "60"}) << QVariant(9)
        << QStringList({"f2", "f0", "f1", "f3"});
    QTest::newRow("every column hidden")
        << QVariant(QStringList{"f3", "f2", "f1", "f0"})
        << QVariant(QStringList{"f0", "f1", "f2", "f3"}) << QVariant() << QVariant()
        << QStringList({"f3", "f2", "f1", "f0"});
}

void TestViews::damagedLayoutFallsBack()
{
    QFETCH(QVariant, columns);
    QFETCH(QVariant, hidden);
    QFETCH(QVariant, widths);
    QFETCH(QVariant, sortOrder);
    QFETCH(QStringList, order);

    const QString file = m_dir->filePath(QStringLiteral("damaged.ini"));
    QFile::remove(file);
    {
        Settings settings(file);
        settings.beginGroup(QStringLiteral("header"));
        const QStringList keys{"columns", "hidden", "widths", "sortOrder"};
        const QVariantList values{columns, hidden, widths, sortOrder};
        for (int i = 0; i < keys.size(); ++i) {
            if (values.at(i).isValid())
                settings.setValue(keys.at(i), values.at(i));
        }
    }
    auto model = makeModel(3, 4);
    CommonView view;
    view.setModel(model.get());
    const int defaultWidth = view.columnWidth(0);
    Settings settings(file);
    view.restore(settings, settings);

    const HeaderLayout layout = view.headerLayout();
    QCOMPARE(keysOf(layout), order);
    // An unknown key hides nothing, and a layout that hides every column is not taken.
    QCOMPARE(keysOf(layout, true), QStringList());
    for (int c = 0; c < 4; ++c)
        QVERIFY2(view.columnWidth(c) == defaultWidth || view.columnWidth(c) == 60,
                 qPrintable(QString::number(view.columnWidth(c))));
}

void TestViews::filterAndCopyTakeWhatIsShown()
{
    auto model = makeModel(12, 3);
    CommonView view;
    view.setModel(model.get());
    view.setColumnHidden(2, true);
    view.horizontalHeader()->moveSection(1, 0);

    // "1C" is in rows 1 and 11 of the shown columns; the hidden column is not searched.
    view.setFilterText(QStringLiteral("1C"));
    auto shownRows = [&view, &model] {
        QList<int> rows;
        for (int r = 0; r < model->rowCount(); ++r) {
            if (!view.isRowHidden(r))
                rows << r;
        }
        return rows;
    };
    QCOMPARE(shownRows(), QList<int>({1, 11}));
    view.setFilterText(QStringLiteral("c2"));
    QCOMPARE(shownRows(), QList<int>());

    // A change of the model is filtered again once its batch is over.
    view.setFilterText(QStringLiteral("1c"));
    model->item(3, 0)->setText(QStringLiteral("x1c"));
    QTRY_COMPARE(shownRows(), QList<int>({1, 3, 11}));

    view.selectAll();
    QCOMPARE(view.selectionText(), QStringLiteral("r1c1\tr1c0\nr3c1\tx1c\nr11c1\tr11c0"));
    view.setFilterText(QString());
    QCOMPARE(shownRows().size(), 12);
}

void TestViews::delegateShowsRefusal_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("shown");
    QTest::newRow("refused") << "bad"
                             << "old" << QStringList{"Недопустимое значение"};
    QTest::newRow("accepted") << "good"
                              << "good" << QStringList();
}

void TestViews::delegateShowsRefusal()
{
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    QFETCH(QStringList, shown);

    RefusingModel model(1, 1);
    model.setItem(0, 0, new QStandardItem(QStringLiteral("old")));
    QTableView view;
    ItemDelegate delegate(&view);
    QLineEdit editor;
    editor.setText(typed);

    DialogCatcher catcher;
    delegate.setModelData(&editor, &model, model.index(0, 0));
    QCOMPARE(catcher.texts, shown);
    QCOMPARE(model.index(0, 0).data().toString(), stored);
}

void TestViews::comboBoxDelegateWritesChoice()
{
    QStringListModel choices({"B", "C", "A"});
    QStandardItemModel model(1, 1);
    model.setItem(0, 0, new QStandardItem(QStringLiteral("C")));
    const QModelIndex cell = model.index(0, 0);
    ComboBoxDelegate delegate(new ComboBoxContainerFactory(&choices, 0));
    QWidget parent;

    std::unique_ptr<QWidget> editor(delegate.createEditor(&parent, QStyleOptionViewItem(), cell));
    auto* box = qobject_cast<QComboBox*>(editor.get());
    QVERIFY(box);
    delegate.setEditorData(box, cell);
    QCOMPARE(box->currentText(), QStringLiteral("C"));
    QCOMPARE(box->itemText(0), QStringLiteral("A")); // sorted

    box->setCurrentIndex(box->findText(QStringLiteral("B")));
    delegate.setModelData(box, &model, cell);
    QCOMPARE(cell.data().toString(), QStringLiteral("B"));
}

void TestViews::headerPageAppliesForm()
{
    const QString file = m_dir->filePath(QStringLiteral("page.ini"));
    QFile::remove(file);
    auto model = makeModel(2, 4);
    CommonView view;
    view.setModel(model.get());
    view.setColumnWidth(0, 91);
    Settings settings(file);
    view.storeTemplate(settings);

    const QList<IViewSettingsPage*> pages = view.getSettingsPages(nullptr);
    QCOMPARE(pages.size(), 2);
    auto* page = dynamic_cast<TableHeaderSettingsPage*>(pages.at(1));
    QVERIFY(page);
    std::unique_ptr<QWidget> form(page->createPage(settings, nullptr));
    auto* list = form->findChild<QListView*>(QStringLiteral("columnsList"));
    auto* down = form->findChild<QPushButton*>(QStringLiteral("downButton"));
    QVERIFY(list && down);
    QAbstractItemModel* columns = list->model();

    // Move the first column down twice, hide what is now the first row.
    list->setCurrentIndex(columns->index(0, 0));
    down->click();
    down->click();
    QVERIFY(columns->setData(columns->index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
    QStringList shownOrder;
    for (int row = 0; row < columns->rowCount(); ++row)
        shownOrder << HeaderLayout::columnKey(
            model.get(), static_cast<TableHeaderModel*>(columns)->section(row));
    QCOMPARE(shownOrder, QStringList({"f1", "f2", "f0", "f3"}));
    // The last shown column cannot go.
    for (int row = 1; row < 3; ++row)
        QVERIFY(columns->setData(columns->index(row, 0), Qt::Unchecked, Qt::CheckStateRole));
    QVERIFY(!columns->setData(columns->index(3, 0), Qt::Unchecked, Qt::CheckStateRole));
    QVERIFY(columns->setData(columns->index(2, 0), Qt::Checked, Qt::CheckStateRole));

    page->apply(settings);
    page->finish();
    form.reset();
    qDeleteAll(pages);

    view.restoreTemplate(settings, settings);
    const HeaderLayout layout = view.headerLayout();
    QCOMPARE(keysOf(layout), shownOrder);
    QCOMPARE(keysOf(layout, true), QStringList({"f1", "f2"}));
    QCOMPARE(view.columnWidth(0), 91); // passed through untouched
}

void TestViews::colorsPersist()
{
    ViewsColorManager* manager = ViewsColorManager::instance();
    const int view = ViewsColorManager::OptionCalculator;
    const int colour = ViewsColorManager::ModelValue;
    const QColor normal = manager->defaultColor(view, ViewsColorManager::Normal, colour);
    QCOMPARE(ViewsColorManager::color(view, ViewsColorManager::Normal, colour), normal);
    QVERIFY(!ViewsColorManager::color(view, ViewsColorManager::Normal, 999).isValid());
    QVERIFY(!ViewsColorManager::color(77, ViewsColorManager::Normal, colour).isValid());

    // Through the page: nothing is stored before apply.
    QSignalSpy changed(manager, &ViewsColorManager::colorsChanged);
    ViewsColorPage page(view);
    std::unique_ptr<QWidget> form(page.createPage(nullptr));
    page.setPendingColor(ViewsColorManager::Selected, colour, QColor(Qt::darkRed));
    QCOMPARE(ViewsColorManager::color(view, ViewsColorManager::Selected, colour),
             manager->defaultColor(view, ViewsColorManager::Selected, colour));
    page.apply();
    QCOMPARE(changed.count(), 1);
    manager->reload();
    QCOMPARE(ViewsColorManager::color(view, ViewsColorManager::Selected, colour),
             QColor(Qt::darkRed));
    QCOMPARE(AppSettings(QStringLiteral("ViewsColors")).value(QStringLiteral("6/1/20")),
             QVariant(QStringLiteral("#ff800000")));

    // Damage in the settings gives the default; the default clears the key.
    AppSettings(QStringLiteral("ViewsColors")).setValue(QStringLiteral("6/0/20"), "#zz");
    manager->reload();
    QCOMPARE(ViewsColorManager::color(view, ViewsColorManager::Normal, colour), normal);
    page.resetToDefaults();
    page.apply();
    page.finish();
    QVERIFY(!AppSettings(QStringLiteral("ViewsColors")).contains(QStringLiteral("6/1/20")));
}

void TestViews::accountBoxFollowsPositions()
{
    auto table = std::make_unique<Table>(QStringLiteral("positions"));
    table->addColumn(QStringLiteral("account"), FieldType::String, 20, false, "Счёт");
    table->addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, "Инструмент");
    table->setMasterIndex(MasterIndex_Column::create(table.get(), {"account", "sec_id"}));
    auto insert = [&table](const QString& account, qint64 secId) {
        Record r(table.get());
        r.data(0) = account;
        r.data(1) = static_cast<long long>(secId);
        table->insertRecord(r);
        return r;
    };
    ICore core;
    core.tables()->registerTable(QStringLiteral("positions"), table.get());

    AccountSelectorBox box;
    QSignalSpy changed(&box, &AccountSelectorBox::changedAccount);
    auto items = [&box] {
        QStringList texts;
        for (int i = 0; i < box.count(); ++i)
            texts << box.itemText(i);
        return texts;
    };

    insert("B", 1);
    QCOMPARE(items(), QStringList({"B"}));
    QCOMPARE(box.currentIndex(), -1); // nothing is chosen for the user
    box.setAccount("B");
    QCOMPARE(box.currentText(), QStringLiteral("B"));
    {
        TableUpdater batch(table.get());
        insert("A", 2);
        insert("B", 3);
        insert("C", 4);
    }
    QCOMPARE(items(), QStringList({"A", "B", "C"}));
    QCOMPARE(box.currentText(), QStringLiteral("B"));

    // An account without positions yet is picked when they come, and left when they go.
    box.setAccount("Z");
    QCOMPARE(box.currentIndex(), -1);
    const Record z = insert("Z", 5);
    QCOMPARE(box.currentText(), QStringLiteral("Z"));
    table->removeRecord(z);
    QCOMPARE(items(), QStringList({"A", "B", "C"}));
    QCOMPARE(box.currentIndex(), -1);
    QCOMPARE(box.account(), QStringLiteral("Z"));

    emit box.activated(0);
    QCOMPARE(box.account(), QStringLiteral("A"));
    QCOMPARE(changed.count(), 3);
    QCOMPARE(changed.at(2).at(0).toString(), QStringLiteral("A"));

    table->clear();
    QCOMPARE(box.count(), 0);
    insert("D", 6);
    table.reset();
    QCOMPARE(items(), QStringList({"D"}));
}

QTEST_MAIN(TestViews)
#include "tst_views.moc"
