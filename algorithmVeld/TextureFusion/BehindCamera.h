#pragma once

namespace OrvaneAlgorithm
{

/// What becomes of a vertex that lies behind a camera and shows it its front, as the far wall of a
/// room does whose near wall is being photographed.
enum class BehindCamera
{
    SEEN, ///< It counts as if it lay before the camera: depths are taken without their sign.
    UNSEEN
};

} // namespace OrvaneAlgorithm
