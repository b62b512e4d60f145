#pragma once

#include <QVector>

// A set of rows kept as sorted, disjoint half-open intervals [first, end), so that a change
// of many neighbouring rows is told to the views once per block of rows, not once per row.
// Adjacent and overlapping intervals merge as they are inserted.
//
// The intervals are stored as one flat, sorted list of boundaries of even length: first,
// end, first, end, ... A boundary at an odd position thus closes an interval.
class RowIntervals
{
public:
    // Adds the rows first..end-1; an empty or reversed range adds nothing.
    void insert(int first, int end);

    bool isEmpty() const { return m_bounds.isEmpty(); }
    int count() const { return m_bounds.size() / 2; }
    int first(int interval) const { return m_bounds.at(2 * interval); }
    int end(int interval) const { return m_bounds.at(2 * interval + 1); }
    const QVector<int>& boundaries() const { return m_bounds; }

private:
    QVector<int> m_bounds;
};
