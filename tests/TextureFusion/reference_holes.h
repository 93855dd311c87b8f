#pragma once

#include "tests/TextureFusion/reference_colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

/// \file
/// Texture holes as plainly as they can be written: lists in place of sets, a dense system, one
/// hole after the other. What the library gives has to be the same: holes, rectangles, pixels and
/// known colours exactly, solved colours up to rounding.

namespace veld_test::reference
{

/// Adds to a list what it does not have yet.
inline void add_once(std::vector<int>& list, int element)
{
    if (std::find(list.begin(), list.end(), element) == list.end())
    {
        list.push_back(element);
    }
}

/// The faces without a view, in sets that are connected through vertices; numbers them.
inline FaceLists find_holes(PlainMesh const& mesh, TextureState& state)
{
    FaceLists holes;
    state.hole_id.assign(mesh.corners.size(), -1);
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (state.faces[at(f)].has_tex || state.hole_id[at(f)] >= 0)
        {
            continue;
        }
        int const number = static_cast<int>(holes.size());
        std::vector<int> hole{f};
        state.hole_id[at(f)] = number;
        for (std::size_t i = 0; i < hole.size(); ++i)
        {
            for (int const vertex : mesh.corners[at(hole[i])])
            {
                for (int const g : mesh.around[at(vertex)])
                {
                    if (!state.faces[at(g)].has_tex && state.hole_id[at(g)] < 0)
                    {
                        state.hole_id[at(g)] = number;
                        hole.push_back(g);
                    }
                }
            }
        }
        holes.push_back(hole);
    }
    return holes;
}

/// The textured faces at the vertices of a hole.
inline std::vector<int> faces_around(PlainMesh const& mesh, TextureState const& state,
                                     std::vector<int> const& hole)
{
    std::vector<int> ring;
    for (int const f : hole)
    {
        for (int const vertex : mesh.corners[at(f)])
        {
            for (int const g : mesh.around[at(vertex)])
            {
                if (state.faces[at(g)].has_tex)
                {
                    add_once(ring, g);
                }
            }
        }
    }
    return ring;
}

inline std::vector<int> vertices_of(PlainMesh const& mesh, std::vector<int> const& faces)
{
    std::vector<int> vertices;
    for (int const f : faces)
    {
        for (int const vertex : mesh.corners[at(f)])
        {
            add_once(vertices, vertex);
        }
    }
    return vertices;
}

/// Where the view of a hole is taken from: as far above the mean of its vertices, along z, as the
/// photographs of the faces around were on the average.
inline Vector3f eye_of_hole(PlainMesh const& mesh, TextureState const& state,
                            std::vector<int> const& hole_vertices,
                            std::vector<int> const& ring_faces)
{
    Vector3f sum = Vector3f::Zero();
    for (int const v : hole_vertices)
    {
        sum += mesh.points[at(v)];
    }
    Vector3f eye = sum / static_cast<float>(hole_vertices.size());
    double depths = 0.0;
    for (int const f : ring_faces)
    {
        for (auto const& corner : state.faces[at(f)].chosen().corner)
        {
            depths += static_cast<double>(corner.depth);
        }
    }
    double const depth = depths / static_cast<double>(3 * ring_faces.size());
    eye.z() = static_cast<float>(static_cast<double>(eye.z()) - depth);
    return eye;
}

/// The pixel of a point in the view of a hole.
/// \return false if it has none
inline bool hole_pixel(Vector3f const& point, Vector3f const& eye, TexImage const& view,
                       Vector2i& pixel)
{
    Vector3f const q = point - eye;
    double const z = std::abs(static_cast<double>(q.z()));
    double const u =
        static_cast<double>(q.x()) / z * view.intrinsics.get_fx() + view.intrinsics.get_cx();
    double const v =
        static_cast<double>(q.y()) / z * view.intrinsics.get_fy() + view.intrinsics.get_cy();
    if (!(std::abs(u) < 2e9) || !(std::abs(v) < 2e9))
    {
        return false;
    }
    pixel = Vector2i(static_cast<int>(u), static_cast<int>(v));
    return true;
}

/// One hole under way.
struct HoleWork
{
    PatchTex rectangle;
    std::vector<int> ring_vertices;
    std::vector<int> hole_vertices;
    std::vector<Vector2i> ring_pixels; ///< in the view
    std::vector<Vector2i> hole_pixels;
    bool is_behind_too = false; ///< whether something lies behind the eye
    Canvas canvas{0, 0};
    Eigen::MatrixXd exact;
    ColorImage result;
};

struct HoleLimits
{
    float area_ratio = 1.0F;
    int vertex_limit = 10000;
    int margin = 3;
    bool known_pixels_stay = false; ///< as with the solver that has all pixels in its system
};

/// Lists the vertices of a hole and of the faces around it.
/// \return these faces; none where nothing that is textured touches the hole
inline std::vector<int> list_surroundings(PlainMesh const& mesh, TextureState const& state,
                                          std::vector<int> const& hole, HoleWork& work,
                                          Taken& taken)
{
    auto ring_faces = faces_around(mesh, state, hole);
    if (ring_faces.empty())
    {
        ++taken["hole without surroundings"];
        return ring_faces;
    }
    work.ring_vertices = vertices_of(mesh, ring_faces);
    work.hole_vertices = vertices_of(mesh, hole);
    return ring_faces;
}

