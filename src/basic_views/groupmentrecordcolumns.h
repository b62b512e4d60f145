#pragma once

#include "groupment.h"

#include <QStringList>
#include <QVector>

// Groups the records with equal values in one or more table columns. A group shows the
// values as the model shows them, joined by blanks; its value is the cell's own value
// (a list of them for several columns). Null cells make a group of their own.
class BASIC_VIEWS_EXPORT GroupmentRecordColumns : public Groupment
{
public:
    GroupmentRecordColumns(Table* table, int column);
    GroupmentRecordColumns(Table* table, const QVector<int>& columns);
    GroupmentRecordColumns(Table* table, const QStringList& columnNames);
    ~GroupmentRecordColumns() override;

    QString groupKey(const Record& record) const override;
    QString groupName(const Record& record) const override;
    QVariant groupValue(const Record& record) const override;
    int compareGroups(const GroupmentTreeItem* left, const GroupmentTreeItem* right) const override;

    const QVector<int>& columns() const { return m_columns; }

private:
    QVector<int> m_columns;
};
