#pragma once

#include "shell/Console.h"
#include "workflow/Context.h"
#include "workflow/files/OutputFile.h"

namespace veld::cli
{

/// What a command works with.
struct Desk
{
    Console& console;
    Context& context;
    Outputs& outputs; ///< The files that it writes; they are committed when all is done.
    bool verbose;     ///< Whether long lists are wanted in full.
};

} // namespace veld::cli
