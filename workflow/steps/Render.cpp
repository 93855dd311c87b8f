#include "workflow/steps/Render.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/pictures/AmbientOcclusion.h"
#include "workflow/pictures/Camera.h"
#include "workflow/pictures/RayScene.h"
#include "workflow/pictures/Shading.h"
#include "workflow/pictures/TextureLookup.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <optional>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector2f;

namespace
{

constexpr int SAMPLES_PER_SIDE = 3; // of a pixel
constexpr int SKY_RAYS_PER_SAMPLE = 3;
constexpr float SKY_REACH = 0.3F;      // in diagonals of the mesh
constexpr float ABOVE_SURFACE = 1e-4F; // start of a ray, so that it does not meet its own face
constexpr float RIM_BIAS = 2.5F;       // in radii of the line

/// All that the rays of a picture look at.
class Scene
{
public:
    /// \param texture which outlives this
    Scene(Surface surface, Picture const& texture, RenderSettings const& settings)
        : settings_(settings),
          surface_(std::move(surface)),
          texture_(texture),
          camera_(fit_camera(surface_.points, settings.view,
                             static_cast<double>(settings.width) / settings.height)),
          faces_(RayScene::of_triangles(surface_.points, surface_.triangles)),
          rims_(make_rims()),
          sky_(faces_, SKY_REACH, SAMPLES_PER_SIDE * SAMPLES_PER_SIDE * SKY_RAYS_PER_SAMPLE)
    {
    }

    /// The mean colour of a pixel, y counted from the top.
    Vector3f pixel(int x, int y) const
    {
        Vector3f sum = Vector3f::Zero();
        for (int i = 0; i < SAMPLES_PER_SIDE * SAMPLES_PER_SIDE; ++i)
        {
            sum += sample(x, y, i);
        }
        return sum / static_cast<float>(SAMPLES_PER_SIDE * SAMPLES_PER_SIDE);
    }

private:
    /// Half the width of a line at this depth.
    float rim_radius(float depth) const
    {
        double const pixel = 2.0 * static_cast<double>(camera_.tan_y) / settings_.height;
        return static_cast<float>(0.5 * settings_.line_width * pixel) * depth;
    }

    RayScene make_rims() const
    {
        if (!(settings_.line_width > 0.0))
        {
            return RayScene::of_rods({}, {});
        }
        std::vector<float> radii;
        radii.reserve(surface_.rim_ends.size());
        for (auto const& end : surface_.rim_ends)
        {
            radii.push_back(rim_radius(camera_.depth(end)));
        }
        return RayScene::of_rods(surface_.rim_ends, radii);
    }

    Vector3f sample(int x, int y, int i) const
    {
        int const column = i % SAMPLES_PER_SIDE;
        int const row = i / SAMPLES_PER_SIDE;
        float const across =
            static_cast<float>(x) + (static_cast<float>(column) + 0.5F) / SAMPLES_PER_SIDE;
        float const down =
            static_cast<float>(y) + (static_cast<float>(row) + 0.5F) / SAMPLES_PER_SIDE;
        float const right = across / static_cast<float>(settings_.width);
        float const top = 1.0F - down / static_cast<float>(settings_.height);
        Vector3f const direction = camera_.ray(2.0F * right - 1.0F, 2.0F * top - 1.0F);

        RayHit const face = faces_.first_hit(camera_.origin, direction);
        RayHit const rim = rims_.first_hit(camera_.origin, direction);
        // The surface beside a rim must not cover half of its line.
        if (rim.hit() && rim.distance - RIM_BIAS * rim_radius(rim.distance) <= face.distance)
        {
            return rim_colour(rim.normal, -direction);
        }
        if (!face.hit())
        {
            return background_colour(top);
        }
        auto const pixel =
            static_cast<std::uint32_t>(y) * static_cast<std::uint32_t>(settings_.width) +
            static_cast<std::uint32_t>(x);
        return shade(face, direction, pixel, i);
    }

