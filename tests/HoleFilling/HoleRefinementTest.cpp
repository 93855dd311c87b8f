#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "tests/HoleFilling/hole_meshes.h"
#include "tests/HoleFilling/plain_refinement.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

using namespace OrvaneAlgorithm;
using veld_test::area_of;
using veld_test::HoleMesh;
using veld_test::LogCapture;
using veld_test::vh;

namespace
{

bool refine(HoleMesh& hole, double long_edge, int rounds = 10)
{
    HoleFillingCore core;
    core.set_long_edge_thr(long_edge);
    core.set_refine_rounds(rounds);
    return core.hole_refinement_ex(hole.mesh, hole.face_new, hole.vert_new, hole.vert_boundary,
                                   hole.vert_edge_len);
}

/// Faces on points, all new.
HoleMesh new_faces(std::vector<Vector3f> const& points,
                   std::vector<veld_test::Triangle> const& triangles)
{
    HoleMesh hole;
    hole.mesh = veld_test::make_mesh(points, triangles);
    hole.add_flags();
    for (auto const f : hole.mesh.faces())
    {
        hole.mesh.property(hole.face_new, f) = true;
    }
    return hole;
}

/// A triangle with sides of about 10.
HoleMesh large_triangle()
{
    return new_faces({{0, 0, 0}, {10, 0, 0}, {5, 8.66F, 0}}, {{0, 1, 2}});
}

/// A square of side 1, with its diagonal from 0 to 2.
HoleMesh square(float move = 0.0F)
{
    return new_faces({{0, 0, 0}, {1, 0, 0}, {1 + move, 1 + move, 0}, {0, 1, 0}},
                     {{0, 1, 2}, {0, 2, 3}});
}

bool joined(HoleMesh const& hole, int a, int b)
{
    return hole.mesh.find_halfedge(vh(a), vh(b)).is_valid();
}

/// Moves every vertex by up to the given distance along each axis.
void shake(TriMesh& mesh, float distance, unsigned int seed)
{
    std::mt19937 random(seed);
    auto const step = [&] { return (static_cast<float>(random() % 2001U) / 1000.0F - 1.0F); };
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, mesh.point(v) + distance * Vector3f(step(), step(), step()));
    }
}

/// Refines a copy as plainly as it is described, and expects the same links, coordinates and marks
/// of the operation. \return what the plain way did
veld_test::PlainRefinement expect_plain_result(HoleMesh const& before, double long_edge, int rounds)
{
    HoleMesh expected = before;
    veld_test::PlainRefinement plain(expected, long_edge);
    plain.run(rounds);
    HoleMesh hole = before;
    EXPECT_TRUE(refine(hole, long_edge, rounds));
    EXPECT_TRUE(veld_test::fingerprint(expected.mesh) == veld_test::fingerprint(hole.mesh));
    auto const marks = [](HoleMesh const& h)
    {
        return std::make_tuple(h.mesh.property(h.face_new).data_vector(),
                               h.mesh.property(h.vert_new).data_vector(),
                               h.mesh.property(h.vert_boundary).data_vector());
    };
    EXPECT_EQ(marks(expected), marks(hole));
    return plain;
}

} // namespace

TEST(HoleRefinement, SplitsACoarseFaceAtItsCentroid)
{
    auto hole = large_triangle();
    LogCapture const log;
    EXPECT_TRUE(refine(hole, 9.0, 1));
    ASSERT_EQ(4U, hole.mesh.n_vertices());
    EXPECT_EQ(3U, hole.mesh.n_faces());
    EXPECT_EQ(3, hole.count_new());
    EXPECT_TRUE(hole.mesh.property(hole.vert_new, vh(3)));
    EXPECT_FALSE(hole.mesh.property(hole.vert_boundary, vh(3)));
    EXPECT_NEAR(0.0, (hole.mesh.point(vh(3)) - Vector3f(5, 2.886667F, 0)).norm(), 1e-5);
    EXPECT_EQ(1, log.count("hole_refinement_ex() ..\n"));
    EXPECT_EQ(1, log.count("  start garbage_collection() ..\n"));
}

TEST(HoleRefinement, LeavesAFaceWhoseCentroidIsNearACorner)
{
    // The corners are 5.77 from the centroid: half of the limit has to fit in between.
    auto hole = large_triangle();
    EXPECT_TRUE(refine(hole, 9.99));
    EXPECT_GT(hole.mesh.n_faces(), 1U);
    auto flat = new_faces({{0, 0, 0}, {10, 0, 0}, {9, 0.1F, 0}}, {{0, 1, 2}});
    EXPECT_TRUE(refine(flat, 8.0));
    EXPECT_EQ(1U, flat.mesh.n_faces());
}

