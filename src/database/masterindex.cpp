#include "masterindex.h"

#include "masterindexcolumnpure.h"
#include "table.h"

MasterIndex::MasterIndex(Table* table) : IndexSort(table) {}

MasterIndex::~MasterIndex() = default;

bool MasterIndex::isTableKey() const
{
    return table() && table()->masterIndex() == this;
}

bool MasterIndex::contains(const Record& record) const
{
    if (isTableKey())
        return record.inTable() && record.table() == table();
    return IndexSort::contains(record);
}

QString MasterIndex::getClassName() const
{
    return QStringLiteral("MasterIndex");
}

Record MasterIndex::findByKey(const Record& key) const
{
    if (key.isNull())
        return Record();
    const int pos = search(key, -1);
    return pos >= 0 ? m_records.at(pos) : Record();
}

Record MasterIndex::findRecord(const QString& key) const
{
    if (const auto* columns = dynamic_cast<const MasterIndex_Column_Pure*>(this))
        return findByKey(columns->fromText(key));
    for (const Record& r : m_records)
        if (r.toString() == key)
            return r;
    return Record();
}

int MasterIndex::insertRow(const Record& record)
{
    const int pos = m_records.lowerBound([&](const Record& e) { return compare(e, record) < 0; });
    if (pos < m_records.count() && compare(m_records.at(pos), record) == 0)
        return -1;
    m_records.insert(pos, record);
    return pos;
}

bool MasterIndex::removeRow(const Record& record)
{
    bool found = false;
    int pos = sortedPosition(record, &found);
    if (!found)
        pos = findByPointer(record);
    if (pos < 0)
        return false;
    m_records.removeAt(pos);
    return true;
}

void MasterIndex::takeRows(PartitionList<Record>& into)
{
    into = m_records;
    m_records.clear();
}
