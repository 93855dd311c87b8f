#pragma once

#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

/// \file
/// Meshes for the tests of the ear methods, what is read from them, and what any filling has to
/// keep.

namespace veld_test
{

/// Corners of the faces from a number on.
inline std::vector<Triangle> faces_from(TriMesh const& mesh, std::size_t first)
{
    std::vector<Triangle> result;
    for (auto f = first; f < mesh.n_faces(); ++f)
    {
        Triangle corners{};
        auto h = mesh.halfedge_handle(OpenMesh::FaceHandle(static_cast<int>(f)));
        for (auto& corner : corners)
        {
            h = mesh.next_halfedge_handle(h);
            corner = mesh.from_vertex_handle(h).idx();
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        result.push_back(corners);
    }
    return result;
}

/// What an oriented manifold looks like to the half-edge structure; empty if all is well.
inline std::string broken_link(TriMesh const& mesh)
{
    for (auto const h : mesh.halfedges())
    {
        if (mesh.prev_halfedge_handle(mesh.next_halfedge_handle(h)) != h)
        {
            return "next and prev";
        }
        if (mesh.to_vertex_handle(h) != mesh.from_vertex_handle(mesh.next_halfedge_handle(h)))
        {
            return "next begins elsewhere";
        }
        if (mesh.face_handle(h) != mesh.face_handle(mesh.next_halfedge_handle(h)))
        {
            return "next on another face";
        }
        if (mesh.find_halfedge(mesh.from_vertex_handle(h), mesh.to_vertex_handle(h)) != h)
        {
            return "a second edge between two vertices, or one that cannot be reached";
        }
    }
    for (auto const v : mesh.vertices())
    {
        auto const out = mesh.halfedge_handle(v);
        if (out.is_valid() && mesh.from_vertex_handle(out) != v)
        {
            return "a vertex's halfedge begins elsewhere";
        }
        bool touches_boundary = false;
        for (auto const h : mesh.voh_range(v))
        {
            touches_boundary = touches_boundary || mesh.is_boundary(h);
        }
        if (out.is_valid() && touches_boundary != mesh.is_boundary(out))
        {
            return "a boundary vertex's halfedge is not on the boundary";
        }
    }
    return mesh.is_legal() ? "" : "a face that is no triangle";
}

/// After a filling old vertices and faces are as they were, and the rest holds together.
inline void expect_only_added_to(TriMesh const& before, TriMesh const& after)
{
    ASSERT_EQ(after.n_vertices(), before.n_vertices());
    EXPECT_TRUE(std::equal(before.points(), before.points() + before.n_vertices(), after.points()));
    auto old_faces = faces_from(after, 0);
    old_faces.resize(before.n_faces());
    EXPECT_EQ(old_faces, faces_from(before, 0));
    EXPECT_EQ(broken_link(after), "");
}

/// The boundary loops as sets of halfedges.
inline std::vector<std::vector<OpenMesh::HalfedgeHandle>> loops_of(TriMesh const& mesh)
{
    std::vector<std::vector<OpenMesh::HalfedgeHandle>> result;
    std::set<int> seen;
    for (auto const start : mesh.halfedges())
    {
        if (!mesh.is_boundary(start) || seen.count(start.idx()) != 0)
        {
            continue;
        }
        result.emplace_back();
        OpenMesh::HalfedgeHandle h = start;
        do
        {
            seen.insert(h.idx());
            result.back().push_back(h);
            h = mesh.next_halfedge_handle(h);
        } while (h != start);
    }
    return result;
}

/// A mesh from points and triangles, without the triangles that it cannot hold.
inline TriMesh mesh_as_far_as_it_goes(std::vector<Vector3f> const& points,
                                      std::vector<Triangle> const& triangles)
{
    TriMesh mesh;
    for (auto const& p : points)
    {
        mesh.add_vertex(p);
    }
    omerr().disable();
    for (auto const& t : triangles)
    {
        mesh.add_face(vh(t[0]), vh(t[1]), vh(t[2]));
    }
    omerr().enable();
    return mesh;
}

/// A closed mesh without some faces drawn by lot, its vertices shaken, its triangles shuffled.
inline TriMesh mesh_with_random_holes(TriMesh const& closed, unsigned seed)
{
    std::mt19937 random(seed);
    auto const below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    auto const unit = [&] { return static_cast<float>(random()) / 4294967296.0F; };

    std::vector<Vector3f> points;
    float const shake = std::vector<float>{0.0F, 0.05F, 0.3F}[below(3)];
    for (auto const v : closed.vertices())
    {
        Vector3f const offset(unit() - 0.5F, unit() - 0.5F, unit() - 0.5F);
        points.push_back(closed.point(v) + shake * offset);
    }
    auto triangles = faces_from(closed, 0);
    std::shuffle(triangles.begin(), triangles.end(), random);
    triangles.resize(triangles.size() - 1 - below(static_cast<unsigned>(triangles.size()) / 2));
    if (below(2) == 0)
    {
        // In order of index: whole regions come one after the other.
        std::sort(triangles.begin(), triangles.end());
    }
    return mesh_as_far_as_it_goes(points, triangles);
}

/// A bumpy grid with `chains` rows of square holes of 2 x 2 cells, `length` holes each, every hole
/// touching the next at a corner.
inline TriMesh chains_of_holes(int chains, int length)
{
    int const columns = 2 * length + 4;
    int const rows = 6 * chains + 2;
    std::mt19937 random(7);
    std::vector<Vector3f> points;
    for (int y = 0; y <= rows; ++y)
    {
        for (int x = 0; x <= columns; ++x)
        {
            float const bump = static_cast<float>(random() % 1000U) / 2000.0F;
            points.emplace_back(static_cast<float>(x), static_cast<float>(y), bump);
        }
    }
    std::set<Cell> missing;
    for (int c = 0; c < chains; ++c)
    {
        for (int i = 0; i < length; ++i)
        {
            // A zigzag: hole i and hole i + 1 share one corner.
            int const x = 1 + 2 * i;
            int const y = 6 * c + 1 + 2 * (i % 2);
            missing.insert({{x, y}, {x + 1, y}, {x, y + 1}, {x + 1, y + 1}});
        }
    }
    std::vector<Triangle> triangles;
    for (int y = 0; y < rows; ++y)
    {
        for (int x = 0; x < columns; ++x)
        {
            int const a = y * (columns + 1) + x;
            int const d = a + columns + 1;
            if (missing.count({x, y}) == 0)
            {
                triangles.push_back({a, a + 1, d + 1});
                triangles.push_back({a, d + 1, d});
            }
        }
    }
    return make_mesh(points, triangles);
}

/// Vertex 0 carries three fans: two beside the triangular gap 0 1 2 and a flap 0 6 7, which the
/// boundary passes between the gap's last corner and its first: 0 1 2 0 7 6. A third triangle
/// bounds the gap along 1 2, and the outer boundary is 3 0 4 2 5 1. Flat but for the flap's place.
inline TriMesh gap_between_three_fans()
{
    return make_mesh({{0, 0, 0},
                      {1, 0, 0},
                      {0.5F, 0.87F, 0},
                      {5, -10, 0},
                      {-8, 6, 0},
                      {15, 10, 0},
                      {-0.94F, -0.34F, 0},
                      {-0.34F, -0.94F, 0}},
                     {{0, 2, 4}, {0, 6, 7}, {1, 0, 3}, {2, 1, 5}});
}

/// A tube with three corners whose open end is half covered: the hole p v q t passes the edge q p,
/// which has faces on both sides, so that the ear at v cannot be cut. Vertices: p v q are 0 1 2, t
/// is 6.
inline TriMesh half_covered_tube()
{
    return make_mesh(
        {{0, 0, 0},
         {1, 0, 0},
         {0.5F, 0.9F, 0},
         {0, 0, -1},
         {1, 0, -1},
         {0.5F, 0.9F, -1},
         {0.5F, 0.3F, 2}},
        {{3, 4, 1}, {3, 1, 0}, {4, 5, 2}, {4, 2, 1}, {5, 3, 0}, {5, 0, 2}, {3, 5, 4}, {2, 0, 6}});
}

/// The hole 5 6 10 9 in a grid of 3 x 3 cells, its corner 5 narrowed to 48.9 degrees and 10 lifted.
/// The ear at 5 lies flat and closes with an edge of the root of 2; the faces around its corners
/// are up to 54.7 degrees off. The triangle that is left is 65 degrees off one of the faces beside
/// it, and two of its sides are 1.62 long.
inline TriMesh square_hole_with_a_steep_half()
{
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(5), Vector3f(0.4F, 0.4F, 0));
    mesh.set_point(vh(10), Vector3f(2.25F, 2.25F, 1));
    return mesh;
}

/// Four vertices in a square, joined by edges that carry no faces on either side.
inline TriMesh square_of_wire()
{
    TriMesh mesh;
    for (auto const& p :
         {Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(1, 1, 0), Vector3f(0, 1, 0)})
    {
        mesh.add_vertex(p);
    }
    std::vector<OpenMesh::HalfedgeHandle> sides;
    for (int i = 0; i < 4; ++i)
    {
        sides.push_back(mesh.new_edge(vh(i), vh((i + 1) % 4)));
        mesh.set_halfedge_handle(vh(i), sides.back());
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        auto const next = sides[(i + 1) % 4];
        mesh.set_next_halfedge_handle(sides[i], next);
        mesh.set_next_halfedge_handle(mesh.opposite_halfedge_handle(next),
                                      mesh.opposite_halfedge_handle(sides[i]));
    }
    return mesh;
}

} // namespace veld_test
