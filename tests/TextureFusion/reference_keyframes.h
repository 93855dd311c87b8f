#pragma once

#include "algorithmVeld/common/RigidMatrix.h"
#include "tests/TextureFusion/plain_texture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

/// \file
/// The choice and the order of views by where the cameras stand, as plainly as it can be written.
/// Voxels come in the order in which a camera first falls into them. What the library gives has to
/// be the same.

namespace veld_test::reference
{

using OrvaneAlgorithm::RigidMatrix;

/// Where a camera stands and where it looks, in the world.
struct Camera
{
    Vector3f position;
    Vector3f axis;
};

inline std::vector<Camera> cameras_of(std::vector<RigidMatrix> const& poses)
{
    std::vector<Camera> cameras;
    for (auto const& pose : poses)
    {
        RigidMatrix const to_world = pose.inverse();
        cameras.push_back({to_world.get_translation().cast<float>(),
                           to_world.get_rotation().cast<float>() * Vector3f(0.0F, 0.0F, 1.0F)});
    }
    return cameras;
}

/// A camera in the grid: its place in units of voxels, and the voxel.
struct GridPlace
{
    Vector3f q;
    std::array<int, 3> cell;
};

/// The grid has five voxels along the longest side of the box of the cameras, and the last one's
/// far side. Without any extent all lie in one voxel.
inline std::vector<GridPlace> places_in_grid(std::vector<Camera> const& cameras)
{
    Vector3f low = cameras.front().position;
    Vector3f high = low;
    for (auto const& camera : cameras)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            low[axis] = std::min(low[axis], camera.position[axis]);
            high[axis] = std::max(high[axis], camera.position[axis]);
        }
    }
    float size = 0.0F;
    for (int axis = 0; axis < 3; ++axis)
    {
        size = std::max(size, (high[axis] - low[axis]) / 5.0F);
    }
    float const inv = size > 0.0F ? static_cast<float>(1.0 / static_cast<double>(size)) : 0.0F;
    std::vector<GridPlace> places;
    for (auto const& camera : cameras)
    {
        GridPlace place;
        for (int axis = 0; axis < 3; ++axis)
        {
            place.q[axis] = (camera.position[axis] - low[axis]) * inv;
            place.cell[at(axis)] = static_cast<int>(place.q[axis]);
        }
        places.push_back(place);
    }
    return places;
}

/// The cameras of each voxel.
inline std::vector<std::vector<int>> cameras_by_voxel(std::vector<GridPlace> const& places)
{
    std::vector<std::vector<int>> voxels;
    for (std::size_t k = 0; k < places.size(); ++k)
    {
        auto const has_its_cell = [&](std::vector<int> const& voxel)
        { return places[at(voxel.front())].cell == places[k].cell; };
        auto voxel = std::find_if(voxels.begin(), voxels.end(), has_its_cell);
        if (voxel == voxels.end())
        {
            voxel = voxels.emplace(voxels.end());
        }
        voxel->push_back(static_cast<int>(k));
    }
    return voxels;
}

/// Squared distance, in voxels, to the upper corner of the voxel.
inline float distance_to_corner(GridPlace const& place)
{
    Vector3f d;
    for (int axis = 0; axis < 3; ++axis)
    {
        d[axis] = place.q[axis] - (static_cast<float>(place.cell[at(axis)]) + 1.0F);
    }
    return d.squaredNorm();
}

/// One camera of each voxel: the one nearest to its upper corner.
inline std::vector<int> select_by_space(std::vector<RigidMatrix> const& poses, Taken& taken)
{
    auto const places = places_in_grid(cameras_of(poses));
    std::vector<int> chosen;
    for (auto const& voxel : cameras_by_voxel(places))
    {
        int best = voxel.front();
        for (int const k : voxel)
        {
            float const mine = distance_to_corner(places[at(k)]);
            float const its = distance_to_corner(places[at(best)]);
            taken["equally far from the corner"] += k != best && mine == its ? 1 : 0;
            taken["nearer to the corner"] += its > mine ? 1 : 0;
            best = its > mine ? k : best;
        }
        for (int const coordinate : places[at(best)].cell)
        {
            taken["in the sixth cell"] += coordinate == 5 ? 1 : 0;
        }
        chosen.push_back(best);
    }
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

/// Takes the best of `members` out of it: the first of those for which `value` is largest.
template <typename Value>
int take_best(std::vector<int>& members, Value const& value, Taken& taken)
{
    std::size_t best = 0;
    for (std::size_t i = 1; i < members.size(); ++i)
    {
        taken["equally good for the chain"] += value(members[i]) == value(members[best]) ? 1 : 0;
        best = value(members[i]) > value(members[best]) ? i : best;
    }
    int const result = members[best];
    members.erase(members.begin() + static_cast<std::ptrdiff_t>(best));
    return result;
}

/// The cameras of a voxel, from the one that looks most directly at the centre on, each followed by
/// the one that looks most nearly as it does.
inline std::vector<int> chain_of_views(std::vector<Camera> const& cameras, Vector3f const& centre,
                                       std::vector<int> members, Taken& taken)
{
    auto const axis = [&](int j) { return cameras[at(j)].axis.normalized(); };
    auto const directness = [&](int j)
    { return (centre - cameras[at(j)].position).normalized().dot(axis(j)); };
    std::vector<int> chain{take_best(members, directness, taken)};
    while (!members.empty())
    {
        auto const likeness = [&](int j) { return axis(chain.back()).dot(axis(j)); };
        chain.push_back(take_best(members, likeness, taken));
    }
    return chain;
}

/// All cameras: the first one of each voxel, then the second one of each, and so on.
inline std::vector<int> sort_by_space(std::vector<RigidMatrix> const& poses, Taken& taken)
{
    auto const cameras = cameras_of(poses);
    Vector3f sum = Vector3f::Zero();
    for (auto const& camera : cameras)
    {
        sum += camera.position;
    }
    Vector3f const centre = sum / static_cast<float>(cameras.size());
    auto voxels = cameras_by_voxel(places_in_grid(cameras));
    for (auto& voxel : voxels)
    {
        ++taken[voxel.size() > 1 ? "voxel with a chain" : "voxel of one"];
        auto const before = voxel;
        voxel = chain_of_views(cameras, centre, voxel, taken);
        taken["order changed"] += voxel != before ? 1 : 0;
    }
    std::vector<int> order;
    for (std::size_t rank = 0; order.size() < poses.size(); ++rank)
    {
        for (auto const& voxel : voxels)
        {
            if (rank < voxel.size())
            {
                order.push_back(voxel[rank]);
            }
        }
    }
    return order;
}

} // namespace veld_test::reference
