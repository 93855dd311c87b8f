#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/api/algorithms.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

using namespace veld_test;
using namespace OrvaneAlgorithm;

namespace
{

using Faces = std::vector<OpenMesh::FaceHandle>;
using Vertices = std::vector<OpenMesh::VertexHandle>;

/// The hole in the middle of a grid; its outer border comes first.
Holes inner_hole(TriMesh& mesh)
{
    Holes holes;
    find_holes(mesh, holes, false);
    holes.erase(holes.begin());
    return holes;
}

} // namespace

TEST(FillHolesCoreApi, DoesWhatTheClassDoes)
{
    LogCapture const log(false);
    TriMesh mesh = grid_with_hole(3);
    TriMesh same = mesh;
    Holes const holes = inner_hole(mesh);
    ASSERT_EQ(holes.size(), 1U);
    std::vector<Faces> faces;
    std::vector<Faces> class_faces;
    Holes verts;
    Holes patches;
    Holes class_patches;
    EXPECT_EQ(fill_holes_core(mesh, holes, 2, faces, verts, patches, false), RET_SUCCESS);
    HoleFillingCore filler;
    filler.fill_holes_core(same, holes, 2, class_faces, verts, class_patches, false);
    EXPECT_EQ(faces, class_faces);
    EXPECT_EQ(patches, class_patches);
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(mesh.point(v), same.point(v));
    }
    EXPECT_EQ(log.text(), "");
}

TEST(FillHolesCoreApi, SingleHoleGivesItsFaces)
{
    LogCapture const log(false);
    TriMesh mesh = grid_with_hole(3);
    std::size_t const before = mesh.n_faces();
    Faces faces;
    Vertices verts;
    Vertices patch;
    EXPECT_EQ(fill_single_hole_core(mesh, inner_hole(mesh)[0], 3, faces, verts, patch, false),
              RET_SUCCESS);
    EXPECT_EQ(faces.size(), mesh.n_faces() - before);
    EXPECT_EQ(fill_single_hole_core(mesh, {}, 3, faces, verts, patch, false), RET_INVALID_INPUT);
}

TEST(FillHolesCoreApi, SwitchOfTheLogStaysForTheNextCall)
{
    // Ear clipping has no flag of its own: it goes by what the last call left.
    LogCapture const log(false);
    TriMesh mesh = grid_with_hole(3);
    std::vector<Faces> faces;
    Holes verts;
    Holes patches;
    fill_holes_core(mesh, {}, 3, faces, verts, patches, true);
    ear_clipping(mesh, true, true, true, 20, 0.6, 150.0);
    EXPECT_EQ(log.count("ear_trimming() ..\n"), 1);
}

TEST(FillHolesCoreApi, SwitchOfTheLogStaysAfterASingleHoleToo)
{
    LogCapture const log(false);
    TriMesh mesh = grid_with_hole(3);
    Faces faces;
    Vertices verts;
    Vertices patch;
    fill_single_hole_core(mesh, {}, 3, faces, verts, patch, true);
    EXPECT_TRUE(gPH.log_enabled);
    fill_single_hole_core(mesh, {}, 3, faces, verts, patch, false);
    EXPECT_FALSE(gPH.log_enabled);
}
