#include "workflow/photos/checks/FacingCheck.h"

#include "workflow/ForEachIndex.h"

#include "algorithmVeld/common/running/Progress.h"

namespace veld
{

namespace
{

constexpr std::size_t FACING_PLACES = 2000;
/// Of the angle between normal and ray: what is nearly on edge tells no side.
constexpr double LEAST_FACING_COSINE = 0.1;
/// A ray to a vertex meets the faces at it. Less than the thickness of any wall, so that its other
/// side does not count as seen.
constexpr double SPACINGS_BEFORE = 0.1;

FacingCounts count_in_view(std::vector<SampledPlace> const& places, PhotoView const& view,
                           RayScene const& scene, double tolerance)
{
    PlacedCamera const camera(view);
    FacingCounts counts;
    for (std::size_t i = 0; camera.is_usable() && i < places.size(); ++i)
    {
        SampledPlace const& place = places[i];
        if (camera.pixel_inside(place.point) && camera.reaches(place.point, scene, tolerance))
        {
            counts.towards += camera.faces(place, LEAST_FACING_COSINE) ? 1 : 0;
            counts.away += camera.faces({place.point, -place.normal}, LEAST_FACING_COSINE) ? 1 : 0;
        }
    }
    return counts;
}

} // namespace

double FacingCounts::part_away() const
{
    std::size_t const all = towards + away;
    return all > 0 ? static_cast<double>(away) / static_cast<double>(all) : 0.0;
}

FacingCounts count_facing(MeshTriangles const& faces, RayScene const& scene,
                          std::vector<PhotoView> const& views, double spacing)
{
    auto const places = choose_places(faces, FACING_PLACES);
    std::vector<FacingCounts> of_views(views.size());
    for_each_index(views.size(),
                   [&](std::size_t i)
                   {
                       OrvaneAlgorithm::detail::poll_cancel();
                       of_views[i] =
                           count_in_view(places, views[i], scene, SPACINGS_BEFORE * spacing);
                   });
    FacingCounts all;
    for (auto const& counts : of_views)
    {
        all.towards += counts.towards;
        all.away += counts.away;
    }
    return all;
}

} // namespace veld
