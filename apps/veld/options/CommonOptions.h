#pragma once

#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/common/vectors.h"

#include <map>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace veld::cli
{

/// What every command takes.
struct CommonOptions
{
    bool json = false;         ///< The result as one JSON object.
    bool quiet = false;        ///< Errors only.
    bool verbose = false;      ///< The library's log on standard error.
    bool no_overwrite = false; ///< An output that is there already is refused.
    int threads = 0;           ///< Number of threads; 0 leaves it to the machine.
    std::string timings;       ///< File for the step times; empty for none.
};

/// Under which heading help lists them.
constexpr char const* COMMON_OPTIONS = "Options of all commands";

void add_common_options(CLI::App& app, CommonOptions& options);

/// The option for what is written, `--output` with its other names.
CLI::Option* add_output(CLI::App& app, std::string& output, std::string const& description);

/// The same for a directory.
CLI::Option* add_output_directory(CLI::App& app, std::string& directory,
                                  std::string const& description);

/// Where frames come from, as the command line names it.
struct FrameSourceOptions
{
    std::string source;
    LoadFramesSettings settings;
};

/// The option `--scale` for the lengths of frames.
CLI::Option* add_scale(CLI::App& app, double& scale);

/// The argument SOURCE and the option `--scale`.
void add_frame_source(CLI::App& app, FrameSourceOptions& options);

/// An example for the end of a help text.
/// \param arguments what stands behind the program's name
void set_example(CLI::App& app, std::string const& arguments);

/// What an option that takes one of several names may be given.
template <typename Value>
std::vector<std::string> names_in(std::map<std::string, Value> const& named)
{
    std::vector<std::string> names;
    names.reserve(named.size());
    for (auto const& [name, value] : named)
    {
        names.push_back(name);
    }
    return names;
}

/// An option for one of some names.
CLI::Option* add_choice(CLI::App& app, std::string const& name, std::string& value,
                        std::vector<std::string> const& names, std::string const& description);

/// An option for a length in millimetres, finite and not negative. The description names the unit.
CLI::Option* add_length(CLI::App& app, std::string const& name, double& value,
                        std::string const& description);

/// The same for an option that may be given several times, with one length above 0 each time.
CLI::Option* add_lengths(CLI::App& app, std::string const& name, std::vector<double>& values,
                         std::string const& description);

/// An option for a finite number between two bounds.
CLI::Option* add_number(CLI::App& app, std::string const& name, double& value, double min,
                        double max, std::string const& description);

/// An option for a point "X,Y,Z" of finite numbers. The description names the unit.
CLI::Option* add_point(CLI::App& app, std::string const& name, OrvaneAlgorithm::Vector3f& value,
                       std::string const& description);

/// An option for a whole number between two bounds.
CLI::Option* add_integer(CLI::App& app, std::string const& name, int& value, int min, int max,
                         std::string const& description);

/// The same for an option that may be given several times, with one number each time.
CLI::Option* add_integers(CLI::App& app, std::string const& name, std::vector<int>& values, int min,
                          int max, std::string const& description);

/// Lets an option for a list be given several times, with one value each time.
CLI::Option* repeatable(CLI::Option* option);

} // namespace veld::cli
