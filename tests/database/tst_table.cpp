#include "testtable.h"

#include "database/fieldvalue.h"
#include "database/indexdepend.h"
#include "database/indexsort.h"
#include "database/rowmap.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <map>
#include <utility>

namespace {

QString names(const QList<Record>& records)
{
    QStringList out;
    for (const Record& r : records)
        out << QString::number(r.data(TestTable::SecId).toInteger64());
    return QLatin1Char('[') + out.join(QLatin1Char(',')) + QLatin1Char(']');
}

// Writes every notification it receives to a log; attached, it is one of the table's indexes
// and holds its rows.
class RecordingIndex : public IndexList
{
public:
    explicit RecordingIndex(Table* table, bool attach = true) : IndexList(table)
    {
        if (attach) {
            table->addIndex(this);
            build();
        }
    }

    void beginUpdate() override { log << QStringLiteral("begin"); }
    void endUpdate() override { log << QStringLiteral("end"); }
    void dependentBeginUpdate(Table*) override { log << QStringLiteral("depBegin"); }
    void dependentEndUpdate(Table*) override { log << QStringLiteral("depEnd"); }
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int first, int last,
                    const QList<Record>& inserted, const QList<Record>& replaced) override
    {
        log << QStringLiteral("pre R%1 U%2 %3-%4 I%5")
                   .arg(names(removed), names(updated))
                   .arg(first)
                   .arg(last)
                   .arg(names(inserted));
        QCOMPARE(replaced.size(), updated.size());
        if (onPreprocess)
            onPreprocess(removed, updated, inserted, replaced);
    }
    void process(const QList<Record>& removed, const QList<Record>& updated, int first, int last,
                 const QList<Record>& inserted) override
    {
        log << QStringLiteral("process R%1 U%2 %3-%4 I%5")
                   .arg(names(removed), names(updated))
                   .arg(first)
                   .arg(last)
                   .arg(names(inserted));
        if (onProcess)
            onProcess(removed, updated, inserted);
        IndexList::process(removed, updated, first, last, inserted);
    }
    void update(const Record& r, int first, int last, int position) override
    {
        log << QStringLiteral("update %1 %2-%3")
                   .arg(r.data(TestTable::SecId).toInteger64())
                   .arg(first)
                   .arg(last);
        IndexList::update(r, first, last, position);
    }

    QStringList log;
    std::function<void(const QList<Record>&, const QList<Record>&, const QList<Record>&,
                       const QList<Record>&)>
        onPreprocess;
    std::function<void(const QList<Record>&, const QList<Record>&, const QList<Record>&)> onProcess;
};

// Rows of one board, ordered by price and then by key.
class PriceIndex : public IndexSort
{
public:
    PriceIndex(Table* table, int board) : IndexSort(table), m_board(board)
    {
        setSortColumns({TestTable::Price});
    }
    bool filter(const Record& r) const override
    {
        return r.data(TestTable::BoardId).toInteger() == m_board;
    }
    int compare(const Record& a, const Record& b) const override
    {
        const int c = a.data(TestTable::Price).compare(b.data(TestTable::Price));
        return c != 0 ? c : a.data(TestTable::SecId).compare(b.data(TestTable::SecId));
    }

private:
    int m_board;
};

// Changes made to a table while the index listens.
using Scenario = std::function<void(TestTable&, RecordingIndex&)>;

} // namespace

Q_DECLARE_METATYPE(FieldConstValue)
Q_DECLARE_METATYPE(Scenario)

class TestTableClass : public QObject
{
    Q_OBJECT

private slots:
    void layoutAndColumns();
    void fieldReadWrite_data();
    void fieldReadWrite();
    void nullBits();
    void missingColumnReadsEmptyWritesNowhere();
    void fieldCompare_data();
    void fieldCompare();
    void fieldValues();
    void recordHandles();
    void keyText();
    void batches_data();
    void batches();
    void singleUpdateAndDependents();
    void sortedIndexAgainstBruteForce();
    void filteredListFollowsUpdates();
    void indexDependForwards();
    void rangeSet();
    void partitionListAgainstVector();
    void rowMapAgainstHash();
    void recordInVariant();
};

