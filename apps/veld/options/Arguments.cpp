#include "options/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace veld::cli
{

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

} // namespace veld::cli
