#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/photos/Photos.h"

#include "algorithmVeld/common/RigidMatrix.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// The most cells that the space of the cameras is divided into along its longest side.
constexpr int MOST_KEYFRAME_CELLS = 1 << 20;

/// What is done with the views.
enum class KeyframesMethod
{
    SELECT, ///< One view of each cell is chosen.
    SORT    ///< All are put in order, so that the first ones cover the whole space.
};

/// How key frames are chosen.
struct KeyframesSettings
{
    KeyframesMethod method = KeyframesMethod::SELECT; ///< What is asked for.
    int cells = 5; ///< Cubes along the longest side of the space of the cameras, 1 to 2^20.
};

/// Views of a scan, chosen or in order.
struct KeyframesResult
{
    std::vector<std::size_t> views;  ///< By number, from 0: rising if chosen, or the best first.
    std::vector<std::string> images; ///< Their photographs; empty where names are not known.
    std::size_t all_views = 0;       ///< From which they were taken.
    KeyframesSettings settings;      ///< As they were taken.
};

/// Chooses views, or orders them, by where their cameras stand and look; no photograph is read.
/// Throws `InputError` where there are no views, a camera has no place, or a setting is none.
/// \param poses from world to camera coordinates, lengths in any unit
VELD_WORKFLOW_API KeyframesResult
choose_keyframes(std::vector<OrvaneAlgorithm::RigidMatrix> const& poses,
                 KeyframesSettings const& settings, Context& context);

/// The same with the names of the photographs.
VELD_WORKFLOW_API KeyframesResult choose_keyframes(std::vector<PhotoView> const& views,
                                                   KeyframesSettings const& settings,
                                                   Context& context);

} // namespace veld
