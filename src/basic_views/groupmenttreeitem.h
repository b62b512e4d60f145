#pragma once

#include "basic_views_global.h"

#include "database/record.h"

#include <QString>
#include <QVariant>
#include <QVector>

// One node of a grouped tree model: the root, or a group of the records that share a
// groupment key. A group holds its records in the model's order; the root holds the
// groups (or, without a groupment, the records themselves). The model keeps the lists;
// others only read them.
class BASIC_VIEWS_EXPORT GroupmentTreeItem
{
public:
    GroupmentTreeItem(GroupmentTreeItem* parent, const QString& key, const QString& name,
                      const QVariant& value);
    virtual ~GroupmentTreeItem();
    GroupmentTreeItem(const GroupmentTreeItem&) = delete;
    GroupmentTreeItem& operator=(const GroupmentTreeItem&) = delete;

    GroupmentTreeItem* parent() const { return m_parent; }
    // What makes records one group.
    const QString& key() const { return m_key; }
    // The text the group shows.
    const QString& name() const { return m_name; }
    // The group's own value (e.g. the strike), for Qt::UserRole and the order of groups.
    const QVariant& value() const { return m_value; }
    // Its row under its parent.
    int row() const { return m_row; }

    const QVector<Record>& records() const { return m_records; }
    int recordCount() const { return m_records.size(); }
    // The first record in the model's order; null for an empty item.
    Record firstRecord() const { return m_records.isEmpty() ? Record() : m_records.first(); }

    const QVector<GroupmentTreeItem*>& children() const { return m_children; }

private:
    friend class TreeIndexModel;

    GroupmentTreeItem* m_parent;
    QString m_key;
    QString m_name;
    QVariant m_value;
    int m_row = 0;
    QVector<Record> m_records;
    QVector<GroupmentTreeItem*> m_children; // owned
};
