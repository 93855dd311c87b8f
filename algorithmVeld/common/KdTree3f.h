#pragma once

#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/vectors.h"

#include <memory>
#include <vector>

namespace OrvaneAlgorithm
{

/// Search tree over points in space, on FLANN's single kd-tree with the Euclidean metric.
///
/// Building copies what it needs: the points may go afterwards. Points with a coordinate that is
/// not finite, or beyond 1e18 so that squares of distances would not be, are never found. Copies of
/// a tree share the index, which is only read; searches may run in many threads at once.
class ALGORITHMVELD_API KdTree3f
{
public:
    /// Beyond this the sums and squares of coordinates that the search computes are no finite
    /// floats.
    static constexpr float LARGEST_COORDINATE = 1e18F;

    KdTree3f();
    KdTree3f(KdTree3f const&);
    KdTree3f& operator=(KdTree3f const&);
    ~KdTree3f();

    /// Builds the tree anew; no points (or none that are finite) leave it unbuilt.
    void build_kdtree(std::vector<Vector3f> const& points);

    /// Whether hits come in rising distance (equal ones by index). True at construction; building
    /// does not change it. Without it hits come in the order in which the tree holds them.
    void set_sorted(bool sorted) { sorted_ = sorted; }

    /// Finds the points nearer to `query` than `radius`; the limit itself is not a hit.
    /// \param query where to search; if it is not finite, or beyond 1e18, nothing is found
    /// \param radius in the unit of the points; negative or 0 finds nothing
    /// \param indices the hits, by their place in the list that the tree was built on
    /// \param sq_dists their squared distances
    /// \param max_neighbours 0 for all; otherwise the nearest ones only; negative finds nothing
    /// \return the number of hits
    int radius_search(Vector3f const& query, float radius, std::vector<int>& indices,
                      std::vector<float>& sq_dists, int max_neighbours) const;

    /// Finds the point nearest to `query`; of equally near ones always the same.
    /// \param query where to search
    /// \param index its place in the list, -1 if there is none
    /// \param sq_dist its squared distance
    /// \return false if the tree was not built or `query` is not finite, or beyond 1e18
    bool nearest_search(Vector3f const& query, int& index, float& sq_dist) const;

private:
    struct Index;
    std::shared_ptr<Index const> index_;
    bool sorted_ = true;
};

} // namespace OrvaneAlgorithm
