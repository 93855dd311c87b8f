#include "algorithmVeld/common/RunScope.h"
#include "algorithmVeld/common/running/OrderedWork.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace OrvaneAlgorithm;
using namespace OrvaneAlgorithm::detail;

namespace
{

/// Keeps the fractions that it is told.
struct Fractions
{
    std::vector<double> told;

    RunScope::ProgressSink sink()
    {
        return [this](double fraction) { told.push_back(fraction); };
    }

    bool grow() const
    {
        double last = 0.0;
        for (double const fraction : told)
        {
            if (fraction <= last || fraction > 1.0)
            {
                return false;
            }
            last = fraction;
        }
        return true;
    }
};

/// How many iterations of a loop run that a token cancels in its k-th one.
template <typename Loop>
std::ptrdiff_t iterations_run(Loop const& loop, std::ptrdiff_t k)
{
    CancelToken const token;
    RunScope const scope(token);
    std::atomic<std::ptrdiff_t> n{0};
    auto const body = [&](std::ptrdiff_t)
    {
        if (++n == k)
        {
            token.cancel();
        }
    };
    EXPECT_THROW(loop(body), Cancelled);
    return n;
}

auto const even = [](auto const& body) { parallel_for_even(1000000, body); };
auto const uneven = [](auto const& body) { parallel_for_uneven(100000, body); };

std::vector<Vector3f> row_of_places(int n)
{
    std::vector<Vector3f> places;
    for (int i = 0; i < n; ++i)
    {
        places.emplace_back(static_cast<float>(i), 0.0F, 0.0F);
    }
    return places;
}

} // namespace

TEST(CancelToken, CopiesShareOneState)
{
    CancelToken const token;
    CancelToken const copy = token;
    CancelToken const other;
    EXPECT_FALSE(copy.is_cancelled());
    token.cancel();
    EXPECT_TRUE(copy.is_cancelled());
    EXPECT_FALSE(other.is_cancelled());
}

TEST(Cancelled, SaysWhatItIs)
{
    EXPECT_STREQ(Cancelled().what(), "cancelled");
}

TEST(RunScope, WithoutAScopeNothingIsCancelledOrTold)
{
    CancelToken const token;
    token.cancel();
    std::atomic<int> n{0};
    parallel_for_even(5000, [&](std::ptrdiff_t) { ++n; });
    Progress progress(1);
    progress.advance();
    poll_cancel();
    EXPECT_EQ(n, 5000);
    EXPECT_EQ(RunScope::context().run, nullptr);
}

TEST(RunScope, ATokenThatIsCancelledBeforeLetsNothingBegin)
{
    CancelToken const token;
    token.cancel();
    RunScope const scope(token);
    auto const fail = [](std::ptrdiff_t) { FAIL(); };
    EXPECT_THROW(poll_cancel(), Cancelled);
    EXPECT_THROW(parallel_for_even(10, fail), Cancelled);
    EXPECT_THROW(parallel_for_uneven(10, fail), Cancelled);
    EXPECT_THROW(ProgressPart(0.0, 1.0), Cancelled);
    EXPECT_THROW(OrderedWork(row_of_places(3), 1.0).run([](int) { return true; }), Cancelled);
}

TEST(RunScope, CancelEndsLoopsForAnyNumberOfThreads)
{
    veld_test::for_thread_counts(
        []
        {
            // A few strides of each thread.
            EXPECT_LT(iterations_run(even, 100), 100 + 8 * 512);
            EXPECT_LT(iterations_run(uneven, 100), 100 + 16);
        });
}

TEST(RunScope, CancelEndsShortLoopsOfLongIterations)
{
    int n = 0;
    CancelToken const token;
    RunScope const scope(token);
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    EXPECT_THROW(parallel_for_even(10,
                                   [&](std::ptrdiff_t)
                                   {
                                       ++n;
                                       token.cancel();
                                   }),
                 Cancelled);
    omp_set_num_threads(threads);
    EXPECT_EQ(n, 1);
}

