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
/// class. No state is kept between two calls but `gPH`, and several threads may call them at once,
/// on objects of their own.

namespace OrvaneAlgorithm
{

/// Closes holes with flat triangles, by `EarTrimming::ear_trimming` in spite of its older name. It
/// has no verbose flag: `gPH` tells whether to log.
/// \param mesh gets faces and edges; vertices and old faces stay as they are
/// \param use_node_num leave holes of more than `node_num_thr` edges alone
/// \param use_edge_length stop a hole at an ear whose closing edge is longer than `edge_length_thr`
/// \param use_norm stop a hole at an ear whose normal is more than `norm_thr` off
/// \param node_num_thr the largest hole, in edges
/// \param edge_length_thr in millimetres
/// \param norm_thr in degrees
/// \return `RET_SUCCESS` whatever the mesh holds
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

/// Fills holes with a triangulated, refined and faired surface, by
/// `HoleFillingCore::fill_holes_core`.
/// \copydetails OrvaneAlgorithm::HoleFillingCore::fill_holes_core
ALGORITHMVELD_API RetVal fill_holes_core(TriMesh& mesh, Holes const& holes, int rings,
                                         std::vector<std::vector<OpenMesh::FaceHandle>>& new_faces,
                                         Holes& new_verts, Holes& patch_verts, bool verbose);

/// Fills one hole in this way, by `HoleFillingCore::fill_single_hole_core`.
/// \copydetails OrvaneAlgorithm::HoleFillingCore::fill_single_hole_core
ALGORITHMVELD_API RetVal fill_single_hole_core(
    TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& hole, int rings,
    std::vector<OpenMesh::FaceHandle>& new_faces, std::vector<OpenMesh::VertexHandle>& new_verts,
    std::vector<OpenMesh::VertexHandle>& patch_verts, bool verbose);

/// Finds the known hole nearest to `point`, by `FindHolesEx::find_hole`.
/// \param mesh with these holes
/// \param point a place near the hole
/// \param known_holes as `find_holes` gave them
/// \param distance a vertex of the hole has to be nearer than this
/// \param hole the hole; empty if none is near enough, left alone without known holes
/// \param verbose whether to log
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT` without known holes; `RET_FAILED` if none is near
///         enough
ALGORITHMVELD_API RetVal find_hole(TriMesh const& mesh, Vector3f const& point,
                                   Holes const& known_holes, double distance,
                                   std::vector<OpenMesh::VertexHandle>& hole, bool verbose);

/// Finds the hole through the boundary vertex nearest to `point`, by `FindHolesEx::find_hole`.
/// \param mesh is not changed
/// \param point a place near the hole
/// \param distance the vertex has to be nearer than this
/// \param hole the hole; empty if no vertex is near, left alone if none of the near ones lies on a
///        boundary
/// \param verbose whether to log
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if no vertex is near; `RET_FAILED` if no boundary
///         vertex is
ALGORITHMVELD_API RetVal find_hole(TriMesh const& mesh, Vector3f const& point, double distance,
                                   std::vector<OpenMesh::VertexHandle>& hole, bool verbose);

/// Finds all holes, by `FindHolesEx::find_holes`.
/// \param mesh gets a temporary property, and is not changed otherwise
/// \param holes replaced, in the order of the lowest halfedge of their walks
/// \param verbose whether to log
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if there is no hole
ALGORITHMVELD_API RetVal find_holes(TriMesh& mesh, Holes& holes, bool verbose);

/// Finds the holes shorter than `perimeter`, by `FindHolesEx::find_holes`.
/// \param mesh gets a temporary property, and is not changed otherwise
/// \param perimeter in millimetres; a hole of exactly this length is left out
/// \param holes replaced; left alone if the mesh has no hole at all
/// \param verbose whether to log
/// \return `RET_SUCCESS`, also if every hole is too long; `RET_INVALID_INPUT` if the mesh has no
///         hole
ALGORITHMVELD_API RetVal find_holes(TriMesh& mesh, double perimeter, Holes& holes, bool verbose);

/// Finds the holes that markers left, by `FindHolesEx::find_marker_holes`.
/// \copydetails OrvaneAlgorithm::FindHolesEx::find_marker_holes
ALGORITHMVELD_API RetVal find_marker_holes(TriMesh& mesh, Verts const& marker_points,
                                           Verts const& marker_normals, double hole_match_thr,
                                           double marker_radius, bool use_normals,
                                           double normal_dot_thr, Holes& holes, bool verbose);

/// Merges registered range frames into one mesh, by `MeshMerge::mesh_merge` with its default
/// settings.
/// \copydetails OrvaneAlgorithm::MeshMerge::mesh_merge
ALGORITHMVELD_API RetVal mesh_merge(std::vector<RangeData const*> const& ranges,
                                    double stitch_radius, TriMesh& mesh, bool verbose,
                                    int max_hole_edges, int min_component_size,
                                    double long_edge_length, std::vector<int>& vertex_frames);

/// Removes the points near markers, by `RemoveBoundary::remove_marker_cloud`.
/// \copydetails OrvaneAlgorithm::RemoveBoundary::remove_marker_cloud
ALGORITHMVELD_API RetVal remove_marker_cloud(Cloud& cloud, Verts const& marker_points,
                                             Verts const& marker_normals, double radius,
                                             bool use_normals, double normal_dot_thr, bool verbose);

/// Removes what lies near markers: without `use_normals` as `RemoveBoundary::remove_marker_mesh`,
/// which does not look at the normals, otherwise as `RemoveBoundary::remove_marker_mesh_ex`.
/// \param mesh changed in place
/// \param marker_points places of the markers
/// \param marker_normals their unit normals, one each; not looked at unless `use_normals`
/// \param radius what is nearer to a marker than this is near
/// \param use_normals whether pieces of surface have to look the way the marker does
/// \param normal_dot_thr the dot product of the two normals has to exceed this
/// \param verbose whether to log
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT`, with nothing changed, if `use_normals` is true and
///         the numbers of points and normals differ
ALGORITHMVELD_API RetVal remove_marker_mesh(BaseTriMesh& mesh, Verts const& marker_points,
                                            Verts const& marker_normals, double radius,
                                            bool use_normals, double normal_dot_thr, bool verbose);
/// The same for a half-edge mesh.
ALGORITHMVELD_API RetVal remove_marker_mesh(TriMesh& mesh, Verts const& marker_points,
                                            Verts const& marker_normals, double radius,
                                            bool use_normals, double normal_dot_thr, bool verbose);

/// Removes vertices at which several fans of faces meet, by
/// `VertexEditor::remove_non_manifold_verts`.
/// \copydetails OrvaneAlgorithm::VertexEditor::remove_non_manifold_verts
ALGORITHMVELD_API RetVal remove_non_manifold_verts(TriMesh& mesh, bool verbose);

/// Removes components of few faces, by `PatchEditor::remove_small_components_by_face`.
/// \copydetails OrvaneAlgorithm::PatchEditor::remove_small_components_by_face
ALGORITHMVELD_API RetVal remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose);

