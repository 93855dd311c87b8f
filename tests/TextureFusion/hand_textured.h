#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/TriMesh.h"

#include <utility>
#include <vector>

namespace veld_test
{

/// A flat mesh whose faces get their views and patches from the test. A vertex at (x, y) lies at
/// column x and row y of every view, and in the pixel in which that point lies.
struct HandTextured
{
    using Group = OrvaneAlgorithm::detail::FaceGroupType;

    explicit HandTextured(OrvaneAlgorithm::TriMesh flat) : mesh(std::move(flat))
    {
        properties.add_to(mesh);
        for (auto const face : mesh.faces())
        {
            mesh.property(properties.face_has_tex, face) = false;
            mesh.property(properties.face_patch_id, face) = -1;
            mesh.property(properties.face_hole_id, face) = -1;
            mesh.property(properties.face_group, face) = Group::TEXLESS;
            mesh.property(properties.face_uv_index, face) = {-7, -7, -7};
        }
    }

    /// Gives a face one view, and puts it into a patch.
    void choose(int face_number, int patch, Group group, int label = 0)
    {
        OpenMesh::FaceHandle const face(face_number);
        OrvaneAlgorithm::detail::FaceTex tex;
        tex.image_id = label;
        auto corner = tex.corner.begin();
        for (auto const vertex : mesh.fv_range(face))
        {
            auto const& point = mesh.point(vertex);
            *corner++ = {label,
                         1.0F,
                         static_cast<int>(point.x()),
                         static_cast<int>(point.y()),
                         point.x(),
                         point.y(),
                         1.0F};
        }
        mesh.property(properties.face_has_tex, face) = true;
        mesh.property(properties.face_tex_list, face) = {tex};
        mesh.property(properties.face_tex_index, face) = 0;
        mesh.property(properties.face_tex_label, face) = label;
        mesh.property(properties.face_patch_id, face) = patch;
        mesh.property(properties.face_group, face) = group;
    }

    void choose_all(int patch, Group group, int label = 0)
    {
        for (auto const face : mesh.faces())
        {
            choose(face.idx(), patch, group, label);
        }
    }

    /// Puts a face into a texture hole. Its vertices lie in the virtual view as in any view.
    void put_into_hole(int face_number, int hole)
    {
        OpenMesh::FaceHandle const face(face_number);
        mesh.property(properties.face_hole_id, face) = hole;
        for (auto const vertex : mesh.fv_range(face))
        {
            auto const& point = mesh.point(vertex);
            mesh.property(properties.vert_hole_uv, vertex) = {static_cast<int>(point.x()),
                                                              static_cast<int>(point.y())};
        }
    }

    OrvaneAlgorithm::Vector3i indices(int face) const
    {
        return mesh.property(properties.face_uv_index, OpenMesh::FaceHandle(face));
    }

    Group group(int face) const
    {
        return mesh.property(properties.face_group, OpenMesh::FaceHandle(face));
    }

    /// The vertices of a face in the order of its indices.
    std::vector<OpenMesh::VertexHandle> corners(int face) const
    {
        std::vector<OpenMesh::VertexHandle> list;
        for (auto const vertex : mesh.fv_range(OpenMesh::FaceHandle(face)))
        {
            list.push_back(vertex);
        }
        return list;
    }

    OrvaneAlgorithm::TriMesh mesh;
    OrvaneAlgorithm::detail::TexProperties properties;
};

} // namespace veld_test
