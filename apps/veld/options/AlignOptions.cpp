#include "options/AlignOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

std::vector<CLI::Option*> AlignOptions::add(CLI::App& app)
{
    auto* const reach =
        add_length(app, "--reach", settings_.reach,
                   "How far frames may be off each other (mm; default: a fiftieth of the size of a "
                   "frame)");
    auto* const noise = add_length(
        app, "--noise", settings_.noise,
        "Standard deviation of depths at 1 m, which grows with the square of the depth (mm; "
        "default: measured)");
    return {reach, noise};
}

void AlignOptions::add_all(CLI::App& app)
{
    add(app);
    add_integer(app, "--rounds", settings_.rounds, 1, MOST_ALIGNMENT_ROUNDS,
                "Most rounds of the refinement (default: 80)");
}

} // namespace veld::cli
