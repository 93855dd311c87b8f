#pragma once

#include "tests/reconstruction/reference_ball.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/random_shapes.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// \file
/// Surfaces with gaps, loose points and clouds drawn by lot, and what to repair them with. The same
/// for the same seed everywhere, but for what the machine's sine and cosine differ in.

namespace veld_test
{

/// Points with normals, and triangles between them.
struct Patchwork
{
    std::vector<Vector3f> points;
    std::vector<Vector3f> normals;
    std::vector<Triangle> triangles;

    int add(Vector3f const& point, Vector3f const& normal)
    {
        points.push_back(point);
        normals.push_back(normal);
        return static_cast<int>(points.size()) - 1;
    }

    /// Triangles that the mesh refuses are left out.
    TriMesh mesh(bool with_normals) const
    {
        TriMesh result = mesh_as_far_as_it_goes(points, triangles);
        if (with_normals)
        {
            result.request_vertex_normals();
            for (auto const v : result.vertices())
            {
                result.set_normal(v, normals[static_cast<std::size_t>(v.idx())]);
            }
        }
        return result;
    }
};

/// Faces with a corner in the layer between two planes: what is left on both sides is at least
/// `width` apart.
inline Cut strip(TriMesh const& mesh, Vector3f const& point, Vector3f const& normal, float width)
{
    Cut cut;
    for (auto const f : mesh.faces())
    {
        float lowest = 1e9F;
        float highest = -1e9F;
        for (auto const v : mesh.fv_range(f))
        {
            float const height = normal.dot(mesh.point(v) - point);
            lowest = std::min(lowest, height);
            highest = std::max(highest, height);
        }
        if (lowest < 0.5F * width && highest > -0.5F * width)
        {
            cut.insert(f);
        }
    }
    return cut;
}

/// One face in `n`.
inline Cut scattered(TriMesh const& mesh, int n, Lot& lot)
{
    Cut cut;
    for (auto const f : mesh.faces())
    {
        if (lot.one_in(n))
        {
            cut.insert(f);
        }
    }
    return cut;
}

/// All faces but a few around one of them.
inline Cut all_but_a_seed(TriMesh const& mesh, Lot& lot)
{
    Cut seed;
    OpenMesh::FaceHandle const first(lot.below(static_cast<int>(mesh.n_faces())));
    int const size = 1 + lot.below(12);
    cut_patch(mesh, seed, first, size, false, lot);
    Cut cut;
    for (auto const f : mesh.faces())
    {
        if (seed.count(f) == 0)
        {
            cut.insert(f);
        }
    }
    return cut;
}

inline Vector3f random_direction(Lot& lot)
{
    Vector3f v = lot.vector();
    while (v.norm() < 0.1F || v.norm() > 1.0F)
    {
        v = lot.vector();
    }
    return v.normalized();
}

/// What is taken away: strips of up to three edges, faces here and there, patches, or nearly all.
inline Cut random_gaps(TriMesh const& mesh, Lot& lot)
{
    Cut cut;
    for (int i = 1 + lot.below(2); i > 0; --i)
    {
        Cut more;
        int const kind = lot.below(7);
        if (kind < 3)
        {
            auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
            Vector3f const normal = random_direction(lot);
            more = strip(mesh, mesh.point(v), normal, 3.0F * lot.unit() * cell_size(mesh));
        }
        else if (kind < 5)
        {
            more = scattered(mesh, lot.of<int>({3, 10, 10, 30}), lot);
        }
        else
        {
            more = kind == 5 ? random_cut(mesh, lot) : all_but_a_seed(mesh, lot);
        }
        cut.insert(more.begin(), more.end());
    }
    return cut;
}

/// The faces on one side of a plane get vertices of their own, moved off by up to `shift`; by
/// nothing where that is 0, so that there are two points in one place.
inline void tear(Patchwork& work, Vector3f const& point, Vector3f const& normal, float shift,
                 Lot& lot)
{
    std::vector<int> twin(work.points.size(), -1);
    Vector3f const move = shift * lot.vector();
    for (auto& corners : work.triangles)
    {
        Vector3f sum = Vector3f::Zero();
        for (int const i : corners)
        {
            sum += work.points[static_cast<std::size_t>(i)] - point;
        }
        if (normal.dot(sum) <= 0.0F)
        {
            continue;
        }
        for (int& i : corners)
        {
            auto const old = static_cast<std::size_t>(i);
            if (twin[old] < 0)
            {
                twin[old] = work.add(work.points[old] + move, work.normals[old]);
            }
            i = twin[old];
        }
    }
}

/// Points near others that no face uses.
inline void add_loose_points(Patchwork& work, int count, float reach, Lot& lot)
{
    auto const n = static_cast<int>(work.points.size());
    for (int i = 0; i < count; ++i)
    {
        auto const near = static_cast<std::size_t>(lot.below(n));
        work.add(work.points[near] + reach * lot.vector(), work.normals[near]);
    }
}

/// Now and then a normal of length 0, one that looks back, or one that leans.
inline void spoil_normals(Patchwork& work, Lot& lot)
{
    for (auto& normal : work.normals)
    {
        switch (lot.below(20))
        {
        case 0:
            normal = Vector3f::Zero();
            break;
        case 1:
            normal = -normal;
            break;
        case 2:
            normal = (normal + lot.vector()).normalized();
            break;
        default:
            break;
        }
    }
}

/// What a cut leaves of a shape, with the shape's normals. All its vertices stay, or those of faces
/// only.
inline Patchwork left_of(TriMesh shape, Cut const& cut, bool keep_all)
{
    shape.request_face_normals();
    shape.request_vertex_normals();
    shape.update_normals();
    Patchwork work;
    std::vector<int> place(shape.n_vertices(), -1);
    auto const place_of = [&](OpenMesh::VertexHandle v)
    {
        int& index = place[static_cast<std::size_t>(v.idx())];
        index = index < 0 ? work.add(shape.point(v), shape.normal(v)) : index;
        return index;
    };
    for (auto const v : shape.vertices())
    {
        if (keep_all)
        {
            place_of(v);
        }
    }
    for (auto const f : shape.faces())
    {
        if (cut.count(f) == 0)
        {
            Triangle corners{};
            std::size_t k = 0;
            for (auto const v : shape.fv_range(f))
            {
                corners[k++] = place_of(v);
            }
            work.triangles.push_back(corners);
        }
    }
    return work;
}

/// A corner of some faces goes where another one is: edges of no length.
inline void shrink_edges(Patchwork& work, int count, Lot& lot)
{
    for (int i = 0; i < count; ++i)
    {
        Triangle const corners = lot.of(work.triangles);
        work.points[static_cast<std::size_t>(corners[0])] =
            work.points[static_cast<std::size_t>(corners[1])];
    }
}

enum class Normals
{
    ANY, ///< None, those of the shape, or these spoilt.
    SOME ///< Those of the shape, or these spoilt.
};

/// A sphere, torus or field of hills with gaps; now and then torn apart, with loose points, or with
/// its faces in any order.
inline TriMesh random_gap_mesh(unsigned seed, Normals normals)
{
    Lot lot(seed);
    TriMesh shape = random_shape(lot);
    disturb(shape, lot);
    float const cell = cell_size(shape);
    Cut const cut = random_gaps(shape, lot);
    Patchwork work = left_of(shape, cut, lot.one_in(2));
    if (lot.one_in(3) && !work.points.empty())
    {
        Vector3f const point = lot.of(work.points);
        float const shift = lot.of<float>({0.0F, 0.2F, 0.6F}) * cell;
        tear(work, point, random_direction(lot), shift, lot);
    }
    if (lot.one_in(3) && !work.points.empty())
    {
        add_loose_points(work, 1 + lot.below(60), 0.7F * cell, lot);
    }
    if (lot.one_in(6) && !work.triangles.empty())
    {
        shrink_edges(work, 1 + lot.below(6), lot);
    }
    if (lot.one_in(2))
    {
        lot.shuffle(work.triangles);
    }
    if (lot.one_in(3))
    {
        spoil_normals(work, lot);
    }
    bool const with_normals = normals == Normals::SOME || !lot.one_in(3);
    return work.mesh(with_normals);
}

/// Points of a shape in any order, with normals; nothing joins them but `faces` of its faces, from
/// which the ball can start.
inline TriMesh random_cloud(unsigned seed, int faces)
{
    Lot lot(seed);
    TriMesh shape = random_shape(lot);
    disturb(shape, lot);
    std::vector<int> order;
    for (int i = 0; i < static_cast<int>(shape.n_vertices()); ++i)
    {
        order.push_back(i);
    }
    lot.shuffle(order);
    Patchwork const sorted = left_of(shape, {}, true);
    Patchwork cloud;
    std::vector<int> place(order.size());
    for (int const i : order)
    {
        auto const old = static_cast<std::size_t>(i);
        place[old] = cloud.add(sorted.points[old], sorted.normals[old]);
    }
    for (int i = 0; i < faces; ++i)
    {
        Triangle corners = lot.of(sorted.triangles);
        for (int& corner : corners)
        {
            corner = place[static_cast<std::size_t>(corner)];
        }
        cloud.triangles.push_back(corners);
    }
    return cloud.mesh(true);
}

/// Settings of the ball by lot, most of them as they are at the start. Between many loose points it
/// does not roll through others: tens of thousands of faces would grow there, one through the
/// other.
inline reference::BallSettings random_ball_settings(TriMesh const& mesh, unsigned seed)
{
    Lot lot(seed + 1000000U);
    int loose = 0;
    for (auto const v : mesh.vertices())
    {
        loose += mesh.is_isolated(v) ? 1 : 0;
    }
    reference::BallSettings settings;
    settings.norm_consistency_thr = lot.of<float>(
        {settings.norm_consistency_thr, settings.norm_consistency_thr, 0.9F, 0.0F, -1.0F});
    settings.norm_mode = lot.one_in(4);
    settings.node_in_sphere_restrain = !lot.one_in(6) || loose > 100;
    settings.delete_isolated_faces = lot.one_in(2);
    return settings;
}

/// Up to three radii in any order around the length of the mesh's first edge, which is like the
/// others, or so small that not even the enlarged ball fits everywhere; or none, for those that are
/// measured.
inline std::vector<float> random_radii(TriMesh const& mesh, unsigned seed)
{
    Lot lot(seed + 2000000U);
    std::vector<float> radii;
    if (mesh.n_edges() > 0 && !lot.one_in(3))
    {
        for (int i = 1 + lot.below(3); i > 0; --i)
        {
            radii.push_back(lot.of<float>({0.02F, 0.4F, 0.6F, 0.8F, 1.0F, 1.5F, 2.5F}) *
                            cell_size(mesh));
        }
    }
    return radii;
}

} // namespace veld_test
