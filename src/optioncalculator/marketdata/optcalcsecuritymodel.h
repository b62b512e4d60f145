#pragma once

#include "expiryclock.h"

#include "basic_views/tableindexmodel.h"
#include "database/datetime.h"
#include "database/indexdepend.h"

#include <QString>

class ConnectionsManager;

// The live, unexpired futures and options of one base code: a model over the terminal's
// "securities", and the calculator's clock for the time left to an expiry. Models that
// narrow it further hang on it as dependent indexes.
//
// Field updates of "securities" arrive many times a second and change no membership, so a
// batch of updates alone reaches neither this model nor its dependents: an instrument that
// expired leaves at the next batch that lists or removes instruments.
class OptCalcSecurityModel : public IndexDepend<TableIndexModel>
{
    Q_OBJECT
public:
    OptCalcSecurityModel(const QString& baseCode, QObject* parent = nullptr);
    ~OptCalcSecurityModel() override;

    // A model shared by owner and the models made over it later: it lives while any of
    // them does. The caller then calls build().
    static OptCalcSecurityModel* createSecurityModel(const QString& baseCode, QObject* owner);

    const QString& baseCode() const { return m_baseCode; }

    // Seconds from now to 19:00 of expDate, the end of its trading, less offset; 0 for a
    // null expDate. While the transport is connected and lastTime or its time is known,
    // "now" is the later of the two: the exchange's clock goes before the machine's.
    long long secondsToExpiry(const datetime& lastTime, const datetime& expDate,
                              long long offset) const;
    // The clock as it stands, for a pass to read once.
    ExpiryClock expiryClock() const;

    // A fixed "now", set around a pass of calculations so that the whole pass sees one
    // instant.
    void setFixedNow(const datetime& now);
    void setUseFixedNow(bool use);
    bool useFixedNow() const { return m_useFixedNow; }
    const datetime& fixedNow() const { return m_fixedNow; }
    // The same clock under the names of the valuation passes.
    void setFrozenTime(const datetime& time) { setFixedNow(time); }
    void setClockFrozen(bool frozen) { setUseFixedNow(frozen); }

    bool filter(const Record& record) const override;
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted,
                    const QList<Record>& replaced) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;

private:
    struct Columns
    {
        int stockId = -1;
        int boardId = -1;
        int secId = -1;
        int sectype = -1;
        int expdate = -1;
        int baseCode = -1;
        int lasttime = -1;
        int secName = -1;
        int optionType = -1;
        int strike = -1;
    };

    Columns m_columns;
    QString m_baseCode;
    ConnectionsManager* m_connections;
    int m_transportIndex;
    bool m_useFixedNow = false;
    datetime m_fixedNow;
};
