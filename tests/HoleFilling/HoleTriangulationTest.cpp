#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "tests/HoleFilling/hole_meshes.h"
#include "tests/support/array_watch.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <limits>

using namespace OrvaneAlgorithm;
using veld_test::HoleMesh;
using veld_test::LogCapture;
using veld_test::PolygonKind;
using veld_test::vh;

namespace
{

bool triangulate(HoleMesh& hole, HoleFillingCore const& core = {})
{
    return core.hole_triangulation(hole.mesh, hole.loop, hole.face_new);
}

/// Number of vertex properties that are live.
std::ptrdiff_t vertex_properties(TriMesh const& mesh)
{
    return std::count_if(mesh.vprops_begin(), mesh.vprops_end(),
                         [](auto const* property) { return property != nullptr; });
}

/// A random polygon as a mesh, and as the plain search takes it.
struct RandomHole
{
    HoleMesh mesh;
    veld_test::PlainPolygon polygon;

    RandomHole(PolygonKind kind, std::size_t n, std::mt19937& random)
    {
        std::vector<Vector3f> outer;
        for (std::size_t k = 0; k < n; ++k)
        {
            auto const corner = veld_test::random_corner(kind, k, n, random);
            polygon.points.push_back(corner.point);
            outer.push_back(corner.outer);
        }
        mesh = veld_test::mesh_around(polygon.points, outer);
        for (std::size_t k = 0; k < n; ++k)
        {
            polygon.normals.push_back(mesh.mesh.normal(OpenMesh::FaceHandle(static_cast<int>(k))));
        }
        polygon.edge_exist.assign(n * n, false);
    }
};

} // namespace

TEST(HoleTriangulation, AddsTheTrianglesOfThePlainSearchInItsOrder)
{
    std::mt19937 random(5);
    for (auto const kind : {PolygonKind::NOISY, PolygonKind::PLANAR, PolygonKind::WILD})
    {
        for (std::size_t n = 3; n <= 40; ++n)
        {
            RandomHole hole(kind, n, random);
            veld_test::PlainTriangulation const plain(hole.polygon, 1000.0F, false, 400);
            bool const fits = plain.weight_angle[n - 1] <= 179.5F;
            EXPECT_EQ(fits, triangulate(hole.mesh));
            auto const expected = fits ? plain.triangles() : std::vector<std::array<int, 3>>{};
            EXPECT_EQ(expected, hole.mesh.faces_from(n)) << n << " corners";
            EXPECT_EQ(static_cast<int>(expected.size()), hole.mesh.count_new());
        }
    }
}

TEST(HoleTriangulation, WeighsATriangleByItsNeighbours)
{
    std::mt19937 random(6);
    HoleFillingCore const core;
    for (auto const kind : {PolygonKind::NOISY, PolygonKind::WILD})
    {
        RandomHole hole(kind, 14, random);
        hole.polygon.join(2, 9);
        hole.polygon.join(3, 9);
        veld_test::PlainTriangulation const plain(hole.polygon, 1000.0F, false, 400);
        std::vector<OpenMesh::VertexHandle> verts;
        std::vector<OpenMesh::FaceHandle> faces;
        for (int k = 0; k < 14; ++k)
        {
            verts.emplace_back(k);
            faces.emplace_back(k);
        }
        for (int i = 0; i < 14; ++i)
        {
            for (int m = i + 1; m < 14; ++m)
            {
                for (int j = m + 1; j < 14; ++j)
                {
                    float angle = -1.0F;
                    float area = -1.0F;
                    core.calc_weight(hole.mesh.mesh, verts, faces, plain.lambda, i, m, j, angle,
                                     area, hole.polygon.edge_exist);
                    float plain_angle = 0.0F;
                    float plain_area = 0.0F;
                    plain.weigh(static_cast<std::size_t>(i), static_cast<std::size_t>(m),
                                static_cast<std::size_t>(j), plain_angle, plain_area);
                    ASSERT_EQ(plain_angle, angle);
                    ASSERT_EQ(plain_area, area);
                }
            }
        }
    }
}