    Vector3f shade(RayHit const& hit, Vector3f const& direction, std::uint32_t pixel, int i) const
    {
        bool const front = hit.normal.dot(direction) < 0.0F;
        auto const colour = front ? colour_at(hit) : std::nullopt;
        if (colour && settings_.unlit)
        {
            return *colour;
        }
        Vector3f const side = front ? hit.normal : Vector3f(-hit.normal);
        auto const& corners = surface_.corner_normals[hit.element];
        Vector3f smooth =
            corners[0] * (1.0F - hit.u - hit.v) + corners[1] * hit.u + corners[2] * hit.v;
        smooth = smooth.norm() > 0.5F ? Vector3f(smooth.normalized()) : hit.normal;

        SurfacePlace place;
        place.front = front;
        place.mark = surface_.marks[hit.element];
        place.colour = colour;
        place.viewer = -direction;
        place.normal = front ? smooth : Vector3f(-smooth);
        Vector3f const start = camera_.origin + direction * hit.distance + side * ABOVE_SURFACE;
        place.openness =
            sky_.openness(start, side, pixel, i * SKY_RAYS_PER_SAMPLE, SKY_RAYS_PER_SAMPLE);
        return surface_colour(place, camera_);
    }

    /// The colour of the outside, by the texture or by the vertices.
    std::optional<Vector3f> colour_at(RayHit const& hit) const
    {
        if (surface_.marks[hit.element] != 0)
        {
            return std::nullopt;
        }
        auto const texture = texture_at(hit);
        if (texture || surface_.colours.empty() || settings_.plain)
        {
            return texture;
        }
        auto const& corners = surface_.triangles[hit.element];
        return Vector3f(surface_.colours[corners[0]] * (1.0F - hit.u - hit.v) +
                        surface_.colours[corners[1]] * hit.u +
                        surface_.colours[corners[2]] * hit.v);
    }

    std::optional<Vector3f> texture_at(RayHit const& hit) const
    {
        if (texture_.empty() || surface_.corner_texcoords.empty())
        {
            return std::nullopt;
        }
        auto const& corners = surface_.corner_texcoords[hit.element];
        Vector2f const place =
            corners[0] * (1.0F - hit.u - hit.v) + corners[1] * hit.u + corners[2] * hit.v;
        return place.allFinite() ? std::optional<Vector3f>(texture_(place)) : std::nullopt;
    }

    RenderSettings settings_;
    Surface surface_;
    TextureLookup texture_;
    Camera camera_;
    RayScene faces_;
    RayScene rims_;
    AmbientOcclusion sky_;
};

void draw_row(Scene const& scene, int y, Picture& picture)
{
    for (int x = 0; x < picture.width(); ++x)
    {
        Vector3f const colour = scene.pixel(x, y);
        unsigned char* const bytes = picture.pixel(x, y);
        for (int channel = 0; channel < 3; ++channel)
        {
            bytes[channel] = to_byte(colour[2 - channel]); // memory holds blue, green, red
        }
    }
}

} // namespace

Picture render(TriMesh const& mesh, FaceMarks const& marks, RenderSettings const& settings,
               Context& context)
{
    return render(mesh, Picture(), marks, settings, context);
}

Picture render(TriMesh const& mesh, Picture const& texture, FaceMarks const& marks,
               RenderSettings const& settings, Context& context)
{
    StepScope scope(context, "draw-picture", "draw the picture");
    if (mesh.n_faces() == 0)
    {
        throw InputError("the mesh has no face to draw");
    }
    Scene const scene(make_surface(mesh, marks), texture, settings);
    Picture picture(settings.width, settings.height);
    for_each_index(static_cast<std::size_t>(settings.height),
                   [&](std::size_t y) { draw_row(scene, static_cast<int>(y), picture); });
    return picture;
}

void write_picture(std::filesystem::path const& path, Picture const& picture, Context& context)
{
    check_picture_extension(path);
    OutputFile file(path);
    write_picture(file, picture, context);
    file.commit();
}

void write_picture(OutputFile const& file, Picture const& picture, Context& context)
{
    StepScope const scope(context, "write-picture", "write the picture");
    if (OrvaneAlgorithm::write_rgb_image(file.temporary().string(), picture) != 0)
    {
        throw OperationError(shown(file.path()) + ": cannot be written");
    }
    OrvaneAlgorithm::detail::poll_cancel(); // the last moment before the file gets its place
}

void check_picture_extension(std::filesystem::path const& path)
{
    check_extension(path, {".png", ".jpg", ".jpeg"});
}

} // namespace veld
