#pragma once

#include "workflow/photos/Photos.h"

#include "algorithmVeld/common/vectors.h"

#include <string>
#include <vector>

namespace veld
{

/// Throws `InputError` where no point is in view of any photograph; what would bring them into
/// view, such as poses of another unit, is told.
/// \param points and views in one unit \param source of the views, for messages
/// \return why the points and the poses look like those of different units; empty if they do not
std::string check_sight(std::vector<OrvaneAlgorithm::Vector3d> const& points,
                        std::vector<PhotoView> const& views, std::string const& source);

} // namespace veld
