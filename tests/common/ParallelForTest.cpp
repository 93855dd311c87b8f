#include "algorithmVeld/common/running/ParallelFor.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

using namespace OrvaneAlgorithm::detail;

namespace
{

template <typename Loop>
std::string message_of(Loop const& loop)
{
    try
    {
        loop();
    }
    catch (std::exception const& error)
    {
        return error.what();
    }
    return "";
}

} // namespace

TEST(ParallelFor, RunsEveryIterationOnce)
{
    veld_test::for_thread_counts(
        []
        {
            std::vector<int> even(1000, 0);
            std::vector<int> uneven(1000, 0);
            parallel_for_even(1000, [&](std::ptrdiff_t i) { ++even[static_cast<size_t>(i)]; });
            parallel_for_uneven(1000, [&](std::ptrdiff_t i) { ++uneven[static_cast<size_t>(i)]; });
            EXPECT_EQ(even, std::vector<int>(1000, 1));
            EXPECT_EQ(uneven, std::vector<int>(1000, 1));
        });
}

TEST(ParallelFor, ShortOnesRunOnceToo)
{
    veld_test::for_thread_counts(
        []
        {
            for (std::size_t const n : {1U, 4095U, 4096U, 4097U, 20000U})
            {
                std::vector<int> runs(n, 0);
                parallel_for_short(n, [&](std::size_t i) { ++runs.at(i); });
                EXPECT_EQ(runs, std::vector<int>(n, 1));
            }
        });
}

TEST(ParallelFor, NothingToDoDoesNothing)
{
    parallel_for_short(0, [](std::size_t) { FAIL(); });
    parallel_for_even(0, [](std::ptrdiff_t) { FAIL(); });
    parallel_for_uneven(0, [](std::ptrdiff_t) { FAIL(); });
    parallel_for_even(-3, [](std::ptrdiff_t) { FAIL(); });
    parallel_for_uneven(-3, [](std::ptrdiff_t) { FAIL(); });
}

TEST(ParallelFor, ThrowsTheExceptionOfTheFirstIterationThatFails)
{
    auto const fail_from_37 = [](std::ptrdiff_t i)
    {
        if (i >= 37)
        {
            throw std::out_of_range(std::to_string(i));
        }
    };
    veld_test::for_thread_counts(
        [&]
        {
            EXPECT_EQ(message_of([&] { parallel_for_even(500, fail_from_37); }), "37");
            EXPECT_EQ(message_of([&] { parallel_for_uneven(500, fail_from_37); }), "37");
        });
}

TEST(ParallelFor, IterationsBeforeTheFailedOneHaveRun)
{
    veld_test::for_thread_counts(
        []
        {
            std::vector<int> done(200, 0);
            EXPECT_THROW(parallel_for_uneven(200,
                                             [&](std::ptrdiff_t i)
                                             {
                                                 if (i == 150)
                                                 {
                                                     throw std::bad_alloc();
                                                 }
                                                 done[static_cast<size_t>(i)] = 1;
                                             }),
                         std::bad_alloc);
            EXPECT_EQ(std::vector<int>(done.begin(), done.begin() + 150), std::vector<int>(150, 1));
        });
}

TEST(ParallelFor, CarrierKeepsAnExceptionOfARegion)
{
    ExceptionCarrier carrier;
    carrier.rethrow();
    std::atomic<int> ran{0};
#pragma omp parallel
    {
        carrier.run(
            [&]
            {
                ++ran;
                throw std::runtime_error("from a region");
            });
    }
    EXPECT_GE(ran, 1);
    EXPECT_THROW(carrier.rethrow(), std::runtime_error);
}
