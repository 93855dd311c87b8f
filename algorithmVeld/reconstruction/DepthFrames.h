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

/// Prepares the frames of noisy depth cameras for `FrameOverlap` and `MeshMerge`, which are at home
/// where noise is a part of the distance between points: takes the noise out, as far as the frames
/// tell, and leaves few large patches of one layer that overlap where they meet.
///
/// Lengths are millimetres. The result is the same for any number of threads. An object keeps its
/// settings between calls; it is not meant to be used from two threads at once.
class ALGORITHMVELD_API DepthFrames
{
public:
    /// What became of a frame.
    struct FrameCounts
    {
        std::size_t points = 0;    ///< that the frame had
        std::size_t smooth = 0;    ///< that were left when they were smoothed and thinned
        std::size_t kept = 0;      ///< of these, in the patches
        double disagreement = 0.0; ///< median distance to the other frames; -1 if there is none, 0
                                   ///< of a frame that shows only what enough others do
    };

    /// Measures how far depths scatter around planes of 9 x 9 neighbours; of frames that are no
    /// camera's, whose noise does not grow with depth, as a constant. 0 where there is nothing to
    /// measure. No frame may be a null pointer.
    static DepthNoise measure_noise(std::vector<RangeData const*> const& ranges);

    /// The depth in the middle of those of some points of each frame, in millimetres; 0 where there
    /// is none. No frame may be a null pointer.
    static double median_depth(std::vector<RangeData const*> const& ranges);

    /// Whether all points of a frame lie where a camera at its origin sees the pixels of the grid.
    static bool is_camera_frame(RangeData const& frame);

    /// Takes noise and layers out of frames. It runs under the step "depth-frames".
    /// \param ranges the frames, each of a camera. They are only read.
    /// \param result replaced by one frame for each, smoothed and thinned, in the pose of the old
    ///        one, with normals; a frame of which nothing stays is empty. Empty on failure and
    ///        after an exception.
    /// \param release called with the number of each frame when it is read no more, so that a host
    ///        may drop it; several threads call it, each for frames of its own
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` if there is no frame or one that is no
    ///         camera's, or no noise
    /// \throw std::out_of_range if a channel of a frame is shorter than the frame
    RetVal prepare(std::vector<RangeData const*> const& ranges, std::vector<RangeData>& result,
                   std::function<void(std::size_t)> const& release = {});

    /// Noise of the depths; measured by default.
    void set_noise(DepthNoise const& noise) { noise_ = noise; }
    /// Distance of the points to be, in millimetres; 0, the default: as far apart as the noise
    /// supports.
    void set_point_spacing(double length) { point_spacing_ = length; }
    /// Longest edge in millimetres of what closes a step of depth, as from the rim of a thing to
    /// what it stands on, where no frame looked through; 0, the default: a tenth of the depth in
    /// the middle. Less than the spacing closes none.
    void set_longest_step(double length) { longest_step_ = length; }

    /// What the last run did to each frame, in their order.
    std::vector<FrameCounts> const& frame_counts() const { return frame_counts_; }
    /// The noise that the last run worked with.
    DepthNoise const& used_noise() const { return used_noise_; }
    /// The spacing that the last run thinned to.
    double used_point_spacing() const { return used_point_spacing_; }
    /// Longest edge of what closed a step of depth in the last run.
    double used_longest_step() const { return used_longest_step_; }
    /// How far along the normal the last run took two places for one, in millimetres; where noise
    /// is larger than in the middle, it was more.
    double used_tolerance() const { return used_tolerance_; }
    /// How far frames were from each other along the normal where they overlapped, before: the
    /// median of the frames'.
    double used_disagreement() const { return used_disagreement_; }

private:
    /// Noise and lengths that a run works with. \return the noise at the depth in the middle
    double measure(std::vector<RangeData const*> const& ranges);

    DepthNoise noise_;
    double point_spacing_ = 0.0;
    double longest_step_ = 0.0;
    std::vector<FrameCounts> frame_counts_;
    DepthNoise used_noise_;
    double used_point_spacing_ = 0.0;
    double used_longest_step_ = 0.0;
    double used_tolerance_ = 0.0;
    double used_disagreement_ = 0.0;
};

} // namespace OrvaneAlgorithm
