#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "benchmarks/support/sphere_frames.h"

#include <benchmark/benchmark.h>

#include <omp.h>

/// \file
/// Taking the overlap out of ten frames of 60 thousand points each, and of sets of several such
/// objects side by side, which shows how time grows.

namespace
{

using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::RangeData;

constexpr double spacing = 0.12;

/// The frames of an object several times, side by side.
std::vector<RangeData> objects(int count)
{
    static std::vector<RangeData> const object = veld_benchmark::sphere_frames(10, spacing);
    std::vector<RangeData> frames;
    for (int i = 0; i < count; ++i)
    {
        for (auto frame : object)
        {
            auto pose = frame.get_rigidMatrix();
            pose.set_translation(pose.get_translation() +
                                 OrvaneAlgorithm::Vector3d(0, 60.0 * i, 0));
            frame.set_rigidMatrix(pose);
            frames.push_back(frame);
        }
    }
    return frames;
}

/// Arguments: objects, threads.
void frame_overlap(benchmark::State& state)
{
    int const threads = omp_get_max_threads();
    omp_set_num_threads(static_cast<int>(state.range(1)));
    auto const frames = objects(static_cast<int>(state.range(0)));
    std::vector<RangeData const*> ranges;
    std::size_t points = 0;
    for (auto const& frame : frames)
    {
        ranges.push_back(&frame);
        points += frame.get_vn();
    }
    std::size_t left = 0;
    for (auto _ : state)
    {
        std::vector<RangeData> result;
        FrameOverlap().remove_overlap(ranges, result);
        left = 0;
        for (auto const& frame : result)
        {
            left += frame.get_vn();
        }
    }
    state.counters["points"] = static_cast<double>(points);
    state.counters["points_left"] = static_cast<double>(left);
    state.counters["points_per_second"] = benchmark::Counter(
        static_cast<double>(points), benchmark::Counter::kIsIterationInvariantRate);
    omp_set_num_threads(threads);
}

} // namespace

BENCHMARK(frame_overlap)
    ->ArgNames({"objects", "threads"})
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
