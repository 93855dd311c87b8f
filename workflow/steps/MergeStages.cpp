#include "workflow/steps/MergeStages.h"

#include "workflow/Error.h"
#include "workflow/repairing/RepairRun.h"
#include "workflow/words.h"

#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/GeoPatentRecon.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::GeoPatentRecon;
using OrvaneAlgorithm::MeshMerge;

namespace
{

/// Lengths in point spacings where the user gives none.
constexpr double STITCH_RADIUS_SPACINGS = 1.0;
constexpr double LONG_EDGE_SPACINGS = 5.0;
/// The same of cells and of border edges where frames were smoothed, or the longest closed step and
/// a bit: what is stretched over a jump of depth was told before.
constexpr double LONG_EDGE_SPACINGS_OF_SMOOTH = 8.0;
constexpr double LONG_EDGE_STEPS = 1.5;
/// A spacing that is so many times the measured one, or so small a part of it, is a slip.
constexpr double UNLIKELY_FACTOR = 4.0;
/// Radii in spacings within which pieces are joined across creases.
constexpr std::array<double, 2> JOIN_SPACINGS = {{2.0, 4.0}};

} // namespace

std::vector<RangeData const*> pointers(std::vector<RangeData> const& frames)
{
    std::vector<RangeData const*> list;
    list.reserve(frames.size());
    for (auto const& frame : frames)
    {
        list.push_back(&frame);
    }
    return list;
}

std::string doubt_of_spacing(double given, double measured)
{
    bool const is_likely =
        !(given > 0.0) || !(measured > 0.0) ||
        (given <= UNLIKELY_FACTOR * measured && given >= measured / UNLIKELY_FACTOR);
    return is_likely
               ? std::string()
               : fmt::format("neighbours are {:.3g} mm apart, and the spacing was given as "
                             "{:.3g} mm: what follows it looks {}",
                             measured, given,
                             given > measured ? "much too far, and takes long" : "not far enough");
}

MergeSettings complete(MergeSettings settings, std::vector<RangeData const*> const& frames,
                       bool is_smooth, std::string const& source)
{
    if (settings.spacing == 0.0)
    {
        settings.spacing = FrameOverlap::measure_point_spacing(frames);
    }
    if (!(settings.spacing > 0.0) || !std::isfinite(settings.spacing))
    {
        throw InputError(source + ": the frames have no neighbouring points to measure their "
                                  "spacing by; it has to be given",
                         "spacing");
    }
    if (settings.method == MergeMethod::OUTLIER && settings.stitch_radius != 0.0)
    {
        throw InputError("the stitch radius cannot be set where outliers are handled: borders look "
                         "for each other within twice the spacing there",
                         "stitch_radius");
    }
    if (settings.stitch_radius == 0.0)
    {
        settings.stitch_radius = STITCH_RADIUS_SPACINGS * settings.spacing;
    }
    if (settings.long_edge == 0.0)
    {
        settings.long_edge = is_smooth ? std::max(LONG_EDGE_SPACINGS_OF_SMOOTH * settings.spacing,
                                                  LONG_EDGE_STEPS * settings.closed_step)
                                       : LONG_EDGE_SPACINGS * settings.spacing;
    }
    return settings;
}

std::vector<RangeData> single_layer(std::vector<RangeData const*> const& frames,
                                    MergeResult& result)
{
    FrameOverlap overlap;
    overlap.set_point_spacing(result.settings.spacing);
    overlap.set_averages_layers(result.settings.layers == Layers::MEAN);
    if (result.prepared)
    {
        overlap.set_layer_factor(
            std::max(LAYER_SPACINGS, result.tolerance / result.settings.spacing));
        overlap.set_long_edge_factor(
            std::max(LONG_EDGE_SPACINGS_OF_SMOOTH,
                     LONG_EDGE_STEPS * result.settings.closed_step / result.settings.spacing));
    }
    std::vector<RangeData> single;
    if (overlap.remove_overlap(frames, single) != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError("the overlap of the frames could not be taken out");
    }
    for (auto const& counts : overlap.frame_counts())
    {
        result.removed += counts.removed;
    }
    return single;
}

