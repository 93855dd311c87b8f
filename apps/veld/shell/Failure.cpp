#include "shell/Failure.h"

#include "shell/Console.h"
#include "shell/ExitStatus.h"
#include "workflow/Error.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <new>
#include <string>

namespace veld::cli
{

namespace
{

/// The setting of a step as an option.
std::string option_of(std::string setting)
{
    std::replace(setting.begin(), setting.end(), '_', '-');
    return "--" + setting;
}

void print_reason(Error const& error)
{
    print_error(error.setting().empty()
                    ? error.what()
                    : std::string(error.what()) + " (see " + option_of(error.setting()) + ")");
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
    print_line(signal == SIGINT ? "stopped by Ctrl-C: nothing was written"
                                : "stopped: nothing was written");
    return 128 + signal;
}

int report_failure()
{
    try
    {
        throw;
    }
    catch (InputError const& error)
    {
        print_reason(error);
        return static_cast<int>(ExitStatus::WRONG_INPUT);
    }
    catch (Error const& error)
    {
        print_reason(error);
    }
    catch (std::bad_alloc const&)
    {
        print_error("the memory is not enough");
    }
    catch (std::exception const& error)
    {
        print_error(error.what());
    }
    return static_cast<int>(ExitStatus::FAILED);
}

} // namespace veld::cli
