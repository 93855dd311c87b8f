#include "workflow/steps/Fill.h"

#include "workflow/StepScope.h"
#include "workflow/files/KeptAttributes.h"
#include "workflow/steps/FindHoles.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <fmt/format.h>

#include <chrono>
#include <limits>
#include <map>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::OpenHole;
using OrvaneAlgorithm::OpenReason;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// Sets both ear methods up, which name their settings alike.
template <typename Ears>
void set_limits(Ears& ears, FillSettings const& settings)
{
    ears.set_node_num_constraint(settings.max_edges > 0);
    ears.set_node_num_thr(settings.max_edges);
    ears.set_edge_length_constraint(settings.edge_length > 0.0);
    ears.set_edge_length_thr(settings.edge_length);
    ears.set_norm_constraint(settings.normal_angle < 180.0);
    ears.set_max_perimeter(*settings.max_perimeter);
    // Else a small hole that touches the outer border would stay open with it.
    ears.set_take_apart(true);
}

std::vector<OpenHole> clip(TriMesh& mesh, FillSettings const& settings)
{
    OrvaneAlgorithm::EarClipping ears;
    set_limits(ears, settings);
    ears.set_angle_thr(settings.normal_angle);
    ears.fill_hole(mesh);
    return ears.open_holes();
}

std::vector<OpenHole> trim(TriMesh& mesh, FillSettings const& settings)
{
    OrvaneAlgorithm::EarTrimming ears;
    set_limits(ears, settings);
    ears.set_norm_thr(settings.normal_angle);
    ears.ear_trimming(mesh);
    return ears.open_holes();
}

OrvaneAlgorithm::HoleFillingCore core_with(FillSettings const& settings)
{
    constexpr int NO_LIMIT = std::numeric_limits<int>::max();
    OrvaneAlgorithm::HoleFillingCore core;
    core.set_smooth_type(settings.smoothness);
    core.set_use_hole_vert_num_thr(settings.max_edges > 0);
    core.set_hole_verts_thr(settings.max_edges);
    // The number of edges from which on splits are left out.
    bool const all_splits = settings.exact_edges <= 0 || settings.exact_edges == NO_LIMIT;
    core.set_triangulation_sample_num(all_splits ? NO_LIMIT : settings.exact_edges + 1);
    core.set_fairing_verts_thr(settings.max_patch > 0 ? settings.max_patch : NO_LIMIT);
    return core;
}

void warn_of_large_patches(Holes const& patches, FillSettings const& settings, StepScope& scope)
{
    for (auto const& patch : patches)
    {
        if (settings.max_patch > 0 && patch.size() > static_cast<std::size_t>(settings.max_patch))
        {
            scope.warn(WarningCode::PATCH_UNFAIRED, "careful filling",
                       fmt::format("a patch of {} vertices is closed but not smooth, for it has "
                                   "more than {}",
                                   patch.size(), settings.max_patch));
        }
    }
}

std::vector<OpenHole> fill_carefully(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    std::vector<OpenHole> open;
    Holes holes;
    for (auto const& hole : all_holes(mesh))
    {
        bool const any_length = !(*settings.max_perimeter > 0.0);
        if (hole.size() < static_cast<std::size_t>(settings.min_edges))
        {
            continue;
        }
        if (any_length || hole_perimeter(mesh, hole) < *settings.max_perimeter)
        {
            holes.push_back(hole);
        }
        else
        {
            open.push_back({hole, OpenReason::PERIMETER_TOO_LONG});
        }
    }
    if (holes.empty())
    {
        return open;
    }

    KeptAttributes const attributes(mesh);
    auto core = core_with(settings);
    std::vector<bool> filled;
    std::vector<std::vector<OpenMesh::FaceHandle>> new_faces;
    std::vector<std::vector<OpenMesh::VertexHandle>> new_vertices;
    std::vector<std::vector<OpenMesh::VertexHandle>> patches;
    core.fill_holes_core_ex(mesh, holes, filled, settings.rings, new_faces, new_vertices, patches,
                            OrvaneAlgorithm::gPH.log_enabled);
    attributes.restore(mesh);
    warn_of_large_patches(patches, settings, scope);
    open.insert(open.end(), core.open_holes().begin(), core.open_holes().end());
    return open;
}

std::vector<OpenHole> run_pass(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    switch (settings.method)
    {
    case FillMethod::CLIP:
        return clip(mesh, settings);
    case FillMethod::TRIM:
        return trim(mesh, settings);
    case FillMethod::CORE:
        return fill_carefully(mesh, settings, scope);
    }
    return {};
}

