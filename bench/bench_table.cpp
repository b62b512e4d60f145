// Tables against an in-memory SQLite table, typed against general keys, and the memory a
// row costs.
#include "benchutil.h"

#include "database/datetime.h"
#include "database/indexlist.h"
#include "database/indexsort.h"
#include "database/masterindex_struct.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/tableupdater.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <malloc.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int Rows = 50000;
constexpr int Updates = 100000;
constexpr int BatchSize = 100;
constexpr int Searches = 100000;

// The columns of the terminal's securities table, the same in our table and in SQLite's.
struct ColumnSpec
{
    const char* name;
    FieldType::Type type;
    int length;
    bool nullable;
};

const std::vector<ColumnSpec>& securitiesColumns()
{
    static const std::vector<ColumnSpec> columns = [] {
        std::vector<ColumnSpec> c = {
            {"stock_id", FieldType::Integer, 0, false},
            {"board_id", FieldType::Integer, 0, false},
            {"sec_id", FieldType::Integer64, 0, false},
            {"sec_name", FieldType::String, 40, false},
            {"sec_fullname", FieldType::String, 80, false},
            {"sectype", FieldType::String, 1, false},
            {"option_type", FieldType::String, 1, false},
            {"base_code", FieldType::String, 20, false},
            {"strike", FieldType::Decimal, 2, true},
            {"expdate", FieldType::DateTime, 0, true},
            {"decimals", FieldType::Integer, 0, false},
            {"price_step", FieldType::Decimal, 2, false}};
        for (const char* name :
             {"volat", "theor_price", "delta", "gamma", "vega", "theta", "bid", "ask", "price",
              "cur_kotir_real", "cur_kotir", "old_kotir", "volat_min", "volat_max"})
            c.push_back({name, FieldType::Decimal, 4, true});
        for (const char* name : {"base_isin_id", "main_sec_id", "isin_id", "europe", "lasttime",
                                 "lot_size"})
            c.push_back({name,
                         std::strcmp(name, "main_sec_id") == 0 ? FieldType::Integer64
                         : std::strcmp(name, "lasttime") == 0  ? FieldType::DateTime
                                                                : FieldType::Integer,
                         0, std::strcmp(name, "lasttime") == 0});
        return c;
    }();
    return columns;
}

// The value of a cell of row i: an integer (the mantissa of a decimal, the milliseconds of
// a date) or a text, as both tables store it.
struct Cell
{
    qint64 number = 0;
    QString text;
};

Cell cellOf(int i, int column)
{
    const ColumnSpec& spec = securitiesColumns()[size_t(column)];
    const QByteArray name(spec.name);
    Cell cell;
    if (name == "stock_id")
        cell.number = 1;
    else if (name == "board_id")
        cell.number = i % 10 == 0 ? 1 : 14;
    else if (name == "sec_id")
        cell.number = qint64(i) * 7 + 1000;
    else if (name == "sectype")
        cell.text = QString::fromLatin1(i % 10 == 0 ? "F" : "O");
    else if (name == "option_type")
        cell.text = QString::fromLatin1(i % 10 == 0 ? "" : (i % 2 ? "C" : "P"));
    else if (name == "base_code")
        cell.text = QStringLiteral("BASE%1").arg(i % 50);
    else if (spec.type == FieldType::String)
        cell.text = QStringLiteral("%1 %2").arg(QString::fromLatin1(spec.name)).arg(i);
    else
        cell.number = qint64(i) * 37 + column * 1009 + 100000;
    return cell;
}

