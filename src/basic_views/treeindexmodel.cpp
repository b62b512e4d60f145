#include "treeindexmodel.h"

#include "groupment.h"

#include "database/masterindex.h"
#include "database/table.h"
#include "database/tablelocker.h"

#include <QMap>

#include <algorithm>

TreeIndexModel::TreeIndexModel(Table* table, QObject* parent)
    : FilterIndexModel(table, parent), m_root(nullptr, QString(), QString(), QVariant())
{
}

TreeIndexModel::~TreeIndexModel() = default;

QString TreeIndexModel::getClassName() const
{
    return QStringLiteral("TreeIndexModel");
}

bool TreeIndexModel::showsRecords() const
{
    return true;
}

Groupment* TreeIndexModel::groupment() const
{
    return m_groupments.isEmpty() ? nullptr : m_groupments.first();
}

// --- structure -------------------------------------------------------------------------

TreeIndexModel::Item* TreeIndexModel::itemOfIndex(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<Item*>(index.internalPointer());
}

QModelIndex TreeIndexModel::parentIndexOf(const Item* item) const
{
    if (!item || item == &m_root)
        return QModelIndex();
    return createIndex(item->m_row, 0, const_cast<Item*>(&m_root));
}

bool TreeIndexModel::rowsVisible(const Item* item) const
{
    return item == &m_root || showsRecords();
}

QModelIndex TreeIndexModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || column >= columnCount())
        return QModelIndex();
    if (!parent.isValid()) {
        const int rows = grouped() ? m_root.m_children.size() : m_root.m_records.size();
        return row < rows ? createIndex(row, column, const_cast<Item*>(&m_root)) : QModelIndex();
    }
    Item* group = groupByIndex(parent);
    if (!group || parent.column() != 0 || !showsRecords() || row >= group->m_records.size())
        return QModelIndex();
    return createIndex(row, column, group);
}

QModelIndex TreeIndexModel::parent(const QModelIndex& child) const
{
    const Item* item = itemOfIndex(child);
    if (!item || item == &m_root)
        return QModelIndex();
    return parentIndexOf(item);
}

int TreeIndexModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return grouped() ? m_root.m_children.size() : m_root.m_records.size();
    const Item* group = groupByIndex(parent);
    if (!group || parent.column() != 0 || !showsRecords())
        return 0;
    return group->m_records.size();
}

bool TreeIndexModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

GroupmentTreeItem* TreeIndexModel::groupByIndex(const QModelIndex& index) const
{
    const Item* item = itemOfIndex(index);
    if (item != &m_root || !grouped() || index.row() >= m_root.m_children.size())
        return nullptr;
    return m_root.m_children.at(index.row());
}

QModelIndex TreeIndexModel::indexOfGroup(const GroupmentTreeItem* group, int column) const
{
    if (!group || group->m_parent != &m_root || group->m_row >= m_root.m_children.size() ||
        m_root.m_children.at(group->m_row) != group)
        return QModelIndex();
    return index(group->m_row, column);
}

Record TreeIndexModel::recordByIndex(const QModelIndex& index) const
{
    const Item* item = itemOfIndex(index);
    if (!item)
        return Record();
    if (item == &m_root && grouped())
        return index.row() < m_root.m_children.size()
                   ? m_root.m_children.at(index.row())->firstRecord()
                   : Record();
    return index.row() < item->m_records.size() ? item->m_records.at(index.row()) : Record();
}

QVariant TreeIndexModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    if (const Item* group = groupByIndex(index))
        return groupData(group, index.column(), role);
    return recordData(recordByIndex(index), index.column(), role);
}

QVariant TreeIndexModel::groupData(const GroupmentTreeItem* group, int column, int role) const
{
    if (column != 0)
        return recordData(group->firstRecord(), column, role);
    switch (role) {
    case Qt::DisplayRole:
        return group->name();
    case Qt::EditRole:
    case Qt::UserRole:
        return group->value();
    case Qt::TextAlignmentRole:
        return int(columnAlignment(0));
    default:
        return QVariant();
    }
}

