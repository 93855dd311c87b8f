#pragma once

#include "CommonOptions.h"
#include "Console.h"

#include <string>

namespace veld
{

/// Sets the library up for one command: threads, log, progress. Takes its hooks back at the end,
/// also when an exception leaves the command.
class Session
{
public:
    Session(CommonOptions const& options, Console& console);
    ~Session();
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
};

/// Times a step of the program itself, beside those of the library.
class Step
{
public:
    explicit Step(std::string name);
    ~Step();
    Step(Step const&) = delete;
    Step& operator=(Step const&) = delete;

private:
    std::string name_;
};

} // namespace veld