void TestTableClass::layoutAndColumns()
{
    TestTable t;
    QCOMPARE(t.table.columnIndex("sec_id"), 2);
    QVERIFY(t.table.columnIndex("nope") < 0);
    QCOMPARE(t.table.columnDef(-5).type, FieldType::Invalid);
    QCOMPARE(t.table.columnDef("nope").type, FieldType::Invalid);

    // Cells do not overlap and respect their alignment.
    const QList<TableColumnDef*> defs = t.table.fieldDefs();
    for (int i = 0; i < defs.size(); ++i) {
        QCOMPARE(defs[i]->dataOffset % FieldType::alignment(defs[i]->type), 0);
        for (int j = i + 1; j < defs.size(); ++j)
            QVERIFY(defs[i]->dataOffset + defs[i]->dataSize <= defs[j]->dataOffset ||
                    defs[j]->dataOffset + defs[j]->dataSize <= defs[i]->dataOffset);
        QVERIFY(defs[i]->dataOffset + defs[i]->dataSize <= t.table.nullBytesOffset());
    }
    QCOMPARE(t.table.columnDef("sec_name").dataSize, 80);
    QVERIFY(t.table.rowSize() >= t.table.nullBytesOffset() + 1);

    // A column copied from another table keeps its definition; a name taken is refused.
    Table other(QStringLiteral("other"));
    QCOMPARE(other.addColumn(t.table.columnDef("price")), 0);
    QCOMPARE(other.columnDef(0).length, 2);
    QCOMPARE(other.columnDef(0).title, QStringLiteral("Цена"));
    QCOMPARE(other.addColumn(QStringLiteral("price"), FieldType::Integer, 0, false, QString()), -1);

    // So is a column once the table has rows.
    Record r(&t.table);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("added after rows"));
    QCOMPARE(t.table.addColumn(QStringLiteral("late"), FieldType::Integer, 0, false, QString()),
             -1);
    QCOMPARE(t.table.columnCount(), 8);
}

void TestTableClass::fieldReadWrite_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("number");

    QTest::newRow("int") << int(TestTable::Lot) << QVariant(-42) << "-42" << -42.0;
    QTest::newRow("int64") << int(TestTable::SecId) << QVariant(qlonglong(1) << 40)
                           << "1099511627776" << 1099511627776.0;
    QTest::newRow("text") << int(TestTable::SecName) << QVariant(QStringLiteral("Si-12.26"))
                          << "Si-12.26" << 0.0;
    QTest::newRow("decimal rounds to the column scale")
        << int(TestTable::Price) << QVariant::fromValue(decimal(123456, 3)) << "123.46" << 123.46;
    QTest::newRow("double into decimal")
        << int(TestTable::Price) << QVariant(0.285) << "0.29" << 0.29;
    QTest::newRow("text into decimal")
        << int(TestTable::Price) << QVariant(QStringLiteral("7,5")) << "7.50" << 7.5;
    QTest::newRow("double") << int(TestTable::Volat) << QVariant(31.25) << "31.25" << 31.25;
    QTest::newRow("datetime") << int(TestTable::ExpDate)
                              << QVariant::fromValue(datetime(QDate(2030, 3, 15)) + 68400000)
                              << "15.03.2030 19:00:00"
                              << double(datetime(QDate(2030, 3, 15)).msecs() + 68400000);
}

void TestTableClass::fieldReadWrite()
{
    QFETCH(int, column);
    QFETCH(QVariant, written);
    QFETCH(QString, text);
    QFETCH(double, number);

    TestTable t;
    Record r(&t.table);
    r.data(column).setValue(written);
    QVERIFY(!r.data(column).isNull());
    QCOMPARE(r.data(column).toString(), text);
    if (number != 0.0)
        QCOMPARE(r.data(column).toDouble(), number);
    // The neighbours are untouched.
    for (int c = 0; c < t.table.columnCount(); ++c)
        if (c != column)
            QVERIFY2(r.data(c).toString().isEmpty() || r.data(c).toString() == "0",
                     qPrintable(t.table.columnDef(c).name));
    // A copy reads the same, the original does not change with the copy.
    Record copy = r.clone();
    QCOMPARE(copy.data(column).toString(), text);
    copy.data(column).setNull();
    QCOMPARE(r.data(column).toString(), text);
}

void TestTableClass::nullBits()
{
    TestTable t;
    Record r(&t.table);
    // A fresh row: nullable cells null, the others zero and not null.
    QVERIFY(r.data(TestTable::Price).isNull());
    QVERIFY(!r.data(TestTable::Lot).isNull());

    r.data(TestTable::Price) = decimal::zero;
    QVERIFY(!r.data(TestTable::Price).isNull());
    r.data(TestTable::Price).setNull();
    QVERIFY(r.data(TestTable::Price).isNull());
    // Null bits of different columns are independent.
    r.data(TestTable::Volat) = 1.5;
    r.data(TestTable::ExpDate) = datetime(QDate(2031, 1, 1));
    r.data(TestTable::Volat).setNull();
    QVERIFY(r.data(TestTable::Volat).isNull());
    QVERIFY(!r.data(TestTable::ExpDate).isNull());
    QVERIFY(r.data(TestTable::Price).isNull());
    // Writing a null field clears the target.
    Record other(&t.table);
    other.data(TestTable::ExpDate) = r.data(TestTable::Volat);
    QVERIFY(other.data(TestTable::ExpDate).isNull());
}

