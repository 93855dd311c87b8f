#include "algorithmVeld/common/ImagePacking.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace OrvaneAlgorithm;

namespace
{

/// Patches as a texture has them: log-normal sizes of 4 to 400 pixels, aspects of 0.3 to 3.
std::vector<Vector2i> texture_patches(std::int64_t n)
{
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<Vector2i> sizes;
    for (std::int64_t i = 0; i < n; ++i)
    {
        double const side = 40.0 * std::exp(0.9 * normal(random));
        double const root = std::sqrt(0.3 * std::pow(10.0, uniform(random)));
        sizes.emplace_back(static_cast<int>(std::clamp(side * root, 4.0, 400.0)),
                           static_cast<int>(std::clamp(side / root, 4.0, 400.0)));
    }
    return sizes;
}

double area(Vector2i const& size)
{
    return static_cast<double>(size[0]) * size[1];
}

void pack_texture_patches(benchmark::State& state)
{
    std::vector<Vector2i> const sizes = texture_patches(state.range(0));
    int const gap = static_cast<int>(state.range(1));
    std::vector<Vector2i> positions;
    Vector2i total;
    for ([[maybe_unused]] auto _ : state)
    {
        if (ImagePacking::pack(sizes, gap, positions, total) != RET_SUCCESS)
        {
            state.SkipWithError("the rectangles cannot be packed");
            break;
        }
    }
    double covered = 0.0;
    for (Vector2i const& size : sizes)
    {
        covered += area(size);
    }
    state.counters["fill"] = covered / area(total);
    state.counters["aspect"] = static_cast<double>(total.maxCoeff()) / total.minCoeff();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(pack_texture_patches)
    ->ArgNames({"n", "gap"})
    ->ArgsProduct({{10, 1000, 20000}, {0, 2}})
    ->Unit(benchmark::kMillisecond);
