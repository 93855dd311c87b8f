#pragma once

#include "options/MethodOptions.h"
#include "workflow/steps/Merge.h"

#include <string>

namespace CLI
{
class App;
} // namespace CLI

namespace veld::cli
{

/// How frames are merged, as the command line tells it; what is done with layers stands apart.
class MergeOptions
{
public:
    void add(CLI::App& app);

    /// What was given, and the defaults of the step for the rest.
    MergeSettings settings() const;

private:
    void add_noise(CLI::App& app);
    void add_lengths(CLI::App& app);
    void add_stitch_options(CLI::App& app);
    void add_outlier_options(CLI::App& app);

    std::string method_ = "stitch";
    std::string prepare_ = "auto";
    bool keep_long_edges_ = false;
    MethodOptions uses_;
    MergeSettings settings_;
};

} // namespace veld::cli
