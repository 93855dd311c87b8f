#pragma once

#include "workflow/files/JsonText.h"

namespace veld
{

/// Throws `InputError` with file, line and key where a text is no recipe by the schema.
void check_recipe(JsonText const& text);

/// The part of the schema for the settings of a step. \param name "merge" for one
Json const& schema_of_settings(std::string const& name);

} // namespace veld
