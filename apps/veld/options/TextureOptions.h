#pragma once

#include "workflow/steps/Texture.h"

#include <string>

namespace CLI
{
class App;
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
    TextureSettings settings_;
};

} // namespace veld::cli
