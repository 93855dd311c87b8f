#include "options/TextureOptions.h"

#include "options/CommonOptions.h"
#include "workflow/SettingRanges.h"

#include <CLI/CLI.hpp>

#include <vector>

namespace veld::cli
{

namespace
{

constexpr int LARGEST_MARGIN = 1000;
constexpr double LARGEST_RATIO = 1e6;
std::vector<std::string> const FUSION{"fusion"};

} // namespace

void TextureOptions::add(CLI::App& app)
{
    add_choice(app, "--pipeline", pipeline_, names_in(texture_pipelines()),
               "fusion: large blocks of one photograph, corrected where they meet; mesh: the same "
               "along whole edges, for photographs of one size, which show the surface up to their "
               "rim (default: fusion)");
    app.add_flag("--keep-exposures", keep_exposures_,
                 "Take the photographs as they are; without it each gets one gain a channel, so "
                 "that they agree on the places that several show");
    add_lengths(app);
    add_view_limits(app);
    add_atlas_options(app);
    app.callback([this] { uses_.refuse_unused(pipeline_, "--pipeline"); });
}

TextureSettings TextureOptions::settings() const
{
    TextureSettings settings = settings_;
    settings.pipeline = texture_pipelines().at(pipeline_);
    settings.balance = !keep_exposures_;
    settings.solver = texture_solvers().at(solver_);
    if (packing_gap_option_->count() > 0)
    {
        settings.packing_gap = packing_gap_;
    }
    if (depth_option_->count() > 0)
    {
        settings.depth_tolerance = depth_tolerance_;
    }
    return settings;
}

void TextureOptions::add_lengths(CLI::App& app)
{
    add_number(app, "--scale", settings_.scale, SMALLEST_SCALE, LARGEST_SCALE,
               "Multiply all lengths of mesh and poses by this, 1000 for metres; what is written "
               "has millimetres (default: 1)");
    add_number(app, "--pose-scale", settings_.pose_scale, SMALLEST_SCALE, LARGEST_SCALE,
               "Multiply the lengths of the poses by this to have the mesh's unit, 1000 for poses "
               "in metres and a mesh in millimetres (default: 1)");
    depth_option_ = add_length(
        app, "--depth-tolerance", depth_tolerance_,
        "Distance in mm by which a vertex may lie behind what a photograph shows in its place, and "
        "count as seen (default: 2.5 times the median length of the mesh's edges or the median "
        "width of a pixel on it, whichever is larger)");
}

void TextureOptions::add_view_limits(CLI::App& app)
{
    add_number(app, "--lowest-cosine", settings_.lowest_cosine, -1.0, 1.0,
               "Lowest cosine between a vertex's normal and the way to the camera (default: 0)");
    add_integer(app, "--views-per-vertex", settings_.views_per_vertex, 1, LARGEST_COUNT,
                "A vertex collects at most so many photographs (default: 10)");
    uses_.add(add_integer(app, "--image-border", settings_.image_border, 0, LARGEST_COUNT,
                          "fusion: pixels at the rim of a photograph that do not count (default: "
                          "3)"),
              FUSION, "to it photographs count up to their rim");
    add_integer(app, "--small-region", settings_.small_region, 0, LARGEST_COUNT,
                "Connected faces of one photograph count from more than so many (default: 50)");
}

void TextureOptions::add_atlas_options(CLI::App& app)
{
    std::string const any_hole =
        "it paints whatever no photograph shows, within a photograph's size";
    uses_.add(add_number(app, "--hole-ratio", settings_.hole_ratio, 0.0, LARGEST_RATIO,
                         "fusion: largest place that no photograph shows and that gets colours, in "
                         "photographs (default: 1)"),
              FUSION, any_hole);
    uses_.add(add_integer(app, "--hole-vertices", settings_.hole_vertices, 0, LARGEST_COUNT,
                          "fusion: up to so many vertices such a place may be larger, up to four "
                          "photographs (default: 10000)"),
              FUSION, any_hole);
    uses_.add(
        add_integer(app, "--patch-margin", settings_.patch_margin, 0, LARGEST_MARGIN,
                    "fusion: pixels around the faces of a patch that it has too (default: 3)"),
        FUSION, "its patches have 3 pixels more on each side");
    packing_gap_option_ = add_integer(app, "--packing-gap", packing_gap_, 0, LARGEST_MARGIN,
                                      "Pixels between the patches of the atlas (default: 1; mesh: "
                                      "3)");
    uses_.add(add_choice(app, "--solver", solver_, names_in(texture_solvers()),
                         "fusion: solves for the corrections of colours: simplicial, or pardiso, "
                         "the library's direct solver (default: simplicial)"),
              FUSION, "it has a solver of its own");
}

} // namespace veld::cli
