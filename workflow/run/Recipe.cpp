#include "workflow/run/Recipe.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonText.h"
#include "workflow/run/recipe/RecipeCheck.h"
#include "workflow/steps/SettingsReader.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <utility>

namespace veld
{

namespace
{

/// A recipe that is larger was meant to be something else.
constexpr std::size_t LARGEST_RECIPE = std::size_t{16} << 20U;

RecipeStep step_of(Json const& json)
{
    RecipeStep step;
    step.kind = step_kinds().at(json["step"].get<std::string>());
    step.when = step_conditions().at(json.value("when", "always"));
    step.settings = without_nulls(json.value("settings", Json::object()));
    return step;
}

} // namespace

std::map<std::string, StepKind> const& step_kinds()
{
    static std::map<std::string, StepKind> const kinds{
        {"merge", StepKind::MERGE},     {"normals", StepKind::NORMALS}, {"clean", StepKind::CLEAN},
        {"markers", StepKind::MARKERS}, {"repair", StepKind::REPAIR},   {"fill", StepKind::FILL},
        {"texture", StepKind::TEXTURE},
    };
    return kinds;
}

std::string to_string(StepKind kind)
{
    return name_in(step_kinds(), kind);
}

std::map<std::string, StepWhen> const& step_conditions()
{
    static std::map<std::string, StepWhen> const conditions{
        {"always", StepWhen::ALWAYS}, {"torn", StepWhen::TORN}, {"open", StepWhen::OPEN}};
    return conditions;
}

Recipe read_recipe(std::filesystem::path const& path)
{
    auto stream = open_input(path);
    std::string text;
    for (char c = '\0'; text.size() <= LARGEST_RECIPE && stream.get(c);)
    {
        text += c;
    }
    if (stream.bad())
    {
        throw InputError(shown(path) + ": cannot be read");
    }
    if (text.size() > LARGEST_RECIPE)
    {
        throw InputError(shown(path) + ": is too large for a recipe");
    }
    return parse_recipe(text, shown(path));
}

Recipe parse_recipe(std::string const& text, std::string const& name)
{
    JsonText const lines(text, name);
    check_recipe(lines);
    Recipe recipe;
    Json const& steps = lines.json()["steps"];
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        recipe.steps.push_back(step_of(steps[i]));
        recipe.steps.back().place =
            fmt::format("{}steps[{}]: ", lines.place(Json::json_pointer("/steps") / i), i);
    }
    return recipe;
}

Json to_json(Recipe const& recipe)
{
    Json steps = Json::array();
    for (auto const& step : recipe.steps)
    {
        Json json{{"step", to_string(step.kind)}};
        if (step.when != StepWhen::ALWAYS)
        {
            json["when"] = name_in(step_conditions(), step.when);
        }
        json["settings"] = with_defaults(step.kind, step.settings);
        steps.push_back(std::move(json));
    }
    return {{"veld_recipe", 1}, {"steps", std::move(steps)}};
}

Json with_defaults(StepKind kind, Json const& settings)
{
    Json whole = Json::object();
    for (auto const& property : schema_of_settings(to_string(kind))["properties"].items())
    {
        std::string const& key = property.key();
        whole[key] = settings.contains(key) ? settings[key] : property.value()["default"];
    }
    return whole;
}

Json without_nulls(Json const& json)
{
    if (json.is_array())
    {
        Json list = Json::array();
        for (auto const& value : json)
        {
            list.push_back(without_nulls(value));
        }
        return list;
    }
    if (!json.is_object())
    {
        return json;
    }
    Json kept = Json::object();
    for (auto const& item : json.items())
    {
        if (!item.value().is_null())
        {
            kept[item.key()] = without_nulls(item.value());
        }
    }
    return kept;
}

} // namespace veld
