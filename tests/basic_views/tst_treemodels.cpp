#include "viewstesttable.h"

#include "basic_views/basecodeselectormodel.h"
#include "basic_views/groupmentexpdate.h"
#include "basic_views/groupmentrecordcolumns.h"
#include "basic_views/groupmentstrike.h"
#include "basic_views/pricecolumndelegate.h"
#include "basic_views/treeindexfastmodel.h"
#include "basic_views/treematchmodel.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/field.h"

#include <QSignalSpy>
#include <QTest>

#include <map>
#include <memory>

namespace {

// The options only: a filter that updates of "sectype" can change.
template <class Base> class OptionsOnly : public Base
{
public:
    using Base::Base;
    bool filter(const Record& r) const override
    {
        return r.data(ViewsTestTable::Sectype).toChar() == QLatin1Char('O');
    }
};

// How a tree is expected to look: the groups in order, each with its records in order.
struct Reference
{
    std::function<bool(const Record&)> filter = [](const Record&) { return true; };
    // The key a record is grouped by; null for a flat tree.
    std::function<QString(const Record&)> key;
    // The order of two groups, by a record of each.
    Compare groupOrder;
    Compare recordOrder = sortedBy(-1);
    bool descending = false;

    std::vector<std::vector<Record>> groups(const ViewsTestTable& t) const
    {
        std::map<QString, std::vector<Record>> byKey;
        for (const Record& r : t.table->masterIndex()->records())
            if (filter(r))
                byKey[key ? key(r) : QString()].push_back(r);
        std::vector<std::vector<Record>> out;
        for (auto& entry : byKey) {
            std::sort(entry.second.begin(), entry.second.end(),
                      [&](const Record& a, const Record& b) {
                          const int c = recordOrder(a, b);
                          return c != 0 ? c < 0 : a.rowBlock() < b.rowBlock();
                      });
            out.push_back(entry.second);
        }
        if (key)
            std::sort(out.begin(), out.end(), [&](const auto& a, const auto& b) {
                const int c = groupOrder(a.front(), b.front());
                return descending ? c > 0 : c < 0;
            });
        return out;
    }
};

// Compares a tree with what the reference expects; an empty text when they agree.
QString differences(const TreeIndexModel& model, const Reference& ref, const ViewsTestTable& t,
                    bool showsRecords)
{
    const auto expected = ref.groups(t);
    if (!ref.key) {
        std::vector<Record> rows;
        for (int i = 0; i < model.rowCount(); ++i)
            rows.push_back(model.recordByIndex(model.index(i, 0)));
        const std::vector<Record> want =
            expected.empty() ? std::vector<Record>() : expected.front();
        return rows == want ? QString()
                            : QStringLiteral("rows %1, expected %2").arg(keys(rows), keys(want));
    }
    if (model.rowCount() != int(expected.size()))
        return QStringLiteral("%1 groups, expected %2").arg(model.rowCount()).arg(expected.size());
    for (int g = 0; g < model.rowCount(); ++g) {
        const QModelIndex groupIndex = model.index(g, 0);
        const GroupmentTreeItem* group = model.groupByIndex(groupIndex);
        if (!group)
            return QStringLiteral("row %1 is no group").arg(g);
        // A group's row shows its name and stands for its first record.
        const std::vector<Record> held(group->records().begin(), group->records().end());
        if (held != expected[size_t(g)] || model.data(groupIndex).toString() != group->name() ||
            model.recordByIndex(groupIndex) != held.front())
            return QStringLiteral("group %1 %2 holds %3, expected %4")
                .arg(g)
                .arg(model.data(groupIndex).toString(), keys(held), keys(expected[size_t(g)]));
        const int children = model.rowCount(groupIndex);
        if (!showsRecords) {
            if (children != 0)
                return QStringLiteral("group %1 has rows").arg(g);
            continue;
        }
        std::vector<Record> rows;
        for (int i = 0; i < children; ++i) {
            const QModelIndex child = model.index(i, 0, groupIndex);
            if (child.parent() != groupIndex)
                return QStringLiteral("group %1 row %2: parent").arg(g).arg(i);
            rows.push_back(model.recordByIndex(child));
        }
        if (rows != held)
            return QStringLiteral("group %1 shows %2").arg(g).arg(keys(rows));
    }
    return QString();
}

} // namespace

