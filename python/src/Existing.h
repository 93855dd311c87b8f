#pragma once

#include "workflow/files/OutputFile.h"

namespace veld::python
{

/// What becomes of a file that is there, by the argument `overwrite` of what writes.
inline Existing existing_of(bool overwrite)
{
    return overwrite ? Existing::REPLACED : Existing::KEPT;
}

} // namespace veld::python