void TestTableClass::missingColumnReadsEmptyWritesNowhere()
{
    TestTable t;
    Record r = t.make(5, 10.0);
    const QStringList before = QStringList() << r.data(0).toString() << r.data(4).toString();
    for (int column : {-1, 99}) {
        Field f = r.data(column);
        QVERIFY(!f.isValid() && f.isNull());
        QCOMPARE(f.toInteger(), 0);
        QCOMPARE(f.toDouble(), 0.0);
        QCOMPARE(f.toDecimal().value(), 0LL);
        QVERIFY(f.toString().isEmpty());
        QVERIFY(f.toDatetime().isNull());
        f = 17;
        f = QStringLiteral("x");
        f = decimal(5, 0);
        QVERIFY(f.isNull());
    }
    QVERIFY(r.data(QStringLiteral("no_such_column")).isNull());
    r.data(QStringLiteral("no_such_column")) = 3.0;
    QCOMPARE(QStringList() << r.data(0).toString() << r.data(4).toString(), before);
    // A null record gives the same empty field.
    Record none;
    QVERIFY(none.data(0).isNull());
    QVERIFY(none.toString().isEmpty());
    QVERIFY(none.clone().isNull());
}

void TestTableClass::fieldCompare_data()
{
    QTest::addColumn<FieldConstValue>("a");
    QTest::addColumn<FieldConstValue>("b");
    QTest::addColumn<int>("expected");

    FieldConstValue null(0);
    null.setNull();
    QTest::newRow("int") << FieldConstValue(2) << FieldConstValue(10) << -1;
    QTest::newRow("int equal") << FieldConstValue(7) << FieldConstValue(7) << 0;
    QTest::newRow("int vs decimal") << FieldConstValue(3) << FieldConstValue(decimal(250, 2)) << 1;
    QTest::newRow("decimal scales")
        << FieldConstValue(decimal(10, 1)) << FieldConstValue(decimal(100, 2)) << 0;
    QTest::newRow("text by code unit")
        << FieldConstValue(QStringLiteral("B")) << FieldConstValue(QStringLiteral("a")) << -1;
    QTest::newRow("text prefix") << FieldConstValue(QStringLiteral("ab"))
                                 << FieldConstValue(QStringLiteral("abc")) << -1;
    QTest::newRow("null first") << null << FieldConstValue(-100) << -1;
    QTest::newRow("null equal") << null << null << 0;
    QTest::newRow("datetime") << FieldConstValue(datetime(QDate(2030, 1, 2)))
                              << FieldConstValue(datetime(QDate(2030, 1, 1))) << 1;
}

void TestTableClass::fieldCompare()
{
    QFETCH(FieldConstValue, a);
    QFETCH(FieldConstValue, b);
    QFETCH(int, expected);
    QCOMPARE(qBound(-1, a.compare(b), 1), expected);
    QCOMPARE(qBound(-1, b.compare(a), 1), -expected);
    QCOMPARE(a == b, expected == 0);
    // An assigned copy compares as the original, null bit included.
    FieldValue copy(FieldType::Integer, 0);
    copy = b;
    QCOMPARE(qBound(-1, a.compare(copy), 1), expected);
}

void TestTableClass::fieldValues()
{
    TestTable t;
    Record r = t.make(9, 12.5);
    FieldValue saved(r.data(TestTable::Price));
    r.data(TestTable::Price) = 99.0;
    QCOMPARE(saved.toString(), QStringLiteral("12.50"));
    FieldValue copy = saved;
    copy = 1.0;
    QCOMPARE(saved.toDouble(), 12.5);
    QCOMPARE(copy.toString(), QStringLiteral("1.00"));
    r.data(TestTable::Price) = saved;
    QCOMPARE(r.data(TestTable::Price).toString(), QStringLiteral("12.50"));

    const FieldConstValue call(QChar('C'));
    QCOMPARE(call.toChar(), QChar('C'));
    Record option(&t.table);
    option.data(TestTable::SecName) = QChar('C');
    QVERIFY(option.data(TestTable::SecName) == call);
    QCOMPARE(FieldConstValue::fromValue(r.data(TestTable::SecName)).toString(),
             QStringLiteral("SEC9"));
    // A text longer than the column is cut to it.
    r.data(TestTable::SecName) = QString(60, QChar('x'));
    QCOMPARE(r.data(TestTable::SecName).toString().size(), 40);
    QCOMPARE(r.data(TestTable::SecName).asSharedString(), QString(40, QChar('x')));
}

