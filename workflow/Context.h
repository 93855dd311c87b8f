#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/RunScope.h"

#include <functional>
#include <optional>
#include <string>

namespace veld
{

/// What a warning is of, for hosts that treat some of them in their own way.
enum class WarningCode
{
    FACES_LEFT_OUT, ///< Faces of a mesh file that are not in the mesh.
    MESH_MENDED,    ///< A mesh file of which a mesh had to be made, without losing a face.
    VALUES_DROPPED, ///< What a mesh file carries, or the output cannot hold, and that is not kept.
    FRAME_LEFT_OUT, ///< A frame that cannot be used.
    FRAME_MENDED,   ///< A frame that had to be mended.
    PATCH_UNFAIRED, ///< A filling that is too large to be made smooth.
    MESH_CUT_AWAY,  ///< More than half of a mesh that lay in the regions around its holes.
    MARKER_WITHOUT_HOLE, ///< Markers near which no hole lies.
    UNITS_UNLIKELY,      ///< Lengths that look like those of another unit.
    STICK_EMPTY,         ///< A stick of which nothing was found.
    NOTHING_CLOSED,      ///< A repair that closed nothing, or nothing there to be filled.
    NORMALS_MISSING,     ///< Points that have no normal, for no plane fits them.
    POINTS_REPEATED,     ///< Points in the place of another one, which get no face.
    POINTS_LEFT,         ///< A cloud of which much has no face behind a repair.
    FACES_UNSEEN,        ///< A mesh of which much is seen by no photograph.
    FACES_TURNED,        ///< A mesh of which much looks away from the cameras that see it.
    HOLES_COLOURLESS,    ///< Places without a photograph that are too large to get colours.
    IMAGE_LARGE,         ///< An image that few programs can show.
    PHOTOS_REPEATED,     ///< Views that all name one photograph.
    REPORT_GAP,          ///< A file of a run that is missing in the page about it.
    FRAME_OFF,           ///< A frame that does not lie where the others have the surface.
    POSES_OFF,           ///< Frames that are farther off each other than what works on them bears.
    MERGE_IN_SHREDS      ///< A merged mesh of long borders, many pieces or few of the points.
};

/// Something that a person should know of a result that is there all the same.
struct Warning
{
    WarningCode code;         ///< What it is of.
    std::string about;        ///< The file, frame or hole.
    std::string text;         ///< A sentence without the file's name and without a full stop.
    std::string setting = {}; ///< With which another try may do better; empty if none.
};

/// How far a step is.
struct Progress
{
    std::string step;      ///< What is being done, in words.
    double fraction = 0.0; ///< Of the whole call, 0 to 1. It only grows.
};

/// What runs through all steps. The functions are called by one thread at a time, not always by the
/// one that called the step; they may be empty.
struct Context
{
    std::function<void(Warning const&)> warn;      ///< Gets each warning.
    std::function<void(Progress const&)> progress; ///< Gets how far the step is.

    /// Asks the step to end. It then leaves by `OrvaneAlgorithm::Cancelled`, with its input as it
    /// was and no file left behind.
    OrvaneAlgorithm::CancelToken cancel;

    int threads = 0; ///< Number of threads; 0 leaves it to OpenMP.
};

/// A context whose warnings are changed on their way to those of another one.
/// \param whole what it is otherwise; its sink may be empty
/// \param change gets each warning, also where there is no sink, and gives what goes on; nothing
///        keeps it back
VELD_WORKFLOW_API Context with_warnings(Context const& whole,
                                        std::function<std::optional<Warning>(Warning)> change);

/// A context for a part of the work: its progress is that of the whole from `begin` to `end`.
VELD_WORKFLOW_API Context share_of(Context const& whole, double begin, double end);

} // namespace veld