Qt::ItemFlags TreeIndexModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags f = FilterIndexModel::flags(index);
    if (index.isValid() && (!groupByIndex(index) || !showsRecords()))
        f |= Qt::ItemNeverHasChildren;
    return f;
}

void TreeIndexModel::emitColumnChanged(int column, const QVector<int>& roles)
{
    FilterIndexModel::emitColumnChanged(column, roles);
    if (!grouped() || !showsRecords())
        return;
    for (const Item* group : qAsConst(m_root.m_children))
        if (!group->m_records.isEmpty())
            emit dataChanged(index(0, column, indexOfGroup(group)),
                             index(group->m_records.size() - 1, column, indexOfGroup(group)),
                             roles);
}

// --- order -----------------------------------------------------------------------------

bool TreeIndexModel::groupLess(const Item* a, const Item* b) const
{
    const int c = groupment()->compareGroups(a, b);
    return sortOrder() == Qt::DescendingOrder ? c > 0 : c < 0;
}

int TreeIndexModel::positionIn(const Item* item, const Record& record) const
{
    const QVector<Record>& list = item->m_records;
    const auto it =
        std::lower_bound(list.begin(), list.end(), record,
                         [this](const Record& a, const Record& b) { return recordLess(a, b); });
    if (it != list.end() && *it == record)
        return int(it - list.begin());
    return list.indexOf(record);
}

bool TreeIndexModel::standsInOrder(const Item* item, int position) const
{
    const QVector<Record>& list = item->m_records;
    const Record& r = list.at(position);
    return (position == 0 || recordLess(list.at(position - 1), r)) &&
           (position == list.size() - 1 || recordLess(r, list.at(position + 1)));
}

void TreeIndexModel::renumberGroups()
{
    for (int i = 0; i < m_root.m_children.size(); ++i)
        m_root.m_children[i]->m_row = i;
}

void TreeIndexModel::resort()
{
    if (m_root.m_children.isEmpty() && m_root.m_records.isEmpty())
        return;
    emit layoutAboutToBeChanged(QList<QPersistentModelIndex>(),
                                QAbstractItemModel::VerticalSortHint);
    // What each persistent index stands for, before the rows move.
    const QModelIndexList from = persistentIndexList();
    struct Target
    {
        Item* item;
        Item* group;
        Record record;
    };
    QVector<Target> targets;
    targets.reserve(from.size());
    for (const QModelIndex& i : from) {
        Item* item = itemOfIndex(i);
        Item* group = groupByIndex(i);
        targets.append({item, group, group ? Record() : recordByIndex(i)});
    }

    auto sortRecords = [this](QVector<Record>& list) {
        std::sort(list.begin(), list.end(),
                  [this](const Record& a, const Record& b) { return recordLess(a, b); });
    };
    sortRecords(m_root.m_records);
    if (grouped()) {
        std::sort(m_root.m_children.begin(), m_root.m_children.end(),
                  [this](const Item* a, const Item* b) { return groupLess(a, b); });
        renumberGroups();
        for (Item* group : qAsConst(m_root.m_children))
            sortRecords(group->m_records);
    }

    QModelIndexList to;
    to.reserve(from.size());
    for (int k = 0; k < from.size(); ++k) {
        const Target& t = targets.at(k);
        const int column = from.at(k).column();
        if (t.group) {
            to.append(createIndex(t.group->m_row, column, &m_root));
        } else if (t.item && !t.record.isNull()) {
            const int row = t.item->m_records.indexOf(t.record);
            to.append(row >= 0 ? createIndex(row, column, t.item) : QModelIndex());
        } else {
            to.append(QModelIndex());
        }
    }
    changePersistentIndexList(from, to);
    emit layoutChanged(QList<QPersistentModelIndex>(), QAbstractItemModel::VerticalSortHint);
}

// --- whole content -----------------------------------------------------------------------

void TreeIndexModel::clearStructure()
{
    qDeleteAll(m_root.m_children);
    m_root.m_children.clear();
    m_root.m_records.clear();
    m_groupByKey.clear();
    m_itemOf.clear();
}

