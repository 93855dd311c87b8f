#pragma once

#include "workflow/steps/LoadFrames.h"

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers `FrameData`, a set of frames that nobody changes, and what makes and writes one.
void bind_frames(nb::module_& module);

} // namespace veld::python
