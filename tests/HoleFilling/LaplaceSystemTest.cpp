#include "algorithmVeld/HoleFilling/fairing/LaplaceSystem.h"

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <Eigen/LU>

#include <map>

namespace
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::assemble_laplace;
using OrvaneAlgorithm::detail::laplace_value;
using OrvaneAlgorithm::detail::PatchNeighbourhood;

float one(VertexHandle, VertexHandle)
{
    return 1.0F;
}

/// A bumpy grid whose heights are multiples of 1/64: sums of a few of them are exact in float, so
/// that only the solver's own error is left to see.
TriMesh bumpy_grid(int cells)
{
    TriMesh mesh = veld_test::grid(cells, cells);
    for (auto const v : mesh.vertices())
    {
        auto p = mesh.point(v);
        p.z() = static_cast<float>((v.idx() * 37) % 29) / 64.0F;
        mesh.set_point(v, p);
    }
    return mesh;
}

/// The vertices of a grid that lie at least `rim` edges from its border.
std::vector<VertexHandle> inner_vertices(int cells, int rim)
{
    std::vector<VertexHandle> inner;
    for (int y = rim; y <= cells - rim; ++y)
    {
        for (int x = rim; x <= cells - rim; ++x)
        {
            inner.push_back(veld_test::vh(y * (cells + 1) + x));
        }
    }
    return inner;
}

/// Positions of all vertices in double: the solution in the patch, the mesh elsewhere.
std::map<VertexHandle, Vector3d>
positions(TriMesh const& mesh, std::vector<VertexHandle> const& patch, std::vector<double> const& x)
{
    std::map<VertexHandle, Vector3d> all;
    for (auto const v : mesh.vertices())
    {
        all[v] = mesh.point(v).cast<double>();
    }
    for (std::size_t k = 0; k < patch.size(); ++k)
    {
        all[patch[k]] = Vector3d(x[3 * k], x[3 * k + 1], x[3 * k + 2]);
    }
    return all;
}

/// (E - I) applied `order` times, each time to the whole mesh: the definition, without paths.
std::map<VertexHandle, Vector3d>
repeated_mean_difference(TriMesh const& mesh, std::map<VertexHandle, Vector3d> f, int order)
{
    for (int i = 0; i < order; ++i)
    {
        std::map<VertexHandle, Vector3d> next;
        for (auto const v : mesh.vertices())
        {
            Vector3d sum = Vector3d::Zero();
            int n = 0;
            for (auto const u : mesh.vv_range(v))
            {
                sum += f.at(u);
                ++n;
            }
            next[v] = sum / n - f.at(v);
        }
        f = next;
    }
    return f;
}

class LaplaceOrder : public testing::TestWithParam<int>
{
};

TEST_P(LaplaceOrder, SolutionSatisfiesTheRepeatedNeighbourMeans)
{
    int const order = GetParam();
    int const cells = 14;
    TriMesh const mesh = bumpy_grid(cells);
    auto const patch = inner_vertices(cells, order);
    auto const system = assemble_laplace(PatchNeighbourhood(mesh, patch, order, one), order);
    std::vector<double> x;
    ASSERT_TRUE(
        OrvaneAlgorithm::HoleFillingCore().MKL_Pardiso(system.matrix, system.right_side, x));
    auto const left = repeated_mean_difference(mesh, positions(mesh, patch, x), order);
    for (auto const v : patch)
    {
        EXPECT_LT(left.at(v).norm(), 1e-9 * cells);
    }
}

TEST_P(LaplaceOrder, SolutionIsThatOfADenseSolver)
{
    int const order = GetParam();
    TriMesh const mesh = bumpy_grid(8);
    auto const patch = inner_vertices(8, order);
    auto const system = assemble_laplace(PatchNeighbourhood(mesh, patch, order, one), order);
    std::vector<double> x;
    ASSERT_TRUE(
        OrvaneAlgorithm::HoleFillingCore().MKL_Pardiso(system.matrix, system.right_side, x));
    Eigen::VectorXd const dense =
        Eigen::MatrixXd(system.matrix).fullPivLu().solve(system.right_side);
    for (std::size_t i = 0; i < x.size(); ++i)
    {
        EXPECT_NEAR(x[i], dense[static_cast<Eigen::Index>(i)], 1e-9);
    }
}

TEST_P(LaplaceOrder, ValueIsTheRepeatedMeanDifferenceOfThePoints)
{
    int const order = GetParam();
    TriMesh const mesh = bumpy_grid(8);
    auto const patch = inner_vertices(8, 2);
    PatchNeighbourhood const around(mesh, patch, order, one);
    auto const expected = repeated_mean_difference(mesh, positions(mesh, {}, {}), order);
    for (std::size_t k = 0; k < patch.size(); ++k)
    {
        Vector3f const value = laplace_value(around, order, static_cast<int>(k));
        EXPECT_LT((value.cast<double>() - expected.at(patch[k])).norm(), 1e-6);
    }
}

TEST_P(LaplaceOrder, CoordinatesShareTheirCoefficients)
{
    int const order = GetParam();
    TriMesh const mesh = bumpy_grid(8);
    auto const patch = inner_vertices(8, 2);
    auto const system = assemble_laplace(PatchNeighbourhood(mesh, patch, order, one), order);
    Eigen::MatrixXd const dense(system.matrix);
    for (Eigen::Index row = 0; row < dense.rows(); ++row)
    {
        for (Eigen::Index column = 0; column < dense.cols(); ++column)
        {
            if (row % 3 != column % 3)
            {
                EXPECT_EQ(dense(row, column), 0.0);
            }
            else
            {
                EXPECT_EQ(dense(row, column), dense(row - row % 3, column - column % 3));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, LaplaceOrder, testing::Values(1, 2, 3));

TEST(LaplaceSystem, FirstOrderRowHoldsMinusOneAndTheSharesOfTheNeighbours)
{
    // A cone of four faces: the apex is the patch, each neighbour has a quarter.
    TriMesh const mesh = veld_test::open_cone(4);
    auto const system = assemble_laplace(PatchNeighbourhood(mesh, {veld_test::vh(0)}, 1, one), 1);
    ASSERT_EQ(system.matrix.nonZeros(), 3);
    EXPECT_EQ(system.matrix.coeff(0, 0), -1.0);
    // The rim is centred on the origin: x = 0 on the right side, in all three coordinates.
    EXPECT_LT(system.right_side.norm(), 1e-6);
}

TEST(LaplaceSystem, WeightsPullTowardsTheHeavierNeighbour)
{
    TriMesh const mesh = veld_test::open_cone(4);
    auto const weight = [](VertexHandle, VertexHandle to) { return to.idx() == 1 ? 3.0F : 1.0F; };
    auto const system =
        assemble_laplace(PatchNeighbourhood(mesh, {veld_test::vh(0)}, 1, weight), 1);
    std::vector<double> x;
    ASSERT_TRUE(
        OrvaneAlgorithm::HoleFillingCore().MKL_Pardiso(system.matrix, system.right_side, x));
    // (3 (1,0,0) + (0,1,0) + (-1,0,0) + (0,-1,0)) / 6
    EXPECT_NEAR(x[0], 1.0 / 3.0, 1e-6);
    EXPECT_NEAR(x[1], 0.0, 1e-6);
    EXPECT_NEAR(x[2], 0.0, 1e-6);
}

} // namespace
