#include "algorithmVeld/HoleFilling/HoleSmooth.h"

#include "algorithmVeld/HoleFilling/smooth/ActiveVertices.h"
#include "algorithmVeld/HoleFilling/smooth/EdgeFans.h"
#include "algorithmVeld/HoleFilling/smooth/EdgeWeights.h"
#include "algorithmVeld/HoleFilling/smooth/LaplaceSteps.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>

namespace OrvaneAlgorithm
{

using detail::Index;
using detail::log;

namespace
{

/// The property of all elements, by index.
template <typename Mesh, typename Handle>
auto& list_of(Mesh& mesh, Handle handle)
{
    return mesh.property(handle).data_vector();
}

/// Runs `body(vertex)` for the vertices that move.
template <typename Body>
void for_each_moving(detail::MovingPart const& part, Body const& body)
{
    detail::parallel_for_short(part.n_moving, [&](std::size_t k) { body(part.fans.vertices[k]); });
}

/// How far points are from where they were.
struct Moves
{
    int count = 0; ///< Of those that moved farther than rounding.
    double sum = 0.0;
};

Moves measure_moves(std::vector<Vector3f> const& before, std::vector<Vector3f> const& after)
{
    constexpr float ROUNDING = 1e-8F;
    Moves moves;
    for (std::size_t i = 0; i < before.size(); ++i)
    {
        float const distance = (after[i] - before[i]).norm();
        if (distance > ROUNDING)
        {
            ++moves.count;
            moves.sum += distance;
        }
    }
    return moves;
}

} // namespace

HoleSmooth::HoleSmooth() : HoleSmooth(TriMesh(), VPropHandleT<bool>()) {}

HoleSmooth::HoleSmooth(TriMesh const& mesh, VPropHandleT<bool> const& active) : mesh_(mesh)
{
    mesh_.request_vertex_status();
    mesh_.request_face_normals();
    mesh_.request_vertex_normals();
    // Every value is given: Eigen leaves vectors as the memory was, and a step that computes
    // nothing takes the new positions as they are.
    Vector3f const zero = Vector3f::Zero();
    detail::add_filled_property(mesh_, orig_position_, "<vprop>", zero);
    detail::add_filled_property(mesh_, orig_normal_, "<vprop>", zero);
    detail::add_filled_property(mesh_, new_position_, "<vprop>", zero);
    detail::add_filled_property(mesh_, is_active_, "<vprop>", false);
    detail::add_filled_property(mesh_, vertex_weight_, "<vprop>", 0.0F);
    detail::add_filled_property(mesh_, edge_weight_, "<eprop>", 0.0F);
    detail::add_filled_property(mesh_, umbrella_, "<vprop>", zero);
    detail::add_filled_property(mesh_, umbrella2_, "<vprop>", zero);
    list_of(mesh_, orig_position_) = detail::points_of(mesh_);
    list_of(mesh_, new_position_) = detail::points_of(mesh_);
    if (active.is_valid())
    {
        list_of(mesh_, is_active_) = list_of(mesh, active);
    }
}

void HoleSmooth::initialize(Component component, Continuity continuity)
{
    detail::Stages stages({2, 1, 3});
    component_ = component;
    continuity_ = continuity;
    stages.next();
    detail::update_face_normals(mesh_);
    detail::update_vertex_normals(mesh_);
    stages.next();
    list_of(mesh_, orig_position_) = detail::points_of(mesh_);
    for (auto const vertex : mesh_.vertices())
    {
        mesh_.property(orig_normal_, vertex) = mesh_.normal(vertex);
    }
    stages.next();
    compute_weights(detail::all_edge_fans(mesh_));
}

RetVal HoleSmooth::smooth(unsigned int iterations)
{
    log_param(iterations);
    if (iterations == 0)
    {
        return RET_SUCCESS;
    }
    detail::Progress progress(iterations);
    auto const part = moving_part();
    for (unsigned int i = 0; i < iterations && part.n_moving > 0; ++i)
    {
        // Equal weights do not depend on where the vertices are. All others do, at each step.
        if (i == 0 || weighting() != detail::LaplaceWeighting::UNIFORM)
        {
            compute_weights(part.fans);
        }
        take_step(part);
        progress.advance();
    }
    progress.finish();
    return RET_SUCCESS;
}

void HoleSmooth::log_param(unsigned int iterations) const
{
    log("smooth() ..\n");
    log("===============< Smooth Param >===============\n");
    log("  iterations:    %d\n", static_cast<int>(iterations));
    log("  Component:     ");
    log(component_ == Tangential              ? "Tangential\n"
        : component_ == Normal_Dir            ? "Normal_Dir\n"
        : component_ == Tangential_and_Normal ? "Tangential_and_Normal\n"
                                              : "Scale_Dependent\n");
    log("  Continuity:    ");
    log(continuity_ == C0 ? "C0\n" : continuity_ == C1 ? "C1\n" : "C2\n");
    log("===============</Smooth Param >===============\n");
}

detail::LaplaceWeighting HoleSmooth::weighting() const
{
    return component_ == Normal_Dir        ? detail::LaplaceWeighting::COTANGENT
           : component_ == Scale_Dependent ? detail::LaplaceWeighting::INVERSE_LENGTH
                                           : detail::LaplaceWeighting::UNIFORM;
}

detail::MovingPart HoleSmooth::moving_part() const
{
    return detail::moving_part(mesh_, list_of(mesh_, is_active_));
}

void HoleSmooth::compute_weights(detail::EdgeFans const& fans)
{
    detail::compute_weights(mesh_, fans, weighting(),
                            {list_of(mesh_, edge_weight_), list_of(mesh_, vertex_weight_)});
}

void HoleSmooth::take_step(detail::MovingPart const& part)
{
    if (continuity_ == C0)
    {
        find_c0_positions(part);
    }
    else if (continuity_ == C1)
    {
        find_c1_positions(part);
    }
    if (component_ == Tangential)
    {
        project_to_tangent_plane(part);
    }
    else if (tolerance_ >= 0.0F)
    {
        local_error_check(part);
    }
    move_points(part);
}

void HoleSmooth::compute_new_positions_C0()
{
    find_c0_positions(moving_part());
}

void HoleSmooth::compute_new_positions_C1()
{
    find_c1_positions(moving_part());
}

void HoleSmooth::find_c0_positions(detail::MovingPart const& part)
{
    detail::compute_c0_step(
        part,
        {detail::points_of(mesh_), list_of(mesh_, edge_weight_), list_of(mesh_, vertex_weight_)},
        list_of(mesh_, new_position_));
}

void HoleSmooth::find_c1_positions(detail::MovingPart const& part)
{
    detail::StepInput const input{detail::points_of(mesh_), list_of(mesh_, edge_weight_),
                                  list_of(mesh_, vertex_weight_)};
    auto& umbrellas = list_of(mesh_, umbrella_);
    detail::compute_umbrellas(part, input, umbrellas);
    detail::compute_c1_step(part, input, umbrellas, list_of(mesh_, new_position_));
}

void HoleSmooth::project_to_tangent_plane(detail::MovingPart const& part)
{
    auto const& starts = list_of(mesh_, orig_position_);
    auto const& normals = list_of(mesh_, orig_normal_);
    auto& positions = list_of(mesh_, new_position_);
    for_each_moving(
        part, [&](Index v)
        { positions[v] = detail::in_tangent_plane(positions[v], starts[v], normals[v]); });
}

void HoleSmooth::local_error_check(detail::MovingPart const& part)
{
    auto const& starts = list_of(mesh_, orig_position_);
    auto const& normals = list_of(mesh_, orig_normal_);
    auto& positions = list_of(mesh_, new_position_);
    for_each_moving(part,
                    [&](Index v) {
                        positions[v] = detail::within_tolerance(positions[v], starts[v], normals[v],
                                                                tolerance_);
                    });
}

void HoleSmooth::move_points(detail::MovingPart const& part)
{
    // Outside any run, so that nobody asks whether to go on in the middle: a step is taken whole.
    detail::ContextScope const whole(RunScope::Context{});
    auto const& positions = list_of(mesh_, new_position_);
    auto& points = list_of(mesh_, mesh_.points_property_handle());
    for_each_moving(part, [&](Index v) { points[v] = positions[v]; });
}

bool HoleSmooth::get_iterative_smoothed_mesh(TriMesh& target) const
{
    log("get_iterative_smoothed_mesh() ..\n");
    if (mesh_.n_vertices() != target.n_vertices())
    {
        log("  !!! different vertex number.\n");
        return false;
    }
    if (mesh_.n_faces() != target.n_faces())
    {
        log("  !!! different face number.\n");
        return false;
    }
    auto const& smoothed = detail::points_of(mesh_);
    Moves const moves =
        gPH.log_enabled ? measure_moves(detail::points_of(target), smoothed) : Moves();
    list_of(target, target.points_property_handle()) = smoothed;
    if (moves.count > 0)
    {
        log("  ### %d points moved, ave dis = %f\n", moves.count, moves.sum / moves.count);
    }
    else
    {
        log("  !!! no verts moved.\n");
    }
    return true;
}

void HoleSmooth::set_relative_local_error(float error)
{
    if (mesh_.vertices_empty())
    {
        return;
    }
    Vector3f low;
    Vector3f high;
    mesh_.get_boundBox(low, high);
    tolerance_ = error * (high - low).norm();
}

void HoleSmooth::set_all_active()
{
    auto& active = list_of(mesh_, is_active_);
    std::fill(active.begin(), active.end(), true);
}

void HoleSmooth::set_active_vertices()
{
    log("set_active_vertices() ..\n");
    detail::ActiveRule rule;
    rule.skip_features = skip_features_;
    rule.rings_at_border = continuity_ == C0 ? 0 : continuity_ == C1 ? 1 : 2;
    list_of(mesh_, is_active_) = detail::active_vertices(mesh_, rule);
}

} // namespace OrvaneAlgorithm
