#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <set>
#include <vector>

/// \file
/// The removals written down step by step on OpenMesh's own iterators, properties and garbage
/// collection: slow, and to be compared with link by link.

namespace veld_test::reference
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

class Session
{
public:
    explicit Session(TriMesh& mesh) : mesh_(mesh)
    {
        mesh_.request_vertex_status();
        mesh_.request_face_status();
        mesh_.request_halfedge_status();
        mesh_.request_edge_status();
    }
    ~Session()
    {
        mesh_.garbage_collection(true, true, true);
        mesh_.release_vertex_status();
        mesh_.release_face_status();
        mesh_.release_halfedge_status();
        mesh_.release_edge_status();
    }
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

private:
    TriMesh& mesh_;
};

inline void by_face(TriMesh& mesh, int face_thr)
{
    Session const session(mesh);
    std::vector<int> patch(mesh.n_faces(), -1);
    std::vector<int> count;
    for (auto const first : mesh.all_faces())
    {
        if (patch[static_cast<std::size_t>(first.idx())] >= 0)
        {
            continue;
        }
        int const id = static_cast<int>(count.size());
        std::vector<FaceHandle> queue{first};
        patch[static_cast<std::size_t>(first.idx())] = id;
        for (std::size_t i = 0; i < queue.size(); ++i)
        {
            for (auto it = mesh.ff_iter(queue[i]); it.is_valid(); ++it)
            {
                if (patch[static_cast<std::size_t>(it->idx())] < 0)
                {
                    patch[static_cast<std::size_t>(it->idx())] = id;
                    queue.push_back(*it);
                }
            }
        }
        count.push_back(static_cast<int>(queue.size()));
    }
    for (auto const f : mesh.all_faces())
    {
        if (count[static_cast<std::size_t>(patch[static_cast<std::size_t>(f.idx())])] <= face_thr)
        {
            mesh.delete_face(f, true);
        }
    }
}

inline void by_vert(TriMesh& mesh, int vert_thr)
{
    Session const session(mesh);
    std::vector<int> patch(mesh.n_vertices(), -1);
    std::vector<int> count;
    for (auto const first : mesh.all_vertices())
    {
        if (patch[static_cast<std::size_t>(first.idx())] >= 0)
        {
            continue;
        }
        int const id = static_cast<int>(count.size());
        std::vector<VertexHandle> queue{first};
        patch[static_cast<std::size_t>(first.idx())] = id;
        for (std::size_t i = 0; i < queue.size(); ++i)
        {
            for (auto it = mesh.vv_iter(queue[i]); it.is_valid(); ++it)
            {
                if (patch[static_cast<std::size_t>(it->idx())] < 0)
                {
                    patch[static_cast<std::size_t>(it->idx())] = id;
                    queue.push_back(*it);
                }
            }
        }
        count.push_back(static_cast<int>(queue.size()));
    }
    for (auto const v : mesh.all_vertices())
    {
        if (count[static_cast<std::size_t>(patch[static_cast<std::size_t>(v.idx())])] <= vert_thr)
        {
            mesh.delete_vertex(v, true);
        }
    }
}

inline void strong_connection(TriMesh& mesh, int face_thr, int ring_num)
{
    Session const session(mesh);
    std::vector<int> layers(mesh.n_faces(), 0);
    auto const layer = [&](FaceHandle f) -> int&
    { return layers[static_cast<std::size_t>(f.idx())]; };
    std::vector<FaceHandle> list;
    for (FaceHandle const f : mesh.all_faces())
    {
        if (mesh.is_boundary(f, false))
        {
            list.push_back(f);
            layer(f) = 1;
        }
    }
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (layer(list[i]) >= ring_num)
        {
            continue;
        }
        for (auto it = mesh.ff_iter(list[i]); it.is_valid(); ++it)
        {
            if (layer(*it) == 0)
            {
                layer(*it) = layer(list[i]) + 1;
                list.push_back(*it);
            }
        }
    }
    std::vector<bool> visited(mesh.n_faces(), false);
    for (FaceHandle const first : mesh.all_faces())
    {
        if (visited[static_cast<std::size_t>(first.idx())] || layer(first) != 0)
        {
            continue;
        }
        std::vector<FaceHandle> queue{first};
        visited[static_cast<std::size_t>(first.idx())] = true;
        for (std::size_t i = 0; i < queue.size(); ++i)
        {
            for (auto it = mesh.ff_iter(queue[i]); it.is_valid(); ++it)
            {
                if (!visited[static_cast<std::size_t>(it->idx())] && layer(*it) == 0)
                {
                    visited[static_cast<std::size_t>(it->idx())] = true;
                    queue.push_back(*it);
                }
            }
        }
        if (static_cast<int>(queue.size()) < face_thr)
        {
            for (auto const f : queue)
            {
                mesh.delete_face(f, true);
            }
        }
    }
    list.clear();
    for (FaceHandle const f : mesh.all_faces())
    {
        if (layer(f) == 0 && !mesh.status(f).deleted())
        {
            list.push_back(f);
        }
    }
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (!(-layer(list[i]) < ring_num))
        {
            continue;
        }
        for (auto it = mesh.ff_iter(list[i]); it.is_valid(); ++it)
        {
            if (layer(*it) >= 1 && !mesh.status(*it).deleted())
            {
                layer(*it) = layer(list[i]) - 1;
                list.push_back(*it);
            }
        }
    }
    for (FaceHandle const f : mesh.all_faces())
    {
        if (layer(f) > 0 && !mesh.status(f).deleted())
        {
            mesh.delete_face(f, true);
        }
    }
}

inline void small_objects(TriMesh& mesh, int face_limit)
{
    by_face(mesh, face_limit);
    Session const session(mesh);
    for (auto const v : mesh.all_vertices())
    {
        if (mesh.is_isolated(v))
        {
            mesh.delete_vertex(v, false);
        }
    }
}

