#pragma once

#include "database/masterindex.h"
#include "database/table.h"
#include "market/markettables.h"

#include <QFile>
#include <QStringList>

// Every row of a table as text, in key order, headed by the column names: a snapshot to
// compare whole tables with. As a file of the CSV feed, a null is an empty cell and a time
// carries its milliseconds, so that every value is exact.
inline QStringList dumpTable(const Table* table, bool csv = false)
{
    QStringList names;
    for (const ColumnDef& def : table->columns())
        names << def.name;
    QStringList lines{names.join(QLatin1Char(';'))};
    for (const Record& r : table->masterIndex()->records()) {
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c) {
            const Field cell = r.data(c);
            if (cell.isNull())
                cells << (csv ? QString() : QStringLiteral("<null>"));
            else if (csv && cell.type() == FieldType::DateTime)
                cells << cell.toDatetime().getDateTime().toString(
                    QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
            else
                cells << cell.toString();
        }
        lines << cells.join(QLatin1Char(';'));
    }
    return lines;
}

inline QStringList dumpAll(const MarketTables& tables)
{
    QStringList all;
    for (const Table* t : tables.all())
        all << t->name() << dumpTable(t);
    return all;
}

inline bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(content) == content.size();
}

inline Record securityByKey(const Table* securities, int board, qint64 secId)
{
    Record key(securities);
    key.data(QStringLiteral("stock_id")) = 1;
    key.data(QStringLiteral("board_id")) = board;
    key.data(QStringLiteral("sec_id")) = static_cast<long long>(secId);
    return securities->masterIndex()->findByKey(key);
}
