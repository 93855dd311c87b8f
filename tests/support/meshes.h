#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/geometry/angles.h"

#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

/// \file
/// Small meshes made by code. All are oriented so that normals point up (+z) or outwards.

namespace veld_test
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;
using Triangle = std::array<int, 3>;
using Cell = std::pair<int, int>;

inline OpenMesh::VertexHandle vh(int i)
{
    return OpenMesh::VertexHandle(i);
}

/// A mesh from points and triangles; a triangle that the mesh refuses is an error of the test.
inline TriMesh make_mesh(std::vector<Vector3f> const& points,
                         std::vector<Triangle> const& triangles)
{
    TriMesh mesh;
    for (auto const& p : points)
    {
        mesh.add_vertex(p);
    }
    for (auto const& t : triangles)
    {
        if (!mesh.add_face(vh(t[0]), vh(t[1]), vh(t[2])).is_valid())
        {
            throw std::logic_error("a test mesh does not hold together");
        }
    }
    return mesh;
}

/// An edge without faces between two new vertices: a boundary of two halfedges.
inline void add_lone_edge(TriMesh& mesh, Vector3f const& from, Vector3f const& to)
{
    auto const a = mesh.add_vertex(from);
    auto const b = mesh.add_vertex(to);
    auto const h = mesh.new_edge(a, b);
    auto const back = mesh.opposite_halfedge_handle(h);
    mesh.set_next_halfedge_handle(h, back);
    mesh.set_next_halfedge_handle(back, h);
    mesh.set_halfedge_handle(a, h);
    mesh.set_halfedge_handle(b, back);
}

/// One triangle.
inline TriMesh lone_triangle()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
}

/// The four faces of a tetrahedron: closed.
inline TriMesh tetrahedron()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                     {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}});
}

/// A fan of `n` triangles around an apex of the given height: a boundary of `n` edges on the unit
/// circle. Vertex 0 is the apex.
inline TriMesh open_cone(int n, float height = 1.0F)
{
    std::vector<Vector3f> points{{0, 0, height}};
    std::vector<Triangle> triangles;
    for (int i = 0; i < n; ++i)
    {
        double const angle = 2.0 * OrvaneAlgorithm::detail::PI * i / n;
        points.emplace_back(static_cast<float>(std::cos(angle)),
                            static_cast<float>(std::sin(angle)), 0.0F);
        triangles.push_back({0, 1 + i, 1 + (i + 1) % n});
    }
    return make_mesh(points, triangles);
}

/// A flat grid of `columns` x `rows` unit cells, two triangles each, without the cells that are
/// named as (column, row). Vertex (x, y) has the index y * (columns + 1) + x; vertices that no face
/// uses are there too.
inline TriMesh grid_without(int columns, int rows, std::vector<Cell> const& missing)
{
    std::vector<Vector3f> points;
    for (int y = 0; y <= rows; ++y)
    {
        for (int x = 0; x <= columns; ++x)
        {
            points.emplace_back(static_cast<float>(x), static_cast<float>(y), 0.0F);
        }
    }
    std::vector<Triangle> triangles;
    for (int y = 0; y < rows; ++y)
    {
        for (int x = 0; x < columns; ++x)
        {
            bool skip = false;
            for (auto const& cell : missing)
            {
                skip = skip || cell == Cell(x, y);
            }
            int const a = y * (columns + 1) + x;
            int const d = a + columns + 1;
            if (!skip)
            {
                triangles.push_back({a, a + 1, d + 1});
                triangles.push_back({a, d + 1, d});
            }
        }
    }
    return make_mesh(points, triangles);
}

/// A flat grid of unit cells without a hole.
inline TriMesh grid(int columns, int rows)
{
    return grid_without(columns, rows, {});
}

/// A grid with a square hole of `4 * n` edges in its middle, one ring of cells wide around it.
inline TriMesh grid_with_hole(int n)
{
    std::vector<Cell> missing;
    for (int y = 1; y <= n; ++y)
    {
        for (int x = 1; x <= n; ++x)
        {
            missing.emplace_back(x, y);
        }
    }
    return grid_without(n + 2, n + 2, missing);
}

