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

} // namespace veld
