#include "demo/DemoRecord.h"

#include "workflow/words.h"

#include <fmt/format.h>

#include <utility>

namespace veld::cli
{

namespace
{

std::size_t number_of(Json const& result, char const* key)
{
    return result.at(key).get<std::size_t>();
}

RunStep step_of(std::string name, std::string title, Json result, std::string line)
{
    RunStep step;
    step.name = std::move(name);
    step.title = std::move(title);
    step.seconds = result.value("seconds", 0.0);
    result.erase("file"); // a path of the machine that it ran on
    step.result = std::move(result);
    step.line = std::move(line);
    return step;
}

RunStep merge_step(Json const& result)
{
    Json const& merge = result.at("merge");
    RunStep step =
        step_of("merge", "Merge " + counted(number_of(merge, "frames"), "frame"), merge,
                fmt::format("One mesh of {} with {}", counted(number_of(merge, "faces"), "face"),
                            counted(number_of(merge, "holes"), "hole")));
    step.mesh = "scan.ply";
    step.picture = "before.png";
    return step;
}

RunStep clean_step(Json const& result)
{
    Json const& clean = result.at("clean");
    std::size_t const before = number_of(clean.at("before"), "faces");
    std::size_t const after = number_of(clean.at("after"), "faces");
    RunStep step = step_of(
        "clean",
        fmt::format("Remove markers, {} and specks", counted(result.at("sticks").size(), "stick")),
        clean, fmt::format("{} removed", counted(before - after, "face")));
    step.mesh = "cleaned.ply";
    step.picture = "cleaned.png";
    return step;
}

RunStep fill_step(Json const& result)
{
    Json const& fill = result.at("fill");
    std::size_t const closed = fill.at("closed").size();
    RunStep step =
        step_of("fill", "Fill " + counted(closed, "hole"), fill,
                fmt::format("{} added, {} left open", counted(number_of(fill, "new_faces"), "face"),
                            counted(number_of(fill, "holes_after"), "hole")));
    step.mesh = "filled.ply";
    step.picture = "after.png";
    if (number_of(fill, "cut_faces") == 0)
    {
        step.new_faces_begin =
            static_cast<long>(number_of(result.at("clean").at("after"), "faces"));
    }
    return step;
}

RunStep texture_step(Json const& result)
{
    Json const& texture = result.at("texture");
    RunStep step =
        step_of("texture",
                "Texture from " + counted(number_of(texture, "photographs"), "photograph"), texture,
                fmt::format("{} of {} have photographs", number_of(texture, "textured_faces"),
                            counted(number_of(texture, "faces"), "face")));
    step.picture = "textured.png";
    return step;
}

/// On a copy that is torn for this: its meshes are not what the run is about.
RunStep repair_step(Json const& repair, std::string const& method)
{
    Json const& result = repair.at(method);
    return step_of("repair", "Repair a torn copy: " + method, result,
                   fmt::format("{} before, {} after",
                               counted(number_of(result.at("before"), "holes"), "hole"),
                               number_of(result.at("after"), "holes")));
}

} // namespace

RunRecord demo_record(Json const& result)
{
    RunRecord record;
    record.version = VELD_VERSION;
    record.source = "An object made by code";
    record.steps = {merge_step(result), clean_step(result), fill_step(result),
                    texture_step(result)};
    for (char const* method : {"ball", "project"})
    {
        record.steps.push_back(repair_step(result.at("repair"), method));
    }
    record.comparison = {{"distance", result.at("deviation")},
                         {"colour", result.at("texture").at("colour_error")},
                         {"step_across_seams", result.at("texture").at("seam_step")}};
    record.textured = "textured.glb";
    return record;
}

} // namespace veld::cli
