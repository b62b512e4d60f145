#include "groupmentrecordcolumns.h"

#include "groupmenttreeitem.h"
#include "itemmodelwithdelegates.h"
#include "contact/variantcompare.h"

#include "database/field.h"
#include "database/table.h"

namespace {

// Separates the cells of a key; a null cell is a mark of its own, unlike an empty text.
const QChar KeySeparator(0x1F);
const QChar NullMark(0x2400);

QVector<int> columnsByName(const Table* table, const QStringList& names)
{
    QVector<int> columns;
    for (const QString& name : names)
        columns.append(table ? table->columnIndex(name) : -1);
    return columns;
}

} // namespace

GroupmentRecordColumns::GroupmentRecordColumns(Table* table, int column)
    : GroupmentRecordColumns(table, QVector<int>{column})
{
}

GroupmentRecordColumns::GroupmentRecordColumns(Table* table, const QVector<int>& columns)
    : Groupment(table), m_columns(columns)
{
    if (m_columns.size() == 1)
        setKeyColumn(m_columns.first());
}

GroupmentRecordColumns::GroupmentRecordColumns(Table* table, const QStringList& columnNames)
    : GroupmentRecordColumns(table, columnsByName(table, columnNames))
{
}

GroupmentRecordColumns::~GroupmentRecordColumns() = default;

QString GroupmentRecordColumns::groupKey(const Record& record) const
{
    QString key;
    for (int i = 0; i < m_columns.size(); ++i) {
        if (i > 0)
            key += KeySeparator;
        const Field cell = record.data(m_columns.at(i));
        key += cell.isNull() ? QString(NullMark) : cell.toString();
    }
    return key;
}

QString GroupmentRecordColumns::groupName(const Record& record) const
{
    QStringList parts;
    for (int column : m_columns)
        parts << ItemModelWithDelegates::displayText(record.data(column));
    return parts.join(QLatin1Char(' '));
}

QVariant GroupmentRecordColumns::groupValue(const Record& record) const
{
    if (m_columns.size() == 1)
        return record.data(m_columns.first()).toVariant();
    QVariantList values;
    for (int column : m_columns)
        values << record.data(column).toVariant();
    return values;
}

int GroupmentRecordColumns::compareGroups(const GroupmentTreeItem* left,
                                          const GroupmentTreeItem* right) const
{
    if (m_columns.size() == 1)
        return Groupment::compareGroups(left, right);
    const QVariantList a = left->value().toList(), b = right->value().toList();
    for (int i = 0; i < qMin(a.size(), b.size()); ++i)
        if (const int c = variant_compare(a.at(i), b.at(i), Qt::CaseSensitive))
            return c;
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int k = QString::compare(left->key(), right->key(), Qt::CaseSensitive);
    return k < 0 ? -1 : (k > 0 ? 1 : 0);
}
