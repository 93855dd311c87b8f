#include "workflow/repairing/RepairReason.h"

#include "workflow/Error.h"
#include "workflow/repairing/RepairRun.h"
#include "workflow/repairing/RepairValues.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <string>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

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
        return {"every ball that touches a border holds other vertices", "radius"};
    }
    return {fmt::format("there is nothing to connect within {:.6g} mm", reach_of(result.settings)),
            "radius"};
}

} // namespace

void judge_repair(TriMesh const& mesh, RepairResult const& result, StepScope& scope)
{
    if (result.new_faces > 0 && (result.after.holes < result.before.holes ||
                                 result.after.boundary_edges < result.before.boundary_edges ||
                                 result.after.isolated_vertices < result.before.isolated_vertices))
    {
        return;
    }
    if (result.before.closed && result.before.isolated_vertices == 0)
    {
        return;
    }
    std::string const name = to_string(result.settings.method);
    if (result.new_faces > 0)
    {
        scope.warn(WarningCode::NOTHING_CLOSED, name,
                   fmt::format("no hole is closed, for they are wider than its reach of {:.6g} mm",
                               reach_of(result.settings)));
        return;
    }
    Reason const reason = find_reason(mesh, result);
    if (is_cloud_of(mesh))
    {
        throw OperationError("the points give no face: " + reason.text, reason.setting);
    }
    scope.warn(WarningCode::NOTHING_CLOSED, name, "nothing is closed: " + reason.text);
}

} // namespace veld
