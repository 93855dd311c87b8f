#pragma once

#include "tests/TextureFusion/reference_arrangement.h"
#include "tests/TextureFusion/reference_fusion.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

/// \file
/// What the pipeline in modules does otherwise, as plainly as it can be written, and all of its
/// stages one behind the other.

namespace veld_test::reference
{

/// A column, or row, to the nearest pixel: truncated behind one half more.
inline double to_nearest(double focal_length, float way, double depth, double centre)
{
    return focal_length * static_cast<double>(way) / depth + centre + 0.5;
}

/// Where a view would see a vertex that nothing hides, in whole pixels.
/// \return false if it looks away or misses the image
inline bool look_at_nearest_pixel(Vector3f const& point, Vector3f const& normal,
                                  TexImage const& view, VertTex& seen, Taken& taken)
{
    Vector3f const p = view.pose * point;
    float const cosine = -view.pose.transform_normal(normal).dot(Vector3f(p / p.norm()));
    if (0.0F > cosine)
    {
        ++taken["looks away"];
        return false;
    }
    double const z = std::abs(static_cast<double>(p.z()));
    double const column = to_nearest(view.intrinsics.get_fx(), p.x(), z, view.intrinsics.get_cx());
    double const row = to_nearest(view.intrinsics.get_fy(), p.y(), z, view.intrinsics.get_cy());
    if (!is_inside(column, view.image.width(), 0) || !is_inside(row, view.image.height(), 0))
    {
        ++taken["misses the image"];
        return false;
    }
    int const px = static_cast<int>(column);
    int const py = static_cast<int>(row);
    taken["at the rim"] +=
        px == 0 || py == 0 || px == view.image.width() - 1 || py == view.image.height() - 1 ? 1 : 0;
    seen = VertTex{view.id, static_cast<float>(z),  px,
                   py,      static_cast<float>(px), static_cast<float>(py),
                   cosine};
    return true;
}

/// Spreads each depth over its eight neighbours, row by row. What a pixel got it hands on.
inline void dilate_in_place(DepthBuffer& buffer, float tolerance, Taken& taken)
{
    std::vector<float> const before = buffer.depth;
    for (int row = 0; row < buffer.height; ++row)
    {
        for (int column = 0; column < buffer.width; ++column)
        {
            std::size_t const here = buffer.index(row, column);
            if (!buffer.mask[here])
            {
                continue;
            }
            for (int r = std::max(row - 1, 0); r <= std::min(row + 1, buffer.height - 1); ++r)
            {
                for (int c = std::max(column - 1, 0); c <= std::min(column + 1, buffer.width - 1);
                     ++c)
                {
                    std::size_t const i = buffer.index(r, c);
                    if (!buffer.mask[i] || buffer.depth[i] > buffer.depth[here] + tolerance)
                    {
                        taken["handed on further"] +=
                            buffer.mask[i] && buffer.depth[here] < before[here] ? 1 : 0;
                        buffer.depth[i] = buffer.depth[here];
                    }
                }
            }
        }
    }
}

/// The views in which each vertex is seen, in whole pixels; at most ten.
inline ViewsOfVertices project_to_pixels(PlainMesh const& mesh, std::vector<TexImage> const& views,
                                         Taken& taken)
{
    constexpr float TOLERANCE = 1.0F;
    constexpr std::size_t MOST = 10;
    ViewsOfVertices lists(mesh.points.size());
    for (auto const& view : views)
    {
        DepthBuffer buffer(view.image.width(), view.image.height());
        std::vector<std::pair<std::size_t, VertTex>> candidates;
        for (std::size_t v = 0; v < mesh.points.size(); ++v)
        {
            VertTex seen;
            if (lists[v].size() >= MOST ||
                !look_at_nearest_pixel(mesh.points[v], mesh.normals[v], view, seen, taken))
            {
                continue;
            }
            std::size_t const i = buffer.index(seen.py, seen.px);
            if (!buffer.mask[i] || buffer.depth[i] + TOLERANCE > seen.depth)
            {
                candidates.emplace_back(v, seen);
            }
            if (!buffer.mask[i] || buffer.depth[i] > seen.depth)
            {
                buffer.depth[i] = seen.depth;
                buffer.mask[i] = true;
            }
        }
        dilate_in_place(buffer, TOLERANCE, taken);
        for (auto const& [v, seen] : candidates)
        {
            bool const is_seen =
                buffer.depth[buffer.index(seen.py, seen.px)] + TOLERANCE > seen.depth;
            ++taken[is_seen ? "seen" : "hidden"];
            if (is_seen)
            {
                lists[v].push_back(seen);
            }
        }
    }
    return lists;
}

/// Lets the faces at borders of blocks, once each and in their order, take the view that most of
/// their neighbours across edges have; the lowest of equally frequent ones.
inline void follow_neighbours(PlainMesh const& mesh, std::vector<FaceViews>& faces, Taken& taken)
{
    std::vector<bool> is_marked;
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        is_marked.push_back(is_at_border(mesh, faces, f));
    }
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (!is_marked[at(f)] || !is_at_border(mesh, faces, f))
        {
            taken["border has gone"] += is_marked[at(f)] ? 1 : 0;
            continue;
        }
        std::map<int, int> counts;
        for (int const g : mesh.across[at(f)])
        {
            counts[faces[at(g)].label] += faces[at(g)].has_tex ? 1 : 0;
        }
        auto best = counts.begin();
        for (auto it = counts.begin(); it != counts.end(); ++it)
        {
            best = it->second > best->second ? it : best;
        }
        if (best->first != faces[at(f)].label)
        {
            ++taken[relabel(faces[at(f)], best->first) ? "neighbours followed"
                                                       : "neighbours not to be followed"];
        }
    }
}

