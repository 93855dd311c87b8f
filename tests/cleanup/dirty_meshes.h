#pragma once

#include "tests/support/meshes.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <tuple>

/// \file
/// Meshes with dirt on them, and what has to be the same after cleaning.

namespace veld_test
{

/// Takes faces out of a mesh, with what they leave without a face.
inline void cut_faces(TriMesh& mesh, std::vector<int> const& faces)
{
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    for (int const f : faces)
    {
        mesh.delete_face(OpenMesh::FaceHandle(f), true);
    }
    mesh.garbage_collection();
    mesh.release_vertex_status();
    mesh.release_edge_status();
    mesh.release_face_status();
}

/// A sphere from which each face was taken with a given probability: pinched vertices, specks and
/// holes of all shapes.
inline TriMesh ragged_sphere(int level, unsigned seed, double cut)
{
    TriMesh mesh = sphere(level);
    std::mt19937 random(seed);
    std::vector<int> faces;
    for (int f = 0; f < static_cast<int>(mesh.n_faces()); ++f)
    {
        if (static_cast<double>(random()) < cut * 4294967296.0)
        {
            faces.push_back(f);
        }
    }
    cut_faces(mesh, faces);
    return mesh;
}

/// Adds another mesh; nothing is joined.
inline void append(TriMesh& mesh, TriMesh const& other, Vector3f const& shift)
{
    int const first = static_cast<int>(mesh.n_vertices());
    for (auto const v : other.vertices())
    {
        mesh.add_vertex(other.point(v) + shift);
    }
    for (auto const f : other.faces())
    {
        std::vector<OpenMesh::VertexHandle> corners;
        for (auto const v : f.vertices())
        {
            corners.push_back(vh(first + v.idx()));
        }
        mesh.add_face(corners);
    }
}

/// A row of triangles that share edges: `faces` faces.
inline TriMesh strip(int faces)
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (int i = 0; i < faces + 2; ++i)
    {
        points.emplace_back(static_cast<float>(i) * 0.5F, static_cast<float>(i % 2), 0.0F);
    }
    for (int i = 0; i < faces; ++i)
    {
        triangles.push_back(i % 2 == 0 ? Triangle{i, i + 2, i + 1} : Triangle{i, i + 1, i + 2});
    }
    return make_mesh(points, triangles);
}

/// A row of triangles each of which hangs on the one before by a single vertex.
inline TriMesh chain(int faces)
{
    std::vector<Vector3f> points{{0, 0, 0}};
    std::vector<Triangle> triangles;
    for (int i = 0; i < faces; ++i)
    {
        auto const x = static_cast<float>(i);
        points.emplace_back(x + 1.0F, 0.0F, 0.0F);
        points.emplace_back(x + 0.5F, 1.0F, 0.0F);
        triangles.push_back({2 * i - (i > 0 ? 1 : 0), 2 * i + 1, 2 * i + 2});
    }
    return make_mesh(points, triangles);
}

using PointKey = std::tuple<float, float, float>;

inline PointKey key(Vector3f const& p)
{
    return {p[0], p[1], p[2]};
}

/// Gives every vertex a normal and a colour that nothing but its number tells.
inline void mark_vertices(TriMesh& mesh)
{
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const v : mesh.vertices())
    {
        auto const i = static_cast<float>(v.idx());
        mesh.set_normal(v, Vector3f(i, -i, i + 0.5F));
        mesh.set_color(v, TriMesh::Color(i * 0.25F, i, 1.0F));
    }
}

/// Normals and colours by the position of their vertices; several may be at one place.
inline std::map<PointKey, std::set<std::pair<PointKey, PointKey>>> marks_of(TriMesh const& mesh)
{
    std::map<PointKey, std::set<std::pair<PointKey, PointKey>>> marks;
    for (auto const v : mesh.vertices())
    {
        marks[key(mesh.point(v))].insert({key(mesh.normal(v)), key(mesh.color(v))});
    }
    return marks;
}

/// Whether every vertex that is left has the normal and the colour that it had.
inline bool kept_its_marks(TriMesh const& before, TriMesh const& after)
{
    auto const old_marks = marks_of(before);
    auto const new_marks = marks_of(after);
    return std::all_of(new_marks.begin(), new_marks.end(),
                       [&](auto const& entry)
                       {
                           auto const found = old_marks.find(entry.first);
                           return found != old_marks.end() &&
                                  std::includes(found->second.begin(), found->second.end(),
                                                entry.second.begin(), entry.second.end());
                       });
}

/// The triangles of a mesh by the positions of their corners, sorted.
inline std::vector<std::vector<PointKey>> triangles_of(TriMesh const& mesh)
{
    std::vector<std::vector<PointKey>> triangles;
    for (auto const f : mesh.faces())
    {
        std::vector<PointKey> corners;
        for (auto const v : f.vertices())
        {
            corners.push_back(key(mesh.point(v)));
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        triangles.push_back(corners);
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

inline bool has_no_status(TriMesh const& mesh)
{
    return !mesh.has_vertex_status() && !mesh.has_halfedge_status() && !mesh.has_edge_status() &&
           !mesh.has_face_status();
}

} // namespace veld_test
