#include "algorithmVeld/reconstruction/registration/FramePairs.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/reconstruction/frames/FrameChoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Of the angle between the normals of one place, 45 degrees.
constexpr double ALIKE_NORMALS = 0.70710678;
/// Samples of a frame that tell whether it overlaps another one.
constexpr std::size_t ASKED = 200;
/// Fewer matches, or a smaller part of the samples, may be chance.
constexpr std::size_t FEWEST_MATCHES = 12;
constexpr double LEAST_OVERLAP = 0.05;
/// Of a frame's pairs so many of the largest overlap are compared, and so many of the others.
constexpr std::size_t LARGEST_PAIRS = 6;
constexpr std::size_t OTHER_PAIRS = 6;
/// Of the radius of a frame: side of the cubes by which many frames look for each other.
constexpr double CUBE_OF_RADIUS = 0.25;

Vector3d place_of(RigidMatrix const& pose, Vector3d const& point)
{
    return pose.get_rotation() * point + pose.get_translation();
}

Vector3d direction(RigidMatrix const& pose, Vector3f const& normal)
{
    return pose.get_rotation() * normal.cast<double>();
}

bool may_meet(SampledFrame const& a, RigidMatrix const& a_pose, SampledFrame const& b,
              RigidMatrix const& b_pose, double reach)
{
    return !a.point.empty() && !b.point.empty() &&
           (place_of(a_pose, a.centre) - place_of(b_pose, b.centre)).norm() <=
               a.radius + b.radius + reach;
}

/// The samples of one frame in another one.
class SampleSearch
{
public:
    SampleSearch(SampledFrame const& from, RigidMatrix const& from_pose, SampledFrame const& to,
                 RigidMatrix const& to_pose, double reach)
        : from_(from),
          from_pose_(from_pose),
          to_(to),
          to_pose_(to_pose),
          to_frame_(to_pose.inverse()),
          reach_(reach),
          search_radius_(static_cast<float>(reach))
    {
    }

    /// \param sign 1 or -1, which distances are multiplied by
    void run(std::size_t most, double sign, std::vector<Match>& matches)
    {
        std::size_t const count = std::min(most, from_.samples.size());
        CancelPoll poll;
        for (std::size_t k = 0; k < count; ++k)
        {
            poll.next();
            auto const i =
                static_cast<std::size_t>(from_.samples[k * from_.samples.size() / count]);
            match(i, sign, matches);
        }
    }

private:
    void match(std::size_t i, double sign, std::vector<Match>& matches)
    {
        Vector3d const point = place_of(from_pose_, from_.point[i].cast<double>());
        Vector3d const inside = place_of(to_frame_, point);
        // Without the limit a search far from all points takes long. A comparison with NaN is
        // false.
        if (!((inside - to_.centre).norm() <= to_.radius + reach_) ||
            to_.tree.radius_search(inside.cast<float>(), search_radius_, found_, distances_, 1) < 1)
        {
            return;
        }
        auto const j = static_cast<std::size_t>(found_.front());
        Vector3d const step = to_.point[j].cast<double>() - inside;
        Vector3d const from_normal = direction(from_pose_, from_.normal[i]);
        Vector3d const to_normal = direction(to_pose_, to_.normal[j]);
        if (to_.inside[j] == 0 || !(step.norm() <= reach_) ||
            !(from_normal.dot(to_normal) >= ALIKE_NORMALS))
        {
            return;
        }
        Vector3d const turned = to_pose_.transform_normal(step);
        Match result;
        result.normal = (from_normal + to_normal).normalized();
        result.place = point + 0.5 * turned;
        result.distance = -sign * turned.dot(result.normal);
        result.noise = std::sqrt(0.5) * std::hypot(static_cast<double>(from_.noise[i]),
                                                   static_cast<double>(to_.noise[j]));
        matches.push_back(result);
    }

    SampledFrame const& from_;
    RigidMatrix const& from_pose_;
    SampledFrame const& to_;
    RigidMatrix const& to_pose_;
    RigidMatrix to_frame_;
    double reach_;
    float search_radius_;
    std::vector<int> found_;
    std::vector<float> distances_;
};

std::vector<Match> matches_of(std::vector<SampledFrame> const& frames,
                              std::vector<RigidMatrix> const& poses, std::size_t a, std::size_t b,
                              double reach, std::size_t most)
{
    std::vector<Match> matches;
    SampleSearch(frames[a], poses[a], frames[b], poses[b], reach).run(most, 1.0, matches);
    SampleSearch(frames[b], poses[b], frames[a], poses[a], reach).run(most, -1.0, matches);
    return matches;
}

