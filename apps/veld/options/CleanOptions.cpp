#include "options/CleanOptions.h"

#include "options/CommonOptions.h"
#include "workflow/SettingRanges.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

void CleanOptions::add(CLI::App& app)
{
    add_piece_options(app);
    add_marker_options(app);
    app.callback([this, &app] { note_order(app); });
}

CleanSettings CleanOptions::settings() const
{
    CleanSettings settings;
    for (auto const& make : order_)
    {
        settings.clean_ups.push_back(make());
    }
    return settings;
}

void CleanOptions::add_piece_options(CLI::App& app)
{
    makers_[add_integers(app, "--min-faces", min_faces_, 1, LARGEST_COUNT,
                         "Remove pieces of N faces or fewer; faces hang together over edges")] =
        [this](std::size_t i) { return small_pieces_by_faces(min_faces_[i]); };
    makers_[add_integers(app, "--min-vertices", min_vertices_, 1, LARGEST_COUNT,
                         "Remove pieces of N vertices or fewer, single points among them; a "
                         "shared vertex is enough to hang together")] = [this](std::size_t i)
    { return small_pieces_by_vertices(min_vertices_[i]); };
    auto* const strong =
        add_integers(app, "--strong", strong_, 1, LARGEST_COUNT,
                     "Remove bodies of fewer than N faces, also where they hang on others by "
                     "strips narrower than twice --rings, and what is as thin as that "
                     "everywhere");
    makers_[strong] = [this](std::size_t i) { return small_bodies_on_strips(strong_[i], rings_); };
    auto* const rings =
        add_integer(app, "--rings", rings_, 1, LARGEST_COUNT,
                    "With --strong: so many rings of faces are peeled and grown back");
    strong->needs(rings);
    rings->needs(strong);
    makers_[app.add_flag("--non-manifold", "Remove vertices at which several fans of faces meet")
                ->disable_flag_override()] = [](std::size_t) { return non_manifold_vertices(); };
    makers_[add_integers(app, "--peel", peel_, 0, LARGEST_COUNT,
                         "Remove the faces along every boundary and N rings behind them")] =
        [this](std::size_t i) { return rims(peel_[i]); };
}

void CleanOptions::add_marker_options(CLI::App& app)
{
    auto* const markers =
        repeatable(
            app.add_option("--markers", markers_,
                           "Remove what lies near markers: a marker a line, 'x y z [nx ny nz]'"))
            ->type_name("FILE");
    makers_[markers] = [this](std::size_t i)
    { return surface_near_markers(read_markers(markers_[i], settings_.use_normals), settings_); };
    auto* const radius = add_length(app, "--marker-radius", settings_.radius,
                                    "With --markers: what is nearer to one than this in mm");
    auto* const normals =
        app.add_flag("--normals", settings_.use_normals,
                     "With --markers: only connected pieces of it, or points, that face like "
                     "the marker");
    auto* const dot = add_number(app, "--normal-dot", settings_.normal_dot, -1.0, 1.0,
                                 "With --normals: dot product of the two directions has to "
                                 "exceed this (default: 0.5, that is 60 degrees)");
    markers->needs(radius);
    radius->needs(markers);
    normals->needs(markers);
    dot->needs(normals);
}

/// The clean-ups run as they stand on the command line, each as often as it stands there.
void CleanOptions::note_order(CLI::App const& app)
{
    std::map<CLI::Option const*, std::size_t> times;
    for (auto const* option : app.parse_order())
    {
        auto const maker = makers_.find(option);
        if (maker != makers_.end())
        {
            order_.emplace_back([&make = maker->second, i = times[option]++] { return make(i); });
        }
    }
    if (order_.empty())
    {
        throw CLI::ValidationError("nothing to do",
                                   "name one of --min-faces, --min-vertices, --strong, "
                                   "--non-manifold, --peel and --markers");
    }
}

} // namespace veld::cli
