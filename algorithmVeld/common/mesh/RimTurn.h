#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/geometry/angles.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Whether a fill would, on the whole, turn away from the faces along its rim by more than an
/// angle. That is the outline of a loose piece: its back is no hole.
/// \param corners of a loop, in boundary order
/// \param degrees 180 is never exceeded
inline bool turns_back(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& corners,
                       double degrees)
{
    Eigen::Vector3d of_fill = Eigen::Vector3d::Zero();
    Eigen::Vector3d of_rim = Eigen::Vector3d::Zero();
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        auto const a = corners[i];
        auto const b = corners[(i + 1) % corners.size()];
        Eigen::Vector3d const origin = mesh.point(corners.front()).cast<double>();
        Eigen::Vector3d const from = mesh.point(a).cast<double>() - origin;
        Eigen::Vector3d const along = mesh.point(b).cast<double>() - origin - from;
        of_fill += from.cross(along);
        auto const rim = mesh.find_halfedge(b, a);
        if (rim.is_valid() && !mesh.is_boundary(rim))
        {
            auto const third = mesh.to_vertex_handle(mesh.next_halfedge_handle(rim));
            // The face runs from b to a.
            of_rim += (mesh.point(third).cast<double>() - origin - from).cross(along);
        }
    }
    return degrees < 180.0 &&
           of_fill.dot(of_rim) < std::cos(radians(degrees)) * of_fill.norm() * of_rim.norm();
}

} // namespace OrvaneAlgorithm::detail
