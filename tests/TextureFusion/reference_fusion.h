#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "tests/TextureFusion/reference_atlas.h"
#include "tests/TextureFusion/reference_colour.h"
#include "tests/TextureFusion/reference_holes.h"
#include "tests/TextureFusion/reference_keyframes.h"
#include "tests/TextureFusion/reference_projection.h"
#include "tests/TextureFusion/reference_selection.h"

#include <utility>
#include <vector>

/// \file
/// All stages of texturing as plainly as they can be written, one behind the other.

namespace veld_test::reference
{

/// Photographs with their poses, in any order.
struct Photographs
{
    std::vector<ColorImage> images;
    std::vector<RigidMatrix> poses;
    std::vector<OrvaneAlgorithm::CameraInParam> intrinsics;
};

inline std::vector<TexImage> views_in_order(Photographs const& photographs, Taken& taken)
{
    std::vector<TexImage> views;
    for (int const i : sort_by_space(photographs.poses, taken))
    {
        views.push_back({static_cast<int>(views.size()), photographs.intrinsics[at(i)],
                         photographs.poses[at(i)], photographs.images[at(i)]});
    }
    return views;
}

/// Gives each vertex the mean of its normal and those of its neighbours, which may be such means
/// already.
inline void smooth_normals(TriMesh& mesh)
{
    for (auto const v : mesh.vertices())
    {
        Vector3f sum = mesh.normal(v);
        for (auto it = mesh.cvv_iter(v); it.is_valid(); ++it)
        {
            sum += mesh.normal(*it);
        }
        mesh.set_normal(v, sum.normalized());
    }
}

struct TexturedResult
{
    bool is_textured = false;
    bool is_too_large = false; ///< for systems without zeros left out
    Atlas atlas;
    std::vector<UVCoord> coordinates;
    TextureState state;
};

/// Whether all rectangles are small enough for dense systems.
inline bool are_small(std::vector<PatchTex> const& rectangles, double most)
{
    bool all_small = true;
    for (auto const& r : rectangles)
    {
        all_small = all_small && area_of(r) <= most;
    }
    return all_small;
}

inline std::vector<Piece> pieces_of_patches(std::vector<PatchTex> const& patches,
                                            std::vector<PatchCanvas> const& work)
{
    std::vector<Piece> pieces;
    for (std::size_t p = 0; p < patches.size(); ++p)
    {
        pieces.push_back({patches[p], work[p].result});
    }
    return pieces;
}

inline std::vector<PatchTex> rectangles_of(std::vector<Piece> const& pieces)
{
    std::vector<PatchTex> list;
    for (auto const& piece : pieces)
    {
        list.push_back(piece.rectangle);
    }
    return list;
}

/// Coordinates in the atlas for all faces.
inline void add_coordinates(PlainMesh const& lists, std::vector<Piece> const& patches,
                            FaceLists const& holes, std::vector<Piece> const& hole_pieces,
                            TexturedResult& result, Taken& taken)
{
    int const width = result.atlas.image.width();
    int const height = result.atlas.image.height();
    result.coordinates = patch_coordinates(lists, result.state, rectangles_of(patches),
                                           result.atlas, width, height, taken);
    append_hole_coordinates(lists, result.state, holes, rectangles_of(hole_pieces), width, height,
                            result.coordinates, taken);
}

/// The texture of a mesh by all stages with their usual settings.
/// \param most pixels of a rectangle that is solved
inline TexturedResult texture_plainly(OrvaneAlgorithm::BaseTriMesh const& source,
                                      Photographs const& photographs, double most, Taken& taken)
{
    TexturedResult result;
    auto const views = views_in_order(photographs, taken);
    TriMesh mesh;
    OrvaneAlgorithm::BaseTriMesh_convert_to_TriMesh(source, mesh);
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_normals();
    smooth_normals(mesh);

    PlainMesh const lists = plain(mesh);
    TextureState& state = result.state;
    state = TextureState(lists);
    auto const seen = project_vertices(lists, views, {1.0F, 0.0F, 10, 3}, taken);
    state.faces = project_faces(lists, seen, static_cast<int>(views.size()), taken);
    choose_views(lists, state.faces, 50, taken);
    auto const patches = partition(lists, state, views, 3, taken);
    if (patches.empty())
    {
        return result;
    }
    FaceLists faces;
    FaceLists border;
    list_faces(lists, state, faces, border, patches.size());
    auto const holes = find_holes(lists, state);
    std::vector<PatchTex> seen_holes;
    for (auto const& hole : holes)
    {
        HoleWork work;
        look_at_hole(lists, state, hole, views[0], 3, work, taken);
        seen_holes.push_back(work.rectangle);
    }
    result.is_too_large = !are_small(patches, most) || !are_small(seen_holes, most);
    if (result.is_too_large)
    {
        return result;
    }
    auto patch_pieces =
        pieces_of_patches(patches, fuse(lists, state, views, patches, faces, border, taken));
    std::vector<Piece> hole_pieces;
    for (auto& work : repair_holes(lists, state, views, holes, HoleLimits(), taken))
    {
        hole_pieces.push_back({work.rectangle, std::move(work.result)});
    }
    result.is_textured = pack_pieces(patch_pieces, hole_pieces, 1, result.atlas);
    add_coordinates(lists, patch_pieces, holes, hole_pieces, result, taken);
    return result;
}

} // namespace veld_test::reference
