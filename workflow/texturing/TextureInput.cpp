#include "workflow/texturing/TextureInput.h"

#include "workflow/Error.h"
#include "workflow/SettingRanges.h"

#include <fmt/format.h>

#include <algorithm>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

void check_range(double value, double min, double max, char const* setting)
{
    if (!(value >= min && value <= max))
    {
        throw InputError(fmt::format("{} has to be from {} to {}", setting, min, max), setting);
    }
}

void check_settings(TextureSettings const& settings)
{
    constexpr double LARGEST_LENGTH = 1e30; // fits a float
    constexpr double LARGEST_MARGIN = 1000.0;
    check_range(settings.scale, SMALLEST_SCALE, LARGEST_SCALE, "scale");
    check_range(settings.pose_scale, SMALLEST_SCALE, LARGEST_SCALE, "pose_scale");
    check_range(settings.depth_tolerance.value_or(0.0), 0.0, LARGEST_LENGTH, "depth_tolerance");
    check_range(settings.lowest_cosine, -1.0, 1.0, "lowest_cosine");
    check_range(settings.views_per_vertex, 1.0, LARGEST_COUNT, "views_per_vertex");
    check_range(settings.small_region, 0.0, LARGEST_COUNT, "small_region");
    check_range(settings.hole_ratio, 0.0, LARGEST_LENGTH, "hole_ratio");
    check_range(settings.hole_vertices, 0.0, LARGEST_COUNT, "hole_vertices");
    check_range(settings.image_border, 0.0, LARGEST_COUNT, "image_border");
    check_range(settings.packing_gap.value_or(0), 0.0, LARGEST_MARGIN, "packing_gap");
    check_range(settings.patch_margin, 0.0, LARGEST_MARGIN, "patch_margin");
}

} // namespace

void check_texture_input(TriMesh const& mesh, PhotoSet const& photos,
                         TextureSettings const& settings)
{
    check_settings(settings);
    if (mesh.n_faces() == 0)
    {
        throw InputError("the mesh has no face to texture");
    }
    if (photos.views.empty() || photos.images.size() != photos.views.size())
    {
        throw InputError(photos.source + ": has no photographs");
    }
}

void check_sizes(std::vector<Photo> const& photos, TexturePipeline pipeline)
{
    bool const is_one_size =
        std::all_of(photos.begin(), photos.end(),
                    [&first = photos.front()](Photo const& photo)
                    { return photo.width() == first.width() && photo.height() == first.height(); });
    if (pipeline == TexturePipeline::MESH && !is_one_size)
    {
        throw InputError("the photographs have different sizes, which the pipeline \"mesh\" "
                         "does not take; \"fusion\" does",
                         "pipeline");
    }
}

TriMesh in_millimetres(TriMesh const& mesh, double scale)
{
    TriMesh scaled = mesh;
    scaled.garbage_collection();
    if (scale != 1.0)
    {
        for (auto const vertex : scaled.vertices())
        {
            scaled.point(vertex) = (scaled.point(vertex).cast<double>() * scale).cast<float>();
        }
    }
    return scaled;
}

} // namespace veld
