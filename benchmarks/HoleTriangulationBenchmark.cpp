#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "benchmarks/support/bumpy_sphere.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <random>
#include <vector>

/// \file
/// The triangulation of one hole by its length: in a bumpy sphere as scans have it, and in a flat
/// disc, where all angles are equal and areas decide. Arguments: edges, threads.

namespace
{

using OpenMesh::HalfedgeHandle;
using OrvaneAlgorithm::HoleFillingCore;
using OrvaneAlgorithm::TriMesh;

struct Hole
{
    TriMesh mesh;
    std::vector<HalfedgeHandle> loop;
    OpenMesh::FPropHandleT<bool> face_new;

    explicit Hole(TriMesh const& given) : mesh(given)
    {
        mesh.request_face_normals();
        mesh.update_face_normals();
        mesh.add_property(face_new, "face_new");
        for (auto const start : mesh.halfedges())
        {
            if (mesh.is_boundary(start))
            {
                HalfedgeHandle h = start;
                do
                {
                    loop.push_back(h);
                    h = mesh.next_halfedge_handle(h);
                } while (h != start);
                break;
            }
        }
    }
};

/// A sphere with a hole that spans a good part of it.
TriMesh bumpy(int edges)
{
    double const cells = edges / 3.4;
    return veld_benchmark::bumpy_sphere(static_cast<int>(12.0 * cells * cells), 1, edges);
}

/// One triangle outside each edge of a rim, whose point at an angle and a distance from the axis
/// `place` gives. Edges are about 1 long.
template <typename Place>
TriMesh collar(int edges, Place const& place)
{
    TriMesh mesh;
    double const step = 2.0 * 3.141592653589793 / edges;
    std::vector<OpenMesh::VertexHandle> rim;
    for (int k = 0; k < edges; ++k)
    {
        rim.push_back(mesh.add_vertex(place(-step * k, 1.0 / step)));
    }
    for (std::size_t k = 0; k < rim.size(); ++k)
    {
        auto const apex =
            mesh.add_vertex(place(-step * (static_cast<double>(k) + 0.5), 1.0 / step + 1.0));
        mesh.add_face(rim[(k + 1) % rim.size()], rim[k], apex);
    }
    return mesh;
}

/// The rim alone, on a sphere with bumps and noise: for lengths whose sphere would be large.
TriMesh bumpy_collar(int edges)
{
    std::mt19937 random(1);
    auto const noise = [&] { return static_cast<double>(random()) / 4294967296.0 - 0.5; };
    double const radius = edges / 5.0;
    return collar(edges,
                  [&](double angle, double distance)
                  {
                      double const r = distance + 0.6 * noise();
                      double const x = r * std::cos(angle);
                      double const y = r * std::sin(angle);
                      double const z = std::sqrt(radius * radius - distance * distance) +
                                       3.0 * std::sin(x / 9.0) * std::cos(y / 11.0) + 0.1 * noise();
                      return Eigen::Vector3d(x, y, z).cast<float>().eval();
                  });
}

/// A flat disc.
TriMesh flat(int edges)
{
    return collar(edges,
                  [](double angle, double distance)
                  {
                      return Eigen::Vector3d(distance * std::cos(angle), distance * std::sin(angle),
                                             0.0)
                          .cast<float>()
                          .eval();
                  });
}

template <TriMesh (*make)(int)>
void triangulate(benchmark::State& state)
{
    static std::map<int64_t, Hole> holes;
    auto found = holes.find(state.range(0));
    if (found == holes.end())
    {
        found = holes.emplace(state.range(0), Hole(make(static_cast<int>(state.range(0))))).first;
    }
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    HoleFillingCore const core;
    bool filled = false;
    for (auto _ : state)
    {
        state.PauseTiming();
        Hole hole = found->second;
        state.ResumeTiming();
        filled = core.hole_triangulation(hole.mesh, hole.loop, hole.face_new);
    }
    state.counters["edges"] = static_cast<double>(found->second.loop.size());
    state.counters["filled"] = filled ? 1.0 : 0.0;
}

template <int from, int to>
void lengths(benchmark::internal::Benchmark* benchmark)
{
    for (int64_t const edges : {50, 200, 399, 1000, 3000})
    {
        for (int64_t const threads : {1, 2})
        {
            if (edges >= from && edges <= to)
            {
                benchmark->Args({edges, threads});
            }
        }
    }
    benchmark->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(triangulate, bumpy)->Apply(lengths<50, 1000>);
BENCHMARK_TEMPLATE(triangulate, bumpy_collar)->Apply(lengths<200, 3000>);
BENCHMARK_TEMPLATE(triangulate, flat)->Apply(lengths<200, 1000>);

} // namespace
