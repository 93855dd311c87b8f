#pragma once

#include <string>

namespace veld::cli
{

/// What ended the work.
struct Failure
{
    int status = 0;   ///< The exit status.
    std::string text; ///< One line.
};

/// What the exception on its way is about. To be called where one is caught.
Failure current_failure();

/// Says it in one line. \return the exit status
int report_failure();

/// Says in one line that a signal stopped the program. \return the exit status
int report_stop(int signal);

} // namespace veld::cli
