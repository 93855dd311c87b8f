#include "algorithmVeld/reconstruction/depth/RayMean.h"

#include "algorithmVeld/common/geometry/unit_vector.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/reconstruction/depth/FrameNeighbours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int MEAN_ROUNDS = 4;
/// Layers are looked for so many times farther than they count.
constexpr float LAYER_REACH = 2.0F;
constexpr float ALIKE_COSINE = 0.5F;
/// A place is second choice where another frame saw it so many times as densely.
constexpr float MUCH_DENSER = 2.5F;
/// So many frames that may see a block are asked whether they do, by some of its points, and so
/// many that do tell where each of its points is: noise is less than a third of that of one.
constexpr std::size_t MOST_TRIED = 32;
constexpr std::size_t TILE_SAMPLES = 32;
constexpr std::size_t MOST_LAYERS = 12;
/// Pixels between two that are compared.
constexpr int COMPARED = 6;

/// One frame's idea of a place.
struct Layer
{
    float distance = 0.0F; ///< along the normal of the point
    float weight = 0.0F;
    float density = 0.0F;
    Vector3f normal = Vector3f::Zero();
};

/// \param variance that layers have beside that of their noise
float weight_of(SeenPoint const& seen, float variance)
{
    return seen.inside / (seen.noise * seen.noise + variance);
}

/// Where another frame has the surface at a point: from the planes of the four pixels around it,
/// each by its share. Weight 0 where it has none within reach.
Layer layer_at(DepthGrid const& grid, Vector3f const& point, Vector3f const& normal, float reach,
               float variance)
{
    Layer layer;
    GridPlace const place = find_place(grid, point);
    if (place.row < 0)
    {
        return layer;
    }
    for (int k = 0; k < 4; ++k)
    {
        int const down = k / 2;
        int const right = k % 2;
        SeenPoint const& seen = grid.seen[grid.index(place.row + down, place.column + right)];
        float const share = (down == 1 ? place.down : 1.0F - place.down) *
                            (right == 1 ? place.right : 1.0F - place.right);
        // Where nothing was seen there is no normal.
        float const cosine = seen.normal.dot(normal);
        if (!(share > 0.0F) || !(cosine >= ALIKE_COSINE))
        {
            continue;
        }
        float const distance = seen.normal.dot(seen.point - point) / cosine;
        if (std::abs(distance) <= reach)
        {
            float const weight = share * weight_of(seen, variance);
            layer.distance += weight * distance;
            layer.weight += weight;
            layer.normal += weight * seen.normal;
            layer.density = std::max(layer.density, seen.density);
        }
    }
    layer.distance /= layer.weight > 0.0F ? layer.weight : 1.0F;
    return layer;
}

/// The distance in the middle of all, by weight.
float middle_of(std::vector<Layer>& layers)
{
    std::sort(layers.begin(), layers.end(),
              [](Layer const& a, Layer const& b) { return a.distance < b.distance; });
    float sum = 0.0F;
    for (auto const& layer : layers)
    {
        sum += layer.weight;
    }
    float half = 0.0F;
    for (auto const& layer : layers)
    {
        half += layer.weight;
        if (2.0F * half >= sum)
        {
            return layer.distance;
        }
    }
    return 0.0F;
}

float share_at(Layer const& layer, float distance, float tolerance)
{
    float const off = (layer.distance - distance) / tolerance;
    float const inside = std::max(0.0F, 1.0F - off * off);
    return layer.weight * inside * inside;
}

/// A mean that what is far from it does not count in, found from the middle on.
float robust_mean(std::vector<Layer>& layers, float tolerance)
{
    float mean = middle_of(layers);
    for (int round = 0; round < MEAN_ROUNDS; ++round)
    {
        float sum = 0.0F;
        float weight = 0.0F;
        for (auto const& layer : layers)
        {
            float const w = share_at(layer, mean, tolerance);
            sum += w * layer.distance;
            weight += w;
        }
        mean = weight > 0.0F ? sum / weight : mean;
    }
    return mean;
}

/// The points of one frame and what the others say of them.
class FrameMean
{
public:
    FrameMean(std::vector<DepthGrid> const& grids, std::size_t frame, LayerSpread const& spread)
        : grids_(grids),
          own_(grids[frame]),
          tolerance_(spread.tolerance),
          variance_(static_cast<float>(spread.poses * spread.poses)),
          centre_(own_.pose.get_translation())
    {
        mean_.point.resize(own_.size());
        mean_.normal.resize(own_.size());
        for (std::size_t i = 0; i < own_.size(); ++i)
        {
            mean_.point[i] = own_.seen[i].point;
            mean_.normal[i] = own_.seen[i].normal;
        }
        mean_.is_best.assign(own_.size(), 0);
    }

