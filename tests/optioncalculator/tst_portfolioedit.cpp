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

void compareUndoRedo(PortfolioFixture& f, const QStringList& before)
{
    const QStringList after = snapshot(f.table);
    f.model->undoStack()->undo();
    QCOMPARE(snapshot(f.table), before);
    f.model->undoStack()->redo();
    QCOMPARE(snapshot(f.table), after);
}

QModelIndex cell(const PortfolioFixture& f, const Record& row, const QString& column)
{
    return f.model->index(f.rowOf(row), f.model->fieldIndex(column));
}

Record rowOfKey(const PortfolioFixture& f, int stock, int board, qint64 secId)
{
    Record key(f.table);
    key.data("stock_id") = stock;
    key.data("board_id") = board;
    key.data("sec_id") = static_cast<long long>(secId);
    return f.table->masterIndex()->findByKey(key);
}

// A position as a row of "securities" or of the model portfolio gives it.
PositionItem item(const Record& r, qint64 pos, double price = 0)
{
    PositionItem i;
    i.stock_id = r.data("stock_id").toInteger();
    i.board_id = r.data("board_id").toInteger();
    i.sec_id = r.data("sec_id").toInteger64();
    i.sec_name = r.data("sec_name").toString();
    i.sectype = r.data("sectype").toChar();
    i.pos = pos;
    i.price = decimal::fromDouble(price, 0);
    i.expdate = r.data("expdate").toDatetime();
    return i;
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
    void edits_data();
    void edits();
    void positionLimit();
    void addPositions_data();
    void addPositions();
    void removeRowsAndClear();
    void settings();
    void drag();
};

void TestPortfolioEdit::edits_data()
{
    // The row edited (miv 25 in state 3) stands beside a row of the put. The instrument cells
    // take the security named: none for "", a row of "positions" for "positions". Expected
    // cells as "column=text", "box" the cell's check box; none when no command is pushed.
    // A cell that isn't editable, or has no box, takes nothing, but the command is pushed.
    QTest::addColumn<QString>("security");
    QTest::addColumn<int>("flag");
    QTest::addColumn<QString>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("expected");
    const int edit = Qt::EditRole, check = Qt::CheckStateRole;
    const QString tooBig = "Указанная позиция превышает максимально допустимую.",
                  nan = "Невозможно преобразовать указанное значение в число.",
                  notFound = "Выбранный инструмент не найден в базе данных.",
                  held = "Выбранный инструмент уже присутствует в модельном портфеле.";
    auto row = [](const char* name, const QString& security, int flag, const char* column, int role,
                  const QVariant& value, const QString& error, const char* expected) {
        QTest::newRow(name) << security << flag << QString(column) << role << value << error
                            << QString(expected);
    };
    row("pos", Future, 0, "pos", edit, " 5 ", "", "pos=5");
    row("pos 0 is legal", Call, 0, "pos", edit, 0, "", "pos=0");
    row("pos at the limit", Future, 0, "pos", edit, "-10000000000", "", "pos=-10000000000");
    row("pos over the limit", Future, 0, "pos", edit, "10000000001", tooBig, "");
    row("pos not a number", Future, 0, "pos", edit, "12x", nan, "");
    row("miv above the band", Call, 0, "miv", edit, "500", "", "miv_mp_flag=3 miv=200.00");
    row("miv below the band", Call, 0, "miv", edit, "1", "", "miv_mp_flag=3 miv=5.00");
    row("miv with a comma", Call, 0, "miv", edit, "25,555", "", "miv_mp_flag=3 miv=25.56");
    row("miv not a number", Call, 0, "miv", edit, "x", nan, "");
    row("miv of a future is ignored", Future, 0, "miv", edit, "25", "", "miv_mp_flag=0 miv=");
    row("mp of an option", Call, 0, "mp", edit, "1230", "", "miv_mp_flag=5 mp=1230.00000");
    row("mp of a future", Future, 0, "mp", edit, dec(150010), "", "mp=150010.00000");
    row("mp empty", Future, 0, "mp", edit, "", nan, "");
    row("model values on, option", Call, 0, "miv_mp_flag", check, 2, "", "miv_mp_flag=3 box=2");
    row("model values off", Call, 3, "miv_mp_flag", check, 0, "", "miv_mp_flag=2 mp= box=0");
    row("model values on, future", Future, 0, "miv_mp_flag", check, 2, "", "miv_mp_flag=5");
    row("out of the calculation", Future, 0, "sec_name", check, 0, "", "flags=0 box=0");
    row("no box when inactive", "Si-3.30", 0, "sec_name", check, 0, "", "flags=1 box=0");
    row("inactive: no strike", "Si90000CA", 0, "strike", edit, Call, "", "sec_name=Si90000CA");
    row("no instrument", Call, 3, "sec_name", edit, "", notFound, "");
    row("a row of another table", Call, 3, "strike", edit, "positions", notFound, "");
    row("the row's own instrument", Call, 3, "sec_name", edit, Call, "", "");
    row("an instrument held by another row", Call, 3, "strike", edit, Put, held, "");
    row("another expiry rekeys the row", Call, 3, "expdate", edit, "RI150000CB", "",
        "sec_name=RI150000CB expdate=13.03.2030 miv_mp_flag=3 miv=25.00");
    row("a future resets the model values", Call, 3, "sectype", edit, "RI-6.30", "",
        "sec_name=RI-6.30 sectype=F miv_mp_flag=0 miv=");
}

