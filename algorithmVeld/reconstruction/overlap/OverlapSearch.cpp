#include "algorithmVeld/reconstruction/overlap/OverlapSearch.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Sampling coarser than this, against the mean, does not make points see farther: it bounds the
/// reach of the search.
constexpr double COARSEST = 1.5;
/// More points than this in one voxel are duplicates, or frames so fine that a part of them tells
/// as much; it bounds the work.
constexpr std::size_t MOST_IN_VOXEL = 1024;
constexpr std::size_t MOST_OF_FRAME = 3;

using Key = std::uint64_t;
constexpr unsigned KEY_BITS = 21;
constexpr Key KEY_MASK = (Key{1} << KEY_BITS) - 1;

/// A point and its voxel.
struct Placed
{
    Key key = 0;
    int point = 0;

    bool operator<(Placed const& other) const
    {
        return std::tie(key, point) < std::tie(other.key, other.point);
    }
};

/// What is known of a point, in one place of memory.
struct Candidate
{
    Vector3f point;
    int frame;
    Vector3f normal;
    float spacing;
    int number;
};

Candidate candidate_of(FrameSurface const& surface, std::size_t i)
{
    return {surface.point[i], surface.frame[i], surface.normal[i], surface.spacing[i],
            static_cast<int>(i)};
}

/// Points in the order of their voxels. Numbers of voxels wrap around at 2^21 along an axis, which
/// only brings points together that are far from each other.
class VoxelOrder
{
public:
    /// A run of points that others may be seen by.
    struct Run
    {
        Candidate const* begin;
        Candidate const* end;
    };

    VoxelOrder(FrameSurface const& surface, double side)
    {
        place(surface, side);
        for (std::size_t k = 0; k < placed_.size(); ++k)
        {
            if (k == 0 || placed_[k].key != placed_[k - 1].key)
            {
                keys_.push_back(placed_[k].key);
                first_.push_back(k);
            }
        }
        first_.push_back(placed_.size());
        list_candidates(surface);
    }

    std::size_t voxels() const { return keys_.size(); }

    /// Calls `visit(point)` for the points of a voxel.
    template <typename Visit>
    void visit_own(std::size_t voxel, Visit const& visit) const
    {
        for (std::size_t k = first_[voxel]; k < first_[voxel + 1]; ++k)
        {
            visit(static_cast<std::size_t>(placed_[k].point));
        }
    }

    /// Lists the candidates of a voxel and of those around it.
    void find_around(std::size_t voxel, std::vector<Run>& runs) const
    {
        runs.clear();
        Key const key = keys_[voxel];
        Key const z = key & KEY_MASK;
        // Voxels along z follow each other, but where their numbers wrap around.
        Key const below = z > 0 ? z - 1 : 0;
        Key const above = z < KEY_MASK ? z + 1 : KEY_MASK;
        for (int dx = -1; dx <= 1; ++dx)
        {
            for (int dy = -1; dy <= 1; ++dy)
            {
                Key const row = join(step(key >> (2 * KEY_BITS), dx), step(key >> KEY_BITS, dy), 0);
                add_run(row | below, row | above, runs);
                if (z == 0 || z == KEY_MASK)
                {
                    add_run(row | (KEY_MASK - z), row | (KEY_MASK - z), runs);
                }
            }
        }
    }

private:
    static constexpr double LARGEST = 1073741824.0; // 2^30: floats are coarser than voxels there

    static Key join(Key x, Key y, Key z) { return (x << (2 * KEY_BITS)) | (y << KEY_BITS) | z; }
    static Key step(Key coordinate, int by)
    {
        return (coordinate + static_cast<Key>(static_cast<std::int64_t>(by))) & KEY_MASK;
    }
    static Key key_of(Vector3d const& voxel)
    {
        auto const number = [&](int axis)
        { return static_cast<Key>(static_cast<std::int64_t>(std::floor(voxel[axis]))) & KEY_MASK; };
        return join(number(0), number(1), number(2));
    }

    void place(FrameSurface const& surface, double side)
    {
        placed_.reserve(surface.size());
        CancelPoll poll;
        for (std::size_t i = 0; i < surface.size(); ++i)
        {
            poll.next();
            Vector3d const voxel = surface.point[i].cast<double>() / side;
            // A comparison with NaN is false.
            if ((voxel.array().abs() <= LARGEST).all())
            {
                placed_.push_back({key_of(voxel), static_cast<int>(i)});
            }
        }
        std::sort(placed_.begin(), placed_.end(),
                  [&](Placed const& a, Placed const& b)
                  {
                      poll.next();
                      return a < b;
                  });
    }

