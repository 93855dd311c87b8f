#include "algorithmVeld/cleanup/VertexEditor.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "dirty_meshes.h"
#include "reference_cleanup.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/sanitizers.h"
#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

void clean(TriMesh& mesh)
{
    EXPECT_EQ(VertexEditor::remove_non_manifold_verts(mesh, false), RET_SUCCESS);
}

} // namespace

TEST(NonManifoldVerts, ClosedMeshesAndOrdinaryHolesComeBackUnchanged)
{
    for (TriMesh mesh : {sphere(2), tetrahedron(), grid(5, 4), grid_with_hole(3), open_cone(7),
                         lone_triangle(), strip(9)})
    {
        auto const before = fingerprint(mesh);
        clean(mesh);
        EXPECT_EQ(fingerprint(mesh), before);
    }
}

TEST(NonManifoldVerts, TwoTrianglesThatShareOnlyAVertexVanishWhole)
{
    TriMesh mesh = bow_tie();
    clean(mesh);
    EXPECT_EQ(mesh.n_faces() + mesh.n_edges() + mesh.n_vertices(), 0U);
}

TEST(NonManifoldVerts, HolesThatTouchAtAVertexBecomeOneHole)
{
    // Of the two cells between the holes each loses the triangle at the shared corner.
    TriMesh mesh = pinched_pair();
    clean(mesh);
    EXPECT_EQ(mesh.n_faces(), 26U);
    EXPECT_EQ(mesh.n_vertices(), 24U);
    EXPECT_EQ(count_pinched(mesh), 0);
    EXPECT_EQ(count_loops(mesh), 2); // the hole and the rim
}

// Counts are taken once, before anything is deleted. The first deletion leaves the next vertex of
// the chain with one gap only, and it goes all the same.
TEST(NonManifoldVerts, AChainOfTrianglesVanishesWhole)
{
    for (int const faces : {2, 3, 4, 9, 10})
    {
        TriMesh mesh = chain(faces);
        EXPECT_EQ(count_pinched(mesh), faces - 1);
        clean(mesh);
        EXPECT_EQ(mesh.n_faces() + mesh.n_vertices(), 0U) << faces;
    }
}

TEST(NonManifoldVerts, ARemovalThatSplitsAFanTakesTheNextVertexToo)
{
    // A fan of four triangles round vertex 0, and a triangle that hangs on vertex 3, the middle of
    // its rim. Without vertex 3 the first and the last triangle share vertex 0 alone.
    std::vector<Vector3f> const points{{0, 0, 0},  {2, 0, 0},  {2, 2, 0}, {0, 2, 0},
                                       {-2, 2, 0}, {-2, 0, 0}, {1, 4, 0}, {-1, 4, 0}};
    std::vector<Triangle> const fan{{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 5}, {3, 6, 7}};
    TriMesh mesh = make_mesh(points, fan);
    EXPECT_EQ(gaps_of(mesh), (std::vector<int>{1, 1, 1, 2, 1, 1, 1, 1}));
    clean(mesh);
    EXPECT_EQ(mesh.n_faces() + mesh.n_vertices(), 0U);

    // With one triangle more on each side of the fan those two stay.
    auto more = points;
    more.insert(more.end(), {{3, 1, 0}, {-3, 1, 0}});
    auto wide = fan;
    wide.insert(wide.end(), {{1, 8, 2}, {4, 9, 5}});
    mesh = make_mesh(more, wide);
    clean(mesh);
    EXPECT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.n_vertices(), 6U);
}

TEST(NonManifoldVerts, IsolatedVerticesAwayFromDamageStay)
{
    TriMesh mesh = bow_tie();
    mesh.add_vertex(Vector3f(7, 7, 7));
    clean(mesh);
    ASSERT_EQ(mesh.n_vertices(), 1U);
    EXPECT_EQ(mesh.point(vh(0)), Vector3f(7, 7, 7));
}

TEST(NonManifoldVerts, AnEmptyMeshIsFine)
{
    TriMesh mesh;
    clean(mesh);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_TRUE(has_no_status(mesh));
}

TEST(NonManifoldVerts, LogsTheCountsBeforeAndAfter)
{
    LogCapture const log(false);
    TriMesh mesh = pinched_pair();
    VertexEditor::remove_non_manifold_verts(mesh, true);
    EXPECT_EQ(log.text(), "remove_non_manifold_verts() ..\n"
                          "  # initital mesh info:\n"
                          "    # verts:               25\n"
                          "    # faces:               28\n"
                          "  # processed mesh info:\n"
                          "    # verts:               24\n"
                          "    # faces:               26\n");
    EXPECT_FALSE(gPH.log_enabled);
}

TEST(NonManifoldVerts, PropertiesStepsAndRequestedStatusesAreAsBefore)
{
    gLH.clear_steps();
    LogCapture const log(true);
    TriMesh mesh = ragged_sphere(2, 3, 0.3);
    int const properties = count_properties(mesh);
    std::string const printed = output_of([&] { clean(mesh); });
    EXPECT_EQ(log.text() + printed, "");
    EXPECT_EQ(gLH.steps_as_json(), "[]");
    EXPECT_EQ(count_properties(mesh), properties);
    EXPECT_TRUE(has_no_status(mesh));
    mesh.request_halfedge_status();
    clean(mesh);
    EXPECT_TRUE(mesh.has_halfedge_status());
    EXPECT_FALSE(mesh.has_edge_status());
}