std::unique_ptr<Table> makeSecurities()
{
    auto t = std::make_unique<Table>(QStringLiteral("securities"));
    for (const ColumnSpec& c : securitiesColumns())
        t->addColumn(QString::fromLatin1(c.name), c.type, c.length, c.nullable, QString());
    t->setMasterIndex(MasterIndex_Struct<int, int, __int64>::create(
        t.get(),
        {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
    return t;
}

void fillSecurities(Table* t, int rows)
{
    const auto& columns = securitiesColumns();
    TableUpdater batch(t);
    RecordsTrans trans(t);
    for (int i = 0; i < rows; ++i) {
        Record r(t);
        RecordUpdater u(r, trans);
        for (int c = 0; c < int(columns.size()); ++c) {
            const Cell cell = cellOf(i, c);
            switch (columns[size_t(c)].type) {
            case FieldType::Integer:
                u.data(c) = int(cell.number);
                break;
            case FieldType::Integer64:
                u.data(c) = static_cast<long long>(cell.number);
                break;
            case FieldType::Decimal:
                u.data(c) = decimal(cell.number, columns[size_t(c)].length);
                break;
            case FieldType::DateTime:
                u.data(c) = datetime(cell.number);
                break;
            default:
                u.data(c) = cell.text;
            }
        }
    }
}

// Rows ordered by base code, as a view of one base asset would keep them.
class BaseCodeIndex : public IndexSort
{
public:
    BaseCodeIndex(Table* t) : IndexSort(t), m_column(t->columnIndex(QStringLiteral("base_code")))
    {
        setSortColumns({m_column});
        setFilterColumns({});
    }
    int compare(const Record& a, const Record& b) const override
    {
        return a.data(m_column).compare(b.data(m_column));
    }

private:
    int m_column;
};

// The options only.
class OptionsIndex : public IndexList
{
public:
    OptionsIndex(Table* t) : IndexList(t), m_column(t->columnIndex(QStringLiteral("sectype")))
    {
        setFilterColumns({m_column});
    }
    bool filter(const Record& r) const override { return r.data(m_column).toChar() == 'O'; }

private:
    int m_column;
};

struct PriceUpdate
{
    int board;
    qint64 secId;
    qint64 price; // in ten-thousandths
};

std::vector<PriceUpdate> makeUpdates()
{
    std::mt19937_64 rng(42);
    std::vector<PriceUpdate> updates;
    updates.reserve(Updates);
    for (int i = 0; i < Updates; ++i) {
        const int row = int(rng() % Rows);
        updates.push_back(
            {row % 10 == 0 ? 1 : 14, qint64(row) * 7 + 1000, qint64(rng() % 100000000)});
    }
    return updates;
}

struct TableFixture
{
    TableFixture() : table(makeSecurities()), byBase(table.get()), options(table.get())
    {
        fillSecurities(table.get(), Rows);
        table->addIndex(&byBase);
        table->addIndex(&options);
        byBase.build();
        options.build();
        priceColumn = table->columnIndex(QStringLiteral("price"));
        key = Record(table.get());
        key.data(0) = 1;
    }
    void apply(const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            TableUpdater batch(table.get());
            RecordsTrans trans(table.get());
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i) {
                key.data(1) = updates[i].board;
                key.data(2) = static_cast<long long>(updates[i].secId);
                const Record row = table->masterIndex()->findByKey(key);
                RecordUpdater(row, trans).data(priceColumn) = decimal(updates[i].price, 4);
            }
        }
    }

    // The updates as the terminal's feed makes them: the row found by key, the price
    // written in place and announced by Table::updated, a bracket per batch.
    void applyAsFeed(const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            TableUpdater batch(table.get());
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i) {
                key.data(1) = updates[i].board;
                key.data(2) = static_cast<long long>(updates[i].secId);
                Record row = table->masterIndex()->findByKey(key);
                row.data(priceColumn) = decimal(updates[i].price, 4);
                table->updated(row, priceColumn, priceColumn);
            }
        }
    }

    // The same updates through handles of the rows, as a feed that keeps them would make.
    void applyByHandle(const std::vector<Record>& rows, const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            TableUpdater batch(table.get());
            RecordsTrans trans(table.get());
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i)
                RecordUpdater(rows[i], trans).data(priceColumn) = decimal(updates[i].price, 4);
        }
    }
    // The same updates written in place and announced by Table::updated.
    void applyInPlace(const std::vector<Record>& rows, const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            TableUpdater batch(table.get());
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i) {
                Record row = rows[i];
                row.data(priceColumn) = decimal(updates[i].price, 4);
                table->updated(row, priceColumn, priceColumn);
            }
        }
    }
    std::vector<Record> rowsOf(const std::vector<PriceUpdate>& updates)
    {
        std::vector<Record> rows;
        for (const PriceUpdate& u : updates) {
            key.data(1) = u.board;
            key.data(2) = static_cast<long long>(u.secId);
            rows.push_back(table->masterIndex()->findByKey(key));
        }
        return rows;
    }

    std::unique_ptr<Table> table;
    BaseCodeIndex byBase;
    OptionsIndex options;
    int priceColumn = -1;
    Record key;
};

