#include "masterindexcolumnpure.h"

#include "table.h"

namespace {

const QChar Separator = QLatin1Char('|');
const QChar Escape = QLatin1Char('\\');

QString escaped(const QString& text)
{
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        if (c == Separator || c == Escape)
            out += Escape;
        out += c;
    }
    return out;
}

QStringList splitEscaped(const QString& text)
{
    QStringList parts;
    QString current;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == Escape && i + 1 < text.size()) {
            current += text.at(++i);
        } else if (c == Separator) {
            parts << current;
            current.clear();
        } else {
            current += c;
        }
    }
    parts << current;
    return parts;
}

// The text of a key cell that reads back exactly.
QString cellText(const Field& cell)
{
    if (cell.isNull())
        return QString();
    switch (cell.type()) {
    case FieldType::DateTime:
        return QString::number(cell.toDatetime().msecs());
    case FieldType::Double:
        return QString::number(cell.toDouble(), 'g', 17);
    default:
        return cell.toString();
    }
}

void setCellText(Field cell, const QString& text)
{
    if (text.isEmpty() && cell.isNullable()) {
        cell.setNull();
        return;
    }
    switch (cell.type()) {
    case FieldType::DateTime:
        cell = datetime(text.toLongLong());
        break;
    case FieldType::Double:
        cell = text.toDouble();
        break;
    default:
        cell = text;
    }
}

} // namespace

MasterIndex_Column_Pure::MasterIndex_Column_Pure(Table* table, const QStringList& columns)
    : MasterIndex(table)
{
    for (const QString& name : columns)
        m_columns.append(table ? table->columnIndex(name) : -1);
    setSortColumns(m_columns);
}

MasterIndex_Column_Pure::MasterIndex_Column_Pure(Table* table, const QVector<int>& columns)
    : MasterIndex(table), m_columns(columns)
{
    setSortColumns(m_columns);
}

MasterIndex_Column_Pure::~MasterIndex_Column_Pure() = default;

int MasterIndex_Column_Pure::compare(const Record& a, const Record& b) const
{
    for (int c : m_columns) {
        const int r = a.data(c).compare(b.data(c));
        if (r != 0)
            return r;
    }
    return 0;
}

QString MasterIndex_Column_Pure::getClassName() const
{
    return QStringLiteral("MasterIndex_Column_Pure");
}

QString MasterIndex_Column_Pure::toText(const Record& record) const
{
    QString text;
    for (int i = 0; i < m_columns.size(); ++i) {
        if (i > 0)
            text += Separator;
        text += escaped(cellText(record.data(m_columns.at(i))));
    }
    return text;
}

Record MasterIndex_Column_Pure::fromText(const QString& text) const
{
    if (!table() || m_columns.isEmpty())
        return Record();
    const QStringList parts = splitEscaped(text);
    if (parts.size() != m_columns.size())
        return Record();
    Record key(table());
    for (int i = 0; i < m_columns.size(); ++i)
        setCellText(key.data(m_columns.at(i)), parts.at(i));
    return key;
}

QStringList MasterIndex_Column_Pure::keyColumnNames() const
{
    QStringList names;
    for (int c : m_columns)
        names << (table() ? table()->columnDef(c).name : QString());
    return names;
}
