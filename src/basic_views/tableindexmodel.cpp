#include "tableindexmodel.h"

#include "database/masterindex.h"
#include "database/table.h"
#include "database/tablelocker.h"

#include <algorithm>

namespace {

const Record& nullRecord()
{
    static const Record record;
    return record;
}

// A set of row pointers for a walk over all rows: open addressing in a table at most a
// quarter full, so that a row that is not wanted costs one probe.
class RowSet
{
public:
    explicit RowSet(size_t count)
    {
        size_t capacity = 16;
        while (capacity < count * 4)
            capacity *= 2;
        m_slots.assign(capacity, Slot{nullptr, 0});
        m_mask = capacity - 1;
    }
    void insert(const unsigned char* row, size_t value)
    {
        size_t i = slotOf(row);
        while (m_slots[i].row && m_slots[i].row != row)
            i = (i + 1) & m_mask;
        m_slots[i] = Slot{row, value};
    }
    // The value of a row, or -1.
    long find(const unsigned char* row) const
    {
        for (size_t i = slotOf(row);; i = (i + 1) & m_mask) {
            if (m_slots[i].row == row)
                return long(m_slots[i].value);
            if (!m_slots[i].row)
                return -1;
        }
    }

private:
    struct Slot
    {
        const unsigned char* row;
        size_t value;
    };
    size_t slotOf(const unsigned char* row) const
    {
        // Row blocks are aligned: the low bits say nothing.
        return size_t((quintptr(row) >> 4) * 0x9E3779B97F4A7C15ULL >> 20) & m_mask;
    }
    std::vector<Slot> m_slots;
    size_t m_mask = 0;
};

bool sameList(const QList<Record>& a, const QList<Record>& b)
{
    // The table hands the same lists to preprocess and process; shared copies start at the
    // same element.
    return a.size() == b.size() && (a.isEmpty() || a.constBegin() == b.constBegin());
}

} // namespace

TableIndexModel::TableIndexModel(Table* table, QObject* parent) : FilterIndexModel(table, parent) {}

TableIndexModel::~TableIndexModel() = default;

QString TableIndexModel::getClassName() const
{
    return QStringLiteral("TableIndexModel");
}

// --- item model ------------------------------------------------------------------------

QModelIndex TableIndexModel::index(int row, int column, const QModelIndex& parent) const
{
    if (parent.isValid() || row < 0 || row >= m_records.count() || column < 0 ||
        column >= columnCount())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex TableIndexModel::parent(const QModelIndex& child) const
{
    Q_UNUSED(child);
    return QModelIndex();
}

QModelIndex TableIndexModel::sibling(int row, int column, const QModelIndex& index) const
{
    return this->index(row, column, index.parent());
}

int TableIndexModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_records.count();
}

bool TableIndexModel::hasChildren(const QModelIndex& parent) const
{
    return !parent.isValid() && !m_records.isEmpty();
}

Qt::ItemFlags TableIndexModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags f = FilterIndexModel::flags(index);
    if (index.isValid())
        f |= Qt::ItemNeverHasChildren;
    return f;
}

Record TableIndexModel::recordByIndex(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return Record();
    return at(index.row());
}

const Record& TableIndexModel::at(int row) const
{
    if (row < 0 || row >= m_records.count())
        return nullRecord();
    return m_records.at(row);
}

// --- finding rows ------------------------------------------------------------------------

int TableIndexModel::sortedPosition(const Record& record, bool* found) const
{
    const int pos =
        m_records.lowerBound([&](const Record& e) { return compareFull(e, record) < 0; });
    *found = pos < m_records.count() && m_records.at(pos) == record;
    return pos;
}

int TableIndexModel::locate(const Record& record, bool mayBeDisplaced) const
{
    bool found = false;
    const int pos = sortedPosition(record, &found);
    if (found)
        return pos;
    return mayBeDisplaced ? m_records.indexOf(record) : -1;
}

bool TableIndexModel::contains(const Record& record) const
{
    bool found = false;
    sortedPosition(record, &found);
    return found;
}

