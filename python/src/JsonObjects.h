#pragma once

#include "workflow/files/Json.h"

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// JSON of what a caller gives: None, truth values, numbers, texts, paths, arrays, lists and
/// dictionaries of these. Entries of dictionaries that are None are left out, for they say nothing.
/// Throws `InputError` for anything else. \param place stands in front of the reason
Json json_of(nb::handle object, std::string const& place);

/// The same the other way round.
nb::object object_of(Json const& json);

} // namespace veld::python
