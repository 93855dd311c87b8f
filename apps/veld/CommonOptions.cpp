#include "CommonOptions.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace veld
{

namespace
{

constexpr int max_threads = 1024;

/// The number that a text holds from its first to its last character, or not a number.
double parse_number(std::string const& text)
{
    double value = 0.0;
    return CLI::detail::lexical_cast(text, value) ? value
                                                  : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

void add_common_options(CLI::App& app, CommonOptions& options)
{
    app.add_flag("--json", options.json, "Print the result as one JSON object");
    app.add_flag("--verbose", options.verbose, "Print the library's log on standard error");
    add_integer(app, "--threads", options.threads, 1, max_threads,
                "Number of threads (default: all cores)");
    app.add_option("--timings", options.timings, "Write the times of all steps to FILE, as JSON")
        ->type_name("FILE");
}

void set_example(CLI::App& app, std::string const& arguments)
{
    app.footer("Example:\n  veld " + arguments);
}

CLI::Option* add_length(CLI::App& app, std::string const& name, double& value,
                        std::string const& description)
{
    return app.add_option(name, value, description)
        ->type_name("L")
        ->check(
            [](std::string const& text)
            {
                double const number = parse_number(text);
                bool const right = std::isfinite(number) && number >= 0.0;
                return right ? std::string()
                             : fmt::format("'{}' is not a length: 0 or more millimetres", text);
            });
}

CLI::Option* add_number(CLI::App& app, std::string const& name, double& value, double min,
                        double max, std::string const& description)
{
    return app.add_option(name, value, description)
        ->type_name("X")
        ->check(
            [min, max](std::string const& text)
            {
                double const number = parse_number(text);
                bool const right = number >= min && number <= max;
                return right ? std::string()
                             : fmt::format("'{}' is not a number from {} to {}", text, min, max);
            });
}

CLI::Option* add_integer(CLI::App& app, std::string const& name, int& value, int min, int max,
                         std::string const& description)
{
    return app.add_option(name, value, description)
        ->type_name("N")
        ->check(
            [min, max](std::string const& text)
            {
                int number = 0;
                bool const right =
                    CLI::detail::lexical_cast(text, number) && number >= min && number <= max;
                return right ? std::string()
                             : fmt::format("'{}' is not a whole number from {} to {}", text, min,
                                           max);
            });
}

} // namespace veld
