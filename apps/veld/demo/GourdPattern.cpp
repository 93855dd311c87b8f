#include "demo/GourdPattern.h"

#include "workflow/pictures/Scatter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace veld::cli
{

using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3i;

namespace
{

constexpr double SIZE = 45.0; // of the gourd: makes millimetres of a unit vector
constexpr double SPOT_CELL = 6.0;
constexpr double SPOT_RIM = 0.35; // over which a spot ends
constexpr double GRAIN = 1.0;
constexpr double BLOTCH = 9.0;

/// 0 below -`width`, 1 above it, smooth between.
double smooth_step(double value, double width)
{
    double const t = std::min(std::max(0.5 + 0.5 * value / width, 0.0), 1.0);
    return t * t * (3.0 - 2.0 * t);
}

Vector3i cell_of(Vector3d const& place)
{
    return {static_cast<int>(std::floor(place.x())), static_cast<int>(std::floor(place.y())),
            static_cast<int>(std::floor(place.z()))};
}

/// Random numbers of a cell.
Scatter lot_of(Vector3i const& cell)
{
    return Scatter(static_cast<std::uint32_t>(cell.x()) * 73856093U ^
                   static_cast<std::uint32_t>(cell.y()) * 19349663U ^
                   static_cast<std::uint32_t>(cell.z()) * 83492791U);
}

/// Random heights at whole places, smooth between them: -1 to 1.
double noise(Vector3d const& place)
{
    Vector3i const cell = cell_of(place);
    std::array<double, 3> upper{};
    for (int axis = 0; axis < 3; ++axis)
    {
        upper[static_cast<std::size_t>(axis)] =
            smooth_step(2.0 * (place[axis] - cell[axis]) - 1.0, 1.0);
    }
    double sum = 0.0;
    for (int corner = 0; corner < 8; ++corner)
    {
        Vector3i const step(corner & 1, (corner >> 1) & 1, corner >> 2);
        double weight = 1.0;
        for (int axis = 0; axis < 3; ++axis)
        {
            double const share = upper[static_cast<std::size_t>(axis)];
            weight *= step[axis] == 1 ? share : 1.0 - share;
        }
        sum += weight * lot_of(cell + step).even(0);
    }
    return sum;
}

/// How much of a spot is there, 0 to 1. Half of the cells have one, which lies inside.
double spot(Vector3d const& place)
{
    Vector3i const cell = cell_of(place / SPOT_CELL);
    Scatter const lot = lot_of(cell);
    double const radius = 1.2 + 0.6 * lot.even(0);
    double const room = 0.5 * SPOT_CELL - radius - SPOT_RIM;
    Vector3d const centre = (cell.cast<double>() + Vector3d::Constant(0.5)) * SPOT_CELL +
                            Vector3d(lot.even(1), lot.even(2), lot.even(3)) * room;
    return lot.even(4) > 0.0 ? smooth_step(radius - (place - centre).norm(), SPOT_RIM) : 0.0;
}

} // namespace

Vector3d gourd_colour(Vector3d const& direction)
{
    // Blue, green, red.
    static Vector3d const ochre(0.16, 0.52, 0.74);
    static Vector3d const green(0.18, 0.36, 0.22);
    static Vector3d const cream(0.62, 0.72, 0.76);
    Vector3d const place = direction * SIZE;
    double const round = std::atan2(direction.x(), direction.z());
    double const blotches = noise(place / BLOTCH);
    double const wave = std::sin(9.0 * round + 3.6 * direction.y() + 0.9 * blotches);
    double const stripe = smooth_step(wave, 0.25);
    Vector3d const ground = ochre + (green - ochre) * stripe;
    Vector3d const colour = ground + (cream - ground) * spot(place);
    return colour * (1.0 + 0.08 * noise(place / GRAIN) + 0.06 * blotches);
}

} // namespace veld::cli