TEST(RunScope, CancelComesFromAnotherThread)
{
    veld_test::for_thread_counts(
        []
        {
            CancelToken const token;
            RunScope const scope(token);
            std::atomic<bool> runs{false};
            std::atomic<int> n{0};
            std::thread other(
                [&]
                {
                    while (!runs)
                    {
                        std::this_thread::yield();
                    }
                    token.cancel();
                });
            auto const wait = [&](std::ptrdiff_t)
            {
                runs = true;
                while (!token.is_cancelled())
                {
                    std::this_thread::yield();
                }
                ++n;
            };
            EXPECT_THROW(parallel_for_uneven(100, wait), Cancelled);
            EXPECT_LE(n, omp_get_max_threads());
            other.join();
        });
}

TEST(RunScope, WhatIsCancelledAfterwardsHasEnded)
{
    CancelToken const token;
    {
        RunScope const scope(token);
        parallel_for_even(100, [](std::ptrdiff_t) {});
        token.cancel();
    }
    parallel_for_even(100, [](std::ptrdiff_t) {});
    poll_cancel();
}

TEST(RunScope, ScopesOfTwoThreadsDoNotDisturbEachOther)
{
    CancelToken const first;
    CancelToken const second;
    std::atomic<bool> first_has_scope{false};
    std::atomic<bool> second_has_ended{false};
    Fractions fractions;
    std::thread thread(
        [&]
        {
            RunScope const scope(first, fractions.sink());
            first_has_scope = true;
            while (!second_has_ended)
            {
                std::this_thread::yield();
            }
            EXPECT_NO_THROW(parallel_for_uneven(10, [](std::ptrdiff_t) {}));
        });
    while (!first_has_scope)
    {
        std::this_thread::yield();
    }
    {
        RunScope const scope(second);
        EXPECT_NO_THROW(poll_cancel());
        second.cancel();
        EXPECT_THROW(parallel_for_even(1000000, [](std::ptrdiff_t) {}), Cancelled);
    }
    EXPECT_TRUE(fractions.told.empty());
    second_has_ended = true;
    thread.join();
    EXPECT_EQ(fractions.told.back(), 1.0);
}

TEST(RunScope, WorkersBelongToTheRunAndAreLeftAsTheyWere)
{
    veld_test::for_thread_counts(
        []
        {
            {
                RunScope const scope(CancelToken{});
                auto* const run = RunScope::context().run;
                std::atomic<int> strangers{0};
                parallel_for_uneven(100, [&](std::ptrdiff_t)
                                    { strangers += RunScope::context().run == run ? 0 : 1; });
                EXPECT_EQ(strangers, 0);
            }
            std::atomic<int> with_run{0};
#pragma omp parallel
            with_run += RunScope::context().run == nullptr ? 0 : 1;
            EXPECT_EQ(with_run, 0);
        });
}

TEST(RunScope, LoopsInLoopsEndToo)
{
    veld_test::for_thread_counts(
        []
        {
            CancelToken const token;
            RunScope const scope(token);
            std::atomic<int> ended{0};
            auto const outer = [&](std::ptrdiff_t)
            {
                try
                {
                    parallel_for_even(100000, [&](std::ptrdiff_t) { token.cancel(); });
                }
                catch (Cancelled const&)
                {
                    ++ended;
                    throw;
                }
            };
            EXPECT_THROW(parallel_for_uneven(20, outer), Cancelled);
            EXPECT_GE(ended, 1);
        });
}

TEST(RunScope, AnInnerScopeObeysBothTokens)
{
    CancelToken const outer_token;
    CancelToken const inner_token;
    RunScope const outer(outer_token);
    {
        RunScope const inner(inner_token);
        EXPECT_NO_THROW(poll_cancel());
        inner_token.cancel();
        EXPECT_THROW(poll_cancel(), Cancelled);
    }
    EXPECT_NO_THROW(poll_cancel());
    RunScope const inner(CancelToken{});
    outer_token.cancel();
    EXPECT_THROW(poll_cancel(), Cancelled);
}

