#include "algorithmVeld/HoleFilling/EarClipping.h"

#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"
#include "algorithmVeld/HoleFilling/ears/EarList.h"
#include "algorithmVeld/HoleFilling/ears/LoopLimits.h"
#include "algorithmVeld/HoleFilling/ears/OpenLoops.h"
#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"
#include "algorithmVeld/MeshAssistant/MeshAssistant.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace OrvaneAlgorithm
{

using detail::EarList;
using detail::EarRemoval;
using detail::log;

namespace
{

constexpr float WIDEST_CORNER = detail::PI_F;

void dump_nodes(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& nodes,
                std::string name)
{
    if (gPH.log_enabled)
    {
        MeshAssistant::output_nodes_region(mesh, nodes, name);
    }
}

/// The halfedges along a boundary from one on, up to the first that ends at a vertex. Empty where
/// damaged links keep the walk from getting there.
std::vector<OpenMesh::HalfedgeHandle> walk_to(TriMesh const& mesh, OpenMesh::HalfedgeHandle first,
                                              OpenMesh::VertexHandle goal)
{
    std::vector<OpenMesh::HalfedgeHandle> walk;
    auto h = first;
    while (mesh.is_valid_handle(h) && walk.size() < mesh.n_halfedges())
    {
        walk.push_back(h);
        if (mesh.to_vertex_handle(h) == goal)
        {
            return walk;
        }
        h = mesh.next_halfedge_handle(h);
    }
    return {};
}

} // namespace

/// The marks and the mesh's address, for the length of a run.
class EarClipping::Run
{
public:
    Run(EarClipping& clipping, TriMesh& mesh) : clipping_(clipping), visited_(mesh, "<hprop>")
    {
        clipping_.visited_prop_ = visited_.handle();
        clipping_.mesh_ = &mesh;
    }
    ~Run() { clipping_.mesh_ = nullptr; }
    Run(Run const&) = delete;
    Run& operator=(Run const&) = delete;

private:
    EarClipping& clipping_;
    detail::ScopedProperty<OpenMesh::HPropHandleT<bool>> visited_;
};

// ----------------------------------------------------------------------------- public operations

void EarClipping::fill_hole(TriMesh& mesh)
{
    log("fill_hole() ..\n");
    show_param();
    detail::StepTimer const timer("Plane-Type-Hole");
    fill_hole_type_plane(mesh);
}

void EarClipping::fill_hole(TriMesh& mesh, bool use_node_num, bool use_edge_length, bool use_norm,
                            int node_num_thr, double edge_length_thr, double norm_thr)
{
    node_num_constraint_ = use_node_num;
    edge_length_constraint_ = use_edge_length;
    norm_constraint_ = use_norm;
    node_num_thr_ = node_num_thr;
    edge_length_thr_ = edge_length_thr;
    norm_thr_ = norm_thr;
    fill_hole(mesh);
}

void EarClipping::show_param() const
{
    log("====================< Ear Clipping Param >====================\n");
    log("use node num constraint:    %d\n", int{node_num_constraint_});
    log("node num thr:               %d\n\n", node_num_thr_);
    log("use edge length constraint: %d\n", int{edge_length_constraint_});
    log("edge length thr:            %f\n\n", edge_length_thr_);
    log("use norm constraint:        %d\n", int{norm_constraint_});
    log("norm thr:                   %f\n", norm_thr_);
    log("====================</Ear Clipping Param >====================\n");
}

void EarClipping::fill_hole_type_plane(TriMesh& mesh)
{
    Run const run(*this, mesh);
    full_loop_closure_ = 0;
    partial_loop_closure_ = 0;
    add_face_failed_ = 0;
    add_face_succeed_ = 0;

    // Faces that are added bring new boundary halfedges, which are met in the same scan.
    detail::OpenLoops open_loops;
    detail::ProgressPart const whole(0.0, 1.0);
    detail::LoopProgress progress(mesh.n_halfedges());
    for (std::size_t i = 0; i < mesh.n_halfedges(); ++i)
    {
        progress.next();
        OpenMesh::HalfedgeHandle const h(static_cast<int>(i));
        if (!detail::is_deleted(mesh, h) && mesh.is_boundary(h) && !mesh.property(visited_prop_, h))
        {
            // A loop costs as much as thousands of halfedges that are passed over.
            detail::poll_cancel();
            try_loop(mesh, h, open_loops);
        }
    }
    open_holes_ = open_loops.collect(mesh, take_apart_);
    report_counters();
}

bool EarClipping::fill_nest_polygon_hole(TriMesh& mesh, TriMesh::HalfedgeIter const& start)
{
    OpenMesh::HalfedgeHandle const first = *start;
    if (!mesh.is_valid_handle(first))
    {
        return false;
    }
    auto walk = walk_to(mesh, mesh.next_halfedge_handle(first), mesh.from_vertex_handle(first));
    if (walk.empty())
    {
        return false;
    }
    walk.pop_back(); // it ends where the nodes begin, and stays unmarked
    std::vector<OpenMesh::VertexHandle> nodes{mesh.from_vertex_handle(first),
                                              mesh.to_vertex_handle(first)};
    for (auto const h : walk)
    {
        nodes.push_back(mesh.to_vertex_handle(h));
        mark(mesh, h);
    }
    if (!fill_polygon_hole(mesh, nodes))
    {
        dump_nodes(mesh, nodes, "failed_simple_loop_closure_hole");
    }
    return true;
}

bool EarClipping::fill_polygon_hole(TriMesh& mesh, std::vector<OpenMesh::VertexHandle>& nodes)
{
    open_reason_.reset();
    if (node_num_constraint_ && node_num_thr_ < static_cast<std::ptrdiff_t>(nodes.size()))
    {
        open_reason_ = OpenReason::TOO_MANY_EDGES;
        return true;
    }
    std::vector<HoleNode> measured;
    if (!measure_corners(mesh, nodes, measured))
    {
        return fail(OpenReason::DEGENERATE_CORNER);
    }
    EarList circle_list(std::move(measured));
    if (circle_list.size() != nodes.size())
    {
        log("unmatched nodes size [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    }
    detail::CancelPoll poll;
    while (circle_list.size() >= 4)
    {
        poll.next();
        if (!cut_ear(mesh, circle_list, nodes.front()))
        {
            return false;
        }
    }
    return add_last_face(mesh, circle_list);
}

bool EarClipping::consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                                     OpenMesh::VertexHandle const& b,
                                     OpenMesh::VertexHandle const& c, float angle_deg) const
{
    return detail::consistency_normal(mesh, a, b, c,
                                      detail::cosine_of_degrees(static_cast<double>(angle_deg)));
}

// ---------------------------------------------------------------------------------------- the scan

void EarClipping::try_loop(TriMesh& mesh, OpenMesh::HalfedgeHandle start,
                           detail::OpenLoops& open_loops)
{
    auto const loop = detail::boundary_walk(mesh, start);
    if (take_apart_ && detail::limit_against(mesh, loop, limits()))
    {
        for (auto const& part : new_simple_loops(mesh, loop))
        {
            try_simple_loop(mesh, part, open_loops);
        }
        return;
    }
    mark(mesh, start);
    auto const first_edge = mesh.n_edges();
    open_reason_.reset();
    if (detail::is_beyond_perimeter(mesh, loop, max_perimeter_))
    {
        for (auto const h : loop)
        {
            mark(mesh, h);
        }
        open_reason_ = OpenReason::PERIMETER_TOO_LONG;
    }
    else if (!loop.empty())
    {
        walk_and_fill(mesh, start);
    }
    open_loops.note(mesh, loop, first_edge, mesh.n_edges(),
                    open_reason_.value_or(OpenReason::BOUNDARY_TANGLED));
}

detail::LoopLimits EarClipping::limits() const
{
    return {node_num_constraint_ ? std::optional<int>(node_num_thr_) : std::nullopt,
            max_perimeter_};
}

/// The loops of a boundary that is taken apart, without those that were tried: the scan meets such
/// a boundary again behind each loop that was filled in part. All of them are told before one is
/// filled, for a loop that stops marks what its walk goes on to.
std::vector<detail::BoundaryLoop>
EarClipping::new_simple_loops(TriMesh const& mesh, detail::BoundaryLoop const& walk) const
{
    auto loops = detail::simple_loops(mesh, {walk});
    auto const is_tried = [&](detail::BoundaryLoop const& loop)
    {
        return std::all_of(loop.begin(), loop.end(),
                           [&](OpenMesh::HalfedgeHandle h)
                           { return mesh.property(visited_prop_, h); });
    };
    loops.erase(std::remove_if(loops.begin(), loops.end(), is_tried), loops.end());
    return loops;
}

void EarClipping::try_simple_loop(TriMesh& mesh, detail::BoundaryLoop const& loop,
                                  detail::OpenLoops& open_loops)
{
    for (auto const h : loop)
    {
        mark(mesh, h);
    }
    auto const first_edge = mesh.n_edges();
    open_reason_ = detail::reason_against_part(mesh, loop, limits());
    if (!open_reason_)
    {
        auto nodes = detail::from_vertices(mesh, loop);
        fill_simple_loop(mesh, nodes);
    }
    open_loops.note(mesh, loop, first_edge, mesh.n_edges(),
                    open_reason_.value_or(OpenReason::BOUNDARY_TANGLED));
}

/// Walks from a halfedge to the first vertex that the walk meets again, and fills the loop. The
/// last halfedge of the walk is not marked, so that a loop that stays open is met once more.
void EarClipping::walk_and_fill(TriMesh& mesh, OpenMesh::HalfedgeHandle start)
{
    std::vector<OpenMesh::VertexHandle> nodes{mesh.from_vertex_handle(start),
                                              mesh.to_vertex_handle(start)};
    std::set<OpenMesh::VertexHandle> met(nodes.begin(), nodes.end());
    auto h = mesh.next_halfedge_handle(start);
    while (met.insert(mesh.to_vertex_handle(h)).second)
    {
        nodes.push_back(mesh.to_vertex_handle(h));
        mark(mesh, h);
        h = mesh.next_halfedge_handle(h);
    }

    if (mesh.to_vertex_handle(h) == mesh.from_vertex_handle(start))
    {
        ++full_loop_closure_;
        fill_simple_loop(mesh, nodes);
        return;
    }
    ++partial_loop_closure_;
    if (!fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter(mesh, start)))
    {
        dump_nodes(mesh, nodes, "error_circle");
    }
}

void EarClipping::fill_simple_loop(TriMesh& mesh, std::vector<OpenMesh::VertexHandle>& nodes)
{
    if (nodes.size() < 3)
    {
        log("wrong loop closure [%s (%d)]\n", __FILE__, __LINE__);
        fail(OpenReason::DEGENERATE_CORNER);
    }
    else if (nodes.size() == 3)
    {
        if (!add_face(mesh, nodes[0], nodes[1], nodes[2]))
        {
            detail::dump_triangle(mesh, nodes[0], nodes[1], nodes[2], "try-add-final-triangle");
            fail(OpenReason::FACE_REFUSED);
        }
    }
    else if (!fill_polygon_hole(mesh, nodes))
    {
        dump_nodes(mesh, nodes, "failed_simple_loop_closure_hole");
    }
}

void EarClipping::report_counters() const
{
    log("partial loop closure: %d\n", partial_loop_closure_);
    log("full loop closure:    %d\n", full_loop_closure_);
    log("add face failed:      %d\n", add_face_failed_);
    log("add face succeed:     %d\n", add_face_succeed_);
}

// ---------------------------------------------------------------------------------------- one loop

bool EarClipping::measure_corners(TriMesh const& mesh,
                                  std::vector<OpenMesh::VertexHandle> const& nodes,
                                  std::vector<HoleNode>& measured)
{
    auto const n = nodes.size();
    measured.reserve(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        HoleNode node;
        node.cur = nodes[i];
        node.prev = nodes[(i + n - 1) % n];
        node.next = nodes[(i + 1) % n];
        if (!measure(mesh, node))
        {
            log("fail to compute and edge length [%s (%d)]\n", __FILE__, __LINE__);
            return false;
        }
        measured.push_back(node);
    }
    return true;
}

/// Cuts the narrowest corner off. \param first the loop's first vertex, which names a dump
bool EarClipping::cut_ear(TriMesh& mesh, EarList& list, OpenMesh::VertexHandle first)
{
    auto const place = list.smallest();
    HoleNode const ear = list[place];
    if (!is_narrow_enough(mesh, list, ear) || !is_short_enough(mesh, ear, first))
    {
        return false;
    }
    bool const closure = detail::halfedge_between(mesh, ear.next, ear.prev).is_valid();
    if (!agrees_with_surface(mesh, ear))
    {
        return false;
    }
    if (!add_face(mesh, ear.prev, ear.cur, ear.next))
    {
        detail::dump_triangle(mesh, ear.prev, ear.cur, ear.next,
                              "hole-filling_fail-to-add-triangle");
        log("fail to add triangle [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::FACE_REFUSED);
    }
    return closure ? close_sub_loop(mesh, list, ear) : take_off(mesh, list, place);
}

bool EarClipping::is_narrow_enough(TriMesh const& mesh, EarList const& list, HoleNode const& ear)
{
    if (ear.angle <= WIDEST_CORNER)
    {
        return true;
    }
    auto const remaining = static_cast<int>(list.size());
    log("current min angle: %f PI\n", static_cast<double>(ear.angle) / detail::PI);
    log("remaining nodes:   %d\n", remaining);
    char name[512];
    format_line(name, "hole-with-wrong-angle-node_%03d", remaining);
    dump_nodes(mesh, list.corners(), name);
    log("unusual angle [%s (%d)]\n", __FILE__, __LINE__);
    return fail(std::isfinite(ear.angle) ? OpenReason::CORNER_TOO_WIDE
                                         : OpenReason::DEGENERATE_CORNER);
}

bool EarClipping::is_short_enough(TriMesh& mesh, HoleNode const& ear, OpenMesh::VertexHandle first)
{
    auto const limit = static_cast<float>(edge_length_thr_);
    if (!edge_length_constraint_ || !(ear.edge_len > limit))
    {
        return true;
    }
    set_visited_hole_edge(mesh, ear.cur, ear.next);
    char name[512];
    format_line(name, "failed_simple_loop_%d_long_edge_position", first.idx());
    dump_nodes(mesh, {ear.cur}, name);
    log("long edge occur:\n  edge thr = %f\n  edge len = %f\n (%s [%d])\n", edge_length_thr_,
        static_cast<double>(ear.edge_len), __FILE__, __LINE__);
    return fail(OpenReason::EDGE_TOO_LONG);
}

bool EarClipping::agrees_with_surface(TriMesh const& mesh, HoleNode const& ear)
{
    if (!norm_constraint_ ||
        consistency_normal(mesh, ear.prev, ear.cur, ear.next, static_cast<float>(norm_thr_)))
    {
        return true;
    }
    detail::dump_triangle(mesh, ear.prev, ear.cur, ear.next,
                          "hole-filling_normal-consistency-fail");
    log("norm inconformity [%s (%d)]\n", __FILE__, __LINE__);
    return fail(OpenReason::NORMALS_DISAGREE);
}

bool EarClipping::add_face(TriMesh& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                           OpenMesh::VertexHandle c)
{
    bool const added = detail::add_face_checked(mesh, a, b, c).is_valid();
    ++(added ? add_face_succeed_ : add_face_failed_);
    return added;
}

bool EarClipping::take_off(TriMesh const& mesh, EarList& list, std::size_t place)
{
    switch (list.remove_ear(place, [&](HoleNode& node) { return measure(mesh, node); }))
    {
    case EarRemoval::DONE:
        return true;
    case EarRemoval::NO_PREVIOUS_NODE:
        log("fail to find previous node [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    case EarRemoval::NO_NEXT_NODE:
        log("fail to find next node [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    case EarRemoval::UNMEASURED_CORNER:
        log("fail to update angle and edge length [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::DEGENERATE_CORNER);
    default:
        log("fail to erase node [%s (%d)]\n", __FILE__, __LINE__);
        return true;
    }
}

bool EarClipping::close_sub_loop(TriMesh const& mesh, EarList& list, HoleNode const& ear)
{
    auto const key_node_arr = list.key_nodes(ear);
    switch (
        list.close_sub_loop(ear, key_node_arr, [&](HoleNode& node) { return measure(mesh, node); }))
    {
    case EarRemoval::DONE:
        return true;
    case EarRemoval::CLOSURE_SIZE:
        log("unmatched closure size [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    case EarRemoval::HOLE_TYPE:
        log("unmatched hole type [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    case EarRemoval::NODE_SIZE:
        log("unmatched node size [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::BOUNDARY_TANGLED);
    case EarRemoval::UNMEASURED_CORNER:
        log("fail to update angle and edge length [%s (%d)]\n", __FILE__, __LINE__);
        return fail(OpenReason::DEGENERATE_CORNER);
    default:
        log("  key_node_arr.size() = %d\n", static_cast<int>(key_node_arr.size()));
        log("   circle_list.size() = %d\n", static_cast<int>(list.size()));
        log("$$$: unexpected hole type [%s (%d)]\n", __FILE__, __LINE__);
        dump_nodes(mesh, list.corners(), "unexpected-hole");
        return fail(OpenReason::BOUNDARY_TANGLED);
    }
}

bool EarClipping::add_last_face(TriMesh& mesh, EarList const& list)
{
    HoleNode const last = list.size() == 0 ? HoleNode() : list[list.front()];
    if (add_face(mesh, last.prev, last.cur, last.next))
    {
        return true;
    }
    log("fail to add the last face of hole [%s (%d)]\n", __FILE__, __LINE__);
    detail::dump_triangle(mesh, last.prev, last.cur, last.next, "fill-hole-add-last-triangle");
    return fail(OpenReason::FACE_REFUSED);
}

/// Notes why the loop in work stays open. \return false, for the caller to pass on
bool EarClipping::fail(OpenReason reason)
{
    open_reason_ = reason;
    return false;
}

// --------------------------------------------------------------------------------- small pieces

bool EarClipping::measure(TriMesh const& mesh, HoleNode& node) const
{
    return compute_angle_and_edge_len(mesh, node.cur, node.prev, node.next, node.angle,
                                      node.edge_len);
}

/// Measures a corner; angle and length stay as they are where it cannot be measured.
bool EarClipping::compute_angle_and_edge_len(TriMesh const& mesh, OpenMesh::VertexHandle const& cur,
                                             OpenMesh::VertexHandle const& prev,
                                             OpenMesh::VertexHandle const& next, float& angle,
                                             float& edge_len) const
{
    auto const corner = detail::measure_corner(mesh, cur, prev, next);
    if (corner.status != detail::CornerStatus::MEASURED)
    {
        log(detail::corner_message(corner.status, __FILE__, __LINE__).c_str());
        return false;
    }
    angle = corner.angle;
    edge_len = corner.edge_len;
    return true;
}

/// Marks the loop that passes from one vertex to another, so that the scan leaves it alone.
void EarClipping::set_visited_hole_edge(TriMesh& mesh, OpenMesh::VertexHandle const& from,
                                        OpenMesh::VertexHandle const& to)
{
    auto const first = mesh.find_halfedge(from, to);
    if (!first.is_valid())
    {
        log("fail to find halfedge [%s (%d)]\n", __FILE__, __LINE__);
        return;
    }
    mark(mesh, first);
    auto const walk = walk_to(mesh, mesh.next_halfedge_handle(first), to);
    for (std::size_t i = 0; i + 1 < walk.size(); ++i)
    {
        mark(mesh, walk[i]);
    }
}

void EarClipping::mark(TriMesh& mesh, OpenMesh::HalfedgeHandle h)
{
    if (&mesh == mesh_)
    {
        mesh.property(visited_prop_, h) = true;
    }
}

} // namespace OrvaneAlgorithm
