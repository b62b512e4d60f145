// Editing the model portfolio: every path of an edit and its message, commands that undo and
// redo rows exactly, adding positions; the rows in the settings and in the drag format, and
// a drag reader that survives any damage to its payload.
#include "portfoliofixture.h"

#include "database/masterindex.h"
#include "database/settings.h"

#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

namespace {

const QString Call = QStringLiteral("RI150000CA");
const QString Put = QStringLiteral("RI145000PA");
const QString Future = QStringLiteral("RI-3.30");
const QString TooBig = QStringLiteral("Указанная позиция превышает максимально допустимую.");
const QString NotANumber = QStringLiteral("Невозможно преобразовать указанное значение в число.");
const QString NotFound = QStringLiteral("Выбранный инструмент не найден в базе данных.");
const QString Held = QStringLiteral("Выбранный инструмент уже присутствует в модельном портфеле.");

QVariant dec(double value, int scale = 2)
{
    return QVariant::fromValue(decimal::fromDouble(value, short(scale)));
}

// Every cell of every row: what undo and redo must restore exactly.
QStringList snapshot(const Table* table)
{
    QStringList rows;
    for (const Record& r : table->masterIndex()->records()) {
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c)
            cells << (r.data(c).isNull() ? QStringLiteral("null") : r.data(c).toString());
        rows << cells.join(QLatin1Char('|'));
    }
    rows.sort();
    return rows;
}

QModelIndex cell(const PortfolioFixture& f, const Record& row, const QString& column)
{
    return f.model->index(f.rowOf(row), f.model->fieldIndex(column));
}

// The message setData throws; empty when it takes the value.
QString edit(PortfolioFixture& f, const Record& row, const QString& column, const QVariant& value,
             int role = Qt::EditRole)
{
    try {
        return f.model->setData(cell(f, row, column), value, role) ? QString()
                                                                   : QStringLiteral("refused");
    } catch (const QString& message) {
        return message;
    }
}

// Checks "column=text ..." against the row's cells.
void compareCells(const Record& row, const QString& expected)
{
    for (const QString& pair : expected.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString column = pair.section(QLatin1Char('='), 0, 0);
        QCOMPARE(column + QLatin1Char('=') + row.data(column).toString(), pair);
    }
}

// Undoes and redoes the last command: both ends must be the rows as they were.
void compareUndoRedo(PortfolioFixture& f, const QStringList& before)
{
    const QStringList after = snapshot(f.table);
    f.model->undoStack()->undo();
    QCOMPARE(snapshot(f.table), before);
    f.model->undoStack()->redo();
    QCOMPARE(snapshot(f.table), after);
}

// A position as a row of "securities" or "positions_virtual" gives it.
PositionItem item(const Record& r, qint64 pos, double price = 0)
{
    PositionItem item;
    item.stock_id = r.data(QStringLiteral("stock_id")).toInteger();
    item.board_id = r.data(QStringLiteral("board_id")).toInteger();
    item.sec_id = r.data(QStringLiteral("sec_id")).toInteger64();
    item.sec_name = r.data(QStringLiteral("sec_name")).toString();
    item.sectype = r.data(QStringLiteral("sectype")).toChar();
    item.pos = pos;
    item.price = decimal::fromDouble(price, 0);
    item.expdate = r.data(QStringLiteral("expdate")).toDatetime();
    return item;
}

Record rowOfKey(const PortfolioFixture& f, int stock, int board, qint64 secId)
{
    Record key(f.table);
    key.data(QStringLiteral("stock_id")) = stock;
    key.data(QStringLiteral("board_id")) = board;
    key.data(QStringLiteral("sec_id")) = static_cast<long long>(secId);
    return f.table->masterIndex()->findByKey(key);
}

QString describe(const PositionItem& i)
{
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8")
        .arg(i.stock_id)
        .arg(i.board_id)
        .arg(i.sec_id)
        .arg(i.sec_name, QString(i.sectype))
        .arg(i.pos)
        .arg(i.price.toString(), i.expdate.toString());
}

