#include "algorithmVeld/hole_detection/FindHoles.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/meshes.h"

#include <random>

/// \file
/// How walks round the boundary are split, compared with a plain search on random input, and that
/// no mesh can make them go on for ever.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A mesh without faces whose halfedges with even indices form one closed walk through the given
/// vertices, and those with odd indices the same walk the other way round.
TriMesh walk_through(std::vector<int> const& vertices, int n_vertices)
{
    TriMesh mesh;
    for (int i = 0; i < n_vertices; ++i)
    {
        mesh.add_vertex({static_cast<float>(i), 0.0F, 0.0F});
    }
    int const n = static_cast<int>(vertices.size());
    auto const vertex = [&](int i) { return vh(vertices[static_cast<std::size_t>(i % n)]); };
    for (int i = 0; i < n; ++i)
    {
        mesh.new_edge(vertex(i), vertex(i + 1));
    }
    for (int i = 0; i < n; ++i)
    {
        int const next = (i + 1) % n;
        mesh.set_next_halfedge_handle(HalfedgeHandle(2 * i), HalfedgeHandle(2 * next));
        mesh.set_next_halfedge_handle(HalfedgeHandle(2 * next + 1), HalfedgeHandle(2 * i + 1));
    }
    return mesh;
}

Holes holes_of(TriMesh& mesh)
{
    Holes holes;
    FindHolesEx::find_holes(mesh, holes, false);
    return holes;
}

/// A cone whose boundary is linked so that it never comes back to where most walks start.
TriMesh cone_with_link(int from, int to)
{
    TriMesh mesh = open_cone(8);
    auto const walk = plain_walks(mesh).front();
    mesh.set_next_halfedge_handle(walk[static_cast<std::size_t>(from)],
                                  walk[static_cast<std::size_t>(to)]);
    return mesh;
}

} // namespace

