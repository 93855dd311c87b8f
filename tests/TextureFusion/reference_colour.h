#pragma once

#include "tests/TextureFusion/plain_texture.h"
#include "tests/TextureFusion/reference_selection.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

/// \file
/// The colours of patches and of texture holes as plainly as they can be written: dense systems, so
/// for small rectangles only, and one patch after the other. What the library gives has to be the
/// same: rectangles, prescribed colours and marks exactly, solved colours up to rounding.

namespace veld_test::reference
{

/// Colours before they are cut off to bytes.
using Field = std::vector<std::array<float, 3>>;

/// A rectangle with what is prescribed in it.
struct Canvas
{
    Canvas(int columns, int rows)
        : width(columns),
          height(rows),
          field(at(columns) * at(rows), {0.0F, 0.0F, 0.0F}),
          known(at(columns) * at(rows), false)
    {
    }

    std::size_t index(int x, int y) const { return at(y) * at(width) + at(x); }

    int width;
    int height;
    Field field;
    std::vector<bool> known;
};

/// The rectangles of the patches; numbers them and their faces.
inline std::vector<PatchTex> partition(PlainMesh const& mesh, TextureState& state,
                                       std::vector<TexImage> const& views, int margin, Taken& taken)
{
    std::vector<PatchTex> patches;
    std::vector<bool> visited(mesh.corners.size(), false);
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        state.patch_id[at(f)] = -1;
    }
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (!state.faces[at(f)].has_tex || visited[at(f)])
        {
            continue;
        }
        PatchTex patch;
        patch.label = state.faces[at(f)].label;
        std::vector<int> columns;
        std::vector<int> rows;
        auto const is_of_the_view = [&](int g)
        { return state.faces[at(g)].has_tex && state.faces[at(g)].label == patch.label; };
        for (int const g : connected_faces(mesh, f, visited, is_of_the_view))
        {
            state.patch_id[at(g)] = static_cast<int>(patches.size());
            for (VertTex const& corner : state.faces[at(g)].chosen().corner)
            {
                columns.push_back(corner.px);
                rows.push_back(corner.py);
            }
        }
        ColorImage const& image = views[at(patch.label)].image;
        patch.min_x = std::max(0, *std::min_element(columns.begin(), columns.end()) - margin);
        patch.min_y = std::max(0, *std::min_element(rows.begin(), rows.end()) - margin);
        patch.max_x =
            std::min(image.width() - 1, *std::max_element(columns.begin(), columns.end()) + margin);
        patch.max_y =
            std::min(image.height() - 1, *std::max_element(rows.begin(), rows.end()) + margin);
        ++taken[patch.min_x == 0 ? "rectangle at the left" : "rectangle off the left"];
        ++taken[patch.max_y == image.height() - 1 ? "rectangle at the bottom"
                                                  : "rectangle off the bottom"];
        patches.push_back(patch);
    }
    return patches;
}

using FaceLists = std::vector<std::vector<int>>;

/// The faces of each patch, those of them at another patch, and what each face is then.
inline void list_faces(PlainMesh const& mesh, TextureState& state, FaceLists& faces,
                       FaceLists& border, std::size_t n_patches)
{
    faces.assign(n_patches, {});
    border.assign(n_patches, {});
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (!state.faces[at(f)].has_tex)
        {
            state.group[at(f)] = FaceGroupType::TEXLESS;
            continue;
        }
        int const patch = state.patch_id[at(f)];
        faces[at(patch)].push_back(f);
        bool touches_other = false;
        for (int const g : mesh.across[at(f)])
        {
            touches_other =
                touches_other || (state.faces[at(g)].has_tex && state.patch_id[at(g)] != patch);
        }
        if (touches_other)
        {
            border[at(patch)].push_back(f);
        }
    }
    for (std::size_t p = 0; p < n_patches; ++p)
    {
        for (int const f : faces[p])
        {
            state.group[at(f)] =
                border[p].empty() ? FaceGroupType::ISOLATED : FaceGroupType::NONBOUNDARY;
        }
        for (int const f : border[p])
        {
            state.group[at(f)] = FaceGroupType::BOUNDARY;
        }
    }
}

