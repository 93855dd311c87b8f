#include "shell/FrameTexts.h"

#include "shell/Texts.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace veld::cli
{

namespace
{

using OrvaneAlgorithm::FrameAlignment;

constexpr std::size_t LISTED_PAIRS = 10;

/// A frame's name without the folder that it is in.
std::string short_name(std::string const& name)
{
    auto const slash = name.find_last_of("/\\");
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

std::vector<std::string> short_names(std::vector<std::string> const& names)
{
    std::vector<std::string> result;
    result.reserve(names.size());
    for (auto const& name : names)
    {
        result.push_back(short_name(name));
    }
    return result;
}

std::size_t longest(std::vector<std::string> const& names)
{
    std::size_t width = 5;
    for (auto const& name : names)
    {
        width = std::max(width, name.size());
    }
    return width;
}

/// A length, or a number of deviations; "-" where there is none.
std::string cell(double value)
{
    return value < 0.0 ? "-" : fmt::format("{:.3g}", value);
}

/// The same in deviations, of which there are none without noise.
std::string noises(double value)
{
    return value > 0.0 ? cell(value) : "-";
}

std::string noise_line(FrameNoise const& noise)
{
    return noise.in_the_middle() > 0.0 ? "  noise: " + to_text(noise) + "\n" : std::string();
}

std::string pair_table(FrameCheck const& result, std::vector<std::string> const& names, bool all)
{
    auto pairs = result.agreement.pairs;
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](auto const& a, auto const& b) { return a.distance > b.distance; });
    std::size_t const shown_pairs = all ? pairs.size() : std::min(LISTED_PAIRS, pairs.size());
    std::size_t const width = longest(names);
    std::string text = fmt::format("  {:<{}}  {:<{}}  {:>9}  {:>8}  {:>7}\n", "pair", width, "",
                                   width, "off (mm)", "in noise", "overlap");
    for (std::size_t k = 0; k < shown_pairs; ++k)
    {
        auto const& pair = pairs[k];
        text += fmt::format("  {:<{}}  {:<{}}  {:>9}  {:>8}  {:>5.0f} %\n", names[pair.first],
                            width, names[pair.second], width, cell(pair.distance),
                            noises(pair.noises), 100.0 * pair.overlap);
    }
    return shown_pairs < pairs.size()
               ? text + fmt::format("  {} agree better; --verbose lists them\n",
                                    counted(pairs.size() - shown_pairs, "pair"))
               : text;
}

std::string frame_table(FrameCheck const& result, std::vector<std::string> const& names)
{
    std::vector<std::string> remarks(names.size());
    for (std::size_t const f : result.far_off)
    {
        remarks[f] = "  far off the others";
    }
    for (std::size_t const f : result.alone)
    {
        remarks[f] = "  overlaps no other frame";
    }
    std::size_t const width = longest(names);
    std::string text = fmt::format("  {:<{}}  {:>9}  {:>8}  {:>5}\n", "frame", width, "off (mm)",
                                   "in noise", "pairs");
    for (std::size_t f = 0; f < names.size(); ++f)
    {
        auto const& frame = result.agreement.frames[f];
        text += fmt::format("  {:<{}}  {:>9}  {:>8}  {:>5}{}\n", names[f], width,
                            cell(frame.distance), noises(frame.noises), frame.pairs, remarks[f]);
    }
    return text;
}

std::string fate_text(FrameAlignment::Motion const& motion)
{
    switch (motion.fate)
    {
    case FrameAlignment::Fate::MOVED:
        return {};
    case FrameAlignment::Fate::HELD:
        return "  stays";
    case FrameAlignment::Fate::ALONE:
        return "  stays: overlaps no other frame";
    case FrameAlignment::Fate::ASTRAY:
        break;
    }
    return "  stays: would have gone too far";
}

} // namespace

std::string to_text(std::string const& source, FrameCheck const& result, bool all)
{
    auto const names = short_names(result.names);
    return fmt::format("{}: {}, {} overlap, {:.3g} mm off each other in the middle\n", source,
                       counted(names.size(), "frame"),
                       counted(result.agreement.pairs.size(), "pair"), result.agreement.distance) +
           noise_line(result.noise) +
           (result.agreement.pairs.empty() ? "" : pair_table(result, names, all)) +
           frame_table(result, names);
}

std::string to_text(std::string const& source, AlignResult const& result)
{
    auto const names = short_names(result.names);
    std::size_t const width = longest(names);
    std::string text = fmt::format(
        "{}: {}, {:.3g} mm off each other before, {:.3g} mm after {}, in {:.3f} s\n", source,
        counted(names.size(), "frame"), result.before.distance, result.after.distance,
        counted(static_cast<std::size_t>(result.rounds), "round"), result.seconds);
    text += noise_line(result.noise);
    text += fmt::format("  {:<{}}  {:>10}  {:>12}  {:>11}  {:>10}\n", "frame", width, "moved (mm)",
                        "turned (deg)", "before (mm)", "after (mm)");
    for (std::size_t f = 0; f < names.size(); ++f)
    {
        auto const& motion = result.motions[f];
        text += fmt::format("  {:<{}}  {:>10.4g}  {:>12.4g}  {:>11}  {:>10}{}\n", names[f], width,
                            motion.shift, motion.turn, cell(result.before.frames[f].distance),
                            cell(result.after.frames[f].distance), fate_text(motion));
    }
    return result.converged ? text : text + "  frames still moved in the last round: --rounds\n";
}

} // namespace veld::cli
