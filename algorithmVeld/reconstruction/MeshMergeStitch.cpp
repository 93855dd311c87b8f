#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "algorithmVeld/reconstruction/stitch/BorderStitch.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

/// \file
/// Stitching of borders, a stage of `MeshMerge`: which borders, and in which order.

namespace OrvaneAlgorithm
{

namespace
{

using OpenMesh::VertexHandle;

/// The axis of the largest extent. Of equal ones y goes before x, and both before z.
Eigen::Index longest_axis(Vector3f const& extent)
{
    Eigen::Index axis = extent.x() > extent.y() ? 0 : 1;
    return extent.z() > extent[axis] ? 2 : axis;
}

/// Replaces the numbers by lower ones where there would be more slabs than vertices, as with an
/// outlier far off. Their order stays, and so does which ones are even: empty slabs do nothing.
void close_up(std::vector<int>& numbers)
{
    auto const largest = std::max_element(numbers.begin(), numbers.end());
    if (largest == numbers.end() || static_cast<std::size_t>(*largest) < numbers.size())
    {
        return;
    }
    std::map<int, int> lower;
    for (int const number : numbers)
    {
        lower.emplace(number, 0);
    }
    int next = 0;
    for (auto& [number, replacement] : lower)
    {
        replacement = next + (next % 2 == number % 2 ? 0 : 1);
        next = replacement + 1;
    }
    for (int& number : numbers)
    {
        number = lower[number];
    }
}

/// The vertices in the order in which they are stitched: those of the even slabs, then those of the
/// odd ones. Those that no search can find are left out.
std::vector<VertexHandle> order_of_work(TriMesh const& mesh,
                                        std::vector<std::vector<VertexHandle>> const& slabs)
{
    std::vector<VertexHandle> centres;
    for (std::size_t pass = 0; pass < 2; ++pass)
    {
        for (std::size_t slab = pass; slab < slabs.size(); slab += 2)
        {
            std::copy_if(slabs[slab].begin(), slabs[slab].end(), std::back_inserter(centres),
                         [&](VertexHandle vertex) { return mesh.point(vertex).allFinite(); });
        }
    }
    return centres;
}

} // namespace

void MeshMerge::border_stitch(TriMesh& mesh, float radius)
{
    detail::log("border_stitch() ..\n");
    detail::Stages stages({1, 9});
    stages.next();
    std::vector<std::vector<VertexHandle>> slabs;
    divide_mesh(mesh, slabs);
    stages.next();
    stitch_around(mesh, radius, order_of_work(mesh, slabs));
}

void MeshMerge::stitch_around(TriMesh& mesh, float radius, std::vector<VertexHandle> centres) const
{
    detail::FanSettings settings;
    settings.start_radius = 2.0F * radius;
    settings.largest_radius = static_cast<double>(static_cast<float>(neighbour_factor) * radius);
    settings.longest_edge = neighbour_factor * point_spacing;
    settings.cos_normal_angle = detail::cosine_of_degrees(static_cast<double>(normal_angle_thr));
    if (settings.largest_radius > 0.0)
    {
        detail::stitch_borders(mesh, std::move(centres), settings);
    }
}

void MeshMerge::divide_mesh(TriMesh& mesh, std::vector<std::vector<VertexHandle>>& slabs)
{
    detail::log("divide_mesh() ..\n");
    auto numbers = slab_numbers(mesh);
    close_up(numbers);
    slabs.clear();
    if (numbers.empty())
    {
        return;
    }
    slabs.resize(static_cast<std::size_t>(*std::max_element(numbers.begin(), numbers.end())) + 1);
    detail::CancelPoll poll;
    for (auto const vertex : mesh.vertices())
    {
        poll.next();
        if (mesh.is_boundary(vertex))
        {
            auto const number = numbers[static_cast<std::size_t>(vertex.idx())];
            slabs[static_cast<std::size_t>(number)].push_back(vertex);
        }
    }
}

/// The slab of each vertex along the longest side of the box. One for which the division
/// gives no number that counts slabs is in the first.
std::vector<int> MeshMerge::slab_numbers(TriMesh const& mesh) const
{
    Vector3f min;
    Vector3f max;
    mesh.get_boundBox(min, max);
    if (stitch_box_)
    {
        std::tie(min, max) = *stitch_box_;
    }
    auto const axis = longest_axis(max - min);
    auto const width = static_cast<float>(
        static_cast<double>(static_cast<float>(neighbour_factor) * 5.0F) * point_spacing);

    std::vector<int> numbers(mesh.n_vertices());
    detail::parallel_for_even(
        static_cast<std::ptrdiff_t>(numbers.size()),
        [&](std::ptrdiff_t i)
        {
            constexpr double TOO_MANY = 2147483647.0;
            float const slab =
                (mesh.point(VertexHandle(static_cast<int>(i)))[axis] - min[axis]) / width;
            bool const counts = slab >= 0.0F && static_cast<double>(slab) < TOO_MANY;
            numbers[static_cast<std::size_t>(i)] = counts ? static_cast<int>(slab) : 0;
        });
    return numbers;
}

} // namespace OrvaneAlgorithm
