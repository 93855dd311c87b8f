#pragma once

#include "workflow/frames/FramePhoto.h"

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// Gives the vertices of a merged mesh the colours of the photographs beside the frames: that of
/// its own frame, where something stood before the vertex that of the next frame in the list which
/// saw it, and else the mean of the vertices around. Nothing happens where no frame has a
/// photograph, or where vertices have colours.
/// \param photos one for each frame, null for one that has none
void colour_from_photos(std::vector<FramePhoto const*> const& photos,
                        std::vector<int> const& vertex_frames, OrvaneAlgorithm::TriMesh& mesh);

} // namespace veld