void TestTableClass::recordHandles()
{
    TestTable t;
    Record r = t.make(1, 5.0);
    QVERIFY(!r.inTable());
    Record same = r;
    t.table.insertRecord(r);
    QVERIFY(same.inTable()); // one row, two handles
    Record c = r.clone();
    QVERIFY(!c.inTable());
    QVERIFY(c != r);
    QCOMPARE(c.data(TestTable::Price).toDouble(), 5.0);
    t.table.removeRecord(r);
    QVERIFY(!same.inTable());
    QCOMPARE(r.data(TestTable::Price).toDouble(), 5.0); // the handle still reads
}

void TestTableClass::keyText()
{
    TestTable t;
    Record r = t.insert(77, 1.0, 14);
    const QString text = r.toString();
    QCOMPARE(text, QStringLiteral("1|14|77"));
    QCOMPARE(t.table.masterIndex()->findRecord(text), r);
    QVERIFY(t.table.masterIndex()->findRecord(QStringLiteral("1|14")).isNull());
    QVERIFY(t.table.masterIndex()->findRecord(QStringLiteral("garbage")).isNull());
    QVERIFY(t.table.masterIndex()->findRecord(QString()).isNull());

    // Text and decimal keys, with the separator inside a text.
    Table plots(QStringLiteral("plots"));
    plots.addColumn(QStringLiteral("name"), FieldType::String, 30, false, QString());
    plots.addColumn(QStringLiteral("kotir"), FieldType::Decimal, 4, false, QString());
    plots.setMasterIndex(
        MasterIndex_Column::create(&plots, {QStringLiteral("name"), QStringLiteral("kotir")}));
    Record p(&plots);
    p.data(0) = QStringLiteral("a|b\\c");
    p.data(1) = decimal(-1234567, 4);
    plots.insertRecord(p);
    QCOMPARE(plots.masterIndex()->findRecord(p.toString()), p);
    auto* key = static_cast<MasterIndex_Column*>(plots.masterIndex());
    QCOMPARE(key->find({QStringLiteral("a|b\\c"), QVariant::fromValue(decimal(-12345670, 5))}), p);

    // A free-standing key given by column numbers orders as one given by names.
    MasterIndex_Column byNumber(&plots, QVector<int>{1});
    plots.addIndex(&byNumber);
    byNumber.build();
    QCOMPARE(byNumber.keyColumnNames(), QStringList{QStringLiteral("kotir")});
    Record probe(&plots);
    probe.data(1) = decimal(-1234567, 4);
    QCOMPARE(byNumber.search(probe, -1), 0);
    probe.data(1) = decimal(1, 0);
    QVERIFY(byNumber.search(probe, -1) < 0);
}