TEST(BoundaryWalks, FigureEightGivesTheLoopThatClosesFirstFirst)
{
    // 0 1 2 0 3 4: back at 0 the loop 0 1 2 closes; the path goes on from 0.
    TriMesh mesh = walk_through({0, 1, 2, 0, 3, 4}, 5);
    auto const holes = indices(holes_of(mesh));
    ASSERT_EQ(holes.size(), 4U);
    EXPECT_EQ(holes[0], (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(holes[1], (std::vector<int>{0, 3, 4}));
}

TEST(BoundaryWalks, NestedLoopsComeFromTheInsideOut)
{
    // 0 [1 (2 3) 2 4] 1 5: the loop at 2 closes first, then the one at 1 without it, then the rest.
    TriMesh mesh = walk_through({0, 1, 2, 3, 2, 4, 1, 5}, 6);
    auto const holes = indices(holes_of(mesh));
    ASSERT_GE(holes.size(), 3U);
    EXPECT_EQ(holes[0], (std::vector<int>{2, 3}));
    EXPECT_EQ(holes[1], (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(holes[2], (std::vector<int>{0, 1, 5}));
}

TEST(BoundaryWalks, AVertexThatIsPassedThreeTimesStartsTwoLoopsAndStaysInTheRest)
{
    TriMesh mesh = walk_through({9, 0, 1, 2, 0, 3, 4, 0, 5}, 10);
    auto const holes = indices(holes_of(mesh));
    ASSERT_GE(holes.size(), 3U);
    EXPECT_EQ(holes[0], (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(holes[1], (std::vector<int>{0, 3, 4}));
    EXPECT_EQ(holes[2], (std::vector<int>{9, 0, 5}));
}

TEST(BoundaryWalks, RandomWalksAreSplitLikeThePlainSearchDoes)
{
    std::mt19937 random(20240607);
    for (int round = 0; round < 4000; ++round)
    {
        int const n_vertices = 1 + static_cast<int>(random() % 12);
        std::vector<int> vertices(1 + random() % 40);
        for (int& v : vertices)
        {
            v = static_cast<int>(random() % static_cast<unsigned>(n_vertices));
        }
        TriMesh mesh = walk_through(vertices, n_vertices);
        ASSERT_EQ(indices(holes_of(mesh)), indices(plain_holes(mesh))) << "round " << round;
    }
}

TEST(BoundaryWalks, RandomPatchesAreSplitLikeThePlainSearchDoes)
{
    std::mt19937 random(4711);
    for (int round = 0; round < 200; ++round)
    {
        std::vector<Cell> missing;
        for (int i = 0; i < 50; ++i)
        {
            missing.emplace_back(random() % 12, random() % 12);
        }
        TriMesh mesh = grid_without(12, 12, missing);
        auto const holes = holes_of(mesh);
        ASSERT_EQ(indices(holes), indices(plain_holes(mesh))) << "round " << round;
        ASSERT_TRUE(all_simple(holes));
        ASSERT_EQ(edges_of(holes), boundary_edges(mesh));
    }
}

TEST(BoundaryWalks, AWalkOfAHundredThousandRepeatedVerticesIsSplitInNoTime)
{
    // A flower of many petals at vertex 0, and a path that comes back from its far end.
    std::vector<int> vertices;
    int const n = 50000;
    for (int i = 1; i <= n; ++i)
    {
        vertices.push_back(0);
        vertices.push_back(i);
    }
    TriMesh mesh = walk_through(vertices, n + 1);
    auto const holes = holes_of(mesh);
    ASSERT_EQ(holes.size(), 2U * n);
    for (auto const& hole : holes)
    {
        ASSERT_EQ(hole.size(), 2U);
    }
}

TEST(BoundaryWalks, DeletedHalfedgesStartNoWalk)
{
    TriMesh mesh = grid(3, 3);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_face_status();
    // The two triangles of the middle cell; their common edge goes with them.
    mesh.delete_face(OpenMesh::FaceHandle(8), false);
    mesh.delete_face(OpenMesh::FaceHandle(9), false);
    auto const holes = holes_of(mesh);
    ASSERT_EQ(holes.size(), 2U);
    EXPECT_EQ(indices(holes), indices(plain_holes(mesh)));
    EXPECT_EQ(std::set<int>({5, 6, 9, 10}), (std::set<int>{holes[1][0].idx(), holes[1][1].idx(),
                                                           holes[1][2].idx(), holes[1][3].idx()}));
    // With everything deleted there is nothing left to find.
    for (auto const f : mesh.all_faces())
    {
        if (!mesh.status(f).deleted())
        {
            mesh.delete_face(f, false);
        }
    }
    EXPECT_TRUE(holes_of(mesh).empty());
}

TEST(BoundaryWalks, DeletedHalfedgesStartNoWalkWithoutAStatusOfTheirOwn)
{
    // Deleting faces needs the status of the other three only.
    TriMesh mesh = grid(3, 3);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    auto const holes = holes_of(mesh);
    // The corner's diagonal takes the place of its two outer edges.
    ASSERT_EQ(holes.size(), 1U);
    EXPECT_EQ(holes[0].size(), 13U);
}

TEST(BoundaryWalks, HiddenHalfedgesStartNoWalk)
{
    TriMesh mesh = grid_with_hole(1);
    mesh.request_halfedge_status();
    ASSERT_EQ(holes_of(mesh).size(), 2U);
    auto const walks = plain_walks(mesh);
    for (auto const h : walks[1])
    {
        mesh.status(h).set_hidden(true);
    }
    EXPECT_EQ(holes_of(mesh).size(), 1U);
    EXPECT_EQ(indices(holes_of(mesh)), indices(plain_holes(mesh)));
}

TEST(BoundaryWalks, IsolatedVerticesAreNoHoles)
{
    TriMesh mesh;
    mesh.add_vertex({0, 0, 0});
    mesh.add_vertex({1, 0, 0});
    EXPECT_TRUE(holes_of(mesh).empty());
    TriMesh with_triangle = lone_triangle();
    with_triangle.add_vertex({5, 5, 5});
    EXPECT_EQ(holes_of(with_triangle).size(), 1U);
}

TEST(BoundaryWalks, ABoundaryThatIsNotClosedIsLeftOut)
{
    for (auto const& [from, to] : {std::pair{3, 1}, {3, 6}, {0, 0}, {7, 4}})
    {
        TriMesh mesh = cone_with_link(from, to);
        EXPECT_TRUE(holes_of(mesh).empty()) << from << " -> " << to;
        Holes holes;
        EXPECT_EQ(FindHoles::find_holes(mesh, holes, false), RET_SUCCESS);
        EXPECT_TRUE(holes.empty());
        std::vector<VertexHandle> hole{vh(0)};
        for (int i = 1; i <= 8; ++i)
        {
            RetVal const result = FindHolesEx::find_hole(mesh, mesh.point(vh(i)), 0.1, hole, false);
            EXPECT_EQ(result, RET_FAILED);
            EXPECT_EQ(indices(hole), std::vector<int>{0});
        }
    }
}

TEST(BoundaryWalks, LinksOutOfRangeAreNotFollowed)
{
    TriMesh mesh = open_cone(5);
    auto const walk = plain_walks(mesh).front();
    // Linking to a halfedge far outside writes its back link, so room is made for it and taken
    // away.
    TriMesh broken = mesh;
    auto const extra = broken.new_edge(vh(1), vh(2));
    broken.set_next_halfedge_handle(walk[2], extra);
    Holes const damaged = holes_of(broken);
    EXPECT_TRUE(damaged.empty());
    broken.set_vertex_handle(walk[2], VertexHandle(1000));
    broken.set_next_halfedge_handle(walk[2], walk[3]);
    EXPECT_TRUE(holes_of(broken).empty());
}

TEST(BoundaryWalks, OneDamagedBoundaryLeavesTheOthers)
{
    TriMesh mesh = grid_with_hole(2);
    auto const walks = plain_walks(mesh);
    ASSERT_EQ(walks.size(), 2U);
    auto const& inner = walks[1].size() == 8 ? walks[1] : walks[0];
    mesh.set_next_halfedge_handle(inner[2], inner[1]);
    auto const holes = holes_of(mesh);
    ASSERT_EQ(holes.size(), 1U);
    EXPECT_EQ(holes[0].size(), 16U);
}

TEST(BoundaryWalks, AWalkThatRunsIntoAnotherIsLeftOutAndEnds)
{
    // The walk of a bow tie is 1 0 4 3 0 2. Linked from 1 -> 0 straight to 0 -> 2, the triangle
    // 1 0 2 closes, and 0 -> 4 -> 3 -> 0 runs into it.
    TriMesh mesh = bow_tie();
    auto const walk = plain_walks(mesh).front();
    ASSERT_EQ(walk.size(), 6U);
    mesh.set_next_halfedge_handle(walk[0], walk[4]);
    EXPECT_EQ(indices(holes_of(mesh)), (std::vector<std::vector<int>>{{1, 0, 2}}));
    std::vector<VertexHandle> hole;
    EXPECT_EQ(FindHolesEx::find_hole(mesh, mesh.point(vh(4)), 0.1, hole, false), RET_FAILED);
    EXPECT_EQ(FindHolesEx::find_hole(mesh, mesh.point(vh(1)), 0.1, hole, false), RET_SUCCESS);
    EXPECT_EQ(indices(hole), (std::vector<int>{1, 0, 2}));
}
