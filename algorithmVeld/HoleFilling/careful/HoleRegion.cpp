#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"

#include "algorithmVeld/common/arrays/IndexTable.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>

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

/// A face that some region has met. Its ring and its path stay for the regions behind.
struct MetFace
{
    int ring = FAR_RING;
    float path = FAR_LENGTH;
    bool is_taken = false; ///< By the region that grows.
    Vector3f centroid;
};

/// The growth of regions, one after the other.
class RegionGrowth
{
public:
    RegionGrowth(TriMesh const& mesh, RegionLimits const& limits) : mesh_(mesh), limits_(limits) {}

    std::vector<OpenMesh::FaceHandle> grow(std::vector<OpenMesh::HalfedgeHandle> const& loop);

private:
    MetFace& meet(OpenMesh::FaceHandle face);
    void visit_neighbours(OpenMesh::FaceHandle face, std::vector<OpenMesh::FaceHandle>& front);

    TriMesh const& mesh_;
    RegionLimits limits_;
    IndexTable numbers_;         ///< Of the faces that were met, by index.
    std::vector<MetFace> faces_; ///< By that number.
};

MetFace& RegionGrowth::meet(OpenMesh::FaceHandle face)
{
    auto const number = static_cast<std::size_t>(numbers_.add(face.idx()));
    if (number == faces_.size())
    {
        faces_.emplace_back();
        faces_.back().centroid = centroid_of(mesh_, face);
    }
    return faces_[number];
}

std::vector<OpenMesh::FaceHandle>
RegionGrowth::grow(std::vector<OpenMesh::HalfedgeHandle> const& loop)
{
    std::vector<OpenMesh::FaceHandle> front;
    for (auto const h : loop)
    {
        auto const face = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        if (face.is_valid() && !meet(face).is_taken)
        {
            auto& met = meet(face);
            met.is_taken = true;
            met.ring = 0;
            met.path = 0.0F;
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
        meet(face).is_taken = false;
    }
    return front;
}

void RegionGrowth::visit_neighbours(OpenMesh::FaceHandle face,
                                    std::vector<OpenMesh::FaceHandle>& front)
{
    MetFace const from = meet(face); // a copy: who is met next may move it
    for (auto const h : mesh_.fh_range(face))
    {
        auto const other = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
        if (!other.is_valid())
        {
            continue;
        }
        auto& met = meet(other);
        float const step = (from.centroid - met.centroid).norm();
        met.ring = std::min(met.ring, from.ring + 1);
        if (step + from.path < met.path)
        {
            met.path = step + from.path;
        }
        if (!met.is_taken && met.ring < limits_.rings && met.path < limits_.path)
        {
            met.is_taken = true;
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
        regions.push_back(growth.grow(loop));
        for (auto const face : regions.back())
        {
            mesh.property(in_region, face) = true;
        }
    }
    return regions;
}

std::vector<OpenMesh::VertexHandle>
vertices_of(TriMesh const& mesh, std::vector<std::vector<OpenMesh::FaceHandle>> const& regions)
{
    IndexTable places;
    std::vector<OpenMesh::VertexHandle> vertices;
    for (auto const& region : regions)
    {
        for (auto const face : region)
        {
            for (auto const vertex : mesh.fv_range(face))
            {
                if (static_cast<std::size_t>(places.add(vertex.idx())) == vertices.size())
                {
                    vertices.push_back(vertex);
                }
            }
        }
    }
    return vertices;
}

std::vector<OpenMesh::VertexHandle>
mark_vertices(TriMesh& mesh, std::vector<std::vector<OpenMesh::FaceHandle>> const& regions,
              OpenMesh::VPropHandleT<bool> on_region)
{
    std::vector<OpenMesh::VertexHandle> marked;
    for (auto const& region : regions)
    {
        for (auto const face : region)
        {
            for (auto const vertex : mesh.fv_range(face))
            {
                if (!mesh.property(on_region, vertex))
                {
                    mesh.property(on_region, vertex) = true;
                    marked.push_back(vertex);
                }
            }
        }
    }
    return marked;
}

void measure_edges(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& vertices,
                   OpenMesh::VPropHandleT<float> edge_len)
{
    parallel_for_even(static_cast<std::ptrdiff_t>(vertices.size()),
                      [&](std::ptrdiff_t i)
                      {
                          auto const vertex = vertices[static_cast<std::size_t>(i)];
                          mesh.property(edge_len, vertex) = mean_edge_length(mesh, vertex);
                      });
}

} // namespace OrvaneAlgorithm::detail
