#include "algorithmVeld/TextureFusion/solve/sources/SourceSolve.h"
#include "algorithmVeld/TextureFusion/solve/systems/RectangleSystems.h"

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

using namespace OrvaneAlgorithm;

namespace
{

/// A rectangle with the seam of a patch in it: a bent closed curve of so many known pixels.
struct SeamRectangle
{
    Image<3, float> field;
    Image<1, unsigned char> mask;

    SeamRectangle(int width, int height, int n_seam) : field(width, height), mask(width, height)
    {
        for (int k = 0; k < n_seam; ++k)
        {
            double const angle = 6.283185307179586 * k / n_seam;
            double const radius =
                0.36 * (1.0 + 0.15 * std::sin(7.0 * angle) + 0.1 * std::sin(23.0 * angle));
            int const x = static_cast<int>(width * (0.5 + radius * std::cos(angle)));
            int const y = static_cast<int>(height * (0.5 + radius * std::sin(angle)));
            *mask.pixel(x, y) = 128;
            for (int c = 0; c < 3; ++c)
            {
                field.pixel(x, y)[c] = static_cast<float>(20.0 * std::cos(3.0 * angle + c) + k % 7);
            }
        }
    }
};

SeamRectangle rectangle_of(benchmark::State const& state)
{
    return {static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
            static_cast<int>(state.range(2))};
}

void tell_size(benchmark::State& state, SeamRectangle const& rectangle)
{
    std::int64_t const n_pixels = state.range(0) * state.range(1);
    state.SetItemsProcessed(state.iterations() * n_pixels);
    state.counters["known"] = static_cast<double>(
        std::count(rectangle.mask.data(), rectangle.mask.data() + n_pixels, 128));
}

void by_sources(benchmark::State& state)
{
    auto const rectangle = rectangle_of(state);
    int const before = omp_get_max_threads();
    omp_set_num_threads(static_cast<int>(state.range(3)));
    for ([[maybe_unused]] auto _ : state)
    {
        auto field = rectangle.field;
        if (!detail::solve_by_sources(field, rectangle.mask))
        {
            state.SkipWithError("the rectangle cannot be solved");
            break;
        }
    }
    omp_set_num_threads(before);
    tell_size(state, rectangle);
}

void by_factorisation(benchmark::State& state)
{
    auto const rectangle = rectangle_of(state);
    for ([[maybe_unused]] auto _ : state)
    {
        auto field = rectangle.field;
        if (detail::solve_simplicial(field, rectangle.mask) != detail::RectangleFailure::NONE)
        {
            state.SkipWithError("the rectangle cannot be solved");
            break;
        }
    }
    tell_size(state, rectangle);
}

} // namespace

// 1200 and 800 are products of small primes, 797 and 1201 are primes.
BENCHMARK(by_sources)
    ->ArgNames({"width", "height", "seam", "threads"})
    ->ArgsProduct({{100}, {75}, {50, 200}, {1, 2}})
    ->ArgsProduct({{400}, {300}, {100, 500, 1500}, {1, 2}})
    ->ArgsProduct({{1600}, {1200}, {500, 2000, 5000, 10000}, {1, 2}})
    ->ArgsProduct({{797}, {1201}, {500}, {1}})
    ->ArgsProduct({{800}, {1200}, {500}, {1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The largest takes seconds; four times as many pixels take ten times as long.
BENCHMARK(by_factorisation)
    ->ArgNames({"width", "height", "seam"})
    ->ArgsProduct({{100}, {75}, {50, 200}})
    ->ArgsProduct({{400}, {300}, {100, 500, 1500}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
