#include "algorithmVeld/hole_detection/FindHolesEx.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"
#include "algorithmVeld/hole_detection/loops/HoleCentres.h"

#include <limits>

namespace OrvaneAlgorithm
{

namespace
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

constexpr float INFINITE = std::numeric_limits<float>::infinity();

float distance_between(TriMesh const& mesh, VertexHandle v, Vector3f const& point)
{
    return (mesh.point(v) - point).norm();
}

/// Distance of the hole's nearest vertex; infinite if it has none that is valid.
float distance_to_hole(TriMesh const& mesh, std::vector<VertexHandle> const& hole,
                       Vector3f const& point)
{
    float nearest = INFINITE;
    for (auto const v : hole)
    {
        if (mesh.is_valid_handle(v))
        {
            float const distance = distance_between(mesh, v, point);
            nearest = distance < nearest ? distance : nearest;
        }
    }
    return nearest;
}

/// The hole with the vertex nearest to `point`, of equally near ones the first; null if no hole has
/// one. \param nearest its distance
std::vector<VertexHandle> const* nearest_hole(TriMesh const& mesh, Holes const& holes,
                                              Vector3f const& point, float& nearest)
{
    std::vector<VertexHandle> const* found = nullptr;
    nearest = INFINITE;
    detail::CancelPoll poll;
    for (auto const& hole : holes)
    {
        poll.next();
        float const distance = distance_to_hole(mesh, hole, point);
        if (distance < nearest)
        {
            nearest = distance;
            found = &hole;
        }
    }
    return found;
}

/// The boundary halfedge that leaves the nearest of some vertices, of equally near ones the first;
/// invalid if none lies on a boundary. All halfedges that leave a vertex are equally near, and the
/// one that the mesh keeps for it is the first of them and a boundary halfedge wherever it has one.
HalfedgeHandle nearest_boundary_halfedge(TriMesh const& mesh, std::vector<int> const& vertices,
                                         Vector3f const& point)
{
    HalfedgeHandle found;
    float nearest = INFINITE;
    for (int const i : vertices)
    {
        VertexHandle const v(i);
        auto const h = mesh.is_valid_handle(v) ? mesh.halfedge_handle(v) : HalfedgeHandle();
        if (mesh.is_valid_handle(h) && mesh.is_boundary(h) &&
            distance_between(mesh, v, point) < nearest)
        {
            nearest = distance_between(mesh, v, point);
            found = h;
        }
    }
    return found;
}

/// The sum of the hole's vertex normals, normalised; zero where they cancel out.
Vector3f hole_normal(TriMesh const& mesh, std::vector<VertexHandle> const& hole)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const v : hole)
    {
        sum += mesh.normal(v);
    }
    sum.normalize();
    return sum;
}

std::vector<Vector3f> hole_normals(TriMesh const& mesh, Holes const& holes)
{
    std::vector<Vector3f> normals(holes.size());
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(holes.size()),
                              [&](std::ptrdiff_t i)
                              {
                                  auto const k = static_cast<std::size_t>(i);
                                  normals[k] = hole_normal(mesh, holes[k]);
                              });
    return normals;
}

void log_marker_search(bool verbose, std::size_t n_markers, double hole_match_thr,
                       double marker_radius)
{
    detail::log_line(verbose, "find_marker_holes() ..\n");
    detail::log_line(verbose, "  input: vert num              %8d\n", static_cast<int>(n_markers));
    detail::log_line(verbose, "  param: hole_match_thr        %15.6f\n", hole_match_thr);
    detail::log_line(verbose, "  param: marker_radius         %15.6f\n", marker_radius);
}

} // namespace

RetVal FindHolesEx::find_holes(TriMesh& mesh, Holes& holes, bool verbose)
{
    detail::log_line(verbose, "find_holes() : all holes ..\n");
    detail::Stages stages({9, 1});
    stages.next();
    auto const walks = detail::boundary_walks_by_vertex(mesh);
    stages.next();
    holes = detail::split_into_simple_holes(mesh, walks);
    if (holes.empty())
    {
        detail::log_line(verbose, "  fail to find any holes.\n");
        return RET_INVALID_INPUT;
    }
    return RET_SUCCESS;
}

