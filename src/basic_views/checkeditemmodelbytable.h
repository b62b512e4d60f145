#pragma once

#include "basic_views_global.h"

#include "database/record.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QSet>
#include <QStringList>

#include <functional>

class Table;

// A list of the distinct values of one column of a table, among the rows that pass
// filter(), in ascending order, each with a check box when the items are checkable. It
// reads the table when populate() is called, not on every change. The display and edit
// roles and Qt::UserRole give the value; Qt::CheckStateRole its check.
//
// A model made with a table's name finds the table in the core's registry when it
// populates.
class BASIC_VIEWS_EXPORT CheckedItemModelByTable : public QAbstractListModel
{
    Q_OBJECT
public:
    CheckedItemModelByTable(const QString& tableName, const QString& column,
                            QObject* parent = nullptr);
    CheckedItemModelByTable(Table* table, const QString& column, QObject* parent = nullptr);
    ~CheckedItemModelByTable() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    void setItemsCheckable(bool checkable);
    bool itemsCheckable() const { return m_checkable; }
    // Reads the values anew; the checks of values still present stay.
    void populate();
    // All values listed, in their order.
    QStringList values() const { return m_values; }
    // The checked values, in the order of the list.
    QStringList checkedValues() const;
    void setCheckedValues(const QStringList& values);
    void setAllChecked(bool checked);

    // The table read: the one given, or else the one the lookup finds by name.
    Table* table() const;
    void setTable(Table* table);
    QString tableName() const { return m_tableName; }
    QString columnName() const { return m_columnName; }

signals:
    void checkedValuesChanged();

protected:
    // Called before a walk of the table, to look up the columns filter() reads.
    virtual void beginPopulate(const Table* table);
    // Whether a row's value is listed.
    virtual bool filter(const Record& record) const;

private:
    QString m_tableName;
    QPointer<Table> m_table;
    QString m_columnName;
    bool m_checkable = true;
    QStringList m_values;
    QSet<QString> m_checked;
};
