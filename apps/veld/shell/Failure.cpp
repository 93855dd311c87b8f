#include "shell/Failure.h"

#include "shell/Console.h"
#include "shell/ExitStatus.h"
#include "shell/SettingNames.h"
#include "workflow/Error.h"

#include <csignal>
#include <exception>
#include <new>
#include <string>

namespace veld::cli
{

namespace
{

std::string reason_of(Error const& error)
{
    return with_option(error.what(), error.setting());
}

} // namespace

int report_stop(int signal)
{
#if !defined(_WIN32)
    if (signal == SIGPIPE)
    {
        return 128 + signal; // whoever has closed the pipe wants no more, and needs no word
    }
#endif
    print_line(signal == SIGINT ? "stopped by Ctrl-C: nothing unfinished was written"
                                : "stopped: nothing unfinished was written");
    return 128 + signal;
}

Failure current_failure()
{
    auto const failed = static_cast<int>(ExitStatus::FAILED);
    try
    {
        throw;
    }
    catch (InputError const& error)
    {
        return {static_cast<int>(ExitStatus::WRONG_INPUT), reason_of(error)};
    }
    catch (Error const& error)
    {
        return {failed, reason_of(error)};
    }
    catch (std::bad_alloc const&)
    {
        return {failed, "the memory is not enough"};
    }
    catch (std::exception const& error)
    {
        return {failed, error.what()};
    }
}

int report_failure()
{
    Failure const failure = current_failure();
    print_error(failure.text);
    return failure.status;
}

} // namespace veld::cli