void TestTableClass::batches_data()
{
    QTest::addColumn<QList<int>>("rows"); // sec_id and price of the rows there before
    QTest::addColumn<Scenario>("scenario");
    QTest::addColumn<QStringList>("log");
    QTest::addColumn<QStringList>("after"); // sec_id:price:lot in key order

    QTest::newRow("update, insert and remove in one transaction")
        << QList<int>{1, 2, 3} << Scenario([](TestTable& t, RecordingIndex& index) {
               // Before the change: old values in the rows, the new ones in replaced; after
               // it, the rows as they are now.
               index.onPreprocess = [](const QList<Record>& removed, const QList<Record>& updated,
                                       const QList<Record>& inserted,
                                       const QList<Record>& replaced) {
                   QCOMPARE(updated.at(0).data(TestTable::Price).toDouble(), 2.0);
                   QCOMPARE(replaced.at(0).data(TestTable::Price).toDouble(), 21.0);
                   QVERIFY(removed.at(0).inTable());
                   QVERIFY(!inserted.at(0).inTable());
               };
               index.onProcess = [&t](const QList<Record>& removed, const QList<Record>& updated,
                                      const QList<Record>& inserted) {
                   QVERIFY(!removed.at(0).inTable() && t.find(3).isNull());
                   QCOMPARE(removed.at(0).data(TestTable::Price).toDouble(), 3.0);
                   QCOMPARE(updated.at(0).data(TestTable::Price).toDouble(), 21.0);
                   QCOMPARE(t.find(4), inserted.at(0));
               };
               TableUpdater batch(&t.table);
               RecordsTrans trans(&t.table);
               RecordUpdater(t.find(2), trans).data(TestTable::Price) = 21.0;
               RecordUpdater(t.make(4, 40.0), trans).data(TestTable::Lot) = 10;
               trans.remove(t.find(3));
               QVERIFY(!trans.isEmpty());
           })
        << QStringList{"begin", "pre R[3] U[2] 4-4 I[4]", "process R[3] U[2] 4-4 I[4]",
                       "update 2 4-4", "end"}
        << QStringList{"1:1.00:0", "2:21.00:0", "4:40.00:10"};
    QTest::newRow("empty batch brackets only")
        << QList<int>{1}
        << Scenario([](TestTable& t, RecordingIndex&) { TableUpdater batch(&t.table); })
        << QStringList{"begin", "end"} << QStringList{"1:1.00:0"};
    QTest::newRow("cleared transaction")
        << QList<int>{1} << Scenario([](TestTable& t, RecordingIndex&) {
               RecordsTrans trans(&t.table);
               RecordUpdater(t.find(1), trans).data(TestTable::Price) = 5.0;
               trans.clear();
               QVERIFY(trans.isEmpty());
           })
        << QStringList() << QStringList{"1:1.00:0"};
    QTest::newRow("nested batches")
        << QList<int>() << Scenario([](TestTable& t, RecordingIndex& index) {
               TableUpdater outer(&t.table);
               t.insert(1);
               {
                   TableUpdater inner(&t.table);
                   t.insert(2);
                   TableUpdater innermost(&t.table);
                   t.insert(3);
               }
               QCOMPARE(t.table.rowCount(), 0); // nothing applied before the outer end
               QCOMPARE(index.log, QStringList({"begin"}));
           })
        << QStringList{"begin", "pre R[] U[] -1--1 I[1,2,3]", "process R[] U[] -1--1 I[1,2,3]",
                       "end"}
        << QStringList{"1:0.00:0", "2:0.00:0", "3:0.00:0"};
    QTest::newRow("clear inside a batch")
        << QList<int>{1, 2, 3, 4} << Scenario([](TestTable& t, RecordingIndex&) {
               TableUpdater batch(&t.table);
               RecordsTrans trans(&t.table);
               RecordUpdater(t.find(2), trans).data(TestTable::Price) = 99.0;
               trans.apply();
               t.insert(7); // made before the clear: gone with it
               t.table.clear();
               t.insert(9);
           })
        << QStringList{"begin", "pre R[1,2,3,4] U[] -1--1 I[9]",
                       "process R[1,2,3,4] U[] -1--1 I[9]", "end"}
        << QStringList{"9:0.00:0"};
    QTest::newRow("clear outside a batch is one")
        << QList<int>{9} << Scenario([](TestTable& t, RecordingIndex&) { t.table.clear(); })
        << QStringList{"begin", "pre R[9] U[] -1--1 I[]", "process R[9] U[] -1--1 I[]", "end"}
        << QStringList();
    QTest::newRow("two transactions on one row")
        << QList<int>{1, 2} << Scenario([](TestTable& t, RecordingIndex&) {
               TableUpdater batch(&t.table);
               {
                   RecordsTrans trans(&t.table);
                   RecordUpdater(t.find(1), trans).data(TestTable::Lot) = 5;
                   RecordUpdater(t.make(3, 3.0), trans).data(TestTable::Lot) = 7;
               }
               // The second builds on the pending values.
               RecordsTrans trans(&t.table);
               RecordUpdater u(t.find(1), trans);
               QCOMPARE(u.data(TestTable::Lot).toInteger(), 5);
               u.data(TestTable::Price) = 1.5;
           })
        << QStringList{"begin", "pre R[] U[1] 4-7 I[3]", "process R[] U[1] 4-7 I[3]",
                       "update 1 4-7", "end"}
        << QStringList{"1:1.50:5", "2:2.00:0", "3:3.00:7"};
    QTest::newRow("insert of an existing key updates")
        << QList<int>{5} << Scenario([](TestTable& t, RecordingIndex&) {
               const Record original = t.find(5);
               {
                   TableUpdater batch(&t.table);
                   t.table.insertRecord(t.make(5, 2.0));
                   t.table.insertRecord(t.make(6, 3.0));
                   t.table.insertRecord(t.make(6, 4.0)); // the later of two new rows counts
               }
               QVERIFY(original.inTable());
           })
        << QStringList{"begin", "pre R[] U[5] 0-7 I[6]", "process R[] U[5] 0-7 I[6]",
                       "update 5 0-7", "end"}
        << QStringList{"5:2.00:0", "6:4.00:0"};
    QTest::newRow("changes while processing follow as the next batch")
        << QList<int>() << Scenario([](TestTable& t, RecordingIndex& index) {
               index.onProcess = [&t, once = true](const QList<Record>&, const QList<Record>&,
                                                   const QList<Record>&) mutable {
                   if (std::exchange(once, false))
                       t.insert(100);
               };
               t.insert(1);
           })
        << QStringList{"begin", "pre R[] U[] -1--1 I[1]",   "process R[] U[] -1--1 I[1]",   "end",
                       "begin", "pre R[] U[] -1--1 I[100]", "process R[] U[] -1--1 I[100]", "end"}
        << QStringList{"1:0.00:0", "100:0.00:0"};
}

