#include "table.h"

#include "index.h"
#include "masterindex.h"

#include <QDebug>

#include <algorithm>
#include <climits>
#include <numeric>

namespace {

// The key of a table that was given none: rows in the order of their row pointers.
class RowOrderIndex : public MasterIndex
{
public:
    explicit RowOrderIndex(Table* table) : MasterIndex(table)
    {
        // No column takes part in this order; -1 never falls into a changed range.
        setSortColumns({-1});
    }
    int compare(const Record& a, const Record& b) const override
    {
        return a.rowBlock() < b.rowBlock() ? -1 : (a.rowBlock() > b.rowBlock() ? 1 : 0);
    }
    QString getClassName() const override { return QStringLiteral("RowOrderIndex"); }
};

int alignUp(int value, int alignment)
{
    return (value + alignment - 1) / alignment * alignment;
}

const TableColumnDef& emptyColumnDef()
{
    static const TableColumnDef def;
    return def;
}

// Clears a flag when the scope ends, whatever way it ends.
struct FlagGuard
{
    explicit FlagGuard(bool& flag) : m_flag(flag) { m_flag = true; }
    ~FlagGuard() { m_flag = false; }
    bool& m_flag;
};

} // namespace

Table::Table(const QString& name, const QString& description, QObject* parent)
    : QObject(parent), m_name(name), m_description(description)
{
    setObjectName(name);
    m_layout.table = this;
    m_master = new RowOrderIndex(this);
}

Table::~Table()
{
    m_indexes.clear();
    m_dependents.clear();
    MasterIndex* master = m_master;
    m_master = nullptr;
    if (master) {
        for (const Record& r : master->records())
            const_cast<Record&>(r).setInTable(false);
        delete master;
    }
}

int Table::addColumn(const QString& name, FieldType::Type type, int length, bool nullable,
                     const QString& title, bool visible, const QString& description)
{
    if (m_rowsMade) {
        qWarning("Table %s: column %s added after rows were made; ignored", qPrintable(m_name),
                 qPrintable(name));
        return -1;
    }
    if (name.isEmpty() || m_columnByName.contains(name) ||
        FieldType::storedSize(type, length) <= 0 || m_columns.size() >= 0xFFFF) {
        qWarning("Table %s: column '%s' of type %s(%d) cannot be added", qPrintable(m_name),
                 qPrintable(name), FieldType::typeName(type), length);
        return -1;
    }
    TableColumnDef def;
    def.type = type;
    def.length =
        type == FieldType::Integer || type == FieldType::Integer64 || type == FieldType::DateTime
            ? 0
            : length;
    def.name = name;
    def.nullable = nullable;
    def.visible = visible;
    def.title = title;
    def.description = description;
    def.dataSize = FieldType::storedSize(type, length);
    def.dataOffset = alignUp(m_columnsEnd, FieldType::alignment(type));
    def.column = m_columns.size();
    m_columnsEnd = def.dataOffset + def.dataSize;
    m_columns.append(def);
    m_columnByName.insert(name, def.column);

    // The null bytes follow the columns, so that the offsets of columns never move.
    m_nullOffset = m_columnsEnd;
    m_rowSize = alignUp(m_nullOffset + (m_columns.size() + 7) / 8, 8);
    m_slots.clear();
    for (const TableColumnDef& c : qAsConst(m_columns)) {
        ColumnSlot slot;
        slot.offset = c.dataOffset;
        slot.length = c.length;
        slot.nullByte = m_nullOffset + (c.column >> 3);
        slot.nullMask = quint8(1u << (c.column & 7));
        slot.type = quint8(c.type);
        slot.nullable = c.nullable;
        m_slots.push_back(slot);
    }
    m_layout.columns = m_slots.data();
    m_layout.count = int(m_slots.size());
    return def.column;
}

int Table::addColumn(const QString& name, const FieldDef& def, bool nullable, const QString& title,
                     bool visible, const QString& description)
{
    return addColumn(name, def.type, def.length, nullable, title, visible, description);
}

int Table::addColumn(const TableColumnDef& def)
{
    return addColumn(def.name, def.type, def.length, def.nullable, def.title, def.visible,
                     def.description);
}

