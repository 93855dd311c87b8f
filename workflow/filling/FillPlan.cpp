#include "workflow/filling/FillPlan.h"

#include "workflow/filling/FillValues.h"

#include <algorithm>

namespace veld
{

namespace
{

FillSettings with_method(FillSettings settings, FillMethod method)
{
    settings.method = method;
    return settings;
}

/// Who names a careful method wants all loops filled, also those that turn back.
FillSettings pass_of_method(FillSettings settings)
{
    if (settings.method != FillMethod::CLIP && settings.method != FillMethod::TRIM)
    {
        settings.normal_angle = 180.0;
    }
    return settings;
}

std::vector<FillSettings> passes_of_auto(FillSettings settings)
{
    settings.region = RegionHandling::NONE;
    std::vector<FillSettings> passes;
    if (!settings.markers.points.empty())
    {
        passes.push_back(pass_of_method(with_method(settings, FillMethod::MARKERS)));
    }
    if (settings.small_edges > 0)
    {
        passes.push_back(with_method(settings, FillMethod::TRIM));
        passes.back().max_edges = std::min(edge_limit(settings), settings.small_edges);
    }
    passes.push_back(with_method(settings, FillMethod::CORE));
    passes.push_back(with_method(settings, FillMethod::WHOLE));
    return passes;
}

} // namespace

std::vector<FillSettings> plan_passes(std::vector<FillSettings> const& given, double max_perimeter)
{
    std::vector<FillSettings> passes;
    for (auto const& settings : given)
    {
        auto const planned = settings.method == FillMethod::AUTO
                                 ? passes_of_auto(settings)
                                 : std::vector<FillSettings>{pass_of_method(settings)};
        passes.insert(passes.end(), planned.begin(), planned.end());
    }
    for (auto& pass : passes)
    {
        pass.max_perimeter = pass.max_perimeter.value_or(max_perimeter);
    }
    return passes;
}

} // namespace veld
