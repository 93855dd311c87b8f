#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Numbers for some of very many indices: 0, 1, 2, .. in the order in which they come. Time and
/// memory go with those that come, not with those that there are.
class IndexTable
{
public:
    /// For an index that has no number.
    static constexpr int NONE = -1;

    explicit IndexTable(std::size_t expected = 0)
    {
        std::size_t places = 16;
        while (places < 2 * expected)
        {
            places *= 2;
        }
        entries_.resize(places);
    }

    std::size_t size() const { return size_; }
    bool contains(int index) const { return find(index) != NONE; }

    /// The number of an index, or `NONE`.
    int find(int index) const { return entries_[place_of(index)].number; }

    /// The number of an index, which gets the next one if it has none.
    /// \param index not negative
    int add(int index)
    {
        std::size_t place = place_of(index);
        if (entries_[place].number == NONE)
        {
            if (2 * (size_ + 1) > entries_.size())
            {
                grow();
                place = place_of(index);
            }
            entries_[place] = {index, static_cast<int>(size_++)};
        }
        return entries_[place].number;
    }

private:
    struct Entry
    {
        int index = NONE;
        int number = NONE;
    };

    /// Where an index stands, or would stand: the table is never full. Neighbours in a mesh have
    /// indices with patterns, which the odd factor scatters.
    std::size_t place_of(int index) const
    {
        std::size_t const mask = entries_.size() - 1;
        std::uint64_t const scattered = static_cast<std::uint64_t>(index) * 0x9E3779B97F4A7C15U;
        auto place = static_cast<std::size_t>(scattered >> 32U) & mask;
        while (entries_[place].number != NONE && entries_[place].index != index)
        {
            place = (place + 1) & mask;
        }
        return place;
    }

    void grow()
    {
        std::vector<Entry> const old = std::move(entries_);
        entries_.assign(2 * old.size(), Entry());
        for (Entry const& entry : old)
        {
            if (entry.number != NONE)
            {
                entries_[place_of(entry.index)] = entry;
            }
        }
    }

    std::vector<Entry> entries_; ///< A power of two of them, at least half of them free.
    std::size_t size_ = 0;
};

} // namespace OrvaneAlgorithm::detail
