#include "algorithmVeld/reconstruction/GeoPatentRecon.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "benchmarks/support/real_scans.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <vector>

/// \file
/// Both merges on the ten scans of the bunny, 360 thousand points, side by side. Skipped where
/// VELD_TEST_DATA is not set.

namespace
{

using OrvaneAlgorithm::GeoPatentRecon;
using OrvaneAlgorithm::MeshMerge;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::TriMesh;

constexpr double SPACING = 0.6;

/// One merge has the spacing of its ears as a setting, the other takes it from the call.
void set_spacing(MeshMerge& merger)
{
    merger.set_point_spacing(SPACING);
}
void set_spacing(GeoPatentRecon& /*merger*/) {}

/// Argument: threads.
template <typename Merger>
void merge_bunny(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(0)));
    auto const frames = veld_benchmark::bunny_frames();
    if (frames.empty())
    {
        state.SkipWithError("VELD_TEST_DATA is not set");
        return;
    }
    std::vector<RangeData const*> pointers;
    for (auto const& frame : frames)
    {
        pointers.push_back(&frame);
    }
    std::size_t faces = 0;
    for (auto _ : state)
    {
        TriMesh mesh;
        std::vector<int> vertex_frames;
        Merger merger;
        set_spacing(merger);
        merger.mesh_merge(pointers, SPACING, mesh, false, 30, 100, 5.0 * SPACING, vertex_frames);
        faces = mesh.n_faces();
    }
    state.counters["faces"] = static_cast<double>(faces);
}

} // namespace

BENCHMARK_TEMPLATE(merge_bunny, MeshMerge)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(merge_bunny, GeoPatentRecon)
    ->ArgName("threads")
    ->Arg(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
