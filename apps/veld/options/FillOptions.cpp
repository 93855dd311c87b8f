#include "options/FillOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

constexpr int MAX_RINGS = 1000;

} // namespace

void FillOptions::add(CLI::App& app)
{
    app.add_option("--method", method_,
                   "trim: flat triangles between the rim's vertices, nothing moves; clip: the "
                   "same, convex corners only, for flat holes; core: new vertices, as dense "
                   "as the mesh and as smooth as it, and the region around a hole moves too "
                   "(default: trim)")
        ->type_name("NAME")
        ->check(CLI::IsMember(std::vector<std::string>{"clip", "trim", "core"}));
    add_limits(app);
    add_ear_options(app);
    add_core_options(app);
    app.callback([this] { refuse_unused_options(); });
}

FillSettings FillOptions::settings() const
{
    FillSettings settings = settings_;
    settings.method = fill_methods().at(method_);
    settings.smoothness = smoothness_.at(1) - '0';
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
    add_integer(app, "--max-edges", settings_.max_edges, 0, 1'000'000'000,
                "Only holes of at most so many edges, 0: any (default: 0)");
}

void FillOptions::add_ear_options(CLI::App& app)
{
    ear_options_.push_back(add_length(app, "--edge-length", settings_.edge_length,
                                      "clip and trim: stop a hole at a new edge longer than "
                                      "this in mm, 0: any (default: 0)"));
    ear_options_.push_back(add_number(app, "--normal-angle", settings_.normal_angle, 0.0, 180.0,
                                      "clip and trim: stop a hole at a new face turned more "
                                      "than this away from the faces around it, in degrees, "
                                      "180: any (default: 150)"));
}

void FillOptions::add_core_options(CLI::App& app)
{
    core_options_.push_back(
        add_integer(app, "--rings", settings_.rings, 0, MAX_RINGS,
                    "core: so many rings of faces around a hole move with it (default: 3)"));
    core_options_.push_back(
        app.add_option("--smooth", smoothness_,
                       "core: the surface goes on in its position (c0), its tangent planes "
                       "(c1) or its curvature (c2) (default: c2)")
            ->type_name("NAME")
            ->check(CLI::IsMember(std::vector<std::string>{"c0", "c1", "c2"})));
}

/// An option without effect is most likely a mistake in the method.
void FillOptions::refuse_unused_options() const
{
    for (auto const* option : method_ == "core" ? ear_options_ : core_options_)
    {
        if (option->count() > 0)
        {
            throw CLI::ValidationError(option->get_name(),
                                       "--method " + method_ + " does not use it");
        }
    }
}

} // namespace veld::cli