/// The corner of a face that is at a vertex.
inline std::size_t corner_at(PlainMesh const& mesh, int face, int vertex)
{
    auto const& corners = mesh.corners[at(face)];
    return static_cast<std::size_t>(std::find(corners.begin(), corners.end(), vertex) -
                                    corners.begin());
}

/// Makes each unknown pixel the mean of its neighbours within the rectangle, with a full matrix.
/// The known ones stay. \return the solution in the digits it is computed in, row by row of pixels
inline Eigen::MatrixXd solve_densely(Canvas const& canvas)
{
    auto const n = static_cast<Eigen::Index>(canvas.field.size());
    Eigen::MatrixXd a = Eigen::MatrixXd::Identity(n, n);
    Eigen::MatrixXd b = Eigen::MatrixXd::Zero(n, 3);
    std::array<std::array<int, 2>, 4> const steps{{{-1, 0}, {0, -1}, {1, 0}, {0, 1}}};
    for (int y = 0; y < canvas.height; ++y)
    {
        for (int x = 0; x < canvas.width; ++x)
        {
            auto const i = static_cast<Eigen::Index>(canvas.index(x, y));
            std::size_t const here = canvas.index(x, y);
            if (canvas.known[here])
            {
                for (int c = 0; c < 3; ++c)
                {
                    b(i, c) = static_cast<double>(canvas.field[here][at(c)]);
                }
                continue;
            }
            a(i, i) = 0.0;
            for (auto const& step : steps)
            {
                int const nx = x + step[0];
                int const ny = y + step[1];
                if (nx >= 0 && nx < canvas.width && ny >= 0 && ny < canvas.height)
                {
                    a(i, i) += 1.0;
                    a(i, static_cast<Eigen::Index>(canvas.index(nx, ny))) = -1.0;
                }
            }
        }
    }
    return a.fullPivLu().solve(b);
}

/// Cuts a colour off to a byte: first to 0 and 255, then what is behind the point.
inline unsigned char to_byte(float value)
{
    return static_cast<unsigned char>(std::min(std::max(value, 0.0F), 255.0F));
}

/// The vertices of border faces at which a face of another patch and of another view is, as often
/// as they are met.
inline std::vector<int> seam_vertices(PlainMesh const& mesh, TextureState const& state,
                                      std::vector<int> const& border)
{
    std::vector<int> seam;
    for (int const f : border)
    {
        for (int const vertex : mesh.corners[at(f)])
        {
            bool is_at_seam = false;
            for (int const g : mesh.around[at(vertex)])
            {
                is_at_seam =
                    is_at_seam || (state.faces[at(g)].has_tex && state.patch_id[at(g)] >= 0 &&
                                   state.patch_id[at(g)] != state.patch_id[at(border[0])] &&
                                   state.faces[at(g)].label != state.faces[at(border[0])].label);
            }
            if (is_at_seam)
            {
                seam.push_back(vertex);
            }
        }
    }
    return seam;
}

/// One patch under way.
struct PatchCanvas
{
    PatchCanvas(ColorImage const& view, PatchTex const& patch)
        : canvas(patch.width(), patch.height()), source(patch.width(), patch.height())
    {
        for (int y = 0; y < patch.height(); ++y)
        {
            for (int x = 0; x < patch.width(); ++x)
            {
                std::copy_n(view.pixel(patch.min_x + x, patch.min_y + y), 3, source.pixel(x, y));
            }
        }
        result = source;
    }

    Canvas canvas; ///< the corrections
    ColorImage source;
    ColorImage result;
    Eigen::MatrixXd exact; ///< the corrections in more digits
};

