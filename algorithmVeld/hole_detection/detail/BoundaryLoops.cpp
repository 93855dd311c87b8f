#include "algorithmVeld/hole_detection/detail/BoundaryLoops.h"

#include "algorithmVeld/common/detail/MeshScope.h"
#include "algorithmVeld/common/detail/ParallelFor.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// Halfedges that one thread looks through at a time.
constexpr int RANGE = 1 << 17;

/// The boundary halfedges from index `begin` to before `end` that may start a walk, in order. The
/// one pass over the whole mesh: it reads nothing but the face of each halfedge.
BoundaryLoop boundary_in_range(TriMesh const& mesh, int begin, int end)
{
    bool const has_status = mesh.has_halfedge_status();
    BoundaryLoop found;
    for (int i = begin; i < end; ++i)
    {
        HalfedgeHandle const h(i);
        if (mesh.is_boundary(h) &&
            !(has_status && (mesh.status(h).deleted() || mesh.status(h).hidden())))
        {
            found.push_back(h);
        }
    }
    return found;
}

/// The boundary halfedges of the mesh, in one list for each range of indices.
std::vector<BoundaryLoop> boundary_by_range(TriMesh const& mesh)
{
    int const n = static_cast<int>(mesh.n_halfedges());
    std::vector<BoundaryLoop> found(static_cast<std::size_t>((n + RANGE - 1) / RANGE));
    parallel_for_even(static_cast<std::ptrdiff_t>(found.size()),
                      [&](std::ptrdiff_t i)
                      {
                          int const begin = static_cast<int>(i) * RANGE;
                          found[static_cast<std::size_t>(i)] =
                              boundary_in_range(mesh, begin, std::min(n - begin, RANGE) + begin);
                      });
    return found;
}

/// Whether a walk can pass the halfedge: damaged links point at nothing.
bool is_passable(TriMesh const& mesh, HalfedgeHandle h)
{
    return mesh.is_valid_handle(h) && mesh.is_valid_handle(mesh.from_vertex_handle(h)) &&
           mesh.is_valid_handle(mesh.to_vertex_handle(h));
}

/// Follows the boundary from `start` into `walk` and marks what it passes. A marked halfedge that
/// is not the start is met on damaged links only, so no halfedge is passed twice.
/// \return whether the walk came back to its start
bool walk_and_mark(TriMesh const& mesh, HalfedgeHandle start, std::vector<bool>& visited,
                   BoundaryLoop& walk)
{
    walk.clear();
    auto h = start;
    do
    {
        if (!is_passable(mesh, h) || visited[static_cast<std::size_t>(h.idx())])
        {
            return false;
        }
        visited[static_cast<std::size_t>(h.idx())] = true;
        walk.push_back(h);
        h = mesh.next_halfedge_handle(h);
    } while (h != start);
    return true;
}

} // namespace

std::vector<BoundaryLoop> boundary_walks(TriMesh& mesh)
{
    ScopedProperty<OpenMesh::HPropHandleT<bool>> mark(mesh, "<hprop>");
    std::vector<bool>& visited = mark.data();
    std::vector<BoundaryLoop> walks;
    BoundaryLoop walk;
    for (auto const& range : boundary_by_range(mesh))
    {
        for (auto const h : range)
        {
            if (!visited[static_cast<std::size_t>(h.idx())] &&
                walk_and_mark(mesh, h, visited, walk))
            {
                walks.push_back(walk);
            }
        }
    }
    return walks;
}

BoundaryLoop boundary_walk(TriMesh const& mesh, HalfedgeHandle start)
{
    BoundaryLoop walk;
    auto h = start;
    do
    {
        if (!is_passable(mesh, h) || walk.size() >= mesh.n_halfedges())
        {
            return {};
        }
        walk.push_back(h);
        h = mesh.next_halfedge_handle(h);
    } while (h != start);
    return walk;
}

void WalkSplitter::split(BoundaryLoop const& walk, std::vector<BoundaryLoop>& loops)
{
    auto const start_of = [this](HalfedgeHandle h)
    { return static_cast<std::size_t>(mesh_.from_vertex_handle(h).idx()); };
    BoundaryLoop path;
    path.reserve(walk.size());
    for (auto const h : walk)
    {
        auto const v = start_of(h);
        if (on_path_[v])
        {
            auto first = path.end();
            do
            {
                on_path_[start_of(*--first)] = false;
            } while (start_of(*first) != v);
            loops.emplace_back(first, path.end());
            path.erase(first, path.end());
        }
        on_path_[v] = true;
        path.push_back(h);
    }
    for (auto const h : path)
    {
        on_path_[start_of(h)] = false;
    }
    loops.push_back(std::move(path));
}

std::vector<VertexHandle> from_vertices(TriMesh const& mesh, BoundaryLoop const& loop)
{
    std::vector<VertexHandle> vertices(loop.size());
    std::transform(loop.begin(), loop.end(), vertices.begin(),
                   [&](HalfedgeHandle h) { return mesh.from_vertex_handle(h); });
    return vertices;
}

std::vector<VertexHandle> to_vertices(TriMesh const& mesh, BoundaryLoop const& loop)
{
    std::vector<VertexHandle> vertices(loop.size());
    std::transform(loop.begin(), loop.end(), vertices.begin(),
                   [&](HalfedgeHandle h) { return mesh.to_vertex_handle(h); });
    return vertices;
}

Holes split_into_holes(TriMesh const& mesh, std::vector<BoundaryLoop> const& walks)
{
    std::vector<BoundaryLoop> loops;
    loops.reserve(walks.size());
    WalkSplitter splitter(mesh);
    for (auto const& walk : walks)
    {
        splitter.split(walk, loops);
    }
    Holes holes;
    holes.reserve(loops.size());
    for (auto const& loop : loops)
    {
        holes.push_back(from_vertices(mesh, loop));
    }
    return holes;
}

double perimeter(TriMesh const& mesh, std::vector<VertexHandle> const& hole)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        auto const next = hole[i + 1 < hole.size() ? i + 1 : 0];
        sum += (mesh.point(next) - mesh.point(hole[i])).norm();
    }
    return sum;
}

} // namespace OrvaneAlgorithm::detail
