#include "algorithmVeld/HoleFilling/markers/HoleMeasures.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/geometry/angles.h"

namespace OrvaneAlgorithm::detail
{

Vector3f hole_centre(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const h : loop)
    {
        sum += mesh.point(mesh.from_vertex_handle(h)) + mesh.point(mesh.to_vertex_handle(h));
    }
    return sum / static_cast<float>(2 * loop.size());
}

HoleRadius hole_radius(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                       Vector3f const& centre, double perimeter)
{
    double distances = 0.0;
    Eigen::AlignedBox3f box;
    for (auto const h : loop)
    {
        Vector3f const point = mesh.point(mesh.from_vertex_handle(h));
        distances += (point - centre).norm();
        box.extend(point);
    }
    HoleRadius radius;
    radius.r_p = perimeter / (2.0 * PI);
    radius.r_d = distances / static_cast<double>(loop.size());
    radius.r_b = 0.5 * static_cast<double>(box.diagonal().norm());
    radius.r_a = (radius.r_p + radius.r_d + radius.r_b) / 3.0;
    return radius;
}

} // namespace OrvaneAlgorithm::detail