int TableIndexModel::indexOf(const Record& record) const
{
    bool found = false;
    const int pos = sortedPosition(record, &found);
    return found ? pos : -1;
}

void TableIndexModel::scanFor(const std::vector<Located>& wanted, std::vector<Located>& found) const
{
    if (wanted.empty())
        return;
    RowSet set(wanted.size());
    for (size_t i = 0; i < wanted.size(); ++i)
        set.insert(wanted[i].record->rowBlock(), i);
    size_t left = wanted.size();
    int row = 0;
    for (auto it = m_records.begin(); it != m_records.end() && left > 0; ++it, ++row) {
        const long k = set.find(it->rowBlock());
        if (k >= 0) {
            const Located& w = wanted[size_t(k)];
            found.push_back({w.record, row, w.removed});
            --left;
        }
    }
}

// --- whole content -------------------------------------------------------------------------

void TableIndexModel::clear(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    beginResetModel();
    m_records.clear();
    dropPrepared();
    endResetModel();
}

void TableIndexModel::build(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    beginResetModel();
    std::vector<Record> rows;
    Table* t = table();
    if (t && t->masterIndex()) {
        TableLocker locker(t);
        rows.reserve(size_t(t->rowCount()));
        for (const Record& r : t->masterIndex()->records())
            if (filter(r))
                rows.push_back(r);
    }
    std::sort(rows.begin(), rows.end(),
              [this](const Record& a, const Record& b) { return compareFull(a, b) < 0; });
    m_records.assign(std::move(rows));
    dropPrepared();
    endResetModel();
}

void TableIndexModel::resort()
{
    const int n = m_records.count();
    if (n == 0)
        return;
    emit layoutAboutToBeChanged(QList<QPersistentModelIndex>(),
                                QAbstractItemModel::VerticalSortHint);
    const std::vector<Record> rows = m_records.toStdVector();
    std::vector<int> order(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        order[size_t(i)] = i;
    std::sort(order.begin(), order.end(),
              [&](int a, int b) { return compareFull(rows[size_t(a)], rows[size_t(b)]) < 0; });
    std::vector<Record> sorted;
    sorted.reserve(size_t(n));
    std::vector<int> newRow(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        newRow[size_t(order[size_t(i)])] = i;
        sorted.push_back(rows[size_t(order[size_t(i)])]);
    }
    m_records.assign(std::move(sorted));
    changePersistentRows(newRow);
    emit layoutChanged(QList<QPersistentModelIndex>(), QAbstractItemModel::VerticalSortHint);
}

void TableIndexModel::changePersistentRows(const std::vector<int>& newRow)
{
    const QModelIndexList from = persistentIndexList();
    if (from.isEmpty())
        return;
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& i : from) {
        const int row =
            i.row() >= 0 && size_t(i.row()) < newRow.size() ? newRow[size_t(i.row())] : -1;
        to.append(row >= 0 ? index(row, i.column()) : QModelIndex());
    }
    changePersistentIndexList(from, to);
}

// --- single changes ---------------------------------------------------------------------

void TableIndexModel::add(const Record& record)
{
    if (record.isNull() || !table() || record.table() != table())
        return;
    bool found = false;
    const int at = sortedPosition(record, &found);
    if (found)
        return;
    beginInsertRows(QModelIndex(), at, at);
    m_records.insert(at, record);
    endInsertRows();
}

void TableIndexModel::remove(const Record& record, int position)
{
    if (record.isNull() || !table() || record.table() != table())
        return;
    int at = -1;
    if (position >= 0 && position < m_records.count() && m_records.at(position) == record)
        at = position;
    else
        at = locate(record, filter(record));
    if (at < 0)
        return;
    beginRemoveRows(QModelIndex(), at, at);
    m_records.removeAt(at);
    endRemoveRows();
}

void TableIndexModel::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(position);
    applyBatch(QList<Record>(), QList<Record>{record}, firstColumn, lastColumn, QList<Record>(),
               false);
}

// --- batches ---------------------------------------------------------------------------

void TableIndexModel::dropPrepared()
{
    m_prepared.clear();
    m_preparedRemoved.clear();
    m_preparedUpdated.clear();
    m_isPrepared = false;
}

