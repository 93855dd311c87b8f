#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/arrays/IndexTable.h"
#include "algorithmVeld/common/mesh/MeetingOrder.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Loops = std::vector<std::vector<OpenMesh::HalfedgeHandle>>;
using Groups = std::vector<std::vector<std::size_t>>;

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

/// Whether what holes before have met can change what counts of a region.
///
/// It only makes rings and paths smaller, and never rings smaller than they really are. So a region
/// that no path has cut short has the faces within its rings either way, and no other hole has more
/// of them. And faces that were taken before any was kept out are taken in the same order.
bool is_open_to_others(GrownRegion const& region, RegionUse use)
{
    return !region.has_whole_rim || (region.is_cut_short && use == RegionUse::FACES);
}

/// Groups of holes. What the regions of one have met is nowhere near those of another, whatever the
/// order: not even limits without a length of the path bring them together.
Groups separate_groups(TriMesh const& mesh, Loops const& loops, RegionLimits const& limits,
                       std::vector<GrownRegion> const& regions)
{
    DisjointSets sets(loops.size());
    constexpr float NO_LIMIT = std::numeric_limits<float>::infinity();
    IndexTable numbers;
    std::vector<OpenMesh::FaceHandle> faces;
    std::vector<int> holes; // the first one that reaches each of them
    for (std::size_t i = 0; i < loops.size(); ++i)
    {
        int const hole = static_cast<int>(i);
        poll_cancel();
        GrownRegion const without_path =
            regions[i].is_cut_short ? RegionGrowth(mesh, {limits.rings, NO_LIMIT}).grow(loops[i])
                                    : GrownRegion();
        for (auto const face : regions[i].is_cut_short ? without_path.faces : regions[i].faces)
        {
            auto const number = static_cast<std::size_t>(numbers.add(face.idx()));
            if (number == faces.size())
            {
                faces.push_back(face);
                holes.push_back(hole);
            }
            sets.join(holes[number], hole);
        }
    }
    for (std::size_t number = 0; number < faces.size(); ++number)
    {
        for (auto const neighbour : mesh.ff_range(faces[number]))
        {
            int const other = numbers.find(neighbour.idx());
            if (other != IndexTable::NONE)
            {
                sets.join(holes[number], holes[static_cast<std::size_t>(other)]);
            }
        }
    }
    Groups groups(loops.size());
    for (std::size_t i = 0; i < loops.size(); ++i)
    {
        groups[static_cast<std::size_t>(sets.root(static_cast<int>(i)))].push_back(i);
    }
    return groups;
}

/// Grows the regions of a group anew, one behind the other.
void grow_in_order(TriMesh const& mesh, Loops const& loops, RegionLimits const& limits,
                   std::vector<std::size_t> const& group, std::vector<GrownRegion>& regions)
{
    RegionGrowth growth(mesh, limits);
    for (std::size_t const i : group)
    {
        poll_cancel();
        regions[i] = growth.grow(loops[i], regions[i].has_whole_rim ? RegionPart::OWN_OR_NEW
                                                                    : RegionPart::WHOLE);
    }
}

/// Grows each region by itself, and then those anew to which the others around them matter.
std::vector<GrownRegion> grow_all(TriMesh const& mesh, Loops const& loops,
                                  RegionLimits const& limits, RegionUse use)
{
    std::vector<GrownRegion> regions(loops.size());
    auto const is_open = [&](auto const& region) { return is_open_to_others(region, use); };
    Stages stages({4, 1});
    stages.next();
    parallel_for_uneven(static_cast<std::ptrdiff_t>(loops.size()),
                        [&](std::ptrdiff_t k)
                        {
                            auto const i = static_cast<std::size_t>(k);
                            regions[i] = RegionGrowth(mesh, limits).grow(loops[i]);
                        });
    stages.next();
    if (loops.size() > 1 && std::any_of(regions.begin(), regions.end(), is_open))
    {
        auto const groups = separate_groups(mesh, loops, limits, regions);
        parallel_for_uneven(static_cast<std::ptrdiff_t>(groups.size()),
                            [&](std::ptrdiff_t k)
                            {
                                auto const& group = groups[static_cast<std::size_t>(k)];
                                if (group.size() > 1 &&
                                    std::any_of(group.begin(), group.end(),
                                                [&](std::size_t i) { return is_open(regions[i]); }))
                                {
                                    grow_in_order(mesh, loops, limits, group, regions);
                                }
                            });
    }
    return regions;
}

} // namespace

std::vector<std::vector<OpenMesh::FaceHandle>> grow_regions(TriMesh& mesh, Loops const& loops,
                                                            RegionLimits const& limits,
                                                            OpenMesh::FPropHandleT<bool> in_region,
                                                            RegionUse use)
{
    std::vector<std::vector<OpenMesh::FaceHandle>> regions;
    for (auto& region : grow_all(mesh, loops, limits, use))
    {
        for (auto const face : region.faces)
        {
            mesh.property(in_region, face) = true;
        }
        regions.push_back(std::move(region.faces));
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
            for (OpenMesh::VertexHandle const vertex : mesh.fv_range(face))
            {
                meet(vertex, places, vertices);
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
