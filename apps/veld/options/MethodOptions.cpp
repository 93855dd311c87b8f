#include "options/MethodOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

namespace veld::cli
{

void MethodOptions::add(CLI::Option* option, std::vector<std::string> methods, std::string why)
{
    uses_.push_back({option, std::move(methods), std::move(why)});
}

void MethodOptions::refuse_unused(std::string const& method, std::string const& choice) const
{
    for (auto const& [option, methods, why] : uses_)
    {
        if (option->count() > 0 &&
            std::find(methods.begin(), methods.end(), method) == methods.end())
        {
            throw CLI::ValidationError(option->get_name(), choice + " " + method +
                                                               " does not use it" +
                                                               (why.empty() ? why : ": " + why));
        }
    }
}

} // namespace veld::cli