void Table::setMasterIndex(MasterIndex* index)
{
    if (!index || index == m_master)
        return;
    PartitionList<Record> rows;
    if (m_master) {
        m_master->takeRows(rows);
        MasterIndex* old = m_master;
        m_master = nullptr;
        delete old;
    }
    m_master = index;
    m_indexes.removeAll(index);
    m_master->clear(false);
    for (const Record& r : rows) {
        if (m_master->insertRow(r) < 0) {
            qWarning("Table %s: row %s has a duplicate key under the new key and leaves",
                     qPrintable(m_name), qPrintable(r.toString()));
            const_cast<Record&>(r).setInTable(false);
        }
    }
}

void Table::addIndex(Index* index)
{
    if (index && index != m_master && !m_indexes.contains(index))
        m_indexes.append(index);
}

void Table::removeIndex(Index* index)
{
    m_indexes.removeAll(index);
}

void Table::addDependentIndex(Index* index)
{
    if (index && !m_dependents.contains(index))
        m_dependents.append(index);
}

void Table::removeDependentIndex(Index* index)
{
    m_dependents.removeAll(index);
}

const TableColumnDef& Table::columnDef(int column) const
{
    if (column < 0 || column >= m_columns.size())
        return emptyColumnDef();
    return m_columns.at(column);
}

const TableColumnDef& Table::columnDef(const QString& name) const
{
    return columnDef(columnIndex(name));
}

QList<ColumnDef> Table::columns() const
{
    QList<ColumnDef> list;
    list.reserve(m_columns.size());
    for (const TableColumnDef& def : m_columns)
        list.append(def);
    return list;
}

QList<TableColumnDef*> Table::fieldDefs() const
{
    QList<TableColumnDef*> list;
    list.reserve(m_columns.size());
    for (const TableColumnDef& def : m_columns)
        list.append(const_cast<TableColumnDef*>(&def));
    return list;
}

int Table::rowCount() const
{
    return m_master ? m_master->count() : 0;
}

void Table::lock()
{
    m_mutex.lock();
}

void Table::unlock()
{
    m_mutex.unlock();
}

void Table::beginUpdate()
{
    if (m_updateDepth++ > 0 || m_dispatching)
        return;
    const QList<Index*> indexes = m_indexes;
    for (Index* index : indexes)
        index->beginUpdate();
    const QList<Index*> dependents = m_dependents;
    for (Index* index : dependents)
        index->dependentBeginUpdate(this);
}

void Table::endUpdate()
{
    if (m_updateDepth <= 0) {
        qWarning("Table %s: endUpdate without beginUpdate", qPrintable(m_name));
        return;
    }
    if (--m_updateDepth > 0 || m_dispatching)
        return;

    // Changes that the indexes make to this table while they are told of a batch wait in
    // m_batch and go out as the next batch.
    FlagGuard guard(m_dispatching);
    bool first = true;
    do {
        Batch batch;
        std::swap(batch, m_batch);
        if (!first) {
            for (Index* index : QList<Index*>(m_indexes))
                index->beginUpdate();
            for (Index* index : QList<Index*>(m_dependents))
                index->dependentBeginUpdate(this);
        }
        dispatch(batch);
        m_batch.reuseSets(batch);
        for (Index* index : QList<Index*>(m_indexes))
            if (m_indexes.contains(index))
                index->endUpdate();
        for (Index* index : QList<Index*>(m_dependents))
            if (m_dependents.contains(index))
                index->dependentEndUpdate(this);
        first = false;
    } while (!m_batch.isEmpty());
}

void Table::widenColumns(Batch& batch, int first, int last)
{
    first = qBound(0, first, qMax(0, m_columns.size() - 1));
    last = qBound(0, last, qMax(0, m_columns.size() - 1));
    if (last < first)
        std::swap(first, last);
    if (batch.firstColumn < 0 || first < batch.firstColumn)
        batch.firstColumn = first;
    if (last > batch.lastColumn)
        batch.lastColumn = last;
}

void Table::insertRecord(const Record& record)
{
    if (record.isNull() || record.table() != this) {
        qWarning("Table %s: a row of another table cannot be inserted", qPrintable(m_name));
        return;
    }
    if (record.inTable())
        return;
    beginUpdate();
    if (!m_batch.insertedSet.contains(record)) {
        m_batch.inserted.append(record);
        m_batch.insertedSet.insert(record, 0);
    }
    endUpdate();
}