class TestTreeModels : public QObject
{
    Q_OBJECT
private slots:
    void randomBatches_data();
    void randomBatches();
    void groupNamesAndValues();
    void setGroupmentListRegroups();
    void sortedMatchOnGroups_data();
    void sortedMatchOnGroups();
    void sortedMatchUnderGroup();
    void baseCodeSelector();
    void baseCodeSelectorFindsTableByName();
};

void TestTreeModels::randomBatches_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("flat, by price") << "flat";
    QTest::newRow("strike groups") << "strike";
    QTest::newRow("strike groups, descending") << "strike desc";
    QTest::newRow("expiry groups of options, fast") << "expdate";
    QTest::newRow("base code groups, by price") << "base";
    QTest::newRow("two columns, fast") << "two";
}

void TestTreeModels::randomBatches()
{
    QFETCH(QString, kind);

    ViewsTestTable t;
    RandomFeed feed(t, 4242u + quint32(qHash(kind)));
    feed.fill(40);

    std::unique_ptr<TreeIndexModel> model;
    std::unique_ptr<Groupment> groupment;
    Reference ref;
    bool showsRecords = true;
    if (kind == QLatin1String("flat")) {
        model.reset(new TreeIndexModel(t.table));
        model->setSort(ViewsTestTable::Price, Qt::AscendingOrder);
        ref.recordOrder = sortedBy(ViewsTestTable::Price);
    } else if (kind.startsWith(QLatin1String("strike"))) {
        model.reset(new TreeIndexModel(t.table));
        groupment.reset(new GroupmentStrike(t.table));
        ref.descending = kind.endsWith(QLatin1String("desc"));
        const Qt::SortOrder order = ref.descending ? Qt::DescendingOrder : Qt::AscendingOrder;
        model->setSort(ViewsTestTable::SecName, order);
        ref.key = [](const Record& r) {
            const Field s = r.data(ViewsTestTable::Strike);
            return s.isNull() ? QStringLiteral("null") : QString::number(s.toDecimal().value());
        };
        ref.groupOrder = sortedBy(ViewsTestTable::Strike);
        ref.recordOrder = sortedBy(ViewsTestTable::SecName, order);
    } else if (kind == QLatin1String("expdate")) {
        model.reset(new OptionsOnly<TreeIndexFastModel>(t.table));
        groupment.reset(new GroupmentExpDate(t.table));
        showsRecords = false;
        ref.filter = [](const Record& r) {
            return r.data(ViewsTestTable::Sectype).toChar() == QLatin1Char('O');
        };
        ref.key = [](const Record& r) {
            const Field d = r.data(ViewsTestTable::ExpDate);
            return d.isNull() ? QStringLiteral("null") : d.toQDate().toString(Qt::ISODate);
        };
        // Groups of different days: their first records' times are in the days' order.
        ref.groupOrder = sortedBy(ViewsTestTable::ExpDate);
    } else if (kind == QLatin1String("base")) {
        model.reset(new TreeIndexModel(t.table));
        groupment.reset(new GroupmentRecordColumns(t.table, ViewsTestTable::BaseCode));
        model->setSort(ViewsTestTable::Price, Qt::AscendingOrder);
        ref.key = [](const Record& r) { return r.data(ViewsTestTable::BaseCode).toString(); };
        ref.groupOrder = sortedBy(ViewsTestTable::BaseCode);
        ref.recordOrder = sortedBy(ViewsTestTable::Price);
    } else {
        model.reset(new TreeIndexFastModel(t.table));
        groupment.reset(new GroupmentRecordColumns(
            t.table, QStringList{QStringLiteral("base_code"), QStringLiteral("option_type")}));
        showsRecords = false;
        ref.key = [](const Record& r) {
            const Field o = r.data(ViewsTestTable::OptionType);
            return r.data(ViewsTestTable::BaseCode).toString() + QLatin1Char('|') +
                   (o.isNull() ? QStringLiteral("null") : o.toString());
        };
        ref.groupOrder = [](const Record& a, const Record& b) {
            if (const int c = byField(ViewsTestTable::BaseCode, a, b))
                return c;
            return byField(ViewsTestTable::OptionType, a, b);
        };
    }
    if (groupment)
        model->setGroupmentList({groupment.get()});
    watch(model.get());
    model->build();
    QString diff = differences(*model, ref, t, showsRecords);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));

    struct Change
    {
        QModelIndex parent;
        int top, bottom;
    };
    std::vector<Change> changes;
    connect(model.get(), &QAbstractItemModel::dataChanged,
            [&](const QModelIndex& tl, const QModelIndex& br) {
                changes.push_back({tl.parent(), tl.row(), br.row()});
            });

    for (int step = 0; step < 80; ++step) {
        // Record rows followed through the batch.
        std::vector<std::pair<QPersistentModelIndex, Record>> followed;
        if (showsRecords)
            for (int g = 0; g < model->rowCount(); g += 2) {
                const QModelIndex parent = ref.key ? model->index(g, 0) : QModelIndex();
                const QModelIndex row = ref.key ? model->index(0, 1, parent) : model->index(g, 1);
                followed.emplace_back(QPersistentModelIndex(row), model->recordByIndex(row));
            }
        changes.clear();
        const QString what = QStringLiteral("step %1 (%2): ").arg(step).arg(feed.step());
        diff = differences(*model, ref, t, showsRecords);
        QVERIFY2(diff.isEmpty(), qPrintable(what + diff));

        for (const auto& f : followed) {
            // A record that changed its place comes back as a new row; one that stayed keeps
            // its index.
            if (f.first.isValid())
                QCOMPARE(model->recordByIndex(f.first), f.second);
            if (!model->contains(f.second))
                QVERIFY2(!f.first.isValid(), qPrintable(what));
        }
        // Blocks of changed rows are whole: none touches or overlaps another.
        for (size_t i = 0; i < changes.size(); ++i)
            for (size_t j = i + 1; j < changes.size(); ++j)
                if (changes[i].parent == changes[j].parent)
                    QVERIFY2(changes[i].bottom + 1 < changes[j].top ||
                                 changes[j].bottom + 1 < changes[i].top,
                             qPrintable(what + QStringLiteral("dataChanged %1-%2 and %3-%4")
                                                   .arg(changes[i].top)
                                                   .arg(changes[i].bottom)
                                                   .arg(changes[j].top)
                                                   .arg(changes[j].bottom)));
    }
}

