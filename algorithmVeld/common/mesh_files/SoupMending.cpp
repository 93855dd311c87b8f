#include "algorithmVeld/common/mesh_files/SoupMending.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/mesh_files/PolygonTriangles.h"
#include "algorithmVeld/common/running/Progress.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <tuple>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Triangle = std::array<int, 3>;

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

// Lists of faces.

int place_of(MeshSoup const& soup, std::size_t face)
{
    return soup.places.empty() ? static_cast<int>(face) : soup.places[face];
}

/// The faces of a soup, made anew one by one.
class NewFaces
{
public:
    explicit NewFaces(MeshSoup& soup) : soup_(soup)
    {
        faces_.reserve(soup.faces.size());
        places_.reserve(soup.faces.size());
        texcoords_.reserve(soup.texcoords.size());
    }

    /// Adds a triangle of the corners of an old face.
    /// \param corners their places among `old`
    void add(std::size_t face, int const* old, Vector2f const* texcoords, Triangle const& corners)
    {
        faces_.push_back({old[corners[0]], old[corners[1]], old[corners[2]]});
        places_.push_back(place_of(soup_, face));
        if (texcoords != nullptr)
        {
            for (int const corner : corners)
            {
                texcoords_.push_back(texcoords[corner]);
            }
        }
    }

    /// Adds a triangle as it was.
    void keep(std::size_t face)
    {
        auto const* const texcoords =
            soup_.texcoords.empty() ? nullptr : soup_.texcoords.data() + 3 * face;
        add(face, soup_.faces[face].data(), texcoords, {0, 1, 2});
    }

    void put_in_place()
    {
        soup_.faces = std::move(faces_);
        soup_.places = std::move(places_);
        soup_.texcoords = std::move(texcoords_);
    }

private:
    MeshSoup& soup_;
    std::vector<Triangle> faces_;
    std::vector<int> places_;
    std::vector<Vector2f> texcoords_;
};

/// Takes triangles out.
template <typename IsGone>
void remove_faces_if(MeshSoup& soup, LeftOut& removed, IsGone const& is_gone)
{
    std::vector<std::size_t> gone;
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        if (is_gone(i))
        {
            gone.push_back(i);
        }
    }
    remove_faces(soup, gone, removed);
}

/// The corners of a polygon. One that is named several times in a row counts once.
class PolygonCorners
{
public:
    PolygonCorners(MeshSoup const& soup, Polygon const& polygon)
    {
        auto const* const corners = soup.polygon_corners.data() + polygon.first_corner;
        for (std::size_t i = 0; i < polygon.n_corners; ++i)
        {
            if (corners[i] == corners[(i + 1) % polygon.n_corners])
            {
                continue;
            }
            corners_.push_back(corners[i]);
            points_.push_back(soup.points[at(corners[i])]);
            if (!soup.polygon_texcoords.empty())
            {
                texcoords_.push_back(soup.polygon_texcoords[polygon.first_corner + i]);
            }
        }
    }

    std::size_t size() const { return corners_.size(); }

    void triangulate(std::size_t face, NewFaces& faces) const
    {
        for (auto const& triangle : triangulate_polygon(points_))
        {
            faces.add(face, corners_.data(), texcoords_.empty() ? nullptr : texcoords_.data(),
                      triangle);
        }
    }

private:
    std::vector<int> corners_;
    std::vector<Vector3f> points_;
    std::vector<Vector2f> texcoords_;
};

// Points.

template <typename T>
void keep_only(std::vector<T>& list, std::vector<char> const& is_kept)
{
    std::size_t n = 0;
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (is_kept[i] != 0)
        {
            list[n++] = list[i];
        }
    }
    list.resize(n);
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