/// Looks at a hole and its surroundings. \return false if it has none, or no view
inline bool look_at_hole(PlainMesh const& mesh, TextureState const& state,
                         std::vector<int> const& hole, TexImage const& view, int margin,
                         HoleWork& work, Taken& taken)
{
    auto const ring_faces = list_surroundings(mesh, state, hole, work, taken);
    if (ring_faces.empty())
    {
        return false;
    }
    Vector3f const eye = eye_of_hole(mesh, state, work.hole_vertices, ring_faces);
    std::vector<int> columns;
    std::vector<int> rows;
    auto const project = [&](std::vector<int> const& vertices, std::vector<Vector2i>& pixels)
    {
        for (int const v : vertices)
        {
            Vector2i pixel;
            if (!hole_pixel(mesh.points[at(v)], eye, view, pixel))
            {
                return false;
            }
            work.is_behind_too = work.is_behind_too || mesh.points[at(v)].z() < eye.z();
            pixels.push_back(pixel);
            columns.push_back(pixel.x());
            rows.push_back(pixel.y());
        }
        return true;
    };
    if (!project(work.hole_vertices, work.hole_pixels) ||
        !project(work.ring_vertices, work.ring_pixels))
    {
        ++taken["hole that cannot be looked at"];
        return false;
    }
    work.rectangle.min_x = *std::min_element(columns.begin(), columns.end()) - margin;
    work.rectangle.max_x = *std::max_element(columns.begin(), columns.end()) + margin;
    work.rectangle.min_y = *std::min_element(rows.begin(), rows.end()) - margin;
    work.rectangle.max_y = *std::max_element(rows.begin(), rows.end()) + margin;
    return true;
}

inline double area_of(PatchTex const& r)
{
    return (static_cast<double>(r.max_x) - r.min_x + 1.0) *
           (static_cast<double>(r.max_y) - r.min_y + 1.0);
}

/// Whether a hole of many vertices takes more than its share of a photograph, or one of any number
/// more pixels than can be counted.
inline bool is_too_large(HoleWork const& work, TexImage const& view, HoleLimits const& limits)
{
    double const photograph = static_cast<double>(view.image.width()) * view.image.height();
    bool const is_larger = static_cast<float>(area_of(work.rectangle)) >
                           static_cast<float>(photograph) * limits.area_ratio;
    bool const is_counted = static_cast<int>(work.hole_vertices.size()) > limits.vertex_limit;
    return (is_counted && is_larger) || area_of(work.rectangle) > 2147483647.0;
}

/// Continues the colours around a hole over its rectangle. Pixels whose colours are known stay
/// black, or have these.
inline void paint(std::vector<PixelColor> const& colors, bool known_pixels_stay, HoleWork& work,
                  Taken& taken)
{
    PatchTex const& r = work.rectangle;
    work.canvas = Canvas(r.width(), r.height());
    for (std::size_t i = 0; i < work.ring_vertices.size(); ++i)
    {
        std::size_t const pixel =
            work.canvas.index(work.ring_pixels[i].x() - r.min_x, work.ring_pixels[i].y() - r.min_y);
        taken["two vertices on a pixel"] += work.canvas.known[pixel] ? 1 : 0;
        work.canvas.known[pixel] = true;
        for (std::size_t c = 0; c < 3; ++c)
        {
            work.canvas.field[pixel][c] = static_cast<float>(colors[at(work.ring_vertices[i])][c]);
        }
    }
    work.exact = solve_densely(work.canvas);
    work.result = ColorImage(r.width(), r.height());
    for (std::size_t i = 0; i < work.canvas.field.size(); ++i)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            float const known = work.canvas.field[i][c];
            float const solved = static_cast<float>(
                work.exact(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c)));
            float const value = !work.canvas.known[i] ? solved : (known_pixels_stay ? known : 0.0F);
            work.result.data()[3 * i + c] = to_byte(value);
        }
    }
}

/// Gives the vertices of a painted hole the colours of their pixels.
inline void set_painted_colors(HoleWork const& work, TextureState& state)
{
    for (std::size_t i = 0; i < work.hole_vertices.size(); ++i)
    {
        int const x = work.hole_pixels[i].x() - work.rectangle.min_x;
        int const y = work.hole_pixels[i].y() - work.rectangle.min_y;
        std::copy_n(work.result.pixel(x, y), 3, state.color[at(work.hole_vertices[i])].data());
    }
}

/// Repairs holes; the colours around each are those from before the first.
inline std::vector<HoleWork> repair_holes(PlainMesh const& mesh, TextureState& state,
                                          std::vector<TexImage> const& views,
                                          FaceLists const& holes, HoleLimits const& limits,
                                          Taken& taken)
{
    std::vector<PixelColor> const before = state.color;
    std::vector<HoleWork> list(holes.size());
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        HoleWork& work = list[h];
        work.rectangle.is_hole = true;
        if (!look_at_hole(mesh, state, holes[h], views[0], limits.margin, work, taken))
        {
            work.rectangle = PatchTex();
            work.rectangle.is_hole = true;
            continue;
        }
        for (std::size_t i = 0; i < work.hole_vertices.size(); ++i)
        {
            state.hole_uv[at(work.hole_vertices[i])] = work.hole_pixels[i];
        }
        if (is_too_large(work, views[0], limits))
        {
            ++taken[area_of(work.rectangle) > 2147483647.0 ? "hole beyond counting"
                                                           : "hole too large"];
            work.rectangle = PatchTex();
            work.rectangle.is_hole = true;
            continue;
        }
        taken["large rectangle of few vertices"] +=
            is_too_large(work, views[0], {limits.area_ratio, 0, 0, false}) ? 1 : 0;
        paint(before, limits.known_pixels_stay, work, taken);
        set_painted_colors(work, state);
        work.rectangle.repaired = true;
        taken["hole on both sides of the eye"] += work.is_behind_too ? 1 : 0;
        ++taken["hole repaired"];
    }
    return list;
}

} // namespace veld_test::reference