void TableIndexModel::endUpdate()
{
    dropPrepared();
}

void TableIndexModel::preprocess(const QList<Record>& removed, const QList<Record>& updated,
                                 int firstColumn, int lastColumn, const QList<Record>& inserted,
                                 const QList<Record>& replaced)
{
    Q_UNUSED(inserted);
    dropPrepared();
    if (!table() || m_records.isEmpty() || (removed.isEmpty() && updated.isEmpty()))
        return;
    // Rows written in place before the batch was announced hold their new values already.
    // When those values decide the order the list is out of order for them, and the rows
    // are left to be found in process().
    if (!updated.isEmpty() && orderDependsOn(firstColumn, lastColumn))
        for (int i = 0; i < updated.size(); ++i)
            if (i >= replaced.size() || replaced.at(i) == updated.at(i))
                return;
    m_prepared.reserve(size_t(removed.size() + updated.size()));
    // A batch of in-place changes mostly lists its rows in the order they stand: the row
    // after the last one found is tried before a search.
    int next = 0;
    for (const QList<Record>* list : {&removed, &updated}) {
        for (const Record& r : *list) {
            int pos = -1;
            if (next < m_records.count() && m_records.at(next) == r) {
                pos = next;
            } else {
                bool found = false;
                pos = sortedPosition(r, &found);
                if (!found)
                    pos = -1;
            }
            m_prepared.push_back(pos);
            if (pos >= 0)
                next = pos + 1;
        }
    }
    m_preparedRemoved = removed;
    m_preparedUpdated = updated;
    m_isPrepared = true;
}

void TableIndexModel::process(const QList<Record>& removed, const QList<Record>& updated,
                              int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    const bool prepared = m_isPrepared && sameList(removed, m_preparedRemoved) &&
                          sameList(updated, m_preparedUpdated);
    applyBatch(removed, updated, firstColumn, lastColumn, inserted, prepared);
    dropPrepared();
}

void TableIndexModel::applyBatch(const QList<Record>& removed, const QList<Record>& updated,
                                 int firstColumn, int lastColumn, const QList<Record>& inserted,
                                 bool prepared)
{
    Table* t = table();
    if (!t)
        return;
    const bool orderMoved = !updated.isEmpty() && orderDependsOn(firstColumn, lastColumn);

    // 1. The rows of the removed and updated records that the model shows.
    std::vector<Located> found;
    std::vector<Located> unresolved;
    found.reserve(size_t(removed.size() + updated.size()));
    // Whether each updated row of the table was found at once; then none of them enters.
    bool updatedFound = true;
    // m_prepared holds the positions of removed, then of updated, in their order.
    auto resolve = [&](const Record& r, bool isRemoved, int preparedAt) {
        if (r.isNull() || r.table() != t)
            return;
        if (prepared) {
            const int pos = m_prepared[size_t(preparedAt)];
            if (pos >= 0) {
                found.push_back({&r, pos, isRemoved});
                return;
            }
        } else if (!orderMoved) {
            bool ok = false;
            const int pos = sortedPosition(r, &ok);
            if (ok) {
                found.push_back({&r, pos, isRemoved});
                return;
            }
        } else {
            // Keys changed in place: the order cannot lead to any row.
            unresolved.push_back({&r, -1, isRemoved});
            updatedFound = updatedFound && isRemoved;
            return;
        }
        updatedFound = updatedFound && isRemoved;
        // Not where the order puts it. A row that passes the filter may still stand
        // elsewhere: written in place before it went, or ordered by data from outside the
        // table that changed unannounced. A walk makes sure it is not shown twice.
        if (filter(r))
            unresolved.push_back({&r, -1, isRemoved});
    };
    for (int i = 0; i < removed.size(); ++i)
        resolve(removed.at(i), true, i);
    for (int i = 0; i < updated.size(); ++i)
        resolve(updated.at(i), false, removed.size() + i);
    scanFor(unresolved, found);

    // 2. What becomes of each.
    std::vector<int> leaving;
    std::vector<Located> displaced;
    std::vector<Located> changed;
    changed.reserve(found.size());
    for (const Located& l : found) {
        if (l.removed || !filter(*l.record)) {
            leaving.push_back(l.position);
            continue;
        }
        changed.push_back(l);
        if (orderMoved)
            displaced.push_back(l);
    }
    std::vector<Record> entering;
    if (!updatedFound) {
        std::vector<const unsigned char*> present;
        present.reserve(found.size());
        for (const Located& l : found)
            present.push_back(l.record->rowBlock());
        std::sort(present.begin(), present.end());
        for (const Record& r : updated)
            if (r.table() == t &&
                !std::binary_search(present.begin(), present.end(), r.rowBlock()) && filter(r))
                entering.push_back(r);
    }
    for (const Record& r : inserted)
        if (!r.isNull() && r.table() == t && filter(r))
            entering.push_back(r);

    // 3. Removals, then the rows whose place changed, then the new rows. Without any of
    // them the rows that changed in place keep the positions found above.
    if (!leaving.empty() || !displaced.empty() || !entering.empty())
        for (Located& l : changed)
            l.position = -1;
    std::sort(leaving.begin(), leaving.end());
    leaving.erase(std::unique(leaving.begin(), leaving.end()), leaving.end());
    if (!displaced.empty() && !leaving.empty())
        for (Located& d : displaced)
            d.position -=
                int(std::lower_bound(leaving.begin(), leaving.end(), d.position) - leaving.begin());
    removeRows(leaving);
    if (int(displaced.size()) > MaxMovesPerBatch)
        relayoutRows(displaced);
    else if (!displaced.empty())
        moveRows(displaced);
    insertRecords(entering);

    // 4. The rows that changed in place.
    emitChanged(changed, firstColumn, lastColumn);
}

