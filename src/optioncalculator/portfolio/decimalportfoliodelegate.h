#pragma once

#include "marketdata/optcalcsecurity.h"

#include "basic_views/columnmodeldelegate.h"
#include "database/decimal.h"

class PortfolioModel;

// The base of the portfolio columns that show a decimal of the row or of its security. The
// rows order by what they show, so that a column of market data sorts by its numbers and
// not by the table cell behind it, which such a column mostly lacks.
class DecimalPortfolioDelegate : public ColumnModelDelegate
{
    Q_OBJECT
public:
    // Reads one decimal member of a security of the directory.
    using Getter = decimal (*)(const OptCalcRecord& security);

    explicit DecimalPortfolioDelegate(PortfolioModel* model, QObject* parent = nullptr);
    ~DecimalPortfolioDelegate() override;

    FieldType::Type getType() const override;
    int type() const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using ColumnModelDelegate::compare;

    PortfolioModel* model() const { return m_model; }

protected:
    // The scale a value is shown at: decimals, or for -1 the number of decimals of the
    // security's prices; -1 when that is unknown.
    static short scaleOf(int decimals, const OptCalcRecord& security);
    bool isFuture(const Record& row) const;
    bool isOption(const Record& row) const;

    PortfolioModel* m_model;
};
