#include "workflow/filling/FillValues.h"

namespace veld
{

bool is_short_enough(FillSettings const& settings, double perimeter)
{
    double const limit = settings.max_perimeter.value_or(0.0);
    return !(limit > 0.0) || perimeter < limit;
}

bool has_few_enough_edges(FillSettings const& settings, std::size_t edges)
{
    return edges <= static_cast<std::size_t>(edge_limit(settings));
}

int edge_limit(FillSettings const& settings)
{
    return settings.max_edges > 0 ? settings.max_edges : NO_LIMIT;
}

int patch_limit(FillSettings const& settings)
{
    return settings.max_patch > 0 ? settings.max_patch : NO_LIMIT;
}

int split_limit(FillSettings const& settings)
{
    bool const all_splits = settings.exact_edges <= 0 || settings.exact_edges == NO_LIMIT;
    return all_splits ? NO_LIMIT : settings.exact_edges + 1;
}

bool moves_regions(FillSettings const& settings)
{
    return settings.region != RegionHandling::NONE &&
           (settings.method == FillMethod::WHOLE || settings.method == FillMethod::MARKERS);
}

} // namespace veld