void TestTableClass::batches()
{
    QFETCH(QList<int>, rows);
    QFETCH(Scenario, scenario);
    QFETCH(QStringList, log);
    QFETCH(QStringList, after);

    TestTable t;
    for (int id : rows)
        t.insert(id, id);
    RecordingIndex index(&t.table);
    scenario(t, index);
    QCOMPARE(index.log, log);
    QStringList state;
    for (const Record& r : t.table.masterIndex()->records())
        state << QStringLiteral("%1:%2:%3")
                     .arg(r.data(TestTable::SecId).toInteger64())
                     .arg(r.data(TestTable::Price).toString())
                     .arg(r.data(TestTable::Lot).toInteger());
    QCOMPARE(state, after);
    QCOMPARE(index.count(), t.table.rowCount());
}

void TestTableClass::singleUpdateAndDependents()
{
    TestTable t;
    Record r = t.insert(1, 1.0);
    RecordingIndex index(&t.table);
    RecordingIndex dependent(&t.table, false);
    t.table.addDependentIndex(&dependent);

    r.data(TestTable::Price) = 3.0;
    t.table.updated(r, TestTable::Price, TestTable::Price, -1);
    QCOMPARE(index.log, QStringList({"update 1 4-4"}));
    QVERIFY(dependent.log.isEmpty());

    index.log.clear();
    {
        TableUpdater batch(&t.table);
        r.data(TestTable::Lot) = 2;
        t.table.updated(r, TestTable::Lot, TestTable::Lot, -1);
    }
    QCOMPARE(index.log, QStringList({"begin", "pre R[] U[1] 7-7 I[]", "process R[] U[1] 7-7 I[]",
                                     "update 1 7-7", "end"}));
    QCOMPARE(dependent.log, QStringList({"depBegin", "depEnd"}));

    // An index that goes away is no longer called.
    t.table.removeIndex(&index);
    index.log.clear();
    t.insert(2);
    QVERIFY(index.log.isEmpty());
}

void TestTableClass::sortedIndexAgainstBruteForce()
{
    TestTable t;
    PriceIndex index(&t.table, 1);
    t.table.addIndex(&index);
    QRandomGenerator rng(12345);
    std::map<qint64, std::pair<int, double>> model; // sec_id -> board, price

    for (int step = 0; step < 3000; ++step) {
        const int op = rng.bounded(10);
        const qint64 id = rng.bounded(400);
        const int board = 1 + rng.bounded(2);
        const double price = rng.bounded(50);
        if (op < 4) {
            t.table.insertRecord(t.make(id, price, board));
            model[id * 10 + board] = {board, price};
        } else if (op < 6) {
            const Record r = t.find(id, board);
            if (!r.isNull()) {
                t.table.removeRecord(r);
                model.erase(id * 10 + board);
            }
        } else if (op < 8) {
            // A change in place of the sort column.
            Record r = t.find(id, board);
            if (!r.isNull()) {
                r.data(TestTable::Price) = price;
                t.table.updated(r, TestTable::Price, TestTable::Price, -1);
                model[id * 10 + board].second = price;
            }
        } else {
            // A batch of transactional changes.
            TableUpdater batch(&t.table);
            RecordsTrans trans(&t.table);
            for (int k = 0; k < 5; ++k) {
                const qint64 kid = rng.bounded(400);
                const Record r = t.find(kid, 1);
                const double p = rng.bounded(50);
                if (!r.isNull()) {
                    RecordUpdater(r, trans).data(TestTable::Price) = p;
                    model[kid * 10 + 1].second = p;
                }
            }
        }
    }
    std::vector<std::pair<double, qint64>> expected;
    for (const auto& e : model)
        if (e.second.first == 1)
            expected.push_back({e.second.second, e.first / 10});
    std::sort(expected.begin(), expected.end());
    QCOMPARE(index.count(), int(expected.size()));
    QCOMPARE(t.table.rowCount(), int(model.size()));
    for (int i = 0; i < index.count(); ++i) {
        QCOMPARE(index.at(i).data(TestTable::Price).toDouble(), expected[size_t(i)].first);
        QCOMPARE(index.at(i).data(TestTable::SecId).toInteger64(), expected[size_t(i)].second);
        QCOMPARE(index.indexOf(index.at(i)), i);
    }
    // search, searchLast and searchFull agree with the list.
    if (index.count() > 0) {
        const Record probe = index.at(index.count() / 2);
        QCOMPARE(index.search(probe, -1), index.count() / 2);
        QCOMPARE(index.searchLast(probe, -1), index.count() / 2);
        QCOMPARE(index.searchFull(probe, -1), index.count() / 2);
        QCOMPARE(index.find(probe, -1), index.count() / 2);
    }
    // The key index stays ordered by key.
    for (int i = 1; i < t.table.rowCount(); ++i)
        QVERIFY(t.table.masterIndex()->compare(t.table.masterIndex()->at(i - 1),
                                               t.table.masterIndex()->at(i)) < 0);
}

