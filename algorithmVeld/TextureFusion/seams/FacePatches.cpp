#include "algorithmVeld/TextureFusion/seams/FacePatches.h"

#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <limits>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;

namespace
{

/// The pixels of the chosen corners of faces.
struct PixelBounds
{
    int min_x = std::numeric_limits<int>::max();
    int max_x = std::numeric_limits<int>::min();
    int min_y = std::numeric_limits<int>::max();
    int max_y = std::numeric_limits<int>::min();

    void extend(FaceTex const& face)
    {
        for (VertTex const& corner : face.corner)
        {
            min_x = std::min(min_x, corner.px);
            max_x = std::max(max_x, corner.px);
            min_y = std::min(min_y, corner.py);
            max_y = std::max(max_y, corner.py);
        }
    }
};

/// The rectangle around pixels, as far as the view goes.
PatchTex rectangle_around(PixelBounds const& bounds, TexImage const& view, int margin)
{
    PatchTex patch;
    patch.max_x = std::min(bounds.max_x + margin, view.image.width() - 1);
    patch.max_y = std::min(bounds.max_y + margin, view.image.height() - 1);
    patch.min_x = std::max(bounds.min_x - margin, 0);
    patch.min_y = std::max(bounds.min_y - margin, 0);
    return patch;
}

/// Collects the patch of a face and marks its faces.
PatchTex grow_patch(TriMesh& mesh, TexProperties const& properties,
                    std::vector<TexImage> const& images, int margin, FaceHandle seed, int id)
{
    int const label = mesh.property(properties.face_tex_label, seed);
    PixelBounds bounds;
    auto const enter = [&](FaceHandle face)
    {
        mesh.property(properties.face_visited, face) = true;
        mesh.property(properties.face_patch_id, face) = id;
        bounds.extend(properties.chosen(mesh, face));
    };
    std::vector<FaceHandle> faces{seed};
    enter(seed);
    grow_faces(mesh, faces,
               [&](FaceHandle /*from*/, FaceHandle to)
               {
                   if (!mesh.property(properties.face_has_tex, to) ||
                       mesh.property(properties.face_visited, to) ||
                       mesh.property(properties.face_tex_label, to) != label)
                   {
                       return Growth::PASS;
                   }
                   enter(to);
                   return Growth::TAKE;
               });
    PatchTex patch = rectangle_around(bounds, images[static_cast<std::size_t>(label)], margin);
    patch.label = label;
    return patch;
}

/// Whether a face of another patch lies across an edge.
bool touches_another(TriMesh const& mesh, TexProperties const& properties, FaceHandle face,
                     std::size_t n_patches)
{
    int const own = mesh.property(properties.face_patch_id, face);
    return !AcrossEdges(mesh)(face,
                              [&](FaceHandle other)
                              {
                                  int const id = mesh.property(properties.face_patch_id, other);
                                  bool const is_another =
                                      mesh.property(properties.face_has_tex, other) && id >= 0 &&
                                      static_cast<std::size_t>(id) < n_patches && id != own;
                                  return !is_another;
                              });
}

void set_group(TriMesh& mesh, TexProperties const& properties, std::vector<FaceHandle> const& faces,
               FaceGroupType group)
{
    for (auto const face : faces)
    {
        mesh.property(properties.face_group, face) = group;
    }
}

} // namespace

std::vector<PatchTex> partition_mesh_by_face(TriMesh& mesh, TexProperties const& properties,
                                             std::vector<TexImage> const& images, int patch_margin,
                                             StageTexts const& texts)
{
    log("partition_mesh_by_face() ..\n");
    for (auto const face : mesh.faces())
    {
        mesh.property(properties.face_visited, face) = false;
        mesh.property(properties.face_patch_id, face) = -1;
    }
    std::vector<PatchTex> patches;
    LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        progress.next();
        if (mesh.property(properties.face_has_tex, face) &&
            !mesh.property(properties.face_visited, face))
        {
            patches.push_back(grow_patch(mesh, properties, images, patch_margin, face,
                                         static_cast<int>(patches.size())));
        }
    }
    log(texts.total_patches, static_cast<int>(patches.size()));
    return patches;
}

bool list_patch_faces(TriMesh& mesh, TexProperties const& properties, std::size_t n_patches,
                      PatchFaces& lists, StageTexts const& texts)
{
    log(texts.patch_colours);
    if (n_patches == 0)
    {
        log("  no texture patch.\n");
        return false;
    }
    lists.patch_faces.assign(n_patches, {});
    lists.patch_boundary_faces.assign(n_patches, {});
    for (auto const face : mesh.faces())
    {
        mesh.property(properties.face_group, face) = FaceGroupType::UNKNOWN;
    }
    for (auto const face : mesh.faces())
    {
        if (!mesh.property(properties.face_has_tex, face))
        {
            mesh.property(properties.face_group, face) = FaceGroupType::TEXLESS;
            continue;
        }
        int const id = mesh.property(properties.face_patch_id, face);
        auto const p = static_cast<std::size_t>(id);
        if (id < 0 || p >= n_patches)
        {
            log(texts.unknown_patch, id, __FILE__, __LINE__);
            return false;
        }
        lists.patch_faces[p].push_back(face);
        if (touches_another(mesh, properties, face, n_patches))
        {
            lists.patch_boundary_faces[p].push_back(face);
        }
    }
    for (std::size_t p = 0; p < n_patches; ++p)
    {
        auto const& boundary = lists.patch_boundary_faces[p];
        set_group(mesh, properties, lists.patch_faces[p],
                  boundary.empty() ? FaceGroupType::ISOLATED : FaceGroupType::NONBOUNDARY);
        set_group(mesh, properties, boundary, FaceGroupType::BOUNDARY);
    }
    return true;
}

} // namespace OrvaneAlgorithm::detail
