#include "workflow/repairing/CloudPlaces.h"

#include "workflow/clouds/DistinctPoints.h"
#include "workflow/repairing/RepairValues.h"

#include <algorithm>
#include <cstddef>

namespace veld
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

std::vector<VertexHandle> one_of_each_place(TriMesh const& cloud)
{
    auto const distinct = distinct_points({cloud.points(), cloud.points() + cloud.n_vertices()});
    auto const place_of = [&](VertexHandle vertex)
    { return distinct.places[static_cast<std::size_t>(vertex.idx())]; };
    std::vector<VertexHandle> taken(distinct.points.size());
    auto const take_where = [&](auto const& fits)
    {
        for (auto const vertex : cloud.vertices())
        {
            int const place = place_of(vertex);
            if (place != DistinctPoints::NO_PLACE && fits(vertex) &&
                !taken[static_cast<std::size_t>(place)].is_valid())
            {
                taken[static_cast<std::size_t>(place)] = vertex;
            }
        }
    };
    if (cloud.has_vertex_normals())
    {
        take_where([&](VertexHandle vertex) { return has_direction(cloud.normal(vertex)); });
    }
    take_where([](VertexHandle) { return true; });
    std::sort(taken.begin(), taken.end());
    return taken;
}

} // namespace veld