    /// Evenly spread ones where a voxel holds too many.
    void list_candidates(FrameSurface const& surface)
    {
        candidates_.reserve(placed_.size());
        CancelPoll poll;
        for (std::size_t voxel = 0; voxel < keys_.size(); ++voxel)
        {
            poll.next();
            first_candidate_.push_back(candidates_.size());
            std::size_t const n = first_[voxel + 1] - first_[voxel];
            std::size_t const listed = std::min(n, MOST_IN_VOXEL);
            for (std::size_t k = 0; k < listed; ++k)
            {
                auto const i =
                    static_cast<std::size_t>(placed_[first_[voxel] + k * n / listed].point);
                if (surface.spacing[i] > 0.0F && !surface.normal[i].isZero(0.0F))
                {
                    candidates_.push_back(candidate_of(surface, i));
                }
            }
        }
        first_candidate_.push_back(candidates_.size());
    }

    void add_run(Key first, Key last, std::vector<Run>& runs) const
    {
        auto const begin = std::lower_bound(keys_.begin(), keys_.end(), first);
        auto end = begin;
        while (end != keys_.end() && *end <= last)
        {
            ++end;
        }
        auto const candidate = [&](std::vector<Key>::const_iterator key) {
            return candidates_.data() +
                   first_candidate_[static_cast<std::size_t>(key - keys_.begin())];
        };
        runs.push_back({candidate(begin), candidate(end)});
    }

    std::vector<Placed> placed_;
    std::vector<Key> keys_;
    std::vector<std::size_t> first_; ///< place of each voxel's points
    std::vector<Candidate> candidates_;
    std::vector<std::size_t> first_candidate_; ///< place of each voxel's candidates
};

/// The step from one point to another, along the mean of their normals and beside it, squared.
struct SplitStep
{
    float square_along = 0.0F;
    float square_beside = 0.0F;
};

SplitStep split_step(Vector3f const& from, Vector3f const& from_normal, Vector3f const& to,
                     Vector3f const& to_normal)
{
    Vector3f const step = to - from;
    Vector3f const normal = from_normal + to_normal;
    float const along = normal.dot(step);
    float const square_length = normal.squaredNorm();
    SplitStep result;
    result.square_along = square_length > 0.0F ? along * along / square_length : 0.0F;
    result.square_beside = std::max(0.0F, step.squaredNorm() - result.square_along);
    return result;
}

/// A point beside another one.
struct Foot
{
    int frame = 0;
    float distance = 0.0F; ///< squared
    int point = 0;

    bool operator<(Foot const& other) const
    {
        return std::tie(frame, distance, point) <
               std::tie(other.frame, other.distance, other.point);
    }
};

/// The lists of the points of some voxels.
struct Part
{
    std::vector<int> points;
    std::vector<std::size_t> counts;
    std::vector<int> entries;
};

/// Searches voxel by voxel; what lies around a voxel is found once for all of its points.
class Searcher
{
public:
    Searcher(FrameSurface const& surface, OverlapLimits const& limits, double reach)
        : surface_(surface),
          square_reach_(static_cast<float>(reach * reach)),
          square_layer_(static_cast<float>(std::pow(limits.layer_factor * limits.spacing, 2))),
          coarsest_(static_cast<float>(COARSEST * limits.spacing)),
          cover_factor_(static_cast<float>(limits.cover_factor)),
          least_cosine_(static_cast<float>(limits.least_cosine))
    {
    }

    void search(VoxelOrder const& order, std::size_t voxel, Part& part)
    {
        order.find_around(voxel, around_);
        order.visit_own(voxel, [&](std::size_t i) { search_point(i, part); });
    }

private:
    void search_point(std::size_t i, Part& part)
    {
        feet_.clear();
        Candidate const mine = candidate_of(surface_, i);
        for (auto const& run : around_)
        {
            for (auto const* other = run.begin; other != run.end; ++other)
            {
                if (other->frame != mine.frame &&
                    (other->point - mine.point).squaredNorm() <= square_reach_)
                {
                    try_foot(mine, *other);
                }
            }
        }
        if (!feet_.empty())
        {
            keep_nearest(i, part);
        }
    }

    void try_foot(Candidate const& mine, Candidate const& other)
    {
        // A point without a normal, at the fringe of a frame, is no side of a wall.
        if (!mine.normal.isZero(0.0F) && !(mine.normal.dot(other.normal) >= least_cosine_))
        {
            return;
        }
        auto const step = split_step(mine.point, mine.normal, other.point, other.normal);
        float const reach =
            cover_factor_ * std::min(std::max(mine.spacing, other.spacing), coarsest_);
        if (step.square_along <= square_layer_ && step.square_beside <= reach * reach)
        {
            feet_.push_back({other.frame, step.square_beside, other.number});
        }
    }

