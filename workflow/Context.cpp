#include "workflow/Context.h"

#include <utility>

namespace veld
{

Context with_warnings(Context const& whole, std::function<std::optional<Warning>(Warning)> change)
{
    Context part = whole;
    part.warn = [warn = whole.warn, change = std::move(change)](Warning const& warning)
    {
        std::optional<Warning> const changed = change(warning);
        if (warn && changed)
        {
            warn(*changed);
        }
    };
    return part;
}

Context share_of(Context const& whole, double begin, double end)
{
    Context part = whole;
    if (whole.progress)
    {
        part.progress = [tell = whole.progress, begin, end](Progress const& progress) {
            tell({progress.step, begin + (end - begin) * progress.fraction});
        };
    }
    return part;
}

} // namespace veld
