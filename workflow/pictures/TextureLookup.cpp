#include "workflow/pictures/TextureLookup.h"

#include "workflow/pictures/Shading.h"

#include <algorithm>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::Vector2f;

TextureLookup::TextureLookup(OrvaneAlgorithm::Image<3, unsigned char> const& image) : image_(image)
{
    for (std::size_t byte = 0; byte < linear_.size(); ++byte)
    {
        linear_[byte] = from_byte(static_cast<int>(byte));
    }
}

Vector3f TextureLookup::operator()(Vector2f place) const
{
    for (float& coordinate : place)
    {
        bool const is_inside = coordinate >= 0.0F && coordinate <= 1.0F;
        coordinate = is_inside ? coordinate : coordinate - std::floor(coordinate);
    }
    float const x = place.x() * static_cast<float>(image_.width()) - 0.5F;
    float const y = (1.0F - place.y()) * static_cast<float>(image_.height()) - 0.5F;
    float const left = std::floor(x);
    float const top = std::floor(y);
    float const right_part = x - left;
    float const lower_part = y - top;
    auto const column = static_cast<int>(left);
    auto const row = static_cast<int>(top);
    Vector3f const upper =
        pixel(column, row) * (1.0F - right_part) + pixel(column + 1, row) * right_part;
    Vector3f const lower =
        pixel(column, row + 1) * (1.0F - right_part) + pixel(column + 1, row + 1) * right_part;
    return upper * (1.0F - lower_part) + lower * lower_part;
}

Vector3f TextureLookup::pixel(int x, int y) const
{
    auto const* const bytes =
        image_.pixel(std::clamp(x, 0, image_.width() - 1), std::clamp(y, 0, image_.height() - 1));
    return {linear_[bytes[2]], linear_[bytes[1]], linear_[bytes[0]]}; // blue, green, red in memory
}

} // namespace veld