/// A sheet with a hole of four edges and two of 24, the second around (31, 31).
inline TriMesh sheet_with_three_holes()
{
    std::vector<Cell> missing{{10, 30}};
    for (int y = 0; y < 6; ++y)
    {
        for (int x = 0; x < 6; ++x)
        {
            missing.emplace_back(8 + x, 8 + y);
            missing.emplace_back(28 + x, 28 + y);
        }
    }
    return grid_without(40, 40, missing);
}

/// A grid with two square holes that touch at one vertex.
inline TriMesh pinched_pair()
{
    return grid_without(4, 4, {{1, 1}, {2, 2}});
}

/// Two triangles that share one vertex only: the boundary touches itself there.
inline TriMesh bow_tie()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}},
                     {{0, 1, 2}, {0, 3, 4}});
}

/// The same, where the loops, the boundary and the five vertices have different means.
/// Loops: 0 4 3 around (-4, -2, 0) and 1 0 2 around (2, 1, 0).
inline TriMesh lopsided_bow_tie()
{
    return make_mesh({{0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {-6, 0, 0}, {-6, -6, 0}},
                     {{0, 1, 2}, {0, 3, 4}});
}

/// A disc with a border of 20 000 vertices, far from the origin: three off the multiples of eight,
/// which is all that a sum of as many such coordinates can hold in `float`.
inline TriMesh disc_far_away()
{
    TriMesh mesh = open_cone(20000, 0.0F);
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, mesh.point(v) + Vector3f(4099, 8203, -4099));
    }
    return mesh;
}

/// Mean of the positions of vertices, summed in more digits than any of them has.
inline Vector3f exact_mean(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& vertices)
{
    Eigen::Matrix<long double, 3, 1> sum = Eigen::Matrix<long double, 3, 1>::Zero();
    for (auto const v : vertices)
    {
        sum += mesh.point(v).cast<long double>();
    }
    return (sum / static_cast<long double>(vertices.size())).cast<float>();
}

/// The same summed in `float`.
inline Vector3f mean_in_float(TriMesh const& mesh,
                              std::vector<OpenMesh::VertexHandle> const& vertices)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const v : vertices)
    {
        sum += mesh.point(v);
    }
    return sum / static_cast<float>(vertices.size());
}

/// A closed sphere of radius 1 around the origin: an octahedron divided `level` times.
inline TriMesh sphere(int level)
{
    std::vector<Vector3f> points{{1, 0, 0},  {-1, 0, 0}, {0, 1, 0},
                                 {0, -1, 0}, {0, 0, 1},  {0, 0, -1}};
    std::vector<Triangle> triangles{{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4},
                                    {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
    for (int l = 0; l < level; ++l)
    {
        std::vector<Triangle> finer;
        TriMesh const edges = make_mesh(points, triangles);
        std::vector<int> middle(edges.n_edges());
        for (auto const e : edges.edges())
        {
            Vector3f const sum = edges.point(e.v0()) + edges.point(e.v1());
            middle[static_cast<std::size_t>(e.idx())] = static_cast<int>(points.size());
            points.push_back(sum.normalized());
        }
        auto const mid = [&](int a, int b)
        {
            auto const h = edges.find_halfedge(vh(a), vh(b));
            return middle[static_cast<std::size_t>(h.edge().idx())];
        };
        for (auto const& [a, b, c] : triangles)
        {
            int const ab = mid(a, b);
            int const bc = mid(b, c);
            int const ca = mid(c, a);
            finer.insert(finer.end(), {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
        }
        triangles = std::move(finer);
    }
    return make_mesh(points, triangles);
}

/// The corners of every face, as their indices.
inline std::vector<std::array<int, 3>> corners_of(TriMesh const& mesh)
{
    std::vector<std::array<int, 3>> faces;
    for (auto const face : mesh.faces())
    {
        std::array<int, 3> corners{};
        std::size_t i = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners[i++] = vertex.idx();
        }
        faces.push_back(corners);
    }
    return faces;
}

/// Gives all vertices the same normal.
inline void set_normals(TriMesh& mesh, Vector3f const& normal)
{
    mesh.request_vertex_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, normal);
    }
}

inline double area_of(TriMesh const& mesh)
{
    double area = 0.0;
    for (auto const face : mesh.faces())
    {
        area += static_cast<double>(mesh.calc_face_area(face));
    }
    return area;
}

} // namespace veld_test
