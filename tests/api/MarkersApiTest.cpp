#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/standard_output.h"

#include <gmock/gmock.h>

/// \file
/// The free functions hand all arguments on, and the result back as it stands.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

Verts const MIDDLE{{1, 1, 0}};
Verts const UP{{0, 0, 1}};
Verts const DOWN{{0, 0, -1}};

BaseTriMesh array_grid()
{
    BaseTriMesh mesh;
    TriMesh_convert_to_BaseTriMesh(grid(2, 2), mesh);
    return mesh;
}

} // namespace

TEST(MarkersApi, RemovesFromACloud)
{
    Cloud cloud = array_grid();
    EXPECT_EQ(remove_marker_cloud(cloud, MIDDLE, UP, 0.5, true, 0.5, false), RET_INVALID_INPUT);
    cloud.enable_vNormal();
    cloud.vNrv.assign(9, UP[0]);
    EXPECT_EQ(remove_marker_cloud(cloud, MIDDLE, DOWN, 0.5, true, 0.5, false), RET_SUCCESS);
    EXPECT_EQ(cloud.get_vn(), 9U);
    EXPECT_EQ(remove_marker_cloud(cloud, MIDDLE, UP, 0.5, true, 0.5, false), RET_SUCCESS);
    EXPECT_EQ(cloud.get_vn(), 8U);
    LogCapture const log;
    EXPECT_EQ(remove_marker_cloud(cloud, MIDDLE, {}, 1.25, false, 0.5, true), RET_SUCCESS);
    EXPECT_EQ(cloud.get_vn(), 4U);
    EXPECT_THAT(log.text(), testing::StartsWith("remove_marker_cloud() ..\n"));
}

TEST(MarkersApi, WithoutNormalsTheSimpleFormRunsAndLooksAtNone)
{
    BaseTriMesh array = array_grid();
    TriMesh mesh = grid(2, 2);
    LogCapture const log;
    EXPECT_EQ(remove_marker_mesh(array, MIDDLE, {}, 0.5, false, 0.5, true), RET_SUCCESS);
    EXPECT_EQ(remove_marker_mesh(mesh, MIDDLE, {}, 0.5, false, 0.5, true), RET_SUCCESS);
    EXPECT_EQ(array.get_vn(), 8U);
    EXPECT_EQ(mesh.n_vertices(), 6U);
    EXPECT_EQ(log.count("remove_marker_mesh() ..\n"), 2);
    EXPECT_FALSE(mesh.has_face_normals());
}

TEST(MarkersApi, WithNormalsTheCarefulFormRuns)
{
    BaseTriMesh array = array_grid();
    TriMesh mesh = grid(2, 2);
    LogCapture const log;
    output_of(
        [&]
        {
            EXPECT_EQ(remove_marker_mesh(array, MIDDLE, {}, 0.5, true, 0.5, true),
                      RET_INVALID_INPUT);
            EXPECT_EQ(remove_marker_mesh(mesh, MIDDLE, {}, 0.5, true, 0.5, true),
                      RET_INVALID_INPUT);
            EXPECT_EQ(remove_marker_mesh(array, MIDDLE, DOWN, 0.5, true, 0.5, false), RET_SUCCESS);
            EXPECT_EQ(remove_marker_mesh(mesh, MIDDLE, DOWN, 0.5, true, 0.5, false), RET_SUCCESS);
            EXPECT_EQ(array.get_fn() + mesh.n_faces(), 16U);
            EXPECT_EQ(remove_marker_mesh(array, MIDDLE, UP, 0.5, true, 0.5, false), RET_SUCCESS);
            EXPECT_EQ(remove_marker_mesh(mesh, MIDDLE, UP, 0.5, true, 0.5, false), RET_SUCCESS);
        });
    // The six faces round the middle.
    EXPECT_EQ(array.get_fn(), 2U);
    EXPECT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_EQ(log.count("remove_marker_mesh_ex( BaseTriMesh ) ..\n"), 1);
    EXPECT_EQ(log.count("remove_marker_mesh_ex() ..\n"), 1);
}
