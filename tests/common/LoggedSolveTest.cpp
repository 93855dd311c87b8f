#include "algorithmVeld/common/solver/LoggedSolve.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using OrvaneAlgorithm::detail::RowMajorMatrix;
using OrvaneAlgorithm::detail::solve_logged;
using veld_test::LogCapture;

namespace
{

/// [ 2 1 ; 0 4 ]
RowMajorMatrix upper_triangle()
{
    RowMajorMatrix a(2, 2);
    a.insert(0, 0) = 2.0;
    a.insert(0, 1) = 1.0;
    a.insert(1, 1) = 4.0;
    return a;
}

} // namespace

TEST(LoggedSolve, TellsItsPhases)
{
    LogCapture const log;
    std::vector<double> x{7.0};
    EXPECT_TRUE(solve_logged(upper_triangle(), Eigen::Vector2d(4.0, 8.0), x));
    ASSERT_EQ(x.size(), 2U);
    EXPECT_NEAR(x[0], 1.0, 1e-12);
    EXPECT_NEAR(x[1], 2.0, 1e-12);
    EXPECT_EQ(log.text(), "MKL_Pardiso() ..\n"
                          "   Factorization completed ...\n"
                          "   Solve completed ... \n");
}

TEST(LoggedSolve, TellsTheSizesToWhoGivesTheNumberOfVertices)
{
    LogCapture const log;
    std::vector<double> x;
    EXPECT_TRUE(solve_logged(upper_triangle(), Eigen::Vector2d(4.0, 8.0), x, 17));
    EXPECT_EQ(log.count("  spareAMat.size() [rows, cols] = [2, 2]\n"
                        "  BVec.size()                   = 2\n"
                        "  inner verts:                  = 17\n"
                        "  vval.size()                   = 3\n"
                        "  vcol.size()                   = 3\n"
                        "  vrow.size()                   = 3\n"),
              1);
    EXPECT_EQ(log.count("   Reordering completed ... \n   Number of nonzeros in factors = "), 1);
    EXPECT_EQ(log.count("   Number of factorization MFLOPS = "), 1);
}

TEST(LoggedSolve, AResultThatIsNoNumberIsAnErrorOfTheSolution)
{
    LogCapture const log;
    std::vector<double> x{7.0};
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(solve_logged(upper_triangle(), Eigen::Vector2d(nan, 8.0), x));
    EXPECT_TRUE(x.empty());
    EXPECT_EQ(log.count("   Factorization completed ...\n   ERROR during solution: "), 1);
    EXPECT_EQ(log.count("   Solve completed"), 0);
}