void TableIndexModel::removeRows(std::vector<int>& rows)
{
    if (rows.empty())
        return;
    if (int(rows.size()) == m_records.count()) {
        beginRemoveRows(QModelIndex(), 0, m_records.count() - 1);
        m_records.clear();
        endRemoveRows();
        return;
    }
    // From the end, so that the rows still to go keep their numbers.
    int i = int(rows.size()) - 1;
    while (i >= 0) {
        const int last = rows[size_t(i)];
        int first = last;
        while (i > 0 && rows[size_t(i - 1)] == first - 1) {
            --i;
            --first;
        }
        --i;
        beginRemoveRows(QModelIndex(), first, last);
        for (int r = last; r >= first; --r)
            m_records.removeAt(r);
        endRemoveRows();
    }
}

void TableIndexModel::moveRows(std::vector<Located>& displaced)
{
    // The rows whose key changed stand where their old key put them. Each in turn goes to
    // its place among the rows that are in order; the rows still waiting are passed over
    // as if they were not there.
    std::vector<const unsigned char*> waiting;
    waiting.reserve(displaced.size());
    for (const Located& d : displaced)
        waiting.push_back(d.record->rowBlock());
    std::sort(waiting.begin(), waiting.end());
    auto isWaiting = [&](int row) {
        return std::binary_search(waiting.begin(), waiting.end(), m_records.at(row).rowBlock());
    };

    for (size_t k = 0; k < displaced.size(); ++k) {
        const Record record = *displaced[k].record;
        const int from = displaced[k].position;
        int lo = 0, hi = m_records.count();
        while (lo < hi) {
            const int mid = lo + (hi - lo) / 2;
            int j = mid;
            while (j >= lo && isWaiting(j))
                --j;
            if (j < lo)
                lo = mid + 1;
            else if (compareFull(m_records.at(j), record) < 0)
                lo = mid + 1;
            else
                hi = j;
        }
        const int to = lo;
        waiting.erase(std::lower_bound(waiting.begin(), waiting.end(), record.rowBlock()));
        if (to == from || to == from + 1)
            continue;
        beginMoveRows(QModelIndex(), from, from, QModelIndex(), to);
        m_records.removeAt(from);
        m_records.insert(to > from ? to - 1 : to, record);
        endMoveRows();
        for (size_t m = k + 1; m < displaced.size(); ++m) {
            int& p = displaced[m].position;
            if (to > from && p > from && p < to)
                --p;
            else if (to < from && p >= to && p < from)
                ++p;
        }
    }
}

