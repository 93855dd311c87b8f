#include "algorithmVeld/reconstruction/outliers/PlaneOutliers.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/geometry/LocalFrame.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::VertexHandle;

constexpr double SHORTEST_NORMAL = 1e-5; ///< Squared.

/// Looks for outliers around one centre after the other.
class OutlierSearch
{
public:
    OutlierSearch(TriMesh& mesh, OutlierSettings const& settings)
        : mesh_(mesh), settings_(settings), distances_(mesh.n_vertices())
    {
        tree_.set_sorted(false);
        tree_.build_kdtree(points_of(mesh));
    }

    /// \return how many were deleted
    int delete_around(VertexHandle centre, OutlierNotice const& notice)
    {
        float const radius = search_radius(mesh_, centre, settings_.start_radius);
        tree_.radius_search(mesh_.point(centre), radius, hits_, square_distances_, 0);
        if (hits_.empty())
        {
            return 0;
        }
        Vector3f const normal = fit_plane(centre);
        if (static_cast<double>(normal.squaredNorm()) < SHORTEST_NORMAL)
        {
            if (gPH.log_enabled)
            {
                print_line("[%s (%d)] ", __FILE__, __LINE__);
                print_line("wrong fitted plane. \n");
            }
            return 0;
        }
        int count = 0;
        float const sum = measure(centre, normal, count);
        return count == 0
                   ? 0
                   : delete_beyond(sum / static_cast<float>(count) * settings_.outlier_factor,
                                   centre, notice);
    }

private:
    bool is_border_neighbour(VertexHandle vertex, VertexHandle centre) const
    {
        return vertex != centre && mesh_.is_boundary(vertex);
    }

    /// The normal of the plane through the centre that its surroundings are nearest to.
    Vector3f fit_plane(VertexHandle centre)
    {
        points_.clear();
        for (int const hit : hits_)
        {
            points_.push_back(mesh_.point(VertexHandle(hit)));
        }
        return compute_lrf(points_, mesh_.normal(centre)).col(2);
    }

    /// Notes the squared distances of the border vertices around from the plane. \return their sum
    float measure(VertexHandle centre, Vector3f const& normal, int& count)
    {
        float const d = -normal.dot(mesh_.point(centre));
        float const square_length = normal.dot(normal);
        float sum = 0.0F;
        for (int const hit : hits_)
        {
            VertexHandle const vertex(hit);
            if (is_border_neighbour(vertex, centre))
            {
                float const e = normal.dot(mesh_.point(vertex)) + d;
                float const distance = e * e / square_length;
                distances_[static_cast<std::size_t>(hit)] = distance;
                sum += distance;
                ++count;
            }
        }
        return sum;
    }

    int delete_beyond(float limit, VertexHandle centre, OutlierNotice const& notice)
    {
        int deleted = 0;
        for (int const hit : hits_)
        {
            VertexHandle const vertex(hit);
            if (!is_deleted(mesh_, vertex) && is_border_neighbour(vertex, centre) &&
                mesh_.is_isolated(vertex) && distances_[static_cast<std::size_t>(hit)] > limit)
            {
                notice(vertex);
                delete_vertex_checked(mesh_, vertex, IsolatedVertices::KEPT);
                ++deleted;
            }
        }
        return deleted;
    }

    TriMesh& mesh_;
    OutlierSettings settings_;
    KdTree3f tree_;
    std::vector<float> distances_; // By vertex; those around the centre in work count.

    // What follows belongs to the centre in work; the memory is used again.
    std::vector<int> hits_;
    std::vector<float> square_distances_;
    std::vector<Vector3f> points_;
};

} // namespace

int delete_plane_outliers(TriMesh& mesh, OutlierSettings const& settings,
                          OutlierNotice const& notice)
{
    Stages stages({1, 4});
    stages.next();
    OutlierSearch search(mesh, settings);
    stages.next();
    int deleted = 0;
    LoopProgress progress(mesh.n_vertices());
    for (auto const vertex : mesh.all_vertices())
    {
        progress.next();
        if (!is_deleted(mesh, vertex) && mesh.is_boundary(vertex))
        {
            deleted += search.delete_around(vertex, notice);
        }
    }
    return deleted;
}

} // namespace OrvaneAlgorithm::detail
