#include "options/HoleOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

void HoleOptions::add(CLI::App& app)
{
    auto* const perimeter = add_length(app, "--max-perimeter", settings_.max_perimeter,
                                       "Only holes shorter than this in mm, 0: any (default: 0)");
    add_near_options(app);
    add_marker_options(app, *perimeter);
}

FindHolesSettings HoleOptions::settings() const
{
    FindHolesSettings settings = settings_;
    if (!markers_.empty())
    {
        settings.of_markers = of_markers_;
        settings.of_markers->markers = read_markers(markers_, of_markers_.use_normals);
    }
    if (near_option_->count() > 0)
    {
        settings.nearest_to = near_place_;
    }
    return settings;
}

void HoleOptions::add_near_options(CLI::App& app)
{
    near_option_ =
        add_point(app, "--near", near_place_.place, "Only the hole nearest to this point (mm)");
    auto* const distance = add_length(app, "--distance", near_place_.distance,
                                      "With --near: its rim has to be nearer than this in mm");
    near_option_->needs(distance);
    distance->needs(near_option_);
}

void HoleOptions::add_marker_options(CLI::App& app, CLI::Option& perimeter)
{
    auto* const markers =
        app.add_option("--markers", markers_,
                       "Only holes that markers left: a marker a line, 'x y z [nx ny nz]'")
            ->type_name("FILE");
    auto* const match =
        add_length(app, "--match", of_markers_.match,
                   "With --markers: a hole's centre has to be nearer to a marker than this "
                   "in mm");
    auto* const radius =
        add_length(app, "--marker-radius", of_markers_.radius,
                   "With --markers: radius of a marker in mm; a longer rim than its circle is "
                   "no marker hole");
    auto* const normals = app.add_flag("--normals", of_markers_.use_normals,
                                       "With --markers: a hole has to face like its marker");
    auto* const dot = add_number(app, "--normal-dot", of_markers_.normal_dot, -1.0, 1.0,
                                 "With --normals: dot product of the two directions has to "
                                 "exceed this (default: 0.5, that is 60 degrees)");
    markers->needs(match)->needs(radius)->excludes(&perimeter)->excludes(near_option_);
    match->needs(markers);
    radius->needs(markers);
    normals->needs(markers);
    dot->needs(normals);
}

} // namespace veld::cli
