// Tables against an in-memory SQLite table, typed against general keys, and the memory a
// row costs.
#include "benchutil.h"

#include "database/indexlist.h"
#include "database/indexsort.h"
#include "database/masterindex_struct.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/tableupdater.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <malloc.h>

#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int Rows = 50000;
constexpr int Updates = 100000;
constexpr int BatchSize = 100;
constexpr int Searches = 100000;

// The columns of the terminal's securities table.
std::unique_ptr<Table> makeSecurities()
{
    auto t = std::make_unique<Table>(QStringLiteral("securities"));
    auto add = [&](const char* name, FieldType::Type type, int length, bool nullable) {
        t->addColumn(QString::fromLatin1(name), type, length, nullable, QString());
    };
    add("stock_id", FieldType::Integer, 0, false);
    add("board_id", FieldType::Integer, 0, false);
    add("sec_id", FieldType::Integer64, 0, false);
    add("sec_name", FieldType::String, 40, false);
    add("sec_fullname", FieldType::String, 80, false);
    add("sectype", FieldType::String, 1, false);
    add("option_type", FieldType::String, 1, false);
    add("base_code", FieldType::String, 20, false);
    add("strike", FieldType::Decimal, 2, true);
    add("expdate", FieldType::DateTime, 0, true);
    add("decimals", FieldType::Integer, 0, false);
    add("price_step", FieldType::Decimal, 2, false);
    for (const char* name :
         {"volat", "theor_price", "delta", "gamma", "vega", "theta", "bid", "ask", "price",
          "cur_kotir_real", "cur_kotir", "old_kotir", "volat_min", "volat_max"})
        add(name, FieldType::Decimal, 4, true);
    add("base_isin_id", FieldType::Integer, 0, false);
    add("main_sec_id", FieldType::Integer64, 0, false);
    add("isin_id", FieldType::Integer, 0, false);
    add("europe", FieldType::Integer, 0, false);
    add("lasttime", FieldType::DateTime, 0, true);
    add("lot_size", FieldType::Integer, 0, false);
    t->setMasterIndex(MasterIndex_Struct<int, int, __int64>::create(
        t.get(),
        {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
    return t;
}

void fillSecurities(Table* t, int rows)
{
    const int sectype = t->columnIndex(QStringLiteral("sectype"));
    const int baseCode = t->columnIndex(QStringLiteral("base_code"));
    const int name = t->columnIndex(QStringLiteral("sec_name"));
    const int price = t->columnIndex(QStringLiteral("price"));
    const int strike = t->columnIndex(QStringLiteral("strike"));
    TableUpdater batch(t);
    RecordsTrans trans(t);
    for (int i = 0; i < rows; ++i) {
        Record r(t);
        RecordUpdater u(r, trans);
        u.data(0) = 1;
        u.data(1) = i % 10 == 0 ? 1 : 14;
        u.data(2) = static_cast<long long>(i) * 7 + 1000;
        u.data(name) = QStringLiteral("SEC%1").arg(i);
        u.data(sectype) = QString::fromLatin1(i % 10 == 0 ? "F" : "O");
        u.data(baseCode) = QStringLiteral("BASE%1").arg(i % 50);
        u.data(strike) = decimal(100000 + i, 2);
        u.data(price) = decimal(100 * i, 4);
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
        exec("CREATE TABLE securities (stock_id INTEGER, board_id INTEGER, sec_id INTEGER, "
             "sec_name TEXT, base_code TEXT, sectype TEXT, strike INTEGER, price INTEGER, "
             "PRIMARY KEY (stock_id, board_id, sec_id))");
        exec("CREATE INDEX by_base ON securities (base_code)");
        exec("BEGIN");
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(db, "INSERT INTO securities VALUES (1, ?, ?, ?, ?, ?, ?, ?)", -1,
                           &insert, nullptr);
        for (int i = 0; i < Rows; ++i) {
            const QByteArray name = QByteArray("SEC") + QByteArray::number(i);
            const QByteArray base = QByteArray("BASE") + QByteArray::number(i % 50);
            sqlite3_bind_int(insert, 1, i % 10 == 0 ? 1 : 14);
            sqlite3_bind_int64(insert, 2, qint64(i) * 7 + 1000);
            sqlite3_bind_text(insert, 3, name.constData(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_text(insert, 4, base.constData(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_text(insert, 5, i % 10 == 0 ? "F" : "O", -1, SQLITE_STATIC);
            sqlite3_bind_int64(insert, 6, 100000 + i);
            sqlite3_bind_int64(insert, 7, 100 * i);
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

void BM_TableUpdates(benchmark::State& state)
{
    TableFixture fixture;
    const auto updates = makeUpdates();
    for (auto _ : state)
        fixture.apply(updates);
    state.SetItemsProcessed(state.iterations() * Updates);
}
BENCHMARK(BM_TableUpdates)->Unit(benchmark::kMillisecond);

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
        const double oursTime = bestSeconds(5, [&] { ours.apply(updates); });
        const double sqliteTime = bestSeconds(5, [&] { sqlite.apply(updates); });
        printFigure("table.speedup_vs_sqlite", sqliteTime / oursTime);
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
