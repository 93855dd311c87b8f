#include "algorithmVeld/hole_detection/loops/HoleCentres.h"

#include "algorithmVeld/common/running/ParallelFor.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Summed in `double`, so that holes of ten thousand edges far from the origin keep their centre.
Vector3f mean_position(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& vertices)
{
    Vector3d sum = Vector3d::Zero();
    for (auto const v : vertices)
    {
        sum += mesh.point(v).cast<double>();
    }
    return (sum / static_cast<double>(vertices.size())).cast<float>();
}

} // namespace

std::vector<Vector3f> hole_centres(TriMesh const& mesh, Holes const& holes)
{
    std::vector<Vector3f> centres(holes.size());
    parallel_for_even(static_cast<std::ptrdiff_t>(holes.size()),
                      [&](std::ptrdiff_t i)
                      {
                          auto const k = static_cast<std::size_t>(i);
                          centres[k] = mean_position(mesh, holes[k]);
                      });
    return centres;
}

} // namespace OrvaneAlgorithm::detail
