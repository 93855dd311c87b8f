#include "Picture.h"

#include "AmbientOcclusion.h"
#include "Errors.h"
#include "RayScene.h"
#include "Session.h"
#include "Shading.h"

#include "algorithmVeld/common/image_io.h"

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

constexpr int samples_per_side = 3; // of a pixel
constexpr int sky_rays_per_sample = 3;
constexpr float sky_reach = 0.3F;      // in diagonals of the mesh
constexpr float above_surface = 1e-4F; // start of a ray, so that it does not meet its own face
constexpr float rim_bias = 2.5F;       // in radii of the line

/// All that the rays of a picture look at.
class Scene
{
public:
    Scene(Surface surface, PictureSettings const& settings)
        : settings_(settings),
          surface_(std::move(surface)),
          camera_(fit_camera(surface_.points, settings.view,
                             static_cast<double>(settings.width) / settings.height)),
          faces_(RayScene::of_triangles(surface_.points, surface_.triangles)),
          rims_(make_rims()),
          sky_(faces_, sky_reach, samples_per_side * samples_per_side * sky_rays_per_sample)
    {
    }

    /// The mean colour of a pixel, y counted from the top.
    Vector3f pixel(int x, int y) const
    {
        Vector3f sum = Vector3f::Zero();
        for (int i = 0; i < samples_per_side * samples_per_side; ++i)
        {
            sum += sample(x, y, i);
        }
        return sum / static_cast<float>(samples_per_side * samples_per_side);
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
        float const across = static_cast<float>(x) +
                             (static_cast<float>(i % samples_per_side) + 0.5F) / samples_per_side;
        float const down = static_cast<float>(y) +
                           (static_cast<float>(i / samples_per_side) + 0.5F) / samples_per_side;
        float const right = across / static_cast<float>(settings_.width);
        float const top = 1.0F - down / static_cast<float>(settings_.height);
        Vector3f const direction = camera_.ray(2.0F * right - 1.0F, 2.0F * top - 1.0F);

        RayHit const face = faces_.first_hit(camera_.origin, direction);
        RayHit const rim = rims_.first_hit(camera_.origin, direction);
        // The surface beside a rim must not cover half of its line.
        if (rim.hit() && rim.distance - rim_bias * rim_radius(rim.distance) <= face.distance)
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
        Vector3f const side = front ? hit.normal : Vector3f(-hit.normal);
        auto const& corners = surface_.corner_normals[hit.element];
        Vector3f smooth =
            corners[0] * (1.0F - hit.u - hit.v) + corners[1] * hit.u + corners[2] * hit.v;
        smooth = smooth.norm() > 0.5F ? Vector3f(smooth.normalized()) : hit.normal;

        SurfacePlace place;
        place.front = front;
        place.mark = surface_.marks[hit.element];
        place.viewer = -direction;
        place.normal = front ? smooth : Vector3f(-smooth);
        Vector3f const start = camera_.origin + direction * hit.distance + side * above_surface;
        place.openness =
            sky_.openness(start, side, pixel, i * sky_rays_per_sample, sky_rays_per_sample);
        return surface_colour(place, camera_);
    }

    PictureSettings settings_;
    Surface surface_;
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

Picture draw_picture(TriMesh const& mesh, PictureSettings const& settings,
                     std::vector<char> const& marks)
{
    Step const step("draw-picture");
    Scene const scene(make_surface(mesh, marks), settings);
    Picture picture(settings.width, settings.height);
#pragma omp parallel for schedule(dynamic, 4)
    for (int y = 0; y < settings.height; ++y)
    {
        draw_row(scene, y, picture);
    }
    return picture;
}

void save_picture(OutputFile const& file, Picture const& picture)
{
    Step const step("write-picture");
    if (OrvaneAlgorithm::write_rgb_image(file.temporary(), picture) != 0)
    {
        throw OperationError(file.path() + ": cannot be written");
    }
}

} // namespace veld
