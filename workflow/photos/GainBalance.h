#pragma once

#include "workflow/export.h"
#include "workflow/photos/Photos.h"

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <vector>

/// \file
/// Photographs of one thing under one light still differ: the camera chose another exposure, the
/// sun another cloud. One factor for each photograph and channel takes most of that away before a
/// texture is made of them.

namespace veld
{

class RayScene;
struct MeshTriangles;

/// Factors of blue, green and red.
using ColourGain = std::array<double, 3>;

/// Finds the gains with which photographs agree best on the places that several of them see: by
/// least squares over the logarithms of the colours, robust against places that differ for another
/// reason. Photographs that are connected by common places are a group; the mean of a group's
/// gains is 1 in each channel, and a photograph that shares too few places with any other keeps 1.
/// The same for any number of threads.
/// \param mesh that the photographs show
/// \param views where they were taken
/// \param photos one for each view
/// \param depth_tolerance what lies so much nearer than a place, in the mesh's unit, hides it
VELD_WORKFLOW_API std::vector<ColourGain> balance_gains(OrvaneAlgorithm::TriMesh const& mesh,
                                                        std::vector<PhotoView> const& views,
                                                        std::vector<Photo> const& photos,
                                                        double depth_tolerance);

/// The same for a mesh that has been prepared for rays.
/// \param faces of the mesh
/// \param scene of the faces
/// \param views, photos, depth_tolerance as above
std::vector<ColourGain> balance_gains(MeshTriangles const& faces, RayScene const& scene,
                                      std::vector<PhotoView> const& views,
                                      std::vector<Photo> const& photos, double depth_tolerance);

/// Multiplies the channels, rounds to the nearest byte, and cuts off above 255.
VELD_WORKFLOW_API void apply_gain(Photo& photo, ColourGain const& gain);

} // namespace veld
