#pragma once

#include "algorithmVeld/common/mesh/AddFace.h"

#include <array>

/// \file
/// Copying parts of one mesh into another.

namespace OrvaneAlgorithm::detail
{

/// Adds a copy of a vertex to `target`, with its colour and normal as far as the source has them.
/// \param target has the attributes of vertices that the source has
inline OpenMesh::VertexHandle copy_vertex(TriMesh const& source, OpenMesh::VertexHandle origin,
                                          TriMesh& target)
{
    auto const copy = target.add_vertex(source.point(origin));
    if (copy.is_valid() && source.has_vertex_colors())
    {
        target.set_color(copy, source.color(origin));
    }
    if (copy.is_valid() && source.has_vertex_normals())
    {
        target.set_normal(copy, source.normal(origin));
    }
    return copy;
}

/// Adds a copy of a face to `target`, with its normal if the source has it.
/// \param copy_of gives the copy of a vertex, an invalid handle if there is none
/// \param target has face normals if the source has them
/// \return an invalid handle if `target` cannot take the face
template <typename CopyOf>
OpenMesh::FaceHandle copy_face(TriMesh const& source, OpenMesh::FaceHandle origin, TriMesh& target,
                               CopyOf const& copy_of)
{
    std::array<OpenMesh::VertexHandle, 3> corners;
    std::size_t n = 0;
    for (auto const vertex : source.fv_range(origin))
    {
        corners[n++ % 3] = copy_of(vertex);
    }
    auto const copy = add_face_checked(target, corners[0], corners[1], corners[2]);
    if (copy.is_valid() && source.has_face_normals())
    {
        target.set_normal(copy, source.normal(origin));
    }
    return copy;
}

} // namespace OrvaneAlgorithm::detail
