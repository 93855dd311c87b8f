#pragma once

#include "shell/CommonOptions.h"
#include "shell/Console.h"
#include "shell/Signals.h"
#include "workflow/Context.h"

namespace veld::cli
{

/// Sets the library up for one command: threads, log, progress, signals. Takes its hooks back at
/// the end, also when an exception leaves the command.
class Session
{
public:
    Session(CommonOptions const& options, Console& console);
    ~Session();
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

    Context& context() { return context_; }

private:
    Context context_;
    Signals signals_;
};

} // namespace veld::cli