struct SqliteFixture
{
    SqliteFixture()
    {
        sqlite3_open(":memory:", &db);
        const auto& columns = securitiesColumns();
        QByteArray create = "CREATE TABLE securities (";
        QByteArray insertSql = "INSERT INTO securities VALUES (";
        for (size_t c = 0; c < columns.size(); ++c) {
            create += QByteArray(columns[c].name) +
                      (columns[c].type == FieldType::String ? " TEXT, " : " INTEGER, ");
            insertSql += c ? ", ?" : "?";
        }
        create += "PRIMARY KEY (stock_id, board_id, sec_id))";
        insertSql += ")";
        exec(create.constData());
        exec("CREATE INDEX by_base ON securities (base_code)");
        exec("BEGIN");
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(db, insertSql.constData(), -1, &insert, nullptr);
        for (int i = 0; i < Rows; ++i) {
            for (int c = 0; c < int(columns.size()); ++c) {
                const Cell cell = cellOf(i, c);
                if (columns[size_t(c)].type == FieldType::String) {
                    const QByteArray text = cell.text.toUtf8();
                    sqlite3_bind_text(insert, c + 1, text.constData(), text.size(),
                                      SQLITE_TRANSIENT);
                } else {
                    sqlite3_bind_int64(insert, c + 1, cell.number);
                }
            }
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
        exec("COMMIT");
        sqlite3_prepare_v2(db,
                           "UPDATE securities SET price = ? WHERE stock_id = 1 AND board_id = ? "
                           "AND sec_id = ?",
                           -1, &update, nullptr);
    }
    ~SqliteFixture()
    {
        sqlite3_finalize(update);
        sqlite3_close(db);
    }
    void exec(const char* sql) { sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
    void apply(const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            exec("BEGIN");
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i) {
                sqlite3_bind_int64(update, 1, updates[i].price);
                sqlite3_bind_int(update, 2, updates[i].board);
                sqlite3_bind_int64(update, 3, updates[i].secId);
                sqlite3_step(update);
                sqlite3_reset(update);
            }
            exec("COMMIT");
        }
    }

    sqlite3* db = nullptr;
    sqlite3_stmt* update = nullptr;
};

// The key of the model portfolio's table over 50,000 rows, with a typed or a general key.
struct KeyFixture
{
    explicit KeyFixture(bool typed) : table(QStringLiteral("positions_virtual"))
    {
        table.addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, QString());
        table.addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false, QString());
        table.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QString());
        table.addColumn(QStringLiteral("pos"), FieldType::Integer64, 0, true, QString());
        const QStringList key = {QStringLiteral("stock_id"), QStringLiteral("board_id"),
                                 QStringLiteral("sec_id")};
        table.setMasterIndex(typed ? MasterIndex_Struct<int, int, __int64>::create(&table, key)
                                   : MasterIndex_Column::create(&table, key));
        TableUpdater batch(&table);
        RecordsTrans trans(&table);
        for (int i = 0; i < Rows; ++i) {
            Record r(&table);
            RecordUpdater u(r, trans);
            u.data(0) = 1;
            u.data(1) = i % 2 == 0 ? 1 : 14;
            u.data(2) = static_cast<long long>(i / 2) * 3;
        }
    }
    long search(const std::vector<Record>& keys) const
    {
        long found = 0;
        for (const Record& k : keys)
            found += table.masterIndex()->search(k, -1) >= 0;
        return found;
    }
    std::vector<Record> keys() const
    {
        std::mt19937 rng(7);
        std::vector<Record> out;
        for (int i = 0; i < Searches; ++i) {
            Record k(&table);
            k.data(0) = 1;
            k.data(1) = rng() % 2 == 0 ? 1 : 14;
            k.data(2) = static_cast<long long>(rng() % (Rows / 2)) * 3 + (rng() % 4 == 0);
            out.push_back(k);
        }
        return out;
    }
    Table table;
};

