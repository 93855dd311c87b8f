#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int FAR_RING = 10000;
constexpr float FAR_LENGTH = 10000.0F;

Vector3f centroid_of(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const vertex : mesh.fv_range(face))
    {
        sum += mesh.point(vertex);
    }
    return sum / 3.0F;
}

float mean_edge_length(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    float sum = 0.0F;
    int edges = 0;
    for (auto const edge : mesh.ve_range(vertex))
    {
        sum += mesh.calc_edge_length(edge);
        ++edges;
    }
    return edges > 0 ? sum / static_cast<float>(edges) : 0.0F;
}

/// What the growth of one region leaves to the next. Its temporary properties are on the mesh while
/// it lives.
class RegionGrowth
{
public:
    RegionGrowth(TriMesh& mesh, RegionLimits const& limits);

    std::vector<OpenMesh::FaceHandle> grow(std::vector<OpenMesh::HalfedgeHandle> const& loop,
                                           OpenMesh::FPropHandleT<bool> in_region);

private:
    void visit_neighbours(OpenMesh::FaceHandle face, std::vector<OpenMesh::FaceHandle>& front);

    TriMesh& mesh_;
    RegionLimits limits_;
    ScopedProperty<OpenMesh::FPropHandleT<bool>> visited_;
    ScopedProperty<OpenMesh::FPropHandleT<int>> ring_;
    ScopedProperty<OpenMesh::FPropHandleT<float>> length_;
    ScopedProperty<OpenMesh::FPropHandleT<Vector3f>> centroid_;
};

RegionGrowth::RegionGrowth(TriMesh& mesh, RegionLimits const& limits)
    : mesh_(mesh),
      limits_(limits),
      visited_(mesh, "<fprop>"),
      ring_(mesh, "<fprop>"),
      length_(mesh, "<fprop>"),
      centroid_(mesh, "<fprop>")
{
    visited_.data().assign(mesh.n_faces(), false);
    ring_.data().assign(mesh.n_faces(), FAR_RING);
    length_.data().assign(mesh.n_faces(), FAR_LENGTH);
    auto& centroids = centroid_.data();
    parallel_for_even(static_cast<std::ptrdiff_t>(mesh.n_faces()),
                      [&](std::ptrdiff_t i)
                      {
                          OpenMesh::FaceHandle const face(static_cast<int>(i));
                          if (!is_deleted(mesh, face))
                          {
                              centroids[static_cast<std::size_t>(i)] = centroid_of(mesh, face);
                          }
                      });
}

std::vector<OpenMesh::FaceHandle>
RegionGrowth::grow(std::vector<OpenMesh::HalfedgeHandle> const& loop,
                   OpenMesh::FPropHandleT<bool> in_region)
{
    std::vector<OpenMesh::FaceHandle> front;
    for (auto const h : loop)
    {
        auto const face = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        if (face.is_valid() && !mesh_.property(visited_.handle(), face))
        {
            mesh_.property(visited_.handle(), face) = true;
            mesh_.property(ring_.handle(), face) = 0;
            mesh_.property(length_.handle(), face) = 0.0F;
            front.push_back(face);
        }
    }
    CancelPoll poll;
    for (std::size_t i = 0; i < front.size(); ++i)
    {
        poll.next();
        visit_neighbours(front[i], front);
    }
    for (auto const face : front)
    {
        mesh_.property(in_region, face) = true;
        mesh_.property(visited_.handle(), face) = false;
    }
    return front;
}

void RegionGrowth::visit_neighbours(OpenMesh::FaceHandle face,
                                    std::vector<OpenMesh::FaceHandle>& front)
{
    int const next_ring = mesh_.property(ring_.handle(), face) + 1;
    float const length = mesh_.property(length_.handle(), face);
    for (auto const h : mesh_.fh_range(face))
    {
        auto const other = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        if (!other.is_valid())
        {
            continue;
        }
        auto& ring = mesh_.property(ring_.handle(), other);
        auto& path = mesh_.property(length_.handle(), other);
        float const step =
            (mesh_.property(centroid_.handle(), face) - mesh_.property(centroid_.handle(), other))
                .norm();
        if (next_ring < ring)
        {
            ring = next_ring;
        }
        if (step + length < path)
        {
            path = step + length;
        }
        if (!mesh_.property(visited_.handle(), other) && ring < limits_.rings &&
            path < limits_.path)
        {
            mesh_.property(visited_.handle(), other) = true;
            front.push_back(other);
        }
    }
}

} // namespace

std::vector<std::vector<OpenMesh::FaceHandle>>
grow_regions(TriMesh& mesh, std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& loops,
             RegionLimits const& limits, OpenMesh::FPropHandleT<bool> in_region)
{
    RegionGrowth growth(mesh, limits);
    std::vector<std::vector<OpenMesh::FaceHandle>> regions;
    for (auto const& loop : loops)
    {
        poll_cancel();
        regions.push_back(growth.grow(loop, in_region));
    }
    return regions;
}

void mark_vertices(TriMesh& mesh, std::vector<std::vector<OpenMesh::FaceHandle>> const& regions,
                   OpenMesh::VPropHandleT<bool> on_region)
{
    for (auto const& region : regions)
    {
        for (auto const face : region)
        {
            for (auto const vertex : mesh.fv_range(face))
            {
                mesh.property(on_region, vertex) = true;
            }
        }
    }
}

void measure_edges(TriMesh& mesh, OpenMesh::VPropHandleT<float> edge_len)
{
    parallel_for_even(static_cast<std::ptrdiff_t>(mesh.n_vertices()),
                      [&](std::ptrdiff_t i)
                      {
                          OpenMesh::VertexHandle const vertex(static_cast<int>(i));
                          if (!is_deleted(mesh, vertex))
                          {
                              mesh.property(edge_len, vertex) = mean_edge_length(mesh, vertex);
                          }
                      });
}

} // namespace OrvaneAlgorithm::detail
