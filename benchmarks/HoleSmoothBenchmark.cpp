#include "algorithmVeld/HoleFilling/HoleSmooth.h"
#include "benchmarks/support/bumpy_sphere.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <vector>

/// \file
/// Smoothing patches as hole filling does, tangential C1 in a hundred steps, and whole meshes,
/// against the mean over the neighbours of each vertex by a walk along the links of the mesh: a C1
/// step is two of them.

namespace
{

using OrvaneAlgorithm::HoleSmooth;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

/// Meshes are made once for all benchmarks of their size.
TriMesh& mesh_of(int64_t faces)
{
    static std::map<int64_t, TriMesh> meshes;
    auto found = meshes.find(faces);
    if (found == meshes.end())
    {
        found = meshes.emplace(faces, veld_benchmark::bumpy_sphere(static_cast<int>(faces), 10, 12))
                    .first;
    }
    return found->second;
}

/// The property that is true on `n` vertices around the middle one of the mesh.
OpenMesh::VPropHandleT<bool> mark_patch(TriMesh& mesh, std::size_t n)
{
    OpenMesh::VPropHandleT<bool> active;
    mesh.add_property(active);
    auto& is_active = mesh.property(active).data_vector();
    std::fill(is_active.begin(), is_active.end(), false);
    std::vector<OpenMesh::VertexHandle> patch{
        OpenMesh::VertexHandle(static_cast<int>(mesh.n_vertices() / 2))};
    mesh.property(active, patch.front()) = true;
    for (std::size_t i = 0; i < patch.size(); ++i)
    {
        for (auto const v : mesh.vv_range(patch[i]))
        {
            if (!mesh.property(active, v) && patch.size() < n)
            {
                mesh.property(active, v) = true;
                patch.push_back(v);
            }
        }
    }
    return active;
}

/// Adds up the milliseconds that `run` takes.
template <typename Run>
void timed(double& milliseconds, Run const& run)
{
    auto const start = std::chrono::steady_clock::now();
    run();
    milliseconds +=
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Smooths a patch of `range(1)` vertices of a mesh of `range(0)` faces, on a fresh copy in each
/// turn.
void patch(benchmark::State& state, HoleSmooth::Component component, unsigned int steps)
{
    TriMesh& mesh = mesh_of(state.range(0));
    auto const active_vertices = static_cast<std::size_t>(state.range(1));
    auto active = mark_patch(mesh, active_vertices);
    double copying = 0.0;
    double initializing = 0.0;
    double stepping = 0.0;
    TriMesh target = mesh;
    for (auto _ : state)
    {
        HoleSmooth smoother;
        timed(copying, [&] { smoother = HoleSmooth(mesh, active); });
        timed(initializing, [&] { smoother.initialize(component, HoleSmooth::C1); });
        timed(stepping, [&] { smoother.smooth(steps); });
        smoother.get_iterative_smoothed_mesh(target);
    }
    mesh.remove_property(active);
    auto const per_turn = [](double milliseconds)
    { return benchmark::Counter(milliseconds, benchmark::Counter::kAvgIterations); };
    state.counters["copy_ms"] = per_turn(copying);
    state.counters["initialize_ms"] = per_turn(initializing);
    state.counters["steps_ms"] = per_turn(stepping);
    state.counters["ns/vertex/step"] = benchmark::Counter(
        stepping * 1e6 / (static_cast<double>(active_vertices) * static_cast<double>(steps)),
        benchmark::Counter::kAvgIterations);
}

void tangential(benchmark::State& state)
{
    patch(state, HoleSmooth::Tangential, 100);
}

void normal_dir(benchmark::State& state)
{
    patch(state, HoleSmooth::Normal_Dir, 100);
}

void mean_by_links(benchmark::State& state)
{
    TriMesh const& mesh = mesh_of(state.range(0));
    std::vector<Vector3f> means(mesh.n_vertices());
    for (auto _ : state)
    {
        for (auto const v : mesh.vertices())
        {
            Vector3f sum = Vector3f::Zero();
            for (auto const other : mesh.vv_range(v))
            {
                sum += mesh.point(other);
            }
            means[static_cast<std::size_t>(v.idx())] = sum;
        }
        benchmark::DoNotOptimize(means.data());
    }
    state.counters["ns/vertex"] = benchmark::Counter(1e-9 * static_cast<double>(mesh.n_vertices()),
                                                     benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

BENCHMARK(tangential)
    ->Args({2000, 100})
    ->Args({20000, 1000})
    ->Args({1000000, 100})
    ->Args({1000000, 10000})
    ->Args({1000000, 400000})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(normal_dir)
    ->Args({20000, 1000})
    ->Args({1000000, 10000})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(mean_by_links)->Arg(1000000)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
