#pragma once

#include "Json.h"

#include <fstream>
#include <string>

namespace veld
{

/// Opens a text file behind the byte order mark that some editors write. Throws where there is no
/// plain file that can be read.
std::ifstream open_input(std::string const& path);

/// The value that a JSON file holds.
Json read_json(std::string const& path);

/// The path of a file that another file names: beside that one, unless it is absolute.
std::string path_beside(std::string const& file, std::string const& named);

} // namespace veld
