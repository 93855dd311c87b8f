#pragma once

#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"

#include <array>
#include <cstddef>
#include <vector>

/// \file
/// The merge of filled sub-meshes into the mesh from which they were taken.

namespace OrvaneAlgorithm::detail
{

/// What filling added to a sub-mesh, apart from it.
struct Fill
{
    /// A corner of a new face: a vertex of the main mesh, or a new one.
    struct Corner
    {
        bool is_new = false;
        int index = -1; ///< Of the main mesh's vertex, or in `points`; -1 where there is neither.
    };

    std::vector<Vector3f> points;             ///< Of the new vertices, in the sub-mesh's order.
    std::vector<std::array<Corner, 3>> faces; ///< In the sub-mesh's order.
    std::size_t edges = 0;                    ///< How many more the sub-mesh has than before.
};

Fill take_fill(HoleSubMesh const& sub);

/// What happens at a face that the mesh refuses. It is logged either way.
enum class RefusedFace
{
    IS_LEFT_OUT, ///< The others are added.
    ENDS_MERGE   ///< Those behind it are left out too.
};

/// What a merge added to the mesh, in the order of the fill.
struct MergedFill
{
    std::vector<OpenMesh::VertexHandle> verts;
    std::vector<OpenMesh::FaceHandle> faces;
    bool complete = true; ///< Whether the mesh took every face.
};

/// Adds the new vertices and faces of a fill to the mesh. Their normals and colours are zero.
MergedFill merge_fill(TriMesh& mesh, Fill const& fill, RefusedFace refused);

} // namespace OrvaneAlgorithm::detail
