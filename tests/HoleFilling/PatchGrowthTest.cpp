#include "algorithmVeld/HoleFilling/fairing/PatchGrowth.h"

#include "tests/support/meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace
{

using namespace OrvaneAlgorithm;
using OrvaneAlgorithm::detail::grow_patches;
using OrvaneAlgorithm::detail::Patch;
using testing::UnorderedElementsAreArray;
using veld_test::vh;

/// A mesh with its vertices marked as new or as lying on a region.
struct MarkedMesh
{
    TriMesh mesh;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_region;
    OpenMesh::VPropHandleT<int> vert_patch;
    OpenMesh::VPropHandleT<int> vert_place;

    explicit MarkedMesh(TriMesh const& given) : mesh(given)
    {
        mesh.add_property(vert_new);
        mesh.add_property(vert_region);
        mesh.add_property(vert_patch);
        mesh.add_property(vert_place);
        for (auto const v : mesh.vertices())
        {
            mesh.property(vert_new, v) = false;
            mesh.property(vert_region, v) = false;
            mesh.property(vert_patch, v) = -1;
            mesh.property(vert_place, v) = -1;
        }
    }

    void mark_new(std::vector<int> const& vertices)
    {
        for (int const v : vertices)
        {
            mesh.property(vert_new, vh(v)) = true;
        }
    }
    void mark_region(std::vector<int> const& vertices)
    {
        for (int const v : vertices)
        {
            mesh.property(vert_region, vh(v)) = true;
        }
    }

    std::vector<Patch> patches()
    {
        Patch starts;
        for (auto const v : mesh.vertices())
        {
            if (mesh.property(vert_new, v) || mesh.property(vert_region, v))
            {
                starts.push_back(v);
            }
        }
        return grow_patches(mesh, {vert_new, vert_region, vert_patch, vert_place}, starts);
    }
};

Patch patch_of(std::vector<int> const& indices)
{
    Patch patch;
    for (int const i : indices)
    {
        patch.push_back(vh(i));
    }
    return patch;
}

} // namespace

// In a grid of 6 x 6 cells, vertex (x, y) is 7 y + x.

TEST(PatchGrowth, GathersANewVertexWithTheRegionAroundIt)
{
    MarkedMesh grid(veld_test::grid(6, 6));
    grid.mark_new({24});
    std::vector<int> const region{16, 17, 23, 25, 31, 32};
    grid.mark_region(region);
    auto const patches = grid.patches();
    ASSERT_EQ(patches.size(), 1U);
    EXPECT_THAT(patches[0], UnorderedElementsAreArray(patch_of({16, 17, 23, 24, 25, 31, 32})));
    EXPECT_EQ(patches[0][0], vh(16)); // it starts from the first index
}

TEST(PatchGrowth, MembersFollowTheOneFromWhichTheyAreReached)
{
    // A row of vertices, entered at its left end.
    MarkedMesh grid(veld_test::grid(6, 6));
    grid.mark_new({22});
    grid.mark_region({23, 24, 25});
    auto const patches = grid.patches();
    ASSERT_EQ(patches.size(), 1U);
    EXPECT_EQ(patches[0], patch_of({22, 23, 24, 25}));
}

TEST(PatchGrowth, NotesThePatchOfAVertexAndItsPlaceAndNothingOfOthers)
{
    MarkedMesh grid(veld_test::grid(6, 6));
    grid.mark_region({8, 9}); // no patch
    grid.mark_new({22, 40});
    grid.mark_region({23, 24});
    ASSERT_EQ(grid.patches(), (std::vector<Patch>{patch_of({22, 23, 24}), patch_of({40})}));
    auto const noted = [&](int v)
    {
        return std::pair(grid.mesh.property(grid.vert_patch, vh(v)),
                         grid.mesh.property(grid.vert_place, vh(v)));
    };
    EXPECT_EQ(noted(22), std::pair(0, 0));
    EXPECT_EQ(noted(24), std::pair(0, 2));
    EXPECT_EQ(noted(40), std::pair(1, 0));
    EXPECT_EQ(noted(8), std::pair(-1, -1));
    EXPECT_EQ(noted(9), std::pair(-1, -1));
    EXPECT_EQ(noted(0), std::pair(-1, -1));
}

TEST(PatchGrowth, KeepsSetsApartThatNoEdgeJoins)
{
    MarkedMesh grid(veld_test::grid(6, 6));
    grid.mark_new({9, 11, 38});
    auto const patches = grid.patches();
    EXPECT_EQ(patches, (std::vector<Patch>{patch_of({9}), patch_of({11}), patch_of({38})}));
}

TEST(PatchGrowth, LeavesARegionWithoutANewVertexAlone)
{
    MarkedMesh grid(veld_test::grid(6, 6));
    grid.mark_region({8, 9, 10});
    grid.mark_new({40});
    EXPECT_EQ(grid.patches(), std::vector<Patch>{patch_of({40})});
}

TEST(PatchGrowth, LeavesASetWithoutFixedSurroundingsAlone)
{
    MarkedMesh solid(veld_test::tetrahedron());
    solid.mark_new({0});
    solid.mark_region({1, 2, 3});
    EXPECT_TRUE(solid.patches().empty());
    solid.mesh.property(solid.vert_region, vh(3)) = false;
    auto const patches = solid.patches();
    ASSERT_EQ(patches.size(), 1U);
    EXPECT_EQ(patches[0].size(), 3U);
}
