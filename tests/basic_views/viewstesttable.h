#pragma once

#include "database/index.h"
#include "database/masterindexcolumn.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QAbstractItemModelTester>
#include <QDate>
#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

// A small table of securities keyed by (stock_id, board_id, sec_id), with columns of every
// type the models show.
struct ViewsTestTable
{
    enum Column {
        StockId,
        BoardId,
        SecId,
        SecName,
        Sectype,
        OptionType,
        BaseCode,
        Strike,
        ExpDate,
        Price,
        Volat,
        Decimals,
        Lot,
        ColumnCount
    };

    explicit ViewsTestTable(QObject* parent = nullptr)
        : table(new Table(QStringLiteral("securities"), QStringLiteral("test"), parent))
    {
        Table& t = *table;
        t.addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false,
                    QStringLiteral("Биржа"), true, QStringLiteral("Идентификатор биржи"));
        t.addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false,
                    QStringLiteral("Режим"), true, QStringLiteral("Режим торгов"));
        t.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QStringLiteral("Ид."),
                    true, QStringLiteral("Идентификатор инструмента"));
        t.setMasterIndex(
            MasterIndex_Column::create(&t, {QStringLiteral("stock_id"), QStringLiteral("board_id"),
                                            QStringLiteral("sec_id")}));
        t.addColumn(QStringLiteral("sec_name"), FieldType::String, 40, true,
                    QStringLiteral("Инструмент"), true, QStringLiteral("Короткий код"));
        t.addColumn(QStringLiteral("sectype"), FieldType::String, 1, false, QStringLiteral("Тип"));
        t.addColumn(QStringLiteral("option_type"), FieldType::String, 1, true,
                    QStringLiteral("Тип опциона"));
        t.addColumn(QStringLiteral("base_code"), FieldType::String, 20, false,
                    QStringLiteral("Базовый актив"));
        t.addColumn(QStringLiteral("strike"), FieldType::Decimal, 2, true, QStringLiteral("Страйк"),
                    true, QStringLiteral("Цена исполнения"));
        t.addColumn(QStringLiteral("expdate"), FieldType::DateTime, 0, true,
                    QStringLiteral("Дата исполнения"));
        t.addColumn(QStringLiteral("price"), FieldType::Decimal, 4, true, QStringLiteral("Цена"),
                    true, QStringLiteral("Цена последней сделки"));
        t.addColumn(QStringLiteral("volat"), FieldType::Double, 3, true,
                    QStringLiteral("Волатильность"));
        t.addColumn(QStringLiteral("decimals"), FieldType::Integer, 0, false,
                    QStringLiteral("Знаков"));
        t.addColumn(QStringLiteral("lot_size"), FieldType::Integer, 0, false, QString(), false);
    }
    ~ViewsTestTable() { delete table.data(); }
    ViewsTestTable(const ViewsTestTable&) = delete;
    ViewsTestTable& operator=(const ViewsTestTable&) = delete;

    // A detached row with its key, a name and the given board.
    Record make(qint64 secId, int board = 14) const
    {
        Record r(table.data());
        r.data(StockId) = 1;
        r.data(BoardId) = board;
        r.data(SecId) = static_cast<long long>(secId);
        r.data(SecName) = QStringLiteral("SEC%1").arg(secId);
        r.data(Sectype) = QStringLiteral("O");
        r.data(BaseCode) = QStringLiteral("Si");
        r.data(Decimals) = 2;
        r.data(Lot) = 1;
        return r;
    }

    Record insert(qint64 secId, const QString& price)
    {
        Record r = make(secId);
        r.data(Price) = decimal(price);
        table->insertRecord(r);
        return r;
    }

    QList<Record> rows() const
    {
        QList<Record> out;
        for (const Record& r : table->masterIndex()->records())
            out.append(r);
        return out;
    }

    QPointer<Table> table;
};

inline int byField(int column, const Record& a, const Record& b)
{
    return a.data(column).compare(b.data(column));
}

using Compare = std::function<int(const Record&, const Record&)>;

