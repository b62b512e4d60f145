#pragma once

#include "itemindexmodel.h"

#include "database/fieldvalue.h"

#include <QMap>

// An ItemIndexModel that shows the records passing filter(): by default those that hold
// the required value in each column given. After a change of the conditions the owner
// calls rebuild().
class BASIC_VIEWS_EXPORT FilterIndexModel : public ItemIndexModel
{
    Q_OBJECT
public:
    explicit FilterIndexModel(Table* table, QObject* parent = nullptr);
    ~FilterIndexModel() override;

    bool filter(const Record& record) const override;
    QString getClassName() const override;

    // A record passes only if its cell in the table column equals the value.
    void setColumnFilter(int column, const FieldValue& value);
    void removeColumnFilter(int column);
    void clearColumnFilters();
    const QMap<int, FieldValue>& columnFilters() const { return m_columnFilters; }

private:
    QMap<int, FieldValue> m_columnFilters;
};