void TestTreeModels::groupNamesAndValues()
{
    ViewsTestTable t;
    auto add = [&](qint64 id, const char* strike, QDate date, int hour, const char* optionType) {
        Record r = t.make(id);
        if (strike)
            r.data(ViewsTestTable::Strike) = decimal(QString::fromLatin1(strike));
        if (date.isValid())
            r.data(ViewsTestTable::ExpDate) = datetime(date) + qint64(hour) * 3600000;
        r.data(ViewsTestTable::OptionType) = QString::fromLatin1(optionType);
        r.data(ViewsTestTable::Price) = decimal(id, 0);
        t.table->insertRecord(r);
    };
    add(1, "125000", QDate(2031, 6, 15), 0, "C");
    add(2, "72.5", QDate(2031, 6, 15), 10, "P");
    add(3, "72.50", QDate(2031, 9, 14), 0, "C");
    add(4, nullptr, QDate(), 0, "C");

    TreeIndexModel strikes(t.table);
    GroupmentStrike byStrike(t.table);
    strikes.setGroupmentList({&byStrike});
    strikes.setSort(ViewsTestTable::SecId, Qt::AscendingOrder);
    strikes.build();
    QCOMPARE(strikes.rowCount(), 3);
    // No strike first, then by value; 72.5 once, without trailing zeros.
    QCOMPARE(strikes.index(0, 0).data().toString(), QString());
    QCOMPARE(strikes.index(1, 0).data().toString(), point(QStringLiteral("72.5")));
    QCOMPARE(strikes.index(2, 0).data().toString(), QStringLiteral("125000"));
    QCOMPARE(strikes.index(1, 0).data(256).value<decimal>(), decimal(7250, 2));
    QCOMPARE(strikes.rowCount(strikes.index(1, 0)), 2);
    // The other columns of a group's row are its first record's.
    QCOMPARE(strikes.index(1, ViewsTestTable::SecId).data(256).toLongLong(), 2LL);
    QCOMPARE(strikes.index(1, ViewsTestTable::Price).data().toString(),
             point(QStringLiteral("2.0000")));
    QVERIFY(!strikes.groupByIndex(strikes.index(0, 0, strikes.index(1, 0))));
    // The row of a strike, as a lookup by value finds it.
    const QModelIndexList hit =
        strikes.match(strikes.index(0, 0), 256,
                      QVariant::fromValue(decimal(QStringLiteral("72.5"))), 1, Qt::MatchExactly);
    QCOMPARE(hit.size(), 1);
    QCOMPARE(hit.first().row(), 1);
    QCOMPARE(strikes.indexOfGroup(strikes.groupByIndex(strikes.index(2, 0))).row(), 2);

    TreeIndexFastModel dates(t.table);
    GroupmentExpDate byDate(t.table);
    dates.setGroupmentList({&byDate});
    dates.build();
    QCOMPARE(dates.rowCount(), 3);
    QCOMPARE(dates.index(1, 0).data().toString(), QStringLiteral("15.06.2031"));
    QCOMPARE(dates.index(1, 0).data(256).value<datetime>(), datetime(QDate(2031, 6, 15)));
    QCOMPARE(dates.index(2, 0).data().toString(), QStringLiteral("14.09.2031"));
    QVERIFY(dates.flags(dates.index(1, 0)).testFlag(Qt::ItemNeverHasChildren));

    TreeIndexFastModel pairs(t.table);
    GroupmentRecordColumns byPair(
        t.table, QVector<int>{ViewsTestTable::BaseCode, ViewsTestTable::OptionType});
    pairs.setGroupmentList({&byPair});
    pairs.build();
    QCOMPARE(pairs.rowCount(), 2);
    QCOMPARE(pairs.index(0, 0).data().toString(), QStringLiteral("Si C"));
    QCOMPARE(pairs.index(1, 0).data().toString(), QStringLiteral("Si P"));
}

