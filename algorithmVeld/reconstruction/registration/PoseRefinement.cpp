#include "algorithmVeld/reconstruction/registration/PoseRefinement.h"

#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/reconstruction/registration/PoseSystem.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Of the distance in which points are looked for, what is left of it behind a round, once frames
/// move less than the other part of it.
constexpr double SHRINKING = 0.75;
constexpr double SETTLED = 0.25;

/// The middle and the size of all that overlaps. What lies alone may be anywhere.
MotionFrame frame_of_motions(std::vector<SampledFrame> const& frames,
                             std::vector<RigidMatrix> const& poses,
                             std::vector<FramePair> const& pairs)
{
    auto const centre_of = [&](std::size_t f) -> Vector3d
    { return poses[f].get_rotation() * frames[f].centre + poses[f].get_translation(); };
    MotionFrame about;
    for (auto const& pair : pairs)
    {
        double const share = 0.5 / static_cast<double>(pairs.size());
        about.centre += share * (centre_of(pair.first) + centre_of(pair.second));
    }
    for (auto const& pair : pairs)
    {
        for (std::size_t const f : {pair.first, pair.second})
        {
            about.size =
                std::max(about.size, (centre_of(f) - about.centre).norm() + frames[f].radius);
        }
    }
    return about;
}

/// How far at most a pose takes the points of a frame from where another one does.
double distance_between(SampledFrame const& frame, RigidMatrix const& a, RigidMatrix const& b)
{
    Vector3d const shift = (a.get_rotation() - b.get_rotation()) * frame.centre +
                           a.get_translation() - b.get_translation();
    return shift.norm() +
           (a.get_rotation() - b.get_rotation()).norm() / std::sqrt(2.0) * frame.radius;
}

/// The rounds.
class Refiner
{
public:
    Refiner(std::vector<SampledFrame> const& frames, std::vector<RigidMatrix> const& poses,
            std::vector<FramePair> const& pairs, RefinementLimits const& limits)
        : frames_(frames),
          given_(poses),
          limits_(limits),
          about_(frame_of_motions(frames, poses, pairs)),
          pairs_(pairs)
    {
        result_.poses = poses;
        result_.is_astray.assign(frames.size(), 0);
        choose_held();
    }

    RefinedPoses run()
    {
        Progress progress(static_cast<std::size_t>(std::max(limits_.most_rounds, 0)));
        double reach = std::max(limits_.reach, limits_.least);
        while (!result_.has_converged && !pairs_.empty() && result_.rounds < limits_.most_rounds)
        {
            ++result_.rounds;
            progress.advance();
            auto const moved = move_frames(reach);
            if (!moved)
            {
                break; // Another round would find the same.
            }
            double const step = *moved;
            bool const is_least = reach <= limits_.least;
            bool const all_stay = !put_strays_back();
            result_.has_converged = is_least && all_stay && step <= limits_.tolerance;
            if (step <= SETTLED * reach)
            {
                reach = std::max(limits_.least, SHRINKING * reach);
            }
        }
        bring_first_back();
        progress.finish();
        return std::move(result_);
    }

private:
    /// Of each group the frame with the most overlap holds the others while they move. The first
    /// one may be the one that is off.
    void choose_held()
    {
        result_.groups = groups_of(frames_.size(), pairs_);
        std::vector<double> overlaps(frames_.size(), 0.0);
        for (auto const& pair : pairs_)
        {
            overlaps[pair.first] += pair.overlap;
            overlaps[pair.second] += pair.overlap;
        }
        std::vector<std::size_t> held = result_.groups;
        for (std::size_t f = 0; f < frames_.size(); ++f)
        {
            std::size_t& best = held[result_.groups[f]];
            best = overlaps[f] > overlaps[best] ? f : best;
        }
        moves_.assign(frames_.size(), 1);
        for (std::size_t f = 0; f < frames_.size(); ++f)
        {
            moves_[held[result_.groups[f]]] = 0;
        }
    }

    /// \return how far the frame that went farthest went; nothing where no motion can be found
    std::optional<double> move_frames(double reach)
    {
        std::vector<PairEquations> equations(pairs_.size());
        parallel_for_uneven(static_cast<std::ptrdiff_t>(pairs_.size()),
                            [&](std::ptrdiff_t number)
                            {
                                auto const k = static_cast<std::size_t>(number);
                                auto const matches =
                                    match_pair(frames_, result_.poses, pairs_[k].first,
                                               pairs_[k].second, reach);
                                equations[k] = pair_equations(matches, about_, limits_.finest);
                            });
        std::vector<StayEquations> stays;
        stays.reserve(frames_.size());
        for (std::size_t f = 0; f < frames_.size(); ++f)
        {
            stays.push_back(
                stay_equations(frames_[f], result_.poses[f], given_[f], about_, limits_.doubt));
        }
        auto const motions = solve_motions(pairs_, equations, stays, moves_);
        if (motions.empty())
        {
            return std::nullopt;
        }
        double farthest = 0.0;
        for (std::size_t f = 0; f < motions.size(); ++f)
        {
            farthest = std::max(farthest, move_frame(f, motions[f], reach));
        }
        return farthest;
    }

    /// Moves a frame, not farther than others look for it.
    double move_frame(std::size_t f, SmallMotion const& motion, double reach)
    {
        RigidMatrix const before = result_.poses[f];
        if (moves_[f] == 0)
        {
            return 0.0;
        }
        RigidMatrix const moved = moved_by(before, motion, about_);
        double const way = distance_between(frames_[f], moved, before);
        result_.poses[f] =
            way > reach ? moved_by(before, SmallMotion(reach / way * motion), about_) : moved;
        return std::min(way, reach);
    }

    /// Puts frames back that went too far, and goes on without them. \return whether there are any
    bool put_strays_back()
    {
        bool is_any = false;
        for (std::size_t f = 0; f < frames_.size(); ++f)
        {
            if (distance_between(frames_[f], result_.poses[f], given_[f]) > limits_.farthest)
            {
                is_any = true;
                result_.is_astray[f] = 1;
                result_.poses[f] = given_[f];
            }
        }
        if (is_any)
        {
            auto const is_left_out = [this](FramePair const& pair)
            { return result_.is_astray[pair.first] == 1 || result_.is_astray[pair.second] == 1; };
            pairs_.erase(std::remove_if(pairs_.begin(), pairs_.end(), is_left_out), pairs_.end());
            choose_held();
        }
        return is_any;
    }

    /// Moves each group as a whole, so that its first frame is where it was.
    void bring_first_back()
    {
        std::vector<RigidMatrix> const moved = result_.poses;
        for (std::size_t f = 0; f < frames_.size(); ++f)
        {
            std::size_t const first = result_.groups[f];
            result_.poses[f] =
                f == first
                    ? given_[f]
                    : rigidly_followed_by(
                          moved[f], rigidly_followed_by(moved[first].inverse(), given_[first]));
        }
    }

    std::vector<SampledFrame> const& frames_;
    std::vector<RigidMatrix> const& given_;
    RefinementLimits limits_;
    MotionFrame about_;
    std::vector<FramePair> pairs_;
    std::vector<char> moves_;
    RefinedPoses result_;
};

} // namespace

RefinedPoses refine_poses(std::vector<SampledFrame> const& frames,
                          std::vector<RigidMatrix> const& poses,
                          std::vector<FramePair> const& pairs, RefinementLimits const& limits)
{
    return Refiner(frames, poses, pairs, limits).run();
}

} // namespace OrvaneAlgorithm::detail
