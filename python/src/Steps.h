#pragma once

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers the steps: each takes data, a dictionary of settings and a call, and gives the JSON of
/// its result with the data that this leaves out.
void bind_steps(nb::module_& module);

} // namespace veld::python