void TestPortfolioEdit::edits()
{
    QFETCH(QString, security);
    QFETCH(int, flag);
    QFETCH(QString, column);
    QFETCH(int, role);
    QFETCH(QVariant, value);
    QFETCH(QString, error);
    QFETCH(QString, expected);
    PortfolioFixture f;
    const Record row = f.addRow(security, 1, flag, flag == 3 ? dec(25) : QVariant());
    f.addRow(Put, 1);
    if (role == Qt::EditRole &&
        QStringList{"sec_name", "strike", "sectype", "expdate"}.contains(column))
        value = QVariant::fromValue(value.toString() == "positions"
                                        ? f.market.positions()->masterIndex()->at(0)
                                        : f.market.security(value.toString()));
    const QStringList before = snapshot(f.table);
    QSignalSpy userData(f.model.get(), SIGNAL(userDataUpdated()));
    QString thrown;
    try {
        QVERIFY(f.model->setData(cell(f, row, column), value, role));
    } catch (const QString& message) {
        thrown = message;
    }
    QCOMPARE(thrown, error);
    QCOMPARE(f.model->undoStack()->count(), expected.isEmpty() ? 0 : 1);
    if (expected.isEmpty()) {
        QCOMPARE(snapshot(f.table), before);
        return;
    }
    QCOMPARE(f.model->undoStack()->text(0), "изменение позиции");
    for (const QString& pair : expected.split(' ')) {
        const QString name = pair.section('=', 0, 0);
        const QString text = name == "box"
                                 ? cell(f, row, column).data(Qt::CheckStateRole).toString()
                                 : row.data(name).toString();
        QCOMPARE(name + '=' + text, pair);
    }
    // A new instrument rekeys the row.
    QCOMPARE(row.data("sec_id").toInteger64(), f.market.secId(row.data("sec_name").toString()));
    // Told once the edit is through, not from inside it.
    QCOMPARE(userData.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(userData.count(), 1);
    compareUndoRedo(f, before);
}

void TestPortfolioEdit::positionLimit()
{
    PortfolioFixture f;
    auto limit = [&f](const QString& name, char sectype) {
        return f.model->positionLimit(1, f.market.secId(name), QLatin1Char(sectype));
    };
    // Position times twice the base price stays within a decimal.
    QCOMPARE(limit(Future, 'F'), Q_INT64_C(10000000000));
    QCOMPARE(limit(Call, 'O'), Q_INT64_C(10000000000));
    QCOMPARE(limit("GZ-3.30", 'F'), Q_INT64_C(10000000000000));
    QCOMPARE(limit(Future, 'O'), Q_INT64_C(-1)); // no option of that id
    // Without prices the base price is the plot's middle: zero, or so small that the power
    // leaves 64 bits, gives the fallback.
    for (const char* column : {"cur_kotir_real", "cur_kotir", "old_kotir"})
        f.market.setField(Future, column, QVariant());
    QCOMPARE(limit(Call, 'O'), Q_INT64_C(1000000));
    f.model->setPlotMiddle(1000);
    QCOMPARE(limit(Call, 'O'), Q_INT64_C(1000000000000));
    f.model->setPlotMiddle(0.00001);
    QCOMPARE(limit(Future, 'F'), Q_INT64_C(1000000));
}

void TestPortfolioEdit::addPositions_data()
{
    // Rows as "name pos flag", items as "name pos price", lists split by ";". A row in
    // state 4 shows its mp too.
    QTest::addColumn<QString>("held");
    QTest::addColumn<QString>("items");
    QTest::addColumn<QString>("expected");
    auto row = [](const char* name, const char* held, const char* items, const char* expected) {
        QTest::newRow(name) << QString(held) << QString(items) << QString(expected);
    };
    row("new", "", "RI-3.30 2 0;RI150000CA -1 1230", "RI-3.30 2 0;RI150000CA -1 4 1230");
    row("adds up", "RI-3.30 3 0", "RI-3.30 2 0", "RI-3.30 5 0");
    row("closing overwrites", "RI-3.30 3 0", "RI-3.30 -3 0", "RI-3.30 -3 0");
    row("over the limit overwrites", "RI-3.30 10000000000 0", "RI-3.30 1 0", "RI-3.30 1 0");
    row("price on a market row", "RI150000CA 1 0", "RI150000CA 1 1230", "RI150000CA 2 4 1230");
    row("price on a model row", "RI150000CA 1 3", "RI150000CA 1 1230", "RI150000CA 2 3");
    row("twice in one list", "", "RI-3.30 3 0;RI-3.30 -3 0", "RI-3.30 -3 0");
    row("too many, unknown: no command", "RI-3.30 1 0", "RI-3.30 -10000000001 0;none 1 0",
        "RI-3.30 1 0");
}

void TestPortfolioEdit::addPositions()
{
    QFETCH(QString, held);
    QFETCH(QString, items);
    QFETCH(QString, expected);
    PortfolioFixture f;
    for (const QString& h : held.split(';', Qt::SkipEmptyParts)) {
        const QStringList p = h.split(' ');
        f.addRow(p[0], p[1].toLongLong(), p[2].toInt(), p[2] == "3" ? dec(25) : QVariant());
    }
    const QStringList before = snapshot(f.table);
    QVector<PositionItem> list;
    for (const QString& i : items.split(';')) {
        const QStringList p = i.split(' ');
        list << item(f.market.security(p[0]), p[1].toLongLong(), p[2].toDouble());
    }
    QList<PositionItem*> pointers;
    for (PositionItem& i : list)
        pointers << &i;
    f.model->addPositions(pointers);

    QStringList rows;
    for (const Record& r : f.table->masterIndex()->records()) {
        const int flag = PortfolioFixture::flag(r);
        rows << QStringLiteral("%1 %2 %3")
                    .arg(r.data("sec_name").toString(), r.data("pos").toString())
                    .arg(flag);
        if (flag == MpFixed)
            rows.last() += ' ' + QString::number(r.data("mp").toDouble());
        QCOMPARE(r.data("flags").toInteger(), 1);
    }
    rows.sort();
    QCOMPARE(rows.join(';'), expected);
    const bool changed = before != snapshot(f.table);
    QCOMPARE(f.model->undoStack()->count(), changed ? 1 : 0);
    if (changed) {
        QCOMPARE(f.model->undoStack()->text(0), "изменение портфеля");
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
    // Each row once, however many of its cells are selected.
    f.model->removeRows(
        {cell(f, call, "pos"), QModelIndex(), cell(f, put, "sec_name"), cell(f, call, "mp")});
    QCOMPARE(stack->text(0), "удаление");
    QCOMPARE(f.model->rowCount(), 1);
    QVERIFY(f.model->at(0) == future);
    compareUndoRedo(f, before);
    stack->undo();
    // An empty selection is a command all the same.
    f.model->removeRows(QList<QModelIndex>());
    QCOMPARE(stack->index(), 1);
    f.model->clearPortfolio();
    QCOMPARE(stack->text(1), "очистку");
    QCOMPARE(f.model->rowCount(), 0);
    QCOMPARE(f.model->flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsDropEnabled));
    compareUndoRedo(f, before);
}

void TestPortfolioEdit::settings()
{
    PortfolioFixture f;
    f.addRow(Call, -2, 3, dec(25));
    f.addRow(Put, 3, 5, QVariant(), dec(1230, 5));
    // A future has no volatility: its empty miv is saved as 0 and comes back so.
    f.set(f.addRow(Future, 1, 0, dec(0)), {{"flags", 0}});
    const QStringList saved = snapshot(f.table);
    QTemporaryDir dir;
    Settings settings(dir.filePath("store.ini"));
    f.model->saveToSettings(settings);
    f.table->clear();
    f.model->loadFromSettings(settings);
    QCOMPARE(snapshot(f.table), saved);
    QCOMPARE(f.model->undoStack()->count(), 0);
    // A shorter portfolio leaves no rows of the longer one behind.
    f.model->removeRows({f.model->index(0, 0)});
    f.model->saveToSettings(settings);
    QCOMPARE(settings.childGroups(), QStringList({"row_0", "row_1"}));

    // Rows of a version without boards, a row of garbage, row 3 missing, row 7 beyond the count.
    settings.remove(QString());
    auto row = [&settings](int n, const QVariantMap& keys) {
        for (auto it = keys.begin(); it != keys.end(); ++it)
            settings.setValue(QStringLiteral("row_%1/").arg(n) + it.key(), it.value());
    };
    const qlonglong call = f.market.secId(Call), future = f.market.secId(Future);
    row(0, {{"stock_id", 1}, {"sec_id", call}, {"sectype", "O"}, {"pos", 2}, {"expdate", ""}});
    row(1, {{"stock_id", 1}, {"sec_id", future}, {"sectype", "F"}});
    for (const char* key : {"stock_id", "sec_id", "sectype", "pos", "expdate", "miv_mp_flag"})
        settings.setValue(QStringLiteral("row_2/") + key, "FO 2030.13.45");
    row(2, {{"miv", "nan"}, {"mp", "1e300"}, {"flags", 0}});
    row(7, {{"stock_id", 1}, {"sec_id", future}, {"sectype", "F"}, {"pos", 9}});
    f.table->clear();
    f.addRow(Put, 3);
    for (const QVariant& count : {QVariant(), QVariant(0), QVariant("many"), QVariant(-4)}) {
        settings.setValue("rowsCount", count);
        f.model->loadFromSettings(settings);
        QCOMPARE(f.model->rowCount(), 1);
    }
    // Loading adds to the rows there are; the garbage is a zero-valued row, inactive.
    settings.setValue("rowsCount", 3);
    f.model->loadFromSettings(settings);
    QCOMPARE(f.model->rowCount(), 4);
    QCOMPARE(f.model->activeRowCount(), 3);
    QVERIFY(rowOfKey(f, 1, 14, call).data("expdate").isNull());
    QCOMPARE(rowOfKey(f, 1, 1, future).data("flags").toInteger(), 1);
    // Without a security only the position and the name can be edited.
    const Record zero = rowOfKey(f, 0, 14, 0);
    QCOMPARE(zero.data("flags").toInteger(), 0);
    QCOMPARE(f.model->flags(cell(f, zero, "mp")),
             Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled);
    // A count far beyond the groups costs no more than the groups: row 7 comes in, and the
    // missing rows are the zero-valued row again.
    settings.setValue("rowsCount", 2000000000);
    f.model->loadFromSettings(settings);
    QCOMPARE(f.model->rowCount(), 4);
    QCOMPARE(rowOfKey(f, 1, 1, future).data("pos").toInteger64(), 9LL);
    QCOMPARE(zero.data("flags").toInteger(), 1);
}

void TestPortfolioEdit::drag()
{
    PortfolioFixture f;
    PortfolioModel real(f.market.positions(), &f.securityModel);
    real.setAccount("TEST01");
    real.setBaseCode("RI");
    QCOMPARE(real.mimeTypes(), QStringList{"application/x-gui-portfolio"});
    QModelIndexList all;
    for (int row = 0; row < real.rowCount(); ++row)
        all << real.index(row, 0) << real.index(row, 3);
    QList<PositionItem*> items =
        f.model->parseMimeData(std::unique_ptr<QMimeData>(real.mimeData(all)).get());
    QCOMPARE(items.size(), 3);
    f.model->addPositions(items);
    qDeleteAll(items);
    // The average price arrives as the model price, fixed but not in use.
    for (int row = 0; row < real.rowCount(); ++row) {
        const Record position = real.at(row);
        const Record added = rowOfKey(f, 1, position.data("board_id"), position.data("sec_id"));
        QCOMPARE(added.data("pos").toString(), position.data("pos").toString());
        QCOMPARE(PortfolioFixture::flag(added), int(MpFixed));
        QCOMPARE(PortfolioFixture::dec(added, "mp"), PortfolioFixture::dec(position, "waprice"));
    }

    // Out of the model portfolio: no price, and a row without any expiry stays behind.
    const Record lost = f.addRow("RI-6.30", 1);
    f.set(lost, {{"expdate", QVariant()}});
    f.market.delist("RI-6.30");
    all.clear();
    for (int row = 0; row < f.model->rowCount(); ++row)
        all << f.model->index(row, 0);
    const QByteArray payload =
        std::unique_ptr<QMimeData>(f.model->mimeData(all))->data(PortfolioModel::mimeType());
    const QStringList whole = parse(f, payload);
    QStringList expected;
    for (const Record& r : f.table->masterIndex()->records())
        if (r != lost)
            expected << describe(item(r, r.data("pos").toInteger64()));
    QCOMPARE(QSet<QString>(whole.begin(), whole.end()),
             QSet<QString>(expected.begin(), expected.end()));
    QMimeData text;
    text.setText(Future);
    QVERIFY(f.model->parseMimeData(&text).isEmpty());

    // Damage ends the list, and the records before it stay intact. A record is 46 bytes of
    // fixed fields and its name in UTF-16.
    QVector<int> ends;
    for (const QString& record : whole)
        ends << (ends.isEmpty() ? 0 : ends.last()) + 46 + 2 * record.section(' ', 3, 3).size();
    QCOMPARE(ends.last(), payload.size());
    auto wholeBefore = [&](int at) {
        return whole.mid(0, int(std::upper_bound(ends.begin(), ends.end(), at) - ends.begin()));
    };
    for (int at = 0; at < payload.size(); ++at) {
        QCOMPARE(parse(f, payload.left(at)), wholeBefore(at));
        for (char mask : {'\x01', '\x80', '\xff'}) {
            QByteArray damaged = payload;
            damaged[at] = char(damaged[at] ^ mask);
            const QStringList read = parse(f, damaged);
            QVERIFY(read.size() <= payload.size() / 46);
            QCOMPARE(read.mid(0, wholeBefore(at).size()), wholeBefore(at));
        }
    }
}

QTEST_MAIN(TestPortfolioEdit)
#include "tst_portfolioedit.moc"
