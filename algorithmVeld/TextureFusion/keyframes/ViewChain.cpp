#include "algorithmVeld/TextureFusion/keyframes/ViewChain.h"

#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// A camera that has no place in the chain yet.
struct LooseView
{
    int frame = 0;
    Vector3f direction;   ///< Where the camera looks.
    float towards = 0.0F; ///< The cosine between that and the way to the centre.
};

/// The view of which `value` is largest, the first of equals. One of which it is no number is only
/// taken where it is the first, for comparisons with it are false.
template <typename Value>
std::vector<LooseView>::iterator place_of_largest(std::vector<LooseView>& views, Value const& value)
{
    auto best = views.begin();
    float largest = value(*best);
    for (auto view = best + 1; view != views.end(); ++view)
    {
        float const other = value(*view);
        if (other > largest)
        {
            best = view;
            largest = other;
        }
    }
    return best;
}

} // namespace

std::vector<int> chain_of_views(std::vector<int> const& frames,
                                std::vector<Vector3f> const& positions,
                                std::vector<Eigen::Matrix3f> const& views, Vector3f const& centre,
                                Progress& progress)
{
    std::vector<LooseView> loose;
    loose.reserve(frames.size());
    for (int const frame : frames)
    {
        auto const i = static_cast<std::size_t>(frame);
        Vector3f const direction = views[i].col(2).normalized();
        loose.push_back({frame, direction, (centre - positions[i]).normalized().dot(direction)});
    }
    std::vector<int> chain;
    chain.reserve(frames.size());
    auto next = place_of_largest(loose, [](LooseView const& view) { return view.towards; });
    while (true)
    {
        LooseView const last = *next;
        chain.push_back(last.frame);
        loose.erase(next); // The others keep their order, in which the first of equals is taken.
        progress.advance();
        if (loose.empty())
        {
            return chain;
        }
        next = place_of_largest(loose, [&](LooseView const& view)
                                { return last.direction.dot(view.direction); });
    }
}

} // namespace OrvaneAlgorithm::detail
