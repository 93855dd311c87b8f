#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <vector>

/// \file
/// Holes for comparison: a slow and plain search for them, and what every list of holes has to
/// fulfil.

namespace veld_test
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::TriMesh;
using Walk = std::vector<HalfedgeHandle>;

inline std::vector<int> indices(std::vector<VertexHandle> const& hole)
{
    std::vector<int> list;
    for (auto const v : hole)
    {
        list.push_back(v.idx());
    }
    return list;
}

inline std::vector<std::vector<int>> indices(Holes const& holes)
{
    std::vector<std::vector<int>> lists;
    for (auto const& hole : holes)
    {
        lists.push_back(indices(hole));
    }
    return lists;
}

/// All boundary walks, straight from the mesh, with its own skipping iterator.
inline std::vector<Walk> plain_walks(TriMesh const& mesh)
{
    std::set<HalfedgeHandle> visited;
    std::vector<Walk> walks;
    for (auto it = mesh.halfedges_sbegin(); it != mesh.halfedges_end(); ++it)
    {
        HalfedgeHandle const start = *it;
        if (!mesh.is_boundary(start) || visited.count(start) != 0)
        {
            continue;
        }
        Walk walk;
        HalfedgeHandle h = start;
        do
        {
            visited.insert(h);
            walk.push_back(h);
            h = mesh.next_halfedge_handle(h);
        } while (h != start);
        walks.push_back(walk);
    }
    return walks;
}

/// Splits a walk with a set of the vertices on the path and two deques kept in step.
inline std::vector<Walk> plain_split(TriMesh const& mesh, Walk const& walk)
{
    std::set<VertexHandle> on_path;
    std::deque<VertexHandle> vertices;
    std::deque<HalfedgeHandle> halfedges;
    std::vector<VertexHandle> path;
    std::vector<Walk> loops;
    for (auto const h : walk)
    {
        VertexHandle const v = mesh.from_vertex_handle(h);
        if (!on_path.insert(v).second)
        {
            Walk loop;
            auto const pop = [&]
            {
                loop.push_back(halfedges.back());
                halfedges.pop_back();
                vertices.pop_back();
                path.pop_back();
            };
            while (vertices.back() != v)
            {
                pop();
            }
            pop();
            std::reverse(loop.begin(), loop.end());
            loops.push_back(loop);
        }
        vertices.push_back(v);
        halfedges.push_back(h);
        path.push_back(v);
        on_path.clear();
        on_path.insert(path.begin(), path.end());
    }
    Walk last;
    for (; !halfedges.empty(); halfedges.pop_back())
    {
        last.push_back(halfedges.back());
    }
    std::reverse(last.begin(), last.end());
    loops.push_back(last);
    return loops;
}

/// All simple holes by the two functions above, as from-vertices.
inline Holes plain_holes(TriMesh const& mesh)
{
    Holes holes;
    for (auto const& walk : plain_walks(mesh))
    {
        for (auto const& loop : plain_split(mesh, walk))
        {
            std::vector<VertexHandle> hole;
            for (auto const h : loop)
            {
                hole.push_back(mesh.from_vertex_handle(h));
            }
            holes.push_back(hole);
        }
    }
    return holes;
}

/// Whether no vertex occurs twice in any hole.
inline bool all_simple(Holes const& holes)
{
    return std::all_of(
        holes.begin(), holes.end(),
        [](std::vector<VertexHandle> const& hole)
        { return std::set<VertexHandle>(hole.begin(), hole.end()).size() == hole.size(); });
}

/// The edges of the holes as pairs of vertex indices, sorted.
inline std::vector<std::pair<int, int>> edges_of(Holes const& holes)
{
    std::vector<std::pair<int, int>> edges;
    for (auto const& hole : holes)
    {
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            edges.emplace_back(hole[i].idx(), hole[(i + 1) % hole.size()].idx());
        }
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

/// The boundary halfedges of the mesh as pairs of vertex indices, sorted.
inline std::vector<std::pair<int, int>> boundary_edges(TriMesh const& mesh)
{
    std::vector<std::pair<int, int>> edges;
    for (auto const h : mesh.halfedges())
    {
        if (mesh.is_boundary(h))
        {
            edges.emplace_back(h.from().idx(), h.to().idx());
        }
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

/// Vertices and connected sets of a boundary whose edges are joined by the vertices they share.
struct BoundaryParts
{
    int vertices = 0;
    int sets = 0;
};

inline BoundaryParts boundary_parts(TriMesh const& mesh)
{
    std::map<int, int> parent;
    auto const root = [&](int v)
    {
        while (parent.at(v) != v)
        {
            v = parent.at(v) = parent.at(parent.at(v));
        }
        return v;
    };
    for (auto const& [a, b] : boundary_edges(mesh))
    {
        parent.emplace(a, a);
        parent.emplace(b, b);
        parent.at(root(a)) = root(b);
    }
    BoundaryParts parts;
    parts.vertices = static_cast<int>(parent.size());
    for (auto const& entry : parent)
    {
        parts.sets += entry.first == entry.second ? 1 : 0;
    }
    return parts;
}

/// Number of connected sets of boundary edges: each holds one loop or more.
inline int count_boundary_parts(TriMesh const& mesh)
{
    return boundary_parts(mesh).sets;
}

/// Number of simple loops of a boundary, counted without walking it: a connected set of E edges on
/// V vertices holds E - V + 1 loops as long as no two of its loops share more than one vertex, and
/// fewer otherwise.
inline int count_loops(TriMesh const& mesh)
{
    auto const parts = boundary_parts(mesh);
    return static_cast<int>(boundary_edges(mesh).size()) - parts.vertices + parts.sets;
}

/// Number of properties of all four kinds that the mesh carries.
inline int count_properties(TriMesh const& mesh)
{
    auto const alive = [](auto begin, auto end)
    { return std::count_if(begin, end, [](auto const* property) { return property != nullptr; }); };
    return static_cast<int>(alive(mesh.vprops_begin(), mesh.vprops_end()) +
                            alive(mesh.hprops_begin(), mesh.hprops_end()) +
                            alive(mesh.eprops_begin(), mesh.eprops_end()) +
                            alive(mesh.fprops_begin(), mesh.fprops_end()));
}

} // namespace veld_test
