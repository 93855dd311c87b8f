#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/RegionGrowth.h"
#include "random_hole_meshes.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

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

/// Two holes with three cells between them. Three rings reach half of these: the regions touch.
struct TwoHoles
{
    TriMesh mesh = grid_without(9, 5, {{2, 2}, {6, 2}});
    Loop first = loop_through(mesh, vh(2 * 10 + 2));
    Loop second = loop_through(mesh, vh(2 * 10 + 6));
    detail::RegionLimits limits{3, 1e6F};
};

TEST(RegionGrowth, RingsAndPathsStayForTheRegionsBehind)
{
    TwoHoles const holes;
    auto const alone = detail::RegionGrowth(holes.mesh, holes.limits).grow(holes.second).faces;
    detail::RegionGrowth growth(holes.mesh, holes.limits);
    auto const first = growth.grow(holes.first).faces;
    auto const behind = growth.grow(holes.second).faces;
    // It goes on through all faces that the first one has brought near.
    EXPECT_EQ(std::set<OpenMesh::FaceHandle>(behind.begin(), behind.end()).size(), behind.size());
    ASSERT_GT(behind.size(), alone.size());
    EXPECT_TRUE(std::equal(alone.begin(), alone.end(), behind.begin()));
    for (auto const face : first)
    {
        EXPECT_NE(std::find(behind.begin(), behind.end(), face), behind.end());
    }
}

TEST(RegionGrowth, WhatOtherRegionsHaveHadCanBeLeftOutBeyondTheOwnRings)
{
    TwoHoles const holes;
    auto const alone = detail::RegionGrowth(holes.mesh, holes.limits).grow(holes.second).faces;
    detail::RegionGrowth growth(holes.mesh, holes.limits);
    growth.grow(holes.first);
    EXPECT_EQ(growth.grow(holes.second, detail::RegionPart::OWN_OR_NEW).faces, alone);
}

TEST(RegionGrowth, KnowsWhetherThePathHasKeptAFaceOut)
{
    HoledGrid const grid;
    auto const grow = [&](int rings, float path) {
        return detail::RegionGrowth(grid.mesh, {rings, path}).grow(grid.loops[0]);
    };
    EXPECT_FALSE(grow(2, 1e6F).is_cut_short);
    EXPECT_FALSE(grow(1, 0.1F).is_cut_short) << "the limit of rings does it first";
    EXPECT_TRUE(grow(2, 0.1F).is_cut_short);
}

TEST(RegionGrowth, KnowsWhetherItHasAllFacesAroundTheHole)
{
    HoledGrid const grid;
    auto const grow = [&](int rings, float path) {
        return detail::RegionGrowth(grid.mesh, {rings, path}).grow(grid.loops[0]);
    };
    // At each corner of the hole four or five faces lie between two along its edges.
    EXPECT_FALSE(grow(1, 1e6F).has_whole_rim);
    EXPECT_FALSE(grow(2, 1e6F).has_whole_rim);
    EXPECT_TRUE(grow(4, 1e6F).has_whole_rim);
    EXPECT_FALSE(grow(4, 0.1F).has_whole_rim);
}

TEST(HoleRegion, AHoleAmongManyHasWhatItsOwnStepsReach)
{
    // Regions that hang together: each would go on through those of all holes before it.
    std::vector<std::pair<int, int>> cells;
    for (int i = 0; i < 40; ++i)
    {
        cells.emplace_back(4 * i + 2, 2);
    }
    TriMesh mesh = grid_without(163, 5, cells);
    std::vector<Loop> loops;
    for (auto const& [x, y] : cells)
    {
        loops.push_back(loop_through(mesh, vh(y * 164 + x)));
    }
    OpenMesh::FPropHandleT<bool> in_region;
    mesh.add_property(in_region);
    auto const regions = detail::grow_regions(mesh, loops, {5, 1e6F}, in_region);
    for (std::size_t i = 0; i < loops.size(); ++i)
    {
        EXPECT_EQ(regions[i], detail::RegionGrowth(mesh, {5, 1e6F}).grow(loops[i]).faces);
    }
}

