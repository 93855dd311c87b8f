#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/solver/Pardiso.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

using namespace OrvaneAlgorithm;
using detail::RowMajorMatrix;

namespace
{

/// Laplace's equation on a square grid.
RowMajorMatrix grid_matrix(int side)
{
    std::vector<Eigen::Triplet<double>> entries;
    auto const place = [&](int x, int y) { return y * side + x; };
    for (int y = 0; y < side; ++y)
    {
        for (int x = 0; x < side; ++x)
        {
            entries.emplace_back(place(x, y), place(x, y), 4.5);
            if (x + 1 < side)
            {
                entries.emplace_back(place(x, y), place(x + 1, y), -1.0);
                entries.emplace_back(place(x + 1, y), place(x, y), -1.0);
            }
            if (y + 1 < side)
            {
                entries.emplace_back(place(x, y), place(x, y + 1), -1.0);
                entries.emplace_back(place(x, y + 1), place(x, y), -1.0);
            }
        }
    }
    RowMajorMatrix matrix(side * side, side * side);
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

} // namespace

TEST(SolveDirect, EndsWhereItIsCancelledAndSolvesTheSameAfterwards)
{
    RowMajorMatrix const matrix = grid_matrix(300);
    Eigen::VectorXd const right_side = Eigen::VectorXd::Ones(matrix.rows());
    std::vector<double> before;
    ASSERT_TRUE(detail::solve_direct(matrix, right_side, before).solved());

    int cancelled = 0;
    for (int milliseconds = 0; milliseconds < 100; milliseconds += 10)
    {
        CancelToken const token;
        std::thread canceller(
            [&]
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
                token.cancel();
            });
        std::vector<double> x;
        try
        {
            RunScope const scope(token);
            detail::solve_direct(matrix, right_side, x);
        }
        catch (Cancelled const&)
        {
            ++cancelled;
            EXPECT_TRUE(x.empty());
        }
        canceller.join();
    }
    EXPECT_GE(cancelled, 1);
    std::vector<double> after;
    ASSERT_TRUE(detail::solve_direct(matrix, right_side, after).solved());
    EXPECT_EQ(after, before);
}

TEST(SolveDirect, ARunThatIsCancelledBeforeSolvesNothing)
{
    CancelToken const token;
    token.cancel();
    RunScope const scope(token);
    std::vector<double> x;
    EXPECT_THROW(detail::solve_direct(grid_matrix(3), Eigen::VectorXd::Ones(9), x), Cancelled);
}
