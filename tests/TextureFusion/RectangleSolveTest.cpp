#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"
#include "algorithmVeld/TextureFusion/solve/RectangleTasks.h"

#include "algorithmVeld/TextureFusion/solve/sources/SourceField.h"
#include "algorithmVeld/TextureFusion/solve/sources/SourceFit.h"
#include "algorithmVeld/TextureFusion/solve/sources/SourceSolve.h"
#include "algorithmVeld/TextureFusion/solve/systems/RectangleSystems.h"

#include "tests/support/log_capture.h"
#include "tests/support/threads.h"

#include <Eigen/LU>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::Image;
namespace detail = OrvaneAlgorithm::detail;
using OrvaneAlgorithm::detail::RectangleFailure;
using OrvaneAlgorithm::detail::RectangleSolver;
using OrvaneAlgorithm::detail::solve_rectangle;

struct Rectangle
{
    Image<3, float> field;
    Image<1, unsigned char> mask;

    Rectangle(int width, int height) : field(width, height), mask(width, height) {}

    void know(int x, int y, float a, float b, float c)
    {
        *mask.pixel(x, y) = 128;
        field.pixel(x, y)[0] = a;
        field.pixel(x, y)[1] = b;
        field.pixel(x, y)[2] = c;
    }
    int n_pixels() const { return mask.width() * mask.height(); }
};

/// Some pixels with values between -30 and 30.
Rectangle with_random_pixels(int width, int height, int n)
{
    Rectangle rectangle(width, height);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(-30.0F, 30.0F);
    for (int i = 0; i < n; ++i)
    {
        auto const k = static_cast<int>(random() % static_cast<unsigned>(width * height));
        rectangle.know(k % width, k / width, value(random), value(random), value(random));
    }
    return rectangle;
}

/// The values by a dense matrix of all pixels, as the mean of their neighbours is written down.
Eigen::MatrixX3d dense_solution(Rectangle const& r)
{
    int const width = r.mask.width();
    int const height = r.mask.height();
    Eigen::MatrixXd a = Eigen::MatrixXd::Identity(r.n_pixels(), r.n_pixels());
    Eigen::MatrixX3d b = Eigen::MatrixX3d::Zero(r.n_pixels(), 3);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            int const i = y * width + x;
            if (*r.mask.pixel(x, y) != 0)
            {
                b.row(i) << r.field.pixel(x, y)[0], r.field.pixel(x, y)[1], r.field.pixel(x, y)[2];
                continue;
            }
            std::vector<int> beside;
            for (auto const& [dx, dy] :
                 std::vector<std::pair<int, int>>{{-1, 0}, {0, -1}, {1, 0}, {0, 1}})
            {
                if (x + dx >= 0 && x + dx < width && y + dy >= 0 && y + dy < height)
                {
                    beside.push_back((y + dy) * width + x + dx);
                }
            }
            for (int const j : beside)
            {
                a(i, j) = -1.0 / static_cast<double>(beside.size());
            }
        }
    }
    return a.fullPivLu().solve(b);
}

double largest_difference(Image<3, float> const& field, Eigen::MatrixX3d const& solution)
{
    double largest = 0.0;
    for (Eigen::Index i = 0; i < solution.rows(); ++i)
    {
        for (Eigen::Index c = 0; c < 3; ++c)
        {
            largest = std::max(
                largest, std::abs(static_cast<double>(field.data()[3 * i + c]) - solution(i, c)));
        }
    }
    return largest;
}

bool same_bytes(Image<3, float> const& a, Image<3, float> const& b)
{
    auto const n = static_cast<std::ptrdiff_t>(3) * a.width() * a.height();
    return std::equal(a.data(), a.data() + n, b.data());
}

// A field of values up to 30 is rounded to floats by up to 1e-6.
constexpr double ROUNDED = 2e-6;

TEST(RectangleSolve, ALineIsStraightBetweenKnownPixelsAndLevelBehindThem)
{
    for (bool const is_row : {true, false})
    {
        for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
        {
            Rectangle r(is_row ? 7 : 1, is_row ? 1 : 7);
            auto const know = [&](int k, float value)
            { r.know(is_row ? k : 0, is_row ? 0 : k, value, -value, 0.0F); };
            know(1, 10.0F);
            know(5, 30.0F);
            ASSERT_EQ(solve_rectangle(r.field, r.mask, solver), RectangleFailure::NONE);
            float const expected[] = {10, 10, 15, 20, 25, 30, 30};
            for (int k = 0; k < 7; ++k)
            {
                EXPECT_NEAR(r.field.data()[3 * k], expected[k], 1e-5F);
                EXPECT_NEAR(r.field.data()[3 * k + 1], -expected[k], 1e-5F);
                EXPECT_NEAR(r.field.data()[3 * k + 2], 0.0F, 1e-5F);
            }
        }
    }
}

