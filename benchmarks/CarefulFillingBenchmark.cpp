#include "algorithmVeld/HoleFilling/fairing/LaplaceSystem.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/LogHolder.h"
#include "benchmarks/support/scans.h"
#include "benchmarks/support/step_counters.h"
#include "tests/support/meshes.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <vector>

/// \file
/// Holes triangulated, refined and faired: the whole operation on a scan with many small holes, or
/// with one hole of 50 edges, with the share of each stage in its time. Arguments: faces of the
/// mesh, threads. And its systems by themselves: assembled and solved for a square patch.
/// Arguments: vertices along its side, power of the Laplace operator.

namespace
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;

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
    veld_benchmark::add_steps(state);
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

struct SquarePatch
{
    TriMesh mesh;
    std::vector<OpenMesh::VertexHandle> verts;

    explicit SquarePatch(int side) : mesh(veld_test::grid(side + 5, side + 5))
    {
        for (int y = 3; y < side + 3; ++y)
        {
            for (int x = 3; x < side + 3; ++x)
            {
                verts.emplace_back(y * (side + 6) + x);
            }
        }
    }

    OrvaneAlgorithm::detail::LaplaceSystem system(int order) const
    {
        auto const one = [](OpenMesh::VertexHandle, OpenMesh::VertexHandle) { return 1.0F; };
        return OrvaneAlgorithm::detail::assemble_laplace({mesh, verts, order, one}, order);
    }
};

void assemble_patch(benchmark::State& state)
{
    SquarePatch const patch(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(patch.system(static_cast<int>(state.range(1))));
    }
}

void solve_patch(benchmark::State& state)
{
    auto const system =
        SquarePatch(static_cast<int>(state.range(0))).system(static_cast<int>(state.range(1)));
    std::vector<double> x;
    for (auto _ : state)
    {
        auto const report =
            OrvaneAlgorithm::detail::solve_direct(system.matrix, system.right_side, x);
        state.counters["factor_entries"] = report.factor_nonzeros;
    }
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
BENCHMARK(assemble_patch)
    ->ArgNames({"side", "power"})
    ->ArgsProduct({{13, 100}, {2, 3}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(solve_patch)
    ->ArgNames({"side", "power"})
    ->ArgsProduct({{5, 13, 30, 60, 140}, {2}})
    ->Unit(benchmark::kMicrosecond);
