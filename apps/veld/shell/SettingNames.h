#pragma once

#include <string>

namespace veld::cli
{

/// A reason for people at the command line: where it names the setting it names the option, and
/// where it does not, "(see --option)" stands behind it.
/// \param setting of a step, "pose_scale" for one; empty if the reason is about none
std::string with_option(std::string const& reason, std::string const& setting);

} // namespace veld::cli
