#include "algorithmVeld/TextureFusion/modules/ModuleStages.h"

#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/PatchColour.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Whether no textured face touches a hole.
bool is_isolated(ModuleWork const& work, std::vector<OpenMesh::FaceHandle> const& hole)
{
    return hole_surroundings(work.mesh, work.properties, hole).ring_faces.empty();
}

/// A hole of one face is counted by itself, and not among the others.
void log_holes(ModuleWork const& work)
{
    int n_repaired = 0;
    int n_isolated = 0;
    int n_single = 0;
    for (std::size_t h = 0; h < work.holes.size(); ++h)
    {
        if (work.holes[h].size() == 1)
        {
            ++n_single;
        }
        else if (work.repaired.hole_patches[h].repaired)
        {
            ++n_repaired;
        }
        else if (is_isolated(work, work.holes[h]))
        {
            ++n_isolated;
        }
    }
    log("\ntex hole analysis:\n");
    log("  total holes:       %8d\n", static_cast<int>(work.holes.size()));
    log("  repaired holes:    %8d\n", n_repaired);
    log("  isolated hole:     %8d\n", n_isolated);
    log("  single face hole:  %8d\n", n_single);
}

} // namespace

void optimize_faces(ModuleWork& work, int small_region_face_thr)
{
    auto const relabelled = optimize_face_tex(work.mesh, work.properties, small_region_face_thr);
    log("  affected faces:    %6d\n", relabelled.faces);
    log("  affected blocks:   %6d\n", relabelled.blocks);
}

void update_vertex_tex_by_face(ModuleWork& work)
{
    log("update_vertex_tex_by_face() ..\n");
    work.vert_chosen_tex.assign(work.mesh.n_vertices(), -1);
    bool is_complete = true;
    for (auto const face : work.mesh.all_faces())
    {
        if (!work.mesh.property(work.properties.face_has_tex, face))
        {
            continue;
        }
        int const label = work.mesh.property(work.properties.face_tex_label, face);
        for (auto const vertex : work.mesh.fv_range(face))
        {
            auto const v = static_cast<std::size_t>(vertex.idx());
            auto const* const begin = work.vertices->begin(v);
            auto const* const end = work.vertices->end(v);
            auto const* const found = std::find_if(
                begin, end, [label](VertTex const& entry) { return entry.image_id == label; });
            if (found == end)
            {
                log("error: fail to find corresponding vertex texture [%s (%d)]\n", __FILE__,
                    __LINE__);
                is_complete = false;
                continue;
            }
            work.vert_chosen_tex[v] = static_cast<int>(found - begin);
        }
    }
    if (!is_complete)
    {
        log("\n\n!!! update vertex tex failed [%s (%d)]\n\n", __FILE__, __LINE__);
    }
}

bool solve_patch_colours(ModuleWork& work)
{
    PatchFaces faces;
    if (!list_patch_faces(work.mesh, work.properties, work.patches.size(), faces, MODULE_TEXTS))
    {
        return false;
    }
    if (faces.patch_faces.size() != work.patches.size())
    {
        log("unmatched patch num [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    work.patch_textures = fuse_patch_colours(work.mesh, work.properties, work.images, work.patches,
                                             faces, RectangleSolver::SPARSE_LU, SeamShape::EDGES);
    return true;
}

bool fill_holes(ModuleWork& work)
{
    log("fill_tex_hole() ..\n");
    TextureHoleSettings settings;
    settings.patch_margin = PIECE_MARGIN;
    settings.solver = RectangleSolver::SPARSE_LU;
    settings.view.axis = HoleAxis::SURFACE;
    settings.view.pixels = PixelRule::ROUNDED;
    settings.view.bounds = HoleBounds::OF_PHOTO;
    settings.colours = ColoursAround::IN_TURN;
    work.repaired =
        repair_texture_holes(work.mesh, work.properties, work.images, work.holes, settings);
    if (work.repaired.hole_patches.size() != work.holes.size())
    {
        log("unmatched hole info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    log_holes(work);
    return true;
}

int count_repaired_vertices(ModuleWork const& work)
{
    std::vector<std::uint8_t> is_repaired(work.mesh.n_vertices());
    // Holes that were found anew, and not painted, have no patches.
    std::size_t const n_holes = std::min(work.holes.size(), work.repaired.hole_patches.size());
    for (std::size_t h = 0; h < n_holes; ++h)
    {
        if (!work.repaired.hole_patches[h].repaired)
        {
            continue;
        }
        for (auto const face : work.holes[h])
        {
            for (auto const vertex : work.mesh.fv_range(face))
            {
                is_repaired[static_cast<std::size_t>(vertex.idx())] = 1;
            }
        }
    }
    return static_cast<int>(std::count(is_repaired.begin(), is_repaired.end(), 1));
}

} // namespace OrvaneAlgorithm::detail
