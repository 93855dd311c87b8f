#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/markers.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"
#include "tests/support/special_floats.h"
#include "tests/support/standard_output.h"

#include <gmock/gmock.h>

#include <cmath>
#include <deque>
#include <limits>
#include <random>
#include <set>

/// \file
/// Sticks, by hand on small meshes and against a plain search, with marks for the whole mesh and a
/// queue for each step, on scans.

using namespace OrvaneAlgorithm;
using namespace veld_test;
using OpenMesh::FaceHandle;
using testing::HasSubstr;

namespace
{

/// A size whose far rim lies at exactly 5: 0.25 * 36 + 16 = 25.
Vector2f const REACH_5(6, 4);

std::vector<TriMesh> cut(TriMesh& mesh, std::vector<Vector3f> const& seeds,
                         std::vector<Vector2f> const& sizes, bool positive_z = true)
{
    std::vector<TriMesh> sticks;
    EXPECT_EQ(extract_sticks(mesh, seeds, sizes, sticks, positive_z, false), RET_SUCCESS);
    EXPECT_EQ(sticks.size(), seeds.size());
    return sticks;
}

TriMesh cut_one(TriMesh& mesh, Vector3f const& seed, Vector2f const& size, bool positive_z = true)
{
    return cut(mesh, {seed}, {size}, positive_z).front();
}

using Point = std::array<float, 3>;

Point key(Vector3f const& p)
{
    return {p.x(), p.y(), p.z()};
}

std::vector<Point> points_of(TriMesh const& mesh)
{
    std::vector<Point> points;
    for (auto const v : mesh.vertices())
    {
        points.push_back(key(mesh.point(v)));
    }
    return points;
}

/// What a stick has to be: the vertices and faces of the source, in its order.
struct Expected
{
    std::vector<int> vertices;
    std::vector<std::vector<int>> faces;
    int tip = -1;
    std::vector<float> distances;
};

float reach_of(Vector2f const& size)
{
    float const d = size[0] * size[0];
    float const h = size[1] * size[1];
    return static_cast<float>(std::sqrt(0.25 * static_cast<double>(d) + static_cast<double>(h)));
}

int plain_tip(TriMesh const& mesh, int seed, bool positive_z)
{
    auto const z = [&](int v)
    {
        float const value = mesh.point(vh(v)).z();
        return positive_z ? value : -value;
    };
    std::set<int> visited;
    std::deque<int> queue{seed};
    int tip = seed;
    while (!queue.empty())
    {
        int const v = queue.front();
        queue.pop_front();
        tip = z(v) > z(tip) ? v : tip;
        visited.insert(v);
        for (auto const w : mesh.vv_range(vh(v)))
        {
            if (visited.insert(w.idx()).second && z(w.idx()) >= z(v))
            {
                queue.push_back(w.idx());
            }
        }
    }
    return tip;
}

std::vector<float> plain_distances(TriMesh const& mesh, int tip, float reach)
{
    std::vector<float> distances(mesh.n_vertices(), 1e9F);
    auto const at = [&](int v) -> float& { return distances[static_cast<std::size_t>(v)]; };
    at(tip) = 0.0F;
    std::set<int> visited;
    std::deque<int> queue{tip};
    while (!queue.empty())
    {
        int const v = queue.front();
        queue.pop_front();
        visited.insert(v);
        for (auto const w : mesh.vv_range(vh(v)))
        {
            float const path = at(v) + (mesh.point(w) - mesh.point(vh(v))).norm();
            at(w.idx()) = at(w.idx()) > path ? path : at(w.idx());
            if (visited.insert(w.idx()).second && reach > at(w.idx()))
            {
                queue.push_back(w.idx());
            }
        }
    }
    return distances;
}

Expected plain_stick(TriMesh const& mesh, int seed, Vector2f const& size, bool positive_z)
{
    Expected expected;
    float const reach = reach_of(size);
    expected.tip = plain_tip(mesh, seed, positive_z);
    expected.distances = plain_distances(mesh, expected.tip, reach);
    Vector3f const top = mesh.point(vh(expected.tip));
    std::set<int> visited;
    std::set<int> selected;
    std::deque<int> queue;
    for (auto const face : mesh.vf_range(vh(expected.tip)))
    {
        queue.push_back(face.idx());
    }
    while (!queue.empty())
    {
        FaceHandle const face(queue.front());
        queue.pop_front();
        if (!visited.insert(face.idx()).second)
        {
            continue;
        }
        bool too_far = false;
        bool on_surface = false;
        for (auto const v : mesh.fv_range(face))
        {
            too_far = too_far || (mesh.point(v) - top).norm() > reach;
            on_surface =
                on_surface || expected.distances[static_cast<std::size_t>(v.idx())] < reach;
        }
        if (too_far || !on_surface)
        {
            continue;
        }
        selected.insert(face.idx());
        for (auto const other : mesh.ff_range(face))
        {
            queue.push_back(other.idx());
        }
    }
    std::set<int> vertices;
    for (int const face : selected)
    {
        std::vector<int> corners;
        for (auto const v : mesh.fv_range(FaceHandle(face)))
        {
            corners.push_back(v.idx());
            vertices.insert(v.idx());
        }
        expected.faces.push_back(corners);
    }
    expected.vertices.assign(vertices.begin(), vertices.end());
    return expected;
}

void expect_stick(TriMesh const& mesh, TriMesh const& stick, Expected const& expected)
{
    std::vector<Point> points;
    for (int const v : expected.vertices)
    {
        points.push_back(key(mesh.point(vh(v))));
    }
    ASSERT_EQ(points_of(stick), points);
    std::vector<std::vector<int>> faces;
    for (auto const face : stick.faces())
    {
        std::vector<int> corners;
        for (auto const v : stick.fv_range(face))
        {
            corners.push_back(expected.vertices[static_cast<std::size_t>(v.idx())]);
        }
        faces.push_back(corners);
    }
    ASSERT_EQ(faces, expected.faces);
    EXPECT_TRUE(stick.is_legal());
}

int nearest_vertex(TriMesh const& mesh, Vector3f const& point)
{
    int nearest = -1;
    for (auto const v : mesh.vertices())
    {
        if (nearest < 0 ||
            (mesh.point(v) - point).squaredNorm() < (mesh.point(vh(nearest)) - point).squaredNorm())
        {
            nearest = v.idx();
        }
    }
    return nearest;
}

/// A flat row of cells along x at height 0.
TriMesh flat_row(int cells)
{
    return grid(cells, 1);
}

/// A bumpy sheet of random heights: many tips, and edges whose distances fall late.
TriMesh rough_sheet(unsigned seed, int size)
{
    TriMesh mesh = grid(size, size);
    std::mt19937 random(seed);
    for (auto const v : mesh.vertices())
    {
        // Few levels, so that many neighbours are equally high.
        auto const level = static_cast<float>(random() % 5);
        auto const shift = static_cast<float>(random() % 100) / 300.0F;
        mesh.set_point(v, mesh.point(v) + Vector3f(shift, 0, level));
    }
    return mesh;
}

/// A stick of 24 sides on a plate: radius 3, height `height`, rings every millimetre, flat on top.
TriMesh plate_with_stick(int height, bool upwards = true)
{
    constexpr int SIDES = 24;
    constexpr int PLATE_RINGS = 20;
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    float const up = upwards ? 1.0F : -1.0F;
    points.emplace_back(0, 0, up * static_cast<float>(height));
    auto const add_ring = [&](float radius, float z)
    {
        for (int i = 0; i < SIDES; ++i)
        {
            double const angle = 2.0 * detail::PI * i / SIDES;
            points.emplace_back(radius * static_cast<float>(std::cos(angle)),
                                radius * static_cast<float>(std::sin(angle)), up * z);
        }
    };
    for (int z = height; z >= 0; --z)
    {
        add_ring(3.0F, static_cast<float>(z));
    }
    for (int r = 1; r <= PLATE_RINGS; ++r)
    {
        add_ring(3.0F + static_cast<float>(r), 0.0F);
    }
    int const rings = height + 1 + PLATE_RINGS;
    for (int i = 0; i < SIDES; ++i)
    {
        int const j = (i + 1) % SIDES;
        triangles.push_back({0, 1 + i, 1 + j});
        for (int r = 0; r + 1 < rings; ++r)
        {
            int const a = 1 + r * SIDES;
            triangles.push_back({a + i, a + SIDES + i, a + SIDES + j});
            triangles.push_back({a + i, a + SIDES + j, a + j});
        }
    }
    return make_mesh(points, triangles);
}

} // namespace

