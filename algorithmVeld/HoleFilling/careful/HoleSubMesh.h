#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/arrays/IndexTable.h"

#include <optional>
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
    /// The index of the vertex that stands for one of the main mesh, by its index there.
    IndexTable copies;
    /// The hole's boundary halfedges, in the copy.
    std::vector<OpenMesh::HalfedgeHandle> loop;
    /// Edges that the copy had before it was filled.
    std::size_t old_edges = 0;
};

/// Fills `sub` with copies of a region's vertices and faces, in their order, with their colours and
/// normals where the mesh has them. What it cannot take is logged.
/// \param edge_len mean edge length at each vertex of the mesh, which is copied
/// \param hole the number under which the hole is logged
/// \return why the hole has to stay open, if it has; `NOT_A_BOUNDARY` if the region has fewer than
/// 3
///         vertices: the sub-mesh is empty then
std::optional<OpenReason> make_sub_mesh(TriMesh const& mesh,
                                        std::vector<OpenMesh::FaceHandle> const& region,
                                        OpenMesh::VPropHandleT<float> edge_len, int hole,
                                        HoleSubMesh& sub);

/// Finds a hole's halfedges in the copy and marks their from-vertices as boundary.
/// \return false if one is missing
bool map_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
              HoleSubMesh& sub);

/// How the boundary of a copy agrees with a hole.
enum class LoopMatch
{
    SAME,
    NO_FIRST_HALFEDGE, ///< The hole's first halfedge has no counterpart.
    OTHER_LENGTH       ///< From there, the boundary is longer or shorter than the hole.
};

/// Finds a hole's first halfedge in the copy, goes on along the copy's own boundary and marks the
/// from-vertices as boundary. Only the length is compared.
LoopMatch walk_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                    HoleSubMesh& sub);

} // namespace OrvaneAlgorithm::detail
