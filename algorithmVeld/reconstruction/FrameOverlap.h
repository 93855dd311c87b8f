#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/export.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm
{

/// Takes the overlap out of registered range frames, so that `MeshMerge` gets one layer of surface
/// where the scanner looked several times. In each place the frame stays that saw the surface
/// best; the others lose those points, and the borders that remain lie about one spacing apart,
/// which a stitch closes. The points that stay do not move, unless `set_averages_layers` asks for
/// the mean of all that was seen.
///
/// How well a frame saw a place is told by its own grid: how densely it sampled the surface there,
/// which falls with the distance and with the slant of the view; near its border a frame counts
/// less. Where frames are about equal, the first of them stays. No place is lost: a point goes only
/// while a point of another frame stays beside it, or, at a border, a neighbour of its own frame.
/// Two points belong to one surface if their normals agree, so both sides of a thin wall stay.
///
/// After the idea of zippering: G. Turk and M. Levoy, "Zippered polygon meshes from range images",
/// SIGGRAPH 1994. There borders are clipped against each other; here they are left to the stitch.
/// The mean of the layers is what is called consensus geometry there.
///
/// Lengths are millimetres. The result is the same for any number of threads. An object keeps its
/// settings between calls; it is not meant to be used from two threads at once.
class ALGORITHMVELD_API FrameOverlap
{
public:
    /// What became of a frame.
    struct FrameCounts
    {
        std::size_t points = 0;     ///< that the frame had
        std::size_t overlapped = 0; ///< of these, seen by another frame as well
        std::size_t removed = 0;    ///< of these, taken away
        std::size_t cells = 0;      ///< grid cells with four corners that the frame had
        std::size_t cells_left = 0; ///< of these, left
    };

    /// Takes the overlap out of frames. Of more than 96, as of a turntable that was left running,
    /// those lose all points that show only what enough others do, but for a fringe. It logs what
    /// it did while the log switch of `gPH` is on, and runs under the step "frame-overlap".
    /// \param ranges the frames, each with vertex normals. They are only read. Points that are not
    ///        finite or too far out for their spacing to count (beyond 2^30 spacings) stay as they
    ///        are. Of more than 96 frames one that shows nothing within 2^21 spacings of the origin
    ///        is kept, whatever the others show.
    /// \param result replaced by copies of the frames without the points that went, and with the
    ///        flag taken from cells that lost a corner, are stretched over a jump of depth, or
    ///        would hang on others by a corner alone; grid and pose are those of the frame, and the
    ///        points keep their order. Empty on failure and after an exception.
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` if there is no frame, or one is a null pointer
    ///         or lacks normals
    /// \throw std::out_of_range if a channel of a frame is shorter than the frame
    RetVal remove_overlap(std::vector<RangeData const*> const& ranges,
                          std::vector<RangeData>& result);

    /// Distance between neighbouring points: the median of the mean spacings of the frames. 0 if no
    /// frame has neighbours. No frame may be a null pointer.
    static double measure_point_spacing(std::vector<RangeData const*> const& ranges);

    /// What the last run did to each frame, in their order.
    std::vector<FrameCounts> const& frame_counts() const { return frame_counts_; }
    /// The spacing that the last run worked with; 0 if there was none to measure.
    double used_point_spacing() const { return used_point_spacing_; }

    /// Distance between neighbouring points in millimetres, by which the other lengths are counted.
    /// 0, the default: the median of the mean spacings of the frames, jumps of depth left out.
    void set_point_spacing(double length) { point_spacing_ = length; }
    /// How far beside a point another frame has to have one to see the same place, in spacings as
    /// they are there (up to one and a half of the whole); 1 by default.
    void set_cover_factor(double spacings) { cover_factor_ = spacings; }
    /// How far two layers of one surface may lie from each other along the normal, in spacings;
    /// 2 by default. It has to be more than registration and noise put between them.
    void set_layer_factor(double spacings) { layer_factor_ = spacings; }
    /// Largest angle in degrees between the normals of two layers of one surface; 60 by default.
    void set_normal_angle_thr(double degrees) { normal_angle_thr_ = degrees; }
    /// Least distance between the borders that remain, in spacings; 0.7 by default.
    void set_gap_factor(double spacings) { gap_factor_ = spacings; }
    /// Width of the band along the border of a frame in which it counts less, in grid cells; 8 by
    /// default.
    void set_border_cells(int cells) { border_cells_ = cells; }
    /// Cells with an edge longer than this, in spacings, are stretched over a jump of depth, and no
    /// surface; 6 by default, which is a view less than 10 degrees off the surface.
    void set_long_edge_factor(double spacings) { long_edge_factor_ = spacings; }
    /// Whether each point that stays moves along its normal to the mean of the layers that saw its
    /// place, each weighted by how well it did. Noise, and what registration left between frames,
    /// become less the more frames saw a place. Normals stay those of the frame, and what is
    /// surface is judged before. False by default: points are those of the frames.
    void set_averages_layers(bool averages) { averages_layers_ = averages; }

private:
    std::vector<RangeData> take_out(std::vector<RangeData const*> const& ranges, double spacing,
                                    std::vector<FrameCounts>& counts) const;

    double point_spacing_ = 0.0;
    double cover_factor_ = 1.0;
    double layer_factor_ = 2.0;
    double normal_angle_thr_ = 60.0;
    double gap_factor_ = 0.7;
    int border_cells_ = 8;
    double long_edge_factor_ = 6.0;
    bool averages_layers_ = false;
    double used_point_spacing_ = 0.0;
    std::vector<FrameCounts> frame_counts_;
};

} // namespace OrvaneAlgorithm