TEST(HoleTriangulation, ClosesAHoleOfThreeEdges)
{
    // A regular tetrahedron without its base: the base meets the three others at 70.53 degrees, so
    // the normals turn by 109.47.
    float const r = std::sqrt(8.0F) / 3.0F;
    float const s = std::sqrt(3.0F) / 2.0F;
    auto hole = veld_test::hole_mesh(
        veld_test::make_mesh(
            {{0, 0, 1}, {r, 0, -1.0F / 3}, {-r / 2, r * s, -1.0F / 3}, {-r / 2, -r * s, -1.0F / 3}},
            {{0, 1, 2}, {0, 2, 3}, {0, 3, 1}}),
        2, 1);
    LogCapture const log;
    EXPECT_TRUE(triangulate(hole));
    EXPECT_EQ(4U, hole.mesh.n_faces());
    EXPECT_EQ(1, hole.count_new());
    for (auto const h : hole.mesh.halfedges())
    {
        EXPECT_FALSE(hole.mesh.is_boundary(h));
    }
    EXPECT_EQ(1, log.count("hole_triangulation() for hole with ( 3 ) vertices ..\n"));
    EXPECT_EQ(1,
              log.count("    Best weight (angle / area) of hole with ( 3 ) vertices:    109.47"));
}

TEST(HoleTriangulation, PrefersTheFlatDiagonalOfABentSquare)
{
    // A square whose corners 1 and 3 are up: the ridge from 1 to 3 turns away from its level
    // surroundings less than the valley from 0 to 2 does, or the other way round by symmetry; both
    // are computed here.
    std::vector<Vector3f> const points{{0, 0, 0}, {0, 2, 0.4F}, {2, 2, 0}, {2, 0, 0.9F}};
    std::vector<Vector3f> const outer{{-2, 1, 0}, {1, 4, 0}, {4, 1, 0}, {1, -2, 0}};
    auto hole = veld_test::mesh_around(points, outer);
    auto const normal = [&](int a, int b, int c)
    {
        auto const& p = points;
        auto const at = [&](int k) { return p[static_cast<std::size_t>(k)].cast<double>(); };
        return (at(b) - at(a)).cross(at(c) - at(a)).normalized().eval();
    };
    auto const turn = [&](Eigen::Vector3d const& u, Eigen::Vector3d const& v)
    { return std::acos(std::min(1.0, u.dot(v))); };
    auto const outside = [&](int k)
    { return hole.mesh.normal(OpenMesh::FaceHandle(k)).cast<double>().eval(); };
    double const along_02 =
        std::max({turn(normal(0, 1, 2), normal(0, 2, 3)), turn(normal(0, 1, 2), outside(0)),
                  turn(normal(0, 1, 2), outside(1)), turn(normal(0, 2, 3), outside(2)),
                  turn(normal(0, 2, 3), outside(3))});
    double const along_13 =
        std::max({turn(normal(0, 1, 3), normal(1, 2, 3)), turn(normal(0, 1, 3), outside(0)),
                  turn(normal(1, 2, 3), outside(1)), turn(normal(1, 2, 3), outside(2)),
                  turn(normal(0, 1, 3), outside(3))});
    ASSERT_GT(std::fabs(along_02 - along_13), 0.001);
    EXPECT_TRUE(triangulate(hole));
    auto const diagonal = hole.mesh.find_halfedge(vh(0), vh(2)).is_valid();
    EXPECT_EQ(along_02 < along_13, diagonal);
}

TEST(HoleTriangulation, RefusesALoopWithoutAFaceBeyondAndLeavesItsMarks)
{
    auto hole = veld_test::hole_mesh(veld_test::lone_triangle(), 0, 2);
    for (auto& h : hole.loop)
    {
        h = hole.mesh.opposite_halfedge_handle(h);
    }
    auto const properties = vertex_properties(hole.mesh);
    LogCapture const log;
    EXPECT_FALSE(triangulate(hole));
    EXPECT_EQ(1U, hole.mesh.n_faces());
    EXPECT_EQ(properties + 3, vertex_properties(hole.mesh));
    EXPECT_EQ(1, log.count("  !!!error: invalid face handle ["));
}

TEST(HoleTriangulation, TouchesNoArrayOfTheWholeMesh)
{
    auto hole = veld_test::hole_mesh(veld_test::open_cone(8), 2, 1);
    veld_test::ArrayWatch const watch(hole.mesh);
    EXPECT_TRUE(triangulate(hole));
    // Every property that is added makes the mesh size the others anew.
    EXPECT_EQ(0U, watch.vertices());
    EXPECT_EQ(6U, watch.faces()) << "the new ones";
}

