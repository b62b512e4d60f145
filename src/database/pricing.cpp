#include "pricing.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

const double VolatMinDefault = 0.01;
const double VolatMaxDefault = 1000.0;

VolatInputParams::VolatInputParams() : volatLow(VolatMinDefault), volatHigh(VolatMaxDefault) {}

namespace {

constexpr double InvSqrt2Pi = 0.39894228040143267794;
// 1/sqrt(2) as the sum of the nearest double and the remainder.
constexpr double SqrtHalfHi = 0.70710678118654757;
constexpr double SqrtHalfLo = -4.8336466567264567e-17;

// Below these a valuation is the limit at expiry: the formulas would only produce
// overflowing gammas and thetas from values no market can have.
constexpr double MinStdDev = 1e-12;
constexpr double MinSqrtTime = 1e-12;
// Past this every normal probability is 0 or 1 and further growth only risks overflow.
constexpr double MaxStdDev = 1e8;

inline double cdf(double x)
{
    // Saturated tails: skip erfc's underflow handling, which is slow.
    if (x < -38.5)
        return 0.0;
    if (x > 8.5)
        return 1.0;
    const double z = -x * SqrtHalfHi;
    double r = 0.5 * std::erfc(z);
    // Far in the lower tail erfc magnifies the rounding of its argument about 2z² times;
    // put the lost low part of z back to first order (d ln erfc / dz ~ -2z).
    if (x < -3.0 && x > -40.0) {
        const double dz = std::fma(-x, SqrtHalfHi, -z) - x * SqrtHalfLo;
        r -= r * 2.0 * z * dz;
    }
    return r;
}

// The Mills ratio N(-z) / phi(z) for z >= 0, rational approximations (fitted for this
// library) with relative error below 1e-15. With it a valuation needs one exp for the
// density and none for the two probabilities: N(-z) = phi(z) M(z), N(z) = 1 - phi(z) M(z).
inline double mills(double z)
{
    if (z < 8.0) {
        const double p =
            1.2533141373155002529 +
            z * (1.6092442648978692779 +
                 z * (1.0359347921326625157 +
                      z * (0.41872158676426153273 +
                           z * (0.11456705152658127011 +
                                z * (0.021581561203202335585 +
                                     z * (0.0027291542905440579963 +
                                          z * (0.00021233057036157433552 +
                                               z * (7.8341266065397992855e-6 +
                                                    z * -2.5976890944465530453e-14))))))));
        const double q =
            1.0 + z * (2.081875714325432002 +
                       z * (1.9876528666118647538 +
                            z * (1.1450326869643139115 +
                                 z * (0.43988758081626794425 +
                                      z * (0.11727977815922793478 +
                                           z * (0.021793942452592858157 +
                                                z * (0.0027369858174227385974 +
                                                     z * (0.00021233066650893501394 +
                                                          z * 7.8341243261488587453e-6))))))));
        return p / q;
    }
    // z M(z) as a function of 1/z², which tends to 1.
    const double w = 1.0 / z, u = w * w;
    const double p =
        0.99999999999999996881 +
        u * (31.224793270089378277 +
             u * (273.07963003985136772 + u * (677.90723674445034616 + u * 229.69385940378782208)));
    const double q =
        1.0 +
        u * (32.224793270089016274 +
             u * (302.30442331062939883 + u * (898.53727973746632863 + u * 599.68995822746457914)));
    return w * p / q;
}

inline bool isPositiveFinite(double v)
{
    return v > 0.0 && v <= DBL_MAX;
}

void setIntrinsic(VolatOutputParams& out, double f, double k)
{
    if (f > k) {
        out.callDelta = 1.0;
        out.putDelta = 0.0;
    } else if (f < k) {
        out.callDelta = 0.0;
        out.putDelta = -1.0;
    } else {
        out.callDelta = 0.5;
        out.putDelta = -0.5;
    }
    out.callPrice = std::max(f - k, 0.0);
    out.putPrice = std::max(k - f, 0.0);
}

double finiteOrLimit(double v)
{
    if (std::isnan(v))
        return 0.0;
    return std::max(-DBL_MAX, std::min(v, DBL_MAX));
}

// The out-of-the-money option in normalized form: a call on forward a struck at b >= a,
// divided by sqrt(ab), as a function of the total standard deviation v = sigma sqrt(T):
//     b(v) = e^(x/2) N(x/v + v/2) - e^(-x/2) N(x/v - v/2),   x = ln(a/b) <= 0.
// It rises from 0 to e^(x/2), convex below v = sqrt(-2x) and concave above.
struct OtmCall
{
    double x;
    double ex; // e^(x/2), the limit of b

