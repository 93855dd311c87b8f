#include "algorithmVeld/HoleFilling/fairing/Fairing.h"

#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <Eigen/LU>

#include <omp.h>

#include <cmath>

namespace
{

using namespace OrvaneAlgorithm;
using detail::FairingLimits;
using detail::FairingSystem;
using detail::LaplaceWeight;
using detail::Patch;
using OpenMesh::VertexHandle;
using veld_test::vh;

constexpr int GRID_CELLS = 12;

/// A grid that is bumpy in all three coordinates.
TriMesh bumpy_grid()
{
    TriMesh mesh = veld_test::grid(GRID_CELLS, GRID_CELLS);
    for (auto const v : mesh.vertices())
    {
        Vector3f const bump(static_cast<float>((v.idx() * 37) % 29),
                            static_cast<float>((v.idx() * 23) % 31),
                            static_cast<float>((v.idx() * 41) % 37));
        mesh.set_point(v, mesh.point(v) + bump / 128.0F);
    }
    return mesh;
}

/// The vertices (x, y) of the grid with both coordinates within the limits.
Patch square(int from_x, int to_x, int from_y, int to_y)
{
    Patch patch;
    for (int y = from_y; y <= to_y; ++y)
    {
        for (int x = from_x; x <= to_x; ++x)
        {
            patch.push_back(vh(y * (GRID_CELLS + 1) + x));
        }
    }
    return patch;
}

/// Cotangent of the angle at `apex`, by its definition.
double cotangent(Vector3d const& apex, Vector3d const& a, Vector3d const& b)
{
    return (a - apex).dot(b - apex) / (a - apex).cross(b - apex).norm();
}

/// Weight of an edge inside the mesh, in double.
double weight(TriMesh const& mesh, OpenMesh::HalfedgeHandle h, LaplaceWeight kind)
{
    auto const point = [&](VertexHandle v) -> Vector3d { return mesh.point(v).cast<double>(); };
    Vector3d const a = point(mesh.from_vertex_handle(h));
    Vector3d const b = point(mesh.to_vertex_handle(h));
    if (kind == LaplaceWeight::INVERSE_LENGTH)
    {
        return 1.0 / (b - a).norm();
    }
    if (kind == LaplaceWeight::UNIFORM || mesh.is_boundary(mesh.edge_handle(h)))
    {
        return 1.0;
    }
    auto const tip = [&](OpenMesh::HalfedgeHandle side)
    { return point(mesh.to_vertex_handle(mesh.next_halfedge_handle(side))); };
    return cotangent(tip(h), a, b) + cotangent(tip(mesh.opposite_halfedge_handle(h)), a, b);
}

/// The operator E - I of the whole mesh as a dense matrix, one row and column a vertex.
Eigen::MatrixXd dense_operator(TriMesh const& mesh, LaplaceWeight kind)
{
    auto const n = static_cast<Eigen::Index>(mesh.n_vertices());
    Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(n, n);
    for (auto const h : mesh.halfedges())
    {
        matrix(mesh.from_vertex_handle(h).idx(), mesh.to_vertex_handle(h).idx()) =
            weight(mesh, h, kind);
    }
    for (Eigen::Index row = 0; row < n; ++row)
    {
        matrix.row(row) /= matrix.row(row).sum();
    }
    return matrix - Eigen::MatrixXd::Identity(n, n);
}

/// Where the patch has to lie so that the power of the operator vanishes on it, one row a vertex:
/// by powers of the dense matrix and a dense solver.
Eigen::MatrixXd dense_solution(TriMesh const& mesh, Patch const& patch, FairingSystem const& system)
{
    Eigen::MatrixXd const single = dense_operator(mesh, system.weight);
    Eigen::MatrixXd power = single;
    for (int k = 1; k < system.order; ++k)
    {
        power = power * single;
    }
    Eigen::MatrixXd fixed(mesh.n_vertices(), 3);
    for (auto const v : mesh.vertices())
    {
        fixed.row(v.idx()) = mesh.point(v).cast<double>();
    }
    for (auto const v : patch)
    {
        fixed.row(v.idx()).setZero();
    }
    auto const n = static_cast<Eigen::Index>(patch.size());
    Eigen::MatrixXd inner(n, n);
    Eigen::MatrixXd right(n, 3);
    for (Eigen::Index r = 0; r < n; ++r)
    {
        auto const row = power.row(patch[static_cast<std::size_t>(r)].idx());
        right.row(r) = -row * fixed;
        for (Eigen::Index c = 0; c < n; ++c)
        {
            inner(r, c) = row(patch[static_cast<std::size_t>(c)].idx());
        }
    }
    return inner.fullPivLu().solve(right);
}

bool same_points(TriMesh const& a, TriMesh const& b, Patch const& patch)
{
    for (auto const v : patch)
    {
        if (a.point(v) != b.point(v))
        {
            return false;
        }
    }
    return true;
}

class FairingOfAPatch : public testing::TestWithParam<std::tuple<int, LaplaceWeight>>
{
};

} // namespace

