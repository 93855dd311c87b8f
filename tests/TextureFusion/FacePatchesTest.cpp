#include "algorithmVeld/TextureFusion/seams/FacePatches.h"

#include "tests/TextureFusion/textured_grid.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <vector>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::FaceGroupType;
using OrvaneAlgorithm::detail::list_patch_faces;
using OrvaneAlgorithm::detail::partition_mesh_by_face;
using OrvaneAlgorithm::detail::PatchFaces;
using OrvaneAlgorithm::detail::PatchTex;

std::vector<std::array<unsigned char, 3>> const TWO_COLOURS{{100, 50, 10}, {20, 60, 255}};

std::vector<PatchTex> partition(TexturedGrid& grid, int margin = 3)
{
    return partition_mesh_by_face(grid.mesh, grid.properties, grid.images, margin);
}

int patch_of(TexturedGrid const& grid, int cell, int half = 0)
{
    return grid.mesh.property(grid.properties.face_patch_id, grid.face(cell, half));
}

FaceGroupType group_of(TexturedGrid const& grid, int cell, int half)
{
    return grid.mesh.property(grid.properties.face_group, grid.face(cell, half));
}

void expect_bounds(PatchTex const& patch, int min_x, int max_x, int min_y, int max_y)
{
    EXPECT_EQ(patch.min_x, min_x);
    EXPECT_EQ(patch.max_x, max_x);
    EXPECT_EQ(patch.min_y, min_y);
    EXPECT_EQ(patch.max_y, max_y);
}

TEST(FacePatches, OneViewOfAllIsOnePatchWithAMargin)
{
    LogCapture const log;
    TexturedGrid grid(3, 2, {1, 1, 1, 1, 1, 1}, TWO_COLOURS);
    auto const patches = partition(grid);
    ASSERT_EQ(patches.size(), 1U);
    expect_bounds(patches[0], 10 - 3, 34 + 3, 10 - 3, 26 + 3);
    EXPECT_EQ(patches[0].label, 1);
    EXPECT_FALSE(patches[0].is_hole);
    EXPECT_FALSE(patches[0].repaired);
    EXPECT_EQ(log.text(), "partition_mesh_by_face() ..\n  total patches:         1\n");
}

TEST(FacePatches, TheMarginEndsAtTheViewsEdge)
{
    TexturedGrid grid(3, 2, {1, 1, 1, 1, 1, 1}, TWO_COLOURS);
    expect_bounds(partition(grid, 10)[0], 0, 44, 0, 36);
    expect_bounds(partition(grid, 11)[0], 0, 45, 0, 37);
    expect_bounds(partition(grid, 32)[0], 0, 66, 0, 58);
    expect_bounds(partition(grid, 33)[0], 0, 67, 0, 59);
    expect_bounds(partition(grid, 34)[0], 0, 68, 0, 59); // the view has 60 rows
    expect_bounds(partition(grid, 90)[0], 0, 119, 0, 59);
}

TEST(FacePatches, BlocksOfOneViewThatMeetInAVertexAreTwo)
{
    TexturedGrid grid(2, 2, {0, 1, 1, 0}, TWO_COLOURS);
    auto const patches = partition(grid);
    ASSERT_EQ(patches.size(), 4U);
    for (int cell = 0; cell < 4; ++cell)
    {
        EXPECT_EQ(patch_of(grid, cell, 0), cell);
        EXPECT_EQ(patch_of(grid, cell, 1), cell);
    }
    EXPECT_EQ(patches[1].label, 1);
    EXPECT_EQ(patches[3].label, 0);
}

TEST(FacePatches, FacesWithoutAViewPartPatches)
{
    TexturedGrid grid(3, 1, {0, -1, 0}, TWO_COLOURS);
    EXPECT_EQ(partition(grid).size(), 2U);
    EXPECT_EQ(patch_of(grid, 1), -1);
    EXPECT_EQ(patch_of(grid, 2), 1);
    // Whatever the stages before have left in the marks.
    EXPECT_EQ(partition(grid).size(), 2U);
}

