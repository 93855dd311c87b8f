#pragma once

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers `run`, and the recipes that it takes.
void bind_run(nb::module_& module);

} // namespace veld::python
