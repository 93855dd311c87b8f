#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

/// \file
/// Whole meshes for comparison: all links and coordinates as one list, and what can be said about
/// fans and components without walking round anything.

namespace veld_test
{

using OrvaneAlgorithm::TriMesh;

/// Every link of the mesh and every bit of its coordinates.
inline std::vector<int> fingerprint(TriMesh const& mesh)
{
    std::vector<int> result{static_cast<int>(mesh.n_vertices()), static_cast<int>(mesh.n_edges()),
                            static_cast<int>(mesh.n_faces())};
    for (int i = 0; i < static_cast<int>(mesh.n_halfedges()); ++i)
    {
        OpenMesh::HalfedgeHandle const h(i);
        result.push_back(mesh.next_halfedge_handle(h).idx());
        result.push_back(mesh.prev_halfedge_handle(h).idx());
        result.push_back(mesh.to_vertex_handle(h).idx());
        result.push_back(mesh.face_handle(h).idx());
    }
    for (int i = 0; i < static_cast<int>(mesh.n_vertices()); ++i)
    {
        result.push_back(mesh.halfedge_handle(OpenMesh::VertexHandle(i)).idx());
        int bits[3];
        std::memcpy(bits, mesh.point(OpenMesh::VertexHandle(i)).data(), sizeof bits);
        result.insert(result.end(), bits, bits + 3);
    }
    for (int i = 0; i < static_cast<int>(mesh.n_faces()); ++i)
    {
        result.push_back(mesh.halfedge_handle(OpenMesh::FaceHandle(i)).idx());
    }
    return result;
}

/// For each vertex the number of boundary halfedges that leave it, counted halfedge by halfedge.
inline std::vector<int> gaps_of(TriMesh const& mesh)
{
    std::vector<int> gaps(mesh.n_vertices(), 0);
    for (auto const h : mesh.halfedges())
    {
        if (!mesh.face_handle(h).is_valid())
        {
            ++gaps[static_cast<std::size_t>(mesh.from_vertex_handle(h).idx())];
        }
    }
    return gaps;
}

/// Number of vertices with more than one boundary gap.
inline int count_pinched(TriMesh const& mesh)
{
    int count = 0;
    for (int const gaps : gaps_of(mesh))
    {
        count += gaps > 1 ? 1 : 0;
    }
    return count;
}

/// The sizes of the components of the faces over shared edges, which are found as equal pairs of
/// corners: the half-edge structure is not asked.
inline std::vector<int> face_component_sizes(TriMesh const& mesh)
{
    std::vector<int> parent;
    std::map<std::pair<int, int>, int> face_at_edge;
    auto const root = [&](int f)
    {
        while (parent[static_cast<std::size_t>(f)] != f)
        {
            auto& up = parent[static_cast<std::size_t>(f)];
            up = parent[static_cast<std::size_t>(up)];
            f = up;
        }
        return f;
    };
    for (auto const f : mesh.faces())
    {
        int const face = static_cast<int>(parent.size());
        parent.push_back(face);
        std::vector<int> corners;
        for (auto const v : mesh.fv_range(f))
        {
            corners.push_back(v.idx());
        }
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            int const a = corners[i];
            int const b = corners[(i + 1) % corners.size()];
            auto const [entry, fresh] = face_at_edge.emplace(std::minmax({a, b}), face);
            if (!fresh)
            {
                int const r = root(entry->second);
                int const s = root(face);
                parent[static_cast<std::size_t>(std::max(r, s))] = std::min(r, s);
            }
        }
    }
    std::map<int, int> sizes;
    for (std::size_t f = 0; f < parent.size(); ++f)
    {
        ++sizes[root(static_cast<int>(f))];
    }
    std::vector<int> result;
    for (auto const& entry : sizes)
    {
        result.push_back(entry.second);
    }
    return result;
}

} // namespace veld_test
