#include "workflow/steps/Fill.h"

#include "workflow/StepScope.h"
#include "workflow/files/KeptAttributes.h"
#include "workflow/steps/ClosingRecord.h"
#include "workflow/steps/FindHoles.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/RimTurn.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <memory>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::OpenHole;
using OrvaneAlgorithm::OpenReason;
using OrvaneAlgorithm::TriMesh;

namespace
{

bool is_short_enough(FillSettings const& settings, double perimeter)
{
    double const limit = settings.max_perimeter.value_or(0.0);
    return !(limit > 0.0) || perimeter < limit;
}

bool has_few_enough_edges(FillSettings const& settings, std::size_t edges)
{
    return settings.max_edges <= 0 || edges <= static_cast<std::size_t>(settings.max_edges);
}

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

/// What a pass left open, and how many faces it cut away.
struct PassOutcome
{
    std::vector<OpenHole> open;
    std::size_t cut_faces = 0;
};

/// The number of edges from which on splits are left out.
int split_limit(FillSettings const& settings)
{
    constexpr int NO_LIMIT = std::numeric_limits<int>::max();
    bool const all_splits = settings.exact_edges <= 0 || settings.exact_edges == NO_LIMIT;
    return all_splits ? NO_LIMIT : settings.exact_edges + 1;
}

OrvaneAlgorithm::HoleFillingCore core_with(FillSettings const& settings)
{
    constexpr int NO_LIMIT = std::numeric_limits<int>::max();
    OrvaneAlgorithm::HoleFillingCore core;
    core.set_smooth_type(settings.smoothness);
    core.set_use_hole_vert_num_thr(settings.max_edges > 0);
    core.set_hole_verts_thr(settings.max_edges);
    core.set_triangulation_sample_num(split_limit(settings));
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
        if (hole.size() < static_cast<std::size_t>(settings.min_edges))
        {
            continue;
        }
        if (!is_short_enough(settings, hole_perimeter(mesh, hole)))
        {
            open.push_back({hole, OpenReason::PERIMETER_TOO_LONG});
        }
        else if (OrvaneAlgorithm::detail::turns_back(mesh, hole, settings.normal_angle))
        {
            open.push_back({hole, OpenReason::NORMALS_DISAGREE});
        }
        else
        {
            holes.push_back(hole);
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

/// Sets up what the fillings of all holes and of those at markers have in common.
void set_up(OrvaneAlgorithm::HoleFilling& filling, FillSettings const& settings)
{
    constexpr int NO_LIMIT = std::numeric_limits<int>::max();
    filling.set_region_process_type(settings.region == RegionHandling::SMOOTH   ? 0
                                    : settings.region == RegionHandling::DELETE ? 1
                                                                                : 2);
    filling.set_topology_dis_thr(settings.region_rings);
    filling.set_weight_type(settings.weights == FillWeights::UNIFORM ? 0 : 1);
    filling.set_hole_verts_thr(settings.max_edges > 0 ? settings.max_edges : NO_LIMIT);
    filling.set_max_perimeter(*settings.max_perimeter);
    filling.set_rim_angle_thr(settings.normal_angle);
    filling.set_triangulation_sample_num(split_limit(settings));
    filling.set_fairing_verts_thr(settings.max_patch > 0 ? settings.max_patch : NO_LIMIT);
}

void warn_of_large_cut(std::size_t cut_faces, std::size_t faces, StepScope& scope)
{
    if (cut_faces > faces / 2)
    {
        scope.warn(WarningCode::MESH_CUT_AWAY, "holes",
                   fmt::format("{} of {} faces lay in the regions around them and are cut away",
                               cut_faces, faces));
    }
}

/// \param run fills the holes of a mesh
template <typename Filling, typename Run>
PassOutcome fill_apart(TriMesh& mesh, FillSettings const& settings, Filling& filling,
                       StepScope& scope, Run const& run)
{
    set_up(filling, settings);
    KeptAttributes const attributes(mesh);
    std::size_t const faces = mesh.n_faces();
    // A cut moves faces into the places of others; the property goes along.
    OrvaneAlgorithm::detail::ScopedProperty<OpenMesh::FPropHandleT<char>> was_there(mesh,
                                                                                    "<was-there>");
    std::fill(was_there.data().begin(), was_there.data().end(), 1);
    run(mesh);
    auto const& old = was_there.data();
    attributes.restore(mesh, [&](OpenMesh::FaceHandle face)
                       { return old[static_cast<std::size_t>(face.idx())] != 0; });
    auto const left = static_cast<std::size_t>(std::count(old.begin(), old.end(), 1));
    warn_of_large_cut(faces - left, faces, scope);
    return {filling.open_holes(), faces - left};
}

PassOutcome fill_whole(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    OrvaneAlgorithm::HoleFilling filling;
    return fill_apart(mesh, settings, filling, scope,
                      [&](TriMesh& target) { filling.holes_filling(target); });
}

PassOutcome fill_at_markers(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    OrvaneAlgorithm::MarkerHoleFilling filling;
    filling.set_marker_search_radius(settings.marker_radius);
    filling.set_keep_regions(settings.region == RegionHandling::NONE);
    return fill_apart(mesh, settings, filling, scope,
                      [&](TriMesh& target)
                      { filling.marker_holes_filling(target, settings.markers.points); });
}

PassOutcome run_pass(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    switch (settings.method)
    {
    case FillMethod::CLIP:
        return {clip(mesh, settings), 0};
    case FillMethod::TRIM:
        return {trim(mesh, settings), 0};
    case FillMethod::CORE:
        return {fill_carefully(mesh, settings, scope), 0};
    case FillMethod::WHOLE:
        return fill_whole(mesh, settings, scope);
    case FillMethod::MARKERS:
        return fill_at_markers(mesh, settings, scope);
    case FillMethod::AUTO:
        break; // `plan_passes` has made other passes of it
    }
    return {};
}

bool leaves_regions(FillSettings const& settings)
{
    return settings.region == RegionHandling::NONE ||
           (settings.method != FillMethod::WHOLE && settings.method != FillMethod::MARKERS);
}

/// Finds why a hole stayed open. The loops of a run may touch themselves where the holes of a
/// search are simple, so the two are matched by their rims' edges: each has one open side only.
class ReasonFinder
{
public:
    /// \param limits the settings of the last pass: others may have narrower limits, for holes that
    ///        are another pass's
    explicit ReasonFinder(FillSettings limits) : limits_(std::move(limits)) {}

    /// Takes the holes that a pass left open. They override what an earlier one left. A hole that
    /// was beyond a limit and got shorter when others were filled is not beyond it any more.
    void add(TriMesh const& mesh, std::vector<OpenHole> const& open_holes,
             FillSettings const& settings)
    {
        for (auto const& open : open_holes)
        {
            if ((open.reason == OpenReason::TOO_MANY_EDGES &&
                 has_few_enough_edges(limits_, open.corners.size())) ||
                (open.reason == OpenReason::PERIMETER_TOO_LONG && leaves_regions(settings) &&
                 is_short_enough(limits_, hole_perimeter(mesh, open.corners))))
            {
                continue;
            }
            for (std::size_t i = 0; i < open.corners.size(); ++i)
            {
                auto const next = open.corners[(i + 1) % open.corners.size()];
                Edge const edge(open.corners[i].idx(), next.idx());
                Found const found{open.reason, !leaves_regions(settings)};
                // A pass that judges whole boundaries knows less of a hole that is part of one.
                if (open.reason == OpenReason::PERIMETER_TOO_LONG && !found.regions_moved)
                {
                    reasons_.emplace(edge, found);
                }
                else
                {
                    reasons_[edge] = found;
                }
            }
        }
    }

    std::string reason(Hole const& hole, double perimeter) const
    {
        bool const is_short = is_short_enough(limits_, perimeter);
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            auto const found =
                reasons_.find(Edge(hole[i].idx(), hole[(i + 1) % hole.size()].idx()));
            if (found != reasons_.end())
            {
                return found->second.text(is_short);
            }
        }
        if (!is_short)
        {
            return to_string(OpenReason::PERIMETER_TOO_LONG);
        }
        if (limits_.method == FillMethod::MARKERS)
        {
            return "no marker is near its centre";
        }
        return has_few_enough_edges(limits_, hole.size()) ? "left between filled holes that touch"
                                                          : to_string(OpenReason::TOO_MANY_EDGES);
    }

private:
    using Edge = std::pair<int, int>;

    struct Found
    {
        OpenReason reason = OpenReason::FACE_REFUSED;
        bool regions_moved = false; ///< In that pass, behind the reason.

        std::string text(bool is_short) const
        {
            if (reason != OpenReason::PERIMETER_TOO_LONG || !is_short)
            {
                return to_string(reason);
            }
            return regions_moved ? "longer than allowed before the regions were cut or smoothed"
                                 : "on a boundary that touches itself and is longer than allowed";
        }
    };

    FillSettings limits_;
    std::map<Edge, Found> reasons_;
};

/// Takes out the vertices that lost their last face.
void drop_bare_vertices(TriMesh const& before, TriMesh& mesh)
{
    OrvaneAlgorithm::detail::DeletionScope const status(mesh);
    for (auto const vertex : before.vertices())
    {
        if (mesh.is_isolated(vertex) && !before.is_isolated(vertex))
        {
            mesh.status(vertex).set_deleted(true);
        }
    }
    mesh.garbage_collection(true, false, false);
}

/// A filling on its way through its passes.
class FillRun
{
public:
    /// \param limits the settings of the last pass
    FillRun(TriMesh const& mesh, FillSettings const& limits, FillResult& result, StepScope& scope)
        : given_(mesh),
          result_(result),
          scope_(scope),
          made_by_(result.mesh, "<made-by>"),
          holes_(all_holes(result.mesh)),
          record_(result.mesh, holes_),
          finder_(limits)
    {
        result.holes_before = holes_.size();
        std::fill(made_by_.data().begin(), made_by_.data().end(), GIVEN);
    }

    /// A pass without a hole within its limits would do nothing; the first one tells why.
    void run(FillSettings const& settings)
    {
        FillPass pass;
        pass.method = settings.method;
        pass.holes_before = holes_.size();
        if (result_.passes.empty() || has_work(settings))
        {
            fill(settings, pass);
        }
        pass.holes_after = holes_.size();
        result_.passes.push_back(pass);
    }

    void finish()
    {
        for (int const number : made_by_.data())
        {
            result_.made_by.push_back(number - GIVEN);
        }
        complete_carried(given_, result_.mesh, result_.made_by);
        report_open_holes();
        result_.closed = record_.closed();
    }

private:
    bool has_work(FillSettings const& settings) const
    {
        return std::any_of(holes_.begin(), holes_.end(),
                           [&](Hole const& hole)
                           {
                               return has_few_enough_edges(settings, hole.size()) &&
                                      is_short_enough(settings,
                                                      hole_perimeter(result_.mesh, hole)) &&
                                      !OrvaneAlgorithm::detail::turns_back(result_.mesh, hole,
                                                                           settings.normal_angle);
                           });
    }

    /// Runs a pass and counts what it did.
    void fill(FillSettings const& settings, FillPass& pass)
    {
        TriMesh& mesh = result_.mesh;
        bool const cuts = !leaves_regions(settings) && settings.region == RegionHandling::DELETE;
        TriMesh const before = cuts ? mesh : TriMesh();
        std::size_t const vertices = mesh.n_vertices();
        auto const start = std::chrono::steady_clock::now();
        PassOutcome const outcome = run_pass(mesh, settings, scope_);
        result_.seconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        finder_.add(mesh, outcome.open, settings);
        pass.new_vertices = mesh.n_vertices() - vertices;
        pass.cut_faces = outcome.cut_faces;
        auto& made_by = made_by_.data();
        pass.new_faces = static_cast<std::size_t>(std::count(made_by.begin(), made_by.end(), NEW));
        result_.cut_faces += pass.cut_faces;
        result_.new_vertices += pass.new_vertices;
        result_.new_faces += pass.new_faces;
        holes_ = all_holes(mesh);
        record_.note(settings.method, mesh, outcome.cut_faces > 0 ? &before : nullptr,
                     [&](OpenMesh::FaceHandle face)
                     { return made_by[static_cast<std::size_t>(face.idx())] == NEW; });
        std::replace(made_by.begin(), made_by.end(), int(NEW),
                     GIVEN + 1 + static_cast<int>(result_.passes.size()));
    }

    void report_open_holes()
    {
        for (auto const& hole : holes_)
        {
            double const perimeter = hole_perimeter(result_.mesh, hole);
            result_.open.push_back(
                {result_.open.size(), hole.size(), perimeter, finder_.reason(hole, perimeter)});
        }
        result_.holes_after = result_.open.size();
    }

    /// What stands at a face before it has the number of its pass: OpenMesh gives new ones zero.
    static constexpr int NEW = 0;
    static constexpr int GIVEN = 1;

    TriMesh const& given_;
    FillResult& result_;
    StepScope& scope_;
    /// `GIVEN` and the number of the pass, with the face wherever a cut moves it.
    OrvaneAlgorithm::detail::ScopedProperty<OpenMesh::FPropHandleT<int>> made_by_;
    Holes holes_;
    ClosingRecord record_;
    ReasonFinder finder_;
};

} // namespace

std::map<std::string, FillMethod> const& fill_methods()
{
    static std::map<std::string, FillMethod> const methods{
        {"clip", FillMethod::CLIP},   {"trim", FillMethod::TRIM},       {"core", FillMethod::CORE},
        {"whole", FillMethod::WHOLE}, {"markers", FillMethod::MARKERS}, {"auto", FillMethod::AUTO}};
    return methods;
}

std::string to_string(FillMethod method)
{
    for (auto const& [name, named] : fill_methods())
    {
        if (named == method)
        {
            return name;
        }
    }
    return {};
}

std::map<std::string, RegionHandling> const& region_handlings()
{
    static std::map<std::string, RegionHandling> const handlings{{"delete", RegionHandling::DELETE},
                                                                 {"smooth", RegionHandling::SMOOTH},
                                                                 {"none", RegionHandling::NONE}};
    return handlings;
}

std::map<std::string, FillWeights> const& fill_weights()
{
    static std::map<std::string, FillWeights> const weights{{"uniform", FillWeights::UNIFORM},
                                                            {"length", FillWeights::LENGTH}};
    return weights;
}

std::vector<FillSettings> plan_passes(FillSettings const& settings)
{
    std::vector<FillSettings> passes;
    if (settings.method != FillMethod::AUTO)
    {
        passes.push_back(settings);
        if (settings.method != FillMethod::CLIP && settings.method != FillMethod::TRIM)
        {
            passes.back().normal_angle = 180.0; // who names such a method wants all loops filled
        }
        return passes;
    }
    auto const add = [&](FillMethod method) -> FillSettings&
    {
        passes.push_back(settings);
        passes.back().method = method;
        return passes.back();
    };
    if (!settings.markers.points.empty())
    {
        FillSettings& markers = add(FillMethod::MARKERS);
        markers.region = RegionHandling::NONE;
        markers.normal_angle = 180.0;
    }
    if (settings.small_edges > 0)
    {
        FillSettings& small = add(FillMethod::TRIM);
        small.max_edges = settings.max_edges > 0
                              ? std::min(settings.max_edges, settings.small_edges)
                              : settings.small_edges;
    }
    add(FillMethod::CORE);
    add(FillMethod::WHOLE).region = RegionHandling::NONE;
    return passes;
}

FillResult fill(TriMesh const& mesh, FillSettings const& settings, Context& context)
{
    return fill(mesh, std::vector<FillSettings>{settings}, context);
}

FillResult fill(TriMesh const& mesh, std::vector<FillSettings> const& given, Context& context)
{
    std::vector<FillSettings> passes;
    for (auto const& settings : given)
    {
        auto const planned = plan_passes(settings);
        passes.insert(passes.end(), planned.begin(), planned.end());
    }
    double const diagonal = box_diagonal(mesh);
    for (auto& settings : passes)
    {
        settings.max_perimeter = settings.max_perimeter.value_or(diagonal);
    }
    StepScope scope(context, "fill-holes", "find the holes");
    FillResult result;
    result.mesh = mesh;
    {
        auto const run = scope.stage("find the holes", 0.05,
                                     [&]
                                     {
                                         return std::make_unique<FillRun>(
                                             mesh, passes.empty() ? FillSettings() : passes.back(),
                                             result, scope);
                                     });
        double const share = 0.9 / static_cast<double>(passes.size());
        for (std::size_t i = 0; i < passes.size(); ++i)
        {
            scope.stage("close the holes", 0.05 + share * static_cast<double>(i + 1),
                        [&] { run->run(passes[i]); });
        }
        scope.stage("count the holes", 1.0, [&] { run->finish(); });
    }
    if (result.cut_faces > 0)
    {
        drop_bare_vertices(mesh, result.mesh);
    }
    return result;
}

} // namespace veld
