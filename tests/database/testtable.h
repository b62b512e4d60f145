#pragma once

#include "database/masterindexcolumn.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QStringList>

// A small securities-like table keyed by (stock_id, board_id, sec_id).
struct TestTable
{
    enum Column { StockId, BoardId, SecId, SecName, Price, Volat, ExpDate, Lot };

    explicit TestTable(const QString& name = QStringLiteral("securities"))
        : table(name, QStringLiteral("test"))
    {
        table.addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, QString());
        table.addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false, QString());
        table.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QString());
        table.setMasterIndex(MasterIndex_Column::create(
            &table,
            {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
        table.addColumn(QStringLiteral("sec_name"), FieldType::String, 40, true, QString());
        table.addColumn(QStringLiteral("price"), FieldType::Decimal, 2, true,
                        QStringLiteral("Цена"));
        table.addColumn(QStringLiteral("volat"), FieldType::Double, 4, true, QString());
        table.addColumn(QStringLiteral("expdate"), FieldType::DateTime, 0, true, QString());
        table.addColumn(QStringLiteral("lot_size"), FieldType::Integer, 0, false, QString());
    }

    // A detached row with the key and a price.
    Record make(qint64 secId, double price = 0.0, int board = 1) const
    {
        Record r(&table);
        r.data(StockId) = 1;
        r.data(BoardId) = board;
        r.data(SecId) = static_cast<long long>(secId);
        r.data(SecName) = QStringLiteral("SEC%1").arg(secId);
        r.data(Price) = price;
        return r;
    }

    Record insert(qint64 secId, double price = 0.0, int board = 1)
    {
        Record r = make(secId, price, board);
        table.insertRecord(r);
        return r;
    }

    Record find(qint64 secId, int board = 1) const
    {
        return table.masterIndex()->findByKey(make(secId, 0.0, board));
    }

    // Every row as text, in key order: a snapshot to compare states with.
    QStringList snapshot() const
    {
        QStringList rows;
        for (const Record& r : table.masterIndex()->records()) {
            QStringList cells;
            for (int c = 0; c < table.columnCount(); ++c)
                cells << (r.data(c).isNull() ? QStringLiteral("<null>") : r.data(c).toString());
            rows << cells.join(QLatin1Char(';'));
        }
        return rows;
    }

    Table table;
};
