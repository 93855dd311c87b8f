#pragma once

#include <string>
#include <string_view>

namespace veld_fuzz
{

/// Reads a mesh file as it is and with mending. What was read is written in the same format and
/// read again; the process ends where that fails.
/// \param name of the file, which tells its format
/// \return whether it could be read
bool fuzz_mesh_file(std::string const& name, std::string_view content);

} // namespace veld_fuzz
