#include "masterindex.h"

#include "masterindexcolumnpure.h"
#include "table.h"

#include <QtMath>

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
    if (const Record* cached = cachedRow(key))
        return *cached;
    const int pos = search(key, -1);
    if (pos < 0)
        return Record();
    const Record row = m_records.at(pos);
    cacheRow(key, row);
    return row;
}

uint MasterIndex::hashOf(const Record& row) const
{
    // Integer keys hash to themselves: mix the bits before the low ones pick the set.
    uint h = m_keyHash(this, row.rowBlock());
    h ^= h >> 16;
    h *= 0x45d9f3bu;
    h ^= h >> 16;
    return h;
}

const Record* MasterIndex::cachedRow(const Record& key) const
{
    if (!m_keyHash || m_lookup.empty() || key.table() != table() || !isTableKey())
        return nullptr;
    const uint h = hashOf(key);
    const LookupSet& set = m_lookup[h & uint(m_lookup.size() - 1)];
    for (int way = 0; way < LookupSet::Ways; ++way) {
        if (set.hashes[way] != h)
            continue;
        const Record& row = set.rows[way];
        if (!row.isNull() && row.inTable() && compare(row, key) == 0)
            return &row;
    }
    return nullptr;
}

void MasterIndex::cacheRow(const Record& key, const Record& row) const
{
    if (!m_keyHash || key.table() != table() || !isTableKey())
        return;
    // About two rows per set, in a power of two of sets.
    const size_t wanted = qMax<size_t>(16, size_t(m_records.count()) / 2);
    if (m_lookup.size() < wanted) {
        m_lookup.clear();
        m_lookup.resize(qNextPowerOfTwo(quint32(wanted)));
    }
    const uint h = hashOf(key);
    LookupSet& set = m_lookup[h & uint(m_lookup.size() - 1)];
    // A free way or a stale one first; otherwise the oldest way goes, and the newest
    // stands first.
    int way = 0;
    while (way < LookupSet::Ways && !set.rows[way].isNull() && set.rows[way].inTable())
        ++way;
    if (way == LookupSet::Ways) {
        for (way = LookupSet::Ways - 1; way > 0; --way) {
            set.hashes[way] = set.hashes[way - 1];
            set.rows[way] = std::move(set.rows[way - 1]);
        }
    }
    set.hashes[way] = h;
    set.rows[way] = row;
}

void MasterIndex::forgetRow(const Record& row)
{
    if (!m_keyHash || m_lookup.empty())
        return;
    LookupSet& set = m_lookup[hashOf(row) & uint(m_lookup.size() - 1)];
    for (int way = 0; way < LookupSet::Ways; ++way) {
        if (set.rows[way] == row) {
            set.rows[way] = Record();
            set.hashes[way] = 0;
        }
    }
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
    forgetRow(record);
    m_records.removeAt(pos);
    return true;
}

void MasterIndex::takeRows(PartitionList<Record>& into)
{
    into = m_records;
    m_records.clear();
    m_lookup.clear();
}