TEST(RunScope, AnInnerScopeTellsItsOwnSinkOnly)
{
    Fractions outside;
    Fractions inside;
    RunScope const outer(CancelToken{}, outside.sink());
    {
        RunScope const inner(CancelToken{}, inside.sink());
        parallel_for_uneven(4, [](std::ptrdiff_t) {});
    }
    EXPECT_EQ(inside.told.back(), 1.0);
    EXPECT_TRUE(outside.told.empty());
    parallel_for_uneven(4, [](std::ptrdiff_t) {});
    EXPECT_EQ(outside.told.back(), 1.0);
}

// ---------------------------------------------------------------------------------------- progress

TEST(RunScope, ProgressOnlyGrowsAndEndsAtOne)
{
    veld_test::for_thread_counts(
        []
        {
            for (std::ptrdiff_t const n : {1, 2, 7, 1000, 300000})
            {
                Fractions of_even;
                Fractions of_uneven;
                {
                    RunScope const scope(CancelToken{}, of_even.sink());
                    parallel_for_even(n, [](std::ptrdiff_t) {});
                }
                {
                    RunScope const scope(CancelToken{}, of_uneven.sink());
                    parallel_for_uneven(n, [](std::ptrdiff_t) {});
                }
                EXPECT_TRUE(of_even.grow() && of_uneven.grow());
                EXPECT_EQ(of_even.told.back(), 1.0);
                EXPECT_EQ(of_uneven.told.back(), 1.0);
                EXPECT_LE(of_even.told.size(), 1000U);
                EXPECT_LE(of_uneven.told.size(), 1000U);
            }
        });
}

