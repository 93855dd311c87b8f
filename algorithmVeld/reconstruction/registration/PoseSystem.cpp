#include "algorithmVeld/reconstruction/registration/PoseSystem.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/geometry/angles.h"

#include <Eigen/Geometry>
#include <Eigen/SparseCholesky>

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Median of absolute values to standard deviation, of what is normally distributed.
constexpr double DEVIATION_OF_MEDIAN = 1.4826;
/// In standard deviations; what is farther off does not count.
constexpr double TUKEY_LIMIT = 4.685;
/// Of the mean of the diagonal: keeps frames from sliding where nothing tells, as along a plane.
constexpr double DAMPING = 1e-8;

using SparseSystem = Eigen::SparseMatrix<double>;
using Entries = std::vector<Eigen::Triplet<double>>;

/// Tukey's biweight. \param ratio of a distance to the limit
double biweight(double ratio)
{
    double const inside = 1.0 - ratio * ratio;
    return inside > 0.0 ? inside * inside : 0.0;
}

double noise_of_match(Match const& match, double finest)
{
    return std::max(match.noise, finest);
}

/// Adds a block for two frames, of which one may be held.
void add_block(int row, int column, Eigen::Matrix<double, 6, 6> const& block, double sign,
               Entries& entries)
{
    if (row < 0 || column < 0)
    {
        return;
    }
    for (int i = 0; i < 6; ++i)
    {
        for (int j = 0; j < 6; ++j)
        {
            entries.emplace_back(6 * row + i, 6 * column + j, sign * block(i, j));
        }
    }
}

/// A number for each frame that may move, -1 for the others.
std::vector<int> number_unknowns(std::vector<char> const& moves)
{
    std::vector<int> numbers(moves.size(), -1);
    int next = 0;
    for (std::size_t f = 0; f < moves.size(); ++f)
    {
        numbers[f] = moves[f] == 1 ? next++ : -1;
    }
    return numbers;
}

std::vector<SmallMotion> motions_in(Eigen::VectorXd const& solution,
                                    std::vector<int> const& numbers)
{
    std::vector<SmallMotion> motions(numbers.size(), SmallMotion::Zero());
    for (std::size_t f = 0; f < numbers.size(); ++f)
    {
        if (numbers[f] >= 0)
        {
            motions[f] = solution.segment<6>(Eigen::Index{6} * numbers[f]);
        }
    }
    return motions;
}

} // namespace

PairEquations pair_equations(std::vector<Match> const& matches, MotionFrame const& about,
                             double finest)
{
    PairEquations result;
    std::vector<double> distances;
    std::vector<double> ratios;
    for (auto const& match : matches)
    {
        distances.push_back(std::abs(match.distance));
        ratios.push_back(std::abs(match.distance) / noise_of_match(match, finest));
    }
    result.distance = median(std::move(distances));
    double const scale = std::max(1.0, DEVIATION_OF_MEDIAN * median(std::move(ratios)));
    for (auto const& match : matches)
    {
        double const deviation = scale * noise_of_match(match, finest);
        double const weight =
            biweight(match.distance / (TUKEY_LIMIT * deviation)) / (deviation * deviation);
        SmallMotion row;
        row << (match.place - about.centre).cross(match.normal) / about.size, match.normal;
        result.matrix += weight * row * row.transpose();
        result.right -= weight * match.distance * row;
    }
    return result;
}

StayEquations stay_equations(SampledFrame const& frame, RigidMatrix const& now,
                             RigidMatrix const& given, MotionFrame const& about, double doubt)
{
    Vector3d const centre = now.get_rotation() * frame.centre + now.get_translation();
    Vector3d const from = centre - about.centre;
    Eigen::AngleAxisd const turned(Matrix3d(now.get_rotation() * given.get_rotation().transpose()));
    SmallMotion away;
    away << centre - given.get_rotation() * frame.centre - given.get_translation(),
        frame.radius * turned.angle() * turned.axis();
    Matrix3d cross;
    cross << 0.0, from.z(), -from.y(), -from.z(), 0.0, from.x(), from.y(), -from.x(), 0.0;
    Eigen::Matrix<double, 6, 6> step = Eigen::Matrix<double, 6, 6>::Zero();
    step.topLeftCorner<3, 3>() = cross / about.size;
    step.topRightCorner<3, 3>().setIdentity();
    step.bottomLeftCorner<3, 3>() = frame.radius / about.size * Matrix3d::Identity();
    double const weight = 1.0 / (doubt * doubt);
    return {weight * step.transpose() * step, -weight * step.transpose() * away};
}

