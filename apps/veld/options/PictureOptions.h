#pragma once

#include "workflow/steps/Render.h"

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// What a picture shows and how large it is, as the command line tells it.
class PictureOptions
{
public:
    void add(CLI::App& app);
    RenderSettings settings() const;

private:
    void add_view_options(CLI::App& app);

    std::string view_;
    std::string up_ = "y";
    RenderSettings settings_;
};

} // namespace veld::cli