    PlaceMean run(std::vector<FrameTile> const& tiles)
    {
        parallel_for_uneven(static_cast<std::ptrdiff_t>(tiles.size()),
                            [&](std::ptrdiff_t t) { run(tiles[static_cast<std::size_t>(t)]); });
        return std::move(mean_);
    }

private:
    void run(FrameTile const& tile)
    {
        // Few are all asked: one of them may see a strip between those points.
        std::vector<int> const frames = tile.frames.size() <= MOST_LAYERS
                                            ? tile.frames
                                            : evenly_spread(frames_that_see(tile), MOST_LAYERS);
        std::vector<Layer> layers;
        for (int row = tile.first_row; row < tile.last_row; ++row)
        {
            for (int column = tile.first_column; column < tile.last_column; ++column)
            {
                std::size_t const i = own_.index(row, column);
                if (own_.vertex[i] >= 0)
                {
                    find_layers(i, frames, layers);
                    move(i, layers);
                }
            }
        }
    }

    Layer layer_of(int frame, std::size_t i) const
    {
        return layer_at(grids_[static_cast<std::size_t>(frame)], own_.seen[i].point,
                        own_.seen[i].normal, LAYER_REACH * tolerance_.at(own_.seen[i]), variance_);
    }

    /// Some of the points of a block, spread over it.
    std::vector<std::size_t> samples_of(FrameTile const& tile) const
    {
        std::vector<std::size_t> points;
        for (int row = tile.first_row; row < tile.last_row; ++row)
        {
            for (int column = tile.first_column; column < tile.last_column; ++column)
            {
                if (own_.vertex[own_.index(row, column)] >= 0)
                {
                    points.push_back(own_.index(row, column));
                }
            }
        }
        std::vector<std::size_t> samples;
        for (std::size_t k = 0; k < points.size(); k += points.size() / TILE_SAMPLES + 1)
        {
            samples.push_back(points[k]);
        }
        return samples;
    }

    std::vector<int> frames_that_see(FrameTile const& tile) const
    {
        auto const samples = samples_of(tile);
        std::vector<int> frames;
        std::copy_if(tile.frames.begin(), tile.frames.end(), std::back_inserter(frames),
                     [&](int g)
                     {
                         return std::any_of(samples.begin(), samples.end(),
                                            [&](std::size_t i)
                                            { return layer_of(g, i).weight > 0.0F; });
                     });
        return frames;
    }

    void find_layers(std::size_t i, std::vector<int> const& frames,
                     std::vector<Layer>& layers) const
    {
        layers.clear();
        SeenPoint const& own = own_.seen[i];
        float const weight = weight_of(own, variance_);
        layers.push_back({0.0F, weight, own.density, Vector3f(weight * own.normal)});
        for (int const g : frames)
        {
            Layer const layer = layer_of(g, i);
            if (layer.weight > 0.0F)
            {
                layers.push_back(layer);
            }
        }
    }

    void move(std::size_t i, std::vector<Layer>& layers)
    {
        float const tolerance = tolerance_.at(own_.seen[i]);
        float const distance = robust_mean(layers, tolerance);
        Vector3d normal = Vector3d::Zero();
        float densest = 0.0F;
        for (auto const& layer : layers)
        {
            float const share = share_at(layer, distance, tolerance);
            if (share > 0.0F)
            {
                normal += static_cast<double>(share / layer.weight) * layer.normal.cast<double>();
                densest = std::max(densest, layer.density);
            }
        }
        Vector3d const view = (own_.seen[i].point.cast<double>() - centre_).normalized();
        double const along = view.dot(own_.seen[i].normal.cast<double>());
        mean_.point[i] += (view * (static_cast<double>(distance) / along)).cast<float>();
        Vector3f const unit = unit_or_zero(normal);
        mean_.normal[i] = unit.isZero(0.0F) ? own_.seen[i].normal : unit;
        mean_.is_best[i] = densest <= MUCH_DENSER * own_.seen[i].density ? 1 : 0;
    }

    std::vector<DepthGrid> const& grids_;
    DepthGrid const& own_;
    PlaceTolerance tolerance_;
    float variance_;
    Vector3d centre_;
    PlaceMean mean_;
};

} // namespace

PlaceMean mean_of_layers(std::vector<DepthGrid> const& grids, std::size_t frame,
                         LayerSpread const& spread)
{
    return FrameMean(grids, frame, spread).run(make_tiles(grids, frame, MOST_TRIED));
}

std::vector<float> distances_to_others(std::vector<DepthGrid> const& grids, std::size_t frame,
                                       double largest)
{
    DepthGrid const& own = grids[frame];
    std::vector<float> distances;
    for (auto const& tile : make_tiles(grids, frame))
    {
        for (int row = tile.first_row; row < tile.last_row; row += COMPARED)
        {
            for (int column = tile.first_column; column < tile.last_column; column += COMPARED)
            {
                std::size_t const i = own.index(row, column);
                for (int const g : tile.frames)
                {
                    Layer const layer =
                        own.vertex[i] >= 0
                            ? layer_at(grids[static_cast<std::size_t>(g)], own.seen[i].point,
                                       own.seen[i].normal, static_cast<float>(largest), 0.0F)
                            : Layer{};
                    if (layer.weight > 0.0F)
                    {
                        distances.push_back(std::abs(layer.distance));
                    }
                }
            }
        }
    }
    return distances;
}

} // namespace OrvaneAlgorithm::detail
