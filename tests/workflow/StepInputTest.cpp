#include "workflow/workflow.h"

#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <cmath>

namespace
{

using namespace veld_test;
using testing::HasSubstr;

TEST(StepInput, FillingLeavesTheMeshThatItIsGivenAsItIs)
{
    TriMesh const mesh = grid_with_hole(4);
    std::size_t const faces = mesh.n_faces();
    veld::Context context;
    veld::FillSettings settings;
    settings.max_perimeter = 0.0;
    veld::FillResult const result = veld::fill(mesh, settings, context);
    EXPECT_EQ(mesh.n_faces(), faces);
    EXPECT_EQ(result.mesh.n_faces(), faces + result.new_faces);
    EXPECT_GT(result.new_faces, 0U);
}

TEST(StepInput, TheOuterBorderOfAnOpenScanStaysOpenWithoutALimit)
{
    // The hole is 4 long and the border 40; the diagonal is 14.1.
    TriMesh const mesh = grid_without(10, 10, {{5, 5}});
    veld::Context context;
    veld::FillResult const result = veld::fill(mesh, veld::FillSettings(), context);
    EXPECT_EQ(result.holes_before, 2U);
    EXPECT_EQ(result.holes_after, 1U);
    ASSERT_EQ(result.open.size(), 1U);
    EXPECT_THAT(result.open[0].reason, HasSubstr("perimeter"));
}

TEST(StepInput, CleaningLeavesTheMeshThatItIsGivenAsItIs)
{
    TriMesh const mesh = grid(4, 4);
    std::size_t const faces = mesh.n_faces();
    veld::Context context;
    veld::CleanResult const result = veld::clean(mesh, {{veld::rims(0)}}, context);
    EXPECT_EQ(mesh.n_faces(), faces);
    EXPECT_EQ(result.before.faces, faces);
    EXPECT_LT(result.after.faces, faces);
    EXPECT_EQ(result.mesh.n_faces(), result.after.faces);
}

TEST(StepInput, HiddenEdgesCountForTheAverageLengthAndDeletedOnesDoNot)
{
    TriMesh mesh = grid(1, 1);
    mesh.request_edge_status();
    veld::Context context;
    double const all = veld::inspect(mesh, context).average_edge_length;
    EXPECT_NEAR(all, (4.0 + std::sqrt(2.0)) / 5.0, 1e-7);
    mesh.status(OpenMesh::EdgeHandle(0)).set_hidden(true);
    EXPECT_EQ(veld::inspect(mesh, context).average_edge_length, all);
    mesh.status(OpenMesh::EdgeHandle(0)).set_deleted(true); // one of unit length
    EXPECT_NEAR(veld::inspect(mesh, context).average_edge_length, (3.0 + std::sqrt(2.0)) / 4.0,
                1e-7);
}

TEST(StepInput, ACloudIsCleanedByMarkersOnly)
{
    TriMesh cloud;
    cloud.add_vertex(Vector3f(0, 0, 0));
    cloud.add_vertex(Vector3f(9, 0, 0));
    veld::Context context;
    veld::Markers markers;
    markers.points = {Vector3f(0, 0, 0)};
    veld::MarkerSettings near_markers;
    near_markers.radius = 1.0;
    EXPECT_EQ(veld::clean(cloud, {{veld::surface_near_markers(markers, near_markers)}}, context)
                  .mesh.n_vertices(),
              1U);
    EXPECT_THAT(reason_of([&] { veld::clean(cloud, {{veld::rims(0)}}, context); }),
                HasSubstr("no faces, which peel works on"));
}

TEST(StepInput, AnErrorNamesTheSettingThatMayHelp)
{
    veld::FrameSet set;
    set.source = "points";
    set.frames.emplace_back();
    set.frames[0].data.set_grid_size(3, 3);
    set.frames[0].data.add_vCoord_and_vUV(Vector3f(1, 2, 3), {0, 0});
    set.frames[0].data.enable_vNormal();
    veld::Context context;
    try
    {
        veld::merge(set, {}, context);
        FAIL() << "nothing can be measured";
    }
    catch (veld::InputError const& error)
    {
        EXPECT_EQ(error.setting(), "spacing");
        EXPECT_THAT(error.what(), HasSubstr("points: "));
    }
}

TEST(StepInput, AMeshWithoutFacesIsNotDrawn)
{
    veld::Context context;
    EXPECT_THAT(reason_of([&] { veld::render(TriMesh(), {}, {}, context); }),
                HasSubstr("no face to draw"));
}

TEST(StepInput, AnUnknownExtensionIsRefusedBeforeAnythingIsWritten)
{
    veld::Context context;
    EXPECT_THAT(reason_of([&] { veld::write_mesh("grid.xyz", grid(2, 2), context); }),
                HasSubstr("grid.xyz: the extension has to be one of"));
}

} // namespace
