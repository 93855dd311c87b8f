#include "algorithmVeld/HoleFilling/EarTrimming.h"

#include "algorithmVeld/HoleFilling/ears/EarList.h"
#include "algorithmVeld/HoleFilling/ears/LoopLimits.h"
#include "algorithmVeld/HoleFilling/ears/OpenLoops.h"
#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"
#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/MeshPatch.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>
#include <string>

namespace OrvaneAlgorithm
{

namespace detail
{

/// What is to be done to one hole, worked out on a private copy of its surroundings.
struct TrimPlan
{
    std::vector<std::array<OpenMesh::VertexHandle, 3>> faces; ///< In the order of their cutting.
    std::size_t new_edges = 0;
    std::optional<OpenReason> open; ///< Why the hole stays open, if it does.
    std::vector<std::string> lines; ///< Logged when the plan is carried out.
    bool set_aside = false;         ///< Beyond a limit: not to be worked on at all.

    template <typename... Arguments>
    void log(char const* format, Arguments... arguments)
    {
        if (gPH.log_enabled)
        {
            char line[512];
            format_line(line, format, arguments...);
            lines.emplace_back(line);
        }
    }

    void log(char const* text)
    {
        if (gPH.log_enabled)
        {
            lines.emplace_back(text);
        }
    }
};

} // namespace detail

using detail::EarList;
using detail::EarRemoval;
using detail::TrimPlan;

namespace
{

constexpr double WIDEST_EAR = 2.0 * detail::PI;
constexpr float OUT_OF_REACH = 2.0F * detail::PI_F;

/// The holes that touch each other, directly or by way of others, as lists of their numbers. A hole
/// looks at nothing but the surroundings of its corners, so that lists don't depend on each other.
class Clusters
{
public:
    Clusters(TriMesh const& mesh, std::vector<detail::BoundaryLoop> const& holes)
        : mesh_(mesh), sets_(holes.size()), first_at_vertex_(mesh.n_vertices(), -1)
    {
    }

    void add(std::size_t hole, detail::BoundaryLoop const& loop)
    {
        for (auto const h : loop)
        {
            auto const vertex = static_cast<std::size_t>(mesh_.from_vertex_handle(h).idx());
            if (first_at_vertex_[vertex] < 0)
            {
                first_at_vertex_[vertex] = static_cast<int>(hole);
            }
            sets_.join(first_at_vertex_[vertex], static_cast<int>(hole));
        }
        added_.push_back(hole);
    }

    /// In the order of their first holes; the holes of each in their order.
    std::vector<std::vector<std::size_t>> lists()
    {
        std::vector<std::vector<std::size_t>> result;
        std::vector<std::size_t> list_of(sets_.size());
        for (auto const hole : added_)
        {
            auto const first = static_cast<std::size_t>(sets_.root(static_cast<int>(hole)));
            if (first == hole)
            {
                list_of[hole] = result.size();
                result.emplace_back();
            }
            result[list_of[first]].push_back(hole);
        }
        return result;
    }

private:
    TriMesh const& mesh_;
    detail::DisjointSets sets_;
    std::vector<int> first_at_vertex_;
    std::vector<std::size_t> added_;
};

/// Adds the triangle of a corner. \return false if the mesh cannot take it
bool add_ear(TriMesh& mesh, HoleNode const& ear, TrimPlan& plan)
{
    if (!detail::add_face_checked(mesh, ear.prev, ear.cur, ear.next).is_valid())
    {
        return false;
    }
    plan.faces.push_back({ear.prev, ear.cur, ear.next});
    return true;
}

/// The reason for a hole none of whose corners is within the limit.
OpenReason reason_for_wide_corner(HoleNode const& narrowest, bool face_refused)
{
    if (face_refused)
    {
        return OpenReason::FACE_REFUSED;
    }
    return std::isfinite(narrowest.angle) ? OpenReason::CORNER_TOO_WIDE
                                          : OpenReason::DEGENERATE_CORNER;
}

} // namespace

// ----------------------------------------------------------------------------- public operations

RetVal EarTrimming::ear_trimming(TriMesh& mesh, bool use_node_num, bool use_edge_length,
                                 bool use_norm, int node_num_thr, double edge_length_thr,
                                 double norm_thr)
{
    node_num_constraint_ = use_node_num;
    edge_length_constraint_ = use_edge_length;
    norm_constraint_ = use_norm;
    node_num_thr_ = node_num_thr;
    edge_length_thr_ = edge_length_thr;
    norm_thr_ = norm_thr;
    return ear_trimming(mesh);
}

RetVal EarTrimming::ear_trimming(TriMesh& mesh)
{
    detail::log("ear_trimming() ..\n");
    detail::Stages stages({1, 4});
    {
        stages.next();
        detail::StepTimer const timer("find-all-holes-ordered-halfedges");
        find_holes_ordered_halfedges(mesh);
    }
    {
        stages.next();
        detail::StepTimer const timer("fill-holes");
        fill_holes(mesh);
    }
    return RET_SUCCESS;
}

bool EarTrimming::consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                                     OpenMesh::VertexHandle const& b,
                                     OpenMesh::VertexHandle const& c, double angle_deg) const
{
    return detail::consistency_normal(mesh, a, b, c, detail::cosine_of_degrees(angle_deg));
}

