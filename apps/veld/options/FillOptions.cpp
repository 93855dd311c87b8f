#include "options/FillOptions.h"

#include "options/CommonOptions.h"
#include "workflow/SettingRanges.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

constexpr int MAX_RINGS = 1000;

} // namespace

void FillOptions::add(CLI::App& app)
{
    add_choice(app, "--method", method_, names_in(fill_methods()),
               "trim: flat triangles between the rim's vertices, nothing moves; clip: the "
               "same, convex corners only, for flat holes; core: new vertices, as dense "
               "as the mesh and as smooth as it, and the region around a hole moves too; "
               "whole: new vertices, as dense as the surface around each hole, and nothing "
               "else moves; markers: the same for holes at markers, and no others; auto: "
               "markers where there are some, trim for small holes, core for all others, and "
               "whole for what these leave (default: auto)");
    add_limits(app);
    add_ear_options(app);
    add_core_options(app);
    add_region_options(app);
    add_marker_options(app);
    app.callback([this] { refuse_unused_options(); });
}

FillSettings FillOptions::settings() const
{
    FillSettings settings = settings_;
    settings.method = fill_methods().at(method_);
    if (!smoothness_.empty())
    {
        settings.smoothness = smoothness_.at(1) - '0';
    }
    if (!region_.empty())
    {
        settings.region = region_handlings().at(region_);
    }
    if (!weights_.empty())
    {
        settings.weights = fill_weights().at(weights_);
    }
    if (!markers_.empty())
    {
        settings.markers = read_markers(markers_, false);
    }
    if (perimeter_->count() > 0)
    {
        settings.max_perimeter = max_perimeter_;
    }
    return settings;
}

void FillOptions::add_limits(CLI::App& app)
{
    perimeter_ = add_length(app, "--max-perimeter", max_perimeter_,
                            "Only holes shorter than this in mm, 0: any (default: diagonal of "
                            "the bounding box, so that the border of an open scan stays open)");
    add_integer(app, "--max-edges", settings_.max_edges, 0, LARGEST_COUNT,
                "Only holes of at most so many edges, 0: any (default: 0)");
}

void FillOptions::add_ear_options(CLI::App& app)
{
    std::vector<std::string> const ears{"clip", "trim"};
    uses_.add(add_length(app, "--edge-length", settings_.edge_length,
                         "clip and trim: stop a hole at a new edge longer than this in "
                         "mm, 0: any (default: 0)"),
              ears);
    uses_.add(add_number(app, "--normal-angle", settings_.normal_angle, 0.0, 180.0,
                         "clip and trim: stop a hole at a new face turned more than this "
                         "away from the faces around it, in degrees, 180: any (default: "
                         "150)"),
              ears);
    uses_.add(add_integer(app, "--small-edges", settings_.small_edges, 0, LARGEST_COUNT,
                          "auto: holes of up to so many edges are trim's, 0: none (default: 12)"),
              {"auto"});
}

void FillOptions::add_core_options(CLI::App& app)
{
    uses_.add(add_integer(app, "--rings", settings_.rings, 0, MAX_RINGS,
                          "core and auto: so many rings of faces around a hole move "
                          "with it (default: 3)"),
              {"core", "auto"});
    uses_.add(add_choice(app, "--smooth", smoothness_, {"c0", "c1", "c2"},
                         "core and auto: the surface goes on in its position (c0), its "
                         "tangent planes (c1) or its curvature (c2) (default: c2)"),
              {"core", "auto"});
}

void FillOptions::add_region_options(CLI::App& app)
{
    uses_.add(add_choice(app, "--region", region_, names_in(region_handlings()),
                         "whole and markers: the faces around a hole are cut away first "
                         "(delete), smoothed (smooth), or left (none) (default: none)"),
              {"whole", "markers"});
    uses_.add(add_integer(app, "--region-rings", settings_.region_rings, 0, MAX_RINGS,
                          "whole, markers and auto: so many rings of faces around a hole "
                          "are its region; with --region none they tell how the surface "
                          "goes on, for which three are enough (default: 10)"),
              {"whole", "markers", "auto"});
    uses_.add(add_choice(app, "--weights", weights_, names_in(fill_weights()),
                         "whole, markers and auto: neighbours of a new vertex weigh the "
                         "same (uniform) or by 1 / distance (length) (default: length)"),
              {"whole", "markers", "auto"});
}

void FillOptions::add_marker_options(CLI::App& app)
{
    marker_file_ =
        app.add_option("--markers", markers_,
                       "markers and auto: places of markers, one a line, 'x y z [nx ny nz]'")
            ->type_name("FILE");
    auto* const radius = add_length(app, "--marker-radius", settings_.marker_radius,
                                    "With --markers: a hole's centre has to be nearer to a "
                                    "marker than this in mm (default: 1)");
    radius->needs(marker_file_);
    uses_.add(marker_file_, {"markers", "auto"});
}

std::vector<std::filesystem::path> FillOptions::inputs() const
{
    return markers_.empty() ? std::vector<std::filesystem::path>()
                            : std::vector<std::filesystem::path>{markers_};
}

void FillOptions::refuse_unused_options() const
{
    uses_.refuse_unused(method_);
    if (method_ == "markers" && marker_file_->count() == 0)
    {
        throw CLI::ValidationError("--method", "markers needs --markers");
    }
}

} // namespace veld::cli
