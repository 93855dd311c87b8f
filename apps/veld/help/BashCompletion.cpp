#include "help/Completion.h"

#include <fmt/format.h>

namespace veld::cli
{

namespace
{

/// What the function has before and behind the words of the program. Files are bash's own
/// business, which knows how to quote them: the function leaves `COMPREPLY` empty there.
char const* const HEAD = R"(# bash completion of {0}, printed by "{0} completion bash"

_{0}_words()
{{
    local word
    while IFS= read -r word; do
        COMPREPLY+=("$word")
    done < <(compgen -W "$1" -- "$2")
}}

_{0}()
{{
    local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}}
    local command=${{COMP_WORDS[1]}} options=
    COMPREPLY=()
    # "--option=value" comes as three words.
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${{COMP_WORDS[COMP_CWORD - 2]}}
    fi
    if ((COMP_CWORD == 1)); then
        _{0}_words "{1}" "$current"
        return
    fi
)";

char const* const TAIL = R"(    if [[ $current == -* ]]; then
        _{0}_words "$options" "$current"
    fi
}}

complete -o default -F _{0} {0}
)";

std::string joined(std::vector<std::string> const& words)
{
    return fmt::format("{}", fmt::join(words, " "));
}

/// What follows an option, as a command of bash; nothing where files are right.
std::string action_of(OptionHelp const& option, std::string const& program)
{
    switch (option.kind)
    {
    case ValueKind::CHOICE:
        return fmt::format("_{}_words \"{}\" \"$current\"; ", program, joined(option.choices));
    case ValueKind::TEXT:
        return "compopt +o default 2>/dev/null; ";
    case ValueKind::DIRECTORY:
        return "compopt +o default -o dirnames 2>/dev/null; ";
    default:
        return {};
    }
}

/// The names of the options, as one of the cases of `$command`.
std::string options_case(CommandHelp const& command, std::string const& program)
{
    std::vector<std::string> words;
    for (auto const& option : command.options)
    {
        for (auto const& name : option.names)
        {
            words.push_back(name);
        }
    }
    std::string text =
        fmt::format("    {})\n        options=\"{}\"\n", command.name, joined(words));
    for (auto const& argument : command.arguments)
    {
        if (argument.kind == ValueKind::CHOICE)
        {
            text +=
                fmt::format("        [[ $current == -* ]] || {}\n", action_of(argument, program));
        }
    }
    return text + "        ;;\n";
}

/// What stands behind options, as cases of `$command $previous`.
std::string value_cases(CommandHelp const& command, std::string const& program)
{
    std::string text;
    for (auto const& option : command.options)
    {
        if (option.kind == ValueKind::NONE)
        {
            continue;
        }
        std::vector<std::string> patterns;
        for (auto const& name : option.names)
        {
            patterns.push_back(fmt::format("\"{} {}\"", command.name, name));
        }
        text += fmt::format("    {}) {}return ;;\n", fmt::join(patterns, " | "),
                            action_of(option, program));
    }
    return text;
}

} // namespace

std::string bash_completion(ProgramHelp const& program)
{
    std::vector<std::string> first;
    std::string values;
    std::string options;
    for (auto const& command : program.commands)
    {
        first.push_back(command.name);
        values += value_cases(command, program.name);
        options += options_case(command, program.name);
    }
    for (auto const& option : program.options)
    {
        first.insert(first.end(), option.names.begin(), option.names.end());
    }
    return fmt::format(HEAD, program.name, joined(first)) + "    case \"$command $previous\" in\n" +
           values + "    esac\n    case $command in\n" + options + "    esac\n" +
           fmt::format(TAIL, program.name);
}

} // namespace veld::cli
