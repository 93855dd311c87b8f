#pragma once

#include "JsonObjects.h"

#include "workflow/steps/StepJson.h"

#include <nanobind/nanobind.h>

#include <string>

namespace veld::python
{

/// What Python calls a dictionary of settings, or of a result.
using Values = nb::typed<nb::dict, std::string, nb::any>;

/// The settings of a step: those that are given, and the defaults of the others. Throws
/// `InputError` as a recipe would be refused. \param step stands in front of the reason
template <typename Settings>
Settings settings_of(char const* step, Values const& values)
{
    std::string const place = std::string(step) + ": ";
    Settings settings;
    read_settings(json_of(values, place), place, settings);
    return settings;
}

inline Values values_of(Json const& json)
{
    return nb::borrow<Values>(object_of(json));
}

} // namespace veld::python
