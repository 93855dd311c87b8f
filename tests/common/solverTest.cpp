#include "algorithmVeld/common/solver.h"

#include "algorithmVeld/common/solver/Pardiso.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using OrvaneAlgorithm::fix_solver_kernels;
using OrvaneAlgorithm::detail::RowMajorMatrix;
using OrvaneAlgorithm::detail::solve_direct;

} // namespace

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
