#pragma once

#include "algorithmVeld/HoleFilling/HoleNode.h"
#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/RetVal.h"
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
class MeshPatch;
struct LoopLimits;
struct TrimPlan;
} // namespace detail

/// Closes the holes of a mesh with flat triangles, without new vertices: the corner with the
/// smallest interior angle is cut off as a triangle until three corners are left. The holes are
/// worked on in parallel; the mesh that comes out is the same for any number of threads, as if the
/// holes were filled one after the other in the order of their lowest boundary halfedge.
///
/// Three limits, all in force by default, hold a hole back: the number of its edges, the length of
/// an ear's closing edge, and the angle between an ear's normal and those of the faces around it. A
/// hole of three edges, and the last three corners of any hole, are closed without the last two
/// tests. So a lone triangle gets its mirror image.
///
/// The object keeps its settings between runs and can be used again; it is not meant to be used
/// from two threads at once.
class ALGORITHMVELD_API EarTrimming
{
public:
    EarTrimming() = default;
    EarTrimming(EarTrimming const&) = default;
    EarTrimming& operator=(EarTrimming const&) = default;
    ~EarTrimming() = default;

    /// Fills the holes of a mesh. The six settings are stored first.
    /// \param mesh gets faces and edges; vertices and old faces stay as they are. A hole that runs
    ///        into a limit keeps the faces that it got.
    /// \param use_node_num leave holes of more than `node_num_thr` edges alone
    /// \param use_edge_length stop a hole at an ear whose closing edge is longer than
    ///        `edge_length_thr`
    /// \param use_norm stop a hole at an ear whose normal is more than `norm_thr` off
    /// \param node_num_thr the largest hole, in edges
    /// \param edge_length_thr in millimetres
    /// \param norm_thr in degrees
    /// \return `RET_SUCCESS` in all cases; `open_holes` tells what stayed open
    RetVal ear_trimming(TriMesh& mesh, bool use_node_num, bool use_edge_length, bool use_norm,
                        int node_num_thr, double edge_length_thr, double norm_thr);

    /// The same with the settings as they are.
    RetVal ear_trimming(TriMesh& mesh);

    /// Whether a triangle is no sliver and its normal is nowhere more than an angle off the normals
    /// of the faces around its corners.
    /// \param mesh is not changed
    /// \param a,b,c the corners of the triangle, in order
    /// \param angle_deg the angle in degrees
    bool consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                            OpenMesh::VertexHandle const& b, OpenMesh::VertexHandle const& c,
                            double angle_deg) const;

    /// Whether holes of more edges than a limit are left alone; on by default.
    void set_node_num_constraint(bool enabled) { node_num_constraint_ = enabled; }
    /// The largest hole that is filled while the limit is on, in edges; 20 by default.
    void set_node_num_thr(int edges) { node_num_thr_ = edges; }
    /// Whether a hole ends at an ear whose closing edge is too long; on by default.
    void set_edge_length_constraint(bool enabled) { edge_length_constraint_ = enabled; }
    /// The longest closing edge, in millimetres; 0.6 by default.
    void set_edge_length_thr(double length) { edge_length_thr_ = length; }
    /// Whether ears have to agree with the faces around them; on by default.
    void set_norm_constraint(bool enabled) { norm_constraint_ = enabled; }
    /// The largest angle between an ear's normal and that of a face around it, in degrees; 150 by
    /// default.
    void set_norm_thr(double degrees) { norm_thr_ = degrees; }

    /// Leaves loops alone whose perimeter is not below a length in millimetres, such as the outer
    /// border of an open scan. 0, the default, takes the limit away.
    void set_max_perimeter(double length) { max_perimeter_ = length; }

    /// Takes a boundary that passes a vertex more than once and is beyond a limit on edges or
    /// perimeter apart into loops that don't, as a search for holes does, and fills those within
    /// the limits after all other holes. What goes round a piece that hangs on a vertex stays open.
    /// Off by default: such a boundary is one hole.
    void set_take_apart(bool enabled) { take_apart_ = enabled; }

    /// The loops that the last run left open, or partly open, and why.
    std::vector<OpenHole> const& open_holes() const { return open_holes_; }

protected:
    /// Boundary loops of the mesh, each from its lowest halfedge on, in the order of those. What
    /// was taken apart stands behind them.
    std::vector<std::vector<OpenMesh::HalfedgeHandle>> holes_;
    bool node_num_constraint_ = true;    ///< Whether `node_num_thr_` counts.
    int node_num_thr_ = 20;              ///< Largest hole, in edges.
    bool edge_length_constraint_ = true; ///< Whether `edge_length_thr_` counts.
    double edge_length_thr_ = 0.6;       ///< Longest closing edge, in millimetres.
    bool norm_constraint_ = true;        ///< Whether `norm_thr_` counts.
    double norm_thr_ = 150.0;            ///< Largest angle of normals, in degrees.

private:
    void find_holes_ordered_halfedges(TriMesh& mesh);
    void fill_holes(TriMesh& mesh);

    detail::LoopLimits limits() const;
    std::size_t take_apart_holes_beyond_limits(TriMesh const& mesh);
    void set_aside_holes_beyond_limits(TriMesh const& mesh, std::size_t n_whole,
                                       std::vector<detail::TrimPlan>& plans) const;
    void plan_cluster(TriMesh const& mesh, std::vector<std::size_t> const& cluster,
                      detail::MeshPatch& patch, std::vector<detail::TrimPlan>& plans) const;
    void plan_hole(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& corners,
                   detail::TrimPlan& plan) const;
    std::vector<HoleNode> measure_corners(TriMesh const& mesh,
                                          std::vector<OpenMesh::VertexHandle> const& corners,
                                          detail::TrimPlan& plan) const;
    std::optional<OpenReason> reason_against(TriMesh const& mesh, HoleNode const& ear) const;
    std::optional<OpenReason> take_off(TriMesh const& mesh, detail::EarList& list,
                                       std::size_t place, bool closure,
                                       detail::TrimPlan& plan) const;
    void carry_out(TriMesh& mesh, std::vector<detail::TrimPlan> const& plans);

    bool compute_angle_and_edge_len(TriMesh const& mesh, OpenMesh::VertexHandle const& cur,
                                    OpenMesh::VertexHandle const& prev,
                                    OpenMesh::VertexHandle const& next, float& angle,
                                    float& edge_len, detail::TrimPlan& plan) const;

    double max_perimeter_ = 0.0;
    bool take_apart_ = false;
    std::vector<OpenHole> open_holes_;
};

} // namespace OrvaneAlgorithm
