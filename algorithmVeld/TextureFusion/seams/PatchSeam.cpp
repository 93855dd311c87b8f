#include "algorithmVeld/TextureFusion/seams/PatchSeam.h"

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

bool is_in_a_patch(TriMesh const& mesh, TexProperties const& properties, FaceHandle face)
{
    return mesh.property(properties.face_has_tex, face) &&
           mesh.property(properties.face_patch_id, face) >= 0;
}

/// Whether a face of another patch and view meets the vertex.
bool is_on_seam(TriMesh const& mesh, TexProperties const& properties, VertexHandle vertex,
                int patch_id, int label)
{
    for (auto const face : mesh.vf_range(vertex))
    {
        if (is_in_a_patch(mesh, properties, face) &&
            mesh.property(properties.face_patch_id, face) != patch_id &&
            mesh.property(properties.face_tex_label, face) != label)
        {
            return true;
        }
    }
    return false;
}

/// Where the chosen view of a face sees one of its vertices.
VertTex const& corner_at(TriMesh const& mesh, TexProperties const& properties, FaceHandle face,
                         VertexHandle vertex)
{
    std::size_t k = 0;
    for (auto const corner : mesh.fv_range(face))
    {
        if (corner == vertex)
        {
            break;
        }
        ++k;
    }
    return properties.chosen(mesh, face).corner[k];
}

} // namespace

SeamPixel seam_pixel(TriMesh const& mesh, TexProperties const& properties,
                     std::vector<TexImage> const& images, PatchTex const& patch, int patch_id,
                     VertexHandle vertex)
{
    auto const colour = [&](VertTex const& corner)
    { return images[static_cast<std::size_t>(corner.image_id)].image.pixel(corner.px, corner.py); };
    std::array<int, 3> sum{};
    int n = 0;
    VertTex own;
    for (auto const face : mesh.vf_range(vertex))
    {
        if (!is_in_a_patch(mesh, properties, face))
        {
            continue;
        }
        VertTex const& corner = corner_at(mesh, properties, face, vertex);
        for (std::size_t c = 0; c < 3; ++c)
        {
            sum[c] += colour(corner)[c];
        }
        ++n;
        if (mesh.property(properties.face_patch_id, face) == patch_id)
        {
            own = corner;
        }
    }
    SeamPixel pixel;
    pixel.vertex = vertex;
    pixel.x = own.px - patch.min_x;
    pixel.y = own.py - patch.min_y;
    for (std::size_t c = 0; c < 3; ++c)
    {
        pixel.mean[c] = static_cast<unsigned char>(sum[c] / n);
        pixel.correction[c] =
            static_cast<float>(sum[c]) / static_cast<float>(n) - static_cast<float>(colour(own)[c]);
    }
    return pixel;
}

std::vector<SeamPixel> patch_seam(TriMesh const& mesh, TexProperties const& properties,
                                  std::vector<TexImage> const& images, PatchTex const& patch,
                                  std::vector<FaceHandle> const& boundary_faces)
{
    std::vector<SeamPixel> seam;
    for (auto const face : boundary_faces)
    {
        int const patch_id = mesh.property(properties.face_patch_id, face);
        for (auto const vertex : mesh.fv_range(face))
        {
            if (is_on_seam(mesh, properties, vertex, patch_id, patch.label))
            {
                seam.push_back(seam_pixel(mesh, properties, images, patch, patch_id, vertex));
            }
        }
    }
    return seam;
}

} // namespace OrvaneAlgorithm::detail
