#include "algorithmVeld/TextureFusion/records/TexProperties.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr char const* VERTEX_PROPERTY = "<vprop>";
constexpr char const* FACE_PROPERTY = "<fprop>";

} // namespace

void TexProperties::add_to(TriMesh& mesh)
{
    mesh.add_property(vert_color, VERTEX_PROPERTY);
    mesh.add_property(vert_hole_uv, VERTEX_PROPERTY);
    mesh.add_property(face_has_tex, FACE_PROPERTY);
    mesh.add_property(face_tex_list, FACE_PROPERTY);
    mesh.add_property(face_tex_index, FACE_PROPERTY);
    mesh.add_property(face_tex_label, FACE_PROPERTY);
    mesh.add_property(face_visited, FACE_PROPERTY);
    mesh.add_property(face_patch_id, FACE_PROPERTY);
    mesh.add_property(face_hole_id, FACE_PROPERTY);
    mesh.add_property(face_group, FACE_PROPERTY);
    mesh.add_property(face_uv_index, FACE_PROPERTY);
}

void TexProperties::remove_from(TriMesh& mesh)
{
    mesh.remove_property(vert_color);
    mesh.remove_property(vert_hole_uv);
    mesh.remove_property(face_has_tex);
    mesh.remove_property(face_tex_list);
    mesh.remove_property(face_tex_index);
    mesh.remove_property(face_tex_label);
    mesh.remove_property(face_visited);
    mesh.remove_property(face_patch_id);
    mesh.remove_property(face_hole_id);
    mesh.remove_property(face_group);
    mesh.remove_property(face_uv_index);
}

} // namespace OrvaneAlgorithm::detail
