#include "orderstable.h"

#include "database/masterindexcolumn.h"
#include "database/tableupdater.h"
#include "directory/securitydirectory.h"

OrdersTable::OrdersTable(QObject* parent) : Table(QStringLiteral("orders"), tr("Заявки"), parent)
{
    addColumn(QStringLiteral("order_no"), FieldType::Integer64, 0, false, tr("Номер"), true,
              tr("Номер заявки в терминале"));
    setMasterIndex(MasterIndex_Column::create(this, {QStringLiteral("order_no")}));
    addColumn(QStringLiteral("account"), FieldType::String, 20, false, tr("Счёт"));
    addColumn(QStringLiteral("base_code"), FieldType::String, 20, true, tr("Базовый актив"));
    addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, tr("Биржа"));
    addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false, tr("Режим"));
    addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, tr("Инструмент"));
    addColumn(QStringLiteral("sec_name"), FieldType::String, 40, true, tr("Название"));
    addColumn(QStringLiteral("side"), FieldType::String, 1, false, tr("Направление"), true,
              tr("B - покупка, S - продажа"));
    addColumn(QStringLiteral("quantity"), FieldType::Integer64, 0, false, tr("Количество"));
    addColumn(QStringLiteral("price"), FieldType::Decimal, 6, false, tr("Цена"));
    addColumn(QStringLiteral("state"), FieldType::String, 40, false, tr("Состояние"));
    addColumn(QStringLiteral("created"), FieldType::DateTime, 0, false, tr("Время"));
}

OrdersTable::~OrdersTable() = default;

int OrdersTable::record(const OrderPackage& package, const QString& state)
{
    if (!package.isValid())
        return 0;
    const datetime now = datetime::now();
    TableUpdater batch(this);
    for (const PostponedOrder& order : package.orders) {
        Record row(this);
        row.data(QStringLiteral("order_no")) = static_cast<long long>(m_nextOrderNo++);
        row.data(QStringLiteral("account")) = package.account;
        row.data(QStringLiteral("base_code")) = package.baseCode;
        row.data(QStringLiteral("stock_id")) = order.stockId;
        row.data(QStringLiteral("board_id")) = order.boardId;
        row.data(QStringLiteral("sec_id")) = static_cast<long long>(order.secId);
        const Record security =
            SecurityDirectory::i().recordById(order.stockId, order.boardId, order.secId);
        if (!security.isNull())
            row.data(QStringLiteral("sec_name")) = security.data(QStringLiteral("sec_name"));
        row.data(QStringLiteral("side")) = QString(order.isBuy() ? QChar('B') : QChar('S'));
        row.data(QStringLiteral("quantity")) = static_cast<long long>(qAbs(order.quantity));
        row.data(QStringLiteral("price")) = order.price;
        row.data(QStringLiteral("state")) = state;
        row.data(QStringLiteral("created")) = now;
        insertRecord(row);
    }
    return package.orders.size();
}
