#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "benchmarks/support/sphere_frames.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

/// \file
/// Taking the overlap out of ten frames of 60 thousand points each, and of sets of several such
/// objects side by side, which shows how time grows.

namespace
{

using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::RangeData;

/// Arguments: objects, threads.
void frame_overlap(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    veld_benchmark::FrameSet const set(static_cast<int>(state.range(0)));
    std::size_t left = 0;
    for (auto _ : state)
    {
        std::vector<RangeData> result;
        FrameOverlap().remove_overlap(set.ranges, result);
        left = 0;
        for (auto const& frame : result)
        {
            left += frame.get_vn();
        }
    }
    state.counters["points"] = static_cast<double>(set.points);
    state.counters["points_left"] = static_cast<double>(left);
    state.counters["points_per_second"] = benchmark::Counter(
        static_cast<double>(set.points), benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

BENCHMARK(frame_overlap)
    ->ArgNames({"objects", "threads"})
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
