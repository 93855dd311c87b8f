#include "algorithmVeld/reconstruction/frames/BorderFilter.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::DeletionScope;
using detail::EdgeWalk;

namespace
{

int delete_long(TriMesh& mesh, double length, EdgeWalk walk)
{
    DeletionScope const scope(mesh);
    int const deleted = detail::delete_long_border_edges(mesh, length, walk);
    mesh.garbage_collection(true, true, true);
    return deleted;
}

int delete_thin(TriMesh& mesh)
{
    DeletionScope const scope(mesh);
    int const deleted = detail::delete_thin_border_vertices(mesh);
    mesh.garbage_collection(true, true, true);
    return deleted;
}

int delete_lone(TriMesh& mesh)
{
    DeletionScope const scope(mesh);
    int const deleted = detail::delete_lone_faces(mesh);
    mesh.garbage_collection(true, true, true);
    return deleted;
}

// The triangle goes with its first edge; its other two edges are deleted with it, are borders all
// the same, and are counted where the walk does not pass them over.
TEST(BorderFilter, LoneTriangleOfLongEdgesCountsThreeOrOne)
{
    TriMesh all = lone_triangle();
    EXPECT_EQ(delete_long(all, 0.5, EdgeWalk::ALL), 3);
    EXPECT_EQ(all.n_faces(), 0U);
    EXPECT_EQ(all.n_edges(), 0U);
    EXPECT_EQ(all.n_vertices(), 3U) << "vertices without faces stay";

    TriMesh live = lone_triangle();
    EXPECT_EQ(delete_long(live, 0.5, EdgeWalk::LIVE), 1);
    EXPECT_EQ(live.n_faces(), 0U);
}

TEST(BorderFilter, EdgeAsLongAsTheLimitStays)
{
    TriMesh mesh = lone_triangle();
    // Two edges of length 1 and one of the root of 2.
    EXPECT_EQ(delete_long(mesh, static_cast<double>(std::sqrt(2.0F)), EdgeWalk::ALL), 0);
    EXPECT_EQ(mesh.n_faces(), 1U);
    EXPECT_EQ(delete_long(mesh, 1.0, EdgeWalk::ALL), 1);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(BorderFilter, EdgesWithoutFacesGoAsAWhole)
{
    TriMesh by_length = grid(2, 2);
    add_lone_edge(by_length, {5, 0, 0}, {9, 0, 0});
    EXPECT_EQ(delete_long(by_length, 3.0, EdgeWalk::ALL), 1);
    EXPECT_EQ(by_length.n_vertices(), 11U);
    EXPECT_TRUE(by_length.is_isolated(vh(9)));
    EXPECT_TRUE(by_length.is_isolated(vh(10)));
    EXPECT_TRUE(by_length.is_legal());

    TriMesh thin = grid(2, 2);
    add_lone_edge(thin, {5, 0, 0}, {9, 0, 0});
    TriMesh expected = grid(2, 2);
    EXPECT_EQ(delete_thin(thin), delete_thin(expected) + 2);
    EXPECT_EQ(fingerprint(thin), fingerprint(expected));
    EXPECT_TRUE(thin.is_legal());
}

TEST(BorderFilter, InnerEdgesStayHoweverLong)
{
    // The rim of a flat cone has short edges, those to its apex are inner ones.
    TriMesh mesh = open_cone(20);
    auto const before = fingerprint(mesh);
    EXPECT_EQ(delete_long(mesh, 0.5, EdgeWalk::ALL), 0);
    EXPECT_EQ(fingerprint(mesh), before);
}

// A strip of four triangles between short borders, with long edges across. Edges are numbered as
// the faces bring them.
std::vector<Vector3f> strip_points()
{
    std::vector<Vector3f> points;
    for (int i = 0; i < 8; ++i)
    {
        points.emplace_back(0.5F * static_cast<float>(i % 4), i < 4 ? 0.0F : 3.0F, 0.0F);
    }
    return points;
}

TEST(BorderFilter, RunOfLongTrianglesIsEatenAsFarAsTheOrderOfTheEdgesAllows)
{
    // The end of the strip, 4-0, is the first edge; each next one across comes behind the one that
    // uncovers it.
    std::vector<Triangle> const faces{{4, 0, 1}, {1, 5, 4}, {1, 2, 5}, {2, 6, 5}};
    TriMesh live = make_mesh(strip_points(), faces);
    EXPECT_EQ(delete_long(live, 1.0, EdgeWalk::LIVE), 4);
    EXPECT_EQ(live.n_faces(), 0U);
    // The other end, 2-6, goes with the last face and is met after that.
    TriMesh all = make_mesh(strip_points(), faces);
    EXPECT_EQ(delete_long(all, 1.0, EdgeWalk::ALL), 5);
    EXPECT_EQ(all.n_faces(), 0U);
}

TEST(BorderFilter, EdgeUncoveredBehindThePassStays)
{
    // Here 4-0 comes behind 1-4, which it uncovers; at the other end 2-6 comes behind 2-5.
    TriMesh mesh = make_mesh(strip_points(), {{0, 1, 4}, {1, 5, 4}, {1, 2, 5}, {2, 6, 5}});
    EXPECT_EQ(delete_long(mesh, 1.0, EdgeWalk::ALL), 2);
    EXPECT_EQ(mesh.n_faces(), 2U);
    EXPECT_TRUE(mesh.is_boundary(mesh.edge_handle(mesh.find_halfedge(vh(1), vh(4)))));
}

TEST(BorderFilter, TipOfASpikeGoesWithItsFace)
{
    // The grid's lower left and upper right corners have one face and two neighbours each, or two
    // faces and three; a triangle on the right side sticks out as a spike.
    TriMesh mesh = grid(3, 3);
    auto const tip = mesh.add_vertex(Vector3f(4, 1.5F, 0));
    mesh.add_face(vh(7), tip, vh(11));
    auto const faces = mesh.n_faces();
    // Corners with two neighbours: vertex 3 and vertex 12, and the tip.
    EXPECT_EQ(delete_thin(mesh), 3);
    EXPECT_EQ(mesh.n_faces(), faces - 3);
    EXPECT_EQ(mesh.n_vertices(), 14U);
}

TEST(BorderFilter, NeighboursAreCountedBeforehandSoThatTheRemovalDoesNotSpread)
{
    // Two triangles: the corners with two neighbours take both faces with them. The two vertices
    // of the diagonal had three neighbours; they stay, without faces.
    TriMesh mesh = grid(1, 1);
    EXPECT_EQ(delete_thin(mesh), 2);
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_vertices(), 2U);
    // Next time they are isolated, which counts as a border with no neighbours.
    EXPECT_EQ(delete_thin(mesh), 2);
    EXPECT_EQ(mesh.n_vertices(), 0U);
}

TEST(BorderFilter, InnerVertexWithTwoNeighboursStays)
{
    // A triangle and its back: two neighbours each, but no border.
    TriMesh mesh = lone_triangle();
    mesh.add_face(vh(0), vh(2), vh(1));
    EXPECT_EQ(delete_thin(mesh), 0);
    EXPECT_EQ(mesh.n_faces(), 2U);
}

TEST(BorderFilter, FaceThatHangsAtItsCornersOnlyGoes)
{
    // A triangle between three others that it touches at its corners: every corner has more than
    // two neighbours, and no edge a second face.
    TriMesh mesh = make_mesh({{0, 0, 0},
                              {2, 0, 0},
                              {1, 2, 0},
                              {-1, -1, 0},
                              {0, -1, 0},
                              {2, -1, 0},
                              {3, -1, 0},
                              {1, 3, 0},
                              {0, 3, 0}},
                             {{0, 1, 2}, {0, 3, 4}, {1, 5, 6}, {2, 7, 8}});
    EXPECT_EQ(delete_lone(mesh), 4) << "each of the four has no face across an edge";
    TriMesh pair = grid(1, 1);
    EXPECT_EQ(delete_lone(pair), 0);
    EXPECT_EQ(pair.n_faces(), 2U);
}

TEST(BorderFilter, DeletedElementsAreNotTouchedAgain)
{
    TriMesh mesh = lone_triangle();
    DeletionScope const scope(mesh);
    mesh.delete_face(OpenMesh::FaceHandle(0), true);
    EXPECT_EQ(detail::delete_thin_border_vertices(mesh), 0);
    EXPECT_EQ(detail::delete_lone_faces(mesh), 0);
}

TEST(BorderFilter, NothingGoesFromAnEmptyMesh)
{
    TriMesh mesh;
    EXPECT_EQ(delete_long(mesh, 0.0, EdgeWalk::ALL), 0);
    EXPECT_EQ(delete_thin(mesh), 0);
    EXPECT_EQ(delete_lone(mesh), 0);
}

} // namespace
