#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "tests/support/plain_walks.h"

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

/// \file
/// What the references of texturing work on: a mesh and the state of its texture as lists, with
/// what borders on what written out.

namespace veld_test::reference
{

using OrvaneAlgorithm::Image;
using OrvaneAlgorithm::Vector2i;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::Vector3i;
using OrvaneAlgorithm::detail::FaceGroupType;
using OrvaneAlgorithm::detail::FaceTex;
using OrvaneAlgorithm::detail::PatchTex;
using OrvaneAlgorithm::detail::PixelColor;
using OrvaneAlgorithm::detail::TexImage;
using OrvaneAlgorithm::detail::TexProperties;
using OrvaneAlgorithm::detail::VertTex;

/// How often each side of a rule was taken.
using Taken = std::map<std::string, long>;

using ColorImage = Image<3, unsigned char>;

inline std::size_t at(int index)
{
    return static_cast<std::size_t>(index);
}

struct PlainMesh
{
    std::vector<Vector3f> points;
    std::vector<Vector3f> normals;
    std::vector<std::array<int, 3>> corners; ///< of each face, in the order of its circulator
    std::vector<std::vector<int>> across; ///< the faces over a face's edges, in the order of those
    std::vector<std::vector<int>> around; ///< the faces at a vertex, in the order of its circulator

    int n_vertices() const { return static_cast<int>(points.size()); }
    int n_faces() const { return static_cast<int>(corners.size()); }
};

inline PlainMesh plain(TriMesh const& mesh)
{
    PlainMesh lists;
    for (auto const v : mesh.vertices())
    {
        lists.points.push_back(mesh.point(v));
        lists.normals.push_back(mesh.has_vertex_normals() ? mesh.normal(v) : Vector3f::Zero());
        lists.around.emplace_back();
        for (auto it = mesh.cvf_iter(v); it.is_valid(); ++it)
        {
            lists.around.back().push_back(it->idx());
        }
    }
    for (auto const f : mesh.faces())
    {
        auto const corners = corners_of(mesh, f);
        lists.corners.push_back({corners[0].idx(), corners[1].idx(), corners[2].idx()});
        lists.across.emplace_back();
        for (auto const side : sides_of(mesh, f))
        {
            auto const other = mesh.face_handle(mesh.opposite_halfedge_handle(side));
            if (other.is_valid())
            {
                lists.across.back().push_back(other.idx());
            }
        }
    }
    return lists;
}

/// The views that a face can have, and the one that it has.
struct FaceViews
{
    bool has_tex = false;
    std::vector<FaceTex> list;
    int index = 0;
    int label = 0;

    FaceTex const& chosen() const { return list[at(index)]; }
};

/// Gives a face the view if it is seen there.
inline bool relabel(FaceViews& face, int label)
{
    for (std::size_t i = 0; i < face.list.size(); ++i)
    {
        if (face.list[i].image_id == label)
        {
            face.label = label;
            face.index = static_cast<int>(i);
            return true;
        }
    }
    return false;
}

/// What the stages keep for the elements of a mesh.
struct TextureState
{
    TextureState() = default;
    explicit TextureState(PlainMesh const& mesh)
        : faces(mesh.corners.size()),
          patch_id(mesh.corners.size(), -1),
          hole_id(mesh.corners.size(), -1),
          group(mesh.corners.size(), FaceGroupType::UNKNOWN),
          uv_index(mesh.corners.size(), Vector3i::Zero()),
          color(mesh.points.size(), PixelColor{}),
          hole_uv(mesh.points.size(), Vector2i::Zero())
    {
    }

    std::vector<FaceViews> faces;
    std::vector<int> patch_id;
    std::vector<int> hole_id;
    std::vector<FaceGroupType> group;
    std::vector<Vector3i> uv_index;
    std::vector<PixelColor> color;
    std::vector<Vector2i> hole_uv;
};

inline void write_state(TextureState const& state, TexProperties const& to, TriMesh& mesh)
{
    for (auto const f : mesh.faces())
    {
        std::size_t const i = at(f.idx());
        mesh.property(to.face_has_tex, f) = state.faces[i].has_tex;
        mesh.property(to.face_tex_list, f) = state.faces[i].list;
        mesh.property(to.face_tex_index, f) = state.faces[i].index;
        mesh.property(to.face_tex_label, f) = state.faces[i].label;
        mesh.property(to.face_patch_id, f) = state.patch_id[i];
        mesh.property(to.face_hole_id, f) = state.hole_id[i];
        mesh.property(to.face_group, f) = state.group[i];
        mesh.property(to.face_uv_index, f) = state.uv_index[i];
    }
    for (auto const v : mesh.vertices())
    {
        mesh.property(to.vert_color, v) = state.color[at(v.idx())];
        mesh.property(to.vert_hole_uv, v) = state.hole_uv[at(v.idx())];
    }
}

inline TextureState read_state(TriMesh const& mesh, TexProperties const& from)
{
    TextureState state;
    for (auto const f : mesh.faces())
    {
        state.faces.push_back(
            {mesh.property(from.face_has_tex, f), mesh.property(from.face_tex_list, f),
             mesh.property(from.face_tex_index, f), mesh.property(from.face_tex_label, f)});
        state.patch_id.push_back(mesh.property(from.face_patch_id, f));
        state.hole_id.push_back(mesh.property(from.face_hole_id, f));
        state.group.push_back(mesh.property(from.face_group, f));
        state.uv_index.push_back(mesh.property(from.face_uv_index, f));
    }
    for (auto const v : mesh.vertices())
    {
        state.color.push_back(mesh.property(from.vert_color, v));
        state.hole_uv.push_back(mesh.property(from.vert_hole_uv, v));
    }
    return state;
}

/// The first entry of a list that is of a view, or none.
template <typename Entry>
Entry const* entry_of_view(std::vector<Entry> const& list, int image_id)
{
    for (auto const& entry : list)
    {
        if (entry.image_id == image_id)
        {
            return &entry;
        }
    }
    return nullptr;
}

} // namespace veld_test::reference