std::vector<SmallMotion> solve_motions(std::vector<FramePair> const& pairs,
                                       std::vector<PairEquations> const& equations,
                                       std::vector<StayEquations> const& stays,
                                       std::vector<char> const& moves)
{
    auto const numbers = number_unknowns(moves);
    int const unknowns = 6 * (1 + *std::max_element(numbers.begin(), numbers.end()));
    Entries entries;
    Eigen::VectorXd right = Eigen::VectorXd::Zero(unknowns);
    double trace = 0.0;
    for (std::size_t k = 0; k < pairs.size(); ++k)
    {
        int const a = numbers[pairs[k].first];
        int const b = numbers[pairs[k].second];
        auto const& matrix = equations[k].matrix;
        add_block(a, a, matrix, 1.0, entries);
        add_block(b, b, matrix, 1.0, entries);
        add_block(a, b, matrix, -1.0, entries);
        add_block(b, a, matrix, -1.0, entries);
        if (a >= 0)
        {
            right.segment<6>(Eigen::Index{6} * a) += equations[k].right;
        }
        if (b >= 0)
        {
            right.segment<6>(Eigen::Index{6} * b) -= equations[k].right;
        }
        trace += matrix.trace() * ((a >= 0 ? 1.0 : 0.0) + (b >= 0 ? 1.0 : 0.0));
    }
    if (!(trace > 0.0))
    {
        return {}; // Nothing is known of any motion.
    }
    for (std::size_t f = 0; f < numbers.size(); ++f)
    {
        if (numbers[f] >= 0)
        {
            add_block(numbers[f], numbers[f], stays[f].matrix, 1.0, entries);
            right.segment<6>(Eigen::Index{6} * numbers[f]) += stays[f].right;
        }
    }
    for (int i = 0; i < unknowns; ++i)
    {
        entries.emplace_back(i, i, DAMPING * trace / unknowns);
    }
    SparseSystem system(unknowns, unknowns);
    system.setFromTriplets(entries.begin(), entries.end());
    Eigen::SimplicialLDLT<SparseSystem> const solver(system);
    Eigen::VectorXd const solution =
        solver.info() == Eigen::Success ? Eigen::VectorXd(solver.solve(right)) : Eigen::VectorXd();
    if (solution.size() != unknowns || !solution.allFinite())
    {
        return {};
    }
    return motions_in(solution, numbers);
}

RigidMatrix moved_by(RigidMatrix const& pose, SmallMotion const& motion, MotionFrame const& about)
{
    Vector3d const turn = motion.head<3>() / about.size;
    double const angle = turn.norm();
    Matrix3d const rotation = angle > 0.0
                                  ? Eigen::AngleAxisd(angle, turn / angle).toRotationMatrix()
                                  : Matrix3d(Matrix3d::Identity());
    RigidMatrix step;
    step.set_rotation(rotation);
    step.set_translation(about.centre - rotation * about.centre + motion.tail<3>());
    return rigidly_followed_by(pose, step);
}

RigidMatrix orthonormal(RigidMatrix const& pose)
{
    return rigidly_followed_by(pose, RigidMatrix());
}

RigidMatrix rigidly_followed_by(RigidMatrix const& first, RigidMatrix const& second)
{
    RigidMatrix result;
    Eigen::Quaterniond const turn(second.get_rotation() * first.get_rotation());
    result.set_rotation(turn.normalized().toRotationMatrix());
    result.set_translation(second.get_rotation() * first.get_translation() +
                           second.get_translation());
    return result;
}

double turn_of(Matrix3d const& rotation)
{
    return degrees(Eigen::AngleAxisd(rotation).angle());
}

} // namespace OrvaneAlgorithm::detail
