#pragma once

#include "algorithmVeld/HoleFilling/HoleNode.h"
#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
class EarList;
class OpenLoops;
struct LoopLimits;
} // namespace detail

/// Closes the boundary loops of a mesh with flat triangles, without new vertices, one loop after
/// the other: the corner with the smallest interior angle is cut off as a triangle until three
/// corners are left. Made for holes that are close to planar: only convex corners are cut.
///
/// A loop that cannot be closed keeps the faces that it got; what is left of it is met once more
/// and tried again, except behind a closing edge that is too long. With logging on, the
/// surroundings of each failure are dumped as OBJ to the debug directory.
///
/// Three limits hold a hole back: the number of its corners and the length of an ear's closing
/// edge, both off by default, and the angle between an ear's normal and those of the faces around
/// it. A hole of three corners, and the last three corners of any hole, are closed without the last
/// two tests. So a lone triangle gets its mirror image.
///
/// The object keeps its settings between runs and can be used again; it is not meant to be used
/// from two threads at once.
class ALGORITHMVELD_API EarClipping
{
public:
    EarClipping() = default;
    EarClipping(EarClipping const&) = default;
    EarClipping& operator=(EarClipping const&) = default;
    ~EarClipping() = default;

    /// Whether holes of more corners than a limit are left alone; off by default.
    void set_node_num_constraint(bool enabled) { node_num_constraint_ = enabled; }
    /// The largest hole that is filled while the limit is on, in corners.
    void set_node_num_thr(int corners) { node_num_thr_ = corners; }
    /// Whether a hole ends at an ear whose closing edge is too long; off by default.
    void set_edge_length_constraint(bool enabled) { edge_length_constraint_ = enabled; }
    /// The longest closing edge, in millimetres.
    void set_edge_length_thr(double length) { edge_length_thr_ = length; }
    /// Whether ears have to agree with the faces around them; on by default.
    void set_norm_constraint(bool enabled) { norm_constraint_ = enabled; }
    /// The largest angle between an ear's normal and that of a face around it, in degrees.
    void set_angle_thr(double degrees) { norm_thr_ = degrees; }

    /// Leaves loops alone whose perimeter is not below a length in millimetres, such as the outer
    /// border of an open scan. 0, the default, takes the limit away.
    void set_max_perimeter(double length) { max_perimeter_ = length; }

    /// Takes a boundary that passes a vertex more than once and is beyond a limit on corners or
    /// perimeter apart into loops that don't, as a search for holes does, and fills those within
    /// the limits. What goes round a piece that hangs on a vertex stays open. Off by default: such
    /// a boundary is one hole.
    void set_take_apart(bool enabled) { take_apart_ = enabled; }

    /// Fills the holes of a mesh with the settings as they are.
    /// \param mesh gets faces and edges; vertices and old faces stay as they are
    void fill_hole(TriMesh& mesh);

    /// The same; the six settings are stored first.
    /// \param mesh gets faces and edges; vertices and old faces stay as they are
    /// \param use_node_num leave holes of more than `node_num_thr` corners alone
    /// \param use_edge_length stop a hole at an ear whose closing edge is longer than
    ///        `edge_length_thr` millimetres
    /// \param use_norm stop a hole at an ear whose normal is more than `norm_thr` degrees off
    /// \param node_num_thr,edge_length_thr,norm_thr the limits of the three
    void fill_hole(TriMesh& mesh, bool use_node_num, bool use_edge_length, bool use_norm,
                   int node_num_thr, double edge_length_thr, double norm_thr);

    /// The scan over all boundary loops, which `fill_hole` runs between its log lines.
    void fill_hole_type_plane(TriMesh& mesh);

    /// Fills one loop.
    /// \param mesh gets faces and edges
    /// \param nodes its vertices in boundary order
    /// \return false if it stays open, partly filled as it may be; true also for a loop that has
    ///         more corners than allowed and was left alone
    bool fill_polygon_hole(TriMesh& mesh, std::vector<OpenMesh::VertexHandle>& nodes);

