#pragma once

#include "options/MethodOptions.h"
#include "workflow/steps/Repair.h"

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// How a torn surface is repaired, as the command line tells it.
class RepairOptions
{
public:
    void add(CLI::App& app);

    /// What was given, and the defaults of the step for the rest.
    RepairSettings settings() const;

    /// The directory for the surroundings of refused faces; empty for none.
    std::string const& refused_faces() const { return refused_faces_; }

private:
    void add_shared_options(CLI::App& app);
    void add_ball_options(CLI::App& app);
    void add_projection_options(CLI::App& app);

    std::string method_ = "ball";
    double ear_perimeter_ = 0.0;
    CLI::Option* ear_option_ = nullptr;
    bool any_ball_ = false;
    std::string refused_faces_;
    bool keep_all_ = false;
    MethodOptions uses_;
    RepairSettings settings_;
};

} // namespace veld::cli