/// Takes the faces out that have a corner at a point that goes, polygons included.
void remove_faces_at(MeshSoup& soup, std::vector<char> const& is_kept, LeftOut& removed)
{
    std::vector<Triangle> faces;
    std::vector<Polygon> polygons;
    std::vector<Vector2f> texcoords;
    std::vector<int> places;
    auto polygon = soup.polygons.begin();
    soup.for_each_face(
        [&](std::size_t face, int const* corners, std::size_t n)
        {
            bool const is_polygon = polygon != soup.polygons.end() && polygon->face == face;
            auto const this_polygon = is_polygon ? polygon++ : polygon;
            if (!std::all_of(corners, corners + n, [&](int i) { return is_kept[at(i)] != 0; }))
            {
                removed.add(at(place_of(soup, face)));
                return;
            }
            if (is_polygon)
            {
                polygons.push_back(*this_polygon);
                polygons.back().face = faces.size();
            }
            for (std::size_t i = 3 * face; i < 3 * face + 3 && !soup.texcoords.empty(); ++i)
            {
                texcoords.push_back(soup.texcoords[i]);
            }
            faces.push_back(soup.faces[face]);
            places.push_back(place_of(soup, face));
        });
    soup.faces = std::move(faces);
    soup.polygons = std::move(polygons);
    soup.texcoords = std::move(texcoords);
    soup.places = std::move(places);
}

// Edges.

/// One of the three sides of a triangle: 3 * face + the corner at which it begins. A corner has the
/// number of the side that begins there.
using SideIndex = int;

constexpr SideIndex NO_SIDE = -1;

SideIndex side_after(SideIndex side)
{
    return side % 3 == 2 ? side - 2 : side + 1;
}

int begin_of(MeshSoup const& soup, SideIndex side)
{
    return soup.faces[at(side / 3)][at(side % 3)];
}

int end_of(MeshSoup const& soup, SideIndex side)
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

// Orientation.

/// For each side the other one of its edge, where that has two.
std::vector<SideIndex> neighbours(MeshSoup const& soup)
{
    std::vector<SideIndex> others(3 * soup.faces.size(), NO_SIDE);
    EdgeTable(soup).for_each_edge(
        [&](std::vector<SideIndex> const& sides)
        {
            if (sides.size() == 2)
            {
                others[at(sides[0])] = sides[1];
                others[at(sides[1])] = sides[0];
            }
        });
    return others;
}

/// Which faces of a piece to turn, found from one of its faces.
class PieceOrientation
{
public:
    explicit PieceOrientation(MeshSoup const& soup)
        : soup_(soup), others_(neighbours(soup)), state_(soup.faces.size(), UNSEEN)
    {
    }

    /// Calls `turn(face)` for the smaller part of the faces that hang together with one.
    template <typename Turn>
    void turn_smaller_part(int first, Turn const& turn)
    {
        if (state_[at(first)] != UNSEEN)
        {
            return;
        }
        grow(first);
        auto const n_unlike = std::count_if(piece_.begin(), piece_.end(),
                                            [&](int face) { return state_[at(face)] == UNLIKE; });
        bool const most_are_unlike = 2 * n_unlike > static_cast<std::ptrdiff_t>(piece_.size());
        for (int const face : piece_)
        {
            if ((state_[at(face)] == UNLIKE) != most_are_unlike)
            {
                turn(at(face));
            }
        }
    }

private:
    enum State : char
    {
        UNSEEN,
        LIKE, ///< Oriented as the first face.
        UNLIKE
    };

    void grow(int first)
    {
        piece_.assign(1, first);
        state_[at(first)] = LIKE;
        for (std::size_t i = 0; i < piece_.size(); ++i) // the list is the queue
        {
            int const face = piece_[i];
            for (SideIndex side = 3 * face; side < 3 * face + 3; ++side)
            {
                SideIndex const other = others_[at(side)];
                if (other == NO_SIDE || state_[at(other / 3)] != UNSEEN)
                {
                    continue;
                }
                bool const agree = begin_of(soup_, side) != begin_of(soup_, other);
                state_[at(other / 3)] = (state_[at(face)] == LIKE) == agree ? LIKE : UNLIKE;
                piece_.push_back(other / 3);
            }
        }
    }

    MeshSoup const& soup_;
    std::vector<SideIndex> others_;
    std::vector<State> state_;
    std::vector<int> piece_;
};

void turn_over(MeshSoup& soup, std::size_t face)
{
    std::swap(soup.faces[face][1], soup.faces[face][2]);
    if (!soup.texcoords.empty())
    {
        std::swap(soup.texcoords[3 * face + 1], soup.texcoords[3 * face + 2]);
    }
}

