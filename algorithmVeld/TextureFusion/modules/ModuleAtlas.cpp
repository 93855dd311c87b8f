#include "algorithmVeld/TextureFusion/modules/ModuleAtlas.h"

#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/running/pause.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

void log_packing(char const* title, std::array<char const*, 4> const& lines, std::size_t n,
                 std::size_t n_placed, Vector2i const& size)
{
    log(title);
    log(lines[0], static_cast<int>(n));
    log(lines[1], static_cast<int>(n_placed));
    log(lines[2], size.x());
    log(lines[3], size.y());
    if (n_placed != n)
    {
        log("  not all patches are reallocated.\n");
    }
}

bool has_size_of(Image<3, unsigned char> const& image, PatchTex const& record)
{
    return image.width() == record.width() && image.height() == record.height();
}

bool is_inside(VertTex const& corner, PatchTex const& patch)
{
    return corner.px >= patch.min_x && corner.px <= patch.max_x && corner.py >= patch.min_y &&
           corner.py <= patch.max_y;
}

void log_face_groups(TriMesh const& mesh, TexProperties const& properties)
{
    std::array<int, 5> counts{};
    for (auto const face : mesh.all_faces())
    {
        ++counts[static_cast<std::size_t>(mesh.property(properties.face_group, face))];
    }
    log("====================< face type info >====================\n");
    log("  total faces:  %8d\n", static_cast<int>(mesh.n_faces()));
    log("  unknown:      %8d\n", counts[0]);
    log("  texless:      %8d\n", counts[1]);
    log("  isloated:     %8d\n", counts[2]);
    log("  boundary:     %8d\n", counts[3]);
    log("  nonboundary:  %8d\n", counts[4]);
    log("====================</face type info >====================\n\n");
}

bool make_atlas(ModuleWork& work)
{
    auto& holes = work.repaired;
    if (holes.hole_textures.size() != holes.hole_patches.size())
    {
        log("error: unmatched patch info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    for (std::size_t p = 0; p < work.patches.size(); ++p)
    {
        if (!has_size_of(work.patch_textures[p], work.patches[p]))
        {
            log("error: unmatched image size [%s (%d)]\n", __FILE__, __LINE__);
            work.patch_textures[p] = {};
        }
    }
    Vector2i const& size = work.arrangement->size();
    work.texture_image = Image<3, unsigned char>(size.y(), size.x());
    paste_into_atlas(work.patches, work.patch_textures, work.texture_image);
    paste_into_atlas(holes.hole_patches, holes.hole_textures, work.texture_image);
    return true;
}

/// Looks for places that would lead out of the arrays or out of a patch; none are known.
void check_places(ModuleWork& work)
{
    for (auto const face : work.mesh.all_faces())
    {
        if (!work.mesh.property(work.properties.face_has_tex, face))
        {
            continue;
        }
        int const id = work.mesh.property(work.properties.face_patch_id, face);
        if (id < 0 || static_cast<std::size_t>(id) >= work.patches.size())
        {
            log("error: patch_id = %d  [%s (%d)]\n", id, __FILE__, __LINE__);
            pause_for_inspection();
            work.mesh.property(work.properties.face_has_tex, face) = false;
            continue;
        }
        auto const& corners = work.properties.chosen(work.mesh, face).corner;
        if (!std::all_of(corners.begin(), corners.end(),
                         [&](VertTex const& corner)
                         { return is_inside(corner, work.patches[static_cast<std::size_t>(id)]); }))
        {
            log("node expand bounding box [%s (%d)]\n", __FILE__, __LINE__);
            pause_for_inspection();
        }
    }
}

} // namespace

bool arrange_patches(ModuleWork& work, int gap)
{
    if (work.patch_textures.size() != work.patches.size())
    {
        log("error: unmatched patch info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto& arrangement = work.arrangement.emplace(gap, arrangement_cell(work.patches));
    std::size_t n_placed = 0;
    Progress progress(work.patches.size());
    for (auto const i : arrangement_order(work.patches))
    {
        if (n_placed == 0)
        {
            arrangement.place_first(work.patches[i]);
            ++n_placed;
        }
        else if (arrangement.place(work.patches[i]))
        {
            ++n_placed;
        }
        progress.advance();
    }
    if (work.patches.size() == 1)
    {
        arrangement.widen(3 * gap);
    }
    log_packing("texture packing info:\n",
                {"  total patches:                 %6d\n", "  succeed reallocated patches:   %6d\n",
                 "  final texture height:          %6d\n",
                 "  final texture width:           %6d\n"},
                work.patches.size(), n_placed, arrangement.size());
    return n_placed == work.patches.size();
}

bool arrange_holes(ModuleWork& work)
{
    auto& holes = work.repaired.hole_patches;
    log("arrange_hole_sub_textures() ..\n");
    log("  total hole patches: %8d\n", static_cast<int>(holes.size()));
    std::size_t n_placed = 0;
    std::size_t n_repaired = 0;
    for (auto const h : arrangement_order(holes))
    {
        if (!holes[h].repaired)
        {
            continue;
        }
        ++n_repaired;
        if (work.arrangement->place(holes[h]))
        {
            ++n_placed;
        }
        else
        {
            // A hole without a place has no colours to show.
            holes[h].repaired = false;
            work.repaired.hole_textures[h] = {};
        }
    }
    log_packing("hole texture packing info:\n",
                {"  total hole patches:                 %6d\n",
                 "  succeed reallocated hole patches:   %6d\n",
                 "  final texture height:               %6d\n",
                 "  final texture width:                %6d\n"},
                n_repaired, n_placed, work.arrangement->size());
    return make_atlas(work);
}

bool compute_patch_coordinates(ModuleWork& work)
{
    log("recompute_texture_coord() ..\n");
    log("find_invalid_face_patch_tex() ..\n");
    BlackCell black_cell;
    if (!work.arrangement->find_free_pixel(work.patches.size(), black_cell))
    {
        log("fail to find invalid texture coord [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    check_places(work);
    work.uv_coords = patch_coordinates(work.mesh, work.properties, work.patches, black_cell,
                                       work.texture_image.width(), work.texture_image.height());
    log_face_groups(work.mesh, work.properties);
    return true;
}

bool compute_hole_coordinates(ModuleWork& work)
{
    log("recompute_hole_texture_coord() ..\n");
    auto const& patches = work.repaired.hole_patches;
    if (patches.size() != work.holes.size())
    {
        log("  unmatched hole id [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    log("current vertex tex size:  %8d [%s (%d)]\n", static_cast<int>(work.uv_coords.size()),
        __FILE__, __LINE__);
    append_hole_coordinates(work.mesh, work.properties, work.holes, patches,
                            work.texture_image.width(), work.texture_image.height(),
                            work.uv_coords);
    std::size_t n_changed = 0;
    for (std::size_t h = 0; h < patches.size(); ++h)
    {
        n_changed += patches[h].repaired ? work.holes[h].size() : 0;
    }
    log("tex changed face:         %8d\n", static_cast<int>(n_changed));
    return true;
}

} // namespace OrvaneAlgorithm::detail
