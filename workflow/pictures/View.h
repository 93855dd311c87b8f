#pragma once

namespace veld
{

/// Which axis of the scan points up in the picture.
enum class UpAxis
{
    Y,
    Z
};

/// From where the camera looks. Both angles are degrees and 0 from the front; a positive azimuth
/// goes round to the right side of the object, a positive elevation up.
struct ViewDirection
{
    double azimuth = 30.0;   ///< Round the object.
    double elevation = 20.0; ///< Above it.
    UpAxis up = UpAxis::Y;   ///< Which axis of the mesh points up.
};

} // namespace veld
