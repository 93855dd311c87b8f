#pragma once

#include "algorithmVeld/api/RetVal.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The free functions, for hosts that keep no algorithm object. Each makes one call on an object of
/// its own and passes the result on as it stands: what the arguments and codes mean stands with the
/// class. No state is kept between two calls but `gPH`.

namespace OrvaneAlgorithm
{

/// Closes holes with flat triangles; see `EarTrimming::ear_trimming`, which is what it runs in
/// spite of its older name. It has no verbose flag: `gPH` tells whether to log. \return
/// `RET_SUCCESS` whatever the mesh holds
ALGORITHMVELD_API RetVal ear_clipping(TriMesh& mesh, bool use_node_num, bool use_edge_length,
                                      bool use_norm, int node_num_thr, double edge_length_thr,
                                      double norm_thr);

/// Cuts sticks, small upright cylinders, out of a scanned mesh.
///
/// From the vertex nearest to each seed point the search climbs along z, over vertices that do not
/// lie lower than the one before, to the stick's tip. A face belongs to the stick if it hangs
/// together with the tip by such faces, if none of its vertices is farther from the tip than the
/// stick's far rim in a straight line, and if one of them is nearer than that along the edges. The
/// far rim lies at sqrt(diameter^2 / 4 + height^2).
/// \param mesh keeps its geometry; its status attributes are requested for the time of the call
/// \param marker_points a point on each stick, in the mesh's unit, millimetres
/// \param stick_sizes of each stick the diameter and the height, in the same unit
/// \param sticks one mesh for each point, with the standard attributes that the source has: points,
///        colours and normals are copied, in the order of the source; all others are zero
/// \param positive_z whether the tips lie towards +z
/// \param verbose whether to print and to log; `gPH` is not looked at
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT`, with `sticks` left alone, without points or if the
///         numbers of points and sizes differ; `RET_FAILED` if no vertex is nearest to a point, as
///         in a mesh without finite points: the sticks before it are complete, the others empty
ALGORITHMVELD_API RetVal extract_sticks(TriMesh& mesh, Verts const& marker_points,
                                        std::vector<Vector2f> const& stick_sizes,
                                        std::vector<TriMesh>& sticks, bool positive_z,
                                        bool verbose);

/// Fills holes with a triangulated, refined and faired surface; see
/// `HoleFillingCore::fill_holes_core`.
ALGORITHMVELD_API RetVal fill_holes_core(TriMesh& mesh, Holes const& holes, int rings,
                                         std::vector<std::vector<OpenMesh::FaceHandle>>& new_faces,
                                         Holes& new_verts, Holes& patch_verts, bool verbose);

/// Fills one hole in this way; see `HoleFillingCore::fill_single_hole_core`.
ALGORITHMVELD_API RetVal fill_single_hole_core(
    TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& hole, int rings,
    std::vector<OpenMesh::FaceHandle>& new_faces, std::vector<OpenMesh::VertexHandle>& new_verts,
    std::vector<OpenMesh::VertexHandle>& patch_verts, bool verbose);

/// Finds the known hole nearest to `point`; see `FindHolesEx::find_hole`.
ALGORITHMVELD_API RetVal find_hole(TriMesh const& mesh, Vector3f const& point,
                                   Holes const& known_holes, double distance,
                                   std::vector<OpenMesh::VertexHandle>& hole, bool verbose);

/// Finds the hole through the boundary vertex nearest to `point`; see `FindHolesEx::find_hole`.
ALGORITHMVELD_API RetVal find_hole(TriMesh const& mesh, Vector3f const& point, double distance,
                                   std::vector<OpenMesh::VertexHandle>& hole, bool verbose);

/// Finds all holes; see `FindHolesEx::find_holes`.
ALGORITHMVELD_API RetVal find_holes(TriMesh& mesh, Holes& holes, bool verbose);

/// Finds the holes shorter than `perimeter`; see `FindHolesEx::find_holes`.
ALGORITHMVELD_API RetVal find_holes(TriMesh& mesh, double perimeter, Holes& holes, bool verbose);

/// Finds the holes that markers left; see `FindHolesEx::find_marker_holes`.
ALGORITHMVELD_API RetVal find_marker_holes(TriMesh& mesh, Verts const& marker_points,
                                           Verts const& marker_normals, double hole_match_thr,
                                           double marker_radius, bool use_normals,
                                           double normal_dot_thr, Holes& holes, bool verbose);

/// Merges registered range frames into one mesh; see `MeshMerge::mesh_merge`, which is run with its
/// default settings.
ALGORITHMVELD_API RetVal mesh_merge(std::vector<RangeData const*> const& ranges,
                                    double stitch_radius, TriMesh& mesh, bool verbose,
                                    int max_hole_edges, int min_component_size,
                                    double long_edge_length, std::vector<int>& vertex_frames);

/// Removes the points near markers; see `RemoveBoundary::remove_marker_cloud`.
ALGORITHMVELD_API RetVal remove_marker_cloud(Cloud& cloud, Verts const& marker_points,
                                             Verts const& marker_normals, double radius,
                                             bool use_normals, double normal_dot_thr, bool verbose);

/// Removes what lies near markers: without `use_normals` as `RemoveBoundary::remove_marker_mesh`,
/// which does not look at the normals, otherwise as `RemoveBoundary::remove_marker_mesh_ex`.
ALGORITHMVELD_API RetVal remove_marker_mesh(BaseTriMesh& mesh, Verts const& marker_points,
                                            Verts const& marker_normals, double radius,
                                            bool use_normals, double normal_dot_thr, bool verbose);
ALGORITHMVELD_API RetVal remove_marker_mesh(TriMesh& mesh, Verts const& marker_points,
                                            Verts const& marker_normals, double radius,
                                            bool use_normals, double normal_dot_thr, bool verbose);

/// Removes vertices at which several fans of faces meet; see
/// `VertexEditor::remove_non_manifold_verts`.
ALGORITHMVELD_API RetVal remove_non_manifold_verts(TriMesh& mesh, bool verbose);

/// Removes components of few faces; see `PatchEditor::remove_small_components_by_face`.
ALGORITHMVELD_API RetVal remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose);

/// Removes small bodies, also those that hang on others by thin strips; see
/// `PatchEditor::remove_small_componets_by_face_strong_connection`. It logs nothing.
ALGORITHMVELD_API RetVal remove_small_components_by_face_strong_connection(TriMesh& mesh,
                                                                           int face_thr,
                                                                           int ring_num);

/// Removes components of few vertices; see `PatchEditor::remove_small_components_by_vert`.
ALGORITHMVELD_API RetVal remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose);

/// Turns photographs with known poses into the texture of a mesh; see
/// `TextureFusion::texture_fusion`, which is run with its default settings.
ALGORITHMVELD_API RetVal texture_fusion(BaseTriMesh& mesh,
                                        std::vector<Image<3, unsigned char>> const& images,
                                        std::vector<RigidMatrix> const& poses,
                                        std::vector<CameraInParam> const& cameras, bool verbose);

} // namespace OrvaneAlgorithm
