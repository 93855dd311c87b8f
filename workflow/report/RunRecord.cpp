#include "workflow/report/RunRecord.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/JsonDepth.h"
#include "workflow/files/JsonFields.h"
#include "workflow/files/OutputFile.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <limits>

namespace veld
{

namespace
{

Json step_json(RunStep const& step)
{
    return {{"name", step.name},
            {"title", step.title},
            {"settings", step.settings},
            {"result", step.result},
            {"seconds", step.seconds},
            {"line", step.line},
            {"warnings", step.warnings},
            {"mesh", step.mesh},
            {"picture", step.picture},
            {"key", step.key},
            {"new_faces_begin", step.new_faces_begin}};
}

/// A value of any kind; null where there is none.
Json value_or_null(Json const& json, char const* key)
{
    auto const found = json.find(key);
    return found == json.end() ? Json() : *found;
}

/// The list under a key; none where it is missing.
Json list_or_none(Json const& json, std::string const& key, std::string const& place)
{
    Json list = value_or_null(json, key.c_str());
    if (list.is_null())
    {
        return Json::array();
    }
    if (!list.is_array())
    {
        throw InputError(fmt::format("{}'{}' has to be a list", place, key));
    }
    return list;
}

std::vector<std::string> read_warnings(Json const& json, std::string const& place)
{
    std::vector<std::string> warnings;
    for (Json const& text : list_or_none(json, "warnings", place))
    {
        if (!text.is_string())
        {
            throw InputError(place + "'warnings' has to be a list of texts");
        }
        warnings.push_back(text.get<std::string>());
    }
    return warnings;
}

RunStep read_step(Json const& json, std::string const& place)
{
    JsonFields const fields(json, place);
    RunStep step;
    step.name = fields.text("name");
    step.title = fields.text("title", step.name);
    step.settings = value_or_null(json, "settings");
    step.result = value_or_null(json, "result");
    step.seconds = fields.has("seconds") ? fields.number("seconds") : 0.0;
    step.line = fields.text("line", "");
    step.warnings = read_warnings(json, place);
    step.mesh = fields.text("mesh", "");
    step.picture = fields.text("picture", "");
    step.key = fields.text("key", "");
    if (fields.has("new_faces_begin"))
    {
        step.new_faces_begin =
            fields.integer("new_faces_begin", -1, std::numeric_limits<int>::max());
    }
    return step;
}

RunRecord read_record(Json const& json, std::string const& place)
{
    JsonFields const fields(json, place);
    RunRecord record;
    record.version = fields.text("version");
    record.source = fields.text("source", "");
    record.recipe = value_or_null(json, "recipe");
    for (Json const& step : list_or_none(json, "steps", place))
    {
        record.steps.push_back(
            read_step(step, fmt::format("{}step {}: ", place, record.steps.size() + 1)));
    }
    record.comparison = value_or_null(json, "comparison");
    record.textured = fields.text("textured", "");
    return record;
}

} // namespace

Json RunRecord::to_json() const
{
    Json list = Json::array();
    for (RunStep const& step : steps)
    {
        list.push_back(step_json(step));
    }
    return {{"version", version},       {"source", source},         {"recipe", recipe},
            {"steps", std::move(list)}, {"comparison", comparison}, {"textured", textured}};
}

std::string RunRecord::to_text() const
{
    return to_json().dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::filesystem::path run_record_path(std::filesystem::path const& directory)
{
    return directory / "run.json";
}

RunRecord read_run_record(std::filesystem::path const& directory)
{
    std::filesystem::path const path = run_record_path(directory);
    return read_record(read_json(path), shown(path) + ": ");
}

RunRecord parse_run_record(std::string const& text, std::string const& place)
{
    if (is_nested_too_deeply(text))
    {
        throw InputError(
            fmt::format("{}has more than {} lists and objects in each other", place, DEEPEST_JSON));
    }
    Json const json = Json::parse(text, nullptr, false);
    if (json.is_discarded())
    {
        throw InputError(place + "is no JSON");
    }
    return read_record(json, place);
}

void write_run_record(std::filesystem::path const& directory, RunRecord const& record)
{
    OutputFile file(run_record_path(directory));
    write_text_file(file, record.to_text());
    file.commit();
}

} // namespace veld
