#pragma once

#include "decimalportfoliodelegate.h"

// A price of the row itself (the real position's average price), shown with the decimals
// of the row's security.
class PricePortfolioDelegate : public DecimalPortfolioDelegate
{
    Q_OBJECT
public:
    explicit PricePortfolioDelegate(PortfolioModel* model, QObject* parent = nullptr);
    ~PricePortfolioDelegate() override;

    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
};
