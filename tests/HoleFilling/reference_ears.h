#pragma once

#include "tests/support/ear_meshes.h"
#include "tests/support/reference_normals.h"

#include <list>

/// \file
/// The ear methods once more, as plainly as they can be written: a std::list, linear searches, the
/// mesh itself, one hole after the other. What the library gives has to be the same, to the bit.

namespace veld_test::reference
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

struct Settings
{
    bool node_num = false;
    bool edge_length = false;
    bool norm = false;
    int node_num_thr = 20;
    double edge_length_thr = 0.6;
    double norm_thr = 150.0;
};

struct Node
{
    VertexHandle cur, prev, next;
    float angle = 0.0F;
    float edge_len = 0.0F;
};

inline HalfedgeHandle halfedge_between(TriMesh const& mesh, VertexHandle from, VertexHandle to)
{
    for (auto it = mesh.cvoh_iter(from); it.is_valid(); ++it)
    {
        if (mesh.to_vertex_handle(*it) == to)
        {
            return *it;
        }
    }
    return HalfedgeHandle();
}

inline bool measure(TriMesh const& mesh, Node& node)
{
    Vector3f e1 = mesh.point(node.prev) - mesh.point(node.cur);
    Vector3f e2 = mesh.point(node.next) - mesh.point(node.cur);
    float const edge_len = (mesh.point(node.prev) - mesh.point(node.next)).norm();
    if (static_cast<double>(e1.norm()) < 1e-5 || static_cast<double>(e2.norm()) < 1e-5)
    {
        return false;
    }
    e1.normalize();
    e2.normalize();
    float product = e1.dot(e2);
    if (product > 1.0F)
    {
        product = 1.0F;
    }
    if (product < -1.0F)
    {
        product = -1.0F;
    }
    float const a = std::acos(product);
    Vector3f const c = e2.cross(e1);
    auto const side = halfedge_between(mesh, node.prev, node.cur);
    if (!side.is_valid())
    {
        return false;
    }
    auto const face = mesh.face_handle(mesh.opposite_halfedge_handle(side));
    if (!face.is_valid())
    {
        return false;
    }
    std::vector<Vector3f> q;
    for (auto it = mesh.cfh_iter(face); it.is_valid(); ++it)
    {
        q.push_back(mesh.point(mesh.from_vertex_handle(*it)));
    }
    if (q.size() != 3)
    {
        return false;
    }
    Vector3f u = q[0] - q[1];
    Vector3f w = q[2] - q[1];
    if (static_cast<double>(u.norm()) < 1e-5 || static_cast<double>(w.norm()) < 1e-5)
    {
        return false;
    }
    u.normalize();
    w.normalize();
    Vector3f const n = w.cross(u);
    node.angle = a;
    if (n.dot(c) < 0.0F)
    {
        node.angle = static_cast<float>(6.283185307179586 - static_cast<double>(a));
    }
    node.edge_len = edge_len;
    return true;
}

/// The mesh's own answer; it would end the process for corners that repeat.
inline bool add_face(TriMesh& mesh, VertexHandle a, VertexHandle b, VertexHandle c)
{
    if (a == b || b == c || c == a)
    {
        return false;
    }
    omerr().disable();
    bool const added = mesh.add_face(a, b, c).is_valid();
    omerr().enable();
    return added;
}

inline std::list<Node>::iterator smallest(std::list<Node>& nodes)
{
    auto best = nodes.end();
    for (auto it = nodes.begin(); it != nodes.end(); ++it)
    {
        bool const finite = std::isfinite(it->angle);
        if (best == nodes.end() || (finite && !(best->angle <= it->angle)))
        {
            best = it;
        }
    }
    return best;
}

inline std::list<Node>::iterator find(std::list<Node>& nodes, VertexHandle cur)
{
    auto it = nodes.begin();
    while (it != nodes.end() && it->cur != cur)
    {
        ++it;
    }
    return it;
}

inline bool has(Node const& ear, VertexHandle v)
{
    return v == ear.cur || v == ear.prev || v == ear.next;
}