// The tip

TEST(ExtractSticks, CutsAStickFromAPlate)
{
    // The seed climbs the wall to the rim, which is as high as the middle of the cap. From there
    // the reach of 12.4 covers the wall down to 3 and nothing of the plate.
    TriMesh mesh = plate_with_stick(15);
    Vector2f const size(6, 12);
    TriMesh const stick = cut_one(mesh, {3, 0, 7}, size);
    float lowest = 99;
    for (auto const v : stick.vertices())
    {
        Vector3f const p = stick.point(v);
        EXPECT_NEAR(p.head<2>().norm(), p.head<2>().norm() < 1 ? 0.0 : 3.0, 1e-4);
        lowest = std::min(lowest, p.z());
    }
    EXPECT_EQ(lowest, 3.0F);
    EXPECT_GT(stick.n_faces(), 24U * 2 * 8);
    expect_stick(mesh, stick, plain_stick(mesh, nearest_vertex(mesh, {3, 0, 7}), size, true));
}

TEST(ExtractSticks, TheTipLiesDownwardsWhereTheHostSaysSo)
{
    TriMesh up = plate_with_stick(15);
    TriMesh down = plate_with_stick(15, false);
    TriMesh const above = cut_one(up, {3, 0, 7}, {6, 12});
    TriMesh const below = cut_one(down, {3, 0, -7}, {6, 12}, false);
    ASSERT_EQ(above.n_vertices(), below.n_vertices());
    ASSERT_EQ(above.n_faces(), below.n_faces());
    for (auto const v : above.vertices())
    {
        Vector3f const p = above.point(v);
        EXPECT_EQ(below.point(v), Vector3f(p.x(), p.y(), -p.z()));
    }
}

