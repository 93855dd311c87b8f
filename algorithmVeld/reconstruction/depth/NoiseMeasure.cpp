#include "algorithmVeld/reconstruction/depth/NoiseMeasure.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// A window of 9 x 9 pixels: what a depth camera tells of neighbours is alike, so that a smaller
/// one sees less than the noise.
constexpr int NOISE_RADIUS = 4;
constexpr int NOISE_WINDOW = (2 * NOISE_RADIUS + 1) * (2 * NOISE_RADIUS + 1);
constexpr std::size_t MOST_SAMPLES_OF_FRAME = 1500;
/// Depths of neighbours that differ by more of the depth than this are no surface.
constexpr double NOISE_JUMP = 0.05;
constexpr std::size_t DEPTH_GROUPS = 16;
/// Fewer windows than this tell of their places, not of the camera.
constexpr std::size_t FEWEST_SAMPLES = 100;
/// Which sample of a group tells, from the calmest on.
constexpr double CALM = 0.35;

using Values = Eigen::Matrix<double, NOISE_WINDOW, 1>;
using Basis = Eigen::Matrix<double, NOISE_WINDOW, 3>;

Basis const& window_basis()
{
    static Basis const basis = []
    {
        Basis b;
        int k = 0;
        for (int r = -NOISE_RADIUS; r <= NOISE_RADIUS; ++r)
        {
            for (int c = -NOISE_RADIUS; c <= NOISE_RADIUS; ++c)
            {
                b.row(k++) << 1.0, r, c;
            }
        }
        // Its columns are orthogonal, as the window is symmetric.
        b.colwise().normalize();
        return b;
    }();
    return basis;
}

/// Depths in the window around a vertex. \return whether all are there
bool read_window(RangeData const& frame, GridMap const& map, std::size_t i, Values& depths)
{
    auto const [row, col] = frame.vUV[i];
    int k = 0;
    for (int r = -NOISE_RADIUS; r <= NOISE_RADIUS; ++r)
    {
        for (int c = -NOISE_RADIUS; c <= NOISE_RADIUS; ++c)
        {
            int const vertex =
                map(row + static_cast<long long>(r), col + static_cast<long long>(c));
            if (vertex < 0)
            {
                return false;
            }
            depths[k++] = static_cast<double>(frame.vCoord[static_cast<std::size_t>(vertex)].z());
        }
    }
    return true;
}

/// Root mean square distance of values from their plane.
double deviation_of(Values const& values)
{
    Basis const& basis = window_basis();
    Values const rest = values - basis * (basis.transpose() * values);
    return std::sqrt(rest.squaredNorm() / (NOISE_WINDOW - 3));
}

/// Least squares of relative errors for c + s depth^2, neither below 0.
DepthNoise fit_growth(std::vector<NoiseSample> const& groups)
{
    Eigen::Matrix2d normal = Eigen::Matrix2d::Zero();
    Eigen::Vector2d right = Eigen::Vector2d::Zero();
    for (auto const& group : groups)
    {
        Eigen::Vector2d const row(1.0 / group.deviation,
                                  group.depth * group.depth / group.deviation);
        normal += row * row.transpose();
        right += row;
    }
    Eigen::Vector2d const both = normal.inverse() * right;
    if (both.allFinite() && both.minCoeff() >= 0.0)
    {
        return {both[0], both[1]};
    }
    bool const only_square = !(both[0] >= 0.0);
    return only_square ? DepthNoise{0.0, right[1] / normal(1, 1)}
                       : DepthNoise{right[0] / normal(0, 0), 0.0};
}

} // namespace

std::vector<NoiseSample> sample_noise(RangeData const& frame)
{
    std::vector<NoiseSample> samples;
    bool const is_camera = fit_pinhole(frame).has_value();
    GridMap const map(frame);
    std::size_t const n = std::min(frame.get_vn(), frame.vUV.size());
    std::size_t const step = std::max<std::size_t>(1, n / MOST_SAMPLES_OF_FRAME);
    Values depths;
    for (std::size_t i = 0; i < n; i += step)
    {
        if (!read_window(frame, map, i, depths))
        {
            continue;
        }
        double const depth = std::abs(depths[NOISE_WINDOW / 2]);
        if (is_camera && depths.maxCoeff() - depths.minCoeff() > NOISE_RADIUS * NOISE_JUMP * depth)
        {
            continue;
        }
        double const deviation =
            is_camera ? depth * depth * deviation_of(depths.cwiseInverse()) : deviation_of(depths);
        if (std::isfinite(deviation) && deviation > 0.0)
        {
            samples.push_back({depth, deviation});
        }
    }
    return samples;
}

DepthNoise fit_noise(std::vector<NoiseSample> samples, bool grows)
{
    if (samples.size() < FEWEST_SAMPLES)
    {
        return {};
    }
    std::sort(samples.begin(), samples.end(),
              [](NoiseSample const& a, NoiseSample const& b)
              { return std::tie(a.depth, a.deviation) < std::tie(b.depth, b.deviation); });
    std::vector<NoiseSample> groups;
    std::size_t const count = grows ? DEPTH_GROUPS : 1;
    for (std::size_t g = 0; g < count; ++g)
    {
        auto const begin =
            samples.begin() + static_cast<std::ptrdiff_t>(g * samples.size() / count);
        auto const end =
            samples.begin() + static_cast<std::ptrdiff_t>((g + 1) * samples.size() / count);
        double const depth = (begin + (end - begin) / 2)->depth;
        auto const calm =
            begin + static_cast<std::ptrdiff_t>(CALM * static_cast<double>(end - begin));
        std::nth_element(begin, calm, end,
                         [](NoiseSample const& a, NoiseSample const& b)
                         { return a.deviation < b.deviation; });
        groups.push_back({depth, calm->deviation});
    }
    return groups.size() == 1 ? DepthNoise{groups.front().deviation, 0.0} : fit_growth(groups);
}

} // namespace OrvaneAlgorithm::detail
