#pragma once

#include "workflow/export.h"

#include <map>
#include <optional>
#include <string>

namespace veld
{

/// The way in which photographs become a texture.
enum class TexturePipeline
{
    FUSION, ///< Large blocks of one photograph, corrected where they meet.
    MESH ///< The same with corrections along whole edges, for photographs of one size. Takes none
         ///< of the settings of holes, the image border, the patch margin and the solver.
};

/// What solves for the corrections of colours.
enum class TextureSolver
{
    SIMPLICIAL, ///< One unknown a pixel, all channels with one factorisation.
    PARDISO     ///< The library's direct solver.
};

/// "fusion", "mesh".
VELD_WORKFLOW_API std::map<std::string, TexturePipeline> const& texture_pipelines();
/// "simplicial", "pardiso".
VELD_WORKFLOW_API std::map<std::string, TextureSolver> const& texture_solvers();

/// How photographs become one texture.
struct TextureSettings
{
    TexturePipeline pipeline = TexturePipeline::FUSION; ///< What makes the texture.
    double scale = 1.0;      ///< Of all lengths of mesh and poses, to millimetres: 1000 for metres.
    double pose_scale = 1.0; ///< Of the poses alone, to the unit of the mesh: 1000 for poses in
                             ///< metres and a mesh in millimetres.
    bool balance = true;     ///< Whether the photographs' exposures are made to agree first.
    /// Millimetres that a vertex may lie behind what a photograph shows in its place, and count as
    /// seen. Nothing: 2.5 times the larger of the median length of the mesh's edges and the median
    /// width of a pixel on it.
    std::optional<double> depth_tolerance;
    double lowest_cosine = 0.0; ///< Of the angle between a vertex's normal and the way to the
                                ///< camera.
    int views_per_vertex = 10;  ///< A vertex collects at most so many photographs.
    int small_region = 50;      ///< Connected faces of one photograph count from more than so many.
    double hole_ratio = 1.0;    ///< Largest picture of an unseen place, in photographs.
    int hole_vertices = 10000;  ///< Up to so many vertices it may be larger, see texture().
    int image_border = 3;       ///< Pixels at the rim of a photograph that do not count.
    std::optional<int> packing_gap; ///< Pixels between the patches of the atlas. Without it, 1, and
                                    ///< 3 by `MESH`.
    int patch_margin = 3;           ///< Pixels around the faces of a patch that it has too.
    TextureSolver solver = TextureSolver::SIMPLICIAL; ///< What solves the colours at seams.
};

} // namespace veld
