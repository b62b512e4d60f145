#include "viewstesttable.h"

#include "basic_views/datecolumndelegate.h"
#include "basic_views/groupmentrecordcolumns.h"
#include "basic_views/groupmentstrike.h"
#include "basic_views/headerlayout.h"
#include "basic_views/matchmodel.h"
#include "basic_views/optiontypecolumndelegate.h"
#include "basic_views/pricecolumndelegate.h"
#include "basic_views/tableindexmodel.h"
#include "basic_views/treeindexfastmodel.h"
#include "basic_views/treeindexmodel.h"
#include "contact/variantcompare.h"

#include "database/field.h"
#include "database/indexdepend.h"

#include <QSignalSpy>
#include <QTest>

#include <array>
#include <memory>
#include <set>

namespace {

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
        if (const int c = byField(ViewsTestTable::BaseCode, a, b))
            return c;
        return byField(ViewsTestTable::Strike, a, b);
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
        if (role != Qt::DisplayRole && role != Qt::UserRole)
            return false;
        result = value(r);
        if (role == Qt::DisplayRole && result.isValid())
            result = result.value<decimal>().toString();
        return true;
    }
};

const Filter everyRow = [](const Record&) { return true; };

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

} // namespace

class TestTableModels : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void randomBatches_data();
    void randomBatches();
    void manyRowsMoveAtOnce();
    void cellValues_data();
    void cellValues();
    void headers();
    void delegateColumnSorts();
    void sortedMatchEqualsLinear_data();
    void sortedMatchEqualsLinear();
    void setSortKeepsPersistentIndexes();
    void columnFilterAndRebuild();
    void dependentModelFollowsSource();
    void orderFromOutsideTheTable();
    void modelOutlivesTable_data();
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
    QTest::newRow("two columns shown") << "narrow" << 2;
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
    Compare compare = sortedBy(-1);
    const auto sortBy = [&](int column, Qt::SortOrder order) {
        model->setSort(column, order);
        compare = sortedBy(column, order);
    };
    if (kind == QLatin1String("filtered")) {
        auto* filtered = new FilteredModel(t.table);
        model.reset(filtered);
        sortBy(ViewsTestTable::Price, Qt::DescendingOrder);
        filter = [filtered](const Record& r) { return filtered->filter(r); };
    } else if (kind == QLatin1String("own")) {
        auto* own = new OwnOrderModel(t.table);
        model.reset(own);
        compare = [own](const Record& a, const Record& b) { return own->compare(a, b); };
    } else {
        model.reset(new TableIndexModel(t.table));
        if (kind == QLatin1String("price")) {
            sortBy(ViewsTestTable::Price, Qt::AscendingOrder);
        } else if (kind == QLatin1String("name")) {
            sortBy(ViewsTestTable::SecName, Qt::AscendingOrder);
        } else if (kind == QLatin1String("narrow")) {
            model->clearColumns();
            model->addColumn(QStringLiteral("sec_name"));
            model->addColumn(QStringLiteral("price"));
        } else if (kind == QLatin1String("optiontype")) {
            model->setColumnDelegate(ViewsTestTable::OptionType, new OptionTypeColumnDelegate);
            sortBy(ViewsTestTable::OptionType, Qt::DescendingOrder);
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
    QSignalSpy removed(model.get(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy inserted(model.get(), &QAbstractItemModel::rowsInserted);
    QSignalSpy resets(model.get(), &QAbstractItemModel::modelReset);
    std::vector<std::array<int, 4>> changed; // top, bottom, left, right
    connect(model.get(), &QAbstractItemModel::dataChanged,
            [&changed](const QModelIndex& tl, const QModelIndex& br) {
                changed.push_back({tl.row(), br.row(), tl.column(), br.column()});
            });

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
        changed.clear();
        for (QSignalSpy* spy : {&removed, &inserted, &resets})
            spy->clear();
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
        if (resets.isEmpty()) {
            QCOMPARE(removed.count(), int(runsOf(gone).size()));
            QCOMPARE(inserted.count(), int(runsOf(come).size()));
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
        // A change of columns that the model does not show is no change of the model.
        if (left < 0)
            changedRows.clear();
        const auto blocks = runsOf(changedRows);
        QVERIFY2(changed.size() == blocks.size(),
                 qPrintable(what + QStringLiteral(": %1 dataChanged for %2 blocks")
                                       .arg(changed.size())
                                       .arg(blocks.size())));
        std::sort(changed.begin(), changed.end());
        for (size_t i = 0; i < blocks.size(); ++i) {
            QCOMPARE(changed[i][0], blocks[i].first);
            QCOMPARE(changed[i][1], blocks[i].second);
            QCOMPARE(changed[i][2], left);
            QCOMPARE(changed[i][3], right);
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

void TestTableModels::cellValues_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("delegate");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("display");
    QTest::addColumn<QVariant>("edit");
    QTest::addColumn<int>("alignment");

    const int right = int(Qt::AlignRight | Qt::AlignVCenter);
    const int left = int(Qt::AlignLeft | Qt::AlignVCenter);
    auto dec = [](const char* text) { return QVariant::fromValue(decimal(QLatin1String(text))); };
    const datetime day(QDate(2031, 6, 15));
    const QVariant evening = QVariant::fromValue(datetime(QDate(2031, 9, 16)) + 68400000);
    struct Row
    {
        const char* name;
        int column;
        QVariant value, display;
        int alignment;
        int delegate = 0;
        int decimals = 2;
        QVariant edit = QVariant(); // the value itself unless given
    };
    // Without a delegate, then with the option type (1), date (2) and price (3) delegates.
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
        {"call", ViewsTestTable::OptionType, "C", "Колл", left, 1},
        {"put", ViewsTestTable::OptionType, "P", "Пут", left, 1},
        {"no option type", ViewsTestTable::OptionType, QVariant(), QVariant(), left, 1},
        {"day without its time", ViewsTestTable::ExpDate, evening, "16.09.2031", left, 2, 2,
         QDate(2031, 9, 16)},
        {"no day", ViewsTestTable::ExpDate, QVariant(), QVariant(), left, 2},
        {"price rounded to the row's decimals", ViewsTestTable::Strike, dec("72.5"), "73", right, 3,
         0, dec("73")},
        {"price widened to the row's decimals", ViewsTestTable::Strike, dec("72.5"),
         point("72.500"), right, 3, 3},
        {"nonsense decimals: the cell's own", ViewsTestTable::Strike, dec("1"), point("1.00"),
         right, 3, -5},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.column << r.delegate << r.decimals << r.value << r.display
                              << (r.edit.isValid() ? r.edit : r.value) << r.alignment;
}

void TestTableModels::cellValues()
{
    QFETCH(int, column);
    QFETCH(int, delegate);
    QFETCH(int, decimals);
    QFETCH(QVariant, value);
    QFETCH(QVariant, display);
    QFETCH(QVariant, edit);
    QFETCH(int, alignment);

    ViewsTestTable t;
    Record r = t.make(1);
    r.data(column).setValue(value);
    r.data(ViewsTestTable::Decimals) = decimals;
    t.table->insertRecord(r);
    TableIndexModel model(t.table);
    if (delegate == 1)
        model.setColumnDelegate(column, new OptionTypeColumnDelegate);
    else if (delegate == 2)
        model.setColumnDelegate(column, new DateColumnDelegate);
    else if (delegate == 3)
        model.setColumnDelegate(column, new PriceColumnDelegate);
    model.build();
    QCOMPARE(model.rowCount(), 1);
    const QModelIndex cell = model.index(0, column);
    QCOMPARE(model.data(cell, Qt::DisplayRole), display);
    QCOMPARE(model.data(cell, Qt::EditRole), edit);
    // The value itself, of its own type, for sorting and matching.
    QCOMPARE(model.data(cell, 256), value);
    QCOMPARE(model.data(cell, 256).userType(), value.userType());
    QCOMPARE(model.data(cell, Qt::TextAlignmentRole).toInt(), alignment);

    // Taking a delegate off gives the plain field back.
    if (delegate) {
        TableIndexModel plain(t.table);
        plain.build();
        model.setColumnDelegate(column, nullptr);
        QCOMPARE(model.data(cell), plain.data(plain.index(0, column)));
    }
}

void TestTableModels::headers()
{
    ViewsTestTable t;
    TableIndexModel model(t.table);
    const auto header = [&model](int section, int role = Qt::DisplayRole) {
        return model.headerData(section, Qt::Horizontal, role);
    };
    QCOMPARE(model.columnCount(), int(ViewsTestTable::ColumnCount));
    QCOMPARE(header(ViewsTestTable::Price).toString(), QStringLiteral("Цена"));
    QCOMPARE(header(ViewsTestTable::Price, Qt::ToolTipRole).toString(),
             QStringLiteral("Цена последней сделки"));
    // No title: the name stands in.
    QCOMPARE(header(ViewsTestTable::Lot).toString(), QStringLiteral("lot_size"));
    QVERIFY(!header(ViewsTestTable::Lot, Qt::ToolTipRole).isValid());
    // Views save their layout by column name and start with the table's hidden columns hidden.
    QCOMPARE(header(ViewsTestTable::Price, HeaderLayout::ColumnNameRole).toString(),
             QStringLiteral("price"));
    QVERIFY(header(ViewsTestTable::Lot, HeaderLayout::DefaultHiddenRole).toBool());
    QVERIFY(!header(ViewsTestTable::Price, HeaderLayout::DefaultHiddenRole).toBool());
    QCOMPARE(model.headerData(4, Qt::Vertical).toInt(), 5);
    QVERIFY(!header(99).isValid());

    const int own = model.addColumnDelegate(new ColumnModelDelegate, -1, QStringLiteral("days"),
                                            QStringLiteral("Дней до экспирации"),
                                            QStringLiteral("Количество дней"));
    QCOMPARE(header(own).toString(), QStringLiteral("Дней до экспирации"));
    QCOMPARE(model.fieldIndex(QStringLiteral("days")), own);
    QCOMPARE(model.fieldIndex(QStringLiteral("nothing")), -1);

    // A delegate over a table column keeps the column's header unless it gives its own.
    const int overPrice = model.addColumnDelegate(new PriceColumnDelegate, ViewsTestTable::Price,
                                                  QStringLiteral("price2"));
    QCOMPARE(header(overPrice).toString(), QStringLiteral("Цена"));
    QCOMPARE(model.columnField(overPrice), int(ViewsTestTable::Price));

    // A subset of columns in an order of one's own.
    model.clearColumns();
    QCOMPARE(model.addColumn(QStringLiteral("sec_name")), 0);
    QCOMPARE(model.addColumn(QStringLiteral("price")), 1);
    QCOMPARE(model.addColumn(QStringLiteral("missing")), -1);
    QCOMPARE(header(1).toString(), QStringLiteral("Цена"));
    QCOMPARE(model.columnCount(), 2);
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

void TestTableModels::sortedMatchEqualsLinear()
{
    QFETCH(int, column);
    QFETCH(int, order);

    ViewsTestTable t;
    RandomFeed feed(t, 5);
    feed.fill(150);
    CountingReads<MatchModel<TableIndexModel>> model(t.table);
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
    const int wrap = Qt::MatchWrap, caseSensitive = Qt::MatchCaseSensitive;
    for (const QVariant& value : qAsConst(values)) {
        for (int type : qAsConst(types)) {
            for (int more : {0, wrap, caseSensitive, caseSensitive | wrap}) {
                for (int hits : {1, 2, -1}) {
                    const int start = int(rng() % unsigned(model.rowCount()));
                    const Qt::MatchFlags flags(type | more);
                    const QModelIndex from = model.index(start, column);
                    model.reads = 0;
                    const QModelIndexList fast = model.match(from, 256, value, hits, flags);
                    const int reads = model.reads;
                    QVERIFY2(
                        fast == model.QAbstractItemModel::match(from, 256, value, hits, flags),
                        qPrintable(value.toString() + QString::asprintf(" flags %d hits %d from %d",
                                                                        int(flags), hits, start)));
                    // A search by halves for the first hit reads few cells.
                    const bool sortedPath = type == Qt::MatchExactly || (more & caseSensitive);
                    if (sortedPath && hits == 1 && !(more & wrap)) {
                        QVERIFY2(reads < 20, qPrintable(QString::number(reads)));
                        ++searches;
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
    QVERIFY(modelRows(model) == expectedRows(t, passes, sortedBy(-1)));
    QVERIFY(model.rowCount() > 0 && model.rowCount() < 60);

    // Rows follow the filter under changes.
    for (int i = 0; i < 20; ++i)
        feed.step();
    QVERIFY(modelRows(model) == expectedRows(t, passes, sortedBy(-1)));

    model.removeColumnFilter(ViewsTestTable::BaseCode);
    model.rebuild();
    QVERIFY(modelRows(model) ==
            expectedRows(
                t,
                [](const Record& r) { return r.data(ViewsTestTable::BoardId).toInteger() == 14; },
                sortedBy(-1)));
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

void TestTableModels::modelOutlivesTable_data()
{
    QTest::addColumn<bool>("tree");
    QTest::newRow("table") << false;
    QTest::newRow("tree of strikes") << true;
}

void TestTableModels::modelOutlivesTable()
{
    QFETCH(bool, tree);
    auto t = std::make_unique<ViewsTestTable>();
    RandomFeed feed(*t, 3);
    feed.fill(20);
    GroupmentStrike byStrike(t->table);
    std::unique_ptr<FilterIndexModel> model;
    if (tree) {
        auto* grouped = new TreeIndexModel(t->table);
        grouped->setGroupmentList({&byStrike});
        model.reset(grouped);
    } else {
        model.reset(new TableIndexModel(t->table));
    }
    model->setSort(ViewsTestTable::Price, Qt::AscendingOrder);
    watch(model.get());
    model->build();
    QPersistentModelIndex kept(tree ? model->index(0, 0, model->index(0, 0)) : model->index(5, 3));
    QVERIFY(kept.isValid());
    QSignalSpy resets(model.get(), &QAbstractItemModel::modelReset);
    t.reset();
    QCOMPARE(resets.count(), 1);
    QCOMPARE(model->rowCount(), 0);
    QVERIFY(!kept.isValid());
    QVERIFY(model->table() == nullptr);
    // The headers stay; nothing else can be read or built.
    QCOMPARE(model->headerData(ViewsTestTable::Price, Qt::Horizontal).toString(),
             QStringLiteral("Цена"));
    model->build();
    model->rebuild();
    model->resort();
    model->setSort(ViewsTestTable::SecName, Qt::DescendingOrder);
    QCOMPARE(model->rowCount(), 0);
    if (tree)
        static_cast<TreeIndexModel*>(model.get())->setGroupmentList({});
    else
        QVERIFY(static_cast<TableIndexModel*>(model.get())->at(0).isNull());
    QCOMPARE(model->rowCount(), 0);
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
