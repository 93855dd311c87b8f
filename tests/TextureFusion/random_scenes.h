#pragma once

#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "tests/TextureFusion/plain_texture.h"
#include "tests/TextureFusion/scenes.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/random_shapes.h"
#include "tests/support/special_floats.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

/// \file
/// Photographed objects drawn by lot, with all that makes views of them differ: parts that hide
/// each other, holes, coinciding vertices, cameras in, around and behind them, images of one pixel.

namespace veld_test
{

using OrvaneAlgorithm::detail::FaceTex;
using OrvaneAlgorithm::detail::PixelColor;
using OrvaneAlgorithm::detail::TexImage;
using OrvaneAlgorithm::detail::VertTex;
using OrvaneAlgorithm::detail::VisibilityLimits;
using reference::at;

/// A mesh with vertex normals, and views of it.
struct PhotographedMesh
{
    TriMesh mesh;
    std::vector<TexImage> views;
    VisibilityLimits limits;
};

inline TriMesh random_small_shape(Lot& lot)
{
    int const size = lot.below(10);
    switch (lot.below(4))
    {
    case 0:
        return sphere(1 + lot.below(3));
    case 1:
        return torus(6 + size, 4 + size / 2);
    default:
        return height_field(2 + size, lot.one_in(2) ? 0.0F : lot.unit());
    }
}

/// One to three parts with holes, the second and third one behind or beside the first one.
inline TriMesh random_object(Lot& lot)
{
    Pieces pieces;
    for (int parts = 1 + lot.below(3); parts > 0; --parts)
    {
        TriMesh part = random_small_shape(lot);
        disturb(part, lot);
        Cut const cut = lot.one_in(2) ? random_cut(part, lot) : Cut();
        float const scale = lot.of<float>({1.0F, 0.5F, 0.25F});
        pieces.add(part, cut.size() < part.n_faces() ? cut : Cut(), lot.one_in(3), scale,
                   lot.one_in(2) ? Vector3f(Vector3f::Zero()) : Vector3f(1.5F * lot.vector()));
    }
    if (lot.one_in(2))
    {
        lot.shuffle(pieces.triangles);
    }
    return mesh_as_far_as_it_goes(pieces.points, pieces.triangles);
}

/// Lays the corners of some faces together, puts a vertex nowhere, and gives some vertices normals
/// that are odd.
inline void spoil(TriMesh& mesh, Lot& lot)
{
    for (int times = lot.below(4); times > 0; --times)
    {
        auto const corners = reference::corners_of(
            mesh, OpenMesh::FaceHandle(lot.below(static_cast<int>(mesh.n_faces()))));
        mesh.set_point(corners[0], mesh.point(corners[1]));
    }
    if (lot.one_in(20))
    {
        auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
        mesh.set_point(v, Vector3f(0.0F, lot.of<float>({NOT_A_NUMBER, INFINITE, 3e38F}), 1e20F));
    }
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_normals();
    for (int times = lot.one_in(2) ? lot.below(12) : 0; times > 0; --times)
    {
        auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
        mesh.set_normal(v, lot.of<Vector3f>({-mesh.normal(v), Vector3f(0, 0, 0), Vector3f(1, 0, 0),
                                             Vector3f(0, 0, -1), Vector3f(0.0F, NOT_A_NUMBER, 0)}));
    }
}

/// Colours that change from pixel to pixel, often as dark and as bright as can be.
inline Image<3, unsigned char> random_image(int width, int height, Lot& lot)
{
    int const shade = lot.below(128);
    return painted(width, height,
                   [&](int /*x*/, int /*y*/)
                   {
                       std::array<unsigned char, 3> color{};
                       for (auto& channel : color)
                       {
                           channel = static_cast<unsigned char>(
                               lot.one_in(12) ? 255 * lot.below(2) : shade + lot.below(128));
                       }
                       return color;
                   });
}

/// A camera around, inside or before an object, that looks at it, past it or away from it.
inline RigidMatrix random_pose(TriMesh const& mesh, Lot& lot)
{
    auto const point = [&]
    { return mesh.point(vh(lot.below(static_cast<int>(mesh.n_vertices())))); };
    RigidMatrix pose;
    if (lot.one_in(60))
    {
        pose.set_translation(Vector3d(0.0, 0.0, lot.of<double>({NOT_A_NUMBER, INFINITE, 1e200})));
        return pose;
    }
    if (lot.one_in(8)) // not turned, so that the ways to some vertices lie along its axes
    {
        Vector3f const eye = lot.one_in(2) ? point() : Vector3f(point() + Vector3f(0, 0, 4));
        pose.set_translation(-eye.cast<double>());
        return pose;
    }
    Vector3f const target = lot.one_in(2) ? Vector3f(Vector3f::Zero()) : Vector3f(point());
    float const distance = lot.of<float>({0.3F, 2.0F, 4.0F, 4.0F, 7.0F});
    Vector3f const eye = target + distance * lot.vector().normalized();
    Vector3f const aim = lot.one_in(6) ? Vector3f(2.0F * eye - target) : target;
    return look_at(eye.cast<double>(), aim.cast<double>());
}

inline TexImage random_view(TriMesh const& mesh, int id, int largest, Lot& lot)
{
    auto const length = [&]
    { return lot.one_in(20) ? 1 + lot.below(3) : 4 + lot.below(largest - 3); };
    int const width = length();
    int const height = lot.one_in(2) ? width : length();
    double const opening = lot.of<double>({0.5, 0.8, 1.2, 3.0});
    return view(id, random_pose(mesh, lot), opening * width, random_image(width, height, lot));
}

inline VisibilityLimits random_limits(Lot& lot)
{
    VisibilityLimits limits;
    limits.dis_thr = lot.of<float>({1.0F, 1.0F, 0.3F, 0.1F, 0.02F, 0.0F});
    limits.norm_thr = lot.of<float>({0.0F, 0.0F, 0.3F, -0.5F});
    limits.vertex_tex_num_thr = lot.of<int>({10, 10, 4, 2, 1});
    limits.image_border = lot.of<int>({3, 3, 1, 0});
    return limits;
}

/// \param largest pixels along a side of an image, 4 or more
inline PhotographedMesh random_photographs(unsigned seed, int largest)
{
    Lot lot(seed);
    PhotographedMesh scene;
    scene.mesh = random_object(lot);
    spoil(scene.mesh, lot);
    int const n = 1 + lot.below(14);
    for (int id = 0; id < n; ++id)
    {
        bool const again = id > 0 && lot.one_in(10); // the same photograph a second time
        scene.views.push_back(again ? scene.views.back()
                                    : random_view(scene.mesh, id, largest, lot));
        scene.views.back().id = id;
    }
    scene.limits = random_limits(lot);
    return scene;
}

/// Areas of one view by lot, with some faces that differ, some without a view, and lists in which a
/// face has other views too.
inline std::vector<reference::FaceViews> random_face_views(reference::PlainMesh const& mesh,
                                                           Lot& lot)
{
    int const n_labels = 1 + lot.below(6);
    int const n_centres = 1 + lot.below(12);
    int const odd = 3 + lot.below(40);
    int const rich = 1 + lot.below(3);
    std::vector<Vector3f> centres;
    std::vector<int> labels;
    for (int i = 0; i < n_centres; ++i)
    {
        centres.push_back(mesh.points[at(lot.below(mesh.n_vertices()))]);
        labels.push_back(lot.below(n_labels + 1) - 1); // -1 is an area without a view
    }
    std::vector<reference::FaceViews> faces;
    for (auto const& corners : mesh.corners)
    {
        std::size_t nearest = 0;
        for (std::size_t i = 0; i < centres.size(); ++i)
        {
            Vector3f const& p = mesh.points[at(corners[0])];
            nearest = (p - centres[i]).norm() < (p - centres[nearest]).norm() ? i : nearest;
        }
        int const label = lot.one_in(odd) ? lot.below(n_labels + 1) - 1 : labels[nearest];
        reference::FaceViews face;
        face.has_tex = label >= 0;
        for (int id = 0; id < n_labels; ++id)
        {
            if (id == label || lot.one_in(rich))
            {
                face.list.emplace_back();
                face.list.back().image_id = id;
            }
        }
        lot.shuffle(face.list);
        if (face.has_tex)
        {
            reference::relabel(face, label);
        }
        faces.push_back(face);
    }
    return faces;
}

/// Whether two numbers are the same, bit for bit; one that is no number is like any other such one.
inline bool is_same(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

inline bool is_same(VertTex const& a, VertTex const& b)
{
    return a.image_id == b.image_id && is_same(a.depth, b.depth) && a.px == b.px && a.py == b.py &&
           is_same(a.u, b.u) && is_same(a.v, b.v) && is_same(a.cosine, b.cosine);
}

inline bool is_same(FaceTex const& a, FaceTex const& b)
{
    return a.image_id == b.image_id && is_same(a.avg_cos, b.avg_cos) &&
           is_same(a.corner[0], b.corner[0]) && is_same(a.corner[1], b.corner[1]) &&
           is_same(a.corner[2], b.corner[2]);
}

template <typename T>
bool is_same(std::vector<T> const& a, std::vector<T> const& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](T const& x, T const& y) { return is_same(x, y); });
}

/// What a test of many scenes has to have met.
inline void expect_all_taken(reference::Taken const& taken, std::vector<std::string> const& ways)
{
    for (auto const& way : ways)
    {
        EXPECT_GT(taken.count(way) > 0 ? taken.at(way) : 0, 0) << way;
    }
}

} // namespace veld_test
