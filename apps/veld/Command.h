#pragma once

#include "Console.h"
#include "Json.h"
#include "OutputFile.h"

#include <memory>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace veld
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

    /// The directory for the outputs, made if it is not there; empty for none.
    virtual std::string directory() const { return {}; }

    /// The files that the command writes, which are tried before the work begins.
    virtual std::vector<std::string> outputs() const { return {}; }

    /// The files that the command reads. None of them may be an output.
    virtual std::vector<std::string> inputs() const { return {}; }

    /// Does the work and prints its text.
    /// \param outputs gets the files that are written; they are committed when all is done
    /// \return the result for `--json`
    virtual Json run(Console& console, Outputs& outputs) = 0;
};

std::unique_ptr<Command> make_info_command();
std::unique_ptr<Command> make_holes_command();
std::unique_ptr<Command> make_fill_command();
std::unique_ptr<Command> make_frames_command();
std::unique_ptr<Command> make_merge_command();
std::unique_ptr<Command> make_clean_command();
std::unique_ptr<Command> make_sticks_command();
std::unique_ptr<Command> make_render_command();
std::unique_ptr<Command> make_demo_command();

} // namespace veld
