#pragma once

#include "columnmodeldelegate.h"

#include <QHash>

class Table;

// A column of prices: shown with the number of decimals of the row's security (its
// "decimals" column, where the row's table has one) or else at the cell's own scale;
// edited and ordered as decimals.
class BASIC_VIEWS_EXPORT PriceColumnDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    explicit PriceColumnDelegate(QObject* parent = nullptr);
    ~PriceColumnDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

    // The number of decimals the row's price is shown with, -1 for the cell's own scale.
    int decimalsOf(const Record& record) const;

private:
    // The "decimals" column of each table seen, looked up once.
    mutable QHash<const Table*, int> m_decimalsColumn;
};