    /// Fills the loop that begins at a boundary halfedge and ends where it comes back to the
    /// vertex that the halfedge starts from. Other vertices may be passed several times.
    /// \param mesh gets faces and edges
    /// \param start a halfedge of the mesh; an end or invalid iterator is refused
    /// \return true, also if the loop stays open; false without a halfedge, or if damaged links
    ///         keep the walk from coming back
    bool fill_nest_polygon_hole(TriMesh& mesh, TriMesh::HalfedgeIter const& start);

    /// Whether a triangle is no sliver and its normal is nowhere more than an angle off the normals
    /// of the faces around its corners.
    /// \param mesh is not changed
    /// \param a,b,c the corners of the triangle, in order
    /// \param angle_deg the angle in degrees
    bool consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                            OpenMesh::VertexHandle const& b, OpenMesh::VertexHandle const& c,
                            float angle_deg) const;

    /// Logs the settings.
    void show_param() const;

    /// The loops that the last run left open, or partly open, and why their last attempt ended.
    std::vector<OpenHole> const& open_holes() const { return open_holes_; }

protected:
    bool node_num_constraint_ = false;          ///< Whether `node_num_thr_` counts.
    int node_num_thr_ = 20;                     ///< Largest hole, in corners.
    bool edge_length_constraint_ = false;       ///< Whether `edge_length_thr_` counts.
    double edge_length_thr_ = 0.6;              ///< Longest closing edge, in millimetres.
    bool norm_constraint_ = true;               ///< Whether `norm_thr_` counts.
    double norm_thr_ = 150.0;                   ///< Largest angle of normals, in degrees.
    OpenMesh::HPropHandleT<bool> visited_prop_; ///< Live during a run.
    int full_loop_closure_ = 0;                 ///< Walks that came back to their start.
    int partial_loop_closure_ = 0;              ///< Walks that met another vertex again first.
    int add_face_failed_ = 0;                   ///< Faces that the mesh refused in the run.
    int add_face_succeed_ = 0;                  ///< Faces that the run added.

private:
    class Run;

    void try_loop(TriMesh& mesh, OpenMesh::HalfedgeHandle start, detail::OpenLoops& open_loops);
    detail::LoopLimits limits() const;
    std::vector<std::vector<OpenMesh::HalfedgeHandle>>
    new_simple_loops(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& walk) const;
    void try_simple_loop(TriMesh& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                         detail::OpenLoops& open_loops);
    void walk_and_fill(TriMesh& mesh, OpenMesh::HalfedgeHandle start);
    void fill_simple_loop(TriMesh& mesh, std::vector<OpenMesh::VertexHandle>& nodes);
    void report_counters() const;

    bool measure_corners(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& nodes,
                         std::vector<HoleNode>& measured);
    bool cut_ear(TriMesh& mesh, detail::EarList& list, OpenMesh::VertexHandle first);
    bool is_narrow_enough(TriMesh const& mesh, detail::EarList const& list, HoleNode const& ear);
    bool is_short_enough(TriMesh& mesh, HoleNode const& ear, OpenMesh::VertexHandle first);
    bool agrees_with_surface(TriMesh const& mesh, HoleNode const& ear);
    bool add_face(TriMesh& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                  OpenMesh::VertexHandle c);
    bool take_off(TriMesh const& mesh, detail::EarList& list, std::size_t place);
    bool close_sub_loop(TriMesh const& mesh, detail::EarList& list, HoleNode const& ear);
    bool add_last_face(TriMesh& mesh, detail::EarList const& list);
    bool measure(TriMesh const& mesh, HoleNode& node) const;
    bool fail(OpenReason reason);

    bool compute_angle_and_edge_len(TriMesh const& mesh, OpenMesh::VertexHandle const& cur,
                                    OpenMesh::VertexHandle const& prev,
                                    OpenMesh::VertexHandle const& next, float& angle,
                                    float& edge_len) const;
    void set_visited_hole_edge(TriMesh& mesh, OpenMesh::VertexHandle const& from,
                               OpenMesh::VertexHandle const& to);
    void mark(TriMesh& mesh, OpenMesh::HalfedgeHandle h);

    TriMesh* mesh_ = nullptr; ///< The mesh of the run; marks are only made there.
    double max_perimeter_ = 0.0;
    bool take_apart_ = false;
    std::optional<OpenReason> open_reason_; ///< Why the loop in work stays open.
    std::vector<OpenHole> open_holes_;
};

} // namespace OrvaneAlgorithm