QStringList parse(const PortfolioFixture& f, const QByteArray& bytes)
{
    QMimeData mime;
    mime.setData(PortfolioModel::mimeType(), bytes);
    const QList<PositionItem*> items = f.model->parseMimeData(&mime);
    QStringList list;
    for (const PositionItem* i : items)
        list << describe(*i);
    qDeleteAll(items);
    return list;
}

} // namespace

class TestPortfolioEdit : public QObject
{
    Q_OBJECT

private slots:
    void flagsAndCheckStates_data();
    void flagsAndCheckStates();
    void editCells_data();
    void editCells();
    void instrumentCells_data();
    void instrumentCells();
    void positionLimit();
    void addPositions_data();
    void addPositions();
    void removeRowsAndClear();
    void settingsRoundTrip();
    void settingsOfOlderVersionsAndGarbage();
    void dragRoundTrip();
    void damagedDragData();
};

void TestPortfolioEdit::flagsAndCheckStates_data()
{
    QTest::addColumn<QString>("security");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<QString>("editable");
    QTest::addColumn<int>("checkedFlag"); // after the check box goes on; 0: no check box
    QTest::addColumn<int>("uncheckedFlag");
    QTest::newRow("option") << Call << true << "sec_name pos expdate sectype strike miv mp" << 3
                            << 2;
    QTest::newRow("future") << Future << true << "sec_name pos expdate mp" << 5 << 4;
    QTest::newRow("option of another base code")
        << "Si90000CA" << true << "sec_name pos miv mp" << 0 << 0;
    QTest::newRow("delisted") << Call << false << "sec_name pos" << 0 << 0;
}

void TestPortfolioEdit::flagsAndCheckStates()
{
    QFETCH(QString, security);
    QFETCH(bool, listed);
    QFETCH(QString, editable);
    QFETCH(int, checkedFlag);
    QFETCH(int, uncheckedFlag);
    PortfolioFixture f;
    const Record row = f.addRow(security, 1);
    if (!listed)
        f.market.delist(security);

    QStringList editableColumns, checkableColumns;
    for (int c = 0; c < f.model->columnCount(); ++c) {
        const Qt::ItemFlags flags = f.model->flags(f.model->index(f.rowOf(row), c));
        QVERIFY(flags & Qt::ItemIsDragEnabled);
        if (flags & Qt::ItemIsEditable)
            editableColumns << f.model->columnName(c);
        if (flags & Qt::ItemIsUserCheckable)
            checkableColumns << f.model->columnName(c);
    }
    QCOMPARE(editableColumns.join(QLatin1Char(' ')), editable);
    QCOMPARE(checkableColumns.join(QLatin1Char(' ')),
             checkedFlag ? QStringLiteral("sec_name miv_mp_flag") : QString());
    QCOMPARE(f.model->flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsDropEnabled));
    QVERIFY(!cell(f, row, QStringLiteral("miv_mp_flag")).data().isValid());

    const int checked = checkedFlag ? Qt::Checked : Qt::Unchecked;
    // The box's state after a click; -1 if the model refused it.
    auto check = [&](const QString& column, int state) {
        if (!edit(f, row, column, state, Qt::CheckStateRole).isEmpty())
            return -1;
        return cell(f, row, column).data(Qt::CheckStateRole).toInt();
    };
    QCOMPARE(cell(f, row, QStringLiteral("sec_name")).data(Qt::CheckStateRole).toInt(), checked);
    QCOMPARE(check(QStringLiteral("miv_mp_flag"), Qt::Checked), checked);
    QCOMPARE(PortfolioFixture::flag(row), checkedFlag);
    QCOMPARE(check(QStringLiteral("miv_mp_flag"), Qt::Unchecked), int(Qt::Unchecked));
    QCOMPARE(PortfolioFixture::flag(row), uncheckedFlag);
    // The name's box takes the row out of the calculation; without a box nothing changes.
    QCOMPARE(check(QStringLiteral("sec_name"), Qt::Unchecked), int(Qt::Unchecked));
    QCOMPARE(row.data(QStringLiteral("flags")).toInteger(), checkedFlag ? 0 : 1);
    QCOMPARE(check(QStringLiteral("sec_name"), Qt::Checked), checked);
    QCOMPARE(row.data(QStringLiteral("flags")).toInteger(), 1);
}

