#pragma once

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers `PhotoData`, photographs that nobody changes, and what makes one.
void bind_photos(nb::module_& module);

} // namespace veld::python
