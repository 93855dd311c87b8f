#include "algorithmVeld/api/algorithms.h"

#include "algorithmVeld/ExtractStick/ExtractStick.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"

namespace OrvaneAlgorithm
{

RetVal ear_clipping(TriMesh& mesh, bool use_node_num, bool use_edge_length, bool use_norm,
                    int node_num_thr, double edge_length_thr, double norm_thr)
{
    EarTrimming trimming;
    trimming.ear_trimming(mesh, use_node_num, use_edge_length, use_norm, node_num_thr,
                          edge_length_thr, norm_thr);
    return RET_SUCCESS;
}

RetVal extract_sticks(TriMesh& mesh, Verts const& marker_points,
                      std::vector<Vector2f> const& stick_sizes, std::vector<TriMesh>& sticks,
                      bool positive_z, bool verbose)
{
    ExtractStick extractor;
    return extractor.extract_sticks(mesh, marker_points, stick_sizes, sticks, positive_z, verbose);
}

RetVal fill_holes_core(TriMesh& mesh, Holes const& holes, int rings,
                       std::vector<std::vector<OpenMesh::FaceHandle>>& new_faces, Holes& new_verts,
                       Holes& patch_verts, bool verbose)
{
    HoleFillingCore filler;
    return filler.fill_holes_core(mesh, holes, rings, new_faces, new_verts, patch_verts, verbose);
}

RetVal fill_single_hole_core(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& hole,
                             int rings, std::vector<OpenMesh::FaceHandle>& new_faces,
                             std::vector<OpenMesh::VertexHandle>& new_verts,
                             std::vector<OpenMesh::VertexHandle>& patch_verts, bool verbose)
{
    HoleFillingCore filler;
    return filler.fill_single_hole_core(mesh, hole, rings, new_faces, new_verts, patch_verts,
                                        verbose);
}

RetVal find_hole(TriMesh const& mesh, Vector3f const& point, Holes const& known_holes,
                 double distance, std::vector<OpenMesh::VertexHandle>& hole, bool verbose)
{
    FindHolesEx finder;
    return finder.find_hole(mesh, point, known_holes, distance, hole, verbose);
}

RetVal find_hole(TriMesh const& mesh, Vector3f const& point, double distance,
                 std::vector<OpenMesh::VertexHandle>& hole, bool verbose)
{
    FindHolesEx finder;
    return finder.find_hole(mesh, point, distance, hole, verbose);
}

RetVal find_holes(TriMesh& mesh, Holes& holes, bool verbose)
{
    FindHolesEx finder;
    return finder.find_holes(mesh, holes, verbose);
}

RetVal find_holes(TriMesh& mesh, double perimeter, Holes& holes, bool verbose)
{
    FindHolesEx finder;
    return finder.find_holes(mesh, perimeter, holes, verbose);
}

RetVal find_marker_holes(TriMesh& mesh, Verts const& marker_points, Verts const& marker_normals,
                         double hole_match_thr, double marker_radius, bool use_normals,
                         double normal_dot_thr, Holes& holes, bool verbose)
{
    FindHolesEx finder;
    return finder.find_marker_holes(mesh, marker_points, marker_normals, hole_match_thr,
                                    marker_radius, use_normals, normal_dot_thr, holes, verbose);
}

RetVal mesh_merge(std::vector<RangeData const*> const& ranges, double stitch_radius, TriMesh& mesh,
                  bool verbose, int max_hole_edges, int min_component_size, double long_edge_length,
                  std::vector<int>& vertex_frames)
{
    MeshMerge merger;
    return merger.mesh_merge(ranges, stitch_radius, mesh, verbose, max_hole_edges,
                             min_component_size, long_edge_length, vertex_frames);
}

RetVal remove_marker_cloud(Cloud& cloud, Verts const& marker_points, Verts const& marker_normals,
                           double radius, bool use_normals, double normal_dot_thr, bool verbose)
{
    return RemoveBoundary::remove_marker_cloud(cloud, marker_points, marker_normals, radius,
                                               use_normals, normal_dot_thr, verbose);
}

RetVal remove_marker_mesh(BaseTriMesh& mesh, Verts const& marker_points,
                          Verts const& marker_normals, double radius, bool use_normals,
                          double normal_dot_thr, bool verbose)
{
    return use_normals ? RemoveBoundary::remove_marker_mesh_ex(mesh, marker_points, marker_normals,
                                                               radius, normal_dot_thr, verbose)
                       : RemoveBoundary::remove_marker_mesh(mesh, marker_points, radius, verbose);
}

RetVal remove_marker_mesh(TriMesh& mesh, Verts const& marker_points, Verts const& marker_normals,
                          double radius, bool use_normals, double normal_dot_thr, bool verbose)
{
    return use_normals ? RemoveBoundary::remove_marker_mesh_ex(mesh, marker_points, marker_normals,
                                                               radius, normal_dot_thr, verbose)
                       : RemoveBoundary::remove_marker_mesh(mesh, marker_points, radius, verbose);
}

RetVal remove_non_manifold_verts(TriMesh& mesh, bool verbose)
{
    return VertexEditor::remove_non_manifold_verts(mesh, verbose);
}

RetVal remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose)
{
    return PatchEditor::remove_small_components_by_face(mesh, face_thr, verbose);
}

RetVal remove_small_components_by_face_strong_connection(TriMesh& mesh, int face_thr, int ring_num)
{
    return PatchEditor::remove_small_componets_by_face_strong_connection(mesh, face_thr, ring_num);
}

RetVal remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose)
{
    return PatchEditor::remove_small_components_by_vert(mesh, vert_thr, verbose);
}

RetVal texture_fusion(BaseTriMesh& mesh, std::vector<Image<3, unsigned char>> const& images,
                      std::vector<RigidMatrix> const& poses,
                      std::vector<CameraInParam> const& cameras, bool verbose)
{
    TextureFusion fusion;
    return fusion.texture_fusion(mesh, images, poses, cameras, verbose);
}

} // namespace OrvaneAlgorithm
