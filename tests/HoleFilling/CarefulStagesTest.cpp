#include "algorithmVeld/HoleFilling/careful/Fairing.h"
#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"
#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"
#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/HoleFilling/careful/HoleTriangulation.h"
#include "algorithmVeld/HoleFilling/careful/PatchGrowth.h"
#include "tests/support/meshes.h"

#include <Eigen/Dense>
#include <gmock/gmock.h>

#include <algorithm>

/// \file
/// The stages of careful filling by themselves, as another way of filling uses them.

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
    OpenMesh::VPropHandleT<float> edge_len;

    HoledGrid()
    {
        mesh.add_property(in_region);
        mesh.add_property(edge_len);
        detail::measure_edges(mesh, edge_len);
    }

    detail::HoleSubMesh sub_mesh(std::vector<OpenMesh::FaceHandle> const& region)
    {
        detail::HoleSubMesh sub;
        EXPECT_FALSE(detail::make_sub_mesh(mesh, region, edge_len, 0, sub));
        EXPECT_TRUE(detail::map_loop(mesh, loops[0], sub));
        return sub;
    }
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

TEST(RegionStage, RingsOfFacesReachNoFartherThanTheirLimits)
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

TEST(MergeStage, OneHoleIsFilledInItsCopyAndMergedWithoutTouchingWhatWasThere)
{
    HoledGrid grid;
    TriMesh const before = grid.mesh;
    auto const region = detail::grow_regions(grid.mesh, grid.loops, {2, 1e6F}, grid.in_region)[0];
    auto sub = grid.sub_mesh(region);
    EXPECT_FALSE(detail::triangulate_hole(sub.mesh, sub.loop, sub.face_new, {}));
    EXPECT_EQ(grid.mesh.n_faces(), before.n_faces()) << "the copy is private";

    auto const merged = detail::merge_fill(grid.mesh, sub);
    EXPECT_TRUE(merged.complete);
    EXPECT_EQ(merged.faces.size(), 2U) << "a square takes two triangles";
    EXPECT_TRUE(merged.verts.empty());
    EXPECT_EQ(grid.mesh.n_faces(), before.n_faces() + 2);
    EXPECT_TRUE(grid.mesh.is_legal());
    EXPECT_FALSE(grid.mesh.is_boundary(vh(3 * 8 + 3)));
    EXPECT_TRUE(
        std::equal(before.points(), before.points() + before.n_vertices(), grid.mesh.points()));
}

TEST(MergeStage, NewVerticesOfARefinedFillStandForThoseInTheCopy)
{
    HoledGrid grid;
    auto const n_vertices = grid.mesh.n_vertices();
    auto const region = detail::grow_regions(grid.mesh, grid.loops, {2, 1e6F}, grid.in_region)[0];
    auto sub = grid.sub_mesh(region);
    detail::triangulate_hole(sub.mesh, sub.loop, sub.face_new, {});
    // Every new face is split once, whatever its size.
    detail::refine_fill(sub.mesh, {sub.face_new, sub.vert_new, sub.vert_boundary},
                        {[](detail::FaceCorners const&) { return true; }, 1});
    auto const merged = detail::merge_fill(grid.mesh, sub);
    EXPECT_TRUE(merged.complete);
    EXPECT_EQ(merged.verts.size(), 2U);
    EXPECT_EQ(merged.faces.size(), 6U);
    EXPECT_EQ(grid.mesh.n_vertices(), n_vertices + 2);
    for (auto const vertex : merged.verts)
    {
        EXPECT_GE(vertex.idx(), static_cast<int>(n_vertices));
        EXPECT_EQ(grid.mesh.point(vertex).z(), 0.0F);
    }
    EXPECT_TRUE(grid.mesh.is_legal());
}

/// A flat grid whose inner 3 x 3 vertices are new and bent out of the plane.
struct BentGrid
{
    TriMesh mesh = grid(6, 6);
    OpenMesh::VPropHandleT<bool> is_new;
    OpenMesh::VPropHandleT<bool> on_region;

    BentGrid()
    {
        mesh.add_property(is_new);
        mesh.add_property(on_region);
        for (auto const v : mesh.vertices())
        {
            auto& p = mesh.point(v);
            bool const inner = p.x() > 1.5F && p.x() < 4.5F && p.y() > 1.5F && p.y() < 4.5F;
            mesh.property(is_new, v) = inner;
            mesh.property(on_region, v) = false;
            p.z() = inner ? 0.3F : 0.1F * p.x() * p.y();
        }
    }
};