TEST(HoleRefinement, LeavesAFaceWithOneLongEdgeOnly)
{
    auto hole = new_faces({{0, 0, 0}, {10, 0, 0}, {5, 1, 0}}, {{0, 1, 2}});
    EXPECT_TRUE(refine(hole, 6.0));
    EXPECT_EQ(1U, hole.mesh.n_faces());
}

TEST(HoleRefinement, CountsAnEdgeOfJustTheLimitAsShort)
{
    auto hole = new_faces({{0, 0, 0}, {3, 0, 0}, {0, 4, 0}}, {{0, 1, 2}}); // sides 3, 4 and 5
    EXPECT_TRUE(refine(hole, 4.0, 1));
    EXPECT_EQ(1U, hole.mesh.n_faces());
    // Just below 4, two edges are long, but the corner at the right angle is 1.67 from the
    // centroid; that is less than half.
    EXPECT_TRUE(refine(hole, 3.9, 1));
    EXPECT_EQ(1U, hole.mesh.n_faces());
    EXPECT_TRUE(refine(hole, 3.3, 1));
    EXPECT_EQ(3U, hole.mesh.n_faces());
}

TEST(HoleRefinement, LeavesOldFacesAlone)
{
    auto hole = large_triangle();
    hole.mesh.property(hole.face_new, OpenMesh::FaceHandle(0)) = false;
    EXPECT_TRUE(refine(hole, 1.0));
    EXPECT_EQ(1U, hole.mesh.n_faces());

    auto bent = square();
    bent.mesh.property(bent.face_new, OpenMesh::FaceHandle(1)) = false;
    EXPECT_TRUE(refine(bent, 100.0, 1));
    EXPECT_TRUE(joined(bent, 0, 2));
}

TEST(HoleRefinement, LetsFacesOfARoundWaitForTheNext)
{
    // One split a round: the three faces around the centroid are coarse for a limit of 3 too.
    auto hole = large_triangle();
    EXPECT_TRUE(refine(hole, 3.0, 1));
    EXPECT_EQ(3U, hole.mesh.n_faces());
    EXPECT_TRUE(refine(hole, 3.0, 1));
    EXPECT_EQ(9U, hole.mesh.n_faces());
}

TEST(HoleRefinement, FlipsToTheBetterDiagonalOnce)
{
    // The corner 2 is pulled out: the diagonal from 0 to 2 is the long one.
    auto hole = square(1.5F);
    EXPECT_TRUE(refine(hole, 100.0, 1));
    EXPECT_FALSE(joined(hole, 0, 2));
    EXPECT_TRUE(joined(hole, 1, 3));
    EXPECT_TRUE(refine(hole, 100.0, 10));
    EXPECT_TRUE(joined(hole, 1, 3));
}

TEST(HoleRefinement, FlipsTheDiagonalOfASquareAtEveryVisit)
{
    for (int rounds = 0; rounds < 4; ++rounds)
    {
        auto hole = square();
        EXPECT_TRUE(refine(hole, 100.0, rounds));
        EXPECT_EQ(rounds % 2 == 0, joined(hole, 0, 2)) << rounds << " rounds";
    }
}

TEST(HoleRefinement, DoesNotFlipAnEdgeWhoseOtherDiagonalExists)
{
    // A tetrahedron has all its edges already.
    auto hole = new_faces({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                          {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}});
    auto const before = hole.faces_from(0);
    EXPECT_TRUE(refine(hole, 100.0));
    EXPECT_EQ(before, hole.faces_from(0));
}

TEST(HoleRefinement, LeavesNoStatusAndNoDeletedElementBehind)
{
    auto hole = large_triangle();
    EXPECT_TRUE(refine(hole, 2.0));
    EXPECT_FALSE(hole.mesh.has_vertex_status());
    EXPECT_FALSE(hole.mesh.has_face_status());
    EXPECT_FALSE(hole.mesh.has_edge_status());
    EXPECT_FALSE(hole.mesh.has_halfedge_status());
    EXPECT_EQ(hole.count_new(), static_cast<int>(hole.mesh.n_faces()));
    // Euler: a disc.
    EXPECT_EQ(hole.mesh.n_vertices() + hole.mesh.n_faces(), hole.mesh.n_edges() + 1);
    EXPECT_NEAR(43.3, area_of(hole.mesh), 1e-3);
}

