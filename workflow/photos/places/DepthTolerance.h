#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// A vertex may lie so many spacings behind what a photograph shows in its place: a depth buffer
/// of vertices closes gaps of a pixel, and a slanted surface falls away between them.
constexpr double SPACINGS_OF_TOLERANCE = 2.5;

/// How fine a mesh and its photographs are: the larger of the median length of the edges and the
/// median width of a pixel on the surface. 0 where nothing can be measured.
/// \param places of the mesh \param views in the mesh's unit
double measure_photo_spacing(OrvaneAlgorithm::TriMesh const& mesh,
                             std::vector<SampledPlace> const& places,
                             std::vector<PhotoView> const& views);

} // namespace veld