inline int gaps(TriMesh const& mesh, VertexHandle v)
{
    int n = 0;
    for (auto it = mesh.cvih_iter(v); it.is_valid(); ++it)
    {
        n += mesh.is_boundary(mesh.opposite_halfedge_handle(*it)) ? 1 : 0;
    }
    return n;
}

inline void non_manifold_verts(TriMesh& mesh)
{
    Session const session(mesh);
    std::vector<bool> queued(mesh.n_vertices(), false);
    std::vector<int> count;
    for (auto const v : mesh.all_vertices())
    {
        count.push_back(gaps(mesh, v));
    }
    std::vector<VertexHandle> work;
    auto const remove = [&](VertexHandle v)
    {
        for (auto it = mesh.vv_iter(v); it.is_valid(); ++it)
        {
            if (it->is_valid() && !queued[static_cast<std::size_t>(it->idx())])
            {
                work.push_back(*it);
                queued[static_cast<std::size_t>(it->idx())] = true;
            }
        }
        mesh.delete_vertex(v, true);
    };
    for (auto it = mesh.vertices_sbegin(); it != mesh.vertices_end(); ++it)
    {
        if (count[static_cast<std::size_t>(it->idx())] > 1)
        {
            remove(*it);
        }
    }
    for (std::size_t i = 0; i < work.size(); ++i)
    {
        auto const w = work[i];
        if (mesh.is_isolated(w))
        {
            mesh.delete_vertex(w, true);
        }
        else if (gaps(mesh, w) > 1)
        {
            remove(w);
        }
        else
        {
            queued[static_cast<std::size_t>(w.idx())] = false;
        }
    }
}

inline void delete_marked(TriMesh& mesh, std::vector<bool> const& marks)
{
    Session const session(mesh);
    for (FaceHandle const f : mesh.all_faces())
    {
        if (marks[static_cast<std::size_t>(f.idx())])
        {
            mesh.delete_face(f, false);
        }
    }
}

/// One boundary after the other; what a face was numbered for one of them is kept for the next.
inline void n_rings(TriMesh& mesh, int ring_num)
{
    std::vector<bool> visited(mesh.n_halfedges(), false);
    std::vector<bool> removed(mesh.n_faces(), false);
    std::vector<int> rings(mesh.n_faces(), 10000);
    auto const at = [](FaceHandle f) { return static_cast<std::size_t>(f.idx()); };
    for (OpenMesh::HalfedgeHandle const start : mesh.all_halfedges())
    {
        std::vector<FaceHandle> queue;
        std::set<int> queued;
        for (auto h = start; mesh.is_boundary(h) && !visited[static_cast<std::size_t>(h.idx())];
             h = mesh.next_halfedge_handle(h))
        {
            visited[static_cast<std::size_t>(h.idx())] = true;
            auto const f = mesh.face_handle(mesh.opposite_halfedge_handle(h));
            if (f.is_valid() && queued.insert(f.idx()).second)
            {
                queue.push_back(f);
                removed[at(f)] = true;
                rings[at(f)] = 0;
            }
        }
        for (std::size_t i = 0; i < queue.size(); ++i)
        {
            for (auto it = mesh.ff_iter(queue[i]); it.is_valid(); ++it)
            {
                if (rings[at(*it)] > rings[at(queue[i])] + 1)
                {
                    rings[at(*it)] = rings[at(queue[i])] + 1;
                }
                if (rings[at(*it)] <= ring_num && queued.insert(it->idx()).second)
                {
                    queue.push_back(*it);
                    removed[at(*it)] = true;
                }
            }
        }
    }
    delete_marked(mesh, removed);
}

/// The mesh has its normals.
inline void marker_pieces(TriMesh& mesh, std::vector<OrvaneAlgorithm::Vector3f> const& points,
                          std::vector<OrvaneAlgorithm::Vector3f> const& normals, float radius,
                          double normal_dot_thr)
{
    std::vector<bool> in_radius(mesh.n_faces(), false);
    std::vector<bool> removed(mesh.n_faces(), false);
    std::vector<int> pieces(mesh.n_faces(), -1);
    auto const at = [](FaceHandle f) { return static_cast<std::size_t>(f.idx()); };
    for (std::size_t m = 0; m < points.size(); ++m)
    {
        std::vector<FaceHandle> list;
        for (auto const v : mesh.vertices())
        {
            if ((mesh.point(v) - points[m]).squaredNorm() < radius * radius)
            {
                list.insert(list.end(), mesh.vf_begin(v), mesh.vf_end(v));
            }
        }
        for (auto const f : list)
        {
            in_radius[at(f)] = true;
        }
        int n_pieces = 0;
        for (auto const first : list)
        {
            if (pieces[at(first)] >= 0)
            {
                continue;
            }
            std::vector<FaceHandle> queue{first};
            pieces[at(first)] = n_pieces;
            OrvaneAlgorithm::Vector3f sum = mesh.normal(first);
            for (std::size_t i = 0; i < queue.size(); ++i)
            {
                for (auto it = mesh.ff_iter(queue[i]); it.is_valid(); ++it)
                {
                    if (in_radius[at(*it)] && pieces[at(*it)] < 0)
                    {
                        pieces[at(*it)] = n_pieces;
                        queue.push_back(*it);
                        sum += mesh.normal(*it);
                    }
                }
            }
            bool const goes =
                static_cast<double>(sum.normalized().dot(normals[m])) > normal_dot_thr;
            for (auto const f : queue)
            {
                removed[at(f)] = goes;
            }
            ++n_pieces;
        }
    }
    delete_marked(mesh, removed);
}

} // namespace veld_test::reference