TEST(RectangleSolve, AllWaysAgreeWithADenseSolution)
{
    std::vector<std::pair<int, int>> const sizes{{1, 2},  {2, 1},  {1, 23},  {23, 1},  {2, 2},
                                                 {3, 17}, {19, 2}, {13, 11}, {16, 16}, {31, 24}};
    for (auto const& [width, height] : sizes)
    {
        for (int const n : {1, 2, 5, width * height / 4})
        {
            Rectangle const r = with_random_pixels(width, height, std::max(1, n));
            if (std::count(r.mask.data(), r.mask.data() + r.n_pixels(), 0) == 0)
            {
                continue;
            }
            auto const expected = dense_solution(r);
            auto simplicial = r.field;
            ASSERT_EQ(detail::solve_simplicial(simplicial, r.mask), RectangleFailure::NONE);
            EXPECT_LT(largest_difference(simplicial, expected), ROUNDED) << width << ' ' << height;
            auto pardiso = r.field;
            ASSERT_EQ(detail::solve_pardiso(pardiso, r.mask), RectangleFailure::NONE);
            EXPECT_LT(largest_difference(pardiso, expected), ROUNDED) << width << ' ' << height;
            auto sources = r.field;
            ASSERT_TRUE(detail::solve_by_sources(sources, r.mask)) << width << ' ' << height;
            EXPECT_LT(largest_difference(sources, expected), ROUNDED) << width << ' ' << height;
        }
    }
}

/// The field of fitted sources, before it is rounded, one row for each pixel.
Eigen::MatrixX3d source_solution(Rectangle const& r)
{
    auto const width = static_cast<std::size_t>(r.mask.width());
    detail::SiteGrid grid{width, static_cast<std::size_t>(r.mask.height()), {}};
    std::vector<Eigen::RowVector3d> known;
    for (std::size_t i = 0; i < static_cast<std::size_t>(r.n_pixels()); ++i)
    {
        if (r.mask.data()[i] != 0)
        {
            grid.sites.push_back({i % width, i / width});
            float const* const value = r.field.data() + 3 * i;
            known.emplace_back(value[0], value[1], value[2]);
        }
    }
    Eigen::MatrixX3d values(static_cast<Eigen::Index>(known.size()), 3);
    for (std::size_t k = 0; k < known.size(); ++k)
    {
        values.row(static_cast<Eigen::Index>(k)) = known[k];
    }
    auto const strengths = detail::fit_sources(grid, values);
    if (!strengths)
    {
        ADD_FAILURE() << "no sources";
        return Eigen::MatrixX3d::Zero(r.n_pixels(), 3);
    }
    EXPECT_LT(strengths->colwise().sum().cwiseAbs().maxCoeff(), 1e-9);
    auto const lines = detail::source_fields(grid, *strengths);
    Eigen::RowVector3d const constants =
        values.row(0) - detail::values_at_sites(grid, lines).row(0);
    Eigen::MatrixX3d solution(r.n_pixels(), 3);
    for (std::size_t i = 0; i < static_cast<std::size_t>(r.n_pixels()); ++i)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            solution(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c)) =
                lines[(3 * (i / width) + c) * width + i % width] +
                constants[static_cast<Eigen::Index>(c)];
        }
    }
    return solution;
}

TEST(RectangleSolve, TheFieldOfSourcesIsThatOfTheEquationsToEightDigits)
{
    std::vector<std::pair<int, int>> const sizes{{1, 37}, {37, 1}, {5, 41}, {29, 23}, {32, 30}};
    for (auto const& [width, height] : sizes)
    {
        for (int const n : {1, 3, 30, 100})
        {
            Rectangle const r = with_random_pixels(width, height, n);
            if (std::count(r.mask.data(), r.mask.data() + r.n_pixels(), 0) > 0)
            {
                EXPECT_LT((source_solution(r) - dense_solution(r)).cwiseAbs().maxCoeff(), 1e-8)
                    << width << ' ' << height << ' ' << n;
            }
        }
    }
}

