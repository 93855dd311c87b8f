#pragma once

#include "algorithmVeld/reconstruction/registration/FramePairs.h"

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A small motion: a turn about the middle of the scan, as a vector of its axis times its angle and
/// the size of the scan, and a step, both in millimetres.
using SmallMotion = Eigen::Matrix<double, 6, 1>;

/// Where turns are about, and what they are measured by.
struct MotionFrame
{
    Vector3d centre = Vector3d::Zero();
    double size = 1.0;
};

/// What a pair says of the motion of its first frame against the second: weighted normal equations.
struct PairEquations
{
    Eigen::Matrix<double, 6, 6> matrix = Eigen::Matrix<double, 6, 6>::Zero();
    SmallMotion right = SmallMotion::Zero();
    double distance = 0.0; ///< median of the absolute distances, in millimetres
};

/// The equations of a pair, each match by its noise and by Tukey's biweight.
/// \param finest what is less than this, in millimetres, is no distance
PairEquations pair_equations(std::vector<Match> const& matches, MotionFrame const& about,
                             double finest);

/// What holds a frame at its given pose.
struct StayEquations
{
    Eigen::Matrix<double, 6, 6> matrix = Eigen::Matrix<double, 6, 6>::Zero();
    SmallMotion right = SmallMotion::Zero();
};

/// How far a frame is from its given pose, at its middle and by its turn, each weighing as what is
/// known to a standard deviation. Against what surfaces tell that is nothing; where they tell next
/// to nothing, as along a plane, frames would else go on sliding, round after round. \param
/// now,given poses \param doubt standard deviation in millimetres
StayEquations stay_equations(SampledFrame const& frame, RigidMatrix const& now,
                             RigidMatrix const& given, MotionFrame const& about, double doubt);

/// The motions of all frames that fit the equations of all pairs best, by a sparse Cholesky
/// factorisation.
/// \param stays one for each frame
/// \param moves which frames may move; the motions of the others are zero, and each group of frames
///        has one of these
/// \return a motion for each frame; none if the system could not be solved
std::vector<SmallMotion> solve_motions(std::vector<FramePair> const& pairs,
                                       std::vector<PairEquations> const& equations,
                                       std::vector<StayEquations> const& stays,
                                       std::vector<char> const& moves);

/// A pose that is followed by a motion.
RigidMatrix moved_by(RigidMatrix const& pose, SmallMotion const& motion, MotionFrame const& about);

/// The same with a rotation that is orthonormal, which that of a text with few digits, or of many
/// products, is not.
RigidMatrix orthonormal(RigidMatrix const& pose);

/// A pose followed by another one, and orthonormal: many products in a row would drift away from a
/// rotation.
RigidMatrix rigidly_followed_by(RigidMatrix const& first, RigidMatrix const& second);

/// Angle in degrees by which a rotation turns.
double turn_of(Matrix3d const& rotation);

} // namespace OrvaneAlgorithm::detail
