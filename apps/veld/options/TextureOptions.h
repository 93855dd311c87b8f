#pragma once

#include "options/MethodOptions.h"
#include "workflow/steps/Texture.h"

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// How photographs become a texture, as the command line tells it.
class TextureOptions
{
public:
    void add(CLI::App& app);

    /// What was given, and the defaults of the step for the rest.
    TextureSettings settings() const;

private:
    void add_lengths(CLI::App& app);
    void add_view_limits(CLI::App& app);
    void add_atlas_options(CLI::App& app);

    std::string pipeline_ = "fusion";
    bool keep_exposures_ = false;
    std::string solver_ = "simplicial";
    int packing_gap_ = 0;
    CLI::Option* packing_gap_option_ = nullptr;
    double depth_tolerance_ = 0.0;
    CLI::Option* depth_option_ = nullptr;
    TextureSettings settings_;
    MethodOptions uses_;
};

} // namespace veld::cli
