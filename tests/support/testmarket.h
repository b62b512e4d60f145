#pragma once
#include "database/datetime.h"
#include "database/decimal.h"
#include "database/record.h"
#include <QObject>
#include <QString>
#include <QVector>

class ConnectionsManager;
class ICore;
class Table;

// A small market that the calculator's tests share: the terminal's three tables with a few
// known instruments, registered in an ICore, and the transport "KESTREL" connected with a
// server time of its own, so that nothing depends on the machine's clock.
//
// Base codes:
//   "RI"  index future, step 10, price 150000: futures RI-3.30 (expiry 2030-03-20) and
//         RI-6.30 (2030-06-18); options on RI-3.30 in two series, monthly "A" (2030-03-20)
//         and weekly "B" (2030-03-13), calls and puts at 140000, 145000, 150000, 155000,
//         160000.
//   "Si"  currency future, step 1, price 90000: future Si-3.30 (2030-03-20) and one
//         monthly series of calls and puts at 88000, 90000, 92000.
//   "GZ"  a future without options, GZ-3.30 (2030-03-20), price 250.50, step 0.01.
// Beside them, rows that the calculator must ignore: an RI future on the address board 2
// and an RI option of another stock (2).
//
// Option prices and Greeks come from the pricing functions with the series' smile, as
// the exchange publishes them. Positions: account "TEST01" holds RI-3.30 +2, the RI
// 150000 monthly call -1 and the RI 145000 monthly put +3; account "TEST02" holds Si-3.30
// -5.
class TestMarket : public QObject
{
    Q_OBJECT
public:
    static constexpr int PriceScale = 4;

    // Makes its tables and registers them in core; with no core given, it makes one and
    // owns it. The transport is added to ConnectionsManager::instance().
    explicit TestMarket(ICore* core = nullptr, QObject* parent = nullptr);
    ~TestMarket() override;

    // The server's "now": 2030-03-02 12:00.
    static datetime serverNow();

    ICore* core() const { return m_core; }
    Table* securities() const { return m_securities; }
    Table* positions() const { return m_positions; }
    Table* volatCoeff() const { return m_volatCoeff; }

    // The sec_id of an instrument by its sec_name ("RI-3.30", "RI150000CA", ...); -1 if
    // unknown. Option names are base code, strike, C or P, series letter.
    qint64 secId(const QString& secName) const;
    Record security(const QString& secName) const;
    Record security(qint64 secId) const;
    // All instruments of the market, in the order they were listed.
    QVector<qint64> secIds() const { return m_secIds; }

    // Market changes, each one batch of the table.
    // A new price of a future; its options keep their values.
    void setPrice(const QString& secName, const decimal& price);
    // Writes one cell of an instrument.
    void setField(const QString& secName, const QString& column, const QVariant& value);
    // Lists a new option (series A of RI) at the strike given; returns its sec_id.
    qint64 listOption(const decimal& strike, bool put);
    void delist(const QString& secName);
    // Writes one smile coefficient ("a" to "s") of a series; a series without a row gets
    // one with the other coefficients zero.
    void setCoefficient(int isinId, const QString& column, double value);

    // The transport.
    void setConnected(bool connected);
    void setServerTime(const datetime& time);

private:
    void build();
    Record newSecurity(qint64 secId, const QString& base, int stock, int board,
                       const QDate& expiry);
    qint64 addFuture(const QString& name, const QString& base, const QDate& expiry,
                     const decimal& price, const decimal& step, int decimals, int board = 1);
    qint64 addOption(const QString& base, const QString& future, const QChar& series,
                     const QDate& expiry, int isinId, const decimal& strike, bool put,
                     int stock = 1);
    void addCoefficients(int isinId, double a, double b, double c, double d, double e,
                         double s);
    void addPosition(const QString& account, const QString& secName, qint64 pos,
                     const decimal& waprice);
    void price(Record& option, const Record& future, int isinId);

    ICore* m_core = nullptr;
    bool m_ownsCore = false;
    Table* m_securities = nullptr;
    Table* m_positions = nullptr;
    Table* m_volatCoeff = nullptr;
    int m_transport = -1;
    QVector<qint64> m_secIds;
    qint64 m_nextSecId = 1000;
};
