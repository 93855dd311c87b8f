#include "workflow/pictures/AmbientOcclusion.h"

#include "workflow/pictures/Scatter.h"

#include <cmath>

namespace veld
{

namespace
{

constexpr float TWO_PI = 6.2831853F;

/// Two unit vectors that are perpendicular to the normal and to each other.
void tangents(Vector3f const& normal, Vector3f& a, Vector3f& b)
{
    Vector3f const other =
        std::abs(normal.x()) < 0.6F ? Vector3f(1.0F, 0.0F, 0.0F) : Vector3f(0.0F, 1.0F, 0.0F);
    a = normal.cross(other).normalized();
    b = normal.cross(a);
}

/// 0 to 1 from the upper bits.
float unit_fraction(std::uint32_t bits)
{
    return static_cast<float>(bits >> 8) * (1.0F / 16777216.0F);
}

float fraction(float value)
{
    return value - std::floor(value);
}

} // namespace

float AmbientOcclusion::openness(Vector3f const& place, Vector3f const& normal, std::uint32_t pixel,
                                 int first, int count) const
{
    constexpr float GOLDEN = 0.61803399F;
    Vector3f a;
    Vector3f b;
    tangents(normal, a, b);
    float const turn = unit_fraction(scatter_bits(pixel));
    float const shift = unit_fraction(scatter_bits(pixel + 0x9e3779b9U));
    int free_rays = 0;
    for (int i = first; i < first + count; ++i)
    {
        // Cosine-weighted: evenly spread over the disc below the hemisphere.
        float const part =
            fraction((static_cast<float>(i) + 0.5F) / static_cast<float>(rays_per_pixel_) + shift);
        float const radius = std::sqrt(part);
        float const angle = TWO_PI * fraction(static_cast<float>(i) * GOLDEN + turn);
        Vector3f const direction =
            (a * (radius * std::cos(angle)) + b * (radius * std::sin(angle)) +
             normal * std::sqrt(1.0F - part))
                .normalized();
        free_rays += scene_.blocked(place, direction, reach_) ? 0 : 1;
    }
    return static_cast<float>(free_rays) / static_cast<float>(count);
}

} // namespace veld