QVector<Record> TreeIndexModel::allRecords() const
{
    QVector<Record> records = m_root.m_records;
    for (const Item* group : m_root.m_children)
        records += group->m_records;
    return records;
}

void TreeIndexModel::placeAll(QVector<Record> records)
{
    std::sort(records.begin(), records.end(),
              [this](const Record& a, const Record& b) { return recordLess(a, b); });
    Groupment* g = groupment();
    if (!g) {
        m_root.m_records = records;
        for (const Record& r : qAsConst(m_root.m_records))
            m_itemOf.insert(r, &m_root);
        return;
    }
    // Records come in order, so each group's list is in order as it grows.
    for (const Record& r : qAsConst(records)) {
        const QString key = g->groupKey(r);
        Item* group = m_groupByKey.value(key);
        if (!group) {
            group = g->createGroup(&m_root, key, r);
            if (!group)
                continue;
            group->m_parent = &m_root;
            group->m_key = key;
            m_groupByKey.insert(key, group);
            m_root.m_children.append(group);
        }
        group->m_records.append(r);
        m_itemOf.insert(r, group);
    }
    std::sort(m_root.m_children.begin(), m_root.m_children.end(),
              [this](const Item* a, const Item* b) { return groupLess(a, b); });
    renumberGroups();
}

void TreeIndexModel::clear(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    beginResetModel();
    clearStructure();
    endResetModel();
}

void TreeIndexModel::build(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    beginResetModel();
    clearStructure();
    QVector<Record> records;
    Table* t = table();
    if (t && t->masterIndex()) {
        TableLocker locker(t);
        for (const Record& r : t->masterIndex()->records())
            if (filter(r))
                records.append(r);
    }
    placeAll(records);
    endResetModel();
}

void TreeIndexModel::setGroupmentList(const QList<Groupment*>& groupments)
{
    beginResetModel();
    const QVector<Record> records = table() ? allRecords() : QVector<Record>();
    clearStructure();
    m_groupments = groupments;
    m_groupments.removeAll(nullptr);
    placeAll(records);
    endResetModel();
}

// --- single changes ----------------------------------------------------------------------

void TreeIndexModel::add(const Record& record)
{
    applyBatch(QList<Record>(), QList<Record>(), -1, -1, QList<Record>{record});
}

void TreeIndexModel::remove(const Record& record, int position)
{
    Q_UNUSED(position);
    applyBatch(QList<Record>{record}, QList<Record>(), -1, -1, QList<Record>());
}

void TreeIndexModel::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(position);
    applyBatch(QList<Record>(), QList<Record>{record}, firstColumn, lastColumn, QList<Record>());
}

bool TreeIndexModel::contains(const Record& record) const
{
    return m_itemOf.contains(record);
}

int TreeIndexModel::indexOf(const Record& record) const
{
    const Item* item = m_itemOf.value(record);
    return item ? positionIn(item, record) : -1;
}

// --- batches -----------------------------------------------------------------------------

void TreeIndexModel::process(const QList<Record>& removed, const QList<Record>& updated,
                             int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    applyBatch(removed, updated, firstColumn, lastColumn, inserted);
}

