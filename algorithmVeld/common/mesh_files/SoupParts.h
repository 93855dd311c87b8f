#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

/// \file
/// What the points, faces and edges of a soup are called where it is mended.

namespace OrvaneAlgorithm::detail
{

using Triangle = std::array<int, 3>;

inline std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

/// Calls `work(list)` for each list that has an entry a point.
template <typename Work>
void for_each_point_list(MeshSoup& soup, Work const& work)
{
    work(soup.points);
    if (!soup.normals.empty())
    {
        work(soup.normals);
    }
    if (!soup.colors.empty())
    {
        work(soup.colors);
    }
    for (auto& values : soup.values)
    {
        work(values.values);
    }
}

/// One of the three sides of a triangle: 3 * face + the corner at which it begins. A corner has the
/// number of the side that begins there.
using SideIndex = int;

constexpr SideIndex NO_SIDE = -1;

inline SideIndex side_after(SideIndex side)
{
    return side % 3 == 2 ? side - 2 : side + 1;
}

inline int begin_of(MeshSoup const& soup, SideIndex side)
{
    return soup.faces[at(side / 3)][at(side % 3)];
}

inline int end_of(MeshSoup const& soup, SideIndex side)
{
    return begin_of(soup, side_after(side));
}

/// All sides, those of one edge together, in the order of their faces.
class EdgeTable
{
public:
    explicit EdgeTable(MeshSoup const& soup)
    {
        sides_.reserve(3 * soup.faces.size());
        for (SideIndex side = 0; at(side) < 3 * soup.faces.size(); ++side)
        {
            int const begin = begin_of(soup, side);
            int const end = end_of(soup, side);
            sides_.push_back({std::min(begin, end), std::max(begin, end), side});
        }
        poll_cancel();
        std::sort(sides_.begin(), sides_.end());
    }

    /// Calls `visit(sides)` for each edge.
    template <typename Visit>
    void for_each_edge(Visit const& visit) const
    {
        std::vector<SideIndex> sides;
        CancelPoll poll;
        for (auto begin = sides_.begin(); begin != sides_.end();)
        {
            poll.next();
            sides.clear();
            auto end = begin;
            for (; end != sides_.end() && (*end)[0] == (*begin)[0] && (*end)[1] == (*begin)[1];
                 ++end)
            {
                sides.push_back((*end)[2]);
            }
            visit(sides);
            begin = end;
        }
    }

private:
    std::vector<std::array<int, 3>> sides_; ///< lower end, higher end, side
};

} // namespace OrvaneAlgorithm::detail
