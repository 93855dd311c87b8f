#pragma once

#include "workflow/steps/Fill.h"

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

    /// What was given, and the defaults of the step for the rest.
    FillSettings settings() const;

private:
    void add_limits(CLI::App& app);
    void add_ear_options(CLI::App& app);
    void add_core_options(CLI::App& app);
    void refuse_unused_options() const;

    std::string method_ = "trim";
    double max_perimeter_ = 0.0;
    CLI::Option* perimeter_ = nullptr;
    std::vector<CLI::Option*> ear_options_;
    std::vector<CLI::Option*> core_options_;
    std::string smoothness_ = "c2";
    FillSettings settings_;
};

} // namespace veld::cli
