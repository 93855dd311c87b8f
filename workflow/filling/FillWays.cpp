#include "workflow/filling/FillWays.h"

#include "workflow/files/KeptAttributes.h"
#include "workflow/filling/FillValues.h"
#include "workflow/filling/HoleList.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/RimTurn.h"

#include <fmt/format.h>

#include <algorithm>

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
    OrvaneAlgorithm::HoleFillingCore core;
    core.set_smooth_type(settings.smoothness);
    core.set_use_hole_vert_num_thr(settings.max_edges > 0);
    core.set_hole_verts_thr(settings.max_edges);
    core.set_triangulation_sample_num(split_limit(settings));
    core.set_fairing_verts_thr(patch_limit(settings));
    return core;
}

void warn_of_large_patch(char const* way, std::size_t vertices, FillSettings const& settings,
                         StepScope& scope)
{
    if (vertices > static_cast<std::size_t>(patch_limit(settings)))
    {
        scope.warn(WarningCode::PATCH_UNFAIRED, way,
                   fmt::format("a patch of {} vertices is closed but not smooth, for it has "
                               "more than {}",
                               vertices, settings.max_patch));
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
    for (auto const& patch : patches)
    {
        warn_of_large_patch("careful filling", patch.size(), settings, scope);
    }
    open.insert(open.end(), core.open_holes().begin(), core.open_holes().end());
    return open;
}

/// Without a limit, the class closes holes of up to so many edges with ears.
constexpr int MOST_EDGES_OF_TINY_HOLES = 5;

/// Sets up what the fillings of all holes and of those at markers have in common.
void set_up(OrvaneAlgorithm::HoleFilling& filling, FillSettings const& settings)
{
    filling.set_region_process_type(settings.region == RegionHandling::SMOOTH   ? 0
                                    : settings.region == RegionHandling::DELETE ? 1
                                                                                : 2);
    filling.set_topology_dis_thr(settings.region_rings);
    filling.set_weight_type(settings.weights == FillWeights::UNIFORM ? 0 : 1);
    filling.set_hole_verts_thr(edge_limit(settings));
    filling.set_tiny_hole_edges(std::min(MOST_EDGES_OF_TINY_HOLES, edge_limit(settings)));
    filling.set_take_apart(true);
    filling.set_max_perimeter(*settings.max_perimeter);
    filling.set_rim_angle_thr(settings.normal_angle);
    filling.set_triangulation_sample_num(split_limit(settings));
    filling.set_fairing_verts_thr(patch_limit(settings));
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
    for (auto const vertices : filling.unfaired_fills())
    {
        warn_of_large_patch("filling", vertices, settings, scope);
    }
    return {filling.open_holes(), faces - left, 0};
}

PassOutcome fill_whole(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    OrvaneAlgorithm::HoleFilling filling;
    return fill_apart(mesh, settings, filling, scope,
                      [&](TriMesh& target) { filling.holes_filling(target); });
}

/// How many markers have no hole whose centre is near enough, by the search of the filling.
std::size_t count_markers_without_hole(TriMesh& mesh, FillSettings const& settings)
{
    std::vector<OrvaneAlgorithm::Vector3f> centres;
    for (auto const& hole : all_holes(mesh))
    {
        centres.emplace_back(hole_centre(mesh, hole).cast<float>());
    }
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree(centres);
    auto const is_alone = [&](OrvaneAlgorithm::Vector3f const& marker)
    {
        std::vector<int> found;
        std::vector<float> sq_distances;
        tree.radius_search(marker, static_cast<float>(settings.marker_radius), found, sq_distances,
                           0);
        return found.empty();
    };
    auto const& markers = settings.markers.points;
    return static_cast<std::size_t>(std::count_if(markers.begin(), markers.end(), is_alone));
}

void warn_of_markers_without_hole(std::size_t count, FillSettings const& settings, StepScope& scope)
{
    if (count > 0)
    {
        scope.warn(WarningCode::MARKER_WITHOUT_HOLE, "markers",
                   fmt::format("{} of {} without a hole whose centre is nearer than {:.6g} mm",
                               count, settings.markers.points.size(), settings.marker_radius));
    }
}

PassOutcome fill_at_markers(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    auto const without_hole = count_markers_without_hole(mesh, settings);
    warn_of_markers_without_hole(without_hole, settings, scope);
    OrvaneAlgorithm::MarkerHoleFilling filling;
    filling.set_marker_search_radius(settings.marker_radius);
    filling.set_keep_regions(settings.region == RegionHandling::NONE);
    auto outcome = fill_apart(mesh, settings, filling, scope,
                              [&](TriMesh& target)
                              { filling.marker_holes_filling(target, settings.markers.points); });
    outcome.markers_without_hole = without_hole;
    return outcome;
}

} // namespace

PassOutcome run_pass(TriMesh& mesh, FillSettings const& settings, StepScope& scope)
{
    switch (settings.method)
    {
    case FillMethod::CLIP:
        return {clip(mesh, settings), 0, 0};
    case FillMethod::TRIM:
        return {trim(mesh, settings), 0, 0};
    case FillMethod::CORE:
        return {fill_carefully(mesh, settings, scope), 0, 0};
    case FillMethod::WHOLE:
        return fill_whole(mesh, settings, scope);
    case FillMethod::MARKERS:
        return fill_at_markers(mesh, settings, scope);
    case FillMethod::AUTO:
        break; // `plan_passes` has made other passes of it
    }
    return {};
}

} // namespace veld
