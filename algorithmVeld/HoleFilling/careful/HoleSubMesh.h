#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <unordered_map>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A private copy of the mesh around one hole, where it is filled without touching the mesh.
struct HoleSubMesh
{
    TriMesh mesh;
    OpenMesh::FPropHandleT<bool> face_new;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_boundary;
    OpenMesh::VPropHandleT<float> vert_edge_len;
    /// The vertex of the main mesh that a vertex stands for.
    OpenMesh::VPropHandleT<OpenMesh::VertexHandle> vert_origin;
    /// The vertex that stands for one of the main mesh, by its index there.
    std::unordered_map<int, OpenMesh::VertexHandle> copies;
    /// The hole's boundary halfedges, in the copy.
    std::vector<OpenMesh::HalfedgeHandle> loop;
    /// Edges that the copy had before it was filled.
    std::size_t old_edges = 0;
};

/// The vertices of faces, in the order in which they are met.
std::vector<OpenMesh::VertexHandle> vertices_of(TriMesh const& mesh,
                                                std::vector<OpenMesh::FaceHandle> const& faces);

/// What a sub-mesh could not take.
struct RefusedElements
{
    int vertices = 0;
    int faces = 0;
};

/// Fills `sub` with copies of `vertices` and `faces`, in their order, with their colours and
/// normals where the mesh has them.
/// \param vertices all vertices of the faces
/// \param edge_len mean edge length at each vertex of the mesh, which is copied
RefusedElements make_sub_mesh(TriMesh const& mesh,
                              std::vector<OpenMesh::VertexHandle> const& vertices,
                              std::vector<OpenMesh::FaceHandle> const& faces,
                              OpenMesh::VPropHandleT<float> edge_len, HoleSubMesh& sub);

/// Finds a hole's halfedges in the copy and marks their from-vertices as boundary.
/// \return false if one is missing
bool map_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
              HoleSubMesh& sub);

} // namespace OrvaneAlgorithm::detail
