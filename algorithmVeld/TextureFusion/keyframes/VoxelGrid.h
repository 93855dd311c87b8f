#pragma once

#include "algorithmVeld/common/vectors.h"

#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The side of the voxels of which so many lie along the longest side of a box. More than 2^20 are
/// as many as that. 0 without a positive number of them, and of a box that is a point.
float voxel_size(Vector3f const& min, Vector3f const& max, double voxel_num);

/// Voxels that a box is divided into, from its lower corner.
class VoxelGrid
{
public:
    /// A size of 0, or one by which nothing can be divided, makes one voxel of the box.
    VoxelGrid(Vector3f const& min, Vector3f const& max, float size);

    /// A finite point of the box in voxels from its lower corner; zero if there is one voxel.
    Vector3f in_voxels(Vector3f const& point) const;

    /// The number of the voxel in which a point lies.
    std::int64_t key(Vector3f const& point_in_voxels) const;

private:
    Vector3f min_;
    float per_length_ = 0.0F; ///< Voxels in a unit of length; 0 if there is one voxel.
    std::int64_t columns_ = 1;
    std::int64_t rows_ = 1;
};

/// The squared distance of a point from the upper corner of its voxel, in voxels.
float squared_distance_from_upper_corner(Vector3f const& point_in_voxels);

/// The points of each voxel that has any, in their order; voxels are in the order of their first
/// points. Points that are not finite are in none.
std::vector<std::vector<int>> points_by_voxel(std::vector<Vector3f> const& points,
                                              VoxelGrid const& grid);

/// The first entry of each list, then the second of each that has one, and so on. Time is
/// proportional to the number of entries.
std::vector<int> in_turns(std::vector<std::vector<int>> const& lists);

} // namespace OrvaneAlgorithm::detail