TEST(HoleRefinement, FitsAFillToTheEdgesAroundItAndNothingElse)
{
    auto hole = veld_test::open_sphere(veld_test::sphere(4), 0.6F);
    std::size_t const old_vertices = hole.mesh.n_vertices();
    std::vector<Vector3f> points;
    for (auto const v : hole.mesh.vertices())
    {
        points.push_back(hole.mesh.point(v));
    }
    auto const old_faces = hole.faces_from(0);
    HoleFillingCore core;
    ASSERT_TRUE(core.hole_triangulation(hole.mesh, hole.loop, hole.face_new));
    double const long_edge = 1.5 * 0.11;
    ASSERT_TRUE(refine(hole, long_edge));

    EXPECT_GT(hole.mesh.n_vertices(), old_vertices + 20);
    for (std::size_t v = 0; v < hole.mesh.n_vertices(); ++v)
    {
        auto const handle = vh(static_cast<int>(v));
        EXPECT_EQ(v >= old_vertices, hole.mesh.property(hole.vert_new, handle));
        if (v < old_vertices)
        {
            EXPECT_EQ(points[v], hole.mesh.point(handle));
        }
    }
    std::set<std::array<int, 3>> kept;
    for (auto const f : hole.mesh.faces())
    {
        std::array<int, 3> corners{};
        std::size_t k = 0;
        for (auto const v : hole.mesh.fv_range(f))
        {
            corners[k++] = v.idx();
        }
        if (!hole.mesh.property(hole.face_new, f))
        {
            kept.insert(corners);
        }
    }
    EXPECT_EQ(std::set(old_faces.begin(), old_faces.end()), kept);
    for (auto const h : hole.mesh.halfedges())
    {
        EXPECT_FALSE(hole.mesh.is_boundary(h) &&
                     hole.mesh.from_vertex_handle(h).idx() >= static_cast<int>(old_vertices));
    }
}

TEST(HoleRefinement, RunsNoRoundIfToldSo)
{
    auto hole = large_triangle();
    EXPECT_TRUE(refine(hole, 1.0, 0));
    EXPECT_EQ(1U, hole.mesh.n_faces());
}

TEST(HoleRefinement, DoesToFillsWhatAPlainOneDoes)
{
    int splits = 0;
    int flips = 0;
    for (unsigned int seed = 0; seed < 30; ++seed)
    {
        SCOPED_TRACE(seed);
        auto sphere = veld_test::sphere(3 + static_cast<int>(seed % 2));
        shake(sphere, seed % 3 == 0 ? 0.0F : 0.02F, seed);
        auto hole = veld_test::open_sphere(sphere, 0.3F + 0.05F * static_cast<float>(seed % 8));
        HoleFillingCore core;
        ASSERT_TRUE(core.hole_triangulation(hole.mesh, hole.loop, hole.face_new));
        int const rounds = 1 + static_cast<int>(seed % 10);
        auto const plain = expect_plain_result(hole, 0.08 + 0.02 * (seed % 5), rounds);
        splits += plain.splits();
        flips += plain.flips();
    }
    EXPECT_GT(splits, 1000);
    EXPECT_GT(flips, 1000);
}

TEST(HoleRefinement, DoesToFacesOfAllKindsWhatAPlainOneDoes)
{
    for (unsigned int seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        // Right angles in a lattice flip at every visit, shaken ones now and then, and where all
        // is folded some diagonals exist already.
        HoleMesh hole;
        hole.mesh = veld_test::grid(4, 5);
        shake(hole.mesh, seed % 4 == 0 ? 0.0F : 0.4F * static_cast<float>(seed % 4), seed);
        hole.add_flags();
        std::mt19937 random(seed);
        for (auto const f : hole.mesh.faces())
        {
            hole.mesh.property(hole.face_new, f) = random() % 5U != 0U;
        }
        expect_plain_result(hole, 0.3 + 0.2 * (seed % 6), 10);
    }
}

TEST(SwapEdge, TellsWhetherItFlipped)
{
    HoleFillingCore const core;
    auto hole = square(1.5F);
    auto h = hole.mesh.find_halfedge(vh(0), vh(2));
    auto a = vh(0);
    auto b = vh(2);
    OpenMesh::HalfedgeHandle across = h;
    OpenMesh::FaceHandle f = hole.mesh.opposite_face_handle(h);
    auto c = hole.mesh.to_vertex_handle(
        hole.mesh.next_halfedge_handle(hole.mesh.opposite_halfedge_handle(h)));
    EXPECT_TRUE(core.swap_edge(hole.mesh, hole.face_new, f, across, a, b, c));
    EXPECT_TRUE(joined(hole, 1, 3));

    // Nothing lies beyond a border edge.
    auto border = hole.mesh.find_halfedge(vh(1), vh(0));
    ASSERT_TRUE(hole.mesh.is_boundary(border));
    f = hole.mesh.opposite_face_handle(border);
    a = vh(0);
    b = vh(1);
    c = vh(3);
    EXPECT_FALSE(core.swap_edge(hole.mesh, hole.face_new, f, border, a, b, c));
}
