#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace veld::cli
{

/// What stands behind an option, or is an argument by itself.
enum class ValueKind
{
    NONE,
    TEXT,
    CHOICE,
    FILE,
    DIRECTORY
};

/// An option or an argument of a command.
struct OptionHelp
{
    std::vector<std::string> names; ///< "-o", "--output"; of an argument, what it is called.
    std::string text;
    std::string value; ///< What help calls the value.
    ValueKind kind = ValueKind::NONE;
    std::vector<std::string> choices;
    bool is_required = false;
    bool is_repeatable = false;
    bool is_common = false; ///< Every command has it.
};

struct CommandHelp
{
    std::string name;
    std::string text;
    std::string example; ///< A command line; empty if there is none.
    std::vector<OptionHelp> arguments;
    std::vector<OptionHelp> options;
};

/// All that the parser knows of the program.
struct ProgramHelp
{
    std::string name;
    std::string text;
    std::vector<std::string> footer; ///< Line by line.
    std::vector<OptionHelp> options;
    std::vector<CommandHelp> commands;
};

ProgramHelp help_texts(CLI::App const& program);

} // namespace veld::cli
