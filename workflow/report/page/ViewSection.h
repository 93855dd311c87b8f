#pragma once

#include "workflow/report/RunRecord.h"
#include "workflow/report/models/ReportModels.h"

#include <cstddef>
#include <string>

/// \file
/// The 3D view as a part of the page. What it does there is in `viewer/src/`.

namespace veld
{

/// How many models there are to show.
std::size_t count_models(ReportModels const& models);

/// The view with its buttons, boxes and sliders. Empty where there is nothing to show.
std::string view_section(RunRecord const& record, ReportModels const& models);

/// The arrays of the models, as blocks that no browser runs.
std::string scene_data(ReportModels const& models);

} // namespace veld