/// The pixels of a line, one for each column, or for each row if it is steep; rising.
inline std::vector<Vector2i> line_of_pixels(Vector2i from, Vector2i to)
{
    bool const is_steep = std::abs(to.y() - from.y()) > std::abs(to.x() - from.x());
    Eigen::Index const along = is_steep ? 1 : 0;
    if (from[along] > to[along])
    {
        std::swap(from, to);
    }
    int const length = to[along] - from[along];
    int const rise = std::abs(to[1 - along] - from[1 - along]);
    int const step = from[1 - along] < to[1 - along] ? 1 : -1;
    std::vector<Vector2i> pixels;
    for (int i = 0; i <= length; ++i)
    {
        // As many steps as bring half a length, less `rise` for each pixel before, to 0 or more.
        int steps = 0;
        while (length / 2 - i * rise + steps * length < 0)
        {
            ++steps;
        }
        Vector2i pixel;
        pixel[along] = from[along] + i;
        pixel[1 - along] = from[1 - along] + step * steps;
        pixels.push_back(pixel);
    }
    return pixels;
}

/// The vertices that two faces share, in the order of the first one's corners.
inline std::vector<int> shared_corners(PlainMesh const& mesh, int face, int other)
{
    std::vector<int> shared;
    for (int const v : mesh.corners[at(face)])
    {
        if (corner_at(mesh, other, v) < 3)
        {
            shared.push_back(v);
        }
    }
    return shared;
}

using Correction = std::array<float, 3>;

/// Prescribes corrections between the ends of an edge: evenly from one to the other.
inline void prescribe_between(Vector2i const& from, Correction const& first, Vector2i const& to,
                              Correction const& last, PatchCanvas& work, Taken& taken)
{
    int const length = (to - from).cwiseAbs().maxCoeff();
    for (Vector2i const& pixel : line_of_pixels(from, to))
    {
        if (pixel == from || pixel == to)
        {
            continue;
        }
        ++taken["between the ends of an edge"];
        int const way = (pixel - from).cwiseAbs().maxCoeff();
        float const share = static_cast<float>(way) / static_cast<float>(length);
        std::size_t const i = work.canvas.index(pixel.x(), pixel.y());
        work.canvas.known[i] = true;
        for (std::size_t c = 0; c < 3; ++c)
        {
            work.canvas.field[i][c] = first[c] + share * (last[c] - first[c]);
            work.result.pixel(pixel.x(), pixel.y())[c] =
                to_byte(work.canvas.field[i][c] +
                        static_cast<float>(work.source.pixel(pixel.x(), pixel.y())[c]));
        }
    }
}

/// The pixel at which a face's view sees one of its vertices, in the patch's rectangle.
inline Vector2i pixel_in_patch(PlainMesh const& mesh, TextureState const& state,
                               PatchTex const& patch, int face, int vertex)
{
    auto const& corner = state.faces[at(face)].chosen().corner[corner_at(mesh, face, vertex)];
    return {corner.px - patch.min_x, corner.py - patch.min_y};
}

