#pragma once

#include "workflow/tiling/Tiling.h"

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// Whether and how a scan is merged in tiles, as the command line tells it.
class TileOptions
{
public:
    void add(CLI::App& app);

    /// Whether tiles were asked for.
    bool are_given() const;

    /// Options that make no sense beside tiles are told apart from `add`.
    CLI::Option* tile_points() const { return tile_points_option_; }

    TileSettings const& settings() const { return settings_; }

    /// Where the tiles stay; empty if they go.
    std::string const& folder() const { return folder_; }

private:
    TileSettings settings_;
    std::string folder_;
    CLI::Option* tile_points_option_ = nullptr;
};

} // namespace veld::cli