TEST(ExtractSticks, OnAFlatTopTheSeedIsTheTip)
{
    // All vertices of a row are equally high: the walk reaches all of them, and none is higher.
    TriMesh mesh = flat_row(12);
    for (float const x : {0.0F, 6.0F})
    {
        TriMesh const stick = cut_one(mesh, {x, 0, 0.25F}, {0.0F, 2.5F});
        for (auto const v : stick.vertices())
        {
            EXPECT_LE((stick.point(v) - Vector3f(x, 0, 0)).norm(), 2.5F);
        }
        EXPECT_GT(stick.n_faces(), 0U);
    }
}

TEST(ExtractSticks, ClimbsOverVerticesOfEqualHeight)
{
    // A flat row with a peak at its far end: the walk crosses the flat part to get there.
    TriMesh mesh = flat_row(8);
    mesh.set_point(vh(8), Vector3f(8, 0, 1));
    TriMesh const stick = cut_one(mesh, {0, 0, 0}, {0.0F, 2.0F});
    EXPECT_THAT(points_of(stick), testing::Contains(Point{8, 0, 1}));
    EXPECT_THAT(points_of(stick), testing::Not(testing::Contains(Point{0, 0, 0})));
}

TEST(ExtractSticks, DoesNotDescendOnTheWay)
{
    // The same row with a ditch across it.
    TriMesh mesh = flat_row(8);
    mesh.set_point(vh(8), Vector3f(8, 0, 1));
    mesh.set_point(vh(4), Vector3f(4, 0, -1));
    mesh.set_point(vh(13), Vector3f(4, 1, -1));
    TriMesh const stick = cut_one(mesh, {0, 0, 0}, {0.0F, 2.0F});
    EXPECT_THAT(points_of(stick), testing::Contains(Point{0, 0, 0}));
    EXPECT_THAT(points_of(stick), testing::Not(testing::Contains(Point{8, 0, 1})));
}

// A height that is no number is not at least as high as another one.
TEST(ExtractSticks, DoesNotClimbOverVerticesWithoutAHeight)
{
    TriMesh mesh = flat_row(8);
    mesh.set_point(vh(8), Vector3f(8, 0, 1));
    mesh.set_point(vh(4), Vector3f(4, 0, NOT_A_NUMBER));
    mesh.set_point(vh(13), Vector3f(4, 1, NOT_A_NUMBER));
    TriMesh const stick = cut_one(mesh, {0, 0, 0}, {0.0F, 2.0F});
    EXPECT_THAT(points_of(stick), testing::Contains(Point{0, 0, 0}));
    EXPECT_THAT(points_of(stick), testing::Not(testing::Contains(Point{8, 0, 1})));
}

TEST(ExtractSticks, AVertexThatLiesLowerIsClosedForAllWays)
{
    // The seed 0 has two neighbours, at 7 and at 2, and both have the neighbour 3, at 5, behind
    // which lies the peak. If the walk comes from 7 first, 3 lies lower and is closed: the way up
    // from 2 does not open it again. So it matters on which side the high neighbour is. The peak's
    // own face hangs on the others by vertex 3 only, so the number of faces tells the tip.
    std::vector<std::size_t> faces;
    for (bool const swapped : {false, true})
    {
        float const left = swapped ? 2.0F : 7.0F;
        float const right = swapped ? 7.0F : 2.0F;
        TriMesh mesh =
            make_mesh({{0, 0, 0}, {-1, 1, left}, {1, 1, right}, {0, 2, 5}, {1, 3, 10}, {-1, 3, -1}},
                      {{0, 2, 1}, {1, 2, 3}, {3, 4, 5}});
        faces.push_back(cut_one(mesh, {0, 0, 0}, {0, 100}).n_faces());
    }
    EXPECT_THAT(faces, testing::UnorderedElementsAre(1U, 2U));
}

// The reach

TEST(ExtractSticks, AStraightDistanceOfExactlyTheReachIsNotTooFar)
{
    TriMesh mesh = make_mesh({{0, 0, 1}, {3, 0, -3}, {0, 3, -3}}, {{0, 1, 2}});
    EXPECT_EQ(cut_one(mesh, {0, 0, 1}, REACH_5).n_faces(), 1U);
    mesh.set_point(vh(1), Vector3f(3, 0, -3.00001F));
    TriMesh const stick = cut_one(mesh, {0, 0, 1}, REACH_5);
    EXPECT_EQ(stick.n_faces(), 0U);
    EXPECT_EQ(stick.n_vertices(), 0U);
}

