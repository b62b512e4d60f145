#include "testtable.h"

#include "database/undo.h"

#include <QTest>
#include <QUndoStack>

class TestUndo : public QObject
{
    Q_OBJECT

private slots:
    void commands_data();
    void commands();
    void recordsStayDetached();
    void commandsOnAGoneTableDoNothing();
};

namespace {

void fill(TestTable& t)
{
    for (int i = 1; i <= 5; ++i) {
        Record r = t.make(i, i * 1.25);
        r.data(TestTable::Volat) = 20.0 + i;
        r.data(TestTable::ExpDate) = datetime(QDate(2030, 1, i));
        t.table.insertRecord(r);
    }
}

// A change made through one kind of command.
using Change = std::function<QUndoCommand*(TestTable&)>;

} // namespace

Q_DECLARE_METATYPE(Change)

void TestUndo::commands_data()
{
    QTest::addColumn<Change>("change");

    QTest::newRow("clear") << Change([](TestTable& t) { return new Undo::Clear(&t.table); });
    QTest::newRow("update") << Change([](TestTable& t) {
        const Record before = t.find(3).clone();
        Record after = before.clone();
        after.data(TestTable::Price) = 99.0;
        after.data(TestTable::SecName).setNull();
        return new Undo::Update(&t.table, before, after);
    });
    QTest::newRow("update of the key") << Change([](TestTable& t) {
        const Record before = t.find(2).clone();
        Record after = before.clone();
        after.data(TestTable::SecId) = 200LL;
        return new Undo::Update(&t.table, before, after);
    });
    QTest::newRow("transaction") << Change([](TestTable& t) {
        auto* trans = new Undo::Transaction(&t.table);
        new Undo::TransInsert(t.make(10, 10.0), trans);
        Record after = t.find(1).clone();
        after.data(TestTable::Lot) = 100;
        new Undo::TransUpdate(t.find(1).clone(), after, trans);
        new Undo::TransDelete(t.find(4).clone(), trans);
        // Changes of a row inserted earlier in the same transaction.
        Record ten = t.make(10, 10.0);
        ten.data(TestTable::Lot) = 7;
        new Undo::TransUpdate(t.make(10, 10.0), ten, trans);
        new Undo::TransDelete(t.find(5).clone(), trans);
        return trans;
    });
}

void TestUndo::commands()
{
    QFETCH(Change, change);
    TestTable t;
    fill(t);
    const QStringList original = t.snapshot();

    QUndoStack stack;
    stack.push(change(t)); // pushing executes the redo
    const QStringList changed = t.snapshot();
    QVERIFY(changed != original);

    for (int round = 0; round < 3; ++round) {
        stack.undo();
        QCOMPARE(t.snapshot(), original);
        stack.redo();
        QCOMPARE(t.snapshot(), changed);
    }
    // Every row of the table is reachable through its key.
    for (const Record& r : t.table.masterIndex()->records())
        QCOMPARE(t.table.masterIndex()->findByKey(r.clone()), r);
}

void TestUndo::recordsStayDetached()
{
    TestTable t;
    fill(t);
    const Record kept = t.make(42, 4.2);
    QUndoStack stack;
    auto* trans = new Undo::Transaction(&t.table);
    new Undo::TransInsert(kept, trans);
    stack.push(trans);
    QVERIFY(!t.find(42).isNull());
    QVERIFY(!kept.inTable());
    QVERIFY(t.find(42) != kept);
    // A later change of the table's row does not reach the command's copy.
    Record row = t.find(42);
    row.data(TestTable::Price) = 1.0;
    t.table.updated(row, TestTable::Price, TestTable::Price);
    stack.undo();
    QVERIFY(t.find(42).isNull());
    stack.redo();
    QCOMPARE(t.find(42).data(TestTable::Price).toDouble(), 4.2);
}

void TestUndo::commandsOnAGoneTableDoNothing()
{
    auto* t = new TestTable;
    fill(*t);
    QUndoStack stack;
    stack.push(new Undo::Clear(&t->table));
    auto* trans = new Undo::Transaction(&t->table);
    new Undo::TransInsert(t->make(1), trans);
    stack.push(trans);
    delete t;
    stack.undo();
    stack.undo();
    stack.redo();
    QCOMPARE(stack.index(), 1);
}

QTEST_GUILESS_MAIN(TestUndo)
#include "tst_undo.moc"
