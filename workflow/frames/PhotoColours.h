#pragma once

#include "workflow/frames/FramePhoto.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// A photograph that gave no colours, and why.
struct PhotoProblem
{
    std::size_t photo = 0;
    std::string reason;
};

/// Gives the vertices of a merged mesh the colours of the photographs beside the frames: that of
/// its own frame, where something stood before the vertex that of the next frame in the list which
/// saw it, and else the mean of the vertices around. Nothing happens where no frame has a
/// photograph that can be read, or where vertices have colours. Each thread has one photograph at a
/// time in memory.
/// \param photos one for each frame, null for one that has none
/// \return those that were wanted and cannot be read, in their order
std::vector<PhotoProblem> colour_from_photos(std::vector<FramePhoto const*> photos,
                                             std::vector<int> const& vertex_frames,
                                             OrvaneAlgorithm::TriMesh& mesh);

} // namespace veld
