#pragma once

#include "algorithmVeld/HoleFilling/careful/HoleWork.h"

#include <vector>

/// \file
/// The merge of filled sub-meshes into the mesh from which they were taken.

namespace OrvaneAlgorithm::detail
{

/// Makes room in the mesh for the fills of all holes that were not given up.
void reserve_for_fills(TriMesh& mesh, std::vector<HoleWork> const& works);

/// What a merge added to the mesh, in the order of the sub-mesh.
struct MergedFill
{
    std::vector<OpenMesh::VertexHandle> verts;
    std::vector<OpenMesh::FaceHandle> faces;
    bool complete = true; ///< Whether the mesh took every face.
};

/// Adds the new vertices and faces of a filled sub-mesh to the mesh. What the mesh refuses is
/// logged and left out.
/// \param sub `vert_origin` of the new vertices is set to those that stand for them in the mesh
MergedFill merge_fill(TriMesh& mesh, HoleSubMesh& sub);

} // namespace OrvaneAlgorithm::detail