    // With phi0 = e^(x/2) phi(d1) = e^(-x/2) phi(d2), the normalized vega, and d2 < 0:
    //   b = phi0 (M(-d1) - M(-d2)) for d1 <= 0,  e^(x/2) - b = phi0 (M(d1) + M(-d2)) above.
    double price(double d1, double d2, double phi0) const
    {
        return d1 <= 0.0 ? phi0 * (mills(-d1) - mills(-d2)) : ex - phi0 * (mills(d1) + mills(-d2));
    }
    // e^(x/2) - b, from its two positive parts so that it keeps its digits where b is near
    // its limit.
    double gap(double d1, double d2, double phi0) const
    {
        return d1 > 0.0 ? phi0 * (mills(d1) + mills(-d2)) : ex - phi0 * (mills(-d1) - mills(-d2));
    }
};

enum class Region { Lower, Middle, Upper };

// Above the inflection the gap to the limit behaves like its tail expansion
// e^(x/2) - b ~ phi0 v / (-d1 d2), phi0 = exp(-(x²/v² + v²/4)/2) / sqrt(2 pi);
// its leading term gives v, one refinement takes the rest into account.
double upperGuess(double x, double logGap, double vc)
{
    double v = std::sqrt(-8.0 * logGap);
    if (!(v > vc))
        return vc;
    const double h = x / v, t = 0.5 * v;
    const double rest = -0.5 * h * h - 0.91893853320467274 + std::log(v / ((t + h) * (t - h)));
    const double w = 8.0 * (rest - logGap);
    if (w > 0.0) {
        const double refined = std::sqrt(w);
        if (refined > vc)
            v = refined;
    }
    return v;
}

// The v > 0 with b(v) = beta for 0 < beta < e^(x/2). Halley steps on an objective close to
// linear in v in each region, kept inside a bracket, bisection when a step leaves it:
// below the inflection (-log b)^(-1/2), which tends to v sqrt(2)/|x| as v -> 0; in the
// middle b itself; near the limit the log of the gap to it.
double otmStdDev(const OtmCall& o, double beta, double vTol, double betaTol)
{
    const double vc = std::sqrt(-2.0 * o.x);
    // There d1 = 0, d2 = -vc, b'' = 0 and the normalized vega is e^(x/2) / sqrt(2 pi).
    const double vegaC = InvSqrt2Pi * o.ex;
    const double bc = vc > 0.0 ? 0.5 * o.ex - vegaC * mills(vc) : 0.0;

    Region region;
    double v, lo, hi;
    double target;
    if (beta < bc) {
        region = Region::Lower;
        const double logBeta = std::log(beta);
        target = 1.0 / std::sqrt(-logBeta);
        lo = 0.0;
        hi = vc;
        const double fc = std::log(bc) - logBeta;
        if (fc < 1.0) {
            // Close to the inflection: a Halley step on log b from there, free since b'' = 0.
            const double q = vegaC / bc;
            const double newton = -fc / q;
            v = vc + newton / (1.0 - 0.5 * newton * q);
        } else {
            v = std::fabs(o.x) * target * 0.70710678118654752;
        }
        if (!(v > 0.0 && v < vc))
            v = 0.5 * vc;
    } else {
        lo = vc;
        hi = HUGE_VAL;
        const double gap = o.ex - beta;
        if (gap < 0.25 * (o.ex - bc)) {
            region = Region::Upper;
            target = std::log(gap);
            v = upperGuess(o.x, target, vc);
        } else {
            region = Region::Middle;
            target = beta;
            // A Newton step from the inflection point; concavity keeps it below the root.
            v = vc + (beta - bc) / vegaC;
        }
    }

    // Divisions sit on the critical path of every step: each is taken once.
    double lastStep = 0.0; // the previous Halley step, 0 when there was none
    for (int i = 0; i < 100; ++i) {
        const double inv = 1.0 / v;
        const double h = o.x * inv, t = 0.5 * v;
        const double d1 = h + t, d2 = h - t;
        const double vega = InvSqrt2Pi * std::exp(-0.5 * (h * h + t * t));
        const double curvature = d1 * d2 * inv; // b'' / b'
        double f, slope, bend, priceErr;
        bool below; // the root lies above v
        if (region == Region::Middle) {
            const double b = o.price(d1, d2, vega);
            f = b - target;
            slope = vega;
            bend = curvature;
            priceErr = std::fabs(f);
            below = f < 0.0;
        } else if (region == Region::Lower) {
            const double b = o.price(d1, d2, vega);
            if (!(b > 0.0)) {
                lo = v;
                v = 0.5 * (lo + hi);
                lastStep = 0.0;
                continue;
            }
            const double q = vega / b;
            const double invL = -1.0 / std::log(b);
            const double g = std::sqrt(invL);
            f = g - target;
            slope = 0.5 * q * g * invL;
            bend = 1.5 * q * invL + curvature - q;
            priceErr = std::fabs(b - beta);
            below = f < 0.0;
        } else {
            const double g = o.gap(d1, d2, vega);
            if (!(g > 0.0)) {
                hi = v;
                v = 0.5 * (lo + hi);
                lastStep = 0.0;
                continue;
            }
            const double q = vega / g;
            f = std::log(g) - target;
            slope = -q;
            bend = curvature + q;
            priceErr = std::fabs(g - (o.ex - beta));
            below = f > 0.0;
        }
        if (f == 0.0)
            return v;
        if (below)
            lo = v;
        else
            hi = v;

        // Halley: -2 f f' / (2 f'^2 - f f''), Newton's step where the correction would more
        // than double it.
        const double denom = 2.0 * slope - f * bend;
        const double step =
            (slope > 0.0 ? denom > slope : denom < slope) ? -2.0 * f / denom : -f / slope;
        const double size = std::fabs(step);
        // Close to the root Halley's error shrinks with the cube of the previous one, so two
        // steps in a row tell what is left after this one, size^4 / lastStep^3, with no
        // evaluation to confirm it.
        const double last3 = lastStep * lastStep * lastStep;
        const double size4 = size * size * size * size;
        // Done when both accuracies are met (now or, by that estimate, after this step), or
        // when the steps stop shrinking: then they only chase the rounding noise of the price.
        if (size <= 4.0 * DBL_EPSILON * v || (size <= vTol && priceErr <= betaTol) ||
            (size < 0.01 * lastStep && size < 1e-3 * v && size4 <= 0.1 * vTol * last3 &&
             vega * size4 <= 0.1 * betaTol * last3) ||
            (size > 0.5 * lastStep && lastStep > 0.0 && size < 1e-9 * v))
            return std::min(std::max(v + step, lo), hi);
        const double next = v + step;
        if (next > lo && next < hi) {
            v = next;
            lastStep = size;
        } else {
            v = std::isinf(hi) ? 2.0 * v : 0.5 * (lo + hi);
            lastStep = 0.0;
        }
        if (hi - lo <= 4.0 * DBL_EPSILON * lo)
            return v;
    }
    return v;
}

} // namespace

