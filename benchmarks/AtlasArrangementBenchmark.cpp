#include "algorithmVeld/TextureFusion/atlas/AtlasArrangement.h"
#include "tests/TextureFusion/reference_arrangement.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace OrvaneAlgorithm;
using namespace OrvaneAlgorithm::detail;

namespace
{

constexpr int GAP = 3;

/// Patches as a texture has them: log-normal sizes of 4 to 400 pixels, aspects of 0.3 to 3.
std::vector<PatchTex> texture_patches(std::int64_t n)
{
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<PatchTex> patches(static_cast<std::size_t>(n));
    for (PatchTex& patch : patches)
    {
        double const side = 40.0 * std::exp(0.9 * normal(random));
        double const root = std::sqrt(0.3 * std::pow(10.0, uniform(random)));
        patch.max_x = static_cast<int>(std::clamp(side * root, 4.0, 400.0)) - 1;
        patch.max_y = static_cast<int>(std::clamp(side / root, 4.0, 400.0)) - 1;
    }
    return patches;
}

void arrange_texture_patches(benchmark::State& state)
{
    auto const patches = texture_patches(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        auto placed = patches;
        AtlasArrangement arrangement(GAP, arrangement_cell(placed));
        auto const order = arrangement_order(placed);
        arrangement.place_first(placed[order[0]]);
        for (std::size_t i = 1; i < order.size(); ++i)
        {
            arrangement.place(placed[order[i]]);
        }
        benchmark::DoNotOptimize(placed.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// All places of all pieces, each compared with all pieces.
void arrange_plainly(benchmark::State& state)
{
    namespace reference = veld_test::reference;
    auto const patches = texture_patches(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        std::vector<PatchTex> placed;
        for (auto const i : reference::high_ones_first(patches))
        {
            PatchTex next = patches[i];
            if (!placed.empty())
            {
                reference::place_plainly(placed, next, GAP);
            }
            placed.push_back(next);
        }
        benchmark::DoNotOptimize(placed.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(arrange_texture_patches)
    ->ArgName("n")
    ->Arg(250)
    ->Arg(500)
    ->Arg(2000)
    ->Arg(8000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(arrange_plainly)->ArgName("n")->Arg(250)->Arg(500)->Unit(benchmark::kMillisecond);