/// Removes small bodies, also those that hang on others by thin strips, by
/// `PatchEditor::remove_small_componets_by_face_strong_connection`. It logs nothing.
/// \copydetails OrvaneAlgorithm::PatchEditor::remove_small_componets_by_face_strong_connection
ALGORITHMVELD_API RetVal remove_small_components_by_face_strong_connection(TriMesh& mesh,
                                                                           int face_thr,
                                                                           int ring_num);

/// Removes components of few vertices, by `PatchEditor::remove_small_components_by_vert`.
/// \copydetails OrvaneAlgorithm::PatchEditor::remove_small_components_by_vert
ALGORITHMVELD_API RetVal remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose);

/// Turns photographs with known poses into the texture of a mesh, by
/// `TextureFusion::texture_fusion` with its default settings.
/// \param mesh gets the texture; see there what else changes
/// \param images the photographs, of any sizes
/// \param poses of each, world to camera; the camera looks along its z axis, x to the right and y
///        down in the photograph
/// \param cameras the intrinsics of each, in pixels, without distortion
/// \param verbose written to the log switch of `gPH`, and left there
/// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if the lists differ in length, or there is no face or
///         no photograph; `RET_FAILED` if no photograph sees a piece of more than 50 connected
///         faces, or if the atlas cannot be laid out. The mesh is untouched unless the result is
///         `RET_SUCCESS`, also after an exception.
ALGORITHMVELD_API RetVal texture_fusion(BaseTriMesh& mesh,
                                        std::vector<Image<3, unsigned char>> const& images,
                                        std::vector<RigidMatrix> const& poses,
                                        std::vector<CameraInParam> const& cameras, bool verbose);

} // namespace OrvaneAlgorithm