TEST_P(FairingOfAPatch, PutsItWhereADenseSolverPutsIt)
{
    FairingSystem const system{std::get<0>(GetParam()), std::get<1>(GetParam())};
    TriMesh const before = bumpy_grid();
    Patch const patch = square(4, 8, 4, 8); // no path of three edges uses one of the border
    auto const expected = dense_solution(before, patch, system);
    TriMesh mesh = before;
    detail::fair_patches(mesh, {patch}, system, {});
    for (std::size_t k = 0; k < patch.size(); ++k)
    {
        Vector3d const point = mesh.point(patch[k]).cast<double>();
        Vector3d const there = expected.row(static_cast<Eigen::Index>(k));
        EXPECT_LT((point - there).norm(), 2e-5);
    }
    Patch const others = square(0, GRID_CELLS, 0, 3);
    EXPECT_TRUE(same_points(mesh, before, others));
    EXPECT_FALSE(same_points(mesh, before, patch));
}

INSTANTIATE_TEST_SUITE_P(Systems, FairingOfAPatch,
                         testing::Combine(testing::Values(1, 2, 3),
                                          testing::Values(LaplaceWeight::UNIFORM,
                                                          LaplaceWeight::INVERSE_LENGTH,
                                                          LaplaceWeight::COTANGENT)));

TEST(Fairing, EachPatchSeesTheOthersWhereTheyWere)
{
    // One column lies between the patches, so the second power reaches from one into the other.
    TriMesh const before = bumpy_grid();
    std::vector<Patch> const patches{square(2, 5, 3, 9), square(7, 10, 3, 9)};
    FairingSystem const system{2, LaplaceWeight::UNIFORM};
    for (int const threads : {1, 2})
    {
        omp_set_num_threads(threads);
        TriMesh mesh = before;
        detail::fair_patches(mesh, patches, system, {});
        for (auto const& patch : patches)
        {
            auto const alone = detail::faired_points(before, patch, system);
            ASSERT_EQ(alone.size(), patch.size());
            for (std::size_t k = 0; k < patch.size(); ++k)
            {
                EXPECT_EQ(mesh.point(patch[k]), alone[k]);
            }
        }
    }
    omp_set_num_threads(omp_get_num_procs());
}

TEST(Fairing, PatchesOutsideTheLimitsStayAndAreLogged)
{
    TriMesh const before = bumpy_grid();
    std::vector<Patch> const patches{square(2, 4, 2, 2), square(6, 9, 2, 2), square(2, 6, 6, 6)};
    FairingLimits const four_only{4, 4};
    for (int const order : {1, 2, 3})
    {
        TriMesh mesh = before;
        veld_test::LogCapture const log;
        detail::fair_patches(mesh, patches, {order, LaplaceWeight::UNIFORM}, four_only);
        EXPECT_TRUE(same_points(mesh, before, patches[0]));
        EXPECT_FALSE(same_points(mesh, before, patches[1]));
        EXPECT_TRUE(same_points(mesh, before, patches[2]));
        EXPECT_EQ(log.count("  skip tiny dim Laplace's equation (with 3 verts)\n"), order == 1);
        EXPECT_EQ(log.count("  skip large dim Laplace's equation (with 3 verts)\n"), order > 1);
        EXPECT_EQ(log.count("  skip large dim Laplace's equation (with 5 verts)\n"), 1);
    }
}

TEST(Fairing, EquationsAreMetAfterItAndNotBefore)
{
    TriMesh mesh = bumpy_grid();
    std::vector<Patch> const patches{square(3, 9, 3, 9)};
    FairingSystem const system{2, LaplaceWeight::UNIFORM};
    char const* const format = "patch %d vert %d (%f, %f, %f) %f\n";
    {
        veld_test::LogCapture const log;
        detail::log_unmet_equations(mesh, patches, system, {}, format);
        EXPECT_EQ(log.count("patch 0 vert "), 49);
    }
    detail::fair_patches(mesh, patches, system, {});
    veld_test::LogCapture const log;
    detail::log_unmet_equations(mesh, patches, system, {}, format);
    EXPECT_EQ(log.count("patch 0 vert "), 0);
    EXPECT_EQ(log.count("    inner verts:                   49\n"), 1);
}
