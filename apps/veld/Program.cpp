#include "Program.h"

#include "Command.h"
#include "CommonOptions.h"
#include "Errors.h"
#include "OutputFile.h"
#include "Session.h"

#include "algorithmVeld/common/LogHolder.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <new>
#include <vector>

namespace veld
{

namespace
{

/// A command with the part of the argument parser that belongs to it.
struct Entry
{
    std::unique_ptr<Command> command;
    CLI::App* app = nullptr;
    CommonOptions common;
};

void add_command(CLI::App& program, std::vector<std::unique_ptr<Entry>>& entries,
                 std::unique_ptr<Command> command, char const* name, char const* description)
{
    auto entry = std::make_unique<Entry>();
    entry->command = std::move(command);
    entry->app = program.add_subcommand(name, description);
    entry->command->add_options(*entry->app);
    add_common_options(*entry->app, entry->common);
    entries.push_back(std::move(entry));
}

std::vector<std::unique_ptr<Entry>> add_commands(CLI::App& program)
{
    std::vector<std::unique_ptr<Entry>> entries;
    add_command(program, entries, make_info_command(), "info", "Count a mesh and check its health");
    add_command(program, entries, make_holes_command(), "holes", "Find the holes of a mesh");
    add_command(program, entries, make_fill_command(), "fill", "Close the holes of a mesh");
    add_command(program, entries, make_render_command(), "render",
                "Draw a mesh, its holes in colour");
    add_command(program, entries, make_demo_command(), "demo",
                "Make a damaged scan, find its holes, close and draw them");
    return entries;
}

void write_timings(std::string const& path)
{
    if (!path.empty())
    {
        write_text_file(path, OrvaneAlgorithm::gLH.steps_as_json() + "\n");
    }
}

void run_command(Command& command, CommonOptions const& options)
{
    auto outputs = command.outputs();
    if (!options.timings.empty())
    {
        outputs.push_back(options.timings);
    }
    check_outputs(outputs, command.inputs());

    Console console;
    console.set_json(options.json);
    Session const session(options, console);
    Json const result = command.run(console);
    write_timings(options.timings);
    if (options.json)
    {
        console.print_json(result.dump(2, ' ', false, Json::error_handler_t::replace));
    }
    console.finish();
}

/// The parser's message names its options; what is missing is where the help stands.
int report_parse_error(CLI::App const& program, CLI::ParseError const& error)
{
    std::string command = "veld";
    for (auto const* sub : program.get_subcommands())
    {
        command += " " + sub->get_name();
    }
    print_error(one_line(error.what()) + " (see " + command + " --help)");
    return static_cast<int>(ExitStatus::wrong_input);
}

int parse_and_run(int argc, char const* const* argv)
{
    CLI::App program("Finds and closes the holes of 3D scans. Lengths are millimetres.", "veld");
    program.require_subcommand(1);
    program.set_version_flag("--version", "veld " VELD_VERSION, "Print the version");
    program.footer("veld COMMAND --help explains a command with an example.\n"
                   "Exit status: 0 done, 1 the input or the arguments are wrong, "
                   "2 the operation failed.");
    auto const entries = add_commands(program);
    try
    {
        program.parse(argc, argv);
    }
    catch (CLI::Success const& help)
    {
        return program.exit(help);
    }
    catch (CLI::ParseError const& error)
    {
        return report_parse_error(program, error);
    }
    for (auto const& entry : entries)
    {
        if (entry->app->parsed())
        {
            run_command(*entry->command, entry->common);
        }
    }
    return static_cast<int>(ExitStatus::done);
}

} // namespace

int run_program(int argc, char const* const* argv)
{
    try
    {
        return parse_and_run(argc, argv);
    }
    catch (CommandError const& error)
    {
        print_error(error.what());
        return static_cast<int>(error.status());
    }
    catch (std::bad_alloc const&)
    {
        print_error("the memory is not enough");
    }
    catch (std::exception const& error)
    {
        print_error(error.what());
    }
    return static_cast<int>(ExitStatus::failed);
}

} // namespace veld
