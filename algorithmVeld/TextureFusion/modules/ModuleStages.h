#pragma once

#include "algorithmVeld/TextureFusion/modules/ModuleWork.h"

/// \file
/// What the modules do between the stages that two classes share.

namespace OrvaneAlgorithm::detail
{

/// Pixels around a patch, and around a hole, that its piece of the atlas holds too.
constexpr int PIECE_MARGIN = 3;

/// Makes blocks larger, and tells the log how many faces went to others.
void optimize_faces(ModuleWork& work, int small_region_face_thr);

/// Finds the place of each vertex's chosen view in its list: that of the last face around it.
void update_vertex_tex_by_face(ModuleWork& work);

/// Makes the images of the patches. \return false if faces and patches do not match
bool solve_patch_colours(ModuleWork& work);

/// Paints the holes, and tells the log what became of them.
/// \return false if holes and patches do not match
bool fill_holes(ModuleWork& work);

/// How many vertices painted holes have.
int count_repaired_vertices(ModuleWork const& work);

} // namespace OrvaneAlgorithm::detail
