#pragma once

#include "decimalportfoliodelegate.h"

#include <QString>

// One Greek of a position: the value per contract times the contracts held. An option's
// value per contract is its own valuation's on a row of the model portfolio that is valued
// by model values, else the market's; a future's is a constant (its delta is 1).
class GreekPortfolioDelegate : public DecimalPortfolioDelegate
{
    Q_OBJECT
public:
    // name: the Greek's column of the model portfolio's table.
    GreekPortfolioDelegate(PortfolioModel* model, Getter getter, const QString& name, int decimals,
                           const decimal& defaultValue, QObject* parent = nullptr);
    ~GreekPortfolioDelegate() override;

    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;

private:
    decimal perContract(const Record& row) const;

    Getter m_getter;
    int m_decimals;
    decimal m_defaultValue;
    // Columns of the model's table; the Greek's own and the flag exist on the model
    // portfolio only.
    int m_ownColumn;
    int m_flagColumn;
    int m_posColumn;
};