inline int matches(Node const& node, Node const& ear)
{
    return (has(ear, node.cur) ? 1 : 0) + (has(ear, node.prev) ? 1 : 0) +
           (has(ear, node.next) ? 1 : 0);
}

/// \return false if the hole cannot go on
inline bool relink(TriMesh const& mesh, std::list<Node>& nodes, std::list<Node>::iterator ear)
{
    auto const prev = find(nodes, ear->prev);
    if (prev == nodes.end())
    {
        return false;
    }
    prev->next = ear->next;
    if (!measure(mesh, *prev))
    {
        return false;
    }
    auto const next = find(nodes, ear->next);
    if (next == nodes.end())
    {
        return false;
    }
    next->prev = ear->prev;
    if (!measure(mesh, *next))
    {
        return false;
    }
    nodes.erase(ear);
    return true;
}

inline bool close_sub_loop(TriMesh const& mesh, std::list<Node>& nodes, Node const ear)
{
    std::vector<std::list<Node>::iterator> keys;
    for (auto it = nodes.begin(); it != nodes.end(); ++it)
    {
        if (matches(*it, ear) >= 2)
        {
            keys.push_back(it);
        }
    }
    if (keys.size() == 3)
    {
        for (auto const key : keys)
        {
            nodes.erase(key);
        }
        return true;
    }
    if (keys.size() != 4)
    {
        return false;
    }
    auto predecessor = nodes.end();
    auto successor = nodes.end();
    std::vector<std::list<Node>::iterator> two;
    std::vector<std::list<Node>::iterator> three;
    for (auto const key : keys)
    {
        if (matches(*key, ear) == 3)
        {
            three.push_back(key);
            continue;
        }
        two.push_back(key);
        if (!has(ear, key->prev))
        {
            predecessor = key;
        }
        if (!has(ear, key->next))
        {
            successor = key;
        }
    }
    if (predecessor == nodes.end() || successor == nodes.end() ||
        predecessor->cur != successor->cur)
    {
        return false;
    }
    auto const prev = predecessor->prev;
    auto const next = successor->next;
    for (auto const key : three)
    {
        nodes.erase(key);
    }
    if (three.size() != 2)
    {
        return false;
    }
    nodes.erase(two[0]);
    two[1]->prev = prev;
    two[1]->next = next;
    return measure(mesh, *two[1]);
}

/// Ears without mercy: holes in the order of their lowest boundary halfedge, each on the mesh that
/// the ones before it left.
inline void trim_holes(TriMesh& mesh, Settings const& settings)
{
    auto const holes = loops_of(mesh);
    for (auto const& hole : holes)
    {
        if (settings.node_num && static_cast<int>(hole.size()) > settings.node_num_thr)
        {
            continue;
        }
        std::vector<VertexHandle> corners;
        for (auto const h : hole)
        {
            corners.push_back(mesh.from_vertex_handle(h));
        }
        std::list<Node> nodes;
        Node node;
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            node.cur = corners[i];
            node.prev = corners[(i + corners.size() - 1) % corners.size()];
            node.next = corners[(i + 1) % corners.size()];
            measure(mesh, node);
            nodes.push_back(node);
        }
        bool stop = false;
        while (nodes.size() > 3 && !stop)
        {
            auto const ear = smallest(nodes);
            bool const closure = halfedge_between(mesh, ear->next, ear->prev).is_valid();
            if (!std::isfinite(ear->angle) || static_cast<double>(ear->angle) > 6.283185307179586 ||
                (settings.edge_length &&
                 ear->edge_len > static_cast<float>(settings.edge_length_thr)) ||
                (settings.norm &&
                 !consistent(mesh, ear->prev, ear->cur, ear->next, settings.norm_thr)))
            {
                stop = true;
            }
            else if (!add_face(mesh, ear->prev, ear->cur, ear->next))
            {
                ear->angle += 6.2831855F;
            }
            else
            {
                stop = !(closure ? close_sub_loop(mesh, nodes, *ear) : relink(mesh, nodes, ear));
            }
        }
        if (nodes.size() == 3 && !stop)
        {
            add_face(mesh, nodes.front().prev, nodes.front().cur, nodes.front().next);
        }
    }
}

