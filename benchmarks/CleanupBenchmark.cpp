#include "algorithmVeld/algorithmVeld.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "benchmarks/support/dirty_sphere.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

/// \file
/// Removing specks and non-manifold vertices, against what every removal has to do at least: one
/// pass over the edges, and taking the gaps out of the arrays.

namespace
{

using OrvaneAlgorithm::TriMesh;

#if defined(__GLIBC__)
/// Blocks below 32 MB, those of a million faces, would be handed out again while they are warm;
/// those of four million come fresh from the system each time. So that sizes can be compared, all
/// of them pay for fresh pages.
[[maybe_unused]] int const fresh_pages = mallopt(M_MMAP_THRESHOLD, 65536);
#endif

/// Meshes are made once for all benchmarks of their size.
TriMesh const& mesh_of(int64_t faces)
{
    static std::map<int64_t, TriMesh> meshes;
    auto found = meshes.find(faces);
    if (found == meshes.end())
    {
        int const n = static_cast<int>(faces);
        found = meshes.emplace(faces, veld_benchmark::dirty_sphere(n, n / 1000, n / 5000)).first;
    }
    return found->second;
}

/// Times `run` on a fresh copy in each turn.
template <typename Prepare, typename Run>
void measure(benchmark::State& state, Prepare const& prepare, Run const& run)
{
    TriMesh const& original = mesh_of(state.range(0));
    std::size_t faces_left = 0;
    for (auto _ : state)
    {
        TriMesh mesh = original;
        prepare(mesh);
        auto const start = std::chrono::steady_clock::now();
        run(mesh);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        faces_left = mesh.n_faces();
    }
    state.counters["faces"] = static_cast<double>(original.n_faces());
    state.counters["removed"] = static_cast<double>(original.n_faces() - faces_left);
}

void nothing(TriMesh&) {}

void by_face(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh)
            { OrvaneAlgorithm::remove_small_components_by_face(mesh, 20, false); });
}

void by_vert(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh)
            { OrvaneAlgorithm::remove_small_components_by_vert(mesh, 20, false); });
}

void strong_connection(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh)
            { OrvaneAlgorithm::remove_small_components_by_face_strong_connection(mesh, 20, 2); });
}

void small_objects(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh)
            { OrvaneAlgorithm::PostProcessing().remove_small_objects(mesh, 20); });
}

void non_manifold_verts(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh) { OrvaneAlgorithm::remove_non_manifold_verts(mesh, false); });
}

void plain_pass(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh)
            {
                int sum = 0;
                int const n = static_cast<int>(mesh.n_halfedges());
                for (int i = 0; i < n; ++i)
                {
                    OpenMesh::HalfedgeHandle const h(i);
                    sum += mesh.face_handle(h).idx() + mesh.next_halfedge_handle(h).idx();
                }
                benchmark::DoNotOptimize(sum);
            });
}

void request_status(benchmark::State& state)
{
    measure(state, nothing,
            [](TriMesh& mesh) { OrvaneAlgorithm::detail::DeletionScope const status(mesh); });
}

/// Every thousandth face and its vertices, as many as there are in the specks.
void delete_some(TriMesh& mesh)
{
    OrvaneAlgorithm::detail::DeletionScope const status(mesh);
    mesh.request_vertex_status();
    mesh.request_face_status();
    mesh.request_edge_status();
    int const n = static_cast<int>(mesh.n_faces());
    for (int f = 0; f < n; f += 1000)
    {
        OrvaneAlgorithm::detail::delete_vertex_checked(
            mesh, *mesh.cfv_iter(OpenMesh::FaceHandle(f)),
            OrvaneAlgorithm::detail::IsolatedVertices::DELETED);
    }
}

void compaction(benchmark::State& state)
{
    measure(state, delete_some, [](TriMesh& mesh) { OrvaneAlgorithm::detail::compact(mesh); });
}

void garbage_collection(benchmark::State& state)
{
    measure(state, delete_some, [](TriMesh& mesh) { mesh.garbage_collection(true, true, true); });
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(250000)->Arg(1000000)->Arg(4000000);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(plain_pass)->Apply(sizes);
BENCHMARK(request_status)->Apply(sizes);
BENCHMARK(compaction)->Apply(sizes);
BENCHMARK(garbage_collection)->Apply(sizes);
BENCHMARK(by_face)->Apply(sizes);
BENCHMARK(by_vert)->Apply(sizes);
BENCHMARK(strong_connection)->Apply(sizes);
BENCHMARK(small_objects)->Apply(sizes);
BENCHMARK(non_manifold_verts)->Apply(sizes);
