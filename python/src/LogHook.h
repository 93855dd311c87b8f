#pragma once

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers `set_log`, and takes the library's log and what it prints away from standard output.
void bind_log(nb::module_& module);

} // namespace veld::python
