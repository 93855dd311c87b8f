#pragma once

#include "workflow/steps/FindHoles.h"

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// Which holes are looked for, as the command line tells it.
class HoleOptions
{
public:
    void add(CLI::App& app);

    /// Reads the marker file.
    FindHolesSettings settings() const;

    /// Empty if none was given.
    std::string const& marker_file() const { return markers_; }

private:
    void add_near_options(CLI::App& app);
    void add_marker_options(CLI::App& app, CLI::Option& perimeter);

    std::string markers_;
    CLI::Option* near_option_ = nullptr;
    HoleNearPlace near_place_;
    HolesOfMarkers of_markers_;
    FindHolesSettings settings_;
};

} // namespace veld::cli
