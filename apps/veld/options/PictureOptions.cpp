#include "options/PictureOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

#include <map>
#include <tuple>
#include <utility>

namespace veld::cli
{

namespace
{

/// Azimuth and elevation of the named views.
std::map<std::string, std::pair<double, double>> const NAMED_VIEWS{
    {"front", {0.0, 0.0}},
    {"back", {180.0, 0.0}},
    {"left", {-90.0, 0.0}},
    {"right", {90.0, 0.0}},
    {"top", {0.0, 90.0}},
    {"bottom", {0.0, -90.0}},
    {"iso", {45.0, 35.264389682754654}}};

std::map<std::string, UpAxis> const UP_AXES{{"y", UpAxis::Y}, {"z", UpAxis::Z}};

} // namespace

void PictureOptions::add(CLI::App& app)
{
    add_view_options(app);
    add_integer(app, "--width", settings_.width, 1, 16384, "Pixels (default: 1200)");
    add_integer(app, "--height", settings_.height, 1, 16384, "Pixels (default: 900)");
    add_number(app, "--line-width", settings_.line_width, 0.0, 100.0,
               "Width of the hole rims in pixels, 0 draws none (default: 4)");
    app.add_flag("--unlit", settings_.unlit,
                 "Show the colours of a texture, or of vertices, as they are, without light and "
                 "shadow");
    app.add_flag("--plain", settings_.plain,
                 "Draw the surface in one colour, whatever colours its vertices have");
}

RenderSettings PictureOptions::settings() const
{
    RenderSettings settings = settings_;
    if (!view_.empty())
    {
        std::tie(settings.view.azimuth, settings.view.elevation) = NAMED_VIEWS.at(view_);
    }
    settings.view.up = UP_AXES.at(up_);
    return settings;
}

void PictureOptions::add_view_options(CLI::App& app)
{
    auto* const view = add_choice(app, "--view", view_, names_in(NAMED_VIEWS),
                                  "Look from the front, back, left, right, top, bottom or "
                                  "iso (default: azimuth 30, elevation 20)");
    auto* const azimuth = add_number(app, "--azimuth", settings_.view.azimuth, -360.0, 360.0,
                                     "Degrees round the object, from its front to its right");
    auto* const elevation = add_number(app, "--elevation", settings_.view.elevation, -90.0, 90.0,
                                       "Degrees above the object");
    view->excludes(azimuth)->excludes(elevation);
    add_choice(app, "--up", up_, names_in(UP_AXES),
               "Axis that points up: y (front is +z) or z (front is -y); default: y")
        ->type_name("AXIS");
}

} // namespace veld::cli
