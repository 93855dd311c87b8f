#include "algorithmVeld/common/CQueryPerformance.h"

#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

using namespace OrvaneAlgorithm;
using veld_test::output_of;

TEST(QueryPerformance, measures_from_its_last_reset)
{
    CQueryPerformance stopwatch;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::string const before = output_of([&] { stopwatch.print_spend_time("t"); });
    stopwatch.reset();
    std::string const after = output_of([&] { stopwatch.print_spend_time("t"); });
    ASSERT_EQ(before.substr(0, 2), "t ");
    EXPECT_GE(std::atof(before.c_str() + 2), 0.02);
    EXPECT_LT(std::atof(after.c_str() + 2), std::atof(before.c_str() + 2));
}
