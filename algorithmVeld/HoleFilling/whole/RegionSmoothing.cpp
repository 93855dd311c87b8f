#include "algorithmVeld/HoleFilling/whole/RegionSmoothing.h"

#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::VertexHandle;

/// The vertices of all regions, in the order of their numbers.
std::vector<VertexHandle> sorted_vertices(TriMesh const& mesh, Regions const& regions)
{
    auto vertices = vertices_of(mesh, regions);
    std::sort(vertices.begin(), vertices.end());
    return vertices;
}

Vector3f mean_of_neighbours(TriMesh const& mesh, VertexHandle vertex)
{
    Vector3f sum = Vector3f::Zero();
    int n = 0;
    for (auto const neighbour : mesh.vv_range(vertex))
    {
        sum += mesh.point(neighbour);
        ++n;
    }
    return sum / static_cast<float>(n);
}

} // namespace

void smooth_one_by_one(TriMesh& mesh, Regions const& regions)
{
    auto const vertices = sorted_vertices(mesh, regions);
    LoopProgress progress(vertices.size());
    for (auto const vertex : vertices)
    {
        progress.next();
        mesh.set_point(vertex, mean_of_neighbours(mesh, vertex));
    }
}

void smooth_at_once(TriMesh& mesh, Regions const& regions, unsigned int passes)
{
    auto const vertices = sorted_vertices(mesh, regions);
    std::vector<Vector3f> points(vertices.size());
    for (unsigned int pass = 0; pass < passes; ++pass)
    {
        ProgressPart const part(pass / static_cast<double>(passes),
                                (pass + 1) / static_cast<double>(passes));
        parallel_for_even(static_cast<std::ptrdiff_t>(vertices.size()),
                          [&](std::ptrdiff_t i)
                          {
                              auto const k = static_cast<std::size_t>(i);
                              points[k] = mean_of_neighbours(mesh, vertices[k]);
                          });
        for (std::size_t k = 0; k < vertices.size(); ++k)
        {
            mesh.set_point(vertices[k], points[k]);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
