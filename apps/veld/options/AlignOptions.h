#pragma once

#include "workflow/steps/Align.h"

#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// How frames are compared with each other, as the command line tells it.
class AlignOptions
{
public:
    std::vector<CLI::Option*> add(CLI::App& app);
    /// The same and what only the refinement takes.
    void add_all(CLI::App& app);
    AlignSettings const& settings() const { return settings_; }

private:
    AlignSettings settings_;
};

} // namespace veld::cli
