#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// What is done where frames overlap.
enum class Layers
{
    MEAN, ///< The frame that saw a place best stays there, moved to the mean of all that saw it.
    BEST, ///< The frame that saw a place best stays there.
    ALL   ///< Every frame keeps its layer.
};

/// How frames become one mesh.
struct MergeSettings
{
    Layers layers = Layers::MEAN;
    double spacing = 0.0;       ///< Millimetres between neighbouring points; 0: measured.
    double stitch_radius = 0.0; ///< Half of the distance in millimetres in which a border looks for
                                ///< another one; 0: one spacing.
    double long_edge = 0.0;     ///< Border edges longer than this in millimetres are cut away; 0:
                                ///< five spacings.
    int max_hole_edges = 30;    ///< Holes of at most so many edges are closed at the end.
    int min_component = 100;    ///< Pieces of so many faces or fewer are removed.
};

/// What merging made.
struct MergeResult
{
    OrvaneAlgorithm::TriMesh mesh;  ///< Without non-manifold vertices.
    std::vector<int> vertex_frames; ///< For each vertex the number of its frame.
    MergeSettings settings;         ///< As they were taken: no length is 0.
    std::size_t frames = 0;
    std::size_t points = 0;  ///< Of all frames.
    std::size_t removed = 0; ///< Of these, taken out because a better frame saw the place.
    std::size_t holes = 0;
    double seconds = 0.0; ///< Of the merging alone.
};

/// Makes one mesh of frames: takes the overlap out, stitches what is left, closes small holes and
/// removes small pieces and pinched vertices. The same bytes for any number of threads.
///
/// Throws `InputError` where the spacing cannot be measured, `OperationError` where nothing is
/// left.
VELD_WORKFLOW_API MergeResult merge(FrameSet const& frames, MergeSettings const& settings,
                                    Context& context);

} // namespace veld
