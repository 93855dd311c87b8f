#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/ImagePacking.h"
#include "tests/TextureFusion/plain_texture.h"

#include <array>
#include <cstddef>
#include <vector>

/// \file
/// The atlas and the texture coordinates as plainly as they can be written. What the library gives
/// has to be the same, to the bit.

namespace veld_test::reference
{

using UVCoord = OrvaneAlgorithm::BaseTriMesh::UVCoord;

/// A rectangle with its image.
struct Piece
{
    PatchTex rectangle;
    ColorImage image;
};

struct Atlas
{
    ColorImage image;
    int black_column = 0;
    int black_row = 0;
};

/// Packs the patches, the holes and one black pixel, and notes the places of the rectangles.
inline bool pack_pieces(std::vector<Piece>& patches, std::vector<Piece>& holes, int gap,
                        Atlas& atlas)
{
    std::vector<Piece*> pieces;
    for (auto* const list : {&patches, &holes})
    {
        for (auto& piece : *list)
        {
            pieces.push_back(&piece);
        }
    }
    std::vector<Vector2i> sizes;
    for (auto const* const piece : pieces)
    {
        PatchTex const& r = piece->rectangle;
        sizes.emplace_back(r.max_y - r.min_y + 1, r.max_x - r.min_x + 1);
    }
    sizes.emplace_back(1, 1);
    std::vector<Vector2i> positions;
    Vector2i total;
    if (OrvaneAlgorithm::ImagePacking::pack(sizes, gap, positions, total) !=
        OrvaneAlgorithm::RET_SUCCESS)
    {
        return false;
    }
    atlas.image = ColorImage(total.y(), total.x());
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        pieces[i]->rectangle.atlas_y = positions[i].x();
        pieces[i]->rectangle.atlas_x = positions[i].y();
        ColorImage const& image = pieces[i]->image;
        for (int y = 0; y < image.height(); ++y)
        {
            for (int x = 0; x < image.width(); ++x)
            {
                for (int c = 0; c < 3; ++c)
                {
                    atlas.image.pixel(positions[i].y() + x, positions[i].x() + y)[c] =
                        image.pixel(x, y)[c];
                }
            }
        }
    }
    atlas.black_row = positions.back().x();
    atlas.black_column = positions.back().y();
    return true;
}

/// The coordinates of a place in the atlas, from its lower left.
inline UVCoord coordinate(float column, float row, int width, int height)
{
    UVCoord uv;
    uv.u = column / static_cast<float>(width);
    uv.v = 1.0F - row / static_cast<float>(height);
    return uv;
}

/// Coordinates that the corners at one vertex share, and those that they do not.
struct CoordinateList
{
    explicit CoordinateList(PlainMesh const& mesh) : index_of_vertex(mesh.points.size(), -1) {}

    int shared(int vertex, UVCoord uv, Taken& taken)
    {
        ++taken[index_of_vertex[at(vertex)] < 0 ? "first at a vertex" : "shared at a vertex"];
        if (index_of_vertex[at(vertex)] < 0)
        {
            index_of_vertex[at(vertex)] = own(uv);
        }
        return index_of_vertex[at(vertex)];
    }
    int own(UVCoord uv)
    {
        list.push_back(uv);
        return static_cast<int>(list.size()) - 1;
    }

    std::vector<UVCoord> list;
    std::vector<int> index_of_vertex;
};

/// The faces at the corners of a face.
inline std::vector<int> faces_at_corners(PlainMesh const& mesh, int face)
{
    std::vector<int> faces;
    for (int const corner : mesh.corners[at(face)])
    {
        faces.insert(faces.end(), mesh.around[at(corner)].begin(), mesh.around[at(corner)].end());
    }
    return faces;
}

/// Makes faces that touch another patch at a corner faces of the border.
inline void widen_borders(PlainMesh const& mesh, TextureState& state, Taken& taken)
{
    for (int f = 0; f < mesh.n_faces(); ++f)
    {
        if (state.group[at(f)] != FaceGroupType::NONBOUNDARY || state.patch_id[at(f)] < 0)
        {
            continue;
        }
        for (int const g : faces_at_corners(mesh, f))
        {
            if (state.faces[at(g)].has_tex && state.patch_id[at(g)] >= 0 &&
                state.patch_id[at(g)] != state.patch_id[at(f)])
            {
                taken["comes to the border"] +=
                    state.group[at(f)] == FaceGroupType::NONBOUNDARY ? 1 : 0;
                state.group[at(f)] = FaceGroupType::BOUNDARY;
            }
        }
        taken["stays inside"] += state.group[at(f)] == FaceGroupType::NONBOUNDARY ? 1 : 0;
    }
}

