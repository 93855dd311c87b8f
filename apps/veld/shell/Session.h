#pragma once

#include "shell/Console.h"
#include "shell/Signals.h"
#include "workflow/Context.h"

namespace veld::cli
{

/// What a session takes of the command line.
struct SessionSettings
{
    bool verbose = false; ///< The library's log on standard error.
    int threads = 0;      ///< 0 leaves it to the machine.
};

/// Sets the library up for one command: threads, log, progress, signals. Takes its hooks back at
/// the end, also when an exception leaves the command.
class Session
{
public:
    Session(SessionSettings const& settings, Console& console);
    ~Session();
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

    Context& context() { return context_; }

private:
    Context context_;
    Signals signals_;
};

} // namespace veld::cli
