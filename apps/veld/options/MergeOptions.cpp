#include "options/MergeOptions.h"

#include "options/CommonOptions.h"
#include "workflow/SettingRanges.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

constexpr double LARGEST_FACTOR = 1000.0;

} // namespace

void MergeOptions::add(CLI::App& app)
{
    add_choice(
        app, "--method", method_, names_in(merge_methods()),
        "stitch: near borders are closed by fans of triangles, in parallel; outlier: loose "
        "points off the surface go first, borders are closed one vertex after the other, and "
        "holes by convex corners only (default: stitch)");
    add_noise(app);
    add_lengths(app);
    add_stitch_options(app);
    add_outlier_options(app);
    app.callback([this] { uses_.refuse_unused(method_); });
}

MergeSettings MergeOptions::settings() const
{
    MergeSettings settings = settings_;
    settings.method = merge_methods().at(method_);
    settings.preparation = preparations().at(prepare_);
    settings.cut_long_edges = !keep_long_edges_;
    return settings;
}

void MergeOptions::add_noise(CLI::App& app)
{
    add_choice(app, "--prepare", prepare_, names_in(preparations()),
               "Smooth and thin the frames of depth cameras first: auto: where noise exceeds half "
               "of the spacing; never; always (default: auto)")
        ->type_name("WHEN");
    add_length(app, "--noise", settings_.noise,
               "Standard deviation in mm of depths at 1 m, which grows with the square of the "
               "depth, 0: measured (default: 0)");
    add_length(app, "--closed-step", settings_.closed_step,
               "Frames of depth cameras: longest edge in mm of faces that close a step of depth "
               "where no frame looked through, 0: a tenth of the depth in the middle (default: 0)");
    add_number(app, "--join-angle", settings_.join_angle, 0.0, 180.0,
               "Frames of depth cameras: in the end pieces are joined across creases by faces of "
               "up to this angle in degrees against their corners, 0: they are not (default: 120)");
}

void MergeOptions::add_lengths(CLI::App& app)
{
    add_length(app, "--spacing", settings_.spacing,
               "Distance between neighbouring points in mm, 0: measured, or as far apart as the "
               "noise of a depth camera supports (default: 0)");
    uses_.add(add_length(app, "--stitch-radius", settings_.stitch_radius,
                         "stitch: half of the distance in mm in which a border looks for another "
                         "one, 0: the spacing (default: 0)"),
              {"stitch"}, "borders look for others within twice the spacing");
    add_length(app, "--long-edge", settings_.long_edge,
               "Border edges longer than this in mm are cut away, 0: five spacings, of frames that "
               "are smoothed eight, or one and a half closed steps (default: 0)");
    add_integer(app, "--max-hole-edges", settings_.max_hole_edges, 0, LARGEST_COUNT,
                "Holes of at most so many edges are closed at the end (default: 30)");
    add_integer(app, "--min-component", settings_.min_component, 0, LARGEST_COUNT,
                "Pieces of so many faces or fewer are removed (default: 100)");
}

void MergeOptions::add_stitch_options(CLI::App& app)
{
    add_integer(app, "--neighbour-factor", settings_.neighbour_factor, 1, 1000,
                "Longest edge of a stitched face, in spacings (default: 8)");
    add_number(
        app, "--normal-angle", settings_.normal_angle, 0.0, 180.0,
        "Largest angle in degrees between a stitched face and those around it (default: 30)");
    add_number(app, "--ear-edge-factor", settings_.ear_edge_factor, 0.0, LARGEST_FACTOR,
               "Longest edge that closes a corner of a hole of any size, in spacings (default: 5)");
    add_number(app, "--ear-normal-angle", settings_.ear_normal_angle, 0.0, 180.0,
               "Largest turn of a face there against those around it, in degrees (default: 150)");
}

void MergeOptions::add_outlier_options(CLI::App& app)
{
    uses_.add(add_number(app, "--outlier-factor", settings_.outlier_factor, 0.0, 1e6,
                         "outlier: a loose point goes whose squared distance from the plane of the "
                         "border around it is more than so many times that of the border, 0: none "
                         "(default: 5)"),
              {"outlier"}, "it keeps every loose point that a border can be stitched to");
    uses_.add(app.add_flag("--keep-long-edges", keep_long_edges_,
                           "outlier: long border edges are not cut away")
                  ->excludes("--long-edge"),
              {"outlier"}, "it always cuts them; --long-edge tells which are long");
}

} // namespace veld::cli
