#pragma once

namespace veld::cli
{

/// Says in one line what the exception on its way is about. To be called where one is caught.
/// \return the exit status
int report_failure();

/// Says in one line that a signal stopped the program. \return the exit status
int report_stop(int signal);

} // namespace veld::cli