void Table::Batch::setValues(int at, const Record& values)
{
    if (!replacing) {
        if (values == updated.at(at))
            return;
        replaced = updated;
        replacing = true;
    }
    replaced[at] = values;
}

void Table::Batch::appendUpdate(const Record& row, const Record& values)
{
    updatedAt.insert(row, updated.size());
    updated.append(row);
    if (replacing)
        replaced.append(values);
    else if (values != row)
        setValues(updated.size() - 1, values);
}

void Table::Batch::reuseSets(Batch& told)
{
    removedSet.reuse(told.removedSet);
    updatedAt.reuse(told.updatedAt);
    insertedSet.reuse(told.insertedSet);
}

void Table::removeUpdate(Batch& batch, const Record& record)
{
    const int at = batch.updatedAt.value(record, -1);
    if (at < 0)
        return;
    batch.updated.removeAt(at);
    if (batch.replacing)
        batch.replaced.removeAt(at);
    batch.updatedAt.remove(record);
    batch.updatedAt.forEachValue([at](int& position) {
        if (position > at)
            --position;
    });
}

void Table::removeRecord(const Record& record)
{
    if (record.isNull() || record.table() != this)
        return;
    beginUpdate();
    if (m_batch.insertedSet.remove(record)) {
        m_batch.inserted.removeOne(record);
    } else if (record.inTable() && !m_batch.removedSet.contains(record)) {
        removeUpdate(m_batch, record);
        m_batch.removed.append(record);
        m_batch.removedSet.insert(record, 0);
    }
    endUpdate();
}

void Table::updateRecord(const Record& record, const Record& values, int firstColumn,
                         int lastColumn)
{
    if (record.isNull() || record.table() != this || values.isNull() ||
        values.table()->rowSize() != m_rowSize)
        return;
    if (!record.inTable()) {
        // A row that waits to be inserted takes the values directly.
        if (m_batch.insertedSet.contains(record))
            const_cast<Record&>(record).copyValuesFrom(values);
        return;
    }
    beginUpdate();
    noteUpdate(record, values, firstColumn, lastColumn);
    endUpdate();
}

void Table::noteUpdate(const Record& record, const Record& values, int firstColumn,
                       int lastColumn)
{
    if (m_batch.removedSet.contains(record))
        return;
    const int at = m_batch.updatedAt.value(record, -1);
    if (at >= 0) {
        Record pending = m_batch.valuesAt(at);
        if (values != record)
            m_batch.setValues(at, values);
        else if (pending != record)
            // A change in place on top of pending values: keep it in the pending row,
            // which is what the row will be.
            for (int c = qMax(0, firstColumn); c <= qMin(lastColumn, m_columns.size() - 1); ++c)
                pending.data(c) = record.data(c);
    } else {
        m_batch.appendUpdate(record, values);
    }
    widenColumns(m_batch, firstColumn, lastColumn);
}

Record Table::pendingValues(const Record& record) const
{
    const int at = m_batch.updatedAt.value(record, -1);
    return at >= 0 ? m_batch.valuesAt(at) : record;
}

Record Table::findRow(const Record& key) const
{
    if (key.isNull() || !m_master)
        return Record();
    for (int i = m_batch.inserted.size() - 1; i >= 0; --i)
        if (m_master->compare(m_batch.inserted.at(i), key) == 0)
            return m_batch.inserted.at(i);
    const Record row = m_master->findByKey(key);
    if (row.isNull() || m_batch.removedSet.contains(row))
        return Record();
    return row;
}

void Table::clear()
{
    beginUpdate();
    m_batch.updated.clear();
    m_batch.replaced.clear();
    m_batch.replacing = false;
    m_batch.updatedAt.clear();
    m_batch.inserted.clear();
    m_batch.insertedSet.clear();
    if (m_master) {
        for (const Record& r : m_master->records()) {
            if (!m_batch.removedSet.contains(r)) {
                m_batch.removed.append(r);
                m_batch.removedSet.insert(r, 0);
            }
        }
    }
    endUpdate();
}

void Table::updated(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(position);
    if (record.isNull() || record.table() != this || !record.inTable())
        return;
    if (m_updateDepth > 0 || m_dispatching) {
        // Inside a batch the bracket would only count up and down.
        noteUpdate(record, record, firstColumn, lastColumn);
        return;
    }
    if (m_master->keyDependsOn(firstColumn, lastColumn)) {
        const int at = m_master->findByPointer(record);
        if (at >= 0)
            m_master->reposition(at);
    }
    for (Index* index : QList<Index*>(m_indexes))
        if (m_indexes.contains(index))
            index->update(record, firstColumn, lastColumn, -1);
}

