#include "algorithmVeld/api/algorithms.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// A grid of 72 faces and 49 vertices, and a triangle apart.
TriMesh grid_and_triangle()
{
    TriMesh mesh = grid(6, 6);
    auto const a = mesh.add_vertex(Vector3f(50, 0, 0));
    auto const b = mesh.add_vertex(Vector3f(51, 0, 0));
    auto const c = mesh.add_vertex(Vector3f(50, 1, 0));
    mesh.add_face(a, b, c);
    return mesh;
}

} // namespace

TEST(CleanupApi, SmallComponentsGoByTheirLimits)
{
    LogCapture const log(true);
    TriMesh mesh = grid_and_triangle();
    EXPECT_EQ(remove_small_components_by_face(mesh, 0, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 73U);
    EXPECT_EQ(remove_small_components_by_face(mesh, 1, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 72U);

    mesh = grid_and_triangle();
    EXPECT_EQ(remove_small_components_by_vert(mesh, 2, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 73U);
    EXPECT_EQ(remove_small_components_by_vert(mesh, 3, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 72U);

    // A core of 48 faces, two of one, and two corners that hang on the latter.
    mesh = grid_and_triangle();
    EXPECT_EQ(remove_small_components_by_face_strong_connection(mesh, 0, 1), RET_INVALID_INPUT);
    EXPECT_EQ(remove_small_components_by_face_strong_connection(mesh, 1, 0), RET_INVALID_INPUT);
    EXPECT_EQ(mesh.n_faces(), 73U);
    EXPECT_EQ(remove_small_components_by_face_strong_connection(mesh, 48, 1), RET_SUCCESS);
    EXPECT_EQ(mesh.n_faces(), 68U);
    EXPECT_EQ(log.text(), "");
}

TEST(CleanupApi, NonManifoldVertsGo)
{
    LogCapture const log(true);
    TriMesh mesh = bow_tie();
    EXPECT_EQ(remove_non_manifold_verts(mesh, false), RET_SUCCESS);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_EQ(log.text(), "");
}

TEST(CleanupApi, VerboseIsHandedOnAndTheLogSwitchIsNotTouched)
{
    LogCapture const log(false);
    TriMesh mesh = grid_and_triangle();
    remove_small_components_by_face(mesh, 1, true);
    remove_small_components_by_vert(mesh, 3, true);
    remove_non_manifold_verts(mesh, true);
    EXPECT_EQ(log.count("remove_patch_by_face() with thr = 1 ..\n"), 1);
    EXPECT_EQ(log.count("remove_patch_by_vert() with thr = 3 ..\n"), 1);
    EXPECT_EQ(log.count("remove_non_manifold_verts() ..\n"), 1);
    EXPECT_FALSE(gPH.log_enabled);
}