void TestTableClass::filteredListFollowsUpdates()
{
    TestTable t;
    PriceIndex board2(&t.table, 2);
    t.table.addIndex(&board2);
    Record r = t.insert(1, 1.0, 1);
    QCOMPARE(board2.count(), 0);
    t.insert(2, 1.0, 2);
    QCOMPARE(board2.count(), 1);

    // Moving a row into and out of the filter through the key column.
    {
        RecordsTrans trans(&t.table);
        RecordUpdater(r, trans).data(TestTable::BoardId) = 2;
    }
    QCOMPARE(board2.count(), 2);
    QVERIFY(board2.contains(r));
    QCOMPARE(t.find(1, 2), r);
    QVERIFY(t.find(1, 1).isNull());

    r.data(TestTable::BoardId) = 1;
    t.table.updated(r, TestTable::BoardId, TestTable::BoardId, -1);
    QCOMPARE(board2.count(), 1);
    QCOMPARE(t.find(1, 1), r);
    board2.rebuild();
    QCOMPARE(board2.count(), 1);

    // An update that would duplicate a key is left out.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("duplicate the key"));
    {
        RecordsTrans trans(&t.table);
        RecordUpdater(r, trans).data(TestTable::BoardId) = 2;
        RecordUpdater(r, trans).data(TestTable::SecId) = 2LL;
    }
    QCOMPARE(t.table.rowCount(), 2);
    QCOMPARE(r.data(TestTable::SecId).toInteger64(), 1LL);
}

void TestTableClass::indexDependForwards()
{
    TestTable t;
    using Parent = IndexDepend<IndexList>;
    Parent parent(&t.table);
    RecordingIndex child(&t.table, false);
    parent.addDependentIndex(&child);
    t.table.addIndex(&parent);
    QCOMPARE(parent.getClassName(), QStringLiteral("IndexDepend::IndexList"));
    t.insert(1);
    QCOMPARE(parent.count(), 1);
    QCOMPARE(child.count(), 1);
    QCOMPARE(child.log, QStringList({"pre R[] U[] -1--1 I[1]", "process R[] U[] -1--1 I[1]"}));

    child.log.clear();
    Record r = t.find(1);
    r.data(TestTable::Lot) = 3;
    t.table.updated(r, TestTable::Lot, TestTable::Lot, -1);
    QCOMPARE(child.log, QStringList({"update 1 7-7"}));

    parent.clear();
    QCOMPARE(child.count(), 0);
    parent.build();
    QCOMPARE(child.count(), 1);
    parent.removeDependentIndex(&child);
    t.insert(2);
    QCOMPARE(parent.count(), 2);
    QCOMPARE(child.count(), 1);
}

// Against a brute force over random ranges, then the edge cases that random ranges miss.
void TestTableClass::rangeSet()
{
    QRandomGenerator rng(7);
    RangeSet<int> random;
    QVector<bool> present(200, false);
    for (int i = 0; i < 60; ++i) {
        const int a = rng.bounded(200), b = qMin(199, a + rng.bounded(5));
        random.add(a, b);
        for (int v = a; v <= b; ++v)
            present[v] = true;
    }
    for (int v = 0; v < 200; ++v)
        QCOMPARE(random.contains(v), present[v]);
    // Merged as far as they go: neither overlapping nor adjacent.
    for (int i = 1; i < random.ranges().size(); ++i)
        QVERIFY(random.ranges()[i - 1].second + 1 < random.ranges()[i].first);

    RangeSet<int> set;
    set.add(9, 7); // reversed bounds
    set.add(1, 2);
    set.add(20, 21);
    set.add(3, 4); // adjacent
    set.add(10, 12);
    set.add(6, 8); // overlaps 7-9, which then touches 10-12
    QStringList out;
    for (const auto& r : set)
        out << QStringLiteral("%1-%2").arg(r.first).arg(r.second);
    QCOMPARE(out.join(' '), QStringLiteral("1-4 6-12 20-21"));
}

