#pragma once

#include "algorithmVeld/TextureFusion/modules/ModuleWork.h"

/// \file
/// The atlas of `TextureMesh`, in four steps. Each tells the log why it failed.

namespace OrvaneAlgorithm::detail
{

/// Lays the patches out. \param gap between them, in pixels
bool arrange_patches(ModuleWork& work, int gap);

/// Lays the painted holes out beside them, and makes the image of all.
bool arrange_holes(ModuleWork& work);

/// Coordinates of the patches. \return false if no pixel is left for faces without a colour
bool compute_patch_coordinates(ModuleWork& work);

/// Those of the holes, behind them.
bool compute_hole_coordinates(ModuleWork& work);

} // namespace OrvaneAlgorithm::detail
