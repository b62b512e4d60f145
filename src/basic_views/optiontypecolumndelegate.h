#pragma once

#include "columnmodeldelegate.h"

// A column of option types: "C" shows as a call, "P" as a put, anything else as it
// stands. The edit role gives the code; rows order by the code.
class BASIC_VIEWS_EXPORT OptionTypeColumnDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    explicit OptionTypeColumnDelegate(QObject* parent = nullptr);
    ~OptionTypeColumnDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

    // The name of an option type code.
    static QString typeName(const QString& code);
};