void TestPortfolioEdit::editCells_data()
{
    QTest::addColumn<QString>("security");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("expected");
    const QString pos = QStringLiteral("pos"), miv = QStringLiteral("miv"),
                  mp = QStringLiteral("mp");
    QTest::newRow("pos") << Future << true << pos << QVariant(" 5 ") << ""
                         << "pos=5";
    QTest::newRow("pos 0 is legal") << Call << true << pos << QVariant(0) << ""
                                    << "pos=0";
    QTest::newRow("pos at the limit") << Future << true << pos << QVariant("-10000000000") << ""
                                      << "pos=-10000000000";
    QTest::newRow("pos over the limit")
        << Future << true << pos << QVariant("10000000001") << TooBig << "";
    QTest::newRow("pos of a delisted security")
        << Future << false << pos << QVariant("1") << TooBig << "";
    QTest::newRow("pos not a number")
        << Future << true << pos << QVariant("12x") << NotANumber << "";
    QTest::newRow("miv above the band") << Call << true << miv << QVariant("500") << ""
                                        << "miv_mp_flag=3 miv=200.00";
    QTest::newRow("miv below the band") << Call << true << miv << QVariant("1") << ""
                                        << "miv_mp_flag=3 miv=5.00";
    QTest::newRow("miv with a comma") << Call << true << miv << QVariant("25,555") << ""
                                      << "miv_mp_flag=3 miv=25.56";
    QTest::newRow("miv not a number") << Call << true << miv << QVariant("x") << NotANumber << "";
    QTest::newRow("miv of a future is ignored") << Future << true << miv << QVariant("25") << ""
                                                << "miv_mp_flag=0 miv=";
    QTest::newRow("mp of an option") << Call << true << mp << QVariant("1230") << ""
                                     << "miv_mp_flag=5 mp=1230.00000";
    QTest::newRow("mp of a future") << Future << true << mp << dec(150010) << ""
                                    << "miv_mp_flag=5 mp=150010.00000";
    QTest::newRow("mp empty") << Future << true << mp << QVariant("") << NotANumber << "";
}

void TestPortfolioEdit::editCells()
{
    QFETCH(QString, security);
    QFETCH(bool, listed);
    QFETCH(QString, column);
    QFETCH(QVariant, value);
    QFETCH(QString, error);
    QFETCH(QString, expected);
    PortfolioFixture f;
    const Record row = f.addRow(security, 1);
    if (!listed)
        f.market.delist(security);
    const QStringList before = snapshot(f.table);
    QSignalSpy userData(f.model.get(), SIGNAL(userDataUpdated()));

    QCOMPARE(edit(f, row, column, value), error);
    QCOMPARE(f.model->undoStack()->count(), error.isEmpty() ? 1 : 0);
    if (!error.isEmpty()) {
        QCOMPARE(snapshot(f.table), before);
        return;
    }
    QCOMPARE(f.model->undoStack()->text(0), QStringLiteral("изменение позиции"));
    compareCells(row, expected);
    // Told once the edit is through, not from inside it.
    QCOMPARE(userData.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(userData.count(), 1);
    compareUndoRedo(f, before);
}

void TestPortfolioEdit::instrumentCells_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("choice"); // "": a null record; "positions": a row of another table
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("expected");
    QTest::newRow("null record") << "sec_name"
                                 << "" << NotFound << "";
    QTest::newRow("a row of another table") << "strike"
                                            << "positions" << NotFound << "";
    QTest::newRow("the row's own") << "sec_name" << Call << ""
                                   << "";
    QTest::newRow("held by another row") << "strike" << Put << Held << "";
    QTest::newRow("another expiry rekeys the row")
        << "expdate"
        << "RI150000CB"
        << ""
        << "sec_name=RI150000CB expdate=13.03.2030 miv_mp_flag=3 miv=25.00";
    QTest::newRow("a future resets the model values")
        << "sec_name"
        << "RI-6.30"
        << ""
        << "sec_name=RI-6.30 sectype=F miv_mp_flag=0 miv=";
}