/// The pairs of faces of a patch and of others that share an edge.
inline std::vector<std::pair<int, int>>
pairs_at_seam(PlainMesh const& mesh, TextureState const& state, std::vector<int> const& border)
{
    std::vector<std::pair<int, int>> pairs;
    for (int const f : border)
    {
        for (int const g : mesh.across[at(f)])
        {
            if (state.faces[at(g)].has_tex && state.patch_id[at(g)] != state.patch_id[at(f)])
            {
                pairs.emplace_back(f, g);
            }
        }
    }
    return pairs;
}

/// Prescribes the corrections along all edges of a patch to others: between their ends, and then at
/// all ends.
inline void prescribe_edges(PlainMesh const& mesh, TextureState& state,
                            std::vector<TexImage> const& views, PatchTex const& patch, int patch_id,
                            std::vector<int> const& border, std::vector<bool>& is_seam,
                            PatchCanvas& work, Taken& taken)
{
    auto const prescribe_end = [&](int vertex, Vector2i const& pixel)
    {
        is_seam[at(vertex)] = true;
        prescribe(mesh, state, views, patch, patch_id, vertex, work);
        return work.canvas.field[work.canvas.index(pixel.x(), pixel.y())];
    };
    for (bool const is_last_pass : {false, true})
    {
        for (auto const& [f, g] : pairs_at_seam(mesh, state, border))
        {
            auto const ends = shared_corners(mesh, f, g);
            Vector2i const from = pixel_in_patch(mesh, state, patch, f, ends[0]);
            Vector2i const to = pixel_in_patch(mesh, state, patch, f, ends[1]);
            Correction const first = prescribe_end(ends[0], from);
            Correction const last = prescribe_end(ends[1], to);
            if (!is_last_pass)
            {
                prescribe_between(from, first, to, last, work, taken);
            }
        }
    }
}

/// The patches' images, corrected along the edges between them; and the colours of the vertices.
inline std::vector<PatchCanvas> fuse_along_edges(PlainMesh const& mesh, TextureState& state,
                                                 std::vector<TexImage> const& views,
                                                 std::vector<PatchTex> const& patches,
                                                 FaceLists const& faces, FaceLists const& border,
                                                 Taken& taken)
{
    std::vector<PatchCanvas> work;
    std::vector<bool> is_seam(mesh.points.size(), false);
    state.color.assign(mesh.points.size(), PixelColor{});
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        work.emplace_back(views[at(patches[p].label)].image, patches[p]);
        prescribe_edges(mesh, state, views, patches[p], static_cast<int>(p), border[p], is_seam,
                        work[p], taken);
    }
    correct_patches(mesh, state, patches, faces, border, is_seam, work, taken);
    return work;
}

/// Axes of points: the third one is that of their least spread, on the side of a normal.
inline Eigen::Matrix3f axes_of(std::vector<Vector3f> const& points, Vector3f const& normal)
{
    Vector3f mean = Vector3f::Zero();
    for (auto const& point : points)
    {
        mean += point;
    }
    mean /= static_cast<float>(points.size());
    Eigen::Matrix3f scatter = Eigen::Matrix3f::Zero();
    for (auto const& point : points)
    {
        scatter += (point - mean) * (point - mean).transpose();
    }
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3f> const solver(scatter);
    Vector3f const third = solver.eigenvectors().col(0);
    Eigen::Matrix3f axes;
    axes.col(2) = third.dot(normal) < 0.0F ? Vector3f(-third) : third;
    axes.col(1) = solver.eigenvectors().col(1);
    axes.col(0) = Vector3f(axes.col(1)).cross(Vector3f(axes.col(2)));
    return axes;
}

/// Of the corners of faces, in the photographs that they were given.
inline double mean_depth(TextureState const& state, std::vector<int> const& faces)
{
    double depths = 0.0;
    for (int const f : faces)
    {
        for (auto const& corner : state.faces[at(f)].chosen().corner)
        {
            depths += static_cast<double>(corner.depth);
        }
    }
    return depths / static_cast<double>(3 * faces.size());
}

/// Makes a rectangle larger, so that it goes on around a pixel by a margin.
inline void take_in(Vector2i const& pixel, int margin, PatchTex& r)
{
    r.min_x = std::min(r.min_x, pixel.x() - margin);
    r.max_x = std::max(r.max_x, pixel.x() + margin);
    r.min_y = std::min(r.min_y, pixel.y() - margin);
    r.max_y = std::max(r.max_y, pixel.y() + margin);
}

