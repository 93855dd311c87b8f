#pragma once

namespace OrvaneAlgorithm::detail
{

/// What stages tell the log that two classes share but word in their own way. Each text with a
/// number in it is a format; an empty one tells nothing.
struct StageTexts
{
    char const* total_patches = "";
    char const* patch_colours = "";
    char const* unknown_patch = ""; ///< the patch's number, source file and line
    char const* texture_holes = "";
    char const* total_holes = "";
};

constexpr StageTexts FUSION_TEXTS{"  total patches:  %8d\n", "poisson_solve_color_diff() ..\n",
                                  "  error: patch_id = %d  [%s (%d)]\n",
                                  "poisson_hole_filling() ..\n", "  total holes:  %8d\n"};
constexpr StageTexts MODULE_TEXTS{"  current total patches:  %8d\n", "poisson_solve() ..\n",
                                  "error: patch_id = %d  [%s (%d)]\n", "find_tex_hole() ..\n", ""};

} // namespace OrvaneAlgorithm::detail
