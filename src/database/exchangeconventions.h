#pragma once

#include <QString>
#include <QtGlobal>

// Facts of the derivatives market that the terminal's feeds and the calculator share. They
// are the exchange's, not ours to choose, and each is spelled here alone.
namespace Exchange {

// The derivatives market and its two boards: futures, and options on them.
constexpr int DerivativesMarket = 1;
constexpr int FuturesBoard = 1;
constexpr int OptionsBoard = 14;

inline bool isDerivativesBoard(int board)
{
    return board == FuturesBoard || board == OptionsBoard;
}

// Trading of a contract ends at 19:00 of its expiry date: milliseconds after that date's
// midnight in the terminal's time.
constexpr qint64 EndOfTradingMs = 19 * 3600 * 1000LL;

// Years to expiry in the pricing formula are of 365 days.
constexpr double SecondsPerYear = 365.0 * 86400.0;
constexpr qint64 SecondsPerDay = 86400;

// The market's transport, as the terminal's connections know it.
inline QString transportName()
{
    return QStringLiteral("KESTREL");
}

} // namespace Exchange
