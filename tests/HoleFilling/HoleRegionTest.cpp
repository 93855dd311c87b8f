#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

using Loop = std::vector<OpenMesh::HalfedgeHandle>;

/// The boundary halfedges through a vertex of a hole.
Loop loop_through(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    auto const first = mesh.halfedge_handle(vertex);
    Loop loop;
    auto h = first;
    do
    {
        loop.push_back(h);
        h = mesh.next_halfedge_handle(h);
    } while (h != first);
    return loop;
}

/// A grid of 7 x 7 cells with its middle cell missing. Vertex (x, y) has the index 8 y + x.
struct HoledGrid
{
    TriMesh mesh = grid_without(7, 7, {{3, 3}});
    std::vector<Loop> loops{loop_through(mesh, vh(3 * 8 + 3))};
    OpenMesh::FPropHandleT<bool> in_region;

    HoledGrid() { mesh.add_property(in_region); }
};

/// Faces whose corners are all within so many cells of the hole.
std::size_t faces_in_box(TriMesh const& mesh, int cells)
{
    auto const is_near = [&](OpenMesh::VertexHandle v)
    {
        auto const& p = mesh.point(v);
        auto const low = static_cast<float>(3 - cells);
        auto const high = static_cast<float>(4 + cells);
        return p.x() >= low && p.x() <= high && p.y() >= low && p.y() <= high;
    };
    std::size_t n = 0;
    for (auto const face : mesh.faces())
    {
        auto const corners = mesh.fv_range(face);
        n += std::all_of(corners.begin(), corners.end(), is_near) ? 1 : 0;
    }
    return n;
}

TEST(HoleRegion, ReachesNoFartherThanItsLimits)
{
    HoledGrid grid;
    auto const close = detail::grow_regions(grid.mesh, grid.loops, {1, 1e6F}, grid.in_region);
    ASSERT_EQ(close.size(), 1U);
    EXPECT_EQ(close[0].size(), 4U) << "the faces along the hole, whatever the limits";
    auto const wide = detail::grow_regions(grid.mesh, grid.loops, {100, 1e6F}, grid.in_region);
    EXPECT_EQ(wide[0].size(), grid.mesh.n_faces());
    auto const short_paths =
        detail::grow_regions(grid.mesh, grid.loops, {100, 1.5F}, grid.in_region);
    EXPECT_GT(short_paths[0].size(), 4U);
    EXPECT_LE(short_paths[0].size(), faces_in_box(grid.mesh, 3));
}

} // namespace
