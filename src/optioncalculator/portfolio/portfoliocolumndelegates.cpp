#include "portfoliocolumndelegates.h"

#include "daystoexercisecolumndelegate.h"
#include "greekportfoliodelegate.h"
#include "mivmpcolumndelegate.h"
#include "optcalcdatecolumndelegate.h"
#include "portfoliomodel.h"
#include "priceportfoliodelegate.h"
#include "sectypeportfoliodelegate.h"
#include "securityoptcalcdatadelegate.h"
#include "virtualportfoliomodel.h"

#include "database/field.h"

namespace {

using Getter = DecimalPortfolioDelegate::Getter;

// The getters read the directory's columns by number.
template <int OptCalcColumns::*column> decimal member(const OptCalcRecord& security)
{
    return security.record.data(security.columns->*column).toDecimal();
}

struct MarketColumn
{
    const char* name;
    Getter getter;
    int decimals;
    bool forFutures;
    bool forOptions;
};

struct GreekColumn
{
    const char* name;
    Getter getter;
    int decimals;
    decimal defaultValue;
};

// The model column of that name while it has no delegate; -1 otherwise.
int freeColumn(const PortfolioModel* model, const char* name)
{
    const int column = model->fieldIndex(QLatin1String(name));
    return column >= 0 && !model->columnDelegate(column) ? column : -1;
}

} // namespace

void PortfolioColumnDelegates::install(PortfolioModel* model)
{
    if (!model)
        return;
    static const MarketColumn market[] = {
        {"strike", &member<&OptCalcColumns::strike>, -1, false, true},
        {"volat", &member<&OptCalcColumns::volat>, 2, false, true},
        {"theor_price", &member<&OptCalcColumns::theor_price>, -1, false, true},
        {"bid", &member<&OptCalcColumns::bid>, -1, true, true},
        {"ask", &member<&OptCalcColumns::ask>, -1, true, true},
        {"price", &member<&OptCalcColumns::price>, -1, true, true},
        {"cur_kotir_real", &member<&OptCalcColumns::cur_kotir_real>, -1, true, false},
    };
    for (const MarketColumn& c : market) {
        if (const int column = freeColumn(model, c.name); column >= 0)
            model->setColumnDelegate(column,
                                     new SecurityOptCalcDataDelegate(model, c.getter, c.decimals,
                                                                     c.forFutures, c.forOptions));
    }

    // A future's delta is one per contract, its other Greeks none.
    static const GreekColumn greeks[] = {
        {"delta", &member<&OptCalcColumns::delta>, 2, decimal(100, 2)},
        {"gamma", &member<&OptCalcColumns::gamma>, 5, decimal::zero},
        {"vega", &member<&OptCalcColumns::vega>, 2, decimal::zero},
        {"theta", &member<&OptCalcColumns::theta>, 2, decimal::zero},
    };
    for (const GreekColumn& c : greeks) {
        if (const int column = freeColumn(model, c.name); column >= 0)
            model->setColumnDelegate(
                column, new GreekPortfolioDelegate(model, c.getter, QLatin1String(c.name),
                                                   c.decimals, c.defaultValue));
    }

    if (const int column = freeColumn(model, "waprice"); column >= 0)
        model->setColumnDelegate(column, new PricePortfolioDelegate(model));
    if (const int column = freeColumn(model, "expdate"); column >= 0)
        model->setColumnDelegate(column, new OptCalcDateColumnDelegate(model));
    if (const int column = freeColumn(model, "days_to_exercise"); column >= 0)
        model->setColumnDelegate(column, new DaysToExerciseColumnDelegate(model));
    if (const int column = freeColumn(model, "sectype"); column >= 0)
        model->setColumnDelegate(column, new SecTypePortfolioDelegate(model));
    // The model volatility means nothing for a future; its model price does.
    if (const int column = freeColumn(model, "miv"); column >= 0)
        model->setColumnDelegate(
            column, new MivMpColumnDelegate(model, MivFixed, 2, false));
    if (const int column = freeColumn(model, "mp"); column >= 0)
        model->setColumnDelegate(
            column, new MivMpColumnDelegate(model, MpFixed, -1, true));
}