TEST(RectangleSolve, ALargeRectangleAgreesWithItsFactorisation)
{
    // 139 and 211 are primes; the seam of a patch is a closed curve with a point every few pixels.
    Rectangle r(139, 211);
    for (int k = 0; k < 150; ++k)
    {
        double const angle = 0.0419 * k;
        r.know(static_cast<int>(69.0 + 50.0 * std::cos(angle)),
               static_cast<int>(105.0 + 80.0 * std::sin(angle)),
               static_cast<float>(20.0 * std::sin(3.0 * angle)), static_cast<float>(k % 7), 5.0F);
    }
    auto factorised = r.field;
    ASSERT_EQ(detail::solve_simplicial(factorised, r.mask), RectangleFailure::NONE);
    auto sources = r.field;
    ASSERT_TRUE(detail::solve_by_sources(sources, r.mask));
    for (int i = 0; i < 3 * r.n_pixels(); ++i)
    {
        ASSERT_NEAR(sources.data()[i], factorised.data()[i], ROUNDED) << i;
    }
    EXPECT_FLOAT_EQ(sources.pixel(3, 3)[2], 5.0F);
}

TEST(RectangleSolve, SitesThatAreManyForAMatrixAreFittedThroughTheirFields)
{
    // 1100 known pixels in 200 x 200: their matrix would have more than 16 entries for a pixel.
    Rectangle const r = with_random_pixels(200, 200, 1100);
    auto factorised = r.field;
    ASSERT_EQ(detail::solve_simplicial(factorised, r.mask), RectangleFailure::NONE);
    auto sources = r.field;
    ASSERT_TRUE(detail::solve_by_sources(sources, r.mask));
    for (int i = 0; i < 3 * r.n_pixels(); ++i)
    {
        ASSERT_NEAR(sources.data()[i], factorised.data()[i], ROUNDED) << i;
    }
}

TEST(RectangleSolve, AMirroredRectangleHasTheMirroredField)
{
    Rectangle const r = with_random_pixels(61, 47, 40);
    Rectangle mirrored(61, 47);
    Rectangle turned(47, 61);
    for (int y = 0; y < 47; ++y)
    {
        for (int x = 0; x < 61; ++x)
        {
            if (*r.mask.pixel(x, y) != 0)
            {
                float const* const v = r.field.pixel(x, y);
                mirrored.know(60 - x, y, v[0], v[1], v[2]);
                turned.know(y, x, v[0], v[1], v[2]);
            }
        }
    }
    Rectangle solved = r;
    for (Rectangle* const each : {&solved, &mirrored, &turned})
    {
        ASSERT_TRUE(detail::solve_by_sources(each->field, each->mask));
    }
    for (int y = 0; y < 47; ++y)
    {
        for (int x = 0; x < 61; ++x)
        {
            EXPECT_NEAR(solved.field.pixel(x, y)[0], mirrored.field.pixel(60 - x, y)[0], ROUNDED);
            EXPECT_NEAR(solved.field.pixel(x, y)[1], turned.field.pixel(y, x)[1], ROUNDED);
        }
    }
}

TEST(RectangleSolve, OneKnownPixelFillsTheRectangle)
{
    for (int const width : {5, 80}) // by a factorisation, and by sources
    {
        for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
        {
            Rectangle r(width, 20);
            r.know(3, 4, 7.0F, 0.25F, -1.0F);
            ASSERT_EQ(solve_rectangle(r.field, r.mask, solver), RectangleFailure::NONE);
            for (int i = 0; i < r.n_pixels(); ++i)
            {
                EXPECT_NEAR(r.field.data()[3 * i], 7.0F, 1e-5F);
                EXPECT_NEAR(r.field.data()[3 * i + 1], 0.25F, 1e-5F);
                EXPECT_NEAR(r.field.data()[3 * i + 2], -1.0F, 1e-5F);
            }
        }
    }
}

