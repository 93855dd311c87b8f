#include "options/CommonOptions.h"

#include "workflow/SettingRanges.h"
#include "workflow/files/Numbers.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <sstream>

namespace veld::cli
{

using OrvaneAlgorithm::Vector3f;

namespace
{

constexpr int MAX_THREADS = 1024;

/// What CLI11 calls to check the text of a number.
/// \param explain gets the text and the number, null if it is none; returns what is wrong with it
template <typename Number, typename Check>
auto explained(Check const& explain)
{
    return [explain](std::string const& text)
    {
        Number number{};
        bool const is_number = parse_number(text, number);
        return explain(text, is_number ? &number : nullptr);
    };
}

/// An option for a number in decimal notation, which CLI11's own conversion does not insist on.
/// \param explain as in `explained`
template <typename Number, typename Check>
CLI::Option* add_checked(CLI::App& app, std::string const& name, Number& value,
                         std::string const& description, char const* type, Check const& explain)
{
    return app
        .add_option_function<std::string>(
            name, [&value](std::string const& text) { parse_number(text, value); }, description)
        ->type_name(type)
        ->check(explained<Number>(explain));
}

/// The same for an option that may be given several times, with one number each time.
template <typename Number, typename Check>
CLI::Option* add_several(CLI::App& app, std::string const& name, std::vector<Number>& values,
                         std::string const& description, char const* type, Check const& explain)
{
    auto const store = [&values](std::vector<std::string> const& texts)
    {
        for (auto const& text : texts)
        {
            parse_number(text, values.emplace_back());
        }
    };
    return repeatable(app.add_option_function<std::vector<std::string>>(name, store, description))
        ->type_name(type)
        ->check(explained<Number>(explain));
}

/// A point given as "X,Y,Z".
/// \return false if the text is anything else
bool parse_point(std::string const& text, Vector3f& point)
{
    std::istringstream stream(text + ","); // a comma behind each number, so that none hides
    std::array<std::string, 4> parts;
    std::size_t count = 0;
    while (count < parts.size() && std::getline(stream, parts[count], ','))
    {
        ++count;
    }
    return count == 3 && parse_number(parts[0], point[0]) && parse_number(parts[1], point[1]) &&
           parse_number(parts[2], point[2]);
}

/// What is wrong with a whole number; empty if nothing is.
std::string explain_integer(std::string const& text, int const* number, int min, int max)
{
    return number != nullptr && *number >= min && *number <= max
               ? std::string()
               : fmt::format("'{}' is not a whole number from {} to {}", text, min, max);
}

} // namespace

void add_common_options(CLI::App& app, CommonOptions& options)
{
    auto* const json = app.add_flag("--json", options.json, "Print the result as one JSON object");
    auto* const quiet = app.add_flag("--quiet", options.quiet, "Print nothing but errors");
    auto* const verbose =
        app.add_flag("--verbose", options.verbose, "Print the library's log on standard error");
    quiet->excludes(json)->excludes(verbose);
    auto* const no_overwrite = app.add_flag("--no-overwrite", options.no_overwrite,
                                            "Refuse an output that is there already");
    auto* const threads = add_integer(app, "--threads", options.threads, 1, MAX_THREADS,
                                      "Number of threads (default: all cores)");
    auto* const timings = app.add_option("--timings", options.timings,
                                         "Write the times of all steps to FILE, as JSON")
                              ->type_name("FILE");
    for (auto* const option : {json, quiet, verbose, no_overwrite, threads, timings})
    {
        option->group(COMMON_OPTIONS);
    }
}

CLI::Option* add_output(CLI::App& app, std::string& output, std::string const& description)
{
    return app.add_option("-o,--output,--out", output, description);
}

CLI::Option* add_output_directory(CLI::App& app, std::string& directory,
                                  std::string const& description)
{
    return add_output(app, directory, description)
        ->type_name("DIR")
        ->check([](std::string const& text)
                { return text == "-" ? "a directory is no stream" : std::string(); });
}

CLI::Option* add_scale(CLI::App& app, double& scale)
{
    return add_number(app, "--scale", scale, SMALLEST_SCALE, LARGEST_SCALE,
                      "Multiply all lengths of frames by this, 1000 for metres (default: 1)");
}

void add_frame_source(CLI::App& app, FrameSourceOptions& options)
{
    app.add_option("SOURCE", options.source,
                   "Folder of .rge files, of depth images with cameras.json or of range scans with "
                   "one .conf; description of text frames (.json), or list of range scans (.conf)")
        ->required()
        ->option_text(" ");
    add_scale(app, options.settings.scale);
}

void set_example(CLI::App& app, std::string const& arguments)
{
    app.footer("Example:\n  veld " + arguments);
}

CLI::Option* add_length(CLI::App& app, std::string const& name, double& value,
                        std::string const& description)
{
    return add_checked(app, name, value, description, "L",
                       [](std::string const& text, double const* number)
                       {
                           return number != nullptr && *number >= 0.0
                                      ? std::string()
                                      : fmt::format("'{}' is not a length: 0 or more millimetres",
                                                    text);
                       });
}

CLI::Option* add_number(CLI::App& app, std::string const& name, double& value, double min,
                        double max, std::string const& description)
{
    return add_checked(app, name, value, description, "X",
                       [min, max](std::string const& text, double const* number)
                       {
                           return number != nullptr && *number >= min && *number <= max
                                      ? std::string()
                                      : fmt::format("'{}' is not a number from {} to {}", text, min,
                                                    max);
                       });
}

CLI::Option* add_choice(CLI::App& app, std::string const& name, std::string& value,
                        std::vector<std::string> const& names, std::string const& description)
{
    return app.add_option(name, value, description)->type_name("NAME")->check(CLI::IsMember(names));
}

CLI::Option* add_point(CLI::App& app, std::string const& name, Vector3f& value,
                       std::string const& description)
{
    return app
        .add_option_function<std::string>(
            name, [&value](std::string const& text) { parse_point(text, value); }, description)
        ->type_name("X,Y,Z")
        ->check(
            [](std::string const& text)
            {
                Vector3f ignored;
                return parse_point(text, ignored) ? std::string()
                                                  : fmt::format("'{}' is not a point X,Y,Z", text);
            });
}

CLI::Option* add_integer(CLI::App& app, std::string const& name, int& value, int min, int max,
                         std::string const& description)
{
    return add_checked(app, name, value, description, "N",
                       [min, max](std::string const& text, int const* number)
                       { return explain_integer(text, number, min, max); });
}

CLI::Option* add_lengths(CLI::App& app, std::string const& name, std::vector<double>& values,
                         std::string const& description)
{
    return add_several(app, name, values, description, "L",
                       [](std::string const& text, double const* number)
                       {
                           return number != nullptr && *number > 0.0
                                      ? std::string()
                                      : fmt::format("'{}' is not a length above 0 millimetres",
                                                    text);
                       });
}

CLI::Option* add_integers(CLI::App& app, std::string const& name, std::vector<int>& values, int min,
                          int max, std::string const& description)
{
    return add_several(app, name, values, description, "N",
                       [min, max](std::string const& text, int const* number)
                       { return explain_integer(text, number, min, max); });
}

CLI::Option* repeatable(CLI::Option* option)
{
    return option->expected(1)->allow_extra_args(false)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
}

} // namespace veld::cli
