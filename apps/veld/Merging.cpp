#include "Merging.h"

#include "Errors.h"
#include "HoleSummary.h"

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
constexpr double stitch_radius_spacings = 1.0;
constexpr double long_edge_spacings = 5.0;

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
    for (auto const& frame : frames)
    {
        list.push_back(pointer_to(frame));
    }
    return list;
}

/// The user's settings, and what the frames tell where he gives none.
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
                                  "spacing by; give --spacing");
    }
    if (settings.stitch_radius == 0.0)
    {
        settings.stitch_radius = stitch_radius_spacings * settings.spacing;
    }
    if (settings.long_edge == 0.0)
    {
        settings.long_edge = long_edge_spacings * settings.spacing;
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
            fmt::format("no piece of the merged frames has more than {}; see --min-component",
                        counted(static_cast<std::size_t>(settings.min_component), "face")));
    }
}

/// Takes the overlap out, which leaves one layer.
std::vector<RangeData> single_layer(std::vector<RangeData const*> const& frames,
                                    MergeResult& result)
{
    FrameOverlap overlap;
    overlap.set_point_spacing(result.settings.spacing);
    overlap.set_averages_layers(result.settings.layers == Layers::mean);
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

MergeResult merge_frames(std::vector<NamedFrame> const& frames, std::string const& source,
                         MergeSettings const& settings)
{
    auto const list = pointers(frames);
    MergeResult result;
    result.frames = list.size();
    result.settings = complete(settings, list, source);
    auto const start = std::chrono::steady_clock::now();
    for (auto const* frame : list)
    {
        result.points += frame->get_vn();
    }
    if (settings.layers == Layers::all)
    {
        stitch(list, result);
    }
    else
    {
        stitch(pointers(single_layer(list, result)), result);
    }
    result.holes = all_holes(result.mesh).size();
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

Json to_json(MergeResult const& result)
{
    return Json{{"frames", result.frames},
                {"vertices", result.mesh.n_vertices()},
                {"faces", result.mesh.n_faces()},
                {"holes", result.holes},
                {"overlap_removed", result.removed},
                {"spacing", result.settings.spacing},
                {"stitch_radius", result.settings.stitch_radius},
                {"long_edge", result.settings.long_edge},
                {"seconds", result.seconds}};
}

std::string to_text(std::string const& path, MergeResult const& result)
{
    MergeSettings const& settings = result.settings;
    std::string text = fmt::format(
        "{}: {} of {}, spacing {:.6g} mm, stitch radius {:.6g} mm, edges up to {:.6g} mm\n", path,
        counted(result.frames, "frame"), counted(result.points, "point"), settings.spacing,
        settings.stitch_radius, settings.long_edge);
    if (settings.layers != Layers::all)
    {
        text += fmt::format(
            "  overlap: {} taken out{}\n", counted(result.removed, "point"),
            settings.layers == Layers::mean ? ", the others moved to the mean of the layers" : "");
    }
    return text + fmt::format("  {} and {}, {} left open, in {:.3f} s\n",
                              counted(result.mesh.n_vertices(), "point"),
                              counted(result.mesh.n_faces(), "face"), counted(result.holes, "hole"),
                              result.seconds);
}

} // namespace veld
