#include "commands/Program.h"

#include "commands/Command.h"
#include "options/Arguments.h"
#include "options/CommonOptions.h"
#include "shell/ExitStatus.h"
#include "shell/Failure.h"
#include "shell/Session.h"
#include "workflow/Error.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/solver.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
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
    add_command(program, entries, make_run_command(), "run",
                "Take a scan through all steps that fit, to a clean, closed, textured mesh");
    add_command(program, entries, make_info_command(), "info", "Count a mesh and check its health");
    add_command(program, entries, make_holes_command(), "holes", "Find the holes of a mesh");
    add_command(program, entries, make_fill_command(), "fill", "Close the holes of a mesh");
    add_command(program, entries, make_repair_command(), "repair",
                "Close the gaps of a torn mesh, or make a mesh of points with normals");
    add_command(program, entries, make_clean_command(), "clean",
                "Remove specks, ragged rims and what markers left");
    add_command(program, entries, make_sticks_command(), "sticks", "Cut sticks out of a mesh");
    add_command(program, entries, make_frames_command(), "frames",
                "Turn the frames of a scan into .rge files, or tell how well they agree");
    add_command(program, entries, make_align_command(), "align",
                "Refine the poses of frames, so that they agree where they overlap");
    add_command(program, entries, make_merge_command(), "merge",
                "Merge the frames of a scan into one mesh");
    add_command(program, entries, make_normals_command(), "normals",
                "Estimate the normals of clouds, and turn them outwards or to the sensor");
    add_command(program, entries, make_keyframes_command(), "keyframes",
                "Choose few photographs, or order all, by where they were taken");
    add_command(program, entries, make_texture_command(), "texture",
                "Give a mesh photographs as its texture");
    add_command(program, entries, make_render_command(), "render",
                "Draw a mesh, its holes in colour");
    add_command(program, entries, make_report_command(), "report",
                "Make one page of what a run did, with its model to turn");
    add_command(
        program, entries, make_demo_command(), "demo",
        "Scan and photograph an object made by code, merge its frames, clean the mesh, close its "
        "holes, texture it, draw it, and repair a torn copy");
    add_command(program, entries, make_completion_command(), "completion",
                "Print the script with which a shell completes these commands");
    add_command(program, entries, make_man_command(), "man", "Print the page of the manual");
    return entries;
}

void write_timings(std::string const& path, Outputs& outputs)
{
    if (!path.empty())
    {
        write_text_file(outputs.add(path), OrvaneAlgorithm::gLH.steps_as_json() + "\n");
    }
}

void check_files(Command const& command, CommonOptions const& options, Outputs const& outputs)
{
    auto files = command.outputs();
    if (!options.timings.empty())
    {
        files.push_back(options.timings);
    }
    outputs.check(files, command.inputs());
}

/// \return the exit status
int run_command(Command& command, CommonOptions const& options)
{
    Console console({options.json, options.quiet, command.writes_standard_output()});
    Session session({options.verbose, options.threads}, console);
    Outputs outputs(options.no_overwrite ? Existing::KEPT : Existing::REPLACED);
    for (auto const& directory : command.directories())
    {
        outputs.make_directory(directory);
    }
    check_files(command, options, outputs);

    Json const result = command.run({console, session.context(), outputs, options.verbose});
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
    console.release();
    return command.status();
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

void take_arguments(std::vector<std::unique_ptr<Entry>> const& entries)
{
    for (auto const& entry : entries)
    {
        if (entry->app->parsed())
        {
            refuse_empty_values(*entry->app);
            entry->command->take_arguments();
        }
    }
}

int parse_and_run(int argc, char const* const* argv)
{
    CLI::App program("Merges, cleans, textures and draws 3D scans, and closes their holes. Lengths "
                     "are mm.",
                     "veld");
    program.require_subcommand(1);
    program.set_version_flag("--version",
                             std::string("veld " VELD_VERSION "\ndirect solver: ") +
                                 OrvaneAlgorithm::solver_name(),
                             "Print the version and the direct solver of the library");
    program.footer("veld COMMAND --help explains a command with an example.\n"
                   "Exit status: 0 done, 1 the input or the arguments are wrong, "
                   "2 the operation failed, 129, 130, 141 and 143 stopped by the signals HUP, "
                   "INT, PIPE and TERM.");
    auto const entries = add_commands(program);
    try
    {
        refuse_cut_options(argc, argv);
        program.parse(argc, argv);
        take_arguments(entries);
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
            return run_command(*entry->command, entry->common);
        }
    }
    return static_cast<int>(ExitStatus::DONE);
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
