#pragma once

#include <QPair>
#include <QVector>

#include <algorithm>

// A set of values kept as disjoint, sorted, inclusive ranges; adjacent ranges merge.
template <typename T> class RangeSet
{
public:
    using Range = QPair<T, T>; // first, last

    void add(T value) { add(value, value); }
    void add(T first, T last)
    {
        if (last < first)
            std::swap(first, last);
        // The first range that ends at or after first - 1 may merge with the new one.
        auto it = std::lower_bound(m_ranges.begin(), m_ranges.end(), first,
                                   [](const Range& r, T v) { return r.second + 1 < v; });
        auto end = it;
        while (end != m_ranges.end() && end->first <= last + 1) {
            first = std::min(first, end->first);
            last = std::max(last, end->second);
            ++end;
        }
        const int at = int(it - m_ranges.begin());
        m_ranges.erase(it, end);
        m_ranges.insert(at, Range(first, last));
    }
    bool contains(T value) const
    {
        auto it = std::lower_bound(m_ranges.begin(), m_ranges.end(), value,
                                   [](const Range& r, T v) { return r.second < v; });
        return it != m_ranges.end() && it->first <= value;
    }
    bool isEmpty() const { return m_ranges.isEmpty(); }
    void clear() { m_ranges.clear(); }
    int rangeCount() const { return m_ranges.size(); }
    const QVector<Range>& ranges() const { return m_ranges; }
    typename QVector<Range>::const_iterator begin() const { return m_ranges.begin(); }
    typename QVector<Range>::const_iterator end() const { return m_ranges.end(); }

private:
    QVector<Range> m_ranges;
};
