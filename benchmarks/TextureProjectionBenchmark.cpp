#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "benchmarks/support/bumpy_sphere.h"
#include "tests/TextureFusion/scenes.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <vector>

/// \file
/// Which views see a surface of 200 thousand faces, with 30 photographs of 2 megapixels around it,
/// and the choice among them. The counter `touches` tells by how much it takes longer than to read
/// each vertex with its normal and each pixel of the photograph, once a view and with as many
/// threads; `fills` compares it with writing one value to a float for each pixel instead of reading
/// it, which is done as fast as memory is.

namespace
{

using namespace OrvaneAlgorithm;
using namespace OrvaneAlgorithm::detail;

constexpr int N_FACES = 200000;
constexpr int WIDTH = 1600;
constexpr int HEIGHT = 1250;
constexpr int SMALL_REGION = 50;

struct PhotographedScene
{
    TriMesh mesh = veld_benchmark::bumpy_sphere(N_FACES, 20, 30);
    std::vector<TexImage> images;
    TexProperties properties;

    explicit PhotographedScene(int views)
    {
        renew_normals(mesh);
        properties.add_to(mesh);
        for (int k = 0; k < views; ++k)
        {
            // On a spiral around the object, which fills the height of the photographs.
            double const y = 1.0 - 2.0 * (k + 0.5) / views;
            double const angle = 2.4 * k;
            double const r = std::sqrt(1.0 - y * y);
            Vector3d const eye(400.0 * r * std::cos(angle), 400.0 * y, 400.0 * r * std::sin(angle));
            images.push_back(veld_test::view(k, veld_test::look_at(eye, Vector3d::Zero()), 2200.0,
                                             Image<3, unsigned char>(WIDTH, HEIGHT)));
        }
    }
};

PhotographedScene& scene_of(int views)
{
    static std::map<int, PhotographedScene> scenes;
    return scenes.try_emplace(views, views).first->second;
}

/// Reads each vertex with its normal.
void touch_vertices(TriMesh const& mesh)
{
    parallel_for_blocks(static_cast<std::ptrdiff_t>(mesh.n_vertices()),
                        [&](std::ptrdiff_t begin, std::ptrdiff_t end)
                        {
                            Vector3f sum = Vector3f::Zero();
                            for (std::ptrdiff_t v = begin; v < end; ++v)
                            {
                                OpenMesh::VertexHandle const vertex(static_cast<int>(v));
                                sum += mesh.point(vertex) + mesh.normal(vertex);
                            }
                            benchmark::DoNotOptimize(sum);
                        });
}

/// Reads each pixel of a photograph.
void touch_pixels(Image<3, unsigned char> const& image)
{
    parallel_for_even(HEIGHT,
                      [&](std::ptrdiff_t row)
                      {
                          unsigned sum = 0;
                          for (int x = 0; x < WIDTH; ++x)
                          {
                              unsigned char const* pixel = image.pixel(x, static_cast<int>(row));
                              sum += pixel[0] + pixel[1] + pixel[2];
                          }
                          benchmark::DoNotOptimize(sum);
                      });
}

void fill_pixels(std::vector<float>& depths)
{
    parallel_for_even(HEIGHT,
                      [&](std::ptrdiff_t row)
                      {
                          auto const begin = depths.begin() + row * WIDTH;
                          std::fill(begin, begin + WIDTH, 1.0F);
                      });
    benchmark::ClobberMemory();
}

template <typename Work>
double median_seconds(Work const& work)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> seconds;
    for (int i = 0; i < 15; ++i)
    {
        auto const start = Clock::now();
        work();
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

/// The time of an iteration, divided by so many seconds.
benchmark::Counter multiple_of(double seconds)
{
    return {seconds, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert};
}

void tell_touches(benchmark::State& state, PhotographedScene const& scene)
{
    state.counters["touches"] = multiple_of(median_seconds(
        [&]
        {
            for (TexImage const& view : scene.images)
            {
                touch_vertices(scene.mesh);
                touch_pixels(view.image);
            }
        }));
    std::vector<float> depths(std::size_t{WIDTH} * HEIGHT);
    state.counters["fills"] = multiple_of(median_seconds(
        [&]
        {
            for (std::size_t k = 0; k < scene.images.size(); ++k)
            {
                touch_vertices(scene.mesh);
                fill_pixels(depths);
            }
        }));
}

/// Arguments: views, threads.
void vertices_in_views(benchmark::State& state)
{
    auto const& scene = scene_of(static_cast<int>(state.range(0)));
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    for (auto _ : state)
    {
        auto const lists = project_vertices(scene.mesh, scene.images, VisibilityLimits());
        benchmark::DoNotOptimize(lists.size(0));
    }
    tell_touches(state, scene);
}

/// Arguments: views, threads.
void faces_in_views(benchmark::State& state)
{
    auto& scene = scene_of(static_cast<int>(state.range(0)));
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    auto const lists = project_vertices(scene.mesh, scene.images, VisibilityLimits());
    for (auto _ : state)
    {
        project_faces(scene.mesh, scene.properties, lists);
    }
    tell_touches(state, scene);
}

/// Arguments: views, threads.
void choose_blocks(benchmark::State& state)
{
    auto& scene = scene_of(static_cast<int>(state.range(0)));
    veld_test::Threads const threads(static_cast<int>(state.range(1)));
    auto const lists = project_vertices(scene.mesh, scene.images, VisibilityLimits());
    auto& mesh = scene.mesh;
    for (auto _ : state)
    {
        state.PauseTiming();
        project_faces(mesh, scene.properties, lists);
        state.ResumeTiming();
        filter_face_tex(mesh, scene.properties, SMALL_REGION);
        optimize_face_tex(mesh, scene.properties, SMALL_REGION);
        optimize_boundary_iteration(mesh, scene.properties);
        optimize_face_tex(mesh, scene.properties, SMALL_REGION);
    }
    std::size_t changed = 0;
    std::size_t textured = 0;
    for (auto const face : mesh.faces())
    {
        bool const has_tex = mesh.property(scene.properties.face_has_tex, face);
        textured += has_tex ? 1 : 0;
        changed += has_tex && mesh.property(scene.properties.face_tex_index, face) != 0 ? 1 : 0;
    }
    state.counters["textured"] = static_cast<double>(textured);
    state.counters["changed"] = static_cast<double>(changed);
}

} // namespace

#define VELD_BENCHMARK(name)                                                                       \
    BENCHMARK(name)                                                                                \
        ->ArgNames({"views", "threads"})                                                           \
        ->ArgsProduct({{10, 30}, {1, 2}})                                                          \
        ->UseRealTime()                                                                            \
        ->Unit(benchmark::kMillisecond)

VELD_BENCHMARK(vertices_in_views);
VELD_BENCHMARK(faces_in_views);
VELD_BENCHMARK(choose_blocks);
