#include "viewstesttable.h"

#include "basic_views/datecolumndelegate.h"
#include "basic_views/groupmentrecordcolumns.h"
#include "basic_views/headerlayout.h"
#include "basic_views/matchmodel.h"
#include "basic_views/optiontypecolumndelegate.h"
#include "basic_views/pricecolumndelegate.h"
#include "basic_views/tableindexmodel.h"
#include "basic_views/treeindexfastmodel.h"
#include "contact/variantcompare.h"

#include "database/field.h"
#include "database/indexdepend.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <functional>
#include <memory>
#include <set>

namespace {

using Compare = std::function<int(const Record&, const Record&)>;
using Filter = std::function<bool(const Record&)>;

// Rows of board 14 whose lot is not 3: a filter that updates can change.
class FilteredModel : public TableIndexModel
{
public:
    using TableIndexModel::TableIndexModel;
    bool filter(const Record& r) const override
    {
        return r.data(ViewsTestTable::BoardId).toInteger() == 14 &&
               r.data(ViewsTestTable::Lot).toInteger() != 3;
    }
};

// An order of its own, without a sort column: by base code, then strike.
class OwnOrderModel : public TableIndexModel
{
public:
    using TableIndexModel::TableIndexModel;
    int compare(const Record& a, const Record& b) const override
    {
        if (const int c =
                a.data(ViewsTestTable::BaseCode).compare(b.data(ViewsTestTable::BaseCode)))
            return c;
        return a.data(ViewsTestTable::Strike).compare(b.data(ViewsTestTable::Strike));
    }
};

// A column of its own: price times lot.
class TurnoverDelegate : public ColumnModelDelegate
{
public:
    static QVariant value(const Record& r)
    {
        const Field price = r.data(ViewsTestTable::Price);
        if (price.isNull())
            return QVariant();
        return QVariant::fromValue(price.toDecimal() *
                                   static_cast<long long>(r.data(ViewsTestTable::Lot).toInteger()));
    }
    bool data(const Field&, const Record& r, int role, QVariant& result) const override
    {
        if (role == Qt::DisplayRole) {
            const QVariant v = value(r);
            result = v.isValid() ? QVariant(v.value<decimal>().toString()) : QVariant();
            return true;
        }
        if (role == Qt::UserRole) {
            result = value(r);
            return true;
        }
        return false;
    }
};

bool everyRow(const Record&)
{
    return true;
}

int noOrder(const Record&, const Record&)
{
    return 0;
}

// The order of a sort by a table column; none for column -1.
Compare sortedBy(int column, Qt::SortOrder order = Qt::AscendingOrder)
{
    return [column, order](const Record& a, const Record& b) {
        const int c = column < 0 ? 0 : byField(column, a, b);
        return order == Qt::DescendingOrder ? -c : c;
    };
}

// Checks the model's answers at every change; a fault fails the test at once.
void watch(QAbstractItemModel* model)
{
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::Fatal,
                                 model);
}

std::vector<Record> expectedRows(const ViewsTestTable& t, const Filter& filter,
                                 const Compare& compare)
{
    std::vector<Record> rows;
    for (const Record& r : t.table->masterIndex()->records())
        if (filter(r))
            rows.push_back(r);
    std::sort(rows.begin(), rows.end(), [&](const Record& a, const Record& b) {
        const int c = compare(a, b);
        return c != 0 ? c < 0 : a.rowBlock() < b.rowBlock();
    });
    return rows;
}

std::vector<Record> modelRows(const TableIndexModel& model)
{
    std::vector<Record> rows;
    for (int i = 0; i < model.rowCount(); ++i)
        rows.push_back(model.recordByIndex(model.index(i, 0)));
    return rows;
}

// Runs of consecutive numbers in a sorted set.
std::vector<std::pair<int, int>> runsOf(const std::set<int>& rows)
{
    std::vector<std::pair<int, int>> runs;
    for (int r : rows) {
        if (!runs.empty() && runs.back().second == r - 1)
            runs.back().second = r;
        else
            runs.emplace_back(r, r);
    }
    return runs;
}

int positionIn(const std::vector<Record>& rows, const Record& r)
{
    const auto it = std::find(rows.begin(), rows.end(), r);
    return it == rows.end() ? -1 : int(it - rows.begin());
}

// What a model told its views during one batch.
struct SignalLog
{
    explicit SignalLog(QAbstractItemModel* model)
    {
        QObject::connect(model, &QAbstractItemModel::dataChanged,
                         [this](const QModelIndex& tl, const QModelIndex& br) {
                             changed.push_back({tl.row(), br.row(), tl.column(), br.column()});
                         });
        QObject::connect(model, &QAbstractItemModel::rowsRemoved,
                         [this](const QModelIndex&, int, int) { ++removals; });
        QObject::connect(model, &QAbstractItemModel::rowsInserted,
                         [this](const QModelIndex&, int, int) { ++insertions; });
        QObject::connect(model, &QAbstractItemModel::modelReset, [this] { ++resets; });
    }
    void clear()
    {
        changed.clear();
        removals = insertions = resets = 0;
    }
    struct Change
    {
        int top, bottom, left, right;
    };
    std::vector<Change> changed;
    int removals = 0, insertions = 0, resets = 0;
};

} // namespace