// ---------------------------------------------------------------------------------- the two steps

void EarTrimming::find_holes_ordered_halfedges(TriMesh& mesh)
{
    detail::log("find_all_holes_ordered_halfedges() ..\n");
    holes_ = detail::boundary_walks(mesh, detail::HiddenHalfedges::WALKED);
    detail::log_loop_counts(holes_);
}

void EarTrimming::fill_holes(TriMesh& mesh)
{
    detail::log("fill_holes() ..\n");
    open_holes_.clear();
    if (holes_.empty())
    {
        return;
    }
    detail::Stages stages({2, 20, 5});
    stages.next();
    std::size_t const n_whole = take_apart_ ? take_apart_holes_beyond_limits(mesh) : holes_.size();
    std::vector<TrimPlan> plans(holes_.size());
    set_aside_holes_beyond_limits(mesh, n_whole, plans);

    Clusters clusters(mesh, holes_);
    for (std::size_t hole = 0; hole < holes_.size(); ++hole)
    {
        if (!plans[hole].set_aside)
        {
            clusters.add(hole, holes_[hole]);
        }
    }
    auto const lists = clusters.lists();
    stages.next();
    std::vector<detail::MeshPatch> patch_of_thread(static_cast<std::size_t>(omp_get_max_threads()));
    detail::parallel_for_uneven(
        static_cast<std::ptrdiff_t>(lists.size()),
        [&](std::ptrdiff_t i)
        {
            auto& patch = patch_of_thread[static_cast<std::size_t>(omp_get_thread_num())];
            plan_cluster(mesh, lists[static_cast<std::size_t>(i)], patch, plans);
        });

    stages.next();
    carry_out(mesh, plans);
}

// ---------------------------------------------------------------------------------------- planning

detail::LoopLimits EarTrimming::limits() const
{
    return {node_num_constraint_ ? std::optional<int>(node_num_thr_) : std::nullopt,
            max_perimeter_};
}

/// Puts the simple loops of the holes that are beyond a limit in their place, behind the others: so
/// these are filled as if those were not there. \return the number of the others
std::size_t EarTrimming::take_apart_holes_beyond_limits(TriMesh const& mesh)
{
    auto const beyond =
        std::stable_partition(holes_.begin(), holes_.end(),
                              [&](detail::BoundaryLoop const& hole)
                              { return !detail::limit_against(mesh, hole, limits()); });
    auto const n_whole = static_cast<std::size_t>(beyond - holes_.begin());
    auto loops = detail::simple_loops(mesh, {beyond, holes_.end()});
    holes_.erase(beyond, holes_.end());
    std::move(loops.begin(), loops.end(), std::back_inserter(holes_));
    return n_whole;
}

