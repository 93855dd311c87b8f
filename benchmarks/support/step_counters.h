#pragma once

#include "algorithmVeld/common/LogHolder.h"

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <string>

/// \file
/// The steps of an operation as counters of a benchmark.

namespace veld_benchmark
{

/// Adds the milliseconds of a step and of those below it to the counters.
inline void add_steps(benchmark::State& state, nlohmann::json const& steps)
{
    for (auto const& step : steps)
    {
        state.counters[step["name"].get<std::string>() + "_ms"] =
            1000.0 * step["seconds"].get<double>() / step["laps"].get<double>();
        add_steps(state, step["children"]);
    }
}

/// The steps since they were last cleared.
inline void add_steps(benchmark::State& state)
{
    add_steps(state, nlohmann::json::parse(OrvaneAlgorithm::gLH.steps_as_json()));
}

} // namespace veld_benchmark
