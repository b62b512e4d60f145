#include "positionsvirtualtable.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindex_struct.h"
#include "database/table.h"

namespace {

Table* terminalTable(const QString& name)
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(name) : nullptr;
}

void copyColumn(Table* to, const Table* from, const QString& column)
{
    if (from)
        to->addColumn(from->columnDef(column));
}

} // namespace

QString PositionsVirtualTable::name()
{
    return QStringLiteral("positions_virtual");
}

Table* PositionsVirtualTable::create(QObject* parent)
{
    const Table* positions = terminalTable(QStringLiteral("positions"));
    const Table* securities = terminalTable(QStringLiteral("securities"));
    auto* table = new Table(name(), tr("Модельный портфель"), parent);

    const QStringList key = {QStringLiteral("stock_id"), QStringLiteral("board_id"),
                             QStringLiteral("sec_id")};
    for (const QString& column : key)
        copyColumn(table, positions, column);
    table->setMasterIndex(MasterIndex_Struct<int, int, __int64>::create(table, key));

    copyColumn(table, positions, QStringLiteral("sectype"));
    copyColumn(table, positions, QStringLiteral("sec_name"));
    table->addColumn(QStringLiteral("pos"), FieldType::Integer64, 0, true, tr("Позиция"), true,
                     tr("Текущая позиция"));
    copyColumn(table, securities, QStringLiteral("expdate"));
    table->addColumn(QStringLiteral("miv"), FieldType::Decimal, 2, true, tr("МВВ, %"), true,
                     tr("Модельная вмененная волатильность"));
    table->addColumn(QStringLiteral("mp"), FieldType::Decimal, 5, true, tr("МЦ"), true,
                     tr("Модельная цена"));
    table->addColumn(QStringLiteral("miv_mp_flag"), FieldType::Integer, 0, true, tr("МВВ/МЦ"), true,
                     tr("Использовать модельные величины для расчётов"));
    table->addColumn(QStringLiteral("flags"), FieldType::Integer, 0, true, tr("Флаги"), false,
                     tr("Служебные флаги состояний"));
    for (const char* greek : {"delta", "gamma", "vega", "theta"})
        copyColumn(table, securities, QLatin1String(greek));
    return table;
}
