#pragma once

#include "market_global.h"
#include "marketfeed.h"

#include <memory>

class QTimer;

// The default market feed: a deterministic simulated derivatives exchange.
//
// It lists several base assets of different price scales, each with quarterly futures and
// weekly and monthly option series on them, and fills the market tables at construction.
// Every tick is one batch of "securities": futures move by a random walk in whole price
// steps and the options on them are priced anew from their series' smile with the pricing
// functions, so that an option's volat, theor_price and Greeks are exactly those of the
// smile in "tz.volat_coeff" at its base future's price and at its lasttime. Now and then a
// smile drifts a little, in a batch of "tz.volat_coeff" of its own just before the tick's
// batch of "securities" that re-prices the series. Series and futures whose trading ended
// (19:00 of the expiry date) leave the tables at the next tick.
//
// The same seed and the same fixed start time give the same tables, tick for tick. Ticks
// run on the thread of the object: by the timer between start() and stop(), or at once
// through tick().
class MARKET_EXPORT SimulatedExchange : public MarketFeed
{
    Q_OBJECT
public:
    struct Options
    {
        quint64 seed = 1;
        // Batches per second while running; 1 to 1000.
        int tickRate = 5;
        // Tens of thousands of instruments instead of about a thousand.
        bool large = false;
        // The start of a simulated clock that advances by one tick interval per tick;
        // null: the machine's clock.
        datetime now;
    };

    explicit SimulatedExchange(MarketTables* tables, QObject* parent = nullptr);
    SimulatedExchange(MarketTables* tables, const Options& options, QObject* parent = nullptr);
    ~SimulatedExchange() override;

    const Options& options() const;
    // The exchange's present time: the time of the last tick, or of the listing.
    datetime now() const;
    // Milliseconds between two ticks of the timer.
    int tickInterval() const;

    // Runs count ticks at once, as the timer would.
    void tick(int count = 1);
    void start();
    void stop();
    bool isRunning() const;

    // The instruments listed at present.
    int instrumentCount() const;
    // Rows of "securities" that the last tick changed.
    int lastTickUpdates() const;
    // Ticks run since the listing.
    qint64 tickCount() const;

signals:
    // A tick ended; its batches have been delivered.
    void ticked();

private:
    struct Private;
    std::unique_ptr<Private> d;
    QTimer* m_timer;
};