void TestPortfolioEdit::instrumentCells()
{
    QFETCH(QString, column);
    QFETCH(QString, choice);
    QFETCH(QString, error);
    QFETCH(QString, expected);
    PortfolioFixture f;
    const Record row = f.addRow(Call, 2, 3, dec(25));
    f.addRow(Put, 1);
    f.model->sort(f.model->fieldIndex(QStringLiteral("pos")));
    const QStringList before = snapshot(f.table);
    const Record security = choice == QLatin1String("positions")
                                ? f.market.positions()->masterIndex()->at(0)
                                : f.market.security(choice);

    QCOMPARE(edit(f, row, column, QVariant::fromValue(security)), error);
    const bool changed = error.isEmpty() && choice != Call;
    QCOMPARE(f.model->undoStack()->count(), changed ? 1 : 0);
    if (!changed) {
        QCOMPARE(snapshot(f.table), before);
        return;
    }
    QCOMPARE(f.model->sortColumn(), -1);
    QCOMPARE(f.model->rowCount(), 2);
    compareCells(row, expected);
    QCOMPARE(row.data(QStringLiteral("sec_id")).toInteger64(),
             security.data(QStringLiteral("sec_id")).toInteger64());
    compareUndoRedo(f, before);
}

void TestPortfolioEdit::positionLimit()
{
    PortfolioFixture f;
    auto limit = [&f](const QString& name, QChar sectype) {
        return f.model->positionLimit(1, f.market.secId(name), sectype);
    };
    // Position times twice the base price stays within a decimal.
    QCOMPARE(limit(Future, QLatin1Char('F')), Q_INT64_C(10000000000));
    QCOMPARE(limit(Call, QLatin1Char('O')), Q_INT64_C(10000000000));
    QCOMPARE(limit(QStringLiteral("GZ-3.30"), QLatin1Char('F')), Q_INT64_C(10000000000000));
    QCOMPARE(limit(Future, QLatin1Char('O')), Q_INT64_C(-1)); // no option of that id
    QCOMPARE(limit(Future, QLatin1Char('X')), Q_INT64_C(-1));
    QCOMPARE(limit(QStringLiteral("none"), QLatin1Char('F')), Q_INT64_C(-1));
    // Without prices the base price is the plot's middle; zero, or too small for the power to
    // fit 64 bits, gives the fallback.
    for (const char* column : {"cur_kotir_real", "cur_kotir", "old_kotir"})
        f.market.setField(Future, QLatin1String(column), QVariant());
    QCOMPARE(limit(Call, QLatin1Char('O')), Q_INT64_C(1000000));
    f.model->setPlotMiddle(1000);
    QCOMPARE(limit(Call, QLatin1Char('O')), Q_INT64_C(1000000000000));
    f.model->setPlotMiddle(0.00001);
    QCOMPARE(limit(Future, QLatin1Char('F')), Q_INT64_C(1000000));
}

void TestPortfolioEdit::addPositions_data()
{
    // Rows as "name pos flag", items as "name pos price"; expected rows may add their mp.
    QTest::addColumn<QStringList>("held");
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QStringList>("expected");
    const QString closing = QStringLiteral("RI-3.30 -3 0");
    QTest::newRow("new rows") << QStringList() << QStringList{"RI-3.30 2 0", "RI150000CA -1 1230"}
                              << QStringList{"RI-3.30 2 0", "RI150000CA -1 4 1230"};
    QTest::newRow("adds up") << QStringList{"RI-3.30 3 0"} << QStringList{"RI-3.30 2 0"}
                             << QStringList{"RI-3.30 5 0"};
    QTest::newRow("a closing trade overwrites")
        << QStringList{"RI-3.30 3 0"} << QStringList{closing} << QStringList{closing};
    QTest::newRow("a sum over the limit overwrites")
        << QStringList{"RI-3.30 10000000000 0"} << QStringList{"RI-3.30 1 0"}
        << QStringList{"RI-3.30 1 0"};
    QTest::newRow("a price fixes mp of a market row")
        << QStringList{"RI150000CA 1 0"} << QStringList{"RI150000CA 1 1230"}
        << QStringList{"RI150000CA 2 4 1230"};
    QTest::newRow("a price leaves a model row")
        << QStringList{"RI150000CA 1 3"} << QStringList{"RI150000CA 1 1230"}
        << QStringList{"RI150000CA 2 3"};
    QTest::newRow("twice in one list")
        << QStringList() << QStringList{"RI-3.30 3 0", closing} << QStringList{closing};
    QTest::newRow("over the limit or unknown: no command")
        << QStringList{"RI-3.30 1 0"} << QStringList{"RI-3.30 -10000000001 0", "none 1 0"}
        << QStringList{"RI-3.30 1 0"};
}