class TestTableModels : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void randomBatches_data();
    void randomBatches();
    void manyRowsMoveAtOnce();
    void hiddenColumnChangeIsSilent();
    void cellValues_data();
    void cellValues();
    void headers();
    void delegates();
    void delegateColumnSorts();
    void sortedMatchEqualsLinear_data();
    void sortedMatchEqualsLinear();
    void setSortKeepsPersistentIndexes();
    void columnFilterAndRebuild();
    void dependentModelFollowsSource();
    void orderFromOutsideTheTable();
    void modelOutlivesTable();
    void badInput();
};

void TestTableModels::initTestCase()
{
    qRegisterMetaType<QList<QPersistentModelIndex>>();
    qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>();
}

void TestTableModels::randomBatches_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("writeMode");
    QTest::newRow("unsorted") << "unsorted" << 2;
    QTest::newRow("price ascending") << "price" << 2;
    QTest::newRow("price ascending, transactions") << "price" << 0;
    QTest::newRow("price ascending, in place") << "price" << 1;
    QTest::newRow("price descending, filtered") << "filtered" << 2;
    QTest::newRow("name ascending") << "name" << 2;
    QTest::newRow("option type delegate") << "optiontype" << 2;
    QTest::newRow("computed column") << "computed" << 2;
    QTest::newRow("own order") << "own" << 2;
}

void TestTableModels::randomBatches()
{
    QFETCH(QString, kind);
    QFETCH(int, writeMode);

    ViewsTestTable t;
    RandomFeed feed(t, 20240601u + quint32(qHash(kind)) + quint32(writeMode));
    feed.setWriteMode(writeMode);
    feed.fill(40);
    BatchRecorder recorder(t.table);

    std::unique_ptr<TableIndexModel> model;
    Filter filter = everyRow;
    Compare compare = noOrder;
    if (kind == QLatin1String("filtered")) {
        auto* filtered = new FilteredModel(t.table);
        model.reset(filtered);
        model->setSort(ViewsTestTable::Price, Qt::DescendingOrder);
        filter = [filtered](const Record& r) { return filtered->filter(r); };
        compare = sortedBy(ViewsTestTable::Price, Qt::DescendingOrder);
    } else if (kind == QLatin1String("own")) {
        auto* own = new OwnOrderModel(t.table);
        model.reset(own);
        compare = [own](const Record& a, const Record& b) { return own->compare(a, b); };
    } else {
        model.reset(new TableIndexModel(t.table));
        if (kind == QLatin1String("price")) {
            model->setSort(ViewsTestTable::Price, Qt::AscendingOrder);
            compare = sortedBy(ViewsTestTable::Price);
        } else if (kind == QLatin1String("name")) {
            model->setSort(ViewsTestTable::SecName, Qt::AscendingOrder);
            compare = sortedBy(ViewsTestTable::SecName);
        } else if (kind == QLatin1String("optiontype")) {
            model->setColumnDelegate(ViewsTestTable::OptionType, new OptionTypeColumnDelegate);
            model->setSort(ViewsTestTable::OptionType, Qt::DescendingOrder);
            compare = sortedBy(ViewsTestTable::OptionType, Qt::DescendingOrder);
        } else if (kind == QLatin1String("computed")) {
            const int column =
                model->addColumnDelegate(new TurnoverDelegate, -1, QStringLiteral("turnover"));
            model->setSort(column, Qt::AscendingOrder);
            compare = [](const Record& a, const Record& b) {
                return variant_compare(TurnoverDelegate::value(a), TurnoverDelegate::value(b));
            };
        }
    }
    watch(model.get());
    model->build();
    SignalLog log(model.get());

    std::mt19937 rng(7);
    for (int step = 0; step < 80; ++step) {
        const std::vector<Record> before = modelRows(*model);
        // A few rows followed through the batch by persistent indexes.
        std::vector<std::pair<QPersistentModelIndex, Record>> followed;
        for (int k = 0; k < 6 && !before.empty(); ++k) {
            const int row = int(rng() % before.size());
            followed.emplace_back(QPersistentModelIndex(model->index(row, 1)), before[size_t(row)]);
        }
        recorder.reset();
        log.clear();
        const QString what = QStringLiteral("step %1 (%2)").arg(step).arg(feed.step());

        const std::vector<Record> expected = expectedRows(t, filter, compare);
        const std::vector<Record> actual = modelRows(*model);
        QVERIFY2(actual == expected, qPrintable(what + QStringLiteral(": model ") + keys(actual) +
                                                QStringLiteral(" expected ") + keys(expected)));

        for (const auto& f : followed) {
            if (positionIn(actual, f.second) >= 0) {
                QVERIFY2(f.first.isValid(), qPrintable(what));
                QCOMPARE(model->recordByIndex(f.first), f.second);
            } else {
                QVERIFY2(!f.first.isValid(), qPrintable(what));
            }
        }

        // Structural changes in contiguous blocks.
        std::set<int> gone, come;
        for (size_t i = 0; i < before.size(); ++i)
            if (positionIn(actual, before[i]) < 0)
                gone.insert(int(i));
        for (size_t i = 0; i < actual.size(); ++i)
            if (positionIn(before, actual[i]) < 0)
                come.insert(int(i));
        if (log.resets == 0) {
            QCOMPARE(log.removals, int(runsOf(gone).size()));
            QCOMPARE(log.insertions, int(runsOf(come).size()));
        }

        // One dataChanged per block of rows changed in place, over the columns touched.
        std::set<int> changedRows;
        for (const Record& r : qAsConst(recorder.updated))
            if (positionIn(before, r) >= 0 && positionIn(actual, r) >= 0)
                changedRows.insert(positionIn(actual, r));
        int left = -1, right = -1;
        for (int c = 0; c < model->columnCount(); ++c) {
            const int field = model->columnField(c);
            if (model->columnDelegate(c) ||
                (field >= recorder.firstColumn && field <= recorder.lastColumn)) {
                left = left < 0 ? c : left;
                right = c;
            }
        }
        const auto blocks = runsOf(changedRows);
        QVERIFY2(log.changed.size() == blocks.size(),
                 qPrintable(what + QStringLiteral(": %1 dataChanged for %2 blocks")
                                       .arg(log.changed.size())
                                       .arg(blocks.size())));
        std::sort(
            log.changed.begin(), log.changed.end(),
            [](const SignalLog::Change& a, const SignalLog::Change& b) { return a.top < b.top; });
        for (size_t i = 0; i < blocks.size(); ++i) {
            QCOMPARE(log.changed[i].top, blocks[i].first);
            QCOMPARE(log.changed[i].bottom, blocks[i].second);
            QCOMPARE(log.changed[i].left, left);
            QCOMPARE(log.changed[i].right, right);
        }
    }
}

