#include "DemoScan.h"

#include "AmbientOcclusion.h"
#include "Errors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

constexpr double pi = 3.141592653589793;
constexpr int subdivisions = 6; // 20 * 4^6 faces
constexpr double radius = 42.0;
constexpr double noise = 0.02;
constexpr double marker_radius = 3.0;
constexpr double marker_height = 0.45; // of the wrong surface over the true one
constexpr double stick_diameter = 5.0;
constexpr double stick_height = 9.0;
constexpr double border_angle = 48.0; // of the cone below the object that no camera saw

using Triangle = std::array<int, 3>;

/// Triangles by vertex number: what is cut out of it need not be a mesh in between.
struct Soup
{
    std::vector<Vector3d> points;
    std::vector<Triangle> triangles;
};

/// Direction from the middle of the object, azimuth 0 in front and 90 to the right, in degrees.
Vector3d direction(double azimuth, double elevation)
{
    double const a = azimuth * pi / 180.0;
    double const e = elevation * pi / 180.0;
    return {std::sin(a) * std::cos(e), std::sin(e), std::cos(a) * std::cos(e)};
}

/// Angle between unit vectors, in degrees.
double angle_between(Vector3d const& a, Vector3d const& b)
{
    return std::atan2(a.cross(b).norm(), a.dot(b)) * 180.0 / pi;
}

Soup icosahedron()
{
    double const g = (1.0 + std::sqrt(5.0)) / 2.0;
    Soup soup{{{-1, g, 0},
               {1, g, 0},
               {-1, -g, 0},
               {1, -g, 0},
               {0, -1, g},
               {0, 1, g},
               {0, -1, -g},
               {0, 1, -g},
               {g, 0, -1},
               {g, 0, 1},
               {-g, 0, -1},
               {-g, 0, 1}},
              {{0, 11, 5},  {0, 5, 1},  {0, 1, 7},  {0, 7, 10}, {0, 10, 11}, {1, 5, 9}, {5, 11, 4},
               {11, 10, 2}, {10, 7, 6}, {7, 1, 8},  {3, 9, 4},  {3, 4, 2},   {3, 2, 6}, {3, 6, 8},
               {3, 8, 9},   {4, 9, 5},  {2, 4, 11}, {6, 2, 10}, {8, 6, 7},   {9, 8, 1}}};
    for (auto& point : soup.points)
    {
        point.normalize();
    }
    return soup;
}

