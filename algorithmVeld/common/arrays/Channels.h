#pragma once

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/vectors.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Drops the content of a vector and gives its memory back.
template <typename T>
void release_memory(std::vector<T>& values)
{
    std::vector<T>().swap(values);
}

/// Switches a channel on with `n` entries, unless it is on already.
template <typename T>
void switch_on(bool& is_on, std::vector<T>& channel, std::size_t n, T const& value)
{
    if (!is_on)
    {
        channel.assign(n, value);
        is_on = true;
    }
}

/// Switches a channel off and gives its memory back.
template <typename T>
void switch_off(bool& is_on, std::vector<T>& channel)
{
    is_on = false;
    release_memory(channel);
}

/// Keeps the entries that are marked, in their order. Entries that no mark belongs to go.
template <typename T>
void keep_marked(std::vector<T>& values, std::vector<char> const& keep)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < values.size() && i < keep.size(); ++i)
    {
        if (keep[i] != 0)
        {
            values[kept++] = values[i];
        }
    }
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(kept), values.end());
}

/// Vectors that are no numbers become zero.
inline void zero_where_not_finite(std::vector<Vector3f>& vectors)
{
    for (auto& v : vectors)
    {
        v = v.allFinite() ? v : Vector3f(Vector3f::Zero());
    }
}

/// A switch, one byte that is 0 or 1, and its channel, which may have any length: what is read is
/// what was written.
template <typename Scalar, typename T>
void write_channel(BinaryWriter& writer, bool is_on, std::vector<T> const& values)
{
    writer.scalar<unsigned char>(is_on ? 1 : 0);
    writer.array<Scalar>(values);
}

template <typename Scalar, typename T>
void read_channel(BinaryReader& reader, bool& is_on, std::vector<T>& values)
{
    auto const flag = reader.scalar<unsigned char>();
    is_on = flag == 1;
    if (flag > 1)
    {
        reader.fail();
    }
    reader.array<Scalar>(values);
}

} // namespace OrvaneAlgorithm::detail
