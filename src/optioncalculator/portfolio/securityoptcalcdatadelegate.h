#pragma once

#include "decimalportfoliodelegate.h"

// A column of market data of the row's security (strike, volatility, theoretical price,
// quotes), read from the calculator's directory. Some of it means nothing for a future or
// for an option; such cells stay empty.
class SecurityOptCalcDataDelegate : public DecimalPortfolioDelegate
{
    Q_OBJECT
public:
    // decimals -1: the security's own number of decimals.
    SecurityOptCalcDataDelegate(PortfolioModel* model, Getter getter, int decimals, bool forFutures,
                                bool forOptions, QObject* parent = nullptr);
    ~SecurityOptCalcDataDelegate() override;

    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;

private:
    Getter m_getter;
    int m_decimals;
    bool m_forFutures;
    bool m_forOptions;
};
