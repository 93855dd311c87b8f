#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/reconstruction/repair/SweepDelaunay.h"

#include <array>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Which vertices are connected around a centre, and in which plane.
struct ProjectionSettings
{
    float radius = 0.0F;       ///< How far vertices may be from the centre.
    float normal_z_thr = 0.0F; ///< Planes whose normals have a smaller z are turned.
};

/// The triangles around one vertex, the centre, as the mesh may or may not take them.
struct FanPlan
{
    std::vector<std::array<OpenMesh::VertexHandle, 3>> triangles; ///< With the centre as a corner.
    int found = 0;    ///< Triangles of the whole neighbourhood.
    int numbered = 0; ///< Those whose corners are all points of it; the same number.
};

/// Connects the border vertices near a border vertex by a Delaunay triangulation of their
/// projections onto its tangent plane. Reads positions and normals only, no faces: so a plan holds
/// whatever is added to the mesh, and objects of different threads may plan at the same time.
class ProjectiveFan
{
public:
    /// \param tree over the border vertices, sorted
    /// \param border these vertices by their places in the tree; all of them on the mesh, which has
    ///        vertex normals
    ProjectiveFan(TriMesh const& mesh, KdTree3f const& tree,
                  std::vector<OpenMesh::VertexHandle> const& border,
                  ProjectionSettings const& settings)
        : mesh_(mesh), tree_(tree), border_(border), settings_(settings)
    {
    }

    /// The plan of a vertex. There are no triangles if fewer than three vertices are near, or if
    /// the normal gives no plane.
    void plan(OpenMesh::VertexHandle centre, FanPlan& result);

private:
    void project(OpenMesh::VertexHandle centre);
    bool flatten();
    void find_owners();
    void take_triangles_of(OpenMesh::VertexHandle centre, FanPlan& result) const;

    TriMesh const& mesh_;
    KdTree3f const& tree_;
    std::vector<OpenMesh::VertexHandle> const& border_;
    ProjectionSettings settings_;

    // What follows belongs to the centre in work; the memory is used again.
    std::vector<int> hits_; // Nearest first.
    std::vector<float> square_distances_;
    std::vector<Vector3f> points_; // By hit, as the following ones.
    std::vector<Vector3f> normals_;
    std::vector<Vector3f> projected_;
    std::vector<float> plane_distances_;
    std::vector<float> cosines_;
    std::vector<Vector2f> flat_;
    std::vector<DelaunayTriangle> triangles_;
    std::vector<Vector2f> sweep_points_;
    std::vector<std::array<int, 3>> triples_;    // Of points of the sweep.
    std::vector<OpenMesh::VertexHandle> owners_; // By point of the sweep.
};

} // namespace OrvaneAlgorithm::detail
