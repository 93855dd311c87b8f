#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/cleanup/BaseTriMeshSearch.h"
#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "benchmarks/support/scans.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <map>

#ifdef __unix__
#include <fcntl.h>
#include <unistd.h>
#endif

/// \file
/// Markers, rings and sticks. Each operation works on a copy, which is made outside the measured
/// time.

namespace
{

using namespace OrvaneAlgorithm;

constexpr int HOLES = 100;
constexpr int HOLE_LENGTH = 30;
constexpr int MARKERS = 1000;
constexpr double MARKER_RADIUS = 1.5;

TriMesh const& mesh_of(int64_t faces)
{
    return veld_benchmark::scan_with_holes(static_cast<int>(faces), HOLES, HOLE_LENGTH);
}

BaseTriMesh const& array_of(int64_t faces)
{
    static std::map<int64_t, BaseTriMesh> meshes;
    auto found = meshes.find(faces);
    if (found == meshes.end())
    {
        found = meshes.emplace(faces, BaseTriMesh()).first;
        TriMesh_convert_to_BaseTriMesh(mesh_of(faces), found->second);
    }
    return found->second;
}

/// Every k-th vertex, looking away from the middle of the sphere.
struct Markers
{
    Verts points;
    Verts normals;

    explicit Markers(std::vector<Vector3f> const& vertices)
    {
        for (std::size_t i = 0; i < MARKERS; ++i)
        {
            points.push_back(vertices[i * vertices.size() / MARKERS]);
            normals.push_back(points.back().normalized());
        }
    }
};

/// Standard output goes nowhere for a scope: the search in an array mesh tells its time there.
class QuietOutput
{
public:
#ifdef __unix__
    QuietOutput() : before_(dup(1))
    {
        std::fflush(stdout);
        int const nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, 1);
        close(nowhere);
    }
    ~QuietOutput()
    {
        std::fflush(stdout);
        dup2(before_, 1);
        close(before_);
    }

private:
    int before_;
#endif
};

/// Megabytes in memory now, 0 where the system does not tell.
double resident_megabytes()
{
    std::ifstream status("/proc/self/statm");
    double pages = 0;
    status >> pages >> pages;
    return pages * 4096.0 / 1e6;
}

/// Measures an operation on copies of what it changes.
template <typename Data, typename Operation>
void measure(benchmark::State& state, Data const& source, Operation const& operation)
{
    std::size_t left = 0;
    QuietOutput const quiet;
    for (auto _ : state)
    {
        state.PauseTiming();
        auto copy = std::make_unique<Data>(source);
        state.ResumeTiming();
        left = operation(*copy);
        state.PauseTiming();
        copy.reset();
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
    state.counters["faces/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                   benchmark::Counter::kIsIterationInvariantRate);
}

void build_tree(benchmark::State& state)
{
    auto const& points = array_of(state.range(0)).vCoord;
    for (auto _ : state)
    {
        KdTree3f tree;
        tree.build_kdtree(points);
        benchmark::DoNotOptimize(tree);
    }
}

/// The cloud has as many points as the name says: a mesh has half as many vertices as faces.
void cloud_of_points(benchmark::State& state)
{
    BaseTriMesh const& mesh = array_of(2 * state.range(0));
    Markers const markers(mesh.vCoord);
    Cloud const cloud = mesh;
    measure(state, cloud,
            [&](Cloud& copy)
            {
                remove_marker_cloud(copy, markers.points, {}, MARKER_RADIUS, false, 0.0, false);
                return copy.get_vn();
            });
}

void array_by_distance(benchmark::State& state)
{
    BaseTriMesh const& mesh = array_of(state.range(0));
    Markers const markers(mesh.vCoord);
    measure(state, mesh,
            [&](BaseTriMesh& copy)
            {
                remove_marker_mesh(copy, markers.points, {}, MARKER_RADIUS, false, 0.0, false);
                return copy.get_fn();
            });
}

void array_by_pieces(benchmark::State& state)
{
    BaseTriMesh const& mesh = array_of(state.range(0));
    Markers const markers(mesh.vCoord);
    measure(state, mesh,
            [&](BaseTriMesh& copy)
            {
                remove_marker_mesh(copy, markers.points, markers.normals, MARKER_RADIUS, true, 0.5,
                                   false);
                return copy.get_fn();
            });
}

void half_edge_by_distance(benchmark::State& state)
{
    Markers const markers(array_of(state.range(0)).vCoord);
    measure(state, mesh_of(state.range(0)),
            [&](TriMesh& copy)
            {
                remove_marker_mesh(copy, markers.points, {}, MARKER_RADIUS, false, 0.0, false);
                return copy.n_faces();
            });
}

void half_edge_by_pieces(benchmark::State& state)
{
    Markers const markers(array_of(state.range(0)).vCoord);
    measure(state, mesh_of(state.range(0)),
            [&](TriMesh& copy)
            {
                remove_marker_mesh(copy, markers.points, markers.normals, MARKER_RADIUS, true, 0.5,
                                   false);
                return copy.n_faces();
            });
}

void two_rings(benchmark::State& state)
{
    measure(state, mesh_of(state.range(0)),
            [&](TriMesh& copy)
            {
                RemoveBoundary::remove_n_rings(copy, 2, false);
                return copy.n_faces();
            });
}

void array_search(benchmark::State& state)
{
    BaseTriMesh const& mesh = array_of(state.range(0));
    QuietOutput const quiet;
    double megabytes = 0;
    for (auto _ : state)
    {
        double const before = resident_megabytes();
        BaseTriMeshSearch search(mesh);
        megabytes = std::max(megabytes, resident_megabytes() - before);
        benchmark::DoNotOptimize(search);
    }
    state.counters["MB"] = megabytes;
}

void twenty_sticks(benchmark::State& state)
{
    TriMesh mesh = mesh_of(state.range(0));
    auto const& points = array_of(state.range(0)).vCoord;
    Verts seeds;
    for (std::size_t i = 0; i < 20; ++i)
    {
        seeds.push_back(points[i * points.size() / 20]);
    }
    std::vector<Vector2f> const sizes(20, Vector2f(6.0F, 15.5F));
    std::size_t faces = 0;
    for (auto _ : state)
    {
        std::vector<TriMesh> sticks;
        extract_sticks(mesh, seeds, sizes, sticks, true, false);
        faces = 0;
        for (auto const& stick : sticks)
        {
            faces += stick.n_faces();
        }
    }
    state.counters["stick_faces"] = static_cast<double>(faces);
}

} // namespace

#define VELD_BENCHMARK(name)                                                                       \
    BENCHMARK(name)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)

VELD_BENCHMARK(build_tree);
VELD_BENCHMARK(cloud_of_points);
VELD_BENCHMARK(array_search);
VELD_BENCHMARK(array_by_distance);
VELD_BENCHMARK(array_by_pieces);
VELD_BENCHMARK(half_edge_by_distance);
VELD_BENCHMARK(half_edge_by_pieces);
VELD_BENCHMARK(two_rings);
VELD_BENCHMARK(twenty_sticks);
