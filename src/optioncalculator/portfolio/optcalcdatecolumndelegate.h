#pragma once

#include "basic_views/datecolumndelegate.h"

class PortfolioModel;

// The expiry date of a row: its own, or where the row has none (a row of old settings, say)
// the date of its security. Rows order by the date shown.
class OptCalcDateColumnDelegate : public DateColumnDelegate
{
    Q_OBJECT
public:
    explicit OptCalcDateColumnDelegate(PortfolioModel* model, QObject* parent = nullptr);
    ~OptCalcDateColumnDelegate() override;

    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;
    bool compare(const Field& left, const Record& leftRecord, const Field& right,
                 const Record& rightRecord, int& result, int role) const override;
    using DateColumnDelegate::compare;

    // The row's expiry: its cell in expdateColumn when set, else its security's; null when
    // neither has one.
    static datetime expiryOf(const PortfolioModel* model, const Record& row, int expdateColumn);

private:
    datetime shownDate(const Field& field, const Record& record) const;

    PortfolioModel* m_model;
    int m_expdateColumn;
};
