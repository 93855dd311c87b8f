#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Measures the mean length of the sides of the first faces, and lists radii from a third of it up
/// to less than 0.8 of it.
/// \param sample_faces how many faces are measured at most
/// \param radii replaced
/// \param factor from one radius to the next; above 1
/// \return false, without radii, if there is no face
bool create_ball_radius(TriMesh const& mesh, int sample_faces, std::vector<float>& radii,
                        float factor);

} // namespace OrvaneAlgorithm::detail
