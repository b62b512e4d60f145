#pragma once

#include <algorithm>
#include <utility>
#include <vector>

// A list kept in blocks of bounded size, so that inserting or removing in the middle of a
// long sorted list moves at most one block. Positions are global, as in a flat list.
template <typename T> class PartitionList
{
public:
    static constexpr int MaxBlock = 512;

    class const_iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = const T*;
        using reference = const T&;

        const_iterator() = default;
        const T& operator*() const { return (*m_list->m_blocks[m_block])[m_offset]; }
        const T* operator->() const { return &**this; }
        const_iterator& operator++()
        {
            if (++m_offset >= int(m_list->m_blocks[m_block]->size())) {
                ++m_block;
                m_offset = 0;
            }
            return *this;
        }
        const_iterator operator++(int)
        {
            const_iterator old = *this;
            ++*this;
            return old;
        }
        bool operator==(const const_iterator& o) const
        {
            return m_block == o.m_block && m_offset == o.m_offset;
        }
        bool operator!=(const const_iterator& o) const { return !(*this == o); }

    private:
        friend class PartitionList;
        const_iterator(const PartitionList* list, int block, int offset)
            : m_list(list), m_block(block), m_offset(offset)
        {
        }
        const PartitionList* m_list = nullptr;
        int m_block = 0;
        int m_offset = 0;
    };

    PartitionList() = default;
    PartitionList(const PartitionList& other) { *this = other; }
    PartitionList& operator=(const PartitionList& other)
    {
        if (this != &other) {
            clear();
            for (const auto& b : other.m_blocks)
                m_blocks.push_back(new std::vector<T>(*b));
            m_starts = other.m_starts;
            m_count = other.m_count;
        }
        return *this;
    }
    ~PartitionList() { clear(); }

    int count() const { return m_count; }
    int size() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }

    const T& at(int i) const
    {
        const int b = blockOf(i);
        return (*m_blocks[b])[i - m_starts[b]];
    }
    const T& operator[](int i) const { return at(i); }
    T& operator[](int i)
    {
        const int b = blockOf(i);
        return (*m_blocks[b])[i - m_starts[b]];
    }
    const T& first() const { return m_blocks.front()->front(); }
    const T& last() const { return m_blocks.back()->back(); }

    const_iterator begin() const { return const_iterator(this, 0, 0); }
    const_iterator end() const { return const_iterator(this, int(m_blocks.size()), 0); }

    void append(const T& value) { insert(m_count, value); }

    void insert(int i, const T& value)
    {
        if (m_blocks.empty()) {
            m_blocks.push_back(new std::vector<T>());
            m_blocks.back()->reserve(16);
            m_starts.push_back(0);
        }
        int b = i >= m_count ? int(m_blocks.size()) - 1 : blockOf(i);
        std::vector<T>& block = *m_blocks[b];
        block.insert(block.begin() + (i - m_starts[b]), value);
        ++m_count;
        shiftStarts(b + 1, 1);
        if (int(block.size()) > MaxBlock)
            split(b);
    }

    void removeAt(int i)
    {
        const int b = blockOf(i);
        std::vector<T>& block = *m_blocks[b];
        block.erase(block.begin() + (i - m_starts[b]));
        --m_count;
        shiftStarts(b + 1, -1);
        if (block.empty()) {
            delete m_blocks[b];
            m_blocks.erase(m_blocks.begin() + b);
            m_starts.erase(m_starts.begin() + b);
        }
    }

    void clear()
    {
        for (auto* b : m_blocks)
            delete b;
        m_blocks.clear();
        m_starts.clear();
        m_count = 0;
    }

    // Replaces the content by the values given, in their order.
    void assign(std::vector<T>&& values)
    {
        clear();
        const int n = int(values.size());
        for (int start = 0; start < n; start += MaxBlock / 2) {
            const int end = std::min(n, start + MaxBlock / 2);
            auto* block = new std::vector<T>();
            block->reserve(end - start + 16);
            for (int i = start; i < end; ++i)
                block->push_back(std::move(values[i]));
            m_blocks.push_back(block);
            m_starts.push_back(start);
        }
        m_count = n;
    }

    // The first position whose element is not less than the searched one, where
    // lessThan(element) says whether an element is less. The list must be ordered so that
    // lessThan holds for a prefix of it.
    template <typename LessThan> int lowerBound(LessThan lessThan) const
    {
        // First the block: the first block whose last element is not less.
        int lo = 0, hi = int(m_blocks.size());
        while (lo < hi) {
            const int mid = (lo + hi) / 2;
            if (lessThan(m_blocks[mid]->back()))
                lo = mid + 1;
            else
                hi = mid;
        }
        if (lo == int(m_blocks.size()))
            return m_count;
        // Inside the block without branches on the comparisons, which a search mispredicts
        // half the time.
        const std::vector<T>& block = *m_blocks[lo];
        const T* base = block.data();
        int n = int(block.size());
        while (n > 1) {
            const int half = n / 2;
            base = lessThan(base[half - 1]) ? base + half : base;
            n -= half;
        }
        return m_starts[lo] + int(base - block.data()) + (n == 1 && lessThan(*base) ? 1 : 0);
    }

    // Position of an element equal to value by ==, or -1; a linear walk.
    int indexOf(const T& value) const
    {
        for (size_t b = 0; b < m_blocks.size(); ++b) {
            const std::vector<T>& block = *m_blocks[b];
            for (size_t i = 0; i < block.size(); ++i)
                if (block[i] == value)
                    return m_starts[b] + int(i);
        }
        return -1;
    }

    std::vector<T> toStdVector() const
    {
        std::vector<T> out;
        out.reserve(m_count);
        for (auto* b : m_blocks)
            out.insert(out.end(), b->begin(), b->end());
        return out;
    }

private:
    int blockOf(int i) const
    {
        // The last block that starts at or before i.
        auto it = std::upper_bound(m_starts.begin(), m_starts.end(), i);
        return int(it - m_starts.begin()) - 1;
    }
    void shiftStarts(int fromBlock, int delta)
    {
        for (size_t b = fromBlock; b < m_starts.size(); ++b)
            m_starts[b] += delta;
    }
    void split(int b)
    {
        std::vector<T>& block = *m_blocks[b];
        const int half = int(block.size()) / 2;
        auto* tail = new std::vector<T>();
        tail->reserve(MaxBlock / 2 + 16);
        for (auto it = block.begin() + half; it != block.end(); ++it)
            tail->push_back(std::move(*it));
        block.erase(block.begin() + half, block.end());
        m_blocks.insert(m_blocks.begin() + b + 1, tail);
        m_starts.insert(m_starts.begin() + b + 1, m_starts[b] + half);
    }

    std::vector<std::vector<T>*> m_blocks;
    std::vector<int> m_starts; // global position of each block's first element
    int m_count = 0;
};
