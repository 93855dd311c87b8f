#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/arrays/IndexTable.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Notes an element behind those that were met before, if it is none of them.
/// \param numbers of those before, by their indices, and of no others
/// \return its number, which is its place in `met`
template <typename Handle>
int meet(Handle element, IndexTable& numbers, std::vector<Handle>& met)
{
    int const number = numbers.add(element.idx());
    if (static_cast<std::size_t>(number) == met.size())
    {
        met.push_back(element);
    }
    return number;
}

/// The vertices of faces, in the order in which they are met.
/// \param numbers an empty table, which gets where in that order each stands
inline std::vector<OpenMesh::VertexHandle>
vertices_of(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle> const& faces,
            IndexTable& numbers)
{
    std::vector<OpenMesh::VertexHandle> vertices;
    for (auto const face : faces)
    {
        for (OpenMesh::VertexHandle const vertex : mesh.fv_range(face))
        {
            meet(vertex, numbers, vertices);
        }
    }
    return vertices;
}

} // namespace OrvaneAlgorithm::detail
