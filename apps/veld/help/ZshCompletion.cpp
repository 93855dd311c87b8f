#include "help/Completion.h"

#include <fmt/format.h>

namespace veld::cli
{

namespace
{

/// A text inside a single-quoted word of a list, where brackets and colons part its fields.
std::string escaped(std::string const& text)
{
    std::string result;
    for (char const c : text)
    {
        if (c == '\'')
        {
            result += "'\\''";
            continue;
        }
        if (c == '\\' || c == '[' || c == ']' || c == ':')
        {
            result += '\\';
        }
        result += c;
    }
    return result;
}

std::string action_of(OptionHelp const& option)
{
    switch (option.kind)
    {
    case ValueKind::CHOICE:
        return fmt::format("({})", fmt::join(option.choices, " "));
    case ValueKind::FILE:
        return "_files";
    case ValueKind::DIRECTORY:
        return "_files -/";
    default:
        return " ";
    }
}

/// "(-o --output)" in front of a name: the others are no use behind it.
std::string excluded(OptionHelp const& option)
{
    return option.is_repeatable ? std::string("*")
                                : fmt::format("({})", fmt::join(option.names, " "));
}

/// The words by which `_arguments` knows an option, one for each of its names.
std::vector<std::string> words_of(OptionHelp const& option)
{
    std::vector<std::string> lines;
    for (auto const& name : option.names)
    {
        bool const is_long = name.compare(0, 2, "--") == 0;
        bool const has_value = option.kind != ValueKind::NONE;
        std::string line = fmt::format("'{}{}{}[{}]", excluded(option), name,
                                       !has_value ? ""
                                       : is_long  ? "="
                                                  : "+",
                                       escaped(option.text));
        if (has_value)
        {
            line += fmt::format(":{}:{}", escaped(option.value), action_of(option));
        }
        lines.push_back(line + "'");
    }
    return lines;
}

std::string case_of(CommandHelp const& command)
{
    std::vector<std::string> lines;
    for (auto const& option : command.options)
    {
        auto const more = words_of(option);
        lines.insert(lines.end(), more.begin(), more.end());
    }
    for (auto const& argument : command.arguments)
    {
        lines.push_back(fmt::format("'{}:{}:{}'", argument.is_repeatable ? "*" : "1",
                                    escaped(argument.value), action_of(argument)));
    }
    return fmt::format("    {})\n      _arguments \\\n        {}\n      ;;\n", command.name,
                       fmt::join(lines, " \\\n        "));
}

} // namespace

std::string zsh_completion(ProgramHelp const& program)
{
    std::string list;
    std::string cases;
    for (auto const& command : program.commands)
    {
        list += fmt::format("    '{}:{}'\n", command.name, escaped(command.text));
        cases += case_of(command);
    }
    std::vector<std::string> first;
    for (auto const& option : program.options)
    {
        auto const more = words_of(option);
        first.insert(first.end(), more.begin(), more.end());
    }
    return fmt::format(
        "#compdef {0}\n# zsh completion of {0}, printed by \"{0} completion zsh\"\n\n"
        "_{0}() {{\n  local curcontext=$curcontext state line\n"
        "  local -a commands=(\n{1}  )\n"
        "  _arguments -C \\\n    {2} \\\n    '1:command:->command' \\\n"
        "    '*::argument:->argument'\n"
        "  case $state in\n  command)\n    _describe command commands\n    ;;\n"
        "  argument)\n    case $words[1] in\n{3}    esac\n    ;;\n  esac\n}}\n\n"
        "if [[ $funcstack[1] == _{0} ]]; then\n  _{0} \"$@\"\nelse\n"
        "  compdef _{0} {0}\nfi\n",
        program.name, list, fmt::join(first, " \\\n    "), cases);
}

} // namespace veld::cli
