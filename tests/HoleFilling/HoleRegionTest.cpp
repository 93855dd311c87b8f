#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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

TEST(HoleRegion, RingsAndPathsStayForTheRegionsBehind)
{
    // Three rings reach half of the three cells between the holes: the regions touch, and the
    // second one goes on through the faces that the first one has brought near.
    TriMesh mesh = grid_without(9, 5, {{2, 2}, {6, 2}});
    OpenMesh::FPropHandleT<bool> in_region;
    mesh.add_property(in_region);
    Loop const first = loop_through(mesh, vh(2 * 10 + 2));
    Loop const second = loop_through(mesh, vh(2 * 10 + 6));
    auto const grow = [&](std::vector<Loop> const& loops) {
        return detail::grow_regions(mesh, loops, {3, 1e6F}, in_region);
    };
    auto const alone = grow({second})[0];
    auto const behind = grow({first, second})[1];
    EXPECT_EQ(grow({first})[0], grow({first, second})[0]);
    EXPECT_GT(behind.size(), alone.size());
}

TEST(HoleRegion, MarksEachVertexOnceAndMeasuresTheMarkedOnesOnly)
{
    HoledGrid grid;
    OpenMesh::VPropHandleT<bool> on_region;
    OpenMesh::VPropHandleT<float> edge_len;
    grid.mesh.add_property(on_region);
    grid.mesh.add_property(edge_len);
    auto const regions = detail::grow_regions(grid.mesh, grid.loops, {1, 1e6F}, grid.in_region);
    auto const marked = detail::mark_vertices(grid.mesh, {regions[0], regions[0]}, on_region);
    // The four faces along the hole have its corners, and one vertex more each.
    EXPECT_EQ(marked.size(), 8U);
    detail::measure_edges(grid.mesh, marked, edge_len);
    std::size_t n = 0;
    for (auto const v : grid.mesh.vertices())
    {
        n += grid.mesh.property(on_region, v) ? 1 : 0;
        EXPECT_EQ(grid.mesh.property(on_region, v), grid.mesh.property(edge_len, v) > 0.0F);
    }
    EXPECT_EQ(n, 8U);
    // Vertex (3, 4), a corner of the hole: four unit edges and two diagonals.
    EXPECT_FLOAT_EQ(grid.mesh.property(edge_len, vh(4 * 8 + 3)),
                    (4.0F + 2.0F * std::sqrt(2.0F)) / 6.0F);
}

} // namespace
