#pragma once

#include "workflow/steps/Clean.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// Clean-ups in the order in which the command line names them, each as often as it stands there.
class CleanOptions
{
public:
    void add(CLI::App& app);

    /// Reads the marker files.
    CleanSettings settings() const;

    std::vector<std::string> const& marker_files() const { return markers_; }

private:
    /// Makes the clean-up of the i-th time that its option is given.
    using Maker = std::function<CleanUp(std::size_t)>;

    void add_piece_options(CLI::App& app);
    void add_marker_options(CLI::App& app);
    void note_order(CLI::App const& app);

    std::vector<int> min_faces_;
    std::vector<int> min_vertices_;
    std::vector<int> strong_;
    int rings_ = 1;
    std::vector<int> peel_;
    std::vector<std::string> markers_;
    MarkerSettings settings_;
    std::map<CLI::Option const*, Maker> makers_;
    std::vector<std::function<CleanUp()>> order_;
};

} // namespace veld::cli