void TableIndexModel::relayoutRows(const std::vector<Located>& displaced)
{
    emit layoutAboutToBeChanged(QList<QPersistentModelIndex>(),
                                QAbstractItemModel::VerticalSortHint);
    const int n = m_records.count();
    const std::vector<Record> rows = m_records.toStdVector();
    std::vector<char> moving(static_cast<size_t>(n), 0);
    for (const Located& d : displaced)
        moving[size_t(d.position)] = 1;
    std::vector<int> staying, movers;
    staying.reserve(size_t(n) - displaced.size());
    movers.reserve(displaced.size());
    for (int i = 0; i < n; ++i)
        (moving[size_t(i)] ? movers : staying).push_back(i);
    auto less = [&](int a, int b) { return compareFull(rows[size_t(a)], rows[size_t(b)]) < 0; };
    std::sort(movers.begin(), movers.end(), less);
    // The rows that stayed are in order among themselves: one merge puts all in place.
    std::vector<Record> merged;
    merged.reserve(size_t(n));
    std::vector<int> newRow(static_cast<size_t>(n));
    size_t s = 0, m = 0;
    while (s < staying.size() || m < movers.size()) {
        const bool takeStaying =
            m == movers.size() || (s < staying.size() && less(staying[s], movers[m]));
        const int old = takeStaying ? staying[s++] : movers[m++];
        newRow[size_t(old)] = int(merged.size());
        merged.push_back(rows[size_t(old)]);
    }
    m_records.assign(std::move(merged));
    changePersistentRows(newRow);
    emit layoutChanged(QList<QPersistentModelIndex>(), QAbstractItemModel::VerticalSortHint);
}

void TableIndexModel::insertRecords(std::vector<Record>& records)
{
    if (records.empty())
        return;
    std::sort(records.begin(), records.end(),
              [this](const Record& a, const Record& b) { return compareFull(a, b) < 0; });
    records.erase(std::unique(records.begin(), records.end()), records.end());
    size_t i = 0;
    while (i < records.size()) {
        bool found = false;
        const int at = sortedPosition(records[i], &found);
        if (found) {
            ++i;
            continue;
        }
        // The new records that go before the row now at 'at' make one block.
        size_t j = i + 1;
        if (at < m_records.count()) {
            const Record next = m_records.at(at);
            while (j < records.size() && compareFull(records[j], next) < 0)
                ++j;
        } else {
            j = records.size();
        }
        beginInsertRows(QModelIndex(), at, at + int(j - i) - 1);
        for (size_t k = i; k < j; ++k)
            m_records.insert(at + int(k - i), records[k]);
        endInsertRows();
        i = j;
    }
}

void TableIndexModel::emitChanged(const std::vector<Located>& changed, int firstColumn,
                                  int lastColumn)
{
    int left = -1, right = -1;
    if (changed.empty() || !changedColumnSpan(firstColumn, lastColumn, &left, &right))
        return;
    std::vector<int> rows;
    rows.reserve(changed.size());
    std::vector<Located> unresolved;
    for (const Located& l : changed) {
        if (l.position >= 0) {
            rows.push_back(l.position);
            continue;
        }
        bool found = false;
        const int pos = sortedPosition(*l.record, &found);
        if (found)
            rows.push_back(pos);
        else
            unresolved.push_back({l.record, -1, false});
    }
    // Only an order that reads data outside the rows can leave a row out of place.
    std::vector<Located> scanned;
    scanFor(unresolved, scanned);
    for (const Located& l : scanned)
        rows.push_back(l.position);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    size_t i = 0;
    while (i < rows.size()) {
        size_t j = i + 1;
        while (j < rows.size() && rows[j] == rows[j - 1] + 1)
            ++j;
        emit dataChanged(index(rows[i], left), index(rows[j - 1], right));
        i = j;
    }
}
