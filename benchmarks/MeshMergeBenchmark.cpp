#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "benchmarks/support/sphere_frames.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <string>

/// \file
/// Merging ten overlapping frames of 60 thousand points each, and sets of several such objects side
/// by side, which shows how time grows. The share of each stage is in the counters.

namespace
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::MeshMerge;
using OrvaneAlgorithm::TriMesh;
using veld_benchmark::SPACING;

/// Seconds of a step of the last run, from the report of steps.
double seconds_of(std::string const& report, std::string const& step)
{
    auto const at = report.find("{\"name\":\"" + step + "\"");
    auto const seconds = at == std::string::npos ? at : report.find("\"seconds\":", at);
    return seconds == std::string::npos ? 0.0 : std::stod(report.substr(seconds + 10));
}

/// Arguments: objects, threads.
void mesh_merge(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    veld_benchmark::FrameSet const set(static_cast<int>(state.range(0)));
    gLH.clear_steps();
    std::size_t faces = 0;
    std::size_t borders = 0;
    for (auto _ : state)
    {
        TriMesh mesh;
        std::vector<int> vertex_frames;
        MeshMerge().mesh_merge(set.ranges, SPACING, mesh, false, 20, 100, 5.0 * SPACING,
                               vertex_frames);
        state.PauseTiming();
        faces = mesh.n_faces();
        borders = 0;
        for (auto const edge : mesh.edges())
        {
            borders += edge.is_boundary() ? 1 : 0;
        }
        state.ResumeTiming();
    }
    auto const report = gLH.steps_as_json();
    for (char const* step :
         {"rge-to-mesh", "delete-long-edge", "border-stitch", "mesh-filter", "ear-trimming-round-1",
          "remove-small-components", "ear-trimming-round-2"})
    {
        state.counters[step] = benchmark::Counter(1000.0 * seconds_of(report, step),
                                                  benchmark::Counter::kAvgIterations);
    }
    state.counters["points"] = static_cast<double>(set.points);
    state.counters["faces"] = static_cast<double>(faces);
    state.counters["border_edges"] = static_cast<double>(borders);
}

} // namespace

BENCHMARK(mesh_merge)
    ->ArgNames({"objects", "threads"})
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