double normalCdf(double x)
{
    return cdf(x);
}

double smileVolatility(const VolatInputParams& in)
{
    const double a = in.a;
    const double fallback = std::isfinite(a) ? a : 0.0;
    const double f = in.basePrice, k = in.strike, st = in.sqrtTime;
    if (!(isPositiveFinite(f) && isPositiveFinite(k) && isPositiveFinite(st)))
        return fallback;
    const double y = std::log(k / f) / st - in.s;
    const double e = in.e;
    const double ey = e * y;
    // atan(ey)/e tends to y as e goes to 0; the quotient loses everything well before.
    const double skew = std::fabs(ey) < 1e-8 ? y : std::atan(ey) / e;
    const double smile = a - in.b * std::expm1(-in.c * y * y) + in.d * skew;
    return std::isfinite(smile) ? smile : fallback;
}

void calcVolatParams(VolatOutputParams& out, const VolatInputParams& in, double volatility)
{
    out = VolatOutputParams();
    const double f = in.basePrice, k = in.strike;
    if (!(isPositiveFinite(f) && isPositiveFinite(k)))
        return;

    double vol = volatility;
    if (!(vol > 0.0))
        vol = smileVolatility(in);
    if (in.volatLow > 0.0 && in.volatLow <= in.volatHigh)
        vol = std::min(std::max(vol, in.volatLow), in.volatHigh);

    double st = in.sqrtTime;
    double sigma = 0.01 * vol;
    double v = sigma * st;
    if (!(v >= MinStdDev && st >= MinSqrtTime)) {
        setIntrinsic(out, f, k);
        return;
    }
    if (!(v <= MaxStdDev)) {
        v = MaxStdDev;
        st = std::min(st, MaxStdDev);
        sigma = v / st;
    }

    const double x = std::log(f / k);
    const double d1 = x / v + 0.5 * v;
    const double d2 = d1 - v;
    const double pdf = std::fabs(d1) < 38.5 ? InvSqrt2Pi * std::exp(-0.5 * d1 * d1) : 0.0;
    // Price the out-of-the-money side directly and the other by parity: a small price
    // keeps its relative precision, and the in-the-money one is exactly intrinsic + it.
    // Both probabilities come from the Mills ratio and the one density, with
    // K phi(d2) = F phi(d1); that identity is only trusted while F/K is within e^±300.
    const double fPdf = f * pdf;
    if (x < 0.0) {
        double call, n1;
        if (x < -300.0) {
            n1 = cdf(d1);
            call = f * n1 - k * cdf(d2);
        } else if (d1 <= 0.0) { // d2 < d1 <= 0
            n1 = pdf * mills(-d1);
            call = fPdf * (mills(-d1) - mills(-d2));
        } else {
            const double m1 = mills(d1);
            n1 = 1.0 - pdf * m1;
            call = f - fPdf * (m1 + mills(-d2));
        }
        call = std::max(call, 0.0);
        out.callPrice = call;
        out.putPrice = call + (k - f);
        out.callDelta = n1;
        out.putDelta = n1 - 1.0;
    } else {
        double put, m1; // N(-d1); d1 > 0 here
        if (x > 300.0) {
            m1 = cdf(-d1);
            put = k * cdf(-d2) - f * m1;
        } else if (d2 >= 0.0) {
            const double r1 = mills(d1);
            m1 = pdf * r1;
            put = fPdf * (mills(d2) - r1);
        } else {
            const double r1 = mills(d1);
            m1 = pdf * r1;
            put = k - fPdf * (r1 + mills(-d2));
        }
        put = std::max(put, 0.0);
        out.putPrice = put;
        out.callPrice = put + (f - k);
        out.callDelta = 1.0 - m1;
        out.putDelta = -m1;
    }
    out.gamma = pdf / (f * v);
    out.vega = 0.01 * fPdf * st;
    out.theta = -fPdf * sigma / (730.0 * st);

    // Only absurd scales (prices near the limits of double) get here.
    if (!std::isfinite(out.gamma + out.vega + out.theta)) {
        out.gamma = finiteOrLimit(out.gamma);
        out.vega = finiteOrLimit(out.vega);
        out.theta = finiteOrLimit(out.theta);
    }
}

