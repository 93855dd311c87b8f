#pragma once

#include "Json.h"

#include "algorithmVeld/common/TriMesh.h"

#include <string>
#include <vector>

namespace veld
{

using Hole = std::vector<OpenMesh::VertexHandle>;

/// What a hole is told by.
struct HoleSummary
{
    std::size_t vertices = 0;
    std::size_t edges = 0;
    double perimeter = 0.0;                                               ///< Millimetres.
    OrvaneAlgorithm::Vector3d centre = OrvaneAlgorithm::Vector3d::Zero(); ///< Mean of the corners.
};

/// All holes, in the order of the library. Empty for a closed mesh.
OrvaneAlgorithm::Holes all_holes(OrvaneAlgorithm::TriMesh& mesh);

/// Length of a hole's rim in millimetres, finite for any finite coordinates.
double hole_perimeter(OrvaneAlgorithm::TriMesh const& mesh, Hole const& hole);

HoleSummary summarise(OrvaneAlgorithm::TriMesh const& mesh, Hole const& hole);

/// Diagonal of the box around all vertices, in millimetres.
double box_diagonal(OrvaneAlgorithm::TriMesh const& mesh);

/// "1 hole", "5 holes".
std::string counted(std::size_t n, std::string const& noun);

} // namespace veld
