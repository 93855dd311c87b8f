#include "algorithmVeld/common/mesh_files/SoupSeparation.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/mesh_files/SoupParts.h"

#include <Eigen/Geometry>

#include <tuple>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

Vector3d unit_normal(MeshSoup const& soup, SideIndex side)
{
    auto const& [a, b, c] = soup.faces[at(side / 3)];
    Vector3d const p = soup.points[at(a)].cast<double>();
    Vector3d const q = soup.points[at(b)].cast<double>();
    Vector3d const r = soup.points[at(c)].cast<double>();
    return (q - p).cross(r - p).normalized(); // without a length it stays zero
}

using SidePair = std::pair<SideIndex, SideIndex>;

/// An edge at which surfaces are taken apart.
struct CrowdedEdge
{
    std::vector<SideIndex> sides;
    std::vector<SidePair> pairs;  ///< What stays together.
    std::vector<SidePair> banned; ///< Pairs that a mesh cannot hold.
};

bool rises(MeshSoup const& soup, SideIndex side)
{
    return begin_of(soup, side) < end_of(soup, side);
}

/// More sides are no surface: they are paired in the order of the file.
constexpr std::size_t MOST_COMPARED = 64;

std::vector<SidePair> pairs_in_order(MeshSoup const& soup, std::vector<SideIndex> const& sides)
{
    std::vector<SideIndex> there;
    std::vector<SideIndex> back;
    for (SideIndex const side : sides)
    {
        (rises(soup, side) ? there : back).push_back(side);
    }
    std::vector<SidePair> pairs;
    for (std::size_t i = 0; i < std::min(there.size(), back.size()); ++i)
    {
        pairs.emplace_back(there[i], back[i]);
    }
    return pairs;
}

/// Whether the faces of two sides of an edge have the same corners.
bool are_back_to_back(MeshSoup const& soup, SideIndex a, SideIndex b)
{
    return begin_of(soup, side_after(side_after(a))) == begin_of(soup, side_after(side_after(b)));
}

/// Pairs of sides of an edge, the best one first.
std::vector<SidePair> best_pairs(MeshSoup const& soup, CrowdedEdge const& edge,
                                 DisjointSets& pieces)
{
    if (edge.sides.size() > MOST_COMPARED)
    {
        return pairs_in_order(soup, edge.sides);
    }
    std::vector<std::tuple<bool, bool, double, SideIndex, SideIndex>> candidates;
    for (auto a = edge.sides.begin(); a != edge.sides.end(); ++a)
    {
        for (auto b = a + 1; b != edge.sides.end(); ++b)
        {
            bool const is_banned = std::find(edge.banned.begin(), edge.banned.end(),
                                             SidePair(*a, *b)) != edge.banned.end();
            if (rises(soup, *a) != rises(soup, *b) && !is_banned)
            {
                bool const is_apart = pieces.root(*a / 3) != pieces.root(*b / 3);
                double const agreement = unit_normal(soup, *a).dot(unit_normal(soup, *b));
                candidates.emplace_back(are_back_to_back(soup, *a, *b), is_apart, -agreement, *a,
                                        *b);
            }
        }
    }
    std::sort(candidates.begin(), candidates.end());
    std::vector<SidePair> pairs;
    std::vector<SideIndex> taken;
    auto const is_taken = [&](SideIndex side)
    { return std::find(taken.begin(), taken.end(), side) != taken.end(); };
    for (auto const& candidate : candidates)
    {
        SidePair const pair(std::get<3>(candidate), std::get<4>(candidate));
        if (!is_taken(pair.first) && !is_taken(pair.second))
        {
            pairs.push_back(pair);
            taken.insert(taken.end(), {pair.first, pair.second});
        }
    }
    return pairs;
}

/// Which sides stay together.
class Seams
{
public:
    explicit Seams(MeshSoup const& soup) : soup_(soup)
    {
        DisjointSets pieces(soup.faces.size());
        EdgeTable(soup).for_each_edge([&](std::vector<SideIndex> const& sides)
                                      { take(sides, pieces); });
        for (auto& edge : crowded_)
        {
            edge.pairs = best_pairs(soup, edge, pieces);
        }
        constexpr int MOST_ROUNDS = 8;
        for (int round = 0; round < MOST_ROUNDS && pair_anew(pieces); ++round)
        {
        }
    }

    std::vector<CrowdedEdge> const& crowded() const { return crowded_; }

    /// Calls `visit(a, b)` for the sides that stay together.
    template <typename Visit>
    void for_each_pair(Visit const& visit) const
    {
        for (auto const& [a, b] : plain_)
        {
            visit(a, b);
        }
        for (auto const& edge : crowded_)
        {
            for (auto const& [a, b] : edge.pairs)
            {
                visit(a, b);
            }
        }
    }