void TreeIndexModel::applyBatch(const QList<Record>& removed, const QList<Record>& updated,
                                int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    Table* t = table();
    if (!t)
        return;
    Groupment* g = groupment();
    const bool orderMoved = !updated.isEmpty() && orderDependsOn(firstColumn, lastColumn);

    // 1. Who leaves which item, who stays, who comes.
    QHash<Item*, int> updatedIn;
    if (orderMoved)
        for (const Record& r : updated)
            if (Item* item = m_itemOf.value(r))
                ++updatedIn[item];
    QMap<Item*, QVector<Record>> leaving;
    QVector<Record> entering;
    QVector<Record> changed;
    for (const Record& r : removed)
        if (Item* item = m_itemOf.value(r))
            leaving[item].append(r);
    for (const Record& r : updated) {
        if (r.isNull() || r.table() != t)
            continue;
        Item* item = m_itemOf.value(r);
        const bool pass = filter(r);
        if (!item) {
            if (pass)
                entering.append(r);
            continue;
        }
        bool leave = !pass || (g && g->groupKey(r) != item->m_key);
        // Several changed keys in one list cannot be checked against each other: they
        // all take their places anew.
        if (!leave && orderMoved) {
            const int position = positionIn(item, r);
            leave = updatedIn.value(item) > 1 || position < 0 || !standsInOrder(item, position);
        }
        if (leave) {
            leaving[item].append(r);
            if (pass)
                entering.append(r);
        } else {
            changed.append(r);
        }
    }
    for (const Record& r : inserted)
        if (!r.isNull() && r.table() == t && !m_itemOf.contains(r) && filter(r))
            entering.append(r);

    // 2. Removals, then the groups left empty.
    QSet<Item*> touched;
    QVector<Item*> emptied;
    for (auto it = leaving.begin(); it != leaving.end(); ++it) {
        removeFromItem(it.key(), it.value());
        if (it.key() == &m_root)
            continue;
        if (it.key()->m_records.isEmpty())
            emptied.append(it.key());
        else
            touched.insert(it.key());
    }
    removeGroups(emptied);

    // 3. Insertions into the items there are, then the new groups.
    QMap<Item*, QVector<Record>> joining;
    QMap<QString, QVector<Record>> founding;
    for (const Record& r : qAsConst(entering)) {
        if (!g) {
            joining[&m_root].append(r);
            continue;
        }
        const QString key = g->groupKey(r);
        if (Item* group = m_groupByKey.value(key))
            joining[group].append(r);
        else
            founding[key].append(r);
    }
    for (auto it = joining.begin(); it != joining.end(); ++it) {
        insertIntoItem(it.key(), it.value());
        if (it.key() != &m_root)
            touched.insert(it.key());
    }
    QVector<Item*> founded;
    for (auto it = founding.begin(); it != founding.end(); ++it) {
        QVector<Record>& records = it.value();
        std::sort(records.begin(), records.end(),
                  [this](const Record& a, const Record& b) { return recordLess(a, b); });
        Item* group = g->createGroup(&m_root, it.key(), records.first());
        if (!group)
            continue;
        group->m_parent = &m_root;
        group->m_key = it.key();
        group->m_records = records;
        founded.append(group);
    }
    insertGroups(founded);

    // 4. The rows that changed in place, and the group rows whose records changed.
    int left = -1, right = -1;
    if (!changed.isEmpty() && changedColumnSpan(firstColumn, lastColumn, &left, &right)) {
        QMap<Item*, QVector<int>> rows;
        for (const Record& r : qAsConst(changed)) {
            Item* item = m_itemOf.value(r);
            if (!item)
                continue;
            if (item != &m_root)
                touched.insert(item);
            if (rowsVisible(item))
                rows[item].append(positionIn(item, r));
        }
        for (auto it = rows.begin(); it != rows.end(); ++it)
            emitRowsChanged(it.key(), it.value(), left, right);
    }
    if (!touched.isEmpty() && columnCount() > 0) {
        QVector<int> groupRows;
        for (const Item* group : qAsConst(touched))
            groupRows.append(group->m_row);
        emitRowsChanged(&m_root, groupRows, 0, columnCount() - 1);
    }
}

void TreeIndexModel::removeFromItem(Item* item, const QVector<Record>& records)
{
    const QSet<Record> going(records.begin(), records.end());
    QVector<int> positions;
    for (int i = 0; i < item->m_records.size(); ++i)
        if (going.contains(item->m_records.at(i)))
            positions.append(i);
    for (const Record& r : records)
        m_itemOf.remove(r);
    if (positions.isEmpty())
        return;
    const bool signal = rowsVisible(item);
    const QModelIndex parent = parentIndexOf(item);
    int i = positions.size() - 1;
    while (i >= 0) {
        const int last = positions.at(i);
        int first = last;
        while (i > 0 && positions.at(i - 1) == first - 1) {
            --i;
            --first;
        }
        --i;
        if (signal)
            beginRemoveRows(parent, first, last);
        item->m_records.remove(first, last - first + 1);
        if (signal)
            endRemoveRows();
    }
}

