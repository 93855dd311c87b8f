#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/LogHolder.h"
#include "benchmarks/support/scans.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <string>

/// \file
/// Holes triangulated, refined and faired: the whole operation on a scan with many small holes, or
/// with one hole of 50 edges, with the share of each stage in its time. Arguments: faces of the
/// mesh, threads.

namespace
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;

/// Adds the seconds of a step and of those below it to the counters.
void add_steps(benchmark::State& state, nlohmann::json const& steps)
{
    for (auto const& step : steps)
    {
        state.counters[step["name"].get<std::string>() + "_ms"] =
            1000.0 * step["seconds"].get<double>() / step["laps"].get<double>();
        add_steps(state, step["children"]);
    }
}

void fill(benchmark::State& state, TriMesh const& mesh)
{
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    std::size_t new_faces = 0;
    gLH.clear_steps();
    for (auto _ : state)
    {
        state.PauseTiming();
        {
            TriMesh copy = veld_benchmark::as_read(mesh);
            Holes holes;
            OrvaneAlgorithm::find_holes(copy, holes, false);
            std::vector<std::vector<OpenMesh::FaceHandle>> faces;
            Holes vertices;
            Holes patches;
            state.ResumeTiming();
            OrvaneAlgorithm::fill_holes_core(copy, holes, 2, faces, vertices, patches, false);
            state.PauseTiming();
            new_faces = copy.n_faces() - mesh.n_faces();
        }
        state.ResumeTiming();
    }
    state.counters["new_faces"] = static_cast<double>(new_faces);
    add_steps(state, nlohmann::json::parse(gLH.steps_as_json()));
}

void fill_holes_core(benchmark::State& state)
{
    fill(state, veld_benchmark::scan_with_holes(static_cast<int>(state.range(0))));
}

/// What is left of the time when the mesh grows is what goes with the mesh.
void fill_one_hole(benchmark::State& state)
{
    fill(state, veld_benchmark::scan_with_holes(static_cast<int>(state.range(0)), 1, 50));
}

} // namespace

BENCHMARK(fill_holes_core)
    ->ArgNames({"faces", "threads"})
    ->ArgsProduct({{90000, 900000}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fill_one_hole)
    ->ArgNames({"faces", "threads"})
    ->ArgsProduct({{90000, 900000}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
