#include "workflow/frames/FramePhoto.h"

#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// Pixels of the depth camera along a block: what is aslant has many depths in a large one.
constexpr double PIXELS_OF_BLOCK = 3.0;
/// What is farther than the nearest depth of its block by more of it than this is behind it.
constexpr double BEHIND = 0.03;

} // namespace

std::optional<FramePhoto::Pixel> FramePhoto::pixel_of(Vector3d const& place) const
{
    return project(from_global_.get_rotation() * place + from_global_.get_translation());
}

std::optional<FramePhoto::Pixel> FramePhoto::project(Vector3d const& p) const
{
    // A comparison with NaN is false.
    if (!(p.z() > 0.0))
    {
        return std::nullopt;
    }
    Pixel const pixel{camera_.get_fx() * p.x() / p.z() + camera_.get_cx(),
                      camera_.get_fy() * p.y() / p.z() + camera_.get_cy(), p.z()};
    bool const is_inside = pixel.column >= 0.0 && pixel.row >= 0.0 &&
                           pixel.column <= width_ - 1.0 && pixel.row <= height_ - 1.0;
    return is_inside ? std::optional<Pixel>(pixel) : std::nullopt;
}

std::size_t FramePhoto::block_of(Pixel const& pixel) const
{
    auto const column = static_cast<std::size_t>(pixel.column) / static_cast<std::size_t>(side_);
    auto const row = static_cast<std::size_t>(pixel.row) / static_cast<std::size_t>(side_);
    return row * static_cast<std::size_t>(columns_) + column;
}

void FramePhoto::list_depths(RangeData const& frame, double focal_length)
{
    // There are no more blocks than the frame has pixels, however large a photograph its list
    // tells.
    double const pixels =
        std::max({PIXELS_OF_BLOCK, PIXELS_OF_BLOCK * camera_.get_fx() / focal_length,
                  std::ceil(1.0 * width_ / std::max(frame.grid_cols, 1)),
                  std::ceil(1.0 * height_ / std::max(frame.grid_rows, 1))});
    side_ = static_cast<int>(std::min(pixels, 1.0 * std::max(width_, height_)));
    columns_ = width_ / side_ + 1;
    int const rows = height_ / side_ + 1;
    nearest_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows), 0.0F);
    auto const& pose = frame.get_rigidMatrix();
    OrvaneAlgorithm::Matrix3d const turn = from_global_.get_rotation() * pose.get_rotation();
    Vector3d const shift =
        from_global_.get_rotation() * pose.get_translation() + from_global_.get_translation();
    for (Vector3f const& point : frame.vCoord)
    {
        auto const pixel = project(turn * point.cast<double>() + shift);
        if (pixel)
        {
            float& nearest = nearest_[block_of(*pixel)];
            auto const depth = static_cast<float>(pixel->depth);
            nearest = nearest > 0.0F ? std::min(nearest, depth) : depth;
        }
    }
}

void FramePhoto::follow(OrvaneAlgorithm::RigidMatrix const& before,
                        OrvaneAlgorithm::RigidMatrix const& after)
{
    // From the new place to the old one, and on to the camera; in the unit of the photograph.
    OrvaneAlgorithm::Matrix3d const back = before.get_rotation() * after.get_rotation().transpose();
    Vector3d const shift = (before.get_translation() - back * after.get_translation()) / scale_;
    from_global_.set_translation(from_global_.get_rotation() * shift +
                                 from_global_.get_translation());
    from_global_.set_rotation(from_global_.get_rotation() * back);
}

bool FramePhoto::shows(Vector3f const& place) const
{
    auto const pixel = pixel_of(place.cast<double>() / scale_);
    if (!pixel || nearest_.empty())
    {
        return false;
    }
    auto const nearest = static_cast<double>(nearest_[block_of(*pixel)]);
    return nearest > 0.0 && pixel->depth <= (1.0 + BEHIND) * nearest;
}

std::string FramePhoto::read(Pixels& pixels) const
{
    if (OrvaneAlgorithm::read_rgb_image(file_.string(), pixels) != 0)
    {
        return shown(file_) + " cannot be read: no colours";
    }
    if (pixels.width() != width_ || pixels.height() != height_)
    {
        return fmt::format("{} has {} x {} pixels, and not those of its view: no colours",
                           shown(file_), pixels.width(), pixels.height());
    }
    return {};
}

Vector3f FramePhoto::colour_of(Vector3f const& place, Pixels const& pixels) const
{
    auto const pixel = pixel_of(place.cast<double>() / scale_).value();
    auto const* const bgr = pixels.pixel(static_cast<int>(std::lround(pixel.column)),
                                         static_cast<int>(std::lround(pixel.row)));
    constexpr float WHITE = 255.0F;
    return Vector3f(bgr[2] / WHITE, bgr[1] / WHITE, bgr[0] / WHITE);
}

} // namespace veld
