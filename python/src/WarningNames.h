#pragma once

#include "workflow/Context.h"

namespace veld::python
{

/// What Python calls a warning's kind: "FACES_LEFT_OUT".
char const* name_of(WarningCode code);

} // namespace veld::python