/// Prescribes the correction at one vertex of a seam: from the vertex's own colour in the patch to
/// the mean of what the views of all faces there show.
inline void prescribe(PlainMesh const& mesh, TextureState& state,
                      std::vector<TexImage> const& views, PatchTex const& patch, int patch_id,
                      int vertex, PatchCanvas& work)
{
    std::array<int, 3> sum{0, 0, 0};
    int n = 0;
    VertTex const* own = nullptr;
    for (int const g : mesh.around[at(vertex)])
    {
        if (!state.faces[at(g)].has_tex || state.patch_id[at(g)] < 0)
        {
            continue;
        }
        VertTex const& corner = state.faces[at(g)].chosen().corner[corner_at(mesh, g, vertex)];
        for (std::size_t c = 0; c < 3; ++c)
        {
            sum[c] += views[at(corner.image_id)].image.pixel(corner.px, corner.py)[c];
        }
        ++n;
        own = state.patch_id[at(g)] == patch_id ? &corner : own;
    }
    int const x = own->px - patch.min_x;
    int const y = own->py - patch.min_y;
    for (std::size_t c = 0; c < 3; ++c)
    {
        auto const mean = static_cast<unsigned char>(sum[c] / n);
        auto const old = static_cast<float>(work.source.pixel(x, y)[c]);
        state.color[at(vertex)][c] = mean;
        work.result.pixel(x, y)[c] = mean;
        work.canvas.field[work.canvas.index(x, y)][c] =
            static_cast<float>(sum[c]) / static_cast<float>(n) - old;
    }
    work.canvas.known[work.canvas.index(x, y)] = true;
}

/// Solves for the corrections of a patch, and adds them to the pixels that have none.
inline void correct(PatchCanvas& work, Taken& taken)
{
    work.exact = solve_densely(work.canvas);
    for (std::size_t i = 0; i < work.canvas.field.size(); ++i)
    {
        for (std::size_t c = 0; c < 3 && !work.canvas.known[i]; ++c)
        {
            auto const index = static_cast<Eigen::Index>(i);
            float const correction =
                static_cast<float>(work.exact(index, static_cast<Eigen::Index>(c)));
            work.canvas.field[i][c] = correction;
            float const sum = correction + static_cast<float>(work.source.data()[3 * i + c]);
            taken["colour cut off"] += sum < 0.0F || sum > 255.0F ? 1 : 0;
            work.result.data()[3 * i + c] = to_byte(sum);
        }
    }
}

/// Corrects the patches at others by what is prescribed, and gives the vertices off the seams their
/// colours.
/// \param is_seam whether each vertex has its colour from a seam
inline void correct_patches(PlainMesh const& mesh, TextureState& state,
                            std::vector<PatchTex> const& patches, FaceLists const& faces,
                            FaceLists const& border, std::vector<bool> const& is_seam,
                            std::vector<PatchCanvas>& work, Taken& taken)
{
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        ++taken[border[p].empty() ? "patch alone" : "patch at others"];
        if (border[p].empty())
        {
            continue;
        }
        correct(work[p], taken);
        for (int const f : faces[p])
        {
            for (std::size_t k = 0; k < 3; ++k)
            {
                int const vertex = mesh.corners[at(f)][k];
                VertTex const& corner = state.faces[at(f)].chosen().corner[k];
                int const x = corner.px - patches[p].min_x;
                int const y = corner.py - patches[p].min_y;
                ++taken[is_seam[at(vertex)] ? "vertex at a seam" : "vertex off the seams"];
                for (std::size_t c = 0; c < 3 && !is_seam[at(vertex)]; ++c)
                {
                    state.color[at(vertex)][c] =
                        to_byte(static_cast<float>(work[p].source.pixel(x, y)[c]) +
                                work[p].canvas.field[work[p].canvas.index(x, y)][c]);
                }
            }
        }
    }
}

/// The patches' images, corrected at the seams; and the colours of the vertices.
inline std::vector<PatchCanvas> fuse(PlainMesh const& mesh, TextureState& state,
                                     std::vector<TexImage> const& views,
                                     std::vector<PatchTex> const& patches, FaceLists const& faces,
                                     FaceLists const& border, Taken& taken)
{
    std::vector<PatchCanvas> work;
    std::vector<bool> is_seam(mesh.points.size(), false);
    state.color.assign(mesh.points.size(), PixelColor{});
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        work.emplace_back(views[at(patches[p].label)].image, patches[p]);
        for (int const v : seam_vertices(mesh, state, border[p]))
        {
            is_seam[at(v)] = true;
            prescribe(mesh, state, views, patches[p], static_cast<int>(p), v, work[p]);
        }
    }
    correct_patches(mesh, state, patches, faces, border, is_seam, work, taken);
    return work;
}

} // namespace veld_test::reference
