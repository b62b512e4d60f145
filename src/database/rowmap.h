#pragma once

#include "record.h"

#include <cstdint>
#include <vector>

// Numbers kept by row, for the bookkeeping of one batch or one transaction: an
// open-addressing table over the row pointers, so a tick costs no allocation of its own.
// It holds no reference: whoever fills it keeps the rows alive while they are in it.
class RowMap
{
public:
    bool isEmpty() const { return m_count == 0; }
    int size() const { return m_count; }

    int value(const Record& row, int missing = -1) const
    {
        const std::size_t at = find(row.rowBlock());
        return m_slots.empty() || !m_slots[at].row ? missing : m_slots[at].value;
    }
    bool contains(const Record& row) const { return value(row, -1) != -1; }

    // Sets the number of a row, adding the row if needed. The number -1 is reserved.
    void insert(const Record& row, int value)
    {
        if (row.isNull())
            return;
        if ((m_count + 1) * 2 > int(m_slots.size()))
            grow();
        Slot& slot = m_slots[find(row.rowBlock())];
        if (!slot.row) {
            slot.row = row.rowBlock();
            ++m_count;
        }
        slot.value = value;
    }

    bool remove(const Record& row)
    {
        if (m_slots.empty())
            return false;
        std::size_t hole = find(row.rowBlock());
        if (!m_slots[hole].row)
            return false;
        m_slots[hole].row = nullptr;
        --m_count;
        // Linear probing: pull back the entries of the cluster that the hole would hide.
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = (hole + 1) & mask; m_slots[i].row; i = (i + 1) & mask) {
            const std::size_t home = homeOf(m_slots[i].row);
            const bool reachable = hole <= i ? (home <= hole || home > i) : (home <= hole && home > i);
            if (reachable) {
                m_slots[hole] = m_slots[i];
                m_slots[i].row = nullptr;
                hole = i;
            }
        }
        return true;
    }

    void clear()
    {
        if (m_count == 0)
            return;
        for (Slot& s : m_slots)
            s.row = nullptr;
        m_count = 0;
    }

    // Takes over the storage of a map done with, when it is larger and small enough to
    // clear cheaply; the other map is left empty.
    void reuse(RowMap& other)
    {
        if (other.m_slots.size() <= m_slots.size() || other.m_slots.size() > 1024) {
            std::vector<Slot>().swap(other.m_slots);
            other.m_count = 0;
            return;
        }
        other.clear();
        m_slots.swap(other.m_slots);
        for (Slot& s : other.m_slots) {
            if (s.row)
                m_slots[find(s.row)] = s;
            s.row = nullptr;
        }
    }

    // Calls f(int&) on every number, in no particular order.
    template <typename F> void forEachValue(F f)
    {
        for (Slot& s : m_slots)
            if (s.row)
                f(s.value);
    }

private:
    struct Slot
    {
        const unsigned char* row = nullptr;
        int value = 0;
    };

    std::size_t homeOf(const unsigned char* row) const
    {
        // Row blocks are aligned: drop the low bits, then spread the rest.
        const std::uint64_t h = (reinterpret_cast<std::uintptr_t>(row) >> 4) * 0x9E3779B97F4A7C15ull;
        return std::size_t(h >> 32) & (m_slots.size() - 1);
    }
    // The slot of the row, or the empty slot where it would go.
    std::size_t find(const unsigned char* row) const
    {
        if (m_slots.empty())
            return 0;
        const std::size_t mask = m_slots.size() - 1;
        std::size_t i = homeOf(row);
        while (m_slots[i].row && m_slots[i].row != row)
            i = (i + 1) & mask;
        return i;
    }
    void grow()
    {
        std::vector<Slot> old;
        old.swap(m_slots);
        m_slots.resize(old.empty() ? 16 : old.size() * 2);
        for (const Slot& s : old)
            if (s.row)
                m_slots[find(s.row)] = s;
    }

    std::vector<Slot> m_slots;
    int m_count = 0;
};