void TestTreeModels::setGroupmentListRegroups()
{
    ViewsTestTable t;
    RandomFeed feed(t, 77);
    feed.fill(30);
    TreeIndexModel model(t.table);
    watch(&model);
    model.build();
    QCOMPARE(model.rowCount(), 30);

    GroupmentRecordColumns byBase(t.table, ViewsTestTable::BaseCode);
    model.setGroupmentList({&byBase});
    int total = 0;
    for (int g = 0; g < model.rowCount(); ++g)
        total += model.rowCount(model.index(g, 0));
    QCOMPARE(total, 30);
    QVERIFY(model.rowCount() <= 3);

    model.setGroupmentList({});
    QCOMPARE(model.rowCount(), 30);
    QVERIFY(!model.hasChildren(model.index(0, 0)));
}

void TestTreeModels::sortedMatchOnGroups_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("order");
    QTest::newRow("group column, ascending") << 0 << int(Qt::AscendingOrder);
    QTest::newRow("group column, descending") << 0 << int(Qt::DescendingOrder);
    QTest::newRow("strike column, ascending")
        << int(ViewsTestTable::Strike) << int(Qt::AscendingOrder);
    QTest::newRow("strike column, descending")
        << int(ViewsTestTable::Strike) << int(Qt::DescendingOrder);
}