TEST(HoleTriangulation, RemovesItsMarksAfterTheSetUp)
{
    auto hole = veld_test::hole_mesh(veld_test::open_cone(8), 2, 1);
    auto const properties = vertex_properties(hole.mesh);
    EXPECT_TRUE(triangulate(hole));
    EXPECT_EQ(properties, vertex_properties(hole.mesh));
}

TEST(HoleTriangulation, LeavesAHoleOpenThatOnlyAFoldCouldClose)
{
    // The lone triangle's outline: its own back side is all that would fit.
    auto hole = veld_test::hole_mesh(veld_test::lone_triangle(), 0, 2);
    LogCapture const log;
    EXPECT_FALSE(triangulate(hole));
    EXPECT_EQ(1U, hole.mesh.n_faces());
    EXPECT_EQ(1, log.count("    !!!skip hole with ( 3 ) vertices, dihedral angle =   180.0"));
}

TEST(HoleTriangulation, CountsEdgesThatAFaceBesideTheHoleHas)
{
    // The face beyond the side 0-1 of a hexagon ends at corner 3: 0-3 and 1-3 exist.
    std::mt19937 random(12);
    for (int k = 0; k < 20; ++k)
    {
        RandomHole hole(PolygonKind::NOISY, 6, random);
        TriMesh mesh;
        for (auto const v : hole.mesh.mesh.vertices())
        {
            mesh.add_vertex(hole.mesh.mesh.point(v));
        }
        mesh.add_face(vh(1), vh(0), vh(3));
        for (int side = 1; side < 6; ++side)
        {
            mesh.add_face(vh((side + 1) % 6), vh(side), vh(6 + side));
        }
        HoleMesh given = veld_test::hole_mesh(mesh, 0, 1);
        given.loop.clear();
        for (int side = 0; side < 6; ++side)
        {
            given.loop.push_back(given.mesh.find_halfedge(vh(side), vh((side + 1) % 6)));
            hole.polygon.normals[static_cast<std::size_t>(side)] =
                given.mesh.normal(given.mesh.opposite_face_handle(given.loop.back()));
        }
        hole.polygon.join(0, 3);
        hole.polygon.join(1, 3);
        veld_test::PlainTriangulation const plain(hole.polygon, 1000.0F, false, 400);

        LogCapture const log;
        EXPECT_EQ(plain.weight_angle[5] <= 179.5F, triangulate(given));
        char line[200];
        std::snprintf(line, sizeof line,
                      "    Best weight (angle / area) of hole with ( 6 ) vertices:    %f / %f\n",
                      static_cast<double>(plain.weight_angle[5]),
                      static_cast<double>(plain.weight_area[5]));
        EXPECT_EQ(1, log.count(line)) << log.text();
    }
}

TEST(HoleTriangulation, TakesAVertexThatIsPassedTwiceAsTwoCorners)
{
    // Two square holes that touch at one vertex, as one loop.
    auto hole = veld_test::hole_mesh(veld_test::pinched_pair(), 0, 5);
    auto& mesh = hole.mesh;
    hole.loop.clear();
    auto const walk = [&](std::vector<int> const& around)
    {
        for (std::size_t k = 0; k < around.size(); ++k)
        {
            hole.loop.push_back(
                mesh.find_halfedge(vh(around[k]), vh(around[(k + 1) % around.size()])));
        }
    };
    // 12 is the vertex in the middle.
    walk({12, 11, 6, 7});
    walk({12, 13, 18, 17});
    for (auto const h : hole.loop)
    {
        ASSERT_TRUE(mesh.is_boundary(h));
    }
    std::size_t const faces = mesh.n_faces();
    LogCapture const log;
    EXPECT_TRUE(triangulate(hole));
    EXPECT_EQ(1, log.count("   @@@complex hole (vert[12] appear 2 times) ["));
    // Six triangles; the two that would join the vertex with itself are dropped.
    EXPECT_EQ(faces + 4, mesh.n_faces());
    EXPECT_EQ(4, hole.count_new());
    EXPECT_FALSE(mesh.is_boundary(vh(12)));
}

TEST(HoleTriangulation, AddsNothingToALoopOfFewerThanThreeEdges)
{
    for (std::size_t const n : {0U, 1U, 2U})
    {
        auto hole = veld_test::hole_mesh(veld_test::open_cone(6), 2, 1);
        hole.loop.resize(n);
        EXPECT_TRUE(triangulate(hole));
        EXPECT_EQ(6U, hole.mesh.n_faces());
    }
}