void TestPortfolioEdit::addPositions()
{
    QFETCH(QStringList, held);
    QFETCH(QStringList, items);
    QFETCH(QStringList, expected);
    PortfolioFixture f;
    for (const QString& h : held) {
        const QStringList p = h.split(QLatin1Char(' '));
        const int flag = p[2].toInt();
        f.addRow(p[0], p[1].toLongLong(), flag, flag == 3 ? dec(25) : QVariant());
    }
    const QStringList before = snapshot(f.table);
    QVector<PositionItem> list;
    for (const QString& i : items) {
        const QStringList p = i.split(QLatin1Char(' '));
        list << item(f.market.security(p[0]), p[1].toLongLong(), p[2].toDouble());
    }
    QList<PositionItem*> pointers;
    for (PositionItem& i : list)
        pointers << &i;
    f.model->addPositions(pointers);

    QStringList rows;
    for (const Record& r : f.table->masterIndex()->records()) {
        QString text = QStringLiteral("%1 %2 %3")
                           .arg(r.data(QStringLiteral("sec_name")).toString(),
                                r.data(QStringLiteral("pos")).toString(),
                                QString::number(PortfolioFixture::flag(r)));
        if (PortfolioFixture::flag(r) == VirtualPortfolioModel::MpFixed)
            text += QLatin1Char(' ') + QString::number(r.data(QStringLiteral("mp")).toDouble());
        QCOMPARE(r.data(QStringLiteral("flags")).toInteger(), 1);
        rows << text;
    }
    rows.sort();
    QCOMPARE(rows, expected);
    const bool changed = before != snapshot(f.table);
    QCOMPARE(f.model->undoStack()->count(), changed ? 1 : 0);
    if (changed) {
        QCOMPARE(f.model->undoStack()->text(0), QStringLiteral("изменение портфеля"));
        compareUndoRedo(f, before);
    }
}

void TestPortfolioEdit::removeRowsAndClear()
{
    PortfolioFixture f;
    const Record future = f.addRow(Future, 1);
    const Record call = f.addRow(Call, -1, 3, dec(25));
    const Record put = f.addRow(Put, 2);
    const QStringList before = snapshot(f.table);
    QUndoStack* stack = f.model->undoStack();

    f.model->removeRows(QList<QModelIndex>{cell(f, call, QStringLiteral("pos")), QModelIndex(),
                                           cell(f, put, QStringLiteral("sec_name")),
                                           cell(f, call, QStringLiteral("mp"))});
    QCOMPARE(stack->count(), 1);
    QCOMPARE(stack->text(0), QStringLiteral("удаление"));
    QCOMPARE(f.model->rowCount(), 1);
    QVERIFY(f.model->at(0) == future);
    compareUndoRedo(f, before);
    stack->undo();
    // An empty selection is a command all the same.
    f.model->removeRows(QList<QModelIndex>());
    QCOMPARE(stack->index(), 1);
    QCOMPARE(snapshot(f.table), before);

    f.model->clearPortfolio();
    QCOMPARE(stack->text(1), QStringLiteral("очистку"));
    QCOMPARE(f.model->rowCount(), 0);
    compareUndoRedo(f, before);
}