RetVal FindHolesEx::find_holes(TriMesh& mesh, double perimeter, Holes& holes, bool verbose)
{
    detail::log_line(verbose, "find_holes() : perimeter < %f\n", perimeter);
    Holes all;
    RetVal const result = find_holes(mesh, all, verbose);
    if (result != RET_SUCCESS)
    {
        return result;
    }
    holes.clear();
    detail::CancelPoll poll;
    for (auto& hole : all)
    {
        poll.next();
        if (perimeter > detail::perimeter(mesh, hole))
        {
            holes.push_back(std::move(hole));
        }
    }
    return RET_SUCCESS;
}

RetVal FindHolesEx::find_hole(TriMesh const& mesh, Vector3f const& point, Holes const& known_holes,
                              double distance, std::vector<VertexHandle>& hole, bool verbose)
{
    detail::log_line(verbose, "find_hole() with all holes info known.\n");
    if (known_holes.empty())
    {
        detail::log_line(verbose, "  !!!empty known holes.\n");
        return RET_INVALID_INPUT;
    }
    float nearest = INFINITE;
    auto const* const found = nearest_hole(mesh, known_holes, point, nearest);
    if (found == nullptr || !(distance > nearest))
    {
        hole.clear();
        return RET_FAILED;
    }
    hole = *found;
    return RET_SUCCESS;
}

RetVal FindHolesEx::find_hole(TriMesh const& mesh, Vector3f const& point, double distance,
                              std::vector<VertexHandle>& hole, bool verbose)
{
    detail::log_line(verbose, "find_hole() : dis from vert < %f ..\n", distance);
    KdTree3f tree;
    tree.set_sorted(false);
    tree.build_kdtree(detail::points_of(mesh));
    std::vector<int> hits;
    std::vector<float> sq_dists;
    if (tree.radius_search(point, static_cast<float>(distance), hits, sq_dists, 0) == 0)
    {
        hole.clear();
        detail::log_line(verbose, "  !!! wrong vert coord or distance threshold.\n");
        return RET_INVALID_INPUT;
    }
    auto const start = nearest_boundary_halfedge(mesh, hits, point);
    auto const walk = detail::boundary_walk(mesh, start);
    if (walk.empty())
    {
        detail::log_line(verbose, "  !!! fail to find halfedge satisfy the criteria.\n");
        return RET_FAILED;
    }
    // The walk passes the vertex that was found near, so one of its loops is near too.
    Holes const holes = detail::split_into_simple_holes(mesh, {detail::from_vertices(mesh, walk)});
    float nearest = INFINITE;
    auto const* const found = nearest_hole(mesh, holes, point, nearest);
    hole = *found;
    return RET_SUCCESS;
}

RetVal FindHolesEx::find_marker_holes(TriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                      std::vector<Vector3f> const& marker_normals,
                                      double hole_match_thr, double marker_radius, bool use_normals,
                                      double normal_dot_thr, Holes& holes, bool verbose)
{
    log_marker_search(verbose, marker_points.size(), hole_match_thr, marker_radius);
    if (use_normals && marker_points.size() != marker_normals.size())
    {
        detail::log_line(verbose, "  !!!error: unmatched vert and norm size.\n");
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({3, use_normals ? 5.0 : 0.0, 2});
    stages.next();
    // A hole longer than the marker's circle cannot be its.
    Holes candidates;
    RetVal const result = find_holes(mesh, marker_radius * 2.0 * detail::PI, candidates, verbose);
    if (result != RET_SUCCESS)
    {
        return result;
    }
    holes.clear();
    stages.next();
    std::vector<Vector3f> normals;
    if (use_normals)
    {
        detail::provide_normals(mesh);
        normals = hole_normals(mesh, candidates);
    }
    auto const agrees = [&](std::size_t marker, std::size_t hole)
    { return !use_normals || marker_normals[marker].dot(normals[hole]) > normal_dot_thr; };
    stages.next();
    auto const marked = detail::holes_near(mesh, candidates, marker_points, hole_match_thr, agrees);
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        if (marked[i])
        {
            holes.push_back(std::move(candidates[i]));
        }
    }
    if (holes.empty())
    {
        detail::log_line(verbose, "  fail to find corresponding markerss.\n");
        return RET_INVALID_INPUT;
    }
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
