#include "indexsort.h"

#include <algorithm>

IndexSort::IndexSort(Table* table) : IndexList(table) {}

IndexSort::~IndexSort() = default;

bool IndexSort::orderDependsOn(int firstColumn, int lastColumn) const
{
    if (m_sortColumns.isEmpty())
        return true;
    for (int c : m_sortColumns)
        if (c >= firstColumn && c <= lastColumn)
            return true;
    return false;
}

int IndexSort::sortedPosition(const Record& record, bool* found) const
{
    const int pos =
        m_records.lowerBound([&](const Record& e) { return compareFull(e, record) < 0; });
    *found = pos < m_records.count() && m_records.at(pos) == record;
    return pos;
}

void IndexSort::add(const Record& record)
{
    if (record.isNull())
        return;
    bool found = false;
    const int pos = sortedPosition(record, &found);
    if (!found)
        m_records.insert(pos, record);
}

void IndexSort::remove(const Record& record, int position)
{
    if (m_displaced.remove(record))
        return;
    if (position >= 0 && position < m_records.count() && m_records.at(position) == record) {
        m_records.removeAt(position);
        return;
    }
    bool found = false;
    const int pos = sortedPosition(record, &found);
    if (found)
        m_records.removeAt(pos);
}

bool IndexSort::contains(const Record& record) const
{
    if (m_displaced.contains(record))
        return true;
    bool found = false;
    sortedPosition(record, &found);
    return found;
}

int IndexSort::indexOf(const Record& record) const
{
    bool found = false;
    const int pos = sortedPosition(record, &found);
    return found ? pos : -1;
}

void IndexSort::process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                        int lastColumn, const QList<Record>& inserted)
{
    if (updated.size() < 2 || !orderDependsOn(firstColumn, lastColumn)) {
        IndexList::process(removed, updated, firstColumn, lastColumn, inserted);
        return;
    }
    // Several records changed their keys: none of them stands in order any more, so they
    // leave the list in one walk and come back one by one through update().
    const QSet<Record> changed(updated.begin(), updated.end());
    std::vector<Record> kept;
    kept.reserve(size_t(m_records.count()));
    for (const Record& r : m_records) {
        if (changed.contains(r))
            m_displaced.insert(r);
        else
            kept.push_back(r);
    }
    m_records.assign(std::move(kept));
    IndexList::process(removed, updated, firstColumn, lastColumn, inserted);
    for (const Record& r : qAsConst(m_displaced))
        add(r);
    m_displaced.clear();
}

void IndexSort::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    if (m_displaced.remove(record)) {
        if (filter(record))
            add(record);
        else
            remove(record, -1);
        return;
    }
    const bool moved = orderDependsOn(firstColumn, lastColumn);
    if (!moved && !filterDependsOn(firstColumn, lastColumn))
        return;
    int at = -1;
    if (position >= 0 && position < m_records.count() && m_records.at(position) == record) {
        at = position;
    } else if (!moved) {
        bool found = false;
        const int pos = sortedPosition(record, &found);
        at = found ? pos : -1;
    } else {
        // The key changed already, so the record may stand out of order: look for it by
        // its row.
        at = findByPointer(record);
    }
    const bool pass = filter(record);
    if (at < 0) {
        if (pass)
            add(record);
        return;
    }
    if (!pass) {
        remove(record, at);
        return;
    }
    if (moved)
        reposition(at);
}

void IndexSort::reposition(int position)
{
    const Record record = m_records.at(position);
    const bool beforeOk = position == 0 || compareFull(m_records.at(position - 1), record) < 0;
    const bool afterOk =
        position == m_records.count() - 1 || compareFull(record, m_records.at(position + 1)) < 0;
    if (beforeOk && afterOk)
        return;
    m_records.removeAt(position);
    bool found = false;
    const int pos = sortedPosition(record, &found);
    m_records.insert(pos, record);
}

QString IndexSort::getClassName() const
{
    return QStringLiteral("IndexSort");
}

void IndexSort::move(int from, int to, int count)
{
    const int n = m_records.count();
    if (from < 0 || count <= 0 || from + count > n || to < 0 || to + count > n || from == to)
        return;
    std::vector<Record> moving;
    moving.reserve(size_t(count));
    for (int i = 0; i < count; ++i) {
        moving.push_back(m_records.at(from));
        m_records.removeAt(from);
    }
    for (int i = 0; i < count; ++i)
        m_records.insert(to + i, moving[size_t(i)]);
}

void IndexSort::removeRanges(const RangeSet<int>& positions)
{
    const auto& ranges = positions.ranges();
    for (int r = ranges.size() - 1; r >= 0; --r) {
        const int first = qMax(0, ranges.at(r).first);
        const int last = qMin(m_records.count() - 1, ranges.at(r).second);
        for (int i = last; i >= first; --i)
            m_records.removeAt(i);
    }
}

int IndexSort::compare(const Record& a, const Record& b) const
{
    Q_UNUSED(a);
    Q_UNUSED(b);
    return 0;
}

int IndexSort::find(const Record& record, int hint)
{
    if (hint >= 0 && hint < m_records.count() && m_records.at(hint) == record)
        return hint;
    bool found = false;
    const int pos = sortedPosition(record, &found);
    return found ? pos : findByPointer(record);
}

int IndexSort::search(const Record& key, int hint) const
{
    const int n = m_records.count();
    if (hint >= 0 && hint < n && compare(m_records.at(hint), key) == 0 &&
        (hint == 0 || compare(m_records.at(hint - 1), key) < 0))
        return hint;
    const int pos = m_records.lowerBound([&](const Record& e) { return compare(e, key) < 0; });
    if (pos < n && compare(m_records.at(pos), key) == 0)
        return pos;
    return -pos - 1;
}

int IndexSort::searchLast(const Record& key, int hint) const
{
    const int n = m_records.count();
    if (hint >= 0 && hint < n && compare(m_records.at(hint), key) == 0 &&
        (hint == n - 1 || compare(m_records.at(hint + 1), key) > 0))
        return hint;
    const int end = m_records.lowerBound([&](const Record& e) { return compare(e, key) <= 0; });
    if (end > 0 && compare(m_records.at(end - 1), key) == 0)
        return end - 1;
    return -end - 1;
}

int IndexSort::searchFull(const Record& record, int hint) const
{
    if (hint >= 0 && hint < m_records.count() && m_records.at(hint) == record)
        return hint;
    bool found = false;
    const int pos = sortedPosition(record, &found);
    return found ? pos : -pos - 1;
}

void IndexSort::resort()
{
    std::vector<Record> all = m_records.toStdVector();
    std::sort(all.begin(), all.end(),
              [this](const Record& a, const Record& b) { return compareFull(a, b) < 0; });
    m_records.assign(std::move(all));
}
