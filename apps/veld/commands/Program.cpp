#include "commands/Program.h"

#include "commands/Command.h"
#include "shell/CommonOptions.h"
#include "shell/ExitStatus.h"
#include "shell/Session.h"
#include "workflow/Error.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/solver.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>
#include <new>
#include <vector>

namespace veld::cli
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
    add_command(program, entries, make_clean_command(), "clean",
                "Remove specks, ragged rims and what markers left");
    add_command(program, entries, make_sticks_command(), "sticks", "Cut sticks out of a mesh");
    add_command(program, entries, make_frames_command(), "frames",
                "Turn the frames of a scan into .rge files");
    add_command(program, entries, make_merge_command(), "merge",
                "Merge the frames of a scan into one mesh");
    add_command(program, entries, make_render_command(), "render",
                "Draw a mesh, its holes in colour");
    add_command(
        program, entries, make_demo_command(), "demo",
        "Scan an object made by code, merge its frames, clean the mesh, close its holes, draw it");
    return entries;
}

void write_timings(std::string const& path, Outputs& outputs)
{
    if (!path.empty())
    {
        write_text_file(outputs.add(path), OrvaneAlgorithm::gLH.steps_as_json() + "\n");
    }
}

void check_files(Command const& command, CommonOptions const& options)
{
    auto files = command.outputs();
    if (!options.timings.empty())
    {
        files.push_back(options.timings);
    }
    check_outputs(files, command.inputs());
}

void run_command(Command& command, CommonOptions const& options)
{
    Console console;
    console.set_json(options.json);
    Session session(options, console);
    Outputs outputs;
    if (!command.directory().empty())
    {
        outputs.make_directory(command.directory());
    }
    check_files(command, options);

    Json const result = command.run({console, session.context(), outputs});
    write_timings(options.timings, outputs);
    if (options.json)
    {
        console.print_json(result.dump(2, ' ', false, Json::error_handler_t::replace));
    }
    // A report that is lost is a failure, and a failure leaves no file behind.
    console.finish();
    if (session.context().cancel.is_cancelled())
    {
        throw OrvaneAlgorithm::Cancelled();
    }
    outputs.commit();
}

/// Refuses empty values, which would switch an option off without a word.
void refuse_empty_values(CLI::App const& app)
{
    for (auto const* option : app.get_options())
    {
        auto const& values = option->results();
        if (std::find(values.begin(), values.end(), std::string()) != values.end())
        {
            throw CLI::ValidationError(option->get_name(), "the value is empty");
        }
    }
}

/// Refuses "--option=", for which the parser would take the next argument.
void refuse_cut_options(int argc, char const* const* argv)
{
    for (int i = 1; i < argc; ++i)
    {
        std::string const argument = argv[i];
        if (argument.size() > 3 && argument.compare(0, 2, "--") == 0 && argument.back() == '=' &&
            argument.find('=') == argument.size() - 1)
        {
            throw CLI::ValidationError(argument.substr(0, argument.size() - 1),
                                       "the value is empty");
        }
    }
}

/// The first argument that is no option, or nothing.
std::string first_word(int argc, char const* const* argv)
{
    for (int i = 1; i < argc; ++i)
    {
        if (argv[i][0] != '-')
        {
            return argv[i];
        }
    }
    return {};
}

/// The parser's message names its options; what is missing is where the help stands.
int report_wrong_arguments(CLI::App const& program, std::string const& message)
{
    std::string command = "veld";
    for (auto const* sub : program.get_subcommands())
    {
        command += " " + sub->get_name();
    }
    print_error(one_line(message) + " (see " + command + " --help)");
    return static_cast<int>(ExitStatus::WRONG_INPUT);
}

int print_help(CLI::App const& program, CLI::Success const& help)
{
    program.exit(help);
    if (!std::cout.flush())
    {
        throw OperationError("standard output: cannot be written");
    }
    return static_cast<int>(ExitStatus::DONE);
}

int parse_and_run(int argc, char const* const* argv)
{
    CLI::App program("Merges, cleans and draws 3D scans, and closes their holes. Lengths are mm.",
                     "veld");
    program.require_subcommand(1);
    program.set_version_flag("--version",
                             std::string("veld " VELD_VERSION "\ndirect solver: ") +
                                 OrvaneAlgorithm::solver_name(),
                             "Print the version and the direct solver of the library");
    program.footer("veld COMMAND --help explains a command with an example.\n"
                   "Exit status: 0 done, 1 the input or the arguments are wrong, "
                   "2 the operation failed, 130 and 143 stopped by Ctrl-C and TERM.");
    auto const entries = add_commands(program);
    try
    {
        refuse_cut_options(argc, argv);
        program.parse(argc, argv);
        for (auto const* sub : program.get_subcommands())
        {
            refuse_empty_values(*sub);
        }
    }
    catch (CLI::Success const& help)
    {
        return print_help(program, help);
    }
    catch (CLI::ParseError const& error)
    {
        std::string const word = first_word(argc, argv);
        bool const unknown =
            !word.empty() && program.get_subcommands().empty() &&
            std::none_of(entries.begin(), entries.end(),
                         [&word](auto const& entry) { return entry->app->get_name() == word; });
        return report_wrong_arguments(program,
                                      unknown ? "unknown command '" + word + "'" : error.what());
    }
    for (auto const& entry : entries)
    {
        if (entry->app->parsed())
        {
            run_command(*entry->command, entry->common);
        }
    }
    return static_cast<int>(ExitStatus::DONE);
}

/// The setting of a step as an option.
std::string option_of(std::string setting)
{
    std::replace(setting.begin(), setting.end(), '_', '-');
    return "--" + setting;
}

int report_stop(int signal)
{
    print_line(signal == SIGINT ? "stopped by Ctrl-C: nothing was written"
                                : "stopped: nothing was written");
    return 128 + signal;
}

void print_reason(Error const& error)
{
    print_error(error.setting().empty()
                    ? error.what()
                    : std::string(error.what()) + " (see " + option_of(error.setting()) + ")");
}

/// Says in one line what the exception on its way is about. \return the exit status
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

} // namespace

int run_program(int argc, char const* const* argv)
{
    try
    {
        return parse_and_run(argc, argv);
    }
    catch (...)
    {
        return Signals::received() != 0 ? report_stop(Signals::received()) : report_failure();
    }
}

} // namespace veld::cli
