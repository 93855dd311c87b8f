#include "workflow/photos/checks/PoseGuesses.h"

#include <fmt/format.h>

namespace veld
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::Vector3d;

namespace
{

RigidMatrix with_lengths(RigidMatrix pose, double factor)
{
    pose.set_translation(pose.get_translation() * factor);
    return pose;
}

/// A camera that looks along -z, with y up, as one that looks along z, with y down.
RigidMatrix with_other_axes(RigidMatrix pose)
{
    Matrix3d const turn = Vector3d(1.0, -1.0, -1.0).asDiagonal();
    pose.set_rotation(turn * pose.get_rotation());
    pose.set_translation(turn * pose.get_translation());
    return pose;
}

} // namespace

std::vector<PoseGuess> pose_guesses(double pose_scale)
{
    std::vector<PoseGuess> guesses;
    for (double const unit : {1000.0, 100.0, 25.4, 10.0})
    {
        for (double const factor : {unit, 1.0 / unit})
        {
            guesses.push_back({fmt::format("the lengths of the poses are taken times {:.4g}: mesh "
                                           "and poses have different units, and pose_scale {:.6g} "
                                           "makes them one",
                                           factor, factor * pose_scale),
                               "pose_scale", factor, [factor](RigidMatrix const& pose) {
                                   return with_lengths(pose, factor);
                               }});
        }
    }
    guesses.push_back({"the poses are turned round: these have to lead from the world to the "
                       "camera",
                       "", 1.0, [](RigidMatrix const& pose) { return pose.inverse(); }});
    guesses.push_back({"the axes are those of OpenGL: negate the second and third row of R and of "
                       "t",
                       "", 1.0, with_other_axes});
    guesses.push_back({"the poses are turned round and the axes those of OpenGL: invert them to "
                       "lead from the world to the camera, then negate the second and third row of "
                       "R and of t",
                       "", 1.0,
                       [](RigidMatrix const& pose) { return with_other_axes(pose.inverse()); }});
    return guesses;
}

} // namespace veld
