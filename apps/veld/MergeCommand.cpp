#include "Command.h"
#include "CommonOptions.h"
#include "Errors.h"
#include "FrameSource.h"
#include "HoleSummary.h"
#include "MeshFiles.h"
#include "Session.h"

#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <chrono>
#include <cmath>

namespace veld
{

namespace
{

using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::MeshMerge;

/// Lengths in point spacings where the user gives none.
constexpr double stitch_radius_spacings = 1.0;
constexpr double long_edge_spacings = 5.0;

struct MergeSettings
{
    double spacing = 0.0;       ///< Millimetres between neighbouring points; 0: measured.
    double stitch_radius = 0.0; ///< Millimetres; 0: by the spacing.
    double long_edge = 0.0;     ///< Millimetres; 0: by the spacing.
    int max_hole_edges = 30;
    int min_component = 100;
};

struct Merged
{
    TriMesh mesh;
    std::vector<int> vertex_frames;
    std::size_t points = 0;  ///< of all frames
    std::size_t removed = 0; ///< of these, taken out because a better frame saw the place
    std::size_t holes = 0;
    double seconds = 0.0;
};

std::vector<RangeData const*> pointers(std::vector<RangeData> const& frames)
{
    std::vector<RangeData const*> list;
    for (auto const& frame : frames)
    {
        list.push_back(&frame);
    }
    return list;
}

/// Takes out the few vertices at which several fans of faces meet, with their faces.
void remove_pinches(Merged& result)
{
    OpenMesh::VPropHandleT<int> frame;
    result.mesh.add_property(frame, "<vprop>");
    result.mesh.property(frame).data_vector() = result.vertex_frames;
    OrvaneAlgorithm::VertexEditor::remove_non_manifold_verts(result.mesh,
                                                             OrvaneAlgorithm::gPH.log_enabled);
    result.vertex_frames = result.mesh.property(frame).data_vector();
    result.mesh.remove_property(frame);
}

class MergeCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_frame_source(app, source_);
        app.add_option("-o,--output", output_, "Mesh file to write; the extension tells the format")
            ->required()
            ->type_name("OUT");
        app.add_option("--method", method_,
                       "stitch: near borders are closed by fans of triangles (default: stitch)")
            ->type_name("NAME")
            ->check(CLI::IsMember(std::vector<std::string>{"stitch"}));
        app.add_flag("--keep-layers", keep_layers_,
                     "Keep every layer where frames overlap; without it the frame that saw a place "
                     "best stays there");
        add_thresholds(app);
        app.add_option("--frame-map", frame_map_,
                       "Write to FILE, as text, the number of the frame of each vertex, one a line")
            ->type_name("FILE");
        set_example(app, "merge scans/bun.conf -o merged.ply --scale 1000");
    }

    std::vector<std::string> outputs() const override
    {
        check_mesh_extension(output_);
        std::vector<std::string> files{output_};
        if (!frame_map_.empty())
        {
            files.push_back(frame_map_);
        }
        return files;
    }

    Json run(Console& console, Outputs& outputs) override
    {
        FrameSet const set = load_frames(source_, console);
        check_outputs(this->outputs(), set.files);
        std::vector<RangeData const*> frames;
        for (auto const& frame : set.frames)
        {
            frames.push_back(&frame.data);
        }
        MergeSettings const settings = complete(frames);
        Merged const result = merge(frames, settings);
        save_mesh(outputs.add(output_), result.mesh);
        if (!frame_map_.empty())
        {
            std::string text;
            for (int const frame : result.vertex_frames)
            {
                text += std::to_string(frame) + '\n';
            }
            write_text_file(outputs.add(frame_map_), text);
        }
        console.print(to_text(set.frames.size(), settings, result));
        return to_json(set.frames.size(), settings, result);
    }

private:
    void add_thresholds(CLI::App& app)
    {
        add_length(app, "--spacing", settings_.spacing,
                   "Distance between neighbouring points in mm, 0: measured (default: 0)");
        add_length(app, "--stitch-radius", settings_.stitch_radius,
                   "Half of the distance in mm in which a border looks for another one, 0: the "
                   "spacing (default: 0)");
        add_length(app, "--long-edge", settings_.long_edge,
                   "Border edges longer than this in mm are cut away, 0: five spacings "
                   "(default: 0)");
        add_integer(app, "--max-hole-edges", settings_.max_hole_edges, 0, 1'000'000'000,
                    "Holes of at most so many edges are closed at the end (default: 30)");
        add_integer(app, "--min-component", settings_.min_component, 0, 1'000'000'000,
                    "Pieces of so many faces or fewer are removed (default: 100)");
    }

