#pragma once

#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Three channels of a pixel, in the order of the image.
using PixelColor = std::array<unsigned char, 3>;

/// What the stages of texturing keep for the elements of a mesh. All properties of one kind of
/// element have one name, so they are only reached by these handles.
///
/// Where `face_has_tex` is true, `face_tex_list` is not empty, `face_tex_index` is a place in it
/// and `face_tex_label` the view there. `bool` properties share their words: a parallel loop reads
/// them, and writes bytes of its own that are copied behind it.
struct TexProperties
{
    OpenMesh::VPropHandleT<PixelColor> vert_color;
    OpenMesh::VPropHandleT<Vector2i> vert_hole_uv; ///< (column, row) in the virtual view
    OpenMesh::FPropHandleT<bool> face_has_tex;
    OpenMesh::FPropHandleT<std::vector<FaceTex>> face_tex_list; ///< the most frontal view first
    OpenMesh::FPropHandleT<int> face_tex_index;
    OpenMesh::FPropHandleT<int> face_tex_label;
    OpenMesh::FPropHandleT<bool> face_visited; ///< a mark of whichever stage is at work
    OpenMesh::FPropHandleT<int> face_patch_id; ///< -1 for none
    OpenMesh::FPropHandleT<int> face_hole_id;  ///< -1 for none
    OpenMesh::FPropHandleT<FaceGroupType> face_group;
    OpenMesh::FPropHandleT<Vector3i> face_uv_index; ///< three indices of texture coordinates

    /// Adds all of them.
    void add_to(TriMesh& mesh);
    /// Removes all of them; the handles are invalid then.
    void remove_from(TriMesh& mesh);

    /// The chosen view of a face that has one.
    FaceTex const& chosen(TriMesh const& mesh, OpenMesh::FaceHandle face) const
    {
        return mesh.property(face_tex_list,
                             face)[static_cast<std::size_t>(mesh.property(face_tex_index, face))];
    }
};

} // namespace OrvaneAlgorithm::detail
