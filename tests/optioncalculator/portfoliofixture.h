#pragma once
// The shared test market with a model portfolio of base code "RI" over it, its clock held at
// the server's time, and helpers to write rows as the editing paths would.
#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"
#include "portfolio/positionsvirtualtable.h"
#include "portfolio/virtualportfoliomodel.h"

#include "support/testmarket.h"

#include "database/pricing.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QVariantMap>

#include <cmath>
#include <memory>

// The instruments that most cases hold.
inline const QString Call = QStringLiteral("RI150000CA");
inline const QString Put = QStringLiteral("RI145000PA");
inline const QString Future = QStringLiteral("RI-3.30");

// A value as an edit or a row of the table takes it.
inline QVariant dec(double value, int scale = 2)
{
    return QVariant::fromValue(decimal::fromDouble(value, short(scale)));
}

struct PortfolioFixture
{
    PortfolioFixture()
    {
        securityModel.setFrozenTime(TestMarket::serverNow());
        securityModel.setClockFrozen(true);
        table = PositionsVirtualTable::create();
        model = std::make_unique<VirtualPortfolioModel>(table, &securityModel);
        model->setAccountFilterEnabled(false);
        model->setBaseCode(QStringLiteral("RI"));
    }
    ~PortfolioFixture()
    {
        model.reset();
        delete table;
        SecuritiesOptCalcDirectory::resetInstance();
        VolatCoeffDirectory::resetInstance();
    }

    // A row as adding a position makes it, with the valuation fields given.
    Record addRow(const QString& secName, qint64 pos, int flag = 0,
                  const QVariant& miv = QVariant(), const QVariant& mp = QVariant())
    {
        const Record row = makeRow(secName, pos, flag, miv, mp);
        table->insertRecord(row);
        return row;
    }
    // The same row left out of the table, so that no valuation touches it.
    Record makeRow(const QString& secName, qint64 pos, int flag = 0,
                   const QVariant& miv = QVariant(), const QVariant& mp = QVariant())
    {
        const Record s = market.security(secName);
        Record row(table);
        for (const char* key : {"stock_id", "board_id", "sec_id", "sectype", "sec_name"})
            row.data(QLatin1String(key)) = s.data(QLatin1String(key));
        row.data(QStringLiteral("expdate")) = s.data(QStringLiteral("expdate"));
        row.data(QStringLiteral("pos")) = static_cast<long long>(pos);
        row.data(QStringLiteral("flags")) = 1;
        row.data(QStringLiteral("miv_mp_flag")) = flag;
        row.data(QStringLiteral("miv")).setValue(miv);
        row.data(QStringLiteral("mp")).setValue(mp);
        return row;
    }
    // Writes fields of a row in one batch, as an edit does.
    void set(const Record& row, const QVariantMap& fields)
    {
        TableUpdater batch(table);
        int first = table->columnCount(), last = -1;
        for (auto it = fields.begin(); it != fields.end(); ++it) {
            const int column = table->columnIndex(it.key());
            Record(row).data(column).setValue(it.value());
            first = std::min(first, column);
            last = std::max(last, column);
        }
        table->updated(row, first, last);
    }
    static decimal dec(const Record& row, const char* column)
    {
        return row.data(QLatin1String(column)).toDecimal();
    }
    static int flag(const Record& row)
    {
        return row.data(QStringLiteral("miv_mp_flag")).toInteger();
    }
    int rowOf(const Record& row) const { return model->indexOf(row); }

    // The pricing inputs of an option's row, gathered from the tables: the base future's
    // quote, the series' smile and the time to 00:00 of the expiry date.
    VolatInputParams inputs(const QString& option) const
    {
        const Record s = market.security(option);
        const Record future = market.security(s.data(QStringLiteral("main_sec_id")).toInteger64());
        VolatInputParams in;
        in.strike = s.data(QStringLiteral("strike")).toDouble();
        in.basePrice = future.data(QStringLiteral("cur_kotir")).toDouble();
        const qint64 ms = s.data(QStringLiteral("expdate")).toDatetime() - TestMarket::serverNow();
        in.sqrtTime = std::sqrt(ms / 1000.0 / 3.1536e7);
        Record key(market.volatCoeff());
        key.data(QStringLiteral("isin_id")) = s.data(QStringLiteral("base_isin_id")).toInteger();
        const Record smile = market.volatCoeff()->findRow(key);
        in.a = smile.data(QStringLiteral("a")).toDouble();
        in.b = smile.data(QStringLiteral("b")).toDouble();
        in.c = smile.data(QStringLiteral("c")).toDouble();
        in.d = smile.data(QStringLiteral("d")).toDouble();
        in.e = smile.data(QStringLiteral("e")).toDouble();
        in.s = smile.data(QStringLiteral("s")).toDouble();
        in.volatLow = s.data(QStringLiteral("volat_min")).toDouble();
        in.volatHigh = s.data(QStringLiteral("volat_max")).toDouble();
        return in;
    }

    TestMarket market;
    OptCalcSecurityModel securityModel{QStringLiteral("RI")};
    Table* table = nullptr;
    std::unique_ptr<VirtualPortfolioModel> model;
};
