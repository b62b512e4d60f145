#include "rowintervals.h"

#include <algorithm>

void RowIntervals::insert(int first, int end)
{
    if (first >= end)
        return;
    // Rows mostly come in order: at or past the last end no search is needed.
    if (!m_bounds.isEmpty() && first >= m_bounds.last()) {
        if (first == m_bounds.last())
            m_bounds.last() = end;
        else
            m_bounds << first << end;
        return;
    }
    // A start that falls inside an interval, or on its end, extends that interval; so does
    // an end that falls inside one, or on its start.
    int from = int(std::lower_bound(m_bounds.begin(), m_bounds.end(), first) - m_bounds.begin());
    if (from % 2 == 1)
        first = m_bounds.at(--from);
    int to = int(std::upper_bound(m_bounds.begin(), m_bounds.end(), end) - m_bounds.begin());
    if (to % 2 == 1)
        end = m_bounds.at(to++);
    m_bounds.erase(m_bounds.begin() + from, m_bounds.begin() + to);
    m_bounds.insert(from, 2, first);
    m_bounds[from + 1] = end;
}
