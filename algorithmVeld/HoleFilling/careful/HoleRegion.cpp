#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"

#include "algorithmVeld/common/running/ParallelFor.h"

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

} // namespace

HoleRegionGrowth::HoleRegionGrowth(TriMesh& mesh)
    : mesh_(mesh),
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
HoleRegionGrowth::grow(std::vector<OpenMesh::HalfedgeHandle> const& loop, int max_ring,
                       float max_length, OpenMesh::FPropHandleT<bool> in_region)
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
    for (std::size_t i = 0; i < front.size(); ++i)
    {
        visit_neighbours(front[i], max_ring, max_length, front);
    }
    for (auto const face : front)
    {
        mesh_.property(in_region, face) = true;
        mesh_.property(visited_.handle(), face) = false;
    }
    return front;
}

void HoleRegionGrowth::visit_neighbours(OpenMesh::FaceHandle face, int max_ring, float max_length,
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
        if (!mesh_.property(visited_.handle(), other) && ring < max_ring && path < max_length)
        {
            mesh_.property(visited_.handle(), other) = true;
            front.push_back(other);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