TEST(NonManifoldVerts, WhatWasMarkedDeletedGoesTooAndMakesNoGap)
{
    TriMesh mesh = grid(4, 4);
    detail::DeletionScope const status(mesh);
    // Opposite corners of the middle vertex: it has two gaps now.
    for (int const f : {10, 11, 20, 21})
    {
        mesh.delete_face(OpenMesh::FaceHandle(f), true);
    }
    TriMesh expected = pinched_pair();
    clean(expected);
    clean(mesh);
    EXPECT_EQ(triangles_of(mesh), triangles_of(expected));
    EXPECT_TRUE(mesh.is_legal());
    // Halfedges of deleted edges leave vertices that are there.
    TriMesh ear = grid(1, 1);
    detail::DeletionScope const ear_status(ear);
    ear.delete_face(OpenMesh::FaceHandle(0), true);
    clean(ear);
    EXPECT_EQ(ear.n_faces(), 1U);
    EXPECT_EQ(ear.n_vertices(), 3U);
}

// Walks over a mesh pass over what is hidden, so a hidden vertex goes only with a neighbour.
TEST(NonManifoldVerts, AVertexThatTheHostHasHiddenIsPassedOver)
{
    TriMesh mesh = bow_tie();
    detail::DeletionScope const status(mesh);
    mesh.status(vh(0)).set_hidden(true);
    clean(mesh);
    EXPECT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.n_vertices(), 5U);
    // Vertices 1 and 3 of the chain have two gaps. Vertex 3 takes the second and the third face
    // with it, after which vertex 1 has one gap and stays with the first.
    TriMesh row = chain(3);
    detail::DeletionScope const row_status(row);
    row.status(vh(1)).set_hidden(true);
    clean(row);
    EXPECT_EQ(row.n_faces(), 1U);
    EXPECT_EQ(row.n_vertices(), 3U);
}

// OpenMesh ends the process when such a face is deleted.
TEST(NonManifoldVerts, AFaceThatIsMarkedDeletedButLinkedStopsNothing)
{
    TriMesh mesh = bow_tie();
    detail::DeletionScope const status(mesh);
    mesh.status(OpenMesh::FaceHandle(1)).set_deleted(true);
    clean(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(NonManifoldVerts, CoordinatesThatAreNoNumbersMakeNoDifference)
{
    TriMesh mesh = pinched_pair();
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, Vector3f::Constant(std::numeric_limits<float>::quiet_NaN()));
    }
    clean(mesh);
    EXPECT_EQ(mesh.n_faces(), 26U);
}

TEST(NonManifoldVerts, NormalsAndColoursOfWhatStaysAreThoseItHad)
{
    TriMesh mesh = ragged_sphere(3, 11, 0.1);
    mark_vertices(mesh);
    TriMesh const before = mesh;
    clean(mesh);
    EXPECT_LT(mesh.n_vertices(), before.n_vertices());
    EXPECT_GT(mesh.n_vertices(), 0U);
    EXPECT_TRUE(kept_its_marks(before, mesh));
}

// The list of what a removal has damaged reaches far enough outwards, and a vertex that stayed is
// looked at again when it is damaged once more.
TEST(NonManifoldVerts, AfterwardsNoVertexHasMoreThanOneGapForThousandsOfRaggedSpheres)
{
    unsigned const seeds = IS_SANITIZED ? 300 : 4000;
    int removed = 0;
    for (unsigned seed = 0; seed < seeds; ++seed)
    {
        TriMesh mesh = ragged_sphere(seed % 5 == 0 ? 3 : 2, seed, 0.01 + seed % 40 * 0.015);
        auto const pinched = count_pinched(mesh);
        auto const before = mesh.n_vertices();
        clean(mesh);
        ASSERT_EQ(count_pinched(mesh), 0) << seed;
        ASSERT_LE(mesh.n_vertices() + static_cast<std::size_t>(pinched), before) << seed;
        removed += pinched;
    }
    EXPECT_GT(removed, 1000);
}

TEST(NonManifoldVerts, EveryLinkIsThatOfThePlainWay)
{
    for (unsigned seed = 0; seed < 500; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh mesh = ragged_sphere(seed % 4 == 0 ? 3 : 2, seed, 0.02 + seed % 20 * 0.025);
        TriMesh expected = mesh;
        clean(mesh);
        reference::non_manifold_verts(expected);
        EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
        EXPECT_TRUE(mesh.is_legal());
    }
}

TEST(VertexEditor, CopiesAndAssignmentsCopyNothing)
{
    VertexEditor a;
    VertexEditor b(a);
    b = a;
    TriMesh mesh = bow_tie();
    EXPECT_EQ(b.remove_non_manifold_verts(mesh, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 0U);
}
