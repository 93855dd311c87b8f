#pragma once

#include <stdexcept>
#include <string>

namespace veld
{

/// Exit status of the program.
enum class ExitStatus
{
    done = 0,
    wrong_input = 1, ///< The input or the arguments are wrong: another call may do better.
    failed = 2       ///< The operation itself failed.
};

/// Ends a command with one line on standard error. The text names the file and what is wrong.
class CommandError : public std::runtime_error
{
public:
    ExitStatus status() const { return status_; }

protected:
    CommandError(std::string const& text, ExitStatus status)
        : std::runtime_error(text), status_(status)
    {
    }

private:
    ExitStatus status_;
};

/// The input or the arguments are wrong.
class InputError : public CommandError
{
public:
    explicit InputError(std::string const& text) : CommandError(text, ExitStatus::wrong_input) {}
};

/// The operation failed on an input that looked right.
class OperationError : public CommandError
{
public:
    explicit OperationError(std::string const& text) : CommandError(text, ExitStatus::failed) {}
};

} // namespace veld
