#include "algorithmVeld/HoleFilling/careful/HoleWork.h"

#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>

namespace
{

using namespace OrvaneAlgorithm;
using detail::for_each_hole;
using detail::HoleTurn;
using veld_test::Threads;

using Loops = std::vector<std::vector<OpenMesh::HalfedgeHandle>>;

Loops loops_of_sizes(std::vector<std::size_t> const& sizes)
{
    Loops loops;
    for (std::size_t const n : sizes)
    {
        loops.emplace_back(n);
    }
    return loops;
}

/// Where threads wait for each other.
class Meeting
{
public:
    explicit Meeting(int threads) : threads_(threads) {}

    /// \return whether all came; one that is alone gives up after a while
    bool attend()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        ++arrived_;
        changed_.notify_all();
        return changed_.wait_for(lock, std::chrono::seconds(20),
                                 [this] { return arrived_ >= threads_; });
    }

private:
    int threads_;
    int arrived_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
};

} // namespace

TEST(HoleWork, LargeHolesAreWorkedOnSideBySide)
{
    Threads const threads(2);
    Meeting meeting(2);
    std::atomic<int> met{0};
    for_each_hole(loops_of_sizes({300, 1000}),
                  [&](std::size_t, HoleTurn const*) { met += meeting.attend() ? 1 : 0; });
    EXPECT_EQ(met, 2);
}

TEST(HoleWork, AThreadWithoutAHoleHelpsWithThoseThatAreLeft)
{
    Threads const threads(3);
    Meeting meeting(3);
    std::atomic<int> met{0};
    for_each_hole(loops_of_sizes({5, 7, 300}),
                  [&](std::size_t hole, HoleTurn const* turn)
                  {
                      if (hole == 2)
                      {
                          turn->crew.share([&] { met += meeting.attend() ? 1 : 0; });
                      }
                  });
    EXPECT_EQ(met, 3);
}

TEST(HoleWork, AHoleThatIsAloneHasNoCrew)
{
    Threads const threads(2);
    int runs = 0;
    for_each_hole(loops_of_sizes({300}),
                  [&](std::size_t hole, HoleTurn const* turn)
                  {
                      ++runs;
                      EXPECT_EQ(hole, 0U);
                      EXPECT_EQ(turn, nullptr);
                  });
    EXPECT_EQ(runs, 1);
    for_each_hole({}, [&](std::size_t, HoleTurn const*) { ++runs; });
    EXPECT_EQ(runs, 1);
}

TEST(HoleWork, LargeHolesComeFirstAndEachHoleOnce)
{
    std::vector<std::size_t> order;
    {
        Threads const one(1);
        for_each_hole(loops_of_sizes({3, 256, 255, 900, 4}),
                      [&](std::size_t hole, HoleTurn const*) { order.push_back(hole); });
    }
    EXPECT_THAT(order, testing::ElementsAre(1, 3, 0, 2, 4));
    Threads const many(8);
    std::vector<std::atomic<int>> runs(200);
    for_each_hole(Loops(200),
                  [&](std::size_t hole, HoleTurn const* turn)
                  {
                      turn->crew.share([] {});
                      ++runs[hole];
                  });
    for (auto const& count : runs)
    {
        EXPECT_EQ(count, 1);
    }
}

TEST(HoleWork, TheExceptionOfTheFirstHoleIsThrownAndNobodyWaitsForTheOthers)
{
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        try
        {
            for_each_hole(loops_of_sizes({300, 300, 300, 5, 5, 5}),
                          [](std::size_t hole, HoleTurn const*)
                          {
                              if (hole % 3 == 1)
                              {
                                  throw std::runtime_error(std::to_string(hole));
                              }
                          });
            ADD_FAILURE() << "nothing was thrown";
        }
        catch (std::runtime_error const& error)
        {
            EXPECT_STREQ(error.what(), "1");
        }
    }
}

TEST(HoleWork, TellsHowFarALargeHoleIs)
{
    Threads const threads(2);
    std::vector<double> told;
    {
        RunScope const scope(CancelToken{}, [&](double fraction) { told.push_back(fraction); });
        for_each_hole(loops_of_sizes({3, 300}),
                      [&](std::size_t hole, HoleTurn const* turn)
                      {
                          for (int k = 1; hole == 1 && k <= 10; ++k)
                          {
                              turn->progress.reach(0.1 * k);
                          }
                      });
    }
    EXPECT_GE(told.size(), 10U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), 1.0);
}
