#pragma once

#include <nanobind/nanobind.h>

namespace veld::python
{

namespace nb = nanobind;

/// Registers the steps by which a scan is merged in tiles.
void bind_tiles(nb::module_& module);

} // namespace veld::python
