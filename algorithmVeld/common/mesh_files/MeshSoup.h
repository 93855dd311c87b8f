#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/files/FileError.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What a mesh file holds, before it becomes a mesh: nothing here can fail on damaged files.
struct MeshSoup
{
    std::vector<Vector3f> points;
    std::vector<std::array<int, 3>> faces;
    std::vector<Vector3f> normals; ///< one for each point, or none at all
    std::vector<Vector3f> colors;  ///< one for each point (each channel 0 to 1), or none at all
    int first_number = 0;          ///< what the format counts from, for messages
};

/// The most faces that a half-edge mesh can hold: each may need six halfedges, which have `int`
/// indices. No more vertices than that are taken either.
constexpr std::uint64_t MOST_FACES = std::numeric_limits<int>::max() / 6;

/// Refuses a face that has more or fewer than three corners.
void require_triangle(std::uint64_t face, std::uint64_t corners);

/// Refuses a soup that is too large, has a coordinate that is not finite or a face that names a
/// point that is not there.
void check_soup(MeshSoup const& soup);

/// Sets normals and colours that are not finite to zero: the mesh is usable without them, and what
/// it is written to is not damaged by them.
void clean_attributes(MeshSoup& soup);

/// Makes the mesh of a checked soup, elements in the soup's order.
/// \param mesh replaced as a whole; it has normals and colours exactly if the soup has them
/// \return the number of faces that the half-edge structure cannot hold and that were left out
std::size_t build_mesh(MeshSoup const& soup, TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