void TestTableModels::manyRowsMoveAtOnce()
{
    // More rows change their place than moves are worth: one layout change puts them all
    // in place, and persistent indexes follow their records.
    ViewsTestTable t;
    RandomFeed feed(t, 99);
    feed.fill(400);
    TableIndexModel model(t.table);
    model.setSort(ViewsTestTable::Price, Qt::AscendingOrder);
    watch(&model);
    model.build();
    QSignalSpy layouts(&model, &QAbstractItemModel::layoutChanged);
    QSignalSpy moves(&model, &QAbstractItemModel::rowsMoved);
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);

    std::vector<std::pair<QPersistentModelIndex, Record>> followed;
    for (int row = 0; row < 400; row += 37)
        followed.emplace_back(QPersistentModelIndex(model.index(row, 0)), model.at(row));
    {
        TableUpdater bracket(t.table);
        RecordsTrans trans(t.table);
        int i = 0;
        for (const Record& r : t.rows()) {
            // Reverse the prices: nearly every row moves.
            RecordUpdater(r, trans).data(ViewsTestTable::Price) = decimal(100000 - 7 * i++, 4);
        }
    }
    QCOMPARE(layouts.count(), 1);
    QCOMPARE(moves.count(), 0);
    QCOMPARE(changes.count(), 1); // every row changed: one block
    QVERIFY(modelRows(model) == expectedRows(t, everyRow, sortedBy(ViewsTestTable::Price)));
    for (const auto& f : followed)
        QCOMPARE(model.recordByIndex(f.first), f.second);

    // A few rows moving go by moves, the rest of the view untouched.
    layouts.clear();
    {
        TableUpdater bracket(t.table);
        for (int row : {0, 10, 20}) {
            Record r = model.at(row);
            r.data(ViewsTestTable::Price) = decimal(200000 + row, 4);
            t.table->updated(r, ViewsTestTable::Price, ViewsTestTable::Price);
        }
    }
    QCOMPARE(layouts.count(), 0);
    QCOMPARE(moves.count(), 3);
    QVERIFY(modelRows(model) == expectedRows(t, everyRow, sortedBy(ViewsTestTable::Price)));
}

// Blocks and column spans of dataChanged are checked by randomBatches; a change of a column
// that the model does not show is no change of the model.
void TestTableModels::hiddenColumnChangeIsSilent()
{
    ViewsTestTable t;
    for (int i = 0; i < 10; ++i)
        t.insert(i + 1, QString::number(i));
    TableIndexModel narrow(t.table);
    narrow.clearColumns();
    narrow.addColumn(QStringLiteral("sec_name"));
    narrow.build();
    QSignalSpy spy(&narrow, &QAbstractItemModel::dataChanged);
    {
        TableUpdater bracket(t.table);
        Record r = narrow.at(0);
        r.data(ViewsTestTable::Lot) = 4;
        t.table->updated(r, ViewsTestTable::Lot, ViewsTestTable::Lot);
    }
    QCOMPARE(spy.count(), 0);
    Record r = narrow.at(0);
    r.data(ViewsTestTable::SecName) = QStringLiteral("X");
    t.table->updated(r, ViewsTestTable::SecName, ViewsTestTable::SecName);
    QCOMPARE(spy.count(), 1);
}

