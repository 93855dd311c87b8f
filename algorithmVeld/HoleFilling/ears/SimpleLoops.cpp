#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"

#include "algorithmVeld/common/mesh/AddFace.h"

#include <algorithm>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The boundary halfedge that comes in along the other side of the fan that one goes out along.
OpenMesh::HalfedgeHandle other_side_of_fan(TriMesh const& mesh, OpenMesh::HalfedgeHandle out)
{
    auto h = mesh.opposite_halfedge_handle(out);
    while (!mesh.is_boundary(h))
    {
        h = mesh.opposite_halfedge_handle(mesh.next_halfedge_handle(h));
    }
    return h;
}

} // namespace

std::vector<BoundaryLoop> simple_loops(TriMesh const& mesh, std::vector<BoundaryLoop> const& walks)
{
    Holes corners;
    for (auto walk : walks)
    {
        // Where the search begins decides about loops within loops.
        std::rotate(walk.begin(), std::min_element(walk.begin(), walk.end()), walk.end());
        corners.push_back(from_vertices(mesh, walk));
    }
    std::vector<BoundaryLoop> loops;
    for (auto const& hole : split_into_simple_holes(mesh, corners))
    {
        BoundaryLoop loop;
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            loop.push_back(halfedge_between(mesh, hole[i], hole[(i + 1) % hole.size()]));
        }
        // Only damaged links hide an edge that a walk has passed.
        if (std::all_of(loop.begin(), loop.end(), [](auto const h) { return h.is_valid(); }))
        {
            loops.push_back(std::move(loop));
        }
    }
    return loops;
}

bool goes_round_a_fan(TriMesh const& mesh, BoundaryLoop const& loop)
{
    for (std::size_t i = 0; i < loop.size(); ++i)
    {
        auto const in = loop[i];
        auto const out = loop[(i + 1) % loop.size()];
        if (mesh.next_halfedge_handle(in) != out && other_side_of_fan(mesh, out) == in)
        {
            return true;
        }
    }
    return false;
}

} // namespace OrvaneAlgorithm::detail