void TestTreeModels::sortedMatchOnGroups()
{
    QFETCH(int, column);
    QFETCH(int, order);

    ViewsTestTable t;
    for (int i = 0; i < 300; ++i) {
        Record r = t.make(i + 1);
        if (i % 17 != 0)
            r.data(ViewsTestTable::Strike) = decimal(1000 + 25 * (i % 97), 2);
        t.table->insertRecord(r);
    }
    CountingReads<TreeMatchModel<TreeIndexFastModel>> model(t.table);
    GroupmentStrike byStrike(t.table);
    model.setGroupmentList({&byStrike});
    model.setSort(ViewsTestTable::Strike, Qt::SortOrder(order));
    model.build();
    QCOMPARE(model.rowCount(), 98);

    int fastSearches = 0;
    for (int mantissa = 975; mantissa <= 3450; mantissa += 25) {
        for (const QVariant& value : {QVariant::fromValue(decimal(mantissa, 2)), QVariant()}) {
            for (int start : {0, 40, 97}) {
                for (int wrap : {0, int(Qt::MatchWrap)}) {
                    const QModelIndex from = model.index(start, column);
                    const Qt::MatchFlags flags(int(Qt::MatchExactly) | wrap);
                    model.reads = 0;
                    const QModelIndexList fast = model.match(from, 256, value, 1, flags);
                    const int reads = model.reads;
                    QCOMPARE(fast, model.QAbstractItemModel::match(from, 256, value, 1, flags));
                    QCOMPARE(model.match(from, 256, value, -1, flags),
                             model.QAbstractItemModel::match(from, 256, value, -1, flags));
                    if (!wrap) {
                        QVERIFY2(reads < 20, qPrintable(QString::number(reads)));
                        ++fastSearches;
                    }
                }
            }
        }
    }
    QVERIFY(fastSearches > 0);

    // A column with a delegate of its own is not taken to be in the groups' order.
    model.setColumnDelegate(ViewsTestTable::Strike, new PriceColumnDelegate);
    const QModelIndex from = model.index(0, ViewsTestTable::Strike);
    const QVariant value = QVariant::fromValue(decimal(1500, 2));
    QCOMPARE(model.match(from, 256, value, 1, Qt::MatchExactly),
             model.QAbstractItemModel::match(from, 256, value, 1, Qt::MatchExactly));
}

void TestTreeModels::sortedMatchUnderGroup()
{
    // Under a group the records stand in the model's order.
    ViewsTestTable t;
    RandomFeed feed(t, 8);
    feed.fill(120);
    TreeMatchModel<TreeIndexModel> model(t.table);
    GroupmentRecordColumns byBase(t.table, ViewsTestTable::BaseCode);
    model.setGroupmentList({&byBase});
    model.setSort(ViewsTestTable::Price, Qt::AscendingOrder);
    model.build();
    for (int g = 0; g < model.rowCount(); ++g) {
        const QModelIndex group = model.index(g, 0);
        for (int p = 0; p < 3000; p += 100) {
            const QVariant value = QVariant::fromValue(decimal(p, 4));
            const QModelIndex from = model.index(0, ViewsTestTable::Price, group);
            QCOMPARE(model.match(from, 256, value, -1, Qt::MatchExactly),
                     model.QAbstractItemModel::match(from, 256, value, -1, Qt::MatchExactly));
        }
    }
    // Group names on the top level: texts, matched from their beginning.
    const QModelIndex top = model.index(0, 0);
    QCOMPARE(model.match(top, Qt::DisplayRole, QStringLiteral("S"), -1, Qt::MatchStartsWith),
             model.QAbstractItemModel::match(top, Qt::DisplayRole, QStringLiteral("S"), -1,
                                             Qt::MatchStartsWith));
}

