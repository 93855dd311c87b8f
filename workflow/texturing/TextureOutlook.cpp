#include "workflow/texturing/TextureOutlook.h"

#include "workflow/Error.h"
#include "workflow/photos/checks/FacingCheck.h"
#include "workflow/photos/places/DepthTolerance.h"
#include "workflow/words.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"

#include <fmt/format.h>

#include <cstddef>
#include <utility>

namespace veld
{

namespace
{

/// A mesh that is fewer depth tolerances across has another unit.
constexpr double LEAST_TOLERANCES_ACROSS = 20.0;
/// A given depth tolerance that is so many times the measured one is a slip.
constexpr double UNLIKELY_TOLERANCE = 10.0;
/// Where nothing can be measured, as on a mesh that is one place.
constexpr double USUAL_TOLERANCE = 1.0;
/// Enough to measure widths of pixels on.
constexpr std::size_t SPACING_PLACES = 2000;
/// A mesh looks away from its cameras in none of what they see. A part of this is turned round, and
/// more than the larger one is all of it.
constexpr double PART_AWAY = 0.6;
constexpr double MOST_AWAY = 0.8;

/// The views with their poses in millimetres.
std::vector<PhotoView> in_millimetres(std::vector<PhotoView> views, TextureSettings const& settings)
{
    for (auto& view : views)
    {
        view.pose.set_translation(view.pose.get_translation() * settings.pose_scale *
                                  settings.scale);
    }
    return views;
}

double diagonal(MeshTriangles const& faces)
{
    Vector3f min;
    Vector3f max;
    OrvaneAlgorithm::detail::bounding_box(faces.points.data(), faces.points.size(), min, max);
    return (max.cast<double>() - min.cast<double>()).norm();
}

void warn_of_tolerance(double across, double spacing, double tolerance, std::string const& source,
                       StepScope& scope)
{
    auto const warn = [&](std::string text)
    { scope.warn(WarningCode::UNITS_UNLIKELY, source, std::move(text), "depth_tolerance"); };
    if (across < LEAST_TOLERANCES_ACROSS * tolerance)
    {
        warn(fmt::format("the mesh is {:.3g} mm across, and what lies {:.3g} mm behind another "
                         "place counts as seen: its lengths look like those of another unit",
                         across, tolerance));
    }
    else if (tolerance < spacing)
    {
        warn(fmt::format("the depth tolerance of {:.3g} mm is less than the {:.3g} mm between "
                         "vertices or pixels: slanted faces hide each other",
                         tolerance, spacing));
    }
    else if (tolerance > UNLIKELY_TOLERANCE * SPACINGS_OF_TOLERANCE * spacing)
    {
        warn(fmt::format("the depth tolerance of {:.3g} mm is far more than the {:.3g} mm between "
                         "vertices or pixels: what lies hidden counts as seen",
                         tolerance, spacing));
    }
}

} // namespace

TextureOutlook::TextureOutlook(PhotoSet const& photos, TextureResult& result, StepScope& scope)
    : source_(photos.source),
      faces_(result.textured.mesh),
      views_(in_millimetres(photos.views, result.settings))
{
    TextureSettings& settings = result.settings;
    sight_ = check_sight(faces_, views_, photos.images, settings.pose_scale, source_);
    double const spacing =
        measure_photo_spacing(result.textured.mesh, choose_places(faces_, SPACING_PLACES), views_);
    if (settings.depth_tolerance)
    {
        warn_of_tolerance(diagonal(faces_), spacing, *settings.depth_tolerance, source_, scope);
    }
    else
    {
        settings.depth_tolerance =
            spacing > 0.0 ? SPACINGS_OF_TOLERANCE * spacing : USUAL_TOLERANCE;
    }
    if (settings.lowest_cosine >= 0.0)
    {
        check_facing(spacing, scope);
    }
}

RayScene const& TextureOutlook::scene()
{
    if (!scene_)
    {
        scene_ = faces_.scene();
    }
    return *scene_;
}

void TextureOutlook::refuse_doubtful() const
{
    if (!sight_.doubt.empty())
    {
        throw InputError(source_ + ": " + sight_.doubt, sight_.setting);
    }
}

void TextureOutlook::check_facing(double spacing, StepScope& scope)
{
    double const away = count_facing(faces_, this->scene(), views_, spacing).part_away();
    if (away > PART_AWAY)
    {
        refuse_doubtful(); // wrong poses show back faces too
    }
    std::string const text =
        fmt::format("{} of what the cameras see of the mesh looks away from them: turn its faces "
                    "round",
                    percent(away));
    if (away > MOST_AWAY)
    {
        throw InputError(source_ + ": " + text);
    }
    if (away > PART_AWAY)
    {
        scope.warn(WarningCode::FACES_TURNED, source_, text);
    }
}

} // namespace veld