/// The coordinates of a face's corners in the atlas, by its patch.
inline std::array<UVCoord, 3> corner_coordinates(FaceTex const& tex, PatchTex const& patch,
                                                 int width, int height)
{
    std::array<UVCoord, 3> result{};
    for (std::size_t k = 0; k < 3; ++k)
    {
        auto const dx = static_cast<float>(patch.atlas_x - patch.min_x);
        auto const dy = static_cast<float>(patch.atlas_y - patch.min_y);
        result[k] = coordinate(dx + tex.corner[k].u, dy + tex.corner[k].v, width, height);
    }
    return result;
}

/// The coordinates of the textured faces behind that of the black pixel, which the others get.
inline std::vector<UVCoord> patch_coordinates(PlainMesh const& mesh, TextureState& state,
                                              std::vector<PatchTex> const& patches,
                                              Atlas const& atlas, int width, int height,
                                              Taken& taken)
{
    CoordinateList uv(mesh);
    uv.own(coordinate(static_cast<float>(atlas.black_column), static_cast<float>(atlas.black_row),
                      width, height));
    widen_borders(mesh, state, taken);
    for (bool const own : {false, true})
    {
        for (int f = 0; f < mesh.n_faces(); ++f)
        {
            FaceGroupType const group = state.group[at(f)];
            bool const is_sharing =
                group == FaceGroupType::ISOLATED || group == FaceGroupType::NONBOUNDARY;
            if (!state.faces[at(f)].has_tex)
            {
                ++taken["face is black"];
                state.uv_index[at(f)] = Vector3i::Zero();
            }
            else if (is_sharing != own)
            {
                auto const corners = corner_coordinates(
                    state.faces[at(f)].chosen(), patches[at(state.patch_id[at(f)])], width, height);
                for (int k = 0; k < 3; ++k)
                {
                    int const vertex = mesh.corners[at(f)][at(k)];
                    state.uv_index[at(f)][k] =
                        own ? uv.own(corners[at(k)]) : uv.shared(vertex, corners[at(k)], taken);
                }
                taken["own coordinates"] += own ? 1 : 0;
            }
        }
    }
    return uv.list;
}

/// Appends the coordinates of the repaired holes.
inline void append_hole_coordinates(PlainMesh const& mesh, TextureState& state,
                                    std::vector<std::vector<int>> const& holes,
                                    std::vector<PatchTex> const& rectangles, int width, int height,
                                    std::vector<UVCoord>& coordinates, Taken& taken)
{
    CoordinateList uv(mesh);
    uv.list = coordinates;
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        PatchTex const& r = rectangles[h];
        if (!r.is_hole || !r.repaired)
        {
            ++taken["hole without an image"];
            continue;
        }
        for (bool const own : {false, true})
        {
            for (int const f : holes[h])
            {
                bool touches_other = false;
                for (int const g : faces_at_corners(mesh, f))
                {
                    touches_other = touches_other || (state.hole_id[at(g)] >= 0 &&
                                                      state.hole_id[at(g)] != static_cast<int>(h));
                }
                if (touches_other != own)
                {
                    continue;
                }
                taken["hole beside a hole"] += own ? 1 : 0;
                for (int k = 0; k < 3; ++k)
                {
                    int const vertex = mesh.corners[at(f)][at(k)];
                    Vector2i const pixel = state.hole_uv[at(vertex)];
                    UVCoord const at_corner = coordinate(
                        static_cast<float>(pixel.x() + (r.atlas_x - r.min_x)),
                        static_cast<float>(pixel.y() + (r.atlas_y - r.min_y)), width, height);
                    state.uv_index[at(f)][k] =
                        own ? uv.own(at_corner) : uv.shared(vertex, at_corner, taken);
                }
            }
        }
    }
    coordinates = uv.list;
}

} // namespace veld_test::reference
