#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/geometry/angles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <utility>
#include <vector>

/// \file
/// A mesh like a scan, made by code: a bumpy, noisy sphere of 100 mm radius with round holes. The
/// same arguments give the same mesh.

namespace veld_benchmark
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::PI;
using Triangle = std::array<int, 3>;

struct Surface
{
    std::vector<Vector3f> points; ///< on the unit sphere until `add_bumps`
    std::vector<Triangle> triangles;
};

/// Takes the triangles out that are cut.
inline void drop_triangles(Surface& sphere, std::vector<char> const& cut)
{
    std::size_t kept = 0;
    for (std::size_t t = 0; t < cut.size(); ++t)
    {
        if (cut[t] == 0)
        {
            sphere.triangles[kept++] = sphere.triangles[t];
        }
    }
    sphere.triangles.resize(kept);
}

/// One side of a cube of n x n cells, as keys of grid points: first one triangle of every cell,
/// then the other, the diagonals alternating.
inline void add_cube_side(int n, int axis, bool far_side, std::vector<std::array<int64_t, 3>>& out)
{
    auto const key = [&](int i, int j)
    {
        std::array<int64_t, 3> c{};
        c[static_cast<std::size_t>(axis)] = far_side ? n : 0;
        c[static_cast<std::size_t>((axis + 1) % 3)] = i;
        c[static_cast<std::size_t>((axis + 2) % 3)] = j;
        return (c[0] * (n + 1) + c[1]) * (n + 1) + c[2];
    };
    for (int half = 0; half < 2; ++half)
    {
        for (int i = 0; i < n; ++i)
        {
            for (int j = 0; j < n; ++j)
            {
                auto const a = key(i, j);
                auto const b = key(i + 1, j);
                auto const c = key(i + 1, j + 1);
                auto const d = key(i, j + 1);
                std::array<int64_t, 3> t{a, b, (i + j) % 2 == 1 ? c : d};
                if (half == 1)
                {
                    t = {(i + j) % 2 == 1 ? a : b, c, d};
                }
                out.push_back(far_side ? t : std::array<int64_t, 3>{t[2], t[1], t[0]});
            }
        }
    }
}

/// A unit sphere from a cube with n x n cells a side.
inline Surface cube_sphere(int n)
{
    std::vector<std::array<int64_t, 3>> keyed;
    for (int axis = 0; axis < 3; ++axis)
    {
        add_cube_side(n, axis, false, keyed);
        add_cube_side(n, axis, true, keyed);
    }
    std::vector<int64_t> keys;
    keys.reserve(keyed.size() * 3);
    for (auto const& t : keyed)
    {
        keys.insert(keys.end(), t.begin(), t.end());
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());

    Surface sphere;
    for (auto const k : keys)
    {
        auto const on_cube = [n](int64_t c)
        { return std::tan((2.0 * static_cast<double>(c) / n - 1.0) * PI / 4.0); };
        Eigen::Vector3d const p(on_cube(k / (n + 1) / (n + 1)), on_cube(k / (n + 1) % (n + 1)),
                                on_cube(k % (n + 1)));
        sphere.points.push_back(p.normalized().cast<float>());
    }
    for (auto const& t : keyed)
    {
        Triangle triangle{};
        for (std::size_t i = 0; i < 3; ++i)
        {
            triangle[i] =
                static_cast<int>(std::lower_bound(keys.begin(), keys.end(), t[i]) - keys.begin());
        }
        sphere.triangles.push_back(triangle);
    }
    return sphere;
}

/// For each vertex its triangles.
class Stars
{
public:
    explicit Stars(Surface const& surface) : start_(surface.points.size() + 1)
    {
        for (auto const& t : surface.triangles)
        {
            for (int const v : t)
            {
                ++start_[static_cast<std::size_t>(v) + 1];
            }
        }
        for (std::size_t v = 1; v < start_.size(); ++v)
        {
            start_[v] += start_[v - 1];
        }
        triangles_.resize(surface.triangles.size() * 3);
        auto next = start_;
        for (std::size_t t = 0; t < surface.triangles.size(); ++t)
        {
            for (int const v : surface.triangles[t])
            {
                triangles_[next[static_cast<std::size_t>(v)]++] = t;
            }
        }
    }

    /// The triangles that touch any of the vertices, in order.
    std::vector<std::size_t> around(std::vector<int> const& vertices) const
    {
        std::vector<std::size_t> all;
        for (int const vertex : vertices)
        {
            auto const v = static_cast<std::size_t>(vertex);
            all.insert(all.end(), triangles_.begin() + static_cast<std::ptrdiff_t>(start_[v]),
                       triangles_.begin() + static_cast<std::ptrdiff_t>(start_[v + 1]));
        }
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

private:
    std::vector<std::size_t> start_;
    std::vector<std::size_t> triangles_;
};

/// Length of the border of some triangles, 0 unless it is one simple loop.
inline int border_length(Surface const& surface, std::vector<std::size_t> const& triangles)
{
    std::set<std::pair<int, int>> edges;
    for (auto const t : triangles)
    {
        auto const& c = surface.triangles[t];
        for (std::size_t i = 0; i < 3; ++i)
        {
            edges.insert({c[i], c[(i + 1) % 3]});
        }
    }
    std::map<int, int> next;
    int length = 0;
    for (auto const& [a, b] : edges)
    {
        if (edges.count({b, a}) == 0)
        {
            next[a] = b;
            ++length;
        }
    }
    int steps = 0;
    for (int v = next.empty() ? -1 : next.begin()->first; steps < length; ++steps)
    {
        v = next[v];
        if (v == next.begin()->first)
        {
            return steps + 1 == length ? length : 0;
        }
    }
    return 0;
}

/// Numbers of boundary edges from the first to the last, both included.
struct HoleSizes
{
    int first;
    int last;