TEST(HoleTriangulation, IsTheSameWithoutStoredNormals)
{
    auto hole = veld_test::open_sphere(veld_test::sphere(3), 0.5F);
    auto bare = hole;
    bare.mesh.release_face_normals();
    EXPECT_TRUE(triangulate(hole));
    EXPECT_TRUE(triangulate(bare));
    EXPECT_EQ(hole.faces_from(0), bare.faces_from(0));
}

TEST(HoleTriangulation, IsTheSameInParallelRegionsAndWithAnyNumberOfThreads)
{
    auto const hole = veld_test::open_sphere(veld_test::sphere(5), 0.3F);
    ASSERT_GT(hole.loop.size(), 100U);
    auto serial = hole;
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    EXPECT_TRUE(triangulate(serial));
    for (int const n : {2, 3, 8})
    {
        omp_set_num_threads(n);
        auto parallel = hole;
        EXPECT_TRUE(triangulate(parallel));
        EXPECT_EQ(serial.faces_from(0), parallel.faces_from(0)) << n << " threads";
    }
    std::array<HoleMesh, 4> copies{hole, hole, hole, hole};
#pragma omp parallel for num_threads(4)
    for (int k = 0; k < 4; ++k)
    {
        triangulate(copies[static_cast<std::size_t>(k)]);
    }
    omp_set_num_threads(threads);
    for (auto const& copy : copies)
    {
        EXPECT_EQ(serial.faces_from(0), copy.faces_from(0));
    }
}

TEST(HoleTriangulation, SurvivesCoordinatesThatAreNoNumbers)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    float const inf = std::numeric_limits<float>::infinity();
    for (float const bad : {nan, inf, -inf, 3e38F, 1e-40F})
    {
        auto hole = veld_test::hole_mesh(veld_test::open_cone(20), 2, 1);
        hole.mesh.set_point(vh(4), {bad, 0, bad});
        hole.mesh.set_point(vh(9), {1, bad, 0});
        hole.mesh.update_face_normals();
        triangulate(hole);
        EXPECT_LE(hole.mesh.n_faces(), 38U);
    }
}

TEST(FindBestWeight, AddsLeftOfTheSplitThenTheSplitThenRightOfIt)
{
    std::mt19937 random(8);
    RandomHole hole(PolygonKind::PLANAR, 6, random);
    std::vector<int> lambda(36, -1);
    lambda[0 * 6 + 5] = 3; // 0..5 at 3
    lambda[0 * 6 + 3] = 2; // 0..3 at 2
    std::vector<OpenMesh::VertexHandle> verts;
    for (int k = 0; k < 6; ++k)
    {
        verts.emplace_back(k);
    }
    HoleFillingCore const core;
    core.find_best_weight(hole.mesh.mesh, verts, lambda, 0, 5, hole.mesh.face_new);
    std::vector<std::array<int, 3>> const expected{{0, 1, 2}, {0, 2, 3}, {0, 3, 5}, {3, 4, 5}};
    EXPECT_EQ(expected, hole.mesh.faces_from(6));
}

TEST(FindBestWeight, GoesThroughAFanAsDeepAsThePolygonIsLong)
{
    int const n = 3000;
    std::mt19937 random(9);
    RandomHole hole(PolygonKind::PLANAR, n, random);
    std::vector<int> lambda(static_cast<std::size_t>(n) * n, -1);
    std::vector<OpenMesh::VertexHandle> verts;
    for (int k = 0; k < n; ++k)
    {
        verts.emplace_back(k);
        lambda[static_cast<std::size_t>(k)] = k - 1; // 0..k at k - 1
    }
    HoleFillingCore const core;
    core.find_best_weight(hole.mesh.mesh, verts, lambda, 0, n - 1, hole.mesh.face_new);
    EXPECT_EQ(n - 2, hole.mesh.count_new());
}

TEST(FindBestWeight, LeavesOpenWhatHasNoSplit)
{
    std::mt19937 random(10);
    RandomHole hole(PolygonKind::PLANAR, 6, random);
    std::vector<OpenMesh::VertexHandle> verts;
    for (int k = 0; k < 6; ++k)
    {
        verts.emplace_back(k);
    }
    HoleFillingCore const core;
    std::vector<int> const lambda(36, -1);
    core.find_best_weight(hole.mesh.mesh, verts, lambda, 0, 5, hole.mesh.face_new);
    core.find_best_weight(hole.mesh.mesh, verts, lambda, 2, 3, hole.mesh.face_new);
    EXPECT_EQ(0, hole.mesh.count_new());
}
