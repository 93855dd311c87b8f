#include "workflow/steps/Merge.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/filling/HoleList.h"
#include "workflow/words.h"

#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/GeoPatentRecon.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>

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
/// A spacing that is so many times the measured one, or so small a part of it, is a slip.
constexpr double UNLIKELY_FACTOR = 4.0;

RangeData const* pointer_to(NamedFrame const& frame)
{
    return &frame.data;
}

RangeData const* pointer_to(RangeData const& frame)
{
    return &frame;
}

template <typename Frame>
std::vector<RangeData const*> pointers(std::vector<Frame> const& frames)
{
    std::vector<RangeData const*> list;
    list.reserve(frames.size());
    for (auto const& frame : frames)
    {
        list.push_back(pointer_to(frame));
    }
    return list;
}

/// The given settings, and what the frames tell where they say nothing.
MergeSettings complete(MergeSettings settings, std::vector<RangeData const*> const& frames,
                       std::string const& source)
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
        settings.long_edge = LONG_EDGE_SPACINGS * settings.spacing;
    }
    return settings;
}

void warn_of_spacing(double given, double measured, std::string const& source, StepScope& scope)
{
    if (measured > 0.0 &&
        (given > UNLIKELY_FACTOR * measured || given < measured / UNLIKELY_FACTOR))
    {
        scope.warn(
            WarningCode::UNITS_UNLIKELY, source,
            fmt::format("neighbours are {:.3g} mm apart, and the spacing was given as "
                        "{:.3g} mm: what follows it looks {}",
                        measured, given,
                        given > measured ? "much too far, and takes long" : "not far enough"));
    }
}

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
                                          MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    MeshMerge merger;
    set_up(merger, settings);
    merger.set_point_spacing(settings.spacing);
    merger.set_ear_normal_angle(settings.ear_normal_angle);
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

void stitch(std::vector<RangeData const*> const& frames, MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    if ((settings.method == MergeMethod::OUTLIER
             ? merge_without_outliers(frames, result)
             : merge_in_parallel(frames, result)) != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError("the frames could not be merged");
    }
    remove_pinches(result);
    if (result.mesh.n_faces() == 0)
    {
        throw OperationError(
            fmt::format("no piece of the merged frames has more than {}",
                        counted(static_cast<std::size_t>(settings.min_component), "face")),
            "min_component");
    }
}

/// Takes the overlap out, which leaves one layer.
std::vector<RangeData> single_layer(std::vector<RangeData const*> const& frames,
                                    MergeResult& result)
{
    FrameOverlap overlap;
    overlap.set_point_spacing(result.settings.spacing);
    overlap.set_averages_layers(result.settings.layers == Layers::MEAN);
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

} // namespace

std::map<std::string, MergeMethod> const& merge_methods()
{
    static std::map<std::string, MergeMethod> const methods{{"stitch", MergeMethod::STITCH},
                                                            {"outlier", MergeMethod::OUTLIER}};
    return methods;
}

std::string to_string(MergeMethod method)
{
    return method == MergeMethod::STITCH ? "stitch" : "outlier";
}

MergeResult merge(FrameSet const& frames, MergeSettings const& settings, Context& context)
{
    StepScope scope(context, "merge-frames", "merge the frames");
    auto const list = pointers(frames.frames);
    MergeResult result;
    result.frames = list.size();
    result.settings = scope.stage("measure the spacing", 0.02,
                                  [&] { return complete(settings, list, frames.source); });
    if (settings.spacing > 0.0)
    {
        warn_of_spacing(settings.spacing, FrameOverlap::measure_point_spacing(list), frames.source,
                        scope);
    }
    auto const start = std::chrono::steady_clock::now();
    for (auto const* frame : list)
    {
        result.points += frame->get_vn();
    }
    std::vector<RangeData> single;
    if (settings.layers != Layers::ALL)
    {
        single =
            scope.stage("take the overlap out", 0.6, [&] { return single_layer(list, result); });
    }
    scope.stage("stitch the frames", 0.98,
                [&] { stitch(settings.layers == Layers::ALL ? list : pointers(single), result); });
    result.holes =
        scope.stage("count the holes", 1.0, [&] { return all_holes(result.mesh).size(); });
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

} // namespace veld
