#include "workflow/texturing/TextureVerdict.h"

#include "workflow/Error.h"
#include "workflow/photos/checks/UnseenReason.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace veld
{

namespace
{

/// A part of the faces that is worth a warning where no photograph shows them.
constexpr double MUCH_UNSEEN = 0.25;
/// A texture on a smaller part of the faces that cameras have in view is none.
constexpr double LEAST_TEXTURED = 0.05;
/// The same of all faces, where the poses are doubtful.
constexpr double LEAST_IN_DOUBT = 0.25;
/// The longest side of an image that graphics hardware is sure to take.
constexpr int LONGEST_TEXTURE_SIDE = 16'384;

/// Why there is no texture.
UnseenReason why_untextured(TextureOutlook const& outlook, TextureResult const& result)
{
    TextureSettings const& settings = result.settings;
    auto const small = static_cast<std::size_t>(settings.small_region);
    if (result.seen_faces == 0)
    {
        bool const has_border = settings.pipeline == TexturePipeline::FUSION;
        return find_unseen_reason(outlook.faces(), outlook.views(),
                                  {settings.lowest_cosine, has_border ? settings.image_border : 0.0,
                                   *settings.depth_tolerance});
    }
    if (result.largest_region <= small)
    {
        return {fmt::format("the largest region that they show has {} of the mesh's {}",
                            counted(result.largest_region, "face"), result.textured.mesh.n_faces()),
                "small_region"};
    }
    return {"their patches cannot be laid out in one image", ""};
}

void warn_of_unseen(TextureResult const& result, std::string const& source, StepScope& scope)
{
    std::size_t const faces = result.textured.mesh.n_faces();
    std::size_t const unseen = faces - result.seen_faces;
    std::size_t const lost = result.seen_faces - result.textured_faces;
    if (static_cast<double>(unseen + lost) <= MUCH_UNSEEN * static_cast<double>(faces))
    {
        return;
    }
    std::string const small =
        lost == 0 ? "" : fmt::format(", and {} lie in regions too small to count", lost);
    scope.warn(WarningCode::FACES_UNSEEN, source,
               fmt::format(
                   "{} of {} are shown by no photograph{}; of these {} have no colour and "
                   "the others that of what lies around them; {} may help",
                   unseen, counted(faces, "face"), small, result.colourless_faces,
                   unseen < lost
                       ? fmt::format("a small_region of less than {}", result.settings.small_region)
                       : fmt::format("more photographs or a depth_tolerance of more than "
                                     "{:.3g} mm",
                                     *result.settings.depth_tolerance)),
               unseen < lost ? "small_region" : "depth_tolerance");
}

void warn_of_atlas(TextureResult const& result, std::string const& source, StepScope& scope)
{
    if (result.large_holes > 0)
    {
        scope.warn(WarningCode::HOLES_COLOURLESS, source,
                   fmt::format("{} that no photograph shows {} too large to get colours",
                               counted(result.large_holes, "place"),
                               result.large_holes == 1 ? "is" : "are"),
                   "hole_ratio");
    }
    auto const& image = result.textured.image;
    if (std::max(image.width(), image.height()) > LONGEST_TEXTURE_SIDE)
    {
        scope.warn(WarningCode::IMAGE_LARGE, source,
                   fmt::format("the texture has {} x {} pixels, and much graphics hardware takes "
                               "up to {} a side: fewer or smaller photographs make it smaller",
                               image.width(), image.height(), LONGEST_TEXTURE_SIDE));
    }
}

} // namespace

void refuse_untextured(TextureOutlook const& outlook, TextureResult const& result)
{
    outlook.refuse_doubtful();
    if (result.settings.pipeline == TexturePipeline::MESH && result.patches > 0)
    {
        throw OperationError(
            "the pieces of the atlas leave no pixel between them for faces without "
            "a colour, which the pipeline \"mesh\" needs; another gap between "
            "them may leave one, and \"fusion\" always has one",
            "packing_gap");
    }
    UnseenReason const reason = why_untextured(outlook, result);
    throw OperationError(
        fmt::format("no photograph shows a region of more than {}: {}",
                    counted(static_cast<std::size_t>(result.settings.small_region), "face"),
                    reason.text),
        reason.setting);
}

void check_share(TextureOutlook const& outlook, TextureResult const& result)
{
    auto const textured = static_cast<double>(result.textured_faces);
    auto const faces = static_cast<double>(result.textured.mesh.n_faces());
    if (textured < LEAST_IN_DOUBT * faces)
    {
        outlook.refuse_doubtful();
    }
    if (textured >= LEAST_TEXTURED * outlook.sight().facing * faces)
    {
        return;
    }
    bool const is_torn = result.seen_faces > 2 * result.textured_faces;
    throw OperationError(
        fmt::format("photographs show {} of {}, though {} of the mesh looks towards a camera that "
                    "has it in view: {}",
                    result.textured_faces, counted(result.textured.mesh.n_faces(), "face"),
                    percent(outlook.sight().facing),
                    is_torn ? "most of what they show lies in regions that are too small"
                            : fmt::format("the rest is hidden, by a depth tolerance of {:.3g} mm",
                                          *result.settings.depth_tolerance)),
        is_torn ? "small_region" : "depth_tolerance");
}

void warn_of_texture(TextureOutlook const& outlook, TextureResult const& result,
                     std::string const& source, StepScope& scope)
{
    SightReport const& sight = outlook.sight();
    if (!sight.doubt.empty())
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, source, sight.doubt, sight.setting);
    }
    warn_of_unseen(result, source, scope);
    warn_of_atlas(result, source, scope);
}

} // namespace veld
