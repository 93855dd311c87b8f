#include "algorithmVeld/TextureFusion/keyframes/VoxelGrid.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>
#include <unordered_map>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Numbers of voxels stay far below what 64 bits hold, and a float still tells voxels apart.
constexpr double MOST_VOXELS_PER_SIDE = 1 << 20;

/// The lower corner of the voxel of a point, in voxels. No coordinate is negative.
Vector3f lower_corner(Vector3f const& point_in_voxels)
{
    return point_in_voxels.array().floor();
}

} // namespace

float voxel_size(Vector3f const& min, Vector3f const& max, double voxel_num)
{
    if (!(voxel_num > 0.0))
    {
        return 0.0F;
    }
    auto const per_side = static_cast<float>(std::min(voxel_num, MOST_VOXELS_PER_SIDE));
    Vector3f const sides = (max - min) / per_side;
    return std::max(std::max(sides.x(), sides.y()), sides.z());
}

VoxelGrid::VoxelGrid(Vector3f const& min, Vector3f const& max, float size) : min_(min)
{
    double const per_length = size > 0.0F ? 1.0 / static_cast<double>(size) : 0.0;
    if (per_length > 0.0 && per_length <= std::numeric_limits<float>::max())
    {
        per_length_ = static_cast<float>(per_length);
        columns_ = static_cast<std::int64_t>((max.x() - min.x()) * per_length_) + 1;
        rows_ = static_cast<std::int64_t>((max.y() - min.y()) * per_length_) + 1;
    }
}

Vector3f VoxelGrid::in_voxels(Vector3f const& point) const
{
    return per_length_ > 0.0F ? Vector3f((point - min_) * per_length_) : Vector3f(Vector3f::Zero());
}

std::int64_t VoxelGrid::key(Vector3f const& point_in_voxels) const
{
    auto const voxel = lower_corner(point_in_voxels).cast<std::int64_t>().eval();
    return (voxel.z() * rows_ + voxel.y()) * columns_ + voxel.x();
}

float squared_distance_from_upper_corner(Vector3f const& point_in_voxels)
{
    Vector3f const upper_corner = lower_corner(point_in_voxels) + Vector3f::Ones();
    return (point_in_voxels - upper_corner).squaredNorm();
}

std::vector<std::vector<int>> points_by_voxel(std::vector<Vector3f> const& points,
                                              VoxelGrid const& grid)
{
    std::vector<std::vector<int>> lists;
    std::unordered_map<std::int64_t, std::size_t> places;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (!points[i].allFinite())
        {
            continue;
        }
        auto const place = places.emplace(grid.key(grid.in_voxels(points[i])), lists.size());
        if (place.second)
        {
            lists.emplace_back();
        }
        lists[place.first->second].push_back(static_cast<int>(i));
    }
    return lists;
}

std::vector<int> in_turns(std::vector<std::vector<int>> const& lists)
{
    std::vector<int> result;
    std::vector<std::size_t> unfinished(lists.size());
    std::iota(unfinished.begin(), unfinished.end(), std::size_t{0});
    for (std::size_t rank = 0; !unfinished.empty(); ++rank)
    {
        auto const is_finished = [&](std::size_t list) { return lists[list].size() <= rank; };
        unfinished.erase(std::remove_if(unfinished.begin(), unfinished.end(), is_finished),
                         unfinished.end());
        for (std::size_t const list : unfinished)
        {
            result.push_back(lists[list][rank]);
        }
    }
    return result;
}

} // namespace OrvaneAlgorithm::detail
