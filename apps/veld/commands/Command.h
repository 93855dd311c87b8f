#pragma once

#include "shell/Desk.h"
#include "workflow/Error.h"
#include "workflow/files/Json.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace veld::cli
{

/// One command of the program: declares its options, then runs.
class Command
{
public:
    Command() = default;
    virtual ~Command() = default;
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    /// Adds the command's own options and its example.
    virtual void add_options(CLI::App& app) = 0;

    /// Takes note that all arguments are there. Refuses those that do not go together, by the
    /// parser's exception.
    virtual void take_arguments() {}

    /// Whether standard output is an output's, so that the report goes beside it.
    virtual bool writes_standard_output() const { return false; }

    /// The directory for the outputs, made if it is not there; empty for none.
    virtual std::filesystem::path directory() const { return {}; }

    /// The same for a command that has several.
    virtual std::vector<std::filesystem::path> directories() const
    {
        auto const one = directory();
        return one.empty() ? std::vector<std::filesystem::path>() : std::vector{one};
    }

    /// The files that the command writes, which are tried before the work begins.
    virtual std::vector<std::filesystem::path> outputs() const { return {}; }

    /// The files that the command reads. None of them may be an output.
    virtual std::vector<std::filesystem::path> inputs() const { return {}; }

    /// Does the work and prints its text.
    /// \return the result for `--json`
    virtual Json run(Desk const& desk) = 0;

    /// The exit status after `run` where a part of the work failed and the rest was done; 0 if
    /// none.
    virtual int status() const { return 0; }
};

/// Runs a step on what a file held: an error names the file.
template <typename Work>
decltype(auto) about(std::string const& file, Work const& work)
{
    try
    {
        return work();
    }
    catch (InputError const& error)
    {
        throw InputError(file + ": " + error.what(), error.setting());
    }
    catch (OperationError const& error)
    {
        throw OperationError(file + ": " + error.what(), error.setting());
    }
}

std::unique_ptr<Command> make_info_command();
std::unique_ptr<Command> make_holes_command();
std::unique_ptr<Command> make_fill_command();
std::unique_ptr<Command> make_frames_command();
std::unique_ptr<Command> make_align_command();
std::unique_ptr<Command> make_merge_command();
std::unique_ptr<Command> make_repair_command();
std::unique_ptr<Command> make_clean_command();
std::unique_ptr<Command> make_normals_command();
std::unique_ptr<Command> make_keyframes_command();
std::unique_ptr<Command> make_sticks_command();
std::unique_ptr<Command> make_texture_command();
std::unique_ptr<Command> make_render_command();
std::unique_ptr<Command> make_report_command();
std::unique_ptr<Command> make_run_command();
std::unique_ptr<Command> make_demo_command();
std::unique_ptr<Command> make_completion_command();
std::unique_ptr<Command> make_man_command();

} // namespace veld::cli
