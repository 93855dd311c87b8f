#include "options/TileOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

void TileOptions::add(CLI::App& app)
{
    tile_points_option_ =
        app.add_option("--tile-points", settings_.tile_points,
                       "Merge a scan that does not fit in memory in tiles of at most so many "
                       "samples, one after the other; without it the scan is merged as a whole")
            ->type_name("N")
            ->check(CLI::Range(static_cast<double>(LEAST_TILE_POINTS),
                               static_cast<double>(MOST_TILE_POINTS)));
    add_number(app, "--tile-margin", settings_.margin, LEAST_TILE_MARGIN, LARGEST_TILE_MARGIN,
               "Width in spacings of what a tile sees around it: the wider, the less the mesh "
               "differs from that of the whole scan along its seams (default: 48)")
        ->needs(tile_points_option_);
    app.add_option("--keep-tiles", folder_,
                   "Keep the tiles in DIR: a merge that was interrupted goes on from there")
        ->type_name("DIR")
        ->needs(tile_points_option_);
}

bool TileOptions::are_given() const
{
    return tile_points_option_->count() > 0;
}

} // namespace veld::cli
