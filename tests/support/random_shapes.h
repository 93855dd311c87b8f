#pragma once

#include "tests/support/meshes.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <set>
#include <utility>
#include <vector>

/// \file
/// Shapes drawn by lot and cuts into them, the same for the same seed everywhere: no distribution
/// of the standard library is asked. All coordinates are below 4, so that neighbouring floats are
/// less than 1e-6 apart.

namespace veld_test
{

class Lot
{
public:
    explicit Lot(unsigned seed) : random_(seed) {}
    int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    bool one_in(int n) { return below(n) == 0; }
    /// From 0 to below 1.
    float unit() { return static_cast<float>(random_() >> 8U) / 16777216.0F; }
    /// Each coordinate from -1 to below 1.
    Vector3f vector()
    {
        Vector3f v;
        for (float& coordinate : v)
        {
            coordinate = 2.0F * unit() - 1.0F;
        }
        return v;
    }
    template <typename T>
    T of(std::vector<T> const& list)
    {
        return list[static_cast<std::size_t>(below(static_cast<int>(list.size())))];
    }
    template <typename T>
    void shuffle(std::vector<T>& list)
    {
        for (std::size_t i = list.size(); i > 1; --i)
        {
            std::swap(list[i - 1], list[static_cast<std::size_t>(below(static_cast<int>(i)))]);
        }
    }

private:
    std::mt19937 random_;
};

/// A torus around the z axis of radius 2, its tube of radius 0.8.
inline TriMesh torus(int around, int across)
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    auto const index = [&](int i, int j) { return (i % around) * across + j % across; };
    for (int i = 0; i < around; ++i)
    {
        for (int j = 0; j < across; ++j)
        {
            double const u = 2.0 * OrvaneAlgorithm::detail::PI * i / around;
            double const v = 2.0 * OrvaneAlgorithm::detail::PI * j / across;
            double const radius = 2.0 + 0.8 * std::cos(v);
            points.emplace_back(static_cast<float>(radius * std::cos(u)),
                                static_cast<float>(radius * std::sin(u)),
                                static_cast<float>(0.8 * std::sin(v)));
            triangles.push_back({index(i, j), index(i + 1, j), index(i + 1, j + 1)});
            triangles.push_back({index(i, j), index(i + 1, j + 1), index(i, j + 1)});
        }
    }
    return make_mesh(points, triangles);
}

/// A grid with hills: `side` cells a side, 6 in all, between -3 and 3.
inline TriMesh height_field(int side, float hills)
{
    TriMesh mesh = grid(side, side);
    float const cell = 6.0F / static_cast<float>(side);
    for (auto const v : mesh.vertices())
    {
        Vector3f const p = mesh.point(v) * cell - Vector3f(3, 3, 0);
        mesh.set_point(v, Vector3f(p.x(), p.y(), hills * std::sin(1.3F * p.x()) * std::cos(p.y())));
    }
    return mesh;
}

/// Length of the first edge, which in the shapes here is like the others.
inline float cell_size(TriMesh const& mesh)
{
    return mesh.calc_edge_length(OpenMesh::EdgeHandle(0));
}

inline TriMesh random_shape(Lot& lot)
{
    int const more = lot.below(14);
    float const hills = lot.unit();
    switch (lot.below(5))
    {
    case 0:
        return sphere(3);
    case 1:
        return sphere(4);
    case 2:
        return torus(26 + more, 10 + more / 2);
    case 3:
        return height_field(16 + more, 0.0F);
    default:
        return height_field(16 + more, hills);
    }
}

/// Shaken along all axes, and pressed together or not.
inline void disturb(TriMesh& mesh, Lot& lot)
{
    float const shake = lot.of<float>({0.0F, 0.0F, 0.05F, 0.2F}) * cell_size(mesh);
    Vector3f scale(1, 1, 1);
    if (lot.one_in(3))
    {
        scale.y() = 0.3F + 0.7F * lot.unit();
        scale.z() = 0.5F + 0.5F * lot.unit();
    }
    for (auto const v : mesh.vertices())
    {
        Vector3f const moved = mesh.point(v) + shake * lot.vector();
        mesh.set_point(v, moved.cwiseProduct(scale));
    }
}

/// Faces taken out of a mesh.
using Cut = std::set<OpenMesh::FaceHandle>;

/// One face, which leaves a hole of three edges.
inline void cut_face(TriMesh const& mesh, Cut& cut, Lot& lot)
{
    cut.insert(OpenMesh::FaceHandle(lot.below(static_cast<int>(mesh.n_faces()))));
}

