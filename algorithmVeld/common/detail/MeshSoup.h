#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
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
};

/// Why a mesh file is refused, worded to stand behind the file's name.
class MeshFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Refuses a face that has more or fewer than three corners.
void require_triangle(std::uint64_t face, std::uint64_t corners);

/// Refuses a soup with a coordinate that is not finite or with a face that names a point that is
/// not there.
void check_soup(MeshSoup const& soup);

/// Makes the mesh of a checked soup, elements in the soup's order.
/// \param mesh replaced as a whole; it has normals and colours exactly if the soup has them
/// \return the number of faces that the half-edge structure cannot hold and that were left out
std::size_t build_mesh(MeshSoup const& soup, TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
