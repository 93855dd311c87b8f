#include "algorithmVeld/reconstruction/frames/FrameChoice.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t MOST_CHOICE_SAMPLES = 1500;
/// A frame stays with a larger part of places that are not seen, or not by enough frames.
constexpr double FRINGE = 0.03;
constexpr double MOSTLY = 0.5;

using PlaceKey = std::uint64_t;

/// The axis that a direction is nearest to, and which way.
PlaceKey axis_of(Vector3f const& direction)
{
    Eigen::Index axis = 0;
    direction.cwiseAbs().maxCoeff(&axis);
    return static_cast<PlaceKey>(axis) * 2 + (direction[axis] < 0.0F ? 1 : 0);
}

PlaceKey side_of(RangeData const& frame, std::size_t i, Vector3f const& point, PlaceSide told_by)
{
    if (told_by == PlaceSide::VIEW)
    {
        return axis_of(point - frame.get_rigidMatrix().get_translation().cast<float>());
    }
    return axis_of(frame.get_global_vNrv(i));
}

/// Places of samples of a frame, each once.
std::vector<PlaceKey> places_of(RangeData const& frame, std::size_t step, double side,
                                PlaceSide told_by)
{
    constexpr double LARGEST = 524288.0; // 2^19
    constexpr unsigned BITS = 20;
    std::vector<PlaceKey> places;
    for (std::size_t i = 0; i < frame.get_vn(); i += step)
    {
        Vector3f point;
        frame.get_global_vCoord(i, point);
        Vector3d const voxel = point.cast<double>() / side;
        // A comparison with NaN is false.
        if (!(voxel.array().abs() < LARGEST).all())
        {
            continue;
        }
        PlaceKey key = side_of(frame, i, point, told_by);
        for (int axis = 0; axis < 3; ++axis)
        {
            key = (key << BITS) | static_cast<PlaceKey>(std::floor(voxel[axis]) + LARGEST);
        }
        places.push_back(key);
    }
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

/// All numbers below `n`, so that the first of them are spread evenly however many are taken: with
/// their bits turned round.
std::vector<std::size_t> spread_order(std::size_t n)
{
    std::size_t size = 1;
    while (size < n)
    {
        size *= 2;
    }
    std::vector<std::size_t> order;
    for (std::size_t k = 0; k < size; ++k)
    {
        std::size_t number = 0;
        for (std::size_t bit = 1; bit < size; bit *= 2)
        {
            number = 2 * number + ((k & bit) != 0 ? 1 : 0);
        }
        if (number < n)
        {
            order.push_back(number);
        }
    }
    return order;
}

} // namespace

std::vector<char> choose_frames(std::vector<RangeData const*> const& ranges, double side,
                                PlaceSide told_by)
{
    std::vector<char> stays(ranges.size(), 1);
    if (ranges.size() <= FEW_FRAMES || !(side > 0.0))
    {
        return stays;
    }
    std::size_t largest = 0;
    for (auto const* frame : ranges)
    {
        largest = std::max(largest, frame->get_vn());
    }
    // One step for all frames, so that each marks as many of the places that it saw.
    std::size_t const step = std::max<std::size_t>(1, largest / MOST_CHOICE_SAMPLES);
    double const wide = side * std::sqrt(static_cast<double>(step));
    std::unordered_map<PlaceKey, std::size_t> seen_by;
    CancelPoll poll(16);
    for (std::size_t const f : spread_order(ranges.size()))
    {
        poll.next();
        auto const places = places_of(*ranges[f], step, wide, told_by);
        std::size_t fresh = 0;
        std::size_t few = 0;
        for (PlaceKey const place : places)
        {
            auto const found = seen_by.find(place);
            fresh += found == seen_by.end() ? 1 : 0;
            few += found == seen_by.end() || found->second < ENOUGH_FRAMES ? 1 : 0;
        }
        auto const n = static_cast<double>(places.size());
        // Of a frame without a place that can be counted nothing is known.
        bool const shows_more = places.empty() || static_cast<double>(fresh) > FRINGE * n ||
                                static_cast<double>(few) > MOSTLY * n;
        stays[f] = shows_more ? 1 : 0;
        for (std::size_t k = 0; k < places.size() && stays[f] == 1; ++k)
        {
            ++seen_by[places[k]];
        }
    }
    return stays;
}

} // namespace OrvaneAlgorithm::detail
