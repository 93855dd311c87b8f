#pragma once

namespace veld::cli
{

/// Parses the arguments and runs the command that they name.
/// \return the exit status: 0 done, 1 wrong input or arguments, 2 the operation failed
int run_program(int argc, char const* const* argv);

} // namespace veld::cli
