#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "benchmarks/support/scans.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <cmath>

/// \file
/// Closing all holes of a scan with ears, by the parallel and by the serial class, and one border
/// of growing length, which shows how cost grows with the size of a hole.

namespace
{

using OrvaneAlgorithm::EarClipping;
using OrvaneAlgorithm::EarTrimming;
using OrvaneAlgorithm::TriMesh;
using veld_benchmark::as_read;
using veld_benchmark::scan_with_holes;

template <typename Fill>
void run(benchmark::State& state, TriMesh const& mesh, Fill const& fill)
{
    std::size_t new_faces = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        {
            TriMesh copy = as_read(mesh);
            state.ResumeTiming();
            fill(copy);
            state.PauseTiming();
            new_faces = copy.n_faces() - mesh.n_faces();
        }
        state.ResumeTiming();
    }
    state.counters["faces"] = static_cast<double>(mesh.n_faces());
    state.counters["new_faces"] = static_cast<double>(new_faces);
    state.counters["new_faces/s"] = benchmark::Counter(
        static_cast<double>(new_faces), benchmark::Counter::kIsIterationInvariantRate);
}

/// Arguments: faces of the mesh, threads.
void ear_trimming(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    run(state, scan_with_holes(static_cast<int>(state.range(0))),
        [](TriMesh& mesh)
        {
            EarTrimming trimming;
            trimming.ear_trimming(mesh, false, false, true, 20, 0.6, 150.0);
        });
}

void ear_clipping(benchmark::State& state)
{
    run(state, scan_with_holes(static_cast<int>(state.range(0))),
        [](TriMesh& mesh)
        {
            EarClipping clipping;
            clipping.fill_hole(mesh);
        });
}

/// A disc whose border gets a back. Argument: edges of the border.
void ear_trimming_one_border(benchmark::State& state)
{
    auto const n = static_cast<int>(state.range(0));
    TriMesh disc;
    auto const apex = disc.add_vertex(OrvaneAlgorithm::Vector3f(0, 0, 1000));
    for (int i = 0; i < n; ++i)
    {
        double const t = 2.0 * OrvaneAlgorithm::detail::PI * i / n;
        disc.add_vertex(OrvaneAlgorithm::Vector3f(static_cast<float>(1000 * std::cos(t)),
                                                  static_cast<float>(1000 * std::sin(t)), 0));
    }
    for (int i = 0; i < n; ++i)
    {
        disc.add_face(apex, OpenMesh::VertexHandle(1 + i), OpenMesh::VertexHandle(1 + (i + 1) % n));
    }
    run(state, disc,
        [](TriMesh& mesh)
        {
            EarTrimming trimming;
            trimming.ear_trimming(mesh, false, false, false, 20, 0.6, 150.0);
        });
    state.SetComplexityN(n);
}

} // namespace

BENCHMARK(ear_trimming)
    ->ArgNames({"faces", "threads"})
    ->ArgsProduct({{90000, 900000}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ear_clipping)->Arg(90000)->Arg(900000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ear_trimming_one_border)
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->UseRealTime()
    ->Complexity(benchmark::oNLogN)
    ->Unit(benchmark::kMillisecond);