// The order of a sort by a table column; none for column -1.
inline Compare sortedBy(int column, Qt::SortOrder order = Qt::AscendingOrder)
{
    return [column, order](const Record& a, const Record& b) {
        const int c = column < 0 ? 0 : byField(column, a, b);
        return order == Qt::DescendingOrder ? -c : c;
    };
}

// Checks the model's answers at every change; a fault fails the test at once.
inline void watch(QAbstractItemModel* model)
{
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::Fatal,
                                 model);
}

// Counts the cells read, to tell a search by halves from a walk.
template <class Model> class CountingReads : public Model
{
public:
    using Model::Model;
    QVariant data(const QModelIndex& index, int role) const override
    {
        ++reads;
        return Model::data(index, role);
    }
    mutable int reads = 0;
};

// A number as the system locale writes it.
inline QString point(QString text)
{
    return text.replace(QLatin1Char('.'), QLocale::system().decimalPoint());
}

// The rows' security ids, for failure messages.
inline QString keys(const std::vector<Record>& rows)
{
    QStringList out;
    for (const Record& r : rows)
        out << QString::number(r.data(ViewsTestTable::SecId).toInteger64());
    return out.join(QLatin1Char(','));
}

// Remembers the rows updated since the last reset and the columns they changed.
class BatchRecorder : public Index
{
public:
    explicit BatchRecorder(Table* table) : Index(table) { table->addIndex(this); }

    void process(const QList<Record>&, const QList<Record>& updated, int first, int last,
                 const QList<Record>&) override
    {
        this->updated += updated;
        widen(first, last);
    }
    void update(const Record& record, int first, int last, int) override
    {
        updated.append(record);
        widen(first, last);
    }
    void reset()
    {
        updated.clear();
        firstColumn = lastColumn = -1;
    }

    QList<Record> updated;
    int firstColumn = -1, lastColumn = -1;

private:
    void widen(int first, int last)
    {
        if (first < 0)
            return;
        if (firstColumn < 0 || first < firstColumn)
            firstColumn = first;
        lastColumn = qMax(lastColumn, last);
    }
};

// Random batches of inserts, updates and removes of a ViewsTestTable, now and then a clear;
// written through transactions or in place and announced with Table::updated, as the
// terminal's feeds do. Values come from small sets, so that ties and shared groups abound.
class RandomFeed
{
public:
    RandomFeed(ViewsTestTable& t, quint32 seed) : m_t(t), m_rng(seed) {}

    // 0: transactions only, 1: in place only, 2: either.
    void setWriteMode(int mode) { m_mode = mode; }

    void fill(int rows)
    {
        TableUpdater bracket(m_t.table.data());
        insertSome(m_t.table.data(), rows);
    }

    // One step; returns a short description for failure messages.
    QString step()
    {
        Table* table = m_t.table.data();
        if (roll(100) < m_clearChance) {
            if (roll(2) == 0) {
                table->clear();
            } else {
                TableUpdater bracket(table);
                table->clear();
                insertSome(table, roll(m_maxInserts + 1));
            }
            return QStringLiteral("clear");
        }
        const bool inPlace = m_mode == 1 || (m_mode == 2 && roll(2) == 0);
        // Now and then a single change outside any bracket.
        if (inPlace && roll(8) == 0 && table->rowCount() > 0) {
            Record r = shuffledRows().front();
            const int column = updateColumn();
            writeRandom(r, column);
            table->updated(r, column, column);
            return QStringLiteral("single update");
        }
        const std::vector<Record> rows = shuffledRows();
        const int removes = qMin(int(rows.size()), roll(m_maxRemoves + 1));
        const int updates = qMin(int(rows.size()) - removes, roll(m_maxUpdates + 1));
        const int inserts = table->rowCount() > 120 ? 0 : roll(m_maxInserts + 1);
        TableUpdater bracket(table);
        if (inPlace) {
            for (int i = 0; i < updates; ++i) {
                Record r = rows[size_t(removes + i)];
                int first = -1, last = -1;
                for (int k = 0, n = 1 + roll(2); k < n; ++k) {
                    const int column = updateColumn();
                    writeRandom(r, column);
                    first = first < 0 ? column : qMin(first, column);
                    last = qMax(last, column);
                }
                table->updated(r, first, last);
            }
            for (int i = 0; i < removes; ++i)
                table->removeRecord(rows[size_t(i)]);
            insertSome(table, inserts);
        } else {
            RecordsTrans trans(table);
            for (int i = 0; i < removes; ++i)
                trans.remove(rows[size_t(i)]);
            for (int i = 0; i < updates; ++i) {
                RecordUpdater u(rows[size_t(removes + i)], trans);
                for (int k = 0, n = 1 + roll(2); k < n; ++k) {
                    const int column = updateColumn();
                    Record target = u.record();
                    writeRandom(target, column);
                    u.extendColumns(column, column);
                }
            }
            for (int i = 0; i < inserts; ++i) {
                Record r = newRecord();
                RecordUpdater(r, trans);
            }
        }
        return QStringLiteral("R%1 U%2 I%3 %4")
            .arg(removes)
            .arg(updates)
            .arg(inserts)
            .arg(inPlace ? QStringLiteral("in place") : QStringLiteral("transaction"));
    }

