#pragma once

#include "workflow/files/Json.h"
#include "workflow/report/RunRecord.h"

namespace veld::cli
{

/// The record of a demonstration, from the results of its steps as `--json` has them.
RunRecord demo_record(Json const& result);

} // namespace veld::cli