    /// All of them in turn, the large ones between the small ones.
    int of(int hole) const
    {
        int const sizes = last - first + 1;
        return first + static_cast<int>(static_cast<std::int64_t>(hole) * 29 % sizes);
    }
};

/// Cuts round holes of about so many boundary edges, spread evenly.
inline void cut_holes(Surface& sphere, int holes, HoleSizes const& sizes)
{
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree(sphere.points);
    Stars const stars(sphere);
    std::vector<char> cut(sphere.triangles.size());
    std::vector<int> inside;
    std::vector<float> sq_dists;
    double guess = 0.0;
    int guess_length = 0;
    for (int h = 0; h < holes; ++h)
    {
        int const length = sizes.of(h);
        // Points of a Fibonacci lattice, and the radius by bisection.
        double const z = 1.0 - 2.0 * (h + 0.5) / holes;
        double const angle = PI * (1.0 + std::sqrt(5.0)) * (h + 0.5);
        double const r = std::sqrt(1.0 - z * z);
        Vector3f const centre =
            Eigen::Vector3d(std::cos(angle) * r, std::sin(angle) * r, z).cast<float>();
        if (guess > 0.0 && length != guess_length)
        {
            guess = guess * length / guess_length;
        }
        double const around = guess_length == length ? 0.1 : 0.3;
        double low = guess * (1.0 - around);
        double high = guess > 0.0 ? guess * (1.0 + around) : 1.3;
        guess_length = length;
        int best = 0;
        std::vector<std::size_t> best_triangles;
        for (int step = 0; step < (guess > 0.0 ? 8 : 26) && best != length; ++step)
        {
            double const radius = (low + high) / 2.0;
            tree.radius_search(centre, static_cast<float>(radius), inside, sq_dists, 0);
            auto const triangles = stars.around(inside);
            int const border = border_length(sphere, triangles);
            if (border > 0 && std::abs(border - length) < std::abs(best - length))
            {
                best = border;
                best_triangles = triangles;
                guess = radius;
            }
            bool const widen = border < length && triangles.size() < 4U * unsigned(length * length);
            (widen ? low : high) = radius;
        }
        for (auto const t : best_triangles)
        {
            cut[t] = 1;
        }
    }
    drop_triangles(sphere, cut);
}

/// Gives the unit sphere its size, bumps and noise of 3 % of an edge.
inline void add_bumps(Surface& sphere, double edge)
{
    std::mt19937 random(1);
    for (auto& point : sphere.points)
    {
        double noise = -6.0;
        for (int i = 0; i < 12; ++i)
        {
            noise += static_cast<double>(random()) / 4294967296.0;
        }
        Eigen::Vector3d const d = point.cast<double>();
        Eigen::Vector3d const p = d * 100.0;
        double const r = 100.0 + 3.0 * std::sin(p.x() / 9.0) * std::cos(p.y() / 11.0) +
                         2.0 * std::sin(p.z() / 7.0 + p.x() / 13.0) + noise * 0.03 * edge;
        point = (d * r).cast<float>();
    }
}

/// The mesh of a surface, its vertices in the order in which the triangles use them first.
inline TriMesh to_mesh(Surface const& surface)
{
    TriMesh mesh;
    mesh.reserve(surface.points.size(), surface.triangles.size() * 3 / 2, surface.triangles.size());
    std::vector<OpenMesh::VertexHandle> vertices(surface.points.size());
    for (auto const& t : surface.triangles)
    {
        for (int const corner : t)
        {
            auto const v = static_cast<std::size_t>(corner);
            if (!vertices[v].is_valid())
            {
                vertices[v] = mesh.add_vertex(surface.points[v]);
            }
        }
    }
    for (auto const& t : surface.triangles)
    {
        mesh.add_face(vertices[static_cast<std::size_t>(t[0])],
                      vertices[static_cast<std::size_t>(t[1])],
                      vertices[static_cast<std::size_t>(t[2])]);
    }
    return mesh;
}

/// Cells a side of the cube that becomes a sphere of about `faces` triangles.
inline int cells_for(int faces)
{
    return std::max(2, static_cast<int>(std::lround(std::sqrt(faces / 12.0))));
}

/// The mesh: about `faces` triangles before `holes` holes of about so many edges are cut.
inline TriMesh bumpy_sphere(int faces, int holes, HoleSizes const& sizes)
{
    int const n = cells_for(faces);
    Surface sphere = cube_sphere(n);
    cut_holes(sphere, holes, sizes);
    add_bumps(sphere, 100.0 * PI / 2.0 / n);
    return to_mesh(sphere);
}

/// The same with holes of one size.
inline TriMesh bumpy_sphere(int faces, int holes, int length)
{
    return bumpy_sphere(faces, holes, HoleSizes{length, length});
}

} // namespace veld_benchmark
