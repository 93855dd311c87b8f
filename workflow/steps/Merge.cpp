#include "workflow/steps/Merge.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/filling/HoleList.h"
#include "workflow/words.h"

#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::MeshMerge;

namespace
{

/// Lengths in point spacings where the user gives none.
constexpr double STITCH_RADIUS_SPACINGS = 1.0;
constexpr double LONG_EDGE_SPACINGS = 5.0;

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

void stitch(std::vector<RangeData const*> const& frames, MergeResult& result)
{
    MergeSettings const& settings = result.settings;
    MeshMerge merger;
    merger.set_point_spacing(settings.spacing);
    bool const verbose = OrvaneAlgorithm::gPH.log_enabled;
    if (merger.mesh_merge(frames, settings.stitch_radius, result.mesh, verbose,
                          settings.max_hole_edges, settings.min_component, settings.long_edge,
                          result.vertex_frames) != OrvaneAlgorithm::RET_SUCCESS)
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

MergeResult merge(FrameSet const& frames, MergeSettings const& settings, Context& context)
{
    StepScope scope(context, "merge-frames", "merge the frames");
    auto const list = pointers(frames.frames);
    MergeResult result;
    result.frames = list.size();
    result.settings = scope.stage("measure the spacing", 0.02,
                                  [&] { return complete(settings, list, frames.source); });
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
