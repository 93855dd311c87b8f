#pragma once

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Turns registered range frames into one triangle mesh as `MeshMerge` does, with the same
/// triangulation of the frames and the same fans between their borders; but borders are stitched in
/// the order of the vertices, holes are closed by `EarClipping`, the point spacing is the caller's,
/// and the stages can be called one by one. One more stage, which the merge leaves out unless it is
/// asked for, removes loose points that lie off the surface.
///
/// Lengths are millimetres. All but the triangulation of the frames and the removal of small
/// components runs on the calling thread, and the mesh is the same for any number of threads. What
/// is logged goes past the log, while the log switch is on. An object keeps its settings between
/// calls, among them those of the last round of filling; it is not meant to be used from two
/// threads at once, and two merges at once share the log switch.
class ALGORITHMVELD_API GeoPatentRecon : public EarClipping
{
public:
    GeoPatentRecon() = default;
    GeoPatentRecon(GeoPatentRecon const&) = default;
    GeoPatentRecon& operator=(GeoPatentRecon const&) = default;
    ~GeoPatentRecon() = default;

    /// Merges frames: one mesh of all, long border edges cut away unless that is switched off,
    /// borders stitched, then `mesh_fill_hole`.
    /// \param ranges the frames, each with vertex normals that look at the sensor. Grid cells run
    ///        against the clock about the normals, see `RangeData`. A null pointer counts as a
    ///        frame without normals.
    /// \param spacing distance between neighbouring points; kept, as in `mesh_fill_hole`
    /// \param mesh replaced. It gets vertex normals, and colours if the first frame has them;
    ///        vertices of frames without colours are black then. Empty on failure and after an
    ///        exception. Where the frames cannot be worked on, a property of the vertices stays on
    ///        it.
    /// \param verbose written to the log switch of `gPH`, and left there
    /// \param max_hole_edges,min_component_size see `mesh_fill_hole`
    /// \param longest_border_edge border edges longer than this are cut away, with their faces; it
    ///        is kept
    /// \param vertex_frames for each vertex of the mesh the position of its frame in `ranges`; left
    ///        alone on failure
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` if a frame lacks normals
    /// \throw std::out_of_range if there is no frame, or a channel of a frame that is on is shorter
    ///        than the frame
    RetVal mesh_merge(std::vector<RangeData const*> const& ranges, double spacing, TriMesh& mesh,
                      bool verbose, int max_hole_edges, int min_component_size,
                      double longest_border_edge, std::vector<int>& vertex_frames);

    /// Filters a mesh and fills its holes in two rounds: the first with closing edges of ears up to
    /// five times the spacing and within the angle of `EarClipping`, whatever the size of the hole;
    /// the second without these limits, but only holes up to a size. Small components go between
    /// the two. The limits of the second round stay set, with the one on the angle on again.
    /// \param mesh changed in place
    /// \param spacing distance between neighbouring points; kept
    /// \param verbose written to the log switch of `gPH`, and left there
    /// \param max_hole_edges the largest hole of the second round
    /// \param min_component_size components of so many faces or fewer are removed
    /// \return `RET_SUCCESS`
    RetVal mesh_fill_hole(double spacing, TriMesh& mesh, bool verbose, int max_hole_edges,
                          int min_component_size);

    /// Cuts long border edges away with their faces, in one pass in the order of the edges.
    void preprocess_mesh(TriMesh& mesh);

    /// Stitches the border of the mesh by a fan around each border vertex, in the order of the
    /// vertices. A mesh without vertex normals gets those of faces and vertices, which stay. With
    /// the log switch on, the surroundings of each triangle that the mesh could not take go to
    /// `debug_dir` of `gPH`.
    void repair_mesh(TriMesh& mesh);

    /// `remove_outlier`, then `remove_isolated_face`, and takes out what they deleted.
    void mesh_filter(TriMesh& mesh);

    /// Marks border vertices with fewer than three neighbours as deleted, with their faces. Nothing
    /// happens to a mesh without status attributes.
    void remove_outlier(TriMesh& mesh);

    /// Marks faces without a face beside them as deleted. Nothing happens to a mesh without status
    /// attributes.
    void remove_isolated_face(TriMesh& mesh);

    /// Removes vertices without faces that lie off the surface: around each border vertex a plane
    /// is fitted, and those go whose squared distance from it is more than a factor times the mean
    /// of those of the border vertices there. Meant to come before `repair_mesh`; `mesh_merge` does
    /// not call it by itself. A mesh without vertex normals gets them.
    ///
    /// With the log switch on, the points that go are listed in `debug_dir` of `gPH`, in
    /// removed-outlies-before-repair-thr_F.asc, F being the factor: position and normal, a line
    /// each. If that file cannot be written, nothing is removed.
    void remove_outlier_before_repair(TriMesh& mesh);

    /// Longest closing edge of an ear in the first round of filling, in point spacings; 5 by
    /// default.
    void set_ear_edge_factor(double factor) { ear_edge_factor = factor; }
    /// Distance between neighbouring points for the stages called one by one; 0.12 by default.
    void set_point_spacing(double length) { point_spacing = length; }
    /// Largest angle in degrees between a stitched face and those around its corners; 30 by
    /// default.
    void set_normal_angle_thr(float degrees) { normal_angle_thr = degrees; }
    /// The longest border edge for `preprocess_mesh` called by itself; 0.6 by default.
    void set_long_edge_length(double length) { long_edge_length = length; }
    /// Whether `mesh_merge` cuts long border edges away; on by default.
    void set_preprocess_enabled(bool enabled) { preprocess_enabled = enabled; }
    /// Multiple of the mean squared distance from the plane beyond which a loose point goes; 5 by
    /// default.
    void set_outlier_factor(float factor) { outlier_factor = factor; }
    /// Whether `mesh_merge` calls `remove_outlier_before_repair` before the stitch; off by default.
    void set_outlier_removal_enabled(bool enabled) { removes_outliers_ = enabled; }
    /// How many points the last `remove_outlier_before_repair` removed.
    int removed_outliers() const { return removed_outliers_; }
    /// Longest edge across from a stitched vertex, and longest border edge of a vertex that is
    /// stitched at all, in point spacings; 8 by default.
    void set_neighbour_factor(int factor) { neighbour_factor = factor; }

protected:
    // Hosts know these by name and place.
    double ear_edge_factor = 5.0;   ///< Longest closing edge of an ear, in point spacings.
    double point_spacing = 0.12;    ///< Millimetres between neighbouring points.
    float normal_angle_thr = 30.0F; ///< Largest angle of normals, in degrees.
    double long_edge_length = 0.6;  ///< Longest border edge, in millimetres.
    bool preprocess_enabled = true; ///< Whether long border edges go.
    float outlier_factor = 5.0F;    ///< How far off its plane a loose point may lie.
    int neighbour_factor = 8;       ///< Reach of the stitch, in point spacings.
    // All but the last never are on a mesh: what a stage needs it keeps in its own memory.
    OpenMesh::VPropHandleT<int> vert_state_prop;        ///< Not used.
    OpenMesh::VPropHandleT<Vector2f> vert_local_prop;   ///< Not used.
    OpenMesh::VPropHandleT<float> vert_angle_prop;      ///< Not used.
    OpenMesh::VPropHandleT<float> vert_plane_dist_prop; ///< Not used.
    OpenMesh::VPropHandleT<int> vert_ring_prop;         ///< Not used.
    OpenMesh::VPropHandleT<int> vert_frame_prop; ///< Frame of each vertex, live during a merge.

private:
    bool convert_rge_to_mesh(std::vector<RangeData const*> const& ranges, TriMesh& mesh);
    void close_gaps(TriMesh& mesh, double spacing, bool verbose, int max_hole_edges,
                    int min_component_size);
    void report_refused(TriMesh const& mesh, OpenMesh::VertexHandle centre,
                        OpenMesh::VertexHandle a, OpenMesh::VertexHandle b) const;
    float start_radius() const;

    bool removes_outliers_ = false;
    int removed_outliers_ = 0;
};

} // namespace OrvaneAlgorithm
