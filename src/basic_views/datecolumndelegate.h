#pragma once

#include "columnmodeldelegate.h"

#include "database/datetime.h"

// A column of dates: shown as dd.MM.yyyy, edited as a QDate, ordered as points in time.
class BASIC_VIEWS_EXPORT DateColumnDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    explicit DateColumnDelegate(QObject* parent = nullptr);
    ~DateColumnDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

    // "dd.MM.yyyy"; empty for a null date.
    static QString dateText(const datetime& value);
};
