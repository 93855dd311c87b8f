#pragma once

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <optional>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm
{

/// Turns registered range frames into one triangle mesh, without a volume between: the points of
/// the frames become the vertices and stay where they are.
///
/// Each frame is triangulated on its own grid. Then what separates the frames is closed by local
/// operations: long border edges are cut away, near borders are stitched by a fan of triangles
/// around each border vertex (Delaunay in the plane of the surface there), stray border vertices
/// and faces go, holes are closed by ears in two rounds, and small components go between the two.
/// Frames that overlap keep all their layers.
///
/// Lengths are millimetres. The mesh is the same for any number of threads, as if the borders were
/// stitched one after the other. An object keeps its settings between calls; it is not meant to be
/// used from two threads at once, and two merges at once share the log switch.
class ALGORITHMVELD_API MeshMerge : public EarTrimming
{
public:
    MeshMerge() = default;
    MeshMerge(MeshMerge const&) = default;
    MeshMerge& operator=(MeshMerge const&) = default;
    ~MeshMerge() = default;

    /// Merges frames. It stores the settings of its last round of trimming as those of
    /// `EarTrimming`, and `open_holes` tells what that round left open.
    /// \param ranges the frames, each with vertex normals that look at the sensor, colours as they
    ///        come. Grid cells run against the clock about the normals, see `RangeData`. A null
    ///        pointer counts as a frame without normals.
    /// \param stitch_radius half of the least distance in which a border vertex looks for others;
    ///        of the size of the point spacing
    /// \param mesh replaced. It gets vertex normals, and colours if any frame has them; vertices
    ///        of frames without colours are black then. Empty on failure.
    /// \param verbose written to the log switch of `gPH`, and left there
    /// \param max_hole_edges holes up to this are closed at the end without further limits; larger
    ///        ones only as far as the limits on ears allow
    /// \param min_component_size components of so many faces or fewer are removed
    /// \param long_edge_length border edges longer than this are cut away, with their faces
    /// \param vertex_frames replaced: for each vertex of the mesh the position of its frame in
    ///        `ranges`. Left alone on failure.
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` if there is no frame or one lacks normals
    /// \throw std::out_of_range if a channel of a frame that is on is shorter than the frame. The
    ///        mesh is empty after any exception, also one of a sink or an observer of steps.
    RetVal mesh_merge(std::vector<RangeData const*> const& ranges, double stitch_radius,
                      TriMesh& mesh, bool verbose, int max_hole_edges, int min_component_size,
                      double long_edge_length, std::vector<int>& vertex_frames);

    /// Makes the mesh that a merge stitches: each frame on its own grid, without long border edges.
    /// Its box tells the order of the stitch.
    /// \param ranges,long_edge_length as above
    /// \param mesh replaced, with vertex normals; empty on failure
    /// \return as above
    RetVal frames_to_mesh(std::vector<RangeData const*> const& ranges, double long_edge_length,
                          TriMesh& mesh);

    /// Closes gaps in a mesh that was merged, by the stitch and the two rounds of ears of a merge.
    /// It stores the settings of its last round of trimming, as a merge does.
    /// \param mesh gets faces and edges; vertices and old faces stay as they are. Needs vertex
    ///        normals.
    /// \param stitch_radius,max_hole_edges as above
    /// \param seams the vertices around which fans are stitched, in this order. Ears close holes
    ///        anywhere.
    void close_seams(TriMesh& mesh, double stitch_radius,
                     std::vector<OpenMesh::VertexHandle> const& seams, int max_hole_edges);

    /// A box that stands for that of the mesh where borders are put in order for the stitch: parts
    /// of a scan that are given the box of the whole are stitched in its order.
    void set_stitch_box(Vector3f const& min, Vector3f const& max) { stitch_box_ = {min, max}; }

    /// Distance between neighbouring points of a scan; 0.12 by default. It scales the longest
    /// stitched edge and the longest edge of an ear, and does not follow the stitch radius.
    void set_point_spacing(double length) { point_spacing = length; }
    /// Largest angle in degrees between a stitched face and those around its corners; 30 by
    /// default.
    void set_normal_angle_thr(float degrees) { normal_angle_thr = degrees; }
    /// Longest edge across from a stitched vertex in point spacings, and the longest border edge of
    /// a vertex that is stitched at all in stitch radii; 8 by default.
    void set_neighbour_factor(int factor) { neighbour_factor = factor; }
    /// Longest closing edge of an ear in the first round, in point spacings; 5 by default.
    void set_ear_edge_factor(double factor) { ear_edge_factor = factor; }
    /// Largest angle in degrees between an ear and the faces around its corners in the first round;
    /// 150 by default.
    void set_ear_normal_angle(double degrees) { ear_normal_angle = degrees; }
    /// Whether to write the mesh after each stage to `result_dir` of `gPH`, while the log switch is
    /// on. Off by default.
    void set_save_debug_meshes(bool enabled) { save_debug_meshes = enabled; }

protected:
    // Hosts know these by name and place.
    double point_spacing = 0.12;     ///< Millimetres between neighbouring points.
    float normal_angle_thr = 30.0F;  ///< Largest angle of normals, in degrees.
    int neighbour_factor = 8;        ///< Reach of the stitch, in point spacings.
    double ear_edge_factor = 5.0;    ///< Longest closing edge of an ear, in point spacings.
    double ear_normal_angle = 150.0; ///< Largest angle of an ear, in degrees.
    // The first three never are on a mesh: threads keep in their own memory what a stitch needs.
    OpenMesh::VPropHandleT<int> vert_state_prop;      ///< Not used.
    OpenMesh::VPropHandleT<Vector2f> vert_local_prop; ///< Not used.
    OpenMesh::VPropHandleT<float> vert_angle_prop;    ///< Not used.
    OpenMesh::VPropHandleT<int> vert_frame_prop; ///< Frame of each vertex, live during a merge.
    bool save_debug_meshes = false;              ///< Whether the stages are written.

private:
    bool convert_rge_to_mesh(std::vector<RangeData const*> const& ranges, TriMesh& mesh);
    void delete_long_edge(TriMesh& mesh, float length);
    void border_stitch(TriMesh& mesh, float radius);
    void stitch_around(TriMesh& mesh, float radius,
                       std::vector<OpenMesh::VertexHandle> centres) const;
    void trim_ears(TriMesh& mesh, int max_hole_edges, bool is_last_round);
    void divide_mesh(TriMesh& mesh, std::vector<std::vector<OpenMesh::VertexHandle>>& slabs);
    void mesh_filter(TriMesh& mesh);

    void close_gaps(TriMesh& mesh, float stitch_radius, int max_hole_edges, int min_component_size,
                    float long_edge_length);
    std::vector<int> slab_numbers(TriMesh const& mesh) const;
    void save(TriMesh const& mesh, char const* name, char const* step) const;

    std::optional<std::pair<Vector3f, Vector3f>> stitch_box_; ///< Its corners.
};

} // namespace OrvaneAlgorithm
