#include "workflow/steps/Texture.h"

#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/photos/GainBalance.h"
#include "workflow/texturing/TextureInput.h"
#include "workflow/texturing/TextureOutlook.h"
#include "workflow/texturing/TextureRun.h"
#include "workflow/texturing/TextureVerdict.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

/// The photographs with one gain each that makes them agree on the places that they share.
std::vector<Photo> balanced(std::vector<Photo> photos, TextureOutlook& outlook,
                            double depth_tolerance)
{
    auto const gains =
        balance_gains(outlook.faces(), outlook.scene(), outlook.views(), photos, depth_tolerance);
    for (std::size_t i = 0; i < photos.size(); ++i)
    {
        apply_gain(photos[i], gains[i]);
    }
    return photos;
}

} // namespace

TextureResult texture(TriMesh const& mesh, PhotoSet const& photos, TextureSettings const& settings,
                      Context& context)
{
    StepScope scope(context, "texture-mesh", "texture the mesh");
    check_texture_input(mesh, photos, settings);
    Stopwatch const watch;
    TextureResult result;
    result.settings = settings;
    result.photographs = photos.views.size();
    TextureOutlook outlook = scope.stage("look where the photographs were taken", 0.02,
                                         [&]
                                         {
                                             result.textured.mesh =
                                                 in_millimetres(mesh, settings.scale);
                                             return TextureOutlook(photos, result, scope);
                                         });
    std::vector<Photo> balanced_photos;
    if (settings.balance)
    {
        balanced_photos = scope.stage(
            "balance the photographs", 0.1,
            [&] { return balanced(photos.images, outlook, *result.settings.depth_tolerance); });
    }
    outlook.drop_scene(); // no more rays, and the texture takes its room
    scope.stage(
        "texture the mesh", 1.0,
        [&] { run_texture(outlook, settings.balance ? balanced_photos : photos.images, result); });
    result.seconds = watch.seconds();
    warn_of_texture(outlook, result, photos.source, scope);
    return result;
}

} // namespace veld
