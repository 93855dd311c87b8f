#pragma once

#include "FrameSource.h"
#include "Json.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// What is done where frames overlap.
enum class Layers
{
    mean, ///< The frame that saw a place best stays there, moved to the mean of all that saw it.
    best, ///< The frame that saw a place best stays there.
    all   ///< Every frame keeps its layer.
};

/// How frames become one mesh.
struct MergeSettings
{
    Layers layers = Layers::mean;
    double spacing = 0.0;       ///< Millimetres between neighbouring points; 0: measured.
    double stitch_radius = 0.0; ///< Millimetres; 0: by the spacing.
    double long_edge = 0.0;     ///< Millimetres; 0: by the spacing.
    int max_hole_edges = 30;
    int min_component = 100;
};

/// What merging made.
struct MergeResult
{
    OrvaneAlgorithm::TriMesh mesh;
    std::vector<int> vertex_frames;
    MergeSettings settings; ///< As they were taken: no length is 0.
    std::size_t frames = 0;
    std::size_t points = 0;  ///< Of all frames.
    std::size_t removed = 0; ///< Of these, taken out because a better frame saw the place.
    std::size_t holes = 0;
    double seconds = 0.0; ///< Of the merging alone.
};

/// Makes one mesh of frames, without non-manifold vertices. Lengths that are 0 follow the spacing
/// of the frames. \param source where the frames come from, for an error
MergeResult merge_frames(std::vector<NamedFrame> const& frames, std::string const& source,
                         MergeSettings const& settings);

Json to_json(MergeResult const& result);

/// Lines for people.
std::string to_text(std::string const& path, MergeResult const& result);

} // namespace veld
