#include "workflow/repairing/RepairReason.h"

#include "workflow/Error.h"
#include "workflow/repairing/CloudPlaces.h"
#include "workflow/repairing/RepairRun.h"
#include "workflow/repairing/RepairValues.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

/// Share of the points of a cloud that may stay without a face: specks beside the surface.
constexpr double MOST_LEFT = 0.1;

/// Why a repair added no face: what it would have taken to add some is tried.
struct Reason
{
    std::string text;
    std::string setting;
};

Reason find_reason(TriMesh const& mesh, RepairResult const& result)
{
    using Change = std::function<void(RepairSettings&)>;
    auto const adds_with = [&](Change const& change)
    {
        RepairSettings settings = result.settings;
        settings.refused_faces.clear();
        change(settings);
        return run_repair(mesh, settings).new_faces > 0;
    };
    if (adds_with([](RepairSettings& settings)
                  { settings.normal_angle = std::max(settings.normal_angle, 90.0); }))
    {
        return {fmt::format("faces within its reach are turned more than {:.6g} degrees away from "
                            "the normals of their corners",
                            result.settings.normal_angle),
                "normal_angle"};
    }
    if (result.dropped_faces > 0)
    {
        return {"the faces within its reach would lie back to back or make vertices non-manifold",
                ""};
    }
    if (result.refused_faces > 0)
    {
        return {"the mesh has no room for the faces within its reach, for several fans of faces "
                "meet at their corners",
                ""};
    }
    if (result.settings.method == RepairMethod::BALL &&
        adds_with([](RepairSettings& settings) { settings.empty_ball = false; }))
    {
        return {"every ball that touches a border holds other vertices", "radii"};
    }
    if (is_cloud_of(mesh))
    {
        return {fmt::format("there are no three points within {:.6g} mm of each other that a ball "
                            "can lie on",
                            2.0 * result.settings.radii.front()), // of those that can begin
                "radii"};
    }
    return {fmt::format("there is no other border within {:.6g} mm", reach_of(result.settings)),
            "radii"};
}

void judge_cloud(TriMesh const& cloud, RepairResult const& result, StepScope& scope)
{
    if (result.new_faces == 0)
    {
        Reason const reason = find_reason(cloud, result);
        throw OperationError("the points give no face: " + reason.text, reason.setting);
    }
    std::string const name = to_string(result.settings.method);
    std::size_t const places = one_of_each_place(cloud).size();
    std::size_t const repeated = cloud.n_vertices() - places;
    if (repeated > 0)
    {
        scope.warn(WarningCode::POINTS_REPEATED, name,
                   fmt::format("{} where another one does, and {} no face",
                               counted(repeated, "point") + (repeated == 1 ? " lies" : " lie"),
                               repeated == 1 ? "gets" : "get"));
    }
    std::size_t const left = result.after.isolated_vertices - repeated;
    if (static_cast<double>(left) > MOST_LEFT * static_cast<double>(places))
    {
        scope.warn(
            WarningCode::POINTS_LEFT, name,
            fmt::format("{} of {} have no face; a larger radius may connect them, or normals "
                        "that turn as the surface does",
                        left, counted(places, "point")));
    }
}

} // namespace

void judge_repair(TriMesh const& mesh, RepairResult const& result, StepScope& scope)
{
    if (is_cloud_of(mesh))
    {
        judge_cloud(mesh, result, scope);
        return;
    }
    if (result.new_faces > 0 && (result.after.holes < result.before.holes ||
                                 result.after.boundary_edges < result.before.boundary_edges ||
                                 result.after.isolated_vertices < result.before.isolated_vertices))
    {
        return;
    }
    if (result.before.closed)
    {
        return; // no border to which loose points could be tied
    }
    std::string const name = to_string(result.settings.method);
    if (result.new_faces > 0)
    {
        scope.warn(WarningCode::NOTHING_CLOSED, name,
                   fmt::format("no hole is closed, for they are wider than its reach of {:.6g} mm",
                               reach_of(result.settings)));
        return;
    }
    scope.warn(WarningCode::NOTHING_CLOSED, name,
               "nothing is closed: " + find_reason(mesh, result).text);
}

} // namespace veld
