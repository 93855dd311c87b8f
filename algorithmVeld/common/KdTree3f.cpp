#include "algorithmVeld/common/KdTree3f.h"

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#endif
#include <flann/flann.hpp>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace OrvaneAlgorithm
{

namespace
{

using FlannIndex = flann::KDTreeSingleIndex<flann::L2<float>>;
constexpr int LEAF_SIZE = 15;

flann::SearchParams search_params(bool sorted, int max_neighbours)
{
    flann::SearchParams params(flann::FLANN_CHECKS_UNLIMITED, 0.0F, sorted);
    params.max_neighbors = max_neighbours > 0 ? max_neighbours : -1;
    params.use_heap = flann::FLANN_Undefined;
    params.cores = 1;
    return params;
}

} // namespace

/// The finite points, FLANN's index over them, and their places in the list that was given.
struct KdTree3f::Index
{
    std::vector<float> coordinates;
    std::vector<int> places; ///< empty where every point was finite
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
    auto index = std::make_shared<Index>();
    index->coordinates.reserve(points.size() * 3);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        Vector3f const& p = points[i];
        if (p.allFinite())
        {
            index->coordinates.insert(index->coordinates.end(), {p.x(), p.y(), p.z()});
            index->places.push_back(static_cast<int>(i));
        }
    }
    if (index->places.empty())
    {
        return;
    }
    flann::Matrix<float> const matrix(index->coordinates.data(), index->places.size(), 3);
    index->flann = std::make_unique<FlannIndex>(
        matrix, flann::KDTreeSingleIndexParams(LEAF_SIZE, true), flann::L2<float>());
    index->flann->buildIndex();
    if (index->places.size() == points.size())
    {
        index->places = {};
    }
    index_ = std::move(index);
}

int KdTree3f::radius_search(Vector3f const& query, float radius, std::vector<int>& indices,
                            std::vector<float>& sq_dists, int max_neighbours) const
{
    indices.clear();
    sq_dists.clear();
    if (!index_ || !(radius >= 0.0F) || max_neighbours < 0 || !query.allFinite())
    {
        return 0;
    }
    Vector3f point = query;
    flann::Matrix<float> const queries(point.data(), 1, 3);
    std::vector<std::vector<std::size_t>> hits;
    std::vector<std::vector<float>> distances;
    index_->flann->radiusSearch(queries, hits, distances, radius * radius,
                                search_params(sorted_, max_neighbours));
    sq_dists = std::move(distances.front());
    indices.reserve(hits.front().size());
    for (std::size_t const hit : hits.front())
    {
        indices.push_back(index_->place(hit));
    }
    return static_cast<int>(indices.size());
}

bool KdTree3f::nearest_search(Vector3f const& query, int& index, float& sq_dist) const
{
    index = -1;
    sq_dist = 0.0F;
    if (!index_ || !query.allFinite())
    {
        return false;
    }
    Vector3f point = query;
    std::size_t hit = 0;
    flann::Matrix<float> const queries(point.data(), 1, 3);
    flann::Matrix<std::size_t> hits(&hit, 1, 1);
    flann::Matrix<float> distances(&sq_dist, 1, 1);
    index_->flann->knnSearch(queries, hits, distances, 1, search_params(true, 0));
    index = index_->place(hit);
    return true;
}

} // namespace OrvaneAlgorithm