void TestPortfolioEdit::settingsRoundTrip()
{
    PortfolioFixture f;
    f.addRow(Call, -2, 3, dec(25));
    f.addRow(Put, 3, 5, QVariant(), dec(1230, 5));
    // A future has no volatility: its empty miv is saved as 0 and comes back so.
    f.addRow(Future, 1, 0, dec(0));
    const Record unchecked = f.addRow(QStringLiteral("RI-6.30"), 4, 0, dec(0));
    f.set(unchecked, {{QStringLiteral("flags"), 0}});
    const QStringList saved = snapshot(f.table);

    QTemporaryDir dir;
    Settings settings(dir.filePath(QStringLiteral("store.ini")));
    settings.beginGroup(QStringLiteral("virtualPortfolio"));
    f.model->saveToSettings(settings);
    QCOMPARE(settings.value(QStringLiteral("rowsCount")).toInt(), 4);
    f.table->clear();
    f.model->loadFromSettings(settings);
    QCOMPARE(snapshot(f.table), saved);
    QCOMPARE(f.model->undoStack()->count(), 0);
    // A shorter portfolio leaves no rows of the longer one behind.
    f.model->removeRows({f.model->index(0, 0)});
    f.model->saveToSettings(settings);
    QVERIFY(!settings.childGroups().contains(QStringLiteral("row_3")));
}

void TestPortfolioEdit::settingsOfOlderVersionsAndGarbage()
{
    PortfolioFixture f;
    f.addRow(Put, 3);
    QTemporaryDir dir;
    Settings settings(dir.filePath(QStringLiteral("store.ini")));
    auto row = [&settings](int n, const QVariantMap& keys) {
        for (auto it = keys.begin(); it != keys.end(); ++it)
            settings.setValue(QStringLiteral("row_%1/").arg(n) + it.key(), it.value());
    };
    const qlonglong call = f.market.secId(Call), future = f.market.secId(Future);
    // Rows of a version without boards, one of garbage, row 3 missing, row 7 beyond the count.
    row(0, {{"stock_id", 1}, {"sec_id", call}, {"sectype", "O"}, {"pos", 2}, {"expdate", ""}});
    row(1, {{"stock_id", 1}, {"sec_id", future}, {"sectype", "F"}, {"expdate", "2030.03.20"}});
    row(2, {{"stock_id", "x"},
            {"sec_id", "1e99"},
            {"sectype", "FO"},
            {"pos", "y"},
            {"expdate", "2030.13.45"},
            {"miv", "nan"},
            {"mp", "1e300"},
            {"miv_mp_flag", "z"}});
    row(7, {{"stock_id", 1}, {"sec_id", future}, {"sectype", "F"}, {"pos", 9}});

    // No count, or no usable one, leaves the table as it is.
    for (const QVariant& count : {QVariant(), QVariant(0), QVariant("many"), QVariant(-4)}) {
        settings.setValue(QStringLiteral("rowsCount"), count);
        f.model->loadFromSettings(settings);
        QCOMPARE(f.model->rowCount(), 1);
    }
    // Loading adds to the rows there are; the garbage row is a zero-valued one, inactive.
    settings.setValue(QStringLiteral("rowsCount"), 3);
    f.model->loadFromSettings(settings);
    QCOMPARE(f.model->rowCount(), 4);
    QCOMPARE(f.model->activeRowCount(), 3);
    const Record option = rowOfKey(f, 1, 14, call);
    QVERIFY(option.data(QStringLiteral("expdate")).isNull());
    QCOMPARE(option.data(QStringLiteral("flags")).toInteger(), 1);
    QCOMPARE(rowOfKey(f, 1, 1, future).data(QStringLiteral("pos")).toInteger64(), 0LL);
    QVERIFY(!rowOfKey(f, 0, 14, 0).isNull());
    // A count far beyond the groups costs no more than the groups: row 7 comes in, and the
    // missing rows are the zero-valued row again.
    settings.setValue(QStringLiteral("rowsCount"), 2000000000);
    f.model->loadFromSettings(settings);
    QCOMPARE(f.model->rowCount(), 4);
    QCOMPARE(rowOfKey(f, 1, 1, future).data(QStringLiteral("pos")).toInteger64(), 9LL);
}

