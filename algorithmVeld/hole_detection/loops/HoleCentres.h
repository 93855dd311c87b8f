#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Mean of the vertex positions of each hole, computed in parallel.
std::vector<Vector3f> hole_centres(TriMesh const& mesh, Holes const& holes);

/// For each hole whether its centre is nearer than `distance` to one of `places`.
/// \param accepts asked with the indices of a place and of a hole near it; a hole that it refuses
///        may still be accepted for another place
template <typename Accepts>
std::vector<bool> holes_near(TriMesh const& mesh, Holes const& holes,
                             std::vector<Vector3f> const& places, double distance,
                             Accepts const& accepts)
{
    KdTree3f tree;
    tree.set_sorted(false);
    tree.build_kdtree(hole_centres(mesh, holes));
    std::vector<bool> marked(holes.size());
    std::vector<int> hits;
    std::vector<float> sq_dists;
    LoopProgress progress(places.size());
    for (std::size_t place = 0; place < places.size(); ++place)
    {
        progress.next();
        tree.radius_search(places[place], static_cast<float>(distance), hits, sq_dists, 0);
        for (int const hit : hits)
        {
            auto const hole = static_cast<std::size_t>(hit);
            marked[hole] = marked[hole] || accepts(place, hole);
        }
    }
    return marked;
}

} // namespace OrvaneAlgorithm::detail
