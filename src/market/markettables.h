#pragma once

#include "market_global.h"

#include <QList>
#include <QObject>
#include <QString>

class Table;

// The three tables that a market feed fills and the terminal registers: "securities",
// "positions" and "tz.volat_coeff". The object owns them; they live as long as it does.
class MARKET_EXPORT MarketTables : public QObject
{
    Q_OBJECT
public:
    // Scales of the decimal columns. Prices, strikes and steps share one scale so that a
    // price of any market compares with its step without conversion.
    static constexpr int PriceScale = 4;
    static constexpr int VolatScale = 4;
    static constexpr int VolatLimitScale = 2;
    static constexpr int DeltaScale = 6;
    static constexpr int GammaScale = 10;
    static constexpr int VegaScale = 6;
    static constexpr int ThetaScale = 6;
    static constexpr int CoeffScale = 6;

    // Column numbers of "securities", looked up once by name.
    struct SecuritiesColumns
    {
        explicit SecuritiesColumns(const Table* table);
        int stockId, boardId, secId, secName, secFullname, sectype, optionType, baseCode, strike,
            expdate, decimals, priceStep, volat, theorPrice, delta, gamma, vega, theta, bid, ask,
            price, curKotirReal, curKotir, oldKotir, volatMin, volatMax, baseIsinId, mainSecId,
            isinId, europe, lasttime, lotSize;
    };

    // Column numbers of "positions".
    struct PositionsColumns
    {
        explicit PositionsColumns(const Table* table);
        int account, stockId, boardId, secId, secName, sectype, pos, waprice, expdate;
    };

    // Column numbers of "tz.volat_coeff".
    struct VolatCoeffColumns
    {
        explicit VolatCoeffColumns(const Table* table);
        int isinId, a, b, c, d, e, s;
    };

    explicit MarketTables(QObject* parent = nullptr);
    ~MarketTables() override;

    Table* securities() const { return m_securities; }
    Table* positions() const { return m_positions; }
    Table* volatCoeff() const { return m_volatCoeff; }
    // All three, in the order above.
    QList<Table*> all() const { return {m_securities, m_positions, m_volatCoeff}; }

    // Builders of one empty table each, with its columns and typed key.
    static Table* createSecurities(QObject* parent);
    static Table* createPositions(QObject* parent);
    static Table* createVolatCoeff(QObject* parent);

    static QString securitiesName();
    static QString positionsName();
    static QString volatCoeffName();

private:
    Table* m_securities;
    Table* m_positions;
    Table* m_volatCoeff;
};