/// All faces at a vertex.
inline void cut_fan(TriMesh const& mesh, Cut& cut, Lot& lot)
{
    for (auto const f : mesh.vf_range(vh(lot.below(static_cast<int>(mesh.n_vertices())))))
    {
        cut.insert(f);
    }
}

/// Grows over edges from a face to `size` faces, evenly or, for a jagged border of up to
/// `size` + 2 edges, from anywhere.
inline void cut_patch(TriMesh const& mesh, Cut& cut, OpenMesh::FaceHandle seed, int size,
                      bool jagged, Lot& lot)
{
    std::vector<OpenMesh::FaceHandle> front{seed};
    std::set<OpenMesh::FaceHandle> taken;
    while (!front.empty() && static_cast<int>(taken.size()) < size)
    {
        std::size_t const next =
            jagged ? static_cast<std::size_t>(lot.below(static_cast<int>(front.size()))) : 0;
        auto const f = front[next];
        front.erase(front.begin() + static_cast<std::ptrdiff_t>(next));
        if (taken.insert(f).second)
        {
            for (auto const g : mesh.ff_range(f))
            {
                front.push_back(g);
            }
        }
    }
    cut.insert(taken.begin(), taken.end());
}

/// Two faces that share one vertex and no edge: the border passes that vertex twice.
inline void cut_pinch(TriMesh const& mesh, Cut& cut, Lot& lot)
{
    auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
    std::vector<OpenMesh::FaceHandle> fan;
    for (auto const f : mesh.vf_range(v))
    {
        fan.push_back(f);
    }
    if (fan.size() >= 4 && !mesh.is_boundary(v))
    {
        cut.insert(fan[0]);
        cut.insert(fan[2]);
    }
}

/// A face some rings away from another one.
inline OpenMesh::FaceHandle face_near(TriMesh const& mesh, OpenMesh::FaceHandle face, int steps,
                                      Lot& lot)
{
    for (int i = 0; i < steps; ++i)
    {
        std::vector<OpenMesh::FaceHandle> around;
        for (auto const g : mesh.ff_range(face))
        {
            around.push_back(g);
        }
        face = lot.of(around);
    }
    return face;
}

inline Cut random_cut(TriMesh const& mesh, Lot& lot)
{
    Cut cut;
    int const times = 1 + lot.below(5);
    for (int i = 0; i < times; ++i)
    {
        OpenMesh::FaceHandle const seed(lot.below(static_cast<int>(mesh.n_faces())));
        int const size = lot.below(100);
        switch (lot.below(7))
        {
        case 0:
            cut_face(mesh, cut, lot);
            break;
        case 1:
            cut_fan(mesh, cut, lot);
            break;
        case 2:
            cut_pinch(mesh, cut, lot);
            break;
        case 3:
            cut_patch(mesh, cut, seed, 2 + size % 57, true, lot);
            break;
        case 4:
            cut_patch(mesh, cut, seed, 4 + size, false, lot);
            break;
        case 5:
            cut_patch(mesh, cut, seed, 10 + size % 30, false, lot);
            break;
        default: // two near each other
            cut_patch(mesh, cut, seed, 6 + size % 20, false, lot);
            cut_patch(mesh, cut, face_near(mesh, seed, 20, lot), 6 + size / 5, false, lot);
            break;
        }
    }
    return cut;
}

/// Points and triangles of a mesh under way.
struct Pieces
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;

    /// Adds what a cut leaves of a mesh.
    /// \param keep_all also the vertices that no face uses any more
    void add(TriMesh const& mesh, Cut const& cut, bool keep_all, float scale, Vector3f const& shift)
    {
        std::vector<int> place(mesh.n_vertices(), -1);
        auto const place_of = [&](OpenMesh::VertexHandle v)
        {
            int& index = place[static_cast<std::size_t>(v.idx())];
            if (index < 0)
            {
                index = static_cast<int>(points.size());
                points.push_back(scale * mesh.point(v) + shift);
            }
            return index;
        };
        if (keep_all)
        {
            for (auto const v : mesh.vertices())
            {
                place_of(v);
            }
        }
        for (auto const f : mesh.faces())
        {
            if (cut.count(f) == 0)
            {
                Triangle corners{};
                std::size_t k = 0;
                for (auto const v : mesh.fv_range(f))
                {
                    corners[k++] = place_of(v);
                }
                triangles.push_back(corners);
            }
        }
    }
};

} // namespace veld_test
