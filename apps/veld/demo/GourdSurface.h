#pragma once

#include "algorithmVeld/common/types.h"

/// \file
/// The surface of an object that does not exist: a bumpy gourd, about 100 mm high, round the
/// origin. Each direction from there meets it once.

namespace veld::cli
{

using OrvaneAlgorithm::Vector3d;

/// Direction from the middle of the object, azimuth 0 in front and 90 to the right, in degrees.
Vector3d direction(double azimuth, double elevation);

/// Angle between unit vectors, in degrees.
double angle_between(Vector3d const& a, Vector3d const& b);

/// The surface in a direction, which is a unit vector.
Vector3d gourd_point(Vector3d const& direction);

/// The normal of the surface around a direction.
/// \param width of the patch over which it is taken, in millimetres
Vector3d gourd_normal(Vector3d const& direction, double width);

/// Distance of a place near the surface from it. Where the surface is so sharply bent that the
/// search for the nearest point does not settle, the distance of the best one that it met.
double distance_to_gourd(Vector3d const& place);

} // namespace veld::cli
