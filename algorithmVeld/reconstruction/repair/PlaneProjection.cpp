#include "algorithmVeld/reconstruction/repair/PlaneProjection.h"

#include "algorithmVeld/common/arrays/checked.h"

#include <Eigen/Geometry>

#include <cmath>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

void project_onto_plane(Vector3f const& point, Vector3f const& normal,
                        std::vector<Vector3f> const& points, std::vector<Vector3f> const& normals,
                        ProjectedPoints const& projected)
{
    projected.points.clear();
    projected.distances.clear();
    projected.cosines.clear();
    float const d = -normal.dot(point);
    float const square_length = normal.dot(normal);
    float const length = std::sqrt(square_length);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        projected.cosines.push_back(at(normals, i).dot(normal));
        float const e = normal.dot(points[i]) + d;
        projected.points.push_back(points[i] - (e / square_length) * normal);
        projected.distances.push_back(std::abs(e) / length);
    }
}

void rotate_arbitrary_axis(Vector3f const& axis, float angle, Eigen::Matrix4d& rotation)
{
    float const c = std::cos(angle);
    float const s = std::sin(angle);
    float const t = 1.0F - c;
    float const x = axis.x();
    float const y = axis.y();
    float const z = axis.z();
    Eigen::Matrix3f columns;
    columns.col(0) << x * x * t + c, x * y * t - s * z, x * z * t + s * y;
    columns.col(1) << x * y * t + s * z, y * y * t + c, y * z * t - s * x;
    columns.col(2) << x * z * t - s * y, y * z * t + s * x, z * z * t + c;
    rotation.setIdentity();
    rotation.topLeftCorner<3, 3>() = columns.cast<double>();
}

void turn_onto_z(Vector3f const& normal, std::vector<Vector3f>& points)
{
    // Of a normal along z the axis stays 0, and the matrix of half a turn mirrors at the origin.
    Vector3f const axis = normal.cross(Vector3f::UnitZ()).normalized();
    Eigen::Matrix4d rotation;
    rotate_arbitrary_axis(axis, -std::acos(normal.z()), rotation);
    for (auto& point : points)
    {
        Eigen::Vector4d const turned = rotation * point.cast<double>().homogeneous();
        point = turned.head<3>().cast<float>();
    }
}

} // namespace OrvaneAlgorithm::detail
