#include "algorithmVeld/common/KdTree3f.h"

#include "algorithmVeld/common/running/Progress.h"

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#endif
#include <flann/flann.hpp>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace OrvaneAlgorithm
{

namespace
{

using FlannIndex = flann::KDTreeSingleIndex<flann::L2<float>>;
constexpr int LEAF_SIZE = 15;

bool is_usable(Vector3f const& point)
{
    // A comparison with NaN is false.
    return (point.array().abs() <= KdTree3f::LARGEST_COORDINATE).all();
}

/// Unlimited search of an exact tree; how many hits are kept and how they are sorted is the
/// business of what collects them.
flann::SearchParams const& search_params()
{
    static flann::SearchParams const params = []
    {
        flann::SearchParams p(flann::FLANN_CHECKS_UNLIMITED, 0.0F, true);
        p.max_neighbors = -1;
        p.use_heap = flann::FLANN_Undefined;
        p.cores = 1;
        return p;
    }();
    return params;
}

/// Collects the hits of a search, in the way of FLANN's own result sets, but into memory that is
/// used again. A hit is one number, squared distance before index, which sorts as the pair does:
/// distances are not negative, and the bits of such floats are in the order of their values.
class HitCollector final : public flann::ResultSet<float>
{
public:
    /// \param limit how many hits are kept, the nearest ones
    HitCollector(std::vector<std::uint64_t>& hits, float square_radius, std::size_t limit)
        : hits_(hits), worst_(square_radius), limit_(limit)
    {
        hits_.clear();
    }

    bool full() const override { return true; }
    float worstDist() const override { return worst_; }

    void addPoint(float square_distance, std::size_t index) override
    {
        if (!(square_distance < worst_))
        {
            return;
        }
        bool const is_heap = hits_.size() == limit_;
        if (is_heap)
        {
            std::pop_heap(hits_.begin(), hits_.end());
            hits_.pop_back();
        }
        hits_.push_back(to_hit(square_distance, index));
        if (is_heap)
        {
            std::push_heap(hits_.begin(), hits_.end());
        }
        else if (hits_.size() == limit_)
        {
            std::make_heap(hits_.begin(), hits_.end());
        }
        if (hits_.size() == limit_)
        {
            worst_ = distance_of(hits_.front());
        }
    }

    static std::uint64_t to_hit(float square_distance, std::size_t index)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &square_distance, sizeof bits);
        return (std::uint64_t{bits} << 32U) | static_cast<std::uint32_t>(index);
    }
    static float distance_of(std::uint64_t hit)
    {
        auto const bits = static_cast<std::uint32_t>(hit >> 32U);
        float distance = 0.0F;
        std::memcpy(&distance, &bits, sizeof distance);
        return distance;
    }
    static std::size_t index_of(std::uint64_t hit) { return hit & 0xFFFFFFFFU; }

private:
    std::vector<std::uint64_t>& hits_;
    float worst_;
    std::size_t limit_;
};

/// Memory for the hits of a search, kept from one search of a thread to the next.
std::vector<std::uint64_t>& thread_hits()
{
    thread_local std::vector<std::uint64_t> hits;
    return hits;
}

} // namespace

/// FLANN's index over the usable points, and their places in the list that was given.
struct KdTree3f::Index
{
    std::vector<int> places; ///< empty where every point is usable
    std::unique_ptr<FlannIndex> flann;

    int place(std::size_t i) const { return places.empty() ? static_cast<int>(i) : places[i]; }
};

KdTree3f::KdTree3f() = default;
KdTree3f::KdTree3f(KdTree3f const&) = default;
KdTree3f& KdTree3f::operator=(KdTree3f const&) = default;
KdTree3f::~KdTree3f() = default;

void KdTree3f::build_kdtree(std::vector<Vector3f> const& points)
{
    index_.reset();
    detail::poll_cancel();
    auto index = std::make_shared<Index>();
    std::vector<Vector3f> usable;
    if (!std::all_of(points.begin(), points.end(), is_usable))
    {
        for (std::size_t i = 0; i < points.size(); ++i)
        {
            if (is_usable(points[i]))
            {
                usable.push_back(points[i]);
                index->places.push_back(static_cast<int>(i));
            }
        }
    }
    std::vector<Vector3f> const& source = index->places.empty() ? points : usable;
    if (source.empty() || !is_usable(source.front()))
    {
        return;
    }
    // With reordering the index keeps a copy of the points and looks at these ones no more once it
    // is built; it does not write them either.
    flann::Matrix<float> const matrix(const_cast<float*>(source.front().data()), source.size(), 3);
    index->flann = std::make_unique<FlannIndex>(
        matrix, flann::KDTreeSingleIndexParams(LEAF_SIZE, true), flann::L2<float>());
    // FLANN cannot be ended on its way.
    detail::poll_cancel();
    index->flann->buildIndex();
    detail::poll_cancel();
    index_ = std::move(index);
}

int KdTree3f::radius_search(Vector3f const& query, float radius, std::vector<int>& indices,
                            std::vector<float>& sq_dists, int max_neighbours) const
{
    indices.clear();
    sq_dists.clear();
    if (!index_ || !(radius >= 0.0F) || max_neighbours < 0 || !is_usable(query))
    {
        return 0;
    }
    auto& hits = thread_hits();
    HitCollector collector(hits, radius * radius,
                           max_neighbours > 0 ? static_cast<std::size_t>(max_neighbours)
                                              : std::numeric_limits<std::size_t>::max());
    index_->flann->findNeighbors(collector, query.data(), search_params());
    if (sorted_)
    {
        std::sort(hits.begin(), hits.end());
    }
    indices.resize(hits.size());
    sq_dists.resize(hits.size());
    for (std::size_t i = 0; i < hits.size(); ++i)
    {
        indices[i] = index_->place(HitCollector::index_of(hits[i]));
        sq_dists[i] = HitCollector::distance_of(hits[i]);
    }
    return static_cast<int>(hits.size());
}

bool KdTree3f::nearest_search(Vector3f const& query, int& index, float& sq_dist) const
{
    index = -1;
    sq_dist = 0.0F;
    if (!index_ || !is_usable(query))
    {
        return false;
    }
    flann::KNNSimpleResultSet<float> nearest(1);
    index_->flann->findNeighbors(nearest, query.data(), search_params());
    std::size_t hit = 0;
    nearest.copy(&hit, &sq_dist, 1);
    index = index_->place(hit);
    return true;
}

} // namespace OrvaneAlgorithm
