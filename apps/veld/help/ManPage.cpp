#include "help/ManPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace veld::cli
{

namespace
{

/// A text that roff prints as it is. Every line of it may stand at the beginning of one.
std::string plain(std::string const& text)
{
    std::string result;
    for (char const c : text)
    {
        bool const begins_line = result.empty() || result.back() == '\n';
        if (begins_line && (c == '.' || c == '\''))
        {
            result += "\\&";
        }
        if (c == '\\')
        {
            result += "\\e";
        }
        else if (c == '-')
        {
            result += "\\-"; // a minus sign that can be copied, no hyphen
        }
        else
        {
            result += c;
        }
    }
    return result;
}

std::string bold(std::string const& text)
{
    return "\\fB" + plain(text) + "\\fR";
}

std::string italic(std::string const& text)
{
    return "\\fI" + plain(text) + "\\fR";
}

/// "-o, --output OUT" with what it does.
std::string entry(OptionHelp const& option)
{
    std::vector<std::string> names;
    std::transform(option.names.begin(), option.names.end(), std::back_inserter(names), bold);
    std::string text = fmt::format(".TP\n{}", fmt::join(names, ", "));
    if (option.kind != ValueKind::NONE && option.value != option.names.front())
    {
        text += " " + italic(option.value);
    }
    text += "\n" + plain(option.text) + ".\n";
    if (!option.choices.empty())
    {
        text += plain(fmt::format("One of {}.", fmt::join(option.choices, ", "))) + "\n";
    }
    return text;
}

/// "veld fill MESH... -o OUT [OPTIONS]"
std::string synopsis(CommandHelp const& command, std::string const& program)
{
    std::string text = bold(program + " " + command.name);
    for (auto const& argument : command.arguments)
    {
        text += " " + italic(argument.value) + (argument.is_repeatable ? "..." : "");
    }
    for (auto const& option : command.options)
    {
        if (option.is_required)
        {
            text += " " + bold(option.names.front()) + " " + italic(option.value);
        }
    }
    return text + " [" + italic("OPTIONS") + "]";
}

std::string section(CommandHelp const& command, std::string const& program)
{
    std::string text = fmt::format(".SS {}\n{}\n.PP\n{}.\n", plain(command.name),
                                   synopsis(command, program), plain(command.text));
    for (auto const* list : {&command.arguments, &command.options})
    {
        for (auto const& option : *list)
        {
            bool const is_help =
                std::find(option.names.begin(), option.names.end(), "--help") != option.names.end();
            text += option.is_common || is_help ? std::string() : entry(option);
        }
    }
    if (!command.example.empty())
    {
        text += fmt::format(".PP\nExample:\n.PP\n.nf\n.RS\n{}\n.RE\n.fi\n", plain(command.example));
    }
    return text;
}

std::string common_options(ProgramHelp const& program)
{
    std::string text;
    for (auto const& option : program.commands.front().options)
    {
        text += option.is_common ? entry(option) : std::string();
    }
    return text;
}

/// The first sentence, as the list of all pages has it.
std::string summary(std::string const& text)
{
    std::string sentence = text.substr(0, text.find(". "));
    sentence.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
    return sentence;
}

} // namespace

std::string man_page(ProgramHelp const& program, std::string const& version)
{
    std::string name = program.name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    std::string text =
        fmt::format(".TH {0} 1 \"\" \"{1} {2}\" \"User Commands\"\n"
                    ".SH NAME\n{1} \\- {3}\n"
                    ".SH SYNOPSIS\n{4} {5} [{6}]\n.SH DESCRIPTION\n{7}\n",
                    name, program.name, version, plain(summary(program.text)), bold(program.name),
                    italic("COMMAND"), italic("OPTIONS"), plain(program.text));
    for (auto const& option : program.options)
    {
        text += entry(option);
    }
    text += ".SH COMMANDS\n";
    for (auto const& command : program.commands)
    {
        text += section(command, program.name);
    }
    text += ".SH OPTIONS OF ALL COMMANDS\n" + common_options(program) + ".SH NOTES\n";
    for (auto const& line : program.footer)
    {
        text += ".PP\n" + plain(line) + "\n";
    }
    return text;
}

} // namespace veld::cli
