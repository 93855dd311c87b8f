#include "workflow/photos/ViewCheck.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace veld
{

using OrvaneAlgorithm::Vector3d;

namespace
{

/// So many points tell where a surface is.
constexpr std::size_t SAMPLES = 20'000;
/// An object that is smaller than this part of every photograph was not what they were taken of.
constexpr double SMALLEST_PART = 0.02;
/// The units that lengths are confused in most.
constexpr double UNIT_FACTORS[] = {1000.0, 0.001};

/// How photographs see points.
struct Sight
{
    std::size_t in_view = 0;   ///< Points that are in view of a photograph.
    double largest_part = 0.0; ///< Of the width or height of a photograph, that they take.
};

/// How one photograph sees points. \param in_view gets 1 for those that it sees
double look(std::vector<Vector3d> const& points, PhotoView const& view, std::vector<char>& in_view)
{
    CameraInParam const& camera = view.intrinsics;
    Eigen::Vector2d const size(view.width, view.height);
    Eigen::Vector2d min = Eigen::Vector2d::Constant(std::numeric_limits<double>::infinity());
    Eigen::Vector2d max = -min;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        Vector3d const p = view.pose.get_rotation() * points[i] + view.pose.get_translation();
        Eigen::Vector2d const pixel(camera.get_fx() * p.x() / p.z() + camera.get_cx(),
                                    camera.get_fy() * p.y() / p.z() + camera.get_cy());
        if (p.z() > 0.0 && (pixel.array() >= 0.0).all() &&
            (pixel.array() <= size.array() - 1.0).all())
        {
            in_view[i] = 1;
            min = min.cwiseMin(pixel);
            max = max.cwiseMax(pixel);
        }
    }
    return std::max(0.0, ((max - min).array() / size.array()).maxCoeff());
}

Sight look(std::vector<Vector3d> const& points, std::vector<PhotoView> const& views)
{
    std::vector<std::vector<char>> seen(views.size());
    std::vector<double> parts(views.size(), 0.0);
    for_each_index(views.size(),
                   [&](std::size_t i)
                   {
                       seen[i].resize(points.size(), 0);
                       parts[i] = look(points, views[i], seen[i]);
                   });
    Sight sight;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        sight.in_view +=
            std::any_of(seen.begin(), seen.end(), [i](auto const& list) { return list[i] != 0; })
                ? 1
                : 0;
    }
    sight.largest_part = views.empty() ? 0.0 : *std::max_element(parts.begin(), parts.end());
    return sight;
}

std::vector<Vector3d> sample(std::vector<Vector3d> const& points)
{
    std::size_t const stride = points.size() / SAMPLES + 1;
    std::vector<Vector3d> samples;
    for (std::size_t i = 0; i < points.size(); i += stride)
    {
        samples.push_back(points[i]);
    }
    return samples;
}

std::vector<PhotoView> moved(std::vector<PhotoView> views, double factor)
{
    for (auto& view : views)
    {
        view.pose.set_translation(view.pose.get_translation() * factor);
    }
    return views;
}

std::vector<PhotoView> turned_round(std::vector<PhotoView> views)
{
    for (auto& view : views)
    {
        view.pose = view.pose.inverse();
    }
    return views;
}

/// Whether most of the points are in view, at a size that photographs are taken at.
bool fits(Sight const& sight, std::size_t n)
{
    return 2 * sight.in_view > n && sight.largest_part > SMALLEST_PART;
}

[[noreturn]] void refuse_views(std::vector<Vector3d> const& points,
                               std::vector<PhotoView> const& views, std::string const& source)
{
    std::string const reason = source + ": no vertex of the mesh is in view of any photograph";
    for (double const factor : UNIT_FACTORS)
    {
        if (fits(look(points, moved(views, factor)), points.size()))
        {
            throw InputError(fmt::format("{}; they are where the lengths of the poses are taken "
                                         "times {:g}: mesh and poses have different units",
                                         reason, factor),
                             "pose_scale");
        }
    }
    if (fits(look(points, turned_round(views)), points.size()))
    {
        throw InputError(reason + "; they are where the poses are turned round: these have to lead "
                                  "from the world to the camera");
    }
    throw InputError(reason +
                     "; the poses have to lead from the world to the camera, whose z looks "
                     "forward, and to have the mesh's unit");
}

} // namespace

std::string check_sight(std::vector<Vector3d> const& points, std::vector<PhotoView> const& views,
                        std::string const& source)
{
    auto const samples = sample(points);
    Sight const sight = look(samples, views);
    if (sight.in_view == 0 && look(points, views).in_view == 0)
    {
        refuse_views(samples, views, source);
    }
    for (double const factor : UNIT_FACTORS)
    {
        bool const is_doubtful =
            2 * sight.in_view < samples.size() || sight.largest_part < SMALLEST_PART;
        if (is_doubtful && fits(look(samples, moved(views, factor)), samples.size()))
        {
            return fmt::format(
                "{:.0f} % of the mesh is in view, and takes {:.2g} % of a photograph "
                "at most; where the lengths of the poses are taken times {:g} it "
                "fits better: mesh and poses look like those of different units",
                100.0 * static_cast<double>(sight.in_view) / static_cast<double>(samples.size()),
                100.0 * sight.largest_part, factor);
        }
    }
    return {};
}

} // namespace veld