void sort_by_overlap(std::vector<FramePair>& pairs)
{
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](FramePair const& x, FramePair const& y) { return x.overlap > y.overlap; });
}

/// Marks the pairs of largest overlap that keep all together, as in Kruskal's spanning trees.
void mark_spanning(std::size_t frames, std::vector<FramePair> const& pairs,
                   std::vector<char>& chosen)
{
    DisjointSets sets(frames);
    for (std::size_t k = 0; k < pairs.size(); ++k)
    {
        int const a = static_cast<int>(pairs[k].first);
        int const b = static_cast<int>(pairs[k].second);
        if (sets.root(a) != sets.root(b))
        {
            sets.join(a, b);
            chosen[k] = 1;
        }
    }
}

void mark_for_each_frame(std::size_t frames, std::vector<FramePair> const& pairs,
                         std::vector<char>& chosen)
{
    std::vector<std::vector<std::size_t>> of_frame(frames);
    for (std::size_t k = 0; k < pairs.size(); ++k)
    {
        of_frame[pairs[k].first].push_back(k);
        of_frame[pairs[k].second].push_back(k);
    }
    for (auto const& list : of_frame)
    {
        std::size_t const largest = std::min(LARGEST_PAIRS, list.size());
        std::size_t const left = list.size() - largest;
        std::size_t const others = std::min(OTHER_PAIRS, left);
        for (std::size_t k = 0; k < largest; ++k)
        {
            chosen[list[k]] = 1;
        }
        for (std::size_t k = 0; k < others; ++k)
        {
            chosen[list[largest + k * left / others]] = 1;
        }
    }
}

/// Of pairs, the largest overlap first, those that are compared.
std::vector<FramePair> chosen_pairs(std::size_t frames, std::vector<FramePair> const& pairs)
{
    std::vector<char> chosen(pairs.size(), 0);
    mark_spanning(frames, pairs, chosen);
    mark_for_each_frame(frames, pairs, chosen);
    std::vector<FramePair> result;
    for (std::size_t k = 0; k < pairs.size(); ++k)
    {
        if (chosen[k] == 1)
        {
            result.push_back(pairs[k]);
        }
    }
    std::sort(result.begin(), result.end(),
              [](FramePair const& x, FramePair const& y)
              { return std::tie(x.first, x.second) < std::tie(y.first, y.second); });
    return result;
}

/// A cube of space and a frame with a sample in it.
using SeenCube = std::pair<std::array<std::int32_t, 3>, std::int32_t>;

std::vector<SeenCube> seen_cubes(std::vector<SampledFrame> const& frames,
                                 std::vector<RigidMatrix> const& poses, double side)
{
    constexpr double LARGEST = 1073741824.0; // 2^30
    std::vector<SeenCube> cubes;
    CancelPoll poll;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        auto const before = static_cast<std::ptrdiff_t>(cubes.size());
        for (int const i : frames[f].samples)
        {
            poll.next();
            Vector3f const& point = frames[f].point[static_cast<std::size_t>(i)];
            Vector3d const cube = place_of(poses[f], point.cast<double>()) / side;
            // A comparison with NaN is false.
            if ((cube.array().abs() < LARGEST).all())
            {
                auto const number = [&](int axis)
                { return static_cast<std::int32_t>(std::floor(cube[axis])); };
                cubes.push_back(
                    {{{number(0), number(1), number(2)}}, static_cast<std::int32_t>(f)});
            }
        }
        std::sort(cubes.begin() + before, cubes.end());
        cubes.erase(std::unique(cubes.begin() + before, cubes.end()), cubes.end());
    }
    std::sort(cubes.begin(), cubes.end());
    return cubes;
}

