#include "workflow/repairing/WorkingMesh.h"

#include "workflow/repairing/RepairValues.h"

#include <cmath>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

void provide_unit_normals(TriMesh& mesh)
{
    bool const had_normals = mesh.has_vertex_normals();
    if (!had_normals)
    {
        mesh.request_vertex_normals();
    }
    mesh.request_face_normals();
    mesh.update_face_normals();
    for (auto const vertex : mesh.vertices())
    {
        bool const is_loose = mesh.is_isolated(vertex);
        Vector3f const normal = !is_loose     ? mesh.calc_vertex_normal(vertex)
                                : had_normals ? mesh.normal(vertex)
                                              : Vector3f::Zero();
        mesh.set_normal(vertex, has_direction(normal) ? normal.stableNormalized().eval()
                                                      : Vector3f::Zero().eval());
    }
    mesh.release_face_normals();
}

double unit_for(double spacing)
{
    constexpr double SMALLEST = 1.0 / 16.0;
    constexpr double LARGEST = 1024.0;
    return spacing >= SMALLEST && spacing <= LARGEST ? 1.0 : std::ldexp(1.0, -std::ilogb(spacing));
}

void scale_points(TriMesh& mesh, double factor)
{
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_point(vertex, (mesh.point(vertex).cast<double>() * factor).cast<float>());
    }
}

} // namespace veld
