#include "demo/VirtualScanner.h"

#include "demo/angles.h"
#include "workflow/ForEachIndex.h"
#include "workflow/pictures/Scatter.h"

#include <Eigen/Geometry>

#include <cmath>

namespace veld::cli
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RigidMatrix;

namespace
{

constexpr double DEGREE = radians(1.0);

/// Independent errors of one frame.
enum Error : std::uint32_t
{
    DEPTH_ERROR,
    LOST_POINT,
    SHIFT_ERROR,
    TURN_ERROR,
    NUMBER_OF_ERRORS
};

Scatter errors(std::uint32_t frame, Error error)
{
    return Scatter(frame * NUMBER_OF_ERRORS + error);
}

Vector3d normal_vector(Scatter const& scatter)
{
    return {scatter.normal(0), scatter.normal(1), scatter.normal(2)};
}

} // namespace

/// What a ray met.
struct VirtualScanner::Shot
{
    Vector3d direction = Vector3d::Zero(); ///< In the frame's coordinates.
    RayHit hit;
    bool slanted = false;
};

RigidMatrix VirtualScanner::true_pose(ScannerView const& view) const
{
    double const azimuth = view.azimuth * DEGREE;
    double const elevation = view.elevation * DEGREE;
    Vector3d const back(std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
                        std::cos(azimuth) * std::cos(elevation));
    Vector3d const right(std::cos(azimuth), 0.0, -std::sin(azimuth));
    Matrix3d rotation;
    rotation << right, back.cross(right), back;
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(middle_ + back * settings_.distance);
    return pose;
}

/// The pose as a registration finds it: a little off, turned round the middle of the object.
RigidMatrix VirtualScanner::registered(RigidMatrix const& pose, std::uint32_t frame) const
{
    Vector3d const shift = normal_vector(errors(frame, SHIFT_ERROR)) * settings_.registration_shift;
    Vector3d const turn =
        normal_vector(errors(frame, TURN_ERROR)) * (settings_.registration_turn * DEGREE);
    Matrix3d const rotation =
        Eigen::AngleAxisd(turn.norm(), turn.stableNormalized()).toRotationMatrix();
    RigidMatrix result;
    result.set_rotation(rotation * pose.get_rotation());
    result.set_translation(middle_ + rotation * (pose.get_translation() - middle_) + shift);
    return result;
}

std::vector<VirtualScanner::Shot> VirtualScanner::shoot(ScannedObject const& object,
                                                        RigidMatrix const& pose) const
{
    double const step = settings_.spacing / settings_.distance;
    double const least_cosine = std::cos(settings_.largest_slant * DEGREE);
    Vector3f const origin = pose.get_translation().cast<float>();
    std::vector<Shot> shots;
    shots.reserve(static_cast<std::size_t>(settings_.rows) *
                  static_cast<std::size_t>(settings_.columns));
    for (int row = 0; row < settings_.rows; ++row)
    {
        for (int column = 0; column < settings_.columns; ++column)
        {
            Shot shot;
            shot.direction = Vector3d(step * (column - 0.5 * (settings_.columns - 1)),
                                      step * (row - 0.5 * (settings_.rows - 1)), -1.0)
                                 .normalized();
            Vector3f const ray = pose.transform_normal(shot.direction).cast<float>();
            shot.hit = object.scene().first_hit(origin, ray);
            shot.slanted = shot.hit.hit() && std::abs(shot.hit.normal.dot(ray)) < least_cosine;
            shots.push_back(shot);
        }
    }
    return shots;
}

/// Whether one thing ends at a pixel and another one begins beside it, or nothing.
bool VirtualScanner::is_at_jump(std::vector<Shot> const& shots, std::size_t pixel) const
{
    auto const columns = static_cast<std::size_t>(settings_.columns);
    auto const rows = static_cast<std::size_t>(settings_.rows);
    std::size_t const row = pixel / columns;
    std::size_t const column = pixel % columns;
    if (row == 0 || column == 0 || row + 1 == rows || column + 1 == columns)
    {
        return true; // who knows
    }
    for (std::size_t const beside : {pixel - 1, pixel + 1, pixel - columns, pixel + columns})
    {
        // A ray that met nothing went infinitely far.
        if (!(std::abs(static_cast<double>(shots[beside].hit.distance) -
                       static_cast<double>(shots[pixel].hit.distance)) < settings_.depth_jump))
        {
            return true;
        }
    }
    return false;
}

ScannedFrame VirtualScanner::take_frame(ScannedObject const& object, ScannerView const& view,
                                        std::uint32_t frame) const
{
    RigidMatrix const pose = true_pose(view);
    Matrix3d const to_frame = pose.get_rotation().transpose();
    auto const shots = shoot(object, pose);
    Scatter const depth = errors(frame, DEPTH_ERROR);
    Scatter const loss = errors(frame, LOST_POINT);
    ScannedFrame result;
    result.rows = settings_.rows;
    result.columns = settings_.columns;
    result.points.assign(shots.size(), Vector3f::Zero());
    result.pose = registered(pose, frame);
    for (std::size_t i = 0; i < shots.size(); ++i)
    {
        Shot const& shot = shots[i];
        auto const number = static_cast<std::uint32_t>(i);
        bool const is_lost = 0.5 * (1.0 + loss.even(number)) < settings_.lost;
        if (!shot.hit.hit() || shot.slanted || is_lost || is_at_jump(shots, i))
        {
            continue;
        }
        Vector3d const met = shot.direction * static_cast<double>(shot.hit.distance);
        auto const seen =
            object.appearance(shot.hit, pose.get_rotation() * met + pose.get_translation());
        if (seen)
        {
            result.points[i] = (to_frame * (*seen - pose.get_translation()) +
                                shot.direction * (settings_.noise * depth.normal(number)))
                                   .cast<float>();
        }
    }
    return result;
}

std::vector<ScannedFrame> VirtualScanner::scan(ScannedObject const& object,
                                               std::vector<ScannerView> const& views) const
{
    std::vector<ScannedFrame> frames(views.size());
    for_each_index(views.size(), [&](std::size_t i)
                   { frames[i] = take_frame(object, views[i], static_cast<std::uint32_t>(i)); });
    return frames;
}

} // namespace veld::cli