    /// The user's settings, and what the frames tell where he gives none.
    MergeSettings complete(std::vector<RangeData const*> const& frames) const
    {
        MergeSettings settings = settings_;
        if (settings.spacing == 0.0)
        {
            settings.spacing = FrameOverlap::measure_point_spacing(frames);
        }
        if (!(settings.spacing > 0.0) || !std::isfinite(settings.spacing))
        {
            throw InputError(source_.source +
                             ": the frames have no neighbouring points to measure their spacing "
                             "by; give --spacing");
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

    Merged merge(std::vector<RangeData const*> const& frames, MergeSettings const& settings) const
    {
        auto const start = std::chrono::steady_clock::now();
        Merged result;
        for (auto const* frame : frames)
        {
            result.points += frame->get_vn();
        }
        if (keep_layers_)
        {
            stitch(frames, settings, result);
        }
        else
        {
            FrameOverlap overlap;
            overlap.set_point_spacing(settings.spacing);
            std::vector<RangeData> single;
            if (overlap.remove_overlap(frames, single) != OrvaneAlgorithm::RET_SUCCESS)
            {
                throw OperationError("the overlap of the frames could not be taken out");
            }
            for (auto const& counts : overlap.frame_counts())
            {
                result.removed += counts.removed;
            }
            stitch(pointers(single), settings, result);
        }
        result.holes = all_holes(result.mesh).size();
        result.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return result;
    }

    static void stitch(std::vector<RangeData const*> const& frames, MergeSettings const& settings,
                       Merged& result)
    {
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

    std::string to_text(std::size_t frames, MergeSettings const& settings,
                        Merged const& result) const
    {
        std::string text =
            fmt::format("{}: {} of {}, spacing {:.6g} mm, stitch radius {:.6g} mm, edges up to "
                        "{:.6g} mm\n",
                        output_, counted(frames, "frame"), counted(result.points, "point"),
                        settings.spacing, settings.stitch_radius, settings.long_edge);
        if (!keep_layers_)
        {
            text += fmt::format("  overlap: {} taken out\n", counted(result.removed, "point"));
        }
        return text + fmt::format("  {} and {}, {} left open, in {:.3f} s\n",
                                  counted(result.mesh.n_vertices(), "point"),
                                  counted(result.mesh.n_faces(), "face"),
                                  counted(result.holes, "hole"), result.seconds);
    }

    Json to_json(std::size_t frames, MergeSettings const& settings, Merged const& result) const
    {
        return Json{{"frames", frames},
                    {"vertices", result.mesh.n_vertices()},
                    {"faces", result.mesh.n_faces()},
                    {"holes", result.holes},
                    {"overlap_removed", result.removed},
                    {"spacing", settings.spacing},
                    {"stitch_radius", settings.stitch_radius},
                    {"long_edge", settings.long_edge},
                    {"seconds", result.seconds}};
    }

    FrameSourceOptions source_;
    std::string output_;
    std::string method_ = "stitch";
    std::string frame_map_;
    bool keep_layers_ = false;
    MergeSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_merge_command()
{
    return std::make_unique<MergeCommand>();
}

} // namespace veld
