#pragma once

#include "basic_views/columnmodeldelegate.h"

class PortfolioModel;

// The days from today to the row's expiry date. Today is the calculator's: the security
// model's fixed instant while one is set, so that a pass of calculations sees one day.
class DaysToExerciseColumnDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    explicit DaysToExerciseColumnDelegate(PortfolioModel* model, QObject* parent = nullptr);
    ~DaysToExerciseColumnDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

private:
    PortfolioModel* m_model;
    int m_expdateColumn;
};