/// \param n_whole so many holes, the first ones, were not taken apart
void EarTrimming::set_aside_holes_beyond_limits(TriMesh const& mesh, std::size_t n_whole,
                                                std::vector<TrimPlan>& plans) const
{
    for (std::size_t hole = 0; hole < holes_.size(); ++hole)
    {
        auto& plan = plans[hole];
        plan.open = hole < n_whole ? detail::limit_against(mesh, holes_[hole], limits())
                                   : detail::reason_against_part(mesh, holes_[hole], limits());
        plan.set_aside = plan.open.has_value();
    }
}

/// The holes of a cluster see each other's faces, so they are planned in their order on one copy of
/// their surroundings.
void EarTrimming::plan_cluster(TriMesh const& mesh, std::vector<std::size_t> const& cluster,
                               detail::MeshPatch& patch, std::vector<TrimPlan>& plans) const
{
    std::vector<OpenMesh::VertexHandle> centres;
    for (auto const hole : cluster)
    {
        auto const corners = detail::from_vertices(mesh, holes_[hole]);
        centres.insert(centres.end(), corners.begin(), corners.end());
    }
    patch.copy(mesh, centres);

    for (auto const hole : cluster)
    {
        auto corners = detail::from_vertices(mesh, holes_[hole]);
        for (auto& corner : corners)
        {
            corner = patch.to_patch(corner);
        }
        auto& plan = plans[hole];
        auto const edges_before = patch.mesh().n_edges();
        plan_hole(patch.mesh(), corners, plan);
        plan.new_edges = patch.mesh().n_edges() - edges_before;
        for (auto& face : plan.faces)
        {
            for (auto& corner : face)
            {
                corner = patch.to_mesh(corner);
            }
        }
    }
}

/// Cuts the ears of one hole off a mesh, and notes them.
void EarTrimming::plan_hole(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& corners,
                            TrimPlan& plan) const
{
    EarList list(measure_corners(mesh, corners, plan));
    bool face_refused = false;
    detail::CancelPoll poll;
    while (list.size() > 3)
    {
        poll.next();
        auto const place = list.smallest();
        HoleNode const ear = list[place];
        if (static_cast<double>(ear.angle) > WIDEST_EAR || !std::isfinite(ear.angle))
        {
            plan.open = reason_for_wide_corner(ear, face_refused);
            return;
        }
        plan.open = reason_against(mesh, ear);
        if (plan.open)
        {
            return;
        }
        bool const closure = detail::halfedge_between(mesh, ear.next, ear.prev).is_valid();
        if (!add_ear(mesh, ear, plan))
        {
            // Another corner may do.
            face_refused = true;
            list.widen(place, OUT_OF_REACH);
            continue;
        }
        plan.open = take_off(mesh, list, place, closure, plan);
        if (plan.open)
        {
            return;
        }
    }
    if (list.size() < 3)
    {
        plan.open = OpenReason::BOUNDARY_TANGLED;
    }
    else if (!add_ear(mesh, list[list.front()], plan))
    {
        plan.open = OpenReason::FACE_REFUSED;
    }
}

/// The nodes of a hole. A corner that cannot be measured is passed on with the values of the last
/// one that could.
std::vector<HoleNode> EarTrimming::measure_corners(
    TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& corners, TrimPlan& plan) const
{
    std::vector<HoleNode> nodes;
    nodes.reserve(corners.size());
    HoleNode node;
    auto const n = corners.size();
    for (std::size_t i = 0; i < n; ++i)
    {
        node.cur = corners[i];
        node.prev = corners[(i + n - 1) % n];
        node.next = corners[(i + 1) % n];
        if (!compute_angle_and_edge_len(mesh, node.cur, node.prev, node.next, node.angle,
                                        node.edge_len, plan))
        {
            plan.log("  strange hole: [%s (%d)]\n", __FILE__, __LINE__);
        }
        nodes.push_back(node);
    }
    return nodes;
}