    /// The corners that are in one fan.
    DisjointSets fans() const
    {
        DisjointSets corners(3 * soup_.faces.size());
        for_each_pair(
            [&](SideIndex a, SideIndex b)
            {
                corners.join(a, side_after(b));
                corners.join(side_after(a), b);
            });
        return corners;
    }

private:
    void take(std::vector<SideIndex> const& sides, DisjointSets& pieces)
    {
        if (sides.size() == 2 && rises(soup_, sides[0]) != rises(soup_, sides[1]))
        {
            plain_.emplace_back(sides[0], sides[1]);
            pieces.join(sides[0] / 3, sides[1] / 3);
        }
        else if (sides.size() > 1)
        {
            crowded_.push_back({sides, {}, {}});
        }
    }

    /// Bans a pair at each edge that a surface passes twice between the same two fans: a mesh has
    /// one edge between two vertices. \return whether there was one
    bool pair_anew(DisjointSets& pieces)
    {
        bool any = false;
        DisjointSets corners = fans();
        for (auto& edge : crowded_)
        {
            if (!edge.pairs.empty() && edge.sides.size() <= MOST_COMPARED &&
                is_passed_twice(edge, corners))
            {
                edge.banned.push_back(edge.pairs.front());
                edge.pairs = best_pairs(soup_, edge, pieces);
                any = true;
            }
        }
        return any;
    }

    bool is_passed_twice(CrowdedEdge const& edge, DisjointSets& corners) const
    {
        std::vector<std::pair<int, int>> ends;
        for (SideIndex const side : edge.sides)
        {
            bool const is_second =
                std::any_of(edge.pairs.begin(), edge.pairs.end(),
                            [&](SidePair const& pair) { return pair.second == side; });
            if (!is_second)
            {
                int const begin = corners.root(side);
                int const end = corners.root(side_after(side));
                ends.push_back(rises(soup_, side) ? std::make_pair(begin, end)
                                                  : std::make_pair(end, begin));
            }
        }
        std::sort(ends.begin(), ends.end());
        return std::adjacent_find(ends.begin(), ends.end()) != ends.end();
    }

    MeshSoup const& soup_;
    std::vector<SidePair> plain_;
    std::vector<CrowdedEdge> crowded_;
};

/// The points at which fans may not share their point: where an edge was taken apart, and where a
/// fan without an open end leaves no room for another.
std::vector<char> points_apart(MeshSoup const& soup, Seams const& seams, DisjointSets& fans)
{
    std::size_t const n_corners = 3 * soup.faces.size();
    std::vector<char> is_open(n_corners, 1);
    seams.for_each_pair([&](SideIndex a, SideIndex b) { is_open[at(a)] = is_open[at(b)] = 0; });
    std::vector<char> is_open_fan(n_corners, 0);
    for (SideIndex side = 0; at(side) < n_corners; ++side)
    {
        if (is_open[at(side)] != 0)
        {
            is_open_fan[at(fans.root(side))] = 1;
            is_open_fan[at(fans.root(side_after(side)))] = 1;
        }
    }
    std::vector<char> is_apart(soup.points.size(), 0);
    for (SideIndex corner = 0; at(corner) < n_corners; ++corner)
    {
        if (is_open_fan[at(fans.root(corner))] == 0)
        {
            is_apart[at(begin_of(soup, corner))] = 1;
        }
    }
    for (auto const& edge : seams.crowded())
    {
        is_apart[at(begin_of(soup, edge.sides.front()))] = 1;
        is_apart[at(end_of(soup, edge.sides.front()))] = 1;
    }
    return is_apart;
}

/// Gives every fan its point. \return the points of which a copy is added, in the order of the
/// copies
std::vector<int> place_fans(MeshSoup const& soup, Seams const& seams, std::vector<Triangle>& faces)
{
    constexpr int NONE = -1;
    DisjointSets fans = seams.fans();
    auto const is_apart = points_apart(soup, seams, fans);
    std::vector<int> first_fan(soup.points.size(), NONE);
    std::vector<int> copy(3 * soup.faces.size(), NONE);
    std::vector<int> copied;
    for (SideIndex corner = 0; at(corner) < copy.size(); ++corner)
    {
        int const point = begin_of(soup, corner);
        int const fan = fans.root(corner);
        int& first = first_fan[at(point)];
        first = first == NONE ? fan : first;
        if (fan == first || is_apart[at(point)] == 0)
        {
            continue;
        }
        if (copy[at(fan)] == NONE)
        {
            copy[at(fan)] = static_cast<int>(soup.points.size() + copied.size());
            copied.push_back(point);
        }
        faces[at(corner / 3)][at(corner % 3)] = copy[at(fan)];
    }
    return copied;
}

} // namespace

Separation separate(MeshSoup& soup)
{
    Seams const seams(soup);
    std::vector<Triangle> faces = soup.faces;
    auto const copied = place_fans(soup, seams, faces);
    soup.faces = std::move(faces);
    for_each_point_list(soup,
                        [&](auto& list)
                        {
                            list.reserve(list.size() + copied.size());
                            for (int const point : copied)
                            {
                                list.push_back(list[at(point)]);
                            }
                        });
    return {seams.crowded().size(), copied.size()};
}

} // namespace OrvaneAlgorithm::detail
