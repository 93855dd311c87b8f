#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/reconstruction/FrameAlignment.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// No refinement takes more rounds than this.
constexpr int MOST_ALIGNMENT_ROUNDS = 1000;

/// How poses of frames are compared and refined.
struct AlignSettings
{
    double reach = 0.0; ///< How far frames may be off each other, in millimetres; 0: a fiftieth of
                        ///< the size of a frame.
    int rounds = 80;    ///< Most rounds of the refinement, up to `MOST_ALIGNMENT_ROUNDS`.
    double noise = 0.0; ///< Standard deviation in millimetres of depths at 1 m, which grows with
                        ///< the square of the depth; 0: measured.
};

/// How well frames agree where they overlap.
struct FrameCheck
{
    OrvaneAlgorithm::FrameAlignment::Agreement agreement; ///< Of pairs and of frames.
    std::vector<std::string> names;                       ///< Of the frames.
    std::vector<std::size_t> far_off;                     ///< Frames that lie far off the others.
    std::vector<std::size_t> alone;                       ///< Frames that overlap no other one.
    FrameNoise noise;                                     ///< As it was taken.
    double reach = 0.0;                                   ///< As it was taken, in millimetres.
};

/// Poses that were refined.
struct AlignResult
{
    std::vector<OrvaneAlgorithm::RigidMatrix> poses;              ///< Frame to global.
    std::vector<OrvaneAlgorithm::FrameAlignment::Motion> motions; ///< How far frames were moved.
    OrvaneAlgorithm::FrameAlignment::Agreement before;            ///< Of the poses as given.
    OrvaneAlgorithm::FrameAlignment::Agreement after;             ///< Of the refined ones.
    std::vector<std::string> names;                               ///< Of the frames.
    std::vector<int> numbers; ///< Of the frames, as their source counts.
    FrameNoise noise;         ///< As it was taken.
    double reach = 0.0;       ///< As it was taken, in millimetres.
    int rounds = 0;           ///< That it took.
    bool converged = false;   ///< Whether it ended because nothing moved any more.
    double seconds = 0.0;     ///< Of the refinement alone.
};

/// "moved", "held", "alone", "astray".
VELD_WORKFLOW_API std::string to_string(OrvaneAlgorithm::FrameAlignment::Fate fate);

/// Measures how far frames are off each other where they overlap, and warns of those that lie far
/// off the others, or that overlap none. Throws `InputError` where there is one frame only, and for
/// lengths that are no finite number of 0 or more.
VELD_WORKFLOW_API FrameCheck check_frames(FrameSet const& frames, AlignSettings const& settings,
                                          Context& context);

/// Refines the poses of all frames at once, so that they agree where they overlap. The first frame
/// stays. Warns of frames that stay, too, because they overlap none or would have gone too far. The
/// same for any number of threads.
///
/// Throws `InputError` where there is one frame only, or none overlaps another one, for lengths
/// that are no finite number of 0 or more, and for no round.
VELD_WORKFLOW_API AlignResult align(FrameSet const& frames, AlignSettings const& settings,
                                    Context& context);

/// The same, and drops the points of frames on the way: they may be most of the memory.
VELD_WORKFLOW_API AlignResult align(FrameSet&& frames, AlignSettings const& settings,
                                    Context& context);

/// Frames with other poses, such as those of `align`. What a photograph beside a frame shows stays
/// with its frame. Throws `InputError` where there are not as many poses, or one is no rigid
/// motion.
VELD_WORKFLOW_API FrameSet posed(FrameSet frames,
                                 std::vector<OrvaneAlgorithm::RigidMatrix> const& poses);

/// The files of a source of frames with its poses replaced, in a folder: a source of the same kind,
/// in the same unit.
class VELD_WORKFLOW_API AlignedSource
{
public:
    /// \param source as it was loaded \param folder for the new one
    /// \param scale with which it was loaded
    AlignedSource(std::filesystem::path source, std::filesystem::path const& folder, double scale);

    /// Refuses outputs that cannot be written, or that are one of the inputs.
    void check(Outputs const& outputs, std::vector<std::filesystem::path> const& inputs) const;

    /// Writes all files, and makes the directories for them. \return what names the new source
    std::filesystem::path write(AlignResult const& result, Outputs& outputs,
                                Context& context) const;

private:
    std::filesystem::path source_;
    std::filesystem::path folder_;
    double scale_;
};

} // namespace veld