void TestTreeModels::baseCodeSelector()
{
    ViewsTestTable t;
    auto add = [&](qint64 id, const char* code, const char* sectype) {
        Record r = t.make(id);
        r.data(ViewsTestTable::BaseCode) = QString::fromLatin1(code);
        r.data(ViewsTestTable::Sectype) = QString::fromLatin1(sectype);
        t.table->insertRecord(r);
        return r;
    };
    add(1, "Si", "F");
    add(2, "Si", "O");
    add(3, "Si", "O");
    add(4, "RI", "F");
    const Record br = add(5, "BR", "O");
    add(6, "", "O");

    BaseCodeSelectorModel model(t.table);
    watch(&model);
    model.setItemsCheckable(false);
    model.setFilterSectype(QLatin1Char('O'));
    model.populate();
    QCOMPARE(model.values(), (QStringList{QStringLiteral("BR"), QStringLiteral("Si")}));
    QVERIFY(!model.index(1).data(Qt::CheckStateRole).isValid());
    QVERIFY(!model.flags(model.index(1)).testFlag(Qt::ItemIsUserCheckable));
    QVERIFY(!model.setData(model.index(1), Qt::Checked, Qt::CheckStateRole));

    model.setFilterSectype(QChar());
    model.populate();
    QCOMPARE(model.values(),
             (QStringList{QStringLiteral("BR"), QStringLiteral("RI"), QStringLiteral("Si")}));

    // Checks stay with their values across a populate, and go with them.
    model.setItemsCheckable(true);
    QSignalSpy checks(&model, &CheckedItemModelByTable::checkedValuesChanged);
    QVERIFY(model.setData(model.index(0), Qt::Checked, Qt::CheckStateRole));
    QVERIFY(model.setData(model.index(2), Qt::Checked, Qt::CheckStateRole));
    QCOMPARE(model.checkedValues(), (QStringList{QStringLiteral("BR"), QStringLiteral("Si")}));
    QCOMPARE(model.index(1).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    QCOMPARE(checks.count(), 2);
    add(7, "ED", "O");
    model.populate();
    QCOMPARE(model.values().size(), 4);
    QCOMPARE(model.checkedValues(), (QStringList{QStringLiteral("BR"), QStringLiteral("Si")}));
    t.table->removeRecord(br);
    checks.clear();
    model.populate();
    QCOMPARE(model.checkedValues(), QStringList{QStringLiteral("Si")});
    QCOMPARE(checks.count(), 1);
    model.setAllChecked(true);
    QCOMPARE(model.checkedValues(), model.values());
    model.setCheckedValues({QStringLiteral("RI"), QStringLiteral("unknown")});
    QCOMPARE(model.checkedValues(), QStringList{QStringLiteral("RI")});
    QVERIFY(model.flags(model.index(0)).testFlag(Qt::ItemIsUserCheckable));
}

void TestTreeModels::baseCodeSelectorFindsTableByName()
{
    ViewsTestTable t;
    Record r = t.make(1);
    r.data(ViewsTestTable::BaseCode) = QStringLiteral("Si");
    t.table->insertRecord(r);

    BaseCodeSelectorModel model; // finds the securities table through the core
    model.populate();            // no core: nothing, and no harm
    QCOMPARE(model.rowCount(), 0);

    {
        ICore core;
        core.tables()->registerTable(QStringLiteral("securities"), t.table);
        model.populate();
        QCOMPARE(model.values(), QStringList{QStringLiteral("Si")});
        core.tables()->unregisterTable(QStringLiteral("securities"));
        model.populate();
        QCOMPARE(model.rowCount(), 0);
    }
}

QTEST_GUILESS_MAIN(TestTreeModels)
#include "tst_treemodels.moc"
