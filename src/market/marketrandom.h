#pragma once

#include <QtGlobal>

// The simulated market's source of chance: SplitMix64, which gives the same numbers from the
// same seed on every platform and library (the standard distributions do not promise that),
// and costs a few instructions a draw.
class MarketRandom
{
public:
    explicit MarketRandom(quint64 seed = 0) : m_state(seed) {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    // Uniform in [0, 1).
    double uniform() { return double(next() >> 11) * (1.0 / 9007199254740992.0); }
    // Uniform in [low, high).
    double uniform(double low, double high) { return low + (high - low) * uniform(); }
    // Uniform in [0, n); 0 for n <= 0.
    int below(int n) { return n > 0 ? int(next() % quint64(n)) : 0; }
    // Uniform in [low, high], both included.
    int between(int low, int high) { return low + below(high - low + 1); }
    bool chance(double probability) { return uniform() < probability; }
    // -1 or +1.
    int sign() { return (next() & 1) ? 1 : -1; }

private:
    quint64 m_state;
};
