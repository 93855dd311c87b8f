#include "algorithmVeld/reconstruction/depth/NoiseMeasure.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

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
constexpr std::size_t SLANT_GROUPS = 8;
/// A camera that was worse would see nothing aslant.
constexpr double MOST_OF_SLANT = 2.0;
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

using Plane = Eigen::Vector3d;

/// The plane of values, in parts of the basis.
Plane plane_of(Values const& values)
{
    return window_basis().transpose() * values;
}

/// Root mean square distance of values from their plane.
double deviation_of(Values const& values, Plane const& plane)
{
    Values const rest = values - window_basis() * plane;
    return std::sqrt(rest.squaredNorm() / (NOISE_WINDOW - 3));
}

/// Square of the tangent of the angle between the view and the normal of a plane of inverse depths
/// around a pixel.
double slant_of(Plane const& plane, PinholeGrid const& camera, double row, double column)
{
    Basis const& basis = window_basis();
    double const value = plane[0] * basis(0, 0);
    // The last window of the basis is at row and column NOISE_RADIUS.
    double const by_row = plane[1] * basis(NOISE_WINDOW - 1, 1) / NOISE_RADIUS;
    double const by_column = plane[2] * basis(NOISE_WINDOW - 1, 2) / NOISE_RADIUS;
    Vector3d const ray = camera.ray(row, column);
    double const x = by_column * camera.fx;
    double const y = by_row * camera.fy;
    Vector3d const n(x, y, value - x * ray.x() - y * ray.y());
    double const cosine = value / (n.norm() * ray.norm());
    return 1.0 / (cosine * cosine) - 1.0;
}

/// The calm one of some samples.
template <typename Of>
double calm_of(std::vector<NoiseSample>::iterator begin, std::vector<NoiseSample>::iterator end,
               Of const& of)
{
    auto const calm = begin + static_cast<std::ptrdiff_t>(CALM * static_cast<double>(end - begin));
    std::nth_element(begin, calm, end,
                     [&](NoiseSample const& a, NoiseSample const& b) { return of(a) < of(b); });
    return of(*calm);
}

/// What slant adds to noise that was fitted to all samples: by least squares over groups of about
/// one slant, against the group that is least aslant. Never less than nothing.
double fit_slant(std::vector<NoiseSample> samples, DepthNoise const& noise)
{
    std::sort(samples.begin(), samples.end(),
              [](NoiseSample const& a, NoiseSample const& b) {
                  return std::tie(a.slant, a.depth, a.deviation) <
                         std::tie(b.slant, b.depth, b.deviation);
              });
    auto const ratio = [&](NoiseSample const& s) { return s.deviation / noise.at(s.depth); };
    auto const group = [&](std::size_t g)
    { return samples.begin() + static_cast<std::ptrdiff_t>(g * samples.size() / SLANT_GROUPS); };
    double least = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    for (std::size_t g = 0; g < SLANT_GROUPS; ++g)
    {
        double const slant = (group(g) + (group(g + 1) - group(g)) / 2)->slant;
        double const calm = calm_of(group(g), group(g + 1), ratio);
        least = g == 0 ? calm : least;
        xx += slant * slant;
        xy += slant * (calm / least - 1.0);
    }
    double const result = xy / xx;
    return std::isfinite(result) ? std::clamp(result, 0.0, MOST_OF_SLANT) : 0.0;
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
        return {both[0], both[1], 0.0};
    }
    bool const only_square = !(both[0] >= 0.0);
    return only_square ? DepthNoise{0.0, right[1] / normal(1, 1), 0.0}
                       : DepthNoise{right[0] / normal(0, 0), 0.0, 0.0};
}

} // namespace

std::vector<NoiseSample> sample_noise(RangeData const& frame)
{
    std::vector<NoiseSample> samples;
    auto const camera = fit_pinhole(frame);
    bool const is_camera = camera.has_value();
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
        Values const values = is_camera ? Values(depths.cwiseInverse()) : depths;
        Plane const plane = plane_of(values);
        double const deviation = (is_camera ? depth * depth : 1.0) * deviation_of(values, plane);
        double const slant =
            is_camera ? slant_of(plane, *camera, frame.vUV[i].row, frame.vUV[i].col) : 0.0;
        if (std::isfinite(deviation) && deviation > 0.0 && std::isfinite(slant))
        {
            samples.push_back({depth, deviation, slant});
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
        groups.push_back(
            {depth, calm_of(begin, end, [](NoiseSample const& s) { return s.deviation; }), 0.0});
    }
    if (groups.size() == 1)
    {
        return {groups.front().deviation, 0.0, 0.0};
    }
    DepthNoise noise = fit_growth(groups);
    noise.slant = fit_slant(std::move(samples), noise);
    return noise;
}

} // namespace OrvaneAlgorithm::detail