void TreeIndexModel::removeGroups(QVector<Item*> groups)
{
    if (groups.isEmpty())
        return;
    std::sort(groups.begin(), groups.end(),
              [](const Item* a, const Item* b) { return a->m_row < b->m_row; });
    int i = groups.size() - 1;
    while (i >= 0) {
        const int last = groups.at(i)->m_row;
        int first = last;
        while (i > 0 && groups.at(i - 1)->m_row == first - 1) {
            --i;
            --first;
        }
        --i;
        beginRemoveRows(QModelIndex(), first, last);
        QVector<Item*> gone = m_root.m_children.mid(first, last - first + 1);
        m_root.m_children.remove(first, last - first + 1);
        for (const Item* group : qAsConst(gone))
            m_groupByKey.remove(group->m_key);
        renumberGroups();
        endRemoveRows();
        // Deleted only now: until the views are told, parent() of their rows reads them.
        qDeleteAll(gone);
    }
}

void TreeIndexModel::insertIntoItem(Item* item, QVector<Record> records)
{
    std::sort(records.begin(), records.end(),
              [this](const Record& a, const Record& b) { return recordLess(a, b); });
    const bool signal = rowsVisible(item);
    const QModelIndex parent = parentIndexOf(item);
    QVector<Record>& list = item->m_records;
    auto less = [this](const Record& a, const Record& b) { return recordLess(a, b); };
    int i = 0;
    while (i < records.size()) {
        const int at =
            int(std::lower_bound(list.begin(), list.end(), records.at(i), less) - list.begin());
        int j = i + 1;
        if (at < list.size()) {
            while (j < records.size() && recordLess(records.at(j), list.at(at)))
                ++j;
        } else {
            j = records.size();
        }
        if (signal)
            beginInsertRows(parent, at, at + (j - i) - 1);
        for (int k = i; k < j; ++k) {
            list.insert(at + (k - i), records.at(k));
            m_itemOf.insert(records.at(k), item);
        }
        if (signal)
            endInsertRows();
        i = j;
    }
}

void TreeIndexModel::insertGroups(QVector<Item*> groups)
{
    if (groups.isEmpty())
        return;
    std::sort(groups.begin(), groups.end(),
              [this](const Item* a, const Item* b) { return groupLess(a, b); });
    QVector<Item*>& list = m_root.m_children;
    auto less = [this](const Item* a, const Item* b) { return groupLess(a, b); };
    int i = 0;
    while (i < groups.size()) {
        const int at =
            int(std::lower_bound(list.begin(), list.end(), groups.at(i), less) - list.begin());
        int j = i + 1;
        if (at < list.size()) {
            while (j < groups.size() && groupLess(groups.at(j), list.at(at)))
                ++j;
        } else {
            j = groups.size();
        }
        beginInsertRows(QModelIndex(), at, at + (j - i) - 1);
        for (int k = i; k < j; ++k) {
            Item* group = groups.at(k);
            list.insert(at + (k - i), group);
            m_groupByKey.insert(group->m_key, group);
            for (const Record& r : qAsConst(group->m_records))
                m_itemOf.insert(r, group);
        }
        renumberGroups();
        endInsertRows();
        i = j;
    }
}

void TreeIndexModel::emitRowsChanged(const Item* item, QVector<int> rows, int left, int right)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    const QModelIndex parent = parentIndexOf(item);
    int i = 0;
    while (i < rows.size()) {
        if (rows.at(i) < 0) {
            ++i;
            continue;
        }
        int j = i + 1;
        while (j < rows.size() && rows.at(j) == rows.at(j - 1) + 1)
            ++j;
        emit dataChanged(index(rows.at(i), left, parent), index(rows.at(j - 1), right, parent));
        i = j;
    }
}