size_t heapInUse()
{
    return mallinfo2().uordblks;
}

// Updates by key: as the feed makes them (in place), or through a transaction.
void BM_TableUpdates(benchmark::State& state)
{
    TableFixture fixture;
    const auto updates = makeUpdates();
    const bool asFeed = state.range(0) != 0;
    for (auto _ : state) {
        if (asFeed)
            fixture.applyAsFeed(updates);
        else
            fixture.apply(updates);
    }
    state.SetItemsProcessed(state.iterations() * Updates);
    state.SetLabel(asFeed ? "as the feed" : "transaction");
}
BENCHMARK(BM_TableUpdates)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The same updates to rows already at hand: through a transaction, or in place.
void BM_TableUpdatesOfRows(benchmark::State& state)
{
    TableFixture fixture;
    const auto updates = makeUpdates();
    const auto rows = fixture.rowsOf(updates);
    const bool inPlace = state.range(0) != 0;
    for (auto _ : state) {
        if (inPlace)
            fixture.applyInPlace(rows, updates);
        else
            fixture.applyByHandle(rows, updates);
    }
    state.SetItemsProcessed(state.iterations() * Updates);
    state.SetLabel(inPlace ? "in place" : "transaction");
}
BENCHMARK(BM_TableUpdatesOfRows)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_SqliteUpdates(benchmark::State& state)
{
    SqliteFixture fixture;
    const auto updates = makeUpdates();
    for (auto _ : state)
        fixture.apply(updates);
    state.SetItemsProcessed(state.iterations() * Updates);
}
BENCHMARK(BM_SqliteUpdates)->Unit(benchmark::kMillisecond);

void BM_KeySearch(benchmark::State& state)
{
    const KeyFixture fixture(state.range(0) != 0);
    const auto keys = fixture.keys();
    for (auto _ : state)
        benchmark::DoNotOptimize(fixture.search(keys));
    state.SetItemsProcessed(state.iterations() * Searches);
    state.SetLabel(state.range(0) ? "MasterIndex_Struct" : "MasterIndex_Column");
}
BENCHMARK(BM_KeySearch)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void figures()
{
    const auto updates = makeUpdates();
    {
        TableFixture ours;
        SqliteFixture sqlite;
        const double feedTime = bestSeconds(5, [&] { ours.applyAsFeed(updates); });
        const double transTime = bestSeconds(5, [&] { ours.apply(updates); });
        const double sqliteTime = bestSeconds(5, [&] { sqlite.apply(updates); });
        printFigure("table.speedup_vs_sqlite", sqliteTime / feedTime);
        printFigure("table.speedup_vs_sqlite_by_transaction", sqliteTime / transTime);
    }
    {
        const KeyFixture general(false), typed(true);
        const auto generalKeys = general.keys();
        const auto typedKeys = typed.keys();
        long sink = 0;
        const double generalTime = bestSeconds(5, [&] { sink += general.search(generalKeys); });
        const double typedTime = bestSeconds(5, [&] { sink += typed.search(typedKeys); });
        benchmark::DoNotOptimize(sink);
        printFigure("masterindex_struct.speedup", generalTime / typedTime);
    }
    {
        malloc_trim(0);
        const size_t before = heapInUse();
        auto table = makeSecurities();
        fillSecurities(table.get(), Rows);
        const size_t after = heapInUse();
        const double perRow = double(after - before) / Rows;
        printFigure("table.bytes_per_row_ratio", perRow / table->rowSize());
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
