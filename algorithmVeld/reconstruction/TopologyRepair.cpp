#include "algorithmVeld/reconstruction/TopologyRepair.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/MeshInfo.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/refused/FailedFaceRegion.h"
#include "algorithmVeld/reconstruction/repair/PlaneProjection.h"
#include "algorithmVeld/reconstruction/repair/ProjectiveFan.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm
{

namespace
{

using detail::FanPlan;
using OpenMesh::VertexHandle;

constexpr char const* REPAIR_STEP = "TopologyRepair::repair_mesh()";
constexpr char const* DELAUNAY_STEP = "Delaunay";
constexpr char const* ADD_FACE_STEP = "add_face";

/// Vertices that are planned before their faces are added. What is planned for a vertex that the
/// faces of those before it close is in vain; fewer vertices keep fewer threads at work.
constexpr std::size_t BLOCK = 1024;
/// Those that one thread plans with the same memory.
constexpr std::size_t SHARE = 16;

void report_size(TriMesh const& mesh)
{
    detail::log_and_print_line(true, "repairing ..\n");
    detail::log_and_print_line(true, detail::MESH_INFO_BEGIN);
    detail::print_counts(true, detail::MESH_INFO_TITLE, detail::count_elements(mesh));
    detail::log_and_print_line(true, detail::MESH_INFO_END);
}

/// Plans the fans of vertices in parallel.
/// \param make_fan gives a thread what it plans with
template <typename MakeFan>
std::vector<FanPlan> plan_fans(std::vector<VertexHandle> const& centres, MakeFan const& make_fan)
{
    std::vector<FanPlan> plans(centres.size());
    std::size_t const shares = (centres.size() + SHARE - 1) / SHARE;
    detail::for_each_index(shares,
                           [&](std::size_t share)
                           {
                               auto fan = make_fan();
                               std::size_t const begin = share * SHARE;
                               std::size_t const end = std::min(begin + SHARE, centres.size());
                               for (std::size_t i = begin; i < end; ++i)
                               {
                                   fan.plan(centres[i], plans[i]);
                               }
                           });
    return plans;
}

/// Adds the triangles of a fan in both orientations, of which the mesh takes those that it can: the
/// triangulation does not tell which side is up.
void add_fan(TriMesh& mesh, FanPlan const& plan)
{
    if (plan.found != plan.numbered)
    {
        detail::print_line("%4d tri-in-set\t%4d tri-in-vec\n", plan.found, plan.numbered);
    }
    if (plan.triangles.empty())
    {
        return;
    }
    detail::StepTimer const timer(ADD_FACE_STEP, DELAUNAY_STEP);
    for (auto const& [a, b, d] : plan.triangles)
    {
        detail::add_face_checked(mesh, a, b, d);
        detail::add_face_checked(mesh, a, d, b);
    }
}

} // namespace

bool TopologyRepair::repair_mesh(TriMesh& mesh)
{
    detail::StepTimer const timer(REPAIR_STEP);
    detail::Stages stages({1, 4, 8});
    stages.next();
    report_size(mesh);
    stages.next();
    collect_vertices(mesh);
    stages.next();
    return compute_projective_neighbours(mesh);
}

void TopologyRepair::collect_vertices(TriMesh const& mesh)
{
    mBoundaryVertices.clear();
    std::vector<Vector3f> points;
    std::vector<Vector3f> boundary_points;
    detail::LoopProgress progress(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        progress.next();
        if (detail::is_deleted(mesh, vertex))
        {
            continue;
        }
        points.push_back(mesh.point(vertex));
        if (mesh.is_boundary(vertex))
        {
            boundary_points.push_back(mesh.point(vertex));
            mBoundaryVertices.push_back(vertex);
        }
    }
    mVertexTree.build_kdtree(points);
    mBoundaryTree.build_kdtree(boundary_points);
}

bool TopologyRepair::compute_projective_neighbours(TriMesh& mesh)
{
    if (mBoundaryVertices.empty() || !is_boundary_of(mesh))
    {
        return true;
    }
    detail::Stages stages({1, 8});
    stages.next();
    if (!mesh.has_vertex_normals())
    {
        detail::provide_normals(mesh);
    }
    stages.next();
    // The vertices on the boundary now are among those at the beginning: faces only close it.
    detail::Progress progress(mBoundaryVertices.size());
    for (std::size_t begin = 0; begin < mBoundaryVertices.size(); begin += BLOCK)
    {
        std::size_t const end = std::min(begin + BLOCK, mBoundaryVertices.size());
        connect(mesh, begin, end);
        progress.advance(end - begin);
    }
    progress.finish();
    return true;
}

/// Whether the boundary that was collected consists of vertices of the mesh.
bool TopologyRepair::is_boundary_of(TriMesh const& mesh) const
{
    return std::all_of(mBoundaryVertices.begin(), mBoundaryVertices.end(),
                       [&](VertexHandle vertex) {
                           return mesh.is_valid_handle(vertex) && !detail::is_deleted(mesh, vertex);
                       });
}

/// Connects some of the boundary vertices. Plans read no faces, so all of them are made first; then
/// they are carried out in the order of the vertices, for those that are still on the boundary.
void TopologyRepair::connect(TriMesh& mesh, std::size_t begin, std::size_t end) const
{
    std::vector<VertexHandle> centres;
    for (std::size_t i = begin; i < end; ++i)
    {
        if (mesh.is_boundary(mBoundaryVertices[i]))
        {
            centres.push_back(mBoundaryVertices[i]);
        }
    }
    if (centres.empty())
    {
        return;
    }
    detail::StepTimer const timer(DELAUNAY_STEP, REPAIR_STEP);
    auto const plans =
        plan_fans(centres,
                  [&]
                  {
                      return detail::ProjectiveFan(mesh, mBoundaryTree, mBoundaryVertices,
                                                   {mSearchRadius, mNormalZThr});
                  });
    for (std::size_t i = 0; i < centres.size(); ++i)
    {
        if (mesh.is_boundary(centres[i]))
        {
            add_fan(mesh, plans[i]);
        }
    }
}

void TopologyRepair::compute_projective_point(Vector3f const& point, Vector3f const& normal,
                                              std::vector<Vector3f> const& points,
                                              std::vector<Vector3f> const& normals,
                                              std::vector<Vector3f>& projected,
                                              std::vector<float>& distances,
                                              std::vector<float>& cosines) const
{
    detail::project_onto_plane(point, normal, points, normals, {projected, distances, cosines});
}

void TopologyRepair::OutputNeighbourRegion(TriMesh const& mesh, VertexHandle const& va,
                                           VertexHandle const& vb,
                                           OpenMesh::PolyConnectivity::VertexIter const& vc,
                                           Vector3f const& pa, Vector3f const& pb, float radius,
                                           int level, bool with_failed_face) const
{
    detail::output_failed_face_region(mesh, {{va, vb, *vc}, pa, pb, radius, level}, mDebugSavePath,
                                      with_failed_face ? detail::FailedFaceIn::WRITTEN
                                                       : detail::FailedFaceIn::LEFT_OUT);
}

} // namespace OrvaneAlgorithm
