#include "algorithmVeld/reconstruction/registration/SampledFrame.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/depth/DepthSmoothing.h"
#include "algorithmVeld/reconstruction/depth/MiddleDepth.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"
#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Cells with longer edges, in spacings, are stretched over a jump of depth. Smoothing tells jumps
/// by its planes.
constexpr double LONGEST_EDGE = 6.0;
/// Steps on the grid from the border on which a surface counts as one that goes on all around.
constexpr int BORDER_STEPS = 2;
/// Directions of normals are told apart by so many squares along each edge of a cube.
constexpr int SQUARES = 4;
constexpr std::size_t DIRECTIONS = std::size_t{6} * SQUARES * SQUARES;

/// The frame without its noise, where that hides the surface; otherwise `frame` itself.
/// \param place for the smooth one
RangeData const& without_hiding_noise(RangeData const& frame, DepthNoise const& noise,
                                      double spacing, RangeData& place)
{
    double const hidden = noise.at(middle_depth({&frame}));
    if (!hides_surface(hidden, spacing))
    {
        return frame;
    }
    auto const camera = camera_of(frame);
    if (!camera)
    {
        return frame;
    }
    int const factor = thinning_factor(frame, *camera, SPACING_OF_NOISE * hidden);
    place = smooth_depth(frame, *camera, noise, factor);
    return place;
}

/// What is a long edge of a frame. One that is much coarser than the others has a measure of its
/// own.
double longest_edge(RangeData const& frame, double spacing)
{
    constexpr int MEASURED = 2000;
    double own = 0.0;
    RangeData_compute_mean_distance(frame, own, MEASURED);
    return LONGEST_EDGE * (own > 2.0 * spacing ? own : spacing);
}

/// Takes over the points that have cells around them and a normal, thinned on the grid.
void take_points(RangeData const& frame, FrameSurface const& surface, DepthNoise const& noise,
                 std::size_t most, SampledFrame& sampled)
{
    double const ratio =
        static_cast<double>(surface.size()) / static_cast<double>(std::max<std::size_t>(most, 1));
    int const step = std::max(1, static_cast<int>(std::ceil(std::sqrt(ratio))));
    std::vector<double> spacings;
    CancelPoll poll;
    for (std::size_t i = 0; i < surface.size(); ++i)
    {
        poll.next();
        auto const [row, column] = frame.vUV[i];
        // A comparison with NaN is false.
        bool const counts = row % step == 0 && column % step == 0 && surface.spacing[i] > 0.0F &&
                            frame.vCoord[i].allFinite() && surface.normal[i].squaredNorm() > 0.5F;
        if (!counts)
        {
            continue;
        }
        Vector3f const normal = frame.get_vNrv(i).normalized();
        double const depth = std::abs(static_cast<double>(frame.vCoord[i].z()));
        sampled.point.push_back(frame.vCoord[i]);
        sampled.normal.push_back(normal);
        sampled.noise.push_back(
            static_cast<float>(noise.at(depth) * std::abs(static_cast<double>(normal.z()))));
        sampled.inside.push_back(surface.depth[i] >= BORDER_STEPS ? 1 : 0);
        spacings.push_back(step * static_cast<double>(surface.spacing[i]));
    }
    sampled.spacing = median(std::move(spacings));
}

/// The square of a cube around a normal that it points to.
std::size_t direction_of(Vector3f const& normal)
{
    int axis = 0;
    float const length = normal.cwiseAbs().maxCoeff(&axis);
    if (!(length > 0.0F) || !normal.allFinite())
    {
        return 0;
    }
    auto const square = [&](int other)
    {
        float const part = 0.5F * (normal[other % 3] / length + 1.0F);
        return std::clamp(static_cast<int>(part * static_cast<float>(SQUARES)), 0, SQUARES - 1);
    };
    int const side = 2 * axis + (normal[axis] < 0.0F ? 1 : 0);
    int const number = (side * SQUARES + square(axis + 1)) * SQUARES + square(axis + 2);
    return static_cast<std::size_t>(number);
}

/// Numbers from a list, evenly spread over it.
void spread_over(std::vector<int> const& list, std::size_t most, std::vector<int>& numbers)
{
    std::size_t const count = std::min(most, list.size());
    for (std::size_t k = 0; k < count; ++k)
    {
        numbers.push_back(list[k * list.size() / count]);
    }
}

/// How many each direction gives, so that those with few give all and the others the same.
std::size_t share_of_direction(std::array<std::vector<int>, DIRECTIONS> const& lists,
                               std::size_t most)
{
    std::vector<std::size_t> sizes;
    for (auto const& list : lists)
    {
        if (!list.empty())
        {
            sizes.push_back(list.size());
        }
    }
    std::sort(sizes.begin(), sizes.end());
    for (std::size_t k = 0; k < sizes.size(); ++k)
    {
        std::size_t const share = most / (sizes.size() - k);
        if (sizes[k] >= share)
        {
            return share;
        }
        most -= sizes[k];
    }
    return sizes.empty() ? 0 : sizes.back();
}

void choose_samples(std::size_t most, SampledFrame& sampled)
{
    std::vector<int> inside;
    std::array<std::vector<int>, DIRECTIONS> directions;
    for (std::size_t i = 0; i < sampled.point.size(); ++i)
    {
        if (sampled.inside[i] == 1)
        {
            inside.push_back(static_cast<int>(i));
            directions[direction_of(sampled.normal[i])].push_back(static_cast<int>(i));
        }
    }
    spread_over(inside, most - most / 2, sampled.samples);
    std::size_t const share = share_of_direction(directions, most / 2);
    for (auto const& list : directions)
    {
        spread_over(list, share, sampled.samples);
    }
    std::sort(sampled.samples.begin(), sampled.samples.end());
    sampled.samples.erase(std::unique(sampled.samples.begin(), sampled.samples.end()),
                          sampled.samples.end());
}

void measure_box(SampledFrame& sampled)
{
    Vector3f min;
    Vector3f max;
    bounding_box(sampled.point.data(), sampled.point.size(), min, max);
    Vector3d const low = min.cast<double>();
    Vector3d const high = max.cast<double>();
    sampled.centre = 0.5 * (low + high);
    sampled.radius = 0.5 * (high - low).norm();
}

} // namespace

SampledFrame sample_frame(RangeData const& frame, DepthNoise const& noise, double spacing,
                          SampleLimits const& limits)
{
    RangeData smooth;
    RangeData const& taken = without_hiding_noise(frame, noise, spacing, smooth);
    double const longest = &taken == &frame ? longest_edge(frame, spacing) : HUGE_VAL;
    FrameSurface const surface = list_frame_surface({&taken}, longest, BORDER_STEPS);
    SampledFrame sampled;
    take_points(taken, surface, noise, limits.points, sampled);
    choose_samples(limits.samples, sampled);
    measure_box(sampled);
    sampled.tree.set_sorted(false);
    sampled.tree.build_kdtree(sampled.point);
    return sampled;
}

} // namespace OrvaneAlgorithm::detail
