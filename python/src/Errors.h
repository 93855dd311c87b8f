#pragma once

namespace veld::python
{

/// Makes the exceptions of the library those of the package.
void register_errors();

} // namespace veld::python