TEST(RectangleSolve, WithoutUnknownPixelsNothingIsSolved)
{
    LogCapture const log;
    for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
    {
        Rectangle r(3, 2);
        for (int i = 0; i < 6; ++i)
        {
            r.know(i % 3, i / 3, static_cast<float>(i), 0.0F, 1.0F);
        }
        EXPECT_EQ(solve_rectangle(r.field, r.mask, solver), RectangleFailure::NONE);
        EXPECT_EQ(r.field.pixel(2, 1)[0], 5.0F);
        Rectangle empty(0, 0);
        EXPECT_EQ(solve_rectangle(empty.field, empty.mask, solver), RectangleFailure::NONE);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(RectangleSolve, WithoutKnownPixelsItFails)
{
    for (int const width : {4, 100})
    {
        Rectangle r(width, 30);
        EXPECT_EQ(solve_rectangle(r.field, r.mask, RectangleSolver::SIMPLICIAL),
                  RectangleFailure::DECOMPOSITION);
        EXPECT_EQ(solve_rectangle(r.field, r.mask, RectangleSolver::PARDISO),
                  RectangleFailure::PARDISO);
    }
}

TEST(RectangleSolve, ValuesThatAreNoNumbersFailAndLeaveTheField)
{
    Rectangle r(60, 40);
    r.know(3, 4, std::numeric_limits<float>::quiet_NaN(), 0.0F, 0.0F);
    r.know(30, 20, 1.0F, 2.0F, 3.0F);
    EXPECT_FALSE(detail::solve_by_sources(r.field, r.mask));
    EXPECT_EQ(solve_rectangle(r.field, r.mask, RectangleSolver::SIMPLICIAL),
              RectangleFailure::SOLUTION);
    EXPECT_EQ(r.field.pixel(10, 10)[1], 0.0F);
}

TEST(RectangleSolve, EachFailureHasItsLine)
{
    detail::FailureTexts const texts{"piece[%d] has no factors.\n", "piece[%d] has no field.\n"};
    auto const line_of = [&](RectangleFailure failure)
    {
        LogCapture const log;
        detail::log_failure(failure, texts, 12);
        return log.text();
    };
    EXPECT_EQ(line_of(RectangleFailure::NONE), "");
    EXPECT_EQ(line_of(RectangleFailure::DECOMPOSITION), "piece[12] has no factors.\n");
    EXPECT_EQ(line_of(RectangleFailure::SOLUTION), "piece[12] has no field.\n");
    EXPECT_EQ(line_of(RectangleFailure::PARDISO), "  MKL_Pardiso failed.\n");
    // That solver tells why by itself.
    EXPECT_EQ(line_of(RectangleFailure::SPARSE_LU), "");
}

TEST(RectangleSolve, KnownPixelsStayToTheBit)
{
    Rectangle const r = with_random_pixels(90, 70, 60);
    for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
    {
        auto field = r.field;
        ASSERT_EQ(solve_rectangle(field, r.mask, solver), RectangleFailure::NONE);
        for (int i = 0; i < 3 * r.n_pixels(); ++i)
        {
            if (r.mask.data()[i / 3] != 0)
            {
                EXPECT_EQ(field.data()[i], r.field.data()[i]);
            }
        }
    }
}

TEST(RectangleSolve, AnyNumberOfThreadsGivesTheSameBytes)
{
    for (auto const& [width, n] : std::vector<std::pair<int, int>>{{151, 90}, {230, 1500}})
    {
        Rectangle const r = with_random_pixels(width, 167, n);
        std::vector<Image<3, float>> fields;
        for (int const threads : {1, 2, 8})
        {
            Threads const with(threads);
            fields.push_back(r.field);
            ASSERT_TRUE(detail::solve_by_sources(fields.back(), r.mask));
        }
        EXPECT_TRUE(same_bytes(fields[0], fields[1]));
        EXPECT_TRUE(same_bytes(fields[0], fields[2]));
    }
}

TEST(RectangleSolve, TheDirectSolverTellsItsPhases)
{
    LogCapture const log;
    Rectangle r(3, 3);
    r.know(1, 1, 1.0F, 2.0F, 3.0F);
    ASSERT_EQ(solve_rectangle(r.field, r.mask, RectangleSolver::PARDISO), RectangleFailure::NONE);
    EXPECT_EQ(log.text(), "MKL_Pardiso() ..\n"
                          "   Factorization completed ...\n"
                          "   Solve completed ... \n");
}

} // namespace
TEST(RectangleTasks, WhatIsLargeBesideAllOthersComesFirstAndItsLinesInTheirOrder)
{
    auto const sorted = detail::large_first({10, 300000, 250000, 199999, 20});
    EXPECT_EQ(sorted.order, (std::vector<std::size_t>{1, 2, 3, 4, 0}));
    EXPECT_EQ(sorted.n_large, 2U);
    EXPECT_DOUBLE_EQ(sorted.share, 550000.0 / 750029.0);
    EXPECT_EQ(detail::large_first(std::vector<std::size_t>(5, 300000)).n_large, 0U)
        << "none has a quarter of all";
    EXPECT_EQ(detail::large_first({}).share, 0.0);

    LogCapture const log;
    detail::for_each_rectangle({10, 300000, 250000},
                               [](std::size_t k) { detail::log("%d\n", static_cast<int>(k)); });
    EXPECT_EQ(log.text(), "0\n1\n2\n");
}

} // namespace veld_test