    void keep_nearest(std::size_t i, Part& part)
    {
        std::sort(feet_.begin(), feet_.end());
        std::size_t const before = part.entries.size();
        std::size_t of_frame = 0;
        for (std::size_t k = 0; k < feet_.size(); ++k)
        {
            of_frame = k > 0 && feet_[k].frame == feet_[k - 1].frame ? of_frame + 1 : 0;
            if (of_frame < MOST_OF_FRAME)
            {
                part.entries.push_back(feet_[k].point);
            }
        }
        part.points.push_back(static_cast<int>(i));
        part.counts.push_back(part.entries.size() - before);
    }

    FrameSurface const& surface_;
    float square_reach_;
    float square_layer_;
    float coarsest_;
    float cover_factor_;
    float least_cosine_;
    std::vector<VoxelOrder::Run> around_;
    std::vector<Foot> feet_;
};

PointLists join_parts(std::vector<Part> const& parts, std::size_t n)
{
    PointLists lists;
    lists.first.assign(n + 1, 0);
    CancelPoll poll;
    for (auto const& part : parts)
    {
        poll.next();
        for (std::size_t k = 0; k < part.points.size(); ++k)
        {
            lists.first[static_cast<std::size_t>(part.points[k]) + 1] = part.counts[k];
        }
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        lists.first[i + 1] += lists.first[i];
    }
    lists.entries.resize(lists.first[n]);
    for_each_index(parts.size(),
                   [&](std::size_t p)
                   {
                       auto const& part = parts[p];
                       auto entry = part.entries.begin();
                       for (std::size_t k = 0; k < part.points.size(); ++k)
                       {
                           auto const count = static_cast<std::ptrdiff_t>(part.counts[k]);
                           auto const at = static_cast<std::ptrdiff_t>(
                               lists.first[static_cast<std::size_t>(part.points[k])]);
                           std::copy_n(entry, count, lists.entries.begin() + at);
                           entry += count;
                       }
                   });
    return lists;
}

} // namespace

float square_distance_beside(FrameSurface const& surface, std::size_t a, std::size_t b)
{
    return split_step(surface.point[a], surface.normal[a], surface.point[b], surface.normal[b])
        .square_beside;
}

PointLists find_overlap(FrameSurface const& surface, OverlapLimits const& limits)
{
    double const reach =
        limits.spacing * std::hypot(COARSEST * limits.cover_factor, limits.layer_factor);
    bool const is_possible = limits.cover_factor >= 0.0 && limits.layer_factor >= 0.0;
    if (!is_possible || !(reach > 0.0) || !std::isfinite(reach))
    {
        return {std::vector<std::size_t>(surface.size() + 1, 0), {}};
    }
    Stages stages({1, 12, 1});
    stages.next();
    VoxelOrder const order(surface, reach);
    constexpr std::size_t VOXELS_OF_PART = 256;
    std::vector<Part> parts((order.voxels() + VOXELS_OF_PART - 1) / VOXELS_OF_PART);
    stages.next();
    for_each_index(parts.size(),
                   [&](std::size_t number)
                   {
                       Searcher searcher(surface, limits, reach);
                       std::size_t const end =
                           std::min(order.voxels(), (number + 1) * VOXELS_OF_PART);
                       for (std::size_t v = number * VOXELS_OF_PART; v < end; ++v)
                       {
                           poll_cancel();
                           searcher.search(order, v, parts[number]);
                       }
                   });
    stages.next();
    return join_parts(parts, surface.size());
}

PointLists turn_round(PointLists const& lists)
{
    PointLists result;
    std::size_t const n = lists.first.size() - 1;
    result.first.assign(n + 1, 0);
    CancelPoll poll;
    for (int const entry : lists.entries)
    {
        poll.next();
        ++result.first[static_cast<std::size_t>(entry) + 1];
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        result.first[i + 1] += result.first[i];
    }
    result.entries.resize(lists.entries.size());
    std::vector<std::size_t> next(result.first.begin(), result.first.end() - 1);
    for (std::size_t i = 0; i < n; ++i)
    {
        poll.next();
        for (auto const* entry = lists.begin(i); entry != lists.end(i); ++entry)
        {
            result.entries[next[static_cast<std::size_t>(*entry)]++] = static_cast<int>(i);
        }
    }
    return result;
}

} // namespace OrvaneAlgorithm::detail
