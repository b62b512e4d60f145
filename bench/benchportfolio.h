#pragma once
// The large simulated market with a model portfolio of one base code over it, the clock of
// its calculator frozen at the market's start, for the benchmarks of the calculator.
#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"
#include "portfolio/positionsvirtualtable.h"
#include "portfolio/virtualportfoliomodel.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/table.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

struct BenchPortfolio
{
    explicit BenchPortfolio(const QString& baseCode = QStringLiteral("IDX"))
        : baseCode(baseCode), exchange(&tables, options())
    {
        for (Table* t : tables.all())
            core.tables()->registerTable(t->name(), t);
        securityModel = std::make_unique<OptCalcSecurityModel>(baseCode);
        securityModel->setFrozenTime(options().now);
        securityModel->setClockFrozen(true);
        table = PositionsVirtualTable::create();
        model = std::make_unique<VirtualPortfolioModel>(table, securityModel.get());
        model->setAccountFilterEnabled(false);
        model->setBaseCode(baseCode);
    }
    ~BenchPortfolio()
    {
        model.reset();
        delete table;
        SecuritiesOptCalcDirectory::resetInstance();
        VolatCoeffDirectory::resetInstance();
    }

    static SimulatedExchange::Options options()
    {
        SimulatedExchange::Options o;
        o.seed = 1;
        o.now = datetime(QDate(2025, 3, 12)) + 10 * 3600 * 1000LL;
        return o;
    }

    // The base code's futures, and its options nearest the money first; center is the
    // price of the first future.
    void instruments(std::vector<Record>* futures, std::vector<Record>* options,
                     double* center) const
    {
        SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();
        const OptCalcColumns& c = directory->columns();
        for (int i = 0; i < directory->count(); ++i) {
            const Record& r = directory->at(i).record;
            if (r.data(c.base_code).toString() != baseCode)
                continue;
            (r.data(c.sectype).toChar() == QLatin1Char('F') ? futures : options)->push_back(r);
        }
        const double mid = futures->front().data(c.cur_kotir_real).toDouble();
        std::sort(options->begin(), options->end(), [&](const Record& a, const Record& b) {
            return std::fabs(a.data(c.strike).toDouble() - mid) <
                   std::fabs(b.data(c.strike).toDouble() - mid);
        });
        *center = mid;
    }

    // A model row of that security, as adding a position makes it.
    Record positionRow(const Record& security, qint64 pos, int mivMpFlag) const
    {
        Record row(table);
        for (const char* key : {"stock_id", "board_id", "sec_id", "sectype", "sec_name", "expdate"})
            row.data(QLatin1String(key)) = security.data(QLatin1String(key));
        row.data(QStringLiteral("pos")) = static_cast<long long>(pos);
        row.data(QStringLiteral("flags")) = 1;
        row.data(QStringLiteral("miv_mp_flag")) = mivMpFlag;
        return row;
    }

    QString baseCode;
    ICore core;
    MarketTables tables;
    SimulatedExchange exchange;
    std::unique_ptr<OptCalcSecurityModel> securityModel;
    Table* table = nullptr;
    std::unique_ptr<VirtualPortfolioModel> model;
};
