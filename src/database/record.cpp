#include "record.h"

#include "field.h"
#include "masterindexcolumnpure.h"
#include "table.h"

#include <QDataStream>

#include <cstdlib>
#include <cstring>

namespace {

unsigned char* allocateRow(const RowLayout* layout, int rowSize)
{
    const size_t size = sizeof(RowHeader) + size_t(rowSize);
    auto* block = static_cast<unsigned char*>(std::calloc(1, size));
    if (!block)
        throw std::bad_alloc();
    auto* header = new (block) RowHeader;
    header->ref.storeRelaxed(1);
    header->flags = 0;
    header->layout = layout;
    return block;
}

void registerRecordType()
{
    qRegisterMetaType<Record>("Record");
    qRegisterMetaTypeStreamOperators<Record>("Record");
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(registerRecordType)

Record::Record(const Table* table)
{
    if (!table)
        return;
    table->m_rowsMade = true;
    m_row = allocateRow(&table->m_layout, table->rowSize());
}

void Record::release()
{
    header()->~RowHeader();
    std::free(m_row);
    m_row = nullptr;
}

void Record::setInTable(bool in)
{
    if (in)
        header()->flags |= RowHeader::InTable;
    else
        header()->flags &= ~quint32(RowHeader::InTable);
}

Field Record::data(const QString& columnName)
{
    return m_row ? data(table()->columnIndex(columnName)) : Field();
}

Field Record::data(const QString& columnName) const
{
    return m_row ? data(table()->columnIndex(columnName)) : Field();
}

Record Record::clone() const
{
    if (!m_row)
        return Record();
    Record copy(table());
    std::memcpy(copy.columnArea(), columnArea(), size_t(table()->rowSize()));
    return copy;
}

QString Record::toString() const
{
    if (!m_row)
        return QString();
    const auto* key = dynamic_cast<const MasterIndex_Column_Pure*>(table()->masterIndex());
    if (key)
        return key->toText(*this);
    QStringList cells;
    for (int c = 0; c < table()->columnCount(); ++c)
        cells << data(c).toString();
    return cells.join(QLatin1Char('|'));
}

void Record::copyValuesFrom(const Record& other)
{
    if (!m_row || !other.m_row || m_row == other.m_row)
        return;
    const Table* t = table();
    if (other.table()->rowSize() != t->rowSize())
        return;
    std::memcpy(columnArea(), other.columnArea(), size_t(t->rowSize()));
}

bool Record::sameValues(const Record& other, int firstColumn, int lastColumn) const
{
    if (!m_row || !other.m_row)
        return m_row == other.m_row;
    if (m_row == other.m_row)
        return true;
    const Table* t = table();
    if (other.table()->rowSize() != t->rowSize())
        return false;
    firstColumn = qMax(0, firstColumn);
    lastColumn = qMin(t->columnCount() - 1, lastColumn);
    if (firstColumn == 0 && lastColumn == t->columnCount() - 1)
        return std::memcmp(columnArea(), other.columnArea(), size_t(t->rowSize())) == 0;
    for (int c = firstColumn; c <= lastColumn; ++c) {
        if (data(c).isNull() != other.data(c).isNull())
            return false;
        const TableColumnDef& def = t->columnDef(c);
        if (std::memcmp(columnArea() + def.dataOffset, other.columnArea() + def.dataOffset,
                        size_t(def.dataSize)) != 0)
            return false;
    }
    return true;
}

QDataStream& operator<<(QDataStream& out, const Record& record)
{
    const Table* table = record.table();
    out << (table ? table->name() : QString()) << record.toString();
    QVariantList values;
    if (table)
        for (int c = 0; c < table->columnCount(); ++c)
            values << record.data(c).toVariant();
    out << values;
    return out;
}

QDataStream& operator>>(QDataStream& in, Record& record)
{
    QString tableName, key;
    QVariantList values;
    in >> tableName >> key >> values;
    record = Record();
    return in;
}