TEST(FacePatches, FacesAreListedAndGroupedByWhatLiesAcrossTheirEdges)
{
    // The left patch has two cells; only the half face beside the right one touches it.
    TexturedGrid grid(4, 1, {0, 0, 1, -1}, TWO_COLOURS);
    auto const patches = partition(grid);
    ASSERT_EQ(patches.size(), 2U);
    PatchFaces lists;
    ASSERT_TRUE(list_patch_faces(grid.mesh, grid.properties, 2, lists));
    std::vector<OpenMesh::FaceHandle> const left{grid.face(0, 0), grid.face(0, 1), grid.face(1, 0),
                                                 grid.face(1, 1)};
    EXPECT_EQ(lists.patch_faces[0], left);
    EXPECT_EQ(lists.patch_boundary_faces[0], std::vector<OpenMesh::FaceHandle>{grid.face(1, 0)});
    EXPECT_EQ(lists.patch_boundary_faces[1], std::vector<OpenMesh::FaceHandle>{grid.face(2, 1)});
    EXPECT_EQ(group_of(grid, 0, 0), FaceGroupType::NONBOUNDARY);
    EXPECT_EQ(group_of(grid, 1, 0), FaceGroupType::BOUNDARY);
    // This one meets the other patch in a corner only.
    EXPECT_EQ(group_of(grid, 1, 1), FaceGroupType::NONBOUNDARY);
    EXPECT_EQ(group_of(grid, 2, 1), FaceGroupType::BOUNDARY);
    EXPECT_EQ(group_of(grid, 3, 0), FaceGroupType::TEXLESS);
}

TEST(FacePatches, AFaceBetweenTwoOthersIsListedOnce)
{
    // The diagonal parts each cell, so half faces have two neighbours in other patches.
    TexturedGrid grid(3, 2, {0, 1, 0, 0, 0, 0}, TWO_COLOURS);
    auto const patches = partition(grid);
    PatchFaces lists;
    ASSERT_TRUE(list_patch_faces(grid.mesh, grid.properties, patches.size(), lists));
    std::vector<OpenMesh::FaceHandle> const both{grid.face(1, 0), grid.face(1, 1)};
    EXPECT_EQ(lists.patch_boundary_faces[1], both);
}

TEST(FacePatches, APatchWithoutNeighboursIsIsolated)
{
    TexturedGrid grid(3, 1, {0, -1, 1}, TWO_COLOURS);
    auto const patches = partition(grid);
    PatchFaces lists;
    ASSERT_TRUE(list_patch_faces(grid.mesh, grid.properties, patches.size(), lists));
    EXPECT_EQ(group_of(grid, 0, 0), FaceGroupType::ISOLATED);
    EXPECT_EQ(group_of(grid, 2, 1), FaceGroupType::ISOLATED);
    EXPECT_TRUE(lists.patch_boundary_faces[0].empty());
}

TEST(FacePatches, WithoutPatchesThereIsNothingToList)
{
    LogCapture const log;
    TexturedGrid grid(2, 1, {-1, -1}, TWO_COLOURS);
    auto const patches = partition(grid);
    PatchFaces lists;
    EXPECT_FALSE(list_patch_faces(grid.mesh, grid.properties, patches.size(), lists));
    EXPECT_EQ(log.text(), "partition_mesh_by_face() ..\n  total patches:         0\n"
                          "poisson_solve_color_diff() ..\n  no texture patch.\n");
}

TEST(FacePatches, APatchNumberOutOfRangeIsAnError)
{
    for (int const id : {-1, 1})
    {
        LogCapture const log;
        TexturedGrid grid(2, 1, {0, 0}, TWO_COLOURS);
        auto const patches = partition(grid);
        grid.mesh.property(grid.properties.face_patch_id, grid.face(1, 1)) = id;
        PatchFaces lists;
        EXPECT_FALSE(list_patch_faces(grid.mesh, grid.properties, patches.size(), lists));
        EXPECT_EQ(log.count("  error: patch_id = " + std::to_string(id) + "  ["), 1);
        EXPECT_EQ(log.count("FacePatches.cpp ("), 1);
    }
}

} // namespace
} // namespace veld_test
