#pragma once

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/types.h"

#include <array>

namespace veld
{

/// The colours of a texture between its pixels.
class TextureLookup
{
public:
    /// \param image which outlives this; may have no pixel
    explicit TextureLookup(OrvaneAlgorithm::Image<3, unsigned char> const& image);

    bool empty() const { return image_.empty(); }

    /// The linear red, green, blue at a place: (0, 0) is the lower left corner of the image and
    /// (1, 1) the upper right one, and beyond them it is repeated. The four nearest pixels are
    /// mixed by their distances. The image must have pixels, and the place be finite.
    OrvaneAlgorithm::Vector3f operator()(OrvaneAlgorithm::Vector2f place) const;

private:
    OrvaneAlgorithm::Vector3f pixel(int x, int y) const;

    OrvaneAlgorithm::Image<3, unsigned char> const& image_;
    std::array<float, 256> linear_{};
};

} // namespace veld