void TestTableModels::cellValues_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("display");
    QTest::addColumn<int>("alignment");

    const int right = int(Qt::AlignRight | Qt::AlignVCenter);
    const int left = int(Qt::AlignLeft | Qt::AlignVCenter);
    auto dec = [](const char* text) { return QVariant::fromValue(decimal(QLatin1String(text))); };
    const datetime day(QDate(2031, 6, 15));
    struct Row
    {
        const char* name;
        int column;
        QVariant value, display;
        int alignment;
    };
    const Row rows[] = {
        {"decimal at its scale", ViewsTestTable::Price, dec("12.5"), point("12.5000"), right},
        {"negative decimal", ViewsTestTable::Strike, dec("-0.07"), point("-0.07"), right},
        {"date", ViewsTestTable::ExpDate, QVariant::fromValue(day), "15.06.2031", left},
        {"date with time", ViewsTestTable::ExpDate, QVariant::fromValue(day + 37800000),
         "15.06.2031 10:30:00", left},
        {"double with its digits", ViewsTestTable::Volat, 0.125, point("0.125"), right},
        {"integer", ViewsTestTable::Lot, 3, "3", right},
        {"text", ViewsTestTable::SecName, "Si-6.31", "Si-6.31", left},
        {"null decimal", ViewsTestTable::Price, QVariant(), QVariant(), right},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.column << r.value << r.display << r.alignment;
}

