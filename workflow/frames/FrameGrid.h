#pragma once

#include "workflow/frames/Sensor.h"

#include "algorithmVeld/common/RangeData.h"

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// Which way the sensor lies from a point of a frame, in the frame's coordinates and of any length;
/// zero where it is not known.
OrvaneAlgorithm::Vector3d towards_sensor(OrvaneAlgorithm::Vector3d const& point, Sensor sensor);

/// Whether most cells of a frame turn their backs to the sensor: its grid is mirrored, then, as the
/// sensor sees it.
bool looks_away(RangeData const& frame, Sensor sensor);

/// Whether most cells of a frame run against its normals.
bool contradicts_normals(RangeData const& frame);

/// Mirrors the grid: the first column becomes the last one. Points and normals stay.
void mirror_columns(RangeData& frame);

/// Gives each vertex the mean direction of the normals of its complete cells; one without such a
/// cell gets what its neighbours on the grid tell.
void compute_normals(RangeData& frame);

/// Mean distance of neighbours on the grid; 0 where there are none.
double spacing_of(RangeData const& frame);

/// Whether the pose is a rotation, as well as a text with few digits tells one, and a translation.
bool has_rigid_pose(RangeData const& frame);

/// Multiplies all lengths of a frame.
void scale_frame(RangeData& frame, double scale);

} // namespace veld
