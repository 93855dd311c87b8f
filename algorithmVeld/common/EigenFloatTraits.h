#pragma once

/// \file
/// The OpenMesh configuration of the library, and the one place where it includes OpenMesh's mesh:
/// `EigenVectorT.hh` specialises what the mesh headers declare, and does not compile before them.
/// `MeshIO.hh` is here for hosts that read and write with OpenMesh: whichever of its headers they
/// include besides, and when, they get this order.

// clang-format off
#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Core/Geometry/EigenVectorT.hh>
// clang-format on

namespace OpenMesh
{

/// Mesh traits with Eigen's float vectors: points, normals and colours are `Eigen::Vector3f`
/// (a colour is red, green, blue, each 0 to 1), texture coordinates are `Eigen::Vector2f`.
struct EigenFloatTraits : public DefaultTraits
{
    using Point = Eigen::Vector3f;      ///< positions
    using Normal = Eigen::Vector3f;     ///< normals
    using Color = Eigen::Vector3f;      ///< red, green, blue, each 0 to 1
    using TexCoord2D = Eigen::Vector2f; ///< texture coordinates
};

} // namespace OpenMesh
