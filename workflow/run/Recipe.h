#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace veld
{

/// What a step of a run does.
enum class StepKind
{
    MERGE,   ///< Frames become a mesh.
    NORMALS, ///< The points of a cloud get normals.
    CLEAN,   ///< What does not belong to the surface goes.
    MARKERS, ///< The surface of adhesive markers goes.
    REPAIR,  ///< Gaps are closed, or points become a mesh.
    FILL,    ///< Holes are closed.
    TEXTURE  ///< Photographs become a texture.
};

/// "merge", "normals", "clean", "markers", "repair", "fill", "texture".
VELD_WORKFLOW_API std::map<std::string, StepKind> const& step_kinds();
VELD_WORKFLOW_API std::string to_string(StepKind kind);

/// Where a step is left out.
enum class StepWhen
{
    ALWAYS, ///< Nowhere.
    TORN,   ///< Where the mesh is in one piece.
    OPEN    ///< Where the mesh is closed; and a filling that would close none of its holes.
};

/// "always", "torn", "open".
VELD_WORKFLOW_API std::map<std::string, StepWhen> const& step_conditions();

/// One step of a recipe.
struct RecipeStep
{
    StepKind kind = StepKind::CLEAN; ///< What it does.
    /// The settings that are given, without any null: the others have their defaults or are
    /// measured.
    Json settings = Json::object();
    StepWhen when = StepWhen::ALWAYS; ///< When it is taken.
    std::string place; ///< Where it stands, for errors: "recipe.json:12: steps[1]: ".
};

/// The steps of a run, in their order.
struct Recipe
{
    std::vector<RecipeStep> steps; ///< One may be there twice.
};

/// Reads a recipe: JSON as `recipe_schema()` has it. Throws `InputError`, which names the file, the
/// line and the key, where it is none.
VELD_WORKFLOW_API Recipe read_recipe(std::filesystem::path const& path);

/// The same for a text. \param name of it, for errors
VELD_WORKFLOW_API Recipe parse_recipe(std::string const& text, std::string const& name);

/// The JSON form, with every setting: those that are not given have their default, or null where
/// they are measured.
VELD_WORKFLOW_API Json to_json(Recipe const& recipe);

/// The JSON Schema (draft 7) of recipes.
VELD_WORKFLOW_API std::string const& recipe_schema();

/// The settings with the defaults of the schema for those that are not given.
Json with_defaults(StepKind kind, Json const& settings);

/// JSON without the keys of objects that are null.
Json without_nulls(Json const& json);

} // namespace veld
