#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/export.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
class Stages;
class TimedStages;
} // namespace detail

/// Tells how well range frames agree where they overlap, and refines their poses until they agree
/// better: what `FrameOverlap` and `MeshMerge` take for granted.
///
/// Frames are compared pair by pair. Samples of one frame look for the nearest point of the other;
/// what counts is the distance along the mean of both normals, as to a tangential plane (Y. Chen
/// and G. Medioni, "Object modeling by registration of multiple range images", ICRA 1991). Samples
/// are spread evenly over the frame, and half of them evenly over the directions of its normals (S.
/// Rusinkiewicz and M. Levoy, "Efficient variants of the ICP algorithm", 3DIM 2001). Points along
/// the border of the other frame tell nothing (G. Turk and M. Levoy, SIGGRAPH 1994). Frames of
/// depth cameras whose noise hides what lies between neighbours are smoothed before, as
/// `DepthFrames` does it.
///
/// All poses are refined at once: each round puts the normal equations of all pairs into one sparse
/// system, so that what is left over is spread over all frames and not pushed to the last one.
/// Each distance counts by its noise and by the biweight of Tukey (A. Beaton and J. Tukey, "The
/// fitting of power series", Technometrics 1974), whose scale is the median of the pair. The
/// distance in which points are looked for shrinks from round to round.
///
/// Lengths are millimetres, angles degrees. The result is the same for any number of threads. An
/// object keeps its settings between calls; it is not meant to be used from two threads at once.
class ALGORITHMVELD_API FrameAlignment
{
public:
    /// Two frames that overlap.
    struct Pair
    {
        std::size_t first = 0;  ///< number of one
        std::size_t second = 0; ///< number of the other, which is larger
        double distance = 0.0;  ///< median distance along the normal, in millimetres
        double noises = 0.0;    ///< the same in standard deviations of the noise; 0 without noise
        double overlap = 0.0;   ///< part of the samples of both that the other saw, 0 to 1
    };

    /// A frame among the others.
    struct Frame
    {
        double distance = -1.0;  ///< median distance to all others; -1 if it overlaps none
        double noises = -1.0;    ///< the same in standard deviations of the noise; 0 without noise
        std::size_t pairs = 0;   ///< how many it was compared with
        std::size_t samples = 0; ///< of its surface that were compared with each of them
    };

    /// How well frames agree.
    struct Agreement
    {
        std::vector<Pair> pairs;   ///< by first and second
        std::vector<Frame> frames; ///< in their order
        double distance = 0.0;     ///< median of the frames' that overlap another one
    };

    /// What became of the pose of a frame.
    enum class Fate
    {
        MOVED, ///< It was refined.
        HELD,  ///< It is the first of its group, which stays where it is.
        ALONE, ///< It overlaps no other frame, and stays where it is.
        ASTRAY ///< It would have gone too far, and stays where it was.
    };

    /// How far a frame was moved.
    struct Motion
    {
        Fate fate = Fate::ALONE; ///< what became of it
        std::size_t group = 0; ///< number of the first frame of those that overlap, one to the next
        double shift = 0.0;    ///< of the middle of its points, in millimetres
        double turn = 0.0;     ///< in degrees
    };

    /// Measures how well frames agree in the poses that they have. It runs under the step
    /// "frame-agreement".
    /// \param ranges the frames, each with vertex normals. They are only read.
    /// \param result replaced; empty on failure and after an exception
    /// \param release called with the number of each frame when it is read no more, so that a host
    ///        may drop it; several threads call it, each for frames of its own
    /// \return `RET_SUCCESS`, also where no frames overlap, or `RET_INVALID_INPUT` if there are
    ///         fewer than two frames, or one is a null pointer or lacks normals
    /// \throw std::out_of_range if a channel of a frame is shorter than the frame
    RetVal measure(std::vector<RangeData const*> const& ranges, Agreement& result,
                   std::function<void(std::size_t)> const& release = {});

    /// Refines the poses of frames. It runs under the step "frame-alignment".
    /// \param ranges the frames, each with vertex normals and nearly in its place. They are only
    ///        read.
    /// \param poses replaced by the poses, frame to global, in the order of the frames; empty on
    ///        failure and after an exception
    /// \param release as above
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` as above; or `RET_FAILED` if no two frames
    ///         overlap
    /// \throw std::out_of_range if a channel of a frame is shorter than the frame
    RetVal align(std::vector<RangeData const*> const& ranges, std::vector<RigidMatrix>& poses,
                 std::function<void(std::size_t)> const& release = {});

    /// Noise of the depths; measured by default.
    void set_noise(DepthNoise const& noise) { noise_ = noise; }
    /// How far frames may be off each other, in millimetres: distance in which points are looked
    /// for at first. No frame moves more than four times as far. 0, the default: a fiftieth of the
    /// size of the frame in the middle.
    void set_reach(double length) { reach_ = length; }
    /// Most points of a frame that others are compared with, 250 or more: frames of more are
    /// thinned on their grids. Default 100000.
    void set_most_points(std::size_t count) { most_points_ = count; }
    /// Most samples of a frame that are compared with each other frame. Default 1000.
    void set_most_samples(std::size_t count) { most_samples_ = count; }
    /// Most rounds of the refinement. Default 80.
    void set_most_rounds(int count) { most_rounds_ = count; }

    /// How well the frames agreed before the last `align`.
    Agreement const& before() const { return before_; }
    /// How well they agreed behind it.
    Agreement const& after() const { return after_; }
    /// What the last `align` did to each frame, in their order.
    std::vector<Motion> const& motions() const { return motions_; }
    /// Rounds that the last `align` took.
    int rounds() const { return rounds_; }
    /// Whether the last `align` ended because nothing moved any more.
    bool has_converged() const { return has_converged_; }
    /// The noise that the last run worked with.
    DepthNoise const& used_noise() const { return used_noise_; }
    /// The reach that the last run worked with.
    double used_reach() const { return used_reach_; }

private:
    struct Overlaps;

    /// Samples the frames and finds which overlap, as the first three of the stages.
    Overlaps find_overlaps(std::vector<RangeData const*> const& ranges,
                           detail::TimedStages const& timed, detail::Stages& stages,
                           std::function<void(std::size_t)> const& release);
    void forget_last();

    DepthNoise noise_;
    double reach_ = 0.0;
    std::size_t most_points_ = 100000;
    std::size_t most_samples_ = 1000;
    int most_rounds_ = 80;
    Agreement before_;
    Agreement after_;
    std::vector<Motion> motions_;
    int rounds_ = 0;
    bool has_converged_ = false;
    DepthNoise used_noise_;
    double used_reach_ = 0.0;
};

} // namespace OrvaneAlgorithm