// The batch bookkeeping's open-addressing map: random inserts and removals, many of them
// in long probe clusters, and storage taken over from other maps, against QHash.
void TestTableClass::rowMapAgainstHash()
{
    TestTable t;
    std::vector<Record> rows;
    for (int i = 0; i < 300; ++i)
        rows.push_back(Record(&t.table));
    RowMap map;
    QHash<Record, int> ref;
    QRandomGenerator rng(5);
    for (int step = 0; step < 20000; ++step) {
        const Record& r = rows[size_t(rng.bounded(int(rows.size())))];
        switch (rng.bounded(3)) {
        case 0:
        case 1:
            map.insert(r, step);
            ref.insert(r, step);
            break;
        default:
            QCOMPARE(map.remove(r), ref.remove(r) > 0);
        }
        if (step % 500 == 0 && rng.bounded(4) == 0) {
            map.clear();
            ref.clear();
        }
        if (step % 700 == 0) {
            // A told batch hands its larger storage on: the entries must survive the move.
            RowMap told;
            for (int i = 0; i < 200; ++i)
                told.insert(rows[size_t(i)], i);
            map.reuse(told);
            QVERIFY(told.isEmpty());
            QVERIFY(!told.contains(rows[0]));
        }
        QCOMPARE(map.size(), ref.size());
    }
    for (const Record& r : rows) {
        QCOMPARE(map.value(r), ref.value(r, -1));
        QCOMPARE(map.contains(r), ref.contains(r));
    }
    int sum = 0;
    map.forEachValue([&sum](int& v) { sum += v; });
    int refSum = 0;
    for (int v : qAsConst(ref))
        refSum += v;
    QCOMPARE(sum, refSum);
    QCOMPARE(map.value(Record()), -1);
}

void TestTableClass::partitionListAgainstVector()
{
    PartitionList<int> list;
    std::vector<int> ref;
    QRandomGenerator rng(99);
    for (int step = 0; step < 20000; ++step) {
        if (ref.empty() || rng.bounded(3) != 0) {
            const int at = rng.bounded(int(ref.size()) + 1);
            list.insert(at, step);
            ref.insert(ref.begin() + at, step);
        } else {
            const int at = rng.bounded(int(ref.size()));
            list.removeAt(at);
            ref.erase(ref.begin() + at);
        }
    }
    QCOMPARE(list.count(), int(ref.size()));
    std::vector<int> walked(list.begin(), list.end());
    QVERIFY(walked == ref);
    for (int i = 0; i < list.count(); i += 97)
        QCOMPARE(list.at(i), ref[size_t(i)]);

    std::vector<int> sorted = ref;
    std::sort(sorted.begin(), sorted.end());
    list.assign(std::vector<int>(sorted));
    // Probes on, between, before and past the values, so that every place in a block is met.
    for (int probe = -2; probe <= 20001; probe += 3) {
        const int pos = list.lowerBound([probe](int v) { return v < probe; });
        QCOMPARE(pos, int(std::lower_bound(sorted.begin(), sorted.end(), probe) - sorted.begin()));
    }
    // Kept sorted by inserts at the lower bound, with blocks of every size that splits leave.
    PartitionList<int> grown;
    std::vector<int> values;
    for (int i = 0; i < 5000; ++i) {
        const int value = rng.bounded(3000);
        grown.insert(grown.lowerBound([value](int v) { return v < value; }), value);
        values.push_back(value);
    }
    std::sort(values.begin(), values.end());
    QVERIFY(std::vector<int>(grown.begin(), grown.end()) == values);
}

void TestTableClass::recordInVariant()
{
    // Registered by name, as queued signals between threads need it.
    QVERIFY(QMetaType::type("Record") != QMetaType::UnknownType);
    TestTable t;
    Record r = t.insert(42, 4.2);
    const QVariant v = QVariant::fromValue(r);
    QCOMPARE(v.value<Record>(), r);
    QCOMPARE(QString::fromLatin1(v.typeName()), QStringLiteral("Record"));
}

QTEST_GUILESS_MAIN(TestTableClass)
#include "tst_table.moc"
