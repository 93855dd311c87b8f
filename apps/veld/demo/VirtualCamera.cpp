#include "demo/VirtualCamera.h"

#include "demo/GourdPattern.h"
#include "demo/GourdSurface.h"
#include "workflow/ForEachIndex.h"
#include "workflow/pictures/Scatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace veld::cli
{

using OrvaneAlgorithm::Matrix3d;

namespace
{

constexpr double EXPOSURE_SPREAD = 0.18; // of the gain, to both sides
constexpr double TINT_SPREAD = 0.06;     // of each channel
constexpr double MIDDLE_GAIN = 0.95;     // the brightest colour fits into a byte under every gain
constexpr double LAMP_SPREAD = 0.35;     // beside the camera, in distances of the camera
constexpr double ALL_ROUND = 0.8;        // share of the light that comes from everywhere
constexpr double BACKGROUND = 0.12;

StudioLight light_of(std::uint32_t number, Vector3d const& camera_side)
{
    Scatter const lot(1000 + number);
    StudioLight light;
    double const exposure = MIDDLE_GAIN * (1.0 + EXPOSURE_SPREAD * lot.even(0));
    for (std::uint32_t channel = 0; channel < 3; ++channel)
    {
        light.gain[channel] = exposure * (1.0 + TINT_SPREAD * lot.even(1 + channel));
    }
    Vector3d const beside(lot.even(4), lot.even(5), lot.even(6));
    light.from = (camera_side + LAMP_SPREAD * beside).normalized();
    return light;
}

/// What the camera sees of the gourd: blue, green and red.
Vector3d seen_colour(GourdModel::Hit const& hit, StudioLight const& light)
{
    double const shade = ALL_ROUND + (1.0 - ALL_ROUND) * std::max(0.0, hit.normal.dot(light.from));
    return gourd_colour(hit.place.normalized()) * shade;
}

void expose_row(Photo& photo, int row, PhotoView const& view, GourdModel const& gourd,
                StudioLight const& light)
{
    Matrix3d const to_world = view.pose.get_rotation().transpose();
    Vector3d const origin = view.pose.inverse().get_translation();
    auto const& camera = view.intrinsics;
    for (int column = 0; column < photo.width(); ++column)
    {
        Vector3d const ray((column - camera.get_cx()) / camera.get_fx(),
                           (row - camera.get_cy()) / camera.get_fy(), 1.0);
        auto const hit = gourd.first_hit(origin, (to_world * ray).normalized());
        Vector3d const colour = hit ? seen_colour(*hit, light) : Vector3d::Constant(BACKGROUND);
        unsigned char* const pixel = photo.pixel(column, row);
        for (int channel = 0; channel < 3; ++channel)
        {
            double const value =
                255.0 * colour[channel] * light.gain[static_cast<std::size_t>(channel)];
            pixel[channel] = static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
        }
    }
}

} // namespace

std::string VirtualCamera::photo_name(std::size_t number)
{
    return fmt::format("photo{}.jpg", number + 1);
}

PhotoView VirtualCamera::place(ScannerView const& from, std::size_t number) const
{
    Vector3d const back = direction(from.azimuth, from.elevation);
    Vector3d const right = direction(from.azimuth + 90.0, 0.0);
    Matrix3d to_camera;
    to_camera.row(0) = right;
    to_camera.row(1) = right.cross(back); // down
    to_camera.row(2) = -back;
    PhotoView view;
    view.image = photo_name(number);
    view.width = settings_.width;
    view.height = settings_.height;
    double const focal = settings_.distance * settings_.height / settings_.room;
    view.intrinsics = {focal, focal, 0.5 * (settings_.width - 1), 0.5 * (settings_.height - 1)};
    view.pose.set_rotation(to_camera);
    view.pose.set_translation(-(to_camera * (middle_ + back * settings_.distance)));
    return view;
}

std::vector<TakenPhoto> VirtualCamera::photograph(GourdModel const& gourd,
                                                  std::vector<ScannerView> const& views) const
{
    std::vector<TakenPhoto> taken(views.size());
    std::vector<StudioLight> lights;
    for (std::size_t i = 0; i < views.size(); ++i)
    {
        taken[i] = {place(views[i], i), Photo(settings_.width, settings_.height)};
        lights.push_back(light_of(static_cast<std::uint32_t>(i),
                                  direction(views[i].azimuth, views[i].elevation)));
    }
    auto const rows = static_cast<std::size_t>(settings_.height);
    for_each_index(views.size() * rows,
                   [&](std::size_t i)
                   {
                       auto& [view, photo] = taken[i / rows];
                       expose_row(photo, static_cast<int>(i % rows), view, gourd, lights[i / rows]);
                   });
    return taken;
}

} // namespace veld::cli