/// Looks at a hole along its third axis, from as far off as the photographs around it were taken,
/// with the camera and the size of a photograph.
/// \return false if it has no surroundings, or nothing of it is in the picture
inline bool look_along_normal(PlainMesh const& mesh, TextureState const& state,
                              std::vector<int> const& hole, TexImage const& view, int margin,
                              HoleWork& work, Taken& taken)
{
    auto const ring_faces = list_surroundings(mesh, state, hole, work, taken);
    if (ring_faces.empty())
    {
        return false;
    }
    std::vector<Vector3f> points;
    Vector3f mean = Vector3f::Zero();
    for (int const v : work.hole_vertices)
    {
        points.push_back(mesh.points[at(v)]);
        mean += mesh.points[at(v)];
    }
    mean /= static_cast<float>(points.size());
    Eigen::Matrix3f const axes = axes_of(points, mesh.normals[at(work.hole_vertices[0])]);
    double const distance = mean_depth(state, ring_faces);
    auto const pixel_of = [&](int vertex)
    {
        Vector3f q = axes.transpose() * (mesh.points[at(vertex)] - mean);
        q.z() = static_cast<float>(static_cast<double>(q.z()) + distance);
        double const z = std::abs(static_cast<double>(q.z()));
        double const u =
            static_cast<double>(q.x()) / z * view.intrinsics.get_fx() + view.intrinsics.get_cx();
        double const v =
            static_cast<double>(q.y()) / z * view.intrinsics.get_fy() + view.intrinsics.get_cy();
        return Vector2i(static_cast<int>(u + 0.5), static_cast<int>(v + 0.5));
    };
    PatchTex& r = work.rectangle;
    r.min_x = r.min_y = 1000000;
    r.max_x = r.max_y = -1000000;
    auto const project = [&](std::vector<int> const& vertices, std::vector<Vector2i>& pixels)
    {
        for (int const v : vertices)
        {
            pixels.push_back(pixel_of(v));
            take_in(pixels.back(), margin, r);
        }
    };
    project(work.hole_vertices, work.hole_pixels);
    project(work.ring_vertices, work.ring_pixels);
    taken["hole beyond the picture"] += r.min_x < 0 || r.min_y < 0 ? 1 : 0;
    r.min_x = std::max(r.min_x, 0);
    r.min_y = std::max(r.min_y, 0);
    r.max_x = std::min(r.max_x, view.image.width() - 1);
    r.max_y = std::min(r.max_y, view.image.height() - 1);
    return r.min_x <= r.max_x && r.min_y <= r.max_y;
}

/// Leaves out what of a hole's surroundings is not in the picture, and draws the hole's vertices to
/// its edge. \return false if nothing of the surroundings is there
inline bool keep_to_picture(HoleWork& work, Taken& taken)
{
    PatchTex const& r = work.rectangle;
    std::vector<int> vertices;
    std::vector<Vector2i> pixels;
    for (std::size_t i = 0; i < work.ring_pixels.size(); ++i)
    {
        Vector2i const& pixel = work.ring_pixels[i];
        if (pixel.x() >= r.min_x && pixel.x() <= r.max_x && pixel.y() >= r.min_y &&
            pixel.y() <= r.max_y)
        {
            vertices.push_back(work.ring_vertices[i]);
            pixels.push_back(pixel);
        }
    }
    taken["surroundings beyond the picture"] += vertices.size() < work.ring_vertices.size() ? 1 : 0;
    work.ring_vertices = vertices;
    work.ring_pixels = pixels;
    for (Vector2i& pixel : work.hole_pixels)
    {
        pixel = pixel.cwiseMax(Vector2i(r.min_x, r.min_y)).cwiseMin(Vector2i(r.max_x, r.max_y));
    }
    return !vertices.empty();
}

/// The holes, one after the other, as pieces of the atlas; those that could not be painted are
/// without an image.
inline std::vector<Piece> paint_holes(PlainMesh const& mesh, TextureState& state,
                                      TexImage const& view, FaceLists const& holes, int margin,
                                      Taken& taken)
{
    std::vector<Piece> pieces;
    for (auto const& hole : holes)
    {
        HoleWork work;
        pieces.emplace_back();
        pieces.back().rectangle.is_hole = true;
        if (!look_along_normal(mesh, state, hole, view, margin, work, taken) ||
            !keep_to_picture(work, taken))
        {
            continue;
        }
        for (std::size_t i = 0; i < work.hole_vertices.size(); ++i)
        {
            state.hole_uv[at(work.hole_vertices[i])] = work.hole_pixels[i];
        }
        // The holes behind it see what this one leaves.
        paint(state.color, true, work, taken);
        set_painted_colors(work, state);
        work.rectangle.is_hole = true;
        work.rectangle.repaired = true;
        pieces.back() = {work.rectangle, work.result};
        ++taken["hole repaired"];
    }
    return pieces;
}

