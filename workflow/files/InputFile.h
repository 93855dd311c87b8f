#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace veld
{

/// Opens a text file behind the byte order mark that some editors write. Throws where there is no
/// plain file that can be read.
VELD_WORKFLOW_API std::ifstream open_input(std::filesystem::path const& path);

/// The content of such a file.
std::string file_bytes(std::filesystem::path const& path);

/// The value that a JSON file holds.
VELD_WORKFLOW_API Json read_json(std::filesystem::path const& path);

/// Whether there is a file, or a folder. What cannot be looked at is neither.
bool is_plain_file(std::filesystem::path const& path);
bool is_folder(std::filesystem::path const& path);

/// The path of a file that another file names: beside that one, unless it is absolute.
VELD_WORKFLOW_API std::filesystem::path path_beside(std::filesystem::path const& file,
                                                    std::string const& named);

} // namespace veld
