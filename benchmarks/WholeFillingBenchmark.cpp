#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "benchmarks/support/bumpy_sphere.h"
#include "benchmarks/support/step_counters.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>

/// \file
/// All holes of a mesh, and those at markers, with the share of each stage in the time. With
/// VELD_MANY_HOLES=10000 in the environment also so many holes: that takes a minute and 2.3 GB.

namespace
{

using namespace OrvaneAlgorithm;

/// Holes of 12 to 60 edges in a thousand faces each: the mesh grows with their number. Ten rings
/// around them leave about half of it, and the regions around what is left all touch.
TriMesh const& mesh_with(int holes)
{
    static std::map<int, TriMesh> meshes;
    auto const found = meshes.find(holes);
    return found != meshes.end()
               ? found->second
               : meshes.emplace(holes, veld_benchmark::bumpy_sphere(1000 * holes, holes, {12, 60}))
                     .first->second;
}

/// Arguments: holes, threads, what happens to their regions.
void holes_filling(benchmark::State& state)
{
    TriMesh const& input = mesh_with(static_cast<int>(state.range(0)));
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    gLH.clear_steps();
    for (auto _ : state)
    {
        state.PauseTiming();
        TriMesh mesh = input;
        HoleFilling filling;
        filling.set_region_process_type(static_cast<int>(state.range(2)));
        state.ResumeTiming();
        filling.holes_filling(mesh);
        state.PauseTiming();
        state.counters["open"] = static_cast<double>(filling.open_holes().size());
        mesh = TriMesh();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    veld_benchmark::add_steps(state);
}

/// One marker in a mesh of a million faces. Arguments: threads.
void marker_holes_filling(benchmark::State& state)
{
    TriMesh input = mesh_with(1000);
    veld_test::Threads const threads(static_cast<int>(state.range(0)));
    Holes holes;
    FindHolesEx::find_holes(input, holes, false);
    Vector3f centre = Vector3f::Zero();
    for (auto const vertex : holes.front())
    {
        centre += input.point(vertex) / static_cast<float>(holes.front().size());
    }
    gLH.clear_steps();
    for (auto _ : state)
    {
        state.PauseTiming();
        TriMesh mesh = input;
        MarkerHoleFilling filling;
        state.ResumeTiming();
        filling.marker_holes_filling(mesh, {centre});
        state.PauseTiming();
        mesh = TriMesh();
        state.ResumeTiming();
    }
    veld_benchmark::add_steps(state);
}

void add_many_holes(benchmark::internal::Benchmark* filling)
{
    if (char const* const holes = std::getenv("VELD_MANY_HOLES"))
    {
        filling->ArgsProduct({{std::atoi(holes)}, {2}, {0, 1, 2}});
    }
}

} // namespace

BENCHMARK(holes_filling)
    ->ArgNames({"holes", "threads", "regions"})
    ->ArgsProduct({{100}, {1, 2}, {0, 1, 2}})
    ->ArgsProduct({{1000}, {2}, {0, 1, 2}})
    ->Apply(add_many_holes)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(marker_holes_filling)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
