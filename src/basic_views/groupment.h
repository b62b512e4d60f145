#pragma once

#include "basic_views_global.h"

#include "database/record.h"
#include "database/table.h"

#include <QPointer>
#include <QString>
#include <QVariant>

class GroupmentTreeItem;

// One level of grouping of a tree model: records with equal groupKey() make one group,
// which shows groupName() and orders by its value. The model owns the groups it makes
// through createGroup(); the owner of the model owns the groupment.
//
// The order of the first three virtual operations is part of the plug-in contract.
class BASIC_VIEWS_EXPORT Groupment
{
public:
    explicit Groupment(Table* table);
    virtual ~Groupment();
    Groupment(const Groupment&) = delete;
    Groupment& operator=(const Groupment&) = delete;

    // What makes records one group. By default one group for all.
    virtual QString groupKey(const Record& record) const;
    // The text of the group a record makes. By default its key.
    virtual QString groupName(const Record& record) const;
    // A new group under parent for the key, made from its first record. The model puts
    // it in place among parent's children.
    virtual GroupmentTreeItem* createGroup(GroupmentTreeItem* parent, const QString& key,
                                           const Record& record) const;
    // The value of the group a record makes. By default its key.
    virtual QVariant groupValue(const Record& record) const;
    // The order of two groups: by their values (variant_compare), then by their keys.
    virtual int compareGroups(const GroupmentTreeItem* left, const GroupmentTreeItem* right) const;

    Table* table() const { return m_table.data(); }
    // The table column whose values make the groups, -1 when it is not one column. The
    // groups stand in the order of that column's values.
    int keyColumn() const { return m_keyColumn; }

protected:
    void setKeyColumn(int column) { m_keyColumn = column; }

private:
    QPointer<Table> m_table;
    int m_keyColumn = -1;
};
