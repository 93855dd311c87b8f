#include "algorithmVeld/cleanup/PostProcessing.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "dirty_meshes.h"
#include "reference_cleanup.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

int remove_objects(TriMesh& mesh, int face_limit)
{
    PostProcessing().remove_small_objects(mesh, face_limit);
    return static_cast<int>(mesh.n_faces());
}

} // namespace

TEST(SmallObjects, AFloatingTriangleGoesWithItsThreeVertices)
{
    TriMesh mesh = grid(3, 3);
    append(mesh, lone_triangle(), Vector3f(50, 0, 0));
    auto const grid_alone = fingerprint(grid(3, 3));
    EXPECT_EQ(remove_objects(mesh, 10), 18);
    EXPECT_EQ(fingerprint(mesh), grid_alone);
}

TEST(SmallObjects, AnObjectOfExactlyTheLimitGoes)
{
    TriMesh mesh = grid(5, 5);
    append(mesh, strip(10), Vector3f(50, 0, 0));
    append(mesh, strip(11), Vector3f(90, 0, 0));
    EXPECT_EQ(remove_objects(mesh, 9), 71);
    EXPECT_EQ(remove_objects(mesh, 10), 61);
    EXPECT_EQ(remove_objects(mesh, 11), 50);
    EXPECT_EQ(remove_objects(mesh, std::numeric_limits<int>::min()), 50);
    EXPECT_EQ(remove_objects(mesh, std::numeric_limits<int>::max()), 0);
}

// Unlike the removal of components, which leaves such vertices.
TEST(SmallObjects, EveryIsolatedVertexGoesAlsoWithLimitZero)
{
    TriMesh mesh;
    mesh.add_vertex(Vector3f(7, 7, 7));
    append(mesh, grid(2, 2), Vector3f(0, 0, 0));
    mesh.add_vertex(Vector3f(8, 8, 8));
    EXPECT_EQ(remove_objects(mesh, 0), 8);
    EXPECT_EQ(mesh.n_vertices(), 9U);
}

TEST(SmallObjects, ASharedVertexJoinsNothing)
{
    TriMesh mesh = bow_tie();
    EXPECT_EQ(remove_objects(mesh, 1), 0);
    EXPECT_EQ(mesh.n_vertices(), 0U);
}

TEST(SmallObjects, PrintsToTheLogAndToStandardOutputIfTheSwitchIsOn)
{
    std::string const text = "remove_small_objects() ..\n"
                             "    deleted faces: 1\n"
                             " deleted vertices: 4\n";
    for (bool const enabled : {true, false})
    {
        LogCapture const log(enabled);
        TriMesh mesh = grid(3, 3);
        append(mesh, lone_triangle(), Vector3f(50, 0, 0));
        mesh.add_vertex(Vector3f(7, 7, 7));
        std::string const printed = output_of([&] { remove_objects(mesh, 10); });
        EXPECT_EQ(log.text(), enabled ? text : "");
        EXPECT_EQ(printed, enabled ? text : "");
    }
}

TEST(SmallObjects, PropertiesStatusesAndStepsAreAsBefore)
{
    gLH.clear_steps();
    TriMesh mesh = ragged_sphere(2, 3, 0.4);
    int const properties = count_properties(mesh);
    PostProcessing processing;
    processing.remove_small_objects(mesh, 3);
    processing.remove_small_objects(mesh, 6); // an object can be used again
    PostProcessing copy(processing);
    copy = processing;
    copy.remove_small_objects(mesh, 6);
    EXPECT_EQ(count_properties(mesh), properties);
    EXPECT_TRUE(has_no_status(mesh));
    EXPECT_EQ(gLH.steps_as_json(), "[]");
}

TEST(SmallObjects, EmptyMeshesPointsAndNumbersThatAreNoneAreFine)
{
    TriMesh empty;
    EXPECT_EQ(remove_objects(empty, 10), 0);
    TriMesh mesh = grid(2, 2);
    mesh.set_point(vh(4), Vector3f::Constant(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(remove_objects(mesh, 7), 8);
    EXPECT_EQ(remove_objects(mesh, 8), 0);
}

TEST(SmallObjects, WhatWasMarkedDeletedGoesToo)
{
    TriMesh mesh = grid(9, 1); // 18 faces in a row
    detail::DeletionScope const status(mesh);
    mesh.delete_face(OpenMesh::FaceHandle(8), true);
    EXPECT_EQ(remove_objects(mesh, 8), 9);
    EXPECT_TRUE(mesh.is_legal());
    // Marked, but linked to its neighbours: OpenMesh would end the process.
    mesh.status(OpenMesh::FaceHandle(3)).set_deleted(true);
    remove_objects(mesh, 8);
}

// Walks over a mesh pass over what is hidden, walks from face to face do not.
TEST(SmallObjects, HiddenFacesStartNoObjectButGoWithTheirs)
{
    TriMesh const plain = []
    {
        TriMesh mesh = grid(3, 3);
        append(mesh, strip(5), Vector3f(50, 0, 0));
        mesh.add_vertex(Vector3f(7, 7, 7));
        mesh.request_vertex_status();
        mesh.request_face_status();
        mesh.request_edge_status();
        return mesh;
    }();
    TriMesh mesh = plain;
    for (int f = 18; f < 23; ++f)
    {
        mesh.status(OpenMesh::FaceHandle(f)).set_hidden(true);
    }
    EXPECT_EQ(remove_objects(mesh, 5), 23);
    mesh = plain;
    mesh.status(OpenMesh::FaceHandle(20)).set_hidden(true);
    mesh.status(vh(23)).set_hidden(true);
    EXPECT_EQ(remove_objects(mesh, 5), 18);
    EXPECT_EQ(mesh.n_vertices(), 16U); // the vertex apart is gone, though hidden
}

TEST(SmallObjects, VerticesThatWereMarkedDeletedCountAsDeleted)
{
    // The walk that counts passes all vertices.
    TriMesh mesh = grid(3, 3);
    append(mesh, lone_triangle(), Vector3f(50, 0, 0));
    detail::DeletionScope const status(mesh);
    mesh.delete_face(OpenMesh::FaceHandle(18), true);
    LogCapture const log;
    output_of([&] { remove_objects(mesh, 10); });
    EXPECT_EQ(log.text(), "remove_small_objects() ..\n"
                          "    deleted faces: 0\n"
                          " deleted vertices: 3\n");
}

TEST(SmallObjects, NormalsAndColoursOfWhatStaysAreThoseItHad)
{
    TriMesh mesh = ragged_sphere(3, 11, 0.42);
    mark_vertices(mesh);
    TriMesh const before = mesh;
    remove_objects(mesh, 6);
    EXPECT_LT(mesh.n_vertices(), before.n_vertices());
    EXPECT_GT(mesh.n_vertices(), 0U);
    EXPECT_TRUE(kept_its_marks(before, mesh));
}

TEST(SmallObjects, TheSurfaceIsThatOfThePlainWay)
{
    for (unsigned seed = 0; seed < 300; ++seed)
    {
        SCOPED_TRACE(seed);
        TriMesh mesh = ragged_sphere(2, seed, 0.05 + seed % 10 * 0.06);
        mesh.add_vertex(Vector3f(7, 7, 7));
        TriMesh expected = mesh;
        int const limit = static_cast<int>(seed % 13);
        remove_objects(mesh, limit);
        reference::small_objects(expected, limit);
        EXPECT_EQ(triangles_of(mesh), triangles_of(expected));
        EXPECT_EQ(mesh.n_vertices(), expected.n_vertices());
        EXPECT_TRUE(mesh.is_legal());
    }
}
