#pragma once

#include "workflow/Error.h"

#include <string>

namespace veld_test
{

/// What an error of the work says.
template <typename Work>
std::string reason_of(Work const& work)
{
    try
    {
        work();
    }
    catch (veld::Error const& error)
    {
        return error.what();
    }
    return "no error";
}

} // namespace veld_test