    int roll(int n) { return n <= 0 ? 0 : int(m_rng() % unsigned(n)); }

    Record newRecord()
    {
        Record r = m_t.make(m_nextId++, roll(4) == 0 ? 1 : 14);
        for (int c = ViewsTestTable::SecName; c < ViewsTestTable::ColumnCount; ++c)
            writeRandom(r, c);
        return r;
    }

    // A random value for a column, null now and then where the column allows it.
    void writeRandom(Record& r, int column)
    {
        const bool null = roll(10) == 0 && r.data(column).isNullable();
        if (null) {
            r.data(column).setNull();
            return;
        }
        switch (column) {
        case ViewsTestTable::SecName:
            r.data(column) = QStringLiteral("N%1").arg(roll(12), 2, 10, QLatin1Char('0'));
            break;
        case ViewsTestTable::Sectype:
            r.data(column) = QString(QLatin1String(roll(3) == 0 ? "F" : "O"));
            break;
        case ViewsTestTable::OptionType:
            r.data(column) = QString(QLatin1String(roll(2) == 0 ? "C" : "P"));
            break;
        case ViewsTestTable::BaseCode:
            r.data(column) = QStringList({"Si", "RI", "BR"}).at(roll(3));
            break;
        case ViewsTestTable::Strike:
            r.data(column) = decimal(7000 + 250 * roll(8), 2);
            break;
        case ViewsTestTable::ExpDate:
            r.data(column) = datetime(QDate(2031, 3 * (1 + roll(4)), 15)) +
                             (roll(3) == 0 ? qint64(roll(5)) * 3600000 : 0);
            break;
        case ViewsTestTable::Price:
            r.data(column) = decimal(100 * roll(30), 4);
            break;
        case ViewsTestTable::Volat:
            r.data(column) = 0.125 * roll(16);
            break;
        case ViewsTestTable::Decimals:
            r.data(column) = roll(4);
            break;
        case ViewsTestTable::Lot:
            r.data(column) = 1 + roll(5);
            break;
        default:
            break;
        }
    }

private:
    int updateColumn()
    {
        return ViewsTestTable::SecName +
               roll(ViewsTestTable::ColumnCount - ViewsTestTable::SecName);
    }
    std::vector<Record> shuffledRows()
    {
        std::vector<Record> rows = m_t.table->masterIndex()->records().toStdVector();
        std::shuffle(rows.begin(), rows.end(), m_rng);
        return rows;
    }
    void insertSome(Table* table, int count)
    {
        for (int i = 0; i < count; ++i)
            table->insertRecord(newRecord());
    }

    ViewsTestTable& m_t;
    std::mt19937 m_rng;
    qint64 m_nextId = 1;
    int m_clearChance = 3;
    int m_mode = 2;
    int m_maxInserts = 5;
    int m_maxUpdates = 10;
    int m_maxRemoves = 4;
};
