#pragma once

#include "basic_views/columnmodeldelegate.h"

class PortfolioModel;

// The kind of the row's security by name: "Фьючерс", or for an option its type, call or
// put, which says more. Rows order by these names.
class SecTypePortfolioDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    explicit SecTypePortfolioDelegate(PortfolioModel* model, QObject* parent = nullptr);
    ~SecTypePortfolioDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

private:
    PortfolioModel* m_model;
};
