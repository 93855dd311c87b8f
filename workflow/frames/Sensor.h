#pragma once

namespace veld
{

/// Where a frame was seen from, in its own coordinates.
enum class Sensor
{
    UNKNOWN,
    ORIGIN,  ///< from the origin
    PLUS_Z,  ///< from far up the z axis
    MINUS_Z, ///< from far down the z axis
};

} // namespace veld
