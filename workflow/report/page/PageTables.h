#pragma once

#include "workflow/files/Json.h"
#include "workflow/report/RunRecord.h"

#include <cstddef>
#include <string>
#include <vector>

/// \file
/// Parts of the page that show numbers.

namespace veld
{

/// "holes_before" as people read it: "holes before".
std::string page_name(std::string const& key);

/// A number with its thousands apart, a text as it is, "yes" and "no".
std::string page_value(Json const& value);

/// "0.35 s", "2 min 5 s".
std::string page_seconds(double seconds);

/// An object as a table of names and values, objects in it with their names in front, lists of
/// objects as tables of their own behind it that open. Empty for an object with nothing in it.
std::string value_table(std::string const& caption, Json const& object);

/// The times of the steps as bars, with a table of the same numbers.
std::string time_chart(std::vector<RunStep> const& steps);

} // namespace veld