void Table::resolveInserts(Batch& batch)
{
    if (batch.inserted.isEmpty())
        return;
    // Of several new rows with one key the last one counts.
    if (batch.inserted.size() > 1) {
        std::vector<int> order(size_t(batch.inserted.size()));
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            return m_master->compare(batch.inserted.at(a), batch.inserted.at(b)) < 0;
        });
        std::vector<bool> keep(order.size(), true);
        for (size_t i = 0; i + 1 < order.size(); ++i)
            if (m_master->compare(batch.inserted.at(order[i]), batch.inserted.at(order[i + 1])) ==
                0)
                keep[size_t(order[i])] = false;
        QList<Record> unique;
        for (int i = 0; i < batch.inserted.size(); ++i)
            if (keep[size_t(i)])
                unique.append(batch.inserted.at(i));
        batch.inserted = unique;
    }
    // A new row whose key the table holds replaces that row's values.
    QList<Record> inserted;
    for (const Record& r : qAsConst(batch.inserted)) {
        const Record existing = m_master->findByKey(r);
        if (existing.isNull() || batch.removedSet.contains(existing)) {
            inserted.append(r);
            continue;
        }
        const int at = batch.updatedAt.value(existing, -1);
        if (at >= 0)
            batch.setValues(at, r);
        else
            batch.appendUpdate(existing, r);
        widenColumns(batch, 0, m_columns.size() - 1);
    }
    batch.inserted = inserted;
    batch.insertedSet.clear();
}

void Table::applyRows(Batch& batch)
{
    for (const Record& r : qAsConst(batch.removed)) {
        m_master->removeRow(r);
        const_cast<Record&>(r).setInTable(false);
    }
    const bool keyMayChange = m_master->keyDependsOn(batch.firstColumn, batch.lastColumn);
    for (int i = 0; i < batch.updated.size(); ++i) {
        // The batch holds the rows: a handle is taken only for those given new values.
        const Record& values = batch.replaced.at(i);
        if (values == batch.updated.at(i) && !keyMayChange)
            continue;
        Record row = batch.updated.at(i);
        if (values == row) {
            if (keyMayChange) {
                const int at = m_master->findByPointer(row);
                if (at >= 0)
                    m_master->reposition(at);
            }
            continue;
        }
        if (keyMayChange && m_master->compare(row, values) != 0) {
            const Record other = m_master->findByKey(values);
            if (!other.isNull() && other != row && !batch.removedSet.contains(other)) {
                qWarning("Table %s: an update would duplicate the key %s; left out",
                         qPrintable(m_name), qPrintable(values.toString()));
                continue;
            }
            m_master->removeRow(row);
            row.copyValuesFrom(values);
            m_master->insertRow(row);
        } else {
            row.copyValuesFrom(values);
        }
    }
    for (const Record& r : qAsConst(batch.inserted)) {
        if (m_master->insertRow(r) >= 0)
            const_cast<Record&>(r).setInTable(true);
        else
            qWarning("Table %s: duplicate key %s not inserted", qPrintable(m_name),
                     qPrintable(r.toString()));
    }
}

void Table::dispatch(Batch& batch)
{
    resolveInserts(batch);
    if (batch.isEmpty())
        return;
    if (batch.updated.isEmpty()) {
        batch.firstColumn = -1;
        batch.lastColumn = -1;
    }
    if (!batch.replacing) {
        // The indexes are given the new values as a list of their own: here the rows.
        batch.replaced = batch.updated;
        batch.replacing = true;
    }
    const QList<Index*> indexes = m_indexes;
    for (Index* index : indexes)
        if (m_indexes.contains(index))
            index->preprocess(batch.removed, batch.updated, batch.firstColumn, batch.lastColumn,
                              batch.inserted, batch.replaced);
    {
        QMutexLocker locker(&m_mutex);
        applyRows(batch);
    }
    for (Index* index : indexes)
        if (m_indexes.contains(index))
            index->process(batch.removed, batch.updated, batch.firstColumn, batch.lastColumn,
                           batch.inserted);
}
