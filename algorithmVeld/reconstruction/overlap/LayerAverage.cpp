#include "algorithmVeld/reconstruction/overlap/LayerAverage.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Points nearer beside than this, in spacings, do not weigh more.
constexpr double NEAREST = 0.1;

class Mean
{
public:
    void add(double value, double weight)
    {
        sum_ += weight * value;
        weight_ += weight;
    }
    bool empty() const { return !(weight_ > 0.0); }
    double value() const { return empty() ? 0.0 : sum_ / weight_; }

private:
    double sum_ = 0.0;
    double weight_ = 0.0;
};

/// From a point along its normal to the tangential plane of another; not finite where it never
/// meets it.
double distance_to_plane(FrameSurface const& surface, std::size_t from, std::size_t to)
{
    Vector3d const normal = surface.normal[to].cast<double>();
    Vector3d const step = surface.point[to].cast<double>() - surface.point[from].cast<double>();
    return normal.dot(step) / normal.dot(surface.normal[from].cast<double>());
}

/// The layer of one frame, told by a part of the list of a point.
Mean layer_of(FrameSurface const& surface, std::size_t i, int const* begin, int const* end,
              double largest)
{
    Mean layer;
    for (auto const* j = begin; j != end; ++j)
    {
        auto const other = static_cast<std::size_t>(*j);
        double const distance = distance_to_plane(surface, i, other);
        double const nearest = NEAREST * static_cast<double>(surface.spacing[other]);
        double const beside = static_cast<double>(square_distance_beside(surface, i, other));
        // A comparison with NaN is false.
        if (std::abs(distance) <= largest)
        {
            layer.add(distance, 1.0 / (nearest * nearest + beside));
        }
    }
    return layer;
}

double distance_to_mean(FrameSurface const& surface, PointLists const& overlap,
                        std::vector<float> const& quality, std::size_t i, double largest)
{
    Mean layers;
    layers.add(0.0, static_cast<double>(quality[i]));
    auto const* begin = overlap.begin(i);
    while (begin != overlap.end(i))
    {
        auto const nearest = static_cast<std::size_t>(*begin);
        auto const* end = begin;
        while (end != overlap.end(i) &&
               surface.frame[static_cast<std::size_t>(*end)] == surface.frame[nearest])
        {
            ++end;
        }
        Mean const layer = layer_of(surface, i, begin, end, largest);
        if (!layer.empty())
        {
            layers.add(layer.value(), static_cast<double>(quality[nearest]));
        }
        begin = end;
    }
    return layers.value();
}

} // namespace

std::vector<float> distances_to_mean(FrameSurface const& surface, PointLists const& overlap,
                                     std::vector<float> const& quality,
                                     std::vector<char> const& stays, double largest)
{
    std::vector<float> distances(surface.size(), 0.0F);
    parallel_for_even(static_cast<std::ptrdiff_t>(surface.size()),
                      [&](std::ptrdiff_t p)
                      {
                          auto const i = static_cast<std::size_t>(p);
                          if (stays[i] == 1 && !overlap.empty(i) && !surface.normal[i].isZero(0.0F))
                          {
                              distances[i] = static_cast<float>(
                                  distance_to_mean(surface, overlap, quality, i, largest));
                          }
                      });
    return distances;
}

} // namespace OrvaneAlgorithm::detail
