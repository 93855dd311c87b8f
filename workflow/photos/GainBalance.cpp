#include "workflow/photos/GainBalance.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/photos/places/PhotoSamples.h"
#include "workflow/photos/places/SampledPlaces.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/running/Progress.h"

#include <Eigen/Cholesky>

#include <algorithm>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::detail::median;

namespace
{

constexpr std::size_t MOST_PLACES = 20000;
constexpr std::size_t MOST_DIFFERENCES = 50'000'000; // of all pairs, if each saw every place
constexpr std::size_t FEWEST_PLACES = 2000;          // however many pairs there are
constexpr std::size_t LEAST_COMMON = 30;             // places of a pair; fewer may be chance
constexpr double KEPT_SPREADS = 2.5;                 // what is farther off the median is left out
constexpr double SPREAD_OF_MEDIAN = 1.4826; // standard deviation by the median of the deviations
constexpr double LEAST_SPREAD = 0.004;      // of logarithms: a rounding of bytes

/// How two photographs differ in what both show.
struct PairDifference
{
    std::size_t first = 0;
    std::size_t second = 0;
    std::size_t common = 0;             ///< Places.
    std::array<double, 3> difference{}; ///< Logarithm of the first minus that of the second.
};

std::size_t number_of_places(std::size_t n_views)
{
    std::size_t const pairs = std::max<std::size_t>(n_views * n_views / 2, 1);
    return std::clamp(MOST_DIFFERENCES / pairs, FEWEST_PLACES, MOST_PLACES);
}

/// The mean of the values around their median. Up to half of them may be anything.
double robust_mean(std::vector<float> const& values)
{
    float const middle = median(values);
    std::vector<float> deviations(values.size());
    std::transform(values.begin(), values.end(), deviations.begin(),
                   [middle](float value) { return std::abs(value - middle); });
    double const spread =
        std::max(SPREAD_OF_MEDIAN * static_cast<double>(median(deviations)), LEAST_SPREAD);
    double sum = 0.0;
    double count = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (static_cast<double>(deviations[i]) <= KEPT_SPREADS * spread)
        {
            sum += static_cast<double>(values[i]);
            count += 1.0;
        }
    }
    return sum / count;
}

PairDifference compare(PhotoSamples const& samples, std::size_t first, std::size_t second)
{
    PairDifference pair{first, second};
    std::array<std::vector<float>, 3> differences;
    for (std::size_t k = 0; k < samples.n_places(); ++k)
    {
        if (samples.seen(first, k) && samples.seen(second, k))
        {
            ++pair.common;
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                differences[channel].push_back(samples.colour(first, k)[channel] -
                                               samples.colour(second, k)[channel]);
            }
        }
    }
    for (std::size_t channel = 0; pair.common >= LEAST_COMMON && channel < 3; ++channel)
    {
        pair.difference[channel] = robust_mean(differences[channel]);
    }
    return pair;
}

/// All pairs that have enough in common.
std::vector<PairDifference> compare_all(PhotoSamples const& samples)
{
    std::size_t const n = samples.n_views();
    std::vector<std::vector<PairDifference>> of_first(n);
    for_each_index(n,
                   [&](std::size_t first)
                   {
                       for (std::size_t second = first + 1; second < n; ++second)
                       {
                           OrvaneAlgorithm::detail::poll_cancel();
                           PairDifference const pair = compare(samples, first, second);
                           if (pair.common >= LEAST_COMMON)
                           {
                               of_first[first].push_back(pair);
                           }
                       }
                   });
    std::vector<PairDifference> pairs;
    for (auto const& list : of_first)
    {
        pairs.insert(pairs.end(), list.begin(), list.end());
    }
    return pairs;
}

/// The photographs that hang together, each group in ascending order.
std::vector<std::vector<std::size_t>> groups_of(std::vector<PairDifference> const& pairs,
                                                std::size_t n_views)
{
    OrvaneAlgorithm::detail::DisjointSets sets(n_views);
    for (auto const& pair : pairs)
    {
        sets.join(static_cast<int>(pair.first), static_cast<int>(pair.second));
    }
    std::vector<std::vector<std::size_t>> groups(n_views);
    for (std::size_t i = 0; i < n_views; ++i)
    {
        groups[static_cast<std::size_t>(sets.root(static_cast<int>(i)))].push_back(i);
    }
    groups.erase(std::remove_if(groups.begin(), groups.end(),
                                [](auto const& group) { return group.size() < 2; }),
                 groups.end());
    return groups;
}