// Separation.

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

void remove_faces(MeshSoup& soup, std::vector<std::size_t> const& faces, LeftOut& removed)
{
    if (faces.empty())
    {
        return;
    }
    NewFaces kept(soup);
    CancelPoll poll;
    auto gone = faces.begin();
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        poll.next();
        if (gone != faces.end() && *gone == i)
        {
            removed.add(at(place_of(soup, i)));
            ++gone;
        }
        else
        {
            kept.keep(i);
        }
    }
    kept.put_in_place();
}

std::size_t remove_unplaced_points(MeshSoup& soup, LeftOut& faces)
{
    std::vector<char> is_kept(soup.points.size(), 1);
    std::vector<int> number(soup.points.size(), 0);
    int n = 0;
    for (std::size_t i = 0; i < soup.points.size(); ++i)
    {
        is_kept[i] = soup.points[i].allFinite() ? 1 : 0;
        number[i] = is_kept[i] != 0 ? n++ : 0;
    }
    std::size_t const removed = soup.points.size() - at(n);
    if (removed == 0)
    {
        return 0;
    }
    remove_faces_at(soup, is_kept, faces);
    auto const renumber = [&](int& corner) { corner = number[at(corner)]; };
    for (auto& face : soup.faces)
    {
        std::for_each(face.begin(), face.end(), renumber);
    }
    std::for_each(soup.polygon_corners.begin(), soup.polygon_corners.end(), renumber);
    for_each_point_list(soup, [&](auto& list) { keep_only(list, is_kept); });
    return removed;
}

void triangulate_polygons(MeshSoup& soup, LeftOut& too_few, LeftOut& too_many)
{
    if (soup.polygons.empty())
    {
        return;
    }
    NewFaces faces(soup);
    auto polygon = soup.polygons.begin();
    LoopProgress progress(soup.faces.size());
    for (std::size_t face = 0; face < soup.faces.size(); ++face)
    {
        progress.next();
        if (polygon == soup.polygons.end() || polygon->face != face)
        {
            faces.keep(face);
            continue;
        }
        poll_cancel();
        PolygonCorners const corners(soup, *polygon++);
        if (corners.size() < 3 || corners.size() > MOST_POLYGON_CORNERS)
        {
            (corners.size() < 3 ? too_few : too_many).add(at(place_of(soup, face)));
            continue;
        }
        corners.triangulate(face, faces);
    }
    faces.put_in_place();
    soup.polygons = {};
    soup.polygon_corners = {};
    soup.polygon_texcoords = {};
}

void remove_degenerate(MeshSoup& soup, LeftOut& removed)
{
    remove_faces_if(soup, removed,
                    [&](std::size_t i)
                    {
                        auto const& [a, b, c] = soup.faces[i];
                        return a == b || b == c || c == a;
                    });
}

void remove_repeated(MeshSoup& soup, LeftOut& removed)
{
    std::vector<std::array<int, 4>> sorted; // the lowest corner first, and the face
    sorted.reserve(soup.faces.size());
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        auto face = soup.faces[i];
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
        sorted.push_back({face[0], face[1], face[2], static_cast<int>(i)});
    }
    poll_cancel();
    std::sort(sorted.begin(), sorted.end());
    std::vector<char> is_repeated(soup.faces.size(), 0);
    for (std::size_t i = 1; i < sorted.size(); ++i)
    {
        bool const same =
            std::equal(sorted[i].begin(), sorted[i].begin() + 3, sorted[i - 1].begin());
        is_repeated[at(sorted[i][3])] = same ? 1 : 0;
    }
    remove_faces_if(soup, removed, [&](std::size_t i) { return is_repeated[i] != 0; });
}

std::size_t orient(MeshSoup& soup)
{
    std::vector<std::size_t> turned;
    PieceOrientation pieces(soup);
    CancelPoll poll;
    for (std::size_t face = 0; face < soup.faces.size(); ++face)
    {
        poll.next();
        pieces.turn_smaller_part(static_cast<int>(face),
                                 [&](std::size_t i) { turned.push_back(i); });
    }
    for (std::size_t const face : turned)
    {
        turn_over(soup, face);
    }
    return turned.size();
}

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