/// Finds why a hole stayed open. The loops of a run may touch themselves where the holes of a
/// search are simple, so the two are matched by their rims' edges: each has one open side only.
class ReasonFinder
{
public:
    /// Takes the holes that a pass left open. They override what an earlier one left. A hole that
    /// was beyond a limit and got shorter when others were filled is not beyond it any more.
    void add(TriMesh const& mesh, std::vector<OpenHole> const& open_holes,
             FillSettings const& settings)
    {
        for (auto const& open : open_holes)
        {
            if ((open.reason == OpenReason::TOO_MANY_EDGES &&
                 open.corners.size() <= static_cast<std::size_t>(settings.max_edges)) ||
                (open.reason == OpenReason::PERIMETER_TOO_LONG &&
                 hole_perimeter(mesh, open.corners) < *settings.max_perimeter))
            {
                continue;
            }
            for (std::size_t i = 0; i < open.corners.size(); ++i)
            {
                auto const next = open.corners[(i + 1) % open.corners.size()];
                reasons_[Edge(open.corners[i].idx(), next.idx())] = open.reason;
            }
        }
    }

    std::string reason(Hole const& hole) const
    {
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            auto const found =
                reasons_.find(Edge(hole[i].idx(), hole[(i + 1) % hole.size()].idx()));
            if (found != reasons_.end())
            {
                return to_string(found->second);
            }
        }
        return "left between filled holes that touch";
    }

private:
    using Edge = std::pair<int, int>;
    std::map<Edge, OpenReason> reasons_;
};

std::vector<OpenHoleReport> report_open_holes(TriMesh& mesh, ReasonFinder const& finder)
{
    std::vector<OpenHoleReport> reports;
    for (auto const& hole : all_holes(mesh))
    {
        reports.push_back(
            {reports.size(), hole.size(), hole_perimeter(mesh, hole), finder.reason(hole)});
    }
    return reports;
}

/// Runs one pass and counts what it did.
FillPass fill_pass(FillSettings const& settings, std::size_t holes, FillResult& result,
                   ReasonFinder& finder, StepScope& scope)
{
    TriMesh& mesh = result.mesh;
    std::size_t const vertices = mesh.n_vertices();
    std::size_t const faces = mesh.n_faces();
    auto const start = std::chrono::steady_clock::now();
    finder.add(mesh, run_pass(mesh, settings, scope), settings);
    result.seconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    FillPass pass;
    pass.method = settings.method;
    pass.holes_before = holes;
    pass.holes_after = all_holes(mesh).size();
    pass.new_vertices = mesh.n_vertices() - vertices;
    pass.new_faces = mesh.n_faces() - faces;
    result.new_vertices += pass.new_vertices;
    result.new_faces += pass.new_faces;
    return pass;
}

} // namespace

std::map<std::string, FillMethod> const& fill_methods()
{
    static std::map<std::string, FillMethod> const methods{
        {"clip", FillMethod::CLIP}, {"trim", FillMethod::TRIM}, {"core", FillMethod::CORE}};
    return methods;
}

FillResult fill(TriMesh const& mesh, FillSettings const& settings, Context& context)
{
    return fill(mesh, std::vector<FillSettings>{settings}, context);
}

FillResult fill(TriMesh const& mesh, std::vector<FillSettings> const& passes, Context& context)
{
    StepScope scope(context, "fill-holes", "find the holes");
    FillResult result;
    result.mesh = mesh;
    double const diagonal = box_diagonal(mesh);
    result.holes_before =
        scope.stage("find the holes", 0.05, [&] { return all_holes(result.mesh).size(); });
    ReasonFinder finder;
    std::size_t holes = result.holes_before;
    for (std::size_t i = 0; i < passes.size(); ++i)
    {
        FillSettings settings = passes[i];
        settings.max_perimeter = settings.max_perimeter.value_or(diagonal);
        double const end =
            0.05 + 0.9 * static_cast<double>(i + 1) / static_cast<double>(passes.size());
        FillPass const pass =
            scope.stage("close the holes", end,
                        [&] { return fill_pass(settings, holes, result, finder, scope); });
        holes = pass.holes_after;
        result.passes.push_back(pass);
    }
    complete_carried(mesh, result.mesh);
    result.open =
        scope.stage("count the holes", 1.0, [&] { return report_open_holes(result.mesh, finder); });
    result.holes_after = result.open.size();
    return result;
}

} // namespace veld
