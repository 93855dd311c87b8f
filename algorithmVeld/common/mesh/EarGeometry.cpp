#include "algorithmVeld/common/mesh/EarGeometry.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/AddFace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr double SHORTEST_SIDE = 1e-5;
constexpr double SLIVER_SINE = 0.001;

/// The corners of a face, or nothing if it is missing or no triangle. A walk that does not end is
/// cut short.
std::optional<std::array<Vector3f, 3>> triangle_at(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    if (!face.is_valid())
    {
        return std::nullopt;
    }
    std::array<Vector3f, 3> corners;
    auto const first = mesh.halfedge_handle(face);
    auto h = first;
    for (auto& corner : corners)
    {
        corner = mesh.point(mesh.from_vertex_handle(h));
        h = mesh.next_halfedge_handle(h);
        if (h == first && &corner != &corners.back())
        {
            return std::nullopt;
        }
    }
    return h == first ? std::optional(corners) : std::nullopt;
}

} // namespace

Corner measure_corner(TriMesh const& mesh, OpenMesh::VertexHandle cur, OpenMesh::VertexHandle prev,
                      OpenMesh::VertexHandle next)
{
    if (!mesh.is_valid_handle(cur) || !mesh.is_valid_handle(prev) || !mesh.is_valid_handle(next))
    {
        return {CornerStatus::NO_HALFEDGE};
    }
    Vector3f e1 = mesh.point(prev) - mesh.point(cur);
    Vector3f e2 = mesh.point(next) - mesh.point(cur);
    if (e1.norm() < SHORTEST_SIDE || e2.norm() < SHORTEST_SIDE)
    {
        return {CornerStatus::SHORT_SIDE};
    }
    e1.normalize();
    e2.normalize();

    auto const side = halfedge_between(mesh, prev, cur);
    if (!side.is_valid())
    {
        return {CornerStatus::NO_HALFEDGE};
    }
    auto const face = triangle_at(mesh, mesh.face_handle(mesh.opposite_halfedge_handle(side)));
    if (!face)
    {
        return {CornerStatus::NOT_A_TRIANGLE};
    }
    auto const& [q0, q1, q2] = *face;
    Vector3f u = q0 - q1;
    Vector3f w = q2 - q1;
    if (u.norm() < SHORTEST_SIDE || w.norm() < SHORTEST_SIDE)
    {
        return {CornerStatus::SHORT_FACE_SIDE};
    }
    u.normalize();
    w.normalize();

    // Rounding can carry the product of two unit vectors past 1, where acos is no number.
    float const angle = std::acos(std::clamp(e1.dot(e2), -1.0F, 1.0F));
    bool const reflex = w.cross(u).dot(e2.cross(e1)) < 0.0F;
    return {CornerStatus::MEASURED, reflex ? static_cast<float>(2.0 * PI - angle) : angle,
            (mesh.point(prev) - mesh.point(next)).norm()};
}

std::string corner_message(CornerStatus status, char const* file, int line)
{
    char text[512] = "";
    switch (status)
    {
    case CornerStatus::MEASURED:
        break;
    case CornerStatus::SHORT_SIDE:
        format_line(text, "wrong edge length [%s (%d)]\n", file, line);
        break;
    case CornerStatus::NO_HALFEDGE:
        format_line(text, "unmatched halfedge [%s (%d)]\n", file, line);
        break;
    case CornerStatus::NOT_A_TRIANGLE:
        format_line(text, "unexpected ploygon [%s (%d)]\n", file, line);
        break;
    case CornerStatus::SHORT_FACE_SIDE:
        return "wrong edge length.\n";
    }
    return text;
}

float cosine_of_degrees(double degrees)
{
    return static_cast<float>(std::cos(radians(degrees)));
}

bool is_sliver(Vector3f const& e1, Vector3f const& e2, Vector3f const& normal)
{
    return e1.norm() * SLIVER_SINE * e2.norm() > normal.norm();
}

bool face_agrees(TriMesh const& mesh, OpenMesh::FaceHandle face, Vector3f const& normal,
                 float cos_thr)
{
    auto const corners = triangle_at(mesh, face);
    if (!corners)
    {
        return true;
    }
    auto const& [r2, r0, r1] = *corners; // in the order in which circulators give them
    Vector3f const m = (r1 - r0).cross(r2 - r0);
    return !(m.norm() * cos_thr > m.dot(normal));
}

bool faces_agree(TriMesh const& mesh, OpenMesh::VertexHandle vertex, Vector3f const& normal,
                 float cos_thr)
{
    auto const first = mesh.halfedge_handle(vertex);
    if (!first.is_valid())
    {
        return true;
    }
    auto out = first;
    do
    {
        if (!face_agrees(mesh, mesh.face_handle(out), normal, cos_thr))
        {
            return false;
        }
        out = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(out));
    } while (out != first);
    return true;
}

bool consistency_normal(TriMesh const& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                        OpenMesh::VertexHandle c, float cos_thr)
{
    if (!mesh.is_valid_handle(a) || !mesh.is_valid_handle(b) || !mesh.is_valid_handle(c))
    {
        return false;
    }
    Vector3f const e1 = mesh.point(b) - mesh.point(a);
    Vector3f const e2 = mesh.point(c) - mesh.point(a);
    Vector3f normal = e1.cross(e2);
    if (is_sliver(e1, e2, normal))
    {
        return false;
    }
    normal.normalize();
    return faces_agree(mesh, a, normal, cos_thr) && faces_agree(mesh, b, normal, cos_thr) &&
           faces_agree(mesh, c, normal, cos_thr);
}

} // namespace OrvaneAlgorithm::detail