/// Cuts each triangle into four, new points on the unit sphere.
Soup subdivide(Soup const& coarse)
{
    Soup fine{coarse.points, {}};
    std::map<std::pair<int, int>, int> middles;
    auto const middle = [&](int a, int b)
    {
        auto const [place, is_new] = middles.emplace(std::minmax(a, b), 0);
        if (is_new)
        {
            place->second = static_cast<int>(fine.points.size());
            Vector3d const sum = coarse.points[static_cast<std::size_t>(a)] +
                                 coarse.points[static_cast<std::size_t>(b)];
            fine.points.push_back(sum.normalized());
        }
        return place->second;
    };
    for (auto const& [a, b, c] : coarse.triangles)
    {
        int const ab = middle(a, b);
        int const bc = middle(b, c);
        int const ca = middle(c, a);
        fine.triangles.insert(fine.triangles.end(),
                              {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
    }
    return fine;
}

/// Height of a round bump at a direction.
double bump(Vector3d const& at, Vector3d const& centre, double width, double height)
{
    double const angle = angle_between(at, centre) / width;
    return height * std::exp(-angle * angle);
}

/// Distance of the object's surface from its middle.
double surface_radius(Vector3d const& at)
{
    double r = radius + bump(at, direction(25, 84), 30, 30) + bump(at, direction(-70, 20), 30, 7) +
               bump(at, direction(80, -5), 34, 9) + bump(at, direction(170, 15), 34, 8) -
               bump(at, direction(-150, 0), 22, 4);
    // Round ribs that wind from the stem down, sharp between them, and warts on top.
    double const round = std::atan2(at.x(), at.z());
    double const off_axis = std::sqrt(std::max(0.0, 1.0 - at.y() * at.y()));
    double const rib = std::cos(4.5 * round + 1.8 * at.y());
    r += 7.0 * off_axis * (std::sqrt(rib * rib + 0.015) - 0.6);
    double const warts = std::sin(17.0 * at.x() + 1.0) * std::sin(19.0 * at.y() + 2.0) *
                         std::sin(18.0 * at.z() + 3.0);
    return r + 0.9 * std::max(0.0, warts);
}

/// -1 to 1, a function of the number.
double random_unit(std::uint32_t number)
{
    return static_cast<double>(scatter_bits(number)) / 2147483647.5 - 1.0;
}

/// A place of the surface without what was scanned there.
struct Gap
{
    Vector3d centre;
    double angle;  ///< Degrees from the middle of the object.
    double ragged; ///< How far the rim strays, in parts of the angle.
};

/// Gaps of all sizes, from a few triangles to a fifth of the object's width.
std::vector<Gap> gaps()
{
    return {{direction(8, 8), 13.0, 0.25},     {direction(-32, -12), 6.5, 0.2},
            {direction(42, 28), 5.0, 0.3},     {direction(-40, 22), 3.5, 0.3},
            {direction(-10, 40), 2.5, 0.2},    {direction(52, -8), 2.2, 0.3},
            {direction(25, -20), 1.4, 0.0},    {direction(-20, 24), 1.2, 0.0},
            {direction(65, 12), 1.0, 0.0},     {direction(-60, 0), 0.8, 0.0},
            {direction(130, 20), 9.0, 0.3},    {direction(180, -5), 4.0, 0.2},
            {direction(-120, 35), 11.0, 0.35}, {direction(-100, -15), 2.0, 0.3},
            {direction(95, 50), 3.0, 0.2},     {direction(0, 82), 1.8, 0.2}};
}

bool in_gap(Vector3d const& at, Gap const& gap)
{
    double const angle = angle_between(at, gap.centre);
    if (angle > gap.angle * (1.0 + gap.ragged))
    {
        return false;
    }
    Vector3d const side = at - gap.centre;
    double const wave = std::sin(60.0 / gap.angle * side.x() * 4.0 + gap.angle) *
                        std::cos(60.0 / gap.angle * (side.y() + side.z()) * 3.0);
    return angle < gap.angle * (1.0 + gap.ragged * wave);
}

/// A narrow strip that two neighbouring scans left between them.
bool in_slit(Vector3d const& at)
{
    Vector3d const start = direction(18, 55);
    Vector3d const end = direction(55, 45);
    Vector3d const across = start.cross(end).normalized();
    Vector3d const middle = (start + end).normalized();
    double const off = std::abs(std::asin(at.dot(across))) * 180.0 / pi;
    return off < 0.9 && angle_between(at, middle) < angle_between(start, end) / 2.0;
}

template <typename Predicate>
void remove_triangles(Soup& soup, Predicate const& predicate)
{
    auto const middle = [&](Triangle const& t)
    {
        Vector3d const sum = soup.points[static_cast<std::size_t>(t[0])] +
                             soup.points[static_cast<std::size_t>(t[1])] +
                             soup.points[static_cast<std::size_t>(t[2])];
        return sum.normalized().eval();
    };
    soup.triangles.erase(std::remove_if(soup.triangles.begin(), soup.triangles.end(),
                                        [&](Triangle const& t) { return predicate(middle(t), t); }),
                         soup.triangles.end());
}

void cut_gaps(Soup& sphere)
{
    auto const list = gaps();
    remove_triangles(sphere,
                     [&list](Vector3d const& at, Triangle const&)
                     {
                         bool const below = angle_between(at, -Vector3d::UnitY()) < border_angle;
                         return below || in_slit(at) ||
                                std::any_of(list.begin(), list.end(),
                                            [&at](Gap const& gap) { return in_gap(at, gap); });
                     });
}

int nearest_vertex(Soup const& soup, Vector3d const& at)
{
    auto const nearest = std::min_element(soup.points.begin(), soup.points.end(),
                                          [&at](Vector3d const& a, Vector3d const& b)
                                          { return a.dot(at) > b.dot(at); });
    return static_cast<int>(nearest - soup.points.begin());
}

/// Cuts two round gaps that leave of the surface between them a piece of two faces, which only a
/// vertex at either end holds.
void cut_pinched_pair(Soup& sphere)
{
    constexpr double size = 1.9;
    int const pinch = nearest_vertex(sphere, direction(-5, -30));
    Vector3d const at = sphere.points[static_cast<std::size_t>(pinch)];
    Vector3d const along = Vector3d::UnitY().cross(at).normalized() * std::tan(size * pi / 180.0);
    Vector3d const centres[2] = {(at - along).normalized(), (at + along).normalized()};
    // Of the triangles round the pinch only the one that points to each centre goes.
    std::array<Triangle, 2> tips{};
    for (int i = 0; i < 2; ++i)
    {
        double nearest = 360.0;
        remove_triangles(sphere,
                         [&](Vector3d const& middle, Triangle const& t)
                         {
                             bool const touches = std::find(t.begin(), t.end(), pinch) != t.end();
                             double const angle = angle_between(middle, centres[i]);
                             if (touches && angle < nearest)
                             {
                                 nearest = angle;
                                 tips[static_cast<std::size_t>(i)] = t;
                             }
                             return false;
                         });
    }
    remove_triangles(sphere,
                     [&](Vector3d const& middle, Triangle const& t)
                     {
                         bool const touches = std::find(t.begin(), t.end(), pinch) != t.end();
                         bool const inside = angle_between(middle, centres[0]) < size ||
                                             angle_between(middle, centres[1]) < size;
                         return touches ? t == tips[0] || t == tips[1] : inside;
                     });
}

/// Moves the sphere's points to the object's surface, each a little off as a scanner sees them.
void shape(Soup& sphere)
{
    std::uint32_t number = 0;
    for (auto& point : sphere.points)
    {
        point *= surface_radius(point) + noise * random_unit(++number);
    }
}

/// The object's surface at a direction.
Vector3d surface_point(Vector3d const& at)
{
    return at * surface_radius(at);
}

/// The normal of the surface around a direction, over a patch as wide as a marker.
Vector3d surface_normal(Vector3d const& at)
{
    Vector3d const side = at.unitOrthogonal() * (marker_radius / radius);
    Vector3d const other = at.cross(side);
    Vector3d const across =
        surface_point((at + side).normalized()) - surface_point((at - side).normalized());
    Vector3d const along =
        surface_point((at + other).normalized()) - surface_point((at - other).normalized());
    return across.cross(along).normalized();
}

/// Spoils the surface where markers stick on it: the scanner sees their print as heights.
Markers add_markers(Soup& soup)
{
    Markers markers;
    for (auto const& at :
         {direction(-25, 6), direction(33, 10), direction(-14, -21), direction(20, 36),
          direction(70, -18), direction(-80, 12), direction(150, 22), direction(-150, 5)})
    {
        Vector3d const centre = surface_point(at);
        Vector3d const normal = surface_normal(at);
        markers.points.push_back(centre.cast<float>());
        markers.normals.push_back(normal.cast<float>());
        std::uint32_t number = 0;
        for (auto& point : soup.points)
        {
            if ((point - centre).norm() < marker_radius)
            {
                point += normal * (marker_height * (1.0 + 0.6 * random_unit(++number)));
            }
        }
    }
    return markers;
}

/// A scrap of surface in the air: a fan of triangles around a point.
/// \param corner the fan's first rim vertex, or -1 to make a new one
void add_scrap(Soup& soup, Vector3d const& middle, double size, int sides, int open_sides,
               int corner)
{
    Vector3d const normal = middle.normalized();
    Vector3d const first = corner < 0
                               ? Vector3d(normal.unitOrthogonal() * size)
                               : Vector3d(soup.points[static_cast<std::size_t>(corner)] - middle);
    Vector3d const second = normal.cross(first);
    int const apex = static_cast<int>(soup.points.size());
    soup.points.emplace_back(middle + normal * (0.25 * size));
    std::vector<int> rim;
    for (int i = 0; i < sides; ++i)
    {
        if (i == 0 && corner >= 0)
        {
            rim.push_back(corner);
            continue;
        }
        double const angle = 2.0 * pi * i / sides;
        double const stretch = 1.0 + 0.2 * random_unit(static_cast<std::uint32_t>(apex + i));
        rim.push_back(static_cast<int>(soup.points.size()));
        soup.points.emplace_back(middle +
                                 (first * std::cos(angle) + second * std::sin(angle)) * stretch);
    }
    for (int i = 0; i + open_sides < sides; ++i)
    {
        soup.triangles.push_back({apex, rim[static_cast<std::size_t>(i)],
                                  rim[static_cast<std::size_t>((i + 1) % sides)]});
    }
}

void add_specks(Soup& soup)
{
    struct Speck
    {
        double azimuth, elevation, height, size;
        int sides;
    };
    for (auto const& speck :
         {Speck{-58, 48, 7.0, 1.3, 7}, Speck{-47, 56, 10.0, 0.9, 5}, Speck{62, 40, 6.0, 1.6, 9},
          Speck{70, 30, 9.0, 0.8, 6}, Speck{-75, -8, 8.0, 1.1, 8}, Speck{150, 40, 7.0, 1.4, 7}})
    {
        Vector3d const at = direction(speck.azimuth, speck.elevation);
        add_scrap(soup, at * (surface_radius(at) + speck.height), speck.size, speck.sides, 0, -1);
    }
}

/// Hangs a scrap into the largest gap, by one vertex of its rim.
void add_hanging_scrap(Soup& soup)
{
    std::map<std::pair<int, int>, int> faces_at_edge;
    for (auto const& t : soup.triangles)
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            ++faces_at_edge[std::minmax(t[i], t[(i + 1) % 3])];
        }
    }
    Vector3d const centre = gaps().front().centre;
    Vector3d const above = direction(8, 30);
    int corner = -1;
    double nearest = 360.0;
    for (auto const& [edge, faces] : faces_at_edge)
    {
        Vector3d const point = soup.points[static_cast<std::size_t>(edge.first)].normalized();
        double const angle = angle_between(point, above);
        if (faces == 1 && angle < nearest &&
            angle_between(point, centre) < 2.0 * gaps().front().angle)
        {
            nearest = angle;
            corner = edge.first;
        }
    }
    if (corner < 0)
    {
        throw OperationError("the demo's largest gap has no rim");
    }
    Vector3d const at = soup.points[static_cast<std::size_t>(corner)];
    Vector3d const into = (centre * at.norm() - at).normalized() * 2.2;
    add_scrap(soup, at + into, 2.2, 7, 3, corner);
}

