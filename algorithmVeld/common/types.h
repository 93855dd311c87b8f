#pragma once

/// \file
/// The names that the whole library uses for vectors, matrices, holes and lists of points.

#include "algorithmVeld/common/EigenFloatTraits.h"

#include <vector>

namespace OrvaneAlgorithm
{

using Eigen::Matrix3d;
using Eigen::MatrixXi;
using Eigen::Vector2f;
using Eigen::Vector2i;
using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector3i;

/// Boundary loops: each is a list of vertices in boundary order, closed from the last to the first.
using Holes = std::vector<std::vector<OpenMesh::VertexHandle>>;

/// A list of points or normals.
using Verts = std::vector<Vector3f>;

} // namespace OrvaneAlgorithm
