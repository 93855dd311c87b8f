#pragma once

#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "tests/TextureFusion/plain_texture.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// \file
/// Which view sees what, as plainly as it can be written: one vertex after the other into one depth
/// buffer, a list for each vertex. What the library gives has to be the same, to the bit.

namespace veld_test::reference
{

using OrvaneAlgorithm::detail::VisibilityLimits;
using ViewsOfVertices = std::vector<std::vector<VertTex>>;

/// The nearest depths of a view; one counts only where the mask is set.
struct DepthBuffer
{
    DepthBuffer(int columns, int rows)
        : width(columns),
          height(rows),
          depth(at(columns) * at(rows), 0.0F),
          mask(at(columns) * at(rows), false)
    {
    }

    std::size_t index(int row, int column) const { return at(row) * at(width) + at(column); }

    int width;
    int height;
    std::vector<float> depth;
    std::vector<bool> mask;
};

/// Whether a column, or a row, lies inside an image of `size` and off its border. It is truncated
/// and not rounded: what lies less than a pixel before the first one falls on it.
inline bool is_inside(double coordinate, int size, int border)
{
    double const truncated = std::trunc(coordinate);
    return std::isfinite(coordinate) && truncated >= border && truncated < size - border;
}

/// Where a view would see a vertex that nothing hides.
/// \return false if it looks away or misses the image
inline bool look_at_vertex(Vector3f const& point, Vector3f const& normal, TexImage const& view,
                           VisibilityLimits const& limits, VertTex& seen, Taken& taken)
{
    Vector3f const n = view.pose.transform_normal(normal);
    Vector3f const p = view.pose * point;
    Vector3f const ray = p / p.norm();
    float const cosine = -n.dot(ray);
    if (limits.norm_thr > cosine)
    {
        ++taken["looks away"];
        return false;
    }
    taken["edge-on"] += cosine == limits.norm_thr ? 1 : 0;
    taken["behind the camera"] += p.z() < 0.0F ? 1 : 0;
    double const z = std::abs(static_cast<double>(p.z()));
    double const u =
        static_cast<double>(p.x()) / z * view.intrinsics.get_fx() + view.intrinsics.get_cx();
    double const v =
        static_cast<double>(p.y()) / z * view.intrinsics.get_fy() + view.intrinsics.get_cy();
    taken["not to be projected"] += std::isfinite(u) && std::isfinite(v) ? 0 : 1;
    if (!is_inside(u, view.image.width(), limits.image_border) ||
        !is_inside(v, view.image.height(), limits.image_border))
    {
        ++taken["misses the image"];
        taken["on the border"] +=
            is_inside(u, view.image.width(), 0) && is_inside(v, view.image.height(), 0) ? 1 : 0;
        return false;
    }
    taken["less than a pixel outside"] += u < 0.0 || v < 0.0 ? 1 : 0;
    seen = VertTex{view.id,
                   static_cast<float>(z),
                   static_cast<int>(u),
                   static_cast<int>(v),
                   static_cast<float>(u),
                   static_cast<float>(v),
                   cosine};
    return true;
}

/// Spreads each depth over its eight neighbours, where they are further away than the tolerance or
/// not there. Depths are those from before; of several that reach a pixel the last one stays, in
/// four passes over every fourth row.
inline void dilate(DepthBuffer& buffer, float tolerance, Taken& taken)
{
    std::vector<float> const source = buffer.depth;
    for (int pass = 0; pass < 4; ++pass)
    {
        for (int row = pass; row < buffer.height; row += 4)
        {
            for (int column = 0; column < buffer.width; ++column)
            {
                if (!buffer.mask[buffer.index(row, column)])
                {
                    continue;
                }
                float const d = source[buffer.index(row, column)];
                for (int r = std::max(row - 1, 0); r <= std::min(row + 1, buffer.height - 1); ++r)
                {
                    for (int c = std::max(column - 1, 0);
                         c <= std::min(column + 1, buffer.width - 1); ++c)
                    {
                        std::size_t const i = buffer.index(r, c);
                        if (buffer.mask[i] && !(source[i] > d + tolerance))
                        {
                            continue;
                        }
                        if (buffer.mask[i])
                        {
                            ++taken["nearer neighbour"];
                            taken["further of two neighbours"] += buffer.depth[i] < d ? 1 : 0;
                        }
                        buffer.depth[i] = d;
                    }
                }
            }
        }
    }
}

/// Adds what one view sees to the lists of the vertices.
inline void project_view(PlainMesh const& mesh, TexImage const& view,
                         VisibilityLimits const& limits, ViewsOfVertices& lists, Taken& taken)
{
    DepthBuffer buffer(view.image.width(), view.image.height());
    std::vector<VertTex> candidates(mesh.points.size());
    std::vector<bool> is_candidate(mesh.points.size(), false);
    for (std::size_t v = 0; v < mesh.points.size(); ++v)
    {
        VertTex seen;
        if (static_cast<int>(lists[v].size()) >= limits.vertex_tex_num_thr)
        {
            ++taken["full"];
            continue;
        }
        if (!look_at_vertex(mesh.points[v], mesh.normals[v], view, limits, seen, taken))
        {
            continue;
        }
        std::size_t const i = buffer.index(seen.py, seen.px);
        if (buffer.mask[i] && !(buffer.depth[i] + limits.dis_thr > seen.depth))
        {
            ++taken["hidden at once"];
        }
        else
        {
            candidates[v] = seen;
            is_candidate[v] = true;
        }
        if (!buffer.mask[i] || buffer.depth[i] > seen.depth)
        {
            taken["nearer than before"] += buffer.mask[i] ? 1 : 0;
            buffer.depth[i] = seen.depth;
            buffer.mask[i] = true;
        }
    }
    std::vector<float> const drawn = buffer.depth;
    dilate(buffer, limits.dis_thr, taken);
    for (std::size_t v = 0; v < mesh.points.size(); ++v)
    {
        if (!is_candidate[v])
        {
            continue;
        }
        std::size_t const i = buffer.index(candidates[v].py, candidates[v].px);
        if (buffer.depth[i] + limits.dis_thr > candidates[v].depth)
        {
            ++taken["seen"];
            lists[v].push_back(candidates[v]);
        }
        else
        {
            ++taken[drawn[i] + limits.dis_thr > candidates[v].depth ? "hidden by the dilation"
                                                                    : "hidden later"];
        }
    }
}

/// The views in which each vertex is seen, in their order.
inline ViewsOfVertices project_vertices(PlainMesh const& mesh, std::vector<TexImage> const& views,
                                        VisibilityLimits const& limits, Taken& taken)
{
    ViewsOfVertices lists(mesh.points.size());
    for (auto const& view : views)
    {
        project_view(mesh, view, limits, lists, taken);
    }
    return lists;
}

/// Whether the first of two views is the better one; what is no number is the worst.
inline bool is_more_frontal(FaceTex const& a, FaceTex const& b)
{
    if (std::isfinite(a.avg_cos) != std::isfinite(b.avg_cos))
    {
        return std::isfinite(a.avg_cos);
    }
    return std::isfinite(a.avg_cos) && a.avg_cos > b.avg_cos;
}

/// The views that see all corners of each face, the most frontal first, equal ones in their order.
inline std::vector<FaceViews> project_faces(PlainMesh const& mesh, ViewsOfVertices const& vertices,
                                            int n_views, Taken& taken)
{
    std::vector<FaceViews> faces(mesh.corners.size());
    for (std::size_t f = 0; f < faces.size(); ++f)
    {
        for (int id = 0; id < n_views; ++id)
        {
            FaceTex tex;
            tex.image_id = id;
            int n_seen = 0;
            for (std::size_t k = 0; k < 3; ++k)
            {
                VertTex const* const seen = entry_of_view(vertices[at(mesh.corners[f][k])], id);
                if (seen != nullptr)
                {
                    tex.corner[k] = *seen;
                    ++n_seen;
                }
            }
            if (n_seen < 3)
            {
                taken["not all corners"] += n_seen > 0 ? 1 : 0;
                continue;
            }
            float const sum = tex.corner[0].cosine + tex.corner[1].cosine + tex.corner[2].cosine;
            tex.avg_cos = static_cast<float>(static_cast<double>(sum) / 3.0);
            taken["no mean cosine"] += std::isfinite(tex.avg_cos) ? 0 : 1;
            faces[f].list.push_back(tex);
        }
        auto& list = faces[f].list;
        std::stable_sort(list.begin(), list.end(), is_more_frontal);
        faces[f].has_tex = !list.empty();
        faces[f].label = list.empty() ? 0 : list.front().image_id;
        taken[list.empty() ? "face without a view" : "face with a view"]++;
        taken["equally frontal"] += list.size() > 1 && list[0].avg_cos == list[1].avg_cos ? 1 : 0;
    }
    return faces;
}

} // namespace veld_test::reference
