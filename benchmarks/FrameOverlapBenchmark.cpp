#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "benchmarks/support/sphere_frames.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

/// \file
/// Taking the overlap out of ten frames of 60 thousand points each, of sets of several such objects
/// side by side, which shows how time grows, and of hundreds of small frames of one place, as a
/// turntable that is left running gives.

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

/// Frames of 30 x 40 points of one rough surface, each a bit beside the others.
std::vector<RangeData> frames_of_one_place(int count)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-0.5F, 0.5F);
    std::vector<RangeData> frames;
    for (int f = 0; f < count; ++f)
    {
        float const right = uniform(random);
        float const down = uniform(random);
        frames.push_back(veld_test::make_frame(30, 40,
                                               [&](int r, int c)
                                               {
                                                   return OrvaneAlgorithm::Vector3f(
                                                       static_cast<float>(c) + right,
                                                       static_cast<float>(r) + down,
                                                       0.1F * uniform(random));
                                               }));
    }
    return frames;
}

/// Arguments: frames, threads.
void overlap_of_one_place(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    auto const frames = frames_of_one_place(static_cast<int>(state.range(0)));
    std::vector<RangeData const*> ranges;
    for (auto const& frame : frames)
    {
        ranges.push_back(&frame);
    }
    for (auto _ : state)
    {
        std::vector<RangeData> result;
        FrameOverlap().remove_overlap(ranges, result);
        benchmark::DoNotOptimize(result);
    }
}

} // namespace

BENCHMARK(overlap_of_one_place)
    ->ArgNames({"frames", "threads"})
    ->ArgsProduct({{20, 500, 1000, 2000}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(frame_overlap)
    ->ArgNames({"objects", "threads"})
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
