#pragma once

namespace veld::cli
{

/// Exit status of the program. Stopped by a signal, it is 128 and the signal's number.
enum class ExitStatus
{
    DONE = 0,
    WRONG_INPUT = 1, ///< The input or the arguments are wrong: another call may do better.
    FAILED = 2       ///< The operation itself failed.
};

} // namespace veld::cli