std::optional<OpenReason> EarTrimming::reason_against(TriMesh const& mesh,
                                                      HoleNode const& ear) const
{
    if (edge_length_constraint_ && ear.edge_len > static_cast<float>(edge_length_thr_))
    {
        return OpenReason::EDGE_TOO_LONG;
    }
    if (norm_constraint_ && !consistency_normal(mesh, ear.prev, ear.cur, ear.next, norm_thr_))
    {
        return OpenReason::NORMALS_DISAGREE;
    }
    return std::nullopt;
}

/// Takes an ear that was cut off the list. \return why the hole cannot go on, if it cannot
std::optional<OpenReason> EarTrimming::take_off(TriMesh const& mesh, EarList& list,
                                                std::size_t place, bool closure,
                                                TrimPlan& plan) const
{
    auto const measure = [&](HoleNode& node)
    {
        return compute_angle_and_edge_len(mesh, node.cur, node.prev, node.next, node.angle,
                                          node.edge_len, plan);
    };
    HoleNode const ear = list[place];
    auto const removal = closure ? list.close_sub_loop(ear, list.key_nodes(ear), measure)
                                 : list.remove_ear(place, measure);
    switch (removal)
    {
    case EarRemoval::DONE:
        return std::nullopt;
    case EarRemoval::UNMEASURED_CORNER:
        return OpenReason::DEGENERATE_CORNER;
    default:
        return OpenReason::BOUNDARY_TANGLED;
    }
}

/// Measures a corner; angle and length stay as they are where it cannot be measured.
bool EarTrimming::compute_angle_and_edge_len(TriMesh const& mesh, OpenMesh::VertexHandle const& cur,
                                             OpenMesh::VertexHandle const& prev,
                                             OpenMesh::VertexHandle const& next, float& angle,
                                             float& edge_len, TrimPlan& plan) const
{
    auto const corner = detail::measure_corner(mesh, cur, prev, next);
    if (corner.status != detail::CornerStatus::MEASURED)
    {
        plan.log(detail::corner_message(corner.status, __FILE__, __LINE__).c_str());
        return false;
    }
    angle = corner.angle;
    edge_len = corner.edge_len;
    return true;
}

// ------------------------------------------------------------------------------------ carrying out

/// Adds the planned faces to the mesh, hole after hole. Room is made for all of them first, so that
/// the mesh's arrays move once at most.
void EarTrimming::carry_out(TriMesh& mesh, std::vector<TrimPlan> const& plans)
{
    std::size_t faces = 0;
    std::size_t edges = 0;
    for (auto const& plan : plans)
    {
        faces += plan.faces.size();
        edges += plan.new_edges;
    }
    mesh.reserve_more(0, edges, faces);

    detail::OpenLoops open_loops;
    detail::LoopProgress progress(faces);
    for (std::size_t hole = 0; hole < plans.size(); ++hole)
    {
        auto const& plan = plans[hole];
        for (auto const& line : plan.lines)
        {
            gLH.print_log(line.c_str());
        }
        auto const first_edge = mesh.n_edges();
        for (auto const& [a, b, c] : plan.faces)
        {
            progress.next();
            // The plan has asked already whether the mesh can take the face.
            if (!mesh.add_face(a, b, c).is_valid())
            {
                detail::log("fail to add face [%s (%d)].\n", __FILE__, __LINE__);
            }
        }
        open_loops.note(mesh, holes_[hole], first_edge, mesh.n_edges(),
                        plan.open.value_or(OpenReason::BOUNDARY_TANGLED));
    }
    open_holes_ = open_loops.collect(mesh, take_apart_);
}

} // namespace OrvaneAlgorithm