/// The faces of a region that touch its hole, in their order.
std::vector<OpenMesh::FaceHandle> at_hole(TriMesh const& mesh, Loop const& loop,
                                          std::vector<OpenMesh::FaceHandle> const& region)
{
    std::set<OpenMesh::FaceHandle> touching;
    for (auto const h : loop)
    {
        for (auto const face : mesh.vf_range(mesh.from_vertex_handle(h)))
        {
            touching.insert(face);
        }
    }
    std::vector<OpenMesh::FaceHandle> faces;
    std::copy_if(region.begin(), region.end(), std::back_inserter(faces),
                 [&](OpenMesh::FaceHandle face) { return touching.count(face) > 0; });
    return faces;
}

/// What the cases drawn by lot have among them.
struct Cases
{
    int shorter = 0;   ///< Regions with fewer faces than growing them one behind the other gives.
    int cut_short = 0; ///< Meshes of several holes where a path keeps faces out.
    int brought = 0;   ///< Of these, with faces that no hole alone would have taken.
};

/// Together the regions have the faces that growing them one behind the other gives, and each has
/// the same ones at its hole, in the same order.
void expect_plain_growth(unsigned seed, Cases& cases)
{
    Lot lot(seed + 3000000U);
    TriMesh mesh = random_hole_mesh(seed);
    for (auto const v : mesh.vertices())
    {
        auto& p = mesh.point(v);
        p.x() *= 1.0F + 2.0F * std::abs(std::sin(2.0F * p.y())); // long edges beside short ones
    }
    auto const loops = loops_of(mesh);
    detail::RegionLimits const limits{lot.of<int>({1, 2, 3, 5, 10}),
                                      lot.of<float>({1.0F, 2.0F, 4.0F, 10.0F}) * cell_size(mesh)};
    OpenMesh::FPropHandleT<bool> in_region;
    OpenMesh::FPropHandleT<bool> in_region_at_holes;
    mesh.add_property(in_region);
    mesh.add_property(in_region_at_holes);
    auto const regions = detail::grow_regions(mesh, loops, limits, in_region);
    auto const at_holes = detail::grow_regions(mesh, loops, limits, in_region_at_holes,
                                               detail::RegionUse::SUB_MESHES);
    auto const plain = reference::RegionGrowth(mesh, limits.rings, limits.path)
                           .grow(loops, std::vector<bool>(loops.size(), true));
    bool cut_short = false;
    std::set<OpenMesh::FaceHandle> alone;
    for (std::size_t i = 0; i < loops.size(); ++i)
    {
        auto const expected = at_hole(mesh, loops[i], plain.regions[i]);
        EXPECT_EQ(at_hole(mesh, loops[i], regions[i]), expected);
        EXPECT_EQ(at_hole(mesh, loops[i], at_holes[i]), expected);
        cases.shorter += regions[i].size() < plain.regions[i].size() ? 1 : 0;
        auto const own = detail::RegionGrowth(mesh, limits).grow(loops[i]);
        cut_short = cut_short || own.is_cut_short;
        alone.insert(own.faces.begin(), own.faces.end());
    }
    std::set<OpenMesh::FaceHandle> listed;
    for (auto const& region : regions)
    {
        listed.insert(region.begin(), region.end());
    }
    for (auto const face : mesh.faces())
    {
        bool const expected = plain.face_region[static_cast<std::size_t>(face.idx())];
        EXPECT_EQ(mesh.property(in_region, face), expected) << "face " << face.idx();
        EXPECT_EQ(listed.count(face) > 0, expected) << "face " << face.idx();
    }
    cases.cut_short += cut_short && loops.size() > 1 ? 1 : 0;
    cases.brought += alone.size() < listed.size() ? 1 : 0;
}

TEST(HoleRegion, RandomRegionsAreThoseOfGrowingOneBehindTheOther)
{
    Cases cases;
    for (unsigned seed = 0; seed < 300 && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        expect_plain_growth(seed, cases);
    }
    EXPECT_GT(cases.shorter, 50);
    EXPECT_GT(cases.cut_short, 50);
    EXPECT_GT(cases.brought, 0);
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
