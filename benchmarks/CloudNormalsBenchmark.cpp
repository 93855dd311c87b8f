#include "workflow/clouds/DistinctPoints.h"
#include "workflow/clouds/NormalOrientation.h"
#include "workflow/clouds/PlaneFits.h"
#include "workflow/steps/Normals.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <random>

/// \file
/// Normals of clouds, as a whole and by their stages: random points on a sphere with waves.

namespace
{

using OrvaneAlgorithm::TriMesh;
using veld::Vector3f;

constexpr int NEIGHBOURS = 16;

/// Clouds are made once for all benchmarks of their size.
std::vector<Vector3f> const& points_of_size(int64_t n)
{
    static std::map<int64_t, std::vector<Vector3f>> clouds;
    auto& cloud = clouds[n];
    std::mt19937 random(1);
    std::normal_distribution<float> deviate;
    while (static_cast<int64_t>(cloud.size()) < n)
    {
        float const x = deviate(random);
        float const y = deviate(random);
        float const z = deviate(random);
        Vector3f const direction = Vector3f(x, y, z).normalized();
        cloud.emplace_back(direction * (100.0F + 3.0F * std::sin(8.0F * direction.x())));
    }
    return cloud;
}

TriMesh cloud_of(std::vector<Vector3f> const& points)
{
    TriMesh cloud;
    for (auto const& point : points)
    {
        cloud.add_vertex(point);
    }
    return cloud;
}

void whole(benchmark::State& state)
{
    TriMesh const cloud = cloud_of(points_of_size(state.range(0)));
    veld::Context context;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(veld::estimate_normals(cloud, {}, context));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void with_sensor(benchmark::State& state)
{
    TriMesh const cloud = cloud_of(points_of_size(state.range(0)));
    veld::Context context;
    veld::NormalsSettings settings;
    settings.sensor = Vector3f(0, 0, 1000);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(veld::estimate_normals(cloud, settings, context));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sorting(benchmark::State& state)
{
    auto const& points = points_of_size(state.range(0));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(veld::distinct_points(points));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void planes(benchmark::State& state)
{
    auto const distinct = veld::distinct_points(points_of_size(state.range(0)));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(veld::fit_planes(distinct.points, NEIGHBOURS));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void turning(benchmark::State& state)
{
    auto const distinct = veld::distinct_points(points_of_size(state.range(0)));
    auto const fits = veld::fit_planes(distinct.points, NEIGHBOURS);
    for (auto _ : state)
    {
        auto turned = fits;
        benchmark::DoNotOptimize(veld::orient_by_neighbours(distinct.points, turned));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(30000)->Arg(100000)->Arg(300000)->Arg(1000000);
    benchmark->UseRealTime()->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(whole)->Apply(sizes);
BENCHMARK(with_sensor)->Apply(sizes);
BENCHMARK(sorting)->Apply(sizes);
BENCHMARK(planes)->Apply(sizes);
BENCHMARK(turning)->Apply(sizes);
