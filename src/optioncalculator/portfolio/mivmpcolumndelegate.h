#pragma once

#include "decimalportfoliodelegate.h"

// The model volatility ("miv") or model price ("mp") of a row of the model portfolio. The
// value shows while it is the one the row is valued by, or while the row follows the
// market; a value that was set but is not in use vanishes. Two user roles tell the row's
// item delegate how to paint the cell:
//   Qt::UserRole      the value is in use: the model values are on and this one is fixed;
//   Qt::UserRole + 1  this value is the fixed one.
class MivMpColumnDelegate : public DecimalPortfolioDelegate
{
    Q_OBJECT
public:
    enum Role { InUseRole = Qt::UserRole, FixedRole = Qt::UserRole + 1 };

    // mask: the bit of miv_mp_flag that fixes this value; decimals -1: the security's own.
    MivMpColumnDelegate(PortfolioModel* model, int mask, int decimals, bool forFutures,
                        QObject* parent = nullptr);
    ~MivMpColumnDelegate() override;

    bool data(const Field& field, const Record& record, int role, QVariant& result) const override;

private:
    int m_mask;
    int m_decimals;
    bool m_forFutures;
    int m_flagColumn;
};
