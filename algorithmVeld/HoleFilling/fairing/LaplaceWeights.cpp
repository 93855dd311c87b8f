#include "algorithmVeld/HoleFilling/fairing/LaplaceWeights.h"

#include "algorithmVeld/common/mesh/Surroundings.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

float inverse_length(TriMesh const& mesh, VertexHandle from, VertexHandle to)
{
    constexpr float SHORTEST = 1e-5F;
    float const length = (mesh.point(from) - mesh.point(to)).norm();
    return length > SHORTEST ? 1.0F / length : length;
}

/// The third vertex of the face beside a halfedge; invalid if there is none but its two ends.
VertexHandle vertex_beside(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    return third_vertex(mesh, mesh.face_handle(h), mesh.from_vertex_handle(h),
                        mesh.to_vertex_handle(h));
}

/// Cotangent of the angle at `apex`, between the sides to `v` and `u`. \return false for no area
bool cotangent(Vector3d const& apex, Vector3d const& v, Vector3d const& u, double& value)
{
    double const a = (v - apex).norm();
    double const b = (u - apex).norm();
    double const c = (v - u).norm();
    double const s = (a + b + c) / 2.0;
    double const area = std::sqrt(std::max(0.0, s * (s - a) * (s - b) * (s - c)));
    if (!(area > 0.0))
    {
        return false;
    }
    value = (a * a + b * b - c * c) / (4.0 * area);
    return true;
}

} // namespace

float laplace_weight(TriMesh const& mesh, VertexHandle from, VertexHandle to, LaplaceWeight kind)
{
    switch (kind)
    {
    case LaplaceWeight::UNIFORM:
        return 1.0F;
    case LaplaceWeight::INVERSE_LENGTH:
        return inverse_length(mesh, from, to);
    case LaplaceWeight::COTANGENT:
        break;
    }
    double weight = 1.0;
    cotangent_weight(mesh, from, to, weight);
    return static_cast<float>(weight);
}

bool cotangent_weight(TriMesh const& mesh, VertexHandle v, VertexHandle u, double& weight)
{
    weight = 1.0;
    auto const h = mesh.find_halfedge(v, u);
    if (!h.is_valid())
    {
        log("  # error: fail to find target he [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const opposite = mesh.opposite_halfedge_handle(h);
    if (!mesh.face_handle(h).is_valid() || !mesh.face_handle(opposite).is_valid())
    {
        log("  # error: fail to find the face pair [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const left = vertex_beside(mesh, h);
    auto const right = vertex_beside(mesh, opposite);
    if (!left.is_valid() || !right.is_valid())
    {
        log("  # error: fail to find the third point pair [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto const point = [&](VertexHandle vertex) -> Vector3d
    { return mesh.point(vertex).cast<double>(); };
    double left_cotangent = 0.0;
    double right_cotangent = 0.0;
    if (!cotangent(point(left), point(v), point(u), left_cotangent) ||
        !cotangent(point(right), point(v), point(u), right_cotangent))
    {
        return false;
    }
    weight = left_cotangent + right_cotangent;
    return true;
}

} // namespace OrvaneAlgorithm::detail