void TestPortfolioEdit::dragRoundTrip()
{
    PortfolioFixture f;
    PortfolioModel real(f.market.positions(), &f.securityModel);
    real.setAccount(QStringLiteral("TEST01"));
    real.setBaseCode(QStringLiteral("RI"));
    QCOMPARE(real.mimeTypes(), QStringList{QStringLiteral("application/x-gui-portfolio")});
    QModelIndexList all;
    for (int row = 0; row < real.rowCount(); ++row)
        all << real.index(row, 0) << real.index(row, 3);
    const std::unique_ptr<QMimeData> fromReal(real.mimeData(all));
    QList<PositionItem*> items = f.model->parseMimeData(fromReal.get());
    QCOMPARE(items.size(), 3);
    f.model->addPositions(items);
    qDeleteAll(items);
    // The real model's average price arrives as the model price, fixed but not in use.
    for (int row = 0; row < real.rowCount(); ++row) {
        const Record position = real.at(row);
        const Record added = rowOfKey(f, position.data(QStringLiteral("stock_id")).toInteger(),
                                      position.data(QStringLiteral("board_id")).toInteger(),
                                      position.data(QStringLiteral("sec_id")).toInteger64());
        QCOMPARE(added.data(QStringLiteral("pos")).toInteger64(),
                 position.data(QStringLiteral("pos")).toInteger64());
        QCOMPARE(PortfolioFixture::flag(added), int(VirtualPortfolioModel::MpFixed));
        QCOMPARE(PortfolioFixture::dec(added, "mp"), PortfolioFixture::dec(position, "waprice"));
    }

    // Out of the model portfolio: no price, and a row without any expiry stays behind.
    const Record lost = f.addRow(QStringLiteral("RI-6.30"), 1);
    f.set(lost, {{QStringLiteral("expdate"), QVariant()}});
    f.market.delist(QStringLiteral("RI-6.30"));
    all.clear();
    for (int row = 0; row < f.model->rowCount(); ++row)
        all << f.model->index(row, 0);
    const std::unique_ptr<QMimeData> fromModel(f.model->mimeData(all));
    QStringList dragged = parse(f, fromModel->data(PortfolioModel::mimeType())), expected;
    for (const Record& r : f.table->masterIndex()->records())
        if (r != lost)
            expected << describe(item(r, r.data(QStringLiteral("pos")).toInteger64()));
    dragged.sort();
    expected.sort();
    QCOMPARE(dragged, expected);
    QMimeData other;
    other.setText(QStringLiteral("RI-3.30"));
    QVERIFY(f.model->parseMimeData(&other).isEmpty());
    QVERIFY(f.model->parseMimeData(nullptr).isEmpty());
}

void TestPortfolioEdit::damagedDragData()
{
    PortfolioFixture f;
    for (const QString& name : {Future, Call, Put})
        f.addRow(name, 7);
    QModelIndexList all;
    for (int row = 0; row < f.model->rowCount(); ++row)
        all << f.model->index(row, 0);
    const std::unique_ptr<QMimeData> mime(f.model->mimeData(all));
    const QByteArray payload = mime->data(PortfolioModel::mimeType());
    const QStringList whole = parse(f, payload);
    QCOMPARE(whole.size(), 3);
    // Where each record ends: 46 bytes of fixed fields and the name in UTF-16.
    QVector<int> ends;
    for (const QString& record : whole)
        ends << (ends.isEmpty() ? 0 : ends.last()) + 46 +
                    2 * record.section(QLatin1Char(' '), 3, 3).size();
    QCOMPARE(ends.last(), payload.size());

    for (int length = 0; length < payload.size(); ++length) {
        const int records = int(std::upper_bound(ends.begin(), ends.end(), length) - ends.begin());
        QCOMPARE(parse(f, payload.left(length)), whole.mid(0, records));
    }
    for (int at = 0; at < payload.size(); ++at) {
        for (char mask : {'\x01', '\x80', '\xff'}) {
            QByteArray damaged = payload;
            damaged[at] = char(damaged[at] ^ mask);
            const QStringList items = parse(f, damaged);
            const int intact = int(std::upper_bound(ends.begin(), ends.end(), at) - ends.begin());
            QVERIFY(items.size() <= payload.size() / 46);
            QCOMPARE(items.mid(0, intact), whole.mid(0, intact));
        }
    }
}

QTEST_MAIN(TestPortfolioEdit)
#include "tst_portfolioedit.moc"