double volatByTheorPrice(const VolatInputParams& in, bool isPut, double theorPrice,
                         double startVolatility, double minVolatility, double maxVolatility,
                         double priceAccuracy, double volatilityAccuracy)
{
    double lowVol = std::isfinite(minVolatility) ? minVolatility : VolatMinDefault;
    double highVol = std::isfinite(maxVolatility) ? maxVolatility : VolatMaxDefault;
    if (lowVol > highVol)
        std::swap(lowVol, highVol);
    lowVol = std::max(lowVol, 0.0);
    highVol = std::max(highVol, lowVol);
    const auto clampVol = [&](double vol) { return std::min(std::max(vol, lowVol), highVol); };

    const double f = in.basePrice, k = in.strike, st = in.sqrtTime;
    // Every volatility gives the same price here (or none is defined): keep the hint.
    if (!(isPositiveFinite(f) && isPositiveFinite(k) && isPositiveFinite(st)) ||
        std::isnan(theorPrice))
        return std::isfinite(startVolatility) ? clampVol(startVolatility) : lowVol;

    // Solve for the out-of-the-money option; parity with r = 0 gives its price. The
    // intrinsic value is subtracted exactly (as a sum of two doubles) so that a price just
    // above it keeps all of its time value.
    const bool callOtm = k >= f;
    double otmPrice = theorPrice;
    if (isPut == callOtm) {
        const double p = isPut ? k : f, q = isPut ? -f : -k;
        const double s = p + q;
        const double r = s - p;
        const double err = (p - (s - r)) + (q - r);
        otmPrice = (theorPrice - s) - err;
    }
    const double a = callOtm ? f : k; // forward and strike of the equivalent call
    const double b = callOtm ? k : f;
    if (!(otmPrice > 0.0))
        return lowVol;
    if (!(otmPrice < a))
        return highVol;

    const double ratio = a / b;
    OtmCall o;
    o.x = std::log(ratio);
    o.ex = std::sqrt(ratio);
    const double scale = b * o.ex; // sqrt(ab) without overflow
    const double beta = otmPrice / scale;
    if (!(std::isfinite(o.x) && o.ex > 0.0))
        return std::isfinite(startVolatility) ? clampVol(startVolatility) : lowVol;
    if (!(beta > 0.0)) // below what the normalized price can hold
        return lowVol;
    if (!(beta < o.ex))
        return highVol;

    const double vTol = volatilityAccuracy > 0.0 ? 0.01 * volatilityAccuracy * st : 0.0;
    const double betaTol = priceAccuracy > 0.0 ? priceAccuracy / scale : 0.0;
    const double v = otmStdDev(o, beta, vTol, betaTol);
    const double vol = 100.0 * v / st;
    return std::isnan(vol) ? lowVol : clampVol(vol);
}
