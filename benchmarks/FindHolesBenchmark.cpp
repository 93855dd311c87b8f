#include "algorithmVeld/api/algorithms.h"
#include "benchmarks/support/bumpy_sphere.h"

#include <benchmark/benchmark.h>

#include <map>

/// \file
/// Finding all holes, against the least that any search has to do: one pass over the halfedges that
/// counts those without a face.

namespace
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;

constexpr int HOLES = 1000;
constexpr int LENGTH = 30;

/// Meshes are made once for all benchmarks of their size.
TriMesh& mesh_of(int64_t faces)
{
    static std::map<int64_t, TriMesh> meshes;
    auto found = meshes.find(faces);
    if (found == meshes.end())
    {
        auto const n = static_cast<int>(faces);
        int const holes = n < 500000 ? HOLES / 10 : HOLES;
        found = meshes.emplace(faces, veld_benchmark::bumpy_sphere(n, holes, LENGTH)).first;
    }
    return found->second;
}

void count_rates(benchmark::State& state, TriMesh const& mesh)
{
    state.counters["faces"] = static_cast<double>(mesh.n_faces());
    state.counters["halfedges/s"] = benchmark::Counter(
        static_cast<double>(mesh.n_halfedges()), benchmark::Counter::kIsIterationInvariantRate);
}

void plain_pass(benchmark::State& state)
{
    TriMesh const& mesh = mesh_of(state.range(0));
    int const n = static_cast<int>(mesh.n_halfedges());
    for (auto _ : state)
    {
        int boundary = 0;
        for (int i = 0; i < n; ++i)
        {
            boundary += mesh.is_boundary(OpenMesh::HalfedgeHandle(i)) ? 1 : 0;
        }
        benchmark::DoNotOptimize(boundary);
    }
    count_rates(state, mesh);
}

void find_holes(benchmark::State& state)
{
    TriMesh& mesh = mesh_of(state.range(0));
    std::size_t found = 0;
    for (auto _ : state)
    {
        Holes holes;
        OrvaneAlgorithm::find_holes(mesh, holes, false);
        found = holes.size();
    }
    count_rates(state, mesh);
    state.counters["holes"] = static_cast<double>(found);
}

} // namespace

BENCHMARK(plain_pass)->Arg(100000)->Arg(1000000)->Arg(4000000)->Unit(benchmark::kMillisecond);
BENCHMARK(find_holes)->Arg(100000)->Arg(1000000)->Arg(4000000)->Unit(benchmark::kMillisecond);