/// Raises a round stick along z where the surface faces that way.
class Stick
{
public:
    /// \param at direction of its axis from the middle of the object
    Stick(Soup& soup, Vector3d const& at) : soup_(soup), foot_(surface_point(at))
    {
        take_foot();
        for (int level = 1; level <= levels; ++level)
        {
            raise_rim(level);
        }
        add_cap();
    }

    /// A point on it, halfway up.
    Vector3d seed() const { return {foot_.x(), foot_.y(), top_ - 0.5 * stick_height}; }

private:
    static constexpr int levels = 10;
    static constexpr double dome = 0.3; // the middle of the cap is so much higher than its edge

    Vector3d& point(int i) { return soup_.points[static_cast<std::size_t>(i)]; }

    double off_axis(Vector3d const& p) const
    {
        return std::hypot(p.x() - foot_.x(), p.y() - foot_.y());
    }

    /// Takes the triangles under the stick out of the surface.
    void take_foot()
    {
        auto const is_under = [this](Triangle const& t)
        {
            return std::all_of(t.begin(), t.end(),
                               [this](int i) {
                                   return point(i).z() > 0.0 &&
                                          off_axis(point(i)) < 0.5 * stick_diameter;
                               });
        };
        auto const kept = std::stable_partition(soup_.triangles.begin(), soup_.triangles.end(),
                                                [&](Triangle const& t) { return !is_under(t); });
        cap_.assign(kept, soup_.triangles.end());
        soup_.triangles.erase(kept, soup_.triangles.end());
        for (auto const& t : cap_)
        {
            for (std::size_t i = 0; i < 3; ++i)
            {
                edges_.emplace(t[i], t[(i + 1) % 3]);
                top_ = std::max(top_, point(t[i]).z() + stick_height);
            }
        }
    }

