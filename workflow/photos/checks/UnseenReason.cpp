#include "workflow/photos/checks/UnseenReason.h"

#include <fmt/format.h>

#include <algorithm>

namespace veld
{

namespace
{

/// Whether a condition holds for any place in any view.
template <typename Condition>
bool any_in_view(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
                 Condition const& holds)
{
    return std::any_of(views.begin(), views.end(),
                       [&](PhotoView const& view)
                       {
                           PlacedCamera const camera(view);
                           return std::any_of(places.begin(), places.end(),
                                              [&](SampledPlace const& place)
                                              { return holds(camera, place); });
                       });
}

/// Whether any photograph has all corners of a face in view.
bool any_whole_face(MeshTriangles const& faces, std::vector<PhotoView> const& views, double border)
{
    return std::any_of(views.begin(), views.end(),
                       [&](PhotoView const& view)
                       {
                           PlacedCamera const camera(view);
                           auto const inside = [&](std::uint32_t corner) {
                               return camera.pixel_inside(faces.points[corner].cast<double>(),
                                                          border);
                           };
                           return std::any_of(faces.triangles.begin(), faces.triangles.end(),
                                              [&](auto const& triangle) {
                                                  return inside(triangle[0]) &&
                                                         inside(triangle[1]) && inside(triangle[2]);
                                              });
                       });
}

} // namespace

UnseenReason find_unseen_reason(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                                SightLimits const& limits)
{
    auto const places = choose_places(faces, faces.points.size());
    auto const shows_at = [&](double border, double cosine)
    {
        return any_in_view(places, views,
                           [&](PlacedCamera const& camera, SampledPlace const& place) {
                               return camera.pixel_inside(place.point, border) &&
                                      camera.faces(place, cosine);
                           });
    };
    if (!shows_at(0.0, std::min(limits.lowest_cosine, 0.0)))
    {
        return {"all that is in view looks away from the cameras: turn the mesh round", ""};
    }
    if (!shows_at(0.0, limits.lowest_cosine))
    {
        return {fmt::format("nothing in view looks towards its camera by a cosine of {:g}",
                            limits.lowest_cosine),
                "lowest_cosine"};
    }
    if (!shows_at(limits.image_border, limits.lowest_cosine))
    {
        return {
            fmt::format("all that is in view lies in the rim of {:g} pixels that does not count",
                        limits.image_border),
            "image_border"};
    }
    if (!any_whole_face(faces, views, limits.image_border))
    {
        return {"no photograph has all corners of a face in view: the faces are too large", ""};
    }
    return {fmt::format("each vertex in view is hidden by others, which the depth tolerance of "
                        "{:.3g} mm is too small for",
                        limits.depth_tolerance),
            "depth_tolerance"};
}

} // namespace veld
