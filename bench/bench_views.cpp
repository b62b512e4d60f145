// A sorted table model absorbing price updates, against the toolkit's own way: a
// QSortFilterProxyModel with dynamic sorting over a QStandardItemModel holding the same
// rows. Also the memory the model takes per row.
#include "benchutil.h"

#include "basic_views/tableindexmodel.h"

#include "database/masterindex_struct.h"
#include "database/tableupdater.h"

#include <QCoreApplication>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int Rows = 50000;
constexpr int Updates = 10000;
constexpr int BatchSize = 100;

enum Column { StockId, BoardId, SecId, SecName, Price, Volat, ExpDate, Lot, ColumnCount };

std::unique_ptr<Table> makeTable()
{
    auto t = std::make_unique<Table>(QStringLiteral("securities"));
    t->addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, QStringLiteral("Биржа"));
    t->addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false, QStringLiteral("Режим"));
    t->addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QStringLiteral("Ид."));
    t->setMasterIndex(MasterIndex_Struct<int, int, __int64>::create(
        t.get(),
        {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
    t->addColumn(QStringLiteral("sec_name"), FieldType::String, 40, false, QStringLiteral("Код"));
    t->addColumn(QStringLiteral("price"), FieldType::Decimal, 2, true, QStringLiteral("Цена"));
    t->addColumn(QStringLiteral("volat"), FieldType::Decimal, 2, true, QStringLiteral("Волат."));
    t->addColumn(QStringLiteral("expdate"), FieldType::DateTime, 0, true, QStringLiteral("Дата"));
    t->addColumn(QStringLiteral("lot_size"), FieldType::Integer, 0, false, QStringLiteral("Лот"));
    TableUpdater batch(t.get());
    for (int i = 0; i < Rows; ++i) {
        Record r(t.get());
        r.data(StockId) = 1;
        r.data(BoardId) = i % 10 == 0 ? 1 : 14;
        r.data(SecId) = static_cast<long long>(i) * 7 + 1000;
        r.data(SecName) = QStringLiteral("SEC%1").arg(i);
        r.data(Price) = decimal((qint64(i) * 7919) % 1000000, 2);
        r.data(Volat) = decimal(2000 + i % 3000, 2);
        r.data(ExpDate) = datetime(QDate(2031, 1 + i % 12, 15));
        r.data(Lot) = 1 + i % 10;
        t->insertRecord(r);
    }
    return t;
}

// The same rows as items, with the values a model would show.
std::unique_ptr<QStandardItemModel> makeItems(const Table& t)
{
    auto items = std::make_unique<QStandardItemModel>(Rows, ColumnCount);
    int row = 0;
    for (const Record& r : t.masterIndex()->records()) {
        for (int c = 0; c < ColumnCount; ++c) {
            auto* item = new QStandardItem;
            const Field cell = r.data(c);
            if (c == Price || c == Volat)
                item->setData(cell.toDecimal().toDouble(), Qt::DisplayRole);
            else if (c == ExpDate)
                item->setData(cell.toQDate(), Qt::DisplayRole);
            else
                item->setData(cell.toVariant(), Qt::DisplayRole);
            items->setItem(row, c, item);
        }
        ++row;
    }
    return items;
}

struct PriceUpdate
{
    int row; // in the table's key order, as the items hold them
    qint64 price;
};

// A set of updates; each seed gives other prices, so that no run repeats the values of
// the last (an item given its own value again does not count it as a change).
std::vector<PriceUpdate> makeUpdates(unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::vector<PriceUpdate> updates;
    updates.reserve(Updates);
    for (int i = 0; i < Updates; ++i)
        updates.push_back({int(rng() % Rows), qint64(rng() % 1000000)});
    return updates;
}

struct ModelFixture
{
    ModelFixture() : table(makeTable()), model(table.get())
    {
        model.setSort(Price, Qt::AscendingOrder);
        model.build();
        rows = table->masterIndex()->records().toStdVector();
    }
    // As the terminal's feed writes: in place, announced by Table::updated, a bracket per
    // batch.
    void apply(const std::vector<PriceUpdate>& updates)
    {
        for (size_t start = 0; start < updates.size(); start += BatchSize) {
            TableUpdater batch(table.get());
            const size_t end = std::min(updates.size(), start + BatchSize);
            for (size_t i = start; i < end; ++i) {
                Record row = rows[size_t(updates[i].row)];
                row.data(Price) = decimal(updates[i].price, 2);
                table->updated(row, Price, Price);
            }
        }
    }
    std::unique_ptr<Table> table;
    TableIndexModel model;
    std::vector<Record> rows;
};

struct ProxyFixture
{
    explicit ProxyFixture(const Table& t) : items(makeItems(t))
    {
        proxy.setDynamicSortFilter(true);
        proxy.setSourceModel(items.get());
        proxy.sort(Price, Qt::AscendingOrder);
    }
    void apply(const std::vector<PriceUpdate>& updates)
    {
        // Items have no batches: every price is a change of its own.
        for (const PriceUpdate& u : updates)
            items->item(u.row, Price)->setData(double(u.price) / 100.0, Qt::DisplayRole);
    }
    std::unique_ptr<QStandardItemModel> items;
    QSortFilterProxyModel proxy;
};

size_t heapInUse()
{
    return mallinfo2().uordblks;
}

void BM_ModelPriceUpdates(benchmark::State& state)
{
    ModelFixture fixture;
    unsigned seed = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto updates = makeUpdates(++seed);
        state.ResumeTiming();
        fixture.apply(updates);
    }
    state.SetItemsProcessed(state.iterations() * Updates);
}
BENCHMARK(BM_ModelPriceUpdates)->Unit(benchmark::kMillisecond);

void BM_ProxyPriceUpdates(benchmark::State& state)
{
    const auto table = makeTable();
    ProxyFixture fixture(*table);
    unsigned seed = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto updates = makeUpdates(++seed);
        state.ResumeTiming();
        fixture.apply(updates);
    }
    state.SetItemsProcessed(state.iterations() * Updates);
}
BENCHMARK(BM_ProxyPriceUpdates)->Unit(benchmark::kMillisecond);

void figures()
{
    {
        // Both sides get the same three sets of updates, one after the other.
        constexpr int Runs = 3;
        std::vector<std::vector<PriceUpdate>> sets;
        for (int i = 0; i < Runs; ++i)
            sets.push_back(makeUpdates(1000u + unsigned(i)));
        ModelFixture ours;
        ProxyFixture theirs(*ours.table);
        int run = 0;
        const double oursTime = bestSeconds(Runs, [&] { ours.apply(sets[size_t(run++)]); });
        run = 0;
        const double theirsTime = bestSeconds(Runs, [&] { theirs.apply(sets[size_t(run++)]); });
        printFigure("views.update_speedup_vs_qsfpm", theirsTime / oursTime);
    }
    {
        const auto table = makeTable();
        malloc_trim(0);
        size_t before = heapInUse();
        {
            TableIndexModel model(table.get());
            model.setSort(Price, Qt::AscendingOrder);
            model.build();
            printFigure("views.bytes_per_row", double(heapInUse() - before) / Rows);
        }
        malloc_trim(0);
        before = heapInUse();
        ProxyFixture proxy(*table);
        printFigure("views.qsfpm_bytes_per_row", double(heapInUse() - before) / Rows);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
