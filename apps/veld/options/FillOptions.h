#pragma once

#include "options/MethodOptions.h"
#include "workflow/steps/Fill.h"

#include <filesystem>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// How holes are closed, as the command line tells it.
class FillOptions
{
public:
    void add(CLI::App& app);

    /// What was given, and the defaults of the step for the rest. Reads the markers.
    FillSettings settings() const;

    /// The file of the markers, if there is one.
    std::vector<std::filesystem::path> inputs() const;

private:
    void add_limits(CLI::App& app);
    void add_ear_options(CLI::App& app);
    void add_core_options(CLI::App& app);
    void add_region_options(CLI::App& app);
    void add_marker_options(CLI::App& app);
    void refuse_unused_options() const;

    std::string method_ = to_string(FillSettings().method);
    double max_perimeter_ = 0.0;
    CLI::Option* perimeter_ = nullptr;
    CLI::Option* marker_file_ = nullptr;
    MethodOptions uses_;
    std::string smoothness_; ///< Empty, as the two below, where nothing was given.
    std::string region_;
    std::string weights_;
    std::string markers_;
    FillSettings settings_;
};

} // namespace veld::cli