TEST(RunScope, EveryIterationOfOneThreadIsTold)
{
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    parallel_for_uneven(4, [](std::ptrdiff_t) {});
    omp_set_num_threads(threads);
    EXPECT_EQ(fractions.told, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
}

TEST(RunScope, OnlyTheOutermostLoopTells)
{
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    parallel_for_uneven(2, [](std::ptrdiff_t) { parallel_for_uneven(100, [](std::ptrdiff_t) {}); });
    omp_set_num_threads(threads);
    EXPECT_EQ(fractions.told, (std::vector<double>{0.5, 1.0}));
}

TEST(RunScope, OrderedWorkTellsAndEnds)
{
    veld_test::for_thread_counts(
        []
        {
            auto const places = row_of_places(500);
            Fractions fractions;
            {
                RunScope const scope(CancelToken{}, fractions.sink());
                EXPECT_TRUE(OrderedWork(places, 0.75).run([](int) { return true; }));
            }
            EXPECT_TRUE(fractions.grow());
            EXPECT_GE(fractions.told.size(), 100U);

            CancelToken const token;
            OrderedWork work(places, 0.75);
            std::atomic<int> n{0};
            {
                RunScope const scope(token);
                EXPECT_THROW(work.run(
                                 [&](int)
                                 {
                                     if (++n == 50)
                                     {
                                         token.cancel();
                                     }
                                     return true;
                                 }),
                             Cancelled);
            }
            EXPECT_LT(n, 50 + 8);
            // What was cut off is still to be done, and nothing is done twice.
            EXPECT_TRUE(work.run(
                [&](int)
                {
                    ++n;
                    return true;
                }));
            EXPECT_EQ(n, 500);
        });
}

TEST(Stages, DivideTheirRangeByTheirWeights)
{
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    {
        Stages stages({1, 2, 5});
        stages.next();
        Progress(1).advance();
        stages.next();
        {
            Progress progress(2);
            progress.advance();
            progress.advance();
        }
        stages.next();
        ProgressPart const half(0.0, 0.5);
    }
    EXPECT_EQ(fractions.told, (std::vector<double>{0.125, 0.25, 0.375, 0.6875, 1.0}));
}

TEST(Stages, EndIsMetExactly)
{
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    Stages stages({0.1, 0.2, 0.3, 0.1, 0.7});
    for (int i = 0; i < 5; ++i)
    {
        stages.next();
    }
    Progress(3).advance(3);
    EXPECT_EQ(fractions.told.back(), 1.0);
}

TEST(Stages, ThoseThatAreSkippedCountAsDone)
{
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    Stages stages({1, 2, 1});
    stages.next();
    stages.skip(1);
    EXPECT_EQ(fractions.told, std::vector<double>{0.75});
}

TEST(Stages, AnExceptionTellsNoEnd)
{
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    auto const fail = []
    {
        Stages stages({1, 1});
        stages.next();
        stages.next();
        throw std::runtime_error("failed");
    };
    EXPECT_THROW(fail(), std::runtime_error);
    EXPECT_EQ(fractions.told, std::vector<double>{0.5});
}

TEST(Progress, MoreStepsThanExpectedStayWithinTheRange)
{
    Fractions fractions;
    RunScope const scope(CancelToken{}, fractions.sink());
    {
        ProgressPart const part(0.0, 0.5);
        Progress progress(2);
        progress.advance(5);
        Progress(0).advance();
        EXPECT_EQ(fractions.told, std::vector<double>{0.5});
    }
}

TEST(LoopProgress, TellsAndEndsNowAndThen)
{
    CancelToken const token;
    Fractions fractions;
    RunScope const scope(token, fractions.sink());
    std::size_t n = 0;
    auto const loop = [&]
    {
        LoopProgress progress(100000);
        for (; n < 100000; ++n)
        {
            if (n == 50000)
            {
                token.cancel();
            }
            progress.next();
        }
    };
    EXPECT_THROW(loop(), Cancelled);
    EXPECT_LT(n, 60000U);
    EXPECT_GE(fractions.told.size(), 10U);
    EXPECT_TRUE(fractions.grow());
}

TEST(CancelPoll, EndsNowAndThen)
{
    CancelToken const token;
    RunScope const scope(token);
    token.cancel();
    CancelPoll poll;
    poll.next();
    auto const loop = [&]
    {
        for (int i = 0; i < 10000; ++i)
        {
            poll.next();
        }
    };
    EXPECT_THROW(loop(), Cancelled);
}

TEST(RunScope, TheSinkMayCancel)
{
    veld_test::for_thread_counts(
        []
        {
            CancelToken const token;
            std::vector<double> told;
            RunScope const scope(token,
                                 [&](double fraction)
                                 {
                                     told.push_back(fraction);
                                     if (fraction > 0.3)
                                     {
                                         token.cancel();
                                     }
                                 });
            EXPECT_THROW(parallel_for_even(1000000, [](std::ptrdiff_t) {}), Cancelled);
            EXPECT_LT(told.back(), 0.5);
        });
}

TEST(RunScope, WhatTheSinkThrowsReachesTheCaller)
{
    veld_test::for_thread_counts(
        []
        {
            RunScope const scope(CancelToken{},
                                 [](double) { throw std::runtime_error("from the sink"); });
            try
            {
                parallel_for_uneven(100, [](std::ptrdiff_t) {});
                FAIL();
            }
            catch (std::runtime_error const& error)
            {
                EXPECT_STREQ(error.what(), "from the sink");
            }
            EXPECT_THROW(Stages({1}), std::runtime_error);
        });
}

TEST(RunScope, OperationsOfTheSinkAreNotPartOfTheRun)
{
    int n = 0;
    {
        CancelToken const token;
        RunScope const scope(token,
                             [&](double)
                             {
                                 token.cancel();
                                 parallel_for_uneven(2, [&](std::ptrdiff_t) {});
                                 ++n;
                             });
        EXPECT_THROW(parallel_for_uneven(2, [](std::ptrdiff_t) {}), Cancelled);
    }
    EXPECT_GE(n, 1);
}

TEST(RunScope, AnEarlierExceptionOfALoopIsNotHiddenByCancelled)
{
    CancelToken const token;
    RunScope const scope(token);
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    EXPECT_THROW(parallel_for_uneven(10,
                                     [&](std::ptrdiff_t)
                                     {
                                         token.cancel();
                                         throw std::out_of_range("first");
                                     }),
                 std::out_of_range);
    omp_set_num_threads(threads);
}
