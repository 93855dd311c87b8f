#include "help/HelpTexts.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace veld::cli
{

namespace
{

std::vector<std::string> split(std::string const& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
    {
        parts.push_back(part);
    }
    return parts;
}

ValueKind kind_of(std::string const& value)
{
    auto const is_one_of = [&value](std::vector<std::string> const& names)
    { return std::find(names.begin(), names.end(), value) != names.end(); };
    if (is_one_of({"FILE", "OUT", "PNG", "ORIGINAL", "MESH", "INPUT", "SOURCE"}))
    {
        return ValueKind::FILE;
    }
    return value == "DIR" ? ValueKind::DIRECTORY : ValueKind::TEXT;
}

/// The parser names a value "NAME", or "NAME:{one,two}" where it has to be one of these.
void describe_value(std::string const& type, OptionHelp& help)
{
    auto const colon = type.find(":{");
    help.value = type.substr(0, colon);
    help.kind = kind_of(help.value);
    if (colon != std::string::npos)
    {
        help.kind = ValueKind::CHOICE;
        help.choices = split(type.substr(colon + 2, type.find('}') - colon - 2), ',');
    }
}

OptionHelp describe(CLI::Option const& option)
{
    OptionHelp help;
    help.text = option.get_description();
    help.is_required = option.get_required();
    help.is_repeatable = option.get_items_expected_max() > 1;
    help.is_common = option.get_group() == COMMON_OPTIONS;
    for (auto const& name : option.get_snames())
    {
        help.names.push_back("-" + name);
    }
    for (auto const& name : option.get_lnames())
    {
        help.names.push_back("--" + name);
    }
    if (option.get_positional())
    {
        help.names = {option.get_name()};
        describe_value(option.get_type_name(), help);
        help.value = option.get_name();
        help.kind = help.choices.empty() ? kind_of(help.value) : ValueKind::CHOICE;
    }
    else if (option.get_items_expected_max() > 0)
    {
        describe_value(option.get_type_name(), help);
    }
    return help;
}

std::string example_of(CLI::App const& command)
{
    std::string const footer = command.get_footer();
    auto const line = footer.find("\n  ");
    return line == std::string::npos ? std::string() : footer.substr(line + 3);
}

CommandHelp describe(CLI::App const& command)
{
    CommandHelp help;
    help.name = command.get_name();
    help.text = command.get_description();
    help.example = example_of(command);
    for (auto const* option : command.get_options())
    {
        (option->get_positional() ? help.arguments : help.options).push_back(describe(*option));
    }
    return help;
}

} // namespace

ProgramHelp help_texts(CLI::App const& program)
{
    ProgramHelp help;
    help.name = program.get_name();
    help.text = program.get_description();
    help.footer = split(program.get_footer(), '\n');
    for (auto const* option : program.get_options())
    {
        help.options.push_back(describe(*option));
    }
    for (auto const* command : program.get_subcommands([](CLI::App const*) { return true; }))
    {
        help.commands.push_back(describe(*command));
    }
    return help;
}

} // namespace veld::cli
