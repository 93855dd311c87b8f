#include "Tiles.h"

#include "Call.h"
#include "Existing.h"
#include "Paths.h"
#include "Settings.h"

#include "workflow/files/OutputFile.h"
#include "workflow/steps/SettingsReader.h"
#include "workflow/tiling/TileJson.h"
#include "workflow/tiling/Tiling.h"

#include <cmath>
#include <cstddef>
#include <filesystem>
#include <string>

namespace veld::python
{

namespace
{

/// What a scan is read and divided by.
struct Division
{
    std::filesystem::path source;
    LoadFramesSettings load;
    MergeSettings merge;
    TileSettings tiling;
};

TileSettings tiling_of(Values const& values)
{
    std::string const place = "tiles: ";
    Json const json = json_of(values, place);
    TileSettings settings;
    auto points = static_cast<double>(settings.tile_points);
    SettingsReader reader(json, place);
    reader.number("tile_points", points, static_cast<double>(LEAST_TILE_POINTS),
                  static_cast<double>(MOST_TILE_POINTS));
    reader.number("tile_margin", settings.margin, LEAST_TILE_MARGIN, LARGEST_TILE_MARGIN);
    reader.finish();
    if (std::floor(points) != points)
    {
        throw InputError(place + "'tile_points' has to be a whole number");
    }
    settings.tile_points = static_cast<std::size_t>(points);
    return settings;
}

Division division_of(nb::object const& source, Values const& load, Values const& merge,
                     Values const& tiling)
{
    return {path_of(source), settings_of<LoadFramesSettings>("load_frames", load),
            settings_of<MergeSettings>("merge", merge), tiling_of(tiling)};
}

Values tile_plan(nb::object const& source, nb::object const& folder, Values const& load,
                 Values const& merge, Values const& tiling, Call& call)
{
    Division const given = division_of(source, load, merge, tiling);
    auto const directory = path_of(folder);
    return values_of(to_json(call.run(
        [&](Context& context) {
            return plan_tiles(given.source, given.load, given.merge, given.tiling, directory,
                              context);
        })));
}

Values thinned_tile(nb::object const& folder, std::size_t tile, Call& call)
{
    auto const directory = path_of(folder);
    return values_of(
        to_json(call.run([&](Context& context) { return thin_tile(directory, tile, context); })));
}

Values merged_tile(nb::object const& folder, std::size_t tile, Call& call)
{
    auto const directory = path_of(folder);
    return values_of(
        to_json(call.run([&](Context& context) { return merge_tile(directory, tile, context); })));
}

Values joined_tiles(nb::object const& folder, nb::object const& output, bool overwrite, Call& call)
{
    auto const directory = path_of(folder);
    auto const file = path_of(output);
    return values_of(to_json(call.run(
        [&](Context& context)
        {
            check_extension(file, {".ply"});
            Outputs outputs(existing_of(overwrite));
            outputs.check({file}, {});
            auto const result = join_tiles(directory, outputs.add(file), context);
            outputs.commit();
            return result;
        })));
}

/// \param folder None: the tiles go with what is temporary of the mesh
/// \param done gets the number of each tile that has its mesh, and what `thin` and `merge` gave
Values merged_in_tiles(nb::object const& source, nb::object const& output, nb::object const& folder,
                       Values const& load, Values const& settings, Values const& tiling,
                       bool overwrite, nb::object const& done, Call& call)
{
    Division const given = division_of(source, load, settings, tiling);
    auto const file = path_of(output);
    auto const directory = folder.is_none() ? std::filesystem::path() : path_of(folder);
    auto const tell = [&](std::size_t tile, TileResult const& result)
    {
        nb::gil_scoped_acquire const acquire;
        if (!done.is_none())
        {
            done(tile, values_of(to_json(result.thin)), values_of(to_json(result.merge)));
        }
    };
    return values_of(to_json(call.run(
        [&](Context& context)
        {
            check_extension(file, {".ply"});
            Outputs outputs(existing_of(overwrite));
            outputs.check({file}, frame_source_files(given.source));
            OutputFile const& mesh = outputs.add(file);
            auto const place =
                directory.empty() ? mesh.temporary().parent_path() / "tiles" : directory;
            auto const result = merge_in_tiles(given.source, given.load, given.merge, given.tiling,
                                               place, mesh, tell, context);
            outputs.commit();
            return result;
        })));
}

} // namespace

void bind_tiles(nb::module_& module)
{
    module.def("plan_tiles", &tile_plan, nb::arg("source"), nb::arg("folder"), nb::arg("load"),
               nb::arg("settings"), nb::arg("tiling"), nb::arg("call"));
    module.def("thin_tile", &thinned_tile, nb::arg("folder"), nb::arg("tile"), nb::arg("call"));
    module.def("merge_tile", &merged_tile, nb::arg("folder"), nb::arg("tile"), nb::arg("call"));
    module.def("join_tiles", &joined_tiles, nb::arg("folder"), nb::arg("output"),
               nb::arg("overwrite"), nb::arg("call"));
    module.def("merge_in_tiles", &merged_in_tiles, nb::arg("source"), nb::arg("output"),
               nb::arg("folder").none(), nb::arg("load"), nb::arg("settings"), nb::arg("tiling"),
               nb::arg("overwrite"), nb::arg("done").none(), nb::arg("call"));
}

} // namespace veld::python
