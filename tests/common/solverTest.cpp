#include "algorithmVeld/common/solver.h"

#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/solver/Pardiso.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <Eigen/LU>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using OrvaneAlgorithm::fix_solver_kernels;
using OrvaneAlgorithm::detail::RowMajorMatrix;
using OrvaneAlgorithm::detail::solve_direct;

/// Equations between the neighbours on a square lattice, for each of the coordinates by itself.
RowMajorMatrix lattice(int side, int coordinates)
{
    std::vector<Eigen::Triplet<double>> entries;
    auto const add = [&](int a, int b, double value)
    {
        for (int c = 0; c < coordinates; ++c)
        {
            entries.emplace_back(coordinates * a + c, coordinates * b + c, value);
        }
    };
    for (int k = 0; k < side * side; ++k)
    {
        add(k, k, 4.5);
        for (int const other : {k + side, (k + 1) % side != 0 ? k + 1 : side * side})
        {
            if (other < side * side)
            {
                add(k, other, -1.0 - 0.001 * (k % 7));
                add(other, k, -1.0 + 0.001 * (k % 5));
            }
        }
    }
    RowMajorMatrix matrix(coordinates * side * side, coordinates * side * side);
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

Eigen::VectorXd uneven_right_side(RowMajorMatrix const& a)
{
    Eigen::VectorXd b(a.rows());
    for (Eigen::Index i = 0; i < b.size(); ++i)
    {
        b[i] = static_cast<double>((i * 37) % 29) - 14.0;
    }
    return b;
}

std::vector<double> solution_of(RowMajorMatrix const& a)
{
    std::vector<double> x;
    EXPECT_TRUE(solve_direct(a, uneven_right_side(a), x).solved());
    return x;
}

void expect_dense_solution(RowMajorMatrix const& a)
{
    auto const x = solution_of(a);
    Eigen::VectorXd const dense = Eigen::MatrixXd(a).fullPivLu().solve(uneven_right_side(a));
    ASSERT_EQ(dense.size(), static_cast<Eigen::Index>(x.size()));
    for (std::size_t i = 0; i < x.size(); ++i)
    {
        EXPECT_NEAR(dense[static_cast<Eigen::Index>(i)], x[i], 1e-12);
    }
}

} // namespace

TEST(SolveDirect, SolvesWhatADenseSolverSolves)
{
    for (int const coordinates : {1, 2, 3})
    {
        SCOPED_TRACE(coordinates);
        expect_dense_solution(lattice(7, coordinates));
    }
}

TEST(SolveDirect, GivesTheSameBytesSideBySideAsAlone)
{
    for (int const side : {6, 14, 85})
    {
        RowMajorMatrix const matrix = lattice(side, 1);
        auto const alone = solution_of(matrix);
        std::vector<std::vector<double>> beside(side < 50 ? 100 : 12);
        veld_test::Threads const threads(8);
        OrvaneAlgorithm::detail::parallel_for_uneven(
            static_cast<std::ptrdiff_t>(beside.size()),
            [&](std::ptrdiff_t i) { beside[static_cast<std::size_t>(i)] = solution_of(matrix); });
        for (auto const& x : beside)
        {
            EXPECT_TRUE(x == alone) << side * side << " unknowns";
        }
    }
}

TEST(SolverKernels, AreFixedBeforeTheFirstSystem)
{
    RowMajorMatrix twice(2, 2);
    twice.insert(0, 0) = 2.0;
    twice.insert(1, 1) = 2.0;
    std::vector<double> x;
    ASSERT_TRUE(solve_direct(twice, Eigen::VectorXd::Constant(2, 6.0), x).solved());
    EXPECT_EQ(std::vector<double>({3.0, 3.0}), x);
    // Behind a computation nothing can be fixed any more: if it holds now, it held there.
    EXPECT_TRUE(fix_solver_kernels());
}

#ifndef _WIN32
TEST(SolverKernelsDeathTest, StayThoseThatTheHostHasChosen)
{
    if (OrvaneAlgorithm::solver_name() != std::string("MKL PARDISO"))
    {
        GTEST_SKIP() << "only MKL has a choice";
    }
    // In a process of its own, for MKL reads its environment once.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            setenv("MKL_CBWR", "AUTO", 1);
            std::exit(fix_solver_kernels() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}
#endif