/// One scan with marks: each loop until it fails, what is left of it once more.
class Clipping
{
public:
    int partial_closures = 0;
    int full_closures = 0;
    int failed = 0;
    int succeeded = 0;

    void run(TriMesh& mesh, Settings const& settings)
    {
        settings_ = settings;
        for (int i = 0; i < static_cast<int>(mesh.n_halfedges()); ++i)
        {
            HalfedgeHandle const h(i);
            if (mesh.is_boundary(h) && visited_.count(i) == 0)
            {
                visited_.insert(i);
                walk(mesh, h);
            }
        }
    }

private:
    bool count(bool added)
    {
        ++(added ? succeeded : failed);
        return added;
    }

    void walk(TriMesh& mesh, HalfedgeHandle const start)
    {
        auto const first = mesh.from_vertex_handle(start);
        std::vector<VertexHandle> nodes{first, mesh.to_vertex_handle(start)};
        auto h = mesh.next_halfedge_handle(start);
        while (std::count(nodes.begin(), nodes.end(), mesh.to_vertex_handle(h)) == 0)
        {
            nodes.push_back(mesh.to_vertex_handle(h));
            visited_.insert(h.idx());
            h = mesh.next_halfedge_handle(h);
        }
        if (mesh.to_vertex_handle(h) != first)
        {
            ++partial_closures;
            nodes.resize(2);
            for (h = mesh.next_halfedge_handle(start); mesh.to_vertex_handle(h) != first;
                 h = mesh.next_halfedge_handle(h))
            {
                nodes.push_back(mesh.to_vertex_handle(h));
                visited_.insert(h.idx());
            }
            fill(mesh, nodes);
            return;
        }
        ++full_closures;
        if (nodes.size() == 3)
        {
            count(add_face(mesh, nodes[0], nodes[1], nodes[2]));
        }
        else if (nodes.size() > 3)
        {
            fill(mesh, nodes);
        }
    }

    void fill(TriMesh& mesh, std::vector<VertexHandle> const& corners)
    {
        auto const n = corners.size();
        if (settings_.node_num && static_cast<int>(n) > settings_.node_num_thr)
        {
            return;
        }
        std::list<Node> nodes;
        for (std::size_t i = 0; i < n; ++i)
        {
            Node node;
            node.cur = corners[i];
            node.prev = corners[(i + n - 1) % n];
            node.next = corners[(i + 1) % n];
            if (!measure(mesh, node))
            {
                return;
            }
            nodes.push_back(node);
        }
        while (nodes.size() >= 4)
        {
            auto const ear = smallest(nodes);
            if (!(ear->angle <= 3.1415927F))
            {
                return;
            }
            if (settings_.edge_length &&
                ear->edge_len > static_cast<float>(settings_.edge_length_thr))
            {
                mark_loop(mesh, ear->cur, ear->next);
                return;
            }
            bool const closure = halfedge_between(mesh, ear->next, ear->prev).is_valid();
            if (settings_.norm &&
                !consistent(mesh, ear->prev, ear->cur, ear->next,
                            static_cast<double>(static_cast<float>(settings_.norm_thr))))
            {
                return;
            }
            if (!count(add_face(mesh, ear->prev, ear->cur, ear->next)))
            {
                return;
            }
            if (!(closure ? close_sub_loop(mesh, nodes, *ear) : relink(mesh, nodes, ear)))
            {
                return;
            }
        }
        count(add_face(mesh, nodes.front().prev, nodes.front().cur, nodes.front().next));
    }

    void mark_loop(TriMesh const& mesh, VertexHandle from, VertexHandle to)
    {
        auto h = halfedge_between(mesh, from, to);
        if (!h.is_valid())
        {
            return;
        }
        visited_.insert(h.idx());
        for (h = mesh.next_halfedge_handle(h); mesh.to_vertex_handle(h) != to;
             h = mesh.next_halfedge_handle(h))
        {
            visited_.insert(h.idx());
        }
    }

    Settings settings_;
    std::set<int> visited_;
};

} // namespace veld_test::reference
