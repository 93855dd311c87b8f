#pragma once

#include "algorithmVeld/TextureFusion/holes/HoleView.h"
#include "algorithmVeld/TextureFusion/records/StageTexts.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Which colours a hole is painted from, where a textured face between two holes has vertices of
/// both.
enum class ColoursAround
{
    BEFORE_ALL, ///< those from before the first repair
    IN_TURN     ///< those that the holes before it have left
};

/// What decides about the repair of texture holes.
struct TextureHoleSettings
{
    float hole_area_ratio = 1.0F;  ///< largest rectangle, in multiples of one photograph's pixels
    int hole_vertex_limit = 10000; ///< up to so many vertices a hole may be of any size
    /// Pixels of the largest rectangle of any hole.
    std::int64_t hole_pixel_limit = std::numeric_limits<std::int64_t>::max();
    int patch_margin = 3; ///< pixels around a hole that its rectangle holds too
    RectangleSolver solver = RectangleSolver::SIMPLICIAL;
    HoleViewRules view;
    ColoursAround colours = ColoursAround::BEFORE_ALL;
};

/// The faces without a view, in sets that are connected through vertices.
using TextureHoleFaces = std::vector<std::vector<OpenMesh::FaceHandle>>;

/// Finds the texture holes and numbers them in the order of their first faces: `face_hole_id`.
TextureHoleFaces find_texture_holes(TriMesh& mesh, TexProperties const& properties,
                                    StageTexts const& texts = FUSION_TEXTS);

/// The rectangles and images of the holes, one for each; empty where a hole was not repaired.
struct RepairedHoles
{
    std::vector<PatchTex> hole_patches;
    std::vector<Image<3, unsigned char>> hole_textures;
    std::size_t too_large = 0; ///< holes that were not repaired because of their size
};

/// Paints texture holes: each is looked at from as far away as the photographs around it were
/// taken, and the colours of the textured vertices around it are continued over it. Sets
/// `vert_hole_uv` and `vert_color` of the holes' vertices.
RepairedHoles repair_texture_holes(TriMesh& mesh, TexProperties const& properties,
                                   std::vector<TexImage> const& images,
                                   TextureHoleFaces const& holes,
                                   TextureHoleSettings const& settings);

} // namespace OrvaneAlgorithm::detail