    bool is_rim(std::pair<int, int> const& edge) const
    {
        return edges_.count({edge.second, edge.first}) == 0;
    }

    /// The copy of a vertex on the level that is being raised.
    int raised(int i, double height)
    {
        auto const [place, is_new] = raised_.emplace(i, static_cast<int>(soup_.points.size()));
        if (is_new)
        {
            Vector3d p = point(i);
            double const stretch = 0.5 * stick_diameter / off_axis(p);
            p.x() = foot_.x() + (p.x() - foot_.x()) * stretch;
            p.y() = foot_.y() + (p.y() - foot_.y()) * stretch;
            p.z() += (top_ - p.z()) * height;
            soup_.points.push_back(p);
        }
        return place->second;
    }

    void raise_rim(int level)
    {
        double const height = static_cast<double>(level) / levels;
        auto const below = raised_;
        raised_.clear();
        auto const lower = [&](int i) { return below.empty() ? i : below.at(i); };
        for (auto const& edge : edges_)
        {
            if (is_rim(edge))
            {
                int const a = raised(edge.first, height);
                int const b = raised(edge.second, height);
                soup_.triangles.push_back({lower(edge.first), lower(edge.second), b});
                soup_.triangles.push_back({lower(edge.first), b, a});
            }
        }
    }

