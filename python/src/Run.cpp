#include "Run.h"

#include "Call.h"
#include "Existing.h"
#include "Paths.h"
#include "Settings.h"
#include "Text.h"

#include "workflow/run/Run.h"

#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace veld::python
{

namespace
{

/// JSON has no such numbers: as text they would be null, and null is measured.
void refuse_what_is_not_finite(Json const& json)
{
    Json const flat = json.flatten();
    for (auto const& item : flat.items())
    {
        if (item.value().is_number_float() && !std::isfinite(item.value().get<double>()))
        {
            throw InputError("recipe: '" + item.key() + "' has to be a finite number");
        }
    }
}

/// A dictionary as the schema of recipes has it, or the path of a file with one.
Recipe recipe_of(nb::object const& recipe)
{
    if (nb::isinstance<nb::dict>(recipe))
    {
        Json const json = json_of(recipe, "recipe: ");
        refuse_what_is_not_finite(json);
        return parse_recipe(json.dump(2, ' ', false, Json::error_handler_t::replace), "recipe");
    }
    return read_recipe(path_of(recipe));
}

std::filesystem::path optional_path(nb::object const& path)
{
    return path.is_none() ? std::filesystem::path() : path_of(path);
}

Values run_scan(nb::object const& scan, nb::object const& directory, nb::object const& markers,
                nb::object const& photos, nb::object const& recipe, bool keep, bool pictures,
                bool overwrite, nb::object const& tell, Call& call)
{
    RunRequest request;
    request.scan = path_of(scan);
    request.directory = path_of(directory);
    request.markers = optional_path(markers);
    request.photos = optional_path(photos);
    if (!recipe.is_none())
    {
        request.recipe = recipe_of(recipe);
    }
    request.keep = keep;
    request.pictures = pictures;
    request.existing = existing_of(overwrite);
    auto const listener = [&](std::string const& line)
    {
        nb::gil_scoped_acquire const acquire;
        if (!tell.is_none())
        {
            tell(text_of(line));
        }
    };
    RunResult const result =
        call.run([&](Context& context) { return veld::run(request, context, listener); });
    Json json = result.record.to_json();
    json["from_before"] = result.from_before;
    return values_of(json);
}

/// The recipe that a scan would get, or one of all steps without a scan.
Values usual(nb::object const& scan, nb::object const& markers, nb::object const& photos,
             Call& call)
{
    auto const path = optional_path(scan);
    auto const marker_file = optional_path(markers);
    auto const photo_source = optional_path(photos);
    return values_of(to_json(call.run(
        [&](Context& context)
        {
            return path.empty()
                       ? usual_recipe()
                       : usual_recipe(look_at_scan(path, marker_file, photo_source, context));
        })));
}

/// With every setting, in the one form that all recipes of the same meaning have.
Values parsed(nb::object const& recipe)
{
    return values_of(to_json(recipe_of(recipe)));
}

/// The files of a scan, of its markers and of its photographs.
std::tuple<Paths, Paths, Paths> scan_files(nb::object const& scan, nb::object const& markers,
                                           nb::object const& photos, Call& call)
{
    auto const path = path_of(scan);
    auto const marker_file = optional_path(markers);
    auto const photo_source = optional_path(photos);
    ScanLook const look =
        call.run([&](Context&) { return find_scan(path, marker_file, photo_source); });
    std::vector<std::filesystem::path> its_markers;
    if (!look.markers.empty())
    {
        its_markers.push_back(look.markers);
    }
    return {objects_of(look.files), objects_of(its_markers), objects_of(look.photo_files)};
}

} // namespace

void bind_run(nb::module_& module)
{
    module.def("run", &run_scan, nb::arg("scan"), nb::arg("directory"), nb::arg("markers").none(),
               nb::arg("photos").none(), nb::arg("recipe").none(), nb::arg("keep"),
               nb::arg("pictures"), nb::arg("overwrite"), nb::arg("tell").none(), nb::arg("call"));
    module.def("usual_recipe", &usual, nb::arg("scan").none(), nb::arg("markers").none(),
               nb::arg("photos").none(), nb::arg("call"));
    module.def("scan_files", &scan_files, nb::arg("scan"), nb::arg("markers").none(),
               nb::arg("photos").none(), nb::arg("call"));
    module.def("parsed_recipe", &parsed, nb::arg("recipe"));
    module.def("recipe_schema", &recipe_schema);
}

} // namespace veld::python
