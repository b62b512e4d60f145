#pragma once

#include "database/masterindex.h"
#include "database/table.h"

#include <QFile>
#include <QStringList>

// Every row of a table as text, in key order, headed by the column names: a snapshot to
// compare whole tables with.
inline QStringList dumpTable(const Table* table)
{
    QStringList names;
    for (const ColumnDef& def : table->columns())
        names << def.name;
    QStringList lines{names.join(QLatin1Char(';'))};
    for (const Record& r : table->masterIndex()->records()) {
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c)
            cells << (r.data(c).isNull() ? QStringLiteral("<null>") : r.data(c).toString());
        lines << cells.join(QLatin1Char(';'));
    }
    return lines;
}

// The table as a snapshot file of the CSV feed: all columns, every value exactly.
inline QByteArray csvOfTable(const Table* table)
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
                cells << QString();
            else if (cell.type() == FieldType::DateTime)
                cells << cell.toDatetime().getDateTime().toString(
                    QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
            else
                cells << cell.toString();
        }
        lines << cells.join(QLatin1Char(';'));
    }
    return lines.join(QLatin1Char('\n')).toUtf8() + '\n';
}

inline bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(content) == content.size();
}