namespace
{

/// Takes out the few vertices at which several fans of faces meet, with their faces.
void remove_pinches(MergeResult& result)
{
    OpenMesh::VPropHandleT<int> frame;
    result.mesh.add_property(frame, "<vprop>");
    result.mesh.property(frame).data_vector() = result.vertex_frames;
    OrvaneAlgorithm::VertexEditor::remove_non_manifold_verts(result.mesh,
                                                             OrvaneAlgorithm::gPH.log_enabled);
    result.vertex_frames = result.mesh.property(frame).data_vector();
    result.mesh.remove_property(frame);
}

/// What both ways name alike.
template <typename Merger>
void set_up(Merger& merger, MergeSettings const& settings)
{
    merger.set_neighbour_factor(settings.neighbour_factor);
    merger.set_normal_angle_thr(static_cast<float>(settings.normal_angle));
    merger.set_ear_edge_factor(settings.ear_edge_factor);
}

OrvaneAlgorithm::RetVal merge_in_parallel(std::vector<RangeData const*> const& frames,
                                          MeshMerge& merger, MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    return merger.mesh_merge(frames, settings.stitch_radius, result.mesh,
                             OrvaneAlgorithm::gPH.log_enabled, settings.max_hole_edges,
                             settings.min_component, settings.long_edge, result.vertex_frames);
}

/// The log switch, which a merge sets, as it was before.
class KeptLogSwitch
{
public:
    KeptLogSwitch() = default;
    ~KeptLogSwitch() { OrvaneAlgorithm::gPH.set_log_enabled(before_); }
    KeptLogSwitch(KeptLogSwitch const&) = delete;
    KeptLogSwitch& operator=(KeptLogSwitch const&) = delete;

private:
    bool before_ = OrvaneAlgorithm::gPH.log_enabled;
};

/// Without the log: with it on, outliers stay where their list cannot be written, and the mesh
/// would depend on it.
OrvaneAlgorithm::RetVal merge_without_outliers(std::vector<RangeData const*> const& frames,
                                               MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    if (frames.empty())
    {
        return OrvaneAlgorithm::RET_INVALID_INPUT;
    }
    GeoPatentRecon merger;
    set_up(merger, settings);
    merger.set_angle_thr(settings.ear_normal_angle);
    merger.set_preprocess_enabled(settings.cut_long_edges);
    merger.set_outlier_removal_enabled(settings.outlier_factor > 0.0);
    merger.set_outlier_factor(static_cast<float>(settings.outlier_factor));
    KeptLogSwitch const log_switch;
    auto const merged =
        merger.mesh_merge(frames, settings.spacing, result.mesh, false, settings.max_hole_edges,
                          settings.min_component, settings.long_edge, result.vertex_frames);
    result.outliers = static_cast<std::size_t>(merger.removed_outliers());
    return merged;
}

/// Frames of rooms end at edges of things, where the stitch, which is made for smooth surfaces,
/// joins nothing. Vertices stay what they are.
void join_pieces(MergeResult& result)
{
    RepairSettings settings;
    settings.method = RepairMethod::PROJECT;
    settings.spacing = result.settings.spacing;
    settings.normal_angle = result.settings.join_angle;
    settings.ear_perimeter = 0.0;
    for (double const spacings : JOIN_SPACINGS)
    {
        settings.radii.push_back(spacings * settings.spacing);
    }
    result.mesh = std::move(run_repair(result.mesh, settings).mesh);
}

} // namespace

MeshMerge merger_for(MergeSettings const& settings)
{
    MeshMerge merger;
    set_up(merger, settings);
    merger.set_point_spacing(settings.spacing);
    merger.set_ear_normal_angle(settings.ear_normal_angle);
    return merger;
}

void stitch(std::vector<RangeData const*> const& frames, MeshMerge merger, MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    if ((settings.method == MergeMethod::OUTLIER
             ? merge_without_outliers(frames, result)
             : merge_in_parallel(frames, merger, result)) != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError("the frames could not be merged");
    }
    remove_pinches(result);
    if (result.prepared && settings.join_angle > 0.0 && result.mesh.n_faces() > 0)
    {
        join_pieces(result);
    }
}

void refuse_empty(MergeResult const& result)
{
    if (result.mesh.n_faces() == 0)
    {
        throw OperationError(
            fmt::format("no piece of the merged frames has more than {}",
                        counted(static_cast<std::size_t>(result.settings.min_component), "face")),
            "min_component");
    }
}

} // namespace veld
