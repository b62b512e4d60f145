#pragma once

#include "filterindexmodel.h"
#include "groupmenttreeitem.h"

#include <QHash>
#include <QList>
#include <QSet>

class Groupment;

// A tree model of the records of a table that pass filter(), grouped by one Groupment:
// one top-level row per distinct key, in the order of the groups' values (reversed for a
// descending sort), with the group's records as its child rows in the order of compare().
// Without a groupment the records are the top-level rows.
//
// A group's row shows, in column 0, the group's name (Qt::DisplayRole) and value
// (Qt::EditRole and Qt::UserRole); in the other columns the cells of its first record.
//
// A batch of the table becomes removals, insertions (of records and of whole groups) and
// one dataChanged per contiguous block of rows that changed in place; a record whose group
// or place changed leaves and comes back.
class BASIC_VIEWS_EXPORT TreeIndexModel : public FilterIndexModel
{
    Q_OBJECT
public:
    explicit TreeIndexModel(Table* table, QObject* parent = nullptr);
    ~TreeIndexModel() override;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // The record of a record's row; the first record of a group's row.
    Record recordByIndex(const QModelIndex& index) const override;

    void clear(bool notifyDependents) override;
    using Index::clear;
    void build(bool notifyDependents) override;
    using Index::build;
    void add(const Record& record) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;
    void remove(const Record& record, int position) override;
    bool contains(const Record& record) const override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    // The row of a record under its parent; -1 if the model does not hold it.
    int indexOf(const Record& record) const override;
    QString getClassName() const override;

    void resort() override;

    // The levels of grouping; the first one is used. The model does not own them.
    void setGroupmentList(const QList<Groupment*>& groupments);
    const QList<Groupment*>& groupmentList() const { return m_groupments; }
    Groupment* groupment() const;

    // The group of a group's row; null for any other index.
    GroupmentTreeItem* groupByIndex(const QModelIndex& index) const;
    QModelIndex indexOfGroup(const GroupmentTreeItem* group, int column = 0) const;
    // The groups in their order (or, without a groupment, the records at the top level).
    const GroupmentTreeItem* rootItem() const { return &m_root; }

protected:
    // Whether a group's records show as its child rows.
    virtual bool showsRecords() const;
    // The value of a group's row.
    virtual QVariant groupData(const GroupmentTreeItem* group, int column, int role) const;
    void emitColumnChanged(int column, const QVector<int>& roles) override;

private:
    using Item = GroupmentTreeItem;

    bool grouped() const { return groupment() != nullptr; }
    Item* itemOfIndex(const QModelIndex& index) const;
    QModelIndex parentIndexOf(const Item* item) const;
    bool rowsVisible(const Item* item) const;
    bool recordLess(const Record& a, const Record& b) const { return compareFull(a, b) < 0; }
    bool groupLess(const Item* a, const Item* b) const;
    int positionIn(const Item* item, const Record& record) const;
    bool standsInOrder(const Item* item, int position) const;
    void renumberGroups();
    void clearStructure();
    void placeAll(QVector<Record> records);
    QVector<Record> allRecords() const;

    void applyBatch(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted);
    void removeFromItem(Item* item, const QVector<Record>& records);
    void removeGroups(QVector<Item*> groups);
    void insertIntoItem(Item* item, QVector<Record> records);
    void insertGroups(QVector<Item*> groups);
    void emitRowsChanged(const Item* item, QVector<int> rows, int left, int right);

    Item m_root;
    QList<Groupment*> m_groupments;
    QHash<QString, Item*> m_groupByKey;
    QHash<Record, Item*> m_itemOf; // the item that holds each record shown
};