inline void copy_piece(ColorImage const& image, PatchTex const& rectangle, ColorImage& atlas)
{
    for (int y = 0; y < image.height(); ++y)
    {
        for (int x = 0; x < image.width(); ++x)
        {
            std::copy_n(image.pixel(x, y), 3,
                        atlas.pixel(rectangle.atlas_x + x, rectangle.atlas_y + y));
        }
    }
}

/// Lays all pieces out, and looks for a pixel for faces without colour.
/// \return false if there is none
inline bool arrange_pieces(std::vector<Piece>& patches, std::vector<Piece>& holes, int gap,
                           Atlas& atlas, Taken& taken)
{
    std::vector<PatchTex> placed;
    for (auto const i : high_ones_first(rectangles_of(patches)))
    {
        PatchTex& r = patches[i].rectangle;
        if (!placed.empty() && !place_plainly(placed, r, gap))
        {
            return false;
        }
        placed.push_back(r);
    }
    Vector2i size = size_of_all(placed);
    size += patches.size() == 1 ? Vector2i(3 * gap, 3 * gap) : Vector2i(0, 0);
    for (auto const h : high_ones_first(rectangles_of(holes)))
    {
        PatchTex& r = holes[h].rectangle;
        if (r.repaired && place_plainly(placed, r, gap))
        {
            placed.push_back(r);
        }
    }
    size = size.cwiseMax(size_of_all(placed));
    atlas.image = ColorImage(size.y(), size.x());
    for (auto const* const pieces : {&patches, &holes})
    {
        for (auto const& piece : *pieces)
        {
            copy_piece(piece.image, piece.rectangle, atlas.image);
        }
    }
    auto const pixel = find_pixel_plainly(placed, patches.size(), gap, size);
    ++taken[pixel ? "pixel for no colour" : "no pixel for no colour"];
    if (pixel)
    {
        atlas.black_column = pixel->x();
        atlas.black_row = pixel->y();
    }
    return pixel.has_value();
}

/// The views that the faces have behind all choices.
inline void choose_views_in_modules(PlainMesh const& lists, std::vector<FaceViews>& faces,
                                    Taken& taken)
{
    constexpr int SMALL = 50;
    filter_faces(lists, faces, SMALL, taken);
    absorb_small_blocks(lists, faces, SMALL, taken);
    follow_neighbours(lists, faces, taken);
    absorb_small_blocks(lists, faces, SMALL, taken);
}

/// The texture of a mesh by all modules with their usual settings; photographs have one size.
inline TexturedResult texture_in_modules(OrvaneAlgorithm::BaseTriMesh const& source,
                                         Photographs const& photographs, Taken& taken)
{
    TexturedResult result;
    std::vector<TexImage> views;
    for (std::size_t i = 0; i < photographs.images.size(); ++i)
    {
        views.push_back({static_cast<int>(i), photographs.intrinsics[i], photographs.poses[i],
                         photographs.images[i]});
    }
    TriMesh mesh;
    OrvaneAlgorithm::BaseTriMesh_convert_to_TriMesh(source, mesh);
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_normals();
    PlainMesh const lists = plain(mesh);
    TextureState& state = result.state;
    state = TextureState(lists);
    auto const seen = project_to_pixels(lists, views, taken);
    state.faces = project_faces(lists, seen, static_cast<int>(views.size()), taken);
    choose_views_in_modules(lists, state.faces, taken);
    auto const patches = partition(lists, state, views, 3, taken);
    if (patches.empty())
    {
        return result;
    }
    FaceLists faces;
    FaceLists border;
    list_faces(lists, state, faces, border, patches.size());
    auto patch_pieces = pieces_of_patches(
        patches, fuse_along_edges(lists, state, views, patches, faces, border, taken));
    auto const holes = find_holes(lists, state);
    auto hole_pieces = paint_holes(lists, state, views[0], holes, 3, taken);
    result.is_textured = arrange_pieces(patch_pieces, hole_pieces, 3, result.atlas, taken);
    add_coordinates(lists, patch_pieces, holes, hole_pieces, result, taken);
    return result;
}

} // namespace veld_test::reference
