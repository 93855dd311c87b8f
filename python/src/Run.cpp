#include "Run.h"

#include "Call.h"
#include "Paths.h"
#include "Settings.h"

#include "workflow/run/Run.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>

#include <optional>
#include <string>
#include <utility>

namespace veld::python
{

namespace
{

/// A dictionary as the schema of recipes has it, or the path of a file with one.
std::optional<Recipe> recipe_of(nb::object const& recipe)
{
    if (recipe.is_none())
    {
        return std::nullopt;
    }
    if (nb::isinstance<nb::dict>(recipe))
    {
        return parse_recipe(json_of(recipe, "recipe: ").dump(2), "recipe");
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
    request.recipe = recipe_of(recipe);
    request.keep = keep;
    request.pictures = pictures;
    request.existing = overwrite ? Existing::REPLACED : Existing::KEPT;
    auto const listener = [&](std::string const& line)
    {
        nb::gil_scoped_acquire const acquire;
        if (!tell.is_none())
        {
            tell(line);
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

} // namespace

void bind_run(nb::module_& module)
{
    module.def("run", &run_scan, nb::arg("scan"), nb::arg("directory"), nb::arg("markers").none(),
               nb::arg("photos").none(), nb::arg("recipe").none(), nb::arg("keep"),
               nb::arg("pictures"), nb::arg("overwrite"), nb::arg("tell").none(), nb::arg("call"));
    module.def("usual_recipe", &usual, nb::arg("scan").none(), nb::arg("markers").none(),
               nb::arg("photos").none(), nb::arg("call"));
    module.def("recipe_schema", &recipe_schema);
}

} // namespace veld::python