TEST(ExtractSticks, ADistanceAlongTheSurfaceOfExactlyTheReachIsTooFar)
{
    // The second face has two vertices at exactly 5 along the surface, and a third in a straight
    // line.
    std::vector<Vector3f> points{{0, 0, 0}, {5, 0, 0}, {0, 5, 0}, {3, 4, 0}};
    std::vector<Triangle> const triangles{{0, 1, 2}, {1, 3, 2}};
    TriMesh mesh = make_mesh(points, triangles);
    EXPECT_EQ(cut_one(mesh, {0, 0, 0}, REACH_5).n_faces(), 1U);
    points[1].x() = std::nextafter(5.0F, 4.0F);
    TriMesh nearer = make_mesh(points, triangles);
    EXPECT_EQ(cut_one(nearer, {0, 0, 0}, REACH_5).n_faces(), 2U);
}

TEST(ExtractSticks, SquaresOfTheReachAreSingleTheirSumIsDouble)
{
    // Sizes for which another way of computing gives another reach, and a face that ends between
    // the two.
    std::mt19937 random(3);
    int tried = 0;
    for (int i = 0; i < 2000 && tried < 20; ++i)
    {
        auto const d = 5.0F + static_cast<float>(random() % 1000) / 997.0F;
        auto const h = 10.0F + static_cast<float>(random() % 1000) / 991.0F;
        auto const all_double =
            static_cast<float>(std::sqrt(0.25 * static_cast<double>(d) * static_cast<double>(d) +
                                         static_cast<double>(h) * static_cast<double>(h)));
        float const all_single = std::sqrt(0.25F * d * d + h * h);
        float const reach = reach_of({d, h});
        for (float const other : {all_double, all_single})
        {
            if (other == reach)
            {
                continue;
            }
            ++tried;
            float const edge = std::max(other, reach);
            TriMesh mesh = make_mesh({{0, 0, 0}, {edge, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
            EXPECT_EQ(cut_one(mesh, {0, 0, 0}, {d, h}).n_faces(), edge <= reach ? 1U : 0U);
        }
    }
    EXPECT_GT(tried, 5);
}

// A kite of two faces: the corners of the first lie at (x, y) and (x, -y) from the tip, in `float`
// at another distance than in `double`. The reach is the one of the two that tells them apart.
TEST(ExtractSticks, DistancesAreSingle)
{
    std::mt19937 random(5);
    int above = 0;
    int below = 0;
    for (int i = 0; i < 4000; ++i)
    {
        float const x = 3.0F + static_cast<float>(random() % 1000) / 997.0F;
        float const y = 2.0F + static_cast<float>(random() % 1000) / 991.0F;
        float const single = std::sqrt(x * x + y * y);
        double const exact = std::sqrt(static_cast<double>(x) * static_cast<double>(x) +
                                       static_cast<double>(y) * static_cast<double>(y));
        auto const rounded = static_cast<float>(exact);
        TriMesh mesh = make_mesh({{0, 0, 0}, {x, y, 0}, {x, -y, 0}, {x + 0.25F, 0, 0}},
                                 {{0, 2, 1}, {1, 2, 3}});
        if (reach_of({0, single}) == single && static_cast<double>(single) < exact)
        {
            // In a straight line the reach itself is near enough; along the surface it is not.
            EXPECT_EQ(cut_one(mesh, {0, 0, 0}, {0, single}).n_faces(), 1U);
            ++above;
        }
        if (reach_of({0, rounded}) == rounded && single < rounded)
        {
            EXPECT_EQ(cut_one(mesh, {0, 0, 0}, {0, rounded}).n_faces(), 2U);
            ++below;
        }
    }
    EXPECT_GT(above, 100);
    EXPECT_GT(below, 100);
}

// A distance that is no number is not farther than anything.
TEST(ExtractSticks, AFaceWithAVertexThatIsNoPointStaysIfAnotherVertexIsNear)
{
    TriMesh mesh = flat_row(2);
    mesh.set_point(vh(1), Vector3f(1, 0, NOT_A_NUMBER));
    EXPECT_EQ(cut_one(mesh, {0, 0, 0}, REACH_5).n_faces(), 4U);
}

TEST(ExtractSticks, TheFarSideOfAThinWallIsCutOff)
{
    // Two walls hang from one top edge, 0.1 apart at a slit that the surface has to go round: the
    // far one begins 8 below the tip along the surface, though it is near.
    TriMesh mesh = flat_row(16);
    for (auto const v : mesh.vertices())
    {
        // Folded at x = 4: behind it the row comes back, a little lower.
        Vector3f const p = mesh.point(v);
        if (p.x() > 4.0F)
        {
            mesh.set_point(v, Vector3f(8.0F - p.x(), p.y(), -0.1F));
        }
    }
    TriMesh const stick = cut_one(mesh, {0, 0, 0}, REACH_5);
    float near_below = 99.0F;
    for (auto const v : stick.vertices())
    {
        if (stick.point(v).z() < 0)
        {
            near_below = std::min(near_below, stick.point(v).x());
        }
    }
    // Along the surface 4 to the fold and back to about 3; straight everything would be near.
    EXPECT_GE(near_below, 2.0F);
    expect_stick(mesh, stick, plain_stick(mesh, 0, REACH_5, true));
}

TEST(ExtractSticks, DistancesAreSpreadInOneSweep)
{
    // On rough sheets the sweep misses shortcuts that an exact search finds. What is missed is
    // required to be missed; the comparison makes sure that there is something to miss.
    int different = 0;
    for (unsigned seed = 0; seed < 60; ++seed)
    {
        TriMesh mesh = rough_sheet(seed, 14);
        Vector2f const size(3.0F, 4.0F + static_cast<float>(seed % 7));
        int const start = static_cast<int>(seed * 3 % mesh.n_vertices());
        Expected const expected = plain_stick(mesh, start, size, seed % 2 == 0);
        std::vector<TriMesh> const sticks =
            cut(mesh, {mesh.point(vh(start))}, {size}, seed % 2 == 0);
        expect_stick(mesh, sticks[0], expected);
        // An exact search over all vertices.
        std::vector<float> exact(mesh.n_vertices(), 1e9F);
        exact[static_cast<std::size_t>(expected.tip)] = 0.0F;
        for (bool changed = true; changed;)
        {
            changed = false;
            for (auto const e : mesh.edges())
            {
                float const length = (mesh.point(e.v0()) - mesh.point(e.v1())).norm();
                float& a = exact[static_cast<std::size_t>(e.v0().idx())];
                float& b = exact[static_cast<std::size_t>(e.v1().idx())];
                changed = changed || b + length < a || a + length < b;
                a = std::min(a, b + length);
                b = std::min(b, a + length);
            }
        }
        for (std::size_t v = 0; v < exact.size(); ++v)
        {
            bool const is_near = expected.distances[v] < reach_of(size);
            different += is_near != (exact[v] < reach_of(size)) ? 1 : 0;
        }
    }
    EXPECT_GT(different, 0);
}

// The result

TEST(ExtractSticks, CopiesColoursAndNormalsAndZeroesTheRest)
{
    TriMesh mesh = flat_row(6);
    mesh.request_vertex_colors();
    mesh.request_vertex_normals();
    mesh.request_face_normals();
    mesh.request_face_colors();
    mesh.request_edge_colors();
    mesh.request_halfedge_normals();
    mesh.request_halfedge_colors();
    mesh.request_vertex_texcoords1D();
    mesh.request_vertex_texcoords2D();
    mesh.request_vertex_texcoords3D();
    mesh.request_halfedge_texcoords1D();
    mesh.request_halfedge_texcoords2D();
    mesh.request_halfedge_texcoords3D();
    mesh.request_face_texture_index();
    for (auto const v : mesh.vertices())
    {
        mesh.set_color(v, Vector3f(static_cast<float>(v.idx()), 1, 2));
        mesh.set_normal(v, Vector3f(3, 4, static_cast<float>(v.idx())));
    }
    for (auto const f : mesh.faces())
    {
        mesh.set_normal(f, Vector3f(5, static_cast<float>(f.idx()), 6));
        mesh.set_color(f, Vector3f(9, 9, 9));
    }
    TriMesh const stick = cut_one(mesh, {6, 1, 0}, {0.0F, 2.5F});
    Expected const expected = plain_stick(mesh, 13, {0.0F, 2.5F}, true);
    expect_stick(mesh, stick, expected);
    for (auto const v : stick.vertices())
    {
        int const origin = expected.vertices[static_cast<std::size_t>(v.idx())];
        EXPECT_EQ(stick.color(v), mesh.color(vh(origin)));
        EXPECT_EQ(stick.normal(v), mesh.normal(vh(origin)));
        EXPECT_EQ(stick.texcoord1D(v), 0.0F);
        EXPECT_EQ(stick.texcoord2D(v), Vector2f(0, 0));
    }
    for (auto const f : stick.faces())
    {
        EXPECT_EQ(stick.normal(f)[0], 5.0F);
        EXPECT_EQ(stick.color(f), Vector3f(0, 0, 0));
        EXPECT_EQ(stick.texture_index(f), 0);
    }
    for (auto const e : stick.edges())
    {
        EXPECT_EQ(stick.color(e), Vector3f(0, 0, 0));
    }
    for (auto const h : stick.halfedges())
    {
        EXPECT_EQ(stick.normal(h), Vector3f(0, 0, 0));
        EXPECT_EQ(stick.color(h), Vector3f(0, 0, 0));
        EXPECT_EQ(stick.texcoord2D(h), Vector2f(0, 0));
    }
    EXPECT_FALSE(stick.has_vertex_status());
    EXPECT_EQ(count_properties(stick), count_properties(mesh));
}

TEST(ExtractSticks, HaveTheAttributesThatTheSourceHas)
{
    TriMesh plain = flat_row(3);
    TriMesh stick = cut_one(plain, {0, 0, 0}, REACH_5);
    EXPECT_FALSE(stick.has_vertex_colors() || stick.has_vertex_normals() ||
                 stick.has_face_normals() || stick.has_vertex_status());
    plain.request_vertex_status();
    plain.request_edge_status();
    stick = cut_one(plain, {0, 0, 0}, REACH_5);
    EXPECT_TRUE(stick.has_vertex_status());
    EXPECT_TRUE(stick.has_edge_status());
    EXPECT_FALSE(stick.has_halfedge_status());
    EXPECT_FALSE(stick.has_face_status());
}

TEST(ExtractSticks, LeavesTheSourceAsItWas)
{
    TriMesh mesh = plate_with_stick(15);
    mesh.request_face_status();
    TriMesh const before = mesh;
    cut(mesh, {{3, 0, 7}, {3, 0, 9}}, {{6, 15}, {6, 15}});
    EXPECT_EQ(points_of(mesh), points_of(before));
    EXPECT_EQ(mesh.n_faces(), before.n_faces());
    EXPECT_EQ(count_properties(mesh), count_properties(before));
    EXPECT_TRUE(mesh.has_face_status());
    EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_edge_status() || mesh.has_halfedge_status());
}

TEST(ExtractSticks, EachStickIsWhatItIsAlone)
{
    // What one stick marked does not show in the next.
    TriMesh mesh = rough_sheet(5, 20);
    std::vector<Vector3f> seeds;
    std::vector<Vector2f> sizes;
    for (int i = 0; i < 30; ++i)
    {
        seeds.push_back(mesh.point(vh(i * 14)));
        sizes.emplace_back(2.0F, 2.0F + static_cast<float>(i % 9));
    }
    auto const together = cut(mesh, seeds, sizes);
    for (std::size_t i = 0; i < seeds.size(); ++i)
    {
        TriMesh const alone = cut_one(mesh, seeds[i], sizes[i]);
        EXPECT_EQ(points_of(together[i]), points_of(alone));
        EXPECT_EQ(together[i].n_faces(), alone.n_faces());
    }
}

TEST(ExtractSticks, AnIsolatedSeedGivesAnEmptyStick)
{
    TriMesh mesh = flat_row(3);
    mesh.add_vertex({0, 0, 50});
    std::vector<TriMesh> sticks;
    EXPECT_EQ(extract_sticks(mesh, {{0, 0, 49}}, {REACH_5}, sticks, true, false), RET_SUCCESS);
    ASSERT_EQ(sticks.size(), 1U);
    EXPECT_EQ(sticks[0].n_vertices(), 0U);
    EXPECT_EQ(sticks[0].n_faces(), 0U);
}

TEST(ExtractSticks, WhatIsHiddenOrDeletedIsNotCopied)
{
    TriMesh mesh = flat_row(4);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_face(FaceHandle(1), false);
    mesh.status(FaceHandle(2)).set_hidden(true);
    TriMesh const stick = cut_one(mesh, {0, 0, 0}, {0, 9});
    EXPECT_EQ(stick.n_faces(), 6U);
    // A face whose vertex is passed over cannot be made.
    mesh.status(vh(4)).set_hidden(true);
    LogCapture const log;
    std::vector<TriMesh> sticks;
    output_of([&] { extract_sticks(mesh, {{0, 0, 0}}, {{0, 9}}, sticks, true, true); });
    EXPECT_EQ(sticks[0].n_faces(), 5U);
    EXPECT_EQ(log.count("fail to add face ["), 1);
    LogCapture const quiet;
    std::string const printed = output_of(
        [&] {
            extract_sticks(mesh, {{0, 0, 0}}, {{0, 9}}, sticks, true, false);
        });
    EXPECT_EQ(printed + quiet.text(), "");
}

// Results

TEST(ExtractSticks, WithoutSeedsOrWithListsOfDifferentLengthsNothingIsTouched)
{
    TriMesh mesh = flat_row(3);
    std::vector<TriMesh> sticks{lone_triangle(), tetrahedron()};
    LogCapture const log;
    std::string const printed = output_of(
        [&]
        {
            EXPECT_EQ(extract_sticks(mesh, {}, {}, sticks, true, true), RET_INVALID_INPUT);
            EXPECT_EQ(extract_sticks(mesh, {{0, 0, 0}}, {}, sticks, true, true), RET_INVALID_INPUT);
            EXPECT_EQ(extract_sticks(mesh, {}, {REACH_5}, sticks, true, true), RET_INVALID_INPUT);
        });
    ASSERT_EQ(sticks.size(), 2U);
    EXPECT_EQ(sticks[1].n_faces(), 4U);
    EXPECT_EQ(printed + log.text(), "");
}

TEST(ExtractSticks, ASeedWithoutAVertexLeavesItAndTheOnesBehindItEmpty)
{
    TriMesh mesh = flat_row(3);
    std::vector<TriMesh> sticks{lone_triangle()};
    LogCapture const log;
    std::string const printed = output_of(
        [&]
        {
            EXPECT_EQ(extract_sticks(mesh, {{0, 0, 0}, {NOT_A_NUMBER, 0, 0}, {0, 0, 0}},
                                     {REACH_5, REACH_5, REACH_5}, sticks, true, true),
                      RET_FAILED);
        });
    ASSERT_EQ(sticks.size(), 3U);
    EXPECT_EQ(sticks[0].n_faces(), 6U);
    EXPECT_EQ(sticks[1].n_vertices(), 0U);
    EXPECT_EQ(sticks[2].n_vertices(), 0U);
    EXPECT_THAT(log.text(), testing::EndsWith("fail to locate selected vertex.\n"));
    EXPECT_EQ(printed, log.text());
}

TEST(ExtractSticks, BearsMeshesWithoutUsablePointsAndSizesThatAreNoNumbers)
{
    std::vector<TriMesh> sticks;
    TriMesh empty;
    EXPECT_EQ(extract_sticks(empty, {{0, 0, 0}}, {REACH_5}, sticks, true, false), RET_FAILED);
    EXPECT_EQ(sticks.size(), 1U);
    TriMesh nowhere = lone_triangle();
    for (int i = 0; i < 3; ++i)
    {
        nowhere.set_point(vh(i), Vector3f(NOT_A_NUMBER, 0, 0));
    }
    EXPECT_EQ(extract_sticks(nowhere, {{0, 0, 0}}, {REACH_5}, sticks, true, false), RET_FAILED);

    TriMesh mesh = flat_row(6);
    mesh.set_point(vh(3), Vector3f(3, 0, NOT_A_NUMBER));
    mesh.set_point(vh(5), Vector3f(std::numeric_limits<float>::infinity(), 0, 0));
    for (auto const& size :
         {Vector2f(NOT_A_NUMBER, 1), Vector2f(1e30F, 1e30F), Vector2f(-6, -4), Vector2f(0, 0)})
    {
        EXPECT_EQ(extract_sticks(mesh, {{0, 0, 0}}, {size}, sticks, true, false), RET_SUCCESS);
        EXPECT_EQ(extract_sticks(mesh, {{0, 0, 0}}, {size}, sticks, false, false), RET_SUCCESS);
    }
    // A size that is no number has no reach: nothing is nearer than that.
    EXPECT_EQ(cut_one(mesh, {0, 0, 0}, {NOT_A_NUMBER, 1}).n_faces(), 0U);
}

// Text

TEST(ExtractSticks, TellsAboutTheMeshAndTheSeedsTwice)
{
    TriMesh mesh = lone_triangle();
    mesh.request_vertex_normals();
    mesh.request_face_status();
    LogCapture const log(false);
    std::vector<TriMesh> sticks;
    std::string const printed = output_of(
        [&] {
            extract_sticks(mesh, {{0, 0, 2}}, {REACH_5}, sticks, true, true);
        });
    EXPECT_EQ(log.text(), "\n--------------------------------\n"
                          "Mesh info:\n"
                          "  Vertex: \t 3\n  Face: \t 1\n  HalfEdge: \t 6\n  Edge: \t 3\n"
                          "\nNonBoundary:\n"
                          "  Vertex: \t 0\n  Face: \t 0\n  HalfEdge: \t 3\n  Edge: \t 0\n"
                          "\nBoundary:\n"
                          "  Vertex: \t 3\n  Face: \t 1\n  HalfEdge: \t 3\n  Edge: \t 3\n"
                          "\nProperty:\n"
                          "  Has face status\n  Has vertex normals\n"
                          "--------------------------------\n\n"
                          "\n--------------------------------\n"
                          "mesh.points_vector().size() = 3\n"
                          "--------------------------------\n"
                          "\ninput vertex   = [0.000000, 0.000000, 2.000000]\n"
                          "located vertex = [0.000000, 0.000000, 0.000000]\n"
                          "dis = 2.000000\n");
    // Once to standard output and once to the log.
    EXPECT_EQ(printed, log.text());
}

// Of the 18 faces 10 have a boundary edge: 12 edges, and in two corners one face has two of them. A
// boundary vertex alone does not count.
TEST(ExtractSticks, CountsBoundaryFacesByTheirEdges)
{
    TriMesh mesh = grid(3, 3);
    LogCapture const log(false);
    std::vector<TriMesh> sticks;
    output_of([&] { extract_sticks(mesh, {{2, 2, 0}}, {REACH_5}, sticks, true, true); });
    EXPECT_THAT(log.text(), HasSubstr("\nNonBoundary:\n  Vertex: \t 4\n  Face: \t 8\n"
                                      "  HalfEdge: \t 54\n  Edge: \t 21\n"
                                      "\nBoundary:\n  Vertex: \t 12\n  Face: \t 10\n"
                                      "  HalfEdge: \t 12\n  Edge: \t 12\n"));
}

TEST(ExtractSticks, CountsWhatIsNotDeletedAndListsEveryAttribute)
{
    TriMesh mesh = grid(2, 2);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(0), true);
    mesh.request_edge_colors();
    mesh.request_face_colors();
    mesh.request_face_normals();
    mesh.request_face_texture_index();
    mesh.request_halfedge_colors();
    mesh.request_halfedge_normals();
    mesh.request_halfedge_status();
    mesh.request_halfedge_texcoords1D();
    mesh.request_halfedge_texcoords2D();
    mesh.request_halfedge_texcoords3D();
    mesh.request_vertex_colors();
    mesh.request_vertex_normals();
    mesh.request_vertex_texcoords1D();
    mesh.request_vertex_texcoords2D();
    mesh.request_vertex_texcoords3D();
    LogCapture const log(false);
    std::vector<TriMesh> sticks;
    output_of([&] { extract_sticks(mesh, {{2, 2, 0}}, {REACH_5}, sticks, true, true); });
    // Of 9 vertices one is gone, of 8 faces two, of 16 edges three. The corner's faces had the
    // middle as their third corner, so all of what is left lies on the boundary.
    EXPECT_THAT(log.text(), HasSubstr("Mesh info:\n  Vertex: \t 8\n  Face: \t 6\n"
                                      "  HalfEdge: \t 26\n  Edge: \t 13\n"));
    EXPECT_THAT(log.text(), HasSubstr("\nBoundary:\n  Vertex: \t 8\n"));
    EXPECT_THAT(log.text(),
                HasSubstr("\nProperty:\n"
                          "  Has edge colors\n  Has edge status\n  Has face colors\n"
                          "  Has face normals\n  Has face status\n  Has face texture index\n"
                          "  Has halfedge colors\n  Has halfedge normals\n  Has halfedge status\n"
                          "  Has halfedge texcoords1D\n  Has halfedge texcoords2D\n"
                          "  Has halfedge texcoords3D\n  Has vertex colors\n"
                          "  Has vertex normals\n  Has vertex status\n"
                          "  Has vertex texcoords1D\n  Has vertex texcoords2D\n"
                          "  Has vertex texcoords3D\n"
                          "--------------------------------\n\n"));
}

TEST(ExtractSticks, PrintsNothingUnlessVerboseAndLeavesTheLogSwitchAlone)
{
    for (bool const enabled : {false, true})
    {
        LogCapture const log(enabled);
        TriMesh mesh = flat_row(3);
        std::vector<TriMesh> sticks;
        std::string const printed = output_of(
            [&]
            {
                extract_sticks(mesh, {{0, 0, 0}}, {REACH_5}, sticks, true, false);
                extract_sticks(mesh, {{NOT_A_NUMBER, 0, 0}}, {REACH_5}, sticks, true, false);
                extract_sticks(mesh, {}, {}, sticks, true, false);
            });
        EXPECT_EQ(printed + log.text(), "");
        EXPECT_EQ(gPH.log_enabled, enabled);
    }
}

TEST(ExtractSticks, TimesEachStickAndTheStatistics)
{
    LogCapture const log;
    TriMesh mesh = flat_row(3);
    std::vector<TriMesh> sticks;
    gLH.clear_steps();
    extract_sticks(mesh, {{0, 0, 0}, {1, 0, 0}}, {REACH_5, REACH_5}, sticks, true, false);
    std::string const quiet = gLH.steps_as_json();
    EXPECT_THAT(quiet, HasSubstr("segment-stick"));
    EXPECT_THAT(quiet, testing::Not(HasSubstr("statistics-mesh")));
    output_of([&] { extract_sticks(mesh, {{0, 0, 0}}, {REACH_5}, sticks, true, true); });
    EXPECT_THAT(gLH.steps_as_json(), HasSubstr("statistics-mesh"));
    gLH.clear_steps();
}

// Scans

using ExtractSticksRealData = RealData;

TEST_F(ExtractSticksRealData, SticksAreThoseOfThePlainSearch)
{
    for (std::string const file : {"bun_zipper_res2.ply", "diana.ply", "lion_head.ply"})
    {
        TriMesh mesh;
        MeshReadReport report;
        ASSERT_TRUE(read_mesh(real_data("meshes_holes/" + file), mesh, report)) << report.error;
        double const size = diagonal(mesh);
        std::vector<Vector3f> seeds;
        std::vector<Vector2f> sizes;
        for (int const v : spread_vertices(mesh, 12))
        {
            seeds.push_back(mesh.point(vh(v)));
            sizes.emplace_back(static_cast<float>(0.04 * size), static_cast<float>(0.08 * size));
        }
        for (bool const positive_z : {true, false})
        {
            auto const sticks = cut(mesh, seeds, sizes, positive_z);
            std::size_t faces = 0;
            for (std::size_t i = 0; i < seeds.size(); ++i)
            {
                expect_stick(
                    mesh, sticks[i],
                    plain_stick(mesh, nearest_vertex(mesh, seeds[i]), sizes[i], positive_z));
                faces += sticks[i].n_faces();
            }
            EXPECT_GT(faces, 100U) << file;
        }
    }
}
