#pragma once

#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// What the settings of a repair and what is to be repaired mean for it.

namespace veld
{

/// Whether a mesh is points alone.
bool is_cloud_of(OrvaneAlgorithm::TriMesh const& mesh);

/// Whether a normal tells a side, however short it is.
bool has_direction(OrvaneAlgorithm::Vector3f const& normal);

/// Of the largest angle between a face and the normals of its corners.
double least_cosine(RepairSettings const& settings);

/// How far apart what is connected may be at most.
/// \param settings complete ones
double reach_of(RepairSettings const& settings);

} // namespace veld
