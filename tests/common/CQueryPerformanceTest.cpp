#include "algorithmVeld/common/CQueryPerformance.h"

#include "tests/support/standard_output.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

using namespace OrvaneAlgorithm;
using veld_test::output_of;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr double PRINTED_DIGIT = 1e-6;

double seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

/// What the stopwatch prints, read back.
double printed_seconds(CQueryPerformance const& stopwatch)
{
    std::string const text = output_of([&] { stopwatch.print_spend_time("a step"); });
    double value = -1.0;
    int length = 0;
    EXPECT_EQ(std::sscanf(text.c_str(), "a step %lf s\n%n", &value, &length), 1) << text;
    EXPECT_EQ(static_cast<std::size_t>(length), text.size()) << text;
    return value;
}

} // namespace

// Readings of the clock before and after each call are limits that hold on any machine.
TEST(CQueryPerformance, MeasuresFromItsLastReset)
{
    auto const before_start = Clock::now();
    CQueryPerformance stopwatch;
    auto const after_start = Clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

    auto const before_print = Clock::now();
    double const first = printed_seconds(stopwatch);
    auto const before_reset = Clock::now();
    stopwatch.reset();
    double const second = printed_seconds(stopwatch);
    auto const end = Clock::now();

    EXPECT_GE(first, seconds(before_print - after_start) - PRINTED_DIGIT);
    EXPECT_LE(first, seconds(before_reset - before_start) + PRINTED_DIGIT);
    EXPECT_GE(second, 0.0);
    EXPECT_LE(second, seconds(end - before_reset) + PRINTED_DIGIT);
}

TEST(CQueryPerformance, NoLabelIsAnEmptyOne)
{
    std::string const text = output_of([] { CQueryPerformance().print_spend_time(nullptr); });
    EXPECT_EQ(text.substr(0, 3), " 0.");
}
