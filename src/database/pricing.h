#pragma once

#include "database_global.h"

// Options on futures, margined, no discounting: Black-76 with r = 0 and the exchange's
// volatility smile. Volatilities are in percent throughout.

// Eleven doubles, in this order; the order is part of the plug-in contract.
struct VolatInputParams
{
    double strike = 0.0;
    double basePrice = 0.0;
    double sqrtTime = 0.0; // square root of the time to expiry in years of 365 days
    double a = 50.0;
    double b = 0.0;
    double c = 1.0;
    double d = 0.0;
    double e = 1.0;
    double s = 0.0;
    double volatLow;  // lower volatility limit
    double volatHigh; // upper volatility limit

    VolatInputParams();
};

// Seven doubles, in this order.
struct VolatOutputParams
{
    double callDelta = 0.0;
    double putDelta = 0.0;
    double gamma = 0.0;
    double vega = 0.0;  // per volatility point
    double theta = 0.0; // per calendar day
    double callPrice = 0.0;
    double putPrice = 0.0;
};

DATABASE_EXPORT extern const double VolatMinDefault; // 0.01 %
DATABASE_EXPORT extern const double VolatMaxDefault; // 1000 %

// The smile's volatility at the strike of in, in percent.
DATABASE_EXPORT double smileVolatility(const VolatInputParams& in);

// Prices and Greeks at the given volatility. A volatility not above 0 (or NaN) is replaced
// by the smile's; when the limits form a band (0 < low <= high) it is clamped to it.
// Never produces NaN or infinity.
DATABASE_EXPORT void calcVolatParams(VolatOutputParams& out, const VolatInputParams& in,
                                     double volatility);

// The volatility within [minVolatility, maxVolatility] at which the option is worth
// theorPrice, to within priceAccuracy; the nearer bound when no volatility in the band
// reaches the price. Finite for every input.
DATABASE_EXPORT double volatByTheorPrice(const VolatInputParams& in, bool isPut, double theorPrice,
                                         double startVolatility, double minVolatility,
                                         double maxVolatility, double priceAccuracy,
                                         double volatilityAccuracy);

// The standard normal distribution function, accurate to near double precision everywhere.
DATABASE_EXPORT double normalCdf(double x);
