#include "algorithmVeld/reconstruction/repair/ProjectiveFan.h"

#include "algorithmVeld/reconstruction/repair/PlaneProjection.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int FEWEST_NEIGHBOURS = 3; ///< With the centre, which is one of them.

} // namespace

void ProjectiveFan::plan(OpenMesh::VertexHandle centre, FanPlan& result)
{
    result = FanPlan();
    if (tree_.radius_search(mesh_.point(centre), settings_.radius, hits_, square_distances_, 0) <
        FEWEST_NEIGHBOURS)
    {
        return;
    }
    project(centre);
    if (!flatten())
    {
        return;
    }
    delaunay_triangulate(flat_, triangles_, sweep_points_, triples_);
    find_owners();
    take_triangles_of(centre, result);
}

/// Projects the neighbours onto the tangent plane, and turns that to lie across z unless it nearly
/// does.
void ProjectiveFan::project(OpenMesh::VertexHandle centre)
{
    points_.clear();
    normals_.clear();
    for (int const hit : hits_)
    {
        auto const vertex = border_[static_cast<std::size_t>(hit)];
        points_.push_back(mesh_.point(vertex));
        normals_.push_back(mesh_.normal(vertex));
    }
    Vector3f const normal = mesh_.normal(centre);
    project_onto_plane(mesh_.point(centre), normal, points_, normals_,
                       {projected_, plane_distances_, cosines_});
    if (normal.z() < settings_.normal_z_thr)
    {
        turn_onto_z(normal, projected_);
    }
}

/// Leaves z away. \return false if a projection is not finite, as from a normal of length 0, for
/// then there is no order to sweep in
bool ProjectiveFan::flatten()
{
    flat_.clear();
    for (auto const& point : projected_)
    {
        flat_.emplace_back(point.x(), point.y());
    }
    return std::all_of(flat_.begin(), flat_.end(),
                       [](Vector2f const& point) { return point.allFinite(); });
}

/// Of neighbours that fall on one point the last stands for all.
void ProjectiveFan::find_owners()
{
    owners_.assign(sweep_points_.size(), OpenMesh::VertexHandle());
    for (std::size_t i = 0; i < flat_.size() && !sweep_points_.empty(); ++i)
    {
        auto const point =
            std::lower_bound(sweep_points_.begin(), sweep_points_.end(), flat_[i], is_swept_before);
        owners_[static_cast<std::size_t>(point - sweep_points_.begin())] =
            border_[static_cast<std::size_t>(hits_[i])];
    }
}

void ProjectiveFan::take_triangles_of(OpenMesh::VertexHandle centre, FanPlan& result) const
{
    result.found = static_cast<int>(triangles_.size());
    result.numbered = static_cast<int>(triples_.size());
    for (auto const& triple : triples_)
    {
        std::array<OpenMesh::VertexHandle, 3> corners;
        std::transform(triple.begin(), triple.end(), corners.begin(),
                       [this](int point) { return owners_[static_cast<std::size_t>(point)]; });
        if (std::find(corners.begin(), corners.end(), centre) != corners.end())
        {
            result.triangles.push_back(corners);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