void TestTableModels::cellValues()
{
    QFETCH(int, column);
    QFETCH(QVariant, value);
    QFETCH(QVariant, display);
    QFETCH(int, alignment);

    ViewsTestTable t;
    Record r = t.make(1);
    r.data(column).setValue(value);
    t.table->insertRecord(r);
    TableIndexModel model(t.table);
    model.build();
    QCOMPARE(model.rowCount(), 1);
    const QModelIndex cell = model.index(0, column);
    QCOMPARE(model.data(cell, Qt::DisplayRole), display);
    // The value itself, of its own type, for sorting, matching and editing.
    QCOMPARE(model.data(cell, 256), value);
    QCOMPARE(model.data(cell, 256).userType(), value.userType());
    QCOMPARE(model.data(cell, Qt::EditRole), value);
    QCOMPARE(model.data(cell, Qt::TextAlignmentRole).toInt(), alignment);

    model.setColumnAlignment(column, Qt::AlignCenter);
    QCOMPARE(model.data(cell, Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
}

void TestTableModels::headers()
{
    ViewsTestTable t;
    TableIndexModel model(t.table);
    QCOMPARE(model.columnCount(), int(ViewsTestTable::ColumnCount));
    QCOMPARE(model.headerData(ViewsTestTable::Price, Qt::Horizontal).toString(),
             QStringLiteral("Цена"));
    QCOMPARE(model.headerData(ViewsTestTable::Price, Qt::Horizontal, Qt::ToolTipRole).toString(),
             QStringLiteral("Цена последней сделки"));
    // No title: the name stands in.
    QCOMPARE(model.headerData(ViewsTestTable::Lot, Qt::Horizontal).toString(),
             QStringLiteral("lot_size"));
    QVERIFY(!model.headerData(ViewsTestTable::Lot, Qt::Horizontal, Qt::ToolTipRole).isValid());
    // Views save their layout by column name and start with the table's hidden columns hidden.
    QCOMPARE(model.headerData(ViewsTestTable::Price, Qt::Horizontal, HeaderLayout::ColumnNameRole)
                 .toString(),
             QStringLiteral("price"));
    QCOMPARE(model.headerData(ViewsTestTable::Lot, Qt::Horizontal, HeaderLayout::DefaultHiddenRole)
                 .toBool(),
             true);
    QCOMPARE(model.headerData(4, Qt::Vertical).toInt(), 5);
    QVERIFY(!model.headerData(99, Qt::Horizontal).isValid());

    const int own = model.addColumnDelegate(new ColumnModelDelegate, -1, QStringLiteral("days"),
                                            QStringLiteral("Дней до экспирации"),
                                            QStringLiteral("Количество дней"));
    QCOMPARE(own, int(ViewsTestTable::ColumnCount));
    QCOMPARE(model.headerData(own, Qt::Horizontal).toString(),
             QStringLiteral("Дней до экспирации"));
    QCOMPARE(model.fieldIndex(QStringLiteral("days")), own);
    QCOMPARE(model.fieldIndex(QStringLiteral("nothing")), -1);

    // A delegate over a table column keeps the column's header unless it gives its own.
    const int overPrice = model.addColumnDelegate(new PriceColumnDelegate, ViewsTestTable::Price,
                                                  QStringLiteral("price2"));
    QCOMPARE(model.headerData(overPrice, Qt::Horizontal).toString(), QStringLiteral("Цена"));
    QCOMPARE(model.columnField(overPrice), int(ViewsTestTable::Price));

    // A subset of columns in an order of one's own.
    model.clearColumns();
    QCOMPARE(model.addColumn(QStringLiteral("sec_name")), 0);
    QCOMPARE(model.addColumn(QStringLiteral("price")), 1);
    QCOMPARE(model.addColumn(QStringLiteral("missing")), -1);
    QCOMPARE(model.columnCount(), 2);
}

void TestTableModels::delegates()
{
    ViewsTestTable t;
    Record call = t.make(1);
    call.data(ViewsTestTable::OptionType) = QStringLiteral("C");
    call.data(ViewsTestTable::ExpDate) = datetime(QDate(2031, 9, 16)) + 68400000;
    call.data(ViewsTestTable::Strike) = decimal(QStringLiteral("72.5"));
    call.data(ViewsTestTable::Decimals) = 0;
    Record put = t.make(2);
    put.data(ViewsTestTable::OptionType) = QStringLiteral("P");
    put.data(ViewsTestTable::Strike) = decimal(QStringLiteral("72.5"));
    put.data(ViewsTestTable::Decimals) = 3;
    Record future = t.make(3);
    future.data(ViewsTestTable::Decimals) = -5; // nonsense: the cell's own scale
    future.data(ViewsTestTable::Strike) = decimal(QStringLiteral("1"));
    for (const Record& r : {call, put, future})
        t.table->insertRecord(r);

    TableIndexModel model(t.table);
    model.setColumnDelegate(ViewsTestTable::OptionType, new OptionTypeColumnDelegate);
    model.setColumnDelegate(ViewsTestTable::ExpDate, new DateColumnDelegate);
    model.setColumnDelegate(ViewsTestTable::Strike, new PriceColumnDelegate);
    model.setSort(ViewsTestTable::SecId, Qt::AscendingOrder);
    model.build();

    auto cell = [&](int row, int column, int role) {
        return model.data(model.index(row, column), role);
    };
    QCOMPARE(cell(0, ViewsTestTable::OptionType, Qt::DisplayRole).toString(),
             QStringLiteral("Колл"));
    QCOMPARE(cell(1, ViewsTestTable::OptionType, Qt::DisplayRole).toString(),
             QStringLiteral("Пут"));
    QVERIFY(!cell(2, ViewsTestTable::OptionType, Qt::DisplayRole).isValid());
    QCOMPARE(cell(0, ViewsTestTable::OptionType, Qt::EditRole).toString(), QStringLiteral("C"));
    QCOMPARE(cell(0, ViewsTestTable::OptionType, 256).toString(), QStringLiteral("C"));

    QCOMPARE(cell(0, ViewsTestTable::ExpDate, Qt::DisplayRole).toString(),
             QStringLiteral("16.09.2031"));
    QCOMPARE(cell(0, ViewsTestTable::ExpDate, Qt::EditRole).toDate(), QDate(2031, 9, 16));
    QCOMPARE(cell(0, ViewsTestTable::ExpDate, 256).value<datetime>(),
             datetime(QDate(2031, 9, 16)) + 68400000);
    QVERIFY(!cell(1, ViewsTestTable::ExpDate, Qt::DisplayRole).isValid());

    QCOMPARE(cell(0, ViewsTestTable::Strike, Qt::DisplayRole).toString(), QStringLiteral("73"));
    QCOMPARE(cell(1, ViewsTestTable::Strike, Qt::DisplayRole).toString(),
             point(QStringLiteral("72.500")));
    QCOMPARE(cell(2, ViewsTestTable::Strike, Qt::DisplayRole).toString(),
             point(QStringLiteral("1.00")));
    QCOMPARE(cell(1, ViewsTestTable::Strike, Qt::EditRole).value<decimal>(), decimal(72500, 3));
    QCOMPARE(cell(0, ViewsTestTable::Strike, 256).value<decimal>(), decimal(7250, 2));

    // Taking a delegate off gives the plain field back.
    model.setColumnDelegate(ViewsTestTable::OptionType, nullptr);
    QCOMPARE(cell(0, ViewsTestTable::OptionType, Qt::DisplayRole).toString(), QStringLiteral("C"));
}

void TestTableModels::delegateColumnSorts()
{
    // Dates sort as points in time although they show as dd.MM.yyyy.
    ViewsTestTable t;
    const QList<QDate> dates = {QDate(2031, 1, 2), QDate(2030, 12, 31), QDate(2031, 1, 1)};
    for (int i = 0; i < dates.size(); ++i) {
        Record r = t.make(i + 1);
        r.data(ViewsTestTable::ExpDate) = datetime(dates.at(i));
        t.table->insertRecord(r);
    }
    t.table->insertRecord(t.make(9)); // no date: first
    TableIndexModel model(t.table);
    model.setColumnDelegate(ViewsTestTable::ExpDate, new DateColumnDelegate);
    model.build();
    model.setSort(ViewsTestTable::ExpDate, Qt::AscendingOrder);
    QStringList shown;
    for (int row = 0; row < model.rowCount(); ++row)
        shown << model.index(row, ViewsTestTable::ExpDate).data().toString();
    QCOMPARE(shown, (QStringList{QString(), QStringLiteral("31.12.2030"),
                                 QStringLiteral("01.01.2031"), QStringLiteral("02.01.2031")}));
    model.sort(ViewsTestTable::ExpDate, Qt::DescendingOrder);
    QCOMPARE(model.index(0, ViewsTestTable::ExpDate).data().toString(),
             QStringLiteral("02.01.2031"));
}

void TestTableModels::sortedMatchEqualsLinear_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("order");
    QTest::newRow("price ascending") << int(ViewsTestTable::Price) << int(Qt::AscendingOrder);
    QTest::newRow("price descending") << int(ViewsTestTable::Price) << int(Qt::DescendingOrder);
    QTest::newRow("name ascending") << int(ViewsTestTable::SecName) << int(Qt::AscendingOrder);
    QTest::newRow("name descending") << int(ViewsTestTable::SecName) << int(Qt::DescendingOrder);
}

namespace {

// Counts the cells read, to tell a search by halves from a walk.
class CountingMatchModel : public MatchModel<TableIndexModel>
{
public:
    using MatchModel<TableIndexModel>::MatchModel;
    QVariant data(const QModelIndex& index, int role) const override
    {
        ++reads;
        return MatchModel<TableIndexModel>::data(index, role);
    }
    mutable int reads = 0;
};

} // namespace

void TestTableModels::sortedMatchEqualsLinear()
{
    QFETCH(int, column);
    QFETCH(int, order);

    ViewsTestTable t;
    RandomFeed feed(t, 5);
    feed.fill(150);
    CountingMatchModel model(t.table);
    model.setSort(column, Qt::SortOrder(order));
    model.build();
    const bool text = column == ViewsTestTable::SecName;

    QList<QVariant> values;
    if (text) {
        for (const char* v : {"N0", "N05", "N1", "N11", "N", "n0", "N99", "", "Z"})
            values << QString::fromLatin1(v);
    } else {
        for (int p : {0, 100, 1500, 2900, 50, 99999})
            values << QVariant::fromValue(decimal(p, 4));
        values << QVariant() << QVariant(1500) << QVariant::fromValue(decimal(15, 2));
    }
    QList<int> types = {int(Qt::MatchExactly)};
    if (text)
        types << int(Qt::MatchStartsWith) << int(Qt::MatchFixedString);

    std::mt19937 rng(11);
    int searches = 0;
    for (const QVariant& value : qAsConst(values)) {
        for (int type : qAsConst(types)) {
            for (int caseFlag : {0, int(Qt::MatchCaseSensitive)}) {
                for (int wrap : {0, int(Qt::MatchWrap)}) {
                    for (int hits : {1, 2, -1}) {
                        const int start = int(rng() % unsigned(model.rowCount()));
                        const Qt::MatchFlags flags(type | caseFlag | wrap);
                        const QModelIndex from = model.index(start, column);
                        model.reads = 0;
                        const QModelIndexList fast = model.match(from, 256, value, hits, flags);
                        const int reads = model.reads;
                        const QModelIndexList slow =
                            model.QAbstractItemModel::match(from, 256, value, hits, flags);
                        QVERIFY2(fast == slow,
                                 qPrintable(QStringLiteral("%1 type %2 flags %3 hits %4 start %5")
                                                .arg(value.toString())
                                                .arg(type)
                                                .arg(int(flags))
                                                .arg(hits)
                                                .arg(start)));
                        // A search by halves for the first hit reads few cells.
                        const bool sortedPath = type == Qt::MatchExactly || caseFlag != 0;
                        if (sortedPath && hits == 1 && !wrap) {
                            QVERIFY2(reads < 20, qPrintable(QString::number(reads)));
                            ++searches;
                        }
                    }
                }
            }
        }
    }
    QVERIFY(searches > 0);

    // Another column, another role: the walk, with the same answer.
    const int other = column == ViewsTestTable::Price ? ViewsTestTable::Lot : ViewsTestTable::Price;
    const QModelIndex start = model.index(0, other);
    QCOMPARE(model.match(start, 256, QVariant(2), -1, Qt::MatchExactly),
             model.QAbstractItemModel::match(start, 256, QVariant(2), -1, Qt::MatchExactly));
    QCOMPARE(model.match(model.index(3, column), Qt::DisplayRole, QStringLiteral("N0"), -1,
                         Qt::MatchStartsWith),
             model.QAbstractItemModel::match(model.index(3, column), Qt::DisplayRole,
                                             QStringLiteral("N0"), -1, Qt::MatchStartsWith));
}

void TestTableModels::setSortKeepsPersistentIndexes()
{
    ViewsTestTable t;
    RandomFeed feed(t, 17);
    feed.fill(30);
    TableIndexModel model(t.table);
    watch(&model);
    model.build();
    std::vector<std::pair<QPersistentModelIndex, Record>> followed;
    for (int row = 0; row < 30; row += 4)
        followed.emplace_back(QPersistentModelIndex(model.index(row, 2)), model.at(row));
    for (int column : {int(ViewsTestTable::Price), int(ViewsTestTable::SecName), -1}) {
        for (Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            model.setSort(column, order);
            QVERIFY(modelRows(model) == expectedRows(t, everyRow, sortedBy(column, order)));
            for (const auto& f : followed) {
                QCOMPARE(model.recordByIndex(f.first), f.second);
                QCOMPARE(f.first.column(), 2);
            }
        }
    }
}

void TestTableModels::columnFilterAndRebuild()
{
    ViewsTestTable t;
    RandomFeed feed(t, 23);
    feed.fill(60);
    TableIndexModel model(t.table);
    watch(&model);
    model.build();
    QCOMPARE(model.rowCount(), 60);
    model.setColumnFilter(ViewsTestTable::BaseCode, FieldConstValue(QStringLiteral("RI")));
    model.setColumnFilter(ViewsTestTable::BoardId, FieldConstValue(14));
    model.rebuild();
    const auto passes = [](const Record& r) {
        return r.data(ViewsTestTable::BaseCode).toString() == QLatin1String("RI") &&
               r.data(ViewsTestTable::BoardId).toInteger() == 14;
    };
    QVERIFY(modelRows(model) == expectedRows(t, passes, noOrder));
    QVERIFY(model.rowCount() > 0 && model.rowCount() < 60);

    // Rows follow the filter under changes.
    for (int i = 0; i < 20; ++i)
        feed.step();
    QVERIFY(modelRows(model) == expectedRows(t, passes, noOrder));

    model.removeColumnFilter(ViewsTestTable::BaseCode);
    model.rebuild();
    QVERIFY(modelRows(model) ==
            expectedRows(
                t,
                [](const Record& r) { return r.data(ViewsTestTable::BoardId).toInteger() == 14; },
                noOrder));
    model.clearColumnFilters();
    model.rebuild();
    QCOMPARE(model.rowCount(), t.table->rowCount());
}

namespace {

using DependModel = IndexDepend<TableIndexModel>;

// Follows the table only through its source: the options of the source, grouped by strike.
class DependentStrikes : public TreeIndexFastModel
{
public:
    DependentStrikes(DependModel* source)
        : TreeIndexFastModel(source->table()), m_source(source),
          m_groupment(source->table(), ViewsTestTable::Strike)
    {
        source->table()->removeIndex(this);
        source->addDependentIndex(this);
        setGroupmentList({&m_groupment});
    }
    ~DependentStrikes() override { m_source->removeDependentIndex(this); }
    bool filter(const Record& r) const override
    {
        return m_source->filter(r) && r.data(ViewsTestTable::Sectype).toChar() == QLatin1Char('O');
    }

private:
    DependModel* m_source;
    GroupmentRecordColumns m_groupment;
};

class Board14Model : public DependModel
{
public:
    using DependModel::DependModel;
    bool filter(const Record& r) const override
    {
        return r.data(ViewsTestTable::BoardId).toInteger() == 14;
    }
};

} // namespace

void TestTableModels::dependentModelFollowsSource()
{
    ViewsTestTable t;
    RandomFeed feed(t, 31);
    feed.fill(40);
    Board14Model source(t.table);
    source.setSort(ViewsTestTable::Price, Qt::AscendingOrder);
    QCOMPARE(source.getClassName(), QStringLiteral("IndexDepend::TableIndexModel"));
    source.build();
    DependentStrikes strikes(&source);
    watch(&source);
    watch(&strikes);
    strikes.build();
    for (int step = 0; step < 40; ++step) {
        const QString what = feed.step();
        QVERIFY2(modelRows(source) == expectedRows(
                                          t, [&](const Record& r) { return source.filter(r); },
                                          sortedBy(ViewsTestTable::Price)),
                 qPrintable(what));
        // The distinct strikes of the options of board 14, in ascending order.
        std::set<qint64> strikesExpected;
        int nulls = 0;
        for (const Record& r : t.rows()) {
            if (!strikes.filter(r))
                continue;
            const Field s = r.data(ViewsTestTable::Strike);
            if (s.isNull())
                nulls = 1;
            else
                strikesExpected.insert(s.toDecimal().value());
        }
        QCOMPARE(strikes.rowCount(), int(strikesExpected.size()) + nulls);
        int row = nulls;
        for (qint64 mantissa : strikesExpected) {
            QCOMPARE(strikes.index(row, 0).data(256).value<decimal>(), decimal(mantissa, 2));
            ++row;
        }
    }
}

namespace {

// Orders rows by a rank kept outside the table, which changes without the table knowing.
class RankDelegate : public ColumnModelDelegate
{
public:
    bool data(const Field&, const Record& r, int role, QVariant& result) const override
    {
        if (role != Qt::UserRole && role != Qt::DisplayRole)
            return false;
        result = ranks.value(r.data(ViewsTestTable::SecId).toInteger64());
        return true;
    }
    QHash<qint64, int> ranks;
};

} // namespace

void TestTableModels::orderFromOutsideTheTable()
{
    ViewsTestTable t;
    auto* rank = new RankDelegate;
    for (int i = 1; i <= 40; ++i) {
        t.insert(i, QString::number(i));
        rank->ranks.insert(i, i);
    }
    TableIndexModel model(t.table);
    watch(&model);
    const int column = model.addColumnDelegate(rank, -1, QStringLiteral("rank"));
    model.setSort(column, Qt::AscendingOrder);
    model.build();

    // The ranks turn round unannounced; then prices change, through a transaction and in
    // place. Every row stays exactly once.
    for (int i = 1; i <= 40; ++i)
        rank->ranks[i] = 41 - i;
    for (bool inPlace : {false, true}) {
        TableUpdater bracket(t.table);
        RecordsTrans trans(t.table);
        for (const Record& r : t.rows()) {
            if (r.data(ViewsTestTable::SecId).toInteger64() % 3 != 0)
                continue;
            if (inPlace) {
                Record row = r;
                row.data(ViewsTestTable::Price) = decimal(7, 0);
                t.table->updated(row, ViewsTestTable::Price, ViewsTestTable::Price);
            } else {
                RecordUpdater(r, trans).data(ViewsTestTable::Price) = decimal(5, 0);
            }
        }
    }
    std::vector<Record> shown = modelRows(model);
    QCOMPARE(int(shown.size()), 40);
    std::sort(shown.begin(), shown.end());
    QVERIFY(std::unique(shown.begin(), shown.end()) == shown.end());

    // The owner tells the model that the order changed.
    model.resort();
    for (int row = 0; row < 40; ++row)
        QCOMPARE(model.at(row).data(ViewsTestTable::SecId).toInteger64(), qint64(40 - row));
}

void TestTableModels::modelOutlivesTable()
{
    auto t = std::make_unique<ViewsTestTable>();
    RandomFeed feed(*t, 3);
    feed.fill(20);
    TableIndexModel model(t->table);
    model.setSort(ViewsTestTable::Price, Qt::AscendingOrder);
    watch(&model);
    model.build();
    QPersistentModelIndex kept(model.index(5, 3));
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    t.reset();
    QCOMPARE(resets.count(), 1);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(!kept.isValid());
    QVERIFY(model.table() == nullptr);
    // The headers stay; nothing else can be read or built.
    QCOMPARE(model.headerData(ViewsTestTable::Price, Qt::Horizontal).toString(),
             QStringLiteral("Цена"));
    model.build();
    model.rebuild();
    model.resort();
    model.setSort(ViewsTestTable::SecName, Qt::DescendingOrder);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(model.at(0).isNull());
}

void TestTableModels::badInput()
{
    ViewsTestTable t;
    ViewsTestTable other;
    t.insert(1, QStringLiteral("5"));
    TableIndexModel model(t.table);
    model.build();
    // A record of another table, a null record, rows and columns that do not exist.
    model.add(other.make(7));
    model.add(Record());
    model.remove(other.make(7), 0);
    model.update(Record(), 0, 3, -1);
    QCOMPARE(model.rowCount(), 1);
    QVERIFY(!model.index(1, 0).isValid());
    QVERIFY(!model.index(0, 99).isValid());
    QVERIFY(!model.index(-1, 0).isValid());
    QVERIFY(model.recordByIndex(QModelIndex()).isNull());
    QVERIFY(model.at(-3).isNull());
    QVERIFY(!model.data(model.index(0, 0), Qt::DecorationRole).isValid());
    model.setColumnAlignment(99, Qt::AlignLeft);
    model.setColumnDelegate(-1, new DateColumnDelegate(&model));
    model.setSort(99, Qt::AscendingOrder);
    QCOMPARE(model.sortColumn(), -1);
    QCOMPARE(model.indexOf(other.make(7)), -1);
    QVERIFY(!model.contains(t.make(1)));
    QVERIFY(model.contains(t.rows().first()));

    TableIndexModel noTable(nullptr);
    noTable.build();
    QCOMPARE(noTable.rowCount(), 0);
    QCOMPARE(noTable.columnCount(), 0);
}

QTEST_GUILESS_MAIN(TestTableModels)
#include "tst_tablemodels.moc"
