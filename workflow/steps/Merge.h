#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <map>
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

/// The way in which borders of frames become one surface.
enum class MergeMethod
{
    STITCH, ///< Borders are stitched in parallel, holes closed by ears of any kind.
    OUTLIER ///< Loose points off the surface go first; borders are stitched vertex after vertex,
            ///< and holes closed by convex ears.
};

/// Whether the frames are smoothed, thinned and made one layer before the overlap is taken out.
enum class Preparation
{
    AUTO,   ///< Where points may move, all frames are of cameras, and their noise exceeds half of
            ///< their spacing.
    NEVER,  ///< Points stay what the scanner measured.
    ALWAYS, ///< Also where there is little noise; all frames have to be of cameras.
};

/// "auto", "never", "always".
VELD_WORKFLOW_API std::map<std::string, Preparation> const& preparations();

/// "stitch", "outlier".
VELD_WORKFLOW_API std::map<std::string, MergeMethod> const& merge_methods();
VELD_WORKFLOW_API std::string to_string(MergeMethod method);

/// How frames become one mesh.
struct MergeSettings
{
    MergeMethod method = MergeMethod::STITCH; ///< How borders become one surface.
    Layers layers = Layers::MEAN;             ///< What is done where frames overlap.
    double spacing = 0.0;       ///< Millimetres between neighbouring points; 0: measured.
    double stitch_radius = 0.0; ///< Half of the distance in millimetres in which a border looks for
                                ///< another one; 0: one spacing, as `OUTLIER` always has it.
    double long_edge = 0.0;     ///< Border edges longer than this in millimetres are cut away; 0:
                                ///< five spacings, of frames that are smoothed eight, or one and a
                                ///< half closed steps.
    int max_hole_edges = 30;    ///< Holes of at most so many edges are closed at the end.
    int min_component = 100;    ///< Pieces of so many faces or fewer are removed.
    int neighbour_factor = 8;   ///< Longest stitched edge, in spacings.
    double normal_angle = 30.0; ///< Largest angle in degrees between a stitched face and others.
    double ear_edge_factor = 5.0;    ///< Longest edge that closes an ear at first, in spacings.
    double ear_normal_angle = 150.0; ///< Largest turn of such an ear, in degrees.

    // outlier
    bool cut_long_edges = true; ///< Whether long border edges are cut away at all.
    /// Multiple of the mean squared distance of the border around from its plane beyond which a
    /// loose point goes; 0: none goes.
    double outlier_factor = 5.0;

    // frames of depth cameras
    /// Whether frames are smoothed and thinned first.
    Preparation preparation = Preparation::AUTO;
    double noise = 0.0; ///< Standard deviation in millimetres of depths at 1 m, which grows with
                        ///< the square of the depth; 0: measured.
    double closed_step = 0.0; ///< Steps of depth are closed where no frame looked through, by faces
                              ///< with edges of up to so many millimetres; 0: a tenth of the depth
                              ///< in the middle.
    double join_angle = 120.0; ///< In the end pieces are joined across creases by faces of up to
                               ///< this angle in degrees against their corners; 0: they are not.
};

/// What merging made.
struct MergeResult
{
    OrvaneAlgorithm::TriMesh mesh;  ///< Without non-manifold vertices.
    std::vector<int> vertex_frames; ///< For each vertex the number of its frame.
    MergeSettings settings;         ///< As they were taken: no length is 0.
    std::size_t frames = 0;         ///< Frames that were merged.
    std::size_t points = 0;         ///< Of all frames.
    std::size_t removed = 0;        ///< Points taken out because a better frame saw the place.
    std::size_t outliers = 0;       ///< Of the others, loose points off the surface.
    FrameNoise noise;               ///< As it was taken.
    bool prepared = false;          ///< Whether the frames were smoothed and thinned first.
    std::size_t smooth = 0;         ///< Points that were left of them then.
    double tolerance = 0.0;    ///< Layers nearer to each other than this, in mm, were one then.
    double disagreement = 0.0; ///< Median distance in mm between frames where they overlapped then.
    std::size_t holes = 0;     ///< Holes that are left, the outer border among them.
    double seconds = 0.0;      ///< Of the merging alone.
};

/// Makes one mesh of frames: takes the overlap out, stitches what is left, closes small holes and
/// removes small pieces and pinched vertices. The same bytes for any number of threads.
///
/// Throws `InputError` where the spacing cannot be measured, `OperationError` where nothing is
/// left.
VELD_WORKFLOW_API MergeResult merge(FrameSet const& frames, MergeSettings const& settings,
                                    Context& context);

/// The same, also of frames of `load_bare_frames`, and drops those of depth cameras on the way:
/// they may be most of the memory.
VELD_WORKFLOW_API MergeResult merge(FrameSet&& frames, MergeSettings const& settings,
                                    Context& context);

} // namespace veld
