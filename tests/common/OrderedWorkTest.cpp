#include "algorithmVeld/common/running/OrderedWork.h"

#include <gtest/gtest.h>

#include <omp.h>

#include <atomic>
#include <random>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using detail::OrderedWork;

namespace
{

class OrderedWorkOnFourThreads : public testing::Test
{
protected:
    OrderedWorkOnFourThreads() { omp_set_num_threads(4); }
    ~OrderedWorkOnFourThreads() override { omp_set_num_threads(threads_); }

private:
    int threads_ = omp_get_max_threads();
};

std::vector<Vector3f> random_places(int n, float extent)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> uniform(0.0F, extent);
    std::vector<Vector3f> places;
    for (int i = 0; i < n; ++i)
    {
        places.emplace_back(uniform(random), uniform(random), 0.1F * uniform(random));
    }
    return places;
}

TEST_F(OrderedWorkOnFourThreads, EveryPlaceIsDoneOnce)
{
    auto const places = random_places(500, 20.0F);
    std::vector<std::atomic<int>> done(places.size());
    OrderedWork work(places, 1.0);
    EXPECT_TRUE(work.run(
        [&](int place)
        {
            ++done[static_cast<std::size_t>(place)];
            return true;
        }));
    for (auto const& times : done)
    {
        EXPECT_EQ(times, 1);
    }
    EXPECT_TRUE(work.run([](int) -> bool { throw std::logic_error("nothing is left"); }));
}

TEST_F(OrderedWorkOnFourThreads, NearPlacesAreDoneInOrderAndNeverAtOnce)
{
    auto const places = random_places(400, 12.0F);
    std::vector<std::atomic<bool>> done(places.size());
    std::atomic<int> wrong{0};
    OrderedWork work(places, 1.0);
    work.run(
        [&](int place)
        {
            for (int other = 0; other < static_cast<int>(places.size()); ++other)
            {
                bool const near = (places[static_cast<std::size_t>(other)] -
                                   places[static_cast<std::size_t>(place)])
                                      .norm() < 2.0F;
                if (near && done[static_cast<std::size_t>(other)] != (other < place))
                {
                    ++wrong;
                }
            }
            done[static_cast<std::size_t>(place)] = true;
            return true;
        });
    EXPECT_EQ(wrong, 0);
}

TEST_F(OrderedWorkOnFourThreads, OneThreadWorksInTheOrderItself)
{
    omp_set_num_threads(1);
    auto const places = random_places(300, 20.0F);
    std::vector<int> order;
    OrderedWork(places, 1.0)
        .run(
            [&](int place)
            {
                order.push_back(place);
                return true;
            });
    ASSERT_EQ(order.size(), places.size());
    EXPECT_EQ(order.front(), 0);
}

TEST_F(OrderedWorkOnFourThreads, PlacesFarOffAndInOnePointAreDoneToo)
{
    // Such distances have no number of cells that could be counted.
    std::vector<Vector3f> const places{{0, 0, 0}, {3e38F, 0, 0}, {0, -3e38F, 1}, {0, 0, 0},
                                       {1, 1, 1}, {3e38F, 0, 0}, {0, 1e30F, 0}};
    for (double const reach : {1.0, 1e-30, 1e30, 1e308})
    {
        std::atomic<int> done{0};
        EXPECT_TRUE(OrderedWork(places, reach).run([&](int) { return ++done > 0; }));
        EXPECT_EQ(done, 7);
    }
    EXPECT_TRUE(OrderedWork({}, 1.0).run([](int) { return false; }));
}

TEST_F(OrderedWorkOnFourThreads, GoesOnWhereItWasStopped)
{
    auto const places = random_places(300, 20.0F);
    std::vector<std::atomic<int>> done(places.size());
    OrderedWork work(places, 1.0);
    int runs = 0;
    std::atomic<int> left{0};
    auto const do_some = [&](int place)
    {
        if (--left < 0)
        {
            return false;
        }
        ++done[static_cast<std::size_t>(place)];
        return true;
    };
    do
    {
        left = 40;
        ++runs;
    } while (!work.run(do_some));
    EXPECT_GE(runs, 300 / 40);
    for (auto const& times : done)
    {
        EXPECT_EQ(times, 1);
    }
}

TEST_F(OrderedWorkOnFourThreads, ExceptionReachesTheCallerAndItsPlaceIsStillToBeDone)
{
    auto const places = random_places(100, 20.0F);
    OrderedWork work(places, 1.0);
    std::atomic<int> done{0};
    EXPECT_THROW(work.run(
                     [&](int place)
                     {
                         if (place == 50)
                         {
                             throw std::runtime_error("no more");
                         }
                         return ++done > 0;
                     }),
                 std::runtime_error);
    EXPECT_TRUE(work.run([&](int) { return ++done > 0; }));
    EXPECT_EQ(done, 100);
}

} // namespace
