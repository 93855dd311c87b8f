#pragma once

/// \file
/// The names of Eigen that the whole library uses for vectors and matrices. Headers of values, such
/// as `Cloud` and `RigidMatrix`, need no more than these, and nothing of OpenMesh.

#include <Eigen/Core>

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

/// A list of points or normals.
using Verts = std::vector<Vector3f>;

} // namespace OrvaneAlgorithm