TEST(PatchStage, IsOneConnectedSetWithANewVertexAndFixedSurroundings)
{
    BentGrid grid;
    auto const patches = detail::grow_patches(grid.mesh, grid.is_new, grid.on_region);
    ASSERT_EQ(patches.size(), 1U);
    EXPECT_EQ(patches[0].size(), 9U);
    for (auto const v : grid.mesh.vertices())
    {
        grid.mesh.property(grid.on_region, v) = true;
    }
    EXPECT_TRUE(detail::grow_patches(grid.mesh, grid.is_new, grid.on_region).empty())
        << "nothing stays beside it";
    for (auto const v : grid.mesh.vertices())
    {
        grid.mesh.property(grid.is_new, v) = false;
        grid.mesh.property(grid.on_region, v) = v.idx() == 8;
    }
    EXPECT_TRUE(detail::grow_patches(grid.mesh, grid.is_new, grid.on_region).empty())
        << "a region without a new vertex is no patch";
}

/// The uniform Laplace operator as a dense matrix over all vertices: the vertex less the mean of
/// its neighbours.
Eigen::MatrixXd dense_laplace(TriMesh const& mesh)
{
    auto const n = static_cast<Eigen::Index>(mesh.n_vertices());
    Eigen::MatrixXd laplace = Eigen::MatrixXd::Zero(n, n);
    for (auto const v : mesh.vertices())
    {
        auto const valence = static_cast<double>(mesh.valence(v));
        laplace(v.idx(), v.idx()) = 1.0;
        for (auto const u : mesh.vv_range(v))
        {
            laplace(v.idx(), u.idx()) = -1.0 / valence;
        }
    }
    return laplace;
}

TEST(FairingStage, EveryOrderIsTheDenseSolutionOfItsPowerOfTheOperator)
{
    for (int const order : {1, 2, 3})
    {
        BentGrid grid;
        auto const patch = detail::grow_patches(grid.mesh, grid.is_new, grid.on_region).at(0);
        Eigen::MatrixXd const laplace = dense_laplace(grid.mesh);
        Eigen::MatrixXd power = laplace;
        for (int i = 1; i < order; ++i)
        {
            power = power * laplace;
        }
        Eigen::MatrixXd points(grid.mesh.n_vertices(), 3);
        for (auto const v : grid.mesh.vertices())
        {
            points.row(v.idx()) = grid.mesh.point(v).cast<double>();
        }
        auto const n = static_cast<Eigen::Index>(patch.size());
        Eigen::MatrixXd matrix(n, n);
        Eigen::MatrixXd fixed = points;
        for (auto const v : patch)
        {
            fixed.row(v.idx()).setZero();
        }
        Eigen::MatrixXd right(n, 3);
        for (Eigen::Index i = 0; i < n; ++i)
        {
            auto const row = patch[static_cast<std::size_t>(i)].idx();
            right.row(i) = -power.row(row) * fixed;
            for (Eigen::Index j = 0; j < n; ++j)
            {
                matrix(i, j) = power(row, patch[static_cast<std::size_t>(j)].idx());
            }
        }
        Eigen::MatrixXd const expected = matrix.partialPivLu().solve(right);

        detail::fair_patches(grid.mesh, {patch}, {order, detail::LaplaceWeight::UNIFORM}, {});
        for (Eigen::Index i = 0; i < n; ++i)
        {
            auto const& p = grid.mesh.point(patch[static_cast<std::size_t>(i)]);
            EXPECT_LT((p.cast<double>() - expected.row(i).transpose()).norm(), 1e-6)
                << "order " << order << ", vertex " << i;
        }
    }
}

TEST(FairingStage, APatchOutsideTheLimitsStaysAsItIs)
{
    BentGrid grid;
    TriMesh const before = grid.mesh;
    auto const patches = detail::grow_patches(grid.mesh, grid.is_new, grid.on_region);
    detail::fair_patches(grid.mesh, patches, {2, detail::LaplaceWeight::UNIFORM}, {10, 100});
    detail::fair_patches(grid.mesh, patches, {2, detail::LaplaceWeight::UNIFORM}, {1, 8});
    EXPECT_TRUE(
        std::equal(before.points(), before.points() + before.n_vertices(), grid.mesh.points()));
}

} // namespace
