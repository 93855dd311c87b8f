#include "workflow/steps/Keyframes.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"

#include "algorithmVeld/TextureFusion/SelectKeyframes.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <fmt/format.h>

namespace veld
{

using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::SelectKeyframes;

namespace
{

void check(std::vector<RigidMatrix> const& poses, KeyframesSettings const& settings)
{
    if (settings.cells < 1 || settings.cells > MOST_KEYFRAME_CELLS)
    {
        throw InputError(
            fmt::format("the space of the cameras is divided into 1 to {} cells, not {}",
                        MOST_KEYFRAME_CELLS, settings.cells),
            "cells");
    }
    if (poses.empty())
    {
        throw InputError("there are no views");
    }
    for (std::size_t i = 0; i < poses.size(); ++i)
    {
        // Positions are kept as floats, in which large ones are not finite any more.
        if (!poses[i].inverse().get_translation().cast<float>().allFinite())
        {
            throw InputError(fmt::format("view {}: the place of the camera is not finite", i));
        }
    }
}

} // namespace

KeyframesResult choose_keyframes(std::vector<RigidMatrix> const& poses,
                                 KeyframesSettings const& settings, Context& context)
{
    check(poses, settings);
    StepScope const scope(context, "choose-keyframes", "choose the key frames");
    SelectKeyframes selector;
    selector.set_voxel_num(settings.cells);
    std::vector<int> numbers;
    if (settings.method == KeyframesMethod::SORT)
    {
        selector.space_based_sort(poses, numbers, gPH.log_enabled);
    }
    else
    {
        selector.space_based_selection(poses, numbers, gPH.log_enabled);
    }
    KeyframesResult result;
    result.views.assign(numbers.begin(), numbers.end());
    result.all_views = poses.size();
    result.settings = settings;
    return result;
}

KeyframesResult choose_keyframes(std::vector<PhotoView> const& views,
                                 KeyframesSettings const& settings, Context& context)
{
    std::vector<RigidMatrix> poses;
    poses.reserve(views.size());
    for (auto const& view : views)
    {
        poses.push_back(view.pose);
    }
    KeyframesResult result = choose_keyframes(poses, settings, context);
    for (std::size_t const view : result.views)
    {
        result.images.push_back(views[view].image);
    }
    return result;
}

} // namespace veld