    void add_cap()
    {
        for (auto const& t : cap_)
        {
            Triangle lifted{};
            std::transform(t.begin(), t.end(), lifted.begin(), [this](int i) { return lift(i); });
            soup_.triangles.push_back(lifted);
        }
    }

    /// The place of a vertex of the foot in the cap.
    int lift(int i)
    {
        auto const [place, is_new] = raised_.emplace(i, static_cast<int>(soup_.points.size()));
        if (is_new)
        {
            Vector3d p = point(i);
            double const part = off_axis(p) / (0.5 * stick_diameter);
            p.z() = top_ + dome * (1.0 - part * part);
            soup_.points.push_back(p);
        }
        return place->second;
    }

    Soup& soup_;
    Vector3d foot_;
    double top_ = -1e9;
    std::vector<Triangle> cap_;
    std::set<std::pair<int, int>> edges_; ///< Of the cap, in the sense of its triangles.
    std::map<int, int> raised_;           ///< From the foot to the highest level.
};

StickSeeds add_sticks(Soup& soup)
{
    StickSeeds seeds;
    for (auto const& at : {direction(-12, 18), direction(28, -4), direction(2, -17)})
    {
        Stick const stick(soup, at);
        seeds.points.push_back(stick.seed().cast<float>());
        seeds.sizes.emplace_back(static_cast<float>(stick_diameter),
                                 static_cast<float>(stick_height));
    }
    return seeds;
}

TriMesh to_mesh(Soup const& soup)
{
    TriMesh mesh;
    std::vector<OpenMesh::VertexHandle> vertices(soup.points.size());
    for (auto const& t : soup.triangles)
    {
        for (int const corner : t)
        {
            auto& vertex = vertices[static_cast<std::size_t>(corner)];
            if (!vertex.is_valid())
            {
                vertex =
                    mesh.add_vertex(soup.points[static_cast<std::size_t>(corner)].cast<float>());
            }
        }
        auto const face = mesh.add_face(vertices[static_cast<std::size_t>(t[0])],
                                        vertices[static_cast<std::size_t>(t[1])],
                                        vertices[static_cast<std::size_t>(t[2])]);
        if (!face.is_valid())
        {
            throw OperationError("the demo's object does not hold together");
        }
    }
    return mesh;
}

} // namespace

DemoScan make_demo_scan()
{
    Soup soup = icosahedron();
    for (int i = 0; i < subdivisions; ++i)
    {
        soup = subdivide(soup);
    }
    cut_gaps(soup);
    cut_pinched_pair(soup);
    shape(soup);
    DemoScan scan;
    scan.markers = add_markers(soup);
    scan.marker_radius = marker_radius;
    scan.sticks = add_sticks(soup);
    add_hanging_scrap(soup);
    add_specks(soup);
    scan.mesh = to_mesh(soup);
    return scan;
}

} // namespace veld
