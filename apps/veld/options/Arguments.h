#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace veld::cli
{

/// Refuses empty values, which would switch an option off without a word.
void refuse_empty_values(CLI::App const& app);

/// Refuses "--option=", for which the parser would take the next argument.
void refuse_cut_options(int argc, char const* const* argv);

/// The first argument that is no option, or nothing.
std::string first_word(int argc, char const* const* argv);

} // namespace veld::cli