/// Logarithms of a group's gains, one row for each photograph: the sum over all pairs of
/// common * (x_first - x_second + difference)^2 is least, and the sum of all x 0.
Eigen::MatrixX3d solve_group(std::vector<std::size_t> const& group,
                             std::vector<PairDifference> const& pairs, std::size_t n_views)
{
    constexpr Eigen::Index OUTSIDE = -1;
    std::vector<Eigen::Index> row(n_views, OUTSIDE);
    for (std::size_t i = 0; i < group.size(); ++i)
    {
        row[group[i]] = static_cast<Eigen::Index>(i);
    }
    auto const n = static_cast<Eigen::Index>(group.size());
    Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(n, n);
    Eigen::MatrixX3d right = Eigen::MatrixX3d::Zero(n, 3);
    for (auto const& pair : pairs)
    {
        Eigen::Index const i = row[pair.first];
        Eigen::Index const j = row[pair.second];
        if (i == OUTSIDE)
        {
            continue;
        }
        auto const weight = static_cast<double>(pair.common);
        matrix(i, i) += weight;
        matrix(j, j) += weight;
        matrix(i, j) -= weight;
        matrix(j, i) -= weight;
        Eigen::RowVector3d const pull =
            weight * Eigen::Map<Eigen::RowVector3d const>(pair.difference.data());
        right.row(i) -= pull;
        right.row(j) += pull;
    }
    // All x may move together; this holds their sum at 0 and leaves the rest as it is.
    matrix.array() += matrix.trace() / static_cast<double>(n * n);
    return matrix.ldlt().solve(right);
}

} // namespace

std::vector<ColourGain> balance_gains(OrvaneAlgorithm::TriMesh const& mesh,
                                      std::vector<PhotoView> const& views,
                                      std::vector<Photo> const& photos, double depth_tolerance)
{
    MeshTriangles const faces(mesh);
    return balance_gains(faces, faces.scene(), views, photos, depth_tolerance);
}

std::vector<ColourGain> balance_gains(MeshTriangles const& faces, RayScene const& scene,
                                      std::vector<PhotoView> const& views,
                                      std::vector<Photo> const& photos, double depth_tolerance)
{
    if (views.size() != photos.size())
    {
        throw InputError("there are not as many photographs as views");
    }
    PhotoSamples const samples(faces, scene, views, photos, depth_tolerance,
                               number_of_places(views.size()));
    auto const pairs = compare_all(samples);
    std::vector<ColourGain> gains(views.size(), {1.0, 1.0, 1.0});
    for (auto const& group : groups_of(pairs, views.size()))
    {
        Eigen::ArrayX3d factors = solve_group(group, pairs, views.size()).array().exp();
        factors.rowwise() /= factors.colwise().mean().eval();
        for (std::size_t i = 0; i < group.size(); ++i)
        {
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                gains[group[i]][channel] =
                    factors(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(channel));
            }
        }
    }
    return gains;
}

void apply_gain(Photo& photo, ColourGain const& gain)
{
    std::array<std::array<unsigned char, 256>, 3> table{};
    for (std::size_t channel = 0; channel < 3; ++channel)
    {
        for (std::size_t byte = 0; byte < 256; ++byte)
        {
            double const value = std::round(gain[channel] * static_cast<double>(byte));
            table[channel][byte] = static_cast<unsigned char>(std::clamp(value, 0.0, 255.0));
        }
    }
    auto const height = static_cast<std::size_t>(photo.height());
    for_each_index(height,
                   [&](std::size_t y)
                   {
                       for (int x = 0; x < photo.width(); ++x)
                       {
                           unsigned char* const pixel = photo.pixel(x, static_cast<int>(y));
                           for (std::size_t channel = 0; channel < 3; ++channel)
                           {
                               pixel[channel] = table[channel][pixel[channel]];
                           }
                       }
                   });
}

} // namespace veld