/// Pairs of frames that share cubes, one for each cube that both are asked about: in the list of
/// its frames each one with those one, two, four and so on farther.
std::vector<std::pair<std::int32_t, std::int32_t>>
neighbours_in_cubes(std::vector<SeenCube> const& cubes)
{
    std::vector<std::pair<std::int32_t, std::int32_t>> pairs;
    CancelPoll poll;
    for (std::size_t begin = 0; begin < cubes.size();)
    {
        std::size_t end = begin;
        while (end < cubes.size() && cubes[end].first == cubes[begin].first)
        {
            ++end;
        }
        for (std::size_t step = 1; step < end - begin; step *= 2)
        {
            for (std::size_t i = begin; i + step < end; ++i)
            {
                poll.next();
                pairs.emplace_back(cubes[i].second, cubes[i + step].second);
            }
        }
        begin = end;
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

/// Of many frames, some that may overlap each one: those that share the most places with it and
/// others, and what keeps all together. Their number grows with the frames.
std::vector<FramePair> likely_pairs(std::vector<SampledFrame> const& frames,
                                    std::vector<RigidMatrix> const& poses, double reach)
{
    std::vector<double> radii;
    radii.reserve(frames.size());
    for (auto const& frame : frames)
    {
        radii.push_back(frame.radius);
    }
    double const side = std::max(CUBE_OF_RADIUS * median(std::move(radii)), 2.0 * reach);
    if (!(side > 0.0))
    {
        return {};
    }
    auto const shared = neighbours_in_cubes(seen_cubes(frames, poses, side));
    std::vector<FramePair> pairs;
    for (auto const& [a, b] : shared)
    {
        auto const first = static_cast<std::size_t>(a);
        auto const second = static_cast<std::size_t>(b);
        if (pairs.empty() || pairs.back().first != first || pairs.back().second != second)
        {
            pairs.push_back({first, second, 0.0});
        }
        pairs.back().overlap += 1.0;
    }
    sort_by_overlap(pairs);
    return chosen_pairs(frames.size(), pairs);
}

/// All pairs of frames whose points may meet.
std::vector<FramePair> all_pairs(std::vector<SampledFrame> const& frames,
                                 std::vector<RigidMatrix> const& poses, double reach)
{
    std::vector<FramePair> pairs;
    for (std::size_t a = 0; a < frames.size(); ++a)
    {
        for (std::size_t b = a + 1; b < frames.size(); ++b)
        {
            if (may_meet(frames[a], poses[a], frames[b], poses[b], reach))
            {
                pairs.push_back({a, b, 0.0});
            }
        }
    }
    return pairs;
}

/// Measures how far pairs overlap, and leaves those that do, the largest overlap first.
std::vector<FramePair> overlapping(std::vector<SampledFrame> const& frames,
                                   std::vector<RigidMatrix> const& poses,
                                   std::vector<FramePair> pairs, double reach)
{
    parallel_for_uneven(
        static_cast<std::ptrdiff_t>(pairs.size()),
        [&](std::ptrdiff_t number)
        {
            FramePair& pair = pairs[static_cast<std::size_t>(number)];
            auto const n = matches_of(frames, poses, pair.first, pair.second, reach, ASKED).size();
            auto const asked = [&](std::size_t f)
            { return std::min(ASKED, frames[f].samples.size()); };
            double const overlap = static_cast<double>(n) /
                                   static_cast<double>(asked(pair.first) + asked(pair.second));
            bool const is_one = n >= FEWEST_MATCHES && overlap >= LEAST_OVERLAP;
            pair.overlap = is_one ? overlap : 0.0;
        });
    pairs.erase(std::remove_if(pairs.begin(), pairs.end(),
                               [](FramePair const& pair) { return !(pair.overlap > 0.0); }),
                pairs.end());
    sort_by_overlap(pairs);
    return pairs;
}

} // namespace

std::vector<Match> match_pair(std::vector<SampledFrame> const& frames,
                              std::vector<RigidMatrix> const& poses, std::size_t first,
                              std::size_t second, double reach)
{
    return matches_of(frames, poses, first, second, reach,
                      std::max(frames[first].samples.size(), frames[second].samples.size()));
}

std::vector<FramePair> find_pairs(std::vector<SampledFrame> const& frames,
                                  std::vector<RigidMatrix> const& poses, double reach)
{
    auto const asked = frames.size() > FEW_FRAMES ? likely_pairs(frames, poses, reach)
                                                  : all_pairs(frames, poses, reach);
    return chosen_pairs(frames.size(), overlapping(frames, poses, asked, reach));
}

std::vector<std::size_t> groups_of(std::size_t frames, std::vector<FramePair> const& pairs)
{
    DisjointSets sets(frames);
    for (auto const& pair : pairs)
    {
        sets.join(static_cast<int>(pair.first), static_cast<int>(pair.second));
    }
    std::vector<std::size_t> groups(frames);
    for (std::size_t f = 0; f < frames; ++f)
    {
        groups[f] = static_cast<std::size_t>(sets.root(static_cast<int>(f)));
    }
    return groups;
}

} // namespace OrvaneAlgorithm::detail
